// replay.cpp - the main program of a fuzz target without libFuzzer: runs it on the files given, and
// on all files of the folders given. Ends with 1 when there was none.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/fuzz/fuzz.h"

static int Replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "%s cannot be read\n", path.string().c_str());
        return 0;
    }
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    // A block of exactly this size, so that a sanitizer sees a read behind it.
    const std::vector<uint8_t> exact(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
    return 1;
}

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path = std::filesystem::absolute(argv[i]);
        if (!std::filesystem::is_directory(path)) files.push_back(path);
        else
            for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path());
    }
    LLVMFuzzerInitialize(&argc, &argv);
    int inputs = 0;
    for (const auto& file : files) inputs += Replay(file);
    std::fprintf(stderr, "%d inputs\n", inputs);
    return inputs == 0;
}
