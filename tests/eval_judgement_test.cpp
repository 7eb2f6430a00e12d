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
    const char* better;  // for White, who is to move unless told otherwise
    const char* worse;
};
const Pair pairs[] = {
    // Pieces.
    {"a knight in the centre", "r1bqkbnr/pppppppp/2n5/8/4N3/8/PPPPPPPP/R1BQKBNR",
     "r1bqkbnr/pppppppp/2n5/8/N7/8/PPPPPPPP/R1BQKBNR"},
    {"both bishops", "4k3/pppp1ppp/8/8/8/8/PPPP1PPP/2B1KB2", "4k3/pppp1ppp/8/8/8/8/PPPP1PPP/1NB1K3"},
    {"the rook on the open file", "r5k1/pp3ppp/8/8/8/8/PP3PPP/3R2K1", "r5k1/pp3ppp/8/8/8/8/PP3PPP/1R4K1"},
    {"the rook on the seventh", "r5k1/pp1R1ppp/8/8/8/8/PP3PPP/6K1", "r5k1/pp3ppp/8/8/8/3R4/PP3PPP/6K1"},
    {"a bishop with open lines", "4k3/ppp2ppp/8/8/3B4/8/PPP2PPP/4K2R", "4k3/ppp2ppp/8/8/8/8/PPP2PPP/B3K2R"},
    {"a good bishop", "4k1n1/ppp2ppp/8/8/3P4/2P1P3/1P3PPP/4KB2", "4k1n1/ppp2ppp/8/8/3P4/2P1P3/1P3PPP/2B1K3"},
    {"a knight no pawn can drive away", "r2qr1k1/pp3pp1/3p3p/3Np3/4P3/8/PP3PPP/R2QR1K1",
     "r2qr1k1/pp3pp1/2pp3p/3Np3/4P3/8/PP3PPP/R2QR1K1"},
    {"a bishop shut in on a7", "r4rk1/B1p2ppp/8/8/8/8/PPP2PPP/R4RK1", "r4rk1/B1p2ppp/1p6/8/8/8/PPP2PPP/R4RK1"},
    {"no boxed-in rook", "r4rk1/ppp2ppp/2n5/8/8/2N5/PPP2PPP/R4RK1", "r4rk1/ppp2ppp/2n5/8/8/2N5/PPP2PPP/R4K1R"},
    {"no piece under a pawn", "r1bqk2r/pppp1ppp/2n5/2b5/8/2N5/PPPP1PPP/R1BQK2R",
     "r1bqk2r/ppp2ppp/2n5/2b5/3p4/2N5/PPPP1PPP/R1BQK2R"},
    // King.
    {"castled", "r4rk1/ppp2ppp/2n2n2/3qb3/8/2NQBN2/PPP2PPP/R4RK1", "r4rk1/ppp2ppp/2n2n2/3qb3/8/2NQBN2/PPP2PPP/R3K2R"},
    {"a whole shelter", "r4rk1/ppp2ppp/2n2n2/3qb3/8/2NQBN2/PPP2PPP/R4RK1",
     "r4rk1/ppp2ppp/2n2n2/3qb3/6P1/2NQBN2/PPP2P1P/R4RK1"},
    {"near the king", "r4rk1/ppp2ppp/2n2n2/3qb3/6N1/2NQ4/PPP2PPP/R4RK1",
     "r4rk1/ppp2ppp/2n2n2/3qb3/8/N1NQ4/PPP2PPP/R4RK1"},
    {"the king in the centre of an ending", "8/pp4pp/4k3/8/4K3/8/PP4PP/8", "8/pp4pp/4k3/8/8/8/PP4PP/6K1"},
    // Pawns.
    {"isolated pawn", "4k1n1/pppp4/8/8/8/8/1PPP3P/4K1N1", "4k1n1/pppp4/8/8/8/8/P1P1P2P/4K1N1"},
    {"doubled pawns", "4k1n1/ppp2ppp/8/8/8/8/PPP2PPP/4K1N1", "4k1n1/ppp2ppp/8/8/8/2P5/P1P2PPP/4K1N1"},
    {"a passed pawn the farther the better", "4k1n1/6pp/1P6/8/8/8/6PP/4K1N1", "4k1n1/6pp/8/8/1P6/8/6PP/4K1N1"},
    {"a passed pawn not blockaded", "4k3/pp1n2pp/8/3P4/8/8/PP4PP/4K1N1", "4k3/pp4pp/3n4/3P4/8/8/PP4PP/4K1N1"},
    {"a rook behind its passed pawn", "4r1k1/6pp/8/3P4/8/8/6PP/3R2K1", "4r1k1/6pp/3R4/3P4/8/8/6PP/6K1"},
    {"connected passed pawns", "4k1n1/6pp/8/2PP4/8/8/6PP/4K1N1", "4k1n1/6pp/8/P2P4/8/8/6PP/4K1N1"},
    {"a passed pawn the king cannot catch", "8/5k1p/8/P7/8/8/7P/6K1", "8/2k4p/8/P7/8/8/7P/6K1"},
    {"a pawn that has the move to run", "8/7p/8/P3k3/8/8/7P/6K1", "8/7p/8/P3k3/8/8/7P/6K1 b - - 0 1"},
    {"the first to promote", "8/7k/8/P7/7p/8/8/K7", "8/7k/8/8/P6p/8/8/K7 b - - 0 1"},
    {"a backward pawn", "r3k1n1/pp3ppp/8/3p4/8/2PP4/PP3PPP/R3K1N1", "r3k1n1/pp3ppp/4p3/3p4/2P5/3P4/PP3PPP/R3K1N1"},
    {"the enemy king far from the passed pawn", "4n3/p6k/8/3P4/8/8/P7/4K1N1", "4n3/p2k4/8/3P4/8/8/P7/4K1N1"},
    // Threats.
    {"their knight hit", "r1bqkb1r/pppppppp/8/8/4n3/3P4/PPP1PPPP/RNBQKBNR",
     "r1bqkb1r/pppppppp/8/8/5n2/3P4/PPP1PPPP/RNBQKBNR"},
    {"an undefended pawn hit", "4k3/1p3ppp/8/3p4/4B3/8/PPP3PP/4K2R", "4k3/5ppp/2p5/3p4/4B3/8/PPP3PP/4K2R"},
    {"more room", "rnbqkbnr/8/pppppppp/8/2PPPP2/8/PP4PP/RNBQKBNR", "rnbqkbnr/8/pppppppp/8/8/2PPPP2/PP4PP/RNBQKBNR"},
    {"a pawn storm", "r4rk1/ppp2ppp/2n5/6P1/7P/2N5/PPPQ1P2/2KR3R", "r4rk1/ppp2ppp/2n5/8/8/2N5/PPPQ1PPP/2KR3R"},
    {"a safe check in the air", "r4rk1/pp3p1p/2n5/6NQ/8/8/PP3PPP/R4RK1", "r4rk1/pp3p1p/2n5/8/8/5N2/PP1Q1PPP/R4RK1"},
    // Endings.
    {"pawns on both wings, being ahead", "4k3/p5pp/4n3/8/8/4N3/PP4PP/4K3", "4k3/5ppp/4n3/8/8/4N3/4PPPP/4K3"},
    {"opposite bishops beside rooks", "r3k3/pp2bppp/8/8/8/4B3/PPP2PPP/R3K3", "r3k3/pp2bppp/8/8/8/3B4/PPP2PPP/R3K3"},
    {"rook and pawn against bishop", "4k3/8/8/8/3b4/8/P7/R3K3", "4k3/8/8/8/3b4/8/8/R3K3"},
    {"not opposite bishops", "8/5pk1/4b1p1/8/8/3BP1P1/5PK1/8", "8/5pk1/4b1p1/8/3B4/4P1P1/5PK1/8"},
};

