// fuzz_fen.cpp - any text as a FEN. What is accepted can be written, read again, and played.
#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "eval/evaluate.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/board_helpers.h"

static void RequireNamesOfMove(Move move) {
    const std::string name = MoveText(move);
    Require(ParseCoordinate(name.c_str()) == move, "coordinate text of a legal move names another");
    int matches = 0;
    const bool same = FindSan(MoveToSan(move).c_str(), &matches) == move;
    Require(same && matches == 1, "SAN of a legal move is not its own");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    SetFen(text.c_str());
    const std::string fen = WriteFen();
    if (!IsPlayable()) return 0;
    RequireWholePosition();

    const int score = Evaluate();
    Require(score >= -30000 && score <= 30000, "an evaluation outside its range");
    const PositionBytes before = BytesOfPosition();
    for (const Move move : LegalMoveList()) {
        RequireNamesOfMove(move);
        MakeMove(move);
        RequireWholePosition();
        Require(IsPlayable(), "a legal move leads to a position that cannot be played");
        UnmakeMove();
        Require(BytesOfPosition() == before, "taking a move back does not restore the position");
    }
    SetFen(fen.c_str());
    Require(WriteFen() == fen, "a FEN of ours is read differently");
    return 0;
}
