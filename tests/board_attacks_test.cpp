// board_attacks_test.cpp - the attack tables, against walking the board square by square.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "board/attacks.h"
#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

namespace {

// Squares that a man stepping by (file, rank) reaches from s: once, or on until it is blocked.
Bitboard Walk(Square s, int file_step, int rank_step, bool slides) {
    Bitboard reached = 0;
    int file = FileOf(s) + file_step, rank = RankOf(s) + rank_step;
    while (file >= 0 && file < 8 && rank >= 0 && rank < 8) {
        reached |= Bit(SquareAt(file, rank));
        if (!slides || thread_board.board[SquareAt(file, rank)] != EMPTY) break;
        file += file_step;
        rank += rank_step;
    }
    return reached;
}

Bitboard SlowRookAttacks(Square s) {
    return Walk(s, 1, 0, true) | Walk(s, -1, 0, true) | Walk(s, 0, 1, true) | Walk(s, 0, -1, true);
}
Bitboard SlowBishopAttacks(Square s) {
    return Walk(s, 1, 1, true) | Walk(s, -1, 1, true) | Walk(s, 1, -1, true) | Walk(s, -1, -1, true);
}
Bitboard SlowKingAttacks(Square s) {
    Bitboard reached = 0;
    for (int file = -1; file <= 1; ++file)
        for (int rank = -1; rank <= 1; ++rank)
            if (file != 0 || rank != 0) reached |= Walk(s, file, rank, false);
    return reached;
}
Bitboard SlowKnightAttacks(Square s) {
    Bitboard reached = 0;
    for (const int a : {-2, 2})
        for (const int b : {-1, 1}) reached |= Walk(s, a, b, false) | Walk(s, b, a, false);
    return reached;
}
Bitboard SlowPawnAttacks(Colour c, Square s) {
    const int up = c == WHITE ? 1 : -1;
    return Walk(s, -1, up, false) | Walk(s, 1, up, false);
}

// All men that attack s, each asked where it goes.
Bitboard SlowAttackersTo(Square s) {
    Bitboard attackers = 0;
    for (Square from = A1; from <= H8; ++from) {
        const Colour c = thread_board.colour[WHITE] & Bit(from) ? WHITE : BLACK;
        Bitboard reached = 0;
        switch (thread_board.board[from]) {
            case PAWN: reached = SlowPawnAttacks(c, from); break;
            case KNIGHT: reached = SlowKnightAttacks(from); break;
            case BISHOP: reached = SlowBishopAttacks(from); break;
            case ROOK: reached = SlowRookAttacks(from); break;
            case QUEEN: reached = SlowRookAttacks(from) | SlowBishopAttacks(from); break;
            case KING: reached = SlowKingAttacks(from); break;
            default: break;
        }
        if (reached & Bit(s)) attackers |= Bit(from);
    }
    return attackers;
}

constexpr Square B2 = 9, B3 = 17, C3 = 18, A4 = 24;

}  // namespace

