// Several islands in one solve, starts without angles, areas over islands, and networks that are ill.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

using Options_ = std::vector<Option>;

constexpr int ISLANDS = 5;

/// Five islands of three buses each but the last, which is one bus: 1 and 2 solve, 3 has more load than its line
/// carries, 4 has a generator but no slack, 5 is a slack alone. Buses are dealt out in turn, so islands interleave.
void five_islands(Network& n, double load_of_third = 6) {
    const double load[] = {0.5, 0.8, load_of_third, 0.3};
    int first[ISLANDS], second[ISLANDS - 1], third[ISLANDS - 1];
    for (int i = 0; i < ISLANDS; ++i) first[i] = n.generator(i == 3 ? 2 : 3, 1.0, i == 3 ? 0.3 : 0);
    for (int i = 0; i < ISLANDS - 1; ++i) second[i] = n.bus(0, 1, load[i] / 2, 0.05);
    for (int i = 0; i < ISLANDS - 1; ++i) third[i] = n.bus(0, 1, load[i] / 2, 0.05);
    for (int i = 0; i < ISLANDS - 1; ++i) {
        n.branch(first[i], second[i], 0.01, 0.1);
        n.branch(second[i], third[i], 0.01, 0.1);
    }
    n.s.bus.PLOAD(first[4]) = 0.25;
    n.s.slp.NOSLP(add_row(n.s.slp)) = first[3];
    n.ready();
}

TEST(FiveIslands, OneDivergesOneHasNoSlack) {
    constexpr int NONE = -1;
    struct {
        const char* what;
        Options_ options;
        double load_of_third;
        int convstat;
        std::array<int, ISLANDS> states;  // of the islands by their first bus, NONE where it is not solved
    } cases[] = {
        {"as they are", {}, 6, 0, {NONE, NONE, NONE, NONE, NONE}},
        {"without the fourth", {"ILHA"_opt}, 6, 3, {NONE, NONE, NONE, NONE, NONE}},
        {"a slack for the fourth", {"ASLK"_opt}, 6, 3, {NONE, NONE, NONE, NONE, NONE}},
        {"each by itself", {"CILH"_opt}, 6, 0, {NONE, NONE, NONE, NONE, NONE}},
        {"each by itself, without the fourth", {"CILH"_opt, "ILHA"_opt}, 6, 3, {1, 1, 3, NONE, 1}},
        {"each by itself, with a slack", {"CILH"_opt, "ASLK"_opt}, 6, 3, {1, 1, 3, 1, 1}},
        {"optimal steps", {"CILH"_opt, "ASLK"_opt, "STPO"_opt}, 6, 3, {1, 1, 3, 1, 1}},
        {"all can be solved", {"CILH"_opt, "ASLK"_opt}, 1, 1, {1, 1, 1, 1, 1}},
        {"all can be solved, together", {"ASLK"_opt}, 1, 1, {NONE, NONE, NONE, NONE, NONE}},
        {"linear", {"CILH"_opt, "ASLK"_opt, "LFDC"_opt}, 6, 1, {1, 1, 1, 1, 1}},
    };
    for (const auto& c : cases) {
        Network n;
        five_islands(n, c.load_of_third);
        for (const Option o : c.options) n.run.opt.set(o);
        const bool linear = n.run.opt["LFDC"_opt];
        n.solve();
        EXPECT_EQ(n.s.sol.CONVSTAT, c.convstat) << c.what << n.session.messages();
        const bool without_slack = c.convstat == 0;
        EXPECT_EQ(n.session.numbers("PWFREF"), without_slack ? std::vector{110} : std::vector<int>{}) << c.what;
        const auto left = imbalance(n.s);
        for (int i = 0; i < ISLANDS; ++i) {
            const int state = c.states[std::size_t(i)];
            if (state == NONE) continue;
            const int k = n.at(10 * (i + 1)), island = n.s.ilh.NOILHA2(k);
            EXPECT_EQ(n.run.mat.island(island).KONLF2, state) << c.what << ' ' << i;
            if (state != 1 || linear) continue;
            for (int number : {10 * (i + 1), 60 + 10 * i, 100 + 10 * i})
                if (i < 4 || number == 50) {
                    EXPECT_LT(std::abs(left[std::size_t(n.at(number))]), 3e-9) << c.what << ' ' << number;
                }
        }
        if (c.states[0] == 1) {
            const std::string& shown = n.session.console();
            EXPECT_TRUE(shows(shown, "convergiu"));
            EXPECT_EQ(bool(shows(shown, "divergiu")), c.states[2] == 3) << shown;
        }
    }
}

