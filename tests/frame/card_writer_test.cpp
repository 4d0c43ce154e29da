// The card engine the other way round: card structs into columns and into free lists.
#include "frame/card_writer.hpp"

#include <gtest/gtest.h>

#include <random>

#include "frame/card_text.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

// The columns of a bus card, with rules that a block may have.
struct Sample {
    int number;
    char state;
    int type;
    Text<2> group;
    Text<12> name;
    Text<2> limit;
    double volt, angle, power, other, least, most;
};
using S = Sample;

constexpr Field<Sample> FIELDS[] = {
    {1, 5, &S::number, {.key = true}},
    {7, 7, &S::state, {.add = "L", .letters = Letters::upper}},
    {8, 8, &S::type, {.add = "0"}},
    {9, 10, &S::group, {.add = " 0", .letters = Letters::upper, .right = true}},
    {11, 22, &S::name},
    {23, 24, &S::limit},
    {25, 28, &S::volt, {.add = "1.0"}},
    {29, 32, &S::angle, {.unit = Scale::degrees, .zero_is_none = true}},
    {33, 37, &S::power, {.add = "0.", .unit = Scale::power}},
    {38, 42, &S::other, {.unit = Scale::power}},
    {43, 47, &S::least, {.add = "0.", .unit = Scale::power, .tiny_is_zero = true}},
    {48, 52, &S::most, {.add = "0.", .unit = Scale::power, .tiny_is_zero = true}},
};

class CardWriter : public ::testing::Test {
protected:
    Session s;
    S sample{12, 'L', 0, Text<2>::of(" 0"), BLANK<12>, BLANK<2>, 1.0, 0, 0, 0, 0, 0};
    CardWriter() { s.start(); }

    std::string columns(const S& card, std::initializer_list<CardPrinter<S>::Member> kept = {},
                        Implied implied = Implied::point) {
        CardPrinter<S>(s.run, "INPBUS", FIELDS, kept, implied).show(s.run, card);
        return std::string(s.run.CARD.trimmed());
    }
    std::string list(const S& card, std::initializer_list<CardPrinter<S>::Member> kept = {}) {
        std::string text;
        CardPrinter<S>(s.run, "INPBUS", FIELDS, kept).list(text, card, 6);
        return text;
    }
};

TEST_F(CardWriter, WhatABlankStandsForStaysBlank) {
    EXPECT_EQ(columns(sample), "   12" + std::string(35, ' ') + "0.") << "a field without a default shows its zero";
    EXPECT_EQ(list(sample), "12,,,,,,,,,,0");
    // One away from the default each; then fields that are to be kept whatever they hold.
    const S other{12, 'D', 1, Text<2>::of("A1"), Text<12>::of("NORTE"), BLANK<2>, .99, 0.1, 0.5, -1, 1, 0};
    EXPECT_EQ(columns(other), "   12 D1A1NORTE          .995.73  50.-100. 100.");
    EXPECT_EQ(list(other), "12,,D,1,A1,NORTE,,0.99,5.729577951308232,50,-100,100");
    EXPECT_EQ(columns(sample, {&S::state, &S::volt, &S::angle, &S::most}),
              "   12 L                   1.  0.        0.        0.");
    EXPECT_EQ(list(sample, {&S::state, &S::least}), "12,,L,,,,,,,,0,0.0001") << "a blank limit would be another one";
}

TEST_F(CardWriter, NumbersTakeTheFormThatReadsBackClosest) {
    const struct {
        double volt;
        const char *point, *whole;
    } cases[] = {{1.045, "1045", "1045"}, {0.95, " .95", " 950"}, {1.1, " 1.1", "1100"}, {12, " 12.", " 12."},
                 {2e-5, "2E-5", "2E-5"},  {0.0, "  0.", "   0"},  {-.5, " -.5", "-500"}, {1.04537, "1045", "1045"}};
    for (const auto& c : cases) {
        sample.volt = c.volt;
        EXPECT_EQ(columns(sample).substr(24, 4), c.point);
        EXPECT_EQ(columns(sample, {}, Implied::whole).substr(24, 4), c.whole);
    }
}

