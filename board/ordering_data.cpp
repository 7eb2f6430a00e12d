// ordering_data.cpp - storage of the ordering memory, and the score of a capture.
#include "board/ordering_data.h"

#include <cstring>

#include "board/exchange.h"
#include "board/position.h"

PlyRecord ply_records[PlyRecords];
int current_ply;
int iteration_depth;
int32_t history_table[2][4][4096][2];
Move counter_evasions[64][64][2];
CaptureStatistics capture_statistics[16384];
uint16_t table_generation;

namespace {

// Used for ordering only.
constexpr int OrderingValue[8] = {0, 950, 300, 100, 0, 500, 300, 900};

// Bonus of a capture that loses material by exchange but may work, by its rate of success in
// sixteenths. The last entry stands for all higher rates.
constexpr int SuccessBonus[17] = {-128000, -64000, -32000, 0,     10000, 20000, 30000, 40000, 50000,
                                  50000,   50000,  50000,  50000, 50000, 50000, 50000, 50000};
constexpr int TrustedTries = 8;  // a rate counts from more tries than this

}  // namespace

int CaptureScore(Move m) {
    if (!IsCaptureOrPromotion(m)) return SmallGainScore;  // en passant: captured and promotion are 0
    const int base = 10 * OrderingValue[MoveCaptured(m)] - OrderingValue[MovePiece(m)];
    if (PassesExchange(m)) return base + (MovePromotion(m) ? 108000 : 100000);
    int rate = 0;
    const PieceType promotion = MovePromotion(m);
    if (promotion == EMPTY || promotion == QUEEN) {
        const CaptureStatistics& slot = capture_statistics[CaptureKey(m, SideToMove())];
        if (slot.generation == table_generation && slot.tries > TrustedTries) rate = slot.successes * 256 / slot.tries;
    }
    return base + SuccessBonus[rate / 16];
}

void ClearHistory() {
    std::memset(history_table, 0, sizeof history_table);
    std::memset(counter_evasions, 0, sizeof counter_evasions);
    std::memset(capture_statistics, 0, sizeof capture_statistics);
}

void ClearOrderingData() {
    ClearHistory();
    std::memset(ply_records, 0, sizeof ply_records);
    current_ply = 0;
    iteration_depth = 0;
}
