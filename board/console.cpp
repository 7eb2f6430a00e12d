// console.cpp - the output buffer and its way to the operating system.
//
// The buffer is larger than any single reply (the longest repeats an input line of 64 KB),
// so a front end normally sees a reply in one write.
//
// State: the buffer, the "nobody reads" mark, the hooks.
#include "board/console.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#ifdef _WIN32
#include <io.h>
#else
#include <poll.h>
#include <unistd.h>
#endif

namespace {

constexpr size_t BufferSize = 1 << 17;
char buffer[BufferSize];
size_t buffer_used;
bool broken;

#ifndef _WIN32
// A signal has come: is the reader worth waiting for?
bool GivesUp() { return give_up_writing != nullptr && give_up_writing(); }
#endif

// Writes some of the bytes; the number written, or -1 when nobody will ever read them.
long WriteSome(const char* bytes, size_t count) {
#ifdef _WIN32
    return _write(1, bytes, unsigned(count));
#else
    for (;;) {
        const ssize_t written = write(STDOUT_FILENO, bytes, count);
        if (written >= 0) return long(written);
        if (errno == EINTR && GivesUp()) return -1;
        if (errno == EINTR) continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK) return -1;
        // A front end may hand over a pipe that does not block; wait until it takes more.
        pollfd ready = {STDOUT_FILENO, POLLOUT, 0};
        if (poll(&ready, 1, -1) < 0 && (errno != EINTR || GivesUp())) return -1;
        if (ready.revents & (POLLERR | POLLNVAL)) return -1;
    }
#endif
}

void DefaultExit(int exit_code) {
    Flush();
    std::_Exit(exit_code);
}

}  // namespace

void (*exit_hook)(int exit_code) = DefaultExit;
bool (*give_up_writing)() = nullptr;

void Print(const char* format, ...) {
    // Second round: after a flush the whole buffer is free. What is longer still is cut.
    for (int round = 0; round < 2; ++round) {
        const size_t room = BufferSize - buffer_used;
        va_list arguments;
        va_start(arguments, format);
        const int length = std::vsnprintf(buffer + buffer_used, room, format, arguments);
        va_end(arguments);
        if (length < 0) return;
        if (size_t(length) < room) {
            buffer_used += size_t(length);
            return;
        }
        if (round == 1) buffer_used = BufferSize - 1;
        Flush();
    }
}

void PrintLine(const char* text) {
    Print("%s\n", text);
    Flush();
}

void Flush() {
    size_t done = 0;
    while (done < buffer_used && !broken) {
        const long written = WriteSome(buffer + done, buffer_used - done);
        if (written < 0) broken = true;
        else done += size_t(written);
    }
    buffer_used = 0;
}

bool OutputShowsSymbols() {
#ifdef _WIN32
    return false;
#else
    const auto variable = [](const char* name) -> std::string_view {
        const char* const value = std::getenv(name);
        return value != nullptr ? value : "";
    };
    const std::string_view terminal = variable("TERM");
    if (!isatty(STDOUT_FILENO) || terminal.empty() || terminal == "dumb" || terminal == "linux") return false;
    std::string_view locale = variable("LC_ALL");
    if (locale.empty()) locale = variable("LC_CTYPE");
    if (locale.empty()) locale = variable("LANG");
    // Language_COUNTRY.codeset@modifier; the codeset is written in more than one way.
    const size_t dot = std::min(locale.find('.'), locale.size());
    std::string codeset;
    for (const char c : locale.substr(dot, locale.find('@') - dot))
        if (c != '-') codeset += char(std::tolower(static_cast<unsigned char>(c)));
    return codeset == ".utf8";
#endif
}

bool OutputBroken() { return broken; }
