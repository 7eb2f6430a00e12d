// loaded_tables.h - whole tables in memory, for making and checking others.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tablebases/table_file.h"
#include "tablebases/table_index.h"

// One material with both sides to move.
struct LoadedTable {
    TableIndex index[2];
    std::vector<TableValue> values[2];    // [side to move][byte]
    std::unique_ptr<uint8_t[]> bytes[2];  // [side to move][slot]
};

// Memory for an array; null when there is not enough, where new would end the program.
template <typename T> std::unique_ptr<T[]> TryAllocate(uint64_t count) {
    return std::unique_ptr<T[]>(new (std::nothrow) T[count]);
}

// Reads both files of a material from a folder. False, with one line in *reason, on failure.
bool LoadTable(const std::string& folder, const std::string& material, LoadedTable* table, std::string* reason);
// "folder/kqk.nbw"; with ".emd" behind it the compressed file.
std::string PlainTablePath(const std::string& folder, const std::string& material, Colour side_to_move);
// "folder/kqk.nbw" when that is there, as the engine prefers it, else "folder/kqk.nbw.emd".
std::string ExistingTablePath(const std::string& folder, const std::string& material, Colour side_to_move);

// The tables that conversions of one material lead to, found by the men that are left.
class Conversions {
public:
    // Loads what `material` depends on and is not loaded yet from this folder, frees the rest.
    bool Load(const std::string& folder, const TableMaterial& material, std::string* reason);
    // Forgets a material whose files are written anew.
    void Forget(const std::string& material);
    // The value for its side to move of a position that a capture or promotion has made of the
    // material given to Load().
    TableValue ValueOf(const TablePosition& position) const;

private:
    struct Entry {
        std::string name;
        LoadedTable table;
    };
    std::string from;  // the folder
    std::vector<std::unique_ptr<Entry>> entries;
    const LoadedTable* by_code[SideCodes][SideCodes] = {};  // in the tables' orientation
};

// The materials that captures and promotions lead to at once, kings alone left out.
std::vector<TableMaterial> DirectConversions(const TableMaterial& material);
