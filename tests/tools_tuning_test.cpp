// tools_tuning_test.cpp - rewriting weights.def, reading training data, and fitting: against the
// compiler's reading of the file, real evaluations, and weights spoiled on purpose.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "board/legality.h"
#include "board/settings.h"
#include "eval/tally.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"
#include "tests/support/temporary_path.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"
#include "tools/common/weight_file.h"
#include "tools/common/weight_fit.h"

namespace {

std::string Contents(const std::string& path) {
    std::string text;
    EXPECT_TRUE(ReadWholeFile(path, text)) << path;
    return text;
}

void Write(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

// Weights are global, and the pawn hash would remember old ones.
class Tuning : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        path_ = TemporaryPath(".tmp");
        std::copy_n(&term_weights[0][0], 2 * TermSlots, saved_terms_);
        saved_weights_ = weights;
        AllocatePawnHash(0);
    }
    void TearDown() override {
        std::filesystem::remove_all(path_);
        std::copy_n(saved_terms_, 2 * TermSlots, &term_weights[0][0]);
        weights = saved_weights_;
        AllocatePawnHash(PawnHashSize);
        ResetEngine();
        RebuildEvaluation();
    }
    std::string path_;
    int saved_terms_[2 * TermSlots];
    EvaluationWeights saved_weights_;
};

constexpr const char* SmallSource = R"(// TERM(Remark, 1, "no entry", (1), (1))
#define LONG(a) \
    TERM(a, 1)
TERM(One, 1, "with (3), commas, and 4", (5), (-6))  // 7
SQUARE_TERM(Table, 4, "two lines",
    (   0, -10,
        8,   9),
    (1, 2,
     3, 4))
NUMBER(number, -20, -200, 200, "between bounds")
NUMBERS(several, 2, 0, 256, "in one line", (10,  20))
)";

TEST(WeightText, ChangesTheNumbersNamedAndNothingElse) {
    std::vector<WeightList> lists;
    std::string error;
    ASSERT_TRUE(ParseWeightText(SmallSource, lists, error)) << error;
    ASSERT_EQ(lists.size(), 6u);
    EXPECT_EQ(WithValues(SmallSource, lists), SmallSource);

    lists[1].values = {106};            // the endgame half, wider
    lists[2].values = {-100, 0, 8, 1};  // a table: columns stay
    lists[4].values = {5};              // not a bound
    lists[5].values = {10, 200};
    EXPECT_EQ(WithValues(SmallSource, lists), R"(// TERM(Remark, 1, "no entry", (1), (1))
#define LONG(a) \
    TERM(a, 1)
TERM(One, 1, "with (3), commas, and 4", (5), (106))  // 7
SQUARE_TERM(Table, 4, "two lines",
    (-100,   0,
        8,   1),
    (1, 2,
     3, 4))
NUMBER(number, 5, -200, 200, "between bounds")
NUMBERS(several, 2, 0, 256, "in one line", (10,  200))
)");
}

TEST(WeightText, RefusesWhatItCannotRead) {
    for (const char* text : {"TERM(Short, 2, \"one value\", (1), (1, 2))", "TERM(Half, 1, \"no endgame\", (1))",
                             "NUMBER(open, 1, 0, 2, \"no end\"", "OTHER(x)", "NUMBER(words, one, 0, 2, \"\")"}) {
        std::vector<WeightList> lists;
        std::string error;
        EXPECT_FALSE(ParseWeightText(text, lists, error)) << text;
        EXPECT_NE(error.find("line 1"), std::string::npos) << text;
    }
}

constexpr const char* Source = CORVANTIS_SOURCE_DIR "/eval/weights.def";

