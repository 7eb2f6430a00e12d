// generate.cpp - see generate.h.
//
// Every slot has a 16-bit state. At first each position is looked at once: mates and what
// conversions give are entered, and the moves that stay in the table are counted. Then, for
// n = 0, 1, 2, ...: whoever can move to a position lost in n moves wins in n + 1; whoever can
// move to a position won in n + 1 has one way less to escape, and with none left is lost. What
// is never reached is a draw.
//
// A move is an edge between two slots, counted once from either end. Without pawns and with both
// kings on the diagonal a1-h8, two moves can lead to the same slot; there, lists of neighbours
// are made free of doubles, and of two mirror slots only the lower one takes part.
#include "tablebases/generate.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <system_error>

#include "board/file_names.h"
#include "tablebases/loaded_tables.h"
#include "tablebases/parallel.h"
#include "tablebases/table_moves.h"
#include "tablebases/table_writer.h"

namespace {

// ---- states ----

// Counting states have the top bit set, then 7 bits of moves that are not yet known to lose and
// 8 bits for the longest loss by conversion (0: no conversion). Of the others, Won and Lost carry
// the number of moves.
using State = uint16_t;
constexpr State Unused = 0;  // no position, or another slot stands for it
constexpr State Open = 1;    // cannot be lost: a conversion draws, or stalemate
constexpr State Won = 0x2000, Lost = 0x4000, Counting = 0x8000;
constexpr int MaxMoves = 255;  // longest mate that fits into a counting state

constexpr bool IsWon(State s) { return (s & 0xE000) == Won; }
constexpr bool IsLost(State s) { return (s & 0xE000) == Lost; }
constexpr bool IsCounting(State s) { return (s & Counting) != 0; }
constexpr int MovesOf(State s) { return s & 0x1FFF; }
constexpr State CountingState(int moves, int loss) { return State(Counting | moves << 8 | loss); }

constexpr uint64_t Piece = 1 << 14;  // slots that a thread takes at a time

// ---- progress ----

class Progress {
public:
    Progress(const TableJob& job, std::string name) : job(job), name(std::move(name)) {}
    void Tell(const std::string& what) {
        const auto now = std::chrono::steady_clock::now();
        if (job.progress == nullptr || now - last < std::chrono::seconds(2)) return;
        last = now;
        job.progress(name + ": " + what);
    }

private:
    const TableJob& job;
    std::string name;
    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
};

// ---- the solver ----

struct Solver {
    const Conversions* conversions;
    int threads;
    TableIndex index[2];
    std::unique_ptr<State[]> states[2];
    std::atomic<int> furthest = 0;  // the longest mate entered so far
    std::atomic<bool> too_long = false;

