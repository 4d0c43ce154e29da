// The iterations beside Newton's own, and its options, by laws: one network has one solution, whatever the way to it.
#include <gtest/gtest.h>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

using Options_ = std::vector<Option>;

std::vector<std::complex<double>> voltages(const Store& s) {
    std::vector<std::complex<double>> v;
    for (int k : rows(s.bus.NB)) v.push_back(voltage(s, k));
    return v;
}

double distance(const std::vector<std::complex<double>>& a, const std::vector<std::complex<double>>& b) {
    double worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::abs(a[i] - b[i]));
    return worst;
}

TEST(Methods, AllReachTheSolutionOfNewton) {
    struct {
        const char* what;
        Options_ set, clear;
    } cases[] = {
        {"decoupled alone", {}, {"NEWT"_opt}},
        {"decoupled alone, with cuts", {"STEP"_opt}, {"NEWT"_opt}},
        {"decoupled start", {"PART"_opt}, {}},
        {"separate controls", {"FJAC"_opt}, {}},
        {"decoupled start, separate controls", {"PART"_opt, "FJAC"_opt}, {}},
        {"optimal step", {"STPO"_opt}, {}},
        {"by island", {"CILH"_opt}, {}},
        {"optimal step by island", {"CILH"_opt, "STPO"_opt, "STEP"_opt}, {}},
        {"linear start", {"INDC"_opt}, {}},
        {"linear start from flat", {"INDC"_opt, "FLAT"_opt}, {}},
    };
    for (unsigned seed = 1; seed <= 6; ++seed) {
        Network reference;
        random_network(reference, seed);
        reference.s.bus.ANGLE(1) = 0.4;  // the slack keeps its angle, whatever the start
        const auto solution = voltages(reference.solve().s);
        ASSERT_EQ(reference.s.sol.CONVSTAT, 1);
        for (const auto& c : cases) {
            Network n;
            random_network(n, seed);
            n.s.bus.ANGLE(1) = 0.4;
            for (const Option o : c.set) n.run.opt.set(o);
            for (const Option o : c.clear) n.run.opt.clear(o);
            n.run.cte.ACIT = 60;
            const auto before = n.run.opt.IOPTN;
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << ' ' << seed << n.session.messages();
            EXPECT_LT(worst_imbalance(n.s), 3e-9) << c.what << ' ' << seed;
            EXPECT_LT(distance(voltages(n.s), solution), 1e-8) << c.what << ' ' << seed;
            EXPECT_EQ(n.run.opt.IOPTN, before) << c.what;
        }
    }
}

TEST(Decoupled, CountsItsHalvesAndStopsWhereItIsTold) {
    struct {
        const char* what;
        Options_ set;
        bool newton;
        int limit;
        double p, q;
        int convstat, nitp, nitq;
    } cases[] = {
        {"one P half is the start, Newton counts on", {"PART"_opt}, true, 30, 0.5, 0, 1, -1, -1},
        {"the start itself gets there", {"PART"_opt}, true, 30, 0, 0, 1, 0, 0},
        {"no half allowed", {}, false, 0, 0.5, 0.1, 2, 0, 0},
        {"one half of either, and not there", {}, false, 1, 0.5, 0.3, 2, 1, 1},
        {"no reactive half was needed", {}, false, 30, 1e-7, 0, 1, 1, 0},
        {"more than the line can carry", {}, false, 60, 0.2, 6.0, 3, -1, -1},
    };
    for (const auto& c : cases) {
        Network n;
        n.generator(3, 1.0);
        n.bus(0, 1, c.p, c.q);
        n.branch(1, 2, 0, 0.1);
        n.ready();
        for (const Option o : c.set) n.run.opt.set(o);
        n.run.opt.set("NEWT"_opt, c.newton);
        n.run.cte.ACIT = c.limit;
        n.solve();
        EXPECT_EQ(n.s.sol.CONVSTAT, c.convstat) << c.what;
        if (c.nitp >= 0) {
            EXPECT_EQ(n.s.sol.NITP, c.nitp) << c.what;
            EXPECT_EQ(n.s.sol.NITQ, c.nitq) << c.what;
        }
    }
}

