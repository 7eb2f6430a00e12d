// tools_positions_test.cpp - what the tools that make training positions keep, refuse and write.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/position.h"
#include "tests/support/engine_environment.h"
#include "tests/support/temporary_path.h"
#include "tools/common/game_reader.h"
#include "tools/common/quiet_positions.h"
#include "tools/common/text.h"

namespace {

class Positions : public ::testing::Test {
protected:
    void SetUp() override { ResetEngine(); }
    void TearDown() override {
        std::filesystem::remove(path);
        ResetEngine();
    }
    std::string Contents() const {
        std::string text;
        EXPECT_TRUE(ReadWholeFile(path, text));
        return text;
    }
    void Write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    const std::string path = TemporaryPath(".epd");
};

struct Case {
    const char* why;
    const char* fen;
    bool holds;
};

TEST_F(Positions, QuietMeansThatNothingIsPending) {
    const Case cases[] = {
        {"nothing to take", "r1bqkb1r/ppp2ppp/2np1n2/4p3/4P3/2NP1N2/PPP2PPP/R1BQKB1R w KQkq - 0 5", true},
        {"the enemy queen hangs", "rnb1kbnr/pppp1ppp/8/4p1q1/4P3/3P4/PPP2PPP/RNBQKBNR w KQkq - 0 3", false},
        {"a rook behind its pawn", "4k3/pppp4/8/8/8/8/4PPPP/4R1K1 w - - 0 1", true},
        {"the pawn is gone: in check", "4k3/pppp4/8/8/8/8/5PPP/4R1K1 b - - 0 1", false},
        {"a pawn promotes", "8/P4k2/8/8/8/5p2/5K2/8 w - - 0 1", false},
        {"en passant wins a pawn", "4k3/2p3pp/8/3pP3/8/8/6PP/4K3 w - d6 0 1", false},
        {"the game is decided: a queen ahead with mate to come", "6k1/5ppp/8/8/8/8/5PPP/3QR1K1 w - - 0 1", false},
    };
    for (const Case& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(IsQuietPosition(SearchNodes(3000)), c.holds) << c.why;
        EXPECT_EQ(WriteFen().substr(0, 30), std::string(c.fen).substr(0, 30)) << "the test must leave the board alone";
    }
}

TEST_F(Positions, MaterialThatCannotMate) {
    const Case cases[] = {
        {"kings", "4k3/8/8/8/8/8/8/4K3 w - - 0 1", true},     {"bishop", "4k3/8/8/8/8/8/8/4KB2 w - - 0 1", true},
        {"knight", "4kn2/8/8/8/8/8/8/4K3 w - - 0 1", true},   {"both", "4kn2/8/8/8/8/8/8/4KB2 w - - 0 1", false},
        {"a pawn", "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1", false}, {"a rook", "4k3/8/8/8/8/8/8/4KR2 w - - 0 1", false},
    };
    for (const Case& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(IsInsufficientMaterial(), c.holds) << c.why;
    }
}

// A quiet Ruy Lopez with everything in it that a reader has to pass over. TestGames() is that
// game drawn, a game with an illegal move, the first one lost on time, one unfinished, and one
// from a set-up position.
constexpr const char* GoodMoves =
    "1. e4 {best by test; (really)} e5 2.Nf3 $1 Nc6 3. Bb5 a6 (3... Nf6 4. O-O {1-0 :)} (4. d3 Bc5) Nxe4) 4. Ba4 Nf6\n"
    "; 5. Qh5 a whole line of remark 0-1\n"
    "% an escape 0-1\n"
    "5. 0-0 Be7 6.Re1 b5 7. Bb3 d6! 8. c3 O-O 9. h3 Nb8 10. d4 Nbd7 11. Nbd2 Bb7 12. Bc2 Re8\n"
    "13. Nf1 Bf8 14. Ng3 g6 15. a4 c5 16. d5 c4 17. Bg5 h6 18. Be3 Nc5 19. Qd2 h5 20. Bg5 Be7 ";

std::string TestGames() {
    const std::string moves = GoodMoves;
    return "[Event \"a \\\"quoted\\\" name [1-0]\"]\n[Result \"1/2-1/2\"]\n\n" + moves + "1/2-1/2\n\n"
        + "[Result \"1-0\"]\n\n1. e4 e5 2. Nf6 Nc6 1-0\n\n"  // the bad move is on this game's third line
        + "[Result \"0-1\"]\n[Termination \"time forfeit\"]\n\n" + moves + "0-1\n\n" + "[Result \"*\"]\n\n1. d4 *\n\n"
        + "[FEN \"4k3/8/8/8/8/8/4P3/4K3 b - - 0 1\"]\n[Result \"1-0\"]\n\n1... Kd7 2. e4 1-0\n";
}

TEST_F(Positions, GamesAreReadWithAllThatStandsBetweenTheMoves) {
    const struct {
        size_t moves;
        const char *result, *termination;
        int error_line;  // counted by hand in TestGames(); 0: no error
    } expected[] = {
        {40, "1/2-1/2", "", 0}, {2, "1-0", "", 12}, {40, "0-1", "time forfeit", 0}, {1, "*", "", 0}, {2, "1-0", "", 0}};
    const std::string text = TestGames();
    GameReader reader(text);
    ReadGame game;
    for (const auto& e : expected) {
        ASSERT_TRUE(reader.Next(game));
        EXPECT_EQ(game.moves.size(), e.moves);
        EXPECT_EQ(game.result, e.result);
        EXPECT_EQ(game.termination, e.termination);
        EXPECT_EQ(game.error.empty(), e.error_line == 0) << game.error;
        EXPECT_EQ(game.error_line, e.error_line);
    }
    EXPECT_EQ(WriteFen().substr(0, 25), "8/3k4/8/8/4P3/8/8/4K3 b -");
    EXPECT_FALSE(reader.Next(game));
}

// Files of games that are still being written, or were cut off by a full disk.
TEST_F(Positions, TextCutAnywhereEndsTheReading) {
    const std::string text = TestGames();
    for (size_t length = 0; length < text.size(); ++length) {
        const std::string cut = text.substr(0, length);
        GameReader reader(cut);
        int games = 0;
        for (ReadGame game; games <= 5 && reader.Next(game); ++games) EXPECT_LE(game.moves.size(), 40u);
        ASSERT_LE(games, length == 0 ? 0 : 5) << "cut at " << length;
    }
}

TEST_F(Positions, GamesBecomeLinesThatReadBack) {
    PositionWriter writer;
    ASSERT_TRUE(writer.Open(path));
    GameCounts counts;
    ASSERT_TRUE(WriteGamePositions(TestGames(), "test", 2000, writer, counts));
    EXPECT_EQ(counts.good, 2);
    EXPECT_EQ(counts.bad, 1);
    EXPECT_EQ(counts.undecided, 2);
    writer.Close();

    int lines = 0;
    const std::string text = Contents();
    std::string line;
    for (size_t at = 0; NextLine(text, at, line); ++lines) {
        SCOPED_TRACE(line);
        const size_t score_at = line.find(" ce ");
        ASSERT_NE(score_at, std::string::npos);
        const std::string fen = line.substr(0, score_at);
        SetFen(fen.c_str());
        EXPECT_TRUE(IsPlayable());
        EXPECT_EQ(WriteFen().substr(0, fen.size() + 1), fen + " ");
        EXPECT_LT(std::abs(std::stoi(line.substr(score_at + 4))), QuietScoreLimit);
        EXPECT_TRUE(EndsWith(line, "; c0 \"1/2-1/2\";"));
    }
    EXPECT_EQ(lines, writer.written);
    EXPECT_GT(lines, 3);
    EXPECT_LE(lines, MaxPositionsPerGame);
}

// A run that was killed in the middle of a write is taken up by another.
TEST_F(Positions, AppendingDropsHalfALineAndKnowsTheRest) {
    const std::string whole = "4k3/8/8/8/8/8/4P3/4K3 w - - ce 100; c0 \"1-0\";\n";
    Write(whole + "4k3/8/8/8/8/8/3P4/4K3 w - - ce 1");
    PositionWriter writer;
    ASSERT_TRUE(writer.Open(path));
    SetFen("4k3/8/8/8/8/8/4P3/4K3 w - - 0 1");
    EXPECT_FALSE(writer.Add(TakePosition(50), "1-0")) << "stands in the file";
    SetFen("4k3/8/8/8/8/8/4P3/4K3 b - - 0 1");
    EXPECT_TRUE(writer.Add(TakePosition(-100), "1-0")) << "the other side to move";
    EXPECT_FALSE(writer.Add(TakePosition(-100), "1-0")) << "twice";
    ASSERT_TRUE(writer.WriteGame());
    writer.Close();
    EXPECT_EQ(Contents(), whole + "4k3/8/8/8/8/8/4P3/4K3 b - - ce -100; c0 \"1-0\";\n");
}

// A wrong name behind --output must not cost anybody a file.
TEST_F(Positions, FilesOfOthersAreLeftAlone) {
    const char* const texts[] = {
        "[Event \"games\"]\n\n1. e4 e5 *",                        // PGN
        "4k3/8/8/8/8/8/4P3/4K3 w - - bm e4; id \"x\";\n4k3/8/8",  // a test of moves, cut
        "half a line",
    };
    PositionWriter writer;
    for (const char* text : texts) {
        Write(text);
        EXPECT_FALSE(writer.Open(path)) << text;
        EXPECT_EQ(Contents(), text);
    }
    EXPECT_FALSE(writer.Open(path + ".gz"));
    EXPECT_FALSE(std::filesystem::exists(path + ".gz"));
}

TEST_F(Positions, TheChoiceIsSpreadOverTheGame) {
    std::vector<int> taken;
    EXPECT_EQ(TakeSpread(120, [&](int i) { return taken.push_back(i), true; }), MaxPositionsPerGame);
    EXPECT_LT(taken.front(), 12);
    EXPECT_GE(taken.back(), 108);
    for (size_t i = 1; i < taken.size(); ++i) EXPECT_GE(taken[i] - taken[i - 1], 8);

    EXPECT_EQ(TakeSpread(5, [](int) { return true; }), 5) << "fewer than wanted: all";
    EXPECT_EQ(TakeSpread(0, [](int) { return true; }), 0);
    EXPECT_EQ(TakeSpread(100, [](int i) { return i >= 50; }), 6) << "one of every part behind the middle";
}

}  // namespace
