// breakdown.cpp - the console's picture of one evaluation.
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

int AttackValue(Colour attacker) {
    const EvalInfo& info = thread_eval_info;
    const int danger = std::min(info.danger[attacker] + DangerOffset, 127);
    return (DangerCurve[danger] * ShelterScale[info.shelter_penalty[ChangeSide(attacker)]]) >> 4;
}

}  // namespace

void PrintEvaluation() {
    const Colour us = SideToMove(), them = ChangeSide(us);
    const Colour root_side = evaluation_root_side;
    evaluation_root_side = us;
    int result = NotEvaluated;
    EvaluatePosition(result);
    evaluation_root_side = root_side;
    ProbePawns<false>();  // exact endings stop before they ask for it

    const EvalInfo& info = thread_eval_info;
    Print("Heuristic = %d\n", result);
    Print("PassedVector[BLACK] = ");
    PrintFileMask(info.pawn.passed_black);
    Print(" PassedVector[WHITE] = ");
    PrintFileMask(info.pawn.passed_white);
    Print("\n");
    Print("current_phase = %d, black_phase = %d, white_phase = %d\n", info.current_phase, info.phase[BLACK],
          info.phase[WHITE]);
    Print("Material[WHITE] = %d thread_board.Material[BLACK] = %d EvaluateMaterial() = %d\n",
          thread_board.Material[WHITE], thread_board.Material[BLACK], info.material);
    Print("ENDING(WHITE) = %d ENDING(BLACK) = %d\n", Ending(WHITE), Ending(BLACK));
    Print("black_defects_k = %d black_defects_q = %d white_defects_k = %d white_defects_q = %d\n",
          info.pawn.defects[BLACK][0], info.pawn.defects[BLACK][1], info.pawn.defects[WHITE][0],
          info.pawn.defects[WHITE][1]);
    Print("thread_eval_info.shelter_penalty[BLACK] = %d thread_eval_info.shelter_penalty[WHITE] = %d\n",
          info.shelter_penalty[BLACK], info.shelter_penalty[WHITE]);
    Print("thread_eval_info.danger[BLACK] = %d thread_eval_info.danger[WHITE] = %d\n", info.danger[BLACK],
          info.danger[WHITE]);
    Print("Attacks[ChangeSide(thread_board.SideToMove)] = %d\n", AttackValue(us));
    Print("Attacks[thread_board.SideToMove] = %d\n", AttackValue(them));
    Print("Shelter[BLACK] = %d Shelter[WHITE] = %d\n", ShelterCurve[info.shelter_penalty[BLACK]],
          ShelterCurve[info.shelter_penalty[WHITE]]);
    Print("Dng = %d\n", AttackValue(us) + ShelterCurve[info.shelter_penalty[them]]);
}