TEST(Cilh, TheIslandsThatStillRunMeetTheLimitOfIterations) {
    Network n;
    five_islands(n);
    for (const Option o : {"CILH"_opt, "ASLK"_opt}) n.run.opt.set(o);
    n.run.cte.ACIT = 2;
    n.solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 2);
    auto state = [&](int number) { return n.run.mat.island(n.s.ilh.NOILHA2(n.at(number))).KONLF2; };
    EXPECT_EQ((std::vector{state(10), state(30), state(50)}), (std::vector{2, 3, 1}));
}

// --- ill networks

TEST(IllNetworks, EndWithTheRightStateAndWithNumbers) {
    struct {
        const char *what, *network, *option;
        int convstat;
        const char* line;  // that the operator sees
        void (*change)(Network&) = [](Network&) {};
    } cases[] = {
        {"a branch of next to no impedance", "slack 1; load .3 .1; load .3 .1; 1-2 .01 .1; 2-3 0 1e-10", "NEWT", 1,
         "CONVERGENTE"},
        {"a branch of no impedance at all", "slack 1; load .3 .1; 1-2 0 .1", "NEWT", 0, "singular",
         [](Network& n) { n.s.branch.BKM(1) = -HUGE_VAL; }},
        {"a slack without branches beside a network that has one", "slack 1; load .3; slack 1.02; 1-2 .01 .1", "NEWT",
         1, "CONVERGENTE", [](Network& n) { n.s.bus.PLOAD(3) = 0.2; }},
        {"a slack without branches beside a network that has none", "slack 1; gen 1 .3; load .3; 2-3 .01 .1", "NEWT", 0,
         "sem barra de refer"},
        {"an island of one load bus", "slack 1; load .3", "NEWT", 0, "sem barra de refer"},
        {"the same, taken out", "slack 1; load .3", "ILHA", 1, "CONVERGENTE"},
        {"one bus alone", "slack 1", "NEWT", 1, "CONVERGENTE"},
        {"a voltage that collapses", "slack 1; load 3 3; 1-2 .02 .1", "NEWT", 3, "DIVERG"},
        {"the same by optimal steps, which get nowhere", "slack 1; load 3 3; 1-2 .02 .1", "STPO", 3, "DIVERG"},
        {"the same by halves", "slack 1; load 3 3; 1-2 .02 .1", "", 3, "DIVERG"},
        {"a load that is no number", "slack 1; load .1; 1-2 .02 .1", "", 3, "DIVERG",
         [](Network& n) { n.s.bus.QLOAD(2) = std::nan(""); }},
    };
    for (const auto& c : cases) {
        Network n;
        c.change(n.make(c.network));
        n.ready();
        if (*c.option)
            n.run.opt.set(Option{find_option(c.option)});
        else
            n.run.opt.clear("NEWT"_opt);
        n.run.opt.set("FILE"_opt);  // reports to the file, messages to the console
        PWFSOL(n.run);
        EXPECT_EQ(n.s.sol.CONVSTAT, c.convstat) << c.what << n.session.messages();
        const std::string shown = n.session.console() + n.session.print();
        EXPECT_TRUE(shows(shown, c.line)) << c.what << '\n' << shown;
        if (n.s.sol.CONVSTAT != 1) continue;
        for (int k : rows(n.s.bus.NB)) EXPECT_TRUE(std::isfinite(n.s.bus.VOLT(k) + n.s.bus.ANGLE(k))) << c.what;
        for (int j : rows(n.s.gen.NG)) EXPECT_TRUE(std::isfinite(n.s.gen.PGEN(j) + n.s.gen.QGEN(j))) << c.what;
    }
}

