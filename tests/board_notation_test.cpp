// board_notation_test.cpp - moves as text, both forms, both ways.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "board/console.h"
#include "tests/support/random_games.h"

namespace {

void SetToken(const std::string& text) {
    ASSERT_LT(text.size(), sizeof san_token.text);
    std::strcpy(san_token.text, text.c_str());
    san_token.error = false;
}

template <typename Action> std::string OutputOf(Action action) {
    Flush();
    ::testing::internal::CaptureStdout();
    action();
    Flush();
    return ::testing::internal::GetCapturedStdout();
}

std::FILE* FileWith(const char* text) {
    std::FILE* file = std::tmpfile();
    std::fputs(text, file);
    std::rewind(file);
    return file;
}

int exit_status = -1;

}  // namespace

TEST(CoordinateText, WhatLooksLikeAMove) {
    for (const char* const text : {"e2e4", "E2E4", "a1h8 and more", "h7h8q", "e2e4x"})
        EXPECT_TRUE(LooksLikeMove(text)) << text;
    for (const char* const text : {"", "e2e", "e2e9", "e0e4", "i2i4", "e2-e4", " e2e4", "Nf3", "0000", "@1a1"})
        EXPECT_FALSE(LooksLikeMove(text)) << text;
}

TEST(CoordinateText, Reading) {
    constexpr const char* Promotion = "8/P6k/8/8/8/8/7K/8 w - -";
    struct {
        const char *why, *fen, *text, *move;
    } const cases[] = {
        {"capital letters", StartFen, "E2E4", "e2e4"},
        {"more words behind", StartFen, "e2e4 e7e5", "e2e4"},
        {"line end behind", StartFen, "g1f3\r\n", "g1f3"},
        {"illegal", StartFen, "e2e5", "0000"},
        {"letters behind", StartFen, "e2e4x", "0000"},
        {"promotion letter without promotion", StartFen, "e2e4q", "0000"},
        {"no move", StartFen, "0000", "0000"},
        {"castling as king takes rook", "4k3/8/8/8/8/8/8/R3K2R w KQ -", "e1h1", "0000"},
        {"promotion, capital letter", Promotion, "a7a8R", "a7a8r"},
        {"promotion without a letter means queen", Promotion, "a7a8", "a7a8q"},
        {"the same with words behind", Promotion, "a7a8 h7g7", "a7a8q"},
        {"promotion to a king", Promotion, "a7a8k", "0000"},
        {"promotion with an equals sign", Promotion, "a7a8=q", "0000"},
        {"promotion with two letters", Promotion, "a7a8qq", "0000"},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(MoveText(ParseCoordinate(c.text)), c.move) << c.why;
        EXPECT_EQ(move_count, 0) << c.why;
    }
}

TEST(San, Tokens) {
    struct {
        const char *why, *text;
        std::vector<std::string> tokens;
    } const cases[] = {
        {"the last one needs no end", "e4 Nf3", {"e4", "Nf3"}},
        {"check, mate and annotation end a token", "Kxe1+ Qh5# e4! ", {"Kxe1", "", "Qh5", "", "e4", ""}},
        {"every kind of character", "Nb1xd2 e8=Q O-O-O 0-0 e4:d5 ", {"Nb1xd2", "e8=Q", "O-O-O", "0-0", "e4:d5"}},
        {"digit nine, pawn and small piece letters are none", "P9ke5 a", {"", "", "", "e5", "a"}},
        {"empty tokens between separators", "a3\r\n\r\nb3", {"a3", "", "", "", "b3"}},
        {"a token of fourteen characters", "abcdefgh123456 a", {"abcdefgh123456", "a"}},
        {"empty file", "", {}},
    };
    for (const auto& c : cases) {
        std::FILE* const file = FileWith(c.text);
        std::vector<std::string> tokens;
        while (ReadSanToken(file) == 0) tokens.push_back(san_token.text);
        EXPECT_EQ(tokens, c.tokens) << c.why;
        std::fclose(file);
    }
}

TEST(San, TooLongTokenEndsTheProgram) {
    void (*const saved_hook)(int) = exit_hook;
    exit_hook = [](int status) { exit_status = status; };
    std::FILE* const file = FileWith("abcdefgh1234567 e4");
    EXPECT_EQ(OutputOf([&] { EXPECT_EQ(ReadSanToken(file), 1); }),
              "Error parsing move (move too long): abcdefgh123456...\n");
    EXPECT_EQ(exit_status, 2);
    exit_hook = saved_hook;
    std::fclose(file);
}

