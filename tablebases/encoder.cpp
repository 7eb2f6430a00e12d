// encoder.cpp - see encoder.h.
//
// The dictionary grows in rounds. Each counts neighbours in all blocks of the sample and makes
// symbols of those pairs that save most bits. Then the blocks are cut anew, now into the
// cheapest symbols that spell them, which also chooses the bytes of slots that do not matter;
// symbols that no longer pay for themselves are dropped, and others grow in their place.
#include "tablebases/encoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "tablebases/codec.h"
#include "tablebases/parallel.h"

namespace {

constexpr uint64_t SampleBytes = uint64_t(8) << 20;
// Bits that a symbol is reckoned to take beyond its information: codes have whole bits, and fewer
// symbols are unpacked sooner. Tried from 0 to 2 on all tables of 4 men.
constexpr double SymbolOverhead = 0.6;
constexpr int Refinements = 2;
constexpr int VisitLimit = 20;  // symbols that are tried at one place
constexpr int RoundShare = 8;   // a round adds up to one symbol for so many that there are
// Costs of symbols in fractions of a bit.
constexpr int CostUnit = 256;

using Symbols = std::vector<uint16_t>;

// What the symbols stand for.
struct Spelling {
    int literals;
    Symbols left, right;  // [symbol - literals]
    std::vector<uint32_t> at;
    std::vector<uint16_t> length;
    std::vector<uint8_t> text;

    int Count() const { return int(at.size()); }
    void Clear(int count) {
        *this = Spelling();
        literals = count;
        for (int i = 0; i < literals; ++i) {
            at.push_back(uint32_t(i));
            length.push_back(1);
            text.push_back(uint8_t(i));
        }
    }
    void Add(uint16_t l, uint16_t r) {
        left.push_back(l);
        right.push_back(r);
        at.push_back(uint32_t(text.size()));
        length.push_back(uint16_t(length[l] + length[r]));
        for (const uint16_t part : {l, r})
            for (int i = 0; i < length[part]; ++i) text.push_back(text[at[part] + size_t(i)]);
    }
    void RemoveLast() {
        text.resize(at.back());
        left.pop_back();
        right.pop_back();
        at.pop_back();
        length.pop_back();
    }
    const uint8_t* Text(int symbol) const { return text.data() + at[size_t(symbol)]; }
};

// Blocks as sequences of symbols. A block's symbols begin where its bytes do.
struct Sequences {
    std::vector<uint8_t> bytes;  // with AnyByte
    Symbols symbols;
    std::vector<int> length;  // [block], in symbols
    int block;

