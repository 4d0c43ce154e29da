// The card engine the other way round: card structs into columns and into free lists.
#include "frame/card_writer.hpp"

#include <gtest/gtest.h>

#include <random>

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
        const S read = {12,
                        'L',
                        0,
                        Text<2>::of(" 0"),
                        BLANK<12>,
                        BLANK<2>,
                        item[0],
                        item[1] * 0.017453292519943295,
                        item[2] * s.run.cte.RBASE,
                        0,
                        0,
                        0};
        EXPECT_EQ(read.volt, card.volt);
        EXPECT_DOUBLE_EQ(read.angle, card.angle);
        EXPECT_DOUBLE_EQ(read.power, card.power);
        printer.list(again, read, 6);
        ASSERT_EQ(again, text);
    }
}

}  // namespace
}  // namespace korvane::testing
