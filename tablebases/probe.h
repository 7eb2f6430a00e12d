// probe.h - the value of a position from the endgame tablebases.
#pragma once

// True when the current position is in a table; *score is from the side to move's view on
// the mate scale: 0 for a draw, MATE - 2n for mate in n moves, -MATE + 2n when mated in n.
bool ProbeTablebase(int* score);
