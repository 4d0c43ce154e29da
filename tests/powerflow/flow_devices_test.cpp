// Compensators and phase shifters after the solution: on their characteristics, at their targets or at the limits that
// explain why not.
#include <gtest/gtest.h>

#include "powerflow/bridges.hpp"
#include "powerflow/controlled_networks.hpp"

namespace korvane::testing {
namespace {

constexpr double CLOSE = 1e-6;

TEST(StaticCompensators, EndOnTheirCharacteristic) {
    struct {
        const char* what;
        double slope, reference, least, most;
        int kind, units;
        bool elsewhere, in_service;
        int region;
    } const cases[] = {
        {"slope of the power", -0.05, 1.0, -1, 1, 1, 1, false, true, 2},
        {"slope of the current, two units", -0.05, 1.0, -1, 1, 2, 2, false, true, 2},
        {"another bus", -0.02, 1.0, -1, 1, 1, 1, true, true, 2},
        {"highest", -0.01, 1.2, -0.1, 0.1, 1, 1, false, true, 1},
        {"lowest", -0.01, 0.8, -0.1, 0.1, 2, 1, false, true, 3},
        {"no range", -0.01, 1.0, 0.1, 0.1, 1, 1, false, true, 1},
        {"steep", -0.0001, 1.01, -2, 2, 1, 1, false, true, 2},
        {"out of service", -0.01, 1.0, -1, 1, 1, 1, false, false, 2},
    };
    for (const auto& c : cases) {
        Network n;
        n.generator(3, 1.02);
        for (int k = 2; k <= 5; ++k) n.bus(0, 1, 0.2, 0.1);
        for (int k = 1; k <= 5; ++k) n.branch(k, k % 5 + 1, 0.01, 0.08, 0.02);
        const int i = add_row(n.s.cer), own = 3, held = c.elsewhere ? 4 : 3;
        set_row(n.s.cer, i, "NBECER", own, "NVKCER", held, "IGCER", 10, "NUCER", c.units, "RCER", c.slope, "QCERMN",
                c.least, "QCERMX", c.most, "VCER", c.reference, "KONCNT", c.kind, "STUCER", c.in_service);
        n.ready().solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what;
        EXPECT_LT(worst_imbalance(n.s), CLOSE) << c.what;
        const double vt = n.s.bus.VOLT(own), vc = n.s.bus.VOLT(held), q = n.s.cer.QGCER(i);
        if (!c.in_service) {
            EXPECT_EQ(q, 0) << c.what;
            continue;
        }
        const double s = c.slope / c.units / (c.kind == 2 ? vt : 1);
        const double most = c.most * c.units * vt * vt, least = c.least * c.units * vt * vt;
        if (c.least < c.most) {
            EXPECT_EQ(n.s.cer.KONCER(i), c.region) << c.what;
        } else
            EXPECT_NE(n.s.cer.KONCER(i), 2) << c.what;
        switch (n.s.cer.KONCER(i)) {
            case 1:
                EXPECT_NEAR(q, most, CLOSE) << c.what;
                EXPECT_LE(vc, c.reference + s * most + CLOSE) << c.what;
                break;
            case 3:
                EXPECT_NEAR(q, least, CLOSE) << c.what;
                EXPECT_GE(vc, c.reference + s * least - CLOSE) << c.what;
                break;
            default: EXPECT_NEAR(vc, c.reference + s * q, CLOSE) << c.what;
        }
    }
}

/// Two ways from a generator to a load; the device is in the second one.
Network& two_ways(Network& n) {
    n.make("slack 1.02; bus; load 1.0 .2; 1-2 .002 .05 .02; 1-3 .01 .15 .02");
    return n;
}

TEST(SeriesCompensators, HoldTheirFlowOrStopAtALimit) {
    enum End { held, lowest, highest, on_step, fixed };
    struct {
        const char* what;
        int mode;
        double target;
        bool at_to;
        int steps;
        End end;
    } const cases[] = {
        {"power", 1, 0.62, false, 0, held},
        {"power at the other end", 1, -0.62, true, 0, held},
        {"current", 2, 0.62, false, 0, held},
        {"more than it can", 1, 0.9, false, 0, lowest},
        {"less than it can", 1, 0.3, false, 0, highest},
        {"steps", 1, 0.62, false, 9, on_step},
        {"steps at a limit", 1, 0.3, false, 9, on_step},
        {"constant reactance", 3, 50, false, 0, fixed},
    };
    for (const auto& c : cases) {
        Network n;
        two_ways(n);
        const int i = series_compensator(n, 2, 3, c.mode, c.target, c.at_to, c.steps), l = n.s.csc.LICSC(i);
        n.ready().solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what;
        EXPECT_LT(worst_imbalance(n.s), CLOSE) << c.what;
        const auto [from, to] = drawn(n.s, l);
        const double flow = (c.at_to ? to : from).real(), b = n.s.branch.BKM(l);
        const double target = c.mode == 2 ? c.target * n.s.bus.VOLT(n.s.csc.NBECSC(i)) : c.target;
        EXPECT_EQ(n.s.csc.NTYCSC(i), c.end == held || c.end == fixed) << c.what;
        switch (c.end) {
            case held: EXPECT_NEAR(flow, target, CLOSE) << c.what; break;
            case lowest:
                EXPECT_EQ(b, n.s.csc.BMNCSC(i)) << c.what;
                EXPECT_LT(flow, target) << c.what;
                break;
            case highest:
                EXPECT_EQ(b, n.s.csc.BMXCSC(i)) << c.what;
                EXPECT_GT(flow, target) << c.what;
                break;
            case on_step: {
                const double place = (0.05 - 1 / b) / 0.005;  // of the steps from the least reactance
                EXPECT_NEAR(place, std::round(place), CLOSE) << c.what;
                EXPECT_GT(flow, target - CLOSE) << c.what;
                break;
            }
            case fixed: EXPECT_NEAR(b, 50, 1e-12) << c.what;
        }
    }
}

TEST(SeriesCompensators, LeaveTheirLimitsTogether) {
    Network n;
    two_ways(n);
    const int a = series_compensator(n, 2, 3, 1, 0.36, false), b = series_compensator(n, 2, 3, 1, 0.36, false);
    for (const int i : {a, b}) {  // as an earlier solution left them
        const int l = n.s.csc.LICSC(i);
        n.s.branch.BKM(l) = n.s.csc.BMXCSC(i);
        n.s.csc.NTYCSC(i) = false;
    }
    n.ready().solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    for (const int i : {a, b}) {
        EXPECT_TRUE(n.s.csc.NTYCSC(i)) << i;
        EXPECT_NEAR(drawn(n.s, n.s.csc.LICSC(i)).first.real(), 0.36, CLOSE) << i;
    }
    EXPECT_LE(n.s.sol.NITP, 10) << "one round for both";
}

/// An island with a slack, a load and, when it has a target, a series compensator towards the load; its row.
int island(Network& n, double load, double target, int steps) {
    const int slack = n.generator(3, 1.02), middle = n.bus(0), end = n.bus(0, 1, load, 0.2);
    n.branch(slack, middle, 0.002, 0.05, 0.02);
    n.branch(slack, end, 0.01, 0.15, 0.02);
    return target == 0 ? 0 : series_compensator(n, middle, end, 1, target, false, steps);
}

TEST(SeriesCompensators, SettleByIslandWhateverTheOthersDo) {
    struct {
        const char* what;
        double load, angle;  // of the other island; the angle of a machine in it, too far away for its steps
        int convstat;
    } const others[] = {{"solves", 1.1, 0, 1}, {"diverges", 40, 0, 3}, {"is on its way", 1.1, 1.9, 2}};
    for (int steps : {9, 0}) {
        // On a step; or from its least reactance, where the flow does not want it, back to its target.
        auto start = [&](Network& n, int i) {
            if (steps) return;
            n.s.csc.NTYCSC(i) = false;
            n.s.branch.BKM(n.s.csc.LICSC(i)) = n.s.csc.BMNCSC(i);
        };
        Network alone;
        const int i = island(alone, 1, 0.62, steps);
        start(alone, i);
        alone.ready().solve();
        ASSERT_EQ(alone.s.sol.CONVSTAT, 1);
        for (const auto& other : others) {
            Network n;
            const int first = island(n, 1, 0.62, steps), l = n.s.csc.LICSC(first), buses = n.s.bus.NB;
            island(n, other.load, 0, 0);
            if (other.angle != 0) {
                n.run.opt.set("STEP"_opt);
                n.run.cte.ASTP = 0.03;
                n.run.cte.CSTP = 100;
                n.s.bus.ANGLE(n.generator(2, 1.02)) = other.angle;
                n.branch(buses + 1, n.s.bus.NB, 0, 0.1);
            }
            start(n, first);
            n.run.opt.set("CILH"_opt);
            n.ready().solve();
            EXPECT_EQ(n.s.sol.CONVSTAT, other.convstat) << other.what;
            EXPECT_EQ(n.run.mat.island(1).KONLF2, 1) << other.what << steps;
            EXPECT_EQ(n.s.csc.NTYCSC(first), steps == 0) << other.what;
            EXPECT_NEAR(n.s.branch.BKM(l), alone.s.branch.BKM(alone.s.csc.LICSC(i)), CLOSE) << other.what << steps;
            const auto left = imbalance(n.s);
            for (int k : rows(buses)) EXPECT_LT(std::abs(left[std::size_t(k)]), CLOSE) << other.what << " bus " << k;
        }
    }
}

TEST(PhaseShifters, HoldTheirFlowOrStopAtALimit) {
    enum End { held, lowest, highest };
    struct {
        const char* what;
        int kind;
        double target;
        bool at_to;
        double start;
        End end;
    } const cases[] = {
        {"power", 2, 0.5, false, 0.01, held},
        {"power at the other end", 2, -0.5, true, 0.01, held},
        {"current", 1, 0.4, false, 0.01, held},
        {"current at the other end", 1, -0.4, true, 0.01, held},
        {"from its highest limit", 2, 0.5, false, 0.1, held},
        {"from its lowest limit", 2, 0.5, false, -0.1, held},
        {"more than it can", 2, 3, false, 0.01, highest},
        {"less than it can", 2, -3, false, 0.01, lowest},
        {"less than it can, other end", 2, 3, true, 0.01, lowest},
    };
    for (bool step : {false, true})
        for (const auto& c : cases) {
            Network n;
            two_ways(n);
            n.branch(2, 3, 0.01, 0.2);
            const int i = phase_shifter(n, 2, 3, c.kind, c.target, c.at_to);
            set_row(n.s.phs, i, "PHS", c.start, "PHSMIN", -0.1, "PHSMAX", 0.1);
            if (step) n.run.opt.set("STEP"_opt);
            n.ready().solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what;
            EXPECT_LT(worst_imbalance(n.s), CLOSE) << c.what;
            const auto [from, to] = drawn(n.s, n.s.tap.NOTAP(n.s.phs.NOPHS(i)));
            const double flow = (c.at_to ? to : from).real();
            const double target = c.kind == 1 ? c.target * n.s.bus.VOLT(n.s.phs.NBEPHS(i)) : c.target;
            EXPECT_EQ(n.s.phs.FLGPHS(i), c.end != held) << c.what;
            if (c.end == held) {
                EXPECT_NEAR(flow, target, CLOSE) << c.what;
                EXPECT_LT(std::abs(n.s.phs.PHS(i)), 0.1) << c.what;
            } else
                EXPECT_EQ(n.s.phs.PHS(i), c.end == lowest ? -0.1 : 0.1) << c.what;
        }
}

/// Islands of the buses in service without branch `out`, by joining the ends of the others.
int islands_without(const Store& s, int out) {
    std::vector<int> root(std::size_t(s.bus.NB) + 1);
    for (int k : rows(s.bus.NB)) root[std::size_t(k)] = k;
    auto find = [&](int k) {
        while (root[std::size_t(k)] != k) k = root[std::size_t(k)];
        return k;
    };
    int islands = s.bus.NB;
    for (int l : rows(s.branch.NL)) {
        const int from = s.branch.NFROM(l), to = s.branch.NTO(l);
        if (l == out || !s.branch.STLIN(l) || !s.bus.STBUS(from) || !s.bus.STBUS(to)) continue;
        const int a = find(from), b = find(to);
        if (a == b) continue;
        root[std::size_t(a)] = b;
        --islands;
    }
    return islands;
}

TEST(PhaseShifters, BridgesAreTheBranchesWhoseOutageSplitsAnIsland) {
    int bridges = 0, others = 0;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Network n;
        random_network(n, seed);
        std::mt19937 random(seed);
        for (int l : rows(n.s.branch.NL)) n.s.branch.STLIN(l) = random() % 3 != 0;
        for (int k : rows(n.s.bus.NB)) n.s.bus.STBUS(k) = random() % 12 != 0;
        const std::vector<char> found = find_bridges(n.s);
        const int whole = islands_without(n.s, 0);
        for (int l : rows(n.s.branch.NL)) {
            const bool splits = islands_without(n.s, l) > whole;
            EXPECT_EQ(bool(found[std::size_t(l)]), splits) << "seed " << seed << " branch " << l;
            ++(splits ? bridges : others);
        }
    }
    EXPECT_GT(bridges, 100);
    EXPECT_GT(others, 100);
}

TEST(PhaseShifters, ThatAloneFeedABusKeepTheirShift) {
    enum Beside { none, open, closed };
    struct {
        const char* what;
        double start;
        Beside beside;
        bool held, told;
    } const cases[] = {
        {"alone", 0.01, none, true, true},
        {"beside an open branch", 0.01, open, true, true},
        {"beside a branch", 0.01, closed, false, false},
        {"alone, at a limit that the flow asks away from", 0.1, none, true, false},
        {"alone, at the limit that the flow asks for", -0.1, none, true, false},
    };
    for (const auto& c : cases) {
        Network n;
        two_ways(n);
        const int fed = n.bus(0, 1, 0.3, 0.1);
        const int i = phase_shifter(n, 3, fed, 2, 0.2, false);
        set_row(n.s.phs, i, "PHS", c.start, "PHSMIN", -0.1, "PHSMAX", 0.1);
        const int beside = c.beside == none ? 0 : n.branch(3, fed, 0.01, 0.1);
        if (c.beside == open) n.s.branch.STLIN(beside) = false;
        n.ready();
        auto warnings = [&] {
            const std::string text = n.session.messages();
            int count = 0;
            for (auto at = text.find("CONTAP -200"); at != text.npos; at = text.find("CONTAP -200", at + 1)) ++count;
            return count;
        };
        for (int solves : {1, 2}) {
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what;
            EXPECT_LT(worst_imbalance(n.s), CLOSE) << c.what;
            EXPECT_EQ(n.s.phs.PHS(i) == c.start, c.held) << c.what;
            EXPECT_EQ(n.s.phs.FLGPHS(i), c.held) << c.what;
            EXPECT_EQ(warnings(), c.told ? solves : 0) << c.what;
        }
        if (c.told) {
            n.run.mat.state.analysis = true;
            n.solve();
            EXPECT_EQ(warnings(), 2) << c.what << ": told by the solve before the analysis";
        }
        if (c.beside != open) continue;
        n.s.branch.STLIN(beside) = true;
        n.solve();
        EXPECT_NEAR(drawn(n.s, n.s.tap.NOTAP(n.s.phs.NOPHS(i))).first.real(), 0.2, CLOSE) << "free again";
        EXPECT_FALSE(n.s.phs.FLGPHS(i));
    }
}

TEST(PhaseShifters, ActAgainOnceTheirLimitsAreWidened) {
    Network n;
    two_ways(n);
    n.branch(2, 3, 0.01, 0.2);
    const int i = phase_shifter(n, 2, 3, 2, 1.5, false);
    n.s.phs.PHSMAX(i) = 0.05;
    n.ready().solve();
    ASSERT_EQ(n.s.phs.PHS(i), 0.05);
    ASSERT_TRUE(n.s.phs.FLGPHS(i));
    n.s.phs.PHSMAX(i) = 0.5;
    n.solve();
    EXPECT_FALSE(n.s.phs.FLGPHS(i));
    EXPECT_NEAR(drawn(n.s, n.s.tap.NOTAP(n.s.phs.NOPHS(i))).first.real(), 1.5, CLOSE);
}

// Between two buses that hold angle and voltage nothing but the shift moves the flow, and at a right angle across a
// reactance not even that: the equation is empty, whatever the order of elimination.
TEST(PhaseShifters, AtARightAngleBetweenSlacksAreSingular) {
    const double right = std::acos(-1.0) / 2;
    for (double across : {right, right - 0.2}) {
        Network n;
        n.make("slack 1.0; slack 1.0");
        n.s.bus.ANGLE(2) = -across;
        n.branch(1, 2, 0, 0.5);
        const int i = phase_shifter(n, 1, 2, 2, 9, false);
        n.s.branch.GKM(n.s.tap.NOTAP(n.s.phs.NOPHS(i))) = 0;
        n.s.phs.PHS(i) = 0;
        n.ready().solve();
        const bool told = n.session.messages().find("SOLVNW 130") != std::string::npos;
        EXPECT_EQ(told, across == right) << n.session.messages();
        EXPECT_EQ(n.s.sol.CONVSTAT, across == right ? 3 : 1) << across;
    }
}

}  // namespace
}  // namespace korvane::testing
