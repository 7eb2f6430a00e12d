// file_access.cpp - see file_access.h.
#include "board/file_access.h"

#include <filesystem>
#include <limits>
#include <system_error>

#include "board/file_names.h"

static bool Seek(std::FILE* file, int64_t offset) {
    return offset >= 0 && offset <= std::numeric_limits<long>::max() && std::fseek(file, long(offset), SEEK_SET) == 0;
}

static std::FILE* OpenPlain(const char* name, const char* mode) {
    const std::filesystem::path path = PathOf(name);
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) ? OpenFile(path, mode) : nullptr;
}

static std::FILE* Open(const char* name, const char* mode) {
    std::FILE* const file = OpenPlain(name, mode);
    if (file != nullptr) std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

std::FILE* OpenForUpdate(const char* name) { return Open(name, "r+b"); }
std::FILE* OpenForReading(const char* name) { return Open(name, "rb"); }
std::FILE* OpenText(const char* name) { return OpenPlain(name, "rb"); }

int64_t FileLength(std::FILE* file) { return std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1; }

size_t ReadSome(std::FILE* file, int64_t offset, void* bytes, size_t count) {
    // The error flag of a disk that was full a moment ago must not spoil what can be done now.
    std::clearerr(file);
    return Seek(file, offset) ? std::fread(bytes, 1, count, file) : 0;
}

bool WriteAll(std::FILE* file, int64_t offset, const void* bytes, size_t count) {
    std::clearerr(file);
    // Nothing is left to flush unless the library keeps a buffer all the same.
    return Seek(file, offset) && std::fwrite(bytes, 1, count, file) == count && std::fflush(file) == 0;
}
