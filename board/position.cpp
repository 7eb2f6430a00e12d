// position.cpp - placing men, setting positions up from FEN, writing and printing them.
//
// State: thread_board, game_history, history_count, history_base.
#include "board/position.h"

#include <cctype>
#include <cstring>

#include "board/attacks.h"
#include "board/console.h"
#include "board/material_index.h"
#include "board/piece_square.h"

Position thread_board;
HistoryRecord game_history[HistorySize];
int history_count;
int history_base;
void (*position_loaded_hook)() = nullptr;

namespace {

constexpr char PieceLetters[] = " knp?rbq";  // by piece type, as Black's

PieceType TypeOfLetter(char letter) {
    const char* const found = std::strchr(PieceLetters + 1, std::tolower(static_cast<unsigned char>(letter)));
    if (letter == '\0' || letter == '?' || found == nullptr) return EMPTY;
    return PieceType(found - PieceLetters);
}

// Drops the rights whose king or rook is not at home.
int PossibleCastling(int flags) {
    const auto home = [](PieceType type, Colour c, Square s) { return (thread_board.pieces[type][c] & Bit(s)) != 0; };
    if (!home(KING, WHITE, E1)) flags &= ~(WhiteKingSide | WhiteQueenSide);
    if (!home(KING, BLACK, E8)) flags &= ~(BlackKingSide | BlackQueenSide);
    if (!home(ROOK, WHITE, H1)) flags &= ~WhiteKingSide;
    if (!home(ROOK, WHITE, A1)) flags &= ~WhiteQueenSide;
    if (!home(ROOK, BLACK, H8)) flags &= ~BlackKingSide;
    if (!home(ROOK, BLACK, A8)) flags &= ~BlackQueenSide;
    return flags;
}

void EmptyHistory() {
    history_count = 0;
    history_base = 0;
}

void PositionLoaded() {
    if (position_loaded_hook != nullptr) position_loaded_hook();
}

const char* SkipSpaces(const char* text) {
    while (*text == ' ') ++text;
    return text;
}

// Places the men of the first FEN field; returns where it ended.
const char* ReadPlacement(const char* text) {
    int file = 0, rank = 7;
    for (; *text != '\0' && *text != ' '; ++text) {
        const char c = *text;
        if (c == '/') {
            if (--rank < 0) break;
            file = 0;
        } else if (c >= '1' && c <= '8') {
            file += c - '0';
        } else if (const PieceType type = TypeOfLetter(c); type != EMPTY) {
            // A man beyond the h-file has no square; the rest of the rank is dropped.
            const Colour owner = std::isupper(static_cast<unsigned char>(c)) ? WHITE : BLACK;
            if (file < 8) PlacePiece(SquareAt(file, rank), owner, type);
            ++file;
        }
    }
    while (*text != '\0' && *text != ' ') ++text;
    return text;
}

const char* ReadCastling(const char* text, int& flags) {
    flags = 0;
    if (*text == '-') return text + 1;
    for (; *text != '\0' && *text != ' '; ++text) {
        if (*text == 'K') flags |= WhiteKingSide;
        if (*text == 'Q') flags |= WhiteQueenSide;
        if (*text == 'k') flags |= BlackKingSide;
        if (*text == 'q') flags |= BlackQueenSide;
    }
    return text;
}

// Appends the double push that the en-passant field tells of, if it is consistent, as a
// first record that no move made.
void ReadEnPassant(const char* text) {
    if (text[0] == '\0' || text[1] == '\0') return;
    const int file = std::tolower(static_cast<unsigned char>(text[0])) - 'a';
    const int rank = text[1] - '1';
    if (file < 0 || file > 7) return;
    const Colour us = SideToMove(), them = ChangeSide(us);
    if (rank != (us == BLACK ? 2 : 5)) return;
    const int forward = them == WHITE ? 8 : -8;
    const Square target = SquareAt(file, rank);
    const Square to = target + forward, from = target - forward;
    if (!(thread_board.pieces[PAWN][them] & Bit(to))) return;
    // A man on the way would make the capture overwrite it.
    if (thread_board.occupied & (Bit(from) | Bit(target))) return;
    HistoryRecord& record = game_history[0];
    record.key_low = uint32_t(thread_board.hash_key);
    record.key_high = uint32_t(thread_board.hash_key >> 32);
    record.fifty = 0;
    record.move = PackMove(from, to, PAWN);
    record.castling = thread_board.castling;
    record.MaterialIndex = thread_board.MaterialIndex;
    record.piece_square[0] = thread_board.piece_square[0];
    record.piece_square[1] = thread_board.piece_square[1];
    history_count = history_base = 1;
}

char LetterAt(Square s) {
    const char letter = PieceLetters[thread_board.board[s]];
    if (thread_board.colour[WHITE] & Bit(s)) return char(std::toupper(static_cast<unsigned char>(letter)));
    return letter;
}

std::string CastlingText() {
    std::string text;
    for (int i = 0; i < 4; ++i)
        if (thread_board.castling & (1 << i)) text += "KQkq"[i];
    return text.empty() ? "-" : text;
}

}  // namespace

