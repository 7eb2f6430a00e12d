// test_main.cpp - entry of corvantis_tests: fills the engine's tables, then runs the tests.
#include <gtest/gtest.h>

#include "tests/support/engine_environment.h"

namespace {

class EngineEnvironment : public ::testing::Environment {
public:
    void SetUp() override { PrepareEngine(); }
};

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::AddGlobalTestEnvironment(new EngineEnvironment);
    return RUN_ALL_TESTS();
}
