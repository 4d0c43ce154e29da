// Reactive limits of generators and voltage limits of load buses, by what must hold at a solution.
#include <gtest/gtest.h>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

/// A slack, a generator that holds v between its limits, and a load behind it.
struct Radial : Network {
    int k, j, load;
    Radial(double v, double low, double high, double q, int type = 2) {
        generator(3, 1.0);
        k = generator(type, v, 0.3);
        j = s.gen.NG;
        load = bus(0, 1, 0.5, q);
        branch(1, k, 0.01, 0.1);
        branch(k, load, 0.01, 0.05);
        limits(j, low, high);
        s.bus.NOGLT(k) = add_row(s.glt);
        run.cte.TLPR = run.cte.TLVC = 1e-6;
        run.opt.set("QLIM"_opt);
        ready();
    }
    double q() const { return s.gen.QGEN(j); }
    double v() const { return s.bus.VOLT(k); }
    int type() const { return s.bus.NTYPE(k); }
};

// Every generator that gave up its voltage stands at a limit on the side that its voltage tells.
void expect_limits_kept(const Store& s, double slack, const std::string& what) {
    for (int j : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(j), type = s.bus.NTYPE(k);
        const double q = s.gen.QGEN(j), v = s.bus.VOLT(k), set = s.gen.VGEN(j);
        if (type >= 2) {
            EXPECT_EQ(v, set) << what << ' ' << k;
            EXPECT_GE(q, s.gen.QMIN(j) - slack) << what << ' ' << k;
            EXPECT_LE(q, s.gen.QMAX(j) + slack) << what << ' ' << k;
        } else if (type <= -2) {
            if (std::abs(q - s.gen.QMAX(j)) <= slack)
                EXPECT_LT(v, set + 1e-9) << what << ' ' << k;
            else {
                EXPECT_NEAR(q, s.gen.QMIN(j), slack) << what << ' ' << k;
                EXPECT_GT(v, set - 1e-9) << what << ' ' << k;
            }
        }
    }
}

TEST(ReactiveLimits, GeneratorsStandAtThemOnTheRightSide) {
    for (const char* method : {"NEWT", "FJAC", "PART", "alone"})
        for (unsigned seed = 1; seed <= 12; ++seed) {
            Network n;
            random_network(n, seed);
            const std::string what = method + std::string(" seed ") + std::to_string(seed);
            std::mt19937 random(seed);
            for (int j : rows(n.s.gen.NG)) {
                if (n.s.gen.NOGEN(j) == 1) continue;
                n.limits(j, -0.01 * double(random() % 10), 0.01 * double(random() % 30));
            }
            n.run.cte.TLPR = 1e-6;
            n.run.cte.ACIT = 90;
            n.run.opt.set("QLIM"_opt);
            n.run.opt.set("FJAC"_opt, method == std::string("FJAC"));
            n.run.opt.set("PART"_opt, method == std::string("PART"));
            n.run.opt.set("NEWT"_opt, method != std::string("alone"));
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << what << n.session.messages();
            expect_limits_kept(n.s, 2e-6, what);
            EXPECT_LT(worst_imbalance(n.s), 1e-7) << what;
            int limited = 0;
            for (int k : rows(n.s.bus.NB)) limited += n.s.bus.NTYPE(k) < -1;
            EXPECT_GT(limited, 0) << what << ": or the test shows nothing";
            n.solve();
            EXPECT_EQ(n.s.sol.NITP, 0) << what << ": from its own solution";
        }
}

