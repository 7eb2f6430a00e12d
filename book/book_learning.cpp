// book_learning.cpp - see book_learning.h.
//
// A move entry has two counters of one byte: our points and theirs, two points a game. When
// one would reach 255, all moves of the node keep two thirds of theirs, so that old games count
// for less than new ones.
//
// State: whether the current game has been learned. Cleared by ResetBookLearning().
#include "book/book_learning.h"

#include "board/make_move.h"
#include "board/position.h"
#include "board/settings.h"
#include "book/book.h"
#include "book/book_file.h"

static bool game_learned;

constexpr int PointLimit = 255;

void update_book_move(int result, Move move) {
    BookNode node;
    if (book_version_0 || !ReadBookNode(node)) return;
    int index = 0;
    while (index < node.count
           && (node.entries[index].from != MoveFrom(move) || node.entries[index].to != MoveTo(move)
               || IsExcluded(node.entries[index])))
        ++index;
    if (index == node.count) return;

    BookEntry& played = node.entries[index];
    int ours = played.ours, theirs = played.theirs;
    if (result == ResultDrawn) {
        ++ours;
        ++theirs;
    } else if (result == ResultWon) {
        ours += 2;
    } else {
        theirs += 2;
    }
    const bool scaled = ours >= PointLimit || theirs >= PointLimit;
    if (scaled) {
        for (BookEntry* entry = node.entries; entry != node.entries + node.count; ++entry) {
            if (IsExcluded(*entry)) continue;
            entry->ours = uint8_t(entry->ours * 2 / 3);
            entry->theirs = uint8_t(entry->theirs * 2 / 3);
        }
        ours = ours * 2 / 3;
        theirs = theirs * 2 / 3;
    }
    played.ours = uint8_t(ours);
    played.theirs = uint8_t(theirs);
    // A node that is half scaled would prefer some moves for no reason: all of it at once.
    if (scaled) WriteBookPoints(node, 0, node.count);
    else WriteBookPoints(node, index, 1);
}

bool BookLearningPending() { return UseBookLearning && book_loaded && !game_learned; }

void LeaveGameUnlearned() { game_learned = true; }

void ResetBookLearning() { game_learned = false; }

void learn_game(int result) {
    if (!BookLearningPending()) return;
    game_learned = true;
    const int end = history_count;
    while (history_count - history_base >= 2) {
        UnmakeMove();
        UnmakeMove();
        update_book_move(result, game_history[history_count].move);
    }
    while (history_count < end) MakeMove(game_history[history_count].move);
}
