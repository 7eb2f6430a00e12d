// registry.cpp - see registry.h.
//
// Folders are listed once and their names matched, which finds names in any case and costs one
// request for a whole set of tables. Probing finds a table by the men of both sides without
// looking at its name: table_of has an entry for either colour of the stronger side.
//
// State: tablebase_men, the tables (files stay open until the next registration), table_of.
#include "tablebases/registry.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <system_error>
#include <tuple>
#include <vector>

#include "board/console.h"
#include "board/file_names.h"
#include "board/settings.h"
#include "tablebases/block_cache.h"
#include "tablebases/drives.h"

namespace fs = std::filesystem;

constinit int tablebase_men = 0;

namespace {

constinit std::vector<std::unique_ptr<RegisteredTable>> tables;  // their places are their numbers
// [code of White's men][of Black's][side to move]: 0 = no table, else twice its number + 2, and 1
// more when the position must be turned around.
uint16_t table_of[SideCodes][SideCodes][2];

// ---- Folders ----

constexpr const char* Separators = ",;";
constexpr const char* Slashes = "\\/";

// Blanks and quotation marks around a folder, and slashes behind it unless they are all of it or
// stand behind the colon of a drive.
std::string Trim(const std::string& part) {
    const size_t first = part.find_first_not_of(" \t\"");
    if (first == std::string::npos) return "";
    std::string folder = part.substr(first, part.find_last_not_of(" \t\"") + 1 - first);
    while (folder.size() > 1 && std::strchr(Slashes, folder.back()) != nullptr && folder[folder.size() - 2] != ':')
        folder.pop_back();
    return folder;
}

bool IsThere(const std::string& folder) {
    std::error_code error;
    return fs::exists(PathOf(folder), error);
}

// The folders of the path that exist, each once.
std::vector<std::string> FoldersOf(const std::string& path) {
    std::vector<std::string> folders;
    const auto add = [&folders](const std::string& folder) {
        std::error_code error;
        const auto same = [&](const std::string& other) {
            return fs::equivalent(PathOf(folder), PathOf(other), error);
        };
        if (std::none_of(folders.begin(), folders.end(), same)) folders.push_back(folder);
    };
    for (size_t at = 0, end; at <= path.size(); at = end + 1) {
        end = std::min(path.find_first_of(Separators, at), path.size());
        const std::string part = Trim(path.substr(at, end - at));
        if (part.empty()) continue;
        const std::string folder = ResolveFileName(part);
        if (IsThere(folder)) add(folder);
        else
            for (const std::string& on_drive : FindOnDrives(part)) add(on_drive);
    }
    return folders;
}

// ---- Files ----

struct Candidate {
    int men;
    std::string table;  // "kbnk.nbw"
    size_t folder;
    bool packed;
    std::string name;  // with the folder
    TableMaterial material;
    Colour side_to_move;

