// protocol_uci_test.cpp - the UCI dialect: identification, options, positions, searches.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <regex>

#include "tests/support/dialogue.h"

namespace {

const char* const score_pattern = "(cp -?\\d+|mate -?\\d+)( upperbound| lowerbound)?";

// Every form of line that may reach a front end while it waits for "bestmove".
const std::regex& InfoLine() {
    static const std::regex pattern(
        "info (depth \\d+ seldepth \\d+ score " + std::string(score_pattern)
        + " nodes \\d+ time \\d+ hashfull \\d+ nps \\d+ tbhits \\d+"
          "( pv( [a-h][1-8][a-h][1-8][qrbn]?)+| currmove [a-h][1-8][a-h][1-8][qrbn]? currmovenumber \\d+)"
          "|nps \\d+ nodes \\d+ tbhits \\d+ hashfull \\d+"
          "|string .*) ?");
    return pattern;
}

int Milliseconds(std::chrono::steady_clock::time_point since) {
    return int(std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - since).count());
}

std::string BestMove(const std::string& line) { return line.substr(9, line.find(' ', 9) - 9); }

}  // namespace

TEST(Uci, Identification) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
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

const Dialogue identification_dialogues[] = {
    {"current style values are announced", R"(
        > setoption name Aggressivity value 150
        > setoption name Defensivity value 40
        > uci
        < option name Aggressivity type spin min 0 max 300 default 150
        < option name Defensivity type spin min 0 max 300 default 40
        < uciok)"},
    {"a new game does not identify again", R"(
        > uci
        < uciok
        > ucinewgame
        - .*)"},
    {"identification may be asked for twice and in any case", R"(
        > UCI
        < uciok
        > uci
        < uciok)"},
    {"both dialects tried on one process", R"(
        > xboard
        > uci
        < uciok
        > isready
        < readyok
        > position startpos
        > go depth 3
        < bestmove \S+.*)"},
    {"back to the other dialect", R"(
        > uci
        < uciok
        > xboard
        > easy
        > new
        > sd 3
        > e2e4
        < move [a-h][1-8][a-h][1-8]
        - bestmove.*
        > uci
        < uciok
        > go depth 2
        < bestmove.*)"},
};

class UciIdentification : public ::testing::TestWithParam<Dialogue> {};
TEST_P(UciIdentification, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, UciIdentification, ::testing::ValuesIn(identification_dialogues));

// Options. None answers, whatever the value, except that a book that is not there is named.
TEST(Uci, OptionsAreSilentAndHarmless) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.WaitForMatch("uciok");
    for (const char* option : {
             "setoption name Hash value 64",
             "setoption name Hash value 0",
             "setoption name Hash value -1",
             "setoption name Hash value 99999999999999999999",
             "setoption name Hash value many",
             "setoption name hash value 8",
             "setoption name Hash",
             "setoption name PawnHash value 0",
             "setoption name PawnHash value 2",
             "setoption name NalimovCache value 4",
             "setoption name OwnBook value false",
             "setoption name OwnBook value perhaps",
             "setoption name OwnBook value true",
             "setoption name MultiPV value 0",
             "setoption name MultiPV value -3",
             "setoption name MultiPV value 1",
             "setoption name Aggressivity value 300",
             "setoption name Aggressivity value 100",
             "setoption name Defensivity value 0",
             "setoption name Clear Hash",
             "setoption name Clear",
             "setoption name Ponder value true",
             "setoption name UCI_AnalyseMode value true",
             "setoption name Move Overhead value 100",
             "setoption name",
             "setoption value 3",
             "setoption",
             "setoption Hash 8",
         }) {
        SCOPED_TRACE(option);
        engine.Send(option);
        EXPECT_EQ(engine.Sync(), std::vector<std::string>());
        // Still playing, with whatever tables the option left.
        engine.Send("position startpos");
        engine.Send("go depth 4");
        EXPECT_NE(engine.WaitForMatch("bestmove [a-h][1-8].*"), "");
    }
}

