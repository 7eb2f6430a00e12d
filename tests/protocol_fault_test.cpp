// protocol_fault_test.cpp - what the program does when the machine lets it down: no memory, a stopped
// process, files that go away.
#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/dialogue.h"

namespace {

constexpr size_t MegaByte = 1 << 20;
constexpr const char* MemoryMessage = "An error occured while memory allocation!";

// A learning file with that many positions.
std::string LearnedPositions(int count) {
    std::string file = "Corvantis learning file" + std::string(4 * 65536, '\0');
    for (int i = 0; i < count; ++i) {
        const uint32_t words[] = {36, uint32_t(i % 100), 10, uint32_t(i), uint32_t(7 * i), 0};
        file.append(reinterpret_cast<const char*>(words), sizeof words);
    }
    return file;
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

#ifndef CORVANTIS_SANITIZED  // which needs far more address space than any of these limits

// However much there is, the program either starts or says why not. Each of its big tables is the one
// that no longer fits somewhere in this range, and so are 200,000 learned positions.
TEST(MemoryIsShort, AtTheStart) {
    const std::vector<EngineProcess::File> plain,
        learned = {{"Corvantis.ini", "Learning = on\nUseLearningData = on\n"}, {"Learn.cv1", LearnedPositions(200000)}};
    int refused = 0, started = 0;
    for (size_t megabytes = 20; megabytes <= 150; megabytes += 3) {
        SCOPED_TRACE(std::to_string(megabytes) + " MB");
        EngineProcess engine(megabytes % 2 == 0 ? plain : learned, megabytes * MegaByte);
        engine.SendRaw("isready\nquit\n");
        const std::vector<std::string> lines = engine.ReadToEnd();
        const int status = engine.WaitForExit();
        if (status == 127 || lines.empty()) continue;  // not even its libraries could be loaded
        EXPECT_EQ(lines.front(), "Corvantis v1.70 [r2089/21.07.2014]");
        const bool said_so = std::find(lines.begin(), lines.end(), MemoryMessage) != lines.end();
        EXPECT_EQ(status, said_so ? 1 : 0) << engine.Transcript();
        EXPECT_EQ(lines.back(), said_so ? MemoryMessage : "readyok");
        ++(said_so ? refused : started);
    }
    EXPECT_GT(refused, 2);
    EXPECT_GT(started, 2);
}

TEST(MemoryIsShort, WhileResizingAMainTable) {
    for (const char* option : {"Hash value 512", "PawnHash value 64"}) {
        SCOPED_TRACE(option);
        EngineProcess engine;
        engine.Start();
        engine.LimitMemoryTo(16 * MegaByte);
        engine.Send(std::string("setoption name ") + option);
        const std::vector<std::string> lines = engine.ReadToEnd();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), MemoryMessage);
        EXPECT_EQ(engine.WaitForExit(), 1);
    }
}

// Tablebases are an extra: without memory for them play goes on.
TEST(MemoryIsShort, ForTheTablebaseCache) {
    EngineProcess engine({{"Corvantis.ini", std::string("EGTBPath = ") + CORVANTIS_TABLES + "\n"}});
    engine.Start();
    engine.LimitMemoryTo(MegaByte);
    engine.Send("setoption name NalimovCache value 512");
    engine.WaitForMatch(MemoryMessage);
    engine.Send("position fen 8/8/4k3/8/8/8/8/KQ6 w - - 0 1");
    engine.Send("go depth 4");
    engine.WaitForMatch("(bestmove|move) .*");
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(), 0);
}

#endif

// A process that was stopped finds its time long used up when it goes on.
TEST(StoppedProcess, MovesAtOnceWhenItGoesOn) {
    const char* const cases[] = {
        "uci\nposition startpos\ngo movetime 300\n",
        "uci\nposition startpos\ngo wtime 3000 btime 3000\n",
        "easy\nlevel 0 0:03 0\ntime 300\ngo\n",
        "easy\nst 1\ngo\n",
    };
    for (const char* lines : cases) {
        SCOPED_TRACE(lines);
        EngineProcess engine;
        engine.Start();
        engine.SendRaw(lines);
        engine.WaitUntilBusy(2);
        engine.Signal(SIGSTOP);
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        const double withheld = engine.WithheldMilliseconds();
        engine.Signal(SIGCONT);
        const auto start = std::chrono::steady_clock::now();
        engine.WaitForMatch("(bestmove|move) .*");
        EXPECT_LT(MillisecondsSince(start) - (engine.WithheldMilliseconds() - withheld), 400);
        engine.Sync();
        EXPECT_EQ(CountLines(engine, "< (bestmove|move) .*"), 1);
    }
}

// Learns from a game in a machine that lets it down, and ends in order.
void LearnAndQuit(EngineProcess& engine) {
    engine.Send("sd 9");
    engine.Send("go");
    engine.WaitForMatch("move .*");
    engine.Send("result 1-0 {}");
    engine.Send("new");
    engine.Send("bkm");
    engine.Sync();
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(), 0) << engine.Transcript();
}

TEST(DiskIsFull, WhileLearning) {
    EngineProcess engine({{"Corvantis.ini", "Learning = on\n"}, {"Learn.cv1", LearnedPositions(1)}});
    engine.Start();
    const size_t size = engine.ReadFile("Learn.cv1").size();
    engine.LimitFilesTo(size);
    LearnAndQuit(engine);
    EXPECT_EQ(engine.ReadFile("Learn.cv1").size(), size);
}

// Other programs may remove, empty or replace the files at any time.
TEST(FilesGoAway, WhileTheyAreOpen) {
    const auto vanish = [](const std::string& path) { std::filesystem::remove(path); };
    const auto shrink = [](const std::string& path) { std::filesystem::resize_file(path, 0); };
    const auto change = [](const std::string& path) {  // in place, all behind the first bytes
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(40) << std::string(1 << 20, '\xa5');
    };
    const std::string book = ContentsOf(CORVANTIS_BOOK);
    ASSERT_GT(book.size(), 100000u);
    for (void (*damage)(const std::string&) : {+vanish, +shrink, +change}) {
        EngineProcess engine({{"Corvantis.ini", "Learning = on\nUseLearningData = on\n"}, {"Book.cvt", book}});
        engine.Start();
        for (const char* name : {"Book.cvt", "Learn.cv1", "Corvantis.ini"}) damage(engine.Directory() + "/" + name);
        LearnAndQuit(engine);
    }
}

// UCI must not be shown a line that it does not know.
TEST(FilesGoAway, TablesThatAreCutWhileTheyAreOpen) {
    EngineProcess engine;
    engine.Send("uci");
    std::filesystem::copy(CORVANTIS_TABLES, engine.Directory() + "/tables");
    engine.Send("setoption name NalimovPath value tables");
    engine.Sync();
    for (const auto& table : std::filesystem::directory_iterator(engine.Directory() + "/tables"))
        std::filesystem::resize_file(table.path(), std::filesystem::file_size(table.path()) / 2);
    engine.Send("position fen 8/8/4k3/8/8/4K3/4P3/8 w - - 0 1");
    engine.Send("go depth 8");
    engine.WaitForMatch("info string .* is damaged.*");
    engine.WaitForMatch("bestmove .*");
    EXPECT_EQ(CountLines(engine, "< (Reason|\\*\\*\\*).*"), 0) << engine.Transcript();
}
