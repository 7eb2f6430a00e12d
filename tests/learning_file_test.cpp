// learning_file_test.cpp - positions learned across games: the bytes on disk, and finding them.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
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
    static void Put(std::string& bytes, size_t offset, uint32_t word) {
        for (int i = 0; i < 4; ++i) bytes.at(offset + size_t(i)) = char(word >> (8 * i));
    }
    static void WriteFile(const std::string& bytes) {
        std::ofstream("Learn.cv1", std::ios::binary | std::ios::trunc) << bytes;
    }
    // Goes along every chain, as another reader would: the number of records met, -1 when a link
    // leads to no whole record, to one of another bucket or to one met before.
    static int Reachable(const std::string& bytes) {
        std::set<size_t> met;
        for (size_t bucket = 0; bucket < 65536; ++bucket)
            for (size_t at = WordAt(bytes, 23 + 4 * bucket); at != 0; at = WordAt(bytes, at + 20))
                if (at < FirstRecord || (at - FirstRecord) % 24 != 0 || at + 24 > bytes.size()
                    || (WordAt(bytes, at + 12) & 0xFFFF) != bucket || !met.insert(at).second)
                    return -1;
        return int(met.size());
    }
    static size_t HeadOf(const char* moves) {
        SetInitialPosition();
        PlayMoves(moves);
        return 23 + 4 * ((uint32_t(PositionKey()) ^ (SideToMove() == BLACK ? 0x07D3ADEBu : 0)) & 0xFFFF);
    }
    // What opening the file prints.
    static std::string Loaded() {
        CloseLearning();
        Flush();
        ::testing::internal::CaptureStdout();
        load_learning("Learn.cv1");
        Flush();
        return ::testing::internal::GetCapturedStdout();
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
    std::fill(bytes.begin() + 23, bytes.begin() + FirstRecord, '\0');
    Put(bytes, 23 + 4 * (a & 0xFFFF), FirstRecord);
    Put(bytes, FirstRecord + 12, a ^ 0x10000);
    WriteFile(bytes);

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

constexpr const char* CannotOpen = "Error opening \"Learn.cv1\"!\n";

// Every length that a file may have when its writer was killed.
TEST_F(LearningFile, CutFiles) {
    load_learning("Learn.cv1");
    const std::string fresh = Bytes();
    Learn("e2e4", 40, 1);
    Learn("d2d4", 40, 2);
    CloseLearning();
    const std::string whole = Bytes();
    ASSERT_EQ(Reachable(whole), 2);
    for (const size_t length : {0, 1, 22, 23, 24, 26, 4096, int(FirstRecord) - 1, int(FirstRecord)}) {
        SCOPED_TRACE("new file of length " + std::to_string(length));
        WriteFile(fresh.substr(0, length));
        EXPECT_EQ(Loaded(), "");
        Learn("c2c4", 40, 3);
        CloseLearning();
        EXPECT_EQ(Bytes().size(), FirstRecord + 24);
        EXPECT_EQ(Reachable(Bytes()), 1);
    }
    for (size_t cut = 1; cut <= 48; ++cut) {
        SCOPED_TRACE("without the last " + std::to_string(cut) + " bytes");
        WriteFile(whole.substr(0, whole.size() - cut));
        EXPECT_EQ(Loaded(), "");
        EXPECT_EQ(Known("e2e4", 40), cut <= 24 ? 1 : 99999);
        EXPECT_EQ(Known("d2d4", 40), 99999);
        Learn("d2d4", 40, 5);
        Learn("e2e4", 44, 4);
        EXPECT_EQ(Loaded(), "");
        EXPECT_EQ(Known("d2d4", 40), 5);
        EXPECT_EQ(Known("e2e4", 44), 4);
        EXPECT_EQ(Reachable(Bytes()), 2);
        EXPECT_EQ(Bytes().size(), whole.size());
    }
}

// Killed between record and link: the record is known, and learned again like a new one.
TEST_F(LearningFile, RecordWithoutALink) {
    load_learning("Learn.cv1");
    Learn("e2e4", 40, 1);
    CloseLearning();
    std::string bytes = Bytes();
    Put(bytes, HeadOf("e2e4"), 0);
    WriteFile(bytes);
    load_learning("Learn.cv1");
    EXPECT_EQ(Known("e2e4", 40), 1);
    Learn("e2e4", 44, 2);
    Reload();
    EXPECT_EQ(Known("e2e4", 44), 2);
    EXPECT_EQ(Reachable(Bytes()), 1);
}

// Files that are not ours stay as they are; so do those that cannot be whole.
TEST_F(LearningFile, ForeignFiles) {
    load_learning("Learn.cv1");
    std::string beheaded = Bytes().substr(0, 1000);
    Put(beheaded, 23 + 40, FirstRecord);
    for (const std::string& foreign : {std::string("hello"), std::string(300000, 'x'), beheaded}) {
        WriteFile(foreign);
        EXPECT_EQ(Loaded(), CannotOpen);
        Learn("e2e4", 40, 1);
        CloseLearning();
        EXPECT_EQ(Bytes(), foreign);
    }
    std::filesystem::remove("Learn.cv1");
    ASSERT_EQ(mkfifo("Learn.cv1", 0600), 0);
    EXPECT_EQ(Loaded(), CannotOpen);
    std::filesystem::remove("Learn.cv1");
    ASSERT_EQ(mkdir("Learn.cv1", 0700), 0);
    EXPECT_EQ(Loaded(), CannotOpen);
}

// A link that leads nowhere, or back, ends its chain and is put right by the next record.
TEST_F(LearningFile, DamagedLinks) {
    load_learning("Learn.cv1");
    for (const char* moves : {"e2e4", "d2d4", "c2c4"}) Learn(moves, 40, 1);
    CloseLearning();
    const std::string whole = Bytes();
    constexpr uint32_t end = FirstRecord + 3 * 24;
    // A second record of the bucket of 1. b3, reached or not, whose own link may be wrong too.
    const size_t head = HeadOf("b2b3");
    const uint32_t other_key = uint32_t(head - 23) / 4 ^ 0x50000;
    struct Case {
        const char* why;
        uint32_t head, next;
        size_t mended;  // where the link to the new record is then
    };
    const Case cases[] = {
        {"into the heads", 100, 0, head},
        {"just before the records", FirstRecord - 1, 0, head},
        {"beside a record", FirstRecord + 1, 0, head},
        {"the end", end, 0, head},
        {"far behind the end", 0xFFFFFFFF, 0, head},
        {"negative as a number of 32 bits", 0x80000000, 0, head},
        {"to itself", FirstRecord + 24, FirstRecord + 24, FirstRecord + 44},
        {"back to the first", FirstRecord + 24, FirstRecord, FirstRecord + 44},
        {"second link behind the end", FirstRecord + 24, end, FirstRecord + 44},
        {"sound", FirstRecord + 24, 0, FirstRecord + 44},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        std::string bytes = whole;
        Put(bytes, head, c.head);
        Put(bytes, FirstRecord + 24 + 12, other_key);
        Put(bytes, FirstRecord + 24 + 20, c.next);
        WriteFile(bytes);
        EXPECT_EQ(Loaded(), "");
        Learn("b2b3", 40, 7);
        EXPECT_EQ(Loaded(), "");
        EXPECT_EQ(Known("b2b3", 40), 7);
        bytes = Bytes();
        ASSERT_EQ(bytes.size(), end + 24);
        EXPECT_EQ(WordAt(bytes, c.mended), end);
        Learn("b2b3", 44, 8);
        CloseLearning();
        EXPECT_EQ(Bytes().size(), bytes.size()) << "found again";
    }
}

// The search trusts what it is given; mate scores and worse must not come from a file.
TEST_F(LearningFile, ScoresThatNobodyWrote) {
    load_learning("Learn.cv1");
    Learn("e2e4", 40, 1);
    CloseLearning();
    std::string bytes = Bytes();
    for (const int32_t score : {31000, -31000, 32700, INT32_MAX, INT32_MIN}) {
        Put(bytes, FirstRecord + 4, uint32_t(score));
        WriteFile(bytes);
        EXPECT_EQ(Loaded(), "");
        EXPECT_EQ(Known("e2e4", 0), 99999) << score;
    }
}

// Files may not grow beyond this length while an object of this kind lives, as on a full disk.
struct FullDisk {
    explicit FullDisk(size_t length) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &saved);
        const rlimit limit = {rlim_t(length), saved.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    rlimit saved;
};

TEST_F(LearningFile, TheDiskIsFull) {
    for (const size_t length : {5000, int(FirstRecord) - 1}) {
        std::filesystem::remove("Learn.cv1");
        {
            FullDisk full(length);
            EXPECT_EQ(Loaded(), CannotOpen);
        }
        EXPECT_EQ(Bytes().size(), length);
        EXPECT_EQ(Loaded(), "") << "there is room again";
        EXPECT_EQ(Bytes().size(), FirstRecord);
    }
    CloseLearning();
    const std::string fresh = Bytes();
    constexpr const char* lines[] = {"e2e4", "d2d4", "c2c4"};
    for (size_t room = 0; room <= 3 * 24; ++room) {
        SCOPED_TRACE("room for " + std::to_string(room) + " bytes");
        WriteFile(fresh);
        load_learning("Learn.cv1");
        for (const char* moves : lines) Learn(moves, 40, 1);
        {
            FullDisk full(FirstRecord + room);
            CloseLearning();
        }
        EXPECT_EQ(Bytes().size(), FirstRecord + room);
        EXPECT_EQ(Reachable(Bytes()), int(room / 24));
        load_learning("Learn.cv1");
        for (const char* moves : lines) Learn(moves, 44, 2);
        EXPECT_EQ(Loaded(), "");
        for (const char* moves : lines) EXPECT_EQ(Known(moves, 44), 2) << moves;
        EXPECT_EQ(Bytes().size(), FirstRecord + 3 * 24);
        EXPECT_EQ(Reachable(Bytes()), 3);
    }
}

TEST_F(LearningFile, Log) {
    LogLearningIntoFile = 1;
    std::ofstream("learn.log") << "7\tAdd: Dep";  // as a full disk cuts it
    load_learning("Learn.cv1");
    Learn("", 40, 12);
    FlushLearned();
    Learn("", 44, -8);
    FlushLearned();
    const std::string log = Bytes("learn.log");
    const std::string fen = "FEN = rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n";
    const size_t add = log.find("\tAdd: Depth = 40\tOldEvaluation = 0\tEvaluaton = 12\t" + fen);
    const size_t refresh = log.find("\tRefresh: Depth = 44\tOldEvaluation = 12\tEvaluaton = -8\t" + fen);
    EXPECT_EQ(log.find("7\tAdd: Dep\n"), 0u) << log;
    EXPECT_NE(add, std::string::npos) << log;
    EXPECT_NE(refresh, std::string::npos) << log;
    EXPECT_LT(add, refresh);
}

}  // namespace
