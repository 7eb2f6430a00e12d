// protocol_xboard_test.cpp - the xboard dialect: play, pondering, results, resigning, analysis.
//
// Searches are kept short by "sd" or "st"; "easy" keeps the engine from pondering where
// pondering is not the subject.
#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/dialogue.h"

namespace {

int Milliseconds(std::chrono::steady_clock::time_point since) {
    return int(std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - since).count());
}

// Knights going out and home: four plies that change nothing but the clocks.
const char* const knight_tour[] = {"g1f3", "g8f6", "f3g1", "f6g8"};

}  // namespace

const Dialogue play_dialogues[] = {
    {"after new the engine plays Black", R"(
        > xboard
        > new
        > easy
        > sd 3
        > e2e4
        < move [a-h][78][a-h][1-8]
        - move.*)"},
    {"go makes it play the side to move", R"(
        > easy
        > sd 3
        > go
        < move [a-h][12][a-h][1-8]
        > g8f6
        < move [a-h][1-8][a-h][1-8])"},
    {"force records moves without an answer", R"(
        > easy
        > force
        > e2e4
        > e7e5
        - .*
        fen rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq)"},
    {"illegal moves are refused and change nothing", R"(
        > e2e5
        < Illegal move: e2e5
        > e1g1
        < Illegal move: e1g1
        > a7a6
        < Illegal move: a7a6
        > E2E5
        < Illegal move: E2E5
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"words that are no moves are not called illegal", R"(
        > protover 2
        > accepted done
        > rejected setboard
        > random
        > computer
        > name An Opponent
        > rating 1500 2500
        > ics -
        > result 1-0 {White mates}
        > draw
        > hint
        > setboard 8/8/8/8/8/8/8/8 w - - 0 1
        > usermove e2e4
        > ping 1
        > variant normal
        > pause
        > ?
        > .
        > e2
        > e2e
        > i2i4
        > e0e4
        - .*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"upper-case moves and promotions", R"(
        > force
        > loadfen 8/P6k/8/8/8/8/7K/8 w - - 0 1
        > A7A8R
        fen R7/7k/8/8/8/8/7K/8 b)"},
    {"undo takes one ply back, remove two", R"(
        > force
        > e2e4
        > e7e5
        > g1f3
        > undo
        fen rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq
        > remove
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq
        > undo
        > remove
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"remove takes what there is", R"(
        > force
        > e2e4
        > remove
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"undo stops at a position that was set up", R"(
        > force
        > loadfen rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3
        > undo
        fen rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq
        > e5f6
        > undo
        > e5f6
        fen rnbqkbnr/ppp1p1pp/5P2/3p4/8/8/PPPP1PPP/RNBQKBNR b KQkq)"},
    {"the engine's own move may be taken back", R"(
        > easy
        > sd 3
        > e2e4
        < move .*
        > remove
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"stop without a search names the last best move", R"(
        > stop
        < bestmove 0000
        > easy
        > sd 3
        > go
        < move .*
        > stop
        < bestmove [a-h][12][a-h][1-8])"},
    {"move now", R"(
        > easy
        > st 60
        > go
        sleep 300
        > ?
        < move .*
        - move.*)"},
    {"white and black set the side to move", R"(
        > force
        > black
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq
        > white
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"white: the user plays White and the engine answers", R"(
        > easy
        > sd 3
        > force
        > white
        > e2e4
        < move [a-h][78][a-h][1-8])"},
    {"black to move, user's move, answer by White", R"(
        > easy
        > sd 3
        > black
        > e7e5
        < move [a-h][12][a-h][1-8])"},
    {"force in a search: no move is made", R"(
        > easy
        > st 60
        > go
        sleep 200
        > force
        - move.*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"new in a search: no move, start position", R"(
        > easy
        > st 60
        > e2e4
        sleep 200
        > new
        - move.*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"status in a search, which goes on", R"(
        > easy
        > st 60
        > go
        sleep 200
        > .
        < stat01: \d+ \d+ \d+ \d+ \d+ [a-h][1-8][a-h][1-8]
        > .
        < stat01: \d+ \d+ \d+ \d+ 20 [a-h][1-8][a-h][1-8]
        > ?
        < move .*)"},
    {"thinking lines: depth, score, centiseconds, nodes, moves", R"(
        > easy
        > post
        > st 1
        > go
        < \d+ -?\d+ \d+ \d{6,}( [a-h][1-8][a-h][1-8][qrbn]?)+ ?
        < move .*)"},
    {"no thinking lines when they are switched off", R"(
        > easy
        > nopost
        > st 1
        > go
        < move .*
        - \d+ .*)"},
    {"no take-back across a turn of the side to move", R"(
        > force
        > e2e4
        > e7e5
        > black
        > undo
        fen rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR b KQkq)"},
    {"lines that waited during perft reach the search behind it", R"(
        > easy
        > uci
        < uciok
        > position startpos
        > perft 4
        > go infinite
        > stop
        < total moves = 197281 .*
        < bestmove .*)"},
    {"a UCI infinite search does not stop the clock of a later xboard game", R"(
        > uci
        < uciok
        > go infinite
        sleep 100
        > stop
        < bestmove .*
        > xboard
        > easy
        > new
        > level 0 0:01 0
        > e2e4
        < move .*)"},
    {"a stop ends the demonstration", R"(
        > st 60
        > demo
        sleep 300
        > stop
        < move .*
        sleep 200
        - move .*)"},
    {"no move comes after the result", R"(
        > easy
        > st 2
        > e2e4
        sleep 200
        > result 1-0 {White wins on time}
        sleep 300
        - move .*)"},
    {"commands without their number", R"(
        > sd
        > st
        > perft
        > level
        - .*
        > easy
        > sd 3
        > go
        < move .*)"},
};

