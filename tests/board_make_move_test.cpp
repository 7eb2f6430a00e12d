// board_make_move_test.cpp - playing moves and taking them back, in random games.
//
// The truth is a position rebuilt from the men alone, and the bytes that were there before.
#include <gtest/gtest.h>

#include "board/material_index.h"
#include "board/repetition.h"
#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

namespace {

// Random games from every position of the list: fields after each move, bytes on the way
// back. `games` from each.
void WalkAndReturn(int games, int plies) {
    TestRandom random{20240611};
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        for (int game = 0; game < games; ++game) {
            SetFen(t.fen);
            const int first = history_count;
            std::vector<PositionBytes> before;
            RandomGame(random, plies, [&](const MoveList&) {
                ASSERT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "") << WriteFen();
                before.push_back(BytesOfPosition());
            });
            while (history_count > first) {
                before.pop_back();
                const std::string after = WriteFen();
                UnmakeMove();
                ASSERT_EQ(before.back(), BytesOfPosition()) << "taking back to " << WriteFen() << " from " << after;
            }
        }
    }
}

}  // namespace

TEST(MakeMove, RandomGamesKeepEveryFieldAndReturnEveryByte) { WalkAndReturn(4, 150); }

TEST(SlowMakeMove, RandomGamesKeepEveryFieldAndReturnEveryByte) { WalkAndReturn(200, 200); }

TEST(MakeMove, CastlingRights) {
    struct {
        const char* why;
        const char* fen;
        const char* moves;
        int castling;
    } const cases[] = {
        {"castling king side", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1g1", BlackKingSide | BlackQueenSide},
        {"castling queen side", "r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", "e8c8", WhiteKingSide | WhiteQueenSide},
        {"king moves away and back", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1e2 a8b8 e2e1", BlackKingSide},
        {"a rook that left cannot give the right back", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "h1h2 e8e7 h2h1",
         WhiteQueenSide},
        {"rook takes rook: both lose one right", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "h1h8",
         WhiteQueenSide | BlackQueenSide},
        {"a bishop takes the rook", "r3k2r/8/8/8/3B4/8/8/R3K2R w KQkq -", "d4h8",
         WhiteKingSide | WhiteQueenSide | BlackQueenSide},
        {"a pawn takes the rook and promotes", "r3k2r/6P1/8/8/8/8/8/R3K2R w KQkq -", "g7h8q",
         WhiteKingSide | WhiteQueenSide | BlackQueenSide},
        {"a second rook on the home square keeps nothing alive", "4k3/8/8/8/8/8/7R/4K2R w K -", "h1g1 e8e7 h2h1", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        ASSERT_TRUE(PlayMoves(c.moves));
        EXPECT_EQ(thread_board.castling, c.castling);
    }
}

TEST(MakeMove, CastlingMovesTheRook) {
    SetFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -");
    ASSERT_TRUE(PlayMoves("e1g1 e8c8"));
    EXPECT_EQ(WriteFen(), "2kr3r/8/8/8/8/8/8/R4RK1 w - - 2 2");
}

TEST(MakeMove, EnPassantRemovesThePawnBesideTheTarget) {
    SetFen("rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3");
    ASSERT_TRUE(PlayMoves("e5f6"));
    EXPECT_EQ(WriteFen(), "rnbqkbnr/ppp1p1pp/5P2/3p4/8/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
}

TEST(MakeMove, EnPassantIsPossibleForOneMoveOnly) {
    SetFen("4k3/3p4/8/2P5/8/8/8/4K3 b - -");
    ASSERT_TRUE(PlayMoves("d7d5"));
    EXPECT_NE(ParseCoordinate("c5d6"), 0u);
    ASSERT_TRUE(PlayMoves("e1e2 e8e7"));
    EXPECT_EQ(ParseCoordinate("c5d6"), 0u);
}

TEST(MakeMove, MaterialIndexOfManyPieces) {
    SetFen("q2k4/1P6/8/8/8/8/4K3/QQ6 w - -");
    const int32_t two_queens = thread_board.MaterialIndex;
    EXPECT_LT(two_queens, MaterialIndexNone);
    ASSERT_TRUE(PlayMoves("b7b8q"));
    EXPECT_EQ(thread_board.MaterialIndex, MaterialIndexNone) << "a third queen";
    ASSERT_TRUE(PlayMoves("a8b8"));
    EXPECT_EQ(thread_board.MaterialIndex, two_queens - MaterialRadix[PAWN][WHITE]) << "and its loss";
    UnmakeMove();
    EXPECT_EQ(thread_board.MaterialIndex, MaterialIndexNone);
    UnmakeMove();
    EXPECT_EQ(thread_board.MaterialIndex, two_queens);

    SetFen("qqqk4/8/8/8/8/8/4K3/QQQ5 w - -");
    ASSERT_TRUE(PlayMoves("a1a8"));
    EXPECT_EQ(thread_board.MaterialIndex, MaterialIndexNone) << "White still has three";
}

TEST(MakeMove, FiftyMoveCounter) {
    SetFen("r3k2r/p7/8/8/8/8/P7/R3K2R w KQkq -");
    struct {
        const char* move;
        int fifty;
    } const moves[] = {
        {"h1h2", 1}, {"e8g8", 2}, {"a2a3", 0}, {"f8f7", 1}, {"e1d1", 2}, {"f7f8", 3}, {"h2h8", 4}, {"g8h8", 0},
    };
    for (const auto& m : moves) {
        ASSERT_TRUE(PlayMoves(m.move));
        EXPECT_EQ(thread_board.fifty, m.fifty) << m.move;
    }
}

// A second move from the same position finds the saved fields of the first in the record.
TEST(MakeMove, SecondMoveMayLeaveTheSavedFieldsAlone) {
    SetFen(test_positions[2].fen);
    const MoveList moves = LegalMoveList();
    const PositionBytes before = BytesOfPosition();
    for (size_t i = 0; i < moves.size(); ++i) {
        MakeMove(moves[i], i == 0);
        EXPECT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "");
        UnmakeMove();
        ASSERT_EQ(before, BytesOfPosition()) << MoveText(moves[i]);
    }
}

TEST(MakeMove, NullMove) {
    SetFen("4k3/3p4/8/2P5/8/8/8/4K3 b - -");
    ASSERT_TRUE(PlayMoves("d7d5"));
    const PositionBytes before = BytesOfPosition();
    const uint64_t placement = thread_board.hash_key;
    MakeNullMove();
    EXPECT_EQ(thread_board.SideToMove, BLACK);
    EXPECT_EQ(thread_board.fifty, 0);
    EXPECT_EQ(thread_board.hash_key, placement);
    EXPECT_FALSE(EnPassantPossible(nullptr)) << "passing gives the capture up";
    EXPECT_FALSE(LegalMoveList().empty());
    UnmakeNullMove();
    EXPECT_EQ(before, BytesOfPosition());
    EXPECT_TRUE(EnPassantPossible(nullptr));
}

TEST(MakeMove, NullMoveReturnsTheFiftyMoveCounter) {
    SetFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -");
    ASSERT_TRUE(PlayMoves("h1h2 a8b8 h2h3"));
    const PositionBytes before = BytesOfPosition();
    MakeNullMove();
    ASSERT_TRUE(PlayMoves("h3h8"));
    UnmakeMove();
    UnmakeNullMove();
    EXPECT_EQ(before, BytesOfPosition());
    EXPECT_EQ(thread_board.fifty, 3);
}

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
