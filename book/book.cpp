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
#include <cstring>

#include "board/bitboard.h"
#include "board/console.h"
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

bool ReadBytes(void* bytes, size_t count) { return std::fread(bytes, 1, count, file) == count; }

bool ReadWord(uint32_t* word) {
    uint8_t bytes[4];
    if (!ReadBytes(bytes, 4)) return false;
    *word = bytes[0] | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
    return true;
}

bool Seek(int64_t offset) { return std::fseek(file, long(offset), SEEK_SET) == 0; }

std::FILE* Open(const char* shown_name, const std::string& name, const char* mode) {
    std::FILE* const opened = std::fopen(name.c_str(), mode);
    if (opened == nullptr) {
        Print("Error opening \"%s\"!\n", shown_name);
        Flush();
    }
    return opened;
}

// False when no book can be read.
bool ReadHeader() {
    // Books of other makers load too, whatever their first bytes say: only a text that is the
    // magic and ends there is refused, and a file cannot hold the end, since the byte behind
    // the 24 that are read is ours and is never 0. What this catches is files too short for
    // a header, and folders.
    char magic[BookMagicBytes + 1];
    magic[BookMagicBytes] = '~';
    if (!ReadBytes(magic, BookMagicBytes) || std::strncmp(magic, BookMagic, sizeof magic) == 0) {
        PrintLine("Invalid book format");
        return false;
    }
    uint32_t version, count;
    if (!Seek(BookVersionOffset) || !ReadWord(&version) || !Seek(BookCountOffset) || !ReadWord(&count)) {
        PrintLine("Invalid book format");
        return false;
    }
    book_version_0 = version == 0;
    if (book_version_0) {
        PrintLine("NG: Book learning not supported for book version 0");
        UseBookLearning = UseBookWeights = 0;
    } else if (int32_t(version) > 1) {
        Print("Book version %d not supported\n", int32_t(version));
        Flush();
        return false;
    }
    Print("%d nodes in openings book\n", int32_t(count));
    Flush();
    slot_bound = int64_t(int32_t(count)) + BookFirstSlot;
    return true;
}

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
    const std::string name = ResolveFileName(file_name);
    file = Open(file_name, name, "rb");
    if (file == nullptr) return;
    std::fclose(file);
    file = Open(file_name, name, "r+b");
    if (file == nullptr) return;
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

bool find_node() {
    if (!book_loaded || slot_bound < BookFirstSlot + 1) return false;
    const BookKey wanted = CurrentBookKey();
    int64_t low = BookFirstSlot, high = slot_bound;
    while (low < high) {
        const int64_t middle = (low + high) / 2;
        uint32_t first, second;
        if (!Seek(middle * BookSlotBytes) || !ReadWord(&first) || !ReadWord(&second)) {
            high = middle;  // beyond the end of a damaged file
            continue;
        }
        if (first == wanted.first && second == wanted.second) return true;
        const bool smaller =
            first != wanted.first ? int32_t(first) < int32_t(wanted.first) : int32_t(second) < int32_t(wanted.second);
        if (smaller) low = middle + 1;
        else high = middle;
    }
    return false;
}

bool ReadBookNode(BookNode& node) {
    uint32_t offset;
    uint8_t count;
    if (!find_node() || !ReadWord(&offset) || !Seek(offset) || !ReadBytes(&count, 1)) return false;
    node.count = count;
    node.entries_offset = int64_t(offset) + 1;
    const size_t bytes = book_version_0 ? 3 : 4;
    for (int i = 0; i < node.count; ++i) {
        uint8_t entry[4] = {};
        if (!ReadBytes(entry, bytes)) return false;
        node.entries[i] = {entry[0], entry[1], entry[2], entry[3]};
    }
    return true;
}

bool IsExcluded(const BookEntry& entry) { return entry.ours == 255 && (book_version_0 || entry.theirs == 255); }

bool WriteBookPoints(const BookNode& node, int index) {
    const uint8_t bytes[2] = {node.entries[index].ours, node.entries[index].theirs};
    // A seek stands between every read and write of one stream, and a flush after it, so that
    // a program that is killed has learned what it played.
    return Seek(node.entries_offset + 4 * index + 2) && std::fwrite(bytes, 1, 2, file) == 2 && std::fflush(file) == 0;
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
