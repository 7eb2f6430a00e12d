// loaded_tables.cpp - see loaded_tables.h.
#include "tablebases/loaded_tables.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>

#include "board/file_names.h"

std::string PlainTablePath(const std::string& folder, const std::string& material, Colour side_to_move) {
    return folder + "/" + material + (side_to_move == WHITE ? ".nbw" : ".nbb");
}

std::string ExistingTablePath(const std::string& folder, const std::string& material, Colour side_to_move) {
    const std::string plain = PlainTablePath(folder, material, side_to_move);
    std::error_code error;
    return std::filesystem::exists(PathOf(plain), error) ? plain : plain + ".emd";
}

bool LoadTable(const std::string& folder, const std::string& material, LoadedTable* table, std::string* reason) {
    TableMaterial men;
    if (!ParseTableMaterial(material, &men)) {
        *reason = material + " is no material";
        return false;
    }
    for (const Colour side : {WHITE, BLACK}) {
        TableIndex& index = table->index[side];
        if (!BuildTableIndex(men, side, &index)) {
            *reason = "memory is short";
            return false;
        }
        const std::string path = ExistingTablePath(folder, material, side);
        TableFile file;
        if (!OpenTableFile(path, material, side, index.slots, &file, reason)) {
            *reason = path + ": " + *reason;
            return false;
        }
        // Whole blocks are read, the last one too.
        const uint64_t blocks = TableBlocks(index.slots);
        table->values[side] = file.values;
        table->bytes[side] = TryAllocate<uint8_t>(blocks * TableBlock);
        bool read = table->bytes[side] != nullptr;
        if (!read) *reason = "memory is short";
        for (uint64_t block = 0; read && block < blocks; ++block) {
            read = ReadTableBlock(file, block, table->bytes[side].get() + block * TableBlock);
            if (!read) *reason = path + ": block " + std::to_string(block) + " is damaged";
        }
        CloseTableFile(&file);
        if (!read) return false;
    }
    return true;
}

std::vector<TableMaterial> DirectConversions(const TableMaterial& material) {
    std::vector<TableMaterial> found;
    const auto add = [&](TableMaterial m) {
        OrientMaterial(&m);
        const bool known = std::any_of(found.begin(), found.end(), [&](const TableMaterial& other) {
            return std::memcmp(&other, &m, sizeof m) == 0;
        });
        if (MenCount(m) > 2 && !known) found.push_back(m);
    };
    constexpr int Pawn = TableTypes - 1;
    for (int side = 0; side < 2; ++side) {
        // `side` loses a man, promotes, or promotes by taking one.
        for (int lost = -1; lost < TableTypes; ++lost) {
            TableMaterial without = material;
            if (lost >= 0) {
                if (material.count[side ^ 1][lost] == 0) continue;
                --without.count[side ^ 1][lost];
                add(without);
            }
            if (without.count[side][Pawn] == 0) continue;
            for (int t = 0; t < Pawn; ++t) {
                TableMaterial promoted = without;
                --promoted.count[side][Pawn];
                ++promoted.count[side][t];
                add(promoted);
            }
        }
    }
    return found;
}

bool Conversions::Load(const std::string& folder, const TableMaterial& material, std::string* reason) {
    if (from != folder) entries.clear();
    from = folder;
    std::vector<std::string> wanted;
    for (const TableMaterial& m : DirectConversions(material)) wanted.push_back(TableMaterialName(m));
    std::erase_if(entries, [&](const std::unique_ptr<Entry>& entry) {
        return std::find(wanted.begin(), wanted.end(), entry->name) == wanted.end();
    });
    std::memset(by_code, 0, sizeof by_code);
    for (const std::string& name : wanted) {
        auto entry = std::find_if(entries.begin(), entries.end(),
                                  [&](const std::unique_ptr<Entry>& e) { return e->name == name; });
        if (entry == entries.end()) {
            auto loaded = std::make_unique<Entry>();
            loaded->name = name;
            if (!LoadTable(folder, name, &loaded->table, reason)) return false;
            entry = entries.insert(entries.end(), std::move(loaded));
        }
        const TableMaterial& men = (*entry)->table.index[WHITE].material;
        by_code[SideCode(men.count[WHITE])][SideCode(men.count[BLACK])] = &(*entry)->table;
    }
    return true;
}

void Conversions::Forget(const std::string& material) {
    std::erase_if(entries, [&](const std::unique_ptr<Entry>& entry) { return entry->name == material; });
}

static int PlaceOfType(int type) {
    for (int t = 0; t < TableTypes; ++t)
        if (TableType[t] == type) return t;
    return 0;
}

TableValue Conversions::ValueOf(const TablePosition& position) const {
    if (position.men[WHITE] + position.men[BLACK] == 0) return 0;
    TableMaterial men = {};
    for (int side = 0; side < 2; ++side)
        for (int i = 0; i < position.men[side]; ++i) ++men.count[side][PlaceOfType(position.type[side][i])];
    const int white = SideCode(men.count[WHITE]), black = SideCode(men.count[BLACK]);
    if (const LoadedTable* table = by_code[white][black]) {
        const Colour side = position.side_to_move;
        return table->values[side][table->bytes[side][SlotOf(table->index[side], position)]];
    }
    const LoadedTable* table = by_code[black][white];
    const TablePosition turned = SwapColours(position);
    const Colour side = turned.side_to_move;
    return table->values[side][table->bytes[side][SlotOf(table->index[side], turned)]];
}
