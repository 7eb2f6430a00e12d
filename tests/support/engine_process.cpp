// engine_process.cpp - see engine_process.h.
#include "tests/support/engine_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "tests/support/processor_time.h"

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point In(int milliseconds) { return Clock::now() + std::chrono::milliseconds(milliseconds); }

int MillisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return int(std::clamp<long long>(left, 0, 1000000));
}

// Two ends each for what the program reads and writes: {its own, ours}.
struct Ends {
    int input[2] = {-1, -1}, output[2] = {-1, -1};
};

bool OpenTerminal(Ends* ends) {
    const int ours = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (ours < 0 || grantpt(ours) != 0 || unlockpt(ours) != 0) return false;
    const int program = open(ptsname(ours), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings;
    if (program < 0 || tcgetattr(program, &settings) != 0) return false;
    settings.c_lflag &= tcflag_t(~ECHO);
    settings.c_oflag &= tcflag_t(~OPOST);
    if (tcsetattr(program, TCSANOW, &settings) != 0) return false;
    *ends = {{program, ours}, {fcntl(program, F_DUPFD_CLOEXEC, 0), fcntl(ours, F_DUPFD_CLOEXEC, 0)}};
    return true;
}

bool Open(EngineProcess::Channel channel, Ends* ends) {
    switch (channel) {
        case EngineProcess::Channel::Pipes:
            if (pipe2(ends->input, O_CLOEXEC) != 0 || pipe2(ends->output, O_CLOEXEC) != 0) return false;
            std::swap(ends->output[0], ends->output[1]);
            return true;
        case EngineProcess::Channel::Sockets:
            return socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends->input) == 0
                && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends->output) == 0;
        case EngineProcess::Channel::Terminal: return OpenTerminal(ends);
    }
    return false;
}

}  // namespace

std::string ContentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

std::string EngineBinary() {
    const char* path = std::getenv("CORVANTIS_BINARY");
    return path != nullptr ? path : CORVANTIS_BINARY;
}

