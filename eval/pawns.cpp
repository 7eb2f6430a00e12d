// pawns.cpp - pawn structure and the pawn hash.
//
// Everything that depends on pawns alone is worked out once and kept by pawn key: the score
// of the structure, passed pawns, shelter defects of both wings and what the piece terms ask
// about pawns. Passed pawns get only their candidates' part here, the rest needs pieces.
//
// State: the pawn hash. Allocated at start-up, entries zero = empty. A position without
// pawns has key 0, which would match an empty entry; its record is made anew.
#include "eval/pawns.h"

#include <algorithm>
#include <cstring>

#include "board/attacks.h"
#include "board/memory.h"
#include "eval/evaluate.h"
#include "eval/slot_index.h"

namespace {

PawnRecord* pawn_hash;
constexpr size_t SpareEntries = 2;
size_t HashBytes(uint32_t entries) { return (size_t(entries) + SpareEntries) * sizeof(PawnRecord); }
SlotDivisor pawn_slots;

// The size whose slots are the low bits of the key.
constexpr uint32_t MaskedEntries = 262144;

// Weight of a chained pawn in the endgame half, in quarters.
constexpr int ChainedEndgameQuarters = 3;

int FileSet(Bitboard pawns) {
    pawns |= pawns >> 32;
    pawns |= pawns >> 16;
    pawns |= pawns >> 8;
    return int(pawns & 255);
}

// How far the pawns of one wing are from the ideal cover of a king behind them.
template <Colour C> int ShelterDefects(int first_file, Bitboard own, Bitboard enemy) {
    int defects = 0;
    for (int f = first_file; f < first_file + 3; ++f) {
        const Bitboard file = FileMask(f);
        const Bitboard own_here = own & file, enemy_here = enemy & file;
        if (own_here & RelativeRankMask(C, 1))
            ;  // at home: no defect
        else if (own_here & RelativeRankMask(C, 2)) defects += weights.shelter_third;
        else if (own_here & RelativeRankMask(C, 3)) defects += weights.shelter_fourth;
        else defects += weights.shelter_missing;
        if (!own_here && !enemy_here) defects += weights.shelter_open;
        if (enemy_here & RelativeRankMask(C, 2)) defects += weights.shelter_storm_third;
        else if (enemy_here & RelativeRankMask(C, 3)) defects += weights.shelter_storm_fourth;
    }
    return std::clamp(defects, 0, 255);
}

template <bool Traced> struct SideResult {
    Tally<Traced> tally;
    int opening = 0, endgame = 0;  // of the named tables
    int passed_files = 0;
};

template <Colour Us, bool Traced> SideResult<Traced> EvaluateSide() {
    constexpr Colour Them = ChangeSide(Us);
    constexpr int Up = Us == WHITE ? 8 : -8;
    const EvaluationMasks& masks = evaluation_masks;
    const Bitboard own = thread_board.pieces[PAWN][Us], enemy = thread_board.pieces[PAWN][Them];
    const Bitboard own_attacks = PawnAttackSet<Us>(own), enemy_attacks = PawnAttackSet<Them>(enemy);
    const Bitboard attacked_twice = PawnDoubleAttackSet<Them>(enemy);
    SideResult<Traced> r{Tally<Traced>(Us)};
    Tally<Traced>& tally = r.tally;

    for (Bitboard rest = own; rest;) {
        const Square s = PopLowest(rest);
        const int rank = RelativeRank(Us, s);
        if (rank < 1 || rank > 6) continue;  // odd set-ups only
        const Bitboard ahead = Bit(s + Up);
        const Bitboard neighbours = own & masks.adjacent_files[FileOf(s)];
        const bool own_ahead = (own & masks.front_span[Us][s]) != 0;
        const bool half_open = !(enemy & FileMask(FileOf(s)));
        const bool supported = (own_attacks & Bit(s)) != 0;
        const bool phalanx = (neighbours & RankMask(RankOf(s))) != 0;

        if (supported) tally.Add(SupportedPawn + rank - 1);
        if (phalanx) tally.Add(PhalanxPawn + rank - 1);
        if (!neighbours) {
            tally.Add(half_open ? IsolatedHalfOpen : IsolatedPawn);
        } else if (supported || phalanx) {
            const int value = tuned.chained_pawn[FilePair(s)][rank];
            r.opening += value;
            r.endgame += value * ChainedEndgameQuarters / 4;
        } else if (!(neighbours & ~masks.attack_span[Us][s]) && rank < 6 && ((enemy_attacks | enemy) & ahead)) {
            // Every neighbour has gone ahead, and the next square is barred.
            tally.Add(half_open ? BackwardHalfOpen : BackwardPawn);
        }
        if (attacked_twice & Bit(s)) tally.Add(AttackedTwicePawn);
        if (rank >= 3 && rank <= 5 && (enemy & ahead)) tally.Add(RammedPawn + rank - 3);
        if (rank < 6 && (pawn_attacks[Us][s] & enemy)) tally.Add(LeverPawn + rank - 1);
        else if (rank < 5 && !((own | enemy) & ahead) && (pawn_attacks[Us][s + Up] & enemy))
            tally.Add(LeverPush + rank - 1);
        if (own_ahead) {
            tally.Add(DoubledPawn);
            continue;
        }
        if (!(enemy & masks.passed_span[Us][s])) {
            r.passed_files |= 1 << FileOf(s);
        } else if (half_open && rank < 6) {
            // A candidate: at least as many helpers beside or behind as enemy guards ahead.
            const Bitboard guards = enemy & masks.attack_span[Us][s];
            const Bitboard helpers = own & masks.attack_span[Them][s + Up];
            if (PopCount(helpers) >= PopCount(guards)) tally.Add(CandidatePawn + rank - 1);
        }
    }
    TracePiece<Traced>(TracePart::ChainedPawns, Us, r.opening, r.endgame);
    return r;
}

int16_t Fit(int value) { return int16_t(std::clamp(value, -30000, 30000)); }

// Pairs of pawns on the files c to f that face each other.
int RammedPairs() {
    constexpr Bitboard centre = FileMask(2) | FileMask(3) | FileMask(4) | FileMask(5);
    const Bitboard white = thread_board.pieces[PAWN][WHITE], black = thread_board.pieces[PAWN][BLACK];
    return PopCount(ShiftNorth(white) & black & centre);
}

// Fills everything but the key from the pawns of thread_board.
template <bool Traced> void EvaluatePawnStructure(PawnRecord& record) {
    const Bitboard white = thread_board.pieces[PAWN][WHITE], black = thread_board.pieces[PAWN][BLACK];
    SideResult<Traced> w = EvaluateSide<WHITE, Traced>(), b = EvaluateSide<BLACK, Traced>();
    for (int c = 0; c < 2; ++c) {
        const int files = FileSet(thread_board.pieces[PAWN][c]);
        record.files[c] = uint8_t(files);
        record.islands[c] = uint8_t(PopCount(Bitboard(files & ~(files << 1))));
    }
    w.tally.Add(PawnIsland, record.islands[WHITE]);
    b.tally.Add(PawnIsland, record.islands[BLACK]);
    record.opening = Fit(OpeningOf(b.tally.score) + b.opening - OpeningOf(w.tally.score) - w.opening);
    record.endgame = Fit(EndgameOf(b.tally.score) + b.endgame - EndgameOf(w.tally.score) - w.endgame);
    record.defects[WHITE][0] = uint8_t(ShelterDefects<WHITE>(5, white, black));
    record.defects[WHITE][1] = uint8_t(ShelterDefects<WHITE>(0, white, black));
    record.defects[BLACK][0] = uint8_t(ShelterDefects<BLACK>(5, black, white));
    record.defects[BLACK][1] = uint8_t(ShelterDefects<BLACK>(0, black, white));
    record.passed_white = uint8_t(w.passed_files);
    record.passed_black = uint8_t(b.passed_files);
    record.light_pawns =
        uint8_t(std::min(15, PopCount(white & LightSquares)) | std::min(15, PopCount(black & LightSquares)) << 4);
    record.rammed = uint8_t(RammedPairs());
}

template <bool Traced> void Fill(PawnRecord& record, uint64_t key) {
    EvaluatePawnStructure<Traced>(record);
    record.key_low = uint32_t(key);
    record.key_high = uint32_t(key >> 32);
}

}  // namespace

