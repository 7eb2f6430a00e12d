// protocol_uci_test.cpp - the UCI dialect: identification, options, positions, searches.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <regex>

#include "tests/support/dialogue.h"

namespace {

class Uci : public ::testing::Test {
protected:
    Uci() { RunSteps(engine, "> uci\n< uciok"); }
    EngineProcess engine;
};

std::string BestMove(const std::string& line) { return line.substr(9, line.find(' ', 9) - 9); }

bool Contains(const std::vector<std::string>& moves, const std::string& move) {
    return std::find(moves.begin(), moves.end(), move) != moves.end();
}

// Every form of line that may reach a front end while it waits for "bestmove".
void CheckInfoLines(const EngineProcess& engine) {
    const std::string score =
        "depth \\d+ seldepth \\d+ score (cp -?\\d+|mate -?\\d+)( upperbound| lowerbound)?"
        " nodes \\d+ time \\d+ hashfull \\d+ nps \\d+ tbhits \\d+";
    const std::string move = " [a-h][1-8][a-h][1-8][qrbn]?", pv = " pv(" + move + ")+";
    const std::string current = " currmove" + move + " currmovenumber \\d+";
    const std::regex form("< info (" + score + "(" + pv + "|" + current + ")|multipv \\d+ " + score + current + pv
                          + "|nps \\d+ nodes \\d+ tbhits \\d+ hashfull \\d+|string .*) ?");
    for (const std::string& line : engine.Dialogue())
        EXPECT_TRUE(line.rfind("< info", 0) != 0 || std::regex_match(line, form)) << line;
}

}  // namespace

TEST(UciIdentification, Lines) {
    EngineProcess engine;
    engine.Start();
    engine.Send("UCI");
    std::vector<std::string> lines = engine.Sync();
    ASSERT_EQ(lines.size(), 13u);
    // The author's name is free; there must be one.
    EXPECT_TRUE(std::regex_match(lines[1], std::regex("id author \\S.*"))) << lines[1];
    lines[1] = "id author";
    const std::vector<std::string> expected = {
        "id name Corvantis 1.70",
        "id author",
        "option name Hash type spin min 0 max 1024 default 10",
        "option name PawnHash type spin min 0 max 1024 default 7",
        "option name NalimovPath type string default c:\\tablebases\\",
        "option name OpeningsBook type string default .\\book.cvt",
        "option name OwnBook type check default true",
        "option name NalimovCache type spin min 1 max 128 default 1",
        "option name MultiPV type spin min 1 max 1024 default 1",
        "option name Aggressivity type spin min 0 max 300 default 100",
        "option name Defensivity type spin min 0 max 300 default 100",
        "option name Clear Hash type button",
        "uciok",
    };
    EXPECT_EQ(lines, expected);
}

// Options and switches. None answers, whatever the value.
TEST_F(Uci, OptionsAreSilentAndHarmless) {
    const char* const options =
        "name Hash value 64 | name Hash value 0 | name Hash value -1 | name Hash value 99999999999999999999 | "
        "name Hash value many | name hash value 8 | name Hash | name PawnHash value 0 | name PawnHash value 2 | "
        "name NalimovCache value 4 | name OwnBook value false | name OwnBook value perhaps | "
        "name OwnBook value true | name MultiPV value 0 | name MultiPV value -3 | name MultiPV value 1 | "
        "name Aggressivity value 300 | name Aggressivity value 100 | name Defensivity value 0 | name Clear Hash | "
        "name Clear | name Ponder value true | name UCI_AnalyseMode value true | name Move Overhead value 100 | "
        "name | value 3 |  | Hash 8";
    for (const std::string& option : Texts(options)) {
        SCOPED_TRACE(option);
        engine.Send("setoption " + option);
        EXPECT_EQ(engine.Sync(), std::vector<std::string>());
        // Still playing, with whatever tables the option left.
        RunSteps(engine, "> position startpos | go depth 4\n< bestmove [a-h][1-8].*");
    }
}

// Positions: what follows "position", and the board that must result.
struct PositionCase {
    const char* why;
    const char* arguments;
    const char* fen;
};

