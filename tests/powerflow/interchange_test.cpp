// Interchange of areas and balance of islands, by what must hold once it is met.
#include <gtest/gtest.h>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

/// Two areas of three buses, a generator with participation in each, two ties. Area 2 exports `schedule`.
struct Areas : Network {
    int slack = 1, other = 4;  // buses
    explicit Areas(double schedule = 0) {
        area(10, -schedule);
        area(20, schedule);
        make("slack 1.02 .3; load .5 .1; load .2 .05; gen 1.01 .4; load .3 .1; gen 1.0 .2");
        for (int k : {4, 5, 6}) s.bus.IAREA(k) = 2;
        for (const auto& [k, m] : {std::pair{1, 2}, {2, 3}, {1, 3}, {4, 5}, {5, 6}, {4, 6}}) branch(k, m, 0.01, 0.08);
        make("1-4 .02 .1; 6-3 .03 .15 0 .98");
        s.branch.OWNER(8) = false;
        for (int j : rows(s.gen.NG)) {
            set_row(s.gen, j, "FGEN", j, "PMIN", 0, "PMAX", 9);
        }
        s.gen.FGEN(1) = 0;
        s.slk.PSLK(1) = 0.3;
        ready();
        run.cte.TETP = run.cte.TBPA = 1e-6;
        run.cte.EXST = 0.01;
    }
    double exported() const {  // by area 2, metered at the owner's end
        return -branch_flow(s, 7).pf - branch_flow(s, 8).pt;
    }
};

double loss(const Store& s) {
    double sum = 0;
    for (int l : rows(s.branch.NL)) sum += branch_flow(s, l).pf + branch_flow(s, l).pt;
    return sum;
}

void expect_balance(const Store& s) {
    double generation = 0, load = 0;
    EXPECT_LT(worst_imbalance(s), 1e-7);
    for (int j : rows(s.gen.NG)) generation += s.gen.PGEN(j);
    for (int i : rows(s.eqv.NEQV)) generation += s.eqv.PMAT(i);
    for (int k : rows(s.bus.NB)) load += loads_drawn(s, true)[std::size_t(k)].real();
    EXPECT_NEAR(loss(s), generation - load, 1e-7);
}

TEST(Interchange, AreasHoldTheirSchedule) {
    for (const char* method : {"NEWT", "FJAC", "alone"})
        for (const double schedule : {-0.2, 0.0, 0.3}) {
            Areas n(schedule);
            n.s.gen.FGEN(1) = 1;  // the slack moves its own schedule
            n.run.opt.set("CINT"_opt);
            n.run.opt.set("FJAC"_opt, method == std::string("FJAC"));
            n.run.opt.set("NEWT"_opt, method != std::string("alone"));
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << method << schedule << n.session.messages();
            // the slack keeps what it gives beyond its schedule within the tolerance of its area
            EXPECT_NEAR(n.exported(), schedule, 3e-6) << method;
            EXPECT_NEAR(n.s.gen.PGEN(1), n.s.slk.PSLK(1), 3e-6) << method;
            expect_balance(n.s);
            n.solve();
            EXPECT_EQ(n.s.sol.NITP, 0) << "from its own solution";
        }
}

