// movegen.cpp - the generators.
//
// Each generator is one template over the side to move and over whether ordering scores are
// wanted; reading and writing of moves use the unscored form of the very code that the search runs.
// Perft has a form of its own, which shares pawns, castling and evasions with them.
//
// Orders are fixed, since they decide between equal scores: men and targets lowest square
// first for both colours, quiet promotions highest square first.
//
// State: move_stack, move_count.
#include "board/movegen.h"

#include <initializer_list>

#include "board/attacks.h"
#include "board/exchange.h"
#include "board/legality.h"
#include "board/make_move.h"
#include "board/ordering_data.h"

ScoredMove move_stack[MoveStackSize];
int move_count;

namespace {

// Scores of evasions and quiet checks that no table supplies.
constexpr int CounterEvasionScore = 90000;
constexpr int KingStepMalus = 100;
constexpr int CheckScore = 1000;
constexpr int DiscoveredCheckScore = 2000;

inline void Append(Move m, int score) {
    move_stack[move_count].move = m;
    move_stack[move_count].score = score;
    ++move_count;
}
inline void AppendUnscored(Move m) { move_stack[move_count++].move = m; }

template <bool scored> inline void AppendCapture(Move m) {
    if constexpr (scored) Append(m, CaptureScore(m));
    else AppendUnscored(m);
}

template <Colour us, bool scored> inline void AppendQuiets(Square from, PieceType piece, Bitboard targets) {
    const Move base = PackMove(from, 0, piece);
    while (targets) {
        const Move m = base | Move(PopLowest(targets)) << 6;
        if constexpr (scored) Append(m, QuietScore(m, us));
        else AppendUnscored(m);
    }
}

// Captures and quiet moves alike; only captures are scored rightly.
template <bool scored> inline void AppendMoves(Square from, PieceType piece, Bitboard targets) {
    const Move base = PackMove(from, 0, piece);
    while (targets) {
        const Square to = PopLowest(targets);
        AppendCapture<scored>(base | Move(to) << 6 | Move(thread_board.board[to]) << 15);
    }
}

// En passant is possible for at most two pawns beside the square of the last double push.
template <Colour us, bool scored> void AppendEnPassant() {
    constexpr Colour them = ChangeSide(us);
    if (history_count == 0) return;
    const Move last = game_history[history_count - 1].move;
    if (!IsDoublePush(last)) return;
    const Square to = MoveTo(last);
    if (MoveFrom(last) != (us == WHITE ? to + 16 : to - 16) || !(thread_board.colour[them] & Bit(to))) return;
    const Square target = us == WHITE ? to + 8 : to - 8;
    const Bitboard pawns = thread_board.pieces[PAWN][us];
    if (ShiftWest(Bit(to)) & pawns) AppendCapture<scored>(PackMove(to - 1, target, PAWN));
    if (ShiftEast(Bit(to)) & pawns) AppendCapture<scored>(PackMove(to + 1, target, PAWN));
}

template <Colour us, bool scored> void PawnCaptures(Bitboard pawns, Bitboard targets) {
    // Pawns that attack a target are the squares that an enemy pawn on the target would attack.
    pawns &= PawnAttackSet<ChangeSide(us)>(targets);
    while (pawns) {
        const Square from = PopLowest(pawns);
        const Bitboard hits = pawn_attacks[us][from] & targets;
        if (RelativeRank(us, from) == 6) {
            for (Bitboard left = hits; left;) {
                const Square to = PopLowest(left);
                const Move base = PackMove(from, to, PAWN, thread_board.board[to]);
                for (const Move promotion : {QUEEN, KNIGHT, ROOK, BISHOP})
                    AppendCapture<scored>(base | promotion << 18);
            }
        } else {
            AppendMoves<scored>(from, PAWN, hits);
        }
    }
}

template <Colour us, bool scored> void Captures(Bitboard targets) {
    const Position& p = thread_board;
    PawnCaptures<us, scored>(p.pieces[PAWN][us], targets);
    AppendEnPassant<us, scored>();
    for (Bitboard men = p.pieces[KNIGHT][us]; men;) {
        const Square from = PopLowest(men);
        AppendMoves<scored>(from, KNIGHT, knight_attacks[from] & targets);
    }
    for (Bitboard men = p.pieces[BISHOP][us]; men;) {
        const Square from = PopLowest(men);
        if (bishop_rays[from] & targets) AppendMoves<scored>(from, BISHOP, BishopAttacks(from) & targets);
    }
    for (Bitboard men = p.pieces[ROOK][us]; men;) {
        const Square from = PopLowest(men);
        if (rook_rays[from] & targets) AppendMoves<scored>(from, ROOK, RookAttacks(from) & targets);
    }
    for (Bitboard men = p.pieces[QUEEN][us]; men;) {
        const Square from = PopLowest(men);
        if (queen_rays[from] & targets) AppendMoves<scored>(from, QUEEN, QueenAttacks(from) & targets);
    }
    const Square king = p.king_square[us];
    AppendMoves<scored>(king, KING, king_attacks[king] & targets);
}

template <Colour us, bool scored> void Promotions(Bitboard pawns) {
    pawns &= RelativeRankMask(us, 6) & ShiftBackward<us>(~thread_board.occupied);
    while (pawns) {
        const Square from = HighestSquare(pawns);
        pawns ^= Bit(from);
        const Move base = PackMove(from, us == WHITE ? from + 8 : from - 8, PAWN);
        AppendCapture<scored>(base | Move(QUEEN) << 18);
        for (const Move promotion : {ROOK, KNIGHT, BISHOP}) {
            if constexpr (scored) Append(base | promotion << 18, SmallGainScore);
            else AppendUnscored(base | promotion << 18);
        }
    }
}

template <Colour us, bool scored> void Castlings() {
    constexpr Colour them = ChangeSide(us);
    constexpr Square home = us == WHITE ? E1 : E8;
    const Position& p = thread_board;
    constexpr int king_side = us == WHITE ? WhiteKingSide : BlackKingSide;
    constexpr int queen_side = us == WHITE ? WhiteQueenSide : BlackQueenSide;
    if (!(p.castling & (king_side | queen_side))) return;
    if ((p.castling & king_side) && !(p.occupied & (Bit(home + 1) | Bit(home + 2))) && !IsAttacked(home + 1, them)
        && !IsAttacked(home + 2, them))
        AppendQuiets<us, scored>(home, KING, Bit(home + 2));
    if ((p.castling & queen_side) && !(p.occupied & (Bit(home - 1) | Bit(home - 2) | Bit(home - 3)))
        && !IsAttacked(home - 1, them) && !IsAttacked(home - 2, them))
        AppendQuiets<us, scored>(home, KING, Bit(home - 2));
}

// Pushes of the given pawns, one step and then two, to squares of `targets`.
template <Colour us, bool scored> void Pushes(Bitboard pawns, Bitboard targets) {
    constexpr int forward = us == WHITE ? 8 : -8;
    const Bitboard empty = ~thread_board.occupied;
    pawns &= ~RelativeRankMask(us, 6) & ShiftBackward<us>(empty);
    for (Bitboard men = pawns & ShiftBackward<us>(targets); men;) {
        const Square from = PopLowest(men);
        AppendQuiets<us, scored>(from, PAWN, Bit(from + forward));
    }
    Bitboard men = pawns & RelativeRankMask(us, 1) & ShiftBackward<us>(ShiftBackward<us>(empty & targets));
    while (men) {
        const Square from = PopLowest(men);
        AppendQuiets<us, scored>(from, PAWN, Bit(from + 2 * forward));
    }
}

template <Colour us, bool scored> void Quiets() {
    const Position& p = thread_board;
    const Bitboard empty = ~p.occupied;
    Castlings<us, scored>();
    for (Bitboard men = p.pieces[KNIGHT][us]; men;) {
        const Square from = PopLowest(men);
        AppendQuiets<us, scored>(from, KNIGHT, knight_attacks[from] & empty);
    }
    for (Bitboard men = p.pieces[BISHOP][us]; men;) {
        const Square from = PopLowest(men);
        AppendQuiets<us, scored>(from, BISHOP, BishopAttacks(from) & empty);
    }
    Pushes<us, scored>(p.pieces[PAWN][us], empty);
    for (Bitboard men = p.pieces[ROOK][us]; men;) {
        const Square from = PopLowest(men);
        AppendQuiets<us, scored>(from, ROOK, RookAttacks(from) & empty);
    }
    for (Bitboard men = p.pieces[QUEEN][us]; men;) {
        const Square from = PopLowest(men);
        AppendQuiets<us, scored>(from, QUEEN, QueenAttacks(from) & empty);
    }
    const Square king = p.king_square[us];
    AppendQuiets<us, scored>(king, KING, king_attacks[king] & empty);
}

template <bool scored, bool all_promotions> void AppendEvasion(Move m) {
    if (MovePiece(m) == PAWN && (RankOf(MoveTo(m)) == 7 || RankOf(MoveTo(m)) == 0)) {
        AppendCapture<scored>(m | Move(QUEEN) << 18);
        AppendCapture<scored>(m | Move(KNIGHT) << 18);
        if constexpr (all_promotions) {
            AppendCapture<scored>(m | Move(ROOK) << 18);
            AppendCapture<scored>(m | Move(BISHOP) << 18);
        }
    } else {
        AppendCapture<scored>(m);
    }
}

template <Colour us, bool scored> void AppendQuietEvasion(Move m) {
    if constexpr (!scored) {
        AppendUnscored(m);
    } else {
        const Position& p = thread_board;
        int score = QuietScore(m, us);
        if (MovePiece(m) == KING) score -= KingStepMalus;
        if (history_count > 0
            && counter_evasions[MoveTo(game_history[history_count - 1].move)][p.king_square[us]][us] == m)
            score = CounterEvasionScore;
        Append(m, score);
    }
}

// Legal evasions: king steps, and with a single checker its capture and interpositions.
template <Colour us, bool scored, bool all_promotions> void Evasions() {
    constexpr Colour them = ChangeSide(us);
    constexpr int forward = us == WHITE ? 8 : -8;
    const Position& p = thread_board;
    const Square king = p.king_square[us];
    const Bitboard checkers = Checkers(us);

    // A slider also hits the square behind the king, which the king hides from IsAttacked().
    Bitboard steps = king_attacks[king] & ~p.colour[us];
    for (Bitboard sliders = checkers & (p.rook_movers | p.bishop_movers); sliders;) {
        const Square checker = PopLowest(sliders);
        const int index = DirectionIndex(direction[checker][king]);
        if (index >= 0) steps &= ~direction_rays[index][king];
    }
    const auto king_steps = [&](Bitboard targets) {
        while (targets) {
            const Square to = PopLowest(targets);
            if (IsAttacked(to, them)) continue;
            // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): p is the board
            const Move m = PackMove(king, to, KING, p.board[to]);
            if (p.board[to] != EMPTY) AppendCapture<scored>(m);
            else AppendQuietEvasion<us, scored>(m);
        }
    };
    king_steps(steps & p.occupied);

    if (checkers && !MoreThanOne(checkers)) {
        const Square checker = LowestSquare(checkers);
        const Bitboard free = p.colour[us] & ~PinnedPieces(us) & ~Bit(king);
        // Captures of the checker.
        for (Bitboard men = AttackersTo(checker) & free; men;) {
            const Square from = PopLowest(men);
            AppendEvasion<scored, all_promotions>(PackMove(from, checker, p.board[from], p.board[checker]));
        }
        // En passant may take the checker or land on its line; it may also open a line.
        const int first = move_count;
        AppendEnPassant<us, scored>();
        int kept = first;
        for (int i = first; i < move_count; ++i) {
            MakeMove(move_stack[i].move);
            const bool legal = !InCheck(us);
            UnmakeMove();
            if (legal) move_stack[kept++] = move_stack[i];
        }
        move_count = kept;
        // Interpositions.
        for (Bitboard squares = between[king][checker]; squares;) {
            const Square to = PopLowest(squares);
            Bitboard men = AttackersTo(to) & free & ~p.pieces[PAWN][us];
            while (men) {
                const Square from = PopLowest(men);
                AppendQuietEvasion<us, scored>(PackMove(from, to, p.board[from]));
            }
            const Square one = to - forward;
            if (one < 0 || one > 63) continue;
            if (p.pieces[PAWN][us] & free & Bit(one)) {
                if (RelativeRank(us, one) == 6) AppendEvasion<scored, all_promotions>(PackMove(one, to, PAWN));
                else AppendQuietEvasion<us, scored>(PackMove(one, to, PAWN));
            } else if (p.board[one] == EMPTY && RelativeRank(us, to) == 3) {
                const Square two = one - forward;
                if (p.pieces[PAWN][us] & free & Bit(two)) AppendQuietEvasion<us, scored>(PackMove(two, to, PAWN));
            }
        }
    }
    king_steps(steps & ~p.occupied);
}

template <Colour us> void QuietChecks(bool wide, const CheckInfo& info) {
    constexpr Colour them = ChangeSide(us);
    const Position& p = thread_board;
    const Bitboard empty = ~p.occupied;
    const Bitboard allowed = wide ? empty : empty & ~PawnAttackSet<them>(p.pieces[PAWN][them]);

    for (const PieceType type : {KNIGHT, BISHOP, ROOK, QUEEN}) {
        const Bitboard hits = info.check_squares[type] & allowed;
        if (hits == 0) continue;
        // With `wide` the men that uncover a check come below, with all their moves.
        for (Bitboard men = p.pieces[type][us] & (wide ? ~info.discoverers : ~Bitboard(0)); men;) {
            const Square from = PopLowest(men);
            Bitboard targets = hits
                & (type == KNIGHT       ? knight_attacks[from]
                       : type == BISHOP ? bishop_rays[from]
                       : type == ROOK   ? rook_rays[from]
                                        : queen_rays[from]);
            while (targets) {
                const Square to = PopLowest(targets);
                if (between[from][to] & p.occupied) continue;
                const Move m = PackMove(from, to, type);
                if (!wide && !PassesExchange(m)) continue;
                Append(m, CheckScore + QuietScore(m, us));
            }
        }
    }
    if (!wide) return;

    const int first_push = move_count;
    Pushes<us, true>(p.pieces[PAWN][us] & ~info.discoverers, empty & info.check_squares[PAWN]);
    for (int i = first_push; i < move_count; ++i) move_stack[i].score += CheckScore;

    for (Bitboard men = info.discoverers; men;) {
        const Square from = PopLowest(men);
        const int index = DirectionIndex(direction[info.king][from]);
        const Bitboard off_line = empty & ~direction_rays[index][info.king];
        const int first = move_count;
        switch (p.board[from]) {
            case PAWN: Pushes<us, true>(Bit(from), off_line); break;
            case KNIGHT: AppendQuiets<us, true>(from, KNIGHT, knight_attacks[from] & off_line); break;
            case BISHOP: AppendQuiets<us, true>(from, BISHOP, BishopAttacks(from) & off_line); break;
            case ROOK: AppendQuiets<us, true>(from, ROOK, RookAttacks(from) & off_line); break;
            case KING: AppendQuiets<us, true>(from, KING, king_attacks[from] & off_line); break;
            default: break;  // a queen on the line would give check itself
        }
        for (int i = first; i < move_count; ++i) move_stack[i].score += CheckScore + DiscoveredCheckScore;
    }
}

// Keeps the legal ones of the moves from `start` on; castlings only when not in check.
template <Colour us> void FilterLegal(int start, bool in_check) {
    int kept = start;
    for (int i = start; i < move_count; ++i) {
        const Move m = move_stack[i].move;
        if (in_check && IsCastling(m)) continue;
        MakeMove(m);
        const bool legal = !InCheck(us);
        UnmakeMove();
        if (legal) move_stack[kept++].move = m;
    }
    move_count = kept;
}

template <Colour us> int LegalMoves(int start) {
    const int saved_ply = current_ply, saved_iteration = iteration_depth;
    move_count = start;
    current_ply = SparePly;
    const bool in_check = InCheck(us);
    ply_records[SparePly].in_check = in_check;
    GenerateCaptures(thread_board.colour[ChangeSide(us)]);
    iteration_depth = 500;  // as deep as can be, so that no under-promotion is left out
    GeneratePromotions();
    iteration_depth = saved_iteration;
    GenerateQuiets();
    FilterLegal<us>(start, in_check);
    current_ply = saved_ply;
    return move_count - start;
}

template <Colour us> int UnscoredLegalMoves(int start) {
    move_count = start;
    const Position& p = thread_board;
    if (InCheck(us)) {
        Evasions<us, false, true>();
        return move_count - start;
    }
    const Bitboard pinned = PinnedPieces(us);
    // Only king steps, pinned men and en passant can be illegal; king steps stand at the end
    // of either list.
    const auto filter = [&](int first) {
        int kept = first;
        if (pinned == 0) {
            kept = move_count;
            while (kept > first && MovePiece(move_stack[kept - 1].move) == KING) --kept;
        }
        for (int i = kept; i < move_count; ++i) {
            const Move m = move_stack[i].move;
            if (IsLegal(m, pinned)) move_stack[kept++].move = m;
        }
        move_count = kept;
    };
    Captures<us, false>(p.colour[ChangeSide(us)]);
    if (EnPassantPossible(nullptr)) {
        int kept = start;
        for (int i = start; i < move_count; ++i)
            if (!IsEnPassant(move_stack[i].move) || IsLegal(move_stack[i].move, pinned))
                move_stack[kept++].move = move_stack[i].move;
        move_count = kept;
    }
    filter(start);
    const int quiets = move_count;
    Promotions<us, false>(p.pieces[PAWN][us]);
    Quiets<us, false>();
    filter(quiets);
    return move_count - start;
}

// One look at each man for captures and quiet moves together.
template <Colour us> int LegalMovesByMan(int start) {
    move_count = start;
    const Position& p = thread_board;
    if (InCheck(us)) {
        Evasions<us, false, true>();
        return move_count - start;
    }
    constexpr Colour them = ChangeSide(us);
    const Square king = p.king_square[us];
    const Bitboard pinned = PinnedPieces(us);
    // A pinned man stays on its line.
    const auto line = [&](Square from) {
        return pinned & Bit(from) ? direction_rays[DirectionIndex(direction[king][from])][king] : ~Bitboard(0);
    };

    const Bitboard pawns = p.pieces[PAWN][us] & ~pinned;
    PawnCaptures<us, false>(pawns, p.colour[them]);
    Promotions<us, false>(pawns);
    Pushes<us, false>(pawns, ~p.occupied);
    for (Bitboard men = p.pieces[PAWN][us] & pinned; men;) {
        const Square from = PopLowest(men);
        PawnCaptures<us, false>(Bit(from), p.colour[them] & line(from));
        Pushes<us, false>(Bit(from), line(from));
    }
    int kept = move_count;
    AppendEnPassant<us, false>();
    for (int i = kept; i < move_count; ++i)
        if (IsLegal(move_stack[i].move, pinned)) move_stack[kept++].move = move_stack[i].move;
    move_count = kept;

    const Bitboard targets = ~p.colour[us];
    for (Bitboard men = p.pieces[KNIGHT][us] & ~pinned; men;) {
        const Square from = PopLowest(men);
        AppendMoves<false>(from, KNIGHT, knight_attacks[from] & targets);
    }
    for (Bitboard men = p.pieces[BISHOP][us]; men;) {
        const Square from = PopLowest(men);
        AppendMoves<false>(from, BISHOP, BishopAttacks(from) & targets & line(from));
    }
    for (Bitboard men = p.pieces[ROOK][us]; men;) {
        const Square from = PopLowest(men);
        AppendMoves<false>(from, ROOK, RookAttacks(from) & targets & line(from));
    }
    for (Bitboard men = p.pieces[QUEEN][us]; men;) {
        const Square from = PopLowest(men);
        AppendMoves<false>(from, QUEEN, QueenAttacks(from) & targets & line(from));
    }
    for (Bitboard steps = king_attacks[king] & targets; steps;) {
        const Square to = PopLowest(steps);
        if (!IsAttacked(to, them)) AppendUnscored(PackMove(king, to, KING, p.board[to]));
    }
    Castlings<us, false>();
    return move_count - start;
}

}  // namespace

