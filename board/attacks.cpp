// attacks.cpp - filling the attack tables.
#include "board/attacks.h"

uint8_t line_pattern[256][8];
Bitboard rank_attacks[70 * 8];
Bitboard file_attacks[70 * 8];
Bitboard anti_diagonal_attacks[70 * 16];
Bitboard diagonal_attacks[70 * 16];
Bitboard knight_attacks[64], king_attacks[64];
Bitboard pawn_attacks[2][64];
Bitboard rook_rays[64], bishop_rays[64], queen_rays[64];
Bitboard direction_rays[8][64];
Bitboard between[64][64];
int8_t direction[64][64];

namespace {

// Places reached from `place` on a line with these blockers, first blockers included.
unsigned LineAttacks(unsigned occupancy, int place) {
    unsigned reached = 0;
    for (int i = place + 1; i < 8; ++i) {
        reached |= 1u << i;
        if (occupancy & (1u << i)) break;
    }
    for (int i = place - 1; i >= 0; --i) {
        reached |= 1u << i;
        if (occupancy & (1u << i)) break;
    }
    return reached;
}

// Numbers the 70 (attack set, place) pairs in order of first appearance, and lays each
// pattern on every rank, file and diagonal.
void BuildLines() {
    int pattern_of[256][8];
    for (auto& row : pattern_of)
        for (int& number : row) number = -1;
    int patterns = 0;
    for (unsigned occupancy = 0; occupancy < 256; ++occupancy) {
        for (int place = 0; place < 8; ++place) {
            const unsigned reached = LineAttacks(occupancy, place);
            int& number = pattern_of[reached][place];
            if (number < 0) {
                number = patterns++;
                for (int i = 0; i < 8; ++i) {
                    if (!(reached & (1u << i))) continue;
                    for (int line = 0; line < 8; ++line) {
                        rank_attacks[number * 8 + line] |= Bit(SquareAt(i, line));
                        file_attacks[number * 8 + line] |= Bit(SquareAt(line, i));
                    }
                    // i is the rank; a short diagonal has no square there.
                    for (int index = 0; index < 15; ++index) {
                        const int anti_file = index - i, file = index - 7 + i;
                        if (anti_file >= 0 && anti_file < 8)
                            anti_diagonal_attacks[number * 16 + index] |= Bit(SquareAt(anti_file, i));
                        if (file >= 0 && file < 8) diagonal_attacks[number * 16 + index] |= Bit(SquareAt(file, i));
                    }
                }
            }
            line_pattern[occupancy][place] = uint8_t(number);
        }
    }
}

// The set {s + (file, rank) steps} without the squares beyond the edge.
Bitboard Leaps(Square s, const int steps[][2], int count) {
    Bitboard reached = 0;
    for (int i = 0; i < count; ++i) {
        const int file = FileOf(s) + steps[i][0], rank = RankOf(s) + steps[i][1];
        if (file >= 0 && file < 8 && rank >= 0 && rank < 8) reached |= Bit(SquareAt(file, rank));
    }
    return reached;
}

void BuildLeapers() {
    constexpr int knight[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
    constexpr int king[8][2] = {{0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}};
    constexpr int white_pawn[2][2] = {{-1, 1}, {1, 1}};
    constexpr int black_pawn[2][2] = {{-1, -1}, {1, -1}};
    for (Square s = 0; s < 64; ++s) {
        knight_attacks[s] = Leaps(s, knight, 8);
        king_attacks[s] = Leaps(s, king, 8);
        pawn_attacks[WHITE][s] = Leaps(s, white_pawn, 2);
        pawn_attacks[BLACK][s] = Leaps(s, black_pawn, 2);
    }
}

// File and rank part of a step.
int FileStep(int step) { return step == 8 || step == -8 ? 0 : step == 9 || step == 1 || step == -7 ? 1 : -1; }
int RankStep(int step) { return step > 1 ? 1 : step < -1 ? -1 : 0; }

void BuildRays() {
    for (Square s = 0; s < 64; ++s) {
        const int file = FileOf(s), rank = RankOf(s);
        const int anti = file + rank, main = file - rank + 7;
        rook_rays[s] = rank_attacks[line_pattern[0][file] * 8 + rank] | file_attacks[line_pattern[0][rank] * 8 + file];
        const int pattern = line_pattern[0][rank] * 16;
        bishop_rays[s] = anti_diagonal_attacks[pattern + anti] | diagonal_attacks[pattern + main];
        queen_rays[s] = rook_rays[s] | bishop_rays[s];
        for (int d = 0; d < 8; ++d) {
            const int step = DirectionSteps[d];
            Bitboard passed = 0;
            for (int f = file + FileStep(step), r = rank + RankStep(step); f >= 0 && f < 8 && r >= 0 && r < 8;
                 f += FileStep(step), r += RankStep(step)) {
                const Square target = SquareAt(f, r);
                between[s][target] = passed;
                direction[s][target] = int8_t(step);
                passed |= Bit(target);
            }
            direction_rays[d][s] = passed;
        }
    }
}

}  // namespace

void InitialiseAttacks() {
    BuildLines();
    BuildLeapers();
    BuildRays();
}

Bitboard RayAttacks(Square s, int step) {
    const int index = DirectionIndex(step);
    if (index < 0) return 0;
    const Bitboard ray = direction_rays[index][s];
    switch (step) {
        case 9:
        case -9: return DiagonalAttacks(s) & ray;
        case 8:
        case -8: return FileAttacks(s) & ray;
        case 7:
        case -7: return AntiDiagonalAttacks(s) & ray;
        default: return RankAttacks(s) & ray;
    }
}

Bitboard AttackersTo(Square s) {
    const Position& p = thread_board;
    return (pawn_attacks[WHITE][s] & p.pieces[PAWN][BLACK]) | (pawn_attacks[BLACK][s] & p.pieces[PAWN][WHITE])
        | (knight_attacks[s] & (p.pieces[KNIGHT][WHITE] | p.pieces[KNIGHT][BLACK]))
        | (king_attacks[s] & (p.pieces[KING][WHITE] | p.pieces[KING][BLACK]))
        | ((rook_rays[s] & p.rook_movers) ? RookAttacks(s) & p.rook_movers : 0)
        | ((bishop_rays[s] & p.bishop_movers) ? BishopAttacks(s) & p.bishop_movers : 0);
}