    // Copies of a table in the order in which they are preferred.
    auto Order() const { return std::tie(men, table, folder, packed, name); }
};

// True for "kbnk.nbw", "KBNK.NBB.emd" and the like.
bool MatchName(std::string name, Candidate* candidate) {
    for (char& c : name) c = char(std::tolower(static_cast<unsigned char>(c)));
    const size_t dot = name.find('.');
    if (dot == std::string::npos || !ParseTableMaterial(name.substr(0, dot), &candidate->material)) return false;
    const std::string side = name.substr(dot, 4), rest = name.substr(std::min(dot + 4, name.size()));
    if ((side != ".nbw" && side != ".nbb") || (rest != "" && rest != ".emd")) return false;
    candidate->men = MenCount(candidate->material);
    candidate->table = name.substr(0, dot + 4);
    candidate->side_to_move = side == ".nbw" ? WHITE : BLACK;
    candidate->packed = rest != "";
    return true;
}

// A name of the folder as text of one byte a character; "" when it has others than ours do.
std::string PlainName(const fs::path& entry) {
    const fs::path last = entry.filename();
    std::string name;
    for (const auto c : last.native()) {
        if (c <= ' ' || c > '~') return "";
        name += char(c);
    }
    return name;
}

void ListFolder(const std::string& folder, size_t number, std::vector<Candidate>* candidates) {
    std::error_code error;
    fs::directory_iterator entry(PathOf(folder), error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        Candidate candidate;
        const std::string name = PlainName(entry->path());
        if (!MatchName(name, &candidate)) continue;
        candidate.folder = number;
        candidate.name = folder;
        if (std::strchr(Slashes, folder.back()) == nullptr) candidate.name += char(fs::path::preferred_separator);
        candidate.name += name;
        candidates->push_back(candidate);
    }
    if (error) Print("The folder %s cannot be read: %s\n", folder.c_str(), error.message().c_str());
}

// ---- Tables ----

// False for a length of mate that has no place on the mate scale.
bool FillScores(const std::vector<TableValue>& values, int16_t score[256]) {
    std::fill_n(score, 256, int16_t(0));
    if (values.size() > 256) return false;
    for (size_t i = 0; i < values.size(); ++i) {
        const int value = values[i], moves = value < 0 ? -value - 1 : value;
        if (MATE - 2 * moves <= MateBound) return false;
        score[i] = int16_t(value > 0 ? MATE - 2 * moves : value < 0 ? -MATE + 2 * moves : 0);
    }
    return true;
}

bool OpenTable(const Candidate& candidate, RegisteredTable* table, std::string* reason) {
    table->name = candidate.name;
    table->material = candidate.material;
    table->side_to_move = candidate.side_to_move;
    table->in_use = true;
    if (!BuildTableIndex(table->material, table->side_to_move, &table->index)) {
        *reason = "not enough memory";
        return false;
    }
    if (!OpenTableFile(table->name, TableMaterialName(table->material), table->side_to_move, table->index.slots,
                       &table->file, reason))
        return false;
    if (FillScores(table->file.values, table->score)) return true;
    CloseTableFile(&table->file);
    *reason = "values that are no length of a mate";
    return false;
}

void PrintRefusal(const std::string& name, const std::string& reason) {
    Print("*** Unable to register %s\nReason: %s\n", name.c_str(), reason.c_str());
}

void FillTableOf() {
    std::memset(table_of, 0, sizeof table_of);
    for (size_t number = 0; number < tables.size(); ++number) {
        const RegisteredTable& table = *tables[number];
        if (!table.in_use) continue;
        const int white = SideCode(table.material.count[WHITE]), black = SideCode(table.material.count[BLACK]);
        const uint16_t entry = uint16_t(2 * number + 2);
        const Colour side = table.side_to_move;
        table_of[white][black][side] = entry;
        // With the same men on both sides a table of its own comes before one turned around.
        uint16_t& turned = table_of[black][white][ChangeSide(side)];
        if (white != black || turned == 0) turned = entry + 1;
    }
}

void CloseTables() {
    for (const auto& table : tables) CloseTableFile(&table->file);
    tables.clear();
    FillTableOf();
    DropBlocks();
}

}  // namespace

int RegisterTablebases(const char* path) {
    CloseTables();
    tablebase_men = 0;
    const std::vector<std::string> folders = FoldersOf(path);
    std::vector<Candidate> candidates;
    for (size_t i = 0; i < folders.size(); ++i) ListFolder(folders[i], i, &candidates);
    std::sort(candidates.begin(), candidates.end(),
              [](const Candidate& a, const Candidate& b) { return a.Order() < b.Order(); });

    int tried = 0;
    std::string last;  // the table registered last
    for (const Candidate& candidate : candidates) {
        if (candidate.table == last) {
            Print("%s found\n", candidate.name.c_str());
            continue;
        }
        ++tried;
        auto table = std::make_unique<RegisteredTable>();
        std::string reason;
        if (!OpenTable(candidate, table.get(), &reason)) {
            PrintRefusal(candidate.name, reason);
            continue;
        }
        Print("%s registered\n", candidate.name.c_str());
        tablebase_men = candidate.men;  // they come in order
        last = candidate.table;
        tables.push_back(std::move(table));
    }
    if (tried > 0) Print("Tried to open %d files. Opened %d files.\n", tried, int(tables.size()));
    Flush();
    FillTableOf();
    return tablebase_men;
}

size_t TablebaseIndexMemory() {
    if (tables.empty()) return 0;
    size_t bytes = TableIndexMemory() + sizeof table_of;
    for (const auto& table : tables) bytes += sizeof *table + TableFileMemory(table->file);
    return bytes;
}

bool AllocateTablebaseCache(uint32_t bytes) {
    uint64_t wanted = 0;
    for (const auto& table : tables) wanted += TableBlocks(table->index.slots);
    return AllocateBlocks(size_t(std::min<uint64_t>(wanted, bytes / TableBlock)));
}

void FreeTablebaseCache() { FreeBlocks(); }

TableFound FindTable(int white_code, int black_code, Colour side_to_move) {
    const uint32_t entry = table_of[white_code][black_code][side_to_move];
    if (entry == 0) return {nullptr, 0, false};
    const uint32_t number = (entry - 2) / 2;
    return {tables[number].get(), number, (entry & 1) != 0};
}

void SwitchOffTable(uint32_t number, uint64_t block) {
    RegisteredTable& table = *tables[number];
    const std::string reason =
        "block " + std::to_string(block) + " cannot be read or is damaged; the table is not used";
    if (UciMode) Print("info string %s: %s\n", table.name.c_str(), reason.c_str());
    else PrintRefusal(table.name, reason);
    Flush();
    CloseTableFile(&table.file);
    table.in_use = false;
    FillTableOf();
    tablebase_men = 0;
    for (const auto& other : tables)
        if (other->in_use) tablebase_men = std::max(tablebase_men, MenCount(other->material));
}