void GenerateCaptures(Bitboard targets) {
    if (SideToMove() == WHITE) Captures<WHITE, true>(targets);
    else Captures<BLACK, true>(targets);
}

void GeneratePromotions() {
    if (SideToMove() == WHITE) Promotions<WHITE, true>(thread_board.pieces[PAWN][WHITE]);
    else Promotions<BLACK, true>(thread_board.pieces[PAWN][BLACK]);
}

void GenerateQuiets() {
    if (SideToMove() == WHITE) Quiets<WHITE, true>();
    else Quiets<BLACK, true>();
}

void GenerateEvasions() {
    if (SideToMove() == WHITE) Evasions<WHITE, true, false>();
    else Evasions<BLACK, true, false>();
}

void GenerateQuietChecks(bool wide, const CheckInfo& info) {
    if (SideToMove() == WHITE) QuietChecks<WHITE>(wide, info);
    else QuietChecks<BLACK>(wide, info);
}

void GenerateQuietChecks(bool wide) {
    CheckInfo info;
    ComputeCheckInfo(info);
    GenerateQuietChecks(wide, info);
}

int GenerateLegalMoves(int start) {
    return SideToMove() == WHITE ? LegalMoves<WHITE>(start) : LegalMoves<BLACK>(start);
}

int GenerateUnscoredLegalMoves(int start) {
    return SideToMove() == WHITE ? UnscoredLegalMoves<WHITE>(start) : UnscoredLegalMoves<BLACK>(start);
}

int GenerateLegalMovesByMan(int start) {
    return SideToMove() == WHITE ? LegalMovesByMan<WHITE>(start) : LegalMovesByMan<BLACK>(start);
}