    void Reach(int moves) {
        if (moves > MaxMoves) too_long = true;
        int before = furthest;
        while (before < moves && !furthest.compare_exchange_weak(before, moves)) {}
    }
};

// The slot that stands for a position.
uint64_t OwnSlot(const TableIndex& index, const TablePosition& position) {
    const uint64_t slot = SlotOf(index, position);
    return std::min(slot, MirrorSlot(index, position, slot));
}

// Can a position, as a slot gives it, be its own mirror image or have a second slot?
bool KingsOnDiagonal(const TableIndex& index, const TablePosition& position) {
    return !index.pawns && FileOf(position.king[WHITE]) == RankOf(position.king[WHITE])
        && FileOf(position.king[BLACK]) == RankOf(position.king[BLACK]);
}

// The position of a slot that takes part; false for the others.
bool TakesPart(const TableIndex& index, uint64_t slot, TablePosition* position) {
    if (!PositionOfSlot(index, slot, position) || !IsTablePosition(*position)) return false;
    const bool shared = position->en_passant != NoEnPassant || KingsOnDiagonal(index, *position);
    return !shared || OwnSlot(index, *position) == slot;
}

// A few slots without doubles.
class SlotSet {
public:
    bool Add(uint64_t slot) {
        if (std::find(slots, slots + count, slot) != slots + count) return false;
        slots[count++] = slot;
        return true;
    }

private:
    uint64_t slots[256];
    int count = 0;
};

// What the moves of a position lead to: the shortest win, a draw, the longest loss.
struct Outlook {
    int win = 0, loss = 0;  // moves to mate; 0: none
    bool draw = false;
    // `value` is that of the position after a move, for the other side.
    void Add(int value) {
        if (value == 0) draw = true;
        else if (value > 0) loss = std::max(loss, value);
        else if (win == 0 || -value < win) win = -value;  // mated in m is -(m + 1): we win in m + 1
    }
};

// Is the side to move in check?
bool InTableCheck(const TablePosition& p) {
    const int us = p.side_to_move;
    return TableAttacked(p, p.king[us], us ^ 1, TableMen(p, WHITE) | TableMen(p, BLACK));
}

State FirstState(Solver& solver, const TableIndex& index, uint64_t slot) {
    TablePosition position;
    if (!TakesPart(index, slot, &position)) return Unused;
    const Colour us = index.side_to_move;
    const TableIndex& after_index = solver.index[us ^ 1];
    const bool doubles = KingsOnDiagonal(index, position);
    SlotSet seen;
    Outlook conversions;
    int moves = 0;
    bool any = false;
    ForEachMove(position, [&](const TablePosition& after, bool conversion) {
        any = true;
        if (!conversion) {
            if (!doubles || seen.Add(OwnSlot(after_index, after))) ++moves;
            return;
        }
        conversions.Add(solver.conversions->ValueOf(after));
    });
    if (conversions.win > 0) {
        solver.Reach(conversions.win);
        return State(Won | conversions.win);
    }
    if (conversions.draw) return Open;
    if (!any) return InTableCheck(position) ? Lost : Open;
    solver.Reach(conversions.loss);
    return moves > 0 ? CountingState(moves, conversions.loss) : State(Lost | conversions.loss);
}

// A position from which one lost in moves - 1 can be reached.
void EnterWin(Solver& solver, State& state, int moves) {
    std::atomic_ref<State> shared(state);
    State before = shared.load(std::memory_order_relaxed);
    const State won = State(Won | moves);
    while (before == Open || IsCounting(before) || (IsWon(before) && before > won))
        if (shared.compare_exchange_weak(before, won, std::memory_order_relaxed)) {
            solver.Reach(moves);
            return;
        }
}

// A position from which one that the opponent wins in `moves` can be reached: one escape less.
void EnterLoss(Solver& solver, State& state, int moves) {
    std::atomic_ref<State> shared(state);
    State before = shared.load(std::memory_order_relaxed);
    while (IsCounting(before)) {
        const int left = (before >> 8 & 0x7F) - 1, loss = std::max(before & 0xFF, moves);
        const State after = left > 0 ? CountingState(left, before & 0xFF) : State(Lost | loss);
        if (!shared.compare_exchange_weak(before, after, std::memory_order_relaxed)) continue;
        if (left == 0) solver.Reach(loss);
        return;
    }
}

// Tells the positions one move before those of a state, which all have the same result.
template <typename Enter> void Spread(Solver& solver, State result, const Enter& enter) {
    for (const Colour side : {WHITE, BLACK}) {
        const TableIndex& index = solver.index[side];
        const TableIndex& before_index = solver.index[side ^ 1];
        State* const states = solver.states[side].get();
        State* const before_states = solver.states[side ^ 1].get();
        InPieces(solver.threads, index.slots, Piece, [&](uint64_t first, uint64_t last) {
            for (uint64_t slot = first; slot < last; ++slot) {
                if (std::atomic_ref<State>(states[slot]).load(std::memory_order_relaxed) != result) continue;
                TablePosition position;
                PositionOfSlot(index, slot, &position);
                const bool doubles = KingsOnDiagonal(index, position);
                SlotSet seen;
                ForEachUnmove(position, [&](const TablePosition& before) {
                    const uint64_t before_slot = OwnSlot(before_index, before);
                    if (before_slot == NoSlot || (doubles && !seen.Add(before_slot))) return;
                    enter(before_states[before_slot]);
                });
            }
        });
    }
}

void Solve(Solver& solver, Progress& progress) {
    for (const Colour side : {WHITE, BLACK}) {
        const TableIndex& index = solver.index[side];
        State* const states = solver.states[side].get();
        std::atomic<uint64_t> done = 0;
        InPieces(solver.threads, index.slots, Piece, [&](uint64_t first, uint64_t last) {
            for (uint64_t slot = first; slot < last; ++slot) states[slot] = FirstState(solver, index, slot);
            done += last - first;
            static std::mutex telling;
            if (std::unique_lock<std::mutex> lock(telling, std::try_to_lock); lock)
                progress.Tell("looking at " + std::to_string(done * 100 / index.slots) + " % of the positions with "
                              + (side == WHITE ? "White" : "Black") + " to move");
        });
    }
    for (int moves = 0; moves <= solver.furthest && !solver.too_long; ++moves) {
        progress.Tell("mates in " + std::to_string(moves + 1));
        Spread(solver, State(Lost | moves), [&](State& state) { EnterWin(solver, state, moves + 1); });
        Spread(solver, State(Won | (moves + 1)), [&](State& state) { EnterLoss(solver, state, moves + 1); });
    }
}

// ---- results ----

TableValue ValueOfState(State state) {
    if (IsWon(state)) return TableValue(MovesOf(state));
    return IsLost(state) ? TableValue(-(MovesOf(state) + 1)) : TableValue(0);
}

// True when this is the longest mate so far.
bool Count(TableStatistics* statistics, int side, TableValue value) {
    if (value == 0) ++statistics->draws[side];
    else if (value < 0) ++statistics->losses[side];
    else ++statistics->wins[side];
    if (value <= statistics->longest[side]) return false;
    statistics->longest[side] = value;
    return true;
}

// Turns the states into bytes, in the same memory, and lists the values that they stand for.
// False when there are more values than a byte can tell apart.
bool StatesToBytes(Solver& solver, Colour side, std::vector<TableValue>* values, TableStatistics* statistics) {
    const TableIndex& index = solver.index[side];
    State* const states = solver.states[side].get();
    uint8_t* const bytes = reinterpret_cast<uint8_t*>(states);
    constexpr int Offset = MaxMoves + 1;
    int number[2 * Offset + 1];
    std::fill(std::begin(number), std::end(number), -1);
    values->clear();
    uint64_t longest_slot = 0;
    TablePosition position;
    for (uint64_t slot = 0; slot < index.slots; ++slot) {
        State state = states[slot];
        if (state == Unused && !index.pawns && PositionOfSlot(index, slot, &position)) {
            // The higher of two mirror slots has what the lower one got.
            const uint64_t own = OwnSlot(index, position);
            if (own < slot) {
                bytes[slot] = bytes[own];
                continue;
            }
        }
        if (state == Unused) {
            bytes[slot] = UnusedSlot;
            continue;
        }
        const TableValue value = ValueOfState(state);
        if (Count(statistics, side, value)) longest_slot = slot;
        int& byte = number[value + Offset];
        if (byte < 0) {
            if (values->size() == UnusedSlot) return false;
            byte = int(values->size());
            values->push_back(value);
        }
        bytes[slot] = uint8_t(byte);
    }
    if (statistics->longest[side] > 0) PositionOfSlot(index, longest_slot, &statistics->example[side]);
    if (values->empty()) values->push_back(0);
    return true;
}

bool BuildIndexes(const std::string& material, TableIndex index[2], std::string* reason) {
    TableMaterial men;
    if (!ParseTableMaterial(material, &men) || MenCount(men) > 5) {
        *reason = material + " is no material of 3 to 5 men";
        return false;
    }
    if (BuildTableIndex(men, WHITE, &index[WHITE]) && BuildTableIndex(men, BLACK, &index[BLACK])) return true;
    *reason = "memory is short";
    return false;
}

// The tables below the one that was made or checked last: the next one often needs them too.
Conversions& LoadedConversions() {
    static Conversions conversions;
    return conversions;
}

}  // namespace

