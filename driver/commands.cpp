// commands.cpp - the command table and the short commands.
//
// The order of the rows is part of the language: keywords match as far as the shorter of
// keyword and line goes, so a row shadows later ones that begin alike, and an abbreviation
// selects the first row that it fits. Only a keyword written out in full is safe from that:
// "stop" would be taken by "st" and "ucinewgame" by "uci".
//
// State: FritzMode apart, none of its own.
#include "driver/commands.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "board/console.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/ordering_data.h"
#include "board/perft.h"
#include "board/position.h"
#include "board/settings.h"
#include "book/book.h"
#include "driver/developer.h"
#include "driver/engine_turn.h"
#include "driver/game_end.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/startup.h"
#include "driver/tuning.h"
#include "driver/uci.h"
#include "driver/words.h"
#include "eval/evaluate.h"
#include "eval/parameters.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"
#include "search/time_control.h"

std::string LineText() { return std::string(command_line, std::strlen(command_line) - size_t(command_line_returns)); }

std::string RestOfLine(int word) {
    const std::string line = LineText();
    return line.substr(std::min(line.size(), size_t(WordStart(word))));
}

namespace {

bool HasArgument() { return word_count > 1; }

// ---- Playing ----

void OpponentMove() {
    const char* text = SkipSpaces(command_line);
    // A ponder search that has ended holds our answer to the move it expected.
    if (prediction.move != 0 && !ForceMode) {
        std::string name(text, std::min<size_t>(std::strlen(text), 5));
        while (!name.empty() && name.back() == ' ') name.pop_back();
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
        const std::string expected = MoveText(prediction.move);
        const bool queen = MovePromotion(prediction.move) == QUEEN && name == expected.substr(0, 4);
        if ((name == expected || queen) && PlayPonderResult(prediction.move)) return;
    }
    SettleBoard();
    const Move move = ParseGameMove(text);
    if (move == 0) {
        Print("Illegal move: %s\n", LineText().c_str());
        return;
    }
    if (!PlayGameMove(move) || ForceMode) return;
    PonderingNow = 0;
    engine_turn();
}

void NewCommand() {
    StartNewGame();
    EngineSide = BLACK;
    // A limit of the last game, not a mode.
    search_limits.MaxDepth = NoDepthLimit;
    // After a game between humans XBoard sends "result", "force", "new" and then expects an
    // answer to the first move.
    ForceMode = 0;
}

void Go() {
    ForceMode = 0;
    PonderingNow = 0;
    search_limits.search_move_count = 0;
    if (HasArgument()) ReadGoParameters();
    engine_turn();
}

void SetSideToMove(Colour side) {
    if (side != SideToMove()) {
        // Like a pass: no take-back and no repetition may reach across it.
        history_base = history_count;
        thread_board.fifty = 0;
    }
    thread_board.SideToMove = side;
    EngineSide = ChangeSide(side);
    ForceMode = 0;
    game_over_flag = false;
}
void White() { SetSideToMove(WHITE); }
void Black() { SetSideToMove(BLACK); }

void Force() { ForceMode = 1; }

void Undo() { TakeBackGameMove(); }
void Remove() {
    TakeBackGameMove();
    TakeBackGameMove();
}

void LoadFen() {
    if (!HasArgument()) return;
    SetFen(RestOfLine(1).c_str());
    PositionReplaced();
    ResetGameMemory();
}

// ---- Clocks and limits ----

void Level() {
    constexpr int64_t most = InfiniteTime - 1;
    if (word_count > 1) SetMovesPerControl(int(ParseNumber(Word(1), 0, 10000)));
    int64_t base = -1;
    int increment_word = 3;
    if (word_count >= 5) {
        base = ParseDecimal(Word(2), 6000, 0, most) + ParseDecimal(Word(3), 100, 0, most);
        increment_word = 4;
    } else if (word_count > 2) {
        base = ParseDecimal(Word(2), 6000, 0, most);
    }
    if (base >= 0) search_limits.BaseTime = int(std::min(base, most));
    // Front ends send increments below a second as decimals.
    if (word_count > increment_word)
        search_limits.OwnIncrement = search_limits.OppIncrement = int(ParseDecimal(Word(increment_word), 100, 0, most));
    search_limits.MoveTime = 0;
}

void MaxDepthCommand() {
    if (HasArgument()) search_limits.MaxDepth = int(ParseNumber(Word(1), 0, NoDepthLimit));
}
void MoveTimeCommand() {
    if (HasArgument()) search_limits.MoveTime = int(ParseDecimal(Word(1), 100, 0, InfiniteTime - 1));
}
void Time() {
    if (HasArgument()) search_limits.OwnTime = int(ParseNumber(Word(1), 0, InfiniteTime));
}
void OppTimeCommand() {
    if (HasArgument()) search_limits.OppTime = int(ParseNumber(Word(1), 0, InfiniteTime));
}

// ---- Modes ----

void Post() { PostMode = 1; }
void NoPost() { PostMode = 0; }
void Easy() { PonderSwitch = 0; }
void Hard() {
    if (Pondering) PonderSwitch = 1;
}
void Fritz() { FritzMode = 1; }
void XBoard() {
    UciMode = 0;
    search_limits.OwnTime = NoClock;  // "go infinite" is a matter of UCI
    search_limits.MaxNodes = 0;
    search_limits.MaxDepth = NoDepthLimit;
    search_limits.MovesPerPeriod = search_limits.MovesToGo = 0;
    search_limits.MoveTime = 0;
    search_limits.MateSearch = 0;
    PonderSwitch = Pondering;
}
void Debug() {
    if (!HasArgument()) return;
    if (KeywordMatches("on", Word(1))) DebugMode = 1;
    else if (KeywordMatches("off", Word(1))) DebugMode = 0;
}
void IsReady() { PrintLine("readyok"); }

// ---- Looking at the position ----

void Moves() {
    struct Priority {
        Move move;
        int score;
    };
    if (IsPlayable()) check_game_end();
    Print("-------------- Legal moves: ----------------\n");
    Priority list[MaxRootMoves];
    int count = 0;
    const int legal = IsPlayable() ? GenerateLegalMoves(ScratchMoves) : 0;
    // The generator's scores say nothing by now; these are what the search would order by.
    for (; count < legal && count < MaxRootMoves; ++count) {
        const Move m = move_stack[ScratchMoves + count].move;
        list[count] = {m, IsQuiet(m) ? QuietScore(m, SideToMove()) : CaptureScore(m)};
    }
    std::stable_sort(list, list + count, [](const Priority& a, const Priority& b) { return a.score > b.score; });
    for (int i = 0; i < count; ++i) Print("%s (%d); ", MoveText(list[i].move).c_str(), list[i].score);
    Print("\n");
}

void Board() { PrintBoard(OutputShowsSymbols()); }
void CastlingFlags() { Print("castling flags = %d\n", thread_board.castling); }

void BookMoves() {
    const uint64_t key = PositionKey();
    Print("Current nhash1 = %d, nhash2 = %d\n", int(uint32_t(key)), int(uint32_t(key >> 16)));
    if (book_loaded) list_book_moves();
    else PrintLine("No book loaded...");
}

// ---- Tables ----

void Clean() { ClearSearch(); }
void Reload() {
    LoadValues("values.txt");
    RebuildEvaluation();
}

void RunSelfTest() { SelfTest(); }

void Terminate() { terminate(0); }

// ---- The table ----

constexpr bool Idle = false, Board_ = true, NewPosition = true;
constexpr Command commands[] = {
    {"pgneval", EvaluatePgn, Board_, false},
    {"q", Terminate, Idle, false},
    {"clean", Clean, Board_, false},
    {"reload", Reload, Board_, false},
    {nullptr, OpponentMove, Idle, false},  // a move; it takes a prediction back itself
    {"help", PrintHelp, Idle, false},
    {"new", NewCommand, Board_, NewPosition},
    {"post", Post, Idle, false},
    {"reset", EndGameForLearning, Board_, NewPosition},
    {"level", Level, Idle, false},
    {"moves", Moves, Board_, false},
    {"edit", EditBoard, Board_, NewPosition},
    {"loadfen", LoadFen, Board_, NewPosition},
    {"epdevl", EvaluateEpd, Board_, false},
    {"selftest", RunSelfTest, Board_, false},
    {"tunenew", TuneParameters, Board_, false},
    {"nopost", NoPost, Idle, false},
    {"perft", PerftCommand, Board_, false},
    {"sd", MaxDepthCommand, Idle, false},
    {"st", MoveTimeCommand, Idle, false},
    {"go", Go, Board_, false},
    {"ponderhit", IdlePonderHit, Idle, false},
    {"white", White, Board_, false},
    {"stop", IdleStop, Idle, false},
    {"remove", Remove, Board_, false},
    {"analyze", Analyze, Board_, false},
    {"black", Black, Board_, false},
    {"force", Force, Board_, false},
    {"brd", Board, Board_, false},
    {"time", Time, Idle, false},
    {"otime", OppTimeCommand, Idle, false},
    {"otim", OppTimeCommand, Idle, false},  // what front ends really send
    {"easy", Easy, Idle, false},
    {"hard", Hard, Idle, false},
    {"evl", PrintEvaluation, Board_, false},
    {"undo", Undo, Board_, false},
    {"fritz", Fritz, Idle, false},
    {"xboard", XBoard, Board_, false},
    {"mvd", CastlingFlags, Board_, false},
    {"demo", Demo, Board_, false},
    {"bkm", BookMoves, Board_, false},
    {"uci", IdentifyUci, Board_, false},
    {"ucinewgame", EndGameForLearning, Board_, NewPosition},
    {"setoption", SetOption, Idle, false},
    {"isready", IsReady, Idle, false},
    {"egtbstat", PrintTablebaseStatus, Idle, false},
    {"position", PositionCommand, Board_, NewPosition},
    {"debug", Debug, Idle, false},
};

}  // namespace

const Command* FindCommand(const char* line) {
    line = SkipSpaces(line);
    if (*line == '\0') return nullptr;
    for (const Command& command : commands)
        if (command.keyword != nullptr && IsFirstWord(command.keyword, line)) return &command;
    for (const Command& command : commands)
        if (command.keyword != nullptr ? KeywordMatches(command.keyword, line) : LooksLikeMove(line)) return &command;
    return nullptr;
}

void execute_line() {
    const Command* command = FindCommand(command_line);
    if (command == nullptr) return;
    // The clock of "level" is written minutes:seconds.
    SplitWords(command_line, KeywordMatches("level", command_line) ? " :" : " ");
    if (command->board) SettleBoard();
    command->run();
    Flush();
}