class XboardPlay : public ::testing::TestWithParam<Dialogue> {};
TEST_P(XboardPlay, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, XboardPlay, ::testing::ValuesIn(play_dialogues));

// Ends of games. The engine answers the last move before the result, or ends the game itself.
const Dialogue result_dialogues[] = {
    {"the engine is mated as Black", R"(
        > easy
        > sd 3
        > loadfen 7k/8/6K1/8/8/8/5Q2/8 w - - 0 1
        > f2f8
        < 1-0 \{White mates\}
        - move.*)"},
    {"the engine is mated as White", R"(
        > easy
        > sd 3
        > loadfen 8/5q2/8/8/8/6k1/8/7K b - - 0 1
        > f7f1
        < 0-1 \{Black mates\}
        - move.*)"},
    {"the engine is stalemated", R"(
        > easy
        > sd 3
        > loadfen 7k/8/6K1/8/8/8/5Q2/8 w - - 0 1
        > f2f7
        < 1/2-1/2 \{Stalemate\}
        - move.*)"},
    {"the engine mates", R"(
        > easy
        > sd 4
        > loadfen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1
        > go
        < move a1a8
        < 1-0 \{White mates\}
        - .*)"},
    {"the engine mates as Black", R"(
        > easy
        > sd 4
        > loadfen r3k3/8/8/8/8/8/5PPP/6K1 b q - 0 1
        > go
        < move a8a1
        < 0-1 \{Black mates\}
        - .*)"},
    {"a mate that ended a game begins a new one", R"(
        > easy
        > sd 4
        > loadfen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1
        > go
        < 1-0 \{White mates\}
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"a bishop is too little, and the move comes all the same", R"(
        > easy
        > sd 3
        > loadfen 8/8/4k3/8/8/4K3/8/3B4 w - - 0 1
        > e3d3
        < 1/2-1/2 \{Draw by insufficient material\}
        < move .*)"},
    {"two bare kings: once for each", R"(
        > easy
        > sd 3
        > loadfen 8/8/4k3/8/8/4K3/8/8 w - - 0 1
        > e3d3
        < 1/2-1/2 \{Draw by insufficient material\}
        < 1/2-1/2 \{Draw by insufficient material\}
        < move .*)"},
    {"knight and pawn are enough", R"(
        > easy
        > sd 3
        > loadfen 8/8/8/8/k7/8/P7/K5N1 w - - 0 1
        > a1b2
        < move .*
        - 1/2.*)"},
    {"minor pieces on both sides are enough", R"(
        > easy
        > sd 3
        > loadfen 8/8/3bk3/8/8/4K3/8/3B4 w - - 0 1
        > e3d3
        < move .*
        - 1/2.*)"},
    {"third occurrence", R"(
        > easy
        > sd 3
        > force
        > g1f3
        > g8f6
        > f3g1
        > f6g8
        > g1f3
        > g8f6
        > f3g1
        > f6g8
        - .*
        > go
        < 1/2-1/2 \{Draw by repetition\}
        < move .*)"},
    {"second occurrence only", R"(
        > easy
        > sd 3
        > force
        > g1f3
        > g8f6
        > f3g1
        > f6g8
        > go
        < move .*
        - 1/2.*)"},
    {"a castling right was lost in between", R"(
        > easy
        > sd 3
        > force
        > loadfen 4k3/7p/8/8/8/8/7P/4K2R w K - 0 1
        > h1g1
        > e8d8
        > g1h1
        > d8e8
        > h1g1
        > e8d8
        > g1h1
        > d8e8
        > go
        < move .*
        - 1/2.*)"},
};

