// uci.h - the UCI commands that are more than one line.
#pragma once

#include <cstdint>

void IdentifyUci();      // "uci"
void SetOption();        // "setoption", from the words of the line
void PositionCommand();  // "position", from the line itself: it may have more moves than words fit
// The parameters of "go", words 1 onwards, into search_limits and PonderingNow. All limits of
// an earlier search are forgotten.
void ReadGoParameters();

// Moves per period in xboard mode, moves to the next control in UCI mode.
void SetMovesPerControl(int moves);

// Resizing by megabytes; a failure of the main tables ends the program.
void ResizeTranspositionTable(uint32_t megabytes);
void ResizePawnHash(uint32_t megabytes);
// Multiplies in 32 bits, so that large numbers wrap. A failure leaves no tablebases.
void ResizeTablebaseCache(uint32_t megabytes);
