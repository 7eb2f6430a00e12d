// fuzz_configuration.cpp - any bytes as the settings file.
#include "board/settings.h"
#include "book/book.h"
#include "driver/configuration.h"
#include "driver/startup.h"
#include "driver/words.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = AllocateWords();
    Require(ready, "out of memory");
    constexpr const char* Name = "Corvantis.ini";
    WriteInputFile(Name, data, size);
    SetDefaults();
    ReadConfiguration(Name);
    PrintSettings();
    close_book();
    SetDefaults();
    return 0;
}