const Dialogue option_dialogues[] = {
    {"a book that is not there", R"(
        > uci
        < uciok
        > setoption name OpeningsBook value no such book.bin
        = Error opening "no such book.bin"!)"},
    {"the same from a front end that ends lines with CR LF",
     "> uci\n< uciok\n"
     "> setoption name OpeningsBook value none.bin\r\n"
     "= Error opening \"none.bin\"!"},
    {"the named tablebase folder is shown afterwards", R"(
        > uci
        < uciok
        > setoption name NalimovPath value nowhere at all
        > egtbstat
        < UseEGTB = TRUE
        < tb_path = nowhere at all
        < EGTB files not found)"},
};

class UciOptions : public ::testing::TestWithParam<Dialogue> {};
TEST_P(UciOptions, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, UciOptions, ::testing::ValuesIn(option_dialogues));

TEST(UciTablebases, AreLookedForWhereverTheyAreSaidToBe) {
    RunDialogue({"a file that is no table", R"(
        > uci
        < uciok
        > setoption name NalimovPath value .
        < \*\*\* Unable to register \./kpk\.NBB
        < Reason: .*
        < Tried to open 1 files\. Opened 0 files\.
        > setoption name NalimovPath value ./kpk.NBB
        < .*folder \./kpk\.NBB.*
        > setoption name NalimovPath value c:\tablebases\
        - .*
        > position fen 8/8/8/8/8/2k5/p7/K7 b - - 0 1
        > go depth 6
        < bestmove .*)"},
                {{"kpk.NBB", "not a tablebase"}});
}

// The tables that are made with the engine. 28 moves is the longest mate with a pawn.
TEST(UciTablebases, OfThreeMenAreUsed) {
    const std::string script = "> uci\n< uciok\n> setoption name NalimovPath value " CORVANTIS_TABLES R"(
        < .*[/\\]kbk\.nbb\.emd registered
        < .*[/\\]krk\.nbw\.emd registered
        < Tried to open 10 files\. Opened 10 files\.
        > egtbstat
        < 3 piece EGTB files found
        < [1-9]\d*kb of RAM used for TB indices and decompression tables
        > position fen 8/8/8/1k6/8/8/K5P1/8 w - - 0 1
        > go depth 6
        < info .*score mate 28 .*
        < info .* tbhits [1-9].*
        < bestmove .*)";
    RunDialogue({"the longest mate of king and pawn", script.c_str()});
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

TEST(Uci, Positions) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.WaitForMatch("uciok");
    for (const PositionCase& c : position_cases) {
        SCOPED_TRACE(c.why);
        engine.Send(std::string("position ") + c.arguments);
        EXPECT_EQ(engine.Sync(), std::vector<std::string>());
        const std::string fen = c.fen;
        EXPECT_EQ(CurrentFen(engine).substr(0, fen.size()), fen);
    }
}

