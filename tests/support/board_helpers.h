// board_helpers.h - what several board tests need: lists of moves, random games, a name for
// what differs between two positions.
//
// The helpers work on the one global board. Random numbers are the same in every run.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "tools/common/random.h"

using TestRandom = SplitMix;

using MoveList = std::vector<Move>;

// What one or several generators append, as a list; the stack is left as it was.
template <typename Generate> MoveList Generated(Generate generate) {
    const int top = move_count;
    generate();
    MoveList moves;
    for (int i = top; i < move_count; ++i) moves.push_back(move_stack[i].move);
    move_count = top;
    return moves;
}

inline MoveList LegalMoveList() {
    return Generated([] { GenerateLegalMoves(move_count); });
}

inline MoveList Sorted(MoveList moves) {
    std::sort(moves.begin(), moves.end());
    return moves;
}

// For messages: "e2e4 g1f3".
inline std::string Text(const MoveList& moves) {
    std::string text;
    for (const Move m : moves) text += (text.empty() ? "" : " ") + MoveText(m);
    return text;
}

// Plays moves in coordinate form, separated by spaces. False at the first illegal one.
inline bool PlayMoves(const std::string& moves) {
    size_t at = 0;
    while (at < moves.size()) {
        const Move m = ParseCoordinate(moves.c_str() + at);
        if (m == 0) return false;
        MakeMove(m);
        at = moves.find(' ', at);
        if (at == std::string::npos) break;
        ++at;
    }
    return true;
}

// A random game of at most `plies` moves from the current position. At every position, the
// first included, calls visit(legal moves); stops early at mate and stalemate. The moves
// stay on the board.
template <typename Visit> void RandomGame(TestRandom& random, int plies, Visit visit) {
    for (int ply = 0;; ++ply) {
        const MoveList moves = LegalMoveList();
        visit(moves);
        if (ply == plies || moves.empty()) return;
        MakeMove(moves[size_t(random.Below(int(moves.size())))]);
    }
}

// Every byte of the position. (Copying the struct need not copy the gaps between fields.)
using PositionBytes = std::array<unsigned char, sizeof(Position)>;
inline PositionBytes BytesOfPosition() {
    PositionBytes bytes;
    std::memcpy(bytes.data(), &thread_board, sizeof(Position));
    return bytes;
}

// The name of the first field in which two positions differ, "" if there is none.
inline std::string DifferingField(const Position& a, const Position& b) {
#define FIELD(name) \
    { #name, offsetof(Position, name), sizeof(Position::name) }
    static const struct {
        const char* name;
        size_t at, size;
    } fields[] = {
        FIELD(occupied),     FIELD(file_occupied), FIELD(diagonal),        FIELD(anti_diagonal), FIELD(colour),
        FIELD(pieces),       FIELD(rook_movers),   FIELD(bishop_movers),   FIELD(hash_key),      FIELD(pawn_key),
        FIELD(SideToMove),   FIELD(king_square),   FIELD(castling),        FIELD(fifty),         FIELD(MaterialIndex),
        FIELD(piece_square), FIELD(Material),      FIELD(NonPawnMaterial), FIELD(MajorUnits),    FIELD(MinorCount),
        FIELD(piece_total),  FIELD(PieceCount),    FIELD(board),
    };
#undef FIELD
    const auto bytes = [](const Position& p) { return reinterpret_cast<const unsigned char*>(&p); };
    for (const auto& field : fields)
        if (std::memcmp(bytes(a) + field.at, bytes(b) + field.at, field.size) != 0) return field.name;
    return "";
}
