// board_exchange_test.cpp - static exchanges, against playing the captures out on a plain board.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <vector>

#include "board/exchange.h"
#include "tests/support/plain_board.h"
#include "tests/support/random_games.h"

namespace {

int ValueOf(char man) {
    constexpr int values[] = {0, 100, 300, 300, 500, 900, 10000};
    return values[std::string_view(".PNBRQK").find(char(std::toupper(man)))];
}

std::vector<Square> Attackers(const PlainBoard& board, Square target, bool white) {
    std::vector<Square> found;
    for (Square s = A1; s <= H8; ++s)
        if (s != target && board.at[s] != '.' && IsWhite(board.at[s]) == white && Reaches(board, s, target))
            found.push_back(s);
    return found;
}

// What the side can win on the target by capturing with a cheapest man or by stopping. Which
// one of several equally cheap men goes first is open and may matter, since each uncovers
// another line: all outcomes are returned.
std::set<int> Outcomes(const PlainBoard& board, Square target, bool white) {
    std::vector<Square> attackers = Attackers(board, target, white);
    if (attackers.empty()) return {0};
    int cheapest = 20000;
    for (const Square s : attackers) cheapest = std::min(cheapest, ValueOf(board.at[s]));
    if (cheapest == 10000 && !Attackers(board, target, !white).empty()) return {0};
    std::set<int> outcomes;
    for (const Square s : attackers) {
        if (ValueOf(board.at[s]) != cheapest) continue;
        PlainBoard next = board;
        next.at[target] = board.at[s];
        next.at[s] = '.';
        for (const int reply : Outcomes(next, target, !white))
            outcomes.insert(std::max(0, ValueOf(board.at[target]) - reply));
    }
    return outcomes;
}

std::set<int> OutcomesOf(Move m) {
    PlainBoard board = ReadBoard();
    const bool white = SideToMove() == WHITE;
    const Square from = MoveFrom(m), to = MoveTo(m);
    int won = ValueOf(board.at[to]);
    board.at[to] = board.at[from];
    board.at[from] = '.';
    if (IsEnPassant(m)) {
        board.at[SquareAt(FileOf(to), RankOf(from))] = '.';
        won = 100;
    }
    if (MovePromotion(m)) {
        const char letter = ".KNP?RBQ"[MovePromotion(m)];
        board.at[to] = white ? letter : char(std::tolower(letter));
        won += ValueOf(letter) - 100;
    }
    std::set<int> outcomes;
    for (const int reply : Outcomes(board, to, !white)) outcomes.insert(won - reply);
    return outcomes;
}

}  // namespace

TEST(Exchange, RandomGamesAgainstPlayingItOut) {
    int losing = 0;
    AtManyPositions(6, 60, [&](const MoveList& legal) {
        for (const Move m : legal) {
            if (IsCastling(m)) continue;
            const std::set<int> truth = OutcomesOf(m);
            const int gain = ExchangeGain(m);
            EXPECT_TRUE(truth.count(gain)) << MoveText(m) << " gives " << gain << " instead of " << *truth.begin();
            EXPECT_EQ(PassesExchange(m), gain >= 0) << MoveText(m);
            losing += gain < 0;
        }
    });
    EXPECT_GT(losing, 1000);
}

TEST(Exchange, Threats) {
    struct {
        const char *why, *fen;
        int margin;
        bool threatened;
    } const cases[] = {
        {"defended rook attacked by a rook", "4k3/8/8/8/r6R/6P1/8/4K3 w - -", 0, false},
        {"defended rook attacked by a bishop", "4k1b1/8/8/3R4/2P5/8/8/4K3 w - -", 0, true},
        {"defended knight attacked by a pawn", "4k3/8/4p3/3N4/2P5/8/8/4K3 w - -", 0, true},
        {"more than the margin", "4k3/8/8/8/r6R/8/8/4K3 w - -", 499, true},
        {"not more than the margin", "4k3/8/8/8/r6R/8/8/4K3 w - -", 500, false},
        {"defended queen attacked by a rook, within the margin", "4k3/8/8/8/r6Q/6P1/8/4K3 w - -", 450, false},
        {"undefended pawn attacked", "4k3/8/8/8/r6P/8/8/4K3 w - -", 0, true},
        {"pawn about to promote", "4k3/8/8/8/8/8/p7/4K3 w - -", 0, true},
        {"pawn about to promote, blocked", "4k3/8/8/8/8/1K6/p7/N7 w - -", 0, false},
        {"our own attack is no threat to us", "4k3/8/8/8/R6n/8/8/4K3 w - -", 0, false},
        {"Black to move, mirrored", "4k3/8/8/R6r/8/8/8/4K3 b - -", 0, true},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(OpponentThreatens(c.margin), c.threatened) << c.why;
    }
}
