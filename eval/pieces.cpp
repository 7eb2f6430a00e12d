// pieces.cpp - mobility, placement, threats, and how hard the pieces press on the enemy king.
//
// Each piece's attack set is looked up once; mobility, threats, the king-zone count and the
// square sets for the search all read it. Terms gather in one packed score a side.
//
// State: packed copies of the piece weights, made by BuildPieceWeights().
#include <algorithm>

#include "board/attacks.h"
#include "eval/eval_info.h"

namespace {

PackedScore knight_mobility[9], bishop_mobility[14], rook_mobility[15], queen_mobility[28];  // [squares]
PackedScore bishop_pair, knight_outpost, bishop_outpost, rook_open, rook_half_open, rook_seventh, trapped_rook;

// Fitted together with the weights in parameters.cpp. First the built-in halves of terms that
// "values.txt" scales or adds to.
constexpr int KnightOutpost[2] = {27, 21};
constexpr int RookOpen[2] = {40, 5}, RookHalfOpen[2] = {21, 12}, RookSeventh[2] = {0, 23};
constexpr int TrappedRook = -40;
constexpr PackedScore TrappedBishop = Pack(-47, -45);
constexpr PackedScore LoosePawn = Pack(-14, -34);  // attacked and not defended
constexpr PackedScore LoosePiece = Pack(-14, -19);
constexpr PackedScore AttackedByPawn = Pack(-64, -33);
constexpr PackedScore MinorHitsMajor = Pack(46, 38);
constexpr PackedScore RookHitsQueen = Pack(52, 34);
constexpr PackedScore KingHitsMan = Pack(58, 45);    // undefended
constexpr PackedScore BadBishopPawn = Pack(-2, -3);  // a pawn more on its colour than off
constexpr PackedScore ClosedKnight = Pack(0, 39), ClosedBishop = Pack(-10, -25);

// Danger to the enemy king: for each zone square hit, by piece; for each neighbour square
// that only the king defends; for each neighbour reached by long-range men.
constexpr int KnightDanger = 5, BishopDanger = 6, RookDanger = 4, QueenDanger = 8;
constexpr int WeakSquareDanger = 3, LongRangeDanger = 1;
constexpr int LongRangeUnits = 12;  // fewer piece units and long-range men alone do not count

// What one side's pieces add up to.
struct SideState {
    PackedScore score = 0;
    int danger = 0, attackers = 0;
    Bitboard zone;            // of the enemy king, empty when he need not hide
    Bitboard long_range = 0;  // attacks of bishops, rooks, queens

