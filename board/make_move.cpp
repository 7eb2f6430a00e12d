// make_move.cpp - making and unmaking moves, every field updated incrementally.
//
// The mover is put on its square before a captured man is taken off, so line occupancies at
// the to-square never need clearing on a capture; only en passant touches a third square.
#include "board/make_move.h"

#include "board/material_index.h"
#include "board/piece_square.h"

namespace {

// ANDed into the castling flags when a king or rook leaves or a rook is taken on a square.
struct CastlingMasks {
    uint8_t keep[64];
    constexpr CastlingMasks() : keep() {
        for (uint8_t& mask : keep) mask = 15;
        keep[A1] = 15 & ~WhiteQueenSide;
        keep[E1] = 15 & ~(WhiteKingSide | WhiteQueenSide);
        keep[H1] = 15 & ~WhiteKingSide;
        keep[A8] = 15 & ~BlackQueenSide;
        keep[E8] = 15 & ~(BlackKingSide | BlackQueenSide);
        keep[H8] = 15 & ~BlackKingSide;
    }
};
constexpr CastlingMasks castling_masks;

// Flips one square in all four line occupancies.
inline void ToggleLines(Position& p, Square s) {
    const int file = FileOf(s), rank = RankOf(s);
    const uint8_t bit = uint8_t(1 << rank);
    p.occupied ^= Bit(s);
    p.file_occupied ^= 1ULL << (8 * file + rank);
    p.anti_diagonal[file + rank] ^= bit;
    p.diagonal[file - rank + 7] ^= bit;
}

inline void AddSums(Position& p, Colour c, int type, Square s) {
    const int16_t* const values = PieceSquare[c][type][s];
    p.piece_square[0] = int16_t(p.piece_square[0] + values[0]);
    p.piece_square[1] = int16_t(p.piece_square[1] + values[1]);
}

inline void SubtractSums(Position& p, Colour c, int type, Square s) {
    const int16_t* const values = PieceSquare[c][type][s];
    p.piece_square[0] = int16_t(p.piece_square[0] - values[0]);
    p.piece_square[1] = int16_t(p.piece_square[1] - values[1]);
}

// Flips squares of one slider in the sets of rook- and bishop-movers.
inline void ToggleMovers(Position& p, int type, Bitboard squares) {
    if (MovesLikeRook(type)) p.rook_movers ^= squares;
    if (MovesLikeBishop(type)) p.bishop_movers ^= squares;
}

// The counts of one man, up (sign 1) or down (sign -1). piece_total is the caller's.
inline void Count(Position& p, Colour c, int type, int sign) {
    p.PieceCount[type][c] += sign;
    p.Material[c] += sign * PieceValue[type];
    p.NonPawnMaterial[c] += sign * PieceUnits[type];
    if (type == ROOK) p.MajorUnits[c] += sign;
    else if (type == QUEEN) p.MajorUnits[c] += 2 * sign;
    else if (type != PAWN) p.MinorCount[c] += sign;
}

inline void RemoveFromIndex(Position& p, Colour c, int type) {
    if (p.MaterialIndex != MaterialIndexNone) {
        p.MaterialIndex -= MaterialRadix[type][c];
    } else if (type != PAWN && p.PieceCount[type][c] == 2) {
        p.MaterialIndex = SumMaterialIndex(p.PieceCount);  // other counts may still forbid it
    }
}

template <Colour us> void MoveCastlingRook(Position& p, Square king_to, bool make) {
    const bool king_side = FileOf(king_to) == 6;
    const Square rook_from = us == WHITE ? (king_side ? H1 : A1) : (king_side ? H8 : A8);
    const Square rook_to = us == WHITE ? (king_side ? F1 : D1) : (king_side ? F8 : D8);
    const Bitboard both = Bit(rook_from) | Bit(rook_to);
    p.colour[us] ^= both;
    p.pieces[ROOK][us] ^= both;
    p.rook_movers ^= both;
    p.board[make ? rook_from : rook_to] = EMPTY;
    p.board[make ? rook_to : rook_from] = ROOK;
    ToggleLines(p, rook_from);
    ToggleLines(p, rook_to);
    if (make) {
        p.hash_key ^= ZobristKeys[us][ROOK][rook_from] ^ ZobristKeys[us][ROOK][rook_to];
        SubtractSums(p, us, ROOK, rook_from);
        AddSums(p, us, ROOK, rook_to);
    }
}

template <Colour us> void MakePawnMove(Position& p, Move m, Square from, Square to, bool capture) {
    constexpr Colour them = ChangeSide(us);
    p.fifty = 0;
    p.pawn_key ^= ZobristKeys[us][PAWN][from] ^ ZobristKeys[us][PAWN][to];
    if (!capture && ((from ^ to) & 7) != 0) {  // en passant
        const Square victim = (from & 56) | (to & 7);
        p.colour[them] ^= Bit(victim);
        p.pieces[PAWN][them] ^= Bit(victim);
        p.hash_key ^= ZobristKeys[them][PAWN][victim];
        p.pawn_key ^= ZobristKeys[them][PAWN][victim];
        p.board[victim] = EMPTY;
        ToggleLines(p, victim);
        SubtractSums(p, them, PAWN, victim);
        --p.piece_total;
        Count(p, them, PAWN, -1);
        RemoveFromIndex(p, them, PAWN);
    }
    const PieceType promotion = MovePromotion(m);
    if (promotion != EMPTY) {
        p.pieces[PAWN][us] ^= Bit(to);
        p.pieces[promotion][us] ^= Bit(to);
        p.hash_key ^= ZobristKeys[us][PAWN][to] ^ ZobristKeys[us][promotion][to];
        p.pawn_key ^= ZobristKeys[us][PAWN][to];
        p.board[to] = uint8_t(promotion);
        ToggleMovers(p, promotion, Bit(to));
        SubtractSums(p, us, PAWN, to);
        AddSums(p, us, promotion, to);
        Count(p, us, PAWN, -1);
        Count(p, us, promotion, 1);
        if (p.MaterialIndex != MaterialIndexNone) {
            p.MaterialIndex += MaterialRadix[promotion][us] - MaterialRadix[PAWN][us];
            if (p.PieceCount[promotion][us] >= 3) p.MaterialIndex = MaterialIndexNone;
        }
    }
}

template <Colour us> void Make(Move m, bool save) {
    constexpr Colour them = ChangeSide(us);
    Position& p = thread_board;
    HistoryRecord& record = game_history[history_count++];
    if (save) {
        record.key_low = uint32_t(p.hash_key);
        record.key_high = uint32_t(p.hash_key >> 32);
        record.fifty = p.fifty;
        record.castling = p.castling;
        record.MaterialIndex = p.MaterialIndex;
        record.piece_square[0] = p.piece_square[0];
        record.piece_square[1] = p.piece_square[1];
    }
    record.move = m;
    p.SideToMove = them;

    const Square from = MoveFrom(m), to = MoveTo(m);
    const int piece = MovePiece(m), captured = MoveCaptured(m);
    const Bitboard both = Bit(from) | Bit(to);
    ++p.fifty;
    p.colour[us] ^= both;
    p.pieces[piece][us] ^= both;
    ToggleMovers(p, piece, both);
    p.hash_key ^= ZobristKeys[us][piece][from] ^ ZobristKeys[us][piece][to];
    p.board[from] = EMPTY;
    p.board[to] = uint8_t(piece);
    SubtractSums(p, us, piece, from);
    AddSums(p, us, piece, to);
    ToggleLines(p, from);

    if (captured != EMPTY) {
        p.colour[them] ^= Bit(to);
        p.pieces[captured][them] ^= Bit(to);
        ToggleMovers(p, captured, Bit(to));
        p.hash_key ^= ZobristKeys[them][captured][to];
        SubtractSums(p, them, captured, to);
        --p.piece_total;
        Count(p, them, captured, -1);
        RemoveFromIndex(p, them, captured);
        p.fifty = 0;
        if (captured == PAWN) p.pawn_key ^= ZobristKeys[them][PAWN][to];
        if (captured == ROOK) p.castling &= castling_masks.keep[to];
    } else {
        ToggleLines(p, to);
    }

    if (piece == PAWN) {
        MakePawnMove<us>(p, m, from, to, captured != EMPTY);
    } else if (piece == ROOK) {
        p.castling &= castling_masks.keep[from];
    } else if (piece == KING) {
        p.castling &= castling_masks.keep[from];
        p.king_square[us] = to;
        if (IsCastling(m)) MoveCastlingRook<us>(p, to, true);
    }
}

template <Colour us> void Unmake(const HistoryRecord& record) {
    constexpr Colour them = ChangeSide(us);
    Position& p = thread_board;
    const Move m = record.move;
    p.SideToMove = us;
    const Square from = MoveFrom(m), to = MoveTo(m);
    const int piece = MovePiece(m), captured = MoveCaptured(m);
    const Bitboard both = Bit(from) | Bit(to);

    if (piece == PAWN) {
        p.pawn_key ^= ZobristKeys[us][PAWN][from] ^ ZobristKeys[us][PAWN][to];
        const PieceType promotion = MovePromotion(m);
        if (promotion != EMPTY) {
            p.pieces[PAWN][us] ^= Bit(to);
            p.pieces[promotion][us] ^= Bit(to);
            p.pawn_key ^= ZobristKeys[us][PAWN][to];
            ToggleMovers(p, promotion, Bit(to));
            Count(p, us, promotion, -1);
            Count(p, us, PAWN, 1);
        }
        if (captured == EMPTY && ((from ^ to) & 7) != 0) {
            const Square victim = (from & 56) | (to & 7);
            p.colour[them] ^= Bit(victim);
            p.pieces[PAWN][them] ^= Bit(victim);
            p.pawn_key ^= ZobristKeys[them][PAWN][victim];
            p.board[victim] = PAWN;
            ToggleLines(p, victim);
            ++p.piece_total;
            Count(p, them, PAWN, 1);
        }
    } else if (piece == KING) {
        p.king_square[us] = from;
        if (IsCastling(m)) MoveCastlingRook<us>(p, to, false);
    }

    p.colour[us] ^= both;
    p.pieces[piece][us] ^= both;
    ToggleMovers(p, piece, both);
    p.board[from] = uint8_t(piece);
    p.board[to] = uint8_t(captured);
    ToggleLines(p, from);
    if (captured != EMPTY) {
        p.colour[them] ^= Bit(to);
        p.pieces[captured][them] ^= Bit(to);
        ToggleMovers(p, captured, Bit(to));
        ++p.piece_total;
        Count(p, them, captured, 1);
        if (captured == PAWN) p.pawn_key ^= ZobristKeys[them][PAWN][to];
    } else {
        ToggleLines(p, to);
    }

    p.castling = record.castling;
    p.fifty = record.fifty;
    p.piece_square[0] = record.piece_square[0];
    p.piece_square[1] = record.piece_square[1];
    p.hash_key = uint64_t(record.key_high) << 32 | record.key_low;
    p.MaterialIndex = record.MaterialIndex;
}

}  // namespace

