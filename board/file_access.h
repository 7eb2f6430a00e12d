// file_access.h - reads and writes at given places of the book, the learning file and tables.
//
// Nothing is kept in memory in between. A write is one request to the operating system and is
// handed over when the call returns, so that a program that is killed has made all of it or
// none; and a read sees what another program wrote a moment ago. (A buffer would save the last
// steps of a search in the book their reads, some microseconds a move.)
//
// Places that do not fit into a long cannot be reached; where long has 32 bits, files end at
// 2 GB for us.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

// An existing file for reading and writing; nullptr when it may not be written to or is no
// plain file. (To open a pipe would be to wait for somebody at its other end.)
std::FILE* OpenForUpdate(const char* name);
std::FILE* OpenForReading(const char* name);  // the same, for reading alone
std::FILE* OpenText(const char* name);        // the same, for reading from its start to its end
// The length in bytes, -1 when it cannot be told.
int64_t FileLength(std::FILE* file);

// As many of these bytes as the file has; returns their number.
size_t ReadSome(std::FILE* file, int64_t offset, void* bytes, size_t count);
inline bool ReadAll(std::FILE* file, int64_t offset, void* bytes, size_t count) {
    return ReadSome(file, offset, bytes, count) == count;
}
// False when the disk did not take all of it. What did not fit behind the end of the file may
// then be there in part.
bool WriteAll(std::FILE* file, int64_t offset, const void* bytes, size_t count);

// Words are little-endian in all of them.
inline uint32_t LoadWord(const uint8_t* bytes) {
    return bytes[0] | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}
inline void StoreWord(uint8_t* bytes, uint32_t word) {
    for (int i = 0; i < 4; ++i) bytes[i] = uint8_t(word >> (8 * i));
}
