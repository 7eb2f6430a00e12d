// search_signature_test.cpp - the fixed search gives the same node counts every time.
//
// No total is written down here: it changes with every change of play. What must never happen is
// that it depends on what the process did before.
#include <gtest/gtest.h>

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
