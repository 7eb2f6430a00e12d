// notation.cpp - moves as text.
//
// Coordinate text (e2e4, e7e8q) is what both protocols speak and what the program prints;
// standard algebraic notation (Nbd7, exd6, O-O) is what game files contain. Either form is
// read by filtering the list of legal moves, never by building a move from the text, so no
// text can yield an illegal move.
//
// State: san_token, filled by ReadSanToken() (or directly by a caller) and read by
// MatchSan(), which also sets its error flag. Whoever drives the reading clears the flag.

#include "board/notation.h"

#include <cstring>

#include "board/attacks.h"
#include "board/console.h"
#include "board/make_move.h"
#include "board/movegen.h"

constinit SanToken san_token = {};

// Letters by piece type. No move has the types 1, 3 and 4 as promotion; the letters only
// keep the table whole.
constexpr char PromotionLetters[9] = " knp?rbq";
constexpr char SanLetters[9] = " KNP?RBQ";

// The piece type of a capital letter in algebraic notation, EMPTY for anything else.
static int PieceOfLetter(char letter) {
    switch (letter) {
        case 'K': return KING;
        case 'N': return KNIGHT;
        case 'P': return PAWN;
        case 'R': return ROOK;
        case 'B': return BISHOP;
        case 'Q': return QUEEN;
        default: return EMPTY;
    }
}

