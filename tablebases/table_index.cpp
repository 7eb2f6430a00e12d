// table_index.cpp - see table_index.h.
//
// A slot is (before[king place] + men of the side to move) * others + men of the other side.
// Groups of like men are combinations, numbered in the combinatorial number system: the squares'
// ranks r0 < r1 < ... give C(r0, 1) + C(r1, 2) + ... The number of arrangements of the side to
// move depends on the kings, that of the other side does not.
//
// State: king_places, before_tables.
#include "tablebases/table_index.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "board/attacks.h"

namespace {

constexpr int PawnSquares = 48;
constexpr Bitboard PawnRanks = ~(RankMask(0) | RankMask(7));
constexpr Bitboard LongDiagonal = 0x8040201008040201ULL;  // a1-h8
constexpr int EnPassantPairs = 14;

// A symmetry of the board: files, then ranks mirrored, then files and ranks exchanged.
enum : int { MirrorFiles = 1, MirrorRanks = 2, Exchange = 4 };
constexpr Square Map(Square s, int symmetry) {
    int file = FileOf(s), rank = RankOf(s);
    if (symmetry & MirrorFiles) file = 7 - file;
    if (symmetry & MirrorRanks) rank = 7 - rank;
    return symmetry & Exchange ? SquareAt(rank, file) : SquareAt(file, rank);
}

// The places that two kings can take, [0] without and [1] with pawns.
struct KingPlaces {
    uint8_t map[8][64];        // Map() as a table
    uint8_t symmetry[2][64];   // [pawns][White's king]
    int16_t place[2][64][64];  // [pawns][kings after the symmetry], -1 if none
    uint8_t king[2][1806][2];  // the way back
    int count[2];
    bool ready;
};
KingPlaces king_places;

bool Above(Square s) { return RankOf(s) > FileOf(s); }
bool OnDiagonal(Square s) { return RankOf(s) == FileOf(s); }

void BuildKingPlaces() {
    KingPlaces& k = king_places;
    for (int symmetry = 0; symmetry < 8; ++symmetry)
        for (Square s = 0; s < 64; ++s) k.map[symmetry][s] = uint8_t(Map(s, symmetry));
    for (int pawns = 0; pawns < 2; ++pawns) {
        for (Square white = 0; white < 64; ++white) {
            int symmetry = FileOf(white) > 3 ? MirrorFiles : 0;
            if (!pawns && RankOf(white) > 3) symmetry |= MirrorRanks;
            if (!pawns && Above(Map(white, symmetry))) symmetry |= Exchange;
            k.symmetry[pawns][white] = uint8_t(symmetry);
            for (Square black = 0; black < 64; ++black) {
                const bool own_mirror = !pawns && OnDiagonal(white) && Above(black);
                const bool apart = white != black && !(king_attacks[white] & Bit(black));
                k.place[pawns][white][black] = -1;
                if (symmetry != 0 || own_mirror || !apart) continue;
                k.king[pawns][k.count[pawns]][WHITE] = uint8_t(white);
                k.king[pawns][k.count[pawns]][BLACK] = uint8_t(black);
                k.place[pawns][white][black] = int16_t(k.count[pawns]++);
            }
        }
    }
    k.ready = true;
}

// C(n, k) for the k that occur.
constexpr uint64_t Combinations(int n, int k) {
    switch (k) {
        case 0: return 1;
        case 1: return uint64_t(n);
        case 2: return uint64_t(n) * (n - 1) / 2;
        case 3: return uint64_t(n) * (n - 1) / 2 * (n - 2) / 3;
        default: return uint64_t(n) * (n - 1) / 2 * (n - 2) / 3 * (n - 3) / 4;
    }
}

uint64_t CombinationNumber(uint8_t* ranks, int count) {
    uint64_t number = 0;
    for (int i = 0; i < count; ++i) {
        // Insertion sort: there are at most four.
        int at = i;
        for (const uint8_t rank = ranks[i]; at > 0 && ranks[at - 1] > rank; --at) std::swap(ranks[at], ranks[at - 1]);
    }
    for (int i = 0; i < count; ++i) number += Combinations(ranks[i], i + 1);
    return number;
}

void CombinationRanks(uint64_t number, int count, uint8_t* ranks) {
    for (int i = count; i > 0; --i) {
        int rank = i - 1;
        while (Combinations(rank + 1, i) <= number) ++rank;
        ranks[i - 1] = uint8_t(rank);
        number -= Combinations(rank, i);
    }
}

// The square of the given rank in a set.
Square SquareOfRank(Bitboard set, int rank) {
    while (rank-- > 0) set &= set - 1;
    return LowestSquare(set);
}

// Where a man of the side to move may stand: not where it gives check whatever stands elsewhere.
Bitboard AllowedSquares(PieceType type, Colour us, Square our_king, Square their_king) {
    Bitboard close;
    switch (type) {
        case QUEEN: close = king_attacks[their_king]; break;
        case ROOK: close = king_attacks[their_king] & rook_rays[their_king]; break;
        case BISHOP: close = king_attacks[their_king] & bishop_rays[their_king]; break;
        case KNIGHT: close = knight_attacks[their_king]; break;
        default: close = pawn_attacks[us ^ 1][their_king] | ~PawnRanks; break;
    }
    return ~(close | Bit(our_king) | Bit(their_king));
}

// [pawns on the board][side to move][its men]: allocated when asked for.
uint64_t* before_tables[2][2][SideCodes];
size_t before_memory;

// How many arrangements of these men of the side to move lie before each king place; the last
// entry is their sum. Null when memory is short.
const uint64_t* BeforeTable(bool pawns, Colour us, const uint8_t count[TableTypes]) {
    uint64_t*& table = before_tables[pawns][us][SideCode(count)];
    if (table != nullptr) return table;
    const int places = king_places.count[pawns];
    table = static_cast<uint64_t*>(std::malloc((size_t(places) + 1) * sizeof(uint64_t)));
    if (table == nullptr) return nullptr;
    before_memory += (size_t(places) + 1) * sizeof(uint64_t);
    table[0] = 0;
    for (int place = 0; place < places; ++place) {
        const uint8_t* king = king_places.king[pawns][place];
        uint64_t arrangements = 1;
        for (int t = 0; t < TableTypes; ++t) {
            const Bitboard allowed = AllowedSquares(TableType[t], us, king[us], king[us ^ 1]);
            arrangements *= Combinations(PopCount(allowed), count[t]);
        }
        table[place + 1] = table[place] + arrangements;
    }
    return table;
}

// How many arrangements the other side's men have, `placed_pawns` and `placed` men being there.
uint64_t OtherArrangements(const uint8_t count[TableTypes], int placed_pawns, int placed) {
    const int pawns = count[TableTypes - 1];
    uint64_t arrangements = Combinations(PawnSquares - placed_pawns, pawns);
    placed += pawns;
    for (int t = 0; t < TableTypes - 1; ++t) {
        arrangements *= Combinations(64 - placed, count[t]);
        placed += count[t];
    }
    return arrangements;
}

// The two pawns that an en-passant slot is about, after the symmetry.
struct EnPassantPawns {
    int pair = 0;
    Bitboard capturing = 0, pushed = 0;
};

int EnPassantPair(Square capturing, Square pushed) {
    return pushed > capturing ? FileOf(capturing) : 7 + FileOf(pushed);
}
EnPassantPawns PawnsOfPair(int pair, Colour us) {
    const int rank = us == WHITE ? 4 : 3;
    const int west = pair % 7;
    const Square capturing = SquareAt(pair < 7 ? west : west + 1, rank);
    const Square pushed = SquareAt(pair < 7 ? west + 1 : west, rank);
    return {pair, Bit(capturing), Bit(pushed)};
}

}  // namespace

