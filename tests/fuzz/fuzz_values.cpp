// fuzz_values.cpp - any bytes as the evaluation's parameter file. What was read can be written and
// read again, and positions are still evaluated.
//
// The table of materials, which takes longer than all else, is left as it is.
#include <cstring>
#include <vector>

#include "board/position.h"
#include "eval/evaluate.h"
#include "eval/parameters.h"
#include "tests/fuzz/fuzz.h"
#include "tools/common/signature.h"

static std::vector<int> FileWeights() {
    std::vector<int> values;
    for (const ValueRow& row : value_rows)
        if (row.target != nullptr) values.insert(values.end(), row.target, row.target + row.count);
    return values;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* Name = "values.txt";
    WriteInputFile(Name, data, size);
    LoadValues(Name);
    const std::vector<int> read = FileWeights();

    BuildPieceSquareTable();
    ClearEvaluationTables();
    for (int i = 0; i < SignaturePositions; i += 5) {
        SetFen(signature_fens[i]);
        const int score = Evaluate();
        Require(score >= -30000 && score <= 30000, "an evaluation outside its range");
    }

    constexpr const char* Copy = "copy.txt";
    Require(SaveValues(Copy), "the weights cannot be written");
    LoadValues(Copy);
    Require(FileWeights() == read, "weights written are read differently");
    return 0;
}
