// driver_words_test.cpp - words of a line, and numbers written by strangers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/words.h"

namespace {

class Words : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(AllocateWords()); }
    static std::vector<std::string> Split(const std::string& line, const char* delimiters = " ") {
        std::vector<std::string> words;
        SplitWords(line.c_str(), delimiters);
        for (int i = 0; i < word_count; ++i) words.push_back(Word(i));
        return words;
    }
};

TEST_F(Words, Split) {
    using List = std::vector<std::string>;
    EXPECT_EQ(Split("level 40 5:30 0", " :"), (List{"level", "40", "5", "30", "0"}));
    EXPECT_EQ(Split("  a   b "), (List{"a", "b"}));
    EXPECT_EQ(Split("Key=\"a value\"", " =\""), (List{"Key", "a", "value"}));
    EXPECT_EQ(Split(""), List{});
    EXPECT_EQ(Split("    "), List{});
}

// Paths and positions are taken from the line, so the starts must be those in the line.
TEST_F(Words, Starts) {
    const std::string line = "  EGTBPath =  c:\\two words";
    Split(line, " =");
    EXPECT_EQ(line.substr(size_t(WordStart(1))), "c:\\two words");
    EXPECT_EQ(WordStart(9), int(line.size()));
    EXPECT_STREQ(Word(9), "");
}

TEST_F(Words, LongWordsAndManyWords) {
    EXPECT_EQ(Split(std::string(2000, 'x'))[0], std::string(511, 'x'));
    std::string many;
    for (int i = 0; i < 3000; ++i) many += "abcdefghijklmnopqrst ";
    const std::vector<std::string> words = Split(many);
    ASSERT_EQ(int(words.size()), WordSlots);
    EXPECT_EQ(words[63], "abcdefghijklmnopqrst");
    EXPECT_EQ(words[64], "abcdefghijklmno");
    EXPECT_EQ(words.back(), "abcdefghijklmno");
}

TEST(Keywords, AgreeToTheEndOfTheShorter) {
    EXPECT_TRUE(KeywordMatches("st", "stop"));
    EXPECT_TRUE(KeywordMatches("stop", "  ST"));
    EXPECT_FALSE(KeywordMatches("stop", "st 1"));
    EXPECT_FALSE(KeywordMatches("stop", ""));
    EXPECT_FALSE(KeywordMatches("stop", "   "));
}

TEST(Numbers, Whole) {
    struct Case {
        const char* text;
        int64_t value;
    };
    for (const Case& c : {Case{"12", 12},
                          {"-5", -5},
                          {"+7x", 7},
                          {"x", 0},
                          {"", 0},
                          {"1000", 100},
                          {"99999999999999999999999", 100},
                          {"-99999999999999999999999", -100}})
        EXPECT_EQ(ParseNumber(c.text, -100, 100), c.value) << c.text;
}

TEST(Numbers, Decimal) {
    struct Case {
        const char* text;
        int64_t value;  // hundredths
    };
    for (const Case& c : {Case{"2", 200},
                          {"0.1", 10},
                          {"0.05", 5},
                          {".5", 50},
                          {"1.999", 200},
                          {"-1.5", -150},
                          {"inf", 0},
                          {"nan", 0},
                          {"", 0},
                          {".", 0},
                          {"1e9", 100},
                          {"0x1F", 0},
                          {"99999999999999999999999999", 1000000},
                          {"1.00000000000000000000000000001", 100}})
        EXPECT_EQ(ParseDecimal(c.text, 100, -1000000, 1000000), c.value) << c.text;
}

}  // namespace
