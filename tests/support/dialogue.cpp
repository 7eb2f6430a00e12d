// dialogue.cpp - see dialogue.h.
#include "tests/support/dialogue.h"

#include <gtest/gtest.h>
#include <signal.h>

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
    const std::vector<std::string> steps = Steps(script);
    for (size_t i = 0; i < steps.size(); ++i) {
        if (::testing::Test::HasFailure()) return;
        std::string step = steps[i];
        SCOPED_TRACE("step: " + step);
        if (step == ">") {
            engine.Send("");
        } else if (StripPrefix(&step, "> ")) {
            engine.Send(step);
        } else if (StripPrefix(&step, "< ")) {
            engine.WaitForMatch(step);
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
        } else if (StripPrefix(&step, "fen ")) {
            EXPECT_EQ(CurrentFen(engine).substr(0, step.size()), step) << "the dialogue was\n" << engine.Transcript();
        } else if (StripPrefix(&step, "sleep ")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(step)));
        } else if (StripPrefix(&step, "signal ")) {
            engine.Signal(step == "INT" ? SIGINT : SIGTERM);
        } else {
            ADD_FAILURE() << "not a step: " << step;
        }
    }
}

void RunDialogue(const Dialogue& dialogue, const std::vector<EngineProcess::File>& files) {
    SCOPED_TRACE(dialogue.why);
    EngineProcess engine(files);
    engine.Start();
    RunSteps(engine, dialogue.script);
    engine.Sync();
    if (CountLines(engine, "> uci") > 0) {
        EXPECT_EQ(CountLines(engine, "< bestmove .*"), CountLines(engine, "> go.*")) << engine.Transcript();
    }
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(3000), 0) << engine.Transcript();
}
