// statistics.cpp - history, killers and capture statistics.
#include "search/statistics.h"

#include <algorithm>
#include <initializer_list>

#include "board/bitboard.h"
#include "search/search.h"

constinit SafeCaptures safe_captures = {};

namespace {

// Step of a history value towards its limit, 1024ths, by depth in plies.
constexpr int HistoryStep[16] = {0, 57, 119, 155, 181, 200, 217, 230, 242, 253, 262, 271, 278, 286, 292, 298};
constexpr int HistoryLimit = 32700;
constexpr int MaxTries = 64;
// What a capture may win beyond the man it takes, positionally.
constexpr int GainMargin = 200;

}  // namespace

void RecordCapture(Move m, Colour us, int ordering_score, bool success) {
    if (MoveCaptured(m) == EMPTY) return;
    if (ordering_score >= SafeCaptureScore) {
        ++safe_captures.tries;
        safe_captures.successes += success;
        return;
    }
    CaptureStatistics& slot = capture_statistics[CaptureKey(m, us)];
    if (slot.generation != table_generation) slot = {table_generation, 0, 0};
    ++slot.tries;
    if (success) ++slot.successes;
    if (slot.tries > MaxTries) {
        slot.tries /= 2;
        slot.successes /= 2;
    }
}

void RewardQuiet(Move m, Colour us, int depth, const Move* tried, int count) {
    PlyRecord& record = ply_records[current_ply];
    const int step = HistoryStep[std::min(depth / ONE_PLY, 15)];
    int32_t& value = HistoryValue(record.eval_ok, m, us);
    value += ((HistoryLimit - value) * step) >> 10;
    if (tried != nullptr) {
        for (int i = 0; i < count; ++i) {
            int32_t& other = HistoryValue(record.eval_ok, tried[i], us);
            other -= (step * other) >> 10;
        }
    }
    Move* const killers = record.killers[us];
    if (m != killers[0]) {
        killers[1] = killers[0];
        killers[0] = m;
    }
}

CaptureTargets GainfulTargets(Colour us, int eval, int alpha) {
    const Position& p = thread_board;
    const Colour them = ChangeSide(us);
    CaptureTargets targets = {0, -MATE};
    for (const PieceType type : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN}) {
        const Bitboard men = p.pieces[type][them];
        const int hope = eval + PieceValue[type] + GainMargin;
        if (hope > alpha) targets.squares |= men;
        else if (men) targets.left_out = std::max(targets.left_out, hope);
    }
    if (const Bitboard seventh = p.pieces[PAWN][us] & RelativeRankMask(us, 6))
        targets.squares |=
            p.colour[them] & (us == WHITE ? PawnAttackSet<WHITE>(seventh) : PawnAttackSet<BLACK>(seventh));
    return targets;
}