static char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; }
static bool IsFileLetter(char c) { return c >= 'a' && c <= 'h'; }
static bool IsRankDigit(char c) { return c >= '1' && c <= '8'; }
static bool EndsWord(char c) { return c == '\0' || c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The legal moves of the current position, on the stack from ScratchMoves on. The count of
// the stack is as before when the list goes out of scope.
struct LegalMoves {
    int saved_count = move_count;
    int size = GenerateUnscoredLegalMoves(ScratchMoves);
    ~LegalMoves() { move_count = saved_count; }
    LegalMoves() = default;
    LegalMoves(const LegalMoves&) = delete;
    LegalMoves& operator=(const LegalMoves&) = delete;
    Move operator[](int i) const { return move_stack[ScratchMoves + i].move; }
};

// ---- Coordinate text ----

char* MoveToText(char* buffer, Move m) {
    if (m == 0) {
        std::memcpy(buffer, "0000", 5);
        return buffer;
    }
    const Square from = MoveFrom(m), to = MoveTo(m);
    buffer[0] = char('a' + FileOf(from));
    buffer[1] = char('1' + RankOf(from));
    buffer[2] = char('a' + FileOf(to));
    buffer[3] = char('1' + RankOf(to));
    buffer[4] = MovePromotion(m) ? PromotionLetters[MovePromotion(m)] : '\0';
    buffer[5] = '\0';
    return buffer;
}

std::string MoveText(Move m) {
    char buffer[6];
    return MoveToText(buffer, m);
}

bool LooksLikeMove(const char* text) {
    return IsFileLetter(LowerCase(text[0])) && IsRankDigit(text[1]) && IsFileLetter(LowerCase(text[2]))
        && IsRankDigit(text[3]);
}

Move ParseCoordinate(const char* text) {
    if (!LooksLikeMove(text)) return 0;
    char wanted[6] = {LowerCase(text[0]), text[1], LowerCase(text[2]), text[3], '\0', '\0'};
    if (!EndsWord(text[4])) {
        wanted[4] = LowerCase(text[4]);
        if (!EndsWord(text[5])) return 0;
    }
    const LegalMoves moves;
    for (int i = 0; i < moves.size; ++i) {
        char name[6];
        MoveToText(name, moves[i]);
        if (std::strcmp(name, wanted) == 0) return moves[i];
        // Some front ends leave the queen to be guessed.
        if (MovePromotion(moves[i]) == QUEEN && wanted[4] == '\0' && std::strncmp(name, wanted, 4) == 0)
            return moves[i];
    }
    return 0;
}

// ---- Algebraic notation, reading ----

// '9', '+' and '#' are not among them: no square has a 9, and the signs for check and mate
// end a token, which drops them.
static bool IsSanCharacter(int c) {
    return (c >= 'a' && c <= 'h') || (c >= '0' && c <= '8') || (c > 0 && std::strchr("KQNBR=-O:x", c));
}

int ReadSanToken(std::FILE* file) {
    constexpr int Longest = 14;
    int length = 0;
    san_token.text[0] = '\0';
    for (;;) {
        const int c = san_token.end = std::getc(file);
        // A last move without a line end after it is still a token.
        if (c == EOF) return length == 0;
        if (!IsSanCharacter(c)) return 0;
        if (length == Longest) {
            Print("Error parsing move (move too long): %s...\n", san_token.text);
            Flush();
            exit_hook(2);
            return 1;
        }
        san_token.text[length++] = char(c);
        san_token.text[length] = '\0';
    }
}

// What a token demands of a move; -1 leaves the question open.
struct SanFilter {
    int from_file = -1, from_rank = -1, to_file = -1, to_rank = -1;
    int piece = -1, promotion = -1;
    bool capture = false;
};

static bool Passes(const SanFilter& filter, Move m) {
    const Square from = MoveFrom(m), to = MoveTo(m);
    if (filter.from_file >= 0 && filter.from_file != FileOf(from)) return false;
    if (filter.to_file >= 0 && filter.to_file != FileOf(to)) return false;
    if (filter.to_rank >= 0 && filter.to_rank != RankOf(to)) return false;
    if (filter.from_rank >= 0 && filter.from_rank != RankOf(from)) return false;
    if (filter.piece >= 0 && filter.piece != MovePiece(m)) return false;
    if (filter.promotion >= 0 && filter.promotion != MovePromotion(m)) return false;
    return !filter.capture || MoveCaptured(m) != EMPTY || IsEnPassant(m);
}

static SanFilter ReadSanFilter(const char* token) {
    SanFilter filter;
    // Either capture sign counts wherever it stands; '=' says nothing that the letter behind
    // it does not say.
    char text[sizeof san_token.text];
    int length = 0;
    for (const char* c = token; *c; ++c) {
        if (*c == ':' || *c == 'x') filter.capture = true;
        else if (*c != '=') text[length++] = *c;
    }
    text[length] = '\0';

    const auto is_o = [](char c) { return c == 'O' || c == '0'; };
    if (is_o(text[0]) && text[1] == '-' && is_o(text[2])) {
        // The from-rank matters: a bishop on e3 may go to g1 as well. The piece is left open, so
        // that without castling another man's move from the king's home square would do.
        filter.from_file = FileOf(E1);
        filter.to_file = text[3] == '-' ? FileOf(C1) : FileOf(G1);
        filter.from_rank = filter.to_rank = SideToMove() == WHITE ? 0 : 7;
        return filter;
    }

    const char* c = text;
    filter.piece = PieceOfLetter(*c);
    if (filter.piece == EMPTY) filter.piece = PAWN;
    else ++c;

    const auto read_file = [&c] { return IsFileLetter(*c) ? *c++ - 'a' : -1; };
    const auto read_rank = [&c] { return IsRankDigit(*c) ? *c++ - '1' : -1; };
    const int first_file = read_file();
    const int first_rank = read_rank();
    const int second_file = read_file();
    const int second_rank = read_rank();
    if (second_file >= 0) {
        filter.from_file = first_file;
        filter.from_rank = first_rank;
        filter.to_file = second_file;
        filter.to_rank = second_rank;
    } else {
        filter.to_file = first_file;
        filter.to_rank = first_rank;
    }

    if (PieceOfLetter(*c) != EMPTY) filter.promotion = PieceOfLetter(*c);
    return filter;
}

Move FindSan(const char* token, int* matches) {
    *matches = 0;
    Move match = 0;
    if (std::strlen(token) >= sizeof san_token.text) return match;
    const SanFilter filter = ReadSanFilter(token);
    const LegalMoves moves;
    for (int i = 0; i < moves.size; ++i) {
        if (!Passes(filter, moves[i])) continue;
        match = moves[i];
        ++*matches;
    }
    return match;
}

Move MatchSan() {
    if (san_token.error) return 0;
    int matches;
    const Move match = FindSan(san_token.text, &matches);
    if (matches == 1) return match;
    Print(matches == 0 ? "\nCan't recognize: %s...\n" : "\nAmbigous move: %s...\n", san_token.text);
    san_token.error = true;
    return match;
}

// ---- Algebraic notation, writing ----

// File, rank or both of the from-square, as far as other men of the same kind could go to
// the same square.
static std::string Disambiguation(Move m) {
    const LegalMoves moves;
    bool needed = false, same_file = false, same_rank = false;
    for (int i = 0; i < moves.size; ++i) {
        const Move other = moves[i];
        if (MovePiece(other) != MovePiece(m) || MoveTo(other) != MoveTo(m) || MoveFrom(other) == MoveFrom(m)) continue;
        needed = true;
        same_file |= FileOf(MoveFrom(other)) == FileOf(MoveFrom(m));
        same_rank |= RankOf(MoveFrom(other)) == RankOf(MoveFrom(m));
    }
    std::string text;
    // The file is preferred; the rank is written when the file does not decide.
    if (needed && (!same_file || same_rank)) text += char('a' + FileOf(MoveFrom(m)));
    if (needed && same_file) text += char('1' + RankOf(MoveFrom(m)));
    return text;
}

static std::string CheckSign(Move m) {
    MakeMove(m);
    std::string sign;
    if (InCheck(SideToMove())) sign = LegalMoves().size == 0 ? "#" : "+";
    UnmakeMove();
    return sign;
}

std::string MoveToSan(Move m) {
    std::string text;
    if (IsCastling(m)) {
        text = FileOf(MoveTo(m)) == FileOf(G1) ? "O-O" : "O-O-O";
    } else {
        const bool capture = MoveCaptured(m) != EMPTY || IsEnPassant(m);
        if (MovePiece(m) != PAWN) {
            text = SanLetters[MovePiece(m)] + Disambiguation(m);
        } else if (capture) {
            text = char('a' + FileOf(MoveFrom(m)));
        }
        if (capture) text += 'x';
        text += char('a' + FileOf(MoveTo(m)));
        text += char('1' + RankOf(MoveTo(m)));
        if (MovePromotion(m)) {
            text += '=';
            text += SanLetters[MovePromotion(m)];
        }
    }
    return text + CheckSign(m);
}
