// driver_resign_test.cpp - when the engine gives up.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "board/make_move.h"
#include "board/settings.h"
#include "driver/engine_turn.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"

namespace {

class Resigning : public ::testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        ClearResignHistory();
    }
    void TearDown() override { ResetEngine(); }
    // The engine plays White: searches with these scores, each followed by its move and a reply.
    // Returns after which of its moves it wanted to resign.
    static std::vector<bool> Play(const std::vector<int>& scores, const std::vector<bool>& only_move = {}) {
        const char* const moves[][2] = {{"g1f3", "g8f6"}, {"f3g1", "f6g8"}, {"b1c3", "b8c6"}, {"c3b1", "c6b8"},
                                        {"e2e4", "e7e5"}, {"g1f3", "g8f6"}, {"f3g1", "f6g8"}, {"d2d3", "d7d6"},
                                        {"a2a3", "a7a6"}, {"b2b3", "b7b6"}, {"g2g3", "g7g6"}, {"h2h3", "h7h6"}};
        std::vector<bool> resigned;
        for (size_t i = 0; i < scores.size(); ++i) {
            RecordForResign(scores[i], i < only_move.size() && only_move[i]);
            EXPECT_TRUE(PlayMoves(moves[i][0]));
            resigned.push_back(ShouldResign());
            EXPECT_TRUE(PlayMoves(moves[i][1]));
        }
        return resigned;
    }
    using Turns = std::vector<bool>;
};

TEST_F(Resigning, ThreeLostSearchesInARow) { EXPECT_EQ(Play({-801, -900, -1000}), (Turns{false, false, true})); }

TEST_F(Resigning, ExactlyTheThresholdIsNotLost) { EXPECT_EQ(Play({-801, -801, -800}), (Turns{false, false, false})); }

TEST_F(Resigning, ABetterScoreStartsTheCountAgain) {
    EXPECT_EQ(Play({-900, -900, -100, -900, -900, -900}), (Turns{false, false, false, false, false, true}));
}

// An only move is played without much thought; the score before it counts again.
TEST_F(Resigning, AnOnlyMoveRepeatsTheScoreBefore) {
    EXPECT_EQ(Play({-900, -900, 0}, {false, false, true}), (Turns{false, false, true}));
    ResetEngine();
    ClearResignHistory();
    EXPECT_EQ(Play({-900, 100, -900, -900}, {false, false, true, false}), (Turns{false, false, false, false}));
}

TEST_F(Resigning, SearchesOfAnotherGameDoNotCount) {
    Play({-900, -900});
    SetInitialPosition();
    PlayMoves("a2a3 a7a6");
    RecordForResign(-900, false);
    PlayMoves("h2h3");
    EXPECT_FALSE(ShouldResign());
}

TEST_F(Resigning, SearchesOfMovesTakenBackDoNotCount) {
    Play({-900, -900});
    UnmakeMove();
    UnmakeMove();
    RecordForResign(-900, false);
    PlayMoves("h2h3");
    EXPECT_FALSE(ShouldResign());
}

TEST_F(Resigning, Settings) {
    ResignTimes = 1;
    ResignValue = 300;
    EXPECT_EQ(Play({-299, -301}), (Turns{false, true}));
    ResignTimes = 0;  // at once
    EXPECT_EQ(Play({500}), Turns{true});
    ResignTimes = 11;  // more than are remembered: never
    ResetEngine();
    ResignTimes = 11;
    EXPECT_EQ(Play({-900, -900, -900, -900, -900, -900, -900, -900, -900, -900, -900, -900}), Turns(12, false));
    ResetEngine();
    ResignTimes = 1;
    ResignValue = INT32_MIN;  // every score is worse than that
    EXPECT_EQ(Play({500}), Turns{true});
}

}  // namespace
