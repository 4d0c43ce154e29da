// Islands, slacks, options and reports of a solve, as PWFSOL runs it.
#include <gtest/gtest.h>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

/// Two islands: 10 (slack), 20, 30 with load, and 40, 50 with a generator but no slack.
void two_islands(Network& n) {
    n.make(
        "slack 1.0; load .3 .1; load .2 .1; gen 1.01 .1; load .1; 1-2 .01 .1; 2-3 .01 .1; 4-5 .01 .1; "
        "3-5 .01 .1");
    n.s.branch.STLIN(4) = n.s.branch.STLIND(4) = n.s.branch.STLINP(4) = false;
    n.ready();
}

TEST(Islands, TheSearchNumbersThemFromTheLowestBus) {
    Network n;
    two_islands(n);
    EXPECT_EQ(find_islands(n.run), 2);
    const auto& ilh = n.s.ilh;
    EXPECT_EQ((std::vector{ilh.NOILHA2(1), ilh.NOILHA2(2), ilh.NOILHA2(3), ilh.NOILHA2(4), ilh.NOILHA2(5)}),
              (std::vector{1, 1, 1, 2, 2}));
    EXPECT_EQ(ilh.NBILHA2(1), 3);
    std::vector<int> list;
    for (int k = ilh.IPILH2(1); k; k = ilh.LNKILH2(k)) list.push_back(k);
    EXPECT_EQ(list, (std::vector{3, 2, 1})) << "in reverse order of visit";
    EXPECT_EQ(these(ilh.area_spans, ilh.NSYARE(1), ilh.FLGBUS(1), ilh.FLGBUS(5)), these(true, 1, false, true));
}

TEST(Slack, AnIslandWithoutOne) {
    struct {
        const char* what;
        std::vector<Option> options;
        bool joined, slack;
        std::vector<int> messages;
        int convstat;
    } cases[] = {
        {"two islands, one without", {}, false, true, {110}, 0},
        {"a single island without", {}, true, false, {120}, 0},
        {"area control over two islands", {"CINT"_opt}, false, true, {110, 130}, 0},
        {"no fault", {}, true, true, {}, 1},
    };
    for (const auto& c : cases) {
        Network n;
        two_islands(n);
        n.s.branch.STLIN(4) = n.s.branch.STLIND(4) = n.s.branch.STLINP(4) = c.joined;
        if (!c.slack) {
            n.s.slk.NSLK = 0;
            n.s.bus.NTYPE(1) = 2;
        }
        for (const Option o : c.options) n.run.opt.set(o);
        n.solve();
        EXPECT_EQ(n.session.numbers("PWFREF"), c.messages) << c.what;
        EXPECT_EQ(n.s.sol.CONVSTAT, c.convstat) << c.what;
    }
}

TEST(Slack, AslkTakesTheFirstOfTheListInTheIsland) {
    Network n;
    two_islands(n);
    const int other = n.generator(2, 1.0);
    n.branch(5, other, 0.01, 0.1);
    n.ready();
    for (int k : {1, other, 4}) n.s.slp.NOSLP(add_row(n.s.slp)) = k;
    n.run.opt.set("ASLK"_opt);
    n.solve();
    EXPECT_EQ(n.session.numbers("PWFREF"), std::vector<int>{});
    EXPECT_EQ(these(n.s.sol.CONVSTAT, n.s.bus.NTYPE(other), n.s.bus.NTYPE(4)), these(1, 3, 2));
    ASSERT_EQ(n.s.slk.NSLK, 2);
    EXPECT_EQ(n.s.gen.NOGEN(n.s.slk.NGSLK(2)), other);
}

TEST(Ilha, TakesIslandsWithoutASlackOutOfService) {
    Network n;
    two_islands(n);
    n.run.opt.set("ILHA"_opt);
    n.run.opt.set("FILE"_opt);
    n.solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.session.numbers("PWFREF"), std::vector<int>{});
    EXPECT_EQ(n.s.bus.NB, 5) << "the store is whole again";
    for (int number : {10, 20, 30}) EXPECT_TRUE(n.s.bus.STBUS(n.at(number))) << number;
    for (int number : {40, 50}) EXPECT_FALSE(n.s.bus.STBUS(n.at(number))) << number;
    EXPECT_LT(worst_imbalance(n.s), 1e-8);
    const std::string shown = n.session.console() + n.session.print();
    EXPECT_TRUE(shows(shown, "BARRAS DESLIGADAS"));
    EXPECT_TRUE(shows(shown, "40 BARRA-40"));
    EXPECT_TRUE(shows(shown, "50 BARRA-50"));
}

