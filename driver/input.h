// input.h - from bytes on standard input to command lines.
#pragma once

// The line that is being executed or was taken last, without its end; always terminated.
// Carriage returns, tabs and zero bytes have become spaces.
constexpr int CommandLineSize = 65536;
extern char command_line[CommandLineSize];
// How many spaces at its end were carriage returns.
extern int command_line_returns;

// Non-zero when a whole line or unread bytes wait, or a signal does. Never blocks.
int input_available();
// Waits for bytes and appends them to the input buffer. False at the end of input. A signal
// that ends the program does so here.
bool read_input();

// Is a whole line in the input buffer?
bool LineBuffered();
// Has the first line arrived, and does it begin with this text? Never blocks, takes nothing.
bool FirstLineBegins(const char* text);
// Moves the first whole line of the input buffer into command_line. False when there is none.
bool CutLine();

// A line that arrives during a search and is to be executed after it is held back. Held lines
// come before what the input buffer has.
bool HoldCommandLine();  // false when there is no room for it
bool RoomToHold();       // true when a line of any length can be held
bool LinesHeld();

// A search looks at every line once, those first that were held before it began. A line that
// it holds again keeps its place among them.
void BeginSearchInput();
void EndSearchInput();
bool UnseenLineHeld();
bool CutLineForSearch();

// The next line to execute, held or buffered, into command_line. Never blocks.
bool NextLine();
// The same, waiting for input. False at the end of input, after a short pause.
bool WaitForLine();

// True once the end of input has been seen and nothing was read since.
extern bool input_ended;
// What to do at the end of input: sleeps a little longer each time, and ends the program when
// nobody reads its output either.
void RestAtEndOfInput();
