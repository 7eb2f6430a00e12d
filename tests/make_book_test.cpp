// make_book_test.cpp - making opening books: what enters, what does not, and the bytes and the
// text that come out. Points are counted by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "board/legality.h"
#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "board/random.h"
#include "book/book.h"
#include "book/book_writer.h"
#include "book/learning_file.h"
#include "tests/support/board_helpers.h"
#include "tests/support/book_bytes.h"
#include "tests/support/engine_environment.h"
#include "tests/support/printed.h"
#include "tests/support/temporary_path.h"
#include "tools/common/book_tree.h"
#include "tools/common/book_weeding.h"
#include "tools/common/text.h"

namespace {

class MakeBook : public ::testing::Test {
protected:
    void SetUp() override { ResetEngine(); }
    void TearDown() override {
        for (const std::string& path : paths) std::filesystem::remove(path);
        ResetEngine();
    }
    std::string File(const std::string& text, const std::string& ending) {
        paths.push_back(TemporaryPath(std::to_string(paths.size()) + ending));
        std::ofstream(paths.back(), std::ios::binary) << text;
        return paths.back();
    }
    // The faults go to `faults`, each as "line: why\n".
    void Add(const std::string& text, const std::string& ending) {
        const std::string path = File(text, ending);
        builder.report = [&, path](const std::string& fault) {
            ASSERT_EQ(fault.substr(0, path.size() + 1), path + ":");
            faults += fault.substr(path.size() + 1) + '\n';
        };
        std::string error;
        ASSERT_TRUE(AddBookSource(path, builder, error)) << error;
    }
    std::string BookOf(const std::string& text, const std::string& ending, const BookLimits& limits = {}) {
        builder = {};
        faults.clear();
        builder.limits = limits;
        Add(text, ending);
        return WriteBookText(FinishBook(builder));
    }
    BookBuilder builder;
    std::string faults;
    std::vector<std::string> paths;
};

// Plies, games, score, rating, drawn games beside, player.
const BookLimits Plain{24, 1, 0, 0, 0, ""};  // points as they were played
const BookLimits OnePly{1, 1, 0, 0, 0, ""}, TwoGames{24, 2, 0, 0, 0, ""};
const BookLimits Score260{24, 1, 260, 0, 0, ""}, Score300{24, 1, 300, 0, 0, ""};
const BookLimits EvenGames{24, 1, 0, 0, 4, ""}, EvenGamesScore{24, 1, 601, 0, 4, ""};
const BookLimits Rated{24, 1, 0, 2400, 0, ""}, Ann{24, 1, 0, 0, 0, "ann"};

// ---- From games to points ----

TEST_F(MakeBook, Lines) {
    const char* const few = "e4 e5 1-0\n1. e4 e5 1/2-1/2\n# e3 1-0\n\n1.e4 c5 0-1\nd4\n";
    const char* const ten = "e4 1-0\ne4 1-0\ne4 1-0\ne4 1-0\ne4 1-0\ne4 1-0\ne4 1-0\ne4 1-0\ne4 1-0\ne4 1-0\nd4 1-0\n";
    const std::string race =
        "h4 0 0\n g5 0 0\n  hxg5 0 0\n   h6 0 0\n    gxh6 0 0\n     Nc6 0 0\n      h7 0 0\n       Nb8 0 0\n";
    const struct {
        const char *why, *lines;
        BookLimits limits;
        std::string book, faults;
    } cases[] = {
        {"two points a game; played most first", few, Plain, "e4 3 3\n e5 1 3\n c5 2 0\nd4 0 0\n", ""},
        {"games without a result count for the order", "e4 1-0\ne4\nd4\nd4\nd4\n", Plain, "d4 0 0\ne4 2 0\n", ""},
        {"a comment behind blanks, blanks at the end", " \t# e3\ne4 \t\n  \n", Plain, "e4 0 0\n", ""},
        {"plies", few, OnePly, "e4 3 3\nd4 0 0\n", ""},
        {"a weak move with a good answer is never played", "e4 1-0\ne4 e5 Nf3 1-0\ne4 c5 0-1\n", Score300,
         "e4 4 2\n c5 2 0\n e5 -\n  Nf3 2 0\n", ""},
        {"it may be the only move left; the same move elsewhere stays",
         "Nf3 a6 Ng1 b6 Nf3 e5 0-1\nNf3 a6 Ng1 1-0\nNf3 1-0\nNf3 1-0\n", Score300,
         "Nf3 6 2\n a6 2 2\n  Ng1 2 2\n   b6 2 0\n    Nf3 -\n     e5 2 0\n", ""},
        {"a rare way to a position with a common one is left out",
         "d4 d5 Nf3\nd4 d5 c4\nNf3 d5 d4 Nf6\nNf3 d5 d4 Nf6\n", TwoGames,
         "d4 0 0\n d5 0 0\nNf3 0 0\n d5 0 0\n  d4 0 0\n   Nf6 0 0\n", ""},
        {"too few games", few, TwoGames, "e4 3 3\n e5 1 3\n", ""},
        {"a quarter is less than 260; without games it is half", few, Score260, "e4 3 3\n c5 2 0\nd4 0 0\n", ""},
        {"4 drawn games beside: 24 of 28 and 6 of 10 points", ten, EvenGames, "e4 17 3\nd4 1 1\n", ""},
        {"they count for the lowest score too", ten, EvenGamesScore, "e4 17 3\n", ""},
        {"one position by two ways has its moves once", "d4 d5 Nf3 Nf6 1-0\nNf3 d5 d4 Nf6 0-1\n", Plain,
         "d4 2 0\n d5 0 2\n  Nf3 2 0\n   Nf6 2 2\nNf3 0 2\n d5 2 0\n  d4 0 2\n", ""},
        {"a game that repeats a position counts there once", "Nf3 Nf6 Ng1 Ng8 Nf3 Nf6 Ng1 Nd5 1-0\n", Plain,
         "Nf3 2 0\n Nf6 0 2\n  Ng1 2 0\n   Ng8 0 2\n   Nd5 0 2\n", ""},
        {"a new queen", "h4 g5 hxg5 h6 gxh6 Nc6 h7 Nb8 hxg8=Q\n", Plain, race + "        hxg8=Q 0 0\n", ""},
        {"a new knight ends the line", "h4 g5 hxg5 h6 gxh6 Nc6 h7 Nb8 hxg8=N a6\n", Plain, race, ""},
        {"ways to write a move",
         "e2-e4 e7-e5 Ng1-f3\n  e4 e5 Nf3(Q)\ne4 a6 e5 d5 exd6e.p.\ne4 a6 e5 d5 exd6 e.p. +- N D = \xE2\x88\x9E -/+\n"
         "h4 g5 hxg5 h6 gxh6 Nc6 h7 Nb8 hxg8(Q) a6\nh4 g5 hxg5 h6 gxh6 Nc6 h7 Nb8 hxg8/Q! b6\n",
         Plain,
         "e4 0 0\n e5 0 0\n  Nf3 0 0\n a6 0 0\n  e5 0 0\n   d5 0 0\n    exd6 0 0\n" + race
             + "        hxg8=Q 0 0\n         a6 0 0\n         b6 0 0\n",
         ""},
        {"and others", "e4e.p.\ne4 --\ne2-\n-e4\ne4 \xE2\x96\xA1\na4 e4\ne4\na4 1-0 e5\n[Event \"x\"]\nd4\n", Plain,
         "e4 0 0\nd4 0 0\n",
         "1: no legal move: e4e.p.\n2: no legal move: --\n3: no legal move: e2-\n4: no legal move: -e4\n"
         "5: no legal move: \xE2\x96\xA1\n6: no legal move: e4\n8: more than one game in a line\n"
         "9: a tag: games with tags belong into a file named .pgn\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(BookOf(c.lines, ".txt", c.limits), c.book);
        EXPECT_EQ(faults, c.faults);
    }
}

TEST_F(MakeBook, Tables) {
    EXPECT_EQ(BookOf("eco\tname\tpgn\nA00\tAmar Opening\t1. Nh3\nB20\tSicilian\t1. e4 c5\r\nnothing\n", ".tsv"),
              "Nh3 0 0\ne4 0 0\n c5 0 0\n");
    EXPECT_EQ(faults, "4: less than three columns\n");
}

TEST_F(MakeBook, LimitsOfPlayers) {
    const auto game = [](const std::string& white, const std::string& black, int white_elo, const std::string& move) {
        return "[White \"" + white + "\"]\n[Black \"" + black + "\"]\n[WhiteElo \"" + std::to_string(white_elo)
            + "\"]\n[BlackElo \"" + (white_elo == 2500 ? "?" : "2500") + "\"]\n\n1. " + move + " *\n\n";
    };
    const std::string games = game("Ann, B", "Carl", 2400, "a3") + game("Carl", "Ann", 2399, "b3")
        + game("Dan", "Joanna", 2500, "c3") + "[Event \"\"]\n\n1. d3 *\n\n";
    EXPECT_EQ(BookOf(games, ".pgn"), "a3 0 0\nb3 0 0\nc3 0 0\nd3 0 0\n");
    EXPECT_EQ(BookOf(games, ".pgn", Rated), "a3 0 0\n");
    EXPECT_EQ(builder.counts.left_out, 3);
    EXPECT_EQ(BookOf(games, ".pgn", Ann), "a3 0 0\nb3 0 0\n");
    EXPECT_EQ(builder.counts.games, 2);
    EXPECT_EQ(BookOf("e4\n", ".txt", Ann), "e4 0 0\n") << "lines tell nothing of players";
}

// What begins from another position is found there.
TEST_F(MakeBook, GamesFromOtherPositions) {
    const std::string fen = "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1";
    Add("[FEN \"" + fen + "\"]\n[Result \"0-1\"]\n\n1... Kd7 2. e4 0-1", ".pgn");
    const BookNodes nodes = FinishBook(builder);
    SetFen(fen.c_str());
    const std::vector<BookMove>& node = nodes.at(BookNodeKey());
    ASSERT_EQ(node.size(), 1u);
    EXPECT_TRUE(node[0].from == 60 && node[0].to == 51);
    EXPECT_EQ(WriteBookText(nodes), "# not reached from the start: 2 moves of 2 positions\n");
}

TEST_F(MakeBook, GamesAndTheirTags) {
    const struct {
        const char *why, *games, *book, *faults;
    } cases[] = {
        {"tags of a game without moves are not the next one's",
         "[Event \"\"]\n[FEN \"4k3/8/8/8/8/8/4P3/4K3 w - - 0 1\"]\n[Result \"1-0\"]\n\n[Event \"\"]\n\n1. d4 *\n",
         "d4 0 0\n", ""},
        {"nor without an empty line", "[Event \"\"]\n[Result \"1-0\"]\n[Event \"\"]\n\n1. d4 *\n", "d4 0 0\n", ""},
        {"nor without an event", "[Site \"\"]\r\n[Result \"1-0\"]\r\n\r\n[Site \"\"]\r\n\r\n1. d4\r\n", "d4 0 0\n", ""},
        {"the event need not be first", "[Result \"1-0\"]\n[Event \"\"]\n\n1. d4 *\n", "d4 2 0\n", ""},
        {"no moves at all", "[Event \"\"]\n[Result \"1-0\"]\n\n1-0\n", "", ""},
        {"a second result begins no game", "1. d4 d5 1-0 0-1 1. e4\n", "e4 0 0\n", "1: two results: 1-0 and 0-1\n"},
        {"half a draw", "[Result \"1/2\"]\n\n1. d4 1/2\n", "d4 1 1\n", ""},
        {"other rules", "[Variant \"Atomic\"]\n\n1. d4 *\n", "", "1: no usual chess: Atomic\n"},
        {"the usual rules", "[Variant \"From Position\"]\n\n1. d4 *\n", "d4 0 0\n", ""},
        {"a tabulator in a tag", "[Result\t\"1-0\"]\n\n1. d4 *\n", "d4 2 0\n", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(BookOf(c.games, ".PGN", Plain), c.book);
        EXPECT_EQ(faults, c.faults);
        EXPECT_EQ(builder.counts.games, *c.book != '\0');
    }
}

// Each faulty game begins with a move that no good one plays; a good game stands on either side. The
// faulty game's first line is the sixth.
TEST_F(MakeBook, FaultyGamesNeverEnter) {
    const struct {
        const char *why, *game, *fault;
    } cases[] = {
        {"illegal move", "\n1. a4 e5\n2. Ke3 Nc6 1-0", "9: no legal move: Ke3\n"},
        {"ambiguous move", "\n1. a4 e5 2. Nf3 e4 3. d3 a6 4. Nd2 1-0", "8: ambiguous move: Nd2\n"},
        {"the fault lies behind the plies that enter",
         "\n1. a4 e5 2. h3 d5 3. h4 d4 4. h5 d3 5. h6 a5 6. Nc3 Na6 7. Nb1 Nb8 8. Nc3 Na6 9. Nb1 Nb8\n"
         "10. Nc3 Na6 11. Nb1 Nb8 12. Nc3 Na6 13. Nb1 Nb8 14. Ke2 *",
         "9: no legal move: Ke2\n"},
        {"text behind the square", "\n1. a4 e5zz 1-0", "8: no legal move: e5zz\n"},
        {"capturing nothing", "\n1. a4 xe5 1-0", "8: no legal move: xe5\n"},
        {"two results", "[Result \"1-0\"]\n\n1. a4 e5\n0-1", "10: two results: 1-0 and 0-1\n"},
        {"a comment without end", "\n1. a4 { and\n2. b4 1-0", "8: a comment without end\n"},
        {"a variation without end", "\n1. a4 e5\n( 1... d5 2. b4 1-0", "9: a variation without end\n"},
        {"no king", "[FEN \"8/8/8/8/8/8/P7/4K3 w - - 0 1\"]\n\n1. a4", "6: the start position cannot be played\n"},
        {"a promotion to nothing", "[FEN \"7k/P7/8/8/8/8/8/4K3 w - - 0 1\"]\n\n1. a8", "9: ambiguous move: a8\n"},
    };
    const std::string good = "[Event \"\"]\n[Result \"1-0\"]\n\n1. e4 {[Event} e5 (1... c5) 2. Nf3+!? $3 1-0\n\n";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(BookOf(good + "[Event \"\"]\n" + c.game + "\n\n" + good, ".pgn", Plain),
                  "e4 4 0\n e5 0 4\n  Nf3 4 0\n");
        EXPECT_EQ(builder.counts.refused, 1);
        EXPECT_EQ(faults, c.fault);
    }
}

// However small the pieces are that a file is read in, no game is cut and no line is miscounted.
TEST_F(MakeBook, Pieces) {
    std::string games = "\xEF\xBB\xBF";
    for (int i = 0; i < 5; ++i)
        games +=
            "[Event \"\"]\n[Result \"1-0\"]\n\n1. e4 {\n[%clk 1]\n\nlong (} e5\n2. Nf3\n1-0\n\n"
            "[Event \"\"]\n\n1. d4 d5\n2. Kd3 *\n\n[White \"no event\"]\r\n\r\n1. c4\r\n\r\n"
            "[Result \"1-0\"]\n[Event \"\"]\n\n1. f4 *\n\n";
    const std::string lines = "e4 e5\nd4 d5\n# c4\nc4 Kd7\nb4";
    for (const auto& [text, ending] : {std::pair{games, ".pgn"}, {lines, ".txt"}}) {
        const std::string whole = BookOf(text, ending);
        const std::string whole_faults = faults;
        EXPECT_EQ(std::count(faults.begin(), faults.end(), '\n'), text == games ? 5 : 1);
        for (const size_t bytes : {1, 17, 64, 200}) {
            builder = {};
            builder.piece_bytes = bytes;
            faults.clear();
            Add(text, ending);
            EXPECT_EQ(WriteBookText(FinishBook(builder)), whole) << bytes;
            EXPECT_EQ(faults, whole_faults) << bytes;
        }
    }
}

// ---- Merging ----

TEST_F(MakeBook, SourcesMerge) {
    builder.limits = {1, 2, 0, 0, 4, ""};
    Add("e4 1-0\nd4 1-0\nd4 1-0\nc4 1-0\nc4 0-1\n", ".txt");  // e4 is played too little, d4 gets 3 of 4 points
    Add("f4 10 2\nd4 1 0\n d5 0 0\n", ".book");               // two plies, few games: it stands
    const std::string other = File(BookFileBytes(NodesOf("f4 5 5\nc4 -\n")), ".cvt");
    std::string error;
    ASSERT_TRUE(AddBookSource(other, builder, error)) << error;
    EXPECT_EQ(WriteBookText(FinishBook(builder)), "f4 15 7\nd4 4 1\n d5 0 0\nc4 -\n");
}

TEST_F(MakeBook, SourcesThatCannotBeRead) {
    const std::vector<std::string> absent = {"none.pgn", "none.txt", "none.cvt", "none.book"};
    std::string error;
    for (const std::string& name : absent) {
        EXPECT_FALSE(AddBookSource(name, builder, error));
        EXPECT_EQ(error, name + ": cannot be read");
    }
    EXPECT_FALSE(AddBookSource(File("e4", ".doc"), builder, error));
    EXPECT_FALSE(AddBookSource(File("e4 1 1", ".cvt"), builder, error));
}

// ---- Bytes ----

// Keys that no two positions are likely to have: the same first half, negative and positive ends.
TEST_F(MakeBook, RecordsAreSortedBySignedWords) {
    BookNodes nodes;
    const uint64_t sorted[] = {0x8000000000000005, 0xFFFFFFFF00000000, 0x0000000180000000, 0x00000001FFFFFFFF,
                               0x0000000100000000, 0x000000017FFFFFFF, 0x7FFFFFFFFFFFFFFF};
    for (const uint64_t key : sorted) nodes[key];
    const std::string bytes = BookFileBytes(nodes);
    for (size_t i = 0; i < std::size(sorted); ++i)
        EXPECT_EQ(bytes.substr(36 + 12 * i, 8), Word32(uint32_t(sorted[i] >> 32)) + Word32(uint32_t(sorted[i]))) << i;
}

TEST_F(MakeBook, PointsBecomeBytes) {
    using Points = std::pair<uint32_t, uint32_t>;
    const std::pair<Points, Points> cases[] = {
        {{0, 0}, {0, 0}},         {{254, 31}, {254, 31}},      {{255, 255}, {254, 254}},
        {{255, 0}, {254, 0}},     {{1000, 500}, {254, 127}},   {{1, 1000000}, {0, 254}},
        {{508, 255}, {254, 128}}, {{30000, 90000}, {85, 254}}, {{1u << 31, 1u << 31}, {254, 254}},
    };
    for (const auto& [points, bytes] : cases) {
        const BookEntry entry = EntryOf({1, 2, false, points.first, points.second});
        EXPECT_EQ(Points(entry.ours, entry.theirs), bytes);
    }
    EXPECT_TRUE(IsExcluded(EntryOf({1, 2, true, 3, 4})));
}

// The bytes of the hex dump in doc/book.md whose first line begins so.
std::string DumpOfThePage(const std::string& start) {
    std::string page, line, bytes;
    EXPECT_TRUE(ReadWholeFile(CORVANTIS_SOURCE_DIR "/doc/book.md", page));
    size_t at = page.find("    " + start);
    while (at != std::string::npos && NextLine(page, at, line) && line.size() > 14 && line[12] == ' ')
        for (size_t column = 14; column + 1 < line.size() && line[column] != ' '; column += 3)
            bytes += char(std::stoi(line.substr(column, 2), nullptr, 16));
    return bytes;
}

// The page's files are what the code writes.
TEST_F(MakeBook, TheExamplesOfTheDocumentation) {
    EXPECT_EQ(DumpOfThePage("00000000  7E "), BookFileBytes(NodesOf("e4 3 1\n c5 4 4\n e5 -\nd4 0 0\n")));

    paths.push_back(TemporaryPath(".cv1"));
    std::filesystem::remove(paths.back());
    load_learning(paths.back().c_str());
    SetInitialPosition();
    QueueLearned(10 * ONE_PLY, 25);
    CloseLearning();
    std::string bytes;
    ASSERT_TRUE(ReadWholeFile(paths.back(), bytes));
    const std::string head_and_record = DumpOfThePage("0001596B  ");
    EXPECT_EQ(bytes.substr(0x1596B, 4) + bytes.substr(0x40017), head_and_record);
}

// A book of random games that share many positions, castle, capture en passant, and have keys of either
// sign in either half.
BookNodes RandomBook() {
    BookNodes nodes;
    TestRandom random{5};
    for (int game = 0; game < 400; ++game) {
        SetInitialPosition();
        for (int ply = 0; ply < 30; ++ply) {
            const MoveList moves = LegalMoveList();
            if (moves.empty()) break;
            // The first of three: few different moves a position.
            const Move move = moves[size_t(random.Below(std::min(3, int(moves.size()))))];
            BookMove& entry = BookMoveOf(nodes[BookNodeKey()], MoveFrom(move), MoveTo(move));
            if (random.Below(20) == 0) entry.excluded = true;
            entry.ours += uint32_t(random.Below(3));
            entry.theirs += uint32_t(random.Below(3));
            MakeMove(move);
        }
    }
    SetInitialPosition();
    return nodes;
}

std::string BytesOf(const BookEntry& entry) {
    return {char(entry.from), char(entry.to), char(entry.ours), char(entry.theirs)};
}

TEST_F(MakeBook, EveryRecordIsFoundByTheEngine) {
    const BookNodes nodes = RandomBook();
    const std::string path = File(BookFileBytes(nodes), ".cvt");
    EXPECT_EQ(Printed([&] { open_book(path.c_str()); }), std::to_string(nodes.size()) + " nodes in openings book\n");
    size_t found = 0;
    for (const BookPosition& position : FindPositions(nodes)) {
        if (position.line_end) continue;
        SetFen(position.fen.c_str());
        const std::vector<BookMove>& moves = nodes.at(position.key);
        BookNode read;
        ASSERT_TRUE(ReadBookNode(read)) << position.fen;
        ASSERT_EQ(size_t(read.count), moves.size());
        for (size_t i = 0; i < moves.size(); ++i) ASSERT_EQ(BytesOf(read.entries[i]), BytesOf(EntryOf(moves[i])));
        ++found;
    }
    close_book();
    EXPECT_GT(found, nodes.size() * 9 / 10);
}

TEST_F(MakeBook, DamagedFilesAreRefused) {
    const std::string bytes = BookFileBytes(NodesOf("e4 3 1\n c5 4 4\nd4 0 0\n"));
    BookNodes nodes;
    std::string error;
    ASSERT_TRUE(ReadBookFile(bytes, nodes, error));
    for (size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(ReadBookFile(bytes.substr(0, length), nodes, error)) << length;
    std::string damaged = bytes;
    damaged[36 + 8] = 36;  // the first list lies in the index: a key's byte is the number of moves
    damaged[36] = 1;
    EXPECT_FALSE(ReadBookFile(damaged, nodes, error));
}

// ---- The file on the disk ----

TEST_F(MakeBook, ReplacingAFile) {
    namespace fs = std::filesystem;
    const std::string folder = TemporaryPath("");
    fs::remove_all(folder);
    fs::create_directory(folder);
    const std::string book = folder + "/Book.cvt", link = folder + "/link", other = book + ".new";
    fs::create_symlink("Book.cvt", link);
    EXPECT_TRUE(ReplaceFile(link, "one")) << "a link to nothing yet";
    std::ofstream(other) << "not ours";
    fs::permissions(book, fs::perms(0640));
    EXPECT_TRUE(CanReplaceFile(link));
    EXPECT_TRUE(ReplaceFile(link, "two"));
    std::string text;
    EXPECT_TRUE(fs::is_symlink(link) && ReadWholeFile(book, text));
    EXPECT_EQ(text, "two");
    EXPECT_EQ(fs::status(book).permissions(), fs::perms(0640));
    EXPECT_TRUE(ReadWholeFile(other, text));
    EXPECT_EQ(text, "not ours");

    fs::create_symlink("loop", folder + "/loop");
    for (const std::string& refused : {folder, std::string("/dev/null"), folder + "/loop", folder + "/no/Book.cvt"}) {
        std::string why;
        EXPECT_FALSE(CanReplaceFile(refused, &why) || why.empty() || ReplaceFile(refused, "text")) << refused;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 4) << "something is left over";
    fs::remove_all(folder);
}

// ---- Text ----

TEST_F(MakeBook, RoundTrips) {
    const BookNodes random = RandomBook();
    BookNodes nodes;
    std::string error;
    ASSERT_TRUE(ReadBookFile(BookFileBytes(random), nodes, error)) << error;
    EXPECT_TRUE(BookFileBytes(nodes) == BookFileBytes(random));

    // Random kings and rooks leave few moves that no way listed allows. The rest is all there.
    std::string text = WriteBookText(nodes);
    nodes = NodesOf(text);
    int64_t missing = 0;
    for (const auto& node : random) missing += int64_t(node.second.size());
    for (auto& [key, moves] : nodes) {
        std::vector<BookMove> wanted = random.at(key);
        for (const BookMove& move : moves)
            ASSERT_EQ(BytesOf(EntryOf(move)), BytesOf(EntryOf(BookMoveOf(wanted, move.from, move.to))));
        missing -= int64_t(moves.size());
    }
    EXPECT_LT(missing, 20);
    const size_t comment = text.find("\n#") + 1;
    EXPECT_EQ(text.find(": " + std::to_string(missing) + " moves"), text.find(':', comment));
    text.resize(comment);
    EXPECT_TRUE(WriteBookText(nodes) == text);
}

// The way listed first to the position after Bg7 moves the rook and comes back, and forbids castling.
TEST_F(MakeBook, CastlingAllowedOnTheSecondWayOnly) {
    const char* const text =
        "Nf3 9 0\n Nf6 9 0\n  g3 2 0\n   g6 2 0\n    Bg2 2 0\n     Bg7 2 0\n      O-O 2 0\n      d3 3 0\n"
        "  Rg1 1 0\n   Rg8 1 0\n    g3 1 0\n     g6 1 0\n      Bg2 1 0\n       Bg7 1 0\n        Rh1 1 0\n"
        "         Rh8 1 0\n";
    BookNodes nodes = NodesOf(text);
    SetInitialPosition();
    PlayMoves("g1f3 g8f6");
    std::vector<BookMove>& node = nodes.at(BookNodeKey());
    ASSERT_EQ(node.size(), 2u);
    std::swap(node[0], node[1]);
    const std::string turned = WriteBookText(nodes);
    EXPECT_NE(turned.find("\n     Bg7 2 0\n      O-O 2 0\n"), std::string::npos) << turned;
    EXPECT_EQ(std::count(turned.begin(), turned.end(), '\n'), 16);
}

TEST_F(MakeBook, BadLinesOfBookText) {
    const std::string no_points = ": not a move with two numbers from 0 to 254, or with a single '-': ";
    const std::string too_far = ": indented more than one space beyond the line above\n";
    const std::string race =
        "h4 1 1\n g5 1 1\n  hxg5 1 1\n   h6 1 1\n    gxh6 1 1\n     Nc6 1 1\n      h7 1 1\n       Nb8 1 1\n";
    const struct {
        const char* why;
        std::string text, faults, book;
    } cases[] = {
        {"comments, empty lines, blanks at the end", "# one\ne4 1 2 \t\n\t# two\n\n # three\n e5 3 4 \r\n", "",
         "e4 1 2\n e5 3 4\n"},
        {"an illegal move and all below it", "e5 1 2\n e6 1 1\n  d4 1 1\nd4 2 2\n d5 1 1\n", "1: no legal move: e5\n",
         "d4 2 2\n d5 1 1\n"},
        {"the lines beside it stay", "e4 1 2\n Ke6 1 1\n  d4 1 1\n c5 2 2\n", "2: no legal move: Ke6\n",
         "e4 1 2\n c5 2 2\n"},
        {"indented too far: reported once", "e4 1 2\n   e5 1 1\n   c5 1 1\n d5 1 1\n", "2" + too_far,
         "e4 1 2\n d5 1 1\n"},
        {"the first line is indented", " e4 1 2\nd4 1 1\n", "1" + too_far, "d4 1 1\n"},
        {"points", "e4 255 0\n e5 1 1\ne4 -1 0\ne4 1\ne4 1 2 3\nd4 254 254\n",
         "1" + no_points + "e4 255 0\n3" + no_points + "e4 -1 0\n4" + no_points + "e4 1\n5" + no_points + "e4 1 2 3\n",
         "d4 254 254\n"},
        {"their points", "e4 0 255\n", "1" + no_points + "e4 0 255\n", ""},
        {"text behind the move; a tabulator", "e4e 1 2\n\te4 1 2\n", "1: no legal move: e4e\n2: no legal move: ?e4\n",
         ""},
        {"two moves have this name", "d4 1 1\n a6 1 1\n  Nf3 1 1\n   h6 1 1\n    Nd2 1 1\n", "5: ambiguous move: Nd2\n",
         "d4 1 1\n a6 1 1\n  Nf3 1 1\n   h6 1 1\n"},
        {"a new rook", race + "        hxg8=R 1 1\n", "9: a book knows promotions to a queen only: hxg8=R\n", race},
        {"a long word with a bell", "\ae4567890123456789012345678901234567890123456789 1 2\n",
         "1: no legal move: ?e45678901234567890123456789012345678901...\n", ""},
        {"a move given twice", "e4 1 2\n e5 1 1\ne4 1 1\n c5 1 1\n", "3: the position has this move already: e4 1 1\n",
         "e4 1 2\n e5 1 1\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::string reported;
        BookNodes nodes;
        const auto report = [&](const std::string& fault) { reported += fault.substr(5) + '\n'; };
        EXPECT_EQ(ReadBookText(c.text, "text", report, nodes), std::count(c.faults.begin(), c.faults.end(), '\n'));
        EXPECT_EQ(reported, c.faults);
        EXPECT_EQ(WriteBookText(nodes), c.book);
    }
}

// The book that the engine is shipped with: large, and played with its default settings it opens
// games in many ways, never by a move that the rules forbid.
TEST_F(MakeBook, TheShippedBookIsSoundAndVaried) {
    std::string error;
    builder.report = [](const std::string& fault) { ADD_FAILURE() << fault; };
    ASSERT_TRUE(AddBookSource(CORVANTIS_SOURCE_DIR "/book/data/openings.book", builder, error)) << error;
    const BookNodes nodes = FinishBook(builder);
    EXPECT_GE(nodes.size(), 20000u);

    open_book(File(BookFileBytes(nodes), ".cvt").c_str());
    SeedRandom(1);
    std::set<std::string> openings;
    int64_t plies = 0;
    for (int game = 0; game < 1000; ++game) {
        SetInitialPosition();
        std::string moves;
        for (int ply = 1; const Move move = book_move(); ++ply, ++plies) {
            ASSERT_TRUE(IsFullyLegal(move)) << moves;
            moves += MoveToSan(move) + ' ';
            if (ply == 8) openings.insert(moves);
            ASSERT_TRUE(MakeGameMove(move));
        }
    }
    close_book();
    EXPECT_GE(openings.size(), 150u);
    EXPECT_GE(plies, 1000 * 8);
}

}  // namespace