// The compiler has read the same file.
TEST_F(Tuning, SourceFileTakesTheProgramsWeights) {
    const std::string source = Contents(Source);
    Write(path_, source);
    std::string error;
    EXPECT_TRUE(CheckWeightFile(path_, error)) << "the built-in weights are those of the file: " << error;

    term_weights[1][KnightMobility + 3] = 377;
    weights.rook_ending_factor[2] = 99;
    term_weights[0][BishopPair] += 1;  // not fitted
    EXPECT_FALSE(CheckWeightFile(path_, error)) << "built from another file";
    ASSERT_TRUE(WriteWeightFile(path_, {&term_weights[1][KnightMobility + 3], &weights.rook_ending_factor[2]}, error))
        << error;
    std::vector<WeightList> expected, after;
    ASSERT_TRUE(ParseWeightText(source, expected, error) && ParseWeightText(Contents(path_), after, error)) << error;
    for (WeightList& list : expected) {
        if (list.name == "rook_ending_factor") list.values[2] = 99;
        if (list.name == "KnightMobility" && list.phase == 1) list.values[3] = 377;
    }
    EXPECT_EQ(Contents(path_), WithValues(source, expected));
}

TEST_F(Tuning, SourceFileMustBeWhole) {
    const std::string source = Contents(Source);
    const size_t entry = source.find("\nTERM(BishopPair,") + 1, end = source.find('\n', entry) + 1;
    const struct {
        std::string text;
        const char* error;
    } cases[] = {{source.substr(0, entry) + source.substr(end), "missing"},
                 {source + source.substr(entry, end - entry), "twice"},
                 {"", "missing"}};
    for (const auto& c : cases) {
        Write(path_, c.text);
        std::string error;
        EXPECT_FALSE(CheckWeightFile(path_, error)) << c.error;
        EXPECT_NE(error.find(c.error), std::string::npos) << error;
    }
}

// Positions of a folder with a parameter file must not depend on it, nor a fit start from it.
TEST_F(Tuning, ValuesBesideAToolChangeNothing) {
    std::filesystem::create_directory(path_);
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(path_);
    std::string numbers;
    for (int i = 0; i < FileValueCount; ++i) numbers += "77\n";
    Write("values.txt", numbers);
    EXPECT_TRUE(InitialiseEngine());
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::equal(saved_terms_, saved_terms_ + 2 * TermSlots, &term_weights[0][0]));
    EXPECT_EQ(weights.race_bonus, saved_weights_.race_bonus);
}

TEST_F(Tuning, TrainingLines) {
    Write(path_,
          "4k3/pppp4/8/8/8/2N5/PPPP4/4K2R w K - ce 300; c0 \"1-0\";\n"    // used
          "4k2r/pppp4/2n5/8/8/8/PPPP4/4K3 b k - ce 300; c0 \"0-1\";\n"    // used: Black won, and moves
          "4k3/pppp4/2n5/8/8/8/PPPP4/4K2R w K - c0 \"1/2-1/2\";\n"        // used: no score
          "4k3/pppp4/8/8/8/2N5/PPPP3r/4K2R w - - c0 \"1-0\"; ce 0;\n"     // used
          "4k3/pppp4/8/8/8/2N5/PPPP4/4K2R w K - ce 0; c0 \"0-1\";\n"      // the first once more
          "4k3/pppp4/8/8/8/8/PPPP4/r3K2R w - - ce 0; c0 \"1-0\";\n"       // in check
          "4k3/8/8/8/8/8/8/4K2R w K - ce 500; c0 \"1-0\";\n"              // settled by a rule
          "4k3/pppp4/8/8/8/2N5/PPPP4/QQ2K2R w K - ce 900; c0 \"1-0\";\n"  // decided
          "4k3/pppp4/8/8/8/2N5/PPPP4/4K2R w K - ce 300; c0 \"*\";\n"      // no result
          "not a position\n");
    TrainingSet set;
    TrainingFileReport report;
    ASSERT_TRUE(ReadTrainingFile(path_, 1.0, set, report));
    EXPECT_EQ(report.lines, 10);
    EXPECT_EQ(report.repeated, 1);
    EXPECT_EQ(report.unreadable, 2);
    EXPECT_EQ(report.dropped, 3);
    EXPECT_EQ(set.targets, (std::vector<float>{1, 1, 0.5, 1})) << "from the side to move, results alone";

    TrainingSet mixed;
    ASSERT_TRUE(ReadTrainingFile(path_, 0.5, mixed, report));
    EXPECT_EQ(mixed.targets[0], mixed.targets[1]) << "the same seen by Black";
    EXPECT_LT(mixed.targets[0], 1);
    EXPECT_FLOAT_EQ(mixed.targets[2], 0.5);
    EXPECT_FLOAT_EQ(mixed.targets[3], 0.75) << "even score, won";
    TrainingFileReport second;
    ASSERT_TRUE(ReadTrainingFile(path_, 0.5, mixed, second));
    EXPECT_EQ(second.used, 0) << "all of it came before";
    // Plain text under the name of a compressed file is a broken one.
    const std::string broken = path_ + ".gz";
    std::filesystem::rename(path_, broken);
    TrainingSet none;
    for (const std::string& path : {path_, broken}) EXPECT_FALSE(ReadTrainingFile(path, 0.5, none, second)) << path;
    EXPECT_EQ(none.Size(), 0u);
    std::filesystem::remove(broken);
}

