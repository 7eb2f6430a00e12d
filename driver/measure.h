// measure.h - how often the evaluation agrees with the moves of games.
#pragma once

constexpr const char* MeasureGamesFile = "games.pgn";
constexpr const char* MeasureTableFile = "my_eval.csv";

// Goes through the games of MeasureGamesFile. A position counts as a hit when no legal move leads to
// a higher static evaluation than the move played; the opening moves of a game are left out. With
// `table` a row for each position is written to MeasureTableFile (doc/developer.md lists the
// columns). Prints its progress; the game on the board is as before afterwards.
//
// False when the games could not be opened, which has been printed, or when input ended it; *hits is
// what was found until then. A table that cannot be written is told and left out.
bool MeasureGames(bool table, int* hits);
