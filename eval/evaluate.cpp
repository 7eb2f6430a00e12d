// evaluate.cpp - the evaluation's driver: lazy exit, cache, the sixteen steps, fifty moves.
//
// Evaluate() is what the search calls. Material far outside the window of the running
// iteration ends it at once; otherwise the cache is asked, and EvaluatePosition() on a miss.
// A cache entry holds the scores of both sides to move: the second follows from the first
// by SymmetryDelta, which is kept exact, so that a result never depends on what the cache
// happened to hold.
//
// Score of the other side = SymmetryDelta - score of this side.
//
// State: the cache; thread_eval_info; the outputs for the search declared in evaluate.h;
// the style under which the cached scores were made.
#include "eval/evaluate.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "board/attacks.h"
#include "board/memory.h"
#include "board/settings.h"
#include "eval/endings.h"
#include "eval/eval_info.h"
#include "eval/kpk.h"
#include "eval/material.h"
#include "eval/pawns.h"
#include "eval/slot_index.h"
#include "eval/trace.h"

EvalInfo thread_eval_info;
EvaluationCounters evaluation_counters;

constinit int LazyWindow[2] = {-32767, 32767};
Colour evaluation_root_side;
int evaluation_material;
int EvalSpread;
Bitboard evaluation_passed[2];
Bitboard evaluation_attacks[2];

