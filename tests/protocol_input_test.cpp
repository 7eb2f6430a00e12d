// protocol_input_test.cpp - how bytes reach the program: line ends, pieces, floods, nonsense,
// end of input, a reader that goes away, signals.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "tests/support/dialogue.h"

namespace {

void Sleep(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

const char* const start_fen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq";

}  // namespace

// What is written, in pieces with pauses between them, and how many "readyok" must come.
struct PieceCase {
    const char* why;
    std::vector<std::string> pieces;
    int answers;
};

TEST(Input, LinesHoweverTheyArrive) {
    const PieceCase cases[] = {
        {"CR LF", {"isready\r\n"}, 1},
        {"two lines in one write", {"isready\nisready\n"}, 2},
        {"half a line, then the rest", {"isre", "ady\n"}, 1},
        {"one byte at a time", {"i", "s", "r", "e", "a", "d", "y", "\r", "\n"}, 1},
        {"a line and a half", {"isready\nisr", "eady\n"}, 2},
        {"blank lines between", {"\n\n  \n\r\nisready\n\n"}, 1},
        {"leading and trailing blanks", {"   isready   \n"}, 1},
        {"a tab behind", {"isready\t\n"}, 1},
    };
    for (const PieceCase& c : cases) {
        SCOPED_TRACE(c.why);
        EngineProcess engine;
        engine.Start();
        for (const std::string& piece : c.pieces) {
            engine.SendRaw(piece);
            Sleep(30);
        }
        EXPECT_EQ(engine.Collect(300), std::vector<std::string>(size_t(c.answers), "readyok"));
    }
}

TEST(Input, TenKilobytesInOneBurst) {
    EngineProcess engine;
    engine.Start();
    std::string burst;
    for (int i = 0; i < 1500; ++i) burst += "isready\n";
    engine.SendRaw(burst + "mvd\n");
    int answers = 0;
    engine.WaitFor(
        [&](const std::string& line) {
            answers += line == "readyok";
            return line == "castling flags = 15";
        },
        "the answer to the last command");
    EXPECT_EQ(answers, 1500);
}

TEST(Input, BurstDuringASearchKeepsItsOrder) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("position startpos");
    // One line is taken at every poll, so this is no place for thousands of them.
    std::string burst = "go infinite\n";
    for (int i = 0; i < 12; ++i) burst += "isready\nsetoption name Ponder value true\n";
    engine.SendRaw(burst + "stop\nisready\n");
    engine.WaitForMatch("bestmove .*");
    engine.WaitForMatch("readyok");
    engine.Sync();
    EXPECT_EQ(CountLines(engine, "< readyok"), 15);
}

TEST(Input, HalfALineDoesNotStopTheSearch) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("position startpos");
    engine.Send("go infinite");
    engine.Sync();
    engine.SendRaw("sto");
    const double before = engine.CpuMilliseconds();
    Sleep(400);
    EXPECT_GT(engine.CpuMilliseconds() - before, 60) << "the search waits for the rest of the line";
    EXPECT_EQ(CountLines(engine, "< bestmove .*"), 0);
    engine.SendRaw("p\n");
    engine.WaitForMatch("bestmove .*");
}

TEST(Input, PositionAfterAVeryLongGame) {
    // 1001 moves of the knights: about ten kilobytes on one line, and Black to move at the end,
    // so that an answer from an old board would be a White move.
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("position startpos");
    std::string line = "position startpos moves";
    const char* const tour[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int ply = 0; ply < 2001; ++ply) line += std::string(" ") + tour[ply % 4];
    engine.Send(line);
    EXPECT_EQ(CurrentFen(engine), "rnbqkbnr/pppppppp/8/8/8/5N2/PPPPPPPP/RNBQKB1R b KQkq -");
    engine.Send("go depth 3");
    EXPECT_NE(engine.WaitForMatch("bestmove [a-h][78][a-h][1-8].*"), "");
}

TEST(Input, TheSamePositionDuringASearch) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("position startpos");
    engine.Send("go infinite");
    std::string line = "position startpos moves";
    const char* const tour[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int ply = 0; ply < 1201; ++ply) line += std::string(" ") + tour[ply % 4];
    engine.Send(line);
    engine.WaitForMatch("bestmove .*");
    engine.Send("go depth 3");
    EXPECT_NE(engine.WaitForMatch("bestmove [a-h][78][a-h][1-8].*"), "");
}

// Lines that mean nothing. None may be answered, stop the program or change the board.
TEST(Input, NonsenseIsIgnored) {
    EngineProcess engine;
    engine.Start();
    const std::string cases[] = {
        "xyzzy",
        std::string(600, 'x'),
        std::string(100000, 'y'),
        "\x80\xff\xfe\x81",
        "setoption name \xc3\xa9 value \xff",
        "%s%s%s%n%d",
        "setoption name %n value %s%s%s",
        "\x01\x02\x1b[31m",
        std::string("nul\0byte", 8),
        std::string(3000, ' '),
        "z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z z",
        "position",
        "position nowhere",
        "debug",
        "-1",
        "0",
    };
    for (const std::string& line : cases) {
        SCOPED_TRACE(line.substr(0, 40));
        engine.Send(line);
        EXPECT_EQ(engine.Sync(), std::vector<std::string>());
    }
    EXPECT_EQ(CurrentFen(engine).substr(0, 50), start_fen);
}

