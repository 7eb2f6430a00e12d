// protocol_developer_test.cpp - the developer commands of the real program: measures over games,
// tuning, evaluations of position files, and how they are interrupted.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "tests/support/dialogue.h"

namespace {

// Seventeen plies: one position counts. White's last move takes a queen for nothing.
const std::string Short =
    "[Event \"a\"]\r\n[Result \"1-0\"]\r\n\r\n1. Nf3 Nf6 2. Ng1 Ng8 3. Nf3 {x} Nf6 4. Ng1 Ng8 5. Nf3 (5. e4) Nf6\r\n"
    "6. Ng1 Ng8 7. e4 $1 e5 8. Nf3 Qg5 9. Nxg5 1-0\r\n\r\n";
// Eighteen plies, without tags and with a glaring miss: the knight leaves the attacked queen.
const std::string Blunder =
    "1. Nf3 Nf6 2. Ng1 Ng8 3. Nf3 Nf6 4. Ng1 Ng8 5. Nf3 Nf6 6. Ng1 Ng8 7. e4 d5 8. exd5 Qxd5 9. Nc3 h6 0-1\n\n";

std::vector<std::vector<int>> Rows(const std::string& table) {
    std::vector<std::vector<int>> rows;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        rows.emplace_back();
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, ';');) rows.back().push_back(std::atoi(field.c_str()));
    }
    return rows;
}

const std::string Progress = "Processed \\d+ games, hit/game = \\d+\\.\\d{3}\\.\\.\\. {14}\r";

}  // namespace

