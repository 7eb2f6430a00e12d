// board_movegen_test.cpp - the generators and legality tests against each other.
//
// Node counts say that GenerateLegalMoves() is right (board_perft_test.cpp). Here everything
// else that knows about moves must agree with it, at every position of random games.
#include <gtest/gtest.h>

#include "board/attacks.h"
#include "board/legality.h"
#include "board/ordering_data.h"
#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

namespace {

bool SideInCheck() { return InCheck(SideToMove()); }
Bitboard EnemyMen() { return thread_board.colour[ChangeSide(SideToMove())]; }

MoveList PseudoLegalMoves() {
    return Generated([] {
        GenerateCaptures(EnemyMen());
        GeneratePromotions();
        GenerateQuiets();
    });
}

MoveList Without(const MoveList& moves, bool (*unwanted)(Move)) {
    MoveList kept;
    for (const Move m : moves)
        if (!unwanted(m)) kept.push_back(m);
    return kept;
}

bool IsSmallPromotion(Move m) { return MovePromotion(m) == ROOK || MovePromotion(m) == BISHOP; }

// Calls check(legal moves) at every position of some random games from every listed position.
template <typename Check> void AtManyPositions(int games, int plies, Check check) {
    TestRandom random{20240612};
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        for (int game = 0; game < games; ++game) {
            SetFen(t.fen);
            RandomGame(random, plies, [&](const MoveList& legal) {
                if (::testing::Test::HasFailure()) return;
                SCOPED_TRACE(WriteFen());
                check(legal);
            });
        }
    }
}

MoveList QuietChecks(bool wide) {
    CheckInfo info;
    ComputeCheckInfo(info);
    return Generated([&] { GenerateQuietChecks(wide, info); });
}

bool ChecksAfterwards(Move m) {
    MakeMove(m);
    const bool check = SideInCheck();
    UnmakeMove();
    return check;
}

}  // namespace

TEST(MoveGeneration, UnscoredMovesAreTheLegalMoves) {
    AtManyPositions(4, 100, [](const MoveList& legal) {
        const MoveList unscored = Generated([] { GenerateUnscoredLegalMoves(move_count); });
        EXPECT_EQ(Text(Sorted(unscored)), Text(Sorted(legal))) << "stage by stage";
        const MoveList by_man = Generated([] { GenerateLegalMovesByMan(move_count); });
        EXPECT_EQ(Text(Sorted(by_man)), Text(Sorted(legal))) << "man by man";
    });
}

TEST(MoveGeneration, EvasionsAreTheLegalMovesWithoutSmallPromotions) {
    int checks = 0;
    AtManyPositions(8, 100, [&](const MoveList& legal) {
        if (!SideInCheck()) return;
        ++checks;
        const MoveList evasions = Generated(GenerateEvasions);
        EXPECT_EQ(Text(Sorted(evasions)), Text(Sorted(Without(legal, IsSmallPromotion))));
    });
    EXPECT_GT(checks, 1000);
}

TEST(MoveGeneration, StagesFilteredByPinsAreTheLegalMoves) {
    AtManyPositions(4, 100, [](const MoveList& legal) {
        if (SideInCheck()) return;
        MoveList kept;
        const Bitboard pinned = PinnedPieces(SideToMove());
        for (const Move m : PseudoLegalMoves())
            if (IsLegal(m, pinned)) kept.push_back(m);
        EXPECT_EQ(Text(kept), Text(legal));
    });
}

// Every word that the fields of a move can spell: two million a position.
TEST(MoveGeneration, PseudoLegalExactlyWhenGenerated) {
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        SetFen(t.fen);
        MoveList generated = PseudoLegalMoves();
        if (SideInCheck()) generated = Without(generated, IsCastling);
        MoveList accepted;
        for (Move word = 0; word < 1u << 21; ++word)
            if (IsPseudoLegal(word)) accepted.push_back(word);
        EXPECT_EQ(Text(accepted), Text(Sorted(generated)));
    }
}

TEST(MoveGeneration, PseudoLegalRefusesHighBits) {
    SetInitialPosition();
    const Move m = ParseCoordinate("e2e4");
    for (int bit = 21; bit < 32; ++bit) EXPECT_FALSE(IsPseudoLegal(m | 1u << bit)) << bit;
}

// Killers and table moves come from other positions: near misses, not noise.
TEST(MoveGeneration, PseudoLegalJudgesMovesOfOtherPositions) {
    TestRandom random{20240613};
    MoveList strangers;
    for (const TestPosition& t : test_positions) {
        SetFen(t.fen);
        for (const Move m : PseudoLegalMoves())
            if (random.Below(4) == 0) strangers.push_back(m);
    }
    AtManyPositions(2, 60, [&](const MoveList&) {
        MoveList generated = PseudoLegalMoves();
        if (SideInCheck()) generated = Without(generated, IsCastling);
        generated = Sorted(generated);
        for (const Move m : strangers)
            EXPECT_EQ(IsPseudoLegal(m), std::binary_search(generated.begin(), generated.end(), m)) << MoveText(m);
        for (const Move m : generated) EXPECT_TRUE(IsPseudoLegal(m)) << MoveText(m);
    });
}

