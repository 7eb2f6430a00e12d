// host.h - the only way from the search up to the driver.
//
// The search runs on the one thread and must look for input itself. It does so through these
// two functions, so that tests and tools can search without any input at all.
#pragma once

struct SearchHost {
    // Non-zero when a line or unread bytes wait. Never blocks.
    int (*input_available)();
    // Consumes at most one line. May set stop_flag, change search_limits, clear PonderingNow,
    // print an answer. Must not touch thread_board, which is deep in the tree.
    void (*handle_input)();
};
extern SearchHost search_host;  // default: no input
