// input.cpp - see input.h.
//
// Bytes land in a read area, are appended to the input buffer and leave it as lines. A line
// longer than the input buffer moves piece by piece into a long-line area; one longer than
// that too is dropped whole, since half a command may say something else than the whole.
//
// State: the buffers below, all empty at program start.
#include "driver/input.h"

#include <algorithm>
#include <cstring>

#include "board/console.h"
#include "driver/input_platform.h"

constinit char command_line[CommandLineSize] = {};
constinit int command_line_returns = 0;
constinit bool input_ended = false;

namespace {

constexpr int InputBufferSize = 4608;
constexpr int ReadAreaSize = 4096;
constexpr int HeldSize = 4 * CommandLineSize;

char input_buffer[InputBufferSize];
int input_length;

char long_line[CommandLineSize];  // the beginning of a line that outgrew the input buffer
int long_length;
bool long_overflow;

char held[HeldSize];  // lines, each ended by a newline
int held_length;
int held_seen;  // bytes of lines that need not be looked at: the running search has, or none runs

int end_pause_ms;  // length of the last rest at the end of input

const char* FindNewline() { return static_cast<const char*>(std::memchr(input_buffer, '\n', size_t(input_length))); }

void AppendToLongLine(const char* bytes, int count) {
    if (long_length + count >= CommandLineSize) {
        long_overflow = true;
        long_length = 0;
    }
    if (long_overflow) return;
    std::memcpy(long_line + long_length, bytes, size_t(count));
    long_length += count;
}

void RemoveFromInput(int count) {
    input_length -= count;
    std::memmove(input_buffer, input_buffer + count, size_t(input_length));
}

// Ends command_line at `length` and makes everything that separates words a space.
void FinishCommandLine(int length) {
    command_line[length] = '\0';
    command_line_returns = 0;
    while (command_line_returns < length && command_line[length - 1 - command_line_returns] == '\r')
        ++command_line_returns;
    for (int i = 0; i < length; ++i)
        if (command_line[i] == '\r' || command_line[i] == '\t' || command_line[i] == '\0') command_line[i] = ' ';
}

void ActOnSignal() {
    // At the prompt an interrupt ends the program; a running search takes it first.
    if (TakeSignal() != Signal::None) exit_hook(0);
}

// Takes the held line that begins at this place.
bool TakeHeldLine(int place) {
    char* const start = held + place;
    const char* end = static_cast<const char*>(std::memchr(start, '\n', size_t(held_length - place)));
    if (end == nullptr) return false;
    const int length = int(end - start);
    std::memcpy(command_line, start, size_t(length));
    held_length -= length + 1;
    std::memmove(start, end + 1, size_t(held_length - place));
    if (place < held_seen) held_seen -= length + 1;
    FinishCommandLine(length);
    return true;
}

}  // namespace

int input_available() {
    if (FindNewline() != nullptr) return 1;
    if (SignalWaits()) return 1;
    // The end of input would be reported for ever.
    if (input_ended) return 0;
    return InputReady();
}

bool read_input() {
    // No newline in a full buffer: the line goes on elsewhere.
    if (input_length == InputBufferSize && FindNewline() == nullptr) {
        AppendToLongLine(input_buffer, input_length);
        input_length = 0;
    }
    static char read_area[ReadAreaSize];
    const int room = std::min(ReadAreaSize, InputBufferSize - input_length);
    if (room == 0) return true;
    int count;
    while ((count = ReadInput(read_area, room)) < 0) ActOnSignal();
    input_ended = count == 0;
    if (input_ended) return false;
    end_pause_ms = 0;
    std::memcpy(input_buffer + input_length, read_area, size_t(count));
    input_length += count;
    return true;
}

bool LineBuffered() { return FindNewline() != nullptr; }

bool FirstLineBegins(const char* text) {
    if (!LineBuffered() && input_available()) read_input();
    const size_t length = std::strlen(text);
    return size_t(input_length) >= length && std::memcmp(input_buffer, text, length) == 0;
}

bool CutLine() {
    const char* end = FindNewline();
    if (end == nullptr) return false;
    const int length = int(end - input_buffer);
    AppendToLongLine(input_buffer, length);
    std::memcpy(command_line, long_line, size_t(long_length));
    FinishCommandLine(long_length);
    RemoveFromInput(length + 1);
    long_length = 0;
    long_overflow = false;
    return true;
}

bool RoomToHold() { return HeldSize - held_length > CommandLineSize; }
bool LinesHeld() { return held_length > 0; }

bool HoldCommandLine() {
    const int length = int(std::strlen(command_line));
    if (held_length + length + 1 > HeldSize) return false;
    char* const start = held + held_seen;
    std::memmove(start + length + 1, start, size_t(held_length - held_seen));
    std::memcpy(start, command_line, size_t(length));
    // Kept as they came, so that the line is the same when it is taken again.
    std::memset(start + length - command_line_returns, '\r', size_t(command_line_returns));
    start[length] = '\n';
    held_seen += length + 1;
    held_length += length + 1;
    return true;
}

void BeginSearchInput() { held_seen = 0; }
void EndSearchInput() { held_seen = held_length; }
bool UnseenLineHeld() { return held_seen < held_length; }
bool CutLineForSearch() { return UnseenLineHeld() ? TakeHeldLine(held_seen) : CutLine(); }

bool NextLine() { return TakeHeldLine(0) || CutLine(); }

bool WaitForLine() {
    while (!NextLine()) {
        if (read_input()) continue;
        RestAtEndOfInput();
        return false;
    }
    return true;
}

void RestAtEndOfInput() {
    Flush();
    if (OutputReaderGone()) exit_hook(0);
    end_pause_ms = std::clamp(2 * end_pause_ms, 10, 200);
    Pause(end_pause_ms);
}
