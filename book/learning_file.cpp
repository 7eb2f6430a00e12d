// learning_file.cpp - see learning_file.h.
//
// Little-endian:
//
//   0       magic, 23 bytes, no terminating zero
//   23      65536 heads: file offset of the first record of each bucket, 0 = empty
//   262167  records of six words: depth, evaluation, game ply, key A, key B, offset of the
//           next record of the bucket (0 = last)
//
// A position belongs to bucket A & 0xFFFF. Depth counts quarter plies, the evaluation is the
// side to move's view. The search looks positions up in a copy in memory; the chains in the
// file are followed for writing only, so the file stays right when two programs share it.
//
// State: the open file, the copy in memory, the queue, the running number of log lines.
#include "book/learning_file.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <unordered_map>

#include "board/console.h"
#include "board/position.h"
#include "board/settings.h"

namespace {

constexpr const char* Magic = "Corvantis learning file";
constexpr int MagicBytes = 23;
constexpr uint32_t Buckets = 65536;
constexpr long FirstRecord = MagicBytes + 4 * long(Buckets);
constexpr int RecordWords = 6, RecordBytes = 4 * RecordWords;
enum : int { DepthWord, EvaluationWord, PlyWord, KeyAWord, KeyBWord, NextWord };
constexpr uint32_t BlackToMove = 0x07D3ADEB;  // into key A

struct Learned {
    int depth, evaluation;
};

struct Queued {
    uint32_t a, b;
    int depth, old_evaluation, evaluation, ply;
    char fen[100];
};
constexpr int MaxQueued = 256;

std::FILE* file;
std::unordered_map<uint64_t, Learned>* learned;
Queued queue[MaxQueued];
int queue_length;
int log_number;

uint64_t MapKey(uint32_t a, uint32_t b) { return uint64_t(a) << 32 | b; }

void CurrentKey(uint32_t* a, uint32_t* b) {
    const uint64_t key = PositionKey();
    *a = uint32_t(key) ^ (SideToMove() == BLACK ? BlackToMove : 0);
    *b = uint32_t(key >> 32);
}

bool ReadWords(long offset, uint32_t* words, int count) {
    uint8_t bytes[RecordBytes];
    if (std::fseek(file, offset, SEEK_SET) != 0) return false;
    if (std::fread(bytes, 4, size_t(count), file) != size_t(count)) return false;
    for (int i = 0; i < count; ++i) {
        const uint8_t* const p = bytes + 4 * i;
        words[i] = p[0] | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
    }
    return true;
}

bool WriteWords(long offset, const uint32_t* words, int count) {
    uint8_t bytes[RecordBytes];
    for (int i = 0; i < count; ++i)
        for (int j = 0; j < 4; ++j) bytes[4 * i + j] = uint8_t(words[i] >> (8 * j));
    return std::fseek(file, offset, SEEK_SET) == 0 && std::fwrite(bytes, 4, size_t(count), file) == size_t(count);
}

bool CreateEmpty(const char* name) {
    std::FILE* const created = std::fopen(name, "wb");
    if (created == nullptr) return false;
    static const uint8_t heads[4096] = {};
    bool good = std::fwrite(Magic, 1, MagicBytes, created) == MagicBytes;
    for (uint32_t i = 0; good && i < 4 * Buckets / sizeof heads; ++i)
        good = std::fwrite(heads, 1, sizeof heads, created) == sizeof heads;
    return std::fclose(created) == 0 && good;
}

// Reads every whole record; false when this is no learning file.
bool ReadAll() {
    char magic[MagicBytes];
    uint32_t words[RecordWords];
    if (std::fread(magic, 1, MagicBytes, file) != MagicBytes || std::memcmp(magic, Magic, MagicBytes) != 0)
        return false;
    if (!ReadWords(FirstRecord - 4, words, 1)) return false;
    for (long offset = FirstRecord; ReadWords(offset, words, RecordWords); offset += RecordBytes)
        (*learned)[MapKey(words[KeyAWord], words[KeyBWord])] = {int32_t(words[DepthWord]),
                                                                int32_t(words[EvaluationWord])};
    return true;
}

void Log(const Queued& entry, const char* word) {
    if (!LogLearningIntoFile) return;
    std::FILE* const log = std::fopen("learn.log", "a");
    if (log == nullptr) return;
    std::fprintf(log, "%d%c%s Depth = %d%cOldEvaluation = %d%cEvaluaton = %d%cFEN = %s\n", log_number++, '\t', word,
                 entry.depth, '\t', entry.old_evaluation, '\t', entry.evaluation, '\t', entry.fen);
    std::fclose(log);
}

void Write(const Queued& entry) {
    if (std::fseek(file, 0, SEEK_END) != 0) return;
    const long end = std::ftell(file);
    // An unfinished record of a program that was killed is written over.
    const long append_at = end - (end - FirstRecord) % RecordBytes;
    const long most_records = (append_at - FirstRecord) / RecordBytes;

    uint32_t record[RecordWords];
    long link = MagicBytes + 4 * long(entry.a & (Buckets - 1));  // where the offset of the next record lies
    uint32_t next;
    if (!ReadWords(link, &next, 1)) return;
    // No chain is longer than the file; one that seems to be runs in a circle.
    for (long steps = 0; next != 0 && steps < most_records; ++steps) {
        if (!ReadWords(long(next), record, RecordWords)) break;
        if (record[KeyAWord] == entry.a && record[KeyBWord] == entry.b) {
            Log(entry, "Refresh:");
            const uint32_t words[] = {uint32_t(entry.depth), uint32_t(entry.evaluation), uint32_t(entry.ply), entry.a,
                                      entry.b};
            WriteWords(long(next), words, 5);
            return;
        }
        link = long(next) + 4 * NextWord;
        next = record[NextWord];
    }
    Log(entry, "Add:");
    const uint32_t words[] = {
        uint32_t(entry.depth), uint32_t(entry.evaluation), uint32_t(entry.ply), entry.a, entry.b, 0};
    // The record first: a link must never lead to nothing.
    const uint32_t offset = uint32_t(append_at);
    if (WriteWords(append_at, words, RecordWords)) WriteWords(link, &offset, 1);
}

}  // namespace