TEST(MoveGeneration, FullyLegalExactlyWhenLegal) {
    AtManyPositions(2, 60, [](const MoveList& legal) {
        const MoveList sorted = Sorted(legal);
        for (const Move m : PseudoLegalMoves())
            EXPECT_EQ(IsFullyLegal(m), std::binary_search(sorted.begin(), sorted.end(), m)) << MoveText(m);
    });
}

TEST(MoveGeneration, GivesCheckIsTheTruth) {
    AtManyPositions(4, 100, [](const MoveList& legal) {
        CheckInfo info;
        ComputeCheckInfo(info);
        for (const Move m : legal) EXPECT_EQ(GivesCheck(m, info), ChecksAfterwards(m)) << MoveText(m);
    });
}

TEST(MoveGeneration, CheckersAndPins) {
    AtManyPositions(2, 60, [](const MoveList&) {
        const Colour us = SideToMove();
        const Bitboard checkers = Checkers(us);
        EXPECT_EQ(checkers != 0, SideInCheck());
        EXPECT_EQ(checkers & ~EnemyMen(), 0u);
    });
    // A pinned man is one whose removal exposes the king.
    SetFen("4k3/4r3/b7/q1N5/8/2B1P3/3PR3/4K2r w - - 0 1");
    EXPECT_EQ(PinnedPieces(WHITE), 0u) << "two men between, or none";
    SetFen("4k3/4r3/8/q7/7b/2B3P1/4R3/4K2r w - -");
    EXPECT_EQ(PinnedPieces(WHITE), Bit(18) | Bit(12) | Bit(22));
}

TEST(MoveGeneration, QuietChecksAreExactlyTheQuietMovesThatCheck) {
    int found = 0;
    AtManyPositions(4, 100, [&](const MoveList& legal) {
        if (SideInCheck()) return;
        MoveList truth;
        for (const Move m : legal)
            if (IsQuiet(m) && !IsCastling(m) && ChecksAfterwards(m)) truth.push_back(m);
        truth = Sorted(truth);
        found += int(truth.size());
        MoveList wide, narrow;
        const Bitboard pinned = PinnedPieces(SideToMove());
        for (const Move m : QuietChecks(true))
            if (IsLegal(m, pinned)) wide.push_back(m);
        for (const Move m : QuietChecks(false))
            if (IsLegal(m, pinned)) narrow.push_back(m);
        EXPECT_EQ(Text(Sorted(wide)), Text(truth));
        narrow = Sorted(narrow);
        EXPECT_TRUE(std::includes(truth.begin(), truth.end(), narrow.begin(), narrow.end())) << Text(narrow);
    });
    EXPECT_GT(found, 1000);
}

TEST(MoveGeneration, NarrowQuietChecksKeepSafeOnesAndDropLosingOnes) {
    SetFen("6k1/5p2/8/8/8/8/6B1/3R1K2 w - -");
    EXPECT_EQ(Text(QuietChecks(false)), "d1d8");
    SetFen("4n1k1/5p2/8/8/8/1B6/3R4/5K2 w - -");
    EXPECT_EQ(Text(QuietChecks(false)), "d2g2");
    SetFen("6k1/4bp2/8/8/8/7K/8/3R4 w - -");
    EXPECT_EQ(Text(QuietChecks(false)), "d1g1") << "d8 is guarded";
}

// ---- Orders that decide between equal scores ----

