// staging.cpp - the move picker.
#include "search/staging.h"

#include <climits>
#include <utility>

#include "board/movegen.h"
#include "board/ordering_data.h"
#include "board/position.h"

namespace {

// No quiet move reaches this score, so what is above cannot be a losing capture.
constexpr int GoodCaptureScore = 32700;

// Promotions worth trying near the horizon: queens, and knights that give check.
bool WantedPromotion(Move m, bool under_promotions, const CheckInfo& checks) {
    const PieceType promotion = MovePromotion(m);
    if (promotion == EMPTY || promotion == QUEEN || under_promotions) return true;
    return promotion == KNIGHT && GivesCheck(m, checks);
}

}  // namespace

void SelectBest(int first, int last) {
    int best = first;
    for (int i = first + 1; i < last; ++i)
        if (move_stack[i].score > move_stack[best].score) best = i;
    std::swap(move_stack[first], move_stack[best]);
}

void MovePicker::StartQuietly(Move hash, Bitboard targets, bool only_checks, const CheckInfo& info) {
    stage = Stage::HashMove;
    hash_move = hash;
    const PlyRecord& record = ply_records[current_ply];
    killers[0] = record.killers[SideToMove()][0];
    killers[1] = record.killers[SideToMove()][1];
    first = last = move_count;
    score = 0;
    futile = only_checks;
    stage_ready = false;
    under_promotions = current_ply <= iteration_depth / 2;
    capture_targets = targets;
    checks = &info;
}

void MovePicker::StartInCheck(Move hash, int start) {
    stage = Stage::Evasions;
    hash_move = hash;
    killers[0] = killers[1] = 0;
    first = start;
    last = move_count;
    score = 0;
    futile = false;
    stage_ready = true;
    under_promotions = true;
    capture_targets = 0;
    checks = nullptr;
    for (int i = first; i < last; ++i)
        if (move_stack[i].move == hash) move_stack[i].score = INT_MAX;
}

Move MovePicker::Next() {
    for (;;) {
        switch (stage) {
            case Stage::HashMove:
                if (!stage_ready) {
                    stage_ready = true;
                    if (hash_move != 0) return hash_move;
                }
                stage = Stage::Captures;
                stage_ready = false;
                break;

            case Stage::Captures:
                if (!stage_ready) {
                    GenerateCaptures(capture_targets);
                    GeneratePromotions();
                    last = move_count;
                    stage_ready = true;
                }
                while (first < last) {
                    SelectBest(first, last);
                    if (move_stack[first].score <= GoodCaptureScore) break;
                    const ScoredMove& entry = move_stack[first++];
                    if (entry.move == hash_move || !WantedPromotion(entry.move, under_promotions, *checks)) continue;
                    score = entry.score;
                    return entry.move;
                }
                stage = Stage::Killer1;
                stage_ready = false;
                break;

            case Stage::Killer1:
            case Stage::Killer2: {
                // Handed out once: the stage moves on only when it is asked again.
                const int index = stage == Stage::Killer1 ? 0 : 1;
                const Move killer = killers[index];
                if (!stage_ready) {
                    stage_ready = true;
                    if (killer != 0 && killer != hash_move && IsQuiet(killer) && (index == 0 || killer != killers[0])
                        && IsPseudoLegal(killer)) {
                        score = HistoryValue(ply_records[current_ply].eval_ok, killer, SideToMove());
                        return killer;
                    }
                    killers[index] = 0;  // not searched: it may come up again as a quiet move
                }
                stage = stage == Stage::Killer1 ? Stage::Killer2 : Stage::Quiets;
                stage_ready = false;
                break;
            }

            case Stage::Quiets:
                if (!stage_ready) {
                    if (futile) GenerateQuietChecks(true, *checks);
                    else GenerateQuiets();
                    last = move_count;
                    stage_ready = true;
                }
                while (first < last) {
                    SelectBest(first, last);
                    const ScoredMove& entry = move_stack[first++];
                    const Move m = entry.move;
                    if (m == hash_move || m == killers[0] || m == killers[1]) continue;
                    if (!WantedPromotion(m, under_promotions, *checks)) continue;
                    score = entry.score;
                    return m;
                }
                stage = Stage::End;
                break;

            case Stage::Evasions:
                while (first < last) {
                    SelectBest(first, last);
                    const ScoredMove& entry = move_stack[first++];
                    score = entry.score;
                    return entry.move;
                }
                stage = Stage::End;
                break;

            case Stage::End: return 0;
        }
    }
}
