// engine_environment.cpp - see engine_environment.h.
#include "tests/support/engine_environment.h"

#include <cstdio>
#include <cstdlib>

#include "board/console.h"
#include "board/position.h"
#include "board/settings.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"
#include "tools/common/signature.h"

void PrepareEngine() {
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        std::exit(1);
    }
    Flush();  // what start-up printed must not turn up in the output that a test captures
}

void ResetEngine() {
    SetDefaults();
    ResetLimits();
    ClearSearch();
    ResetSearchMemory();
    SetInitialPosition();
}