TEST(Uci, PositionWithoutArgumentsChangesNothing) {
    RunDialogue({"position alone", R"(
        > uci
        > position startpos moves e2e4
        > position
        fen rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq)"});
}

// Searches that end by themselves. Each gives info lines of the right form, at least one with a
// score and a line of moves, and one legal move.
const char* const ending_searches[] = {
    "go wtime 1000 btime 1000",
    "go wtime 1000 btime 1000 winc 20 binc 20",
    "go binc 20 winc 20 btime 1000 wtime 1000 movestogo 10",
    "go wtime 500",
    "go btime 500 wtime 300 movestogo 1",
    "go wtime 1 btime 1",
    "go wtime 0 btime 0",
    "go wtime -10 btime -10",
    "go wtime -5000 btime 1000 movestogo -1",
    "go wtime 99999999999999999999 btime 1000 depth 4",
    "go movetime 100",
    "go movetime 10",
    "go depth 5",
    "go depth 5 wtime 1000 btime 1000",
    "go nodes 20000",
    "go depth 4 searchmoves a2a3 h2h3",
    "go depth 4 searchmoves e2e5 zzz",
    "go depth 3 nonsense 17 foo",
    "go mate 1 depth 4",
};

TEST(Uci, EverySearchFormEndsInOneBestMove) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.WaitForMatch("uciok");
    for (const char* fen : {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
                            "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"}) {
        const std::string position = std::string("position fen ") + fen;
        engine.Send(position);
        const std::vector<std::string> legal = LegalMoves(engine);
        ASSERT_GE(legal.size(), 20u);
        for (const char* search : ending_searches) {
            SCOPED_TRACE(search);
            engine.Send(position);
            engine.Send(search);
            std::string line;
            bool scored = false;
            while (engine.ReadLine(&line, 10000) && line.rfind("bestmove", 0) != 0) {
                EXPECT_TRUE(std::regex_match(line, InfoLine())) << line;
                scored |= line.find(" score ") != std::string::npos && line.find(" pv ") != std::string::npos;
            }
            ASSERT_TRUE(std::regex_match(line, std::regex("bestmove \\S+( ponder \\S+)?"))) << engine.Transcript();
            EXPECT_TRUE(scored) << "no line with a score and moves";
            EXPECT_NE(std::find(legal.begin(), legal.end(), BestMove(line)), legal.end()) << line;
            // A stop that crosses the answer on the wire must not be answered by a second one.
            engine.Send("stop");
            EXPECT_EQ(engine.Sync(), std::vector<std::string>());
        }
    }
}

// The side to move takes its own clock: with the other one nearly run out it still thinks, and
// with its own nearly run out it moves at once.
TEST(Uci, ClocksBelongToTheirSides) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    const struct {
        const char *position, *go;
        int at_least, at_most;  // milliseconds
    } cases[] = {
        {"position startpos", "go wtime 60000 btime 100", 200, 60000},
        {"position startpos", "go wtime 100 btime 60000", 0, 1000},
        {"position startpos moves e2e4", "go wtime 100 btime 60000", 200, 60000},
        {"position startpos moves e2e4", "go wtime 60000 btime 100", 0, 1000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.position) + " / " + c.go);
        engine.Send("ucinewgame");
        engine.Send(c.position);
        engine.Sync();
        const auto start = std::chrono::steady_clock::now();
        engine.Send(c.go);
        engine.WaitForMatch("bestmove .*", 30000);
        EXPECT_GE(Milliseconds(start), c.at_least);
        EXPECT_LE(Milliseconds(start), c.at_most);
    }
}

TEST(Uci, MoveTimeIsUsedAndKept) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("position startpos");
    engine.Sync();
    const auto start = std::chrono::steady_clock::now();
    engine.Send("go movetime 500");
    engine.WaitForMatch("bestmove .*");
    EXPECT_GE(Milliseconds(start), 450);
    EXPECT_LE(Milliseconds(start), 1500);
}

TEST(Uci, NodeLimitIsKept) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("position startpos");
    engine.Send("go nodes 30000");
    long long nodes = 0;
    const std::regex pattern("info .*nodes (\\d+).*");
    std::smatch match;
    engine.WaitFor(
        [&](const std::string& line) {
            if (std::regex_match(line, match, pattern)) nodes = std::stoll(match[1]);
            return line.rfind("bestmove", 0) == 0;
        },
        "the best move");
    // The limit is looked at when the poll countdown runs out, which it sets to the nodes left.
    EXPECT_LE(nodes, 31000);
    EXPECT_GE(nodes, 15000);
}

