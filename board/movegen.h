// movegen.h - the move stack and the generators.
//
// Generators append pseudo-legal moves of the side to move to one global stack, each with
// an ordering score. GenerateEvasions and those with Legal in their names give legal moves only.
//
// State: move_stack, move_count.
#pragma once

#include "board/legality.h"
#include "board/types.h"

struct ScoredMove {
    Move move;
    int32_t score;
};

constexpr int MoveStackSize = 16384;
constexpr int MoveStackNodeLimit = 15000;  // a node that would start above it does not generate
constexpr int ScratchMoves = 5000;         // free area for callers outside a search
extern ScoredMove move_stack[MoveStackSize];
extern int move_count;

// Captures onto `targets`, promotion captures among them (queen, knight, rook, bishop), and
// en-passant captures whatever the targets. Scored by CaptureScore().
void GenerateCaptures(Bitboard targets);
// Promotions without capture: queen, rook, knight, bishop. Scored by CaptureScore(), too.
void GeneratePromotions();
// All other moves to empty squares, castling first. Scored from the history.
void GenerateQuiets();
// In check only: every legal move (promotions to queen and knight only), scored.
void GenerateEvasions();
// Quiet moves that give check, castling left out, own king's safety not tested. `wide` adds
// discovered checks, pawn checks and checks on squares that enemy pawns attack; without it checks
// that lose the checking piece are left out.
void GenerateQuietChecks(bool wide);
void GenerateQuietChecks(bool wide, const CheckInfo& info);  // with the node's own check squares

// Replaces the stack from `start` on with all legal moves in generation order and returns
// how many there are. Scores mean nothing afterwards. Usable inside a search when `start`
// is the current count (restore the count after).
int GenerateLegalMoves(int start);

// The same without scores, much faster; in check in the order of evasions.
int GenerateUnscoredLegalMoves(int start);
// For perft, faster still: captures and quiet moves mixed, man by man.
int GenerateLegalMovesByMan(int start);