std::string TablePath(const TableJob& job, const std::string& material, Colour side_to_move) {
    return PlainTablePath(job.folder, material, side_to_move) + (job.packed ? ".emd" : "");
}

bool TableIsMade(const TableJob& job, const std::string& material) {
    TableIndex index[2];
    std::string reason;
    if (!BuildIndexes(material, index, &reason)) return false;
    for (const Colour side : {WHITE, BLACK}) {
        TableFile file;
        const std::string path = ExistingTablePath(job.folder, material, side);
        if (!OpenTableFile(path, material, side, index[side].slots, &file, &reason)) return false;
        uint8_t bytes[TableBlock];
        bool good = true;
        for (uint64_t block = 0; good && block < TableBlocks(index[side].slots); ++block)
            good = ReadTableBlock(file, block, bytes);
        CloseTableFile(&file);
        if (!good) return false;
    }
    return true;
}

std::string ForeignTable(const TableJob& job, const std::string& material) {
    for (const Colour side : {WHITE, BLACK}) {
        const std::string path = TablePath(job, material, side);
        std::error_code error;
        if (std::filesystem::exists(PathOf(path), error) && !IsTableFile(path)) return path;
    }
    return "";
}

std::vector<std::string> AllMaterials(int men) {
    std::vector<std::string> names;
    const int limit = men - 2;
    // Each side's letters as a sorted word; every pair of words that fits.
    std::vector<std::string> words = {""};
    for (size_t i = 0; i < words.size(); ++i)
        for (const char letter : std::string(TableLetters))
            if (int(words[i].size()) < limit
                && (words[i].empty()
                    || std::strchr(TableLetters, words[i].back()) <= std::strchr(TableLetters, letter)))
                words.push_back(words[i] + letter);
    TableMaterial material;
    for (const std::string& white : words)
        for (const std::string& black : words)
            if (int(white.size() + black.size()) == limit && ParseTableMaterial("k" + white + "k" + black, &material))
                names.push_back("k" + white + "k" + black);
    return names;
}