TEST_F(CardWriter, TextsOfAListAreQuotedWhereTheyMustBe) {
    for (const auto& [name, item] : {std::pair{"SUL 1", "SUL 1"},
                                     {" SUL", "\" SUL\""},
                                     {"A,B", "\"A,B\""},
                                     {"A;", "\"A;\""},
                                     {"4\"", "\"4\"\"\""},
                                     {"", ""}}) {
        sample.name = std::string_view(name);
        EXPECT_EQ(list(sample), "12,,,,," + std::string(item) + ",,,,,0");
    }
}

// A list loses nothing that a list can say: most values read back bit by bit, and none is off by more than a rounding.
// What was written once is written the same again.
TEST_F(CardWriter, NumbersOfAListReadBack) {
    std::mt19937_64 random(1);
    const CardPrinter<S> printer(s.run, "INPBUS", FIELDS);
    for (int i = 0; i < 3000; ++i) {
        S card = sample;
        card.volt = double(random()) / 1e19;
        card.angle = double(random()) / 1e18 - 9;
        card.power = std::ldexp(double(random()), -int(random() % 100));
        std::string text, again;
        printer.list(text, card, 6);
        double item[3];
        ASSERT_EQ(std::sscanf(text.c_str(), "12,,,,,,,%lf,%lf,%lf", &item[0], &item[1], &item[2]), 3) << text;
        S read = sample;
        read.volt = item[0];
        read.angle = item[1] * 0.017453292519943295;
        read.power = item[2] * s.run.cte.RBASE;
        EXPECT_EQ(nearly(read.volt, read.angle, read.power), nearly(card.volt, card.angle, card.power));
        printer.list(again, read, 6);
        ASSERT_EQ(again, text);
    }
}

// --- the text routines of card readers

TEST(CardText, Justify) {
    const struct {
        std::string text, right, left;
        int column, kept;
    } cases[] = {
        {" 1 2 ", "   12", "12   ", 4, 2},       {"     ", "     ", "     ", 6, 0}, {"12345", "12345", "12345", 1, 5},
        {"1    ", "    1", "1    ", 5, 1},       {"    1", "    1", "1    ", 5, 1}, {"", "", "", 1, 0},
        {"a b c d", "   abcd", "abcd   ", 4, 4},
    };
    for (const auto& c : cases) {
        std::string text = c.text + "|behind";
        EXPECT_EQ(RJUST(text.data(), int(c.text.size())), c.column) << c.text;
        EXPECT_EQ(text, c.right + "|behind");
        text = c.text + "|behind";
        EXPECT_EQ(LJUST(text.data(), int(c.text.size())), c.kept) << c.text;
        EXPECT_EQ(text, c.left + "|behind");
    }
    std::string stopped(" a\0b ", 5);
    EXPECT_EQ(LJUST(stopped.data(), 5), 1);
    EXPECT_EQ(stopped, "a    ");
}

TEST(CardText, UpperLeavesAllButLettersAlone) {
    std::string all;
    for (int c = 0; c < 256; ++c) all += char(c);
    std::string upper = all;
    UPPER(upper.data(), 256);
    for (std::size_t c = 0; c < 256; ++c) EXPECT_EQ(upper[c], c >= 'a' && c <= 'z' ? char(c - 32) : char(c)) << c;
    std::string part = "abcd";
    UPPER(part.data(), 2);
    EXPECT_EQ(part, "ABcd");
}

TEST(CardText, TrimAndPoints) {
    EXPECT_EQ(TRMLEN("ab c   ", 7), 4);
    EXPECT_EQ(TRMLEN("ab c   ", 2), 2);
    EXPECT_EQ(TRMLEN("       ", 7), 0);
    EXPECT_EQ(TRMLEN("", 0), 0);
    for (int start : {-1, 0, 1, 3, 4, 9}) {
        std::string text = "1,2,3,4";
        DECPNT(text.data(), 6, start);
        std::string want = "1,2,3,4";
        for (int i = 1; i <= 6; ++i)
            if (i >= start && want[std::size_t(i - 1)] == ',') want[std::size_t(i - 1)] = '.';
        EXPECT_EQ(text, want) << start;
    }
    EXPECT_TRUE(blank("") && blank("   ") && !blank(" x "));
}

}  // namespace
}  // namespace korvane::testing