TEST(MoveGeneration, Orders) {
    struct {
        const char* why;
        const char* fen;
        void (*generate)();
        const char* moves;
    } const cases[] = {
        {"promotion captures: knight second", "7r/6P1/8/8/8/8/k7/7K w - -", [] { GenerateCaptures(EnemyMen()); },
         "g7h8q g7h8n g7h8r g7h8b"},
        {"plain promotions: rook second, highest pawn first", "8/P5P1/8/8/8/8/k7/7K w - -", GeneratePromotions,
         "g7g8q g7g8r g7g8n g7g8b a7a8q a7a8r a7a8n a7a8b"},
        {"the same for Black", "7k/K7/8/8/8/8/p5p1/8 b - -", GeneratePromotions,
         "g2g1q g2g1r g2g1n g2g1b a2a1q a2a1r a2a1n a2a1b"},
        {"captures go from pawn to king, lowest square first", "8/8/8/8/2nn4/1P1PK3/8/2RR1N1k w - -",
         [] { GenerateCaptures(EnemyMen()); }, "b3c4 d3c4 c1c4 e3d4"},
        {"castling first, king side before queen side", "4k3/8/8/8/8/p6p/P2PPP1P/R3K2R w KQ -", GenerateQuiets,
         "e1g1 e1c1 d2d3 e2e3 f2f3 d2d4 e2e4 f2f4 a1b1 a1c1 a1d1 h1f1 h1g1 e1d1 e1f1"},
        {"en passant from the lower square first, with no target asked for", "4k3/8/8/2PpP3/8/8/8/4K3 w - d6",
         [] { GenerateCaptures(0); }, "c5d6 e5d6"},
        {"Black's captures keep the order of squares", "2rr1n1K/8/1p1pk3/2NN4/8/8/8/8 b - -",
         [] { GenerateCaptures(EnemyMen()); }, "b6c5 d6c5 c8c5 e6d5"},
        {"Black's en passant too", "4k3/8/8/8/2pPp3/8/8/4K3 b - d3", [] { GenerateCaptures(0); }, "c4d3 e4d3"},
        {"Black's castlings and pushes", "r3k2r/p2ppp1p/P6P/8/8/8/8/4K3 b kq -", GenerateQuiets,
         "e8g8 e8c8 d7d6 e7e6 f7f6 d7d5 e7e5 f7f5 a8b8 a8c8 a8d8 h8f8 h8g8 e8d8 e8f8"},
        {"a quiet generator knows no promotions", "8/P5k1/8/8/8/8/8/7K w - -", GenerateQuiets, "h1g1 h1g2 h1h2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        EXPECT_EQ(Text(Generated(c.generate)), c.moves);
    }
}

TEST(MoveGeneration, CastlingConditions) {
    struct {
        const char* why;
        const char* fen;
        bool king_side, queen_side;
    } const cases[] = {
        {"nothing in the way", "4k3/8/8/8/8/8/8/R3K2R w KQ -", true, true},
        {"rights gone", "4k3/8/8/8/8/8/8/R3K2R w - -", false, false},
        {"in check", "4k3/8/8/8/4r3/8/8/R3K2R w KQ -", false, false},
        {"f1 attacked", "4k3/8/8/8/5r2/8/8/R3K2R w KQ -", false, true},
        {"g1 attacked", "4k3/8/8/8/6r1/8/8/R3K2R w KQ -", false, true},
        {"h1 attacked does not matter", "4k3/8/8/8/7r/8/8/R3K2R w KQ -", true, true},
        {"d1 attacked", "4k3/8/8/8/3r4/8/8/R3K2R w KQ -", true, false},
        {"b1 attacked does not matter", "4k3/8/8/8/1r6/8/8/R3K2R w KQ -", true, true},
        {"b1 occupied", "4k3/8/8/8/8/8/8/RN2K2R w KQ -", true, false},
        {"a pawn next to g1", "4k3/8/8/8/8/8/7p/R3K2R w KQ -", false, true},
        {"the enemy king guards", "8/8/8/8/8/8/1k6/R3K2R w KQ -", true, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        EXPECT_EQ(ParseCoordinate("e1g1") != 0, c.king_side);
        EXPECT_EQ(ParseCoordinate("e1c1") != 0, c.queen_side);
    }
}

// The list of legal moves is also wanted in the middle of a search.
TEST(MoveGeneration, ListOfLegalMovesLeavesTheSearchAlone) {
    SetFen(test_positions[2].fen);
    current_ply = 7;
    iteration_depth = 12;
    ply_records[7].eval = 4711;
    ply_records[7].in_check = 1;
    move_count = 3;
    for (int i = 0; i < 3; ++i) move_stack[i] = {Move(i + 1), i + 10};
    const PositionBytes before = BytesOfPosition();

    const int count = GenerateLegalMoves(3);

    EXPECT_EQ(count, 48);
    EXPECT_EQ(move_count, 3 + 48);
    EXPECT_EQ(current_ply, 7);
    EXPECT_EQ(iteration_depth, 12);
    EXPECT_EQ(ply_records[7].eval, 4711);
    EXPECT_EQ(ply_records[7].in_check, 1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(move_stack[i].move, Move(i + 1));
        EXPECT_EQ(move_stack[i].score, i + 10);
    }
    EXPECT_EQ(before, BytesOfPosition());
    current_ply = 0;
    iteration_depth = 0;
    move_count = 0;
    ply_records[7] = {};
}

TEST(MoveGeneration, NoLegalMoveLeavesTheStackAtItsStart) {
    SetFen("7k/5Q2/6K1/8/8/8/8/8 b - -");
    move_count = 11;
    EXPECT_EQ(GenerateLegalMoves(5), 0);
    EXPECT_EQ(move_count, 5);
    move_count = 0;
}