TEST(ReactiveLimits, OneGenerator) {
    struct {
        const char* what;
        double v, low, high, load;
        int start;  // type at the start
        double at;  // generation at the start
        int type;   // at the end
        double q;   // at the end; 99: free
    } cases[] = {
        {"holds its voltage", 1.0, -1, 1, 0.2, 2, 0, 2, 99},
        {"goes to its highest", 1.05, -0.1, 0.1, 0.3, 2, 0, -2, 0.1},
        {"goes to its lowest", 0.95, -0.1, 0.1, 0.0, 2, 0, -2, -0.1},
        {"at the highest, the voltage below the set point: stays", 1.05, -0.1, 0.1, 0.3, -2, 0.1, -2, 0.1},
        {"at the highest, the voltage above: comes back", 0.97, -0.3, 0.3, 0.0, -2, 0.3, 2, 99},
        {"at the lowest, the voltage below: comes back", 1.02, -0.3, 0.5, 0.0, -2, -0.3, 2, 99},
        {"no band: never leaves", 1.0, 0.05, 0.05, 0.0, -2, 0.05, -2, 0.05},
    };
    for (const auto& c : cases) {
        Radial n(c.v, c.low, c.high, c.load, c.start);
        n.s.gen.QGEN(n.j) = c.at;
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what;
        EXPECT_EQ(n.type(), c.type) << c.what;
        if (c.q < 99) {
            EXPECT_EQ(n.q(), c.q) << c.what;
        } else {
            EXPECT_EQ(n.v(), c.v) << c.what;
        }
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
    }
}

TEST(ReactiveLimits, ThoseOfTheListAreLeftAlone) {
    for (const bool listed : {false, true}) {
        Radial n(1.05, -0.1, 0.1, 0.3);
        if (listed) n.s.fql.row(add_row(n.s.fql)) = n.j;
        n.solve();
        EXPECT_EQ(n.type(), listed ? 2 : -2);
    }
}

TEST(ReactiveLimits, GroupsAndRemoteSetPoints) {
    auto dq = [](korvane::Run& run, int k) -> double& { return run.mat.work.power(k); };
    struct {
        const char* what;
        bool fjac;
        int group;    // NTCST
        bool remote;  // the load bus is controlled, at 0.98; its voltage stands at 0.97 or, above, at 0.99
        bool above;
        int type;  // of a generator at QMAX whose own voltage is above its own set point
    } cases[] = {
        {"its own voltage releases it", false, 0, false, false, 2},
        {"its group looks after it", false, -2, false, false, -2},
        {"groups are Newton's", true, -2, false, false, 2},
        {"the controlled voltage keeps it", false, 0, true, false, -2},
        {"the controlled voltage releases it", false, 0, true, true, 2},
    };
    for (const auto& c : cases) {
        Radial n(1.0, -0.1, 0.1, 0.3, -2);
        n.run.opt.set("FJAC"_opt, c.fjac);
        start_limits(n.run);
        n.run.mat.control.NTCST(n.j) = c.group;
        auto& remote = n.run.mat.control.remote_row(1) = {};
        remote.bus = n.load;
        remote.target = 0.98;
        remote.active = true;
        n.run.mat.control.remote(n.j) = c.remote;
        n.s.gen.QGEN(n.j) = 0.1;
        n.s.bus.VOLT(n.k) = 1.01;
        n.s.bus.VOLT(n.load) = c.above ? 0.99 : 0.97;
        EXPECT_EQ(check_limits(n.run, dq, false), c.type > 0) << c.what;
        EXPECT_EQ(n.type(), c.type) << c.what;
        EXPECT_EQ(n.v(), c.type < 0 || c.remote ? 1.01 : 1.0) << c.what;  // a remote bus leaves it free
    }
}

