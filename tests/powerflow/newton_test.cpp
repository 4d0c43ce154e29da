// The Newton iteration by laws that it does not know: Kirchhoff, slopes, hand solutions.
#include <gtest/gtest.h>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

constexpr double TIGHT = 3e-9;  // P and Q each within the tolerance 1e-9 of solve(), and rounding

TEST(Newton, EveryBusOfASolvedNetworkBalances) {
    for (unsigned seed = 1; seed <= 25; ++seed) {
        Network n;
        random_network(n, seed);
        if (seed % 2) add_voltage_loads(n, seed);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << seed << n.session.messages();
        EXPECT_LT(worst_imbalance(n.s), TIGHT) << "seed " << seed;
        for (int l : rows(n.s.branch.NL)) {  // and every branch tells the flow that it draws
            const auto [from, to] = drawn(n.s, l);
            const BranchFlow f = branch_flow(n.s, l);
            EXPECT_NEAR(f.pf, from.real(), 1e-12) << seed << ' ' << l;
            EXPECT_NEAR(f.qf, from.imag(), 1e-12) << seed << ' ' << l;
            EXPECT_NEAR(f.pt, to.real(), 1e-12) << seed << ' ' << l;
            EXPECT_NEAR(f.qt, to.imag(), 1e-12) << seed << ' ' << l;
        }
    }
}

TEST(Newton, TwoBusesByHand) {
    // x = 0.1, P = 1 over a lossless line from V = 1: V2^2 = (1 + sqrt(1 - 4 x^2 P^2)) / 2, sin = x P / V2
    Network n;
    n.make("slack 1.0; load 1.0; 1-2 0 .1").ready().solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    const double v = std::sqrt((1 + std::sqrt(1 - 0.04)) / 2);
    EXPECT_NEAR(n.s.bus.VOLT(2), v, 1e-10);
    EXPECT_NEAR(n.s.bus.ANGLE(2), -std::asin(0.1 / v), 1e-10);
    EXPECT_NEAR(n.s.gen.PGEN(1), 1.0, 1e-9);
    EXPECT_NEAR(n.s.gen.QGEN(1), (1 - v * std::cos(n.s.bus.ANGLE(2))) / 0.1, 1e-8);
}

TEST(Newton, HowASolveEnds) {
    struct {
        const char* what;
        double load;
        int limit;
        int convstat, iterations;
    } cases[] = {
        {"solved", 1.0, 30, 1, 3},
        {"more than the line can carry: the voltage leaves its band", 6.0, 30, 3, -1},
        {"the last iteration allowed solves it", 1.0, 3, 1, 3},
        {"one too few", 1.0, 2, 2, 2},
        {"not a number is not converged, and no pivot", std::nan(""), 30, 0, 1},
    };
    for (const auto& c : cases) {
        Network n;
        n.generator(3, 1.0);
        n.bus(0, 1, c.load);
        n.branch(1, 2, 0, 0.1);
        n.ready();
        n.run.cte.ACIT = c.limit;
        n.run.cte.TEPA = n.run.cte.TEPR = 1e-7;
        PWFSOL(n.run);
        EXPECT_EQ(n.s.sol.CONVSTAT, c.convstat) << c.what;
        if (c.iterations >= 0) {
            EXPECT_EQ(n.s.sol.NITP, c.iterations) << c.what;
        }
        EXPECT_EQ(n.s.sol.NITQ, n.s.sol.NITP) << c.what;
    }
}

TEST(Newton, ASolvedNetworkTakesNoIteration) {
    Network n;
    random_network(n, 4);
    n.solve();
    const double v = n.s.bus.VOLT(7);
    n.solve();
    EXPECT_EQ(these(n.s.sol.NITP, n.s.sol.CONVSTAT, n.s.bus.VOLT(7)), these(0, 1, v));
}

TEST(Newton, OfEqualMismatchesTheLaterBusIsReported) {
    Network n;
    n.make("slack 1.0; load .5 .25; load .5 .25; 1-2 0 .1; 1-3 0 .1").ready();
    n.run.cte.TEPA = n.run.cte.TEPR = 1;
    PWFSOL(n.run);
    EXPECT_EQ(nearly(n.s.sol.NODEP, n.s.sol.NODEQ, n.s.sol.DPMAX, n.s.sol.DQMAX), nearly(30, 30, 0.5, 0.25));
}

// One iteration of the two-bus line from a flat start: the angle step is P x = load / 10, the voltage step nothing.
TEST(Newton, StepCutsWhatIsLongerThanItsLimits) {
    struct {
        double load, limit, angle, multiplier;
    } cases[] = {
        {1.0, 0.2, -0.1, 1.0},    // shorter
        {1.0, 0.05, -0.05, 0.5},  // cut to the limit; half of it is left
        {-1.0, 0.05, 0.05, 0.5},  // keeps its sign
    };
    for (const auto& c : cases) {
        Network n;
        n.generator(3, 1.0);
        n.bus(0, 1, c.load);
        n.branch(1, 2, 0, 0.1);
        n.ready();
        n.run.opt.set("STEP"_opt);
        n.run.cte.ASTP = c.limit;
        n.run.cte.ACIT = 1;
        n.run.cte.TEPA = n.run.cte.TEPR = 1e-12;
        PWFSOL(n.run);
        EXPECT_NEAR(n.s.bus.ANGLE(2), c.angle, 1e-14);
        EXPECT_NEAR(n.s.sol.XMI, c.multiplier, 1e-14);
    }
}

