// search_input.cpp - commands that arrive while a search runs.
//
// The board is deep in the tree then, so nothing here looks at it. A line is answered at
// once, or sets a flag and stops the search, or is held until the search is over. Which of
// the last two is decided by the kind of search: analysis and pondering of our own give way to
// any line. A search that somebody waits for gives way only to lines that make its result
// worthless; UCI's infinite and ponder searches must not answer before they are told to.
//
// State: none of its own; see running_search and prediction.
#include "driver/search_input.h"

#include <cctype>
#include <cinttypes>
#include <cstring>

#include "board/console.h"
#include "board/notation.h"
#include "board/ordering_data.h"
#include "board/settings.h"
#include "driver/commands.h"
#include "driver/engine_turn.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/input_platform.h"
#include "driver/words.h"
#include "search/host.h"
#include "search/limits.h"
#include "search/search_state.h"
#include "search/time_control.h"

namespace {

struct Keyword {
    const char* text;
    SearchInput meaning;
};
// In the order of checking; prefixes count, so the order matters.
constexpr Keyword keywords[] = {
    {"stop", SearchInput::Stop},
    {"undo", SearchInput::Undo},
    {"exit", SearchInput::Exit},
    {"new", SearchInput::New},
    {"post", SearchInput::Post},
    {"nopost", SearchInput::NoPost},
    {"q", SearchInput::Quit},
    {"force", SearchInput::Force},
    {"hard", SearchInput::Hard},
    {"easy", SearchInput::Easy},
    {"time", SearchInput::Time},
    {"otim", SearchInput::OppTime},
    {"ponderhit", SearchInput::PonderHit},
    {"isready", SearchInput::IsReady},
};

void StopSearch() {
    stop_flag = true;
    running_search.stopped = true;
}

// To be executed when the search is over.
void Hold() { HoldCommandLine(); }

void StopAndHold() {
    Hold();
    StopSearch();
}

// The line takes away the position that is being searched.
void Abandon() {
    running_search.abandoned = true;
    StopAndHold();
}

// The move among those that were legal before the prediction was made; 0 when it is none.
// The board cannot be asked now.
Move ExpectedOrOther(const char* text) {
    char wanted[6] = {};
    for (int i = 0; i < 5 && text[i] != '\0' && text[i] != ' '; ++i)
        wanted[i] = char(std::tolower(static_cast<unsigned char>(text[i])));
    for (int i = 0; i < prediction.legal_count; ++i) {
        const Move m = prediction.legal[i];
        const std::string name = MoveText(m);
        if (name == wanted) return m;
        if (MovePromotion(m) == QUEEN && std::strlen(wanted) == 4 && name.compare(0, 4, wanted) == 0) return m;
    }
    return 0;
}

void OpponentMove() {
    switch (running_search.purpose) {
        case SearchPurpose::Ponder:
            if (PonderingNow) {
                const Move m = ExpectedOrOther(SkipSpaces(command_line));
                if (m == 0) Print("Illegal move: %s\n", LineText().c_str());
                else if (m == prediction.move) PonderHit();
                else StopAndHold();
                Flush();
                return;
            }
            Hold();
            return;
        case SearchPurpose::Analysis:
        case SearchPurpose::Demo: StopAndHold(); return;
        default: Hold();
    }
}

// Nobody waits for the result. (Once a prediction has come true, somebody does.)
bool GivesWay() {
    const SearchPurpose purpose = running_search.purpose;
    return purpose == SearchPurpose::Analysis || purpose == SearchPurpose::Demo
        || (purpose == SearchPurpose::Ponder && PonderingNow);
}

void OtherLine() {
    const Command* command = FindCommand(command_line);
    if (*SkipSpaces(command_line) == '\0') return;
    // After a result of xboard a move would come too late.
    const bool replaced = command != nullptr && command->new_position;
    if (replaced || (!UciMode && IsFirstWord("result", command_line))) Abandon();
    else if (GivesWay()) StopAndHold();
    else Hold();
}

void HandleLine() {
    const bool analysis = running_search.purpose == SearchPurpose::Analysis;
    const char* argument = SkipSpaces(command_line);
    argument += std::strcspn(argument, " ");
    const int number = int(ParseNumber(argument, 0, InfiniteTime));
    const bool has_number = *SkipSpaces(argument) != '\0';

    switch (ClassifySearchInput(command_line)) {
        case SearchInput::Stop: StopSearch(); break;
        case SearchInput::Status: PrintSearchStatus(); break;
        case SearchInput::Undo:
        case SearchInput::Exit:
            if (!analysis) {
                OtherLine();
                break;
            }
            (ClassifySearchInput(command_line) == SearchInput::Undo ? take_back_request : leave_analysis_request) =
                true;
            StopSearch();
            break;
        case SearchInput::New: Abandon(); break;
        case SearchInput::Post:
        case SearchInput::NoPost:
            PostMode = ClassifySearchInput(command_line) == SearchInput::Post;
            StopSearch();
            break;
        case SearchInput::Quit:
            exit_hook(0);
            StopSearch();  // only where the hook comes back, in tests
            break;
        case SearchInput::Force:
            ForceMode = 1;
            running_search.abandoned = true;
            StopSearch();
            break;
        case SearchInput::Hard:
            if (Pondering) PonderSwitch = 1;
            StopSearch();
            break;
        case SearchInput::Easy:
            PonderSwitch = 0;
            StopSearch();
            break;
        case SearchInput::Time:
            if (!has_number) break;
            search_limits.OwnTime = number;
            if (!PonderingNow) StopSearch();
            break;
        case SearchInput::OppTime:
            if (has_number) search_limits.OppTime = number;
            break;
        case SearchInput::PonderHit: PonderHit(); break;
        case SearchInput::IsReady: PrintLine("readyok"); break;
        case SearchInput::Move: OpponentMove(); break;
        case SearchInput::Other: OtherLine(); break;
    }
}

// At the end of input nobody is left to end an open search, or even to read the answer of any.
bool NobodyLeft() { return input_ended && (EndsOnlyByInput() || OutputReaderGone()); }

int InputForSearch() { return UnseenLineHeld() || input_available() || NobodyLeft(); }

void HandleInput() {
    const Signal signal = TakeSignal();
    if (signal == Signal::Terminate) exit_hook(0);
    if (signal != Signal::None) {
        if (running_search.purpose == SearchPurpose::Analysis) leave_analysis_request = true;
        StopSearch();
        return;
    }
    // The line loop blocks, a search must not: one read, and half a line waits for the next.
    if (!RoomToHold()) {
        StopSearch();
        return;
    }
    if (!UnseenLineHeld() && !LineBuffered() && !input_ended && InputReady()) read_input();
    if (NobodyLeft()) StopSearch();
    if (!UnseenLineHeld() && !LineBuffered()) return;
    if (running_search.purpose == SearchPurpose::Hint) {
        StopSearch();  // nobody waits for a hint
        return;
    }
    if (CutLineForSearch()) HandleLine();
    // Lines come in groups (clocks, then the move): the next one need not wait its turn.
    if ((UnseenLineHeld() || LineBuffered()) && !stop_flag) poll_countdown = 0;
}

}  // namespace

SearchInput ClassifySearchInput(const char* line) {
    line = SkipSpaces(line);
    if (*line == '?') return SearchInput::Stop;
    if (*line == '.') return SearchInput::Status;
    for (const Keyword& keyword : keywords)
        if (KeywordMatches(keyword.text, line)) return keyword.meaning;
    return LooksLikeMove(line) ? SearchInput::Move : SearchInput::Other;
}

void PrintSearchStatus() {
    const bool known = root_move_index >= 0 && root_move_index < root_move_count;
    const int elapsed = search_start == 0 ? 0 : int(NowCentiseconds() - search_start);
    Print("stat01: %d %" PRId64 " %d %d %d %s\n", elapsed, nodes_searched, iteration_depth,
          known ? root_move_count - root_move_index - 1 : 0, root_move_count,
          MoveText(known ? current_root_move : 0).c_str());
    Flush();
}

void InstallSearchInput() {
    search_host.input_available = InputForSearch;
    search_host.handle_input = HandleInput;
}