std::vector<std::string> TablesToMake(const std::vector<std::string>& names) {
    std::vector<std::string> order;
    std::set<std::string> seen;
    const auto visit = [&](const auto& self, const std::string& name) -> void {
        TableMaterial material;
        if (!ParseTableMaterial(name, &material) || !seen.insert(name).second) return;
        for (const TableMaterial& smaller : DirectConversions(material)) self(self, TableMaterialName(smaller));
        order.push_back(name);
    };
    for (const std::string& name : names) visit(visit, name);
    return order;
}

uint64_t TableMemory(const std::string& material) {
    TableIndex index[2];
    std::string reason;
    if (!BuildIndexes(material, index, &reason)) return 0;
    uint64_t bytes = (index[WHITE].slots + index[BLACK].slots) * sizeof(State);
    for (const TableMaterial& smaller : DirectConversions(index[WHITE].material)) {
        TableIndex below[2];
        if (!BuildIndexes(TableMaterialName(smaller), below, &reason)) return 0;
        bytes += below[WHITE].slots + below[BLACK].slots;
    }
    return bytes + TableIndexMemory() + TableWriterMemory(std::max(index[WHITE].slots, index[BLACK].slots));
}

bool MakeTable(const TableJob& job, const std::string& material, TableStatistics* statistics, std::string* reason) {
    *statistics = {};
    Solver solver;
    Conversions& conversions = LoadedConversions();
    solver.conversions = &conversions;
    solver.threads = job.threads;
    if (!BuildIndexes(material, solver.index, reason)
        || !conversions.Load(job.folder, solver.index[WHITE].material, reason))
        return false;
    for (const Colour side : {WHITE, BLACK}) {
        solver.states[side] = TryAllocate<State>(solver.index[side].slots);
        if (solver.states[side] == nullptr) {
            *reason = "memory is short";
            return false;
        }
    }
    conversions.Forget(material);
    Progress progress(job, material);
    Solve(solver, progress);
    if (solver.too_long) {
        *reason = "a mate of more than " + std::to_string(MaxMoves) + " moves";
        return false;
    }
    for (const Colour side : {WHITE, BLACK}) {
        TableContents contents;
        contents.material = material;
        contents.side_to_move = side;
        contents.slots = solver.index[side].slots;
        if (!StatesToBytes(solver, side, &contents.values, statistics)) {
            *reason = "more different values than a table can hold";
            return false;
        }
        contents.bytes = reinterpret_cast<const uint8_t*>(solver.states[side].get());
        progress.Tell("writing");
        if (!WriteTableFile(TablePath(job, material, side), contents, job.packed, solver.threads, reason)) return false;
    }
    return true;
}

