// game_end.cpp - see game_end.h.
//
// The draws are those of the rules plus the simplest case of insufficient material: one
// knight or bishop against a bare king. Whether to stop then is the front end's decision.
//
// State: draw_found, set by every call of check_game_end().
#include "driver/game_end.h"

#include "board/attacks.h"
#include "board/console.h"
#include "board/make_move.h"
#include "board/repetition.h"
#include "board/settings.h"
#include "book/book_learning.h"
#include "driver/game_state.h"
#include "search/root.h"
#include "search/search_state.h"

constinit bool draw_found = false;

namespace {

void Announce(const char* line, int result) {
    LearnFinishedGame(result);
    if (!UciMode) Print("%s\n", line);
}

void AnnounceDraw(const char* line) {
    draw_found = true;
    if (!game_over_flag) Announce(line, ResultDrawn);
}

// A bare king against at most one minor piece.
bool CannotMate(Colour strong) {
    return thread_board.Material[ChangeSide(strong)] == 0 && thread_board.Material[strong] <= PieceValue[BISHOP]
        && thread_board.pieces[PAWN][strong] == 0;
}

}  // namespace

void LearnFinishedGame(int result) {
    if (!BookLearningPending()) return;
    // The book learns for the side to move, and that has to be us.
    if (SideToMove() == EngineSide || history_count <= history_base) {
        learn_game(result);
        return;
    }
    const Move last = game_history[history_count - 1].move;
    UnmakeMove();
    learn_game(result);
    MakeMove(last);
}

static int FindGameEnd() {
    draw_found = false;
    // Two tests, not one: two bare kings are announced twice.
    if (CannotMate(WHITE)) AnnounceDraw("1/2-1/2 {Draw by insufficient material}");
    if (CannotMate(BLACK)) AnnounceDraw("1/2-1/2 {Draw by insufficient material}");

    bool final_draw = false;
    if (history_count >= 4 && CountRepetitions() >= 2) {
        AnnounceDraw("1/2-1/2 {Draw by repetition}");
        final_draw = true;
    }
    // The counter before the last move: one ply later than the rule would allow.
    if (history_count > 0 && game_history[history_count - 1].fifty > 99) {
        AnnounceDraw("1/2-1/2 {Draw by the 50-moves rule}");
        final_draw = true;
    }
    game_over_flag |= final_draw;

    if (GenerateRootMoves() > 0) return 0;
    const Colour loser = SideToMove();
    if (!InCheck(loser)) Announce("1/2-1/2 {Stalemate}", ResultDrawn);
    else
        Announce(loser == BLACK ? "1-0 {White mates}" : "0-1 {Black mates}",
                 loser == EngineSide ? ResultLost : ResultWon);
    game_over_flag = true;
    return 1;
}

int check_game_end() {
    const int over = FindGameEnd();
    if (over || draw_found) Flush();
    return over;
}