PawnRecord* PawnSlot(uint64_t pawn_key) {
    if (!pawn_hash) return nullptr;
    const uint32_t low = uint32_t(pawn_key);
    return &pawn_hash[pawn_slots.count == MaskedEntries ? low & (MaskedEntries - 1) : pawn_slots.Remainder(low)];
}

template <bool Traced> void ProbePawns() {
    EvalInfo& info = thread_eval_info;
    const uint64_t key = thread_board.pawn_key;
    if constexpr (Traced) {  // the terms are wanted, not only their sum
        info.pawn_valid = true;
        Fill<true>(info.pawn, key);
        return;
    }
    const uint32_t low = uint32_t(key), high = uint32_t(key >> 32);
    ++evaluation_counters.pawn_calls;
    if (info.pawn_valid && info.pawn.key_low == low && info.pawn.key_high == high) {
        ++evaluation_counters.pawn_hits;
        return;
    }
    info.pawn_valid = true;
    PawnRecord* slot = key ? PawnSlot(key) : nullptr;
    if (!slot) {
        // Also the position without pawns: its record is quickly made.
        Fill<false>(info.pawn, key);
        return;
    }
    if (slot->key_low == low && slot->key_high == high) ++evaluation_counters.pawn_hits;
    else Fill<false>(*slot, key);
    info.pawn = *slot;
}
template void ProbePawns<false>();
template void ProbePawns<true>();

bool AllocatePawnHash(uint32_t entries) {
    FreePawnHash();
    ForgetPawns();
    if (entries == 0) return true;
    pawn_hash = static_cast<PawnRecord*>(AllocateZeroed(HashBytes(entries)));
    if (!pawn_hash) return false;
    pawn_slots.Set(entries);
    return true;
}

void FreePawnHash() {
    FreeZeroed(pawn_hash, HashBytes(pawn_slots.count));
    pawn_hash = nullptr;
    pawn_slots.Set(0);
}

void ClearPawnHash() {
    if (pawn_hash) std::memset(pawn_hash, 0, size_t(pawn_slots.count) * sizeof(PawnRecord));
    ForgetPawns();
}
