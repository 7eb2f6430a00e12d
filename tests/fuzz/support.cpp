// support.cpp - see fuzz.h. Also the start of every target: the engine with small tables, so that a
// new game costs microseconds.
//
// State: the name of the working folder.
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "board/console.h"
#include "board/material_index.h"
#include "board/position.h"
#include "board/settings.h"
#include "eval/evaluate.h"
#include "search/transposition.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/board_helpers.h"
#include "tools/common/signature.h"

namespace {

std::string working_folder;

void RemoveWorkingFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(working_folder, ignored);
}

void EnterWorkingFolder() {
    const char* const parent = std::getenv("FUZZ_FOLDER");
    std::string name = (parent != nullptr ? std::string(parent) : std::filesystem::temp_directory_path().string())
        + "/corvantis-fuzz-XXXXXX";
    Require(mkdtemp(name.data()) != nullptr, "no working folder can be made");
    working_folder = name;
    std::atexit(RemoveWorkingFolder);
    Require(chdir(name.c_str()) == 0, "the working folder cannot be entered");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    EnterWorkingFolder();
    const int nowhere = open("/dev/null", O_WRONLY);
    Require(nowhere >= 0 && dup2(nowhere, STDOUT_FILENO) >= 0, "output cannot be thrown away");
    Require(InitialiseEngine() && AllocateTable(1024) && AllocatePawnHash(64) && AllocateEvalCache(64),
            "out of memory");
    exit_hook = [](int) {};
    return 0;
}

void WriteInputFile(const char* name, const uint8_t* data, size_t size) {
    std::FILE* const file = std::fopen(name, "wb");
    Require(file != nullptr, "the input cannot be written");
    const bool written = size == 0 || std::fwrite(data, size, 1, file) == 1;
    Require(std::fclose(file) == 0 && written, "the input cannot be written");
}

void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz target: %s\n", what);
    std::abort();
}

void RequireWholePosition() {
    Position expected = RecomputePosition(thread_board);
    // More than eight pawns a side can add up to the very number that stands for "cannot be indexed",
    // which is then kept for the game: it costs a look into a table, and is right for every position.
    const auto& count = thread_board.PieceCount[PAWN];
    if (count[WHITE] > 8 || count[BLACK] > 8 || thread_board.MaterialIndex == MaterialIndexNone)
        expected.MaterialIndex = thread_board.MaterialIndex;
    const std::string field = DifferingField(thread_board, expected);
    Require(field.empty(), field.c_str());
}