// Every generator but the slack has less than it takes; with the slack limited as well nothing holds the voltage.
TEST(ReactiveLimits, AllGeneratorsAtTheirs) {
    for (const bool collapse : {false, true})
        for (const char* method : {"NEWT", "FJAC", "PART", "STEP", "STPO", "CILH"}) {
            Network n;
            random_network(n, 5);
            for (int j : rows(n.s.gen.NG)) {
                if (n.s.bus.NTYPE(n.s.gen.NOGEN(j)) == 3 && !collapse) continue;
                n.limits(j, collapse ? -9.0 : -0.02, collapse ? -8.0 : -0.01);
            }
            n.run.cte.TLPR = 1e-6;
            n.run.opt.set("QLIM"_opt);
            n.run.opt.set(Option{find_option(method)});
            n.solve();
            const Store& s = n.s;
            EXPECT_EQ(s.sol.CONVSTAT == 1, !collapse) << method << s.sol.CONVSTAT;
            if (!collapse) {
                expect_limits_kept(s, 2e-6, method);
                EXPECT_LT(worst_imbalance(s), 1e-7) << method;
            }
            for (int k : rows(s.bus.NB)) EXPECT_TRUE(std::isfinite(s.bus.VOLT(k)) && std::isfinite(s.bus.ANGLE(k)));
        }
}

TEST(ReactiveLimits, ASlackAtALimitKeepsItsAngle) {
    Radial n(1.0, -1, 1, 0.3);
    n.s.gen.QMAX(1) = 0.02;
    n.s.gen.QMIN(1) = -0.02;
    n.s.bus.ANGLE(1) = 0.1;
    n.s.gen.VGEN(1) = n.s.bus.VOLT(1) = 1.03;
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(these(n.s.bus.NTYPE(1), n.s.gen.QGEN(1), n.s.bus.ANGLE(1)), these(-3, 0.02, 0.1));
    EXPECT_LT(n.s.bus.VOLT(1), 1.03);
    EXPECT_LT(worst_imbalance(n.s), 1e-7);
}

TEST(ReactiveLimits, FiftySwitchesOfAPassAreReported) {
    Network n;
    n.generator(3, 1.0);
    for (int i = 0; i < 51; ++i) {
        const int k = n.generator(2, 1.02);
        n.limits(n.s.gen.NG, -0.01, 0.01);
        n.branch(1, k, 0, 0.1);
    }
    n.ready();
    n.run.opt.set("QLIM"_opt);
    n.run.opt.set("FILE"_opt);  // 132 columns
    n.run.opt.clear("80CO"_opt);
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    for (int k = 2; k <= 52; ++k) EXPECT_EQ(n.s.bus.NTYPE(k), -2) << k;
    const std::string shown = n.session.console() + n.session.print();
    int marks = 0;
    for (std::size_t at = 0; (at = shown.find(" B ", at)) != std::string::npos; ++at) ++marks;
    EXPECT_EQ(marks, 50) << shown;
}

// One after the other along a line: what the last can no longer give, the next has to, and passes its own limit by it.
TEST(ReactiveLimits, ACascadeTakesNoSolutionForEachOfItsSteps) {
    for (const int generators : {1, 4, 12}) {
        Network n;
        n.generator(3, 1.0);
        for (int i = 0; i < generators; ++i) {
            const int k = n.generator(2, 1.0), j = n.s.gen.NG;
            n.limits(j, -0.05, 0.05);
            n.branch(k - 1, k, 0, 0.02);
        }
        n.branch(generators + 1, n.bus(0, 1, 0, 0.1 + 0.05 * generators), 0, 0.02);
        n.ready().solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1);
        const int plain = n.s.sol.NITP;
        for (int k : rows(n.s.bus.NB)) n.s.bus.VOLT(k) = 1;
        n.run.opt.set("QLIM"_opt);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << generators << n.session.messages();
        EXPECT_LE(n.s.sol.NITP, plain + 5) << generators;
        for (int k = 2; k <= generators + 1; ++k) EXPECT_EQ(n.s.bus.NTYPE(k), -2) << generators;
        expect_limits_kept(n.s, n.run.cte.TLPR, std::to_string(generators));
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << std::to_string(generators);
    }
}