const PositionCase position_cases[] = {
    {"start", "startpos", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq"},
    {"illegal moves are skipped and the rest is made", "startpos moves e2e4 e7e5 e1e1 g1f3",
     "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq"},
    {"words that are no moves are skipped", "startpos moves e2e4 ... nonsense e7e5",
     "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq"},
    {"upper-case moves", "startpos moves E2E4", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq"},
    {"no move behind the word", "startpos moves", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq"},
    {"many blanks", "  startpos   moves   e2e4  ", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq"},
    {"FEN with six fields", "fen 4k3/8/8/8/8/8/4P3/4K3 b - - 5 39", "4k3/8/8/8/8/8/4P3/4K3 b - -"},
    {"FEN with four fields", "fen r3k2r/8/8/8/8/8/8/R3K2R w Kq -", "r3k2r/8/8/8/8/8/8/R3K2R w Kq -"},
    {"FEN and moves", "fen 4k3/8/8/8/8/8/4P3/4K3 w - - 0 1 moves e2e4 e8e7", "8/4k3/8/8/4P3/8/8/4K3 w - -"},
    {"FEN with four fields and moves", "fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - moves e1g1 e8c8",
     "2kr3r/8/8/8/8/8/8/R4RK1 w - -"},
    {"en passant square", "fen rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3 moves e5f6",
     "rnbqkbnr/ppp1p1pp/5P2/3p4/8/8/PPPP1PPP/RNBQKBNR b KQkq -"},
    {"promotions with and without a letter", "fen 8/PP5k/8/8/8/8/pp5K/8 w - - 0 1 moves a7a8n a2a1r b7b8 b2b1",
     "NQ6/7k/8/8/8/8/7K/rq6 w - -"},
};

TEST_F(Uci, Positions) {
    for (const PositionCase& c : position_cases) {
        SCOPED_TRACE(c.why);
        engine.Send(std::string("position ") + c.arguments);
        EXPECT_EQ(engine.Sync(), std::vector<std::string>());
        const std::string fen = c.fen;
        EXPECT_EQ(CurrentFen(engine).substr(0, fen.size()), fen);
    }
}

// Searches that end by themselves. Each gives info lines of the right form, at least one with a
// score and a line of moves, and one legal move.
const char* const ending_searches =
    "wtime 1000 btime 1000 | wtime 1000 btime 1000 winc 20 binc 20 | binc 20 winc 20 btime 1000 wtime 1000 movestogo 10"
    " | wtime 500 | btime 500 wtime 300 movestogo 1 | wtime 1 btime 1 | wtime 0 btime 0 | wtime -10 btime -10"
    " | wtime -5000 btime 1000 movestogo -1 | wtime 99999999999999999999 btime 1000 depth 4 | movetime 100"
    " | movetime 10 | depth 1 | depth 5 | depth 5 wtime 1000 btime 1000 | nodes 20000"
    " | movetime 0 | movetime -5 | movestogo 0 btime 300 wtime 300 | depth 0 | searchmoves a2a3 h2h3 depth 4"
    " | depth 4 searchmoves a2a3 h2h3 | depth 4 searchmoves e2e5 zzz | depth 3 nonsense 17 foo | mate 1 depth 4";

TEST_F(Uci, EverySearchFormEndsInOneBestMove) {
    for (const char* fen : {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
                            "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"}) {
        const std::string position = std::string("position fen ") + fen;
        engine.Send(position);
        const std::vector<std::string> legal = LegalMoves(engine);
        ASSERT_GE(legal.size(), 20u);
        for (const std::string& search : Texts(ending_searches)) {
            SCOPED_TRACE(search);
            engine.Send(position);
            engine.Send("go " + search);
            const int scored = CountLines(engine, "< info depth .* score .* pv .*");
            const std::string line = engine.WaitForMatch("bestmove \\S+( ponder \\S+)?", 10000);
            EXPECT_GT(CountLines(engine, "< info depth .* score .* pv .*"), scored) << "no line with a score and moves";
            ASSERT_TRUE(Contains(legal, BestMove(line))) << line;
            // A stop that crosses the answer on the wire must not be answered by a second one.
            engine.Send("stop");
            EXPECT_EQ(engine.Sync(), std::vector<std::string>());
        }
    }
    CheckInfoLines(engine);
    EXPECT_EQ(CountLines(engine, "< info multipv .*"), 0);
}

TEST_F(Uci, MultiPvPrintsAsManyLinesAsThereAreMoves) {
    // 40 of the 48 legal moves; mute up to 50000 nodes, so the ordinary line must come too.
    RunSteps(engine, R"(
        > setoption name MultiPV value 40
        > position fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1 | go nodes 300000
        < info multipv 40 .*
        < info depth .* score .* pv .*
        < bestmove .*
        times 0 info multipv (4[1-9]|[5-9]\d|\d{3,}) .*)");
    CheckInfoLines(engine);
}

// A game's worth of positions, each set up from the start as front ends do, with the moves the
// engine itself gave: none may be refused, and the board must follow.
TEST_F(Uci, PlaysAGameAgainstItself) {
    engine.Send("ucinewgame");
    std::string moves, expected;
    int predictions = 0;
    for (int ply = 0; ply < 120; ++ply) {
        engine.Send("position startpos" + (moves.empty() ? "" : " moves" + moves));
        const std::vector<std::string> legal = LegalMoves(engine);
        EXPECT_TRUE(expected.empty() || Contains(legal, expected)) << "ponder " << expected << " after " << moves;
        engine.Send("go depth 4");
        const std::string line = engine.WaitForMatch("bestmove \\S+( ponder \\S+)?");
        ASSERT_NE(line, "");
        const std::string best = BestMove(line);
        if (legal.empty()) {
            EXPECT_EQ(best, "0000");
            break;
        }
        ASSERT_TRUE(Contains(legal, best)) << best << " after " << moves;
        moves += " " + best;
        expected = line.find(" ponder ") == std::string::npos ? "" : line.substr(line.rfind(' ') + 1);
        predictions += !expected.empty();
    }
    EXPECT_GT(predictions, 30) << moves;
}

TEST_F(Uci, ClocksInEveryOrderForBothSides) {
    for (const std::string position : {"startpos", "startpos moves e2e4"}) {
        std::vector<std::string> words = {"binc 10", "btime 100", "winc 10", "wtime 100"};
        do {
            const std::string go = "go " + words[0] + " " + words[1] + " " + words[2] + " " + words[3];
            RunSteps(engine,
                     ("> position " + position + " | isready\n< readyok\n> " + go
                      + "\n< info .*score .* pv .*\n< bestmove [a-h][1-8][a-h][1-8].*")
                         .c_str());
        } while (std::next_permutation(words.begin(), words.end()));
    }
    RunSteps(engine, R"(
        > position startpos moves e2e4 | go btime 100
        < info .*score .* pv .*
        < bestmove .*)");
    CheckInfoLines(engine);
}

// Half a second a side for a whole game, and a second for every 20 moves: no clock may run out. Time that
// the machine kept for others is forgiven, and a tenth of a second for the way to us.
TEST_F(Uci, KeepsItsOwnClocks) {
    struct Control {
        const char* form;
        int first, period;  // milliseconds, and moves that bring as many again; 0 = none
    };
    for (const Control& control : {Control{"sudden death", 500, 0}, Control{"repeating", 1000, 20}}) {
        SCOPED_TRACE(control.form);
        engine.Send("ucinewgame");
        int clocks[2] = {control.first, control.first};
        std::string moves;
        for (int ply = 0; ply < 90; ++ply) {
            const int move = ply / 2;
            int& clock = clocks[ply % 2];
            if (control.period != 0 && move > 0 && move % control.period == 0) clock += control.first;
            engine.Send("position startpos" + (moves.empty() ? "" : " moves" + moves));
            engine.Sync();
            std::string go = "go wtime " + std::to_string(clocks[0]) + " btime " + std::to_string(clocks[1]);
            if (control.period != 0) go += " movestogo " + std::to_string(control.period - move % control.period);
            const auto start = std::chrono::steady_clock::now();
            const double withheld = engine.WithheldMilliseconds();
            engine.Send(go);
            const std::string line = engine.WaitForMatch("bestmove \\S+( ponder \\S+)?");
            clock -= int((std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(1));
            clock += int(engine.WithheldMilliseconds() - withheld);
            if (line.empty() || BestMove(line) == "0000") break;
            ASSERT_GT(clock, -100) << "at ply " << ply;
            moves += " " + BestMove(line);
        }
    }
}

// Each after "uci" and its answer.
const Dialogue uci_dialogues[] = {
    {"current style values are announced", R"(
        > setoption name Aggressivity value 150 | setoption name Defensivity value 40 | uci
        < option name Aggressivity type spin min 0 max 300 default 150
        < option name Defensivity type spin min 0 max 300 default 40
        < uciok)"},
    {"a new game does not identify again, the other dialect does not answer in this one", R"(
        > ucinewgame
        - .*
        > xboard | easy | new | sd 3 | e2e4
        < move [a-h][1-8][a-h][1-8]
        times 0 bestmove.*
        > uci
        < uciok
        > go depth 2
        < bestmove.*)"},
    {"a book that is not there",
     "> setoption name OpeningsBook value no such book.bin\n"
     "= Error opening \"no such book.bin\"!\n"
     "> setoption name OpeningsBook value none.bin\r\n"
     "= Error opening \"none.bin\"!"},
    {"tablebases are looked for wherever they are said to be, and one file is no table",
     R"(
        > setoption name NalimovPath value nowhere at all | egtbstat
        < UseEGTB = TRUE
        < tb_path = nowhere at all
        < EGTB files not found
        > setoption name NalimovPath value .
        < \*\*\* Unable to register \.[/\\]kpk\.NBB
        < Reason: .*
        < Tried to open 1 files\. Opened 0 files\.
        > setoption name NalimovPath value ./kpk.NBB
        < .*folder \./kpk\.NBB.*
        > setoption name NalimovPath value c:\tablebases\
        - .*
        > position fen 8/8/8/8/8/2k5/p7/K7 b - - 0 1 | go depth 6
        < bestmove .*)",
     {{"kpk.NBB", "not a tablebase"}}},
    // 28 moves is the longest mate with a pawn.
    {"tables that are made with the engine", "> setoption name NalimovPath value " CORVANTIS_TABLES R"(
        < .*[/\\]kbk\.nbb\.emd registered
        < .*[/\\]krk\.nbw\.emd registered
        < Tried to open 10 files\. Opened 10 files\.
        > egtbstat
        < 3 piece EGTB files found
        < [1-9]\d*kb of RAM used for TB indices and decompression tables
        > position fen 8/8/8/1k6/8/8/K5P1/8 w - - 0 1 | go depth 6
        < info .*score mate 28 .*
        < info .* tbhits [1-9].*
        < bestmove .*)"},
    // The side to move takes its own clock: with the other one nearly run out it still thinks.
    {"clocks belong to their sides", R"(
        > position startpos | go wtime 15000 btime 100
        < bestmove .*
        took 200 15000
        > ucinewgame | position startpos | go wtime 100 btime 15000
        < bestmove .*
        took 0 1000
        > ucinewgame | position startpos moves e2e4 | go wtime 100 btime 15000
        < bestmove .*
        took 200 15000
        > ucinewgame | position startpos moves e2e4 | go wtime 15000 btime 100
        < bestmove .*
        took 0 1000)"},
    {"the time for a move is used and kept", R"(
        > position startpos | go movetime 500
        < bestmove .*
        took 450 1500)"},
    // Captures breed captures there: the first iteration alone takes millions of nodes.
    {"the time for a move is kept on the most crowded of boards", R"(
        > position fen r1n1n1b1/1P1P1P1P/1N1N1N2/2RnQrRq/2pKp3/3BNQbQ/k7/4Bq2 w - - 0 1 | go movetime 10
        < bestmove .*
        took 0 100
        > go nodes 1000
        < bestmove .*
        times 0 info .*nodes \d{6,} .*)"},
    {"a book move comes at once, but ends no infinite and no ponder search",
     R"(
        > position startpos | go wtime 60000 btime 60000
        < bestmove .*
        took 0 1000
        > position startpos | go infinite
        sleep 200
        - bestmove.*
        > stop
        < bestmove .*
        > position startpos | go ponder wtime 1000 btime 1000
        sleep 200
        - bestmove.*
        > ponderhit
        < bestmove .*
        > setoption name OwnBook value false | position startpos | go movetime 100
        < info .*score .*
        < bestmove .*)",
     {{"Book.cvt", ContentsOf(CORVANTIS_BOOK)}}},
    // The limit is looked at when the poll countdown runs out, which it sets to the nodes left.
    {"the limit of nodes is kept", R"(
        > position startpos | go nodes 30000
        < info .*nodes (1[5-9]|2\d|30)\d{3} .*
        < bestmove .*
        times 0 info .*nodes (3[1-9]\d{3}|[4-9]\d{4}|\d{6,}) .*)"},
    {"infinite waits for stop: a mate is found, one legal move or none, a limit is reached, no limit at all", R"(
        > position fen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1 | go infinite
        sleep 300
        - bestmove.*
        > stop
        < bestmove a1a8
        > position fen k7/8/8/8/8/8/1r6/K7 w - - 0 1 | go infinite
        sleep 200
        - bestmove.*
        > stop
        < bestmove a1b2
        > position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1 | go infinite
        sleep 200
        - bestmove.*
        > stop
        < bestmove 0000
        > go ponder wtime 1000 btime 1000
        sleep 200
        - bestmove.*
        > ponderhit
        < bestmove 0000
        > position startpos | go infinite depth 2
        sleep 200
        - bestmove.*
        > stop
        < bestmove [a-h][1-8][a-h][1-8].*
        > position startpos | go
        sleep 200
        - bestmove.*
        > stop
        < bestmove [a-h][1-8][a-h][1-8].*)"},
    {"mates are told and played; no legal move, drawn and unplayable positions", R"(
        > position fen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1 | go depth 5
        < info .* score mate 1 nodes .* pv a1a8 ?
        < bestmove a1a8
        > position fen 7K/5k2/8/8/8/8/8/6r1 w - - 0 1 | go depth 5
        < info .* score mate -1 nodes .* pv h8h7 g1h1 ?
        < bestmove h8h7 ponder g1h1
        > position fen rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3 | go depth 4
        < bestmove 0000
        > position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1 | go wtime 1000 btime 1000
        < bestmove 0000
        > position fen 8/8/4k3/8/8/4K3/8/3B4 w - - 0 1 | go depth 4
        < bestmove [a-h][1-8][a-h][1-8].*
        > position fen 8/8/8/8/8/8/8/8 w - - 0 1 | go depth 3
        < bestmove 0000
        > position fen 4k3/8/8/8/8/8/8/4R1K1 w - - 0 1 | go depth 3
        < bestmove 0000
        > position startpos | go depth 3
        < bestmove [a-h][1-8][a-h][1-8].*
        # A result line is a matter of the other dialect.
        times 0 (1-0|0-1|1/2-1/2).*)"},
    {"readyok comes in the middle of a search, which goes on", R"(
        > position startpos | go infinite | isready
        < readyok
        > isready
        < readyok
        sleep 200
        - bestmove.*
        > stop
        < bestmove.*)"},
    {"ponder hit after the search has nothing left to do", R"(
        > position fen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1 | go ponder wtime 1000 btime 1000 depth 3
        sleep 200
        - bestmove.*
        > ponderhit
        < bestmove a1a8.*)"},
    {"stop and ponderhit without a search, and a switch, are not answered", R"(
        > stop | ponderhit | debug on | debug off
        - .*
        > position startpos | go depth 3
        < bestmove.*
        > stop
        - .*)"},
    {"a new position in a search: the owed move first, then the new board, which a bare word keeps", R"(
        > position startpos | go infinite
        sleep 100
        > position startpos moves e2e4 e7e5 g1f3
        < bestmove.*
        > position
        fen rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq
        > go depth 3
        < bestmove [a-h][78][a-h][1-8].*)"},
    {"other commands wait for the end of a normal search", R"(
        > position startpos | go movetime 400 | setoption name Hash value 1 | isready
        < readyok
        < bestmove.*)"},
    {"a limit does not outlive its search, searchmoves are the only ones looked at", R"(
        > position startpos | go mate 3 depth 3
        < bestmove.*
        > position fen 6k1/8/8/8/8/8/5Q2/6K1 w - - 0 1 | go depth 3
        < info .* score cp [1-9]\d\d+ .*
        < bestmove.*
        > position startpos | go depth 5 searchmoves a2a3
        < bestmove a2a3.*
        > position startpos | go nodes 100000
        < bestmove (?!a2a3).*)"},
};

class UciDialogue : public ::testing::TestWithParam<Dialogue> {};
TEST_P(UciDialogue, Play) { RunDialogue(GetParam(), "> uci\n< uciok"); }
INSTANTIATE_TEST_SUITE_P(Protocol, UciDialogue, ::testing::ValuesIn(uci_dialogues));
