// board_attacks_test.cpp - the attack tables, against walking the board square by square.
#include <gtest/gtest.h>

#include <cstring>

#include "board/attacks.h"
#include "tests/support/board_helpers.h"
#include "tests/support/plain_board.h"

namespace {

Bitboard PlainAttackersTo(const PlainBoard& board, Square s) {
    Bitboard attackers = 0;
    for (Square from = A1; from <= H8; ++from)
        if (from != s && Reaches(board, from, s)) attackers |= Bit(from);
    return attackers;
}

}  // namespace

// Pieces of all kinds, in turn few and many, so that every occupancy of a line occurs.
TEST(Attacks, RandomlyFilledBoards) {
    TestRandom random{20240615};
    for (int round = 0; round < 1000; ++round) {
        ClearBoard();
        const uint64_t men = round % 2 ? random.Next() & random.Next() : random.Next() | random.Next();
        const Square kings[] = {random.Below(32), 32 + random.Below(32)};
        for (const Colour c : {WHITE, BLACK}) PlacePiece(kings[c], c, KING);
        for (Square s = A1; s <= H8; ++s) {
            constexpr PieceType types[] = {KNIGHT, PAWN, ROOK, BISHOP, QUEEN};
            if ((men & Bit(s)) && s != kings[WHITE] && s != kings[BLACK])
                PlacePiece(s, Colour(random.Below(2)), types[random.Below(5)]);
        }
        const PlainBoard board = ReadBoard();
        for (Square s = A1; s <= H8; ++s) {
            SCOPED_TRACE(s);
            ASSERT_EQ(RookAttacks(s), PlainAttacks(board, 'R', s));
            ASSERT_EQ(BishopAttacks(s), PlainAttacks(board, 'B', s));
            const Bitboard attackers = PlainAttackersTo(board, s);
            ASSERT_EQ(AttackersTo(s), attackers);
            for (const Colour c : {WHITE, BLACK})
                ASSERT_EQ(IsAttacked(s, c), (attackers & thread_board.colour[c]) != 0);
            for (int i = 0; i < 8; ++i)
                ASSERT_EQ(RayAttacks(s, DirectionSteps[i]), PlainAttacks(board, 'Q', s) & direction_rays[i][s]);
            for (const int no_step : {0, 2, 10, -16, 64}) ASSERT_EQ(RayAttacks(s, no_step), 0u);
        }
    }
    SetInitialPosition();
}

// Walking from a square in each direction: what has been passed lies between.
TEST(Attacks, LinesBetweenSquares) {
    static int8_t steps[64][64];
    static Bitboard passed_between[64][64];
    for (Square a = A1; a <= H8; ++a) {
        for (int i = 0; i < 8; ++i) {
            const int step = DirectionSteps[i], ranks = step > 1 ? 1 : step < -1 ? -1 : 0, files = step - 8 * ranks;
            Bitboard passed = 0;
            int file = FileOf(a) + files, rank = RankOf(a) + ranks;
            for (; file >= 0 && file < 8 && rank >= 0 && rank < 8; file += files, rank += ranks) {
                const Square b = SquareAt(file, rank);
                steps[a][b] = int8_t(step);
                passed_between[a][b] = passed;
                passed |= Bit(b);
            }
            EXPECT_EQ(direction_rays[i][a], passed) << a << " " << step;
        }
    }
    EXPECT_EQ(std::memcmp(direction, steps, sizeof direction), 0);
    EXPECT_EQ(std::memcmp(between, passed_between, sizeof between), 0);
}
