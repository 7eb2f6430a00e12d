// table_material.cpp - see table_material.h.
#include "tablebases/table_material.h"

#include <algorithm>
#include <cstring>

bool ParseTableMaterial(const std::string& name, TableMaterial* material) {
    *material = {};
    if (name.size() < 3 || name.size() > size_t(MaxTableMen) || name[0] != 'k') return false;
    int side = 0, last = -1;
    for (size_t i = 1; i < name.size(); ++i) {
        if (name[i] == 'k') {
            if (++side > 1) return false;
            last = -1;
            continue;
        }
        const char* letter = std::strchr(TableLetters, name[i]);
        const int t = letter != nullptr ? int(letter - TableLetters) : TableTypes;
        if (t >= TableTypes || t < last) return false;
        ++material->count[side][t];
        last = t;
    }
    TableMaterial oriented = *material;
    return side == 1 && MenCount(*material) > 2 && !OrientMaterial(&oriented);
}

std::string TableMaterialName(const TableMaterial& material) {
    std::string name;
    for (const auto& count : material.count) {
        name += 'k';
        for (int t = 0; t < TableTypes; ++t) name.append(count[t], TableLetters[t]);
    }
    return name;
}

int SideCode(const uint8_t count[TableTypes]) {
    // The running sums, each made larger by its place, are five different numbers below nine:
    // their number in the combinatorial number system.
    constexpr uint8_t binomial[9][TableTypes] = {{0, 0, 0, 0, 0},    {1, 0, 0, 0, 0},     {2, 1, 0, 0, 0},
                                                 {3, 3, 1, 0, 0},    {4, 6, 4, 1, 0},     {5, 10, 10, 5, 1},
                                                 {6, 15, 20, 15, 6}, {7, 21, 35, 35, 21}, {8, 28, 56, 70, 56}};
    int code = 0, sum = 0;
    for (int t = 0; t < TableTypes; ++t) {
        sum += count[t];
        code += binomial[sum + t][t];
    }
    return code;
}

bool OrientMaterial(TableMaterial* material) {
    int men[2] = {0, 0};
    for (int side = 0; side < 2; ++side)
        for (const uint8_t count : material->count[side]) men[side] += count;
    auto& white = material->count[WHITE];
    auto& black = material->count[BLACK];
    // With equal numbers more of an earlier letter decides.
    const bool swap = men[WHITE] != men[BLACK]
        ? men[WHITE] < men[BLACK]
        : std::lexicographical_compare(std::begin(white), std::end(white), std::begin(black), std::end(black));
    if (swap) std::swap_ranges(std::begin(white), std::end(white), std::begin(black));
    return swap;
}
