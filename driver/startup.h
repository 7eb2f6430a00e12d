// startup.h - from program start to the line loop, and the way out.
#pragma once

#include <string>

// The program. Does not return.
[[noreturn]] void RunProgram();

// Frees everything, closes book and learning file, ends the process. Installed as exit_hook.
[[noreturn]] void terminate(int exit_code);

// Says that memory is short and ends the program with code 1.
[[noreturn]] void OutOfMemory();

// The static tables of board, evaluation and search, in their order. Needs no settings.
void InitialiseTables();

// The block cache for the tablebases found, of EGTBHashSize bytes. When memory is short it
// says so, and none are probed any more.
void AllocateTablebases();
// Stores the path, cut to what fits.
void SetTablebasePath(const std::string& path);
void PrintTablebaseStatus();  // "egtbstat"

// The settings as they are now, ended by an empty line.
void PrintSettings();
