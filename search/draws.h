// draws.h - draws by rule, as both node procedures see them.
#pragma once

#include "board/position.h"
#include "board/repetition.h"

// Is the position drawn by the fifty-move rule or by repetition, or, when beta is not above
// the draw score, can the side to move repeat an earlier position?
inline bool IsDrawByRule(int beta) {
    if (thread_board.fifty <= 2) return false;
    if (thread_board.fifty >= 100 || IsRepetition()) return true;
    return beta <= 0 && UpcomingRepetition();
}
