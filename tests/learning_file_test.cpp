// learning_file_test.cpp - positions learned across games: the bytes on disk, and finding them.
#include "book/learning_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#ifdef __linux__
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <climits>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "board/file_access.h"
#include "board/settings.h"
#include "book/book.h"
#include "book/book_learning.h"
#include "tests/support/board_helpers.h"
#include "tests/support/book_bytes.h"
#include "tests/support/engine_environment.h"
#include "tests/support/printed.h"
#include "tests/support/temporary_path.h"
#include "tools/common/text.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t FirstRecord = 262167;
constexpr const char* CannotOpen = "Error opening \"Learn.cv1\"!\n";
constexpr int Unknown = 99999;

class LearningFile : public ::testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        // "learn.log" is written into the current directory.
        fs::remove_all(directory_);
        fs::create_directory(directory_);
        fs::current_path(directory_);
        load_learning("Learn.cv1");
    }
    void TearDown() override {
        CloseLearning();
        fs::current_path(saved_directory_);
        fs::remove_all(directory_);
        ResetEngine();
    }
    static std::string Bytes(const char* name = "Learn.cv1") {
        std::string bytes;
        EXPECT_TRUE(ReadWholeFile(name, bytes));
        return bytes;
    }
    static uint32_t WordAt(const std::string& bytes, size_t at) {
        return LoadWord(reinterpret_cast<const uint8_t*>(bytes.substr(at, 4).data()));
    }
    static void Put(std::string& bytes, size_t at, uint32_t word) { bytes.replace(at, 4, Word32(word)); }
    static void WriteFile(const std::string& bytes) {
        CloseLearning();
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
    static void SetUpMoves(const char* moves) {
        SetInitialPosition();
        ASSERT_TRUE(PlayMoves(moves));
    }
    // Of a position with Black to move.
    static uint32_t KeyA(const char* moves) {
        SetUpMoves(moves);
        return uint32_t(PositionKey()) ^ 0x07D3ADEB;
    }
    static size_t HeadOf(const char* moves) { return 23 + 4 * (KeyA(moves) & 0xFFFF); }
    // What opening the file prints.
    static std::string Loaded() {
        CloseLearning();
        return Printed([] { load_learning("Learn.cv1"); });
    }
    static void Learn(const char* moves, int depth, int score) {
        SetUpMoves(moves);
        QueueLearned(depth, score);
    }
    static int Known(const char* moves, int depth) {
        SetUpMoves(moves);
        int score;
        return LookUpLearned(depth, &score) ? score : Unknown;
    }
    const fs::path directory_ = TemporaryPath(""), saved_directory_ = fs::current_path();
};

TEST_F(LearningFile, BytesAndDepths) {
    const std::string fresh = Bytes();
    ASSERT_TRUE(fresh == "Corvantis learning file" + std::string(4 * 65536, '\0'));
    Learn("e2e4", 40, -37);
    EXPECT_TRUE(Bytes() == fresh) << "queued, not written";
    FlushLearned();
    EXPECT_EQ(Known("e2e4", 40), -37) << "without reading the file again";
    const uint32_t a = KeyA("e2e4"), b = uint32_t(PositionKey() >> 32);
    std::string expected = fresh + Word32(40) + Word32(uint32_t(-37)) + Word32(1) + Word32(a) + Word32(b) + Word32(0);
    Put(expected, HeadOf("e2e4"), FirstRecord);
    EXPECT_TRUE(Bytes() == expected);
    Loaded();
    EXPECT_EQ(Known("e2e4", 40), -37);
    EXPECT_EQ(Known("e2e4", 41), Unknown);
    EXPECT_EQ(Known("c2c4", 0), Unknown);
    Learn("e2e4", 60, -5);
    Loaded();
    EXPECT_EQ(Known("e2e4", 60), -5);
    EXPECT_EQ(Bytes().size(), FirstRecord + 24) << "refreshed in place";
}

// A position that has the first half of its key in common with a learned one.
TEST_F(LearningFile, BothHalvesOfTheKeyCount) {
    Learn("e2e4", 40, 7);
    CloseLearning();
    std::string bytes = Bytes();
    Put(bytes, FirstRecord + 16, WordAt(bytes, FirstRecord + 16) ^ 1);
    WriteFile(bytes);
    Loaded();
    EXPECT_EQ(Known("e2e4", 40), Unknown);
    Learn("e2e4", 40, 8);
    Loaded();
    EXPECT_EQ(Known("e2e4", 40), 8);
    EXPECT_EQ(Bytes().substr(FirstRecord, 20), bytes.substr(FirstRecord, 20)) << "the other stays as it was";
    EXPECT_EQ(Reachable(Bytes()), 2);
}

