// probe.h - the value of a position from the endgame tablebases.
#pragma once

// True when the current position is in a table; *score is from the side to move's view on
// the mate scale: 0 for a draw, MATE - 2n for mate in n moves, -MATE + 2n when mated in n.
// Positions with castling rights are in no table. The position must be legal: of a side not to move
// that is in check, any value may come.
bool ProbeTablebase(int* score);