// A set point just where the limit is reached, and a slack of nothing: without an end to it, the bus would go to and
// fro.
TEST(ReactiveLimits, ABusThatKeepsChangingItsTypeStaysAtALimit) {
    Radial n(1.0, -0.1, 0.1, 0.3);
    auto& turns = n.run.mat.control.turns;
    start_limits(n.run);
    EXPECT_EQ(turns(n.j), 0);
    // by hand: the voltage stands above the set point at QMAX, and the mismatch of a held voltage is above QMAX
    int changes = 0;
    auto dq = [](korvane::Run& run, int k) -> double& { return run.mat.work.power(k); };
    for (int pass = 0; pass < 40; ++pass) {
        const bool held = n.type() > 0;
        n.s.gen.QGEN(n.j) = held ? 0.2 : 0.1;
        n.s.bus.VOLT(n.k) = held ? 1.0 : 1.01;
        changes += check_limits(n.run, dq, false);
    }
    EXPECT_EQ(these(changes, n.type(), n.q()), these(11, -2, 0.1));
    tell_stuck(n.run);
    MSGOUT(n.run);
    EXPECT_EQ(n.session.numbers("LIMREA"), std::vector{-900});
    start_limits(n.run);
    EXPECT_EQ(turns(n.j), 0);
}

// A load bus with voltage limits: VGEN is its schedule.
struct Band : Radial {
    Band(double lowest, double highest, double schedule, double low, double high, double drawn)
        : Radial(1.0, low, high, drawn, -1) {
        s.gen.VGEN(j) = s.gen.QGEN(j) = schedule;
        const int group = s.bus.NOGLT(k);
        s.glt.VMIN(group) = lowest;
        s.glt.VMAX(group) = highest;
        run.opt.clear("QLIM"_opt);
        run.opt.set("VLIM"_opt);
    }
};

TEST(VoltageLimits, OneBus) {
    struct {
        const char* what;
        double lowest, highest, schedule, low, high, load;
        int type;
        double v, q;  // at the end; 99: free
    } cases[] = {
        {"inside its band at its schedule", 0.9, 1.1, 0.05, -1, 1, 0.2, -1, 99, 0.05},
        {"held at its lowest voltage", 0.99, 1.1, 0.0, -1, 1, 0.3, 1, 0.99, 99},
        {"held at its highest voltage", 0.9, 0.96, 0.0, -1, 1, 0.1, 1, 0.96, 99},
        {"the band is out of reach: at its highest generation", 1.04, 1.1, 0.0, -0.1, 0.1, 0.3, -1, 99, 0.1},
        {"the band is out of reach: at its lowest generation", 0.8, 0.9, 0.0, -0.1, 0.1, 0.1, -1, 99, -0.1},
    };
    for (const auto& c : cases) {
        Band n(c.lowest, c.highest, c.schedule, c.low, c.high, c.load);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << ' ' << n.v() << ' ' << n.q() << ' ' << n.type();
        EXPECT_EQ(n.type(), c.type) << c.what;
        if (c.v < 99) {
            EXPECT_EQ(n.v(), c.v) << c.what;
            EXPECT_TRUE(c.v == c.lowest ? n.q() > c.schedule : n.q() < c.schedule) << c.what;
        }
        if (c.q < 99) {
            EXPECT_EQ(n.q(), c.q) << c.what;
        }
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
        n.solve();
        EXPECT_EQ(n.s.sol.NITP, 0) << c.what << ": from its own solution";
    }
}

TEST(VoltageLimits, ComesBackToItsScheduleWhenItCan) {
    Band n(0.99, 1.1, 0.0, -1, 1, 0.3);
    n.solve();
    ASSERT_EQ(n.type(), 1);
    n.s.bus.QLOAD(n.load) = -0.1;
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.type(), -1);
    EXPECT_EQ(n.q(), 0);
}

TEST(VoltageLimits, DoNotTouchGenerators) {
    Radial n(1.05, -0.1, 0.1, 0.3);
    n.run.opt.clear("QLIM"_opt);
    n.run.opt.set("VLIM"_opt);
    n.solve();
    EXPECT_EQ(n.type(), 2);
    EXPECT_GT(n.q(), 0.1);
}

}  // namespace
}  // namespace korvane::testing
