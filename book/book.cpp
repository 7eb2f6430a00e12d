// book.cpp - the opening book; see book.h, and book_file.h for the file.
//
// The book is read where it lies, one binary search a look-up: a look-up happens once a move.
// Every read checks its length, so a damaged book is a small book, never a wrong one: the
// caller plays only moves that are legal.
//
// State: the open file, its version and its number of slots. Set by open_book().
#include "book/book.h"

#include <algorithm>
#include <cstdio>

#include "board/bitboard.h"
#include "board/console.h"
#include "board/file_access.h"
#include "board/file_names.h"
#include "board/position.h"
#include "board/random.h"
#include "board/settings.h"
#include "book/book_file.h"
#include "book/book_keys.h"

constinit bool book_loaded = false;
constinit bool book_version_0 = false;

namespace {

std::FILE* file;
int64_t slot_bound;  // node count + 3

// False when no book can be read.
bool ReadHeader() {
    // Books of other makers load too: what the magic says is not looked at, only that the file
    // is long enough to have one.
    uint8_t header[BookFirstSlot * BookSlotBytes];
    if (!ReadAll(file, 0, header, sizeof header)) {
        PrintLine("Invalid book format");
        return false;
    }
    const int version = int32_t(LoadWord(header + BookVersionOffset));
    const int count = int32_t(LoadWord(header + BookCountOffset));
    book_version_0 = version == 0;
    if (book_version_0) {
        PrintLine("NG: Book learning not supported for book version 0");
        UseBookLearning = UseBookWeights = 0;
    } else if (version > 1) {
        Print("Book version %d not supported\n", version);
        Flush();
        return false;
    }
    Print("%d nodes in openings book\n", count);
    Flush();
    slot_bound = int64_t(count) + BookFirstSlot;
    return true;
}

int EntryBytes() { return book_version_0 ? 3 : 4; }

Move MoveOfEntry(const BookEntry& entry) {
    if (entry.from > 63 || entry.to > 63) return 0;
    return PackMove(entry.from, entry.to, thread_board.board[entry.from], thread_board.board[entry.to]);
}

// ---- Choosing ----

int ChooseVersion0(const BookNode& node) {
    const int excluded = int(std::count_if(node.entries, node.entries + node.count, IsExcluded));
    if (excluded == node.count) return -1;
    int left = Random() % (node.count - excluded) + 1;
    for (int i = 0; i < node.count; ++i)
        if (!IsExcluded(node.entries[i]) && --left == 0) return i;
    return -1;
}

// The move tried least; among those the most successful.
int ChooseLeastPlayed(const BookNode& node) {
    int best = -1, fewest = 32700;
    for (int i = 0; i < node.count; ++i) {
        const BookEntry& entry = node.entries[i];
        if (IsExcluded(entry)) continue;
        const int games = entry.Games2();
        if (games > fewest || (games == fewest && entry.Score() <= node.entries[best].Score())) continue;
        best = i;
        fewest = games;
    }
    return best;
}

// Any move not much worse than the best.
int ChooseByScore(const BookNode& node) {
    int best_score = 0;
    for (int i = 0; i < node.count; ++i)
        if (!IsExcluded(node.entries[i])) best_score = std::max(best_score, node.entries[i].Score());
    const int threshold = (100 - VarietyOfPlay) * best_score / 100;
    int candidates[BookMaxMoves], count = 0;
    for (int i = 0; i < node.count; ++i)
        if (!IsExcluded(node.entries[i]) && node.entries[i].Score() >= threshold) candidates[count++] = i;
    return count == 0 ? -1 : candidates[Random() % count];
}

int Choose(const BookNode& node) {
    if (book_version_0) return ChooseVersion0(node);
    if (BookLearningMode == DISCOVER) return ChooseLeastPlayed(node);
    if (UseBookWeights) return ChooseByScore(node);
    Random();  // keeps the sequence of random numbers independent of the settings
    return node.count == 0 || IsExcluded(node.entries[0]) ? -1 : 0;
}

}  // namespace

void close_book() {
    if (file != nullptr) std::fclose(file);
    file = nullptr;
    book_loaded = false;
}