const Dialogue search_dialogues[] = {
    {"infinite waits for stop although the mate is found", R"(
        > uci
        > position fen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1
        > go infinite
        sleep 400
        - bestmove.*
        > stop
        < bestmove a1a8)"},
    {"infinite waits for stop although there is one legal move", R"(
        > uci
        > position fen k7/8/8/8/8/8/1r6/K7 w - - 0 1
        > go infinite
        sleep 200
        - bestmove.*
        > stop
        < bestmove a1b2)"},
    {"go without limits is an infinite search", R"(
        > uci
        > position startpos
        > go
        sleep 300
        - bestmove.*
        > stop
        < bestmove [a-h][1-8][a-h][1-8].*)"},
    {"mate found, told and played", R"(
        > uci
        > position fen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1
        > go depth 5
        < info .* score mate 1 nodes .* pv a1a8 ?
        < bestmove a1a8)"},
    {"about to be mated", R"(
        > uci
        > position fen 7K/5k2/8/8/8/8/8/6r1 w - - 0 1
        > go depth 5
        < info .* score mate -1 nodes .* pv h8h7 g1h1 ?
        < bestmove h8h7 ponder g1h1)"},
    {"no legal move: mate", R"(
        > uci
        > position fen rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3
        > go depth 4
        < bestmove 0000)"},
    {"no legal move: stalemate, and no result line in this dialect", R"(
        > uci
        > position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1
        > go wtime 1000 btime 1000
        < bestmove 0000
        - 1/2-1/2.*)"},
    {"drawn position: move without a result line", R"(
        > uci
        > position fen 8/8/4k3/8/8/4K3/8/3B4 w - - 0 1
        > go depth 4
        < bestmove [a-h][1-8][a-h][1-8].*
        - 1/2-1/2.*)"},
    {"an unplayable position is not searched", R"(
        > uci
        > position fen 8/8/8/8/8/8/8/8 w - - 0 1
        > go depth 3
        < bestmove 0000
        > position fen 4k3/8/8/8/8/8/8/4R1K1 w - - 0 1
        > go depth 3
        < bestmove 0000
        > position startpos
        > go depth 3
        < bestmove [a-h][1-8][a-h][1-8].*)"},
    {"readyok comes in the middle of a search, which goes on", R"(
        > uci
        > position startpos
        > go infinite
        > isready
        < readyok
        > isready
        < readyok
        sleep 200
        - bestmove.*
        > stop
        < bestmove.*)"},
    {"ponder hit", R"(
        > uci
        > position startpos moves e2e4 e7e5
        > go ponder wtime 1000 btime 1000
        sleep 300
        - bestmove.*
        > ponderhit
        < bestmove \S+( ponder \S+)?)"},
    {"ponder hit after the search has nothing left to do", R"(
        > uci
        > position fen 6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1
        > go ponder wtime 1000 btime 1000 depth 3
        sleep 300
        - bestmove.*
        > ponderhit
        < bestmove a1a8.*)"},
    {"ponder miss: the stopped search still answers, without a prediction", R"(
        > uci
        > position startpos moves e2e4 e7e5
        > go ponder wtime 1000 btime 1000
        sleep 100
        > stop
        < bestmove \S+
        > isready
        < readyok
        > position startpos moves e2e4 c7c5
        > isready
        < readyok
        > go wtime 500 btime 500
        < bestmove.*)"},
    {"stop without a search is not answered", R"(
        > uci
        < uciok
        > stop
        - .*
        > position startpos
        > go depth 3
        < bestmove.*
        > stop
        - .*)"},
    {"ponderhit without a search is not answered", R"(
        > uci
        < uciok
        > ponderhit
        - .*)"},
    {"a new position in a search: the owed move first, then the new board", R"(
        > uci
        > position startpos
        > go infinite
        sleep 100
        > position startpos moves e2e4 e7e5 g1f3
        < bestmove.*
        fen rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq
        > go depth 3
        < bestmove [a-h][78][a-h][1-8].*)"},
    {"other commands wait for the end of a normal search", R"(
        > uci
        > position startpos
        > go movetime 400
        > setoption name Hash value 1
        > isready
        < readyok
        < bestmove.*)"},
    {"a limit does not outlive its search", R"(
        > uci
        > position startpos
        > go mate 3 depth 3
        < bestmove.*
        > position fen 6k1/8/8/8/8/8/5Q2/6K1 w - - 0 1
        > go depth 3
        < info .* score cp [1-9]\d\d+ .*
        < bestmove.*
        > position startpos
        > go nodes 100000
        < bestmove.*)"},
    {"searchmoves are the only ones looked at", R"(
        > uci
        > position startpos
        > go depth 5 searchmoves a2a3
        < bestmove a2a3.*)"},
    {"illegal move on a line of its own", R"(
        > uci
        > position startpos
        > e2e5
        < Illegal move: e2e5)"},
    {"debug may be switched", R"(
        > uci
        < uciok
        > debug on
        > debug off
        - .*
        > go depth 3
        < bestmove.*)"},
    {"depth 1", R"(
        > uci
        > position startpos
        > go depth 1
        < bestmove [a-h][1-8][a-h][1-8].*)"},
};

