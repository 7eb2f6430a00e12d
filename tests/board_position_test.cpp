// board_position_test.cpp - setting positions up: FEN, its odd forms, material, keys.
#include <gtest/gtest.h>

#include <string>

#include "board/console.h"
#include "board/material_index.h"
#include "board/random.h"
#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

TEST(Random, PublishedGenerator) {
    // The first numbers that the authors of the generator print for this key.
    const uint64_t key[4] = {0x12345, 0x23456, 0x34567, 0x45678};
    const uint64_t published[5] = {7266447313870364031ULL, 4946485549665804864ULL, 16945909448695747420ULL,
                                   16394063075524226720ULL, 4873882236456199058ULL};
    MersenneTwister twister;
    twister.SeedByArray(key, 4);
    for (const uint64_t number : published) EXPECT_EQ(twister.Next(), number);
}

TEST(Random, ChoicesStayInRangeAndDependOnTheSeed) {
    SeedRandom(1);
    int first[100];
    for (int& number : first) {
        number = Random();
        EXPECT_GE(number, 0);
    }
    SeedRandom(1);
    for (const int number : first) EXPECT_EQ(Random(), number);
    SeedRandom(2);
    int equal = 0;
    for (const int number : first) equal += Random() == number;
    EXPECT_LT(equal, 5);
}

// Learned positions are stored under these keys: they must never change.
TEST(Zobrist, KeysAreTheAgreedOnes) {
    EXPECT_EQ(ZobristKeys[WHITE][PAWN][A1], 0x64d79b552a559d7fULL);
    EXPECT_EQ(ZobristCastling[15], 0xfe0450396b209851ULL);
    SetInitialPosition();
    EXPECT_EQ(thread_board.hash_key, 0x6ee014f89d04ce04ULL);
    EXPECT_EQ(thread_board.pawn_key, 0xa46f11ab1dd80913ULL);
    EXPECT_EQ(PositionKey(), 0x90e444c1f6245655ULL);
}

TEST(Zobrist, EnPassantCountsOnlyWhenItCanBePlayed) {
    SetFen("4k3/8/8/8/3Pp3/8/8/4K3 b - d3");
    const uint64_t possible = PositionKey();
    SetFen("4k3/8/8/8/3Pp3/8/8/4K3 b - -");
    EXPECT_NE(PositionKey(), possible);
    EXPECT_EQ(PositionKey() ^ ZobristEnPassant[3], possible);
    SetFen("4k3/8/8/8/3P1p2/8/8/4K3 b - d3");
    const uint64_t nobody_takes = PositionKey();
    SetFen("4k3/8/8/8/3P1p2/8/8/4K3 b - -");
    EXPECT_EQ(PositionKey(), nobody_takes);
    // No wrapping round the edge: a pawn on h4 (or h3) is no neighbour of a4.
    SetFen("4k3/8/8/8/P6p/7p/8/4K3 b - a3");
    EXPECT_EQ(PositionKey(), thread_board.hash_key ^ ZobristCastling[0]);
}

// The side to move can be turned by command behind a double push: no capture of one's own.
TEST(Zobrist, OwnPawnIsNotTakenEnPassant) {
    SetFen("4k3/8/8/8/2PPp3/8/8/4K3 b - d3");
    ASSERT_TRUE(EnPassantPossible(nullptr));
    thread_board.SideToMove = WHITE;
    EXPECT_FALSE(EnPassantPossible(nullptr));
    EXPECT_EQ(PositionKey(), thread_board.hash_key ^ ZobristCastling[0]);
    for (const Move m : LegalMoveList()) EXPECT_FALSE(IsEnPassant(m)) << MoveText(m);
    SetInitialPosition();
}

TEST(Fen, StartPosition) {
    SetInitialPosition();
    const Position& p = thread_board;
    EXPECT_EQ(p.MaterialIndex, 531436);
    EXPECT_EQ(p.castling, 15);
    EXPECT_EQ(p.piece_total, 32);
    EXPECT_EQ(history_count, 0);
    for (const Colour c : {WHITE, BLACK}) {
        EXPECT_EQ(p.Material[c], 3900);
        EXPECT_EQ(p.NonPawnMaterial[c], 31);
        EXPECT_EQ(p.MajorUnits[c], 4);
        EXPECT_EQ(p.MinorCount[c], 4);
    }
    EXPECT_EQ(p.king_square[WHITE], E1);
    EXPECT_EQ(p.king_square[BLACK], E8);
    EXPECT_EQ(WriteFen(), StartFen);
}