// One P half on a lossless line is the linear flow: dt = P x, and the next mismatch says so.
TEST(Decoupled, ShowsItsHalvesWithTheMarkOfAFreshMatrix) {
    Network n;
    n.make("slack 1.0; load .5 .2; 1-2 0 .1").ready();
    n.run.opt.clear("NEWT"_opt);
    n.solve();
    const std::string& shown = n.session.console();
    EXPECT_TRUE(shows(shown, "DESACOPLADO"));
    EXPECT_TRUE(shows(shown, " 1*"));
    EXPECT_FALSE(shows(shown, " 2*"));
    EXPECT_TRUE(shows(shown, "SOLUÇÃO CONVERGENTE"));
}

TEST(Forced, DevicesThatOnlyNewtonKnowsTakeTheOptionsAway) {
    Network n;
    random_network(n, 2);
    n.s.cai.NOCAI(add_row(n.s.cai)) = 7;  // an individual load of no power
    for (const Option o : {"FJAC"_opt, "PART"_opt}) n.run.opt.set(o);
    n.run.opt.clear("NEWT"_opt);
    n.solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_TRUE(n.run.opt["NEWT"_opt]);
    EXPECT_FALSE(n.run.opt["FJAC"_opt]);
    EXPECT_FALSE(n.run.opt["PART"_opt]);
}

/// A slack, a generator that holds the voltage of bus 3 from bus 2, and a load behind a transformer under control.
void controlled(Network& n) {
    n.make("slack 1.0; gen 1.0 .2; load .4 .2; load .3 .15; 1-2 .01 .1; 2-3 .01 .05; 3-1 .01 .1; 3-4 0 .1 0 1.001");
    n.control_tap(-4, 1.0);  // the voltage of the far end falls with the ratio
    n.remote(2, 3, 1.01);
    n.ready();
    n.run.cte.TLVC = 1e-6;
    n.run.cte.ACIT = 200;
}

TEST(SeparateControls, HoldTheirVoltages) {
    for (const bool newton : {false, true}) {
        Network n;
        controlled(n);
        for (const Option o : {"CREM"_opt, "CTAP"_opt, "FJAC"_opt}) n.run.opt.set(o);
        n.run.opt.set("NEWT"_opt, newton);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << newton;
        EXPECT_NEAR(n.s.bus.VOLT(3), 1.01, 1e-6);
        EXPECT_NEAR(n.s.bus.VOLT(4), 1.0, 1e-6);
        EXPECT_LT(worst_imbalance(n.s), 3e-9);
        EXPECT_EQ(n.s.gen.VGEN(2), n.s.bus.VOLT(2));
        EXPECT_EQ(n.session.numbers("PWFSOL"), std::vector<int>{}) << "nothing is left undone";
    }
}

TEST(SeparateControls, WhatKeepsThemStill) {
    struct {
        const char* what;
        void (*change)(Network&);
        bool remote, tap;  // whether it still holds its voltage
    } cases[] = {
        {"nothing", [](Network&) {}, true, true},
        {"controlled buses of held voltage", [](Network& n) { n.s.bus.NTYPE(3) = n.s.bus.NTYPE(4) = 1; }, false, false},
        {"a generator left out, a tap held fixed",
         [](Network& n) {
             n.s.fcr.row(add_row(n.s.fcr)) = 2;
             n.s.tpf.row(add_row(n.s.tpf)) = 4;
         },
         false, false},
        {"a limit of the ratio", [](Network& n) { n.s.tap.TPMIN(1) = 0.999; }, true, false},
        {"a generator without a range at its limit",
         [](Network& n) {
             n.s.bus.NTYPE(2) = -2;
             n.s.gen.QMIN(2) = n.s.gen.QMAX(2) = 0.1;
             n.s.gen.QGEN(2) = 0.1;
         },
         false, true},
    };
    for (const auto& c : cases) {
        Network n;
        controlled(n);
        c.change(n);
        for (const Option o : {"CREM"_opt, "CTAP"_opt, "FJAC"_opt}) n.run.opt.set(o);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what;
        EXPECT_EQ(std::abs(n.s.bus.VOLT(3) - 1.01) < 1e-6, c.remote) << c.what;
        EXPECT_EQ(std::abs(n.s.bus.VOLT(4) - 1.0) < 1e-6, c.tap) << c.what;
        const double a = 1 / n.s.tap.TAP(1);
        EXPECT_TRUE(a >= n.s.tap.TPMIN(1) - 1e-12 && a <= n.s.tap.TPMAX(1) + 1e-12) << c.what;
    }
}

