// material.cpp - material and imbalance, game phases, and the material table.
//
// Everything here depends on the numbers of men alone, so it is worked out once for each of
// the 531,441 signatures and looked up afterwards. Positions with three of a piece, or with
// more than eight pawns, take the direct path through the same functions.
//
// State: MaterialTable, filled by BuildMaterialTable() at start-up and after weights change.
#include "eval/material.h"

#include <algorithm>

#include "board/bitboard.h"
#include "board/material_index.h"
#include "board/position.h"
#include "eval/parameters.h"

namespace {

MaterialRecord MaterialTable[MaterialSignatures];  // [signature]

// Corrections in centipawns. The first four stand beside the settable bases.
constexpr int MorePieces = 120;   // a whole piece or major piece more
constexpr int QueenBalance = 60;  // a queen against equal counts
constexpr int TwoMinorsForRook = 90;
constexpr int ExchangeDown = 30;  // a minor more against part of a major
constexpr int KnightWithQueen = 15, BishopWithRook = 15;

// Bonus a rook by the number of pawns left: rooks gain from open lines. [all pawns, 0..16]
constexpr int RookPawnAdjust[17] = {15, 15, 13, 11, 9, 7, 5, 3, 1, -1, -3, -5, -7, -9, -11, -13, -15};

// Game phase weights: minor 1, rook 2, queen 4; twelve a side at the start.
constexpr int SidePhaseUnits = 12;

// One side's men.
struct SideCounts {
    int pawns, knights, bishops, rooks, queens;
    int minors;    // knights and bishops
    int majors;    // rooks and twice the queens
    int units;     // 3, 3, 5, 9
    int material;  // centipawns
};

SideCounts CountSide(int pawns, int knights, int bishops, int rooks, int queens) {
    SideCounts s{pawns, knights, bishops, rooks, queens, 0, 0, 0, 0};
    s.minors = knights + bishops;
    s.majors = rooks + 2 * queens;
    s.units = 3 * s.minors + 5 * rooks + 9 * queens;
    s.material = 100 * (s.units + pawns);
    return s;
}

SideCounts CountSide(Colour c) {
    const auto& n = thread_board.PieceCount;
    return CountSide(n[PAWN][c], n[KNIGHT][c], n[BISHOP][c], n[ROOK][c], n[QUEEN][c]);
}

// The row "j_a = j_b - 1" of the imbalance table for the side a with fewer major units, in
// a's favour.
inline int MinorsAgainstMajor(const SideCounts& a, const SideCounts& b) {
    const int* v = weights.imbalance;
    const bool queen_against_none = b.queens > 0 && a.queens == 0;
    if (a.minors <= b.minors) return 0;
    if (a.minors == b.minors + 1) return -(v[1] + ExchangeDown) - (queen_against_none ? v[5] + ExchangeDown : 0);
    if (a.units == 6) return v[2] + TwoMinorsForRook;
    if (queen_against_none) return v[3] + QueenBalance;
    return v[0] + MorePieces;
}

// Imbalance when somebody has more than a lone minor piece, in White's favour.
inline int PieceImbalance(const SideCounts& w, const SideCounts& b) {
    const int* v = weights.imbalance;
    const int more = v[0] + MorePieces;
    const int minors = w.minors - b.minors, majors = w.majors - b.majors;
    if (minors == 0 && majors != 0) return majors > 0 ? more : -more;
    if (minors == 0) {
        int i = 0;
        if (w.queens > 0 && b.queens == 0) i = v[4] + QueenBalance;
        if (b.queens > 0 && w.queens == 0) i = -(v[4] + QueenBalance);
        if (w.minors == 1 && w.queens > 0 && b.queens > 0 && w.pawns + b.pawns > 0) {
            if (w.knights > 0 && b.bishops > 0) i += KnightWithQueen;
            if (w.bishops > 0 && b.knights > 0) i -= KnightWithQueen;
        }
        return i;
    }
    if (majors == 0) return minors > 0 ? more : -more;
    if (majors == -1) return MinorsAgainstMajor(w, b);
    if (majors == 1) return -MinorsAgainstMajor(b, w);
    if (majors == 2 || majors == -2) return minors > 2 ? more : minors < -2 ? -more : 0;
    return 0;
}

// A small lead without pawns is hard to win: `lead` > 0 is the leader's.
inline int Damped(int lead, const SideCounts& leader, const SideCounts& other) {
    if (leader.units < other.units || leader.units - other.units >= 5) return lead;
    switch (leader.pawns) {
        case 0: return lead >> 2;
        case 1: return lead >> 1;
        case 2: return lead * 4 / 5;
        default: return lead;
    }
}

// The imbalance in White's favour, material itself not included.
inline int Imbalance(const SideCounts& w, const SideCounts& b) {
    int i = 0;
    if (w.units < 4 && b.units < 4) {
        if (w.minors > 0 && b.minors == 0) i = tuned.lone_minor_pawn_bonus[std::min(w.pawns, 8)];
        if (b.minors > 0 && w.minors == 0) i = -tuned.lone_minor_pawn_bonus[std::min(b.pawns, 8)];
    } else {
        i = PieceImbalance(w, b);
        if (w.queens + b.queens == 0) {
            if (b.majors > 0 && b.bishops > 0) i -= BishopWithRook;
            if (w.majors > 0 && w.bishops > 0) i += BishopWithRook;
        } else if (w.rooks + b.rooks == 0) {
            // Both sides look at Black's knights. That is meant.
            if (b.majors > 0 && b.knights > 0) i -= KnightWithQueen;
            if (w.majors > 0 && b.knights > 0) i += KnightWithQueen;
        }
        i += RookPawnAdjust[std::min(w.pawns + b.pawns, 16)] * (std::min(w.rooks, 2) - std::min(b.rooks, 2));
    }
    if (i > 0) i = Damped(i, w, b);
    if (i < 0) i = -Damped(-i, b, w);
    return i;
}

inline int PhaseUnits(const SideCounts& s) { return s.minors + 2 * s.majors; }
constexpr int SidePhase(int present) {
    return (std::max(0, SidePhaseUnits - present) * 256 + SidePhaseUnits / 2) / SidePhaseUnits;
}
constexpr int CommonPhase(int present) {
    return (std::max(0, 2 * SidePhaseUnits - present) * 256 + SidePhaseUnits) / (2 * SidePhaseUnits);
}

// Nothing but a lone minor or two knights, and no pawn to promote.
inline bool CannotWinAlone(const SideCounts& s) {
    return s.pawns == 0 && (s.units <= 3 || (s.knights == 2 && s.units == 6));
}
// May the king facing these men walk about as in an ending?
inline bool IsEndingAgainst(const SideCounts& enemy) {
    return enemy.units <= tuned.EndingThreshold || (enemy.queens == 0 && enemy.units <= tuned.QueenlessEndingThreshold);
}

// Many men on the board: much is still to be decided, so time is well spent now. Twice these numbers
// did no better in play.
constexpr int TimeFactorBase = 512, TimeFactorPerUnit = 8, TimeFactorPerPawn = 4;

inline MaterialRecord ComputeRecord(const SideCounts& w, const SideCounts& b) {
    MaterialRecord r;
    r.flags[WHITE] = uint8_t((CannotWinAlone(w) ? FlagCannotWin : 0) | (IsEndingAgainst(b) ? FlagEnding : 0));
    r.flags[BLACK] = uint8_t((CannotWinAlone(b) ? FlagCannotWin : 0) | (IsEndingAgainst(w) ? FlagEnding : 0));
    const int white = PhaseUnits(w), black = PhaseUnits(b);
    r.current_phase = int16_t(CommonPhase(white + black));
    r.black_phase = int16_t(SidePhase(black));
    r.white_phase = int16_t(SidePhase(white));
    r.correction = int16_t(std::clamp(-Imbalance(w, b), -32767, 32767));
    r.time_factor =
        int16_t(TimeFactorBase + TimeFactorPerUnit * (w.units + b.units) + TimeFactorPerPawn * (w.pawns + b.pawns));
    return r;
}

}  // namespace

