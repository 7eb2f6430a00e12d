// endings.cpp - the low-material evaluator, and the scaling of special endings.
//
// Little material means that a few known facts outweigh all positional terms: what cannot be
// won at all, what a bitbase or a rule decides, where a lone king has to be driven, and which
// leads are usually not enough. Exact answers end the evaluation; leads that are hard to win
// get a factor which ScaleEnding() applies to the finished score.
#include "eval/endings.h"

#include <algorithm>

#include "board/attacks.h"
#include "eval/eval_info.h"
#include "eval/known_endings.h"
#include "eval/kpk.h"
#include "eval/material.h"
#include "eval/mating.h"

namespace {

constexpr int Unchanged = 256;
constexpr int HardToWin = Unchanged / 6;  // a minor piece up without pawns and the like
constexpr int BishopsAgainstKnight = Unchanged / 2;
// Worth more than in the middle of a game, since nothing else is left that could hold.
constexpr int HeavyPiecesWin = Unchanged * 3 / 2;
constexpr int KnownWinBonus = 100;  // before scaling, where the terms themselves say little
constexpr int FewMen = 8;           // more than that, and no ending here is meant
// Against a bare king, on top of material. More than the best that the same pieces without the
// pawns are worth, or giving a pawn away would look like progress.
constexpr int MatingPieces = 600;
constexpr int ExtraMan = 150;  // each man besides a pawn that promotes against a bare king

constexpr int SignFor(Colour c) { return c == BLACK ? 1 : -1; }

// A queen wins against two minors of which one is a bishop, two rooks win against a rook and a minor.
template <Colour Us> bool WinsByHeavyPieces() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const auto& n = p.PieceCount;
    if (n[PAWN][Them] || p.MinorCount[Us]) return false;
    if (n[QUEEN][Us] == 1 && !n[ROOK][Us])
        return p.NonPawnMaterial[Them] == 6 && p.MinorCount[Them] == 2 && n[BISHOP][Them];
    return n[ROOK][Us] == 2 && !n[QUEEN][Us] && p.NonPawnMaterial[Them] == 8 && n[ROOK][Them] == 1;
}

// Otherwise at most a minor piece more does not win without pawns; two bishops against a knight do,
// with trouble. 256 = as it is.
template <Colour Us> int PawnlessFactor() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const auto& n = p.PieceCount;
    const int units = p.NonPawnMaterial[Us], enemy_units = p.NonPawnMaterial[Them];
    if (n[PAWN][Us] || enemy_units == 0 || units - enemy_units > 3) return Unchanged;
    if (WinsByHeavyPieces<Us>()) return HeavyPiecesWin;
    const bool bishops_against_knight = n[BISHOP][Us] == 2 && units == 6 && n[KNIGHT][Them] == 1 && enemy_units == 3;
    return bishops_against_knight ? BishopsAgainstKnight : HardToWin;
}

// The factor of material_scale for Us's men.
template <Colour Us> int MaterialScale() {
    const auto& n = thread_board.PieceCount;
    if (n[QUEEN][Us] > 2 || n[ROOK][Us] > 2 || n[BISHOP][Us] > 2 || n[KNIGHT][Us] > 2 || n[PAWN][Us] > 8)
        return Unchanged;
    return material_scale[Us][n[QUEEN][Us]][n[ROOK][Us]][n[BISHOP][Us]][n[KNIGHT][Us]][n[PAWN][Us]];
}

// How much of a lead of Us survives, by material and by what theory knows of few men.
template <Colour Us> int LeadScale() {
    int scale = MaterialScale<Us>() * PawnlessFactor<Us>() / Unchanged;
    if (thread_board.piece_total <= FewMen) scale = scale * KnownLeadFactor<Us>() / Unchanged;
    return scale;
}

template <Colour Us> int MaterialAdd() {
    const auto& n = thread_board.PieceCount;
    if (n[QUEEN][Us] > 2 || n[ROOK][Us] > 2 || n[BISHOP][Us] > 2 || n[KNIGHT][Us] > 2 || n[PAWN][Us] > 8) return 0;
    return material_add[Us][n[QUEEN][Us]][n[ROOK][Us]][n[BISHOP][Us]][n[KNIGHT][Us]][n[PAWN][Us]];
}

// A won king and pawn against king, by the pawn's rank as its owner counts it.
int LonePawnWin(int rank) { return (600 - 100 * (7 - rank)) / 2 + weights.kpk_bonus; }

