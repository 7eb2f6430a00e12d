// temporary_path.h - a file name of its own for every test.
#pragma once

#include <filesystem>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

// In the system's folder for temporary files, with the running test and process in its name: tests
// run side by side, and so may two builds.
inline std::string TemporaryPath(const std::string& ending) {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string("corvantis-") + test->test_suite_name() + "-" + test->name() + "-"
        + std::to_string(getpid()) + ending;
    return (std::filesystem::temp_directory_path() / name).string();
}
