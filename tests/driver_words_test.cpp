// driver_words_test.cpp - words of a line, and numbers written by strangers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/words.h"

namespace {

using List = std::vector<std::string>;

List Split(const std::string& line, const char* delimiters = " ") {
    List words;
    EXPECT_TRUE(AllocateWords());
    SplitWords(line.c_str(), delimiters);
    for (int i = 0; i < word_count; ++i) words.push_back(Word(i));
    return words;
}

TEST(Words, Split) {
    EXPECT_EQ(Split("level 40 5:30 0", " :"), (List{"level", "40", "5", "30", "0"}));
    EXPECT_EQ(Split("  Key=\"a value\" ", " =\""), (List{"Key", "a", "value"}));
    EXPECT_EQ(Split("    "), List{});
    // Paths and positions are taken from the line, so the starts must be those in the line.
    const std::string line = "  EGTBPath =  c:\\two words";
    Split(line, " =");
    EXPECT_EQ(line.substr(size_t(WordStart(1))), "c:\\two words");
    EXPECT_EQ(WordStart(9), int(line.size()));
    EXPECT_STREQ(Word(9), "");
}

TEST(Words, LongWordsAndManyWords) {
    EXPECT_EQ(Split(std::string(2000, 'x'))[0], std::string(511, 'x'));
    std::string many;
    for (int i = 0; i < 3000; ++i) many += "abcdefghijklmnopqrst ";
    const List words = Split(many);
    ASSERT_EQ(int(words.size()), WordSlots);
    EXPECT_EQ(words[63], "abcdefghijklmnopqrst");
    EXPECT_EQ(words[64], "abcdefghijklmno");
    EXPECT_EQ(words.back(), "abcdefghijklmno");
}

TEST(Keywords, AgreeToTheEndOfTheShorter) {
    EXPECT_TRUE(KeywordMatches("st", "stop"));
    EXPECT_TRUE(KeywordMatches("stop", "  ST"));
    for (const char* line : {"st 1", "", "   "}) EXPECT_FALSE(KeywordMatches("stop", line)) << line;
}

TEST(Numbers, WholeAndDecimal) {
    const char* const huge = "99999999999999999999999";
    const char* const precise = "1.00000000000000000000000000001";
    struct Case {
        const char* text;
        int64_t value;
    };
    for (const Case& c : {Case{"12", 12}, {"-5", -5}, {"+7x", 7}, {"x", 0}, {"1000", 100}, {huge, 100}})
        EXPECT_EQ(ParseNumber(c.text, -100, 100), c.value) << c.text;
    EXPECT_EQ(ParseNumber(("-" + std::string(huge)).c_str(), -100, 100), -100);
    const Case hundredths[] = {{"2", 200},  {"0.05", 5},     {".5", 50},    {"1.999", 200}, {"-1.5", -150},
                               {"inf", 0},  {"nan", 0},      {"", 0},       {".", 0},       {"1e9", 100},
                               {"0x1F", 0}, {huge, 1000000}, {precise, 100}};
    for (const Case& c : hundredths) EXPECT_EQ(ParseDecimal(c.text, 100, -1000000, 1000000), c.value) << c.text;
}

}  // namespace