namespace {

// The square sets are split in words: as 64-bit members they would have to start at a
// multiple of eight and the entry would grow.
struct CacheEntry {
    uint32_t key_low, key_high;
    int16_t score[2];        // [side to move], NotEvaluated = empty
    uint32_t squares[4][2];  // passed pawns W, B, attacks W, B; low word first
    int16_t material, spread;
};
static_assert(sizeof(CacheEntry) == EvalCacheEntryBytes);
static_assert(sizeof(PawnRecord) == PawnHashEntryBytes);

CacheEntry* eval_cache;
constexpr size_t SpareEntries = 2;
size_t CacheBytes(uint32_t entries) { return (size_t(entries) + SpareEntries) * sizeof(CacheEntry); }
SlotDivisor cache_slots;
constexpr uint32_t MaskedEntries = 524288;  // the size whose slots are the low bits of the key

// The style factors under which the cached scores were made; the program starts with these.
int cached_aggressivity = 50, cached_cowardice = 50;

constexpr int MostMen = 32;
constexpr int ScoreLimit = 30000;  // scores are kept in 16 bits
constexpr int InitialSpread = 6300;
constexpr int TempoBonus = 8;
constexpr int EarlyDrawMargin = 100;  // king and pawn each: nearer to zero is a draw
// Material alone tells nothing when the side ahead has so little left (piece units).
constexpr int LazyUnitsFewPawns = 9, LazyUnitsWithPawns = 6;
constexpr int SeventhRankAllowance = 100, SixthRankAllowance = 50;

uint64_t CacheKey() { return thread_board.hash_key ^ ZobristCastling[thread_board.castling]; }

CacheEntry* CacheSlot(uint64_t key) {
    const uint32_t low = uint32_t(key);
    return &eval_cache[cache_slots.count == MaskedEntries ? low & (MaskedEntries - 1) : cache_slots.Remainder(low)];
}

void ClearCache() {
    if (eval_cache) std::memset(eval_cache, 0, size_t(cache_slots.count) * sizeof(CacheEntry));
}

void StoreSquares(uint32_t (&words)[2], Bitboard b) {
    words[0] = uint32_t(b);
    words[1] = uint32_t(b >> 32);
}
Bitboard LoadSquares(const uint32_t (&words)[2]) { return words[0] | Bitboard(words[1]) << 32; }

// From 256 at eight plies without progress down by 2 a ply. There is no lower end; the
// fifty-move rule ends the game before it turns negative.
int FiftyMoveFactor() { return 256 - 2 * std::max(0, thread_board.fifty - 8); }

int FiftyMoveScaled(int score) {
    const int factor = FiftyMoveFactor();
    EvalSpread = EvalSpread * factor / 256;
    return std::clamp(score * factor / 256, -ScoreLimit, ScoreLimit);
}

bool EnoughToBeLazy(Colour ahead) {
    const Position& p = thread_board;
    return p.PieceCount[PAWN][ahead] < 2 ? p.NonPawnMaterial[ahead] > LazyUnitsFewPawns
                                         : p.NonPawnMaterial[ahead] >= LazyUnitsWithPawns;
}

int LazyResult(int material) {
    ++evaluation_counters.lazy;
    thread_eval_info.Cacheable = 0;
    evaluation_material = thread_board.Material[BLACK] - thread_board.Material[WHITE];
    evaluation_passed[WHITE] = evaluation_passed[BLACK] = 0;
    evaluation_attacks[WHITE] = evaluation_attacks[BLACK] = 0;
    EvalSpread = InitialSpread;
    return FiftyMoveScaled(std::clamp(material, -ScoreLimit, ScoreLimit));
}

void ClearScratch() {
    EvalInfo& info = thread_eval_info;
    info.accumulator = info.OpeningScore = info.EndgameScore = 0;
    for (int c = 0; c < 2; ++c) {
        info.SideOpening[c] = info.SideEndgame[c] = 0;
        info.danger[c] = info.attackers[c] = info.shelter_penalty[c] = info.king_attack[c] = 0;
        info.cannot_win[c] = 0;
        info.lead_scale[c] = 256;
        info.passed[c] = info.foremost[c] = info.attacks[c] = 0;
    }
    info.SymmetryDelta = 0;
    info.SymmetryValid = 1;
    info.Cacheable = 1;
    info.no_fading = 0;
    EvalSpread = InitialSpread;
}

void CopyRecord(const MaterialRecord& record) {
    EvalInfo& info = thread_eval_info;
    info.current_phase = record.current_phase;
    info.phase[WHITE] = record.white_phase;
    info.phase[BLACK] = record.black_phase;
    info.ending[WHITE] = (record.flags[WHITE] & FlagEnding) != 0;
    info.ending[BLACK] = (record.flags[BLACK] & FlagEnding) != 0;
}

// The position_loaded_hook: phases and ENDING flags are right before the first evaluation.
void PositionLoaded() {
    const MaterialRecord* record = MaterialRecordOrNull();
    CopyRecord(record ? *record : ComputeMaterialRecord());
}

Bitboard PassedPawns(Colour c) {
    return FileA * uint64_t(thread_eval_info.pawn.Passed(c)) & thread_board.pieces[PAWN][c];
}

// A rook against two minor pieces lives on its passed pawns.
int RookAgainstMinors() {
    const Position& p = thread_board;
    const EvalInfo& info = thread_eval_info;
    if (p.NonPawnMaterial[WHITE] == 5 && p.NonPawnMaterial[BLACK] == 6 && p.PieceCount[KNIGHT][BLACK] > 0)
        return -tuned.rook_against_minors[PopCount(Bitboard(info.pawn.passed_white))];
    if (p.NonPawnMaterial[BLACK] == 5 && p.NonPawnMaterial[WHITE] == 6 && p.PieceCount[KNIGHT][WHITE] > 0)
        return tuned.rook_against_minors[PopCount(Bitboard(info.pawn.passed_black))];
    return 0;
}

int BlendAll() {
    const EvalInfo& info = thread_eval_info;
    return Blend(info.accumulator + info.OpeningScore, info.accumulator + info.EndgameScore, info.current_phase)
        + Blend(info.SideOpening[BLACK], info.SideEndgame[BLACK], info.phase[BLACK])
        - Blend(info.SideOpening[WHITE], info.SideEndgame[WHITE], info.phase[WHITE]);
}

// A part of the score that is one number, Black's view, the same in both phases.
template <bool Traced> void TraceWhole(TracePart part, int value) { TracePiece<Traced>(part, BLACK, value, value); }

// A rule has settled the position: nothing but its verdict counts.
template <bool Traced> void TraceVerdict() {
    if constexpr (Traced) {
        evaluation_trace = {};
        evaluation_trace.exact = true;
        TraceWhole<true>(TracePart::Material, thread_eval_info.accumulator);
    }
}

// Turns a Black-view score to the side to move and leaves everything for the search.
void Finish(int& result) {
    EvalInfo& info = thread_eval_info;
    int score = thread_board.SideToMove == WHITE ? -info.accumulator : info.accumulator;
    const int other = info.SymmetryDelta - score;
    if (std::max(std::abs(score), std::abs(other)) > ScoreLimit) {
        score = std::clamp(score, -ScoreLimit, ScoreLimit);
        info.SymmetryValid = 0;
    }
    evaluation_material = std::clamp(info.material, -32767, 32767);
    for (int c = 0; c < 2; ++c) {
        evaluation_passed[c] = info.passed[c];
        evaluation_attacks[c] = info.attacks[c];
    }
    result = score;
}

}  // namespace

