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
    // Hill-climbed values, hence the odd steps.
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

// Set by hand.
constinit EvaluationWeights weights = {
    .imbalance = {},
    .added = {},
    .pawn   = {{{0, -6, -8, -6,  0,  8, 20, 0},
                {0, -2, -2,  0,  4, 12, 24, 0},
                {0,  0,  2,  6,  8, 16, 28, 0},
                {0,  0,  4, 14, 20, 24, 32, 0}},
               {{0,  2,  4,  7, 14, 26, 42, 0},
                {0,  0,  2,  5, 12, 24, 40, 0},
                {0,  0,  2,  5, 12, 24, 40, 0},
                {0, -2,  0,  3, 10, 22, 38, 0}}},
    // Towards the centre on either axis; at home the bishop is undeveloped.
    .bishop = {{{-14, -5, -2, 1,  1, -2, -5, -8},
                {-11, -2,  1, 4,  4,  1, -2, -5},
                { -8,  1,  4, 7,  7,  4,  1, -2},
                { -5,  4,  7, 10, 10, 7,  4,  1}},
               {{ -6, -4, -2, 0,  0, -2, -4, -6},
                { -4, -2,  0, 2,  2,  0, -2, -4},
                { -2,  0,  2, 4,  4,  2,  0, -2},
                {  0,  2,  4, 6,  6,  4,  2,  0}}},
    .rook  = {{{0, 0, 0, 0, 0, 0, 6, 0}, {-3, -1, 2, 4}},
              {{0, 0, 0, 0, 0, 3, 3, 3}, { 0,  0, 0, 0}}},
    .queen = {{{  0, -2, -1,  0, 0, -1, -2,  -3}, {0, 1, 2,  3}},
              {{-12, -8, -4,  0, 0, -4, -8, -12}, {0, 4, 8, 12}}},
    .knight_mobility = {{-28, -18,  -8, -2, 4, 9, 13, 16, 18},
                        {-32, -20, -10, -3, 3, 8, 12, 14, 15}},
    .bishop_mobility = {{-24, -14, -5, 1, 7, 12, 16, 19, 22, 24, 26, 28, 29, 30},
                        {-30, -18, -8, 0, 7, 13, 18, 22, 25, 28, 30, 31, 32, 32}},
    .rook_mobility   = {{-16, -11,  -7, -4, -2, 0,  2,  4,  6,  8,  9, 10, 11, 12, 12},
                        {-30, -20, -11, -4,  2, 8, 14, 19, 24, 28, 32, 35, 37, 39, 40}},
    .queen_mobility  = {{-12, -11, -10, -9, -8, -7, -6, -5, -4, -3, -2, -1,  0,  1,
                           2,   3,   4,  5,  6,  7,  8,  9, 10, 11, 12, 12, 12, 12},
                        {-24, -22, -20, -18, -16, -14, -12, -10, -8, -6, -4, -2, 0, 2,
                           4,   6,   8,  10,  12,  14,  16,  18, 20, 22, 24, 26, 28, 30}},
    .isolated           = { -8, -10},
    .isolated_half_open = {-16, -14},
    .doubled            = { -6, -14},
    .backward           = { -6,  -8},
    .backward_half_open = {-14, -10},
    .shelter_third = 2, .shelter_fourth = 4, .shelter_missing = 6, .shelter_open = 2,
    .passed = {{2,  4, 10, 24, 48,  80},
               {8, 14, 28, 52, 90, 140}},
    .passed_free_percent = 25, .passed_blockade_percent = 40,
    .passed_own_king = 2, .passed_enemy_king = 5,
    .passed_rook_behind = 15,
    .race_bonus = 150,
    .kpk_bonus = 550,
    .area_factor = 128,
    .rook_ending_factor = {128, 128, 128, 128},
    .pawn_stop_factor = {128, 128, 128},
    .single_bishop_factor = 128, .opposite_bishop_factor = 128,
    .bishop_pair = {22, 40},
    .knight_outpost_factor = 64,
    .bishop_outpost = 10,
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
#define ALL_EIGHT 8, {0, 1, 2, 3, 4, 5, 6, 7}
const NameRow name_rows[] = {
    {"knight_opening_ah", tuned.knight[0][0], 2, {6, 7}},
    {"knight_opening_bg", tuned.knight[0][1], ALL_EIGHT},
    {"knight_opening_cf", tuned.knight[0][2], ALL_EIGHT},
    {"knight_opening_de", tuned.knight[0][3], ALL_EIGHT},
    {"knight_endgame_ah", tuned.knight[1][0], ALL_EIGHT},
    {"knight_endgame_bg", tuned.knight[1][1], ALL_EIGHT},
    {"knight_endgame_cf", tuned.knight[1][2], ALL_EIGHT},
    {"knight_endgame_de", tuned.knight[1][3], ALL_EIGHT},
    {"king_opening_ah", tuned.king[0][0], ALL_EIGHT},
    {"king_opening_bg", tuned.king[0][1], ALL_EIGHT},
    {"king_opening_cf", tuned.king[0][2], ALL_EIGHT},
    {"king_opening_de", tuned.king[0][3], ALL_EIGHT},
    {"king_endgame_ah", tuned.king[1][0], ALL_EIGHT},
    {"king_endgame_bg", tuned.king[1][1], ALL_EIGHT},
    {"king_endgame_cf", tuned.king[1][2], ALL_EIGHT},
    {"king_endgame_de", tuned.king[1][3], ALL_EIGHT},
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
        for (int pair = 0; pair < 4; ++pair)
            AddName(n, chained_names[pair], rank, &tuned.chained_pawn[pair][rank]);
    for (const NameRow& row : support_rows)
        for (int i = 0; i < row.count; ++i) AddName(n, row.family, row.indices[i], &row.values[row.indices[i]]);
    return n == NamedParameterCount ? named_parameters : nullptr;
}
