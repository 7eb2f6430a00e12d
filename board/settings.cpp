// settings.cpp - storage and defaults of the settings.
//
// State: all of settings.h. Filled by SetDefaults() at the very start of the program.
#include "board/settings.h"

#include <cstring>

uint32_t TranspositionSize, PawnHashSize, EvalCacheSize, EGTBHashSize;
int Aggressivity, AggressivityHalf;
int Cowardice, CowardiceHalf;
int ResignValue, ResignTimes;
int BookLearningMode, UseBookLearning, UseBookWeights, BookLearningBound, VarietyOfPlay;
int UseLearning, UseLearningData, LogLearningIntoFile;
int OwnBook;
int Pondering, PonderSwitch;
int UseEGTB;
char EGTBPath[1024];
int PostMode, UciMode, MultiPV, DebugMode;

void SetAggressivity(int percent) {
    Aggressivity = percent;
    AggressivityHalf = percent / 2;
}

void SetCowardice(int percent) {
    Cowardice = percent;
    CowardiceHalf = percent / 2;
}

void SetDefaults() {
    TranspositionSize = 524288;
    PawnHashSize = 262144;
    EvalCacheSize = 524288;
    EGTBHashSize = 1048576;
    SetAggressivity(100);
    SetCowardice(100);
    ResignValue = 800;
    ResignTimes = 3;
    BookLearningMode = KILL;
    UseBookLearning = 1;
    UseBookWeights = 1;
    BookLearningBound = 400;
    VarietyOfPlay = 10;
    UseLearning = 0;
    UseLearningData = 0;
    LogLearningIntoFile = 0;
    OwnBook = 1;
    Pondering = 1;
    PonderSwitch = 1;
    UseEGTB = 1;
    std::strcpy(EGTBPath, "c:\\tablebases\\");
    PostMode = 1;
    UciMode = 0;
    MultiPV = 1;
    DebugMode = 0;
}