TEST(Flat, StartsEachIslandFromItsSlack) {
    Network n;
    two_islands(n);
    n.s.bus.ANGLE(1) = 0.5;
    n.s.bus.VOLT(2) = 0.7;
    n.s.bus.ANGLE(3) = -2;
    n.s.bus.VOLT(5) = 0.8;
    n.s.bus.NTYPE(4) = 3;
    n.s.bus.ANGLE(4) = -0.25;
    const int i = add_row(n.s.slk);
    n.s.slk.NGSLK(i) = 2;
    n.run.opt.set("FLAT"_opt);
    n.run.cte.ACIT = 0;
    n.solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 2);
    for (int k : {1, 2, 3}) {
        EXPECT_EQ(n.s.bus.VOLT(k), 1.0);
        EXPECT_EQ(n.s.bus.ANGLE(k), 0.5);
    }
    EXPECT_EQ(these(n.s.bus.VOLT(4), n.s.bus.ANGLE(4), n.s.bus.VOLT(5), n.s.bus.ANGLE(5)),
              these(1.01, -0.25, 1.0, -0.25));
}

TEST(Driver, OutOfServiceBusesAreLeftAlone) {
    Network n;
    random_network(n, 12);
    for (int k : {7, 19}) {
        n.s.bus.STBUS(k) = false;
        n.s.bus.VOLT(k) = 0.5;
    }
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1) << n.session.messages();
    for (int number : {70, 190}) EXPECT_EQ(n.s.bus.VOLT(n.at(number)), 0.5);
    EXPECT_LT(worst_imbalance(n.s), 1e-8);
}

TEST(Driver, InterchangesThatDoNotCloseAreReported) {
    for (const double beyond : {0.0, 1e-9}) {
        Network n;
        n.area(1, 0.05 + beyond);
        two_islands(n);
        n.s.branch.STLIN(4) = n.s.branch.STLIND(4) = n.s.branch.STLINP(4) = true;
        n.run.cte.TETP = 0.05;
        n.solve();
        EXPECT_EQ(n.session.numbers("PWFSOL"), beyond > 0 ? std::vector{100} : std::vector<int>{});
        EXPECT_EQ(n.s.sol.CONVSTAT, 1) << "the solve goes on";
    }
}

TEST(Driver, WhatItCannotHonourIsSaidOnce) {
    Network n;
    two_islands(n);
    for (const Option o : {"FREQ"_opt, "CPER"_opt, "ILHA"_opt}) n.run.opt.set(o);
    n.solve();
    EXPECT_EQ(n.session.numbers("PWFSOL"), (std::vector{-969, -974}));
    EXPECT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_TRUE(n.run.opt["CPER"_opt]);
    EXPECT_TRUE(n.run.opt["FREQ"_opt]) << "options stay as they were";
}

TEST(Driver, OutcomesAreReported) {
    struct {
        double load;
        int limit;
        bool rcvg;
        const char* line;
    } cases[] = {
        {1.0, 30, true, "SOLUÇÃO CONVERGENTE"},
        {1.0, 30, false, ""},  // a converged solve without RCVG says nothing
        {1.0, 1, false, "limite de iterações (ACIT)"},
        {9.0, 30, true, "DIVERGÊNCIA"},
    };
    for (const auto& c : cases) {
        Network n;
        n.generator(3, 1.0);
        n.bus(0, 1, c.load);
        n.branch(1, 2, 0, 0.1);
        n.ready();
        n.run.cte.ACIT = c.limit;
        n.run.opt.set("RCVG"_opt, c.rcvg);
        n.solve();
        const std::string& shown = n.session.console();
        EXPECT_EQ(bool(shows(shown, "***")), *c.line != 0) << shown;
        EXPECT_TRUE(shows(shown, c.line));
        EXPECT_EQ(bool(shows(shown, "Maior erro P")), c.rcvg) << "one line an iteration";
    }
}

TEST(Driver, ASingularMatrixNamesTheBus) {
    Network n;  // the only branch of the bus has no admittance
    n.make("slack 1.0; load .1; 1-2 0 .1");
    n.s.branch.GKM(1) = n.s.branch.BKM(1) = 0;
    n.ready().solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 0);
    EXPECT_TRUE(shows(n.session.console(), "20 BARRA-20"));
    EXPECT_EQ(n.s.bus.VOLT(2), 1.0);
}

