// input_posix.cpp - standard input and signals by poll().
//
// A signal handler only writes a byte into a pipe of our own that every wait watches too;
// a flag alone could be set between its test and the blocking read, and be missed.
//
// State: the pipe and the last signal. Set up by InitialisePlatform().
#include "driver/input_platform.h"

#ifndef _WIN32

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "board/console.h"

namespace {

int wake_pipe[2] = {-1, -1};
volatile std::sig_atomic_t interrupted, terminated;

bool Terminated() { return terminated != 0; }

void HandleSignal(int number) {
    const int saved = errno;
    if (number == SIGINT) {
        interrupted = 1;
    } else {
        terminated = 1;
        alarm(1);  // should the program be on its way into a write that nobody takes
    }
    const char byte = 0;
    // A full pipe wakes as well as one more byte would.
    if (write(wake_pipe[1], &byte, 1) < 0) errno = saved;
    errno = saved;
}

void Install(int number, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

// Waits for standard input or a signal. True when standard input is ready.
bool Wait(bool watch_input, int milliseconds) {
    pollfd watched[2] = {{wake_pipe[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    if (poll(watched, watch_input ? 2 : 1, milliseconds) <= 0) return false;
    if (watched[0].revents & POLLIN) {
        char bytes[64];
        while (read(wake_pipe[0], bytes, sizeof bytes) > 0) {}
    }
    return watch_input && watched[1].revents != 0;
}

}  // namespace

void InitialisePlatform() {
    // Started with its input or output closed, the program would take files of its own for them.
    for (int missing = 0; missing <= STDERR_FILENO; ++missing)
        if (fcntl(missing, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) break;
    if (pipe(wake_pipe) == 0) {
        for (const int end : wake_pipe) {
            fcntl(end, F_SETFL, O_NONBLOCK);
            fcntl(end, F_SETFD, FD_CLOEXEC);
        }
    }
    Install(SIGPIPE, SIG_IGN);
    Install(SIGXFSZ, SIG_IGN);  // a file at its limit is a disk that is full
    give_up_writing = Terminated;
    Install(SIGINT, isatty(STDIN_FILENO) ? HandleSignal : SIG_IGN);
    Install(SIGTERM, HandleSignal);
    Install(SIGALRM, HandleSignal);
    Install(SIGHUP, HandleSignal);
}

Signal TakeSignal() {
    if (terminated) return Signal::Terminate;
    if (!interrupted) return Signal::None;
    interrupted = 0;
    return Signal::Interrupt;
}

bool SignalWaits() { return terminated || interrupted; }

int InputReady() {
    pollfd ready = {STDIN_FILENO, POLLIN, 0};
    return poll(&ready, 1, 0) > 0 ? 1 : 0;
}

int ReadInput(char* bytes, int size) {
    for (;;) {
        if (SignalWaits()) return -1;
        if (!Wait(true, -1)) continue;
        const ssize_t count = read(STDIN_FILENO, bytes, size_t(size));
        if (count >= 0) return int(count);
        if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) return 0;
    }
}

void Pause(int milliseconds) {
    if (!SignalWaits()) Wait(false, milliseconds);
}

bool OutputReaderGone() {
    if (OutputBroken()) return true;
    pollfd output = {STDOUT_FILENO, 0, 0};
    // A pipe without a reader is an error; a socket without one has been hung up.
    return poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
}

#endif
