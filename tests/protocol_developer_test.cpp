// protocol_developer_test.cpp - the developer commands of the real program: measures over games,
// tuning, evaluations of position files, and how they are interrupted.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
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

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

std::vector<std::vector<int>> Rows(const std::string& table) {
    std::vector<std::vector<int>> rows;
    for (const std::string& line : Split(table, '\n')) {
        rows.emplace_back();
        for (const std::string& field : Split(line, ';')) rows.back().push_back(std::atoi(field.c_str()));
    }
    return rows;
}

std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

std::string Processed(const std::string& games, const std::string& hits) {
    return "Processed " + games + " games, hit/game = " + hits + "...              \r";
}

}  // namespace

TEST(Developer, MessagesOfTheMeasure) {
    const struct {
        const char* why;
        std::string games;  // "-": no file, "/": a folder
        std::vector<std::string> printed;
        bool rows;
    } cases[] = {
        {"no file", "-", {"Error opening file games.pgn..."}, false},
        {"a folder", "/", {"Error opening file games.pgn..."}, false},
        {"no games", "\n", {Processed("0", "0.000")}, false},
        {"a hit in one of two games", Short + "1. e4 *", {Processed("2", "0.500")}, true},
        {"errors cost their own games only",
         "1. Ke3 *\n1. Nf3 d5 2. d3 d4 3. Nd2 *\n" + Short,
         {"", "Can't recognize: Ke3...", "", "Ambigous move: Nd2...", Processed("3", "0.333")},
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::vector<EngineProcess::File> files;
        if (c.games.size() > 1 || c.games == "\n") files.push_back({"games.pgn", c.games});
        EngineProcess engine(files);
        if (c.games == "/") mkdir((engine.Directory() + "/games.pgn").c_str(), 0700);
        engine.Start();
        engine.Send("selftest");
        EXPECT_EQ(engine.Sync(), c.printed);
        EXPECT_EQ(engine.ReadFile("my_eval.csv"), "");
        engine.Send("pgneval");
        EXPECT_EQ(engine.Sync(), c.printed);
        EXPECT_EQ(!engine.ReadFile("my_eval.csv").empty(), c.rows);
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
             "> epdevl none.epd | epdevl . | epdevl | epdevl some file.epd \t \n"
             "= Error opening file none.epd...\n= Error opening file ....");
    const std::vector<std::string> lines = Split(engine.ReadFile("out.epd"), '\n');
    ASSERT_EQ(lines.size(), 3u);
    engine.Send("loadfen " + start);
    engine.Send("evl");
    const std::string score = engine.WaitForMatch("Heuristic = .*").substr(12);
    EXPECT_EQ(lines[0], start + ";" + score);
    EXPECT_EQ(lines[2], start + std::string(3000, ' ') + ";" + score);
    ASSERT_EQ(lines[1].find(black_up + ";"), 0u);
    EXPECT_GT(std::stoi(lines[1].substr(black_up.size() + 1)), 500) << "the side to move is a queen up";
    EXPECT_EQ(engine.ReadFile("out.epd.tmp"), "");
    // Its own result is a position file too.
    engine.Sync();
    RunSteps(engine, "> epdevl out.epd\n- .*");
    EXPECT_EQ(Split(engine.ReadFile("out.epd"), '\n')[0], lines[0] + ";" + score);
}

// The page's examples, in their order: a line of out.epd, a game, and a row of its table.
TEST(Developer, ExamplesOfTheDocumentation) {
    std::vector<std::string> examples = {""};
    for (const std::string& line : Split(ContentsOf(CORVANTIS_SOURCE_DIR "/doc/developer.md"), '\n')) {
        if (line.starts_with("    ")) examples.back() += line.substr(4) + "\n";
        else if (!examples.back().empty()) examples.emplace_back();
    }
    ASSERT_GE(examples.size(), 3u);
    EngineProcess engine({{"in.epd", examples[0].substr(0, examples[0].find(';')) + "\n"}, {"games.pgn", examples[1]}});
    engine.Start();
    engine.Send("epdevl in.epd");
    engine.Send("pgneval");
    engine.Sync();
    EXPECT_EQ(engine.ReadFile("out.epd"), examples[0]);
    const std::string table = engine.ReadFile("my_eval.csv");
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 17);
    EXPECT_NE(("\n" + table).find("\n" + examples[2]), std::string::npos) << table;
}

// A full disk, or a folder that may not be written: one line, and the command goes on or ends.
TEST(Developer, FilesThatCannotBeWritten) {
    EngineProcess engine({{"games.pgn", Short}, {"x.epd", "8/8/4k3/8/8/4K3/4P3/8 w - -\n"}});
    engine.Start();
    const auto link = [&](const char* target) {
        for (const char* name : {"/my_eval.csv", "/out.epd.tmp"}) {
            const std::string path = engine.Directory() + name;
            unlink(path.c_str());
            ASSERT_EQ(symlink(target, path.c_str()), 0);
        }
    };
    link("/dev/full");
    RunSteps(engine, R"(
        > pgneval
        < Processed 1 games.*\r
        < Error writing file my_eval\.csv\.\.\.
        > epdevl x.epd
        = Error writing file out.epd...)");
    EXPECT_NE(access((engine.Directory() + "/out.epd").c_str(), F_OK), 0);
    link("/none/such");
    RunSteps(engine, R"(
        > pgneval
        < Error opening file my_eval\.csv\.\.\.
        < Processed 1 games.*\r
        > epdevl x.epd
        = Error opening file out.epd...)");
}

