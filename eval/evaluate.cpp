// evaluate.cpp - the evaluation as the search calls it: lazy exit, cache, fifty moves.
//
// Evaluate() is what the search calls. Material far outside the window of the running
// iteration ends it at once; otherwise the cache is asked, and EvaluatePosition() on a miss.
// A cache entry holds the scores of both sides to move: the second follows from the first
// by SymmetryDelta, which is kept exact, so that a score never depends on what the cache
// happened to hold. The square sets and EvalSpread are those of the first of the two.
//
// State: the cache; the style under which the cached scores were made; the counters.
#include "eval/evaluate.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "board/memory.h"
#include "board/settings.h"
#include "eval/eval_info.h"
#include "eval/pawns.h"
#include "eval/slot_index.h"

EvaluationCounters evaluation_counters;

constinit int LazyWindow[2] = {-32767, 32767};
Colour evaluation_root_side;

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

int LazyResult(int material) {
    ++evaluation_counters.lazy;
    thread_eval_info.Cacheable = 0;
    evaluation_material = thread_board.Material[BLACK] - thread_board.Material[WHITE];
    evaluation_passed[WHITE] = evaluation_passed[BLACK] = 0;
    evaluation_attacks[WHITE] = evaluation_attacks[BLACK] = 0;
    EvalSpread = InitialSpread;
    return FiftyMoveScaled(std::clamp(material, -ScoreLimit, ScoreLimit));
}

}  // namespace

bool IsLeadTrusted(Colour ahead) {
    const Position& p = thread_board;
    return p.PieceCount[PAWN][ahead] < 2 ? p.NonPawnMaterial[ahead] > LazyUnitsFewPawns
                                         : p.NonPawnMaterial[ahead] >= LazyUnitsWithPawns;
}

int AdvancedPawnAllowance(Colour c) {
    const Bitboard pawns = thread_board.pieces[PAWN][c];
    if (pawns & RelativeRankMask(c, 6)) return SeventhRankAllowance;
    if (pawns & RelativeRankMask(c, 5)) return SixthRankAllowance;
    return 0;
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
        if (IsLeadTrusted(them)) {
            const int hopeful = difference + AdvancedPawnAllowance(us);
            if (hopeful < low) return LazyResult(hopeful);
        }
    } else if (difference > high) {
        if (IsLeadTrusted(us)) {
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
