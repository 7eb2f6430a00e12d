// configuration.h - the settings file, read once at program start.
#pragma once

// Applies the settings of the file. A missing file is no error; bad values print a warning
// with the line number, unknown keys nothing.
void ReadConfiguration(const char* file_name);

struct ConfigurationKey {
    const char* name;
    void (*apply)();  // takes the value from the words of the line
};
constexpr int ConfigurationKeyCount = 24;
// In the order of matching.
extern const ConfigurationKey configuration_keys[ConfigurationKeyCount];
