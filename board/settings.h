// settings.h - every setting of the program as a plain global integer.
//
// They live here, below everything else, so that any folder can read them; the driver
// alone writes them (configuration file, console, xboard and UCI commands). Flags are 0 or 1.
#pragma once

#include <cstdint>

// Sizes.
extern uint32_t TranspositionSize;  // transposition table entries of 20 bytes
extern uint32_t PawnHashSize;       // pawn hash entries of 24 bytes; 0 switches it off
extern uint32_t EvalCacheSize;      // evaluation cache entries of 48 bytes; set at start-up only
extern uint32_t EGTBHashSize;       // tablebase block cache in bytes; 0 works

// Style: percentages, nominally 0..300, with the derived factor percentage / 2.
extern int Aggressivity, AggressivityHalf;
extern int Cowardice, CowardiceHalf;

// Resigning: after ResignTimes own searches in a row below -ResignValue centipawns.
extern int ResignValue, ResignTimes;

// Book and learning.
enum : int { KILL = 0, DISCOVER = 1 };
extern int BookLearningMode;  // KILL or DISCOVER
extern int UseBookLearning, UseBookWeights;
extern int BookLearningBound;  // centipawns
extern int VarietyOfPlay;      // 0..100
extern int UseLearning;        // record learned positions
extern int UseLearningData;    // look learned positions up
extern int LogLearningIntoFile;
extern int OwnBook;  // the book may be used

// Pondering: allowed at all, and switched on by the front end right now.
extern int Pondering, PonderSwitch;

// Tablebases.
extern int UseEGTB;
extern char EGTBPath[1024];

// Output and protocol.
extern int PostMode;   // thinking output is printed
extern int UciMode;    // 1 after "uci", 0 after "xboard"
extern int MultiPV;    // principal lines searched and reported, at least 1
extern int DebugMode;  // extra "info string" lines

constexpr uint32_t TranspositionEntryBytes = 20;
constexpr uint32_t PawnHashEntryBytes = 24;
constexpr uint32_t EvalCacheEntryBytes = 48;

// Puts every setting above to its default.
void SetDefaults();

// Store a percentage together with its derived factor. No clamping.
void SetAggressivity(int percent);
void SetCowardice(int percent);