void BuildMaterialTable() {
    // One side's 729 combinations, in the order of the signature's digits.
    SideCounts sides[9][3][3][3][3];  // [pawns][knights][bishops][rooks][queens]
    for (int p = 0; p < 9; ++p)
        for (int n = 0; n < 3; ++n)
            for (int b = 0; b < 3; ++b)
                for (int r = 0; r < 3; ++r)
                    for (int q = 0; q < 3; ++q) sides[p][n][b][r][q] = CountSide(p, n, b, r, q);

    MaterialRecord* record = MaterialTable;
    for (int bp = 0; bp < 9; ++bp)
        for (int wp = 0; wp < 9; ++wp)
            for (int bn = 0; bn < 3; ++bn)
                for (int wn = 0; wn < 3; ++wn)
                    for (int bb = 0; bb < 3; ++bb)
                        for (int wb = 0; wb < 3; ++wb)
                            for (int br = 0; br < 3; ++br)
                                for (int wr = 0; wr < 3; ++wr)
                                    for (int bq = 0; bq < 3; ++bq)
                                        for (int wq = 0; wq < 3; ++wq)
                                            *record++ =
                                                ComputeRecord(sides[wp][wn][wb][wr][wq], sides[bp][bn][bb][br][bq]);
}

const MaterialRecord& MaterialRecordOf(int signature) { return MaterialTable[signature]; }

const MaterialRecord* MaterialRecordOrNull() {
    // A set-up with nine or more pawns of a colour carries into the next digit, so the
    // index alone proves nothing.
    const Position& p = thread_board;
    if (unsigned(p.MaterialIndex) >= unsigned(MaterialSignatures)) return nullptr;
    if (p.PieceCount[PAWN][WHITE] > 8 || p.PieceCount[PAWN][BLACK] > 8) return nullptr;
    return &MaterialTable[p.MaterialIndex];
}

MaterialRecord ComputeMaterialRecord() { return ComputeRecord(CountSide(WHITE), CountSide(BLACK)); }

int EvaluateMaterial() {
    const SideCounts w = CountSide(WHITE), b = CountSide(BLACK);
    return b.material - w.material - Imbalance(w, b);
}