// Links that lead to half a record or to none.
TEST_F(LearningFile, CutFiles) {
    Learn("e2e4", 40, 1);
    Learn("d2d4", 40, 2);
    CloseLearning();
    const std::string whole = Bytes();
    ASSERT_EQ(Reachable(whole), 2);
    for (size_t cut = 1; cut <= 48; ++cut) {
        SCOPED_TRACE("without the last " + std::to_string(cut) + " bytes");
        WriteFile(whole.substr(0, whole.size() - cut));
        EXPECT_EQ(Loaded(), "");
        EXPECT_EQ(Known("e2e4", 40), cut <= 24 ? 1 : Unknown);
        EXPECT_EQ(Known("d2d4", 40), Unknown);
        Learn("d2d4", 40, 5);
        Learn("e2e4", 44, 4);
        EXPECT_EQ(Loaded(), "");
        EXPECT_EQ(Known("d2d4", 40), 5);
        EXPECT_EQ(Known("e2e4", 44), 4);
        EXPECT_EQ(Reachable(Bytes()), 2);
        EXPECT_EQ(Bytes().size(), whole.size());
    }
}

// Files that are not ours stay as they are; so do those that cannot be whole.
TEST_F(LearningFile, ForeignFiles) {
    std::string beheaded = Bytes().substr(0, 1000);
    Put(beheaded, 23 + 40, FirstRecord);
    for (const std::string& foreign : {std::string("hello"), std::string(300000, 'x'), beheaded}) {
        WriteFile(foreign);
        EXPECT_EQ(Loaded(), CannotOpen);
        Learn("e2e4", 40, 1);
        CloseLearning();
        EXPECT_EQ(Bytes(), foreign);
    }
}

