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
    void SetUp() override { Restart(); }
    void TearDown() override { ResetEngine(); }
    static void Restart() {
        ResetEngine();
        ClearResignHistory();
    }
    // The engine plays White: searches with these scores, each followed by its move and a reply; the
    // move is the only one where `only_move` has a '1'. Returns the same for when it wanted to resign.
    static std::string Play(const std::vector<int>& scores, const std::string& only_move = "") {
        std::string resigned;
        for (size_t i = 0; i < scores.size(); ++i) {
            RecordForResign(scores[i], i < only_move.size() && only_move[i] == '1');
            MakeMove(LegalMoveList().front());
            resigned += ShouldResign() ? '1' : '0';
            MakeMove(LegalMoveList().front());
        }
        return resigned;
    }
};

TEST_F(Resigning, AfterEnoughLostSearchesInARow) {
    const struct {
        const char* why;
        int times, value;
        std::vector<int> scores;
        const char *only_move, *resigned;
    } cases[] = {
        {"three in a row", 3, 800, {-801, -900, -1000}, "", "001"},
        {"exactly the threshold is not lost", 3, 800, {-801, -801, -800}, "", "000"},
        {"a better score starts the count again", 3, 800, {-900, -900, -100, -900, -900, -900}, "", "000001"},
        // An only move is played without much thought; the score before it counts again.
        {"an only move repeats a lost score", 3, 800, {-900, -900, 0}, "001", "001"},
        {"an only move repeats a good score", 3, 800, {-900, 100, -900, -900}, "0010", "0000"},
        {"other settings", 1, 300, {-299, -301}, "", "01"},
        {"at once", 0, 300, {500}, "", "1"},
        {"never: more than are remembered", 11, 800, std::vector<int>(12, -900), "", "000000000000"},
        {"every score is worse than that", 1, INT32_MIN, {500}, "", "1"},
    };
    for (const auto& c : cases) {
        Restart();
        ResignTimes = c.times;
        ResignValue = c.value;
        EXPECT_EQ(Play(c.scores, c.only_move), c.resigned) << c.why;
    }
}

TEST_F(Resigning, OtherGamesAndMovesTakenBackDoNotCount) {
    for (const bool other_game : {true, false}) {
        Restart();
        Play({0, -900, -900});
        if (other_game) {
            SetInitialPosition();
            EXPECT_TRUE(PlayMoves("g1h3 g8h6 b1a3 b8a6"));
        } else {
            UnmakeMove();
            UnmakeMove();
        }
        RecordForResign(-900, false);
        MakeMove(LegalMoveList().front());
        EXPECT_FALSE(ShouldResign()) << other_game;
    }
}

}  // namespace
