// parameters.cpp - default values of the weights, and the list of names for tuning.
//
// State: tuned, weights and the king-attack curves (defaults here, changed by LoadValues()
// and by tuning); the name buffer of NamedParameters(), filled on first use.
#include "eval/parameters.h"

#include <cstdio>

// clang-format off
constinit TunedParameters tuned = {
    .no_limit = 50000,
    .rook_against_minors   = { 0,  5,  10,  15,  20,  20,  20,  20,  20},
    .lone_minor_pawn_bonus = {30, 60, 100, 110, 120, 120, 120, 120, 120},
    .lone_rook_bonus       = {50, 50,  50,  50,  50,  45,  40,  30,  15},
    .knight = {{{-38, -23, -20, -10,  -5,  -4, -11, -76},
                {-42, -35, -10,  -1,   3,   6,  -8, -28},
                {-30, -15,   1,  10,  15,  17,   0, -13},
                {-25, -10,   6,   7,  20,  25,   7, -16}},
               {{-39, -27, -20, -16, -21, -20, -30, -40},
                {-30, -20, -10,  -5,  -5, -10, -20, -30},
                {-20, -10,   0,   5,   5,   0, -10, -20},
                {-15,  -5,   5,  10,  10,   5,  -5, -15}}},
    .king   = {{{ 10,   9,  -1,  -6,  -9, -20, -16, -15},
                { 19,  11,   0,  -5, -10, -13, -24, -21},
                { 10,   9,  -7,  -7, -15, -14, -23, -42},
                { -1,  -2, -10, -15, -12, -21, -48, -34}},
               {{-76, -48, -36, -24, -23, -38, -48, -72},
                {-48, -24, -12,  -1,   0, -12, -22, -48},
                {-36, -14,   0,  12,  12,   0, -12, -42},
                {-30,  -2,  12,  24,  24,  11,   0, -24}}},
    .chained_pawn = {{-2,  1, 7,  6, 13, 0, 0, 0},
                     { 5, -1, 7, 32,  4, 0, 0, 0},
                     { 2,  2, 6, 19, 49, 0, 0, 0},
                     { 3,  6, 9, 16, 49, 0, 0, 0}},
    .supported_passed = {0, 6, 6, 23, 28, 48, 73, 0},
    .supported_opponent_pieces_coeff = {16, 16, 16, 48, 48, 32, 16, 16, 12, 8, 4, 2, 2, 1},
    .supported_king_hor_coeff        = {1, 8, 12, 16, 8, 4, 2, 1, 0},
    .supported_king_dist_diff_coeff  = {1, 1, 1, 1, 1, 1, 2, 4, 12, 16, 24, 28, 32, 32, 32},
    .EndingThreshold = 9,
    .QueenlessEndingThreshold = 14,
};

// Fitted by gradient descent to results and search scores of 200,000 quiet positions, from
// values set by hand; the last group (factors) is set by hand.
constinit EvaluationWeights weights = {
    .imbalance = {},
    .added = {},
    .pawn = {{{  0, -37, -33, -26, -11,  -3, -17,   0},
             {  0,  -4, -16, -43, -11,   7, -36,   0},
             {  0, -10, -12, -12, -16,  28,   0,   0},
             {  0, -20,  -7,   3,   0,  26,  24,   0}},
            {{  0,  30,  18,  23,  33,  39,  21,   0},
             {  0,  25,  15,  14,  41,  59,  38,   0},
             {  0,  32,   8,   2,  16,  53,  65,   0},
             {  0,  20,   7,  -5, -17,   6,  32,   0}}},
    // At home the bishop is undeveloped.
    .bishop = {{{ -2,  -4,  -1,   2,  -2,   3, -12, -25},
               {  9,  13,  -2, -13,  -2,  46, -33, -68},
               {-28,  -6,   8,  -2,   1,  11, -38, -98},
               {-22, -10,  -8,   8,  16,  30, -72, -14}},
              {{-22, -48,   8, -23,  -5,  -4,  -1, -23},
               {-14,   3,  11,  17,   2,  13,  22,  37},
               {  4,   5,   3,  10,  18,  17,  31,  30},
               {  0,   2,  26,  21,  16,   4,  10,  20}}},
    .rook = {{{-47, -72, -59, -52, -23, -15, -10,  36}, {-56, -48, -19, -25}},
             {{ 29,  39,  34,  46,  49,  56,  47,  49}, { 44,  45,  37,  35}}},
    .queen = {{{ 27,  29,  17,   2, -13,  -7, -22, -14}, { 13,  15,   6,   8}},
              {{-64, -40,   2,  49,  63,  67,  67,  64}, { 34,  62,  76,  89}}},
    .knight_mobility = {{-49, -38, -32, -29, -20, -14, -11,  -4,   9},
                        {-84, -35,  -1,  18,  24,  33,  36,  32,  22}},
    .bishop_mobility = {{-27, -22,  -6,  -3,   2,   4,   6,   7,   9,   3,  16, -14,  22,  28},
                        {-66, -16,   2,   9,  24,  31,  31,  43,  44,  44,  48,  54,  50,  41}},
    .rook_mobility = {{-55, -55, -45, -44, -43, -36, -31, -30, -29, -24, -16, -11, -21,  -1,
                       -20},
                      { -8,   6,  -2,  20,  25,  27,  34,  31,  38,  45,  42,  48,  55,  47,
                        50}},
    .queen_mobility = {{-15, -14, -19, -16, -13,  -2,  -3,  -4,   1,   6,   7,   5,   9,   4,
                          0,  18, -10,  22,   4,  13,   6,  11,   2,   1,  12,  14,  11,  11},
                       {-22, -18, -25, -31, -25, -60, -34,  -5,   4, -10,   7,  24,  22,  36,
                         28,  21,  33,  22,  19,  17,  31,  15,  16,   6,  24,  29,  26,  28}},
    .isolated = {-4, -9},
    .isolated_half_open = {-15, -16},
    .doubled = {-10, -10},
    .backward = {0, -10},
    .backward_half_open = {-25, -10},
    .shelter_third = 1, .shelter_fourth = 4, .shelter_missing = 8, .shelter_open = 0,
    .passed = {{  2,   0,   0,  14,  59, 136},
               {  4,  16,  43,  86, 149, 236}},
    .passed_free_percent = 27, .passed_blockade_percent = 20,
    .passed_own_king = 8, .passed_enemy_king = 8,
    .passed_rook_behind = 8,
    .race_bonus = 150,
    .kpk_bonus = 550,
    .area_factor = 128,
    .rook_ending_factor = {128, 128, 128, 128},
    .pawn_stop_factor = {128, 128, 128},
    .single_bishop_factor = 128, .opposite_bishop_factor = 128,
    .bishop_pair = {24, 71},
    .knight_outpost_factor = 64,
    .bishop_outpost = 20,
    .rook_open_factor = 64, .rook_half_open_factor = 64, .rook_seventh_factor = 64,
};
// clang-format on