size_t TableIndexMemory() { return before_memory + (king_places.ready ? sizeof king_places : 0); }

bool BuildTableIndex(const TableMaterial& material, Colour side_to_move, TableIndex* index) {
    if (!king_places.ready) BuildKingPlaces();
    TableIndex& x = *index;
    x = {};
    x.material = material;
    x.side_to_move = side_to_move;
    const uint8_t* ours = material.count[side_to_move];
    const uint8_t* theirs = material.count[side_to_move ^ 1];
    const int pawn = TableTypes - 1;
    x.pawns = ours[pawn] + theirs[pawn] > 0;
    int our_men = 0;
    if (theirs[pawn] > 0) x.group[1][x.groups[1]++] = {PAWN, theirs[pawn]};
    for (int t = 0; t < TableTypes; ++t) {
        our_men += ours[t];
        if (ours[t] > 0) x.group[0][x.groups[0]++] = {uint8_t(TableType[t]), ours[t]};
        if (t != pawn && theirs[t] > 0) x.group[1][x.groups[1]++] = {uint8_t(TableType[t]), theirs[t]};
    }
    x.before = BeforeTable(x.pawns, side_to_move, ours);
    if (x.before == nullptr) return false;
    x.others = OtherArrangements(theirs, ours[pawn], 2 + our_men);
    const int places = king_places.count[x.pawns];
    x.plain_slots = x.slots = x.before[places] * x.others;
    if (ours[pawn] > 0 && theirs[pawn] > 0) {
        uint8_t rest[2][TableTypes];
        std::copy_n(ours, TableTypes, rest[0]);
        std::copy_n(theirs, TableTypes, rest[1]);
        --rest[0][pawn], --rest[1][pawn];
        x.en_passant_before = BeforeTable(true, side_to_move, rest[0]);
        if (x.en_passant_before == nullptr) return false;
        x.en_passant_others = OtherArrangements(rest[1], ours[pawn] + 1, 2 + our_men + 1);
        x.en_passant_pair = x.en_passant_before[places] * x.en_passant_others;
        x.slots += EnPassantPairs * x.en_passant_pair;
    }
    return true;
}