TEST(Newton, StepLeavesACorrectionOfExactlyItsLimit) {
    auto run_with = [](double limit) {
        Network n;
        n.make("slack 1.0; load 1.0; 1-2 0 .1").ready();
        n.run.opt.set("STEP"_opt);
        n.run.cte.ASTP = limit;
        n.run.cte.ACIT = 1;
        n.run.cte.TEPA = n.run.cte.TEPR = 1e-12;
        PWFSOL(n.run);
        return std::pair{n.s.bus.ANGLE(2), n.s.sol.XMI};
    };
    const auto [whole, one] = run_with(10);
    EXPECT_EQ(run_with(-whole), std::pair(whole, 1.0));
    EXPECT_LT(run_with(std::nextafter(-whole, 0)).second, 1.0);
    EXPECT_EQ(one, 1.0);
}

TEST(Newton, TheBandOfVoltagesIncludesItsEnds) {
    for (const double edge : {1.0, std::nextafter(1.0, 2.0)}) {
        Network n;  // the slack stands at 1.0, and the correction leaves it there
        n.make("slack 1.0; load .001; 1-2 0 .1").ready();
        n.run.cte.VDVN = 0.5;
        n.run.cte.VDVM = 1.0;
        if (edge > 1) n.s.gen.VGEN(1) = n.s.bus.VOLT(1) = edge;
        n.run.cte.TEPA = n.run.cte.TEPR = 1e-9;
        PWFSOL(n.run);
        EXPECT_EQ(n.s.sol.CONVSTAT, edge > 1 ? 3 : 1);
    }
}

TEST(Newton, TypesReturnWhenTheLimitChecksAreOff) {
    Network n;
    n.generator(3, 1.0);
    const int limited = n.generator(-2, 0.95), banded = n.generator(1, 1.02, 0, 0.3);
    n.s.gen.VGEN(2) = 1.01;
    n.branch(1, limited, 0.001, 0.1);
    n.branch(1, banded, 0.001, 0.1);
    n.ready().solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.s.bus.NTYPE(limited), 2);
    EXPECT_NEAR(n.s.bus.VOLT(limited), 1.01, 1e-12);
    EXPECT_EQ(n.s.bus.NTYPE(banded), -1);
    EXPECT_EQ(n.s.gen.QGEN(3), 0);
    EXPECT_LT(worst_imbalance(n.s), TIGHT);
}

TEST(Newton, WithLimitsOnlyWhatIsInsideThemReturns) {
    for (const double q : {-0.5, 0.0, 0.4999, 0.5}) {  // limits -0.5 and 0.5, tolerance 1e-4
        Network n;
        n.generator(3, 1.0);
        const int k = n.generator(-2, 0.97, 0.2, q);
        set_row(n.s.gen, 2, "VGEN", 1.0, "QMIN", -0.5, "QMAX", 0.5);
        n.branch(1, k, 0.001, 0.1);
        n.ready();
        n.run.cte.TLPR = 1e-4;
        n.run.cte.QLST = -1;  // the checks of the passes do not come to it
        n.run.opt.set("QLIM"_opt);
        n.solve();
        EXPECT_EQ(n.s.bus.NTYPE(k), q == 0.0 ? 2 : -2) << q;
    }
}

TEST(Newton, DeadBusesAndAHeldSlackKeepTheirState) {
    Network n;
    n.make("slack 1.02; load .4 .1");
    const int extended = n.bus(4, 1.3);
    n.branch(1, 2, 0.01, 0.1);
    n.branch(2, extended, 0.01, 0.1);
    n.s.branch.STLIN(2) = n.s.branch.STLINP(2) = n.s.branch.STLIND(2) = false;
    n.ready();
    n.run.opt.set("ASLK"_opt);
    n.run.mat.state.resolve = 0;
    ASSERT_TRUE(OPTIMO(n.run, n.run.mat.plain, n.s.bus.NB, n.s.branch.NL));
    ASSERT_TRUE(MATRIX(n.run));
    SOLVLF(n.run);
    EXPECT_EQ(these(n.s.sol.CONVSTAT, n.s.bus.VOLT(extended), n.s.bus.ANGLE(extended), n.s.bus.ANGLE(1)),
              these(1, 1.3, 0.0, 0.0));
}

TEST(Newton, ParallelBranchesOfVeryDifferentSize) {
    Network n;
    n.make("slack 1.0; load .8 .3; 1-2 0 .1; 2-1 0 1e-6; 1-2 .5 50.0").ready().solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_LT(worst_imbalance(n.s), TIGHT);
    EXPECT_NEAR(branch_flow(n.s, 2).pt / branch_flow(n.s, 1).pf, 1e5, 1) << "in the ratio of their reactances";
}

TEST(Newton, ATapChangedAndBackLeavesTheDiagonalOfARebuild) {
    Network n;
    random_network(n, 6);
    build_diagonal(n.run);
    auto& m = n.run.mat;
    const int l = n.s.tap.NOTAP(1), k = n.s.branch.NFROM(l), j = n.s.branch.NTO(l);
    const double t0 = n.s.tap.TAP(1);
    change_tap(n.run, 1, t0 * 1.1);
    const double g = m.GDIAG(k), b = m.BDIAG(k), gto = m.GDIAG(j), bto = m.BDIAG(j);
    build_diagonal(n.run);
    EXPECT_NEAR(m.GDIAG(k), g, 1e-12);
    EXPECT_NEAR(m.BDIAG(k), b, 1e-12);
    EXPECT_NEAR(m.GDIAG(j), gto, 1e-12);
    EXPECT_NEAR(m.BDIAG(j), bto, 1e-12);
    change_tap(n.run, 1, t0);
    const double again = m.BDIAG(k);
    build_diagonal(n.run);
    EXPECT_NEAR(m.BDIAG(k), again, 1e-12);
}

}  // namespace
}  // namespace korvane::testing
