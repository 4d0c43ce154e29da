// The text routines of card readers.
#include "frame/card_text.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace korvane {
namespace {

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
}  // namespace korvane
