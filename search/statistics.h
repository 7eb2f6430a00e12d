// statistics.h - what the node procedures learn from a searched move, and the capture
// targets that can still matter far below alpha.
#pragma once

#include <cstdint>

#include "board/ordering_data.h"
#include "board/position.h"

// Counts a try, and maybe a success, of a capture in the capture statistics. Captures with an
// ordering score of SafeCaptureScore and more need no statistics, they are only counted all together.
constexpr int SafeCaptureScore = 100000;
struct SafeCaptures {
    int64_t tries, successes;
};
extern SafeCaptures safe_captures;  // since the program's start
void RecordCapture(Move m, Colour us, int ordering_score, bool success);

// A quiet move caused a cut-off out of check: raises its history value, lowers those of the
// `count` quiet moves of the sorted stage tried in vain before it (null: it came from
// another stage), and makes it the first killer of this ply.
void RewardQuiet(Move m, Colour us, int depth, const Move* tried, int count);

// Enemy men whose capture could bring eval near alpha, and everything that our pawns on the
// seventh rank attack.
struct CaptureTargets {
    Bitboard squares;
    // The most that a capture of another man is hoped to bring, centipawns, at most alpha; -MATE: there
    // is no other.
    int left_out;
};
CaptureTargets GainfulTargets(Colour us, int eval, int alpha);
