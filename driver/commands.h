// commands.h - the command table: every line that arrives between searches goes through it.
#pragma once

#include <string>

struct Command {
    const char* keyword;  // nullptr: the row of moves
    void (*run)();        // finds its words by words.h, the whole line in command_line
    bool board;           // reads or changes the board, so predictions are taken back first
    bool new_position;    // makes a running search worthless: it stops, the line comes next
};

// The row that a line selects: the row whose keyword is the line's first word, else the first
// whose keyword matches as far as the shorter of the two goes; nullptr for none.
const Command* FindCommand(const char* line);

// Executes the line in command_line.
void execute_line();

// command_line without the spaces that were carriage returns.
std::string LineText();
// command_line from word i on, as it stands, without carriage returns: paths, names, FENs.
std::string RestOfLine(int word);

// Commands with a file of their own.
void PrintHelp();
void EditBoard();
void Analyze();
