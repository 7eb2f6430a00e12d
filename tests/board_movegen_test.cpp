// board_movegen_test.cpp - the generators and legality tests against each other.
//
// Node counts say that GenerateLegalMoves() is right (board_perft_test.cpp). Here everything
// else that knows about moves must agree with it, at every position of random games.
#include <gtest/gtest.h>

#include "board/attacks.h"
#include "board/ordering_data.h"
#include "tests/support/random_games.h"

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

template <typename Unwanted> MoveList Without(MoveList moves, Unwanted unwanted) {
    std::erase_if(moves, unwanted);
    return moves;
}

// The pseudo-legal moves that are legal; only when not in check.
MoveList Legal(const MoveList& moves) {
    return Without(moves, [pinned = PinnedPieces(SideToMove())](Move m) { return !IsLegal(m, pinned); });
}

// What IsPseudoLegal() promises: in check no castling.
MoveList GeneratedHere() { return SideInCheck() ? Without(PseudoLegalMoves(), IsCastling) : PseudoLegalMoves(); }

bool IsSmallPromotion(Move m) { return MovePromotion(m) == ROOK || MovePromotion(m) == BISHOP; }

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

TEST(MoveGeneration, GeneratorsAgreeWithTheLegalMoves) {
    int checks = 0;
    AtManyPositions(4, 100, [&](const MoveList& legal) {
        const std::string all = Text(Sorted(legal));
        EXPECT_EQ(Text(Sorted(Generated([] { GenerateUnscoredLegalMoves(move_count); }))), all) << "stage by stage";
        EXPECT_EQ(Text(Sorted(Generated([] { GenerateLegalMovesByMan(move_count); }))), all) << "man by man";
        if (SideInCheck()) {
            EXPECT_EQ(Text(Sorted(Generated(GenerateEvasions))), Text(Sorted(Without(legal, IsSmallPromotion))));
            ++checks;
        } else {
            EXPECT_EQ(Text(Legal(PseudoLegalMoves())), Text(legal)) << "filtered by pins";
        }
    });
    EXPECT_GT(checks, 500);
}

// Killers and table moves come from other positions: near misses, not noise.
TEST(MoveGeneration, QuestionsAboutSingleMoves) {
    MoveList strangers;
    for (const TestPosition& t : test_positions) {
        SetFen(t.fen);
        const MoveList own = PseudoLegalMoves();
        strangers.insert(strangers.end(), own.begin(), own.end());
    }
    AtManyPositions(4, 60, [&](const MoveList& legal) {
        const MoveList sorted = Sorted(legal), pseudo = Sorted(GeneratedHere());
        for (const Move m : strangers)
            EXPECT_EQ(IsPseudoLegal(m), std::binary_search(pseudo.begin(), pseudo.end(), m)) << MoveText(m);
        for (const Move m : pseudo)
            EXPECT_EQ(IsFullyLegal(m), std::binary_search(sorted.begin(), sorted.end(), m)) << MoveText(m);
        CheckInfo info;
        ComputeCheckInfo(info);
        for (const Move m : legal) EXPECT_EQ(GivesCheck(m, info), ChecksAfterwards(m)) << MoveText(m);
    });
}

// Every word that the fields of a move can spell: two million a position.
TEST(MoveGeneration, PseudoLegalExactlyWhenGenerated) {
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        SetFen(t.fen);
        const MoveList generated = GeneratedHere();
        MoveList accepted;
        for (Move word = 0; word < 1u << 21; ++word)
            if (IsPseudoLegal(word)) accepted.push_back(word);
        EXPECT_EQ(Text(accepted), Text(Sorted(generated)));
        for (const Move m : generated)
            for (int bit = 21; bit < 32; ++bit) EXPECT_FALSE(IsPseudoLegal(m | 1u << bit)) << bit;
    }
}

TEST(MoveGeneration, QuietChecksAreExactlyTheQuietMovesThatCheck) {
    int found = 0;
    AtManyPositions(4, 100, [&](const MoveList& legal) {
        if (SideInCheck()) return;
        const MoveList truth =
            Sorted(Without(legal, [](Move m) { return !IsQuiet(m) || IsCastling(m) || !ChecksAfterwards(m); }));
        found += int(truth.size());
        EXPECT_EQ(Text(Sorted(Legal(QuietChecks(true)))), Text(truth));
        const MoveList narrow = Sorted(Legal(QuietChecks(false)));
        EXPECT_TRUE(std::includes(truth.begin(), truth.end(), narrow.begin(), narrow.end())) << Text(narrow);
    });
    EXPECT_GT(found, 1000);
}

