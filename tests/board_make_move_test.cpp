// board_make_move_test.cpp - playing moves and taking them back, in random games.
//
// The truth is a position rebuilt from the men alone, and the bytes that were there before.
// Castling rights and en passant are left to the node counts of board_perft_test.cpp.
#include <gtest/gtest.h>

#include "board/attacks.h"
#include "tests/support/random_games.h"

namespace {

// Every legal move, only the first of which saves what unmaking needs.
void MakeAndTakeBack(const MoveList& legal) {
    const PositionBytes before = BytesOfPosition();
    const int fifty = thread_board.fifty;
    for (const Move m : legal) {
        SCOPED_TRACE(MoveText(m));
        const bool irreversible = MovePiece(m) == PAWN || MoveCaptured(m) != EMPTY;
        MakeMove(m, m == legal.front());
        ASSERT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "");
        ASSERT_EQ(thread_board.fifty, irreversible ? 0 : fifty + 1);
        UnmakeMove();
        ASSERT_EQ(before, BytesOfPosition());
    }
}

void PassAndTakeBack() {
    const PositionBytes before = BytesOfPosition();
    const bool en_passant = EnPassantPossible(nullptr);
    const int side = thread_board.SideToMove;
    MakeNullMove();
    ASSERT_NE(thread_board.SideToMove, side);
    ASSERT_EQ(thread_board.fifty, 0);
    ASSERT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "");
    ASSERT_FALSE(EnPassantPossible(nullptr)) << "passing gives the capture up";
    if (const MoveList replies = LegalMoveList(); !replies.empty()) {
        MakeMove(replies.back());
        UnmakeMove();
    }
    UnmakeNullMove();
    ASSERT_EQ(before, BytesOfPosition());
    ASSERT_EQ(EnPassantPossible(nullptr), en_passant);
}

void CheckRandomGames(int games, int plies) {
    AtManyPositions(games, plies, [](const MoveList& legal) {
        MakeAndTakeBack(legal);
        if (!InCheck(SideToMove())) PassAndTakeBack();
    });
}

}  // namespace

TEST(MakeMove, RandomGamesKeepEveryFieldAndReturnEveryByte) { CheckRandomGames(2, 100); }

TEST(SlowMakeMove, RandomGamesKeepEveryFieldAndReturnEveryByte) { CheckRandomGames(50, 200); }

// The history has an end. A game is refused its next move while a search still has room.
TEST(MakeMove, GameMovesStopBeforeTheHistoryIsFull) {
    SetFen("4k3/8/8/8/8/8/8/R3K3 w - -");
    int played = 0;
    for (const char* const shuffle[4] = {"a1a2", "e8e7", "a2a1", "e7e8"};
         MakeGameMove(ParseCoordinate(shuffle[played % 4])); ++played) {
        ASSERT_LT(played, HistorySize);
    }
    EXPECT_EQ(played, history_count);
    EXPECT_GE(HistorySize - history_count, HistoryReserve - 1);
    EXPECT_GT(played, HistorySize - 2 * HistoryReserve);
    SetInitialPosition();
}
