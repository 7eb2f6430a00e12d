// protocol_xboard_test.cpp - the xboard dialect: play, pondering, results, resigning, analysis.
//
// Searches are kept short by "sd" or "st"; "easy" keeps the engine from pondering where
// pondering is not the subject.
#include <gtest/gtest.h>

#include <regex>

#include "tests/support/dialogue.h"

// Each after "easy".
const Dialogue play_dialogues[] = {
    {"illegal moves are refused and change nothing", R"(
        > e2e5 | e1g1 | a7a6 | E2E5
        = Illegal move: e2e5
        = Illegal move: e1g1
        = Illegal move: a7a6
        = Illegal move: E2E5
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"words that are no moves are not called illegal", R"(
        > protover 2 | accepted done | rejected setboard | random | computer | name An Opponent | rating 1500 2500
        > ics - | result 1-0 {White mates} | draw | hint | setboard 8/8/8/8/8/8/8/8 w - - 0 1 | usermove e2e4
        > ping 1 | variant normal | pause | ? | . | e2 | e2e | i2i4 | e0e4
        - .*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"upper-case moves and promotions", R"(
        > force | loadfen 8/P6k/8/8/8/8/7K/8 w - - 0 1 | A7A8R
        fen R7/7k/8/8/8/8/7K/8 b)"},
    {"force records moves, undo takes one ply back, remove two or what there is", R"(
        > force | e2e4 | e7e5 | g1f3
        - .*
        > undo
        fen rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq
        > remove
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq
        > undo | remove | e2e4 | remove
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"undo stops at a position that was set up", R"(
        > force | loadfen rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3 | undo
        fen rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq
        > e5f6 | undo | e5f6
        fen rnbqkbnr/ppp1p1pp/5P2/3p4/8/8/PPPP1PPP/RNBQKBNR b KQkq)"},
    {"no take-back across a turn of the side to move", R"(
        > force | black
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq
        > white
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq
        > force | e2e4 | e7e5 | black | undo
        fen rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR b KQkq)"},
    {"stop without a search names the last best move, the engine's own move may be taken back", R"(
        > stop
        < bestmove 0000
        > sd 3 | e2e4
        < move .*
        > stop
        < bestmove [a-h][78][a-h][1-8]
        > remove
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"white: the user plays White and the engine answers", R"(
        > sd 3 | force | white | e2e4
        < move [a-h][78][a-h][1-8])"},
    {"black to move, user's move, answer by White", R"(
        > sd 3 | black | e7e5
        < move [a-h][12][a-h][1-8])"},
    {"force in a search: no move is made", R"(
        > st 60 | go
        sleep 100
        > force
        - move.*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"new in a search: no move, start position", R"(
        > st 60 | e2e4
        sleep 100
        > new
        - move.*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"status in a search, which goes on until it is told to move", R"(
        > st 60 | go
        sleep 100
        > .
        < stat01: \d+ \d+ \d+ \d+ \d+ [a-h][1-8][a-h][1-8]
        > .
        < stat01: \d+ \d+ \d+ \d+ 20 [a-h][1-8][a-h][1-8]
        > ?
        < move .*
        - move.*)"},
    {"a fixed time; thinking lines: depth, score, centiseconds, nodes, moves", R"(
        > post | st 1 | go
        < \d+ -?\d+ \d+ \d{6,}( [a-h][1-8][a-h][1-8][qrbn]?)+ ?
        < move .*
        took 900 2000)"},
    {"no thinking lines when they are switched off", R"(
        > nopost | st 1 | go
        < move .*
        times 0 \d+ .*)"},
    // Without "time" the clock is what "level" stored.
    {"level sets the clock: a second or a tenth for the game, a second for one move, one each", R"(
        > level 0 0:01 0 | go
        < move .*
        took 0 700
        > new | level 0 0:00.1 0 | go
        < move .*
        took 0 300
        > new | level 1 0:01 0 | go
        < move .*
        took 200 1000
        > new | level 60 1 0 | go
        < move .*
        took 500 60000)"},
    {"lines that waited during perft reach the search behind it", R"(
        > uci
        < uciok
        > position startpos | perft 4 | go infinite | stop
        < total moves = 197281 .*
        < bestmove .*)"},
    {"a UCI infinite search does not stop the clock of a later xboard game", R"(
        > uci
        < uciok
        > go infinite
        sleep 100
        > stop
        < bestmove .*
        > xboard | easy | new | level 0 0:01 0 | e2e4
        < move .*)"},
    {"a stop ends the demonstration", R"(
        > st 60 | demo
        sleep 200
        > stop
        < move .*
        sleep 200
        > .
        - (move|stat01).*)"},
    {"no move comes after the result", R"(
        > st 0.4 | e2e4
        sleep 100
        > result 1-0 {White wins on time}
        sleep 600
        - move .*)"},
    {"commands without their number", R"(
        > sd | st | perft | level
        - .*
        > sd 3 | go
        < move .*)"},
    // Three own searches in a row far below the threshold; both lines are sent. White moves a pawn, so
    // that no repetition can save Black.
    {"the engine resigns at the third lost search", R"(
        > sd 4 | loadfen 7k/6p1/7p/8/8/8/QRP5/K7 b - - 0 1 | go
        < move .*
        > c2c3
        < move .*
        times 0 resign
        > c3c4
        < resign
        < move .*)"},
    {"a configuration that raises the bar beyond the material on the board",
     R"(
        > sd 4 | loadfen 7k/6p1/7p/8/8/8/QRP5/K7 b - - 0 1 | go
        < move .*
        > c2c3
        < move .*
        > c3c4
        < move .*
        > c4c5
        < move .*
        times 0 resign)",
     {{"Corvantis.ini", "ResignValue = 4000\n"}}},
    {"a configuration that forbids pondering",
     R"(
        > hard | sd 4 | e2e4
        < move .*
        sleep 200
        - Hint.*)",
     {{"Corvantis.ini", "Pondering = off\n"}}},
    {"analysis: moves, taking back, status, leaving", R"(
        > force | analyze
        sleep 100
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
        > e2e5
        < Illegal move: e2e5
        > exit
        fen rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq
        - move.*)"},
    {"analysis: no result lines", R"(
        > loadfen 8/8/4k3/8/8/4K3/8/3B4 w - - 0 1 | analyze
        sleep 100
        > e3d3
        sleep 100
        - 1/2-1/2.*
        > exit)"},
    {"analysis: a mated position waits for input", R"(
        > loadfen rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3 | analyze
        sleep 100
        > exit
        fen rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq)"},
    {"analysis: a new game goes on being analysed until the exit", R"(
        > sd 3 | e2e4
        < move .*
        > analyze
        sleep 100
        > new
        sleep 100
        > .
        < stat01: .*
        > exit
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"analysis: an edited board is what is analysed then", R"(
        > force | e2e4 | analyze
        sleep 100
        > edit | # | Ka1 | Qb2 | c | Kh8 | . | analyze
        sleep 100
        > .
        < stat01: .*
        > exit
        fen 7k/8/8/8/8/8/1Q6/K7 b - -)"},
    {"analysis: another command leaves it and is executed", R"(
        > analyze
        sleep 100
        > loadfen 4k3/8/8/8/8/8/4P3/4K3 w - - 0 1 | easy | sd 3 | go
        < move .*)"},
};

