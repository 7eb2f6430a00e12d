// dialogue.h - scripted dialogues with the real program.
//
// A script has one step a line; leading blanks and empty lines do not count:
//
//   > text | text   send the lines, as front ends do in a burst; $1 is what the first parenthesis
//                   of the last "<" step matched
//   < regex         wait for a line that the expression matches as a whole; others may come
//                   before it
//   - regex         ask "isready" and wait for its answer: no line since the last step may match
//   = text          ask "isready": the lines since the last step are exactly this text, of
//                   several "=" steps in a row exactly these texts
//   times N regex   so far exactly N lines have come that match
//   took MIN MAX    milliseconds since the last ">" step; for MAX without waits for a processor
//   fen FIELDS      ask "brd": the position's FEN begins with these fields
//   sleep MS        let time pass
//   interrupt       send the signal INT
//
// "#" begins a remark. At its end the program is told to quit and must do so with status 0.
// In a script that says "uci" the number of "bestmove" lines must equal that of "go" lines.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/engine_process.h"

struct Dialogue {
    const char* why;
    const char* script;
    std::vector<EngineProcess::File> files = {};  // there before the program starts
};
inline void PrintTo(const Dialogue& dialogue, std::ostream* out) { *out << dialogue.why; }

// A program of its own plays the dialogue, with steps that come before it.
void RunDialogue(const Dialogue& dialogue, const char* beginning = "");
// The steps of one script on a program that runs already; no quit at the end.
void RunSteps(EngineProcess& engine, const char* script);

// What stands between " | " in a list.
std::vector<std::string> Texts(const std::string& list);
// The first four fields of the position's FEN, by the console's board picture.
std::string CurrentFen(EngineProcess& engine);
// Texts of all legal moves, by the console's list of them.
std::vector<std::string> LegalMoves(EngineProcess& engine);
// How many lines of the dialogue so far match the expression as a whole; sent lines begin
// with "> ", received ones with "< ".
int CountLines(const EngineProcess& engine, const std::string& pattern);
