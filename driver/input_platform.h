// input_platform.h - what the driver needs of the operating system: reading standard input
// without getting stuck, signals, and a pause.
//
// input_posix.cpp and input_windows.cpp implement it; input.cpp builds lines on top.
#pragma once

// What arrived from outside since the last call of TakeSignal().
enum class Signal { None, Interrupt, Terminate };

// Installs the signal handlers; nothing else works before. An interrupt is ignored when
// standard input is no terminal, because front ends send one before each of their lines.
void InitialisePlatform();
Signal TakeSignal();
bool SignalWaits();  // would TakeSignal() return one?

// Non-zero when standard input can be read without blocking, at its end included: the number
// of bytes, events, or just 1. Zero when nothing waits.
int InputReady();
// Waits for input and reads at most `size` bytes: their number, 0 at the end of input, -1
// when a signal ended the wait.
int ReadInput(char* bytes, int size);
// Sleeps; a signal ends it early.
void Pause(int milliseconds);
// True when it is known that nobody reads standard output any more.
bool OutputReaderGone();
