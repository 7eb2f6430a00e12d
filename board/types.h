// types.h - the words every other file speaks: colours, pieces, squares, moves, scores, depths.
//
// A piece type is three bits. For codes above 3, bit 0 says "moves like a rook" and bit 1
// "moves like a bishop", so rook is 5, bishop 6, queen 7; 4 stays empty so that the rule
// holds. Tables indexed by piece type have eight rows.
#pragma once

#include <cstdint>

using Bitboard = uint64_t;  // bit n is square n
using Square = int;         // a1 = 0, h1 = 7, a2 = 8, ..., h8 = 63
using Move = uint32_t;      // see below; 0 is "no move"

enum Colour : int { WHITE = 0, BLACK = 1 };
constexpr Colour ChangeSide(Colour c) { return Colour(c ^ 1); }

enum PieceType : int { EMPTY = 0, KING = 1, KNIGHT = 2, PAWN = 3, ROOK = 5, BISHOP = 6, QUEEN = 7 };
constexpr bool MovesLikeRook(int type) { return type > 3 && (type & 1) != 0; }
constexpr bool MovesLikeBishop(int type) { return type > 3 && (type & 2) != 0; }

// Centipawns by piece type, for Material; the king is never added up.
constexpr int PieceValue[8] = {0, 10000, 300, 100, 0, 500, 300, 900};
// Piece units by piece type: the measure of non-pawn material (31 a side at the start).
constexpr int PieceUnits[8] = {0, 0, 3, 0, 0, 5, 3, 9};

enum : Square { A1, B1, C1, D1, E1, F1, G1, H1, A8 = 56, B8, C8, D8, E8, F8, G8, H8 };
constexpr int FileOf(Square s) { return s & 7; }
constexpr int RankOf(Square s) { return s >> 3; }
constexpr Square SquareAt(int file, int rank) { return rank * 8 + file; }
constexpr Bitboard Bit(Square s) { return Bitboard(1) << s; }
// The rank of s as its owner counts it: 0 is the owner's first rank.
constexpr int RelativeRank(Colour c, Square s) { return c == WHITE ? s >> 3 : 7 - (s >> 3); }

// Castling flags.
enum : int { WhiteKingSide = 1, WhiteQueenSide = 2, BlackKingSide = 4, BlackQueenSide = 8 };

// Move word: from 0-5, to 6-11, moving piece 12-14, captured piece 15-17, promotion 18-20.
// Castling is a king move of two files. An en-passant capture has captured piece 0 and
// changes file. There are no other flags.
constexpr Square MoveFrom(Move m) { return Square(m & 63); }
constexpr Square MoveTo(Move m) { return Square((m >> 6) & 63); }
constexpr PieceType MovePiece(Move m) { return PieceType((m >> 12) & 7); }
constexpr PieceType MoveCaptured(Move m) { return PieceType((m >> 15) & 7); }
constexpr PieceType MovePromotion(Move m) { return PieceType((m >> 18) & 7); }
constexpr Move PackMove(Square from, Square to, int piece, int captured = 0, int promotion = 0) {
    return Move(from) | Move(to) << 6 | Move(piece) << 12 | Move(captured) << 15 | Move(promotion) << 18;
}
constexpr bool IsEnPassant(Move m) {
    return MovePiece(m) == PAWN && MoveCaptured(m) == EMPTY && ((m ^ (m >> 6)) & 7) != 0;
}
constexpr bool IsCastling(Move m) {
    const int step = MoveFrom(m) - MoveTo(m);
    return MovePiece(m) == KING && (step == 2 || step == -2);
}
// Double push: both squares on ranks of the same parity (bit 3 equal).
constexpr bool IsDoublePush(Move m) { return MovePiece(m) == PAWN && ((m ^ (m >> 6)) & 8) == 0; }
constexpr bool IsCaptureOrPromotion(Move m) { return (m >> 15) != 0; }  // en passant not included
constexpr bool IsQuiet(Move m) { return !IsCaptureOrPromotion(m) && !IsEnPassant(m); }

// Scores are centipawns for the side to move. Mated at ply p is p - MATE, mating at ply p
// is MATE - p; anything beyond +-MateBound is a mate score.
constexpr int MATE = 32700;
constexpr int MateBound = 31000;

// Depth counts quarter plies, so that an extension may be worth less than a move.
constexpr int ONE_PLY = 4;
