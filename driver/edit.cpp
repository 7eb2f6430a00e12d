// edit.cpp - setting a position up man by man, the oldest way front ends know.
//
// Lines until "." : "Pa4" puts a man of the current colour, "xa4" empties a square, "#" empties
// the board, "c" changes the colour. Front ends tell who is to move before "edit" (by a dummy
// move, or by "white" or "black"), so the side to move stays as it is; they cannot tell
// castling rights, which are assumed wherever king and rook stand at home.
#include <cctype>
#include <cstring>

#include "board/position.h"
#include "driver/commands.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/words.h"

namespace {

struct Man {
    PieceType type;
    Colour colour;
};

PieceType TypeOfLetter(char letter) {
    switch (std::toupper(static_cast<unsigned char>(letter))) {
        case 'K': return KING;
        case 'Q': return QUEEN;
        case 'R': return ROOK;
        case 'B': return BISHOP;
        case 'N': return KNIGHT;
        case 'P': return PAWN;
        default: return EMPTY;
    }
}

// The square that two characters name, -1 for none.
Square ReadSquare(const char* text) {
    const int file = std::tolower(static_cast<unsigned char>(text[0])) - 'a';
    if (file < 0 || file > 7 || text[1] < '1' || text[1] > '8') return -1;
    return SquareAt(file, text[1] - '1');
}

}  // namespace

void EditBoard() {
    Man men[64];
    for (Square s = 0; s < 64; ++s)
        men[s] = {PieceType(thread_board.board[s]), (thread_board.colour[WHITE] & Bit(s)) ? WHITE : BLACK};

    Colour colour = WHITE;
    bool quit = false;
    while (!quit && WaitForLine()) {
        const char* line = SkipSpaces(command_line);
        if (*line == '.') break;
        if (*line == '#') {
            for (Man& man : men) man.type = EMPTY;
        } else if (IsFirstWord("c", line)) {
            colour = ChangeSide(colour);
        } else if (IsFirstWord("q", line) || IsFirstWord("quit", line)) {
            quit = true;
        } else if (*line != '\0') {
            const Square s = ReadSquare(line + 1);
            const PieceType type = TypeOfLetter(*line);
            if (s >= 0 && (type != EMPTY || *line == 'x' || *line == 'X')) men[s] = {type, colour};
        }
    }

    ClearBoard();
    for (Square s = 0; s < 64; ++s)
        if (men[s].type != EMPTY) PlacePiece(s, men[s].colour, men[s].type);
    FinishSetup(SideToMove(), WhiteKingSide | WhiteQueenSide | BlackKingSide | BlackQueenSide);
    PositionReplaced();
    if (quit) execute_line();
}