// --- the optimal step

/// The mismatch after h of the correction that stands in the right-hand side.
class AlongTheCorrection {
public:
    explicit AlongTheCorrection(Network& n)
        : n_(n), m_(n.run.mat), step_(m_.side.begin(), m_.side.begin() + m_.plain.N) {
        for (int k : rows(n.s.bus.NB)) volt_.push_back(n.s.bus.VOLT(k)), angle_.push_back(n.s.bus.ANGLE(k));
        held_.assign(m_.work.held.begin(), m_.work.held.begin() + m_.plain.N);
    }
    std::vector<Sides> at(double h) {
        for (int k : rows(n_.s.bus.NB)) {
            const auto i = std::size_t(k - 1), r = std::size_t(m_.plain.NORDER(k) - 1);
            n_.s.bus.ANGLE(k) = angle_[i] + (held_[r] & ANGLE_HELD ? 0 : h * step_[r].DELTA);
            n_.s.bus.VOLT(k) = volt_[i] * (1 + (held_[r] & VOLTAGE_HELD ? 0 : h * step_[r].WORK));
        }
        refresh_angles(n_.run);
        assemble(n_.run);
        std::vector<Sides> side;
        for (int k : rows(n_.s.bus.NB)) side.push_back(m_.side[std::size_t(m_.plain.NORDER(k) - 1)]);
        return side;
    }
    bool live(int k, bool active) const {
        return !(held_[std::size_t(m_.plain.NORDER(k) - 1)] & (active ? ANGLE_HELD : VOLTAGE_HELD));
    }

private:
    Network& n_;
    Matrices& m_;
    std::vector<Sides> step_;
    std::vector<double> volt_, angle_;
    std::vector<unsigned char> held_;
};

/// A network far from its solution, its equations solved once and the step chosen.
void stressed(Network& n, unsigned seed) {
    random_network(n, seed, 24);
    const int i = add_row(n.s.fld);  // a load in part of constant current and impedance
    set_row(n.s.fld, i, "NOFLD", 7, "IPFLA", 30, "IQFLB", 60);
    for (int k : rows(n.s.bus.NB)) n.s.bus.PLOAD(k) *= 6;
    ASSERT_TRUE(OPTIMO(n.run, n.run.mat.plain, n.s.bus.NB, n.s.branch.NL));
    build_diagonal(n.run);
    n.run.opt.set("STPO"_opt);
    n.s.sol.NITP = 1;
    refresh_angles(n.run);
    assemble(n.run);
    ASSERT_EQ(factor_blocks(n.run.mat, n.run.mat.plain, 1e-10), 0);
    solve_blocks(n.run.mat, n.run.mat.plain);
    choose_step(n.run);
}

