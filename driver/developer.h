// developer.h - commands for the engine's authors.
#pragma once

void PerftCommand();  // "perft DEPTH"
void EvaluateEpd();   // "epdevl FILE": static evaluations into "out.epd"
void EvaluatePgn();   // "pgneval": how often the evaluation agrees with the moves of games
int SelfTest();       // "selftest": the same with freshly built tables, without the table; its hits