TEST(MoveGeneration, NarrowQuietChecksKeepSafeOnesAndDropLosingOnes) {
    for (const auto& [fen, moves] : {std::pair{"6k1/5p2/8/8/8/8/6B1/3R1K2 w - -", "d1d8"},
                                     {"4n1k1/5p2/8/8/8/1B6/3R4/5K2 w - -", "d2g2"},
                                     {"6k1/4bp2/8/8/8/7K/8/3R4 w - -", "d1g1"}}) {
        SetFen(fen);
        EXPECT_EQ(Text(QuietChecks(false)), moves) << fen;
    }
}

// ---- Orders that decide between equal scores ----

TEST(MoveGeneration, Orders) {
    constexpr auto Captures = [] { GenerateCaptures(EnemyMen()); };
    constexpr auto NoTargets = [] { GenerateCaptures(0); };
    struct {
        const char* fen;
        void (*generate)();
        const char* moves;
    } const cases[] = {
        // Promotion captures: knight second. Plain promotions: rook second, highest pawn first.
        {"7r/6P1/8/8/8/8/k7/7K w - -", Captures, "g7h8q g7h8n g7h8r g7h8b"},
        {"8/P5P1/8/8/8/8/k7/7K w - -", GeneratePromotions, "g7g8q g7g8r g7g8n g7g8b a7a8q a7a8r a7a8n a7a8b"},
        {"7k/K7/8/8/8/8/p5p1/8 b - -", GeneratePromotions, "g2g1q g2g1r g2g1n g2g1b a2a1q a2a1r a2a1n a2a1b"},
        // From pawn to king, lowest square first; the same with en passant, whatever the targets.
        {"8/8/8/8/2nn4/1P1PK3/8/2RR1N1k w - -", Captures, "b3c4 d3c4 c1c4 e3d4"},
        {"2rr1n1K/8/1p1pk3/2NN4/8/8/8/8 b - -", Captures, "b6c5 d6c5 c8c5 e6d5"},
        {"4k3/8/8/2PpP3/8/8/8/4K3 w - d6", NoTargets, "c5d6 e5d6"},
        {"4k3/8/8/8/2pPp3/8/8/4K3 b - d3", NoTargets, "c4d3 e4d3"},
        // Castling first, king side before queen side; pushes by one before those by two.
        {"4k3/8/8/8/8/p6p/P2PPP1P/R3K2R w KQ -", GenerateQuiets,
         "e1g1 e1c1 d2d3 e2e3 f2f3 d2d4 e2e4 f2f4 a1b1 a1c1 a1d1 h1f1 h1g1 e1d1 e1f1"},
        {"r3k2r/p2ppp1p/P6P/8/8/8/8/4K3 b kq -", GenerateQuiets,
         "e8g8 e8c8 d7d6 e7e6 f7f6 d7d5 e7e5 f7f5 a8b8 a8c8 a8d8 h8f8 h8g8 e8d8 e8f8"},
        {"8/P5k1/8/8/8/8/8/7K w - -", GenerateQuiets, "h1g1 h1g2 h1h2"},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(Text(Generated(c.generate)), c.moves) << c.fen;
    }
}

// The list of legal moves is also wanted in the middle of a search.
TEST(MoveGeneration, ListOfLegalMovesLeavesTheSearchAlone) {
    SetFen(test_positions[2].fen);
    current_ply = 7;
    ply_records[7].eval = 4711;
    ply_records[7].in_check = 1;
    move_stack[2] = {Move(3), 12};
    move_count = 3;
    const PositionBytes before = BytesOfPosition();
    EXPECT_EQ(GenerateLegalMoves(3), 48);
    EXPECT_EQ(move_count, 3 + 48);
    EXPECT_EQ(move_stack[2].move, Move(3));
    EXPECT_EQ(move_stack[2].score, 12);
    EXPECT_EQ(current_ply, 7);
    EXPECT_EQ(ply_records[7].eval, 4711);
    EXPECT_EQ(ply_records[7].in_check, 1);
    EXPECT_EQ(before, BytesOfPosition());

    SetFen("7k/5Q2/6K1/8/8/8/8/8 b - -");
    EXPECT_EQ(GenerateLegalMoves(5), 0);
    EXPECT_EQ(move_count, 5) << "the stack ends where it was told to begin";
    current_ply = 0;
    move_count = 0;
    ply_records[7] = {};
}
