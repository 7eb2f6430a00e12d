// exchange.h - static exchange evaluation: what a capture is worth after all recaptures.
#pragma once

#include "board/types.h"

// Expected gain of a move in centipawns, at most the value captured plus what a promotion
// adds; negative when the capture loses material. The best line of alternating captures on
// the to-square, least valuable attacker first, hidden attackers included; pins are ignored.
int ExchangeGain(Move m);
// ExchangeGain(m) >= 0, answered early when the captured man is worth the mover.
bool PassesExchange(Move m);
// Would the opponent, if it were to move, win more than max(margin, 50) centipawns by a
// simple capture, or promote?
bool OpponentThreatens(int margin);
