// fuzz_pgn.cpp - any bytes as a file of games. Every move that is read is legal.
#include "board/legality.h"
#include "board/make_move.h"
#include "board/position.h"
#include "driver/game_file.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* Name = "input.pgn";
    WriteInputFile(Name, data, size);
    Require(OpenGameFile(Name, [] { return false; }), "the file cannot be opened");
    GameTags tags;
    while (NextGame(&tags)) {
        Require(tags.result >= -1 && tags.result <= GameResultUnknown, "a result that there is not");
        for (Move move; NextMoveOfGame(&move);) {
            Require(IsPseudoLegal(move), "a move that is not there");
            MakeMove(move);
            RequireWholePosition();
            Require(IsPlayable(), "a move has led to a position that cannot be played");
        }
    }
    CloseGameFile();
    return 0;
}
