// interruption.cpp - see interruption.h.
#include "driver/interruption.h"

#include "driver/input.h"
#include "driver/input_platform.h"
#include "driver/words.h"

namespace {

// Whole words: a search gives way to abbreviations, but here a slip would cost hours.
bool EndsCommand(const char* line) {
    return IsFirstWord("stop", line) || IsFirstWord("exit", line) || IsFirstWord("?", line);
}

bool IsQuit(const char* line) { return KeywordMatches("q", line); }

}  // namespace

void HoldWaitingInput() {
    while (RoomToHold() && input_available()) {
        if (!LineBuffered() && (!read_input() || !LineBuffered())) return;
        if (CutLine()) HoldCommandLine();
    }
}

bool Interrupted() {
    if (SignalWaits()) {
        // An interrupt has ended the command and no more; a termination stays, and ends the program at the prompt.
        TakeSignal();
        return true;
    }
    // Nobody is left to stop it, nor to read what it prints.
    if (input_ended && OutputReaderGone()) return true;
    while (input_available()) {
        // What comes next could be a "stop" and would never be read.
        if (!RoomToHold()) return true;
        if (!LineBuffered() && !read_input()) return false;
        if (!CutLine()) return false;  // half a line
        if (EndsCommand(command_line)) return true;
        HoldCommandLine();
        if (IsQuit(command_line)) return true;
    }
    return false;
}
