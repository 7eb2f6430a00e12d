// game_state.cpp - see game_state.h.
#include "driver/game_state.h"

#include "board/make_move.h"
#include "board/notation.h"
#include "board/ordering_data.h"
#include "board/position.h"
#include "book/book_learning.h"
#include "book/learning_file.h"
#include "driver/engine_turn.h"
#include "search/root.h"
#include "search/search_state.h"
#include "search/transposition.h"

constinit int ForceMode = 0;
constinit Colour EngineSide = BLACK;
constinit int FritzMode = 0;

namespace {

void ResetGameState() {
    AgeTable(3);
    ClearOrderingData();
    ResetGameMemory();
    ClearResignHistory();
    ResetBookLearning();
    FlushLearned();
}

// Results of the old game are worth nothing in the new one, and its stored scores would only
// hold back fresh ones.
void ForgetLastGame() {
    ClearHashTables();
    ResetGameState();
}

}  // namespace

void StartFirstGame() {
    SetInitialPosition();
    ResetGameState();
}

void StartNewGame() {
    SetInitialPosition();
    ForgetLastGame();
}

void PositionReplaced() {
    // The table stays: front ends send the whole game again before every move.
    AgeTable(3);
    ClearHistory();
    ResetSearchMemory();
}

void EndGameForLearning() {
    if (BookLearningPending() && SideToMove() != EngineSide && history_count > history_base) {
        const Move last = game_history[history_count - 1].move;
        UnmakeMove();
        learn_game(ResultDrawn);
        MakeMove(last);
    }
    ForgetLastGame();
}

bool PlayGameMove(Move m) {
    if (!MakeGameMove(m)) return false;
    game_over_flag = false;
    return true;
}

bool TakeBackGameMove() {
    if (history_count <= history_base) return false;
    UnmakeMove();
    game_over_flag = false;
    return true;
}

Move ParseGameMove(const char* text) { return IsPlayable() ? ParseCoordinate(text) : 0; }
