// repetition.h - draws by repetition, past and upcoming.
#pragma once

#include <cstddef>
#include "board/types.h"

constexpr size_t KeyDifferenceBytes = 327680;  // 8192 buckets of four keys and four moves

// The table of key differences of all reversible single moves, owned by the caller that
// allocates it (start-up, tests). Pass zeroed memory of KeyDifferenceBytes; null detaches it
// and switches UpcomingRepetition() off.
void AttachKeyDifferences(void* memory);
// Fills the attached table. Needs Zobrist keys and attack tables. Returns the number of
// (colour, piece, square pair) keys stored: 3668.
int FillKeyDifferences();

// Has the current position (placement, castling flags, side to move) stood on the board
// before, within the reversible moves just made?
bool IsRepetition();
// How many earlier times; for the threefold rule.
int CountRepetitions();
// Can the side to move reach an earlier position by one reversible move?
bool UpcomingRepetition();
