// generate.h - makes tables by retrograde analysis, and checks them.
//
// A material is solved for both sides to move at once, from the mates backwards: every slot's
// result is final when it is entered. Captures and promotions lead to smaller materials, whose
// tables must be there.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tablebases/table_file.h"
#include "tablebases/table_index.h"

// The materials to make, in an order in which each finds what it depends on: `names`, which are
// materials in the tables' orientation (other names are left out), and everything below them.
std::vector<std::string> TablesToMake(const std::vector<std::string>& names);
std::vector<std::string> AllMaterials(int men);  // in the tables' orientation

struct TableJob {
    std::string folder;  // where tables are read and written
    int threads = 1;
    bool packed = true;                                   // compressed files
    void (*progress)(const std::string& line) = nullptr;  // told every few seconds; may be null
};

// What a made or checked table holds; symmetric positions are counted once.
struct TableStatistics {
    uint64_t wins[2], draws[2], losses[2];  // [side to move], for that side
    int longest[2];                         // moves to mate, the longest win with that side to move; 0 if none
    TablePosition example[2];               // a position of that length
};

// The file of a material and a side to move.
std::string TablePath(const TableJob& job, const std::string& material, Colour side_to_move);
// True when both files of the material are there and nothing in them is damaged.
bool TableIsMade(const TableJob& job, const std::string& material);
// The name of a file that is in the way of the material's tables and was not made by us; "" if none.
std::string ForeignTable(const TableJob& job, const std::string& material);
// Bytes of memory that MakeTable() and VerifyTable() need at most; 0 when that is no material.
uint64_t TableMemory(const std::string& material);

// Solves a material and writes its two files. False, with one line in *reason, when a table that
// it depends on is missing, there is no memory for the states or the tables below, or a file cannot
// be written. Where smaller things find no memory the program ends.
bool MakeTable(const TableJob& job, const std::string& material, TableStatistics* statistics, std::string* reason);
// Computes every value of a material again from the values one move further on. False, with a
// difference in *reason, when one is wrong.
bool VerifyTable(const TableJob& job, const std::string& material, TableStatistics* statistics, std::string* reason);

// The position as FEN.
std::string TableFen(const TablePosition& position);
