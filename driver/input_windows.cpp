// input_windows.cpp - standard input by the console and pipe functions of Windows.
//
// A console cannot be polled like a pipe: its events are counted, and a single one is not
// yet a command. Whether standard input is a console is found out once and kept.
//
// Some streams pass for pipes and cannot be asked what waits in them (a socket; a Unix pipe, for a
// program that runs there). A thread reads those, one piece ahead.
//
// State: the handle and its kind, the piece read ahead, the last signal.
#include "driver/input_platform.h"

#ifdef _WIN32

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <io.h>
#include <windows.h>

#include "board/console.h"

namespace {

bool handle_known, is_pipe;
HANDLE input_handle;
volatile LONG interrupted, terminated;

// The thread fills the piece while `filled` is not set, and the program empties it while it is. A piece
// that is empty stands for the end of input.
char piece[4096];
DWORD piece_length, piece_taken;
HANDLE filled, emptied;  // events; null without a thread

BOOL WINAPI HandleControl(DWORD event) {
    if (event == CTRL_C_EVENT) InterlockedExchange(&interrupted, 1);
    else InterlockedExchange(&terminated, 1);
    return TRUE;
}

DWORD WINAPI ReadAhead(void*) {
    do {
        piece_taken = 0;
        if (!ReadFile(input_handle, piece, sizeof piece, &piece_length, nullptr)) piece_length = 0;
        SetEvent(filled);
        WaitForSingleObject(emptied, INFINITE);
    } while (piece_length > 0);
    return 0;
}

// When memory is short there is no thread: the program then waits for input itself.
void StartReadingAhead() {
    filled = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    emptied = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    const bool events = filled != nullptr && emptied != nullptr;
    const HANDLE thread = events ? CreateThread(nullptr, 0, ReadAhead, nullptr, 0, nullptr) : nullptr;
    if (thread != nullptr) {
        CloseHandle(thread);
        return;
    }
    for (HANDLE* event : {&filled, &emptied}) {
        if (*event != nullptr) CloseHandle(*event);
        *event = nullptr;
    }
}

int TakePiece(char* bytes, int size) {
    WaitForSingleObject(filled, INFINITE);
    const DWORD count = std::min(piece_length - piece_taken, DWORD(size));
    std::memcpy(bytes, piece + piece_taken, count);
    piece_taken += count;
    if (piece_taken == piece_length && piece_length > 0) {  // the end of input stays
        ResetEvent(filled);
        SetEvent(emptied);
    }
    return int(count);
}

void FindHandle() {
    if (handle_known) return;
    handle_known = true;
    input_handle = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode;
    is_pipe = !GetConsoleMode(input_handle, &mode);
    if (is_pipe) {
        if (GetFileType(input_handle) == FILE_TYPE_PIPE
            && !PeekNamedPipe(input_handle, nullptr, 0, nullptr, nullptr, nullptr)
            && GetLastError() != ERROR_BROKEN_PIPE)
            StartReadingAhead();
    } else {
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
    if (filled != nullptr) return WaitForSingleObject(filled, 0) == WAIT_OBJECT_0 ? 1 : 0;
    DWORD bytes = 0;
    // The writer has gone away: go on to read, and find the end of input.
    if (!PeekNamedPipe(input_handle, nullptr, 0, nullptr, &bytes, nullptr)) return 1;
    return int(bytes);
}

int ReadInput(char* bytes, int size) {
    FindHandle();
    if (filled != nullptr) return TakePiece(bytes, size);
    for (;;) {
        if (SignalWaits()) return -1;
        const int count = _read(0, bytes, unsigned(size));
        if (count > 0) return count;
        if (count < 0 && errno == EINTR) continue;
        // Ctrl-C leaves nothing in a line, as the end of input does, and is told by another thread,
        // perhaps a little later.
        for (int i = 0; !is_pipe && i < 10 && !SignalWaits(); ++i) Sleep(10);
        if (!SignalWaits()) return 0;
    }
}

void Pause(int milliseconds) { Sleep(DWORD(milliseconds)); }

bool OutputReaderGone() {
    if (OutputBroken()) return true;
    // Only a call below the documented surface tells the state of a pipe without writing to it.
    struct {
        ULONG type, configuration, most_instances, instances, quota_in, waiting, quota_out, room, state, end;
    } pipe = {};
    struct {
        void* status;
        ULONG_PTR information;
    } answer = {};
    using Query = LONG(WINAPI*)(HANDLE, void*, void*, ULONG, int);
    constexpr int PipeLocalInformation = 24;
    constexpr ULONG Connected = 3;
    static const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtQueryInformationFile")));
    return query != nullptr
        && query(GetStdHandle(STD_OUTPUT_HANDLE), &answer, &pipe, sizeof pipe, PipeLocalInformation) >= 0
        && pipe.state != Connected;
}

#endif
