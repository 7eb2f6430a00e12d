// pawns.h - pawn structure and the pawn hash.
#pragma once

#include "eval/eval_info.h"

bool AllocatePawnHash(uint32_t entries);
void FreePawnHash();
void ClearPawnHash();  // and the one-record copy

// The hash slot of a pawn key, for prefetching; null when the hash is off.
PawnRecord* PawnSlot(uint64_t pawn_key);
