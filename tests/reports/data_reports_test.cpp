// Reports of the data alone: every element once, and its values under their headings.
#include <gtest/gtest.h>

#include <sstream>

#include "support/fixture.hpp"
#include "support/random_deck.hpp"

namespace korvane::testing {
namespace {

/// A line with one character a column.
std::string columns(const std::string& utf8) {
    std::string line;
    for (const char c : utf8)
        if ((c & 0xC0) != 0x80 && c != '\f') line += c;
    return line;
}

bool is_rule(const std::string& line) {
    return line.size() > 1 && line.find_first_not_of("- ") == line.npos && line.find(" ") != line.npos;
}

/// What a report prints below its rules: the rows, and those that do not stand under the dashes of their rule.
struct Rows {
    std::vector<std::string> all, crooked, wide;

    Rows(const std::string& text, std::size_t page) {
        std::istringstream in(text);
        std::string rule;
        for (std::string utf8; std::getline(in, utf8);) {
            const std::string line = columns(utf8);
            if (line.size() > page) wide.push_back(line);
            if (line.empty() || utf8.starts_with('\f')) rule.clear();
            if (is_rule(line)) {
                rule = line;
            } else if (!rule.empty()) {
                all.push_back(line);
                for (std::size_t i = 0; i < line.size(); ++i)
                    if (line[i] != ' ' && (i >= rule.size() || rule[i] == ' ')) {
                        crooked.push_back(rule + '\n' + line);
                        break;
                    }
            }
        }
    }
};

TEST(DataReports, EveryElementOnceUnderItsHeading) {
    const struct {
        const char* option;
        int (*rows)(const Store&);
        bool straight = true;  // in 132 columns; aggregators of buses have three columns each and no gap
    } reports[] = {
        {"RARE", [](const Store& s) { return s.area.NAREA; }},
        {"RGLT", [](const Store& s) { return s.glt.NGLT; }},
        {"RGBT", [](const Store& s) { return s.gbt.NGBT; }},
        {"RAGR",
         [](const Store& s) {
             int n = 0;
             for (int k : rows(MXAGR)) n += s.agr.count(k) + int(s.agr.count(k) > 0 || !s.agr.DESCAG(k).blank());
             return n;
         }},
        {"DADB", [](const Store& s) { return s.bus.NB; }, false},
        {"DADL", [](const Store& s) { return s.branch.NL - s.csc.NCSC; }},
        {"DADC", [](const Store& s) { return s.csc.NCSC; }},
        {"RSLP", [](const Store& s) { return s.slp.NSLP; }},
        {"RLEN", [](const Store& s) { return s.branch.NL; }},
        {"RFCR", [](const Store& s) { return s.fcr.n; }},
        {"RFQL", [](const Store& s) { return s.fql.n; }},
        {"RTPF", [](const Store& s) { return s.tpf.n; }},
        {"RTVF",
         [](const Store& s) {
             int n = 0;
             for (int t : rows(s.tap.NTAP)) n += s.tap.NTTVF(t) != 0;
             for (int l : rows(s.branch.NL)) n += s.branch.LTYPE(l) == 6;
             return n;
         }},
    };
    std::string deck;  // the first that has a row for each of them
    const auto shows_all = [&] {
        const Session s(deck + "FIM\n");
        return std::all_of(std::begin(reports), std::end(reports),
                           [&](const auto& r) { return r.rows(s.store()) > 0; });
    };
    for (unsigned seed = 1; deck.empty() || !shows_all(); ++seed) {
        ASSERT_LT(seed, 40u);
        deck = random_deck(seed, Settings::none);
        deck.erase(deck.find("DREL\n"), deck.find("DFRQ\n") - deck.find("DREL\n"));  // nothing left out
    }
    for (const auto& report : reports) {
        const auto print = [&](const char* options) {
            const Session s(deck + "RELA " + report.option + options + "\nFIM\n");
            EXPECT_EQ(s.status, 0) << report.option << ' ' << s.messages();
            return std::pair(s.print(), report.rows(s.store()));
        };
        const auto [wide, count] = print(" FILE");
        const Rows rows(wide, 132);
        EXPECT_EQ(int(rows.all.size()), count) << report.option << '\n' << wide;
        EXPECT_TRUE(rows.wide.empty()) << report.option << '\n' << wide;
        if (report.straight && !rows.crooked.empty()) ADD_FAILURE() << report.option << '\n' << rows.crooked.front();
        EXPECT_TRUE(Rows(print(" FILE 80CO").first, 80).wide.empty()) << report.option;
    }
}

TEST(DataReports, OfSelectedBuses) {
    const Session s("DBAR\n" + std::string("    1 L2  NORTE\n    2 L   SUL\n    3 L   LESTE\n99999\nDLIN\n") +
                    "    1         2 1            10.\n    2         3 1            10.\n99999\n"
                    "RELA CONV DADB DADL FILE\n3 1\n99999\n2\n99999\nFIM\n");
    EXPECT_EQ(s.status, 0) << s.messages();
    std::vector<std::string> first;
    for (const std::string& row : Rows(s.print(), 132).all) first.push_back(row.substr(0, 12));
    EXPECT_EQ(first, (std::vector<std::string>{"    3 L     ", "    1 L 2   ", "    1      2", "    2      3"}))
        << s.print();
}

}  // namespace
}  // namespace korvane::testing
