// analysis.cpp - thinking about a position without playing.
//
// The search runs until a line arrives; the line is executed (a move is made and not
// answered) and the search starts again from what is then on the board. Commands that begin
// something else end the analysis.
#include <cstring>

#include "board/console.h"
#include "board/notation.h"
#include "board/position.h"
#include "driver/commands.h"
#include "driver/engine_turn.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/search_input.h"
#include "driver/words.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"

namespace {

void SearchWithoutClock() {
    const SearchLimits saved = search_limits;
    const int base_time = search_limits.BaseTime;
    ResetLimits();
    search_limits.BaseTime = base_time;
    running_search = {};
    running_search.purpose = SearchPurpose::Analysis;
    think(false);
    running_search.purpose = SearchPurpose::None;
    const int own_time = search_limits.OwnTime, opp_time = search_limits.OppTime;
    search_limits = saved;
    // A clock told during the search is for the game that goes on later.
    if (own_time != NoClock) search_limits.OwnTime = own_time;
    if (opp_time != 0) search_limits.OppTime = opp_time;
}

// Executes the line in command_line. False when it ends the analysis; *again is set when it is
// then to be executed as an ordinary command.
bool ExecuteInAnalysis(bool* again) {
    const char* line = SkipSpaces(command_line);
    *again = false;
    if (IsFirstWord("exit", line)) return false;
    if (*line == '.') {
        // It came between two searches, but is owed an answer all the same.
        if (IsPlayable()) GenerateRootMoves();
        PrintSearchStatus();
        return true;
    }
    if (*line == '?' || IsFirstWord("analyze", line) || IsFirstWord("stop", line)) return true;
    for (const char* ends : {"go", "demo", "uci", "xboard"}) {
        if (!IsFirstWord(ends, line)) continue;
        *again = true;
        return false;
    }
    // A move is made without an answer, like in force mode.
    const int saved_force = ForceMode;
    ForceMode = 1;
    execute_line();
    const bool forced = IsFirstWord("force", line);
    ForceMode = IsFirstWord("new", line) ? 0 : saved_force || forced;
    return true;
}

}  // namespace

void Analyze() {
    AnalysisMode = 1;
    take_back_request = leave_analysis_request = false;
    bool again = false;
    bool wait = false;  // nothing to do until the position changes
    for (;;) {
        if (NextLine() || (wait && WaitForLine())) {
            const uint64_t key = PositionKey();
            const Colour side = SideToMove();
            if (!ExecuteInAnalysis(&again)) break;
            if (PositionKey() != key || SideToMove() != side) wait = false;
            continue;
        }
        if (input_ended) break;
        if (!IsPlayable() || GenerateRootMoves() == 0) {
            wait = true;
            continue;
        }
        SearchWithoutClock();
        if (leave_analysis_request) break;
        if (take_back_request) {
            take_back_request = false;
            TakeBackGameMove();
            continue;
        }
        // Ended by itself or by "stop", not by a line that is executed now.
        wait = !running_search.stopped || ClassifySearchInput(command_line) == SearchInput::Stop;
    }
    AnalysisMode = 0;
    take_back_request = leave_analysis_request = false;
    if (again) execute_line();
}