// Two areas of a random network, limits of all kinds at once.
TEST(Interchange, OfRandomNetworksWithAllLimits) {
    for (const bool by_area : {true, false})
        for (unsigned seed = 1; seed <= 12; ++seed) {
            Network n;
            Store& s = n.s;
            n.area(1, 0.3);
            n.area(2, -0.3);
            random_network(n, seed);
            for (int k : rows(s.bus.NB)) s.bus.IAREA(k) = k <= 20 ? 1 : 2;
            std::mt19937 random(seed);
            for (int j : rows(s.gen.NG)) {
                s.gen.FGEN(j) = j == 1 ? 1 : double(random() % 5);
                s.gen.PMIN(j) = -5;
                s.gen.PMAX(j) = s.gen.PGEN(j) + (j % 2 ? 0.05 : 5);
                if (j > 1) s.gen.QMAX(j) = 0.01 * double(random() % 30);
                if (j > 1) s.gen.QMIN(j) = -0.01 * double(random() % 10);
            }
            s.slk.PSLK(1) = 0.5;
            n.ready();
            n.run.cte.TETP = n.run.cte.TBPA = n.run.cte.TLPR = 1e-6;
            n.run.cte.ACIT = 90;
            n.run.opt.set("QLIM"_opt);
            n.run.opt.set(by_area ? "CINT"_opt : "DPER"_opt);
            n.solve();
            ASSERT_EQ(s.sol.CONVSTAT, 1) << seed << n.session.messages();
            double exported = 0;
            for (int t : rows(s.adr.NLTL)) {
                const int l = s.adr.LTLADR(t);
                if (!s.branch.STLIN(l)) continue;
                const BranchFlow f = branch_flow(s, l);
                const bool out = s.bus.IAREA(s.branch.NFROM(l)) == 1, at_from = s.branch.OWNER(l);
                exported += (out ? 1 : -1) * (at_from ? f.pf : -f.pt);
            }
            EXPECT_NEAR(exported, by_area ? 0.3 : exported, 5e-6) << seed;
            EXPECT_NEAR(s.gen.PGEN(1), s.slk.PSLK(1), 5e-6) << seed;
            for (int j : rows(s.gen.NG)) EXPECT_LE(s.gen.PGEN(j), s.gen.PMAX(j) + 5e-6) << seed;
            expect_balance(s);
            n.solve();
            EXPECT_EQ(s.sol.NITP, 0) << seed << ": from its own solution";
        }
}

TEST(Interchange, ParticipationAndLimitsSayWhoMoves) {
    Areas n(0.6);
    n.s.gen.PMAX(3) = 0.3;
    n.run.opt.set("CINT"_opt);
    n.s.gen.FGEN(1) = 1;
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.s.gen.PGEN(3), 0.3) << "at its limit";
    EXPECT_GT(n.s.gen.PGEN(2), 0.4);
    EXPECT_NEAR(n.exported(), 0.6, 3e-6);
    expect_balance(n.s);
}

TEST(Interchange, NobodyLeftToTakeIt) {
    for (const Option o : {"CINT"_opt, "DPER"_opt})
        for (const bool injection : {false, true}) {
            Areas n(5);
            for (int j : rows(n.s.gen.NG)) n.s.gen.PMAX(j) = n.s.gen.PGEN(j);
            if (o.index == ("DPER"_opt).index) n.s.bus.PLOAD(2) = 1;
            if (injection)
                for (int k : {2, 5}) {
                    put_row(n.s.eqv, "NOEQV", k, "FMAT", 0.5);
                }
            n.s.area.AREINT(1) = n.s.area.AREINT(2) = 0;
            n.s.area.AREINT(2) = injection ? 0.1 : 1;
            n.s.area.AREINT(1) = -n.s.area.AREINT(2);
            n.ready();
            n.run.opt.set(o);
            n.solve();
            EXPECT_EQ(n.s.sol.CONVSTAT, injection ? 1 : 4) << n.session.messages();
            if (injection) {
                EXPECT_NE(n.s.eqv.PMAT(1), 0);
            } else {
                EXPECT_TRUE(shows(n.session.console(), "SEM SOLUÇÃO"));
            }
        }
}

TEST(Interchange, LossesGoToTheGeneratorsThatParticipate) {
    Areas n;
    n.run.opt.set("DPER"_opt);
    n.s.gen.FGEN(1) = 0;
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_NEAR(n.s.gen.PGEN(1), 0.3, 2e-6) << "the slack is back at its schedule";
    const double second = n.s.gen.PGEN(2) - 0.4, third = n.s.gen.PGEN(3) - 0.2;
    EXPECT_NEAR(third / second, 1.5, 1e-9) << "by participation 2 and 3";
    expect_balance(n.s);
}