/// A star whose three legs cancel to within `left`, on the buses of most branches: its centre goes before them in the
/// order, and has next to no diagonal.
int star(Network& n, double left) {
    random_network(n, 7);
    std::vector<int> degree(std::size_t(n.s.bus.NB) + 1), hubs;
    for (int k : rows(n.s.bus.NB)) hubs.push_back(k);
    for (int l : rows(n.s.branch.NL))
        for (int k : {int(n.s.branch.NFROM(l)), int(n.s.branch.NTO(l))}) ++degree[std::size_t(k)];
    std::partial_sort(hubs.begin(), hubs.begin() + 3, hubs.end(), [&](int i, int j) {
        return std::pair(-degree[std::size_t(i)], i) < std::pair(-degree[std::size_t(j)], j);
    });
    const int centre = n.bus(0, 1, 0, 0);
    n.branch(hubs[0], centre, 0, 0.1);
    n.branch(hubs[1], centre, 0, 0.1);
    n.branch(hubs[2], centre, 0, -0.05 * (1 + left));
    n.ready();
    return centre;
}

TEST(WeakPivots, AreHeldBackAndTheNetworkIsSolved) {
    const Options_ ways[] = {{}, {"FJAC"_opt}, {"PART"_opt}, {"INDC"_opt}, {"LFDC"_opt}};
    std::vector<std::complex<double>> solution;
    for (const double left : {0.0, 1e-10, 1e-8})
        for (const Options_& way : ways) {
            Network n;
            const int centre = star(n, left);
            for (const Option o : way) n.run.opt.set(o);
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << left << n.session.messages();
            EXPECT_EQ(n.session.numbers("OPTIMO"), std::vector{-900})
                << "once " << left << " way " << (way.empty() ? 0 : int(&way - ways));
            for (const auto& m : n.run.msg.printed) EXPECT_EQ(m.element, n.s.bus.NOINT(centre)) << left;
            if (n.s.sol.ITSOL != 0) continue;
            EXPECT_LT(worst_imbalance(n.s), 3e-9) << left;
            EXPECT_NEAR(n.s.bus.VOLT(centre), 1.0, 0.2);
        }
}

// --- starts and areas

TEST(StartAngles, ComeFromTheConnectedBuses) {
    // 1 slack at 0.1; 2-3-4 in a row behind it at 0; 5-6 apart at 0; 7 at 0.3 with 8 behind a jumper; 9 out of service
    Network n;
    n.generator(3, 1.0);
    for (int k = 2; k <= 9; ++k) n.bus(0, 1, 0.01);
    n.s.bus.ANGLE(1) = 0.1;
    n.s.bus.ANGLE(7) = 0.3;
    n.s.bus.VOLT(7) = 1.03;
    n.s.bus.STBUS(9) = false;
    n.make("4-3 0 .1; 3-2 0 .1; 2-1 0 .1; 5-6 0 .1; 1-8 0 .1");
    n.s.branch.MARKC(n.branch(7, 8, 0, 1e-6)) = true;
    n.make("9-5 0 .1; 9-1 0 .1").ready();
    start_angles(n.run);
    const double expected[] = {0.1, 0.1, 0.1, 0.1, 0, 0, 0.3, 0.3, 0};
    for (int k : rows(9)) EXPECT_EQ(n.s.bus.ANGLE(k), expected[k - 1]) << k;
    EXPECT_EQ(n.s.bus.VOLT(8), 1.03);
    EXPECT_EQ(n.s.bus.VOLT(2), 1.0);
    const std::string& shown = n.session.console();
    EXPECT_TRUE(shows(shown, "50 BARRA-50"));
    EXPECT_TRUE(shows(shown, "60 BARRA-60"));
    EXPECT_FALSE(shows(shown, "BARRA-90")) << "out of service";
    EXPECT_FALSE(shows(shown, "BARRA-20"));
}

TEST(StartAngles, ASlackOnTheWayKeepsItsOwn) {
    Network n;  // 2 - slack at 0 - 3 - 4 at 0.2
    n.generator(3, 1.0);
    for (int k = 2; k <= 4; ++k) n.bus(0, 1, 0.01);
    n.s.bus.ANGLE(4) = 0.2;
    n.make("2-1 0 .1; 1-3 0 .1; 3-4 0 .1").ready();
    start_angles(n.run);
    const double expected[] = {0, 0.2, 0.2, 0.2};
    for (int k : rows(4)) EXPECT_EQ(n.s.bus.ANGLE(k), expected[k - 1]) << k;
}