bool KingPawnKing() {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const Colour owner = p.PieceCount[PAWN][WHITE] ? WHITE : BLACK;
    const Square pawn = LowestSquare(p.pieces[PAWN][owner]);
    info.SymmetryValid = 0;
    info.accumulator = 0;
    if (RelativeRank(owner, pawn) >= 1 && RelativeRank(owner, pawn) <= 6
        && KpkWon(owner, p.king_square[owner], p.king_square[ChangeSide(owner)], pawn, Colour(p.SideToMove))) {
        info.accumulator = SignFor(owner) * LonePawnWin(RelativeRank(owner, pawn));
    }
    return true;
}

// Us is the side with pawns or the better pieces. True when the accumulator is the whole score.
template <Colour Us> bool Settled() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const auto& n = p.PieceCount;
    const int units = p.NonPawnMaterial[Us], enemy_units = p.NonPawnMaterial[Them];
    int score;
    if (n[PAWN][Us] == 0 && n[PAWN][Them] == 0) {
        if (units - enemy_units < 4 || info.cannot_win[Us]) return false;
        score = MatingScore<Us>();
    } else if (n[PAWN][Us] == 0) {
        if (p.piece_total != 4 || n[PAWN][Them] != 1 || units < 5) return false;
        info.SymmetryValid = 0;
        score = HeavyAgainstPawnScore<Us>();
    } else {
        return n[PAWN][Them] == 0 && enemy_units == 0 && BareKingHolds<Us>();
    }
    info.accumulator = SignFor(Us) * (score + MaterialAdd<Us>()) * MaterialScale<Us>() / Unchanged;
    return true;
}

// Can the bare king of the other side take this pawn of Us before its own king guards it?
template <Colour Us> bool PawnFalls(Square pawn) {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const int to_move = p.SideToMove == Us;
    if (Distance(p.king_square[Us], pawn) - to_move <= Distance(p.king_square[Them], pawn)) return false;
    if (pawn_attacks[Them][pawn] & p.pieces[PAWN][Us]) return false;
    return !(knight_attacks[pawn] & p.pieces[KNIGHT][Us])
        && !(p.pieces[BISHOP][Us] && (BishopAttacks(pawn) & p.pieces[BISHOP][Us]));
}

// Against a bare king: pieces that mate, or a pawn that promotes. With more men it must not be
// worth less than the pawn alone, or the winner would give them away.
template <Colour Us> int AgainstBareKing() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const auto& n = p.PieceCount;
    if (p.NonPawnMaterial[Them] || n[PAWN][Them] || !n[PAWN][Us]) return 0;
    const bool wrong_corner = WrongCorner<Us>();
    if (p.MajorUnits[Us] || (n[BISHOP][Us] + n[KNIGHT][Us] >= 2 && !wrong_corner))
        return MatingPieces + (n[BISHOP][Us] && n[KNIGHT][Us] ? BishopKnightMost : 0);
    thread_eval_info.SymmetryValid = 0;
    int winner = 0, foremost = 0;  // ranks
    int kept = 0;
    const Bitboard in_the_way = p.occupied & ~p.pieces[KING][Us] & ~p.pieces[KING][Them];
    for (Bitboard rest = p.pieces[PAWN][Us]; rest;) {
        const Square pawn = PopLowest(rest);
        const int rank = RelativeRank(Us, pawn);
        if (rank < 1 || rank > 6) continue;
        foremost = std::max(foremost, rank);
        kept += !PawnFalls<Us>(pawn);
        if (rank > winner && !(evaluation_masks.front_span[Us][pawn] & in_the_way)
            && KpkWon(Us, p.king_square[Us], p.king_square[Them], pawn, Colour(p.SideToMove)))
            winner = rank;
    }
    // A second man decides where the pawn alone does not, unless it is a pawn behind one that
    // the king already stops.
    const Bitboard pawns = p.pieces[PAWN][Us];
    const bool stuck = foremost > 4 && !p.NonPawnMaterial[Us] && !(pawns & ~FileMask(FileOf(LowestSquare(pawns))));
    if (!winner && kept >= (p.NonPawnMaterial[Us] ? 1 : 2) && !wrong_corner && !stuck) winner = foremost;
    if (!winner) return 0;
    const int men = n[PAWN][Us] + n[BISHOP][Us] + n[KNIGHT][Us];
    return std::max(weights.kpk_bonus / 2, LonePawnWin(winner) + ExtraMan * (men - 1) - p.Material[Us]);
}

// Pieces or rook against a side without pieces but with pawns.
int RookAgainstPawns() {
    const Position& p = thread_board;
    int score = 0;
    for (int c = 0; c < 2; ++c) {
        const Colour us = Colour(c), them = ChangeSide(us);
        if (p.NonPawnMaterial[them] == 0 && p.PieceCount[PAWN][them] > 0 && p.MajorUnits[us] > 0)
            score += SignFor(us) * tuned.lone_rook_bonus[std::min(p.PieceCount[PAWN][them], 8)];
    }
    return score;
}

}  // namespace

