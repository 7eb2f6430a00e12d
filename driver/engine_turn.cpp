// engine_turn.cpp - see engine_turn.h.
//
// A turn is search, answer, end of game, then perhaps pondering, which turns into the search
// of the next turn when the prediction comes true. Everything a search may be told while it
// runs arrives through search_input.cpp as flags of running_search; the decisions are here.
//
// In UCI every "go" is answered by one "bestmove", and a search that only "stop" or
// "ponderhit" may end keeps its result until then: `waiting`.
//
// State: running_search, prediction, waiting, the resign history.
#include "driver/engine_turn.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>

#include "board/console.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "board/settings.h"
#include "book/book_learning.h"
#include "book/learning_file.h"
#include "driver/game_end.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "search/limits.h"
#include "search/search_state.h"
#include "search/time_control.h"

constinit RunningSearch running_search = {};
constinit Prediction prediction = {};

namespace {

struct {
    bool valid;
    bool pondering;  // of "go ponder": its position has not been reached yet
    SearchResult result;
} waiting;

struct ResignEntry {
    uint64_t key;  // placement key of the position searched
    int score;     // centipawns, our view
};
constexpr int ResignEntries = 10;
ResignEntry resign_history[ResignEntries];
int resign_entries;  // how many have been recorded

// What qualifies for the file of learned positions: a real search of all moves, not ended while
// its score was a mere bound, early in the game, with enough men left for the position to come
// again.
constexpr int LearnMinDepth = 8;      // plies
constexpr int LearnMaxHistory = 120;  // plies of the game
constexpr int LearnMinUnits = 15;     // piece units a side

bool Unlimited() {
    const SearchLimits& l = search_limits;
    return l.OwnTime == NoClock && l.MoveTime == 0 && l.MaxDepth >= NoDepthLimit && l.MaxNodes == 0
        && l.MateSearch == 0;
}

// Only "stop" or "ponderhit" may end such a search.
bool OpenEnded() { return search_limits.OwnTime == InfiniteTime || (UciMode && Unlimited()); }

SearchResult RunSearch(SearchPurpose purpose) {
    running_search = {};
    running_search.purpose = purpose;
    const bool use_book = purpose == SearchPurpose::Game || purpose == SearchPurpose::Demo;
    BeginSearchInput();
    const SearchResult result = think(use_book);
    EndSearchInput();
    running_search.purpose = SearchPurpose::None;
    return result;
}

void PrintBestMove(Move best, Move ponder) {
    Print("bestmove %s", MoveText(best).c_str());
    if (ponder != 0) Print(" ponder %s", MoveText(ponder).c_str());
    Print("\n");
    Flush();
}

// Both kinds of learning, while the position searched is still on the board.
void Learn(const SearchResult& result) {
    if (!result.searched) return;
    if (std::abs(result.score) > BookLearningBound && BookLearningPending())
        learn_game(result.score < 0 ? ResultLost : ResultWon);
    const bool whole = !running_search.stopped && !root_in_trouble && search_limits.search_move_count == 0;
    if (UseLearning && whole && result.depth >= LearnMinDepth && std::abs(result.score) < MateBound
        && history_count < LearnMaxHistory && thread_board.NonPawnMaterial[WHITE] >= LearnMinUnits
        && thread_board.NonPawnMaterial[BLACK] >= LearnMinUnits)
        QueueLearned(result.depth * ONE_PLY, result.score);
}

// Makes and prints the move. The caller flushes, when it has added what the move led to: a
// front end that starts the next game at once would take a late result line for an answer.
void Answer(const SearchResult& result) {
    if (result.from_book && PostMode && !UciMode)
        Print("%d %d %d %" PRId64 " %s\n", result.depth, result.score, int(NowCentiseconds() - search_start),
              nodes_searched, MoveText(result.best).c_str());
    Learn(result);
    RecordForResign(result.score, root_move_count == 1);
    PlayGameMove(result.best);
    if (UciMode) {
        PrintBestMove(result.best, result.ponder);
        return;
    }
    if (ShouldResign()) Print("resign\n");
    Print("move %s\n", MoveText(result.best).c_str());
}

enum class TurnEnd { Moved, GameOver, Idle };

// What comes after a search: nothing, waiting for "stop", or the answer.
TurnEnd FinishSearch(const SearchResult& result) {
    const bool pondering = PonderingNow != 0;
    if (!running_search.stopped && (pondering || OpenEnded())) {
        waiting = {true, pondering, result};
        return TurnEnd::Idle;
    }
    PonderingNow = 0;
    if (pondering || running_search.abandoned || result.best == 0) {
        if (UciMode) PrintBestMove(result.best, 0);
        return TurnEnd::Idle;
    }
    Answer(result);
    const bool game_over = !UciMode && check_game_end();
    Flush();
    if (!game_over) return TurnEnd::Moved;
    StartNewGame();
    return TurnEnd::GameOver;
}

bool InputWaits() { return LinesHeld() || input_available(); }

// A reply to expect when the search has left none: a search too short to be noticed.
Move SearchForHint() {
    if (InputWaits() || !IsPlayable() || GenerateRootMoves() == 0) return 0;
    const SearchLimits saved = search_limits;
    ResetLimits();
    search_limits.MaxDepth = 4;
    search_limits.MaxNodes = 50000;
    output_suppressed = true;
    const Move hint = RunSearch(SearchPurpose::Hint).best;
    output_suppressed = false;
    search_limits = saved;
    return running_search.stopped ? 0 : hint;
}

// Thinks on the opponent's time after our move. True when the opponent played what was
// expected: then *result is that of the search for our next move.
bool Ponder(SearchResult* result) {
    const Move expected = result->ponder != 0 ? result->ponder : SearchForHint();
    if (expected == 0) return false;
    Print("Hint: %s\n", MoveText(expected).c_str());
    Flush();

    prediction = {};
    const int legal = GenerateLegalMoves(ScratchMoves);
    for (int i = 0; i < legal && i < 256; ++i)
        prediction.legal[prediction.legal_count++] = move_stack[ScratchMoves + i].move;
    if (std::find(prediction.legal, prediction.legal + prediction.legal_count, expected)
        == prediction.legal + prediction.legal_count)
        return false;
    const bool mate_known = std::abs(result->score) > MateBound;
    if (!PlayGameMove(expected)) return false;
    const int replies = GenerateRootMoves();
    if (replies == 0) {  // it would end the game: nothing to think about
        UnmakeMove();
        return false;
    }
    prediction.move = expected;
    one_shot_stop = replies == 1 || mate_known;
    PonderingNow = 1;
    *result = RunSearch(SearchPurpose::Ponder);
    one_shot_stop = false;
    if (PonderingNow == 0) {  // the prediction came true
        prediction.move = 0;
        if (!running_search.abandoned) check_game_end();
        return true;
    }
    PonderingNow = 0;
    prediction.finished = !running_search.stopped;
    prediction.result = *result;
    if (running_search.stopped) SettleBoard();
    return false;
}

void ContinueTurn(SearchResult result) {
    while (FinishSearch(result) == TurnEnd::Moved && !UciMode && PonderSwitch && !LinesHeld() && Ponder(&result)) {}
}

}  // namespace

