// book_weeding.cpp - see book_weeding.h.
#include "tools/common/book_weeding.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_set>

#include "board/make_move.h"
#include "board/position.h"
#include "tools/common/book_tree.h"

namespace {

// Points that a weeded move begins with: enough that a game more or less does not turn its score
// over, few enough that a dozen of them do.
constexpr int LeastPoints = 24, MostPoints = 120;

// Calls visit(entry) after each legal move of the node has been made on the board.
template <typename Visit> void ForEachMove(const std::vector<BookMove>& node, Visit visit) {
    for (const auto& [move, entry] : LegalEntries(node)) {
        if (!MakeGameMove(move)) continue;
        visit(*entry);
        UnmakeMove();
    }
}

struct PositionFinder {
    const BookNodes& nodes;
    std::unordered_set<uint64_t> seen;
    std::vector<BookPosition> positions;

    void Visit() {
        const uint64_t key = BookNodeKey();
        if (!seen.insert(key).second) return;
        const auto node = nodes.find(key);
        const bool line_end = node == nodes.end();
        if (history_count > 0) positions.push_back({key, WriteFen(), line_end});
        if (!line_end) ForEachMove(node->second, [&](const BookMove&) { Visit(); });
    }
};

struct Weeder {
    const BookNodes& nodes;
    const PositionScores& scores;
    const WeedingRules& rules;
    WeedingCounts& counts;
    BookNodes weeded;
    std::unordered_map<uint64_t, std::optional<int>> values;
    std::unordered_set<uint64_t> on_board;  // the positions of the line being judged

    // What the position on the board is worth to the side to move, if anything tells.
    std::optional<int> Value() {
        const uint64_t key = BookNodeKey();
        if (const auto known = values.find(key); known != values.end()) return known->second;
        const auto score = scores.find(key);
        const std::optional<int> searched = score == scores.end() ? std::nullopt : std::optional<int>(score->second);
        const auto node = nodes.find(key);
        if (node == nodes.end()) return searched;
        std::optional<int> best;
        std::vector<BookMove> judged;
        on_board.insert(key);
        ForEachMove(node->second, [&](const BookMove& entry) {
            const bool back = on_board.count(BookNodeKey()) != 0;
            const std::optional<int> reply = back ? std::nullopt : Value();
            judged.push_back(Judge(entry, reply, back));
            if (reply && (!best || -*reply > *best)) best = -*reply;
        });
        on_board.erase(key);
        weeded[key] = std::move(judged);
        const std::optional<int> value = best && searched ? (*best + *searched) / 2 : best ? best : searched;
        values[key] = value;
        return value;
    }

    // A move that leads back to where the line came from would let the book play for a repetition.
    BookMove Judge(BookMove move, std::optional<int> reply, bool back) {
        ++counts.moves;
        if (!reply && !back) ++counts.unjudged;
        if (back || (reply && -*reply < rules.worst)) move.excluded = true;
        if (move.excluded) {
            ++counts.excluded;
            move.ours = move.theirs = 0;
        } else if (reply) {
            const double points = move.ours + move.theirs;
            const double games = std::min(points / 2, double(rules.most_games));
            const double played = points > 0 ? move.ours / points : 0.5;
            const double searched = 1 / (1 + std::pow(10.0, double(*reply) / rules.score_scale));
            const double mixed = (games * played + rules.score_games * searched) / (games + rules.score_games);
            const double share = mixed * (1 - rules.rare_discount * rules.half_rare / (rules.half_rare + points / 2));
            const int total = std::clamp(int(points), LeastPoints, MostPoints);
            move.ours = uint32_t(std::lround(total * share));
            move.theirs = uint32_t(total) - move.ours;
        }
        return move;
    }
};

}  // namespace

std::vector<BookPosition> FindPositions(const BookNodes& nodes) {
    SetInitialPosition();
    PositionFinder finder{nodes, {}, {}};
    finder.Visit();
    return std::move(finder.positions);
}

BookNodes WeedBook(const BookNodes& nodes, const PositionScores& scores, const WeedingRules& rules,
                   WeedingCounts& counts) {
    SetInitialPosition();
    counts = {};
    Weeder weeder{nodes, scores, rules, counts, {}, {}, {}};
    weeder.Value();
    return std::move(weeder.weeded);
}