void ClearBoard() {
    Position& p = thread_board;
    const int32_t side = p.SideToMove, castling = p.castling;
    const int32_t white_king = p.king_square[WHITE] & 63, black_king = p.king_square[BLACK] & 63;
    std::memset(static_cast<void*>(&p), 0, sizeof p);
    p.SideToMove = side;
    p.castling = castling;
    p.king_square[WHITE] = white_king;
    p.king_square[BLACK] = black_king;
}

void PlacePiece(Square s, Colour c, PieceType type) {
    Position& p = thread_board;
    ++p.piece_total;
    if (type != KING) p.Material[c] += PieceValue[type];
    if (type == ROOK) p.MajorUnits[c] += 1;
    if (type == QUEEN) p.MajorUnits[c] += 2;
    if (type == KNIGHT || type == BISHOP) p.MinorCount[c] += 1;
    p.piece_square[0] = int16_t(p.piece_square[0] + PieceSquare[c][type][s][0]);
    p.piece_square[1] = int16_t(p.piece_square[1] + PieceSquare[c][type][s][1]);
    p.colour[c] |= Bit(s);
    p.board[s] = uint8_t(type);
    p.occupied |= Bit(s);
    p.file_occupied |= 1ULL << (8 * FileOf(s) + RankOf(s));
    p.anti_diagonal[FileOf(s) + RankOf(s)] |= uint8_t(1 << RankOf(s));
    p.diagonal[FileOf(s) - RankOf(s) + 7] |= uint8_t(1 << RankOf(s));
    ++p.PieceCount[type][c];
    if (type == KING) {
        p.pieces[KING][c] = Bit(s);  // assigned: only the last king placed counts
        p.king_square[c] = s;
    } else {
        p.pieces[type][c] |= Bit(s);
    }
    p.hash_key ^= ZobristKeys[c][type][s];
    if (type == PAWN) p.pawn_key ^= ZobristKeys[c][PAWN][s];
    p.NonPawnMaterial[c] += PieceUnits[type];
    if (MovesLikeRook(type)) p.rook_movers |= Bit(s);
    if (MovesLikeBishop(type)) p.bishop_movers |= Bit(s);
    if (p.MaterialIndex != MaterialIndexNone) {
        p.MaterialIndex += MaterialRadix[type][c];
        if (type != PAWN && type != KING && p.PieceCount[type][c] >= 3) p.MaterialIndex = MaterialIndexNone;
    }
}

void SetInitialPosition() { SetFen(StartFen); }

void SetFen(const char* text) {
    EmptyHistory();
    ClearBoard();
    Position& p = thread_board;
    text = SkipSpaces(ReadPlacement(text));
    p.SideToMove = *text == 'w' ? WHITE : BLACK;
    if (*text != '\0') ++text;
    int flags;
    text = SkipSpaces(ReadCastling(SkipSpaces(text), flags));
    p.castling = PossibleCastling(flags);
    ReadEnPassant(text);
    PositionLoaded();
}

