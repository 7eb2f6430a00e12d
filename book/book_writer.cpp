// book_writer.cpp - see book_writer.h, and book_file.h for the layout.
#include "book/book_writer.h"

#include <algorithm>

#include "board/file_access.h"

namespace {

// 255 beside 255 means excluded; keeping both below leaves no doubt.
constexpr uint32_t MostPoints = 254;

void AppendWord(uint32_t word, std::string& bytes) {
    uint8_t stored[4];
    StoreWord(stored, word);
    bytes.append(reinterpret_cast<const char*>(stored), sizeof stored);
}

uint32_t WordAt(const std::string& bytes, size_t at) {
    return LoadWord(reinterpret_cast<const uint8_t*>(bytes.data()) + at);
}

BookKey KeyOf(uint64_t key) { return {uint32_t(key >> 32), uint32_t(key)}; }

}  // namespace

uint64_t BookNodeKey() {
    const BookKey key = CurrentBookKey();
    return uint64_t(key.first) << 32 | key.second;
}

BookMove& BookMoveOf(std::vector<BookMove>& node, int from, int to) {
    for (BookMove& move : node)
        if (move.from == from && move.to == to) return move;
    BookMove& added = node.emplace_back();
    added.from = uint8_t(from);
    added.to = uint8_t(to);
    return added;
}

void MergeBook(const BookNodes& from, BookNodes& into) {
    for (const auto& [key, moves] : from) {
        std::vector<BookMove>& node = into[key];
        for (const BookMove& move : moves) {
            BookMove& sum = BookMoveOf(node, move.from, move.to);
            sum.excluded |= move.excluded;
            sum.ours += move.ours;
            sum.theirs += move.theirs;
            sum.undecided += move.undecided;
        }
    }
}

BookEntry EntryOf(const BookMove& move) {
    if (move.excluded) return {move.from, move.to, 255, 255};
    const uint64_t most = std::max(move.ours, move.theirs);
    const auto scaled = [most](uint64_t points) {
        return uint8_t(most <= MostPoints ? points : (points * MostPoints + most / 2) / most);
    };
    return {move.from, move.to, scaled(move.ours), scaled(move.theirs)};
}

std::string BookFileBytes(const BookNodes& nodes) {
    std::vector<uint64_t> keys;
    keys.reserve(nodes.size());
    for (const auto& node : nodes) keys.push_back(node.first);
    std::sort(keys.begin(), keys.end(), [](uint64_t a, uint64_t b) { return ComesBefore(KeyOf(a), KeyOf(b)); });

    std::string bytes = BookMagic, lists;
    AppendWord(1, bytes);
    AppendWord(0, bytes);
    AppendWord(uint32_t(keys.size()), bytes);
    const size_t lists_at = size_t(BookSlotBytes) * (size_t(BookFirstSlot) + keys.size());
    for (const uint64_t key : keys) {
        const std::vector<BookMove>& moves = nodes.at(key);
        AppendWord(KeyOf(key).first, bytes);
        AppendWord(KeyOf(key).second, bytes);
        AppendWord(uint32_t(lists_at + lists.size()), bytes);
        const size_t count = std::min(moves.size(), size_t(BookMaxMoves));
        lists += char(count);
        for (size_t i = 0; i < count; ++i) {
            const BookEntry entry = EntryOf(moves[i]);
            for (const uint8_t byte : {entry.from, entry.to, entry.ours, entry.theirs}) lists += char(byte);
        }
    }
    return bytes + lists;
}

bool ReadBookFile(const std::string& bytes, BookNodes& nodes, std::string& error) {
    nodes.clear();
    if (bytes.size() < size_t{BookSlotBytes} * BookFirstSlot || bytes.compare(0, BookMagicBytes, BookMagic) != 0) {
        error = "no opening book";
        return false;
    }
    if (WordAt(bytes, BookVersionOffset) != 1) {
        error = "not a book of version 1";
        return false;
    }
    error = "damaged";
    const size_t count = WordAt(bytes, BookCountOffset);
    if (count > bytes.size() / BookSlotBytes - BookFirstSlot) return false;
    for (size_t slot = BookFirstSlot; slot < BookFirstSlot + count; ++slot) {
        const size_t record = slot * BookSlotBytes;
        const uint64_t key = uint64_t(WordAt(bytes, record)) << 32 | WordAt(bytes, record + 4);
        size_t at = WordAt(bytes, record + 8);
        // Nor may a list lie inside the header or the index.
        if (at >= bytes.size() || at < BookSlotBytes * (BookFirstSlot + count)) return false;
        const size_t moves = uint8_t(bytes[at++]);
        if (bytes.size() - at < 4 * moves) return false;
        std::vector<BookMove>& node = nodes[key];
        for (size_t i = 0; i < moves; ++i, at += 4) {
            const BookEntry entry = {uint8_t(bytes[at]), uint8_t(bytes[at + 1]), uint8_t(bytes[at + 2]),
                                     uint8_t(bytes[at + 3])};
            if (entry.from > 63 || entry.to > 63) return false;
            BookMove& move = BookMoveOf(node, entry.from, entry.to);
            move.excluded |= entry.ours == 255 && entry.theirs == 255;
            if (move.excluded) continue;
            move.ours += entry.ours;
            move.theirs += entry.theirs;
        }
    }
    error.clear();
    return true;
}