void load_learning(const char* file_name) {
    CloseLearning();
    file = std::fopen(file_name, "rb");
    const bool exists = file != nullptr;
    if (exists) std::fclose(file);
    if (!exists) CreateEmpty(file_name);
    learned = new (std::nothrow) std::unordered_map<uint64_t, Learned>;
    file = std::fopen(file_name, "rb+");
    if (file != nullptr && learned != nullptr && ReadAll()) return;
    Print("Error opening \"%s\"!\n", file_name);
    Flush();
    CloseLearning();
}

void CloseLearning() {
    FlushLearned();
    if (file != nullptr) std::fclose(file);
    file = nullptr;
    delete learned;
    learned = nullptr;
}

bool LookUpLearned(int depth, int* score) {
    if (learned == nullptr || learned->empty()) return false;
    uint32_t a, b;
    CurrentKey(&a, &b);
    const auto found = learned->find(MapKey(a, b));
    if (found == learned->end() || found->second.depth < depth) return false;
    *score = found->second.evaluation;
    return true;
}

void QueueLearned(int depth, int score) {
    if (file == nullptr || queue_length == MaxQueued) return;
    Queued& entry = queue[queue_length++];
    CurrentKey(&entry.a, &entry.b);
    const auto found = learned->find(MapKey(entry.a, entry.b));
    entry.depth = depth;
    entry.old_evaluation = found == learned->end() ? 0 : found->second.evaluation;
    entry.evaluation = score;
    entry.ply = history_count;
    std::snprintf(entry.fen, sizeof entry.fen, "%s", WriteFen().c_str());
}

void FlushLearned() {
    if (file == nullptr) queue_length = 0;
    if (queue_length == 0) return;
    for (int i = 0; i < queue_length; ++i) {
        Write(queue[i]);
        (*learned)[MapKey(queue[i].a, queue[i].b)] = {queue[i].depth, queue[i].evaluation};
    }
    queue_length = 0;
    std::fflush(file);
}