    int Bytes(int b) const { return int(std::min(size_t(block), bytes.size() - size_t(b) * size_t(block))); }
};

std::vector<uint64_t> CountSymbols(const Sequences& s, int symbols) {
    std::vector<uint64_t> counts(size_t(symbols), 0);
    for (size_t b = 0; b < s.length.size(); ++b)
        for (int i = 0; i < s.length[b]; ++i) ++counts[s.symbols[b * size_t(s.block) + size_t(i)]];
    return counts;
}

// ---- Growing -------------------------------------------------------------------------------

struct PairCount {
    uint32_t key;  // left and right; NoPair: empty
    uint32_t count;
};
constexpr uint32_t NoPair = ~uint32_t(0);
constexpr uint32_t Chosen = uint32_t(1) << 31;  // count is the new symbol from now on

struct PairTable {
    std::vector<PairCount> entries;
    size_t mask;
    explicit PairTable(size_t pairs) {
        size_t size = 1024;
        while (size < 2 * pairs) size *= 2;
        entries.assign(size, {NoPair, 0});
        mask = size - 1;
    }
    PairCount& Find(uint32_t key) {
        size_t i = (key * uint64_t(0x9E3779B97F4A7C15)) >> 32 & mask;
        while (entries[i].key != key && entries[i].key != NoPair) i = (i + 1) & mask;
        return entries[i];
    }
};

double Bits(double n) { return n > 0 ? n * std::log2(n) : 0; }

// Bits that all symbols of the sample together take, but for their own Bits(). A symbol takes one
// bit even when it is more frequent than all others together.
double Total(double all, double most) { return most * 2 > all ? all + Bits(most) + Bits(all - most) : Bits(all); }

// Bits that the sample gets shorter by when a pair becomes a symbol. `most` is the count of the
// most frequent symbol.
double Gain(double all, double most, double left, double right, double pairs, bool same) {
    const double left_after = same ? left - 2 * pairs : left - pairs;
    double most_after = std::max(pairs, left_after), before = Bits(left), after = Bits(left_after) + Bits(pairs);
    if (!same) {
        before += Bits(right);
        after += Bits(right - pairs);
        most_after = std::max(most_after, right - pairs);
    }
    if (most != left && most != right) most_after = std::max(most_after, most);
    return Total(all, most) - before - Total(all - pairs, most_after) + after + pairs * SymbolOverhead;
}

// Adds one round's pairs; false when none is worth it.
bool GrowOnce(Sequences& s, Spelling& spelling, double scale) {
    const int symbols = spelling.Count();
    const std::vector<uint64_t> counts = CountSymbols(s, symbols);
    uint64_t all = 0;
    for (const uint64_t n : counts) all += n;
    const double most_frequent = double(*std::max_element(counts.begin(), counts.end()));
    PairTable pairs(size_t(std::min(all, uint64_t(symbols) * uint64_t(symbols))));
    for (size_t b = 0; b < s.length.size(); ++b) {
        const uint16_t* const q = s.symbols.data() + b * size_t(s.block);
        bool odd = false;  // of three equal symbols the middle one makes one pair only
        for (int i = 1; i < s.length[b]; ++i) {
            odd = q[i] == q[i - 1] && i > 1 && q[i] == q[i - 2] && !odd;
            if (odd) continue;
            PairCount& p = pairs.Find(uint32_t(q[i - 1]) << 16 | q[i]);
            p.key = uint32_t(q[i - 1]) << 16 | q[i];
            ++p.count;
        }
    }

    struct Candidate {
        double gain;
        uint32_t key;
    };
    std::vector<Candidate> candidates;
    for (const PairCount& p : pairs.entries) {
        if (p.key == NoPair || p.count < 2) continue;
        const uint32_t l = p.key >> 16, r = p.key & 0xFFFF;
        if (spelling.length[l] + spelling.length[r] > MaxExpansion) continue;
        const double gain =
            Gain(double(all), most_frequent, double(counts[l]), double(counts[r]), p.count, l == r) * scale
            - (2 * PartBits(symbols) + CodeLengthBits);
        if (gain > 0) candidates.push_back({gain, p.key});
    }
    const auto better = [](const Candidate& a, const Candidate& b) {
        return a.gain != b.gain ? a.gain > b.gain : a.key < b.key;
    };
    // Pairs of a round overlap in the blocks; few at a time keep the gains true.
    const size_t most = std::min({candidates.size(), size_t(MaxSymbols - symbols), size_t(symbols / RoundShare + 1)});
    std::partial_sort(candidates.begin(), candidates.begin() + long(most), candidates.end(), better);
    std::vector<bool> starts(size_t(symbols), false), ends(size_t(symbols), false);
    for (PairCount& p : pairs.entries) p.count = 0;
    bool grown = false;
    for (size_t c = 0; c < most; ++c) {
        const uint16_t l = uint16_t(candidates[c].key >> 16), r = uint16_t(candidates[c].key & 0xFFFF);
        if (candidates[c].gain * 2 < candidates[0].gain) break;
        if (ends[l] || starts[r]) continue;
        spelling.Add(l, r);
        std::vector<Dictionary::Place> places;
        if (PlaceSymbols(spelling.literals, spelling.left, spelling.right, &places) < 0) {
            spelling.RemoveLast();
            continue;
        }
        starts[l] = ends[r] = true;
        pairs.Find(candidates[c].key).count = Chosen | uint32_t(spelling.Count() - 1);
        grown = true;
    }
    if (!grown) return false;

    for (size_t b = 0; b < s.length.size(); ++b) {
        uint16_t* const q = s.symbols.data() + b * size_t(s.block);
        int to = 0;
        for (int i = 0; i < s.length[b]; ++i) {
            if (i + 1 < s.length[b] && starts[q[i]] && ends[q[i + 1]]) {
                const uint32_t found = pairs.Find(uint32_t(q[i]) << 16 | q[i + 1]).count;
                if (found != 0) {
                    q[to++] = uint16_t(found & ~Chosen);
                    ++i;
                    continue;
                }
            }
            q[to++] = q[i];
        }
        s.length[b] = to;
    }
    return true;
}

// ---- Cutting a block into symbols ----------------------------------------------------------

// The symbols as a tree: a symbol's parent is the longest other one that it begins with.
struct CuttingNode {
    uint64_t next_bytes;  // up to 8 of those that it has beyond its parent
    uint64_t next_mask;
    uint32_t cost, row;             // row: place in first_child; NoRow without children
    uint16_t symbol, length, rest;  // rest: bytes beyond the parent
};
constexpr uint32_t NoRow = ~uint32_t(0);
constexpr uint32_t NoCost = 1 << 24;  // of a symbol without a code

struct CuttingTree {
    const Spelling* spelling;
    // The literals, then all children of a node together, in the order of their next bytes.
    std::vector<CuttingNode> nodes;
    std::vector<uint16_t> first_child;  // [row + byte]: the first node with this next byte or a greater one
    Symbols cheap;                      // literals to try where the byte does not matter, the last one first
};

uint64_t Load8(const uint8_t* bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

CuttingTree PlantTree(const Spelling& spelling, const std::vector<uint32_t>& cost) {
    CuttingTree tree;
    tree.spelling = &spelling;
    const int symbols = spelling.Count();
    // In alphabetical order what a symbol begins with comes before it.
    Symbols sorted;
    for (int s = spelling.literals; s < symbols; ++s)
        if (cost[size_t(s)] < NoCost) sorted.push_back(uint16_t(s));
    std::sort(sorted.begin(), sorted.end(), [&](uint16_t a, uint16_t b) {
        const int common = std::min(spelling.length[a], spelling.length[b]);
        const int c = std::memcmp(spelling.Text(a), spelling.Text(b), size_t(common));
        if (c != 0) return c < 0;
        if (spelling.length[a] != spelling.length[b]) return spelling.length[a] < spelling.length[b];
        return cost[a] != cost[b] ? cost[a] < cost[b] : a < b;
    });
    std::vector<Symbols> children{size_t(symbols)};
    Symbols path;
    for (const uint16_t s : sorted) {
        const auto begins = [&](uint16_t p) {
            return spelling.length[p] <= spelling.length[s]
                && std::memcmp(spelling.Text(p), spelling.Text(s), spelling.length[p]) == 0;
        };
        while (!path.empty() && !begins(path.back())) path.pop_back();
        if (path.empty()) path.push_back(*spelling.Text(s));
        if (spelling.length[path.back()] == spelling.length[s]) continue;  // spelt alike: the cheaper one will do
        children[path.back()].push_back(s);
        path.push_back(s);
    }

    const auto add = [&](int symbol, int parent_length) {
        CuttingNode node;
        node.cost = cost[size_t(symbol)];
        node.row = NoRow;
        node.symbol = uint16_t(symbol);
        node.length = spelling.length[size_t(symbol)];
        node.rest = uint16_t(node.length - parent_length);
        uint8_t bytes[8] = {}, mask[8] = {};
        for (int i = 0; i < std::min(int(node.rest), 8); ++i) {
            bytes[i] = spelling.Text(symbol)[parent_length + i];
            mask[i] = 0xFF;
        }
        node.next_bytes = Load8(bytes);
        node.next_mask = Load8(mask);
        tree.nodes.push_back(node);
    };
    for (int s = 0; s < spelling.literals; ++s) add(s, 0);
    for (size_t n = 0; n < tree.nodes.size(); ++n) {
        const uint16_t symbol = tree.nodes[n].symbol;
        const int length = tree.nodes[n].length;
        const Symbols& c = children[symbol];
        if (c.empty()) continue;
        tree.nodes[n].row = uint32_t(tree.first_child.size());
        size_t i = 0;
        for (int byte = 0; byte <= spelling.literals; ++byte) {
            while (i < c.size() && spelling.Text(c[i])[length] < byte) ++i;
            tree.first_child.push_back(uint16_t(tree.nodes.size() + i));
        }
        for (const uint16_t child : c) add(child, length);
    }
    for (int s = 0; s < spelling.literals; ++s) tree.cheap.push_back(uint16_t(s));
    std::stable_sort(tree.cheap.begin(), tree.cheap.end(), [&](uint16_t a, uint16_t b) { return cost[a] < cost[b]; });
    tree.cheap.resize(size_t(std::min(spelling.literals, VisitLimit)));
    std::reverse(tree.cheap.begin(), tree.cheap.end());
    return tree;
}

// Fills `symbols` with the cheapest symbols that spell the bytes; returns their number.
int CutBlock(const CuttingTree& tree, const uint8_t* block, int count, uint16_t* symbols) {
    constexpr int Slack = 8;
    std::vector<uint8_t> bytes(block, block + count), care(size_t(count + Slack), 0xFF);
    bytes.resize(size_t(count + Slack));
    for (int i = 0; i < count; ++i)
        if (block[i] == AnyByte) care[size_t(i)] = 0;
    struct Choice {
        uint32_t cost;
        uint16_t symbol, length;
    };
    std::vector<Choice> best(size_t(count) + 1);
    best[size_t(count)] = {0, 0, 0};
    Symbols stack;
    for (int i = count - 1; i >= 0; --i) {
        Choice chosen = {std::numeric_limits<uint32_t>::max(), 0, 0};
        if (care[size_t(i)] == 0) {
            stack = tree.cheap;
        } else {
            stack.push_back(bytes[size_t(i)]);
        }
        for (int visits = 0; !stack.empty(); ++visits) {
            const CuttingNode& node = tree.nodes[stack.back()];
            stack.pop_back();
            const int end = i + node.length;
            if (const uint32_t cost = node.cost + best[size_t(end)].cost; cost < chosen.cost)
                chosen = {cost, node.symbol, node.length};
            if (node.row == NoRow || end == count || visits > VisitLimit) continue;
            const uint16_t* const first = tree.first_child.data() + node.row;
            const bool any = care[size_t(end)] == 0;
            const int last = first[any ? tree.spelling->literals : bytes[size_t(end)] + 1];
            const uint64_t data = Load8(&bytes[size_t(end)]), matters = Load8(&care[size_t(end)]);
            for (int c = first[any ? 0 : bytes[size_t(end)]]; c < last; ++c) {
                const CuttingNode& child = tree.nodes[size_t(c)];
                if (((child.next_bytes ^ data) & child.next_mask & matters) != 0 || i + child.length > count) continue;
                const uint8_t* const text = tree.spelling->Text(child.symbol);
                int k = node.length + 8;
                while (k < child.length && (care[size_t(i + k)] == 0 || bytes[size_t(i + k)] == text[k])) ++k;
                if (k >= child.length) stack.push_back(uint16_t(c));
            }
        }
        best[size_t(i)] = chosen;
    }
    int length = 0;
    for (int i = 0; i < count; i += best[size_t(i)].length) symbols[length++] = best[size_t(i)].symbol;
    return length;
}

std::vector<uint32_t> Costs(const std::vector<uint64_t>& counts) {
    uint64_t all = 1;
    for (const uint64_t n : counts) all += n;
    std::vector<uint32_t> costs;
    for (const uint64_t n : counts)
        costs.push_back(
            uint32_t(CostUnit * (SymbolOverhead + std::max(1.0, std::log2(double(all) / (n == 0 ? 0.5 : double(n)))))));
    return costs;
}

void CutAll(Sequences& s, const Spelling& spelling, const std::vector<uint32_t>& costs, int threads) {
    const CuttingTree tree = PlantTree(spelling, costs);
    ForEachItem(threads, s.length.size(), [&](uint64_t item) {
        const int b = int(item);
        const size_t at = size_t(b) * size_t(s.block);
        s.length[size_t(b)] = CutBlock(tree, s.bytes.data() + at, s.Bytes(b), s.symbols.data() + at);
    });
}

// Drops symbols that save less than they take in the dictionary. In the sequences their parts take
// their places.
void Prune(Spelling& spelling, Sequences& sequences, double scale) {
    std::vector<uint64_t> counts = CountSymbols(sequences, spelling.Count());
    const std::vector<uint32_t> costs = Costs(counts);
    const int symbols = spelling.Count();
    std::vector<int> users(size_t(symbols), 0);
    for (const Symbols* part : {&spelling.left, &spelling.right})
        for (const uint16_t p : *part) ++users[p];
    std::vector<bool> dropped(size_t(symbols), false);
    for (int s = symbols - 1; s >= spelling.literals; --s) {
        const uint16_t l = spelling.left[size_t(s - spelling.literals)];
        const uint16_t r = spelling.right[size_t(s - spelling.literals)];
        const double saved = (double(costs[l]) + costs[r] - costs[size_t(s)]) / CostUnit * double(counts[size_t(s)]);
        if (users[size_t(s)] == 0 && saved * scale < 2 * PartBits(s) + CodeLengthBits) {
            dropped[size_t(s)] = true;
            counts[l] += counts[size_t(s)];
            counts[r] += counts[size_t(s)];
            --users[l];
            --users[r];
        }
    }
    Spelling kept;
    kept.Clear(spelling.literals);
    std::vector<Symbols> instead{size_t(symbols)};
    for (int s = 0; s < symbols; ++s) {
        Symbols& i = instead[size_t(s)];
        if (s < spelling.literals) {
            i = {uint16_t(s)};
            continue;
        }
        const uint16_t l = spelling.left[size_t(s - spelling.literals)];
        const uint16_t r = spelling.right[size_t(s - spelling.literals)];
        if (dropped[size_t(s)]) {
            i = instead[l];
            i.insert(i.end(), instead[r].begin(), instead[r].end());
        } else {
            i = {uint16_t(kept.Count())};
            kept.Add(instead[l][0], instead[r][0]);
        }
    }
    spelling = kept;
    Symbols before;
    for (size_t b = 0; b < sequences.length.size(); ++b) {
        uint16_t* to = sequences.symbols.data() + b * size_t(sequences.block);
        before.assign(to, to + sequences.length[b]);
        sequences.length[b] = 0;
        for (const uint16_t s : before) {
            to = std::copy(instead[s].begin(), instead[s].end(), to);
            sequences.length[b] += int(instead[s].size());
        }
    }
}

// Lengths of the prefix code for these counts; 0 for a count of 0.
std::vector<uint8_t> CodeLengths(std::vector<uint64_t> counts) {
    const size_t symbols = counts.size();
    for (;;) {
        struct Node {
            uint64_t count;
            int parent;
        };
        std::vector<Node> nodes;
        std::vector<int> leaves;
        for (size_t s = 0; s < symbols; ++s)
            if (counts[s] != 0) leaves.push_back(int(s));
        std::stable_sort(leaves.begin(), leaves.end(),
                         [&](int a, int b) { return counts[size_t(a)] < counts[size_t(b)]; });
        for (const int s : leaves) nodes.push_back({counts[size_t(s)], -1});
        // Leaves and inner nodes both come in rising order: two queues.
        size_t leaf = 0, inner = leaves.size();
        const auto take = [&] {
            if (leaf < leaves.size() && (inner == nodes.size() || nodes[leaf].count <= nodes[inner].count))
                return leaf++;
            return inner++;
        };
        for (size_t i = 1; i < leaves.size(); ++i) {
            const size_t a = take(), b = take();
            nodes[a].parent = nodes[b].parent = int(nodes.size());
            nodes.push_back({nodes[a].count + nodes[b].count, -1});
        }
        std::vector<int> depth(nodes.size(), 0);
        int longest = leaves.size() == 1 ? 1 : 0;
        for (size_t n = nodes.size(); n-- > 0;) {
            if (nodes[n].parent >= 0) depth[n] = depth[size_t(nodes[n].parent)] + 1;
            longest = std::max(longest, depth[n]);
        }
        if (longest <= MaxCodeLength) {
            std::vector<uint8_t> lengths(symbols, 0);
            for (size_t i = 0; i < leaves.size(); ++i) lengths[size_t(leaves[i])] = uint8_t(std::max(depth[i], 1));
            return lengths;
        }
        // Flatter counts make flatter trees; equal ones need 12 bits only.
        for (uint64_t& n : counts) n = n == 0 ? 0 : n / 2 + 1;
    }
}

Spelling SpellingOf(const Encoder& e) {
    Spelling spelling;
    spelling.Clear(e.literals);
    for (size_t i = 0; i < e.left.size(); ++i) spelling.Add(e.left[i], e.right[i]);
    return spelling;
}

}  // namespace

bool FillAnyBytes(uint8_t* bytes, int count) {
    uint8_t before = 0;
    for (int i = count - 1; i >= 0; --i)
        if (bytes[i] != AnyByte) before = bytes[i];
    bool same = true;
    for (int i = 0; i < count; ++i) {
        if (bytes[i] == AnyByte) bytes[i] = before;
        same = same && bytes[i] == bytes[0];
        before = bytes[i];
    }
    return same;
}

static bool OneByteAlone(const uint8_t* bytes, int count) {
    uint8_t only = AnyByte;
    for (int i = 0; i < count; ++i) {
        if (bytes[i] == AnyByte || bytes[i] == only) continue;
        if (only != AnyByte) return false;
        only = bytes[i];
    }
    return true;
}

Encoder TrainEncoder(const uint8_t* bytes, uint64_t count, int block, int literals, int threads) {
    std::vector<uint64_t> places;  // of blocks to pack
    for (uint64_t at = 0; at < count; at += uint64_t(block))
        if (!OneByteAlone(bytes + at, int(std::min(uint64_t(block), count - at)))) places.push_back(at);
    Encoder encoder;
    encoder.literals = literals;
    if (places.empty()) return encoder;

    const size_t taken = std::min(places.size(), size_t(SampleBytes) / size_t(block));
    const double scale = double(places.size()) / double(taken);
    Sequences s;
    s.block = block;
    for (size_t i = 0; i < taken; ++i) {
        // Spread evenly, and the last one, which may be shorter, at the end.
        const uint64_t at = places[places.size() - 1 - (taken - 1 - i) * places.size() / taken];
        const uint64_t end = std::min(at + uint64_t(block), count);
        s.bytes.insert(s.bytes.end(), bytes + at, bytes + end);
        s.length.push_back(int(end - at));
    }
    s.symbols.resize(s.bytes.size());
    for (size_t b = 0; b < taken; ++b) {
        std::vector<uint8_t> filled(s.bytes.begin() + long(b * size_t(block)),
                                    s.bytes.begin() + long(b * size_t(block)) + s.length[b]);
        FillAnyBytes(filled.data(), s.length[b]);
        std::copy(filled.begin(), filled.end(), s.symbols.begin() + long(b * size_t(block)));
    }

    Spelling spelling;
    spelling.Clear(literals);
    const auto cut = [&] { CutAll(s, spelling, Costs(CountSymbols(s, spelling.Count())), threads); };
    for (int pass = 0; pass <= Refinements; ++pass) {
        if (pass > 0) Prune(spelling, s, scale);
        while (spelling.Count() < MaxSymbols && GrowOnce(s, spelling, scale)) {}
        cut();
    }
    Prune(spelling, s, scale);
    cut();
    std::vector<uint64_t> counts = CountSymbols(s, spelling.Count());
    // A block outside the sample may need any byte.
    for (int i = 0; i < literals; ++i) counts[size_t(i)] = std::max(counts[size_t(i)], uint64_t(1));
    encoder.left = spelling.left;
    encoder.right = spelling.right;
    encoder.lengths = CodeLengths(counts);
    return encoder;
}

uint64_t EncoderMemory(uint64_t count) {
    // The sample as bytes and as symbols, and the table of its pairs.
    constexpr uint64_t BytesEach = 24, Fixed = uint64_t(8) << 20;
    return std::min(count, SampleBytes) * BytesEach + Fixed;
}

namespace {

struct BitWriter {
    std::vector<uint8_t> bytes;
    int free = 0;  // bits of the last byte
    void Put(uint32_t value, int bits) {
        for (int i = bits - 1; i >= 0; --i) {
            if (free == 0) {
                bytes.push_back(0);
                free = 8;
            }
            --free;
            bytes.back() = uint8_t(bytes.back() | (value >> i & 1) << free);
        }
    }
};

}  // namespace

std::vector<uint8_t> DictionaryBytes(const Encoder& e) {
    BitWriter out;
    for (int s = 0; s < int(e.lengths.size()); ++s) {
        if (s >= e.literals) {
            out.Put(e.left[size_t(s - e.literals)], PartBits(s));
            out.Put(e.right[size_t(s - e.literals)], PartBits(s));
        }
        out.Put(e.lengths[size_t(s)], CodeLengthBits);
    }
    return out.bytes;
}

std::vector<std::vector<uint8_t>> PackBlocks(const Encoder& e, uint8_t* bytes, uint64_t count, int block, int threads) {
    const Spelling spelling = SpellingOf(e);
    std::vector<uint32_t> costs, codes(e.lengths.size());
    for (const uint8_t length : e.lengths) costs.push_back(length == 0 ? NoCost : uint32_t(length));
    const CuttingTree tree = costs.empty() ? CuttingTree() : PlantTree(spelling, costs);
    uint32_t code = 0;
    for (int length = 1; length <= MaxCodeLength; ++length) {
        for (size_t s = 0; s < e.lengths.size(); ++s)
            if (e.lengths[s] == length) codes[s] = code++;
        code *= 2;
    }
    std::vector<std::vector<uint8_t>> packed((count + uint64_t(block) - 1) / uint64_t(block));
    ForEachItem(threads, packed.size(), [&](uint64_t b) {
        uint8_t* const from = bytes + uint64_t(b) * uint64_t(block);
        const int size = int(std::min(uint64_t(block), count - uint64_t(b) * uint64_t(block)));
        if (OneByteAlone(from, size)) {
            FillAnyBytes(from, size);
            return;
        }
        Symbols symbols;
        symbols.resize(size_t(size));
        const int length = CutBlock(tree, from, size, symbols.data());
        BitWriter out;
        uint8_t* to = from;
        for (int i = 0; i < length; ++i) {
            const uint16_t s = symbols[size_t(i)];
            out.Put(codes[s], e.lengths[s]);
            std::memcpy(to, spelling.Text(s), spelling.length[s]);
            to += spelling.length[s];
        }
        packed[size_t(b)] = out.bytes;
    });
    return packed;
}