// The number of a group's men among the squares of `free`; the pawns in `apart` are passed over.
// False when a man stands elsewhere. Adds the men to *placed.
static bool GroupNumber(const TablePosition& position, int side, TableIndex::Group group, const uint8_t* map,
                        Bitboard apart, Bitboard free, uint64_t* number, Bitboard* placed) {
    uint8_t ranks[MaxSideMen];
    int count = 0;
    for (int i = 0; i < position.men[side]; ++i) {
        if (position.type[side][i] != group.type) continue;
        const Bitboard man = Bit(map[position.square[side][i]]);
        if (group.type == PAWN && (man & apart)) continue;
        if (!(man & free)) return false;
        *placed |= man;
        ranks[count++] = uint8_t(PopCount(free & (man - 1)));
    }
    *number = count == 1 ? ranks[0] : CombinationNumber(ranks, count);
    return true;
}

uint64_t SlotOf(const TableIndex& x, const TablePosition& position) {
    const Colour us = x.side_to_move;
    const int symmetry = king_places.symmetry[x.pawns][position.king[WHITE]];
    const uint8_t* map = king_places.map[symmetry];
    if (!x.pawns && OnDiagonal(map[position.king[WHITE]]) && Above(map[position.king[BLACK]]))
        map = king_places.map[symmetry ^ Exchange];
    const Square white = map[position.king[WHITE]], black = map[position.king[BLACK]];
    const int place = king_places.place[x.pawns][white][black];
    if (place < 0) return NoSlot;
    const Square our_king = us == WHITE ? white : black, their_king = us == WHITE ? black : white;

    EnPassantPawns pair;
    if (position.en_passant != NoEnPassant) {
        // Of two pawns that can capture, the one nearer to the a-file counts.
        pair.pushed = Bit(map[position.en_passant]);
        for (int i = 0; i < position.men[us]; ++i) {
            const Bitboard man = Bit(map[position.square[us][i]]);
            if (position.type[us][i] == PAWN && (man & (ShiftEast(pair.pushed) | ShiftWest(pair.pushed)))
                && (pair.capturing == 0 || man < pair.capturing))
                pair.capturing = man;
        }
        if (pair.capturing == 0) return NoSlot;
        pair.pair = EnPassantPair(LowestSquare(pair.capturing), LowestSquare(pair.pushed));
    }
    const Bitboard apart = pair.capturing | pair.pushed;

    Bitboard placed = Bit(white) | Bit(black) | apart;
    Bitboard our_pawns = pair.capturing;
    uint64_t men = 0;
    for (int g = 0; g < x.groups[0]; ++g) {
        const TableIndex::Group group = x.group[0][g];
        const Bitboard allowed = AllowedSquares(PieceType(group.type), us, our_king, their_king);
        uint64_t number;
        Bitboard set = 0;
        if (!GroupNumber(position, us, group, map, apart, allowed, &number, &set)) return NoSlot;
        const bool pawns = group.type == PAWN;
        men = men * Combinations(PopCount(allowed), group.count - (pawns && apart != 0)) + number;
        placed |= set;
        if (pawns) our_pawns |= set;
    }
    // A pawn that is set apart must not stand where it would give check either.
    if (pair.capturing != 0 && !(pair.capturing & AllowedSquares(PAWN, us, our_king, their_king))) return NoSlot;

    uint64_t others = 0;
    int free_squares = 64 - 2 - position.men[us] - (pair.pushed != 0);
    for (int g = 0; g < x.groups[1]; ++g) {
        const TableIndex::Group group = x.group[1][g];
        const bool pawns = group.type == PAWN;
        const Bitboard free = pawns ? PawnRanks & ~our_pawns & ~pair.pushed : ~placed;
        uint64_t number;
        Bitboard set = 0;
        if (!GroupNumber(position, us ^ 1, group, map, apart, free, &number, &set)) return NoSlot;
        const int count = group.count - (pawns && apart != 0);
        others = others * Combinations(pawns ? PopCount(free) : free_squares, count) + number;
        placed |= set;
        free_squares -= count;
    }
    if (apart == 0) return (x.before[place] + men) * x.others + others;
    return x.plain_slots + uint64_t(pair.pair) * x.en_passant_pair
        + (x.en_passant_before[place] + men) * x.en_passant_others + others;
}