// All that is read is written again. (The clocks are not read.)
TEST(Fen, RoundTrip) {
    TestRandom random{20240616};
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        SetFen(t.fen);
        EXPECT_TRUE(IsPlayable());
        RandomGame(random, 80, [](const MoveList&) {
            const std::string fen = WriteFen();
            const Position before = thread_board;
            const uint64_t key = PositionKey();
            HistoryRecord last{};
            const int count = history_count, base = history_base;
            if (count > 0) last = game_history[0];
            SetFen(fen.c_str());
            EXPECT_EQ(WriteFen().substr(0, fen.find_last_of(' ', fen.find_last_of(' ') - 1)),
                      fen.substr(0, fen.find_last_of(' ', fen.find_last_of(' ') - 1)));
            EXPECT_EQ(PositionKey(), key) << fen;
            thread_board.fifty = before.fifty;
            EXPECT_EQ(DifferingField(thread_board, before), "") << fen;
            // Back to where the game was.
            thread_board = before;
            history_count = count;
            history_base = base;
            if (count > 0) game_history[0] = last;
        });
    }
}

TEST(Fen, OddForms) {
    const std::string start = StartFen;
    struct {
        const char* why;
        const char* text;
        const char* fen;
    } const cases[] = {
        {"fields after the placement may be missing", "4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 b - - 0 1"},
        {"the text may end after the side", "r3k3/8/8/8/8/8/8/R3K3 w", "r3k3/8/8/8/8/8/8/R3K3 w - - 0 1"},
        {"no text at all", "", "8/8/8/8/8/8/8/8 b - - 0 1"},
        {"any side but w is Black", "4k3/8/8/8/8/8/8/4K3 W - -", "4k3/8/8/8/8/8/8/4K3 b - - 0 1"},
        {"more spaces than needed", "4k3/8/8/8/8/8/8/R3K3    w    Q    -", "4k3/8/8/8/8/8/8/R3K3 w Q - 0 1"},
        {"a ninth rank ends the placement", "4k3/8/8/8/8/8/8/4K3/QQQQQQQQ w - -", "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
        {"a ninth file is dropped", "4k4Q/8/8/8/8/8/8/4K3 w - -", "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
        {"unknown characters take no square", "4k3/8/8/8/8/8/8/?*4x09K3 w - -", "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
        {"short ranks", "k/8/8/8/8/8/8/K w - -", "k7/8/8/8/8/8/8/K7 w - - 0 1"},
        {"fewer than eight ranks", "k7/8/K7 w - -", "k7/8/K7/8/8/8/8/8 w - - 0 1"},
        {"no rook on h1, no right to castle there", "r3k2r/8/8/8/8/8/8/R3K3 w KQkq -",
         "r3k2r/8/8/8/8/8/8/R3K3 w Qkq - 0 1"},
        {"no king at home, no rights", "r2k3r/8/8/8/8/8/8/R3K2R w KQkq -", "r2k3r/8/8/8/8/8/8/R3K2R w KQ - 0 1"},
        {"the rook of the wrong colour", "4k3/8/8/8/8/8/8/r3K3 w Q -", "4k3/8/8/8/8/8/8/r3K3 w - - 0 1"},
        {"unknown castling letters", "r3k2r/8/8/8/8/8/8/R3K2R w HAq -", "r3k2r/8/8/8/8/8/8/R3K2R w q - 0 1"},
        {"clocks are not read", "4k3/8/8/8/8/8/8/4K3 w - - 37 61", "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
        {"en passant", "4k3/8/8/8/3Pp3/8/8/4K3 b - d3", "4k3/8/8/8/3Pp3/8/8/4K3 b - d3 0 1"},
        {"en passant, capital letter", "4k3/8/8/8/3Pp3/8/8/4K3 b - D3", "4k3/8/8/8/3Pp3/8/8/4K3 b - d3 0 1"},
        {"en passant, wrong rank for the side", "4k3/8/8/3pP3/3Pp3/8/8/4K3 b - d6",
         "4k3/8/8/3pP3/3Pp3/8/8/4K3 b - - 0 1"},
        {"en passant without a pawn", "4k3/8/8/8/4p3/8/8/4K3 b - d3", "4k3/8/8/8/4p3/8/8/4K3 b - - 0 1"},
        {"en passant with the wrong pawn", "4k3/8/8/8/3pp3/8/8/4K3 b - d3", "4k3/8/8/8/3pp3/8/8/4K3 b - - 0 1"},
        {"en passant, half a square", "4k3/8/8/8/3Pp3/8/8/4K3 b - d", "4k3/8/8/8/3Pp3/8/8/4K3 b - - 0 1"},
        {"en passant, file out of range", "4k3/8/8/8/3Pp3/8/8/4K3 b - i3", "4k3/8/8/8/3Pp3/8/8/4K3 b - - 0 1"},
        {"en passant behind a man: no pawn can have passed", "4k3/8/8/8/3Pp3/3N4/8/4K3 b - d3",
         "4k3/8/8/8/3Pp3/3N4/8/4K3 b - - 0 1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.text);
        EXPECT_EQ(WriteFen(), c.fen);
        EXPECT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "");
    }
    SetInitialPosition();
}

TEST(Fen, EnPassantFieldBecomesTheFirstRecord) {
    SetFen("4k3/8/8/8/4P3/8/8/4K3 b - e3");
    ASSERT_EQ(history_count, 1);
    EXPECT_EQ(history_base, 1);
    EXPECT_EQ(MoveText(game_history[0].move), "e2e4");
    EXPECT_TRUE(IsDoublePush(game_history[0].move));
    SetFen("4k3/8/8/8/8/8/8/4K3 b - e3");
    EXPECT_EQ(history_count, 0);
    EXPECT_EQ(history_base, 0);
}

// Nothing of the position before shows through.
TEST(Fen, SetUpForgetsWhatWasThere) {
    for (const TestPosition& t : test_positions) {
        SetFen("qqq1k3/8/8/8/8/8/8/R3K2R w KQ - 0 1");
        ASSERT_TRUE(PlayMoves("e1g1 e8e7 f1f2"));
        SetFen(t.fen);
        const PositionBytes after_game = BytesOfPosition();
        SetInitialPosition();
        SetFen(t.fen);
        EXPECT_EQ(after_game, BytesOfPosition()) << t.why;
    }
}

TEST(Fen, MaterialIndex) {
    struct {
        const char* why;
        const char* fen;
        int index;
    } const cases[] = {
        {"bare kings", "4k3/8/8/8/8/8/8/4K3 w - -", 0},
        {"one of each digit: white", "4k3/8/8/8/8/8/P7/QRBNK3 w - -", 1 + 9 + 81 + 729 + 6561},
        {"one of each digit: black", "qrbnk3/p7/8/8/8/8/8/4K3 w - -", 3 + 27 + 243 + 2187 + 59049},
        {"the largest", "qqrrkbbn/ppppppppn/n7/8/8/N7/PPPPPPPP/QQRRKBBN w - -", 531440},
        {"three knights", "4k3/8/8/8/8/8/8/NNN1K3 w - -", MaterialIndexNone},
        {"three black bishops", "bbb1k3/8/8/8/8/8/8/4K3 w - -", MaterialIndexNone},
        {"a pawn placed after the third queen", "qqq1k3/8/8/8/8/8/P7/4K3 w - -", MaterialIndexNone},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(thread_board.MaterialIndex, c.index) << c.why;
        EXPECT_EQ(ComputeMaterialIndex(thread_board.PieceCount), c.index) << c.why;
    }
}

TEST(Fen, TooManyPawnsAreReportedWhenIndexed) {
    SetFen("4k3/pppppppp/pppppppp/8/8/8/8/4K3 w - -");
    ::testing::internal::CaptureStdout();
    const int index = ComputeMaterialIndex(thread_board.PieceCount);
    Flush();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Error when indexing material!\n");
    EXPECT_GT(index, MaterialIndexNone);
    SetInitialPosition();
}

TEST(Fen, UnplayablePositions) {
    struct {
        const char* why;
        const char* fen;
    } const cases[] = {
        {"empty board", "8/8/8/8/8/8/8/8 w - -"},
        {"no white king", "4k3/8/8/8/8/8/8/8 w - -"},
        {"two black kings", "4k2k/8/8/8/8/8/8/4K3 w - -"},
        {"a pawn on the first rank", "4k3/8/8/8/8/8/8/P3K3 w - -"},
        {"a pawn on the last rank", "p3k3/8/8/8/8/8/8/4K3 w - -"},
        {"the side that moved is in check", "4k3/8/8/8/8/8/8/4R1K1 w - -"},
        {"kings side by side", "8/8/8/3kK3/8/8/8/8 w - -"},
        {"seventeen men", "4k3/8/8/8/8/P7/PPPPPPPP/RNBQKBNR w - -"},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_FALSE(IsPlayable()) << c.why;
    }
    SetInitialPosition();
    EXPECT_TRUE(IsPlayable());
}

TEST(Fen, SetUpByHand) {
    ClearBoard();
    PlacePiece(E1, WHITE, KING);
    PlacePiece(H1, WHITE, ROOK);
    PlacePiece(E8, BLACK, KING);
    FinishSetup(BLACK, 15);
    EXPECT_EQ(WriteFen(), "4k3/8/8/8/8/8/8/4K2R b K - 0 1");
    EXPECT_EQ(history_count, 0);
    SetInitialPosition();
}
