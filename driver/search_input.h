// search_input.h - what an input line means while a search runs.
#pragma once

enum class SearchInput {
    Stop,
    Status,
    Undo,
    Exit,
    New,
    Post,
    NoPost,
    Quit,
    Force,
    Hard,
    Easy,
    Time,
    OppTime,
    PonderHit,
    IsReady,
    Move,   // looks like one
    Other,  // anything else, an empty line too
};
SearchInput ClassifySearchInput(const char* line);

// The answer to ".": centiseconds, nodes, depth, root moves still to search, root moves, and the
// root move being searched.
void PrintSearchStatus();

// The two functions for the search's host interface, installed at program start.
void InstallSearchInput();
