// game_file.h - the games of a PGN file, move by move, for commands that look at every position.
//
// The file is read as a stream, so its size does not matter. Comments, notes in square brackets,
// variations, glyphs and all tags but those below are passed over. A game ends with its result,
// with the tags of the next one, or with the file; what follows a move that cannot be read is
// passed over up to there.
//
// One file at a time is open.
#pragma once

#include <cstdio>

#include "board/types.h"

struct GameTags {
    int result;  // 1 White won, 0 draw, -1 Black won, GameResultUnknown
};
constexpr int GameResultUnknown = 2;

// False when the file cannot be opened. `interrupted` is asked once a megabyte, however little of it
// are moves; when it says yes, the file seems to end.
bool OpenGameFile(const char* name, bool (*interrupted)());
void CloseGameFile();
bool GameFileInterrupted();
// Goes to the next game and sets its start position up: the one of the tag "FEN", else the usual
// one. False at the end of the file.
bool NextGame(GameTags* tags);
// The next move of the game, legal in the current position; the caller makes it. False at the end
// of the game or behind an error, which has been printed. An ambiguous move counts, but is the
// game's last. A word of move letters that is too long ends the program, see ReadSanToken().
bool NextMoveOfGame(Move* move);
