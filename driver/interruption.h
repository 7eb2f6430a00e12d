// interruption.h - ending commands that take long.
#pragma once

// Holds back the lines that have arrived already: they belong to a script that wants this
// command's answer, a "quit" at its end included.
void HoldWaitingInput();
// True when a line that is meant to stop things ("stop", "?" or "exit" as its first word, or one that
// begins with q) has come since, when nobody is left at either end, or when there is no room to hold
// more; other lines are held for later.
bool Interrupted();