void FinishSetup(Colour side_to_move, int castling) {
    EmptyHistory();
    thread_board.fifty = 0;
    thread_board.SideToMove = side_to_move;
    thread_board.castling = PossibleCastling(castling);
    PositionLoaded();
}

bool IsPlayable() {
    const Position& p = thread_board;
    for (const Colour c : {WHITE, BLACK}) {
        if (p.PieceCount[KING][c] != 1 || PopCount(p.colour[c]) > 16) return false;
        if (p.pieces[PAWN][c] & (RankMask(0) | RankMask(7))) return false;
    }
    return !InCheck(ChangeSide(SideToMove()));
}

bool EnPassantPossible(Square* target) {
    if (history_count == 0) return false;
    const Move last = game_history[history_count - 1].move;
    if (!IsDoublePush(last)) return false;
    const Square to = MoveTo(last);
    const Colour us = SideToMove();
    if (!((ShiftEast(Bit(to)) | ShiftWest(Bit(to))) & thread_board.pieces[PAWN][us])) return false;
    if (!(thread_board.colour[ChangeSide(us)] & Bit(to))) return false;
    if (target != nullptr) *target = (MoveFrom(last) + to) / 2;
    return true;
}

std::string WriteFen() {
    std::string fen;
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            const Square s = SquareAt(file, rank);
            if (thread_board.board[s] == EMPTY) {
                ++empty;
                continue;
            }
            if (empty > 0) fen += char('0' + empty);
            empty = 0;
            fen += LetterAt(s);
        }
        if (empty > 0) fen += char('0' + empty);
        if (rank > 0) fen += '/';
    }
    fen += SideToMove() == WHITE ? " w " : " b ";
    fen += CastlingText();
    Square target;
    if (EnPassantPossible(&target)) {
        fen += ' ';
        fen += char('a' + FileOf(target));
        fen += char('1' + RankOf(target));
    } else {
        fen += " -";
    }
    fen += ' ' + std::to_string(thread_board.fifty);
    fen += ' ' + std::to_string((history_count - history_base) / 2 + 1);
    return fen;
}

void PrintBoard(bool symbols) {
    constexpr const char* Symbols[2][8] = {{"", "\u2654", "\u2658", "\u2659", "", "\u2656", "\u2657", "\u2655"},
                                           {"", "\u265a", "\u265e", "\u265f", "", "\u265c", "\u265d", "\u265b"}};
    for (int rank = 7; rank >= 0; --rank) {
        Print("%d ", rank + 1);
        for (int file = 0; file < 8; ++file) {
            const Square s = SquareAt(file, rank);
            const int piece = thread_board.board[s];
            const bool black = (thread_board.colour[BLACK] & Bit(s)) != 0;
            if (symbols && piece != EMPTY) Print(" %s", Symbols[black ? 1 : 0][piece]);
            else Print(" %c", piece == EMPTY ? '.' : LetterAt(s));
        }
        Print("\n");
    }
    Print("\n   a b c d e f g h\n\n");
    Print("Side to move: %s\n", SideToMove() == WHITE ? "white" : "black");
    Print("Castling: %s\n", CastlingText().c_str());
    Print("Fifty-move counter: %d\n", thread_board.fifty);
    Print("FEN: %s\n", WriteFen().c_str());
    Flush();
}

Position RecomputePosition(const Position& p) {
    const Position wanted = p;  // usually p is thread_board itself, which is rebuilt below
    const Position saved = thread_board;
    ClearBoard();
    for (Square s = 0; s < 64; ++s)
        if (wanted.board[s] != EMPTY)
            PlacePiece(s, (wanted.colour[WHITE] & Bit(s)) ? WHITE : BLACK, PieceType(wanted.board[s]));
    thread_board.SideToMove = wanted.SideToMove;
    thread_board.castling = wanted.castling;
    thread_board.fifty = wanted.fifty;
    thread_board.MaterialIndex = ComputeMaterialIndex(thread_board.PieceCount);
    const Position result = thread_board;
    thread_board = saved;
    return result;
}
