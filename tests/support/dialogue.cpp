// dialogue.cpp - see dialogue.h.
#include "tests/support/dialogue.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <regex>
#include <sstream>
#include <thread>

namespace {

bool StripPrefix(std::string* line, const std::string& prefix) {
    if (line->rfind(prefix, 0) != 0) return false;
    line->erase(0, prefix.size());
    return true;
}

// The steps without blanks at either end, empty lines and remarks.
std::vector<std::string> Steps(const char* script) {
    std::vector<std::string> steps;
    std::istringstream lines(script);
    for (std::string line; std::getline(lines, line);) {
        const size_t first = line.find_first_not_of(' ');
        if (first == std::string::npos || line[first] == '#') continue;
        steps.push_back(line.substr(first, line.find_last_not_of(' ') - first + 1));
    }
    return steps;
}

}  // namespace

std::vector<std::string> Texts(const std::string& list) {
    const std::string separator = " | ";
    std::vector<std::string> texts;
    for (size_t at = 0, end; at <= list.size(); at = end + separator.size()) {
        end = std::min(list.find(separator, at), list.size());
        texts.push_back(list.substr(at, end - at));
    }
    return texts;
}

std::string CurrentFen(EngineProcess& engine) {
    static const std::regex pattern("(?:.*\\s)?((?:[pnbrqkPNBRQK1-8]+/){7}[pnbrqkPNBRQK1-8]+ [wb] \\S+ \\S+).*");
    engine.Send("brd");
    std::smatch match;
    for (const std::string& line : engine.Sync())
        if (std::regex_match(line, match, pattern)) return match[1];
    ADD_FAILURE() << "the board picture has no FEN; the dialogue was\n" << engine.Transcript();
    return "";
}

std::vector<std::string> LegalMoves(EngineProcess& engine) {
    static const std::regex pattern("([a-h][1-8][a-h][1-8][qrbn]?) \\((-?\\d+)\\);");
    std::vector<std::string> moves;
    engine.Send("moves");
    for (const std::string& line : engine.Sync())
        for (std::sregex_iterator it(line.begin(), line.end(), pattern), end; it != end; ++it)
            moves.push_back((*it)[1]);
    return moves;
}

int CountLines(const EngineProcess& engine, const std::string& pattern) {
    const std::regex expression(pattern);
    int count = 0;
    for (const std::string& line : engine.Dialogue()) count += std::regex_match(line, expression);
    return count;
}

void RunSteps(EngineProcess& engine, const char* script) {
    using Clock = std::chrono::steady_clock;
    const std::vector<std::string> steps = Steps(script);
    std::string matched;
    Clock::time_point sent;
    double withheld = 0;  // by then
    for (size_t i = 0; i < steps.size(); ++i) {
        if (::testing::Test::HasFailure()) return;
        std::string step = steps[i];
        SCOPED_TRACE("step: " + step);
        if (StripPrefix(&step, "> ")) {
            sent = Clock::now();
            withheld = engine.WithheldMilliseconds();
            for (const std::string& line : Texts(step))
                engine.Send(std::regex_replace(line, std::regex("\\$1"), matched));
        } else if (StripPrefix(&step, "< ")) {
            const std::string line = engine.WaitForMatch(step);
            std::smatch match;
            if (std::regex_match(line, match, std::regex(step)) && match.size() > 1) matched = match[1];
        } else if (StripPrefix(&step, "- ")) {
            const std::regex forbidden(step);
            for (const std::string& line : engine.Sync())
                EXPECT_FALSE(std::regex_match(line, forbidden)) << "came: " << line << "\nthe dialogue was\n"
                                                                << engine.Transcript();
        } else if (step[0] == '=') {
            std::vector<std::string> expected;
            for (; i < steps.size() && steps[i][0] == '='; ++i)
                expected.push_back(steps[i].size() > 2 ? steps[i].substr(2) : "");
            --i;
            EXPECT_EQ(engine.Sync(), expected) << "the dialogue was\n" << engine.Transcript();
        } else if (StripPrefix(&step, "times ")) {
            const size_t blank = step.find(' ');
            EXPECT_EQ(CountLines(engine, "< " + step.substr(blank + 1)), std::stoi(step)) << engine.Transcript();
        } else if (StripPrefix(&step, "took ")) {
            const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - sent).count();
            EXPECT_GE(took, std::stoi(step));
            EXPECT_LE(double(took) - (engine.WithheldMilliseconds() - withheld),
                      std::stoi(step.substr(step.find(' '))));
        } else if (StripPrefix(&step, "fen ")) {
            EXPECT_EQ(CurrentFen(engine).substr(0, step.size()), step) << "the dialogue was\n" << engine.Transcript();
        } else if (StripPrefix(&step, "sleep ")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(step)));
        } else if (step == "interrupt") {
            engine.Signal(SIGINT);
        } else {
            ADD_FAILURE() << "not a step: " << step;
        }
    }
}

void RunDialogue(const Dialogue& dialogue, const char* beginning) {
    SCOPED_TRACE(dialogue.why);
    EngineProcess engine(dialogue.files);
    engine.Start();
    RunSteps(engine, (std::string(beginning) + "\n" + dialogue.script).c_str());
    engine.Sync();
    if (CountLines(engine, "> uci") > 0) {
        EXPECT_EQ(CountLines(engine, "< bestmove .*"), CountLines(engine, "> go.*")) << engine.Transcript();
    }
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(3000), 0) << engine.Transcript();
}
