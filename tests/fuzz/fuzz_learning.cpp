// fuzz_learning.cpp - a learning file with damage: queued results are found in it again.
//
// The file is long and mostly zero, so an input says how it differs from an empty one: its length (3
// bytes), then again and again a place (3 bytes), a number of bytes (1 byte), and those bytes. A place
// behind the end counts from the head of the bucket of the first position that is learned.
#include <algorithm>
#include <string>

#include "board/position.h"
#include "board/settings.h"
#include "book/learning_file.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/board_helpers.h"

constexpr const char* LearnedMoves[] = {"e2e4", "e7e5", "g1f3"};

static size_t FirstHead() {
    constexpr int MagicBytes = 23;
    constexpr uint32_t Buckets = 65536, BlackToMove = 0x07D3ADEB;
    SetInitialPosition();
    PlayMoves(LearnedMoves[0]);
    return MagicBytes + 4 * ((uint32_t(PositionKey()) ^ BlackToMove) % Buckets);
}

static std::string FileOf(const uint8_t* data, size_t size) {
    constexpr uint32_t MaxLength = 270000;
    static const size_t first_head = FirstHead();
    InputNumbers numbers(data, size);
    std::string file(numbers.Take(3) % MaxLength, '\0');
    file.replace(0, std::min<size_t>(23, file.size()), std::string("Corvantis learning file").substr(0, file.size()));
    while (!numbers.Empty() && !file.empty()) {
        size_t at = numbers.Take(3);
        if (at >= file.size()) at = first_head + at % 4;
        for (uint32_t count = numbers.Take(1) % 32; count > 0 && at < file.size(); --count)
            file[at++] = char(numbers.Take(1));
    }
    return file;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* Name = "Learn.cv1";
    WriteInputFile(Name, FileOf(data, size));
    SetDefaults();
    UseLearning = UseLearningData = LogLearningIntoFile = 1;
    load_learning(Name);
    SetInitialPosition();
    int score = 0;
    LookUpLearned(0, &score);
    for (const char* move : LearnedMoves) {
        PlayMoves(move);
        QueueLearned(40, 17);
        QueueLearned(48, 23);
    }
    FlushLearned();
    if (LookUpLearned(48, &score)) Require(score > -MateBound && score < MateBound, "a learned mate");
    CloseLearning();
    WriteInputFile("learn.log", "");
    return 0;
}
