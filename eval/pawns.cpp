// pawns.cpp - pawn structure and the pawn hash.
//
// Everything that depends on pawns alone is worked out once and kept by pawn key: the score
// of the structure, passed pawns, shelter defects of both wings and what the piece terms ask
// about pawns. Passed pawns get only their candidates' part here, the rest needs pieces.
//
// State: the pawn hash. Allocated at start-up, entries zero = empty. A position without
// pawns has key 0, which would match an empty entry; it is answered from a constant.
#include "eval/pawns.h"

#include <algorithm>
#include <cstring>

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

// Shelter defects of an enemy pawn on our third or fourth rank.
constexpr int StormOnThird = 10, StormOnFourth = 3;

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
        if (enemy_here & RelativeRankMask(C, 2)) defects += StormOnThird;
        else if (enemy_here & RelativeRankMask(C, 3)) defects += StormOnFourth;
    }
    return std::clamp(defects, 0, 255);
}

struct SideResult {
    int opening = 0, endgame = 0;
    int passed_files = 0;
};

template <Colour Us> SideResult EvaluateSide() {
    constexpr Colour Them = ChangeSide(Us);
    constexpr int Up = Us == WHITE ? 8 : -8;
    const EvaluationMasks& masks = evaluation_masks;
    const Bitboard own = thread_board.pieces[PAWN][Us], enemy = thread_board.pieces[PAWN][Them];
    const Bitboard own_attacks = PawnAttackSet<Us>(own), enemy_attacks = PawnAttackSet<Them>(enemy);
    SideResult r;

    for (Bitboard rest = own; rest;) {
        const Square s = PopLowest(rest);
        const int rank = RelativeRank(Us, s);
        const Bitboard neighbours = own & masks.adjacent_files[FileOf(s)];
        const bool own_ahead = (own & masks.front_span[Us][s]) != 0;
        const bool half_open = !(enemy & FileMask(FileOf(s)));
        const bool supported = (own_attacks & Bit(s)) != 0;
        const bool chained = supported || (neighbours & RankMask(RankOf(s)));

        if (!neighbours) {
            const int* w = half_open ? weights.isolated_half_open : weights.isolated;
            r.opening += w[0];
            r.endgame += w[1];
        } else if (chained) {
            const int value = tuned.chained_pawn[FilePair(s)][rank];
            r.opening += value;
            r.endgame += value * ChainedEndgameQuarters / 4;
        } else if (!(neighbours & ~masks.attack_span[Us][s]) && rank < 6 && rank > 0
                   && ((enemy_attacks | enemy) & Bit(s + Up))) {
            // Every neighbour has gone ahead, and the next square is barred.
            const int* w = half_open ? weights.backward_half_open : weights.backward;
            r.opening += w[0];
            r.endgame += w[1];
        }
        if (own_ahead) {
            r.opening += weights.doubled[0];
            r.endgame += weights.doubled[1];
            continue;
        }
        if (!(enemy & masks.passed_span[Us][s])) {
            r.passed_files |= 1 << FileOf(s);
        } else if (half_open && rank > 0 && rank < 6) {
            // A candidate: at least as many helpers beside or behind as enemy guards ahead.
            const Bitboard guards = enemy & masks.attack_span[Us][s];
            const Bitboard helpers = own & masks.attack_span[Them][s + Up];
            if (PopCount(helpers) >= PopCount(guards)) {
                r.opening += weights.passed[0][rank - 1] / 3;
                r.endgame += weights.passed[1][rank - 1] / 3;
            }
        }
    }
    return r;
}

int16_t Fit(int value) { return int16_t(std::clamp(value, -30000, 30000)); }

// Centre closed: on two or more of the files c to f a pawn faces an enemy pawn.
bool CentreClosed() {
    constexpr Bitboard centre = FileMask(2) | FileMask(3) | FileMask(4) | FileMask(5);
    const Bitboard white = thread_board.pieces[PAWN][WHITE], black = thread_board.pieces[PAWN][BLACK];
    return MoreThanOne(ShiftNorth(white) & black & centre);
}

void Fill(PawnRecord& record, uint64_t key) {
    EvaluatePawnStructure(record);
    record.key_low = uint32_t(key);
    record.key_high = uint32_t(key >> 32);
}

}  // namespace

void EvaluatePawnStructure(PawnRecord& record) {
    const Bitboard white = thread_board.pieces[PAWN][WHITE], black = thread_board.pieces[PAWN][BLACK];
    const SideResult w = EvaluateSide<WHITE>(), b = EvaluateSide<BLACK>();
    record.opening = Fit(b.opening - w.opening);
    record.endgame = Fit(b.endgame - w.endgame);
    record.defects[WHITE][0] = uint8_t(ShelterDefects<WHITE>(5, white, black));
    record.defects[WHITE][1] = uint8_t(ShelterDefects<WHITE>(0, white, black));
    record.defects[BLACK][0] = uint8_t(ShelterDefects<BLACK>(5, black, white));
    record.defects[BLACK][1] = uint8_t(ShelterDefects<BLACK>(0, black, white));
    record.passed_white = uint8_t(w.passed_files);
    record.passed_black = uint8_t(b.passed_files);
    for (int c = 0; c < 2; ++c) {
        const int files = FileSet(thread_board.pieces[PAWN][c]);
        record.files[c] = uint8_t(files);
        record.islands[c] = uint8_t(PopCount(Bitboard(files & ~(files << 1))));
    }
    record.light_pawns =
        uint8_t(std::min(15, PopCount(white & LightSquares)) | std::min(15, PopCount(black & LightSquares)) << 4);
    record.centre_closed = CentreClosed();
}

PawnRecord* PawnSlot(uint64_t pawn_key) {
    if (!pawn_hash) return nullptr;
    const uint32_t low = uint32_t(pawn_key);
    return &pawn_hash[pawn_slots.count == MaskedEntries ? low & (MaskedEntries - 1) : pawn_slots.Remainder(low)];
}

void ProbePawns() {
    EvalInfo& info = thread_eval_info;
    const uint64_t key = thread_board.pawn_key;
    const uint32_t low = uint32_t(key), high = uint32_t(key >> 32);
    if (info.pawn_valid && info.pawn.key_low == low && info.pawn.key_high == high) return;
    info.pawn_valid = true;
    PawnRecord* slot = key ? PawnSlot(key) : nullptr;
    if (!slot) {
        // Also the position without pawns: its record is quickly made.
        Fill(info.pawn, key);
        return;
    }
    if (slot->key_low != low || slot->key_high != high) Fill(*slot, key);
    info.pawn = *slot;
}

bool AllocatePawnHash(uint32_t entries) {
    FreePawnHash();
    thread_eval_info.pawn_valid = false;
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
    thread_eval_info.pawn_valid = false;
}
