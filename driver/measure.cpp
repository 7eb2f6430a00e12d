// measure.cpp - see measure.h.
//
// Nearly all of the time goes into the evaluation of the positions behind every legal move. These
// are evaluated in full and without the cache: the lazy exit would hide small differences, and no
// position comes twice.
//
// State: the measure that runs, and a copy of the game that was on the board before it.
#include "driver/measure.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "board/console.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "driver/game_file.h"
#include "driver/interruption.h"
#include "eval/evaluate.h"
#include "search/time_control.h"

namespace {

// Moves of a game before this ply are opening theory: they say more about books than positions.
constexpr int FirstPly = 16;
constexpr int PositionsPerPoll = 32;  // less than a millisecond
constexpr int CentisecondsPerProgressLine = 50;
constexpr int MostMoves = 256;

struct Measure {
    int games, hits;
    int64_t positions, last_progress;  // centiseconds
    std::FILE* table;                  // null when none is written
};
Measure measure;

struct SavedGame {
    Position position;
    HistoryRecord history[HistorySize];
    int count, base;
    Colour root;
};
SavedGame saved;

void SaveGame() {
    saved.position = thread_board;
    std::copy_n(game_history, history_count, saved.history);
    saved.count = history_count;
    saved.base = history_base;
    saved.root = evaluation_root_side;
}

void RestoreGame() {
    thread_board = saved.position;
    std::copy_n(saved.history, saved.count, game_history);
    history_count = saved.count;
    history_base = saved.base;
    evaluation_root_side = saved.root;
    if (position_loaded_hook != nullptr) position_loaded_hook();
}

void PrintProgress() {
    Print("Processed %d games, hit/game = %1.3f...              \r", measure.games,
          measure.games > 0 ? double(measure.hits) / measure.games : 0.0);
    Flush();
    measure.last_progress = NowCentiseconds();
}

// The position before a move, from its mover's view, and how the move played compares.
struct Comparison {
    int legal_moves, better_moves;
    int played, best;  // evaluations behind the move
};

Comparison CompareMoves(Move played) {
    const int saved_count = move_count;
    Move moves[MostMoves];
    Comparison result = {std::min(GenerateUnscoredLegalMoves(ScratchMoves), MostMoves), 0, NotEvaluated, NotEvaluated};
    for (int i = 0; i < result.legal_moves; ++i) moves[i] = move_stack[ScratchMoves + i].move;
    move_count = saved_count;

    evaluation_root_side = SideToMove();
    int scores[MostMoves];
    for (int i = 0; i < result.legal_moves; ++i) {
        MakeMove(moves[i]);
        int score = NotEvaluated;
        EvaluatePosition(score);
        scores[i] = -score;
        UnmakeMove();
        if (moves[i] == played) result.played = scores[i];
    }
    for (int i = 0; i < result.legal_moves; ++i) {
        result.better_moves += scores[i] > result.played;
        result.best = std::max(result.best, scores[i]);
    }
    return result;
}

void WriteRow(Move played, const Comparison& moves, int game_result) {
    const EvaluationFigures f = EvaluateInFigures(SideToMove());
    const Position& p = thread_board;
    std::fprintf(measure.table,
                 "%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%s;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d;%d\n",
                 measure.games, history_count - history_base, SideToMove(), game_result, moves.legal_moves,
                 moves.better_moves + 1, moves.better_moves == 0, f.score, moves.played, moves.best, p.Material[WHITE],
                 p.Material[BLACK], f.material, f.current_phase, f.phase[WHITE], f.phase[BLACK], f.opening, f.endgame,
                 MoveText(played).c_str(), f.danger[WHITE], f.danger[BLACK], f.shelter_penalty[WHITE],
                 f.shelter_penalty[BLACK], f.defects[WHITE][0], f.defects[WHITE][1], f.defects[BLACK][0],
                 f.defects[BLACK][1], f.passed[WHITE], f.passed[BLACK], f.ending[WHITE], f.ending[BLACK], p.fifty);
}

// A table that cannot be opened or written does not end the measure: its score is still worth having.
void CloseTable(bool complain) {
    if (measure.table == nullptr) return;
    const bool failed = std::ferror(measure.table) != 0;
    if ((std::fclose(measure.table) != 0 || failed) && complain) Print("Error writing file %s...\n", MeasureTableFile);
    measure.table = nullptr;
}

// False when input asks for the end.
bool MeasureGame(int game_result) {
    for (Move move; NextMoveOfGame(&move);) {
        if (history_count - history_base >= FirstPly) {
            const Comparison moves = CompareMoves(move);
            measure.hits += moves.better_moves == 0;
            if (measure.table != nullptr) WriteRow(move, moves, game_result);
            if (++measure.positions % PositionsPerPoll == 0 && Interrupted()) return false;
        }
        if (!MakeGameMove(move)) break;
    }
    return true;
}

}  // namespace

bool MeasureGames(bool table, int* hits) {
    *hits = 0;
    if (!OpenGameFile(MeasureGamesFile, Interrupted)) {
        Print("Error opening file %s...\n", MeasureGamesFile);
        return false;
    }
    measure = {};
    if (table && (measure.table = std::fopen(MeasureTableFile, "w")) == nullptr)
        Print("Error opening file %s...\n", MeasureTableFile);
    measure.last_progress = NowCentiseconds();
    SaveGame();
    bool finished = true;
    for (GameTags tags; finished && NextGame(&tags);) {
        ++measure.games;
        finished = MeasureGame(tags.result) && !Interrupted();
        if (measure.table != nullptr && std::ferror(measure.table) != 0) CloseTable(true);
        if (NowCentiseconds() - measure.last_progress >= CentisecondsPerProgressLine) PrintProgress();
    }
    finished &= !GameFileInterrupted();
    CloseGameFile();
    RestoreGame();
    PrintProgress();
    Print("\n");  // so that whatever comes next has a line of its own
    CloseTable(true);
    *hits = measure.hits;
    return finished;
}
