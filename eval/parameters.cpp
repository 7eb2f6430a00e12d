// parameters.cpp - default values of the weights, and the list of names for tuning.
//
// State: tuned, term_weights, weights (changed by LoadValues() and by tuning); the name buffer
// of NamedParameters(), filled on first use.
#include "eval/parameters.h"

#include <cstdio>
#include <iterator>

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
// clang-format on

#define LIST(...) __VA_ARGS__
constinit int term_weights[2][TermSlots] = {
    {
#define TERM(name, count, text, opening, endgame) LIST opening,
#define SQUARE_TERM TERM
#define PASSED_TERM TERM
#define OWN_TERM TERM
#include "eval/weights.def"
    },
    {
#define TERM(name, count, text, opening, endgame) LIST endgame,
#define SQUARE_TERM TERM
#define PASSED_TERM TERM
#define OWN_TERM TERM
#include "eval/weights.def"
    },
};

constinit EvaluationWeights weights = {
    .imbalance = {},
    .added = {},
#define NUMBER(name, value, low, high, text) .name = value,
#define NUMBERS(name, count, low, high, text, values) .name = {LIST values},
#include "eval/weights.def"
};

const TermInfo term_list[] = {
#define TERM(name, count, text, opening, endgame) {#name, text, name, count, TermKind::Common},
#define SQUARE_TERM(name, count, text, opening, endgame) {#name, text, name, count, TermKind::Square},
#define PASSED_TERM(name, count, text, opening, endgame) {#name, text, name, count, TermKind::Passed},
#define OWN_TERM(name, count, text, opening, endgame) {#name, text, name, count, TermKind::Own},
#include "eval/weights.def"
};
const int TermListLength = int(std::size(term_list));

const NumberInfo number_list[] = {
#define NUMBER(name, value, low, high, text) {#name, text, &weights.name, 1, low, high},
#define NUMBERS(name, count, low, high, text, values) {#name, text, weights.name, count, low, high},
#include "eval/weights.def"
};
const int NumberListLength = int(std::size(number_list));

// A row too short or too long would shift every term behind it.
#define TERM(name, count, text, opening, endgame)                   \
    static_assert(std::size((const int[]){LIST opening}) == (count) \
                  && std::size((const int[]){LIST endgame}) == (count));
#define SQUARE_TERM TERM
#define PASSED_TERM TERM
#define OWN_TERM TERM
#include "eval/weights.def"

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
