// fuzz_book.cpp - any bytes as a book: moves are asked for, listed and learned along a few games, and
// the makers of books read it.
#include "board/notation.h"
#include "board/position.h"
#include "board/settings.h"
#include "book/book.h"
#include "book/book_file.h"
#include "book/book_learning.h"
#include "book/book_writer.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/board_helpers.h"

static void FollowBook() {
    constexpr int Plies = 6;
    SetInitialPosition();
    for (int ply = 0; ply < Plies; ++ply) {
        list_book_moves();
        const Move move = book_move();
        if (move == 0 || ParseCoordinate(MoveText(move).c_str()) != move) break;
        update_book_move(ply % 3, move);
        MakeMove(move);
        RequireWholePosition();
    }
    ResetBookLearning();
    learn_game(ResultWon);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* Name = "Book.cvt";
    WriteInputFile(Name, data, size);
    SetDefaults();
    UseBookLearning = 1;
    open_book(Name);
    for (const int variety : {0, 100}) {
        VarietyOfPlay = variety;
        UseBookWeights = variety != 0;
        FollowBook();
    }
    close_book();

    BookNodes nodes;
    std::string error;
    if (ReadBookFile(std::string(reinterpret_cast<const char*>(data), size), nodes, error)) {
        const std::string bytes = BookFileBytes(nodes);
        BookNodes again;
        Require(ReadBookFile(bytes, again, error) && BookFileBytes(again) == bytes,
                "a book of ours is read differently");
    } else {
        Require(!error.empty(), "a book is refused without a reason");
    }
    return 0;
}