bool EndsOnlyByInput() { return PonderingNow || running_search.purpose == SearchPurpose::Analysis || OpenEnded(); }

void PonderHit() {
    if (!PonderingNow) return;
    PonderingNow = 0;
    RestartBudget();
}

void engine_turn() {
    prediction.move = 0;
    waiting.valid = false;
    EngineSide = SideToMove();  // whose result it is, should the game be over
    // Somebody looks at positions; what stands on the board is no game of ours.
    if (OpenEnded()) LeaveGameUnlearned();
    if (!IsPlayable() || check_game_end()) {
        if (UciMode) {
            if (PonderingNow || search_limits.OwnTime == InfiniteTime) waiting = {true, PonderingNow != 0, {}};
            else PrintBestMove(0, 0);
        } else if (IsPlayable()) {
            StartNewGame();
        }
        PonderingNow = 0;
        return;
    }
    ContinueTurn(RunSearch(PonderingNow ? SearchPurpose::GoPonder : SearchPurpose::Game));
}

void Demo() {
    const int saved_switch = PonderSwitch;
    const SearchLimits saved_limits = search_limits;
    PonderSwitch = PonderingNow = 0;
    if (Unlimited() || search_limits.OwnTime == InfiniteTime) search_limits.OwnTime = search_limits.BaseTime;
    StartNewGame();
    while (!check_game_end() && !draw_found && !InputWaits()) {
        EngineSide = SideToMove();
        const int moves_before = history_count;
        if (FinishSearch(RunSearch(SearchPurpose::Demo)) != TurnEnd::Moved || draw_found || running_search.stopped)
            break;
        if (history_count == moves_before) break;  // the history is full
    }
    PonderSwitch = saved_switch;
    search_limits = saved_limits;
}

