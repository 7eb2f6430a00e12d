// eval_judgement_test.cpp - of two positions that differ in one thing, the better one must
// score higher. No exact values: weights may change, chess does not.
#include <gtest/gtest.h>

#include "eval/tally.h"
#include "eval/trace.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"

namespace {

struct Pair {
    const char* why;
    const char* better;  // for White
    const char* worse;
};
const Pair pairs[] = {
    // Pieces.
    {"a knight in the centre, not on the rim", "r1bqkbnr/pppppppp/2n5/8/4N3/8/PPPPPPPP/R1BQKBNR w KQkq - 0 1",
     "r1bqkbnr/pppppppp/2n5/8/N7/8/PPPPPPPP/R1BQKBNR w KQkq - 0 1"},
    {"both bishops instead of bishop and knight", "4k3/pppp1ppp/8/8/8/8/PPPP1PPP/2B1KB2 w - - 0 1",
     "4k3/pppp1ppp/8/8/8/8/PPPP1PPP/1NB1K3 w - - 0 1"},
    {"the rook on the open file", "r5k1/pp3ppp/8/8/8/8/PP3PPP/3R2K1 w - - 0 1",
     "r5k1/pp3ppp/8/8/8/8/PP3PPP/1R4K1 w - - 0 1"},
    {"the rook on the seventh", "r5k1/pp1R1ppp/8/8/8/8/PP3PPP/6K1 w - - 0 1",
     "r5k1/pp3ppp/8/8/8/3R4/PP3PPP/6K1 w - - 0 1"},
    {"a bishop with open lines", "4k3/ppp2ppp/8/8/3B4/8/PPP2PPP/4K2R w K - 0 1",
     "4k3/ppp2ppp/8/8/8/8/PPP2PPP/B3K2R w K - 0 1"},
    {"pawns off the bishop's colour", "4k1n1/ppp2ppp/8/8/3P4/2P1P3/1P3PPP/4KB2 w - - 0 1",
     "4k1n1/ppp2ppp/8/8/3P4/2P1P3/1P3PPP/2B1K3 w - - 0 1"},
    {"a supported knight no pawn can drive away", "r2qr1k1/pp3pp1/3p3p/3Np3/4P3/8/PP3PPP/R2QR1K1 w - - 0 1",
     "r2qr1k1/pp3pp1/2pp3p/3Np3/4P3/8/PP3PPP/R2QR1K1 w - - 0 1"},
    {"a bishop shut in on a7", "r4rk1/B1p2ppp/8/8/8/8/PPP2PPP/R4RK1 w - - 0 1",
     "r4rk1/B1p2ppp/1p6/8/8/8/PPP2PPP/R4RK1 w - - 0 1"},
    {"a rook boxed in by its king", "r4rk1/ppp2ppp/2n5/8/8/2N5/PPP2PPP/R4RK1 w - - 0 1",
     "r4rk1/ppp2ppp/2n5/8/8/2N5/PPP2PPP/R4K1R w - - 0 1"},
    {"a piece attacked by a pawn", "r1bqk2r/pppp1ppp/2n5/2b5/8/2N5/PPPP1PPP/R1BQK2R w KQkq - 0 1",
     "r1bqk2r/ppp2ppp/2n5/2b5/3p4/2N5/PPPP1PPP/R1BQK2R w KQkq - 0 1"},

    // King.
    {"castled behind pawns, not in the centre", "r4rk1/ppp2ppp/2n2n2/3qb3/8/2NQBN2/PPP2PPP/R4RK1 w - - 0 1",
     "r4rk1/ppp2ppp/2n2n2/3qb3/8/2NQBN2/PPP2PPP/R3K2R w - - 0 1"},
    {"the pawns before the king unmoved", "r4rk1/ppp2ppp/2n2n2/3qb3/8/2NQBN2/PPP2PPP/R4RK1 w - - 0 1",
     "r4rk1/ppp2ppp/2n2n2/3qb3/6P1/2NQBN2/PPP2P1P/R4RK1 w - - 0 1"},
    {"men that hit the king's zone", "r4rk1/ppp2ppp/2n2n2/3qb3/6N1/2NQ4/PPP2PPP/R4RK1 w - - 0 1",
     "r4rk1/ppp2ppp/2n2n2/3qb3/8/N1NQ4/PPP2PPP/R4RK1 w - - 0 1"},
    {"the king to the centre in the ending", "8/pp4pp/4k3/8/4K3/8/PP4PP/8 w - - 0 1",
     "8/pp4pp/4k3/8/8/8/PP4PP/6K1 w - - 0 1"},

    // Pawns.
    {"isolated pawn", "4k1n1/pppp4/8/8/8/8/1PPP3P/4K1N1 w - - 0 1", "4k1n1/pppp4/8/8/8/8/P1P1P2P/4K1N1 w - - 0 1"},
    {"doubled pawns", "4k1n1/ppp2ppp/8/8/8/8/PPP2PPP/4K1N1 w - - 0 1",
     "4k1n1/ppp2ppp/8/8/8/2P5/P1P2PPP/4K1N1 w - - 0 1"},
    {"a passed pawn the farther the better", "4k1n1/6pp/1P6/8/8/8/6PP/4K1N1 w - - 0 1",
     "4k1n1/6pp/8/8/1P6/8/6PP/4K1N1 w - - 0 1"},
    {"a passed pawn not blockaded", "4k3/pp1n2pp/8/3P4/8/8/PP4PP/4K1N1 w - - 0 1",
     "4k3/pp4pp/3n4/3P4/8/8/PP4PP/4K1N1 w - - 0 1"},
    {"a rook behind its passed pawn, not before it", "4r1k1/6pp/8/3P4/8/8/6PP/3R2K1 w - - 0 1",
     "4r1k1/6pp/3R4/3P4/8/8/6PP/6K1 w - - 0 1"},
    {"connected passed pawns", "4k1n1/6pp/8/2PP4/8/8/6PP/4K1N1 w - - 0 1", "4k1n1/6pp/8/P2P4/8/8/6PP/4K1N1 w - - 0 1"},
    {"a passed pawn the king cannot catch", "8/5k1p/8/P7/8/8/7P/6K1 w - - 0 1", "8/2k4p/8/P7/8/8/7P/6K1 w - - 0 1"},
    {"the first to promote", "8/7k/8/P7/7p/8/8/K7 w - - 0 1", "8/7k/8/8/P6p/8/8/K7 b - - 0 1"},
    {"a backward pawn on a half-open file", "r3k1n1/pp3ppp/8/3p4/8/2PP4/PP3PPP/R3K1N1 w - - 0 1",
     "r3k1n1/pp3ppp/4p3/3p4/2P5/3P4/PP3PPP/R3K1N1 w - - 0 1"},

    {"connected, not apart and isolated", "4k1n1/6pp/8/8/2PP4/8/6PP/4K1N1 w - - 0 1",
     "4k1n1/6pp/8/8/1P1P4/8/6PP/4K1N1 w - - 0 1"},
    {"the enemy king far from the passed pawn", "4n3/p6k/8/3P4/8/8/P7/4K1N1 w - - 0 1",
     "4n3/p2k4/8/3P4/8/8/P7/4K1N1 w - - 0 1"},

    // Threats.
    {"an enemy knight under a pawn, not beside it", "r1bqkb1r/pppppppp/8/8/4n3/3P4/PPP1PPPP/RNBQKBNR w KQkq - 0 1",
     "r1bqkb1r/pppppppp/8/8/5n2/3P4/PPP1PPPP/RNBQKBNR w KQkq - 0 1"},
    {"a defended enemy pawn under our bishop is less than an undefended one",
     "4k3/1p3ppp/8/3p4/4B3/8/PPP3PP/4K2R w K - 0 1", "4k3/5ppp/2p5/3p4/4B3/8/PPP3PP/4K2R w K - 0 1"},
    {"more room behind the pawns", "rnbqkbnr/8/pppppppp/8/2PPPP2/8/PP4PP/RNBQKBNR w KQkq - 0 1",
     "rnbqkbnr/8/pppppppp/8/8/2PPPP2/PP4PP/RNBQKBNR w KQkq - 0 1"},

    // More of kings.
    {"a pawn storm that has come closer", "r4rk1/ppp2ppp/2n5/6P1/7P/2N5/PPPQ1P2/2KR3R w - - 0 1",
     "r4rk1/ppp2ppp/2n5/8/8/2N5/PPPQ1PPP/2KR3R w - - 0 1"},
    {"a safe check in the air", "r4rk1/pp3p1p/2n5/6NQ/8/8/PP3PPP/R4RK1 w - - 0 1",
     "r4rk1/pp3p1p/2n5/8/8/5N2/PP1Q1PPP/R4RK1 w - - 0 1"},

    // Endings.
    {"pawns on both wings help the side ahead", "4k3/p5pp/4n3/8/8/4N3/PP4PP/4K3 w - - 0 1",
     "4k3/5ppp/4n3/8/8/4N3/4PPPP/4K3 w - - 0 1"},
    {"a pawn more, less with opposite bishops beside the rooks", "r3k3/pp2bppp/8/8/8/4B3/PPP2PPP/R3K3 w - - 0 1",
     "r3k3/pp2bppp/8/8/8/3B4/PPP2PPP/R3K3 w - - 0 1"},
    {"rook against bishop is hard to win, against a pawn more it is not", "4k3/8/8/8/3b4/8/P7/R3K3 w - - 0 1",
     "4k3/8/8/8/3b4/8/8/R3K3 w - - 0 1"},
    {"a lone king in the corner", "k7/8/2K5/8/8/8/8/7R w - - 0 1", "8/8/2K1k3/8/8/8/8/7R w - - 0 1"},
    {"bishop and knight: the corner of the bishop's colour", "k7/8/2K5/8/8/3N4/4B3/8 w - - 0 1",
     "7k/8/5K2/8/8/4N3/4B3/8 w - - 0 1"},
    {"queen against a far pawn wins, with the king near a bishop's pawn on the seventh it does not",
     "8/8/8/8/2p5/8/3k4/K6Q w - - 0 1", "7K/8/8/8/8/8/1kp5/7Q w - - 0 1"},
    {"a pawn more, not with opposite bishops alone", "8/5pk1/4b1p1/8/8/3BP1P1/5PK1/8 w - - 0 1",
     "8/5pk1/4b1p1/8/3B4/4P1P1/5PK1/8 w - - 0 1"},
};

TEST(Judgement, TheBetterPositionScoresHigher) {
    ResetEngine();
    for (const Pair& p : pairs) {
        SCOPED_TRACE(p.why);
        EXPECT_GT(WhiteScore(p.better), WhiteScore(p.worse));
        EXPECT_GT(-WhiteScore(ColourFlipped(p.better)), -WhiteScore(ColourFlipped(p.worse)));
    }
    ResetEngine();
}

// Which place of a term a man has. The rooks only make it no pawn ending.
TEST(Judgement, PlacesOfTerms) {
    constexpr int f2 = 13, h3 = 23, Board = 64;
    struct {
        const char* why;
        const char* fen;
        Colour side;
        int slot;
        int times = 1;
    } const cases[] = {
        {"own king on g1", "r5k1/8/8/8/8/8/5P2/R5K1 w - - 0 1", WHITE, OwnKingPawn + f2},
        {"mirrored", "r5k1/8/8/8/8/8/2P5/RK6 w - - 0 1", WHITE, OwnKingPawn + f2},
        {"the other colour", "r5k1/5p2/8/8/8/8/8/R5K1 w - - 0 1", BLACK, OwnKingPawn + f2},
        {"own king on f1", "r5k1/8/8/8/8/8/5P2/R4K2 w - - 0 1", WHITE, OwnKingPawn + Board + f2},
        {"own king on e1", "r5k1/8/8/8/8/8/5P2/R3K3 w - - 0 1", WHITE, OwnKingPawn + 2 * Board + f2},
        {"own king on d1, mirrored", "r5k1/8/8/8/8/8/2P5/R2K4 w - - 0 1", WHITE, OwnKingPawn + 2 * Board + f2},
        {"enemy king on g8", "r5k1/8/7P/8/8/8/8/RK6 w - - 0 1", WHITE, EnemyKingPawn + h3},
        {"enemy king on b8, mirrored", "rk6/8/P7/8/8/8/8/R5K1 w - - 0 1", WHITE, EnemyKingPawn + h3},
        {"a knight beside the enemy king", "rk6/8/N7/8/8/8/8/R5K1 w - - 0 1", WHITE, EnemyKingKnight + h3},
        {"a queen of the other colour", "r5k1/5ppp/8/8/8/7q/PPP5/QR4K1 b - - 0 1", BLACK, EnemyKingQueen + h3},
        {"a pawn on the fourth attacks a pawn", "r5k1/8/8/3p4/4P3/8/8/R5K1 w - - 0 1", WHITE, LeverPawn + 2},
        {"one on the fifth", "r5k1/8/3p4/4P3/8/8/8/R5K1 w - - 0 1", WHITE, LeverPawn + 3},
        {"the other colour, on its third", "r5k1/8/3p4/4P3/8/8/8/R5K1 w - - 0 1", BLACK, LeverPawn + 1},
        {"a pawn on the third would, after a step", "r5k1/8/8/3p4/8/4P3/8/R5K1 w - - 0 1", WHITE, LeverPush + 1},
        {"the other colour, on its fourth", "r5k1/8/8/3p4/8/4P3/8/R5K1 w - - 0 1", BLACK, LeverPush + 2},
        {"an own pawn bars the step", "r5k1/8/8/3p4/4P3/4P3/8/R5K1 w - - 0 1", WHITE, LeverPush + 1, 0},
        {"an enemy pawn bars the step", "r5k1/8/8/3p4/4p3/4P3/8/R5K1 w - - 0 1", WHITE, LeverPush + 1, 0},
    };
    ResetEngine();
    for (const auto& c : cases) {
        SetFen(c.fen);
        int score = NotEvaluated;
        TracePosition(score);
        EXPECT_EQ(evaluation_trace.count[c.side][c.slot], c.times) << c.why;
    }
    ResetEngine();
}

// The signs of clearly decided positions, with margins far below what is at stake.
TEST(Judgement, DecidedPositions) {
    struct {
        const char* why;
        const char* fen;
        int at_least;
    } const cases[] = {
        {"a rook up", "r3k3/ppp2ppp/8/8/8/8/PPP2PPP/R3K2R w - - 0 1", 400},
        {"queen against rook", "3rk3/8/8/8/8/8/8/3QK3 w - - 0 1", 250},
        {"two bishops against a king", "4k3/8/8/8/8/8/8/2B1KB2 w - - 0 1", 800},
        {"rook against a far pawn", "8/8/8/k7/7p/6K1/8/R7 w - - 0 1", 300},
        {"an unstoppable pawn", "8/8/8/P7/7k/8/8/K7 w - - 0 1", 300},
        {"a queen, and the king before the last pawn", "8/7k/8/8/4p3/8/4K3/Q7 w - - 0 1", 800},
        {"a rook, and three pawns left on one wing", "6k1/6p1/8/8/8/8/6PP/R5K1 w - - 0 1", 500},
        {"two passed pawns against none", "6k1/8/8/8/PP6/8/8/6K1 w - - 0 1", 300},
    };
    for (const auto& c : cases) EXPECT_GT(WhiteScore(c.fen), c.at_least) << c.why;
    ResetEngine();
}

}  // namespace