// Sets a group's men on the squares of `free` that the number tells; false when one is taken.
static bool PlaceGroup(TablePosition* position, int side, TableIndex::Group group, Bitboard free, uint64_t number,
                       Bitboard* placed) {
    uint8_t ranks[MaxSideMen];
    CombinationRanks(number, group.count, ranks);
    for (int i = 0; i < group.count; ++i) {
        const Square s = SquareOfRank(free, ranks[i]);
        if (*placed & Bit(s)) return false;
        *placed |= Bit(s);
        position->type[side][position->men[side]] = group.type;
        position->square[side][position->men[side]++] = uint8_t(s);
    }
    return true;
}

bool PositionOfSlot(const TableIndex& x, uint64_t slot, TablePosition* position) {
    const Colour us = x.side_to_move, them = ChangeSide(us);
    TablePosition& p = *position;
    p = {};
    p.side_to_move = us;
    p.en_passant = NoEnPassant;
    EnPassantPawns pair;
    const uint64_t* before = x.before;
    uint64_t others_count = x.others;
    const bool en_passant = slot >= x.plain_slots;
    if (en_passant) {
        slot -= x.plain_slots;
        pair = PawnsOfPair(int(slot / x.en_passant_pair), us);
        slot %= x.en_passant_pair;
        before = x.en_passant_before;
        others_count = x.en_passant_others;
        p.en_passant = LowestSquare(pair.pushed);
    }
    uint64_t men = slot / others_count, others = slot % others_count;
    const int place = int(std::upper_bound(before, before + king_places.count[x.pawns] + 1, men) - before) - 1;
    men -= before[place];
    const uint8_t* king = king_places.king[x.pawns][place];
    p.king[WHITE] = king[WHITE], p.king[BLACK] = king[BLACK];
    Bitboard placed = Bit(king[WHITE]) | Bit(king[BLACK]);
    if (en_passant) {
        const Bitboard apart = pair.capturing | pair.pushed;
        if (placed & apart) return false;
        placed |= apart;
        p.type[us][0] = p.type[them][0] = PAWN;
        p.square[us][0] = uint8_t(LowestSquare(pair.capturing));
        p.square[them][0] = uint8_t(LowestSquare(pair.pushed));
        p.men[us] = p.men[them] = 1;
        if (!(pair.capturing & AllowedSquares(PAWN, us, king[us], king[them]))) return false;
    }

    // The last group of a side is the lowest digit of its number.
    Bitboard our_pawns = pair.capturing;
    for (int g = x.groups[0] - 1; g >= 0; --g) {
        TableIndex::Group group = x.group[0][g];
        const Bitboard allowed = AllowedSquares(PieceType(group.type), us, king[us], king[them]);
        if (group.type == PAWN && en_passant) --group.count;
        const uint64_t arrangements = Combinations(PopCount(allowed), group.count);
        Bitboard before_placed = placed;
        if (!PlaceGroup(&p, us, group, allowed, men % arrangements, &placed)) return false;
        if (group.type == PAWN) our_pawns |= placed & ~before_placed;
        men /= arrangements;
    }
    int free_squares = 64 - 2 - p.men[us] - (en_passant ? 1 : 0);
    uint64_t digit[TableTypes], radix[TableTypes];
    for (int g = 0; g < x.groups[1]; ++g) {
        TableIndex::Group group = x.group[1][g];
        if (group.type == PAWN && en_passant) --group.count;
        radix[g] = Combinations(group.type == PAWN ? PopCount(PawnRanks & ~our_pawns & ~pair.pushed) : free_squares,
                                group.count);
        free_squares -= group.count;
    }
    for (int g = x.groups[1] - 1; g >= 0; --g) {
        digit[g] = others % radix[g];
        others /= radix[g];
    }
    for (int g = 0; g < x.groups[1]; ++g) {
        TableIndex::Group group = x.group[1][g];
        const bool pawns = group.type == PAWN;
        if (pawns && en_passant) --group.count;
        const Bitboard free = pawns ? PawnRanks & ~our_pawns & ~pair.pushed : ~placed;
        if (!PlaceGroup(&p, them, group, free, digit[g], &placed)) return false;
    }
    return true;
}

