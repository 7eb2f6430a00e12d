// search.h - the two recursive procedures below the root.
//
// Both work on thread_board, return the score for the side to move, fail soft, and leave
// the best move in ply_records[current_ply].best_move. Once stop_flag is set they return 0
// at once and the value means nothing.
#pragma once

#include "board/types.h"

// What a node is expected to be.
enum : int { AllNode = -1, PvNode = 0, CutNode = 1 };

// alpha < beta; depth in quarter plies, at least ONE_PLY.
int search(int alpha, int beta, int depth, bool null_allowed, int node_type);
// depth in quarter plies, usually 0 or less; evasions may raise it above 0. node_type is
// PvNode or not; cut-offs by the table and delta pruning need a node that is not.
int quiesce(int alpha, int beta, int depth, int node_type);

// search() or, below ONE_PLY, quiesce() with depth 0, for a child: negated window, one ply
// deeper. The move has been made already.
int SearchChild(int alpha, int beta, int depth, bool null_allowed, int node_type);