TEST(Matriz, ElementWithoutResistanceAndTap) {
    Network n;
    n.make("slack 1.0; bus; bus; 1-2 .03 .1 0 .95; 2-3 0 .2 0 1.05 .1").ready();
    EXPECT_NEAR(linear_element(n.s, 1), -1 / 0.1, 1e-12);
    EXPECT_NEAR(linear_element(n.s, 2), -1 / 0.2, 1e-12);
    ASSERT_TRUE(OPTIMO(n.run, n.run.mat.plain, 3, 2));
    ASSERT_TRUE(MATRIZ(n.run));
    // 1 pu drawn at bus 3: angles -0.1 and -0.3 by hand
    auto& x = n.run.mat.x;
    const auto& p = n.run.mat.plain;
    for (int k : rows(3)) x[std::size_t(p.NORDER(k) - 1)] = k == 3 ? -1 : 0;
    solve_scalar(n.run.mat.B1, p, x.data());
    EXPECT_NEAR(x[std::size_t(p.NORDER(2) - 1)], -0.1, 1e-12);
    EXPECT_NEAR(x[std::size_t(p.NORDER(3) - 1)], -0.3, 1e-12);
}

TEST(Matriz, SingularMatricesByIslands) {
    for (const bool joined : {true, false}) {
        Network n;
        two_islands(n);
        n.s.branch.STLIN(4) = joined;
        n.s.bus.NTYPE(1) = 0;  // nobody holds the angle
        if (!joined) n.s.bus.NTYPE(4) = 3;
        n.run.opt.clear("NEWT"_opt);
        ASSERT_TRUE(OPTIMO(n.run, n.run.mat.plain, n.s.bus.NB, n.s.branch.NL));
        EXPECT_FALSE(MATRIX(n.run));
        EXPECT_FALSE(MATRIZ(n.run));
        MSGOUT(n.run);
        EXPECT_EQ(n.session.numbers("MATRIX"), std::vector{joined ? 140 : 110});
        EXPECT_EQ(n.session.numbers("MATRIZ"), std::vector{joined ? 120 : 110});
    }
}

// --- networks that pass the room of the ordering or of the factors: what the operator reads, and that nothing is
// solved

void buses(Network& n, int count) {
    n.generator(3, 1);
    while (n.s.bus.NB < count) n.bus(0);
}
void star(Network& n, int count) {
    buses(n, count);
    for (int k = 2; k <= count; ++k) n.branch(1, k, 0, 0.1);
}
void mesh(Network& n, int wide, int high) {
    buses(n, wide * high);
    for (int k = 1; k <= wide * high; ++k) {
        if (k % wide != 0) n.branch(k, k + 1, 0, 0.1);
        if (k + wide <= wide * high) n.branch(k, k + wide, 0, 0.1);
    }
}
// Parallel branches need no room in the factors, but in the input that waits beside them until its row is due.
void mesh_with_a_thick_branch(Network& n) {
    mesh(n, 40, 200);
    n.ready();
    ASSERT_TRUE(OPTIMO(n.run, n.run.mat.plain, n.s.bus.NB, n.s.branch.NL));
    const int last = n.run.mat.plain.bus[std::size_t(n.s.bus.NB - 1)];
    for (int copies = 0; copies < 24000; ++copies) n.branch(last, last + 1, 0, 1e4);
}

TEST(SizeLimits, StopTheSolutionWithTheirMessages) {
    struct {
        const char *what, *method, *told;
        void (*make)(Network&);
    } cases[] = {
        {"too many neighbours", "NEWT", "OPTIMO 100, PWFSOL 130", [](Network& n) { star(n, 20000); }},
        {"too much fill at a time", "NEWT", "OPTIMO 120, PWFSOL 130", [](Network& n) { mesh(n, 60, 200); }},
        {"too many factors", "NEWT", "OPTIMO 130, PWFSOL 130", [](Network& n) { mesh(n, 50, 200); }},
        {"too wide a row", "NEWT", "SOLVNW 110", [](Network& n) { star(n, 10003); }},
        {"too much input", "NEWT", "SOLVNW 100", mesh_with_a_thick_branch},
        {"the same, by halves", "PART", "MATRIX 100, PWFSOL 120", mesh_with_a_thick_branch},
        {"the same, linear", "LFDC", "MATRIZ 100, PWFSOL 110", mesh_with_a_thick_branch},
        {"the same, from linear angles", "INDC", "MATRIZ 100, PWFSOL 110", mesh_with_a_thick_branch},
        {"susceptances that cancel", "PART", "MATRIX 120, PWFSOL 120",
         [](Network& n) { n.make("slack 1; bus; 1-2 0 .1").shunt(2, 5); }},
    };
    for (const auto& c : cases) {
        Network n;
        c.make(n);
        n.s.bus.PLOAD(2) = 0.01;
        n.ready();
        n.run.opt.set("NEWT"_opt);
        n.run.opt.set(Option{find_option(c.method)});
        PWFSOL(n.run);
        EXPECT_EQ(n.session.messages(), c.told) << c.what;
        EXPECT_NE(n.s.sol.CONVSTAT, 1) << c.what;
    }
}

}  // namespace
}  // namespace korvane::testing
