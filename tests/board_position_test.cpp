// board_position_test.cpp - setting positions up: FEN, its odd forms, material, keys.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "board/console.h"
#include "board/material_index.h"
#include "board/random.h"
#include "tests/support/random_games.h"

TEST(Random, PublishedGenerator) {
    // The first numbers that the authors of the generator print for this key.
    const uint64_t key[4] = {0x12345, 0x23456, 0x34567, 0x45678};
    const uint64_t published[5] = {7266447313870364031ULL, 4946485549665804864ULL, 16945909448695747420ULL,
                                   16394063075524226720ULL, 4873882236456199058ULL};
    MersenneTwister twister;
    twister.SeedByArray(key, 4);
    for (const uint64_t number : published) EXPECT_EQ(twister.Next(), number);
}

TEST(Random, ChoicesDependOnTheSeed) {
    const auto first = [](uint64_t seed) {
        SeedRandom(seed);
        std::vector<int> numbers(20);
        for (int& number : numbers) number = Random();
        return numbers;
    };
    EXPECT_EQ(first(1), first(1));
    EXPECT_NE(first(1), first(2));
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
    const struct {
        const char *why, *fen;
        uint64_t en_passant;
    } cases[] = {
        {"a pawn beside", "4k3/8/8/8/3Pp3/8/8/4K3 b - d3", ZobristEnPassant[3]},
        {"nobody takes", "4k3/8/8/8/3P1p2/8/8/4K3 b - d3", 0},
        {"a pawn on h4 or h3 is no neighbour of a4", "4k3/8/8/8/P6p/7p/8/4K3 b - a3", 0},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(PositionKey(), thread_board.hash_key ^ ZobristCastling[0] ^ c.en_passant) << c.why;
    }
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
    EXPECT_EQ(p.piece_total, 32);
    for (const Colour c : {WHITE, BLACK}) {
        EXPECT_EQ(p.Material[c], 3900);
        EXPECT_EQ(p.NonPawnMaterial[c], 31);
        EXPECT_EQ(p.MajorUnits[c], 4);
        EXPECT_EQ(p.MinorCount[c], 4);
    }
    EXPECT_EQ(WriteFen(), StartFen);
}

// All that is read is written again. (The clocks are not read.)
TEST(Fen, RoundTrip) {
    struct Written {
        std::string fen;
        uint64_t key;
        Position position;
    };
    std::vector<Written> all;
    AtManyPositions(1, 80, [&](const MoveList&) {
        EXPECT_TRUE(IsPlayable());
        all.push_back({WriteFen(), PositionKey(), thread_board});
    });
    for (const Written& w : all) {
        SetFen(w.fen.c_str());
        EXPECT_EQ(PositionKey(), w.key) << w.fen;
        thread_board.fifty = w.position.fifty;
        EXPECT_EQ(DifferingField(thread_board, w.position), "") << w.fen;
    }
}

TEST(Fen, OddForms) {
    struct {
        const char *why, *text, *fen;
    } const cases[] = {
        {"fields after the placement may be missing", "4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 b - -"},
        {"no text at all", "", "8/8/8/8/8/8/8/8 b - -"},
        {"more spaces than needed", "4k3/8/8/8/8/8/8/R3K3    w    Q    -", "4k3/8/8/8/8/8/8/R3K3 w Q -"},
        {"a ninth rank ends the placement", "4k3/8/8/8/8/8/8/4K3/QQQQQQQQ w - -", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"a ninth file is dropped", "4k4Q/8/8/8/8/8/8/4K3 w - -", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"unknown characters take no square", "4k3/8/8/8/8/8/8/?*4x09K3 w - -", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"short ranks", "k/8/8/8/8/8/8/K w - -", "k7/8/8/8/8/8/8/K7 w - -"},
        {"fewer than eight ranks", "k7/8/K7 w - -", "k7/8/K7/8/8/8/8/8 w - -"},
        {"no rook on h1, no king on e8", "r2k3r/8/8/8/8/8/8/R3K3 w KQkq -", "r2k3r/8/8/8/8/8/8/R3K3 w Q -"},
        {"the rook of the wrong colour", "4k3/8/8/8/8/8/8/r3K3 w Q -", "4k3/8/8/8/8/8/8/r3K3 w - -"},
        {"unknown castling letters", "r3k2r/8/8/8/8/8/8/R3K2R w HAq -", "r3k2r/8/8/8/8/8/8/R3K2R w q -"},
        {"clocks are not read", "4k3/8/8/8/8/8/8/4K3 w - - 37 61", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"en passant", "4k3/8/8/8/3Pp3/8/8/4K3 b - d3", "4k3/8/8/8/3Pp3/8/8/4K3 b - d3"},
        {"en passant, capital letter", "4k3/8/8/8/3Pp3/8/8/4K3 b - D3", "4k3/8/8/8/3Pp3/8/8/4K3 b - d3"},
        {"en passant, wrong rank", "4k3/8/8/3pP3/3Pp3/8/8/4K3 b - d6", "4k3/8/8/3pP3/3Pp3/8/8/4K3 b - -"},
        {"en passant without a pawn", "4k3/8/8/8/4p3/8/8/4K3 b - d3", "4k3/8/8/8/4p3/8/8/4K3 b - -"},
        {"en passant with the wrong pawn", "4k3/8/8/8/3pp3/8/8/4K3 b - d3", "4k3/8/8/8/3pp3/8/8/4K3 b - -"},
        {"en passant, file out of range", "4k3/8/8/8/3Pp3/8/8/4K3 b - i3", "4k3/8/8/8/3Pp3/8/8/4K3 b - -"},
        {"en passant behind a man", "4k3/8/8/8/3Pp3/3N4/8/4K3 b - d3", "4k3/8/8/8/3Pp3/3N4/8/4K3 b - -"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.text);
        EXPECT_EQ(WriteFen(), std::string(c.fen) + " 0 1");
        EXPECT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "");
    }
    SetInitialPosition();
}

TEST(Fen, EnPassantFieldBecomesTheFirstRecord) {
    SetFen("4k3/8/8/8/4P3/8/8/4K3 b - e3");
    ASSERT_EQ(history_count, 1);
    EXPECT_EQ(history_base, 1);
    EXPECT_EQ(MoveText(game_history[0].move), "e2e4");
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
        const char *why, *fen;
        int index;
    } const cases[] = {
        {"one of each digit: white", "4k3/8/8/8/8/8/P7/QRBNK3 w - -", 1 + 9 + 81 + 729 + 6561},
        {"one of each digit: black", "qrbnk3/p7/8/8/8/8/8/4K3 w - -", 3 + 27 + 243 + 2187 + 59049},
        {"the largest", "qqrrkbbn/ppppppppn/n7/8/8/N7/PPPPPPPP/QQRRKBBN w - -", 531440},
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
    for (const char* fen : {
             "4k3/8/8/8/8/8/8/8 w - -",                 // no white king
             "4k2k/8/8/8/8/8/8/4K3 w - -",              // two black kings
             "4k3/8/8/8/8/8/8/P3K3 w - -",              // a pawn on the first rank
             "p3k3/8/8/8/8/8/8/4K3 w - -",              // a pawn on the last rank
             "4k3/8/8/8/8/8/8/4R1K1 w - -",             // the side that moved is in check
             "8/8/8/3kK3/8/8/8/8 w - -",                // kings side by side
             "4k3/8/8/8/8/P7/PPPPPPPP/RNBQKBNR w - -",  // seventeen men
         }) {
        SetFen(fen);
        EXPECT_FALSE(IsPlayable()) << fen;
    }
    SetInitialPosition();
}
