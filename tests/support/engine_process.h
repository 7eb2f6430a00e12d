// engine_process.h - the real program at the other end of two pipes, or of what else front ends use.
//
// Each instance runs in a fresh empty directory, so no book, configuration or learned data is
// found unless the test puts it there. Every wait has a deadline; when one passes, the test
// fails with the dialogue so far, and later waits return at once.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

class EngineProcess {
public:
    using Predicate = std::function<bool(const std::string& line)>;

    // Files are written into the directory before the program starts: {name, contents}.
    struct File {
        std::string name, contents;
    };
    // The terminal echoes nothing and changes no byte, but makes a signal of Ctrl-C.
    enum class Channel { Pipes, Sockets, Terminal };
    // With `address_space` the program gets no more memory than that, in bytes.
    explicit EngineProcess(const std::vector<File>& files = {}, size_t address_space = 0,
                           Channel channel = Channel::Pipes);
    // Ends the program when it still runs, which it must obey in order, and removes the directory.
    ~EngineProcess();
    EngineProcess(const EngineProcess&) = delete;
    EngineProcess& operator=(const EngineProcess&) = delete;

    // Writes the line and a newline as one write.
    void Send(const std::string& line);
    // Writes the bytes as they are. False when the program has gone away.
    bool SendRaw(const std::string& bytes);
    void CloseInput();
    // Closes our end of the program's output: its next write finds nobody reading.
    void CloseOutput();
    void Signal(int number);
    // From now on the program gets no more memory than what it has and this.
    void LimitMemoryTo(size_t more_bytes);
    // From now on no file may grow beyond this.
    void LimitFilesTo(size_t bytes);

    // The next line of output, without its end. False at the deadline or the end of output,
    // without failing the test.
    bool ReadLine(std::string* line, int timeout_ms);
    // Reads up to the first line that the predicate accepts and returns it. Fails the test
    // when the time runs out; the result is then empty.
    std::string WaitFor(const Predicate& accept, const char* what, int timeout_ms = DefaultTimeout);
    // The same for a line that the regular expression (ECMAScript) matches as a whole.
    std::string WaitForMatch(const std::string& pattern, int timeout_ms = DefaultTimeout);
    // Reads for that long and returns what came.
    std::vector<std::string> Collect(int milliseconds);
    // Sends "isready" and returns the lines before its answer, which is how a test knows that
    // everything sent earlier has been dealt with.
    std::vector<std::string> Sync(int timeout_ms = DefaultTimeout);
    // The start-up text, ended by the answer to "isready".
    std::vector<std::string> Start() { return Sync(); }
    // Everything up to the end of output; for programs that are about to end.
    std::vector<std::string> ReadToEnd(int timeout_ms = DefaultTimeout);

    // Waits for the end: the exit code, -signal when a signal ended it, or NotEnded. What it prints
    // meanwhile is taken, or left in the pipe.
    enum Output { Taken, Unread };
    int WaitForExit(int timeout_ms = DefaultTimeout, Output output = Taken);
    static constexpr int NotEnded = -1000;
    bool Running();

    // Waits until it has used that much more of the processor: at work, and not waiting for a line.
    // Fails the test when it has not within ten seconds.
    void WaitUntilBusy(double milliseconds = 50);
    // User and system time used so far, in milliseconds.
    double CpuMilliseconds() const;
    // How long it has waited for a processor that others had, in milliseconds; 0 where that is not told.
    double WithheldMilliseconds() const;

    const std::string& Directory() const { return directory_; }
    // Contents of a file in the directory; empty when there is none.
    std::string ReadFile(const std::string& name) const;
    // Every line sent ("> ") and received ("< ") so far, and the same as one text for messages.
    const std::vector<std::string>& Dialogue() const { return dialogue_; }
    std::string Transcript() const;

    static constexpr int DefaultTimeout = 30000;

private:
    // Reads what is there, waiting at most until the deadline. False when nothing came.
    bool Fill(std::chrono::steady_clock::time_point deadline);

    pid_t pid_ = -1;
    int to_engine_ = -1, from_engine_ = -1;
    bool reaped_ = false, failed_ = false, windows_ = false;
    int status_ = NotEnded;
    std::string pending_, directory_;
    std::vector<std::string> dialogue_;
};

// A file as it is; empty when there is none.
std::string ContentsOf(const std::string& path);
// Path of the program under test: CORVANTIS_BINARY of the environment, or the built one. A program for
// Windows (".exe") is started by wine.
std::string EngineBinary();
