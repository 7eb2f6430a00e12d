// startup.cpp - see startup.h.
//
// The order of the steps shows in the output: the configuration file may open a book at once,
// and the settings are printed after it. Tables are allocated zeroed and untouched, so their
// pages cost nothing until they are used.
//
// State: the memory of the key differences.
#include "driver/startup.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "board/attacks.h"
#include "board/console.h"
#include "board/ordering_data.h"
#include "board/random.h"
#include "board/repetition.h"
#include "board/settings.h"
#include "board/zobrist.h"
#include "book/book.h"
#include "book/learning_file.h"
#include "driver/commands.h"
#include "driver/configuration.h"
#include "driver/engine_turn.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/input_platform.h"
#include "driver/search_input.h"
#include "driver/words.h"
#include "eval/evaluate.h"
#include "search/limits.h"
#include "search/transposition.h"
#include "tablebases/registry.h"

namespace {

constexpr const char* MemoryMessage = "An error occured while memory allocation!";

void* key_differences;

void PrintSwitch(const char* name, int on) { Print("%s = %s\n", name, on ? "on" : "off"); }

bool AllocateMainTables() {
    key_differences = std::calloc(1, KeyDifferenceBytes);
    AttachKeyDifferences(key_differences);
    return key_differences != nullptr && AllocateTable(TranspositionSize) && AllocatePawnHash(PawnHashSize)
        && AllocateEvalCache(EvalCacheSize);
}

void PrintTablebaseCount() {
    if (tablebase_men != 0) Print("%d piece EGTB files found\n", tablebase_men);
    else Print("EGTB files not found\n");
    if (const size_t bytes = TablebaseIndexMemory())
        Print("%dkb of RAM used for TB indices and decompression tables\n", int((bytes + 1023) / 1024));
    Flush();
}

[[noreturn]] void RunLineLoop() {
    for (;;) {
        if (NextLine()) {
            execute_line();
        } else if (!read_input()) {
            command_line[0] = '\0';
            execute_line();
            SettleBoard();  // a result that waited for "stop" is due now
            RestAtEndOfInput();
        }
    }
}

}  // namespace

void InitialiseTables() {
    DrawZobristKeys();
    InitialiseAttacks();
    InitialiseEvaluation("values.txt");
    ClearOrderingData();
}

void OutOfMemory() {
    // What the orderly end may still ask for is not to be had either.
    std::set_new_handler([] { std::_Exit(1); });
    PrintLine(MemoryMessage);
    terminate(1);
}

void AllocateTablebases() {
    if (tablebase_men == 0 || AllocateTablebaseCache(EGTBHashSize)) return;
    PrintLine(MemoryMessage);
    tablebase_men = 0;
}

void SetTablebasePath(const std::string& path) {
    const size_t length = std::min(path.size(), sizeof EGTBPath - 1);
    std::memcpy(EGTBPath, path.data(), length);
    EGTBPath[length] = '\0';
}

void PrintTablebaseStatus() {
    Print("UseEGTB = %s\n\ntb_path = %s\n", UseEGTB ? "TRUE" : "FALSE", EGTBPath);
    PrintTablebaseCount();
}

void PrintSettings() {
    Print("Transposition size is %d entries (%lld bytes)\n", int(TranspositionSize),
          static_cast<long long>(TranspositionSize) * TranspositionEntryBytes);
    Print("Pawn hash size is %d entries (%lld bytes)\n", int(PawnHashSize),
          static_cast<long long>(PawnHashSize) * PawnHashEntryBytes);
    Print("EGTBHashSize = %d bytes\n", int(EGTBHashSize));
    Print("Aggressivity = %d (%d)%%\nCowardice = %d (%d)%%\n", Aggressivity, AggressivityHalf, Cowardice,
          CowardiceHalf);
    Print("ResignValue = %d\nResignTimes = %d\n", ResignValue, ResignTimes);
    PrintSwitch("UseEGTB", UseEGTB);
    Print("EGTB path = \"%s\"\n", EGTBPath);
    PrintSwitch("UseBookWeights", UseBookWeights);
    PrintSwitch("UseBookLearning", UseBookLearning);
    Print("BookLearningMode = %s\n", BookLearningMode == KILL ? "KILL" : "DISCOVER");
    Print("VarietyOfPlay = %d\nBookLearningBound = %d\n", VarietyOfPlay, BookLearningBound);
    PrintSwitch("UseLearning", UseLearning);
    PrintSwitch("UseLearningData", UseLearningData);
    PrintSwitch("LogLearningIntoFile", LogLearningIntoFile);
    PrintSwitch("Pondering", Pondering);
    Print("\n");
}

void terminate(int exit_code) {
    FreeTable();
    FreeEvaluationTables();
    AttachKeyDifferences(nullptr);
    std::free(key_differences);
    FreeTablebaseCache();
    close_book();
    if (UseLearning || UseLearningData) CloseLearning();
    FreeWords();
    Flush();
    std::exit(exit_code);
}

void RunProgram() {
    SetDefaults();
    ResetLimits();
    exit_hook = terminate;
    std::set_new_handler(OutOfMemory);
    InitialisePlatform();
    InstallSearchInput();
    PrintLine("Corvantis v1.70 [r2089/21.07.2014]");
    if (!AllocateWords()) OutOfMemory();
    InitialiseTables();
    ReadConfiguration("Corvantis.ini");
    if (!AllocateMainTables()) OutOfMemory();
    FillKeyDifferences();
    SeedRandom(uint32_t(std::time(nullptr)));
    if (!book_loaded) open_book("Book.cvt");
    PrintSettings();
    Flush();
    if (UseLearning || UseLearningData) load_learning("Learn.cv1");
    PostMode = 1;
    search_limits.OwnTime = NoClock;
    if (UseEGTB) {
        RegisterTablebases(EGTBPath);
        // XBoard takes any line with "not found" in it for a program that failed to start and
        // gives up. It has sent its first word long before we get here.
        if (tablebase_men != 0 || !FirstLineBegins("xboard")) PrintTablebaseCount();
        AllocateTablebases();
    }
    StartFirstGame();
    RunLineLoop();
}
