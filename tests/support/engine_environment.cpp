// engine_environment.cpp - see engine_environment.h.
#include "tests/support/engine_environment.h"

#include <cstdio>
#include <cstdlib>

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
}

void ResetEngine() {
    SetDefaults();
    ResetLimits();
    ClearSearch();
    ResetSearchMemory();
    SetInitialPosition();
}
