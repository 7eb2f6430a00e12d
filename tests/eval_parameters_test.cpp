// eval_parameters_test.cpp - the named list, "values.txt", and changing weights under a game.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "board/console.h"
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

TEST_F(Parameters, NamedListIsInOrderAndPointsToTheDefaults) {
    std::vector<std::string> expected;
    const auto add = [&](const std::string& family, const std::vector<int>& indices) {
        for (const int index : indices) expected.push_back(family + "[" + std::to_string(index) + "]");
    };
    const std::vector<std::string> files = {"_ah", "_bg", "_cf", "_de"};
    add("knight_opening_ah", {6, 7});
    for (const std::string table : {"knight_opening", "knight_endgame", "king_opening", "king_endgame"})
        for (const std::string& file : files)
            if (table + file != "knight_opening_ah") add(table + file, {0, 1, 2, 3, 4, 5, 6, 7});
    for (const int rank : {1, 0, 4, 3, 2})
        for (const std::string& file : files) add("chained_pawn" + file, {rank});
    add("supported_passed", {6, 5, 4, 3});
    add("supported_opponent_pieces_coeff", {0, 3, 5, 6, 8, 9, 10, 11, 12});
    add("supported_king_hor_coeff", {0, 1, 2, 3});
    add("supported_king_dist_diff_coeff", {4, 5, 6, 7, 8, 9});

    const std::map<std::string, int> published = {
        {"knight_opening_ah[7]", -76},
        {"knight_endgame_bg[0]", -30},
        {"king_opening_cf[7]", -42},
        {"king_endgame_de[5]", 11},
        {"chained_pawn_bg[3]", 32},
        {"supported_passed[6]", 73},
        {"supported_opponent_pieces_coeff[3]", 48},
        {"supported_king_hor_coeff[3]", 16},
        {"supported_king_dist_diff_coeff[9]", 16},
    };

    const NamedParameter* const names = NamedParameters();
    ASSERT_NE(names, nullptr);
    ASSERT_EQ(expected.size(), size_t(NamedParameterCount));
    std::set<int*> addresses;
    size_t compared = 0;
    for (int i = 0; i < NamedParameterCount; ++i) {
        EXPECT_EQ(names[i].name, expected[size_t(i)]);
        addresses.insert(names[i].value);
        if (const auto row = published.find(names[i].name); row != published.end()) {
            EXPECT_EQ(*names[i].value, row->second) << row->first;
            ++compared;
        }
    }
    EXPECT_EQ(addresses.size(), expected.size());
    EXPECT_EQ(compared, published.size());
}

TEST_F(Parameters, FullFileFillsEveryWeightInOrder) {
    WriteNumbers(FileValueCount);
    LoadValues(path_.c_str());
    EXPECT_EQ(weights.imbalance[5], 6);
    EXPECT_EQ(tuned.EndingThreshold, 7);
    EXPECT_EQ(tuned.QueenlessEndingThreshold, 8);
    EXPECT_EQ(weights.added[0], 15);  // 9 to 14 are dropped
    EXPECT_EQ(term_weights[0][PawnSquares], 21);
    EXPECT_EQ(term_weights[1][BishopSquaresLast], 148);
    EXPECT_EQ(term_weights[1][RookFilesLast], 172);
    EXPECT_EQ(term_weights[0][KnightMobility], 197);
    EXPECT_EQ(term_weights[1][QueenMobilityLast], 328);
    EXPECT_EQ(weights.shelter_open, 342);
    EXPECT_EQ(weights.area_factor, 357);
    EXPECT_EQ(term_weights[1][RookSeventh], 378);
    // A short one leaves the rest.
    term_weights[0][PawnSquares + 10] = -1000;
    WriteNumbers(30);
    LoadValues(path_.c_str());
    EXPECT_EQ(term_weights[0][PawnSquares + 9], 30);
    EXPECT_EQ(term_weights[0][PawnSquares + 10], -1000);
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

// Weights may change in the middle of a game: the running sums, and those saved for taking
// moves back, must follow.
TEST_F(Parameters, RebuildKeepsGameAndSums) {
    TestRandom random{5};
    // The second begins with a record that no move made.
    for (const char* start : {StartFen, "rnbqkbnr/ppp1pppp/8/8/3pP3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 3"}) {
        SetFen(start);
        RandomGame(random, 40, [](const MoveList&) {});
        const std::string fen = WriteFen();
        tuned.knight[0][2][2] += 40;
        term_weights[1][PawnSquares + 27] += 25;
        tuned.EndingThreshold = 8;
        RebuildEvaluation();
        EXPECT_EQ(WriteFen(), fen);
        for (; history_count > history_base; UnmakeMove())
            ASSERT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "") << history_count;
        ASSERT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "");
        for (int i = 0; i < history_base; ++i) EXPECT_EQ(game_history[i].piece_square[0], thread_board.piece_square[0]);
    }
}

}  // namespace