int AdvancedPawnAllowance(Colour c) {
    const Bitboard pawns = thread_board.pieces[PAWN][c];
    if (pawns & RelativeRankMask(c, 6)) return SeventhRankAllowance;
    if (pawns & RelativeRankMask(c, 5)) return SixthRankAllowance;
    return 0;
}

namespace {

template <bool Traced> void EvaluateAll(int& result) {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const bool white_to_move = p.SideToMove == WHITE;

    // Step 1. Clear the accumulators.
    ClearScratch();

    // More men than a game has, set up by hand: the terms' sums would not fit. Material only.
    if (p.piece_total > MostMen) {
        CopyRecord(ComputeMaterialRecord());
        info.accumulator = info.material = EvaluateMaterial();
        TraceVerdict<Traced>();
        return Finish(result);
    }

    // Step 2. Material, phases, ENDING flags.
    const int low_units = std::min(p.NonPawnMaterial[WHITE], p.NonPawnMaterial[BLACK]);
    if (low_units < tuned.EndingThreshold) {
        if (EvaluateLowMaterial()) {
            TraceVerdict<Traced>();
            return Finish(result);
        }
    } else {
        const MaterialRecord* record = MaterialRecordOrNull();
        if (record) {
            CopyRecord(*record);
            info.material = p.Material[BLACK] - p.Material[WHITE] + record->correction;
        } else {
            CopyRecord(ComputeMaterialRecord());
            info.material = EvaluateMaterial();
        }
        info.accumulator = info.material;
    }
    TraceWhole<Traced>(TracePart::Material, info.accumulator);

    // Step 3. Piece-square sums, kept by the board.
    info.OpeningScore = p.piece_square[0];
    info.EndgameScore = p.piece_square[1];

    // Step 4. Pawn structure.
    ProbePawns<Traced>();
    info.OpeningScore += info.pawn.opening;
    info.EndgameScore += info.pawn.endgame;
    info.passed[WHITE] = PassedPawns(WHITE);
    info.passed[BLACK] = PassedPawns(BLACK);
    info.pawn_attacks[WHITE] = PawnAttackSet<WHITE>(p.pieces[PAWN][WHITE]);
    info.pawn_attacks[BLACK] = PawnAttackSet<BLACK>(p.pieces[PAWN][BLACK]);

    // Step 5. Special material.
    const bool pawns_only = p.NonPawnMaterial[WHITE] == 0 && p.NonPawnMaterial[BLACK] == 0;
    if (info.ending[WHITE] || info.ending[BLACK]) {
        const int rook = RookAgainstMinors();
        info.accumulator += rook;
        TraceWhole<Traced>(TracePart::RookAgainstMinors, rook);
        if (pawns_only) {
            info.SymmetryValid = 0;
            const int race = weights.race_bonus * PawnRaceWinner();
            info.accumulator += race;
            TraceWhole<Traced>(TracePart::PawnRace, race);
        }
    }

    // Step 6. Passed pawns, weighed against material.
    if (info.pawn.passed_white | info.pawn.passed_black)
        info.accumulator = EvaluatePassedPawns<Traced>(info.accumulator);
    if (p.Material[WHITE] == 100 && p.Material[BLACK] == 100
        && std::abs(info.accumulator + info.EndgameScore + info.SideEndgame[BLACK] - info.SideEndgame[WHITE])
            < EarlyDrawMargin) {
        info.accumulator = 0;
        info.attacks[WHITE] = info.pawn_attacks[WHITE];  // the same as with the other side to move
        info.attacks[BLACK] = info.pawn_attacks[BLACK];
        TraceVerdict<Traced>();
        return Finish(result);
    }

    // Step 7. King shelter, by style. Step 8, the kings' zones and lines, is part of steps 10
    // and 13, which alone read them.
    EvaluateShelters<Traced>(evaluation_root_side);

    int other_accumulator;
    if (pawns_only) {
        // Step 9. A pure pawn ending is done here.
        info.attacks[WHITE] = info.pawn_attacks[WHITE];
        info.attacks[BLACK] = info.pawn_attacks[BLACK];
        info.accumulator = BlendAll();
        const int blended = info.accumulator;
        if ((info.cannot_win[BLACK] && info.accumulator > 0) || (info.cannot_win[WHITE] && info.accumulator < 0))
            info.accumulator = 0;
        TraceWhole<Traced>(TracePart::EndingScale, info.accumulator - blended);
    } else {
        // Step 10. Pieces, and what they threaten. Step 11. Their attack on the king, with the
        // shelter of step 7.
        EvaluatePieces<Traced>();
        EvaluateThreats<Traced>();
        EvaluateKings<Traced>();
        EvaluateWinningChances<Traced>();

        // Steps 12 and 14. Blend; from here the accumulator is the whole score.
        info.accumulator = BlendAll();
        const int blended = info.accumulator;

        // Step 13. Queens near the king, worth more to the side that moves.
        other_accumulator = info.accumulator;
        if (p.PieceCount[QUEEN][WHITE] | p.PieceCount[QUEEN][BLACK]) other_accumulator = EvaluateQueenApproaches();

        // Step 15. Endings that promise more than they keep. Both movers' scores go through
        // it, so that the derived one is exact; with different leaders it is not derived.
        const int own = info.accumulator;
        TraceWhole<Traced>(TracePart::QueenApproaches, own - blended);
        info.accumulator = ScaleEnding(own, EvalSpread);
        TraceWhole<Traced>(TracePart::EndingScale, info.accumulator - own);
        if (other_accumulator == own) {
            other_accumulator = info.accumulator;
        } else if ((own > 0) == (other_accumulator > 0) && (own < 0) == (other_accumulator < 0)) {
            int unused_spread = 0;
            other_accumulator = ScaleEnding(other_accumulator, unused_spread);
        } else {
            info.SymmetryValid = 0;
        }
        info.SymmetryDelta = info.accumulator - other_accumulator;
    }

    // Step 16. The move is worth something, more with an attack under way. The other side's
    // bonus would contain its own attack instead.
    const int attack = info.king_attack[p.SideToMove] >> 16;
    const int bonus = TempoBonus + weights.added[AddedTempo] + attack - ((info.current_phase - 1) >> 6);
    info.SymmetryDelta += (info.king_attack[WHITE] >> 16) - (info.king_attack[BLACK] >> 16);
    if (white_to_move) {
        info.accumulator -= bonus;
        info.SymmetryDelta = 2 * bonus - info.SymmetryDelta;
    } else {
        info.accumulator += bonus;
        info.SymmetryDelta += 2 * bonus;
    }
    TraceWhole<Traced>(TracePart::SideToMove, white_to_move ? -bonus : bonus);
    Finish(result);
}

}  // namespace

