// printed.h - what the engine prints while something runs.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "board/console.h"

template <typename Action> std::string Printed(Action action) {
    Flush();
    ::testing::internal::CaptureStdout();
    action();
    Flush();
    return ::testing::internal::GetCapturedStdout();
}