TEST(ToolText, NumbersAreWholeAndInRange) {
    int number = 7;
    for (const char* word : {"", "12x", "x", "1 ", "101", "99999999999999999999"})
        EXPECT_FALSE(ParseNumber(word, -100, 100, number) || number != 7) << word;
    for (const char* word : {"12", "-5"}) {
        EXPECT_TRUE(ParseNumber(word, -100, 100, number));
        EXPECT_EQ(std::to_string(number), word);
    }
    double share = 7;
    EXPECT_TRUE(ParseNumber("0.25", 0, 1, share));
    EXPECT_EQ(share, 0.25);
    for (const char* word : {"nan", "inf", "0.5%", "2"}) EXPECT_FALSE(ParseNumber(word, 0, 1, share)) << word;
}

// Expectations of what curve the scores came from: known by construction.
TEST(ScoreScale, IsFoundAgain) {
    std::vector<float> scores, results;
    for (int score = -600; score <= 600; score += 10) {
        scores.push_back(float(score));
        results.push_back(float(ExpectedScore(score, 173)));
    }
    EXPECT_NEAR(FitScale(scores, results), 173, 1);
}

// Positions of games of chance that the evaluation adds up and that are not decided; the target is
// what the present weights say.
TrainingSet GamesOfChance(int games, double scale) {
    TrainingSet set;
    TestRandom random{20261121};
    for (int game = 0; game < games; ++game) {
        SetInitialPosition();
        RandomGame(random, 140, [&](const MoveList&) {
            const Position position = thread_board;
            if (Checkers(SideToMove()) || random.Below(8)) return;
            const int score = StaticScore(position, true);
            if (std::abs(score) < 500 && !evaluation_trace.exact) {
                set.positions.push_back(position);
                set.targets.push_back(float(ExpectedScore(score, scale)));
                set.held_out.push_back(game % 10 == 9);
            }
            thread_board = position;
        });
    }
    return set;
}

// Slopes against evaluations with the weight really changed, for weights of every kind. Rounding
// and special endings allow some to differ.
TEST_F(Tuning, SlopesPredictTheEvaluation) {
    FitSettings settings;
    settings.only = {"PawnSquares",  "RookFiles",   "PassedPawn",    "PawnIsland",   "BishopPair",
                     "RookMobility", "ShelterPawn", "StormPawn",     "KingPressure", "FlankAttack",
                     "IsolatedPawn", "PassedFile",  "SupportedPawn", "chances_base", "opposite_bishops_pieces"};
    TrainingSet set = GamesOfChance(60, 200);
    ASSERT_GT(set.Size(), 300u);
    const std::vector<FreeWeight> list = ListFreeWeights(settings, nullptr);
    const LinearModel model = Linearise(set, list);
    int touched = 0, good = 0, untouched_changes = 0;
    for (size_t i = 0; i < list.size(); ++i) {
        const int step = list[i].slot < 0 ? list[i].step : 12;
        *list[i].value += step;
        BuildPieceSquareTable();
        RefreshSums(set);
        for (size_t p = 0; p < set.Size(); ++p) {
            float slope = 0;
            for (size_t k = model.begin[p]; k < model.begin[p + 1]; ++k)
                if (model.weight[k] == i) slope = model.slope[k];
            const float change = float(StaticScore(set.positions[p])) - model.base[p];
            touched += slope != 0;
            good += slope != 0 && std::abs(change - slope * float(step)) <= 2 + std::abs(change) / 4;
            untouched_changes += slope == 0 && std::abs(change) > 1;
        }
        *list[i].value -= step;
    }
    EXPECT_GT(touched, 5000);
    EXPECT_GT(good, touched * 95 / 100);
    EXPECT_LT(untouched_changes, touched / 100);
}