void EvaluatePosition(int& result) { EvaluateAll<false>(result); }

void TracePosition(int& result) {
    evaluation_trace = {};
    EvaluateAll<true>(result);
    if (!evaluation_trace.exact) TraceSquares();
}

int Evaluate() {
    const Position& p = thread_board;
    const Colour us = Colour(p.SideToMove), them = ChangeSide(us);

    // Lazy exit: the material is out of all reach of the iteration's band.
    ++evaluation_counters.calls;
    const int difference = p.Material[us] - p.Material[them];
    const int low = us == evaluation_root_side ? LazyWindow[0] : -LazyWindow[1];
    const int high = us == evaluation_root_side ? LazyWindow[1] : -LazyWindow[0];
    if (difference < low) {
        if (EnoughToBeLazy(them)) {
            const int hopeful = difference + AdvancedPawnAllowance(us);
            if (hopeful < low) return LazyResult(hopeful);
        }
    } else if (difference > high) {
        if (EnoughToBeLazy(us)) {
            const int careful = difference - AdvancedPawnAllowance(them);
            if (careful > high) return LazyResult(careful);
        }
    }

    int score = NotEvaluated;
    if (!eval_cache) {
        EvaluatePosition(score);
        return thread_eval_info.no_fading ? score : FiftyMoveScaled(score);
    }
    const uint64_t key = CacheKey();
    const uint32_t key_low = uint32_t(key), key_high = uint32_t(key >> 32);
    CacheEntry& entry = *CacheSlot(key);
    const bool hit = entry.key_low == key_low && entry.key_high == key_high;
    if (hit) {
        evaluation_material = entry.material;
        EvalSpread = entry.spread;
        evaluation_passed[WHITE] = LoadSquares(entry.squares[0]);
        evaluation_passed[BLACK] = LoadSquares(entry.squares[1]);
        evaluation_attacks[WHITE] = LoadSquares(entry.squares[2]);
        evaluation_attacks[BLACK] = LoadSquares(entry.squares[3]);
        score = entry.score[us];
    }
    if (score != NotEvaluated) {
        ++evaluation_counters.cache_hits;
    } else {
        EvaluatePosition(score);
        const EvalInfo& info = thread_eval_info;
        if (info.no_fading) return score;
        if (info.Cacheable) {
            entry.score[us] = int16_t(score);
            if (!hit) {
                entry.score[them] = int16_t(info.SymmetryValid ? info.SymmetryDelta - score : NotEvaluated);
                entry.material = int16_t(evaluation_material);
                entry.spread = int16_t(std::clamp(EvalSpread, -32767, 32767));
                StoreSquares(entry.squares[0], evaluation_passed[WHITE]);
                StoreSquares(entry.squares[1], evaluation_passed[BLACK]);
                StoreSquares(entry.squares[2], evaluation_attacks[WHITE]);
                StoreSquares(entry.squares[3], evaluation_attacks[BLACK]);
                entry.key_low = key_low;
                entry.key_high = key_high;
            }
        }
    }
    return FiftyMoveScaled(score);
}

