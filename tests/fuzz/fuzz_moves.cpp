// fuzz_moves.cpp - any words as moves of a game, in coordinate form or SAN, from one of a few positions.
#include <cstring>

#include "board/legality.h"
#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "tests/fuzz/fuzz.h"

constexpr const char* Starts[] = {
    StartFen,
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",
    "q3k2q/8/8/q6q/4K3/8/1Q4Q1/Q6Q w - - 0 1",
};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    InputNumbers numbers(data, size);
    SetFen(Starts[numbers.Take(1) % std::size(Starts)]);
    const std::string start = WriteFen();
    std::string text(reinterpret_cast<const char*>(numbers.Rest()), numbers.RestLength());
    int made = 0;
    for (char* word = std::strtok(text.data(), " \n"); word != nullptr; word = std::strtok(nullptr, " \n")) {
        Move move = ParseCoordinate(word);
        if (move == 0 && std::strlen(word) < sizeof san_token.text) {
            int matches = 0;
            move = FindSan(word, &matches);
            Require((move == 0) == (matches == 0), "a move without a match, or a match without a move");
        }
        if (move == 0) continue;
        Require(IsPseudoLegal(move), "a move that is not there");
        MakeMove(move);
        ++made;
        RequireWholePosition();
        Require(IsPlayable(), "a move has led to a position that cannot be played");
    }
    while (made-- > 0) UnmakeMove();
    Require(WriteFen() == start, "moves taken back do not lead to the start");
    return 0;
}