namespace {

struct NameRow {
    const char* family;
    int* values;
    int count;
    int indices[13];  // in tuning order
};
#define ALL_EIGHT \
    8, { 0, 1, 2, 3, 4, 5, 6, 7 }
const NameRow name_rows[] = {
    {"knight_opening_ah", tuned.knight[0][0], 2, {6, 7}}, {"knight_opening_bg", tuned.knight[0][1], ALL_EIGHT},
    {"knight_opening_cf", tuned.knight[0][2], ALL_EIGHT}, {"knight_opening_de", tuned.knight[0][3], ALL_EIGHT},
    {"knight_endgame_ah", tuned.knight[1][0], ALL_EIGHT}, {"knight_endgame_bg", tuned.knight[1][1], ALL_EIGHT},
    {"knight_endgame_cf", tuned.knight[1][2], ALL_EIGHT}, {"knight_endgame_de", tuned.knight[1][3], ALL_EIGHT},
    {"king_opening_ah", tuned.king[0][0], ALL_EIGHT},     {"king_opening_bg", tuned.king[0][1], ALL_EIGHT},
    {"king_opening_cf", tuned.king[0][2], ALL_EIGHT},     {"king_opening_de", tuned.king[0][3], ALL_EIGHT},
    {"king_endgame_ah", tuned.king[1][0], ALL_EIGHT},     {"king_endgame_bg", tuned.king[1][1], ALL_EIGHT},
    {"king_endgame_cf", tuned.king[1][2], ALL_EIGHT},     {"king_endgame_de", tuned.king[1][3], ALL_EIGHT},
};
#undef ALL_EIGHT
constexpr int chained_order[] = {1, 0, 4, 3, 2};
const char* const chained_names[4] = {"chained_pawn_ah", "chained_pawn_bg", "chained_pawn_cf", "chained_pawn_de"};
const NameRow support_rows[] = {
    {"supported_passed", tuned.supported_passed, 4, {6, 5, 4, 3}},
    {"supported_opponent_pieces_coeff", tuned.supported_opponent_pieces_coeff, 9, {0, 3, 5, 6, 8, 9, 10, 11, 12}},
    {"supported_king_hor_coeff", tuned.supported_king_hor_coeff, 4, {0, 1, 2, 3}},
    {"supported_king_dist_diff_coeff", tuned.supported_king_dist_diff_coeff, 6, {4, 5, 6, 7, 8, 9}},
};

char parameter_names[NamedParameterCount][40];
NamedParameter named_parameters[NamedParameterCount];

void AddName(int& n, const char* family, int index, int* value) {
    if (n < NamedParameterCount) {
        std::snprintf(parameter_names[n], sizeof parameter_names[n], "%s[%d]", family, index);
        named_parameters[n] = {parameter_names[n], value};
    }
    ++n;
}

}  // namespace

const NamedParameter* NamedParameters() {
    int n = 0;
    for (const NameRow& row : name_rows)
        for (int i = 0; i < row.count; ++i) AddName(n, row.family, row.indices[i], &row.values[row.indices[i]]);
    for (int rank : chained_order)
        for (int pair = 0; pair < 4; ++pair) AddName(n, chained_names[pair], rank, &tuned.chained_pawn[pair][rank]);
    for (const NameRow& row : support_rows)
        for (int i = 0; i < row.count; ++i) AddName(n, row.family, row.indices[i], &row.values[row.indices[i]]);
    return n == NamedParameterCount ? named_parameters : nullptr;
}