    void HitZone(Bitboard attacked, int weight) {
        const Bitboard hit = attacked & zone;
        if (!hit) return;
        ++attackers;
        danger += weight * PopCount(hit);
    }
};

// Can no enemy pawn ever drive a man away from s?
template <Colour Us> bool IsOutpost(Square s) {
    constexpr Colour Them = ChangeSide(Us);
    return (thread_eval_info.pawn_attacks[Us] & Bit(s)) && RelativeRank(Us, s) >= 3 && RelativeRank(Us, s) <= 5
        && !(thread_board.pieces[PAWN][Them] & evaluation_masks.attack_span[Us][s]);
}

// A bishop that took on a7 or h7 and got shut in by the pawn on b6 or g6.
template <Colour Us> int TrappedBishops(Bitboard bishops) {
    constexpr Colour Them = ChangeSide(Us);
    constexpr Square a7 = Us == WHITE ? 48 : 8, h7 = a7 + 7;
    constexpr int Back = Us == WHITE ? -8 : 8;
    constexpr Square b6 = a7 + Back + 1, g6 = h7 + Back - 1;
    const Bitboard enemy_pawns = thread_board.pieces[PAWN][Them];
    int n = 0;
    if ((bishops & Bit(a7)) && (enemy_pawns & Bit(b6))) ++n;
    if ((bishops & Bit(h7)) && (enemy_pawns & Bit(g6))) ++n;
    return n;
}

// A rook between its uncastled king and the corner.
template <Colour Us> bool IsBoxed(Square rook) {
    const Square king = thread_board.king_square[Us];
    const int rook_file = FileOf(rook), king_file = FileOf(king);
    if (RelativeRank(Us, king) != 0 || RelativeRank(Us, rook) > 1) return false;
    return (king_file >= 5 && rook_file >= king_file) || (king_file <= 2 && rook_file <= king_file);
}

template <Colour Us> void EvaluateSidePieces(SideState& side) {
    constexpr Colour Them = ChangeSide(Us);
    constexpr int AnyCastling = Us == WHITE ? WhiteKingSide | WhiteQueenSide : BlackKingSide | BlackQueenSide;
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const Bitboard reachable = ~(p.colour[Us] | info.pawn_attacks[Them]);
    const int closed = info.pawn.centre_closed;
    PackedScore score = 0;
    Bitboard minor_attacks = 0, queen_attacks = 0, long_range = 0, rook_set = 0;

    for (Bitboard rest = p.pieces[KNIGHT][Us]; rest;) {
        const Square s = PopLowest(rest);
        const Bitboard attacks = knight_attacks[s];
        minor_attacks |= attacks;
        score += knight_mobility[PopCount(attacks & reachable)];
        side.HitZone(attacks, KnightDanger);
        if (IsOutpost<Us>(s)) score += knight_outpost;
        if (closed) score += ClosedKnight;
    }

    if (const Bitboard bishops = p.pieces[BISHOP][Us]) {
        const int light = Us == WHITE ? info.pawn.light_pawns & 15 : info.pawn.light_pawns >> 4;
        const int surplus = 2 * light - p.PieceCount[PAWN][Us];  // light less dark pawns
        for (Bitboard rest = bishops; rest;) {
            const Square s = PopLowest(rest);
            const Bitboard attacks = BishopAttacks(s);
            minor_attacks |= attacks;
            long_range |= attacks;
            score += bishop_mobility[PopCount(attacks & reachable)];
            side.HitZone(attacks, BishopDanger);
            score += BadBishopPawn * (Bit(s) & LightSquares ? surplus : -surplus);
            if (IsOutpost<Us>(s)) score += bishop_outpost;
            if (closed) score += ClosedBishop;
        }
        if (MoreThanOne(bishops)) score += bishop_pair;
        if (bishops & (Us == WHITE ? Bitboard(0x81) << 48 : Bitboard(0x81) << 8))
            score += TrappedBishop * TrappedBishops<Us>(bishops);
    }

    for (Bitboard rest = p.pieces[ROOK][Us]; rest;) {
        const Square s = PopLowest(rest);
        const Bitboard attacks = RookAttacks(s);
        rook_set |= attacks;
        const int squares = PopCount(attacks & reachable);
        score += rook_mobility[squares];
        side.HitZone(attacks, RookDanger);
        const int file = 1 << FileOf(s);
        if (!(info.pawn.files[Us] & file)) score += info.pawn.files[Them] & file ? rook_half_open : rook_open;
        else if (info.passed[Us] & evaluation_masks.front_span[Us][s])
            score += rook_half_open;  // behind its passed pawn the file opens by itself
        else if (squares <= 3 && !(p.castling & AnyCastling) && IsBoxed<Us>(s)) score += trapped_rook;
        if (RelativeRank(Us, s) == 6
            && (RelativeRank(Us, p.king_square[Them]) == 7 || (p.pieces[PAWN][Them] & RelativeRankMask(Us, 6))))
            score += rook_seventh;
    }

    for (Bitboard rest = p.pieces[QUEEN][Us]; rest;) {
        const Square s = PopLowest(rest);
        const Bitboard attacks = QueenAttacks(s);
        queen_attacks |= attacks;
        score += queen_mobility[PopCount(attacks & reachable)];
        side.HitZone(attacks, QueenDanger);
    }

    info.minor_attacks[Us] = minor_attacks;
    info.rook_attacks[Us] = rook_set;
    info.queen_attacks[Us] = queen_attacks;
    info.attacks[Us] = info.pawn_attacks[Us] | minor_attacks | rook_set | queen_attacks;
    side.long_range = long_range | rook_set | queen_attacks;
    side.score = score;
}

// What Us's men threaten, and the danger to the enemy king. Needs both attack sets.
template <Colour Us> void EvaluateThreats(SideState& side) {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const Square enemy_king = p.king_square[Them], own_king = p.king_square[Us];

    const Bitboard own_men = p.colour[Us] & ~p.pieces[KING][Us];
    const Bitboard loose = own_men & info.attacks[Them] & ~info.attacks[Us] & ~king_attacks[own_king];
    if (loose) {
        const int pieces = PopCount(loose & ~p.pieces[PAWN][Us]);
        side.score += LoosePiece * pieces + LoosePawn * (PopCount(loose) - pieces);
    }
    const Bitboard chased = own_men & ~p.pieces[PAWN][Us] & info.pawn_attacks[Them];
    if (chased) side.score += AttackedByPawn * PopCount(chased);
    const Bitboard hit = info.minor_attacks[Us] & p.colour[Them] & (p.pieces[ROOK][Them] | p.pieces[QUEEN][Them]);
    if (hit) side.score += MinorHitsMajor * PopCount(hit);
    const Bitboard queens_hit = info.rook_attacks[Us] & p.pieces[QUEEN][Them];
    if (queens_hit) side.score += RookHitsQueen;
    const Bitboard king_hits =
        king_attacks[own_king] & p.colour[Them] & ~info.attacks[Them] & ~king_attacks[enemy_king];
    if (king_hits) side.score += KingHitsMan;

    if (!side.attackers) return;
    const Bitboard neighbours = king_attacks[enemy_king];
    const Bitboard weak = neighbours & info.attacks[Us] & ~info.attacks[Them];
    if (weak) side.danger += WeakSquareDanger * PopCount(weak);
    if (p.NonPawnMaterial[Us] > LongRangeUnits) side.danger += LongRangeDanger * PopCount(neighbours & side.long_range);
    info.danger[Us] = std::min(side.danger, 127);
    info.attackers[Us] = side.attackers;
}

// Weights from a file are cut here, so that sums stay within a packed half.
int Cut(int value) { return std::clamp(value, -500, 500); }
PackedScore PackCut(int opening, int endgame) { return Pack(Cut(opening), Cut(endgame)); }
PackedScore PackFactor(const int (&halves)[2], int factor, int added = 0) {
    return PackCut(halves[0] * factor / 64 + added, halves[1] * factor / 64 + added);
}
template <int N> void PackTable(PackedScore (&packed)[N], const int (&values)[2][N]) {
    for (int i = 0; i < N; ++i) packed[i] = PackCut(values[0][i], values[1][i]);
}

}  // namespace

