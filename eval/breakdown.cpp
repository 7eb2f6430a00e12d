// breakdown.cpp - one evaluation in figures, and the console's picture of it.
#include <algorithm>

#include "board/console.h"
#include "board/position.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"

namespace {

// The print looks this far ahead in the danger curve.
constexpr int DangerOffset = 8;

// Eight characters, file a first.
void PrintFileMask(int mask) {
    for (int f = 0; f < 8; ++f) Print("%c", mask >> f & 1 ? '1' : '.');
}

int AttackValue(const EvaluationFigures& figures, Colour attacker) {
    const int danger = std::min(figures.danger[attacker] + DangerOffset, 127);
    return (DangerCurve[danger] * ShelterScale[figures.shelter_penalty[ChangeSide(attacker)]]) >> 4;
}

}  // namespace

EvaluationFigures EvaluateInFigures(Colour root) {
    const Colour root_side = evaluation_root_side;
    evaluation_root_side = root;
    EvaluationFigures figures;
    figures.score = NotEvaluated;
    EvaluatePosition(figures.score);
    evaluation_root_side = root_side;
    ProbePawns<false>();  // exact endings stop before they ask for it

    const EvalInfo& info = thread_eval_info;
    figures.material = info.material;
    figures.current_phase = info.current_phase;
    figures.opening = info.OpeningScore;
    figures.endgame = info.EndgameScore;
    for (const Colour c : {WHITE, BLACK}) {
        figures.phase[c] = info.phase[c];
        figures.danger[c] = info.danger[c];
        figures.shelter_penalty[c] = info.shelter_penalty[c];
        for (int wing = 0; wing < 2; ++wing) figures.defects[c][wing] = info.pawn.defects[c][wing];
        figures.passed[c] = info.pawn.Passed(c);
        figures.ending[c] = Ending(c);
    }
    return figures;
}

void PrintEvaluation() {
    const Colour us = SideToMove(), them = ChangeSide(us);
    const EvaluationFigures f = EvaluateInFigures(us);
    Print("Heuristic = %d\n", f.score);
    Print("PassedVector[BLACK] = ");
    PrintFileMask(f.passed[BLACK]);
    Print(" PassedVector[WHITE] = ");
    PrintFileMask(f.passed[WHITE]);
    Print("\n");
    Print("current_phase = %d, black_phase = %d, white_phase = %d\n", f.current_phase, f.phase[BLACK], f.phase[WHITE]);
    Print("Material[WHITE] = %d thread_board.Material[BLACK] = %d EvaluateMaterial() = %d\n",
          thread_board.Material[WHITE], thread_board.Material[BLACK], f.material);
    Print("ENDING(WHITE) = %d ENDING(BLACK) = %d\n", f.ending[WHITE], f.ending[BLACK]);
    Print("black_defects_k = %d black_defects_q = %d white_defects_k = %d white_defects_q = %d\n", f.defects[BLACK][0],
          f.defects[BLACK][1], f.defects[WHITE][0], f.defects[WHITE][1]);
    Print("thread_eval_info.shelter_penalty[BLACK] = %d thread_eval_info.shelter_penalty[WHITE] = %d\n",
          f.shelter_penalty[BLACK], f.shelter_penalty[WHITE]);
    Print("thread_eval_info.danger[BLACK] = %d thread_eval_info.danger[WHITE] = %d\n", f.danger[BLACK],
          f.danger[WHITE]);
    Print("Attacks[ChangeSide(thread_board.SideToMove)] = %d\n", AttackValue(f, us));
    Print("Attacks[thread_board.SideToMove] = %d\n", AttackValue(f, them));
    Print("Shelter[BLACK] = %d Shelter[WHITE] = %d\n", ShelterCurve[f.shelter_penalty[BLACK]],
          ShelterCurve[f.shelter_penalty[WHITE]]);
    Print("Dng = %d\n", AttackValue(f, us) + ShelterCurve[f.shelter_penalty[them]]);
}