TEST(Attacks, LinePatterns) {
    const uint8_t empty_line[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    const uint8_t second_occupied[8] = {8, 1, 9, 10, 11, 12, 13, 14};
    for (int place = 0; place < 8; ++place) {
        EXPECT_EQ(line_pattern[0][place], empty_line[place]) << place;
        EXPECT_EQ(line_pattern[2][place], second_occupied[place]) << place;
    }
    const size_t per_place[8] = {7, 6, 10, 12, 12, 10, 6, 7};
    std::set<int> all;
    for (int place = 0; place < 8; ++place) {
        std::set<int> patterns;
        for (int line = 0; line < 256; ++line) patterns.insert(line_pattern[line][place]);
        EXPECT_EQ(patterns.size(), per_place[place]) << place;
        all.insert(patterns.begin(), patterns.end());
    }
    EXPECT_EQ(all.size(), 70u);
    EXPECT_EQ(*all.rbegin(), 69);
}

TEST(Attacks, SlidersAndLeapersAtManyPositions) {
    TestRandom random{20240614};
    for (const TestPosition& t : test_positions) {
        SetFen(t.fen);
        RandomGame(random, 40, [](const MoveList&) {
            for (Square s = A1; s <= H8; ++s) {
                ASSERT_EQ(RookAttacks(s), SlowRookAttacks(s)) << WriteFen() << " " << s;
                ASSERT_EQ(BishopAttacks(s), SlowBishopAttacks(s)) << WriteFen() << " " << s;
                ASSERT_EQ(AttackersTo(s), SlowAttackersTo(s)) << WriteFen() << " " << s;
                for (const Colour c : {WHITE, BLACK})
                    ASSERT_EQ(IsAttacked(s, c), (SlowAttackersTo(s) & thread_board.colour[c]) != 0)
                        << WriteFen() << " " << s;
                const int file_steps[4] = {1, 0, 1, -1}, rank_steps[4] = {0, 1, 1, 1};
                for (int i = 0; i < 4; ++i) {
                    const int step = file_steps[i] + 8 * rank_steps[i];
                    ASSERT_EQ(RayAttacks(s, step), Walk(s, file_steps[i], rank_steps[i], true)) << WriteFen();
                    ASSERT_EQ(RayAttacks(s, -step), Walk(s, -file_steps[i], -rank_steps[i], true)) << WriteFen();
                }
            }
        });
    }
}

TEST(Attacks, RandomlyFilledBoards) {
    TestRandom random{20240615};
    for (int round = 0; round < 2000; ++round) {
        ClearBoard();
        const uint64_t men = round % 2 ? random.Next() & random.Next() : random.Next() | random.Next();
        for (Square s = A1; s <= H8; ++s)
            if (men & Bit(s)) PlacePiece(s, s % 3 ? WHITE : BLACK, KNIGHT);
        for (Square s = A1; s <= H8; ++s) {
            ASSERT_EQ(RookAttacks(s), SlowRookAttacks(s)) << s;
            ASSERT_EQ(BishopAttacks(s), SlowBishopAttacks(s)) << s;
        }
    }
    SetInitialPosition();
}

TEST(Attacks, TablesOfTheEmptyBoard) {
    ClearBoard();
    for (Square s = A1; s <= H8; ++s) {
        EXPECT_EQ(knight_attacks[s], SlowKnightAttacks(s)) << s;
        EXPECT_EQ(king_attacks[s], SlowKingAttacks(s)) << s;
        EXPECT_EQ(rook_rays[s], SlowRookAttacks(s)) << s;
        EXPECT_EQ(bishop_rays[s], SlowBishopAttacks(s)) << s;
        EXPECT_EQ(queen_rays[s], SlowRookAttacks(s) | SlowBishopAttacks(s)) << s;
        for (const Colour c : {WHITE, BLACK}) EXPECT_EQ(pawn_attacks[c][s], SlowPawnAttacks(c, s)) << s;
        for (int i = 0; i < 8; ++i) {
            const int step = DirectionSteps[i];
            const int rank_step = step > 1 ? 1 : step < -1 ? -1 : 0;
            EXPECT_EQ(direction_rays[i][s], Walk(s, step - 8 * rank_step, rank_step, true)) << s << " " << step;
        }
    }
    EXPECT_EQ(PopCount(rook_rays[A1]), 14);
    SetInitialPosition();
}

// A pair is aligned when walking from one in some direction meets the other.
TEST(Attacks, BetweenAndDirection) {
    for (Square a = A1; a <= H8; ++a) {
        for (Square b = A1; b <= H8; ++b) {
            int expected_step = 0;
            Bitboard expected_between = 0;
            for (int file = -1; file <= 1; ++file) {
                for (int rank = -1; rank <= 1; ++rank) {
                    Bitboard passed = 0;
                    int f = FileOf(a) + file, r = RankOf(a) + rank;
                    for (; (file || rank) && f >= 0 && f < 8 && r >= 0 && r < 8; f += file, r += rank) {
                        if (SquareAt(f, r) == b) {
                            expected_step = file + 8 * rank;
                            expected_between = passed;
                        }
                        passed |= Bit(SquareAt(f, r));
                    }
                }
            }
            ASSERT_EQ(direction[a][b], expected_step) << a << " " << b;
            ASSERT_EQ(between[a][b], expected_between) << a << " " << b;
        }
    }
    EXPECT_EQ(direction[A1][H8], 9);
    EXPECT_EQ(direction[E8][E1], -8);
    EXPECT_EQ(between[A1][C3], Bit(B2));
    EXPECT_EQ(between[A1][B2], 0u);
    EXPECT_EQ(between[A1][B3], 0u);
}

TEST(Attacks, Corners) {
    ClearBoard();
    EXPECT_EQ(DiagonalAttacks(H1), 0u) << "a diagonal of one square";
    EXPECT_EQ(PopCount(AntiDiagonalAttacks(H1)), 7);
    PlacePiece(A4, BLACK, PAWN);
    EXPECT_EQ(FileAttacks(A1), Bit(A1 + 8) | Bit(A1 + 16) | Bit(A4)) << "the blocker is included";
    SetInitialPosition();
}

TEST(Attacks, NumbersThatAreNoSteps) {
    SetInitialPosition();
    for (const int step : {0, 2, 6, 10, 16, -16, 64, -64, 1000})
        for (Square s = A1; s <= H8; ++s) EXPECT_EQ(RayAttacks(s, step), 0u) << s << " " << step;
}