TEST(OptimalStep, ItsSecondOrderIsThatOfTheMismatch) {
    for (unsigned seed : {2u, 5u}) {
        Network n;
        stressed(n, seed);
        std::vector<Sides> c;
        for (int k : rows(n.s.bus.NB)) c.push_back(n.run.mat.work.sum(k));
        AlongTheCorrection along(n);
        constexpr double H = 1e-3;  // the fourth difference stays below 1e-5, rounding below 1e-8
        const auto up = along.at(H), down = along.at(-H), here = along.at(0);
        for (int k : rows(n.s.bus.NB)) {
            const auto i = std::size_t(k - 1);
            auto second = [&](double Sides::*x) { return (up[i].*x - 2 * here[i].*x + down[i].*x) / (2 * H * H); };
            if (along.live(k, true)) {
                EXPECT_NEAR(c[i].DELTA, second(&Sides::DELTA), 1e-4) << seed << ' ' << k;
            }
            if (along.live(k, false)) {
                EXPECT_NEAR(c[i].WORK, second(&Sides::WORK), 1e-4) << seed << ' ' << k;
            }
        }
    }
}

TEST(OptimalStep, LeavesTheLeastMismatch) {
    auto squares = [](const std::vector<Sides>& a, const std::vector<Sides>& b, const std::vector<Sides>& c, double m) {
        double sum = 0;
        for (std::size_t i = 0; i < a.size(); ++i)
            for (double Sides::*x : {&Sides::DELTA, &Sides::WORK}) {
                const double left = a[i].*x + m * b[i].*x + m * m * c[i].*x;
                sum += left * left;
            }
        return sum;
    };
    for (unsigned seed = 1; seed <= 8; ++seed) {
        Network n;
        stressed(n, seed);
        std::vector<Sides> a, b, c;
        for (int k : rows(n.s.bus.NB)) {
            const auto r = std::size_t(n.run.mat.plain.NORDER(k) - 1);
            const unsigned char held = n.run.mat.work.held[r];
            Sides one = n.run.mat.mismatch[r], two = n.run.mat.work.sum(k);
            if (held & ANGLE_HELD) one.DELTA = two.DELTA = 0;
            if (held & VOLTAGE_HELD) one.WORK = two.WORK = 0;
            a.push_back(one), c.push_back(two), b.push_back({-one.DELTA, -one.WORK});
        }
        const double m = n.s.sol.XMI, here = squares(a, b, c, m);
        EXPECT_GT(m, 0);
        EXPECT_LE(m, 1);
        if (m < 1) {
            EXPECT_LT(here, squares(a, b, c, m - 1e-3)) << seed;
            EXPECT_LT(here, squares(a, b, c, std::min(1.0, m + 1e-3))) << seed;
        }
    }
}

TEST(OptimalStep, AnExactStartTakesTheWholeStep) {
    Network n;
    random_network(n, 3);
    n.solve();
    n.run.opt.set("STPO"_opt);
    n.run.cte.TEPA = n.run.cte.TEPR = 1e-13;  // one more step from the solution
    n.run.cte.ACIT = 1;
    PWFSOL(n.run);
    EXPECT_EQ(n.s.sol.XMI, 1.0);
}

// --- the linear flow, by the laws of its model, and the start that it gives

