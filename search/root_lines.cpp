// root_lines.cpp - the principal line of each root move.
//
// State: the lines, found through RootMove::line.
#include "search/root_lines.h"

#include <algorithm>
#include <cstring>

#include "board/position.h"
#include "search/search_state.h"

namespace {

struct Line {
    int length;
    Move moves[MaxPly + 2];
};
Line lines[MaxRootMoves];

}  // namespace

void ForgetLines() {
    for (Line& line : lines) line.length = 0;
}

void KeepLine(const RootMove& root) {
    Line& line = lines[root.line];
    line.moves[0] = root.move;
    line.length = 1 + pv_length[1];
    std::memcpy(line.moves + 1, pv_table[1], size_t(pv_length[1]) * sizeof(Move));
}

int RootLine(int index, Move* line, int limit) {
    if (root_move_count == 0) return 0;
    const Line& kept = lines[root_moves[index].line];
    int length = kept.length;
    std::memcpy(line, kept.moves, size_t(length) * sizeof(Move));
    if (length == 0) line[length++] = root_moves[index].move;
    // The search is deep in the tree when the periodic check reports; the line belongs to the root.
    if (history_count != root_history_count) return length;
    return LengthenFromTable(line, length, std::max(std::min(limit, MaxPly), length));
}

int PrincipalVariation(Move* line, int limit) { return RootLine(0, line, limit); }