class Xboard : public ::testing::TestWithParam<Dialogue> {};
TEST_P(Xboard, Play) { RunDialogue(GetParam(), "> easy"); }
INSTANTIATE_TEST_SUITE_P(Protocol, Xboard, ::testing::ValuesIn(play_dialogues));

// Ends of games. The engine answers the last move before the result, or ends the game itself.
struct ResultCase {
    const char* why;
    const char* lines;
    const char* answers;  // all of them, "move" for any move
};

const ResultCase result_cases[] = {
    {"mated as Black", "loadfen 7k/8/6K1/8/8/8/5Q2/8 w - - 0 1 | f2f8", "1-0 {White mates}"},
    {"mated as White", "loadfen 8/5q2/8/8/8/6k1/8/7K b - - 0 1 | f7f1", "0-1 {Black mates}"},
    {"stalemated", "loadfen 7k/8/6K1/8/8/8/5Q2/8 w - - 0 1 | f2f7", "1/2-1/2 {Stalemate}"},
    {"mates", "loadfen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1 | go", "move | 1-0 {White mates}"},
    {"mates as Black", "loadfen r3k3/8/8/8/8/8/5PPP/6K1 b q - 0 1 | go", "move | 0-1 {Black mates}"},
    {"a bishop is too little; the move comes all the same", "loadfen 8/8/4k3/8/8/4K3/8/3B4 w - - 0 1 | e3d3",
     "1/2-1/2 {Draw by insufficient material} | move | 1/2-1/2 {Draw by insufficient material}"},
    {"two bare kings: once for each, before and after", "loadfen 8/8/4k3/8/8/4K3/8/8 w - - 0 1 | e3d3",
     "1/2-1/2 {Draw by insufficient material} | 1/2-1/2 {Draw by insufficient material} | move | 1/2-1/2 {Draw by "
     "insufficient material} | 1/2-1/2 {Draw by insufficient material}"},
    {"knight and pawn are enough", "loadfen 8/8/8/8/k7/8/P7/K5N1 w - - 0 1 | a1b2", "move"},
    {"a pawn is enough", "loadfen 8/8/4k3/8/8/4K3/4P3/8 w - - 0 1 | e3d3", "move"},
    {"minor pieces on both sides are enough", "loadfen 8/8/3bk3/8/8/4K3/8/3B4 w - - 0 1 | e3d3", "move"},
    {"third occurrence", "force | g1f3 | g8f6 | f3g1 | f6g8 | g1f3 | g8f6 | f3g1 | f6g8 | go",
     "1/2-1/2 {Draw by repetition} | move"},
    {"second occurrence only", "force | g1f3 | g8f6 | f3g1 | f6g8 | go", "move"},
    {"a castling right was lost in between",
     "force | loadfen 4k3/7p/8/8/8/8/7P/4K2R w K - 0 1 | h1g1 | e8d8 | g1h1 | d8e8 | h1g1 | e8d8 | g1h1 | d8e8 | go",
     "move"},
};