TEST(Input, ManyWordsOnALine) {
    // More words than there are slots for them.
    EngineProcess engine;
    engine.Start();
    std::string line = "setoption name";
    for (int i = 0; i < 5000; ++i) line += " w";
    engine.Send(line);
    EXPECT_EQ(engine.Sync(), std::vector<std::string>());
}

// --- end of input ---------------------------------------------------------------------------

TEST(EndOfInput, IdleWithoutUsingTheProcessor) {
    EngineProcess engine;
    engine.Start();
    engine.CloseInput();
    Sleep(300);
    const double before = engine.CpuMilliseconds();
    Sleep(1000);
    EXPECT_LT(engine.CpuMilliseconds() - before, 50);
    EXPECT_TRUE(engine.Running()) << "somebody may still read what it prints";
}

TEST(EndOfInput, EndsASearchThatOnlyInputCouldEnd) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("position startpos");
    engine.Send("go infinite");
    engine.CloseInput();
    engine.WaitForMatch("bestmove [a-h][12].*", 5000);
    Sleep(200);
    const double before = engine.CpuMilliseconds();
    Sleep(1000);
    EXPECT_LT(engine.CpuMilliseconds() - before, 50);
}

TEST(EndOfInput, OtherSearchesRunToTheirEnd) {
    EngineProcess engine;
    engine.Start();
    engine.SendRaw("uci\nposition startpos\ngo movetime 600\n");
    engine.WaitForMatch("uciok");
    const auto start = std::chrono::steady_clock::now();
    engine.CloseInput();
    engine.WaitForMatch("bestmove .*");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
}

TEST(EndOfInput, ALastLineWithoutItsEndIsNotLost) {
    EngineProcess engine;
    engine.Start();
    engine.SendRaw("isready\nquit");
    engine.CloseInput();
    engine.WaitForMatch("readyok");
    // Either reading is sound: executed, it quits; dropped, the program waits. It must not spin.
    Sleep(300);
    if (engine.Running()) {
        const double before = engine.CpuMilliseconds();
        Sleep(500);
        EXPECT_LT(engine.CpuMilliseconds() - before, 50);
    }
}

// With nobody to write to either, there is no reason to live on.
TEST(EndOfInput, EndsWhenTheReaderIsGoneToo) {
    for (const char* before : {"isready", "go infinite", "analyze", "go ponder wtime 1000 btime 1000"}) {
        SCOPED_TRACE(before);
        EngineProcess engine;
        engine.Start();
        engine.Send(before);
        Sleep(200);
        engine.CloseOutput();
        engine.CloseInput();
        EXPECT_EQ(engine.WaitForExit(5000), 0);
    }
}

TEST(ClosedOutput, IsNoReasonToDieWhileCommandsCome) {
    EngineProcess engine;
    engine.Start();
    engine.CloseOutput();
    engine.Send("uci");
    engine.Send("position startpos");
    engine.Send("go movetime 100");
    Sleep(500);
    EXPECT_TRUE(engine.Running());
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}

// --- signals --------------------------------------------------------------------------------

TEST(Signals, InterruptIsIgnoredBehindAPipe) {
    EngineProcess engine;
    engine.Start();
    engine.Signal(SIGINT);
    engine.Sync();
    engine.Send("uci");
    engine.Send("position startpos");
    engine.Send("go movetime 500");
    engine.Sync();
    for (int i = 0; i < 5; ++i) engine.Signal(SIGINT);
    const auto start = std::chrono::steady_clock::now();
    engine.WaitForMatch("bestmove .*");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(250)) << "the search was cut short";
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}

TEST(Signals, TerminationIsOrderly) {
    for (const int number : {SIGTERM, SIGHUP}) {
        for (const char* before : {"isready", "go infinite", "go movetime 60000", "analyze", "help"}) {
            SCOPED_TRACE(std::to_string(number) + " after " + before);
            EngineProcess engine;
            engine.Start();
            engine.Send(before);
            Sleep(150);
            engine.Signal(number);
            EXPECT_EQ(engine.WaitForExit(3000), 0);
        }
    }
}

TEST(Signals, QuitWithATerminationRightBehindIt) {
    for (int delay = 0; delay < 4; ++delay) {
        EngineProcess engine;
        engine.Start();
        engine.Send("quit");
        Sleep(delay);
        engine.Signal(SIGTERM);
        EXPECT_EQ(engine.WaitForExit(3000), 0);
    }
}
