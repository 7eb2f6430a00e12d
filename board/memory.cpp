// memory.cpp - large pages on Linux, calloc elsewhere and under the address sanitizer, which
// watches the ends of calloc's blocks only.
#include "board/memory.h"

#include <cstdint>
#include <cstdlib>

#if defined(__linux__) && !defined(CORVANTIS_SANITIZED)
#define CORVANTIS_LARGE_PAGES 1
#include <sys/mman.h>
#endif

#ifdef CORVANTIS_LARGE_PAGES

namespace {
constexpr size_t LargePage = size_t(2) << 20;
size_t RoundUp(size_t bytes) { return (bytes + LargePage - 1) / LargePage * LargePage; }
}  // namespace

void* AllocateZeroed(size_t bytes) {
    const size_t length = RoundUp(bytes);
    // One large page more than needed, so that an aligned block lies inside; the rest goes back.
    void* const mapped = mmap(nullptr, length + LargePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return nullptr;
    char* const start = static_cast<char*>(mapped);
    const size_t before = (LargePage - reinterpret_cast<uintptr_t>(start) % LargePage) % LargePage;
    if (before > 0) munmap(start, before);
    if (before < LargePage) munmap(start + before + length, LargePage - before);
    madvise(start + before, length, MADV_HUGEPAGE);  // a refusal only costs speed
    // The system makes a large page when it is first touched, which on a machine that has run
    // for long took up to 80 ms for all tables. Better now than on the clock of the first move.
    for (size_t page = 0; page < length; page += LargePage) static_cast<volatile char*>(start)[before + page] = 0;
    return start + before;
}

void FreeZeroed(void* memory, size_t bytes) {
    if (memory != nullptr) munmap(memory, RoundUp(bytes));
}

#else

void* AllocateZeroed(size_t bytes) { return std::calloc(bytes > 0 ? bytes : 1, 1); }
void FreeZeroed(void* memory, size_t) { std::free(memory); }

#endif
