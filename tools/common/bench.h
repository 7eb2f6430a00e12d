// bench.h - searches the fixed positions and prints the node total, the signature of the engine's play.
#pragma once

// A line a position, what the evaluation's caches and the order of captures did, then "N nodes M nps" as
// the last line. The depth is a number of 2 to 90, or null for the usual one. Returns the exit status: 1
// when memory is short, 2 when the depth is none.
int RunBench(const char* depth_text);
