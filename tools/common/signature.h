// signature.h - the fixed search whose node total stands for "plays the same chess".
//
// Any change of search, evaluation, move order or table shows in the total with near
// certainty; a change that only makes the program faster or the code clearer must leave it
// alone. Shared by corvantis_bench_signature, a test and the micro-benchmarks.
#pragma once

#include <cstdint>

// Positions of the Bratko-Kopec test (1982): half tactics, half pawn levers.
constexpr int SignaturePositions = 24;
extern const char* const signature_fens[SignaturePositions];

// The depth (plies, as users count them) at which a release build needs a few seconds.
constexpr int SignatureDepth = 10;

// All tables of the engine, in start-up order, at their default sizes and a defined position,
// without reading a configuration, "values.txt", a book or learned data. First thing in a program
// that is not the engine itself. False when memory is short.
bool InitialiseEngine();

// Sets the position up, empties every table and searches it alone: to `depth`, without clock,
// book, learning or tablebases, printing nothing. Returns the nodes searched.
int64_t SignatureNodes(const char* fen, int depth);