class UciSearch : public ::testing::TestWithParam<Dialogue> {};
TEST_P(UciSearch, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, UciSearch, ::testing::ValuesIn(search_dialogues));

TEST(Uci, MultiPvPrintsAsManyLinesAsThereAreMoves) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("setoption name MultiPV value 40");
    engine.Send("position fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
    engine.Send("go movetime 1500");
    const std::regex pattern("info multipv (\\d+) depth \\d+ seldepth \\d+ score " + std::string(score_pattern)
                             + " nodes \\d+ time \\d+ hashfull \\d+ nps \\d+ tbhits \\d+ currmove \\S+ "
                               "currmovenumber \\d+ pv( [a-h][1-8][a-h][1-8][qrbn]?)+ ?");
    int highest = 0;
    bool progress = false;
    std::smatch match;
    engine.WaitFor(
        [&](const std::string& line) {
            if (std::regex_match(line, match, pattern)) {
                highest = std::max(highest, std::stoi(match[1]));
            } else if (line.rfind("info", 0) == 0) {
                EXPECT_TRUE(std::regex_match(line, InfoLine())) << line;
            }
            progress |= std::regex_match(line, std::regex("info depth .* score .* pv .*"));
            return line.rfind("bestmove", 0) == 0;
        },
        "the best move");
    // 40 of the 48 legal moves; mute up to 50000 nodes, so the ordinary line must come too.
    EXPECT_EQ(highest, 40);
    EXPECT_TRUE(progress);
}

TEST(Uci, PonderMoveIsLegalAfterTheBestMove) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    for (const char* moves : {"", " moves e2e4", " moves e2e4 e7e5 g1f3", " moves d2d4 g8f6 c2c4 e7e6"}) {
        const std::string position = std::string("position startpos") + moves;
        engine.Send(position);
        engine.Send("go depth 6");
        const std::string line = engine.WaitForMatch("bestmove \\S+ ponder \\S+");
        ASSERT_NE(line, "");
        const std::string best = BestMove(line), ponder = line.substr(line.rfind(' ') + 1);
        engine.Send(position + (moves[0] ? " " : " moves ") + best);
        const std::vector<std::string> legal = LegalMoves(engine);
        EXPECT_NE(std::find(legal.begin(), legal.end(), ponder), legal.end()) << line;
    }
}

// A game's worth of positions, each set up from the start as front ends do, with the moves the
// engine itself gave: none may be refused, and the board must follow.
TEST(Uci, PlaysAGameAgainstItself) {
    EngineProcess engine;
    engine.Start();
    engine.Send("uci");
    engine.Send("ucinewgame");
    std::string moves;
    for (int ply = 0; ply < 120; ++ply) {
        const std::string position = "position startpos" + (moves.empty() ? "" : " moves" + moves);
        engine.Send(position);
        const std::vector<std::string> legal = LegalMoves(engine);
        engine.Send("go depth 3");
        const std::string line = engine.WaitForMatch("bestmove \\S+( ponder \\S+)?");
        ASSERT_NE(line, "");
        const std::string best = BestMove(line);
        if (legal.empty()) {
            EXPECT_EQ(best, "0000");
            break;
        }
        ASSERT_NE(std::find(legal.begin(), legal.end(), best), legal.end()) << best << " after " << moves;
        moves += " " + best;
    }
}