TEST(Linear, EveryBusBalancesAndTheSlackTakesTheLosses) {
    for (const bool losses : {false, true})
        for (unsigned seed : {4u, 9u}) {
            Network n;
            random_network(n, seed);
            std::vector<double> volt, q;
            for (int k : rows(n.s.bus.NB)) volt.push_back(n.s.bus.VOLT(k));
            for (int j : rows(n.s.gen.NG)) q.push_back(n.s.gen.QGEN(j));
            n.run.opt.clear("NEWT"_opt);
            n.run.opt.set("LFDC"_opt);
            n.run.opt.set("PERD"_opt, losses);
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1);
            EXPECT_EQ(n.s.sol.ITSOL, losses ? 2 : 1);
            EXPECT_EQ(n.s.sol.NITP, losses ? 10 : 0);
            std::vector<double> left(std::size_t(n.s.bus.NB + 1));
            for (int k : rows(n.s.bus.NB)) left[std::size_t(k)] = -n.s.bus.PLOAD(k);
            for (int j : rows(n.s.gen.NG)) left[std::size_t(n.s.gen.NOGEN(j))] += n.s.gen.PGEN(j);
            left[std::size_t(n.s.eqv.NOEQV(1))] += n.s.eqv.PMAT(1);
            double lost = 0;
            for (int l : rows(n.s.branch.NL)) {  // by the reactance and the resistance of its data
                if (!n.s.branch.STLIN(l)) continue;
                const int f = n.s.branch.NFROM(l), t = n.s.branch.NTO(l), tap = tap_row(n.s, l),
                          phase = phase_row(n.s, l);
                const std::complex<double> y(n.s.branch.GKM(l), n.s.branch.BKM(l));
                const std::complex<double> plain = tap ? y / n.s.tap.TAP(tap) : y;
                const double angle = n.s.bus.ANGLE(f) - n.s.bus.ANGLE(t) + (phase ? n.s.phs.PHS(phase) : 0);
                const double flow = angle / (1.0 / plain).imag(), half = losses ? plain.real() * angle * angle / 2 : 0;
                left[std::size_t(f)] -= flow + half;
                left[std::size_t(t)] += flow - half;
                lost += 2 * half;
                const BranchFlow told = solved_flow(n.run, l);
                EXPECT_NEAR(told.pf, flow + half, 1e-9);
                EXPECT_NEAR(told.pt, half - flow, 1e-9);
                EXPECT_EQ(told.qf, 0);
            }
            EXPECT_EQ(lost > 1e-4, losses);
            for (int k : rows(n.s.bus.NB)) EXPECT_NEAR(left[std::size_t(k)], 0, 1e-9) << seed << ' ' << k;
            EXPECT_EQ(n.s.bus.ANGLE(1), 0);
            for (int k : rows(n.s.bus.NB)) EXPECT_EQ(n.s.bus.VOLT(k), volt[std::size_t(k - 1)]);
            for (int j : rows(n.s.gen.NG)) EXPECT_EQ(n.s.gen.QGEN(j), q[std::size_t(j - 1)]);
        }
}

TEST(Linear, AngleThatIsNoNumberIsNoSolution) {
    Network n;
    random_network(n, 4);
    n.s.bus.PLOAD(7) = std::nan("");
    n.run.opt.clear("NEWT"_opt);
    n.run.opt.set("LFDC"_opt);
    n.solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 3);
    EXPECT_TRUE(shows(n.session.console(), "DIVERG"));
}

TEST(Linear, AMatrixThatCannotBeFactoredIsTold) {
    for (const bool start : {false, true}) {
        Network n;
        n.make("slack 1.0; load .1; 1-2 0 .1");
        n.s.branch.GKM(1) = n.s.branch.BKM(1) = 0;
        n.ready();
        n.run.opt.set("NEWT"_opt, start);
        n.run.opt.set(start ? "INDC"_opt : "LFDC"_opt);
        n.solve();
        EXPECT_EQ(n.session.numbers("MATRIZ"), std::vector{120});
        EXPECT_EQ(n.session.numbers("PWFSOL"), std::vector{110});
        EXPECT_EQ(n.s.sol.CONVSTAT, 0);
    }
}

// A first pass that the linear model takes shows in the count of iterations: far angles cost Newton more from flat.
TEST(LinearStart, IsForCasesNotSolvedYet) {
    Network n;
    random_network(n, 5);
    for (const Option o : {"INDC"_opt, "PERD"_opt, "RCVG"_opt}) n.run.opt.set(o);
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.s.sol.ITSOL, 0);
    EXPECT_FALSE(n.run.opt["PERD"_opt]);
    EXPECT_TRUE(n.run.opt["RCVG"_opt]);
    EXPECT_GT(n.s.sol.NITP, 0);
    const double angle = n.s.bus.ANGLE(20);
    n.solve();
    EXPECT_EQ(n.s.sol.NITP, 0) << "the angles of a converged case stand";
    EXPECT_EQ(n.s.bus.ANGLE(20), angle);
}

}  // namespace
}  // namespace korvane::testing
