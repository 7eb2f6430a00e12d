// quiet_positions.h - positions for fitting evaluation weights: which are fit for it, and the
// file they are written to.
//
// A weight can only be learned where the static evaluation has the last word: a position with
// a capture pending is judged by the exchange, not by its pawns. So a position is kept only
// when the quiescence search has nothing to add. One line a position:
//
//   FEN-without-clocks ce SCORE; c0 "RESULT";
//
// SCORE is what a search says, in centipawns for the side to move; RESULT is that of the game
// the position comes from: 1-0, 0-1 or 1/2-1/2.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_set>

#include "board/types.h"
#include "search/root.h"

constexpr int QuietScoreLimit = 1500;    // centipawns; beyond it the game is over but for the moves
constexpr int MaxPositionsPerGame = 12;  // more of one game tell the same story again
constexpr int SettlingPlies = 8;         // after the opening: the line was chosen, not played

// InitialiseEngine() with tables small enough to be emptied before every game. False when
// memory is short.
bool InitialisePositionTool();

// Searches the current position alone with that many nodes, printing nothing.
SearchResult SearchNodes(int64_t nodes);

// Not in check, and the quiescence search returns the static evaluation. The part of the
// quiet test that needs no search. Not while a search runs.
bool IsCalm();
// Is the current position fit for the file? `found` is the result of a search of it.
bool IsQuietPosition(const SearchResult& found);

// Is there too little on the board for either side to mate: two kings and at most one minor?
bool IsInsufficientMaterial();

// Placement, castling rights, en-passant capture and side to move in one number.
uint64_t DuplicateKey();

struct QuietPosition {
    std::string fen;  // four fields
    uint64_t key;     // DuplicateKey()
    int score;        // centipawns, side to move's view
};
// The current position.
QuietPosition TakePosition(int score);
// Its line, line end included.
std::string PositionLine(const QuietPosition& position, const std::string& result);

// Appends whole lines to a file and refuses positions that it holds already.
class PositionWriter {
public:
    PositionWriter() = default;
    PositionWriter(const PositionWriter&) = delete;
    PositionWriter& operator=(const PositionWriter&) = delete;
    ~PositionWriter() { Close(); }

    // Opens or creates the file. The positions in it count as written; half a line at its end,
    // left by a program that was killed, is cut off. Sets up positions on the board. False,
    // after a message and with the file as it was, when it can neither be read nor written, begins
    // with something else than a position, or is to be compressed (".gz").
    bool Open(const std::string& path);
    bool Has(uint64_t key) const { return keys.count(key) != 0; }
    // Collects a line for WriteGame(); false for a duplicate.
    bool Add(const QuietPosition& position, const std::string& result);
    // Writes what Add() collected. False, after a message, when the disk refuses.
    bool WriteGame();
    void Close();

    int64_t written = 0;  // since Open()

private:
    std::FILE* file = nullptr;
    std::string path, pending;
    int64_t pending_lines = 0;
    std::unordered_set<uint64_t> keys;
};

constexpr int GamesPerReport = 100;

struct GameCounts {
    int64_t good = 0, bad = 0, undecided = 0;  // undecided: the result does not come from the play
};
// Writes the quiet positions of the games in a PGN text, each scored by a search of `nodes`
// nodes. Bad games are reported on standard error under the text's name, and how far it has come
// every GamesPerReport good games. False when the disk refuses.
bool WriteGamePositions(const std::string& text, const std::string& name, int64_t nodes, PositionWriter& writer,
                        GameCounts& counts);

// Chooses at most MaxPositionsPerGame of `count` candidates spread over all of them: cuts the
// list into as many equal parts and takes from each the first that `accept(index)` agrees to.
template <typename Accept> int TakeSpread(int count, Accept accept) {
    const int parts = count < MaxPositionsPerGame ? count : MaxPositionsPerGame;
    int taken = 0;
    for (int part = 0; part < parts; ++part) {
        const int end = (part + 1) * count / parts;
        for (int i = part * count / parts; i < end; ++i) {
            if (!accept(i)) continue;
            ++taken;
            break;
        }
    }
    return taken;
}