TEST_F(Tuning, FitFindsSpoiledWeights) {
    constexpr double Scale = 200;
    weights.shelter_centre = 6;  // where the shelter curve is steep
    TrainingSet set = GamesOfChance(250, Scale);
    ASSERT_GT(set.Size(), 1500u);
    const int pair = term_weights[0][BishopPair], island = term_weights[1][PawnIsland],
              castling = weights.shelter_centre;
    FitSettings settings;
    settings.only = {"BishopPair", "PawnIsland", "RookOpen", "DoubledPawn", "shelter_centre"};
    settings.scale = Scale;
    settings.term_spread = 100;
    settings.number_spread = 1;
    term_weights[0][BishopPair] += 60;
    term_weights[1][PawnIsland] -= 60;
    weights.shelter_centre += 6;
    const int open = term_weights[0][RookOpen];
    const FitReport report = FitWeights(set, settings);
    EXPECT_NEAR(term_weights[0][BishopPair], pair, 10);
    EXPECT_NEAR(term_weights[1][PawnIsland], island, 10);
    EXPECT_NEAR(weights.shelter_centre, castling, 2);
    EXPECT_NEAR(term_weights[0][RookOpen], open, 10) << "was right before";
    EXPECT_LT(report.after.held_out, report.before.held_out / 10);

    // What the fit says by itself is what anybody finds with the weights it leaves.
    const FitErrors errors = EvaluationErrors(set, Scale);
    EXPECT_DOUBLE_EQ(errors.held_out, report.after.held_out);
}

// A table of boards is smoothed along files and ranks, and not from one board to the next.
TEST_F(Tuning, NeighboursOnTheBoardAreNeighboursInTheFit) {
    const struct {
        const char *why, *term;
        int slot, beside, above;
    } cases[] = {
        {"the first square", "OwnKingPawn", 0, 0, 0},        {"the h file beside the g file", "OwnKingPawn", 7, 1, 0},
        {"the a file: none beside", "OwnKingPawn", 8, 0, 8}, {"inside", "OwnKingPawn", 12, 1, 8},
        {"the next board begins", "OwnKingPawn", 64, 0, 0},  {"its first rank", "OwnKingPawn", 67, 1, 0},
        {"a plain row", "KnightMobility", 8, 1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        FitSettings settings;
        settings.only = {c.term};
        const FreeWeight weight = ListFreeWeights(settings, nullptr)[size_t(c.slot)];
        EXPECT_EQ(weight.beside, c.beside);
        EXPECT_EQ(weight.above, c.above);
    }
}

TEST_F(Tuning, NamesSelectWeights) {
    FitSettings settings;
    settings.only = {"RookFiles", "rook_ending_factor"};
    EXPECT_EQ(ListFreeWeights(settings, nullptr).size(), 12u);
    settings.freeze = {"RookFiles"};
    EXPECT_EQ(ListFreeWeights(settings, nullptr).size(), 4u);
    settings.freeze = {"NoSuchTerm"};
    std::string unknown;
    EXPECT_TRUE(ListFreeWeights(settings, &unknown).empty());
    EXPECT_EQ(unknown, "NoSuchTerm");
}

}  // namespace
