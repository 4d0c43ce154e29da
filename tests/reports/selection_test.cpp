// Selection lines of buses.
#include <gtest/gtest.h>

#include "reports/reports.hpp"
#include "reports/small_network.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

constexpr int END = END_OF_SELECTION;

TEST(Selection, LinesNameBusesByNumberRangeAndPartOfTheName) {
    struct Case {
        std::string lines;
        std::vector<int> numbers, messages;
    };
    const std::string blanks(48, ' ');
    const Case cases[] = {
        {"3 1 3 00001", {3, 1}, {}},  // as asked for, each once
        {"1:3", {1, 2, 3}, {}},
        {"3 : 1", {1, 2, 3}, {}},   // turned round, with blanks
        {"6 5: 4", {4, 5, 6}, {}},  // ranges come first
        {"1:99999", {1, 2, 3, 4, 5, 6}, {}},
        {"99999", {END}, {}},
        {"4 99999 1", {4, END}, {}},
        {"", {END}, {}},     // the end of input ends the selection
        {"\n\n5", {5}, {}},  // a line without a bus: the next one
        {"(note\n5", {5}, {}},
        {"norte", {1, 2}, {}},  // anywhere in the name, capital or not
        {"RTA", {6}, {}},
        {"77", {2}, {}},  // no such bus: part of a name
        {"1:3:5 4", {4}, {110}},
        {"A1:3 4", {4}, {110}},
        {"XYZ 4", {4}, {110}},
        {"7:9 4", {4}, {110}},
        {"7:9\nXYZ\n4", {4}, {110, 110}},
        {"NORTE 1", {1, 2}, {}},
        {"ABCDEFGHIJKLM 4", {4}, {100}},
        {"ABCDEFGHIJKL 4", {4}, {110}},
        {"123456 4", {4}, {110}},
        {"12345678901234567890 4", {4}, {100}},
        {"99999999999:1 4", {1, 2, 3, 4, 5, 6}, {}},  // beyond every bus
        {blanks + "1:3 4", {4}, {110}},               // a range ends within column 50
        {blanks.substr(1) + "1:3 4", {1, 2, 3, 4}, {}},
        {"4" + std::string(79, ' ') + "5", {4}, {-1}},  // column 81
    };
    Session s(small_network() + "FIM\n");
    for (const Case& c : cases) {
        s.run.msg.printed.clear();
        s.feed(c.lines);
        std::vector<int> list{77};
        SELBAR(s.run, "RELBAR", list);
        for (int& k : list)
            if (k != END) k = s.store().bus.NOINT(k);
        EXPECT_EQ(list, c.numbers) << '"' << c.lines << '"';
        EXPECT_EQ(s.numbers("SELBAR"), c.messages) << '"' << c.lines << '"';
    }
}

TEST(Selection, AWordInErrorIsMarkedWhereItStands) {
    Session s(small_network() + "FIM\n");
    s.os.output.clear();
    s.feed("4 XYZ 1");
    std::vector<int> list;
    SELBAR(s.run, "RELBAR", list);
    EXPECT_NE(s.console().find("4 XYZ 1\n  ???\n"), std::string::npos) << s.console();
}

TEST(Selection, AnOperatorIsAskedUntilTheSelectionEnds) {
    SessionOptions console{.via = Via::console};
    const Session s(small_network() + "RELA RBAR CONV CONT\nLESTE\n2\n99999\nFIM\n", console);
    EXPECT_EQ(s.status, 0) << s.messages();
    std::size_t prompts = 0;
    for (auto at = s.console().find("RELBAR - barras"); at != std::string::npos;
         at = s.console().find("RELBAR - barras", at + 1))
        ++prompts;
    EXPECT_EQ(prompts, 3u) << s.console();
}

}  // namespace
}  // namespace korvane::testing
