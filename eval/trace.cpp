// trace.cpp - the noted terms of one evaluation: sums of the board, gains by term, the total.
//
// State: evaluation_trace, filled by TracePosition() (position_evaluation.cpp) through Tally::Add().
#include "eval/trace.h"

#include <algorithm>

#include "eval/eval_info.h"

EvaluationTrace evaluation_trace;

namespace {

int Part(TracePart part, Colour c, int phase) { return evaluation_trace.part[int(part)][c][phase]; }

// Black's gain less White's.
int BlackView(TracePart part, int phase) { return Part(part, BLACK, phase) - Part(part, WHITE, phase); }

int SumOfTerms(TermKind kind, Colour c, int phase) {
    int sum = 0;
    for (int i = 0; i < TermListLength; ++i)
        if (term_list[i].kind == kind) sum += TracedTerm(term_list[i], c, phase);
    return sum;
}

}  // namespace

void TraceSquares() {
    const Position& p = thread_board;
    for (Bitboard rest = p.occupied; rest;) {
        const Square s = PopLowest(rest);
        const Colour c = p.colour[BLACK] & Bit(s) ? BLACK : WHITE;
        const int rank = RelativeRank(c, s), pair = FilePair(s);
        int16_t* count = evaluation_trace.count[c];
        switch (p.board[s]) {
            case PAWN: ++count[PawnSquares + 8 * pair + rank]; break;
            case BISHOP: ++count[BishopSquares + 8 * pair + rank]; break;
            case ROOK: ++count[RookRanks + rank], ++count[RookFiles + pair]; break;
            case QUEEN: ++count[QueenRanks + rank], ++count[QueenFiles + pair]; break;
            case KNIGHT: {
                const auto& table = tuned.knight;
                TracePiece<true>(TracePart::NamedSquares, c, table[0][pair][rank], table[1][pair][rank]);
                break;
            }
            case KING: {
                const auto& table = tuned.king;
                TracePiece<true>(TracePart::NamedSquares, c, table[0][pair][rank], table[1][pair][rank]);
                break;
            }
            default: break;
        }
    }
}

int TracedTerm(const TermInfo& term, Colour c, int phase) {
    int sum = 0;
    for (int slot = term.first; slot < term.first + term.count; ++slot) {
        // The board's sums are not made of packed terms.
        const int weight = term.kind == TermKind::Square ? term_weights[phase][slot]
            : phase == 0                                 ? OpeningOf(packed_terms[slot])
                                                         : EndgameOf(packed_terms[slot]);
        sum += evaluation_trace.count[c][slot] * weight;
    }
    return sum;
}

int TracedScore() {
    const EvalInfo& info = thread_eval_info;
    const bool white_to_move = thread_board.SideToMove == WHITE;
    int score = BlackView(TracePart::Material, 0);
    if (!evaluation_trace.exact) {
        // What a passed pawn is worth is blended by itself, then weighed like material.
        for (const Colour c : {WHITE, BLACK}) {
            const int passed =
                Blend(SumOfTerms(TermKind::Passed, c, 0), SumOfTerms(TermKind::Passed, c, 1), info.current_phase)
                + Part(TracePart::SupportedPassed, c, 0);
            score += c == BLACK ? passed : -passed;
        }
        score += BlackView(TracePart::RookAgainstMinors, 0) + BlackView(TracePart::PawnRace, 0);

        int common[2] = {}, own[2][2] = {};
        for (int phase = 0; phase < 2; ++phase) {
            common[phase] = score + BlackView(TracePart::NamedSquares, phase)
                + BlackView(TracePart::ChainedPawns, phase) + BlackView(TracePart::WinningChances, phase);
            for (const Colour c : {WHITE, BLACK}) {
                const int terms = SumOfTerms(TermKind::Square, c, phase) + SumOfTerms(TermKind::Common, c, phase);
                common[phase] += c == BLACK ? terms : -terms;
                own[c][phase] = SumOfTerms(TermKind::Own, c, phase) + Part(TracePart::Shelter, c, phase)
                    + Part(TracePart::KingAttack, c, phase);
            }
        }
        score = Blend(common[0], common[1], info.current_phase) + Blend(own[BLACK][0], own[BLACK][1], info.phase[BLACK])
            - Blend(own[WHITE][0], own[WHITE][1], info.phase[WHITE]);
        score += BlackView(TracePart::QueenApproaches, 0) + BlackView(TracePart::EndingScale, 0)
            + BlackView(TracePart::SideToMove, 0);
    }
    return white_to_move ? -score : score;
}

const char* TracePartName(TracePart part) {
    constexpr const char* names[int(TracePart::Count)] = {
        "Material", "NamedSquares", "ChainedPawns",   "RookAgainstMinors", "PawnRace",    "SupportedPassed",
        "Shelter",  "KingAttack",   "WinningChances", "QueenApproaches",   "EndingScale", "SideToMove"};
    return names[int(part)];
}
