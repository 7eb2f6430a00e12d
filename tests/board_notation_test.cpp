// board_notation_test.cpp - moves as text, both forms, both ways.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "board/console.h"
#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

namespace {

void SetToken(const std::string& text) {
    ASSERT_LT(text.size(), sizeof san_token.text);
    std::strcpy(san_token.text, text.c_str());
    san_token.error = false;
}

// What MatchSan() prints while it matches the token.
std::string MatchOutput(const std::string& token, Move* match) {
    SetToken(token);
    Flush();
    ::testing::internal::CaptureStdout();
    *match = MatchSan();
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

TEST(CoordinateText, Writing) {
    struct {
        const char* why;
        Move move;
        const char* text;
    } const cases[] = {
        {"no move", 0, "0000"},
        {"plain", PackMove(12, 28, PAWN), "e2e4"},
        {"capture shows nothing", PackMove(A1, A8, ROOK, QUEEN), "a1a8"},
        {"castling is the king's move", PackMove(E8, C8, KING), "e8c8"},
        {"queen", PackMove(48, A8, PAWN, 0, QUEEN), "a7a8q"},
        {"rook", PackMove(48, A8, PAWN, 0, ROOK), "a7a8r"},
        {"bishop", PackMove(15, H1, PAWN, 0, BISHOP), "h2h1b"},
        {"knight by capture", PackMove(15, G1, PAWN, KNIGHT, KNIGHT), "h2g1n"},
    };
    for (const auto& c : cases) {
        char buffer[6];
        EXPECT_STREQ(MoveToText(buffer, c.move), c.text) << c.why;
        EXPECT_EQ(MoveText(c.move), c.text) << c.why;
    }
}

TEST(CoordinateText, WhatLooksLikeAMove) {
    for (const char* const text : {"e2e4", "E2E4", "a1h8 and more", "h7h8q", "e2e4x"})
        EXPECT_TRUE(LooksLikeMove(text)) << text;
    for (const char* const text :
         {"", "e", "e2", "e2e", "e2e9", "e0e4", "i2i4", "e2-e4", " e2e4", "Nf3", "0000", "@1a1"})
        EXPECT_FALSE(LooksLikeMove(text)) << text;
}

TEST(CoordinateText, Reading) {
    constexpr const char* Promotion = "8/P6k/8/8/8/8/7K/8 w - -";
    struct {
        const char* why;
        const char* fen;
        const char* text;
        const char* move;
    } const cases[] = {
        {"plain", StartFen, "e2e4", "e2e4"},
        {"capital letters", StartFen, "E2E4", "e2e4"},
        {"more words behind", StartFen, "e2e4 e7e5", "e2e4"},
        {"line end behind", StartFen, "g1f3\r\n", "g1f3"},
        {"illegal", StartFen, "e2e5", nullptr},
        {"the other side's move", StartFen, "e7e5", nullptr},
        {"letters behind", StartFen, "e2e4x", nullptr},
        {"promotion letter without promotion", StartFen, "e2e4q", nullptr},
        {"too short", StartFen, "e2e", nullptr},
        {"no move", StartFen, "0000", nullptr},
        {"castling", "4k3/8/8/8/8/8/8/R3K2R w KQ -", "e1g1", "e1g1"},
        {"castling without the right", "4k3/8/8/8/8/8/8/R3K2R w Q -", "e1g1", nullptr},
        {"castling as king takes rook", "4k3/8/8/8/8/8/8/R3K2R w KQ -", "e1h1", nullptr},
        {"promotion", Promotion, "a7a8n", "a7a8n"},
        {"promotion, capital letter", Promotion, "a7a8R", "a7a8r"},
        {"promotion without a letter means queen", Promotion, "a7a8", "a7a8q"},
        {"the same with words behind", Promotion, "a7a8 h7g7", "a7a8q"},
        {"promotion to a king", Promotion, "a7a8k", nullptr},
        {"promotion with an equals sign", Promotion, "a7a8=q", nullptr},
        {"promotion with two letters", Promotion, "a7a8qq", nullptr},
        {"pinned piece", "4r2k/8/8/8/8/8/4N3/4K3 w - -", "e2c3", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        const int top = move_count;
        const Move m = ParseCoordinate(c.text);
        EXPECT_EQ(MoveText(m), c.move ? c.move : "0000");
        EXPECT_EQ(move_count, top);
    }
}

TEST(San, Tokens) {
    struct {
        const char* why;
        const char* text;
        std::vector<std::string> tokens;
    } const cases[] = {
        {"spaces part tokens", "e4 Nf3 ", {"e4", "Nf3"}},
        {"the last one needs no end", "e4 Nf3", {"e4", "Nf3"}},
        {"check, mate and annotation end a token", "Kxe1+ Qh5# e4! ", {"Kxe1", "", "Qh5", "", "e4", ""}},
        {"every kind of character", "Nb1xd2 e8=Q O-O-O 0-0 e4:d5 ", {"Nb1xd2", "e8=Q", "O-O-O", "0-0", "e4:d5"}},
        {"digit nine, pawn and small piece letters are none", "P9ke5 a", {"", "", "", "e5", "a"}},
        {"empty tokens between separators", "a3\r\n\r\nb3", {"a3", "", "", "", "b3"}},
        {"a token of fourteen characters", "abcdefgh123456 a", {"abcdefgh123456", "a"}},
        {"empty file", "", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::FILE* const file = FileWith(c.text);
        std::vector<std::string> tokens;
        while (ReadSanToken(file) == 0) tokens.push_back(san_token.text);
        EXPECT_EQ(tokens, c.tokens);
        std::fclose(file);
    }
}

TEST(San, TooLongTokenEndsTheProgram) {
    void (*const saved_hook)(int) = exit_hook;
    exit_hook = [](int status) { exit_status = status; };
    std::FILE* const file = FileWith("abcdefgh1234567 e4");
    Flush();
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(ReadSanToken(file), 1);
    Flush();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Error parsing move (move too long): abcdefgh123456...\n");
    EXPECT_EQ(exit_status, 2);
    exit_hook = saved_hook;
    std::fclose(file);
}

TEST(San, Matching) {
    constexpr const char* Knights = "4k3/8/8/8/8/8/5P2/1N2KNN1 w - -";  // d2: b1, f1; f3, e2, h3: g1
    constexpr const char* Knights1 = "4k3/8/8/6N1/8/8/8/4K1N1 w - -";
    constexpr const char* Queens = "7k/8/8/8/4Q2Q/8/8/K6Q w - -";
    constexpr const char* Pawns = "4k3/8/8/8/4n3/3P1P2/8/4K3 w - -";
    constexpr const char* Promotion = "3r3k/4P3/8/8/8/8/8/4K3 w - -";
    constexpr const char* Castling = "r3k2r/8/8/8/8/4B3/8/R3K2R w KQkq -";
    constexpr const char* EnPassant = "4k3/8/8/3pP3/8/8/8/4K3 w - d6";
    enum { Fine, Unknown, Ambiguous };
    struct {
        const char* why;
        const char* fen;
        const char* token;
        const char* move;
        int outcome;
    } const cases[] = {
        {"pawn move", StartFen, "e4", "e2e4", Fine},
        {"piece move", StartFen, "Nf3", "g1f3", Fine},
        {"pawn letter", StartFen, "Pe4", "e2e4", Fine},
        {"pawn capture", EnPassant, "exd6", "e5d6", Fine},
        {"pawn capture without the sign", EnPassant, "ed6", "e5d6", Fine},
        {"pawn capture, files only", EnPassant, "exd", "e5d6", Fine},
        {"pawn capture with a colon behind", EnPassant, "ed6:", "e5d6", Fine},
        {"from-square written out", StartFen, "e2e4", "e2e4", Fine},
        {"a capture sign excludes quiet moves", StartFen, "Nxf3", nullptr, Unknown},
        {"no sign, one pawn can take", "4k3/8/8/8/4n3/3P4/8/4K3 w - -", "e4", "d3e4", Fine},
        {"no sign, two pawns can take", Pawns, "e4", "f3e4", Ambiguous},
        {"from-file", Knights, "Nbd2", "b1d2", Fine},
        {"from-file, other knight", Knights, "Nfd2", "f1d2", Fine},
        {"from-file missing", Knights, "Nd2", "f1d2", Ambiguous},
        {"from-rank", Knights1, "N1f3", "g1f3", Fine},
        {"from-rank, other knight", Knights1, "N5f3", "g5f3", Fine},
        {"from-square needed", Queens, "Qh4e1", "h4e1", Fine},
        {"file not enough", Queens, "Qhe1", "h4e1", Ambiguous},
        {"promotion", Promotion, "e8=R", "e7e8r", Fine},
        {"promotion without a sign", Promotion, "e8Q", "e7e8q", Fine},
        {"promotion by capture", Promotion, "exd8=N", "e7d8n", Fine},
        {"promotion piece missing", Promotion, "e8", "e7e8b", Ambiguous},
        {"king side", Castling, "O-O", "e1g1", Fine},
        {"king side with zeros, while a bishop reaches g1", Castling, "0-0", "e1g1", Fine},
        {"queen side", Castling, "O-O-O", "e1c1", Fine},
        {"queen side with zeros", Castling, "0-0-0", "e1c1", Fine},
        {"bishop to g1, no castling meant", Castling, "Bg1", "e3g1", Fine},
        {"castling not possible", StartFen, "O-O", nullptr, Unknown},
        {"nobody goes there", StartFen, "Nd5", nullptr, Unknown},
        {"long form with a hyphen is not understood", StartFen, "e2-e4", nullptr, Unknown},
        {"no legal moves", "7k/5Q2/6K1/8/8/8/8/8 b - -", "Kh7", nullptr, Unknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.why) + ": " + c.token);
        SetFen(c.fen);
        Move match;
        const std::string output = MatchOutput(c.token, &match);
        EXPECT_EQ(MoveText(match), c.move ? c.move : "0000");
        EXPECT_EQ(san_token.error, c.outcome != Fine);
        const std::string name = c.token;
        const std::string expected = c.outcome == Unknown ? "\nCan't recognize: " + name + "...\n"
            : c.outcome == Ambiguous                      ? "\nAmbigous move: " + name + "...\n"
                                                          : "";
        EXPECT_EQ(output, expected);
    }
    san_token.error = false;
}

TEST(San, BlackCastlesOnTheLastRank) {
    SetFen("r3k2r/8/8/8/8/8/8/R3K2R b KQkq -");
    Move match;
    EXPECT_EQ(MatchOutput("O-O", &match), "");
    EXPECT_EQ(MoveText(match), "e8g8");
    EXPECT_EQ(MatchOutput("O-O-O", &match), "");
    EXPECT_EQ(MoveText(match), "e8c8");
}

// After one bad move the rest of the game must not be played.
TEST(San, ErrorFlagStays) {
    SetInitialPosition();
    SetToken("e4");
    san_token.error = true;
    EXPECT_EQ(MatchSan(), 0u);
    EXPECT_TRUE(san_token.error);
    san_token.error = false;
    EXPECT_EQ(MoveText(MatchSan()), "e2e4");
}

TEST(San, Writing) {
    struct {
        const char* why;
        const char* fen;
        const char* move;
        const char* san;
    } const cases[] = {
        {"pawn", StartFen, "e2e4", "e4"},
        {"piece", StartFen, "g1f3", "Nf3"},
        {"file decides", "4k3/8/8/8/8/8/5P2/1N2KNN1 w - -", "b1d2", "Nbd2"},
        {"rank decides", "4k3/8/8/6N1/8/8/8/4K1N1 w - -", "g1f3", "N1f3"},
        {"both needed", "7k/8/8/8/4Q2Q/8/8/K6Q w - -", "h4e1", "Qh4e1+"},
        {"a pinned twin needs no telling apart", "4r2k/8/8/8/8/8/4N3/4K1N1 w - -", "g1f3", "Nf3"},
        {"capture", "4k3/8/8/8/4n3/3P1P2/8/4K3 w - -", "d3e4", "dxe4"},
        {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5d6", "exd6"},
        {"promotion with check", "3r3k/4P3/8/8/8/8/8/4K3 w - -", "e7d8q", "exd8=Q+"},
        {"castling", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1c1", "O-O-O"},
        {"castling with mate", "4rkr1/1Q6/8/8/8/8/4P1P1/4K2R w K -", "e1g1", "O-O#"},
        {"mate", "6k1/5ppp/8/8/8/8/8/R3K3 w - -", "a1a8", "Ra8#"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        const Move m = ParseCoordinate(c.move);
        ASSERT_NE(m, 0u);
        EXPECT_EQ(MoveToSan(m), c.san);
    }
}

TEST(San, WhatIsWrittenIsReadAgain) {
    TestRandom random{20240618};
    for (const TestPosition& t : test_positions) {
        SetFen(t.fen);
        RandomGame(random, 60, [](const MoveList& legal) {
            for (const Move m : legal) {
                std::string san = MoveToSan(m);
                if (san.back() == '+' || san.back() == '#') san.pop_back();
                SetToken(san);
                ASSERT_EQ(MoveText(MatchSan()), MoveText(m)) << WriteFen() << " " << san;
                ASSERT_FALSE(san_token.error) << WriteFen() << " " << san;
            }
        });
    }
}
