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
// file are followed for writing only, afresh each time, so two programs can share the file.
// (Should both append at the very same moment, one record is lost.)
//
// A program may be killed and a disk may be full between any two writes, and this is why the
// file is whole for the next one: what is missing of the heads of a new file is filled up; a
// record is there before the link to it; half a record at the end is written over; and
// since records are only ever appended, a link that does not lead on to a later whole record
// of its bucket is damaged, and taken for the end of its chain.
//
// State: the open file, the copy in memory, the queue, the running number of log lines.
#include "book/learning_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <unordered_map>
#include <vector>

#include "board/console.h"
#include "board/file_access.h"
#include "board/file_names.h"
#include "board/position.h"
#include "board/settings.h"

namespace {

constexpr const char* Magic = "Corvantis learning file";
constexpr int MagicBytes = 23;
constexpr uint32_t Buckets = 65536;
constexpr int64_t FirstRecord = MagicBytes + 4 * Buckets;
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

uint32_t BucketOf(uint32_t a) { return a & (Buckets - 1); }
uint64_t MapKey(uint32_t a, uint32_t b) { return uint64_t(a) << 32 | b; }

void CurrentKey(uint32_t* a, uint32_t* b) {
    const uint64_t key = PositionKey();
    *a = uint32_t(key) ^ (SideToMove() == BLACK ? BlackToMove : 0);
    *b = uint32_t(key >> 32);
}

bool WriteWords(int64_t offset, const uint32_t* words, int count) {
    uint8_t bytes[RecordBytes];
    for (int i = 0; i < count; ++i) StoreWord(bytes + 4 * i, words[i]);
    return WriteAll(file, offset, bytes, 4 * size_t(count));
}

// Fills up a new file, or one whose maker did not come to its end, with the magic and empty
// heads. (Two programs that do so at once write the same.) False when this is no learning file.
bool CompleteHeads() {
    std::vector<uint8_t> empty(FirstRecord), present(FirstRecord);
    std::memcpy(empty.data(), Magic, MagicBytes);
    const size_t length = ReadSome(file, 0, present.data(), present.size());
    if (length == present.size()) return std::memcmp(present.data(), Magic, MagicBytes) == 0;
    return std::equal(present.data(), present.data() + length, empty.data())
        && WriteAll(file, int64_t(length), empty.data() + length, empty.size() - length);
}

void Remember(uint32_t a, uint32_t b, int depth, int evaluation) {
    // No such score is ever written. The search must not see one from a damaged file.
    if (evaluation <= -MateBound || evaluation >= MateBound) return;
    (*learned)[MapKey(a, b)] = {depth, evaluation};
}

void ReadRecords() {
    std::vector<uint8_t> block(1000 * RecordBytes);
    size_t bytes = 0;
    for (int64_t offset = FirstRecord; (bytes = ReadSome(file, offset, block.data(), block.size())) >= RecordBytes;
         offset += int64_t(block.size())) {
        for (const uint8_t* p = block.data(); p + RecordBytes <= block.data() + bytes; p += RecordBytes)
            Remember(LoadWord(p + 4 * KeyAWord), LoadWord(p + 4 * KeyBWord), int32_t(LoadWord(p + 4 * DepthWord)),
                     int32_t(LoadWord(p + 4 * EvaluationWord)));
    }
}

void Log(const Queued& entry, const char* word) {
    if (!LogLearningIntoFile) return;
    std::FILE* const log = std::fopen("learn.log", "a+b");
    if (log == nullptr) return;
    // A full disk may have cut the last line short.
    if (std::fseek(log, -1, SEEK_END) == 0 && std::fgetc(log) != '\n') {
        std::fseek(log, 0, SEEK_END);
        std::fputc('\n', log);
    }
    std::fseek(log, 0, SEEK_END);
    std::fprintf(log, "%d%c%s Depth = %d%cOldEvaluation = %d%cEvaluaton = %d%cFEN = %s\n", log_number++, '\t', word,
                 entry.depth, '\t', entry.old_evaluation, '\t', entry.evaluation, '\t', entry.fen);
    std::fclose(log);
}

void Write(const Queued& entry) {
    const int64_t length = FileLength(file);
    if (length < FirstRecord) return;
    const int64_t append_at = length - (length - FirstRecord) % RecordBytes;

    int64_t link = MagicBytes + 4 * int64_t(BucketOf(entry.a));  // where the offset of the next record lies
    int64_t lowest = FirstRecord;                                // that it may be
    for (;;) {
        uint8_t record[RecordBytes];
        if (!ReadAll(file, link, record, 4)) return;
        const int64_t next = LoadWord(record);
        if (next < lowest || next >= append_at || (next - FirstRecord) % RecordBytes != 0) break;
        if (!ReadAll(file, next, record, RecordBytes)) return;
        if (BucketOf(LoadWord(record + 4 * KeyAWord)) != BucketOf(entry.a)) break;
        if (LoadWord(record + 4 * KeyAWord) == entry.a && LoadWord(record + 4 * KeyBWord) == entry.b) {
            Log(entry, "Refresh:");
            const uint32_t words[] = {uint32_t(entry.depth), uint32_t(entry.evaluation), uint32_t(entry.ply), entry.a,
                                      entry.b};
            WriteWords(next, words, 5);
            return;
        }
        link = next + 4 * NextWord;
        lowest = next + RecordBytes;
    }
    if (append_at > UINT32_MAX) return;  // no link can lead there
    Log(entry, "Add:");
    const uint32_t words[] = {
        uint32_t(entry.depth), uint32_t(entry.evaluation), uint32_t(entry.ply), entry.a, entry.b, 0};
    const uint32_t offset = uint32_t(append_at);
    if (WriteWords(append_at, words, RecordWords)) WriteWords(link, &offset, 1);
}

}  // namespace

void load_learning(const char* file_name) {
    CloseLearning();
    const std::filesystem::path path = PathOf(file_name);
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        if (std::FILE* const created = OpenFile(path, "ab")) std::fclose(created);
    learned = new (std::nothrow) std::unordered_map<uint64_t, Learned>;
    file = OpenForUpdate(file_name);
    if (file != nullptr && learned != nullptr && CompleteHeads()) {
        ReadRecords();
        return;
    }
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
    entry.ply = history_count - history_base;
    std::snprintf(entry.fen, sizeof entry.fen, "%s", WriteFen().c_str());
}

void FlushLearned() {
    if (file == nullptr) queue_length = 0;
    if (queue_length == 0) return;
    for (int i = 0; i < queue_length; ++i) {
        Write(queue[i]);
        Remember(queue[i].a, queue[i].b, queue[i].depth, queue[i].evaluation);
    }
    queue_length = 0;
}