TEST(Judgement, TheBetterPositionScoresHigher) {
    ResetEngine();
    const auto whole = [](const std::string& fen) {
        return fen.find(' ') == std::string::npos ? fen + " w - - 0 1" : fen;
    };
    for (const Pair& p : pairs) {
        SCOPED_TRACE(p.why);
        const std::string better = whole(p.better), worse = whole(p.worse);
        EXPECT_GT(WhiteScore(better), WhiteScore(worse));
        EXPECT_GT(-WhiteScore(ColourFlipped(better)), -WhiteScore(ColourFlipped(worse)));
    }
    ResetEngine();
}

// Which place of a term a man has. The rooks only make it no pawn ending.
TEST(Judgement, PlacesOfTerms) {
    constexpr int f2 = 13, h3 = 23, Board = 64;
    struct {
        const char *why, *fen;
        Colour side;
        int slot;
        int times = 1;
    } const cases[] = {
        {"own king on g1", "r5k1/8/8/8/8/8/5P2/R5K1 w - - 0 1", WHITE, OwnKingPawn + f2},
        {"own king on f1", "r5k1/8/8/8/8/8/5P2/R4K2 w - - 0 1", WHITE, OwnKingPawn + Board + f2},
        {"own king on e1", "r5k1/8/8/8/8/8/5P2/R3K3 w - - 0 1", WHITE, OwnKingPawn + 2 * Board + f2},
        {"enemy king on g8", "r5k1/8/7P/8/8/8/8/RK6 w - - 0 1", WHITE, EnemyKingPawn + h3},
        {"a knight beside the enemy king", "rk6/8/N7/8/8/8/8/R5K1 w - - 0 1", WHITE, EnemyKingKnight + h3},
        {"a queen of the other colour", "r5k1/5ppp/8/8/8/7q/PPP5/QR4K1 b - - 0 1", BLACK, EnemyKingQueen + h3},
        {"our king's steps to a passed pawn's next", "r5k1/8/8/8/1P6/8/8/R1K5 w - - 0 1", WHITE, PassedOwnKing + 2, 4},
        {"the shelter where the king may castle", "r1bqk3/8/8/8/2P5/5P2/PP6/R1BQK3 w Q - 0 1", BLACK,
         ShelterPawn + 7 + 1},
        {"a pawn on the fourth attacks a pawn", "r5k1/8/8/3p4/4P3/8/8/R5K1 w - - 0 1", WHITE, LeverPawn + 2},
        {"one on the fifth", "r5k1/8/3p4/4P3/8/8/8/R5K1 w - - 0 1", WHITE, LeverPawn + 3},
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
        const char *why, *fen;
        int at_least;
    } const cases[] = {
        {"a rook up", "r3k3/ppp2ppp/8/8/8/8/PPP2PPP/R3K2R w - - 0 1", 400},
        {"rook against a far pawn", "8/8/8/k7/7p/6K1/8/R7 w - - 0 1", 300},
        {"opposition lost", "8/8/8/4k3/8/4K3/4P3/8 b - - 0 1", 500},
        {"an unstoppable pawn", "8/8/8/P7/7k/8/8/K7 w - - 0 1", 300},
        {"a queen, and the king before the last pawn", "8/7k/8/8/4p3/8/4K3/Q7 w - - 0 1", 800},
        {"a rook, and three pawns left on one wing", "6k1/6p1/8/8/8/8/6PP/R5K1 w - - 0 1", 500},
        {"two passed pawns against none", "6k1/8/8/8/PP6/8/8/6K1 w - - 0 1", 300},
    };
    for (const auto& c : cases) {
        EXPECT_GT(WhiteScore(c.fen), c.at_least) << c.why;
        EXPECT_GT(-WhiteScore(ColourFlipped(c.fen)), c.at_least) << c.why;
    }
    ResetEngine();
}

}  // namespace