bool VerifyTable(const TableJob& job, const std::string& material, TableStatistics* statistics, std::string* reason) {
    *statistics = {};
    Conversions& conversions = LoadedConversions();
    LoadedTable table;
    TableIndex index[2];
    if (!BuildIndexes(material, index, reason) || !conversions.Load(job.folder, index[WHITE].material, reason)
        || !LoadTable(job.folder, material, &table, reason))
        return false;
    Progress progress(job, material);
    std::mutex telling;
    std::atomic<uint64_t> done = 0;
    std::atomic<bool> wrong = false;
    const auto value_of = [&](Colour side, uint64_t slot) { return table.values[side][table.bytes[side][slot]]; };
    for (const Colour side : {WHITE, BLACK}) {
        InPieces(job.threads, index[side].slots, Piece, [&](uint64_t first, uint64_t last) {
            TableStatistics piece = {};
            TablePosition position;
            for (uint64_t slot = first; slot < last && !wrong; ++slot) {
                if (!PositionOfSlot(index[side], slot, &position) || !IsTablePosition(position)) continue;
                const uint64_t own = OwnSlot(index[side], position);
                // Of two pawns that can capture en passant only one makes a slot that is used.
                if (position.en_passant != NoEnPassant && own != slot) continue;
                Outlook outlook;
                bool any = false;
                ForEachMove(position, [&](const TablePosition& after, bool conversion) {
                    any = true;
                    const Colour them = after.side_to_move;
                    outlook.Add(conversion ? conversions.ValueOf(after) : value_of(them, SlotOf(index[them], after)));
                });
                const bool lost = any ? !outlook.draw : InTableCheck(position);
                const int expected = outlook.win > 0 ? outlook.win : lost ? -(outlook.loss + 1) : 0;
                const TableValue value = value_of(side, slot);
                if (value != expected) {
                    const std::lock_guard<std::mutex> lock(telling);
                    wrong = true;
                    *reason = material + ": " + TableFen(position) + " is " + std::to_string(value) + ", not "
                        + std::to_string(expected) + " (n: mate in n moves, -(n + 1): mated in n)";
                }
                if (own == slot && Count(&piece, side, value)) piece.example[side] = position;
            }
            const std::lock_guard<std::mutex> lock(telling);
            statistics->wins[side] += piece.wins[side];
            statistics->draws[side] += piece.draws[side];
            statistics->losses[side] += piece.losses[side];
            if (piece.longest[side] > statistics->longest[side]) {
                statistics->longest[side] = piece.longest[side];
                statistics->example[side] = piece.example[side];
            }
            done += last - first;
            progress.Tell("checked " + std::to_string(done * 100 / (index[WHITE].slots + index[BLACK].slots)) + " %");
        });
    }
    return !wrong;
}

std::string TableFen(const TablePosition& position) {
    char board[64];
    std::memset(board, 0, sizeof board);
    const char* letters = " knp rbq";  // [PieceType]
    for (int side = 0; side < 2; ++side) {
        const auto put = [&](int square, int type) {
            board[square] = char(side == WHITE ? letters[type] - 'a' + 'A' : letters[type]);
        };
        put(position.king[side], KING);
        for (int i = 0; i < position.men[side]; ++i) put(position.square[side][i], position.type[side][i]);
    }
    std::string fen;
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            const char man = board[SquareAt(file, rank)];
            if (man == 0) {
                ++empty;
                continue;
            }
            if (empty > 0) fen += char('0' + empty);
            empty = 0;
            fen += man;
        }
        if (empty > 0) fen += char('0' + empty);
        if (rank > 0) fen += '/';
    }
    fen += position.side_to_move == WHITE ? " w - " : " b - ";
    if (position.en_passant == NoEnPassant) return fen + "- 0 1";
    const int behind = position.en_passant + (position.side_to_move == WHITE ? 8 : -8);
    return fen + char('a' + FileOf(behind)) + char('1' + RankOf(behind)) + " 0 1";
}