TEST(Developer, MessagesOfTheMeasure) {
    struct Case {
        const char* why;
        std::string games;  // "-": no file
        std::vector<std::string> printed;
    };
    const std::string one_hit = "Processed 1 games, hit/game = 1.000...              \r";
    const Case cases[] = {
        {"no file", "-", {"Error opening file games.pgn..."}},
        {"a folder", "/", {"Error opening file games.pgn..."}},
        {"no games", "\n", {"Processed 0 games, hit/game = 0.000...              \r"}},
        {"a hit", Short, {one_hit}},
        {"a hit in one of two games", Short + "1. e4 *", {"Processed 2 games, hit/game = 0.500...              \r"}},
        {"errors cost their own games only",
         "1. Ke3 *\n1. Nf3 d5 2. d3 d4 3. Nd2 *\n" + Short,
         {"", "Can't recognize: Ke3...", "", "Ambigous move: Nd2...",
          "Processed 3 games, hit/game = 0.333...              \r"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        std::vector<EngineProcess::File> files;
        const bool readable = c.games != "-" && c.games != "/";
        if (readable) files.push_back({"games.pgn", c.games});
        EngineProcess engine(files);
        if (c.games == "/") mkdir((engine.Directory() + "/games.pgn").c_str(), 0700);
        engine.Start();
        for (const char* command : {"pgneval", "selftest"}) {
            engine.Send(command);
            EXPECT_EQ(engine.Sync(), c.printed) << command;
            EXPECT_EQ(
                engine.ReadFile("my_eval.csv").empty(),
                std::string(command) == "selftest" || !readable || c.printed.back().find("0.000") != std::string::npos);
            unlink((engine.Directory() + "/my_eval.csv").c_str());
        }
    }
}

TEST(Developer, AWordThatIsTooLongEndsTheProgram) {
    EngineProcess engine({{"games.pgn", Short + "1. e4 abcdefghabcdefg e5 *"}});
    engine.Start();
    engine.Send("pgneval");
    EXPECT_NE(engine.WaitForMatch("Error parsing move \\(move too long\\): abcdefghabcdef\\.\\.\\."), "");
    EXPECT_EQ(engine.WaitForExit(), 2);
    EXPECT_EQ(Rows(engine.ReadFile("my_eval.csv")).size(), 1u) << "rows found before are kept";
}

TEST(Developer, TableOfPositions) {
    EngineProcess engine({{"games.pgn", Short + Blunder}});
    engine.Start();
    RunSteps(engine,
             "> easy\n> force\n> e2e4\n> pgneval\n< Processed 2 games.*\r\n> undo\n"
             "fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq");
    const std::string table = engine.ReadFile("my_eval.csv");
    const auto rows = Rows(table);
    ASSERT_EQ(rows.size(), 3u) << table;
    for (const auto& row : rows) ASSERT_EQ(row.size(), 32u) << table;
    // game, ply, side, result.
    EXPECT_EQ(std::vector<int>(rows[0].begin(), rows[0].begin() + 4), (std::vector<int>{1, 16, 0, 1}));
    EXPECT_EQ(std::vector<int>(rows[2].begin(), rows[2].begin() + 4), (std::vector<int>{2, 17, 1, 2}));
    EXPECT_NE(table.find(";b1c3;"), std::string::npos);
    EXPECT_NE(table.find(";h7h6;"), std::string::npos);
    for (const auto& row : rows) {
        EXPECT_EQ(row[6], row[5] == 1) << "a hit has rank 1";
        EXPECT_LE(row[8], row[9]) << "no move is better than the best";
        EXPECT_EQ(row[6], row[8] == row[9]);
        EXPECT_EQ(row[10], row[0] == 1 ? 3900 : 3800);  // a pawn each has gone in the second game
        EXPECT_EQ(row[11], row[10]);
    }
    EXPECT_EQ(rows[2][6], 0) << "the queen is lost";

    // The same position by itself: legal moves and evaluation.
    engine.Send("loadfen rnb1kbnr/pppp1ppp/8/4p1q1/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -");
    EXPECT_EQ(size_t(rows[0][4]), LegalMoves(engine).size());
    engine.Send("evl");
    EXPECT_NE(engine.WaitForMatch("Heuristic = " + std::to_string(rows[0][7])), "");
}

TEST(Developer, EvaluationsOfAFile) {
    const std::string start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";
    const std::string black_up = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNB1KBNR b KQkq - bm e5; id \"x;y\";";
    EngineProcess engine({{"some file.epd", start + "\r\n\n" + black_up + "\n \t\n" + start + std::string(3000, ' ')}});
    engine.Start();
    RunSteps(engine,
             "> epdevl none.epd\n= Error opening file none.epd...\n> epdevl .\n= Error opening file ....\n> epdevl\n- "
             ".*\n> epdevl some file.epd \t \n- .*");
    std::istringstream lines(engine.ReadFile("out.epd"));
    std::string first, second, third, more;
    std::getline(lines, first);
    std::getline(lines, second);
    std::getline(lines, third);
    EXPECT_FALSE(std::getline(lines, more)) << more;
    engine.Send("loadfen " + start);
    engine.Send("evl");
    const std::string score = engine.WaitForMatch("Heuristic = .*").substr(12);
    EXPECT_EQ(first, start + ";" + score);
    EXPECT_EQ(third, start + std::string(3000, ' ') + ";" + score);
    ASSERT_EQ(second.find(black_up + ";"), 0u);
    EXPECT_GT(std::atoi(second.c_str() + black_up.size() + 1), 500) << "the side to move is a queen up";
    EXPECT_EQ(engine.ReadFile("out.epd.tmp"), "");
    // Its own result is a position file too.
    engine.Sync();
    RunSteps(engine, "> epdevl out.epd\n- .*");
    EXPECT_EQ(engine.ReadFile("out.epd").substr(0, first.size() + 1 + score.size()), first + ";" + score);
}

// A full disk, or a folder that may not be written: one line, and the command goes on or ends.
TEST(Developer, FilesThatCannotBeWritten) {
    EngineProcess engine({{"games.pgn", Short}, {"x.epd", "8/8/4k3/8/8/4K3/4P3/8 w - -\n"}});
    engine.Start();
    for (const char* name : {"my_eval.csv", "out.epd.tmp"}) {
        const std::string path = engine.Directory() + "/" + name;
        ASSERT_EQ(symlink("/dev/full", path.c_str()), 0);
    }
    RunSteps(engine,
             "> pgneval\n< Processed 1 games.*\r\n< Error writing file my_eval\\.csv\\.\\.\\.\n"
             "> epdevl x.epd\n= Error writing file out.epd...");
    EXPECT_NE(access((engine.Directory() + "/out.epd").c_str(), F_OK), 0);
    for (const char* name : {"my_eval.csv", "out.epd.tmp"}) {
        const std::string path = engine.Directory() + "/" + name;
        unlink(path.c_str());
        ASSERT_EQ(symlink("/none/such", path.c_str()), 0);
    }
    RunSteps(engine,
             "> pgneval\n< Error opening file my_eval\\.csv\\.\\.\\.\n< Processed 1 games.*\r\n"
             "> epdevl x.epd\n= Error opening file out.epd...");
}

// Some lines end a long command, all others wait; what was found is in the files.
TEST(Developer, Interruptions) {
    std::string games;
    for (int i = 0; i < 80000; ++i) games += Short;  // seconds
    struct Case {
        const char *command, *stop;
    };
    const Case cases[] = {{"pgneval", "stop"}, {"pgneval", "?"},  {"selftest", "exit"},
                          {"pgneval", "quit"}, {"perft 9", "qx"}, {"perft 9", "stop"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.command) + ", " + c.stop);
        EngineProcess engine({{"games.pgn", games}});
        engine.Start();
        engine.Send(c.command);
        EXPECT_EQ(engine.Collect(200), std::vector<std::string>());
        engine.Send("moves");
        engine.Send("time 100");
        engine.Send("stopped");
        engine.Send("exi");
        EXPECT_EQ(engine.Collect(200), std::vector<std::string>()) << "these lines wait";
        engine.Send(c.stop);
        if (c.stop[0] == 'q') {
            EXPECT_EQ(engine.WaitForExit(3000), 0);
        } else {
            auto lines = engine.Sync(3000);
            if (c.command[0] != 'p' || c.command[1] != 'e') {
                ASSERT_FALSE(lines.empty());
                EXPECT_TRUE(std::regex_search(lines[0], std::regex(Progress + "$"))) << lines[0];
                lines.erase(lines.begin());
            }
            ASSERT_EQ(lines.size(), 2u) << engine.Transcript();
            EXPECT_EQ(lines[0], "-------------- Legal moves: ----------------");
        }
        if (c.command[1] != 'g') continue;
        const auto rows = Rows(engine.ReadFile("my_eval.csv"));
        EXPECT_GT(rows.size(), 100u);
        for (const auto& row : rows) ASSERT_EQ(row.size(), 32u);
    }
}

// Lines that wait have their limit; a "stop" behind it must not be left unread.
TEST(Developer, TooManyWaitingLinesEndACommand) {
    EngineProcess engine({{"games.pgn", Short}});
    engine.Start();
    engine.Send("tunenew");
    engine.WaitForMatch("Trying .*");
    std::string lines;
    while (lines.size() < 300000) lines += "otim 100" + std::string(1000, ' ') + "\n";
    EXPECT_TRUE(engine.SendRaw(lines + "stop\nquit\n"));
    EXPECT_EQ(engine.WaitForExit(5000), 0);
}

// A file without moves is read at a stretch, and so would a signal or "quit" wait.
TEST(Developer, AFileOfNoGamesCanBeLeft) {
    const std::vector<EngineProcess::File> files = {{"games.pgn", "{"}};
    EngineProcess engine(files);
    ASSERT_EQ(truncate((engine.Directory() + "/games.pgn").c_str(), off_t{1} << 40), 0);
    engine.Start();
    engine.Send("pgneval");
    EXPECT_EQ(engine.Collect(200), std::vector<std::string>());
    engine.Send("stop");
    EXPECT_EQ(engine.Sync(3000).size(), 1u);
    engine.Send("selftest");
    EXPECT_EQ(engine.Collect(200), std::vector<std::string>());
    engine.Signal(SIGTERM);
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}

// What was found is kept, but half a file does not replace the one that it was made from.
TEST(Developer, EvaluationsInterrupted) {
    std::string positions;
    for (int i = 0; i < 1000000; ++i) positions += "8/8/4k3/8/8/4K3/4P3/8 w - -\n";  // seconds
    for (const char* name : {"in.epd", "out.epd"}) {
        SCOPED_TRACE(name);
        EngineProcess engine({{name, positions}});
        engine.Start();
        engine.Send(std::string("epdevl ") + name);
        for (int i = 0; i < 10000 && engine.ReadFile("out.epd.tmp").empty(); ++i) usleep(1000);
        engine.Send("stop");
        EXPECT_EQ(engine.Sync(), std::vector<std::string>());
        const std::string kept = engine.ReadFile("out.epd");
        EXPECT_EQ(kept == positions, std::string(name) == "out.epd");
        EXPECT_GT(kept.size(), 27u);
        EXPECT_LE(std::count(kept.begin(), kept.end(), '\n'), 1000000);
        EXPECT_EQ(kept.back(), '\n');
        EXPECT_EQ(engine.ReadFile("out.epd.tmp"), "");
    }
}

// What came together with the command is its script, a "quit" at the end included.
TEST(Developer, AScriptGetsItsAnswer) {
    EngineProcess engine({{"games.pgn", Short}});
    engine.SendRaw("pgneval\nquit\n");
    EXPECT_NE(engine.WaitForMatch("Processed 1 games.*\r"), "");
    EXPECT_EQ(engine.WaitForExit(), 0);
}

TEST(Developer, ASignalToEndIsObeyed) {
    EngineProcess engine({{"games.pgn", Short}});
    engine.Start();
    engine.Send("tunenew");
    engine.WaitForMatch("Trying .*");
    engine.Signal(SIGTERM);
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}

// Tuning by two short games, until its fifth parameter: scores follow from one another, and the log
// holds the successes.
TEST(Developer, TuningIsToldAndLogged) {
    EngineProcess engine({{"games.pgn", Short + Blunder}});
    engine.Start();
    engine.Send("tunenew");
    engine.WaitForMatch("Tuning knight_opening_bg\\[2\\] .*");
    engine.Send("stop");
    engine.Sync();
    int best = -1, parameters = 0;
    std::string expected_log, trying;
    std::smatch m;
    const std::string number = "(-?\\d+)", name = "([a-z_]+\\[\\d\\]) ";
    for (const std::string& line : engine.Dialogue()) {
        SCOPED_TRACE(line);
        if (std::regex_match(line, m,
                             std::regex("< Tuning " + name + "\\[" + number + "\\], best score = " + number))) {
            EXPECT_TRUE(best < 0 || best == std::stoi(m[3]));
            best = std::stoi(m[3]);
            ++parameters;
        } else if (std::regex_match(line, m, std::regex("< Trying (" + name + "= " + number + ")"))) {
            trying = m[1];
        } else if (std::regex_match(line, m, std::regex("< Success, score = " + number))) {
            EXPECT_GE(std::stoi(m[1]), best);
            best = std::stoi(m[1]);
            expected_log += trying + " (" + std::to_string(best) + ")\n";
        } else if (std::regex_match(line, m, std::regex("< Fail, score = " + number))) {
            EXPECT_LT(std::stoi(m[1]), best);
        }
    }
    EXPECT_EQ(parameters, 5);
    EXPECT_EQ(engine.ReadFile("tune.log"), expected_log);
    EXPECT_NE(expected_log, "");
}