uint64_t MirrorSlot(const TableIndex& x, const TablePosition& position, uint64_t slot) {
    if (x.pawns || slot == NoSlot) return slot;
    const int symmetry = king_places.symmetry[0][position.king[WHITE]];
    const Bitboard kings =
        Bit(king_places.map[symmetry][position.king[WHITE]]) | Bit(king_places.map[symmetry][position.king[BLACK]]);
    if (kings & ~LongDiagonal) return slot;
    TablePosition mirrored = position;
    for (int side = 0; side < 2; ++side) {
        mirrored.king[side] = king_places.map[symmetry ^ Exchange][position.king[side]];
        for (int i = 0; i < position.men[side]; ++i)
            mirrored.square[side][i] = king_places.map[symmetry ^ Exchange][position.square[side][i]];
    }
    return SlotOf(x, mirrored);
}

TablePosition SwapColours(const TablePosition& position) {
    TablePosition turned = position;
    turned.side_to_move = ChangeSide(position.side_to_move);
    if (position.en_passant != NoEnPassant) turned.en_passant = position.en_passant ^ 56;
    for (int side = 0; side < 2; ++side) {
        turned.king[side] = position.king[side ^ 1] ^ 56;
        turned.men[side] = position.men[side ^ 1];
        for (int i = 0; i < turned.men[side]; ++i) {
            turned.type[side][i] = position.type[side ^ 1][i];
            turned.square[side][i] = position.square[side ^ 1][i] ^ 56;
        }
    }
    return turned;
}