void open_book(const char* file_name) {
    close_book();
    file = OpenForUpdate(ResolveFileName(file_name).c_str());
    if (file == nullptr) {
        Print("Error opening \"%s\"!\n", file_name);
        Flush();
        return;
    }
    book_loaded = ReadHeader();
}

BookKey CurrentBookKey() {
    BookKey key = {0, 0};
    for (const Colour c : {WHITE, BLACK}) {
        for (Bitboard men = thread_board.colour[c]; men != 0;) {
            const Square s = PopLowest(men);
            key.first ^= book_keys.half[0][c][thread_board.board[s]][s];
            key.second ^= book_keys.half[1][c][thread_board.board[s]][s];
        }
    }
    if (SideToMove() == BLACK) key.first ^= BookBlackToMove;
    return key;
}

bool find_node(int64_t* list_at) {
    if (!book_loaded || slot_bound < BookFirstSlot + 1) return false;
    const BookKey wanted = CurrentBookKey();
    int64_t low = BookFirstSlot, high = slot_bound;
    while (low < high) {
        const int64_t middle = (low + high) / 2;
        uint8_t record[BookSlotBytes];
        if (!ReadAll(file, middle * BookSlotBytes, record, sizeof record)) {
            high = middle;  // beyond the end of a damaged file
            continue;
        }
        const uint32_t first = LoadWord(record), second = LoadWord(record + 4);
        if (first == wanted.first && second == wanted.second) {
            *list_at = LoadWord(record + 8);
            return true;
        }
        if (ComesBefore({first, second}, wanted)) low = middle + 1;
        else high = middle;
    }
    return false;
}

bool ReadBookNode(BookNode& node) {
    int64_t list_at;
    // A list inside the header or the index would let learning write into these.
    if (!find_node(&list_at) || list_at < slot_bound * BookSlotBytes) return false;
    uint8_t list[1 + 4 * BookMaxMoves];
    const size_t bytes = ReadSome(file, list_at, list, sizeof list);
    if (bytes == 0 || bytes < 1 + list[0] * size_t(EntryBytes())) return false;
    node.count = list[0];
    node.entries_offset = list_at + 1;
    for (int i = 0; i < node.count; ++i) {
        const uint8_t* const entry = list + 1 + i * EntryBytes();
        node.entries[i] = {entry[0], entry[1], entry[2], book_version_0 ? uint8_t(0) : entry[3]};
    }
    return true;
}

bool IsExcluded(const BookEntry& entry) { return entry.ours == 255 && (book_version_0 || entry.theirs == 255); }

bool WriteBookPoints(const BookNode& node, int first, int count) {
    uint8_t bytes[4 * BookMaxMoves];
    for (int i = 0; i < count; ++i) {
        const BookEntry& entry = node.entries[first + i];
        uint8_t* const p = bytes + 4 * i;
        p[0] = entry.from, p[1] = entry.to, p[2] = entry.ours, p[3] = entry.theirs;
    }
    // From the first points to the last; the squares between them stay what they are.
    return count == 0 || WriteAll(file, node.entries_offset + 4 * first + 2, bytes + 2, size_t(4 * count - 2));
}

Move book_move() {
    BookNode node;
    if (!ReadBookNode(node)) return 0;
    const int choice = Choose(node);
    return choice < 0 ? 0 : MoveOfEntry(node.entries[choice]);
}

void list_book_moves() {
    BookNode node;
    if (!ReadBookNode(node)) {
        PrintLine("No moves from current pos in book");
        return;
    }
    Print("%d moves from current pos in book:\n", node.count);
    Flush();
    for (int i = 0; i < node.count; ++i) {
        const BookEntry& entry = node.entries[i];
        Print("%c%c%c%c ", 'a' + FileOf(entry.from & 63), '1' + RankOf(entry.from & 63), 'a' + FileOf(entry.to & 63),
              '1' + RankOf(entry.to & 63));
        if (book_version_0) Print("%d\n", entry.ours);
        else if (entry.Games2() == 0) Print("?\n");
        else if (IsExcluded(entry)) Print("-\n");
        else Print("%d%% (not less than %d game(s))\n", entry.ours * 100 / entry.Games2(), entry.Games2() / 2);
        Flush();
    }
}
