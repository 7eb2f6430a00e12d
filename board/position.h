// position.h - the one position of the program, its history, and setting positions up.
//
// Every change goes through PlacePiece() or through making and unmaking moves; both keep
// all fields consistent. Line occupancies are the rotated-board view on which the sliding
// attack tables are indexed: one byte a rank, file, diagonal and anti-diagonal.
//
// There is no en-passant square: whether a capture en passant is possible follows from the
// last move in the history.
//
// State: thread_board, game_history, history_count, history_base.
#pragma once

#include <cstddef>
#include <string>

#include "board/bitboard.h"
#include "board/types.h"
#include "board/zobrist.h"

struct alignas(64) Position {
    Bitboard occupied;          // byte r is the occupancy of rank r, bit f of it file f
    uint64_t file_occupied;     // byte f is the occupancy of file f, bit r of it rank r
    uint8_t diagonal[16];       // [file - rank + 7], bit r = rank r occupied
    uint8_t anti_diagonal[16];  // [file + rank], bit r = rank r occupied
    Bitboard colour[2];
    Bitboard pieces[8][2];       // [piece type][colour]
    Bitboard rook_movers;        // rooks and queens of both colours
    Bitboard bishop_movers;      // bishops and queens of both colours
    uint64_t hash_key;           // piece placement only
    uint64_t pawn_key;           // the pawns of hash_key
    int32_t SideToMove;          // WHITE or BLACK
    int32_t king_square[2];      // always 0..63, also without a king
    int32_t castling;            // castling flags
    int32_t fifty;               // plies since the last capture or pawn move
    int32_t MaterialIndex;       // material_index.h
    int16_t piece_square[2];     // running sums of PieceSquare [opening, endgame]
    int32_t Material[2];         // centipawns, pawns included, kings not
    int32_t NonPawnMaterial[2];  // piece units: minor 3, rook 5, queen 9
    int32_t MajorUnits[2];       // rook 1, queen 2
    int32_t MinorCount[2];       // knights and bishops
    int32_t piece_total;         // all men, kings and pawns included
    int32_t PieceCount[8][2];    // [piece type][colour], kings counted
    uint8_t board[64];           // piece type, 0 if empty
};
extern Position thread_board;

inline Colour SideToMove() { return Colour(thread_board.SideToMove); }

// Written before a move is made, read when it is unmade and by the draw and en-passant rules.
struct HistoryRecord {
    uint32_t key_low, key_high;  // hash_key before the move
    int32_t fifty;
    Move move;  // 0 is a null move
    int32_t castling;
    int32_t MaterialIndex;
    int16_t piece_square[2];
};
static_assert(sizeof(HistoryRecord) == 28);

constexpr int HistorySize = 8192;
// A move of the game (not of the search) is refused when fewer records than this are left,
// so that a search always has room.
constexpr int HistoryReserve = 512;
extern HistoryRecord game_history[HistorySize];
extern int history_count;  // records in use: the game ply
extern int history_base;   // records that set-up wrote and no move made: 0 or 1

constexpr const char* StartFen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

// Called at the end of every set-up; the evaluation installs its own. May be null.
extern void (*position_loaded_hook)();

// Empties the board. Side to move, castling flags, king squares and history stay.
void ClearBoard();
// Adds a man with all updates. The square must be empty.
void PlacePiece(Square square, Colour colour, PieceType type);
// The standard start position with an empty history.
void SetInitialPosition();
// Sets up what the text says, leniently: unknown characters are skipped, missing fields are
// taken as absent, the clocks are not read. Never fails; see IsPlayable().
void SetFen(const char* fen);
// Ends a set-up done by hand with PlacePiece(): rights that kings and rooks at home allow out
// of `castling`, an empty history, fifty-move counter 0, side to move as given.
void FinishSetup(Colour side_to_move, int castling);
// True when the position can be searched: one king a side, no pawn on the first or last
// rank, at most 16 men a side, and the side that just moved not in check.
bool IsPlayable();

// The position as FEN; the move number counts from the start of the history.
std::string WriteFen();
// The console's picture of the board, in letters as in a FEN or in the symbols of Unicode.
void PrintBoard(bool symbols);

// True when the side to move can capture en passant as far as the last move and the pawns
// beside it tell; then *target is the square passed over. target may be null.
bool EnPassantPossible(Square* target);

// hash_key with castling rights and a possible en-passant capture folded in. The side to
// move is not part of it.
inline uint64_t PositionKey() {
    uint64_t key = thread_board.hash_key ^ ZobristCastling[thread_board.castling];
    if (history_count > 0) {
        const Move last = game_history[history_count - 1].move;
        if (IsDoublePush(last)) {
            const Square to = MoveTo(last);
            const Bitboard beside = ShiftWest(Bit(to)) | ShiftEast(Bit(to));
            const int us = thread_board.SideToMove;
            // The pushed pawn must be the other side's: white/black commands may have turned
            // the side to move since.
            if ((thread_board.pieces[PAWN][us] & beside) && (thread_board.colour[us ^ 1] & Bit(to)))
                key ^= ZobristEnPassant[FileOf(to)];
        }
    }
    return key;
}

// Builds every field of a position from the men alone (board and colour sets of `p`), taking
// side to move, castling and fifty from it: the slow truth that tests compare with.
Position RecomputePosition(const Position& p);
