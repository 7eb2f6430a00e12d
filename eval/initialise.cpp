// initialise.cpp - the tables of the evaluation, in their order.
#include "board/position.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"
#include "eval/kpk.h"
#include "eval/material.h"
#include "eval/parameters.h"

void InitialiseEvaluation(const char* values_file) {
    LoadValues(values_file);
    BuildPieceSquareTable();
    BuildMaterialTable();
    InitialiseKpk();
    position_loaded_hook = LoadPhases;
}