bool EvaluateLowMaterial() {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const MaterialRecord* table_record = MaterialRecordOrNull();
    const MaterialRecord record = table_record ? *table_record : ComputeMaterialRecord();
    info.current_phase = record.current_phase;
    info.phase[WHITE] = record.white_phase;
    info.phase[BLACK] = record.black_phase;
    for (int c = 0; c < 2; ++c) {
        info.cannot_win[c] = record.flags[c] & FlagCannotWin;
        info.ending[c] = (record.flags[c] & FlagEnding) != 0;
    }
    info.material = p.Material[BLACK] - p.Material[WHITE] + record.correction;
    info.accumulator = 0;
    // Set up by hand: what follows counts on one king a side.
    if (p.PieceCount[KING][WHITE] != 1 || p.PieceCount[KING][BLACK] != 1) {
        info.accumulator = info.material;
        return true;
    }
    if (info.cannot_win[WHITE] && info.cannot_win[BLACK]) return true;

    if (p.piece_total == 3 && p.PieceCount[PAWN][WHITE] + p.PieceCount[PAWN][BLACK] == 1) return KingPawnKing();
    if (p.piece_total <= FewMen && (Settled<WHITE>() || Settled<BLACK>())) return true;

    info.accumulator = info.material + MaterialAdd<BLACK>() - MaterialAdd<WHITE>() + RookAgainstPawns()
        + AgainstBareKing<BLACK>() - AgainstBareKing<WHITE>();
    info.lead_scale[WHITE] = LeadScale<WHITE>();
    info.lead_scale[BLACK] = LeadScale<BLACK>();
    for (const Colour c : {WHITE, BLACK})
        if (info.lead_scale[c] > Unchanged) info.accumulator += SignFor(c) * KnownWinBonus;
    return false;
}

