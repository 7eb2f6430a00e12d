// search_node_test.cpp - single nodes: what they return at once, and the order of moves.
#include <gtest/gtest.h>

#include <string>

#include "board/attacks.h"
#include "board/ordering_data.h"
#include "board/settings.h"
#include "eval/evaluate.h"
#include "search/root.h"
#include "search/search.h"
#include "search/search_state.h"
#include "search/staging.h"
#include "search/transposition.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"

namespace {

struct SearchNodeTest : ::testing::Test {
    void SetUp() override {
        ResetEngine();
        ClearSearch();
        iteration_depth = 8;
        root_side = WHITE;
        poll_countdown = 1 << 30;
        stop_flag = false;
    }
    void TearDown() override {
        current_ply = 0;
        iteration_depth = 0;
        band_low = -32767;
        band_high = 32767;
    }
};

// Sets the position up as if `ply` plies below the root.
void EnterNode(const char* fen, int ply) {
    SetFen(fen);
    current_ply = ply;
    ply_records[ply] = ply_records[ply - 1] = PlyRecord{};
    ply_records[ply].in_check = InCheck(SideToMove());
}

struct ReturnCase {
    const char *why, *fen;
    int fifty, alpha, beta, expected;
};

const ReturnCase return_cases[] = {
    {"mated", "R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1", 0, -MATE, MATE, 9 - MATE},
    {"stalemate", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 0, -500, 500, 0},
    {"a clock of 100 draws, mated or not", "R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1", 100, -MATE, MATE, 0},
    {"two bare kings", "8/8/4k3/8/8/4K3/8/8 w - - 0 1", 0, -500, 500, 0},
    {"no line from here is a shorter mate than alpha", "6k1/8/8/8/8/8/8/R5K1 w - - 0 1", 0, 32691, 32692, 32691},
};

TEST_F(SearchNodeTest, ReturnsAtOnce) {
    for (const ReturnCase& c : return_cases) {
        SCOPED_TRACE(c.why);
        EnterNode(c.fen, 9);
        thread_board.fifty = c.fifty;
        EXPECT_EQ(search(c.alpha, c.beta, 3 * ONE_PLY, true, c.beta - c.alpha > 1 ? PvNode : CutNode), c.expected);
    }
    EnterNode(return_cases[0].fen, 9);
    EXPECT_EQ(quiesce(-MATE, MATE, 0, PvNode), 9 - MATE);
}

// One king move would repeat the position of three plies ago: White, a queen down, has a draw.
TEST_F(SearchNodeTest, AnUpcomingRepetitionIsADraw) {
    SetFen("6k1/8/8/8/8/8/q7/4K3 w - - 0 1");
    ASSERT_TRUE(PlayMoves("e1d1 g8f8 d1e1 f8g8 e1d1"));
    current_ply = 1;
    ply_records[1] = ply_records[0] = PlyRecord{};
    EXPECT_EQ(search(-1, 0, 2 * ONE_PLY, true, CutNode), 0);
    EXPECT_EQ(quiesce(-1, 0, 0, CutNode), 0);
}

// Black has no capture and no check, and is so far behind that every quiet move is skipped:
// that is no stalemate.
TEST_F(SearchNodeTest, SkippedMovesAreNoStalemate) {
    EnterNode("6k1/5ppp/8/8/8/8/5PPP/1QQ3K1 b - - 0 1", 1);
    root_side = BLACK;
    SetEvaluationRoot(BLACK);
    EXPECT_LT(search(-300, -299, ONE_PLY, false, CutNode), -250);
}

// The lone king has no move. The window lies where captures are chosen by what they gain.
TEST_F(SearchNodeTest, StalemateNearAlphaIsADraw) {
    EnterNode("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 1);
    const int eval = Evaluate();
    EXPECT_EQ(search(eval - 50, eval - 49, ONE_PLY, false, CutNode), 0);
}

// Material outside the band of an iteration is enough for a score, but only for one that cuts off.
TEST_F(SearchNodeTest, MaterialOutsideTheBand) {
    const struct {
        const char *why, *fen;
        int alpha, least, most;
    } cases[] = {
        {"ahead", "6k1/5ppp/8/3r4/8/8/3Q1PPP/6K1 w - - 0 1", 100, 400, 400},
        {"ahead, but there is more to win", "6k1/5ppp/8/3r4/8/8/3Q1PPP/6K1 w - - 0 1", 700, 701, 1200},
        {"behind", "6k1/5ppp/8/8/8/8/3Q1PPP/6K1 b - - 0 1", -1000, -900, -900},
        {"inside", "6k1/5ppp/8/3r4/8/8/3R1PPP/6K1 w - - 0 1", 300, 301, 1000},
    };
    band_low = -300;
    band_high = 300;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EnterNode(c.fen, 1);
        const int score = quiesce(c.alpha, c.alpha + 1, 0, CutNode);
        EXPECT_GE(score, c.least);
        EXPECT_LE(score, c.most);
    }
}

// A pinned knight cannot take the queen, even when the table says it should.
TEST_F(SearchNodeTest, QuiescenceTakesWithNoPinnedPiece) {
    for (const bool remembered : {false, true}) {
        EnterNode("6k1/8/1b6/8/8/3q4/5N2/6K1 w - - 0 1", 1);
        const Move take = PackMove(SquareAt(5, 1), SquareAt(3, 2), KNIGHT, QUEEN);
        if (remembered) StoreTable(0, take, 0, BoundLower, 0, 0, 1);
        EXPECT_LT(quiesce(-2000, 2000, 0, PvNode), -500) << remembered;
    }
}

// White can only take a pawn: worth a look when that may reach alpha.
TEST_F(SearchNodeTest, QuiescencePassesOverCapturesThatGainTooLittle) {
    for (const auto& [missing, looked] : {std::pair{60, true}, {250, false}}) {
        ClearSearch();
        EnterNode("kqr5/8/8/3p4/4P3/8/8/5RQK w - - 0 1", 1);
        const int alpha = Evaluate() + missing;
        const int64_t before = nodes_searched;
        quiesce(alpha, alpha + 1, 0, CutNode);
        EXPECT_EQ(nodes_searched - before > 1, looked) << missing;
    }
}

// What quiescence stores of a position says whether there is anything to capture in it.
TEST_F(SearchNodeTest, PositionsWithoutCapturesAreRemembered) {
    for (const auto& [fen, none] : {std::pair{"4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 1", true},
                                    {"4k3/8/8/3p4/4P3/8/8/4K3 w - - 0 1", false},
                                    {"4k3/2P5/8/8/8/8/8/4K3 w - - 0 1", false}}) {
        EnterNode(fen, 1);
        quiesce(-MATE, MATE, 0, PvNode);
        const TableEntry* const entry = PeekTable();
        ASSERT_NE(entry, nullptr) << fen;
        EXPECT_EQ((entry->flags & FlagNoCaptures) != 0, none) << fen;
    }
}

// Whoever is to move must leave his pawn and loses. A null move would make that Black.
TEST_F(SearchNodeTest, PawnEndingsAreNotPassed) {
    EnterNode("8/8/8/3Kp3/4Pk2/8/8/8 w - - 0 1", 1);
    EXPECT_LT(search(-51, -50, 4 * ONE_PLY, true, CutNode), -50);
}

// Black, to move, would mate on the back rank; White is far enough ahead to try a null move first.
TEST_F(SearchNodeTest, AThreatOfMateIsRemembered) {
    for (const auto& [fen, threat] : {std::pair{"2r3k1/5ppp/8/NN6/8/8/5PPP/6K1 w - - 0 1", true},
                                      {"2r3k1/5ppp/8/NN6/8/7P/5PP1/6K1 w - - 0 1", false}}) {
        EnterNode(fen, 1);
        search(-401, -400, 6 * ONE_PLY, true, CutNode);
        TableProbe probe;
        ProbeMain(probe, -401, -400, 6 * ONE_PLY, 1, false);
        ASSERT_TRUE(probe.hit);
        EXPECT_EQ(probe.node_mark, threat) << fen;
    }
}

// White's only move is not in check, so nothing but its being alone earns it the depth of its node.
TEST_F(SearchNodeTest, AnOnlyMoveIsSearchedDeeper) {
    constexpr int depth = 8 * ONE_PLY;
    EnterNode("6rk/8/8/8/8/p7/P7/7K w - - 0 1", 1);
    const Move only = ParseCoordinate("h1h2");
    ASSERT_EQ(LegalMoveList(), MoveList{only});
    StoreTable(depth - ONE_PLY, only, -300, BoundExact, 0, 0, 1);
    search(-MATE, MATE, depth, false, PvNode);
    MakeMove(only);
    const TableEntry* const entry = PeekTable();
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->depth, depth);
    UnmakeMove();
}

