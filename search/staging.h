// staging.h - handing out a node's moves one by one, best stage first.
//
// Each stage is generated only when the one before is used up, so that a cut-off by the hash
// move or a good capture costs no further generation. Within a stage the next move is the
// highest scored one left.
//
// Captures that lose material stay on the stack when their stage ends and compete with the
// quiet moves, which are appended behind them.
#pragma once

#include "board/legality.h"
#include "board/types.h"

enum class Stage : uint8_t { HashMove, Captures, Killer1, Killer2, Quiets, Evasions, End };

struct MovePicker {
    Stage stage;     // of the move handed out last
    Move hash_move;  // pseudo-legal or 0
    Move killers[2];
    int first, last;  // this node's part of the move stack
    int score;        // ordering score of the move handed out last
    bool futile;      // the quiet stage offers only checking moves
    bool stage_ready;
    bool under_promotions;
    Bitboard capture_targets;
    const CheckInfo* checks;

    // Not in check. `targets` restricts the capture stage.
    void StartQuietly(Move hash, Bitboard targets, bool only_checks, const CheckInfo& info);
    // In check: the evasions stand on the stack from `start` on.
    void StartInCheck(Move hash, int start);
    // The next pseudo-legal move, 0 at the end. Restores nothing on the stack; the node does.
    Move Next();
};

// Picks the highest scored of move_stack[first .. last) into place `first`.
void SelectBest(int first, int last);
