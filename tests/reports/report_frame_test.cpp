// What a line of RELA prints: which reports, for which part of the network, and what it leaves behind.
#include <gtest/gtest.h>

#include <numeric>

#include "reports/reports.hpp"
#include "reports/small_network.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

/// Numbers of the buses in the rows of a printed report: lines that begin with a number in five columns.
std::vector<int> buses_printed(const std::string& text) {
    std::vector<int> numbers;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::string head = line.substr(0, 5);
        if (line.size() > 40 && head.find_first_not_of(" 0123456789") == head.npos && head.back() != ' ')
            numbers.push_back(std::stoi(head));
    }
    return numbers;
}

std::string continued(std::string card) { return card + std::string(76 - card.size(), ' ') + "+"; }

TEST(ReportFrame, OptionsAndCardsSayWhichBusesPrintAndInWhichOrder) {
    struct Case {
        std::string options, cards;
        std::vector<int> printed, messages;
    };
    const std::vector<int> all{1, 2, 6, 3, 5, 4};  // areas by number, buses by number
    const Case cases[] = {
        {"", "", all, {}},
        {" AREA", "  2\n", {3, 5}, {}},
        {" AREA", " 3   1\n", {1, 2, 6, 4}, {}},  // a number anywhere in its columns
        {" AREA", continued("  2") + "\n  1\n", {1, 2, 6, 3, 5}, {}},
        {" AREA", "(a comment\n\n  3\n", {4}, {}},
        {" AREA", "99999\n", {}, {}},
        {" AREA", "  9  3\n", {4}, {-900}},
        {" ILHA", "  1\n", {1, 2, 3}, {}},
        {" ILHA", "  1  2\n", {1, 2, 3, 5, 4}, {}},  // area 2 lies in both: printed once an island
        {" ILHA", "  0 -1  3\n", {}, {-900, -900}},
        {" AREA AGRE", "", all, {}},  // both families: no narrowing and no card
        {" MANU", "", {}, {}},
        {" CONV", "3 1\n2\n99999\n", {3, 1, 2}, {}},
        {" CONV AREA", "LESTE 99999\n", {4}, {}},
        {" CONV MANU", "1 99999\n", {1}, {}},
    };
    for (const Case& c : cases) {
        const Session s(small_network() + "RELA RBAR FILE" + c.options + "\n" + c.cards + "FIM\n");
        EXPECT_EQ(s.status, 0) << c.options << ' ' << s.messages();
        EXPECT_EQ(buses_printed(s.print()), c.printed) << c.options << '\n' << s.print();
        EXPECT_EQ(s.numbers(), c.messages) << c.options;
        for (int k : rows(6)) EXPECT_TRUE(s.store().bus.BUSSEL(k)) << "put back after" << c.options;
        EXPECT_FALSE(s.run.opt["IMPR"_opt]);
    }
}

TEST(ReportFrame, AListInErrorStopsABatchRunAndLeavesTheSelectionAlone) {
    struct Case {
        std::string options, cards;
        const char* routine;
        std::vector<int> messages;
    };
    const Case cases[] = {{"AREA", " x1\n", "OPAREA", {100}},
                          {"AREA", "", "OPAREA", {130}},
                          {"ILHA", "  1 1.\n", "OPAREA", {100}},
                          {"AGRE", " 11  1\n", "OPAGRE", {100}},
                          {"AGRE", "  1  y\n", "OPAGRE", {100}},
                          {"AGRE", "", "OPAGRE", {130}},
                          {"AREA", continued("  1") + "\n", "OPAREA", {130}}};
    for (const Case& c : cases) {
        const Session s(small_network() + "RELA RBAR FILE " + c.options + "\n" + c.cards);
        EXPECT_EQ(s.status, 1) << c.cards;
        EXPECT_EQ(s.numbers(c.routine), c.messages) << c.options << c.cards << s.messages();
        EXPECT_TRUE(buses_printed(s.print()).empty());
        for (int k : rows(6)) EXPECT_TRUE(s.store().bus.BUSSEL(k));
        for (int a : rows(3)) EXPECT_TRUE(s.store().area.ARESEL(a));
        EXPECT_EQ(s.store().branch.CAPAC(1), INFINITE_RATING);
    }
}