// A link that leads nowhere, or back, ends its chain and is put right by the next record.
TEST_F(LearningFile, Links) {
    for (const char* moves : {"e2e4", "d2d4", "c2c4"}) Learn(moves, 40, 1);
    CloseLearning();
    const std::string whole = Bytes();
    constexpr uint32_t second = FirstRecord + 24, end = FirstRecord + 3 * 24;
    // A second record of the bucket of 1. b3, reached or not, whose own link may be wrong too.
    const size_t head = HeadOf("b2b3");
    const uint32_t other_key = KeyA("b2b3") ^ 0x50000;
    const struct {
        const char* why;
        uint32_t head, next;
        size_t mended;  // where the link to the new record is then
    } cases[] = {
        {"none: killed between record and link", 0, 0, head},
        {"into the heads", 100, 0, head},
        {"just before the records", FirstRecord - 1, 0, head},
        {"beside a record", FirstRecord + 1, 0, head},
        {"to a record of another bucket", FirstRecord, 0, head},
        {"the end", end, 0, head},
        {"far behind the end", 0xFFFFFFFF, 0, head},
        {"negative as a number of 32 bits", 0x80000000, 0, head},
        {"to itself", second, second, second + 20},
        {"back to the first", second, FirstRecord, second + 20},
        {"second link behind the end", second, end, second + 20},
        {"sound", second, 0, second + 20},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::string bytes = whole;
        Put(bytes, head, c.head);
        Put(bytes, second + 12, other_key);
        Put(bytes, second + 20, c.next);
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
    Learn("e2e4", 40, 1);
    CloseLearning();
    std::string bytes = Bytes();
    for (const int32_t score : {31000, -31000, INT32_MAX, INT32_MIN}) {
        Put(bytes, FirstRecord + 4, uint32_t(score));
        WriteFile(bytes);
        EXPECT_EQ(Loaded(), "");
        EXPECT_EQ(Known("e2e4", 0), Unknown) << score;
    }
}

// Files cannot grow beyond this length meanwhile, as on a full disk.
template <typename Action> void OnAFullDisk(size_t length, Action action) {
    rlimit saved;
    getrlimit(RLIMIT_FSIZE, &saved);
    const rlimit limit = {rlim_t(length), saved.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    action();
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, SIG_DFL);
}

TEST_F(LearningFile, TheDiskIsFull) {
    const std::string fresh = Bytes();
    fs::remove("Learn.cv1");
    OnAFullDisk(5000, [] { EXPECT_EQ(Loaded(), CannotOpen); });
    EXPECT_TRUE(Bytes() == fresh.substr(0, 5000));
    // There is room again, or the program had been killed.
    for (const size_t length : {size_t(0), size_t(1), size_t(23), size_t(26), size_t(5000), FirstRecord - 1}) {
        WriteFile(fresh.substr(0, length));
        EXPECT_EQ(Loaded(), "");
        EXPECT_TRUE(Bytes() == fresh) << length;
    }
    constexpr const char* lines[] = {"e2e4", "d2d4", "c2c4"};
    for (size_t room = 0; room <= 3 * 24; ++room) {
        SCOPED_TRACE("room for " + std::to_string(room) + " bytes");
        WriteFile(fresh);
        Loaded();
        for (const char* moves : lines) Learn(moves, 40, 1);
        OnAFullDisk(FirstRecord + room, CloseLearning);
        EXPECT_EQ(Bytes().size(), FirstRecord + room);
        EXPECT_EQ(Reachable(Bytes()), int(room / 24));
        Loaded();
        for (const char* moves : lines) Learn(moves, 44, 2);
        EXPECT_EQ(Loaded(), "");
        for (const char* moves : lines) EXPECT_EQ(Known(moves, 44), 2) << moves;
        EXPECT_EQ(Bytes().size(), FirstRecord + 3 * 24);
        EXPECT_EQ(Reachable(Bytes()), 3);
    }
}

#ifdef __linux__

// The end of a game is written into both files, and the program is killed at each of its calls to the
// system: it has written whole records, whole nodes of the book, and no link before its record.
TEST_F(LearningFile, SurvivesKills) {
    const std::string book =
        BookBytes(1, {{"", {{"e2e4", 254, 2}, {"d2d4", 9, 9}}}, {"e2e4 e7e5", {{"g1f3", 9, 254}, {"f1c4", 3, 3}}}});
    std::ofstream("Book.cvt", std::ios::binary) << book;
    Printed([] { open_book("Book.cvt"); });
    Learn("e2e4", 40, 1);
    Loaded();
    const std::string file = Bytes();
    for (const char* moves : {"e2e4", "d2d4", "c2c4"}) Learn(moves, 44, 2);
    SetUpMoves("e2e4 e7e5 g1f3 b8c6");

    std::set<std::string> books, files;
    bool ended = false;
    for (int calls = 0; !ended; calls += 2) {  // each has a start and an end
        std::ofstream("Book.cvt", std::ios::binary) << book;
        std::ofstream("Learn.cv1", std::ios::binary) << file;
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
            std::raise(SIGSTOP);
            learn_game(ResultDrawn);
            FlushLearned();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (WIFEXITED(status)) GTEST_SKIP() << "no process may be traced here";
        for (int i = 0; i < calls && !ended; ++i) {
            ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
            waitpid(child, &status, 0);
            ended = WIFEXITED(status);
        }
        if (!ended) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
        }
        books.insert(Bytes("Book.cvt"));
        files.insert(Bytes());
    }
    close_book();
    EXPECT_EQ(books.size(), 1u + 2u) << "two nodes have changed";
    EXPECT_EQ(files.size(), 1u + 1u + 2u * 2u) << "one record has, two are new and linked";
    for (const std::string& bytes : files) {
        WriteFile(bytes);
        EXPECT_EQ(Loaded(), "");
        EXPECT_GE(Reachable(bytes), 1);
        EXPECT_EQ(Known("e2e4", 40), Known("e2e4", 44) == 2 ? 2 : 1);
        EXPECT_TRUE(Known("d2d4", 0) == Known("d2d4", 44));
    }
}

#endif

TEST_F(LearningFile, Log) {
    LogLearningIntoFile = 1;
    std::ofstream("learn.log") << "7\tAdd: Dep";  // as a full disk cuts it
    Learn("", 40, 12);
    FlushLearned();
    Learn("", 44, -8);
    FlushLearned();
    const std::string log = Bytes("learn.log");
    const std::string fen = "FEN = rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n";
    const size_t add = log.find("\tAdd: Depth = 40\tOldEvaluation = 0\tEvaluaton = 12\t" + fen);
    const size_t refresh = log.find("\tRefresh: Depth = 44\tOldEvaluation = 12\tEvaluaton = -8\t" + fen);
    EXPECT_EQ(log.find("7\tAdd: Dep\n"), 0u) << log;
    EXPECT_TRUE(add < refresh && refresh < log.size()) << log;
}

}  // namespace
