// fuzz_commands.cpp - any bytes as input of the program: lines of both protocols and of the console,
// at the prompt and during searches. Afterwards a playable board is whole.
//
// Searches are short: a few nodes, then a look at the input now and then, up to the second that finds
// none. Lines that leave the program, that search, count or compute for long or that ask for large
// tables are left out.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include "board/console.h"
#include "board/position.h"
#include "board/settings.h"
#include "book/book.h"
#include "driver/commands.h"
#include "driver/engine_turn.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/search_input.h"
#include "driver/startup.h"
#include "driver/words.h"
#include "search/host.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"
#include "tests/fuzz/fuzz.h"

namespace {

constexpr int MostNodes = 25;  // of a search without a limit of its own

int looks, vain_looks;  // at the input since the last line
int (*look_for_input)();

int LimitedLook() {
    constexpr int MostLooks = 12, MostVainLooks = 2, NodesToNextLook = 12;
    const int waits = look_for_input();
    if (!waits) ++vain_looks;
    if (++looks > MostLooks || vain_looks >= MostVainLooks) stop_flag = true;
    poll_countdown = std::min(poll_countdown, NodesToNextLook);
    return waits;
}

bool Contains(std::string_view line, const char* word) { return line.find(word) != std::string_view::npos; }

// Would the line end the program or take seconds?
bool LeftOut(std::string_view line) {
    std::string lower(line);
    for (char& c : lower) c = c == '\0' || c == '\t' || c == '\r' ? ' ' : char(std::tolower(uint8_t(c)));
    const Command* const command = FindCommand(lower.c_str());
    if (command != nullptr && command->keyword != nullptr)
        for (const char* keyword : {"q", "reload", "perft", "demo", "selftest", "tunenew"})
            if (std::strcmp(command->keyword, keyword) == 0) return true;
    if (Contains(lower, "quit")) return true;
    if (Contains(lower, "hash") || Contains(lower, "cache")) {
        int digits = 0;
        for (const char c : lower) digits += std::isdigit(uint8_t(c)) != 0;
        return digits > 1;
    }
    return Contains(lower, "path") && Contains(lower, "/");
}

// "go" with parameters forgets the limit that stands at the prompt; "go" alone searches without end.
bool NeedsNodeLimit(std::string_view line) {
    return line.starts_with("go ") && !Contains(line, "nodes") && line.find('\r') == std::string_view::npos;
}

std::string Script(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string node_limit = " nodes " + std::to_string(MostNodes) + "\n";
    std::string script;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        const std::string_view line = text.substr(at, end - at);
        if (!LeftOut(line)) script.append(line).append(NeedsNodeLimit(line) ? node_limit : "\n");
        at = end + 1;
    }
    // What may still wait for an answer gets one.
    return script + ".\nstop\n";
}

// Standard input from now on.
void ReplaceInput(const std::string& bytes) {
    const int input = memfd_create("input", 0);
    Require(input >= 0 && write(input, bytes.data(), bytes.size()) == ssize_t(bytes.size()), "no input can be made");
    Require(lseek(input, 0, SEEK_SET) == 0 && dup2(input, STDIN_FILENO) == STDIN_FILENO, "no input can be made");
    close(input);
}

bool PrepareCommands() {
    InstallSearchInput();
    look_for_input = search_host.input_available;
    search_host.input_available = LimitedLook;
    return AllocateWords();
}

void StartAfresh() {
    SetDefaults();
    ResetLimits();
    UciMode = DebugMode = 0;
    MultiPV = 1;
    PostMode = 1;
    search_limits.OwnTime = NoClock;
    AnalysisMode = 0;
    close_book();
    StartNewGame();
    ForceMode = 0;
    EngineSide = BLACK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = PrepareCommands();
    Require(ready, "out of memory");
    StartAfresh();
    ReplaceInput(Script(data, size));
    for (;;) {
        looks = vain_looks = 0;
        search_limits.MaxNodes = MostNodes;
        if (NextLine()) execute_line();
        else if (!read_input()) break;
    }
    SettleBoard();
    Flush();
    if (IsPlayable()) RequireWholePosition();
    return 0;
}
