// search_signature_test.cpp - the fixed search gives the same node counts every time.
//
// No total is written down here: it changes with every change of play. What must never happen is
// that it depends on what the process did before.
#include <gtest/gtest.h>

#include <cstring>

#include "board/position.h"
#include "tests/support/engine_environment.h"
#include "tools/common/signature.h"

TEST(Signature, DoesNotDependOnEarlierSearches) {
    ResetEngine();
    constexpr int depth = 6;
    int64_t first[SignaturePositions];
    for (int i = 0; i < SignaturePositions; ++i) first[i] = SignatureNodes(signature_fens[i], depth);
    // Backwards, so that every position meets other leftovers than the first time.
    for (int i = SignaturePositions - 1; i >= 0; --i) {
        SCOPED_TRACE(signature_fens[i]);
        EXPECT_GT(first[i], 100) << "hardly a search";
        EXPECT_EQ(SignatureNodes(signature_fens[i], depth), first[i]);
    }
}

TEST(Signature, PositionsArePlayableAndLeftAsTheyWere) {
    ResetEngine();
    for (const char* fen : signature_fens) {
        SCOPED_TRACE(fen);
        SetFen(fen);
        ASSERT_TRUE(IsPlayable());
        Position before;
        std::memcpy(static_cast<void*>(&before), &thread_board, sizeof before);
        const int history = history_count;
        SignatureNodes(fen, 4);
        EXPECT_EQ(std::memcmp(&before, &thread_board, sizeof before), 0);
        EXPECT_EQ(history_count, history);
    }
    ResetEngine();
}
