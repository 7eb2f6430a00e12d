// eval_parameters_test.cpp - the named list, "values.txt", and changing weights under a game.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "board/console.h"
#include "board/make_move.h"
#include "eval/material.h"
#include "eval/parameters.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"
#include "tests/support/temporary_path.h"

namespace {

// Weights are global: every test leaves them as it found them.
class Parameters : public testing::Test {
protected:
    void SetUp() override {
        path_ = TemporaryPath(".txt");
        saved_tuned_ = tuned;
        saved_weights_ = weights;
        std::memcpy(saved_terms_, term_weights, sizeof term_weights);
    }
    void TearDown() override {
        std::remove(path_.c_str());
        tuned = saved_tuned_;
        weights = saved_weights_;
        std::memcpy(term_weights, saved_terms_, sizeof term_weights);
        ResetEngine();
        RebuildEvaluation();
    }
    void WriteNumbers(int count) const {
        std::FILE* file = std::fopen(path_.c_str(), "w");
        ASSERT_NE(file, nullptr);
        for (int i = 1; i <= count; ++i) std::fprintf(file, "%d\n", i);
        std::fclose(file);
    }
    std::string path_;
    TunedParameters saved_tuned_;
    EvaluationWeights saved_weights_;
    int saved_terms_[2][TermSlots];
};

// Families and their indices, in the order in which tuning takes them.
const char* const tuning_order[] = {
    "knight_opening_ah 6 7",
    "knight_opening_bg 0 1 2 3 4 5 6 7",
    "knight_opening_cf 0 1 2 3 4 5 6 7",
    "knight_opening_de 0 1 2 3 4 5 6 7",
    "knight_endgame_ah 0 1 2 3 4 5 6 7",
    "knight_endgame_bg 0 1 2 3 4 5 6 7",
    "knight_endgame_cf 0 1 2 3 4 5 6 7",
    "knight_endgame_de 0 1 2 3 4 5 6 7",
    "king_opening_ah 0 1 2 3 4 5 6 7",
    "king_opening_bg 0 1 2 3 4 5 6 7",
    "king_opening_cf 0 1 2 3 4 5 6 7",
    "king_opening_de 0 1 2 3 4 5 6 7",
    "king_endgame_ah 0 1 2 3 4 5 6 7",
    "king_endgame_bg 0 1 2 3 4 5 6 7",
    "king_endgame_cf 0 1 2 3 4 5 6 7",
    "king_endgame_de 0 1 2 3 4 5 6 7",
    "chained_pawn_ah 1",
    "chained_pawn_bg 1",
    "chained_pawn_cf 1",
    "chained_pawn_de 1",
    "chained_pawn_ah 0",
    "chained_pawn_bg 0",
    "chained_pawn_cf 0",
    "chained_pawn_de 0",
    "chained_pawn_ah 4",
    "chained_pawn_bg 4",
    "chained_pawn_cf 4",
    "chained_pawn_de 4",
    "chained_pawn_ah 3",
    "chained_pawn_bg 3",
    "chained_pawn_cf 3",
    "chained_pawn_de 3",
    "chained_pawn_ah 2",
    "chained_pawn_bg 2",
    "chained_pawn_cf 2",
    "chained_pawn_de 2",
    "supported_passed 6 5 4 3",
    "supported_opponent_pieces_coeff 0 3 5 6 8 9 10 11 12",
    "supported_king_hor_coeff 0 1 2 3",
    "supported_king_dist_diff_coeff 4 5 6 7 8 9",
};

TEST_F(Parameters, NamedListIsInOrderAndDistinct) {
    const NamedParameter* names = NamedParameters();
    ASSERT_NE(names, nullptr);
    int n = 0;
    for (const char* row : tuning_order) {
        std::istringstream words(row);
        std::string family;
        words >> family;
        for (int index; words >> index && n < NamedParameterCount; ++n)
            EXPECT_EQ(names[n].name, family + "[" + std::to_string(index) + "]") << n;
    }
    EXPECT_EQ(n, NamedParameterCount);

    std::set<std::string> texts;
    std::set<int*> addresses;
    for (int i = 0; i < NamedParameterCount; ++i) {
        texts.insert(names[i].name);
        addresses.insert(names[i].value);
    }
    EXPECT_EQ(texts.size(), 165u);
    EXPECT_EQ(addresses.size(), 165u);
}

TEST_F(Parameters, NamesPointToTheirDefaults) {
    const std::map<std::string, int> published = {
        {"knight_opening_ah[7]", -76},
        {"knight_opening_de[5]", 25},
        {"knight_endgame_bg[0]", -30},
        {"king_opening_cf[7]", -42},
        {"king_endgame_ah[0]", -76},
        {"king_endgame_de[5]", 11},
        {"chained_pawn_bg[3]", 32},
        {"chained_pawn_cf[4]", 49},
        {"supported_passed[6]", 73},
        {"supported_opponent_pieces_coeff[3]", 48},
        {"supported_opponent_pieces_coeff[12]", 2},
        {"supported_king_hor_coeff[3]", 16},
        {"supported_king_dist_diff_coeff[9]", 16},
    };
    size_t found = 0;
    for (int i = 0; i < NamedParameterCount; ++i) {
        const auto row = published.find(NamedParameters()[i].name);
        if (row == published.end()) continue;
        ++found;
        EXPECT_EQ(*NamedParameters()[i].value, row->second) << row->first;
    }
    EXPECT_EQ(found, published.size());
}

TEST_F(Parameters, FullFileFillsEveryWeightInOrder) {
    WriteNumbers(FileValueCount);
    LoadValues(path_.c_str());
    EXPECT_EQ(weights.imbalance[0], 1);
    EXPECT_EQ(weights.imbalance[5], 6);
    EXPECT_EQ(tuned.EndingThreshold, 7);
    EXPECT_EQ(tuned.QueenlessEndingThreshold, 8);
    EXPECT_EQ(weights.added[0], 15);  // 9 to 14 are dropped
    EXPECT_EQ(term_weights[0][PawnSquares], 21);
    EXPECT_EQ(term_weights[1][BishopSquaresLast], 148);
    EXPECT_EQ(term_weights[0][RookRanks], 149);
    EXPECT_EQ(term_weights[1][RookFilesLast], 172);
    EXPECT_EQ(term_weights[0][KnightMobility], 197);
    EXPECT_EQ(term_weights[1][QueenMobilityLast], 328);
    EXPECT_EQ(term_weights[0][IsolatedPawn], 329);
    EXPECT_EQ(weights.shelter_open, 342);
    EXPECT_EQ(weights.race_bonus, 355);
    EXPECT_EQ(weights.kpk_bonus, 356);
    EXPECT_EQ(weights.area_factor, 357);
    EXPECT_EQ(term_weights[1][RookSeventh], 378);
}

// The page that explains the file names every row in its order and place.
TEST_F(Parameters, DocumentedOrderIsTheOrderOfTheFile) {
    std::ifstream page(CORVANTIS_SOURCE_DIR "/doc/values.md");
    ASSERT_TRUE(page.is_open());
    std::vector<std::string> documented;
    for (std::string line; std::getline(page, line);)
        if (line.rfind("| ", 0) == 0 && std::isdigit(line[2]))
            documented.push_back(line.substr(0, line.rfind("` |") + 1));
    size_t place = 1, i = 0;
    ASSERT_EQ(documented.size(), std::size(value_rows));
    for (const ValueRow& row : value_rows) {
        std::string expected = "| " + std::to_string(place);
        if (row.count > 1) expected += "-" + std::to_string(place + size_t(row.count) - 1);
        expected += std::string(" | `") + row.name;
        if (row.phase >= 0) expected += row.phase == 0 ? " opening" : " endgame";
        EXPECT_EQ(documented[i++], expected + "`");
        place += size_t(row.count);
    }
    EXPECT_EQ(place, size_t(FileValueCount) + 1);
}

TEST_F(Parameters, ShortFileLeavesTheRest) {
    WriteNumbers(30);
    LoadValues(path_.c_str());
    EXPECT_EQ(term_weights[0][PawnSquares + 9], 30);
    EXPECT_EQ(term_weights[0][PawnSquares + 10], saved_terms_[0][PawnSquares + 10]);
    EXPECT_EQ(term_weights[1][RookSeventh], saved_terms_[1][RookSeventh]);
}

TEST_F(Parameters, MissingFileSaysSoAndClearsTheBases) {
    weights.imbalance[0] = 77;
    weights.added[5] = 3;
    Flush();
    testing::internal::CaptureStdout();
    LoadValues("no such file");
    Flush();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error loading values.txt\n");
    EXPECT_EQ(weights.imbalance[0], 0);
    EXPECT_EQ(weights.added[5], 0);
    EXPECT_EQ(std::memcmp(&tuned, &saved_tuned_, sizeof tuned), 0);
}

TEST_F(Parameters, WrittenFileReadsBackTheSameEvaluation) {
    const char* const fen = "r1bq1rk1/pp2bppp/2n2n2/2pp4/3P4/2N1PN2/PP2BPPP/R1BQ1RK1 w - - 0 9";
    const int before = FreshScore(fen);
    ASSERT_TRUE(SaveValues(path_.c_str()));
    term_weights[0][PawnSquares + 27] += 55;
    term_weights[0][RookMobility + 5] -= 31;
    LoadValues(path_.c_str());
    EXPECT_EQ(std::memcmp(term_weights, saved_terms_, sizeof term_weights), 0);
    EXPECT_EQ(std::memcmp(&weights, &saved_weights_, sizeof weights), 0);
    RebuildEvaluation();
    EXPECT_EQ(FreshScore(fen), before);
}

TEST_F(Parameters, AbsurdFileKeepsScoresInRange) {
    std::FILE* file = std::fopen(path_.c_str(), "w");
    ASSERT_NE(file, nullptr);
    for (int i = 0; i < FileValueCount; ++i) std::fprintf(file, "%s\n", i % 2 ? "4294967297" : "-4294967297");
    std::fclose(file);
    LoadValues(path_.c_str());
    RebuildEvaluation();
    for (const char* fen : {StartFen, "8/8/8/4k3/8/4K3/4P3/8 b - - 0 1", "r3k2r/8/8/8/8/8/PPP5/R3K2R w KQkq - 0 1"})
        EXPECT_LE(std::abs(FreshScore(fen)), 30000);
}

// Weights may change in the middle of a game: the running sums, and those saved for taking
// moves back, must follow.
TEST_F(Parameters, RebuildKeepsGameAndSums) {
    const char* const starts[] = {StartFen, "rnbqkbnr/ppp1pppp/8/8/3pP3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 3"};
    TestRandom random{5};
    for (const char* start : starts) {
        SetFen(start);
        RandomGame(random, 40, [](const MoveList&) {});
        const std::string fen = WriteFen();
        const int moves = history_count;
        tuned.knight[0][2][2] += 40;
        term_weights[1][PawnSquares + 27] += 25;
        tuned.EndingThreshold = 8;
        RebuildEvaluation();
        EXPECT_EQ(WriteFen(), fen);
        EXPECT_EQ(history_count, moves);
        while (true) {
            const Position truth = RecomputePosition(thread_board);
            ASSERT_EQ(DifferingField(thread_board, truth), "") << history_count;
            if (history_count == history_base) break;
            UnmakeMove();
        }
        for (int i = 0; i < history_base; ++i)
            for (int phase = 0; phase < 2; ++phase)
                EXPECT_EQ(game_history[i].piece_square[phase], thread_board.piece_square[phase]);
    }
}

}  // namespace