TEST(AreasOverIslands, AreSplit) {
    Network n;
    five_islands(n);  // all in area 1
    n.s.area.ARNAME(1) = std::string("NORTE");
    n.s.area.AREINT(1) = 0;
    n.s.bus.IAREA(n.at(50)) = n.area(3);
    n.ready();
    EXPECT_TRUE(AREILH(n.run));
    MSGOUT(n.run);
    EXPECT_EQ(n.session.numbers("AREILH"), std::vector{-900});
    ASSERT_EQ(n.s.area.NAREA, 5);
    EXPECT_EQ((std::vector{n.s.area.NAINT(3), n.s.area.NAINT(4), n.s.area.NAINT(5)}), (std::vector{2, 4, 5}));
    find_islands(n.run);
    EXPECT_FALSE(n.s.ilh.area_spans);
    EXPECT_EQ(int(n.s.bus.IAREA(n.at(10))), 1) << "the first island keeps the area";
    EXPECT_EQ(int(n.s.bus.IAREA(n.at(100))), 1);
    EXPECT_EQ(int(n.s.bus.IAREA(n.at(50))), 2) << "an area of one island stays";
    EXPECT_EQ(n.s.area.ARNAME(5).trimmed(), "NORTE");
    EXPECT_FALSE(AREILH(n.run)) << "nothing is left to split";
}

TEST(AreasOverIslands, WithoutRoomTheyStay) {
    Network n;
    five_islands(n);
    while (n.s.area.NAREA < MXARE - 1) n.area(n.s.area.NAREA + 1);
    n.ready();
    EXPECT_TRUE(AREILH(n.run));
    MSGOUT(n.run);
    EXPECT_EQ(n.session.numbers("AREILH"), (std::vector{100, -900}));
    EXPECT_EQ(n.s.area.NAREA, MXARE);
    for (int k : rows(n.s.bus.NB)) EXPECT_GE(int(n.s.bus.IAREA(k)), 1);
}

// --- the file of the Jacobian

TEST(JacobianFile, HoldsTheEquationsOfTheLastPass) {
    Network n;
    random_network(n, 3, 12);
    n.run.opt.set("EJAC"_opt);
    n.solve();
    const std::string bytes = n.session.dir.read("JACOBI_000.BIN");
    const Pattern& p = n.run.mat.plain;
    const int entries = p.column[std::size_t(p.N)];
    std::size_t at = 0;
    auto number = [&](auto value) {
        std::memcpy(&value, bytes.data() + at, sizeof value);
        at += sizeof value;
        return value;
    };
    auto integers = [&](int count) {
        std::vector<int> list;
        for (int i = 0; i < count; ++i) list.push_back(number(0));
        return list;
    };
    ASSERT_EQ(bytes.size(), std::size_t(24 + p.N * (4 + 6 * 8 + 8) + entries * (8 + 8 * 8 + 8)));
    EXPECT_EQ(integers(6), (std::vector{16, p.N, entries, n.s.bus.NB, n.s.sol.NITP, 16}));
    for (int r = 0; r < p.N; ++r) {
        EXPECT_EQ(integers(2), (std::vector{52, int(n.s.bus.NOINT(p.bus[std::size_t(r)]))}));
        EXPECT_EQ(number(0.0), n.run.mat.side[std::size_t(r)].DELTA) << "the pass that converged solved nothing";
        number(0.0);
        const Block& d = n.run.mat.diagonal[std::size_t(r)];
        for (const double expected : {d.H, d.N, d.J, d.L}) EXPECT_EQ(number(0.0), expected);
        EXPECT_EQ(number(0), 52);
    }
    EXPECT_EQ(integers(1), std::vector{72});
    const int column = number(0), row = number(0);
    EXPECT_EQ(these(column, row, number(0.0)), these(1, p.row[0] + 1, n.run.mat.fat[0].U.H));
}

TEST(JacobianFile, ThatCannotBeWrittenIsTold) {
    Network n;
    random_network(n, 3, 12);
    n.run.opt.set("EJAC"_opt);
    std::filesystem::create_directory(n.session.dir.path() + "/JACOBI_000.BIN");
    n.solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.session.numbers("SOLVNW").at(0), -900);
}

}  // namespace
}  // namespace korvane::testing
