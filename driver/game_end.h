// game_end.h - is the game over, and saying so.
#pragma once

// Looks for the end of the game in the current position and announces it outside UCI mode.
// 1 when the side to move has no legal move (mate or stalemate), else 0: draws by rule are
// announced, the game goes on. Leaves the root move list generated. Playable positions only.
int check_game_end();

// What the last check_game_end() found beside its result: some draw by rule.
extern bool draw_found;

// Learns the game from a result as the engine sees it (book_learning.h); once a game.
void LearnFinishedGame(int result);
