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
        for (int i = 0; i < c.answers; ++i) EXPECT_EQ(engine.WaitForMatch(".*"), "readyok");
        EXPECT_EQ(engine.Collect(100), std::vector<std::string>());
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
    engine.WaitUntilBusy();
    engine.Collect(300);
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

namespace {

// Comes to rest within seconds: alive without using the processor.
void ExpectRest(EngineProcess& engine) {
    double used = 1000;
    for (int tries = 0; tries < 10 && used >= 40; ++tries) {
        const double before = engine.CpuMilliseconds();
        Sleep(400);
        used = engine.CpuMilliseconds() - before;
    }
    EXPECT_LT(used, 40);
    EXPECT_TRUE(engine.Running()) << "somebody may still read what it prints";
}

}  // namespace

// What is sent, the line that must come before the input is closed, and the one that must come still.
struct EndCase {
    const char* why;
    const char* lines;
    const char* before;
    const char* answer;
    EngineProcess::Channel channel = EngineProcess::Channel::Pipes;
};

TEST(EndOfInput, EndsWhatOnlyInputCouldEnd) {
    const EndCase cases[] = {
        {"the prompt", "isready\n", "readyok", nullptr},
        {"the prompt, behind sockets", "isready\n", "readyok", nullptr, EngineProcess::Channel::Sockets},
        {"half a line", "isready\nxyz", "readyok", nullptr},
        {"an infinite search", "uci\ngo infinite\n", "info depth .*", "bestmove [a-h][12].*"},
        {"a mate, found and not told", "uci\nposition fen 6k1/5ppp/8/8/8/8/8/R6K w - - 0 1\ngo infinite\n",
         "info .* pv a1a8.*", "bestmove a1a8.*"},
        {"pondering for a front end", "uci\ngo ponder wtime 1000 btime 1000\n", "info depth .*", "bestmove .*"},
        {"pondering of its own", "st 1\ne2e4\n", "Hint: .*", nullptr},
        {"analysis", "analyze\n", ".*e2e4.*", nullptr},
        {"analysis of a mate", "loadfen R5k1/5ppp/8/8/8/8/8/7K b - - 0 1\nanalyze\nisready\n", "readyok", nullptr},
        {"the editor", "isready\nedit\n#\nKe1\n", "readyok", nullptr},
        {"a search of its own length", "uci\ngo movetime 600\n", "info depth .*", "bestmove .*"},
        {"counting moves", "isready\nperft 5\n", "readyok", ".* 4865609.*"},
    };
    for (const EndCase& c : cases) {
        SCOPED_TRACE(c.why);
        EngineProcess engine({}, 0, c.channel);
        engine.SendRaw(c.lines);
        engine.WaitForMatch(c.before);
        engine.CloseInput();
        if (c.answer != nullptr) engine.WaitForMatch(c.answer, 10000);
        ExpectRest(engine);
        // With nobody to write to either, there is no reason to live on.
        engine.CloseOutput();
        EXPECT_EQ(engine.WaitForExit(3000), 0);
    }
}

TEST(EndOfInput, OtherSearchesRunToTheirEndUnlessNobodyReads) {
    EngineProcess engine;
    engine.SendRaw("uci\nposition startpos\ngo movetime 600\n");
    engine.WaitForMatch("uciok");
    const auto start = std::chrono::steady_clock::now();
    engine.CloseInput();
    engine.WaitForMatch("bestmove .*");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));

    for (const char* busy : {"go infinite", "analyze", "uci\ngo ponder wtime 1000 btime 1000", "go depth 99",
                             "sd 60\ngo", "demo", "perft 12", "edit"}) {
        SCOPED_TRACE(busy);
        EngineProcess other;
        other.Start();
        other.Send(busy);
        Sleep(100);
        other.CloseOutput();
        other.CloseInput();
        EXPECT_EQ(other.WaitForExit(5000), 0);
    }
}

// Descriptors that were closed before the program began are not mistaken for files of its own.
TEST(EndOfInput, HasComeWhenThereWasNone) {
    EXPECT_EQ(std::system(("exec timeout 5 " + EngineBinary() + " <&- >/dev/full").c_str()), 0);
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
        for (const char* before :
             {"isready", "go infinite", "go movetime 60000", "analyze", "help", "edit", "demo", "perft 12"}) {
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

TEST(Signals, TerminationReachesAProgramThatNobodyReads) {
    EngineProcess engine;
    engine.Start();
    std::string flood;
    for (int i = 0; i < 9000; ++i) flood += "isready\n";
    engine.SendRaw(flood);  // the answers are more than a pipe holds
    Sleep(200);
    engine.Signal(SIGTERM);
    EXPECT_EQ(engine.WaitForExit(3000, EngineProcess::Unread), 0);
}

// The pipe is full to its end: the signal comes when the program is just on its way into the write that
// nobody will take.
TEST(Signals, TerminationJustBeforeAWriteThatBlocks) {
    std::string flood;
    for (int i = 0; i < 8192; ++i) flood += "isready\n";
    for (int times = 0; times < 5; ++times) {
        EngineProcess engine;
        engine.Start();
        engine.SendRaw(flood);
        Sleep(300);
        engine.Send("uci");
        engine.Signal(SIGTERM);
        EXPECT_EQ(engine.WaitForExit(5000, EngineProcess::Unread), 0);
    }
}

TEST(Signals, QuitAndTerminationWhilePondering) {
    EngineProcess engine;
    RunSteps(engine, "> xboard | new | hard | sd 5 | e2e4\n< Hint: .*\n> result * {xboard exit} | quit");
    engine.Signal(SIGTERM);
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}

// Ctrl-C ends what runs, and at the prompt the program.
TEST(Signals, InterruptOfATerminal) {
    EngineProcess engine({}, 0, EngineProcess::Channel::Terminal);
    engine.Start();
    for (const char* busy : {"st 60\ngo", "perft 12", "analyze"}) {
        SCOPED_TRACE(busy);
        engine.Send(busy);
        engine.WaitUntilBusy();
        engine.SendRaw("\x03");
        engine.Sync(3000);
        engine.Send("force");
        engine.Sync();
    }
    engine.SendRaw("\x03");
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}