int MakeMove(Move m, bool save) {
    const int index = history_count;
    if (thread_board.SideToMove == WHITE) Make<WHITE>(m, save);
    else Make<BLACK>(m, save);
    return 4 * index;
}

void UnmakeMove() {
    const HistoryRecord& record = game_history[--history_count];
    if (thread_board.SideToMove == WHITE) Unmake<BLACK>(record);
    else Unmake<WHITE>(record);
}

void MakeNullMove() {
    Position& p = thread_board;
    HistoryRecord& record = game_history[history_count++];
    record.key_low = uint32_t(p.hash_key);
    record.key_high = uint32_t(p.hash_key >> 32);
    record.fifty = p.fifty;
    record.castling = p.castling;
    record.MaterialIndex = p.MaterialIndex;
    record.piece_square[0] = p.piece_square[0];
    record.piece_square[1] = p.piece_square[1];
    record.move = 0;
    p.fifty = 0;
    p.SideToMove = ChangeSide(SideToMove());
}

void UnmakeNullMove() {
    Position& p = thread_board;
    p.fifty = game_history[--history_count].fifty;
    p.SideToMove = ChangeSide(SideToMove());
}

bool MakeGameMove(Move m) {
    if (history_count > HistorySize - HistoryReserve) return false;
    MakeMove(m);
    return true;
}