TEST(XboardResult, Lines) {
    for (const ResultCase& c : result_cases) {
        SCOPED_TRACE(c.why);
        EngineProcess engine;
        engine.Start();
        engine.Send("easy");
        engine.Send("sd 4");
        for (const std::string& line : Texts(c.lines)) engine.Send(line);
        // Executed when the search and what follows it are over.
        engine.Send("mvd");
        std::vector<std::string> answers;
        for (std::string line; engine.ReadLine(&line, 10000) && line.rfind("castling flags", 0) != 0;)
            answers.push_back(line.rfind("move ", 0) == 0 ? "move" : line);
        EXPECT_EQ(answers, Texts(c.answers)) << engine.Transcript();
        // An end without moves has begun a new game.
        const std::string fen = CurrentFen(engine);
        const bool over = std::regex_search(c.answers, std::regex("mates?\\}"));
        EXPECT_EQ(fen == "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", over) << fen;
    }
}

// The rule looks at the counter before the last move, so it speaks one ply after the hundredth.
TEST(XboardResult, FiftyMovesAreTold) {
    const char* const knight_tour[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (const int plies : {100, 101}) {
        EngineProcess engine;
        RunSteps(engine, "> easy | sd 3 | force");
        for (int ply = 0; ply < plies; ++ply) engine.Send(knight_tour[ply % 4]);
        RunSteps(engine, "> go\n< move .*");
        EXPECT_EQ(CountLines(engine, "< 1/2-1/2 \\{Draw by the 50-moves rule\\}"), plies - 100);
    }
}

// Pondering. The engine says what it expects; the opponent plays it, or something else, or a
// command comes instead.
const char* const ponder = R"(
    > xboard | new | hard | level 0 0:10 0 | time 300 | otim 1000 | e2e4
    < move .*
    < Hint: ([a-h][1-8][a-h][1-8]))";

TEST(XboardPonder, AnIllegalMoveIsRefusedAndTheRightOneStillAnswered) {
    RunDialogue({"", "> e1e8\n< Illegal move: e1e8\n> $1\n< move .*"}, ponder);
}

TEST(XboardPonder, NoMoveFollowsAResultWhenThePredictionHasComeTrue) {
    RunDialogue({"", "> time 60000 | $1 | result 1-0 {White mates}\nsleep 1500\n- move .*"}, ponder);
}

TEST(XboardPonder, CommandsSeeTheBoardWithoutThePrediction) {
    for (const std::string command : {"force", "undo", "remove", "new", "easy"}) {
        SCOPED_TRACE(command);
        EngineProcess engine;
        RunSteps(engine, ponder);
        engine.Send(command);
        const std::string fen = CurrentFen(engine);
        // Which move Black made is its own business; White's men tell whether the predicted one stands.
        const std::string white_men =
            command == "new" || command == "remove" ? "/8/8/PPPPPPPP/RNBQKBNR " : "/4P3/8/PPPP1PPP/RNBQKBNR ";
        EXPECT_NE(fen.find(white_men), std::string::npos) << fen;
        EXPECT_EQ(CountLines(engine, "< move .*"), 1);
    }
}
