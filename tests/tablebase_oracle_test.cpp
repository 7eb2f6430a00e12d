// tablebase_oracle_test.cpp - every position of three men against tables that others made.
//
// Debian's packages libgaviotatb-dev and gaviotatb: a probing library and its three-men tables,
// with distances to mate in plies. Without them the test is skipped.
#include <gtest/gtest.h>

#include "board/attacks.h"
#include "board/position.h"
#include "tablebases/probe.h"
#include "tablebases/registry.h"
#include "tests/support/table_checks.h"
#include "tests/support/table_folder.h"

#ifdef CORVANTIS_ORACLE
#include <gtb-probe.h>

namespace {

// The distance in the oracle's tables on our scale; false when it does not know.
bool AskOracle(Colour side, Square king, Square other_king, Square man, PieceType type, Colour owner, int* score) {
    constexpr unsigned char piece[8] = {0, 0, tb_KNIGHT, tb_PAWN, 0, tb_ROOK, tb_BISHOP, tb_QUEEN};
    // Squares and pieces of White and Black, each list ended by "none".
    unsigned squares[2][3] = {{unsigned(king), tb_NOSQUARE, tb_NOSQUARE},
                              {unsigned(other_king), tb_NOSQUARE, tb_NOSQUARE}};
    unsigned char pieces[2][3] = {{tb_KING, tb_NOPIECE, tb_NOPIECE}, {tb_KING, tb_NOPIECE, tb_NOPIECE}};
    squares[owner][1] = unsigned(man);
    pieces[owner][1] = piece[type];
    unsigned result = tb_UNKNOWN, plies = 0;
    if (!tb_probe_hard(side == WHITE ? tb_WHITE_TO_MOVE : tb_BLACK_TO_MOVE, tb_NOSQUARE, tb_NOCASTLE, squares[WHITE],
                       squares[BLACK], pieces[WHITE], pieces[BLACK], &result, &plies))
        return false;
    const bool wins = result == (side == WHITE ? tb_WMATE : tb_BMATE);
    // Mate in n moves takes 2n - 1 plies, to be mated in n takes 2n.
    *score = result == tb_DRAW ? 0 : wins ? MATE - int(plies + 1) : -MATE + int(plies);
    return result == tb_DRAW || result == tb_WMATE || result == tb_BMATE;
}

TEST(TablebaseOracle, EveryPositionOfThreeMen) {
    const TableFolder tables({"kpk", "kbk", "knk"});
    UseTables(tables);
    ASSERT_EQ(tablebase_men, 3);
    const char* paths[] = {"/usr/share/gaviotatb/gtb4", nullptr};
    tb_init(0, tb_CP4, paths);
    ASSERT_TRUE(tb_is_initialized());
    ASSERT_TRUE(tbcache_init(1 << 22, 0));
    ASSERT_TRUE(tb_availability() & 1) << "the oracle has no tables";
    int compared = 0;
    for (const PieceType type : {QUEEN, ROOK, BISHOP, KNIGHT, PAWN}) {
        for (int placement = 0; placement < 64 * 64 * 64; ++placement) {
            const Square kings[2] = {placement & 63, placement >> 6 & 63};
            const Square man = placement >> 12;
            if (kings[0] == kings[1] || man == kings[0] || man == kings[1]) continue;
            for (const Colour owner : {WHITE, BLACK}) {
                ClearBoard();
                PlacePiece(kings[0], WHITE, KING);
                PlacePiece(kings[1], BLACK, KING);
                PlacePiece(man, owner, type);
                for (const Colour side : {WHITE, BLACK}) {
                    FinishSetup(side, 0);
                    if (!IsPlayable() || (king_attacks[kings[0]] & Bit(kings[1]))) continue;
                    int expected = 0, score = 0;
                    ASSERT_TRUE(AskOracle(side, kings[0], kings[1], man, type, owner, &expected)) << WriteFen();
                    ASSERT_TRUE(ProbeTablebase(&score)) << WriteFen();
                    ASSERT_EQ(score, expected) << WriteFen();
                    ++compared;
                }
            }
        }
    }
    EXPECT_GT(compared, 3000000);
    RegisterTablebases("");
    tbcache_done();
    tb_done();
}

}  // namespace

#else

TEST(TablebaseOracle, EveryPositionOfThreeMen) {
    GTEST_SKIP() << "SKIPPED: the packages libgaviotatb-dev and gaviotatb were not there when this was built";
}

#endif