struct OrderCase {
    const char *why, *fen, *hash;
    Move killer;
    int ply;
    const char* beginning;  // the first moves handed out
};

const Move king_up = PackMove(E1, E1 + 8, KING), impossible = PackMove(G1, G1 + 15, KNIGHT);
const OrderCase order_cases[] = {
    {"good captures first, losing ones last", "4k3/2p5/1p1q4/4P3/8/8/2R5/4K3 w - - 0 1", "", 0, 2, "e5d6"},
    {"hash move first and only once", "4k3/8/3q4/2P1P3/8/8/8/4K3 w - - 0 1", "e1e2", 0, 2, "e1e2 c5d6 e5d6"},
    {"killer before the other quiets", "4k3/8/3q4/2P5/8/8/8/4K3 w - - 0 1", "", king_up, 2, "c5d6 e1e2"},
    {"a killer equal to the hash move", "4k3/8/8/8/8/8/8/4K3 w - - 0 1", "e1e2", king_up, 2, "e1e2"},
    {"an impossible killer is left out", "4k3/8/8/8/8/8/8/4K3 w - - 0 1", "", impossible, 2, "e1"},
    {"near the root all promotions", "8/P6k/8/8/8/8/8/K7 w - - 0 1", "", 0, 2, "a7a8q a7a8r a7a8n a7a8b"},
    {"deeper only the queen", "8/P6k/8/8/8/8/8/K7 w - - 0 1", "", 0, 7, "a7a8q a1"},
    {"deeper also a knight that checks", "8/P7/1k6/8/8/8/8/K7 w - - 0 1", "", 0, 7, "a7a8q a7a8n a1"},
};

TEST_F(SearchNodeTest, HandsMovesOutInOrder) {
    for (const OrderCase& c : order_cases) {
        SCOPED_TRACE(c.why);
        EnterNode(c.fen, c.ply);
        ply_records[c.ply].killers[WHITE][0] = c.killer;
        CheckInfo checks;
        ComputeCheckInfo(checks);
        MovePicker picker;
        picker.StartQuietly(ParseCoordinate(c.hash), thread_board.colour[BLACK], false, checks);
        const int top = move_count;
        MoveList moves;
        while (const Move m = picker.Next()) moves.push_back(m);
        move_count = top;
        const std::string text = Text(moves);
        EXPECT_EQ(text.find(c.beginning), 0u) << text;
        if (c.ply > 2) continue;
        // Every move once.
        const Bitboard pinned = PinnedPieces(WHITE);
        MoveList legal = Sorted(moves);
        std::erase_if(legal, [&](Move m) { return !IsLegal(m, pinned); });
        EXPECT_EQ(Text(legal), Text(Sorted(LegalMoveList())));
        if (&c == order_cases) {
            EXPECT_EQ(MoveText(moves.back()), "c2c7") << text;
        }
    }
}

}  // namespace