void SettleBoard() {
    if (waiting.valid) {
        waiting.valid = false;
        PonderingNow = 0;
        if (UciMode) PrintBestMove(waiting.result.best, 0);
    }
    if (prediction.move != 0) {
        prediction.move = 0;
        TakeBackGameMove();
    }
}

bool PlayPonderResult(Move move) {
    if (prediction.move == 0 || move != prediction.move || !prediction.finished) return false;
    prediction.move = 0;
    running_search = {};
    running_search.stopped = true;  // whatever ended it, it has ended
    check_game_end();
    ContinueTurn(prediction.result);
    return true;
}

void IdleStop() {
    if (waiting.valid) {
        const bool pondering = waiting.pondering;
        waiting.valid = false;
        PonderingNow = 0;
        PrintBestMove(waiting.result.best, 0);
        if (!pondering && waiting.result.best != 0) PlayGameMove(waiting.result.best);
    } else if (!UciMode) {
        // In UCI this would answer the next "go".
        PrintBestMove(last_best_move, 0);
    }
}

void IdlePonderHit() {
    PonderingNow = 0;
    if (prediction.move != 0 && prediction.finished) {
        prediction.move = 0;
        PrintBestMove(prediction.result.best, prediction.result.ponder);
        PlayGameMove(prediction.result.best);
    } else if (waiting.valid && waiting.pondering) {
        if (search_limits.OwnTime == InfiniteTime) {
            waiting.pondering = false;  // still waits for "stop"
            return;
        }
        waiting.valid = false;
        PrintBestMove(waiting.result.best, waiting.result.ponder);
        if (waiting.result.best != 0) PlayGameMove(waiting.result.best);
    }
}

void ClearResignHistory() { resign_entries = 0; }

void RecordForResign(int score, bool only_move) {
    const int last = ResignEntries - 1;
    const int old_score = resign_history[last].score;
    std::copy(resign_history + 1, resign_history + ResignEntries, resign_history);
    resign_history[last] = {thread_board.hash_key, only_move ? old_score : score};
    if (resign_entries < ResignEntries) ++resign_entries;
}

bool ShouldResign() {
    int lost = 0;
    // The newest entry belongs to the position before our move, the one before it to the
    // position two plies earlier, and so on; an entry of another game or line breaks the row.
    for (int record = history_count - 1; lost < resign_entries && record >= history_base; record -= 2, ++lost) {
        const ResignEntry& entry = resign_history[ResignEntries - 1 - lost];
        const HistoryRecord& before = game_history[record];
        const uint64_t key = uint64_t(before.key_high) << 32 | before.key_low;
        if (entry.key != key || entry.score >= -int64_t{ResignValue}) break;
    }
    return lost >= ResignTimes;
}