namespace {

// Factors may come from a file; no sane one is large.
int Scaled(int value, int factor) { return std::clamp(value, -100000, 100000) * factor / Unchanged; }

// Exactly one pawn: does the defender hold the square in front of it?
template <Colour Owner> bool StopSquareHeld() {
    constexpr Colour Defender = ChangeSide(Owner);
    constexpr int Up = Owner == WHITE ? 8 : -8;
    const Position& p = thread_board;
    const Square pawn = LowestSquare(p.pieces[PAWN][Owner]);
    const int rank = RelativeRank(Owner, pawn);
    if (rank < 1 || rank > 6) return false;
    const Square stop = pawn + Up;
    const Square king = p.king_square[Defender];
    if (stop == king || (king_attacks[king] & Bit(stop))) return true;
    if (knight_attacks[stop] & p.pieces[KNIGHT][Defender]) return true;
    return (bishop_rays[stop] & p.pieces[BISHOP][Defender]) && (BishopAttacks(stop) & p.pieces[BISHOP][Defender]);
}

template <Colour Owner> int OnePawnScaled(int score) {
    constexpr Colour Defender = ChangeSide(Owner);
    const Position& p = thread_board;
    const int lead = p.NonPawnMaterial[Owner] - p.NonPawnMaterial[Defender];
    const bool bare = p.NonPawnMaterial[Defender] == 0;
    // A rook against a minor piece mostly wins with a pawn all the same; not with a rook pawn
    // against a bishop.
    const bool exchange_up = p.NonPawnMaterial[Owner] == 5 && p.NonPawnMaterial[Defender] == 3
        && !(p.pieces[BISHOP][Defender] && (p.pieces[PAWN][Owner] & (FileA | FileH)));
    if (lead >= -3 && lead <= 3 && !bare && !exchange_up && StopSquareHeld<Owner>())
        score = Scaled(score, Unchanged / 2);
    if (p.NonPawnMaterial[WHITE] == 5 && p.NonPawnMaterial[BLACK] == 5 && p.PieceCount[ROOK][WHITE] == 1
        && p.PieceCount[ROOK][BLACK] == 1) {
        const Square pawn = LowestSquare(p.pieces[PAWN][Owner]), king = p.king_square[Defender];
        const int files = FileOf(king) - FileOf(pawn);
        const bool in_front = files >= -1 && files <= 1 && RelativeRank(Owner, king) > RelativeRank(Owner, pawn);
        const int pair = FilePair(pawn);
        score = Scaled(score, weights.rook_ending_factor[!in_front ? 3 : pair == 0 ? 0 : pair == 1 ? 1 : 2]);
    }
    return score;
}

// Three pawns, none passed: few winning chances, fewer still on one wing.
int ThreePawnsScaled(int score) {
    const Bitboard pawns = thread_board.pieces[PAWN][WHITE] | thread_board.pieces[PAWN][BLACK];
    constexpr Bitboard queen_side = FileMask(0) | FileMask(1) | FileMask(2) | FileMask(3);
    const bool one_wing = !(pawns & queen_side) || !(pawns & ~queen_side);
    return one_wing ? Scaled(score, Unchanged / 2) : score * 3 / 4;
}

// Equal small material and three pawns: can the side with fewer pawns stop each enemy pawn
// with its king in front or its bishop across the path?
template <Colour Leader> bool AllPawnsStopped() {
    constexpr Colour Defender = ChangeSide(Leader);
    const Position& p = thread_board;
    const Square king = p.king_square[Defender];
    Bitboard bishop_control = p.pieces[BISHOP][Defender];
    if (bishop_control) bishop_control |= BishopAttacks(LowestSquare(bishop_control));
    for (Bitboard rest = p.pieces[PAWN][Leader]; rest;) {
        const Square s = PopLowest(rest);
        const Bitboard path = evaluation_masks.front_span[Leader][s];
        const bool by_king = (path & (king_attacks[king] | Bit(king))) != 0;
        if (!by_king && !(path & bishop_control)) return false;
    }
    return true;
}

template <Colour Leader> int LeaderScaled(int score, int& spread) {
    constexpr Colour Other = ChangeSide(Leader);
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const int own_units = p.NonPawnMaterial[Leader], other_units = p.NonPawnMaterial[Other];
    const int pawns = p.PieceCount[PAWN][Leader] + p.PieceCount[PAWN][Other];
    const Bitboard own_pawns = p.pieces[PAWN][Leader];

    if (pawns == 3) {
        info.SymmetryValid = 0;
        // With more than a minor piece ahead the pieces win without the pawns' help.
        if (!info.pawn.passed_white && !info.pawn.passed_black && own_units - other_units <= 3)
            score = ThreePawnsScaled(score);
    } else if (pawns == 1) {
        info.SymmetryValid = 0;
        score = own_pawns ? OnePawnScaled<Leader>(score) : OnePawnScaled<Other>(score);
    }
    if (own_units <= other_units && !(own_pawns & ~evaluation_masks.king_area[p.king_square[Other]])) {
        score = Scaled(score, weights.area_factor);
        spread = Scaled(spread, weights.area_factor);
    }
    if (info.cannot_win[Leader]) return 0;
    // With more material than the low-material evaluator looks at, pawns may be gone as well.
    const bool low = std::min(own_units, other_units) < tuned.EndingThreshold;
    score = Scaled(score, low ? info.lead_scale[Leader] : PawnlessFactor<Leader>());

    if (own_units != other_units || own_units >= 6) return score;
    const bool bishops_only = own_units == 3 && p.PieceCount[BISHOP][Leader] == 1 && p.PieceCount[BISHOP][Other] == 1;
    const bool no_knights = !p.pieces[KNIGHT][WHITE] && !p.pieces[KNIGHT][BLACK];
    const int own_passed = info.pawn.Passed(Leader);
    if (pawns == 3 && no_knights && p.PieceCount[PAWN][Leader] == 2 && !(own_passed & (own_passed - 1))
        && !(info.pawn.Passed(Other) & (info.pawn.Passed(Other) - 1)) && AllPawnsStopped<Leader>())
        score = Scaled(score, weights.pawn_stop_factor[own_units == 0 ? 0 : own_passed ? 2 : 1]);
    if (bishops_only) {
        const Bitboard both = p.pieces[BISHOP][WHITE] | p.pieces[BISHOP][BLACK];
        if ((both & LightSquares) && (both & DarkSquares)) score = Scaled(score, weights.opposite_bishop_factor);
    } else if (own_units == 3 && p.PieceCount[BISHOP][Leader] == 1 && own_passed && !(own_passed & (own_passed - 1))) {
        // A bishop against a knight and one passed pawn: the enemy king in its way, on a
        // square that the bishop never attacks, does not give way.
        const Bitboard king = Bit(p.king_square[Other]);
        const Bitboard bishop_colour = p.pieces[BISHOP][Leader] & LightSquares ? LightSquares : DarkSquares;
        Bitboard path = 0;
        for (Bitboard rest = info.passed[Leader]; rest;) path |= evaluation_masks.front_span[Leader][PopLowest(rest)];
        if ((king & path) && !(king & bishop_colour)) score = Scaled(score, weights.single_bishop_factor);
    }
    return score;
}

}  // namespace

int ScaleEnding(int score, int& spread) {
    if (score > 0) return LeaderScaled<BLACK>(score, spread);
    if (score < 0) return LeaderScaled<WHITE>(score, spread);
    return 0;
}