TEST(ReportFrame, RatingsAndSelectionsAreNarrowedOnlyWhileItPrints) {
    Session s(small_network() + "FIM\n");
    korvane::Run& run = s.run;
    Store& st = run.store;
    st.branch.CAPAC(1) = st.branch.CAPAE(2) = INFINITE_RATING;
    st.branch.CAPAC(2) = 250.0;
    st.branch.KAPAQ(3) = 1'000'000'000;
    st.bus.BUSSEL(2) = st.branch.LINSEL(1) = st.area.ARESEL(3) = false;
    int pages = 0;
    run.pag.subject = [&](korvane::Run& r) {  // runs under each heading, in the middle of the report
        ++pages;
        EXPECT_EQ(
            these(r.store.branch.CAPAC(1), r.store.branch.CAPAE(2), r.store.branch.KAPAQ(3), r.store.branch.CAPAC(2),
                  r.store.branch.LINSEL(1), r.store.area.ARESEL(3), r.store.bus.BUSSEL(1)),
            these(9999.0, 9999.0, 9999, 250.0, true, true, false));
    };
    s.feed("  3\n");
    run.opt.restore();
    for (Option o : {"RBAR"_opt, "AREA"_opt}) run.opt.set(o);
    report_dispatch(run);
    EXPECT_EQ(these(pages, st.branch.CAPAC(1), st.branch.CAPAE(2), st.branch.KAPAQ(3), st.bus.BUSSEL(2),
                    st.branch.LINSEL(1), st.area.ARESEL(3), st.bus.BUSSEL(1)),
              these(1, INFINITE_RATING, INFINITE_RATING, 1'000'000'000, false, false, false, true));
}

// Aggregator 3 has groups 10 (row 1: buses 2 and 3) and 20 (row 2: branch 4 - 5).
TEST(ReportFrame, GroupsSelectTheirBusesAndForBranchReportsTheEndsOfTheirBranches) {
    struct Case {
        std::string card;
        bool branch_report;
        std::vector<int> printed, messages;
    };
    const Case cases[] = {
        {"  3 10\n", false, {2, 3}, {}},        {"  3 20\n", false, {}, {}},
        {"  3 20\n", true, {5, 4}, {}},         {continued("  3 10") + "\n 20\n", true, {2, 3, 5, 4}, {}},
        {"  3 10 30\n", false, {2, 3}, {-900}}, {"  4 10\n", false, {}, {-900}}};
    for (const Case& c : cases) {
        Session s(small_network() + "FIM\n");
        Store& st = s.run.store;
        st.agr.count(3) = 2;
        st.agr.NIDGAG(3)(1) = 10;
        st.agr.NIDGAG(3)(2) = 20;
        for (int number : {2, 3}) st.bus.IAGRBAR(bus_of(st, number))(3) = 1;
        st.branch.IAGRCIR(3)(3) = 2;
        s.feed(c.card);
        s.run.opt.restore();
        for (Option o : {"RBAR"_opt, "AGRE"_opt}) s.run.opt.set(o);
        s.run.opt.set("RLIN"_opt, c.branch_report);
        s.run.units.LUREP = s.run.units.LUN[role::print];
        report_dispatch(s.run);
        std::vector<int> messages = s.numbers("OPAGRE");
        EXPECT_EQ(buses_printed(s.print()), c.printed) << c.card << s.print();
        EXPECT_EQ(messages, c.messages) << c.card;
    }
}

TEST(ReportFrame, AReportThatThisProgramLacksIsNamedOnce) {
    struct Case {
        std::string line;
        std::vector<int> messages;
        std::string names;
    };
    const Case cases[] = {{"RELA RLIN RBAR RGER", {-100}, " RGER RLIN\n"},  // in the order of the reports
                          {"RELA RLTC", {-100}, " RLTC\n"},
                          {"RELA RBAR RCVG RMON MFCT", {}, ""},  // no reports of this frame
                          {"RELA RARE CONV", {-110}, " RARE\n"},
                          {"EXLF NEWT RTOT", {-100}, " RTOT\n"},
                          {"EXLF NEWT", {}, ""}};
    for (const Case& c : cases) {
        const Session s(small_network() + c.line + "\nFIM\n");
        EXPECT_EQ(s.status, 0);
        EXPECT_EQ(s.numbers("RELDSP"), c.messages) << c.line << ": " << s.messages();
        const auto named = s.console().find(c.names), warned = s.console().find("RELDSP");
        ASSERT_NE(named, std::string::npos) << s.console();
        if (!c.messages.empty()) {
            EXPECT_EQ(s.console().substr(named, warned - named).find("KORVANE"), std::string::npos)
                << "the names and their warning stand on one page";
        }
    }
}

TEST(ReportFrame, SettingsPrintInTheUnitsOfTheirCards) {
    const Session s(
        "DCTE\nBASE    200 TEPA     .5 VDVM    180 ASDC     2. ZMAX   400.\n99999\n"
        "DOPC\nIMPR L QLIM L\n99999\nRELA RCTE ROPC FILE\nFIM\n");
    const std::string text = s.print();
    for (const char* pair : {"BASE    200.", "TEPA       .5", "VDVM    180.", "ASDC      2.", "ZMAX    400.",
                             "LPRT     60.", "TEPR       .1", "IMPR L", "QLIM L", "NEWT L"}) {
        // the name and its value, however many blanks between them
        const std::string name = std::string(pair).substr(0, 4), value = std::string(pair).substr(5);
        const auto at = text.find(name);
        ASSERT_NE(at, text.npos) << pair << '\n' << text;
        const auto digits = text.find_first_not_of(' ', at + 4);
        const auto wanted = value.substr(value.find_first_not_of(' '));
        EXPECT_EQ(text.substr(digits, wanted.size()), wanted) << pair << '\n' << text;
    }
}

// --- selection lines of buses

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
    EXPECT_TRUE(shows(s.console(), "4 XYZ 1\n  ???\n"));
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