// Some lines end a long command, all others wait; what was found is in the files.
TEST(Developer, Interruptions) {
    const std::vector<EngineProcess::File> files = {{"games.pgn", Repeated(Short, 80000)}};  // seconds
    const std::string progress = "[\\s\\S]*Processed \\d+ games, hit/game = \\d+\\.\\d{3}\\.\\.\\. {14}\r";
    const std::pair<std::string, std::string> cases[] = {{"pgneval", "stop"}, {"pgneval", "?"},  {"selftest", "exit"},
                                                         {"pgneval", "quit"}, {"perft 9", "qx"}, {"perft 9", "stop"}};
    for (const auto& [command, stop] : cases) {
        SCOPED_TRACE(command + ", " + stop);
        EngineProcess engine(files);
        engine.Start();
        engine.Send(command);
        engine.WaitUntilBusy(200);
        EXPECT_EQ(engine.Collect(100), std::vector<std::string>());
        RunSteps(engine, "> moves | time 100 | stopped | exi");
        EXPECT_EQ(engine.Collect(200), std::vector<std::string>()) << "these lines wait";
        engine.Send(stop);
        if (stop[0] == 'q') {
            EXPECT_EQ(engine.WaitForExit(3000), 0);
        } else {
            if (command != "perft 9") engine.WaitForMatch(progress, 3000);
            const auto lines = engine.Sync(3000);
            ASSERT_EQ(lines.size(), 2u) << engine.Transcript();
            EXPECT_EQ(lines[0], "-------------- Legal moves: ----------------");
        }
        if (command != "pgneval") continue;
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
    EXPECT_TRUE(engine.SendRaw(Repeated("otim 100" + std::string(1000, ' ') + "\n", 300) + "stop\nquit\n"));
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

std::string ManyPositions() { return Repeated("8/8/4k3/8/8/4K3/4P3/8 w - -\n", 1000000); }  // seconds

// Up to the first that are in the file.
void BeginEvaluations(EngineProcess& engine, const std::string& name) {
    engine.Start();
    engine.Send("epdevl " + name);
    const auto begun = [&] {
        std::error_code error;
        const auto size = std::filesystem::file_size(engine.Directory() + "/out.epd.tmp", error);
        return !error && size > 0;
    };
    for (int i = 0; i < 10000 && !begun(); ++i) usleep(1000);
}

TEST(Signals, TerminationLeavesNoUnfinishedEvaluations) {
    EngineProcess engine({{"in.epd", ManyPositions()}});
    BeginEvaluations(engine, "in.epd");
    engine.Signal(SIGTERM);
    EXPECT_EQ(engine.WaitForExit(3000), 0);
    EXPECT_EQ(access((engine.Directory() + "/out.epd").c_str(), F_OK), 0);
    EXPECT_NE(access((engine.Directory() + "/out.epd.tmp").c_str(), F_OK), 0);
}

// What was found is kept, but half a file does not replace the one that it was made from.
TEST(Developer, EvaluationsInterrupted) {
    const std::string positions = ManyPositions();
    for (const char* name : {"in.epd", "out.epd"}) {
        SCOPED_TRACE(name);
        EngineProcess engine({{name, positions}});
        BeginEvaluations(engine, name);
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

// Tuning by two short games, until its fifth parameter: each begins with the best score so far, and
// the log holds the successes.
TEST(Developer, TuningIsToldAndLogged) {
    EngineProcess engine({{"games.pgn", Short + Blunder}});
    RunSteps(engine, "> tunenew\n< Tuning knight_opening_bg\\[2\\] .*\n> stop");
    engine.Sync();
    const std::regex tuning("< Tuning [a-z_]+\\[\\d\\] \\[-?\\d+\\], best score = (\\d+)");
    const std::regex success("< Success, score = (\\d+)");
    std::string best;
    size_t parameters = 0, successes = 0;
    std::smatch m;
    for (const std::string& line : engine.Dialogue()) {
        const bool begins = std::regex_match(line, m, tuning);
        if (!begins && !std::regex_match(line, m, success)) continue;
        EXPECT_TRUE(!begins || best.empty() || best == m[1]) << engine.Transcript();
        best = m[1];
        ++(begins ? parameters : successes);
    }
    EXPECT_EQ(parameters, 5u);
    const std::vector<std::string> log = Split(engine.ReadFile("tune.log"), '\n');
    ASSERT_EQ(log.size(), successes);
    ASSERT_FALSE(log.empty());
    EXPECT_TRUE(log.back().ends_with("(" + best + ")")) << log.back();
}