TEST(Interchange, AnErrorAtTheToleranceStands) {
    for (const double tolerance : {0.03, 0.0299}) {  // the slack gives 0.03 beyond its schedule over a lossless line
        Network n;
        n.make("slack 1.0 .0; gen 1.0 .0; load .03125; 1-2 0 .1; 2-3 0 .1");
        n.s.slk.PSLK(1) = 0.00125;
        n.s.gen.FGEN(2) = 1;
        n.s.gen.PMAX(2) = 1;
        n.s.gen.PMAX(1) = 1;
        n.ready();
        n.run.cte.TBPA = tolerance + 1e-9;
        n.run.opt.set("DPER"_opt);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1);
        EXPECT_EQ(n.s.gen.PGEN(2) != 0, tolerance < 0.03) << tolerance;
    }
}

TEST(Balance, TheErrorsOfASolvedNetworkAreNothing) {
    Areas n;
    put_row(n.s.eqv, "NOEQV", 5, "PMAT", 0.05);
    n.s.branch.STLIN(4) = n.s.branch.STLINP(4) = false;  // one end open: it draws its charging
    n.s.branch.BC(4) = 0.1;
    add_voltage_loads(n, 3);
    n.s.cai.VMINZC.fill(n.s.cai.NCAI, 0.7);
    n.ready().solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    find_islands(n.run);
    compute_balance(n.run);
    auto& w = n.run.mat.control;
    EXPECT_NEAR(w.SYSERRO(1), 0, 1e-7);
    EXPECT_NEAR(w.AREERRO(1), 0, 1e-7);
    EXPECT_NEAR(w.AREERRO(2), 0, 1e-7);
}

TEST(Balance, AChangeOfLoadGoesToTheGenerators) {
    for (const bool by_area : {true, false}) {
        Areas n;
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1);
        const std::array<double, 4> before = {0, n.s.gen.PGEN(1), n.s.gen.PGEN(2), n.s.gen.PGEN(3)};
        n.s.bus.PLOAD(5) += 0.1;
        n.s.bus.PLOAD(2) += 0.06;
        n.s.gen.FGEN(1) = 1;
        share_out_imbalance(n.run, !by_area);
        EXPECT_EQ(n.s.sol.CONVSTAT, 0);
        auto moved = [&](int j) { return n.s.gen.PGEN(j) - before[std::size_t(j)]; };
        EXPECT_NEAR(moved(1), by_area ? 0.06 : 0.16 / 6, 1e-6);
        EXPECT_NEAR(moved(2), by_area ? 0.04 : 0.16 / 3, 1e-6);
        EXPECT_NEAR(moved(3), by_area ? 0.06 : 0.16 / 2, 1e-6);
        EXPECT_EQ(n.s.slk.PSLK(1), n.s.gen.PGEN(1));
        // the same when the solution starts: PWFSOL finds nothing left to distribute but new losses
        n.solve();
        EXPECT_EQ(n.s.sol.CONVSTAT, 1);
    }
}

TEST(Balance, ASolveDistributesFirst) {
    struct {
        const char* what;
        Option option;
        bool joined;  // one island
        double most;  // PMAX of all generators
        std::vector<int> driver, reference;
        int convstat;
        double second;  // generation of generator 2 at the end
    } cases[] = {
        {"by area", "BPAR"_opt, true, 9, {}, {}, 1, 0.44},
        {"by island", "BPSI"_opt, true, 9, {}, {}, 1, 0.44},
        {"nobody takes it: the slack does", "BPAR"_opt, true, 0.3, {-910}, {}, 1, 0.3},
    };
    for (const auto& c : cases) {
        Areas n;
        n.solve();
        for (int j : rows(n.s.gen.NG)) n.s.gen.PMAX(j) = c.most;
        n.s.bus.PLOAD(5) += 0.1;
        n.run.opt.set(c.option);
        n.solve();
        EXPECT_EQ(n.s.sol.CONVSTAT, c.convstat) << c.what;
        EXPECT_EQ(n.session.numbers("PWFSOL"), c.driver) << c.what;
        EXPECT_NEAR(n.s.gen.PGEN(2), c.second, 1e-6) << c.what;
        expect_balance(n.s);
    }
}

}  // namespace
}  // namespace korvane::testing
