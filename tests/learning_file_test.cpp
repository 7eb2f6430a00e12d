// learning_file_test.cpp - positions learned across games: the bytes on disk, and finding them.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "board/console.h"
#include "board/settings.h"
#include "board/zobrist.h"
#include "book/learning_file.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"

namespace {

constexpr size_t FirstRecord = 262167;

class LearningFile : public ::testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        // "learn.log" is written into the current directory.
        saved_directory_ = std::filesystem::current_path();
        directory_ = std::filesystem::temp_directory_path()
            / ("corvantis-learning-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        std::filesystem::remove_all(directory_);
        std::filesystem::create_directory(directory_);
        std::filesystem::current_path(directory_);
    }
    void TearDown() override {
        CloseLearning();
        std::filesystem::current_path(saved_directory_);
        std::filesystem::remove_all(directory_);
        ResetEngine();
    }
    static std::string Bytes(const char* name = "Learn.cv1") {
        std::ifstream file(name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    static uint32_t WordAt(const std::string& bytes, size_t offset) {
        uint32_t word = 0;
        for (int i = 3; i >= 0; --i) word = word << 8 | uint8_t(bytes.at(offset + size_t(i)));
        return word;
    }
    static void Learn(const char* moves, int depth, int score) {
        SetInitialPosition();
        ASSERT_TRUE(moves[0] == '\0' || PlayMoves(moves));
        QueueLearned(depth, score);
    }
    // The learned score, or 99999.
    static int Known(const char* moves, int depth) {
        SetInitialPosition();
        if (moves[0] != '\0') PlayMoves(moves);
        int score;
        return LookUpLearned(depth, &score) ? score : 99999;
    }
    static void Reload() {
        CloseLearning();
        load_learning("Learn.cv1");
    }
    std::filesystem::path directory_, saved_directory_;
};

TEST_F(LearningFile, ANewFileIsEmpty) {
    load_learning("Learn.cv1");
    const std::string bytes = Bytes();
    ASSERT_EQ(bytes.size(), FirstRecord);
    EXPECT_EQ(bytes.substr(0, 23), "Corvantis learning file");
    EXPECT_EQ(bytes.find_first_not_of('\0', 23), std::string::npos);
    EXPECT_EQ(Known("", 0), 99999);
}

TEST_F(LearningFile, OneRecordOnDisk) {
    load_learning("Learn.cv1");
    Learn("e2e4", 40, -37);  // Black to move
    EXPECT_EQ(Bytes().size(), FirstRecord) << "queued, not written";
    FlushLearned();
    const std::string bytes = Bytes();
    ASSERT_EQ(bytes.size(), FirstRecord + 24);
    const uint32_t a = uint32_t(PositionKey()) ^ 0x07D3ADEB, b = uint32_t(PositionKey() >> 32);
    const uint32_t expected[] = {40, uint32_t(-37), 1, a, b, 0};
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(WordAt(bytes, FirstRecord + 4 * i), expected[i]) << "word " << i;
    EXPECT_EQ(WordAt(bytes, 23 + 4 * (a & 0xFFFF)), FirstRecord);
}

TEST_F(LearningFile, DepthDecides) {
    load_learning("Learn.cv1");
    Learn("d2d4", 40, 21);
    FlushLearned();
    Reload();
    EXPECT_EQ(Known("d2d4", 40), 21);
    EXPECT_EQ(Known("d2d4", 41), 99999);
    EXPECT_EQ(Known("c2c4", 4), 99999);
    Learn("d2d4", 60, -5);
    FlushLearned();
    Reload();
    EXPECT_EQ(Known("d2d4", 60), -5);
    EXPECT_EQ(Bytes().size(), FirstRecord + 24) << "refreshed in place";
}

// All records are put into one bucket by hand: the chain must be followed and prolonged.
TEST_F(LearningFile, Chains) {
    load_learning("Learn.cv1");
    Learn("e2e4", 40, 1);
    FlushLearned();
    CloseLearning();
    std::string bytes = Bytes();
    SetInitialPosition();
    PlayMoves("d2d4");
    // The first record gets another key of the bucket that 1. d4 belongs to.
    const uint32_t a = uint32_t(PositionKey()) ^ 0x07D3ADEB;
    const auto put = [&bytes](size_t offset, uint32_t word) {
        for (int i = 0; i < 4; ++i) bytes[offset + size_t(i)] = char(word >> (8 * i));
    };
    std::fill(bytes.begin() + 23, bytes.begin() + FirstRecord, '\0');
    put(23 + 4 * (a & 0xFFFF), FirstRecord);
    put(FirstRecord + 12, a ^ 0x10000);
    std::ofstream("Learn.cv1", std::ios::binary) << bytes;

    load_learning("Learn.cv1");
    Learn("d2d4", 44, 2);
    FlushLearned();
    bytes = Bytes();
    ASSERT_EQ(bytes.size(), FirstRecord + 48);
    EXPECT_EQ(WordAt(bytes, FirstRecord + 20), FirstRecord + 24);
    EXPECT_EQ(WordAt(bytes, 23 + 4 * (a & 0xFFFF)), FirstRecord);
    Learn("d2d4", 48, 3);  // the second of the chain is found again
    FlushLearned();
    EXPECT_EQ(Bytes().size(), FirstRecord + 48);
}

TEST_F(LearningFile, DamagedFiles) {
    load_learning("Learn.cv1");
    Learn("e2e4", 40, 1);
    Learn("d2d4", 40, 2);
    FlushLearned();
    CloseLearning();
    const std::string whole = Bytes();
    const auto try_file = [](const std::string& bytes) {
        std::ofstream("Learn.cv1", std::ios::binary | std::ios::trunc) << bytes;
        load_learning("Learn.cv1");
        Learn("c2c4", 40, 3);
        Learn("e2e4", 44, 4);
        CloseLearning();
    };
    ::testing::internal::CaptureStdout();
    for (size_t cut = 0; cut <= 60; ++cut) try_file(whole.substr(0, whole.size() - cut));
    // A chain that runs in a circle.
    std::string circle = whole;
    circle.replace(FirstRecord + 20, 4, circle.substr(23 + 4 * (WordAt(whole, FirstRecord + 12) & 0xFFFF), 4));
    try_file(circle);
    // Other people's files are not written to.
    for (const std::string& foreign : {std::string(), std::string("hello"), std::string(300000, 'x')}) {
        try_file(foreign);
        EXPECT_EQ(Bytes(), foreign);
    }
    Flush();
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(printed.find("Error opening \"Learn.cv1\"!\n"), std::string::npos);
}

TEST_F(LearningFile, Log) {
    LogLearningIntoFile = 1;
    load_learning("Learn.cv1");
    Learn("", 40, 12);
    FlushLearned();
    Learn("", 44, -8);
    FlushLearned();
    const std::string log = Bytes("learn.log");
    const std::string fen = "FEN = rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n";
    const size_t add = log.find("\tAdd: Depth = 40\tOldEvaluation = 0\tEvaluaton = 12\t" + fen);
    const size_t refresh = log.find("\tRefresh: Depth = 44\tOldEvaluation = 12\tEvaluaton = -8\t" + fen);
    EXPECT_NE(add, std::string::npos) << log;
    EXPECT_NE(refresh, std::string::npos) << log;
    EXPECT_LT(add, refresh);
}

}  // namespace
