// repetition.cpp - has this position occurred before, and can one move make it occur again?
//
// History records keep the key of the piece placement only, so equal castling flags are
// asked for beside equal keys. The fifty-move counter bounds every walk: captures, pawn
// moves and null moves set it to 0, and no position beyond those can return.
//
// An upcoming repetition is found without generating moves. When one reversible move leads
// from the current position to an earlier one, their keys differ by exactly the two numbers
// of that piece on the two squares. All such differences stand in a table:
//
//     8192 buckets of 4 keys   64 bits each, bucket = low 13 bits of the key, 0 = empty
//     8192 buckets of 4 moves  16 bits each: from | to << 6 | piece << 12 | colour << 15
//
// With the fixed Zobrist numbers no bucket gets more than four. A move stands in the table
// once for both directions. The walk looks at one difference per earlier position of the
// right parity, nearly all of them strangers; a small bit filter on other bits of the key
// turns nine out of ten of these away before they touch the big table.
//
// State: the table's address and the filter, set by AttachKeyDifferences() and
// FillKeyDifferences(). An empty filter means that nothing is ever found.

#include "board/repetition.h"

#include <algorithm>
#include <cstring>

#include "board/attacks.h"
#include "board/position.h"
#include "board/zobrist.h"

constexpr unsigned Buckets = 8192;
constexpr unsigned BucketSize = 4;
static_assert(Buckets * BucketSize * (sizeof(uint64_t) + sizeof(uint16_t)) == KeyDifferenceBytes);

constexpr unsigned FilterBits = 32768;

static uint64_t* difference_keys;   // [bucket * BucketSize + slot]
static uint16_t* difference_moves;  // same index
static uint64_t difference_filter[FilterBits / 64];

static unsigned BucketOf(uint64_t difference) { return unsigned(difference) & (Buckets - 1); }
static unsigned FilterBitOf(uint64_t difference) { return unsigned(difference >> 16) & (FilterBits - 1); }

static uint64_t KeyOf(const HistoryRecord& record) { return record.key_low | uint64_t(record.key_high) << 32; }

// How many plies back a position may lie that could still be equal to the current one.
static int ReversiblePlies() { return std::min(thread_board.fifty, history_count); }

void AttachKeyDifferences(void* memory) {
    std::memset(difference_filter, 0, sizeof difference_filter);
    difference_keys = static_cast<uint64_t*>(memory);
    difference_moves = memory ? reinterpret_cast<uint16_t*>(difference_keys + Buckets * BucketSize) : nullptr;
}

static Bitboard EmptyBoardAttacks(int piece, Square s) {
    switch (piece) {
        case KING: return king_attacks[s];
        case KNIGHT: return knight_attacks[s];
        case ROOK: return rook_rays[s];
        case BISHOP: return bishop_rays[s];
        case QUEEN: return queen_rays[s];
        default: return 0;
    }
}

// Returns false when the bucket is full.
static bool StoreDifference(int colour, int piece, Square a, Square b) {
    const uint64_t difference = ZobristKeys[colour][piece][a] ^ ZobristKeys[colour][piece][b];
    const unsigned first = BucketOf(difference) * BucketSize;
    for (unsigned i = first; i < first + BucketSize; ++i) {
        if (difference_keys[i] != 0) continue;
        difference_keys[i] = difference;
        difference_moves[i] = uint16_t(a | b << 6 | piece << 12 | colour << 15);
        const unsigned bit = FilterBitOf(difference);
        difference_filter[bit / 64] |= uint64_t(1) << (bit % 64);
        return true;
    }
    return false;
}

int FillKeyDifferences() {
    if (!difference_keys) return 0;
    std::memset(difference_keys, 0, KeyDifferenceBytes);
    int stored = 0;
    for (int colour = WHITE; colour <= BLACK; ++colour)
        for (int piece = KING; piece <= QUEEN; ++piece)
            for (Square a = A1; a <= H8; ++a)
                for (Square b = a + 1; b <= H8; ++b)
                    if (EmptyBoardAttacks(piece, a) & Bit(b)) stored += StoreDifference(colour, piece, a, b);
    return stored;
}

bool IsRepetition() {
    const Position& p = thread_board;
    if (p.fifty < 4) return false;
    const int reach = ReversiblePlies();
    const HistoryRecord* now = game_history + history_count;
    for (int back = 4; back <= reach; back += 2) {
        const HistoryRecord& earlier = now[-back];
        if (KeyOf(earlier) == p.hash_key && earlier.castling == p.castling) return true;
    }
    return false;
}

int CountRepetitions() {
    const Position& p = thread_board;
    const int reach = ReversiblePlies();
    const HistoryRecord* now = game_history + history_count;
    int count = 0;
    for (int back = 4; back <= reach; back += 2) {
        const HistoryRecord& earlier = now[-back];
        // Rights never come back: beyond the first difference there is nothing to find.
        if (earlier.castling != p.castling) break;
        count += KeyOf(earlier) == p.hash_key;
    }
    return count;
}

// Is the difference that of a move which the side to move can play now?
static bool IsPlayableDifference(uint64_t difference) {
    const Position& p = thread_board;
    const unsigned first = BucketOf(difference) * BucketSize;
    for (unsigned i = first; i < first + BucketSize; ++i) {
        if (difference_keys[i] != difference) continue;
        const unsigned move = difference_moves[i];
        const int colour = int(move >> 15);
        if (colour != p.SideToMove) return false;
        const Square a = Square(move & 63), b = Square(move >> 6 & 63);
        // The piece stands on one end, whichever it is, and the rest of the way is empty.
        // (An equal placement with the other side to move has difference 0 and "finds" an
        // empty slot; its piece type 0 has no men, so it fails here.)
        const Bitboard ends = Bit(a) | Bit(b);
        const Bitboard piece = p.pieces[move >> 12 & 7][colour] & ends;
        return piece != 0 && (p.occupied & (ends | between[a][b])) == piece;
    }
    return false;
}

bool UpcomingRepetition() {
    const Position& p = thread_board;
    if (p.fifty < 3) return false;
    const int reach = ReversiblePlies();
    const HistoryRecord* now = game_history + history_count;
    // One move from now is an even distance from positions an odd distance away.
    for (int back = 3; back <= reach; back += 2) {
        const HistoryRecord& earlier = now[-back];
        const uint64_t difference = p.hash_key ^ KeyOf(earlier);
        const unsigned bit = FilterBitOf(difference);
        if ((difference_filter[bit / 64] >> (bit % 64) & 1) == 0) continue;
        if (earlier.castling == p.castling && IsPlayableDifference(difference)) return true;
    }
    return false;
}
