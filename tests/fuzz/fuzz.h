// fuzz.h - what the fuzz targets share.
//
// A target is a file fuzz_*.cpp with one LLVMFuzzerTestOneInput(), which gets any bytes and must
// come back. Linked with libFuzzer it is a fuzzer; linked with replay.cpp it runs the committed
// corpus under any compiler. Beside crashes and sanitizer reports a target finds answers that
// contradict each other: Require() ends the process then.
//
// Everything lies in the working folder, which is a new one under the system's folder for temporary
// files, or under $FUZZ_FOLDER. Nothing is printed but complaints.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Writes the file of that name in the working folder anew.
void WriteInputFile(const char* name, const uint8_t* data, size_t size);
inline void WriteInputFile(const char* name, const std::string& bytes) {
    WriteInputFile(name, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

// Says what is wrong and aborts, unless it holds.
void Require(bool holds, const char* what);

// Every field of the current position, a playable one, against the men on the board.
void RequireWholePosition();

// Takes numbers off the front of an input; zeros behind its end.
class InputNumbers {
public:
    InputNumbers(const uint8_t* data, size_t size) : at(data), left(size) {}
    // Little-endian, of one to four bytes.
    uint32_t Take(int bytes) {
        uint32_t number = 0;
        for (int i = 0; i < bytes && left > 0; ++i, ++at, --left) number |= uint32_t(*at) << (8 * i);
        return number;
    }
    bool Empty() const { return left == 0; }
    const uint8_t* Rest() const { return at; }
    size_t RestLength() const { return left; }

private:
    const uint8_t* at;
    size_t left;
};