void BuildPieceWeights() {
    PackTable(knight_mobility, weights.knight_mobility);
    PackTable(bishop_mobility, weights.bishop_mobility);
    PackTable(rook_mobility, weights.rook_mobility);
    PackTable(queen_mobility, weights.queen_mobility);
    const int* added = weights.added;
    bishop_pair = PackCut(weights.bishop_pair[0] + added[AddedBishopPairOpening],
                          weights.bishop_pair[1] + added[AddedBishopPairEndgame]);
    knight_outpost = PackFactor(KnightOutpost, weights.knight_outpost_factor, added[AddedKnightOutpost]);
    bishop_outpost = PackCut(weights.bishop_outpost, weights.bishop_outpost);
    rook_open = PackFactor(RookOpen, weights.rook_open_factor);
    rook_half_open = PackFactor(RookHalfOpen, weights.rook_half_open_factor);
    rook_seventh = PackFactor(RookSeventh, weights.rook_seventh_factor, added[AddedRookSeventh]);
    trapped_rook = PackCut(TrappedRook + added[AddedTrappedRook], 0);
}

void EvaluatePieces() {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    SideState white, black;
    white.zone = info.ending[BLACK] ? 0 : evaluation_masks.king_zone[BLACK][p.king_square[BLACK]];
    black.zone = info.ending[WHITE] ? 0 : evaluation_masks.king_zone[WHITE][p.king_square[WHITE]];
    EvaluateSidePieces<WHITE>(white);
    EvaluateSidePieces<BLACK>(black);
    EvaluateThreats<WHITE>(white);
    EvaluateThreats<BLACK>(black);
    // Apart, not packed: with many promoted men the sides' sums may be large.
    info.OpeningScore += OpeningOf(black.score) - OpeningOf(white.score);
    info.EndgameScore += EndgameOf(black.score) - EndgameOf(white.score);
}