// Beyond what MoveToSan() writes, which WhatIsWrittenIsReadAgain covers.
TEST(San, Matching) {
    constexpr const char* Pawns = "4k3/8/8/8/4n3/3P1P2/8/4K3 w - -";
    constexpr const char* Promotion = "3r3k/4P3/8/8/8/8/8/4K3 w - -";
    constexpr const char* Castling = "r3k2r/8/8/8/8/4B3/8/R3K2R w KQkq -";
    constexpr const char* EnPassant = "4k3/8/8/3pP3/8/8/8/4K3 w - d6";
    const std::string Fine, Unknown = "Can't recognize", Ambiguous = "Ambigous move";
    struct {
        const char *why, *fen, *token, *move;
        std::string complaint;
    } const cases[] = {
        {"pawn letter", StartFen, "Pe4", "e2e4", Fine},
        {"pawn capture without the sign", EnPassant, "ed6", "e5d6", Fine},
        {"pawn capture, files only", EnPassant, "exd", "e5d6", Fine},
        {"pawn capture with a colon behind", EnPassant, "ed6:", "e5d6", Fine},
        {"from-square written out", StartFen, "e2e4", "e2e4", Fine},
        {"a capture sign excludes quiet moves", StartFen, "Nxf3", "0000", Unknown},
        {"no sign, one pawn can take", "4k3/8/8/8/4n3/3P4/8/4K3 w - -", "e4", "d3e4", Fine},
        {"no sign, two pawns can take", Pawns, "e4", "f3e4", Ambiguous},
        {"from-file missing", "4k3/8/8/8/8/8/5P2/1N2KNN1 w - -", "Nd2", "f1d2", Ambiguous},
        {"file not enough", "7k/8/8/8/4Q2Q/8/8/K6Q w - -", "Qhe1", "h4e1", Ambiguous},
        {"promotion without a sign", Promotion, "e8Q", "e7e8q", Fine},
        {"promotion piece missing", Promotion, "e8", "e7e8b", Ambiguous},
        {"king side with zeros, while a bishop reaches g1", Castling, "0-0", "e1g1", Fine},
        {"queen side with zeros", Castling, "0-0-0", "e1c1", Fine},
        {"bishop to g1, no castling meant", Castling, "Bg1", "e3g1", Fine},
        {"castling not possible", StartFen, "O-O", "0000", Unknown},
        {"long form with a hyphen is not understood", StartFen, "e2-e4", "0000", Unknown},
        {"no legal moves", "7k/5Q2/6K1/8/8/8/8/8 b - -", "Kh7", "0000", Unknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        SetToken(c.token);
        const std::string output = OutputOf([&] { EXPECT_EQ(MoveText(MatchSan()), c.move); });
        EXPECT_EQ(output, c.complaint == Fine ? "" : "\n" + c.complaint + ": " + c.token + "...\n");
        EXPECT_EQ(san_token.error, c.complaint != Fine);
    }
}

// After one bad move the rest of the game must not be played.
TEST(San, ErrorFlagStays) {
    SetInitialPosition();
    SetToken("e4");
    san_token.error = true;
    EXPECT_EQ(MatchSan(), 0u);
    EXPECT_TRUE(san_token.error);
    san_token.error = false;
}

TEST(San, Writing) {
    struct {
        const char *why, *fen, *move, *san;
    } const cases[] = {
        {"file decides", "4k3/8/8/8/8/8/5P2/1N2KNN1 w - -", "b1d2", "Nbd2"},
        {"rank decides", "4k3/8/8/6N1/8/8/8/4K1N1 w - -", "g1f3", "N1f3"},
        {"both needed", "7k/8/8/8/4Q2Q/8/8/K6Q w - -", "h4e1", "Qh4e1+"},
        {"a pinned twin needs no telling apart", "4r2k/8/8/8/8/8/4N3/4K1N1 w - -", "g1f3", "Nf3"},
        {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5d6", "exd6"},
        {"promotion with check", "3r3k/4P3/8/8/8/8/8/4K3 w - -", "e7d8q", "exd8=Q+"},
        {"castling", "r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", "e8c8", "O-O-O"},
        {"castling with mate", "4rkr1/1Q6/8/8/8/8/4P1P1/4K2R w K -", "e1g1", "O-O#"},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(MoveToSan(ParseCoordinate(c.move)), c.san) << c.why;
    }
}

TEST(San, WhatIsWrittenIsReadAgain) {
    AtManyPositions(1, 60, [](const MoveList& legal) {
        for (const Move m : legal) {
            ASSERT_EQ(ParseCoordinate(MoveText(m).c_str()), m);
            std::string san = MoveToSan(m);
            if (san.back() == '+' || san.back() == '#') san.pop_back();
            SetToken(san);
            ASSERT_EQ(MoveText(MatchSan()), MoveText(m)) << san;
            ASSERT_FALSE(san_token.error) << san;
        }
    });
}
