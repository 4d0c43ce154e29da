// The linear flow by the laws of its model, and the start that it gives.
#include <gtest/gtest.h>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

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
    EXPECT_NE(n.session.console().find("DIVERG"), std::string::npos) << n.session.console();
}

TEST(Linear, AMatrixThatCannotBeFactoredIsTold) {
    for (const bool start : {false, true}) {
        Network n;
        n.generator(3, 1.0);
        n.bus(0, 1, 0.1);
        n.branch(1, 2, 0, 0.1);
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
