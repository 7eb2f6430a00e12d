// random_games.h - random games from every listed position: the test positions, and what grows
// out of them.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

// Calls check(legal moves) at every position of `games` random games from each listed position,
// until a check has failed.
template <typename Check> void AtManyPositions(int games, int plies, Check check) {
    TestRandom random{20240612};
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        for (int game = 0; game < games; ++game) {
            SetFen(t.fen);
            RandomGame(random, plies, [&](const MoveList& legal) {
                if (::testing::Test::HasFailure()) return;
                SCOPED_TRACE(WriteFen());
                check(legal);
            });
        }
    }
}