void SetEvaluationRoot(Colour side) {
    // Cached scores contain the shelter under the styles of their time. With equal factors
    // it does not matter whose king is whose.
    const bool style_changed = AggressivityHalf != cached_aggressivity || CowardiceHalf != cached_cowardice;
    if (style_changed || (side != evaluation_root_side && AggressivityHalf != CowardiceHalf)) ClearCache();
    cached_aggressivity = AggressivityHalf;
    cached_cowardice = CowardiceHalf;
    evaluation_root_side = side;
}

void InitialiseEvaluation(const char* values_file) {
    LoadValues(values_file);
    BuildPieceSquareTable();
    BuildMaterialTable();
    InitialiseKpk();
    position_loaded_hook = PositionLoaded;
}

bool AllocateEvalCache(uint32_t entries) {
    FreeZeroed(eval_cache, CacheBytes(cache_slots.count));
    // A zero entry matches only key 0, which no position has.
    eval_cache = entries ? static_cast<CacheEntry*>(AllocateZeroed(CacheBytes(entries))) : nullptr;
    cache_slots.Set(eval_cache ? entries : 0);
    return eval_cache || entries == 0;
}

void FreeEvaluationTables() {
    AllocateEvalCache(0);
    FreePawnHash();
    ForgetPawns();
}

void ClearEvaluationTables() {
    ClearCache();
    ClearPawnHash();
}

void PrefetchEvaluation(uint64_t key) {
    if (!eval_cache) return;
    const char* slot = reinterpret_cast<const char*>(CacheSlot(key));
    __builtin_prefetch(slot);
    __builtin_prefetch(slot + sizeof(CacheEntry) - 1);  // entries straddle cache lines
}
