// front_end.cpp - a front end as Windows has them: it talks to the engine through Windows' own pipes.
//
//   front_end PROGRAM
//
// The protocol tests reach a program for Windows by the pipes of another system, which wine passes through
// and in which nobody can peek. Here the engine must answer during a search, and must end when its front end
// has gone without a word. Ends with 1, and says why, when it does not.
#include <cstdio>
#include <string>

#include <windows.h>

namespace {

struct Engine {
    HANDLE process, input, output;  // our ends of its pipes
};

[[noreturn]] void Fail(const char* what) {
    std::printf("%s\n", what);
    std::exit(1);
}

Engine Start(std::string command) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE its_input, its_output;
    Engine engine = {};
    if (!CreatePipe(&its_input, &engine.input, &inherited, 0)
        || !CreatePipe(&engine.output, &its_output, &inherited, 0))
        Fail("no pipe can be made");
    SetHandleInformation(engine.input, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(engine.output, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = its_input;
    start.hStdOutput = start.hStdError = its_output;
    PROCESS_INFORMATION made;
    if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &made))
        Fail("the engine cannot be started");
    CloseHandle(its_input);
    CloseHandle(its_output);
    CloseHandle(made.hThread);
    engine.process = made.hProcess;
    return engine;
}

void Send(const Engine& engine, const std::string& lines) {
    DWORD written;
    if (!WriteFile(engine.input, lines.data(), DWORD(lines.size()), &written, nullptr))
        Fail("the engine does not listen");
}

// Reads up to a line that begins so.
void WaitFor(const Engine& engine, const std::string& beginning) {
    std::string line;
    for (const ULONGLONG deadline = GetTickCount64() + 20000; GetTickCount64() < deadline;) {
        DWORD waiting = 0, count = 0;
        char c;
        if (!PeekNamedPipe(engine.output, nullptr, 0, nullptr, &waiting, nullptr)) break;
        if (waiting == 0) Sleep(1);
        else if (ReadFile(engine.output, &c, 1, &count, nullptr) && c != '\n') line += c;
        else if (line.rfind(beginning, 0) == 0) return;
        else line.clear();
    }
    Fail(("never printed: " + beginning).c_str());
}

void ExpectEnd(const Engine& engine, const char* why) {
    DWORD code = 99;
    if (WaitForSingleObject(engine.process, 10000) != WAIT_OBJECT_0) {
        TerminateProcess(engine.process, 99);
        Fail(why);
    }
    if (!GetExitCodeProcess(engine.process, &code) || code != 0) Fail("its exit code is not 0");
}

}  // namespace

int main(int count, char** words) {
    if (count != 2) Fail("usage: front_end PROGRAM");
    const Engine engine = Start(words[1]);
    Send(engine, "uci\nposition startpos\ngo infinite\n");
    WaitFor(engine, "uciok");
    Sleep(500);
    Send(engine, "isready\r\n");
    WaitFor(engine, "readyok");
    Send(engine, "st");
    Sleep(100);
    Send(engine, "op\r\n");
    WaitFor(engine, "bestmove");
    Send(engine, "quit\n");
    ExpectEnd(engine, "it does not quit");

    for (const char* busy : {"isready\n", "isready\ngo infinite\n", "isready\nanalyze\n", "isready\nperft 12\n"}) {
        const Engine left_alone = Start(words[1]);
        Send(left_alone, busy);
        WaitFor(left_alone, "readyok");
        CloseHandle(left_alone.input);
        CloseHandle(left_alone.output);
        ExpectEnd(left_alone, (std::string("it stays behind when its front end has gone, after ") + busy).c_str());
    }
    return 0;
}