class XboardResult : public ::testing::TestWithParam<Dialogue> {};
TEST_P(XboardResult, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, XboardResult, ::testing::ValuesIn(result_dialogues));

// The rule looks at the counter before the last move, so it speaks one ply after the hundredth.
TEST(Xboard, FiftyMovesAreTold) {
    for (const int plies : {100, 101}) {
        SCOPED_TRACE(plies);
        EngineProcess engine;
        engine.Start();
        engine.Send("easy");
        engine.Send("sd 3");
        engine.Send("force");
        for (int ply = 0; ply < plies; ++ply) engine.Send(knight_tour[ply % 4]);
        engine.Send("go");
        engine.WaitForMatch("move .*");
        EXPECT_EQ(CountLines(engine, "< 1/2-1/2 \\{Draw by the 50-moves rule\\}"), plies == 101 ? 1 : 0);
    }
}

// Three own searches in a row far below the threshold; both lines are sent. White moves a pawn, so
// that no repetition can save Black.
TEST(Xboard, ResignsAtTheThirdLostSearch) {
    RunDialogue({"hopeless", R"(
        > easy
        > sd 4
        > loadfen 7k/6p1/7p/8/8/8/QRP5/K7 b - - 0 1
        > go
        < move .*
        > c2c3
        < move .*
        - resign
        > c3c4
        < resign
        < move .*)"});
}

TEST(Xboard, DoesNotResignBelowTheThreshold) {
    // The configuration raises the bar beyond the material on the board.
    RunDialogue({"bad, but not bad enough", R"(
        > easy
        > sd 4
        > loadfen 7k/6p1/7p/8/8/8/QRP5/K7 b - - 0 1
        > go
        < move .*
        > c2c3
        < move .*
        > c3c4
        < move .*
        > c4c5
        < move .*
        - resign)"},
                {{"Corvantis.ini", "ResignValue = 4000\n"}});
}

// Pondering. The engine says what it expects; the opponent plays it, or something else, or a
// command comes instead.
namespace {

// Plays the first move and returns the hint the engine ponders on.
std::string PonderedMove(EngineProcess& engine) {
    engine.Start();
    RunSteps(engine, R"(
        > xboard
        > new
        > hard
        > level 0 0:10 0
        > time 300
        > otim 1000
        > e2e4
        < move .*)");
    const std::string hint = engine.WaitForMatch("Hint: [a-h][1-8][a-h][1-8]");
    return hint.size() > 6 ? hint.substr(6) : "";
}

}  // namespace

TEST(XboardPonder, TheExpectedMoveIsAnswered) {
    EngineProcess engine;
    const std::string hint = PonderedMove(engine);
    ASSERT_NE(hint, "");
    RunSteps(engine, R"(
        sleep 300
        - move.*)");
    engine.Send("time 250");
    engine.Send("otim 900");
    engine.Send(hint);
    engine.WaitForMatch("move .*");
    engine.WaitForMatch("Hint: .*");
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}

TEST(XboardPonder, AnotherMoveIsAnsweredFromItsOwnPosition) {
    EngineProcess engine;
    const std::string hint = PonderedMove(engine);
    ASSERT_NE(hint, "");
    const std::string other = hint == "a2a3" ? "h2h3" : "a2a3";
    engine.Send("time 250");
    engine.Send("otim 900");
    engine.Send(other);
    engine.WaitForMatch("move .*");
    // Four plies have been played; a predicted move left on the board would make it five.
    RunSteps(engine, R"(
        > force
        > undo
        > undo
        > undo
        fen rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq
        > undo
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)");
}

TEST(XboardPonder, AnIllegalMoveIsRefusedAndTheRightOneStillAnswered) {
    EngineProcess engine;
    const std::string hint = PonderedMove(engine);
    ASSERT_NE(hint, "");
    engine.Send("e1e8");
    engine.WaitForMatch("Illegal move: e1e8");
    engine.Send(hint);
    engine.WaitForMatch("move .*");
}

TEST(XboardPonder, CommandsSeeTheBoardWithoutThePrediction) {
    for (const char* command : {"force", "undo", "remove", "new", "easy"}) {
        SCOPED_TRACE(command);
        EngineProcess engine;
        ASSERT_NE(PonderedMove(engine), "");
        engine.Send(command);
        const std::string fen = CurrentFen(engine);
        const std::string rows = fen.substr(0, fen.find(' '));
        const std::string word = command;
        // Which move Black made is its own business; White's men tell whether the predicted one stands.
        const std::string white_men =
            word == "new" || word == "remove" ? "/8/8/PPPPPPPP/RNBQKBNR" : "/4P3/8/PPPP1PPP/RNBQKBNR";
        EXPECT_TRUE(rows.size() > white_men.size()
                    && rows.compare(rows.size() - white_men.size(), std::string::npos, white_men) == 0)
            << fen;
        EXPECT_EQ(CountLines(engine, "< move .*"), 1);
    }
}

TEST(XboardPonder, NoPonderingWhenTheConfigurationForbidsIt) {
    RunDialogue({"Pondering = off", R"(
        > hard
        > sd 4
        > e2e4
        < move .*
        sleep 200
        - Hint.*)"},
                {{"Corvantis.ini", "Pondering = off\n"}});
}

// Time. What "level" stored shows in how long a move takes: without "time" it is the clock.
TEST(Xboard, LevelSetsTheClock) {
    const struct {
        const char* why;
        const char* level;
        int at_least, at_most;  // milliseconds for the first move
    } cases[] = {
        {"one second for the game", "level 0 0:01 0", 0, 700},
        {"a tenth of a second: no minutes", "level 0 0:00.1 0", 0, 300},
        {"one move in three seconds", "level 1 0:03 0", 600, 3000},
        {"fraction of a second as increment", "level 0 0:02 0.1", 0, 1300},
        {"two minutes for forty moves", "level 40 2 0", 1500, 60000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EngineProcess engine;
        engine.Start();
        engine.Send("easy");
        engine.Send(c.level);
        engine.Sync();
        const auto start = std::chrono::steady_clock::now();
        engine.Send("go");
        engine.WaitForMatch("move .*", 60000);
        EXPECT_GE(Milliseconds(start), c.at_least);
        EXPECT_LE(Milliseconds(start), c.at_most);
    }
}

TEST(Xboard, FixedTimePerMove) {
    EngineProcess engine;
    engine.Start();
    engine.Send("easy");
    engine.Send("st 1");
    engine.Sync();
    const auto start = std::chrono::steady_clock::now();
    engine.Send("go");
    engine.WaitForMatch("move .*");
    EXPECT_GE(Milliseconds(start), 900);
    EXPECT_LE(Milliseconds(start), 2000);
}

const Dialogue analysis_dialogues[] = {
    {"moves, taking back, status, leaving", R"(
        > force
        > analyze
        sleep 200
        > .
        < stat01: \d+ \d+ \d+ \d+ \d+ \S+
        > e2e4
        sleep 100
        > e7e5
        sleep 100
        > undo
        sleep 100
        > .
        < stat01: .*
        > exit
        fen rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq
        - move.*)"},
    {"an illegal move is refused", R"(
        > analyze
        > e2e5
        < Illegal move: e2e5
        > exit
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"no result lines in analysis", R"(
        > loadfen 8/8/4k3/8/8/4K3/8/3B4 w - - 0 1
        > analyze
        sleep 200
        > e3d3
        sleep 200
        - 1/2-1/2.*
        > exit)"},
    {"a mated position: waits for input", R"(
        > loadfen rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3
        > analyze
        sleep 200
        > exit
        fen rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq)"},
    {"a new game goes on being analysed until the exit", R"(
        > e2e4
        < move .*
        > analyze
        sleep 100
        > new
        sleep 100
        > .
        < stat01: .*
        > exit
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"another command leaves analysis and is executed", R"(
        > analyze
        sleep 100
        > loadfen 4k3/8/8/8/8/8/4P3/4K3 w - - 0 1
        > easy
        > sd 3
        > go
        < move .*)"},
};

class XboardAnalysis : public ::testing::TestWithParam<Dialogue> {};
TEST_P(XboardAnalysis, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, XboardAnalysis, ::testing::ValuesIn(analysis_dialogues));
