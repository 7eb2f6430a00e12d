// protocol_frontend_test.cpp - what front ends really send, as recorded, with short clocks.
//
// Pauses of many seconds (an engine that offers no features is waited for) are left out.
#include <gtest/gtest.h>

#include "tests/support/dialogue.h"

const Dialogue xboard_frontends[] = {
    {"XBoard 4.9, match, engine plays White, interrupted before every move", R"(
        > xboard | protover 2 | new | random | level 0 0:02 0.1 | post | hard | easy | force | new | random
        > level 0 0:02 0.1 | post | hard | easy | force | computer | black | time 200 | otim 200 | white | go
        < move [a-h][12][a-h][34]
        interrupt
        > time 205 | otim 198 | a7a6
        < move [a-h][1-8][a-h][1-8]
        interrupt
        > time 200 | otim 190 | h7h6
        < move [a-h][1-8][a-h][1-8]
        interrupt
        > result 1-0 {Xboard adjudication: Checkmate} | force | new | random | level 0 0:02 0.1 | post | hard | easy
        > force
        - .*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"XBoard 4.9, match, engine plays Black", R"(
        > xboard | protover 2 | new | random | level 0 0:02 0.1 | post | hard | easy | force | computer | time 200
        > otim 205 | d2d3
        - move.*
        > black | go
        < move [a-h][78][a-h][1-8]
        interrupt
        > time 195 | otim 200 | a2a3
        < move [a-h][1-8][a-h][1-8])"},
    {"XBoard 4.9, a person plays White and the engine ponders", R"(
        > xboard | protover 2 | new | random | level 0 1 0.1 | post | hard | time 300 | otim 6100 | e2e4
        < move [a-h][78][a-h][1-8]
        < Hint: .*
        interrupt
        > time 300 | otim 6000 | a2a3
        < move [a-h][1-8][a-h][1-8]
        interrupt
        > result * {xboard exit})"},
    {"XBoard 4.9, second game of a person: the first move is answered", R"(
        > xboard | new | random | level 0 0:02 0 | post | easy | time 200 | otim 200 | e2e4
        < move .*
        > result 0-1 {White resigns} | force | new | random | level 0 0:02 0 | post | easy | time 200 | otim 200
        > d2d4
        < move [a-h][78][a-h][1-8])"},
    {"XBoard 4.9, match: the engine mates, says so once, and plays Black in the next game", R"(
        > xboard | protover 2
        - feature.*
        > new | random | level 0 0:03 0.05 | post | hard | force
        > edit | # | Ra1 | Kg6 | c | Kg8 | .
        > computer | black | time 300 | otim 300 | white | go
        < move a1a8
        interrupt
        > result 1-0 {Xboard adjudication: Checkmate} | force
        # The claim crosses the front end's "result"; nothing may follow it.
        < 1-0 \{White mates\}
        > new | random | level 0 0:03 0.05 | post | hard | force | computer
        - .*
        > time 300 | otim 295 | d2d4 | black | go
        < move [a-h][78][a-h][1-8]
        < Hint: [a-h][1-8][a-h][1-8])"},
    {"XBoard 4.9, match: the engine is mated while it ponders, and goes on to the next game", R"(
        > xboard | protover 2 | new | random | level 0 0:03 0.05 | post | hard | black | force
        > edit | # | Ra1 | Kg6 | c | Kh8 | .
        > white | time 300 | otim 300 | black | go
        < move h8g8
        < Hint: a1a8
        interrupt
        > time 290 | otim 290 | a1a8 | result 1-0 {Xboard adjudication: Checkmate} | force
        < 1-0 \{White mates\}
        - .*
        > new | random | level 0 0:03 0.05 | post | hard | force | black | time 300 | otim 300 | white | go
        < move [a-h][12][a-h][34])"},
    {"XBoard 4.9, match: the engine resigns, and the move it sends all the same is undone", R"(
        > xboard | protover 2 | new | random | level 40 0:30 0 | sd 4 | post | easy | black | force
        > edit | # | Ka1 | Qa2 | Rb2 | Pc2 | c | Kh8 | Pg7 | Ph6 | .
        > white | black | go
        < move .*
        interrupt
        > c2c3
        < move .*
        interrupt
        > c3c4
        < resign
        interrupt
        > result 1-0 {Black resigns} | force
        < move .*
        > undo
        - .*
        > new | random | level 40 0:30 0 | sd 4 | post | easy | force | computer | d2d4 | black | go
        < move [a-h][78][a-h][1-8]
        - resign)"},
    {"XBoard 4.9, set-up position, engine to play Black", R"(
        > xboard | new | random | level 0 0:02 0 | post | easy | black | force
        > edit | # | Kg1 | Ph2 | c | Kg8 | Ra8 | .
        > computer | white | time 200 | otim 200 | black | go
        < move [a-h][1-8][a-h][1-8]
        - Illegal.*)"},
    {"XBoard 4.9, repeating control, and the demand to move behind its interrupt", R"(
        > xboard | new | random | level 40 0:01 0 | post | easy | force | e2e4 | time 100 | otim 100 | black | go
        < move [a-h][78][a-h][1-8]
        > new | st 60 | e2e4
        sleep 100
        interrupt
        > ?
        < move [a-h][78][a-h][1-8]
        took 0 1000)"},
    {"XBoard 4.9, analysis of a set-up position", R"(
        > xboard | new | post | force
        > edit | # | Ke1 | Pe2 | c | Ke8 | .
        > analyze
        sleep 100
        > .
        < stat01: .*
        > e2e4
        sleep 100
        > undo | . | exit
        < stat01: .*
        fen 4k3/8/8/8/8/8/4P3/4K3 w - -)"},
    {"XBoard 4.9, analysis with status requests", R"(
        > xboard | new | random | level 40 5 0 | post | easy | force | analyze
        sleep 150
        > .
        < stat01: .*
        > e2e4
        sleep 100
        > .
        < stat01: .*
        > undo | new
        sleep 100
        > .
        < stat01: .*
        > exit
        - move.*)"},
    {"XBoard 4.9, menus", R"(
        > xboard | new | level 0 0:02 0 | easy | force | e2e4 | e7e5 | undo | remove | draw | hint | bk
        < No book loaded...
        > nopost | name Someone | rating 1800 2200 | pause | resume
        - .*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq)"},
    {"cutechess in the xboard dialect, set-up position with Black to move", R"(
        > xboard | protover 2 | new | force | b2b3
        > edit | # | Ke1 | Ra1 | c | Ke8 | Ra8 | .
        > st 1 | level 0 0:02 0 | post | easy | time 200 | otim 200 | go
        < move [a-h][1-8][a-h][1-8]
        > result * {No result}
        - .*)"},
    {"Scid 4.7 in the xboard dialect: a search that lasts, begun anew at every move", R"(
        > xboard | protover 2 | ponder off | post | new | force | e2e4 | e7e5 | g1f3 | black
        > st 120000 | sd 50 | post | go
        < 1?\d -?\d+ \d+ \d+ [a-h][78].*
        > new | force | e2e4 | e7e5 | g1f3 | b8c6 | white | st 120000 | sd 50 | post | go
        < 1?\d -?\d+ \d+ \d+ [a-h][1-4].*
        > exit
        - (move|Illegal|Error).*)"},
    {"Arena, automatic choice of the dialect", R"(
        > xboard | uci
        < uciok
        > isready
        < readyok
        > ucinewgame | position startpos moves e2e4 e7e4 | go movetime 100
        < bestmove .*)"},
    {"Arena, falling back to the xboard dialect", R"(
        > xboard | isready
        < readyok
        > new | random | level 40 40 0 | post | easy | sd 4 | e2e4
        < move .*)"},
    // XBoard interrupts before a move and before taking back, but not before "force".
    {"XBoard 4.9, a person and the pondering engine: hit, miss, take back, second game in the middle", R"(
        > xboard | protover 2 | new | random | level 0 0:04 0.1 | post | hard | time 400 | otim 410 | e2e4
        < move [a-h][78][a-h][1-8]
        < Hint: ([a-h][1-8][a-h][1-8])
        interrupt
        # The expected move is answered without another word about it: the search just goes on.
        > time 394 | otim 387 | $1
        < move [a-h][1-8][a-h][1-8]
        < Hint: (?!a2a3)[a-h][1-8][a-h][1-8]
        interrupt
        > time 402 | otim 350 | a2a3
        < move [a-h][1-8][a-h][1-8]
        < Hint: .*
        interrupt
        # The same move would be illegal if it had not been taken back.
        > remove | time 402 | otim 373 | a2a3
        < move [a-h][1-8][a-h][1-8]
        < Hint: .*
        > force | new | random | level 0 0:04 0.1 | post | hard | time 400 | otim 410 | d2d4
        < move [a-h][78][a-h][1-8]
        < Hint: .*
        interrupt
        > result * {xboard exit} | force
        - move.*
        > undo
        fen rnbqkbnr/pppppppp/8/8/3P4/8/PPP1PPPP/RNBQKBNR b KQkq
        # One answer to each of the person's moves, and no complaint.
        times 5 move .*
        times 0 (Illegal|Error \().*)"},
};

// Each after "uci" and its answer.
const Dialogue uci_frontends[] = {
    {"fastchess", R"(
        > setoption name Hash value 8 | ucinewgame | isready
        < readyok
        > isready
        < readyok
        > isready
        < readyok
        > position startpos moves g1f3 d7d5 | isready
        < readyok
        > go wtime 520 btime 520 winc 20 binc 20
        < info .*score .*
        < bestmove [a-h][1-8][a-h][1-8].*
        > isready
        < readyok
        > position startpos moves g1f3 d7d5 d2d4 c7c5 | isready
        < readyok
        > go wtime 500 btime 510 winc 20 binc 20
        < info .*score .*
        < bestmove [a-h][1-8][a-h][1-8].*
        > isready
        < readyok
        > stop
        - .*)"},
    {"fastchess, clocks in every order and missing", R"(
        > position startpos | isready
        < readyok
        > go wtime 100
        < bestmove .*
        > position startpos moves e2e4 e7e5 | go wtime 100 btime 100
        < bestmove .*
        > position startpos moves e2e4 e7e5 | go winc 100 wtime 100 binc 100 btime 100
        < bestmove .*
        > position startpos moves e2e4 | go btime 100
        < bestmove .*
        > position fen 3r2k1/p5n1/1pq1p2p/2p3p1/2P1P1n1/1P1P2pP/PN1Q2K1/5R2 w - - 0 27
        > go wtime 100 btime 100 winc 10 binc 10
        < bestmove .*)"},
    {"cutechess with pondering: hit, then miss", R"(
        > setoption name Hash value 64 | isready
        < readyok
        > ucinewgame | position startpos | isready
        < readyok
        > go wtime 1000 btime 1000 winc 10 binc 10 movestogo 40
        < bestmove .*
        > position startpos moves e2e4 e7e5 | isready
        < readyok
        > go ponder wtime 1000 btime 1000 winc 10 binc 10 movestogo 39
        sleep 300
        - bestmove.*
        > ponderhit
        < bestmove \S+( ponder \S+)?
        > position startpos moves e2e4 e7e5 g1f3 b8c6 | go ponder wtime 1000 btime 1000 winc 10 binc 10 movestogo 38
        sleep 100
        > stop
        # A miss says nothing about what may come next.
        < bestmove \S+
        > isready
        < readyok
        > position startpos moves e2e4 e7e5 g1f3 g8f6 | isready
        < readyok
        > go wtime 1000 btime 1000 winc 10 binc 10 movestogo 38
        < bestmove .*
        > stop | isready
        < readyok)"},
    {"polyglot", R"(
        > setoption name Hash value 68 | setoption name NalimovPath value /nowhere
        > setoption name NalimovCache value 4 | isready
        < readyok
        > ucinewgame | isready
        < readyok
        > ucinewgame | position startpos | go wtime 1000 btime 1000
        < bestmove .*)"},
    {"Scid 4.7: infinite analysis, stopped at every move", R"(
        > position startpos moves | go infinite
        < info depth 8 .*
        > stop
        > position startpos moves e2e4 | go infinite
        < bestmove [a-h][12].*
        < info depth 8 .*
        > stop | position startpos moves e2e4 e7e5 | go infinite | stop
        < bestmove [a-h][78].*
        < bestmove [a-h][12].*)"},
    {"Scid 5: the other dialect after two seconds of silence is accepted too", R"(
        > xboard | protover 2 | uci
        < uciok
        > ucinewgame | isready
        < readyok
        > position startpos | go infinite
        sleep 100
        > stop
        < bestmove .*)"},
    {"PyChess 1.0: a game", R"(
        > setoption name UCI_AnalyseMode value false | setoption name Ponder value true
        > setoption name MultiPV value 1 | isready
        < readyok
        > ucinewgame | position startpos | go wtime 1000 winc 0 btime 1000 binc 0
        < bestmove .*
        > position startpos moves e2e4 e7e5 | go ponder wtime 900 winc 0 btime 900 binc 0 | ponderhit
        < bestmove .*
        > stop
        - .*)"},
    {"PyChess 1.0: hints, given up as soon as they are asked for", R"(
        > isready
        < readyok
        > ucinewgame | stop | position startpos moves d2d4 | go movetime 3000 | stop
        < bestmove [a-h][78].*
        > stop | position fen rnbqkbnr/pppppppp/8/8/8/3P4/PPP1PPPP/RNBQKBNR b KQkq - 0 1
        > go movetime 3000 | stop | stop
        < bestmove [a-h][78].*
        > position fen rnbqkbnr/pppppp1p/6p1/8/8/3P4/PPP1PPPP/RNBQKBNR w KQkq - 0 2 | go movetime 300
        < bestmove [a-h][123].*)"},
    {"lichess-bot", R"(
        > setoption name Move Overhead value 100 | setoption name Threads value 1 | setoption name Hash value 16
        > setoption name SyzygyPath value /nowhere | setoption name UCI_Opponent value none none computer X
        > ucinewgame | isready
        < readyok
        > position startpos moves e2e4 | go wtime 1000 btime 1000 winc 100 binc 100
        < bestmove .*)"},
};

class XboardFrontEnd : public ::testing::TestWithParam<Dialogue> {};
TEST_P(XboardFrontEnd, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, XboardFrontEnd, ::testing::ValuesIn(xboard_frontends));
class UciFrontEnd : public ::testing::TestWithParam<Dialogue> {};
TEST_P(UciFrontEnd, Dialogue) { RunDialogue(GetParam(), "> uci\n< uciok"); }
INSTANTIATE_TEST_SUITE_P(Protocol, UciFrontEnd, ::testing::ValuesIn(uci_frontends));
