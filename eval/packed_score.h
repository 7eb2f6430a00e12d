// packed_score.h - an opening and an endgame value in one int, so that one addition adds both.
//
// The halves are 16 bits wide; sums must stay within +-32767 in either half. The endgame
// half borrows from the opening half when negative, which OpeningOf() undoes.
#pragma once

#include <cstdint>

using PackedScore = int;

constexpr PackedScore Pack(int opening, int endgame) { return opening * 65536 + endgame; }
constexpr int EndgameOf(PackedScore s) { return int16_t(uint16_t(unsigned(s))); }
constexpr int OpeningOf(PackedScore s) { return (s - EndgameOf(s)) / 65536; }