EngineProcess::EngineProcess(const std::vector<File>& files, size_t address_space, Channel channel) {
    signal(SIGPIPE, SIG_IGN);
    std::string pattern = (std::filesystem::temp_directory_path() / "corvantis-test-XXXXXX").string();
    Ends ends;
    if (mkdtemp(pattern.data()) == nullptr || !Open(channel, &ends)) {
        ADD_FAILURE() << "no temporary directory or no way to talk to the program";
        return;
    }
    directory_ = pattern;
    for (const File& file : files) std::ofstream(directory_ + "/" + file.name, std::ios::binary) << file.contents;
    const std::string binary = EngineBinary();
    windows_ = binary.ends_with(".exe");
    pid_ = fork();
    if (pid_ == 0) {
        dup2(ends.input[0], STDIN_FILENO);
        dup2(ends.output[0], STDOUT_FILENO);
        if (channel == Channel::Terminal && (setsid() < 0 || ioctl(STDIN_FILENO, TIOCSCTTY, 0) != 0)) _exit(126);
        signal(SIGPIPE, SIG_DFL);
        const rlimit limit = {address_space, address_space};
        if (address_space != 0 && setrlimit(RLIMIT_AS, &limit) != 0) _exit(126);
        if (chdir(directory_.c_str()) != 0) _exit(127);
        if (windows_) execlp("wine", "wine", binary.c_str(), static_cast<char*>(nullptr));
        else execl(binary.c_str(), binary.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends.input[0]);
    close(ends.output[0]);
    to_engine_ = ends.input[1];
    from_engine_ = ends.output[1];
}

EngineProcess::~EngineProcess() {
    // Ended in order, the program reports leaks to the sanitizer and its lines to the coverage.
    if (Running()) {
        if (windows_) Send("quit");
        else kill(pid_, SIGTERM);
        const int status = WaitForExit(5000);
        EXPECT_TRUE(status == 0 || failed_) << "asked to end, it ended with " << status << "; the dialogue was\n"
                                            << Transcript();
        if (status == NotEnded) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    if (to_engine_ >= 0) close(to_engine_);
    if (from_engine_ >= 0) close(from_engine_);
    std::error_code ignored;
    if (!directory_.empty()) std::filesystem::remove_all(directory_, ignored);
}

void EngineProcess::Send(const std::string& line) { SendRaw(line + "\n"); }

bool EngineProcess::SendRaw(const std::string& bytes) {
    std::istringstream lines(bytes);
    for (std::string line; std::getline(lines, line);) dialogue_.push_back("> " + line.substr(0, 200));
    size_t done = 0;
    const auto deadline = In(DefaultTimeout);
    while (done < bytes.size() && to_engine_ >= 0) {
        // A pipe that is full for long means that the program no longer reads.
        pollfd ready = {to_engine_, POLLOUT, 0};
        if (poll(&ready, 1, MillisecondsUntil(deadline)) <= 0) return false;
        const size_t piece = std::min<size_t>(bytes.size() - done, PIPE_BUF);
        const ssize_t written = write(to_engine_, bytes.data() + done, piece);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        done += size_t(written);
    }
    return done == bytes.size();
}

void EngineProcess::CloseInput() {
    dialogue_.push_back("> (end of input)");
    if (to_engine_ >= 0) close(to_engine_);
    to_engine_ = -1;
}

void EngineProcess::CloseOutput() {
    if (from_engine_ >= 0) close(from_engine_);
    from_engine_ = -1;
}

void EngineProcess::Signal(int number) {
    dialogue_.push_back("> (signal " + std::to_string(number) + ")");
    if (pid_ > 0 && !reaped_) kill(pid_, number);
}

void EngineProcess::LimitMemoryTo(size_t more_bytes) {
    std::ifstream file("/proc/" + std::to_string(pid_) + "/statm");
    size_t pages = 0;
    file >> pages;
    const size_t bytes = pages * size_t(sysconf(_SC_PAGESIZE)) + more_bytes;
    const rlimit limit = {bytes, bytes};
    if (pages == 0 || prlimit(pid_, RLIMIT_AS, &limit, nullptr) != 0) ADD_FAILURE() << "memory cannot be limited";
}

void EngineProcess::LimitFilesTo(size_t bytes) {
    const rlimit limit = {bytes, bytes};
    if (prlimit(pid_, RLIMIT_FSIZE, &limit, nullptr) != 0) ADD_FAILURE() << "files cannot be limited";
}

bool EngineProcess::Fill(Clock::time_point deadline) {
    if (from_engine_ < 0) return false;
    pollfd ready = {from_engine_, POLLIN, 0};
    const int result = poll(&ready, 1, MillisecondsUntil(deadline));
    if (result < 0 && errno == EINTR) return true;
    if (result <= 0) return false;
    char bytes[65536];
    const ssize_t count = read(from_engine_, bytes, sizeof bytes);
    if (count < 0 && errno == EINTR) return true;
    if (count <= 0) {
        close(from_engine_);
        from_engine_ = -1;
        return false;
    }
    pending_.append(bytes, size_t(count));
    return true;
}

bool EngineProcess::ReadLine(std::string* line, int timeout_ms) {
    const auto deadline = In(timeout_ms);
    size_t end;
    while ((end = pending_.find('\n')) == std::string::npos)
        if (!Fill(deadline)) return false;
    *line = pending_.substr(0, end);
    if (windows_ && line->ends_with('\r')) line->pop_back();
    pending_.erase(0, end + 1);
    dialogue_.push_back("< " + *line);
    return true;
}

std::string EngineProcess::WaitFor(const Predicate& accept, const char* what, int timeout_ms) {
    const auto deadline = In(failed_ ? 0 : timeout_ms);
    std::string line;
    while (ReadLine(&line, MillisecondsUntil(deadline)))
        if (accept(line)) return line;
    if (!failed_) ADD_FAILURE() << "no line came that is " << what << "; the dialogue was\n" << Transcript();
    failed_ = true;
    return "";
}

std::string EngineProcess::WaitForMatch(const std::string& pattern, int timeout_ms) {
    const std::regex expression(pattern);
    return WaitFor([&](const std::string& line) { return std::regex_match(line, expression); },
                   ("like " + pattern).c_str(), timeout_ms);
}

std::vector<std::string> EngineProcess::Collect(int milliseconds) {
    const auto deadline = In(milliseconds);
    std::vector<std::string> lines;
    std::string line;
    while (ReadLine(&line, MillisecondsUntil(deadline))) lines.push_back(line);
    return lines;
}

std::vector<std::string> EngineProcess::Sync(int timeout_ms) {
    Send("isready");
    std::vector<std::string> lines;
    WaitFor(
        [&](const std::string& line) {
            lines.push_back(line);
            return line == "readyok";
        },
        "\"readyok\"", timeout_ms);
    if (!lines.empty()) lines.pop_back();
    return lines;
}

std::vector<std::string> EngineProcess::ReadToEnd(int timeout_ms) {
    const auto deadline = In(timeout_ms);
    while (Fill(deadline)) {}
    if (!pending_.empty() && pending_.back() != '\n') pending_ += '\n';
    return Collect(0);
}

int EngineProcess::WaitForExit(int timeout_ms, Output output) {
    const auto deadline = In(timeout_ms);
    while (!reaped_ && pid_ > 0) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            reaped_ = true;
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
            break;
        }
        if (MillisecondsUntil(deadline) == 0) return NotEnded;
        // Keep its output flowing: a program blocked on a full pipe would never end.
        if (from_engine_ >= 0 && output == Taken) Fill(In(5));
        else std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return status_;
}

bool EngineProcess::Running() { return pid_ > 0 && WaitForExit(0) == NotEnded; }

void EngineProcess::WaitUntilBusy(double milliseconds) {
    const double enough = CpuMilliseconds() + milliseconds;
    for (const auto deadline = In(10000); CpuMilliseconds() < enough && MillisecondsUntil(deadline) > 0;)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_GE(CpuMilliseconds(), enough) << Transcript();
}

double EngineProcess::CpuMilliseconds() const {
    clockid_t clock;
    timespec used = {};
    if (clock_getcpuclockid(pid_, &clock) == 0) clock_gettime(clock, &used);
    return double(used.tv_sec) * 1e3 + double(used.tv_nsec) / 1e6;
}

double EngineProcess::WithheldMilliseconds() const { return ::WithheldMilliseconds(pid_); }

std::string EngineProcess::ReadFile(const std::string& name) const {
    std::string text = ContentsOf(directory_ + "/" + name);
    if (windows_) std::erase(text, '\r');
    return text;
}

std::string EngineProcess::Transcript() const {
    std::string text;
    // The last lines tell the story; a long search prints thousands.
    const size_t shown = 120;
    for (size_t i = dialogue_.size() > shown ? dialogue_.size() - shown : 0; i < dialogue_.size(); ++i)
        text += dialogue_[i] + "\n";
    siginfo_t end = {};
    if (!reaped_ && pid_ > 0 && waitid(P_PID, id_t(pid_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid != 0)
        text += "(ended by then, " + std::string(end.si_code == CLD_EXITED ? "status " : "signal ")
            + std::to_string(end.si_status) + ")\n";
    return text;
}
