// input_windows.cpp - standard input by the console and pipe functions of Windows.
//
// A console cannot be polled like a pipe: its events are counted, and a single one is not
// yet a command. Whether standard input is a console is found out once and kept.
//
// State: the handle, whether it is a pipe, the last signal.
#include "driver/input_platform.h"

#ifdef _WIN32

#include <cerrno>
#include <csignal>
#include <io.h>
#include <windows.h>

#include "board/console.h"

namespace {

bool handle_known, is_pipe;
HANDLE input_handle;
volatile LONG interrupted, terminated;

BOOL WINAPI HandleControl(DWORD event) {
    if (event == CTRL_C_EVENT) InterlockedExchange(&interrupted, 1);
    else InterlockedExchange(&terminated, 1);
    return TRUE;
}

void FindHandle() {
    if (handle_known) return;
    handle_known = true;
    input_handle = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode;
    is_pipe = !GetConsoleMode(input_handle, &mode);
    if (!is_pipe) {
        // Only key events shall arrive.
        SetConsoleMode(input_handle, mode & ~DWORD(ENABLE_WINDOW_INPUT | ENABLE_MOUSE_INPUT));
        FlushConsoleInputBuffer(input_handle);
    }
}

}  // namespace

void InitialisePlatform() {
    if (_isatty(0)) SetConsoleCtrlHandler(HandleControl, TRUE);
    else SetConsoleCtrlHandler(nullptr, TRUE);
}

Signal TakeSignal() {
    if (terminated) return Signal::Terminate;
    return InterlockedExchange(&interrupted, 0) ? Signal::Interrupt : Signal::None;
}

bool SignalWaits() { return terminated || interrupted; }

int InputReady() {
    FindHandle();
    if (!is_pipe) {
        DWORD events = 0;
        GetNumberOfConsoleInputEvents(input_handle, &events);
        return events > 1 ? int(events) : 0;
    }
    DWORD bytes = 0;
    // The writer has gone away: go on to read, and find the end of input.
    if (!PeekNamedPipe(input_handle, nullptr, 0, nullptr, &bytes, nullptr)) return 1;
    return int(bytes);
}

int ReadInput(char* bytes, int size) {
    for (;;) {
        if (SignalWaits()) return -1;
        const int count = _read(0, bytes, unsigned(size));
        if (count >= 0) return count;
        if (errno != EINTR) return 0;
    }
}

void Pause(int milliseconds) { Sleep(DWORD(milliseconds)); }

bool OutputReaderGone() { return OutputBroken(); }

#endif
