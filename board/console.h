// console.h - the only writer of standard output, and the way out for fatal errors.
//
// Output is collected in a buffer and written as a whole by Flush(), so that one reply is
// one write. Reading input is the driver's business.
#pragma once

// printf to the output buffer. Flushes by itself only when the buffer is full.
[[gnu::format(printf, 1, 2)]] void Print(const char* format, ...);
// Writes text and a newline, then flushes.
void PrintLine(const char* text);
// Hands everything collected to the operating system. A reader that has gone away is not an
// error here; OutputBroken() tells of it afterwards.
void Flush();
// True when the output is a terminal of the kind that shows the chess symbols of Unicode: its locale is
// UTF-8, and it is neither "dumb" nor the text console of Linux, whose font has none.
bool OutputShowsSymbols();
// True once a write has failed because nobody reads any more.
bool OutputBroken();

// Asked when a signal arrives while the reader takes nothing more: true ends the attempt, as if
// the reader had gone. Null, the default, goes on for ever.
extern bool (*give_up_writing)();

// Ends the program with this exit code. The driver sets it to its orderly shutdown; the
// default ends the process at once. It does not return, except in tests and fuzzers that
// install a hook of their own.
extern void (*exit_hook)(int exit_code);
