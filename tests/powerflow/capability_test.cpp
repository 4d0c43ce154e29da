// Capability curves: the curve itself, machines that follow it in a solution, and their file.
#include <gtest/gtest.h>

#include "powerflow/capability.hpp"
#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

/// Nominal power 1, power factor 0.9, 5 % above nominal in stator and rotor, 75 degrees, Xq = 1.1.
constexpr RoundRotor MACHINE = {.reactance = 1.1,
                                .current = 1.05,
                                .active = 0.9,
                                .reactive = 0.43588989435406733,
                                .excitation = 1.05,
                                .angle = 1.309};

TEST(Capability, SlopesAreThoseOfTheCurve) {
    constexpr double STEP = 1e-6;
    std::map<Arc, int> met;
    for (const double v : {0.8, 0.95, 1.0, 1.1})
        for (const double p : {-0.3, 0.0, 0.2, 0.5, 0.7, 0.8}) {
            const Capability c = capability(MACHINE, v, p);
            ASSERT_TRUE(c.carries) << v << ' ' << p;
            EXPECT_GT(c.highest.q, c.lowest.q);
            const Capability up = capability(MACHINE, v + STEP, p), down = capability(MACHINE, v - STEP, p);
            EXPECT_NEAR(c.highest.slope, (up.highest.q - down.highest.q) / (2 * STEP), 1e-7) << v << ' ' << p;
            EXPECT_NEAR(c.lowest.slope, (up.lowest.q - down.lowest.q) / (2 * STEP), 1e-7) << v << ' ' << p;
            ++met[c.highest.arc];
            ++met[c.lowest.arc];
        }
    EXPECT_EQ(met.size(), 3u) << "all arcs are met";
}

// With phasors: at the stator limit the current has its size; at the rotor limit the voltage behind Xq has the size
// that it has at the nominal point, times the factor.
TEST(Capability, ArcsByPhasors) {
    using C = std::complex<double>;
    auto internal = [](double v, C power) { return std::abs(v + C(0, MACHINE.reactance) * std::conj(power / v)); };
    for (const double v : {0.9, 1.0, 1.05})
        for (const double p : {0.1, 0.6, 0.85}) {
            const Capability c = capability(MACHINE, v, p);
            const C nominal = v * MACHINE.current * C(MACHINE.active, MACHINE.reactive);
            if (c.highest.arc == Arc::rotor)
                EXPECT_NEAR(internal(v, {p, c.highest.q}), 1.05 * internal(v, nominal), 1e-12);
            else
                EXPECT_NEAR(std::abs(C(p, c.highest.q)), v * MACHINE.current, 1e-12);
            if (c.lowest.arc == Arc::under_excitation)
                EXPECT_NEAR(std::atan2(p, c.lowest.q + v * v / MACHINE.reactance), MACHINE.angle, 1e-12);
            else
                EXPECT_NEAR(std::abs(C(p, c.lowest.q)), v * MACHINE.current, 1e-12);
        }
}

TEST(Capability, WhatAMachineCannotCarry) {
    EXPECT_TRUE(capability(MACHINE, 1.0, 1.05).carries) << "the very end of the stator arc";
    EXPECT_FALSE(capability(MACHINE, 1.0, 1.0501).carries);
    EXPECT_FALSE(capability(MACHINE, 1.0, -1.0501).carries);
    EXPECT_FALSE(capability(MACHINE, 0.5, 0.7).carries) << "the voltage is too low for it";
    RoundRotor weak = MACHINE;
    weak.excitation = 0.3;
    EXPECT_FALSE(capability(weak, 1.0, 1.0).carries) << "the rotor is too weak for it";
}

/// A slack and two machines with curves; `load` in Mvar pulls on them.
struct Machines : Network {
    explicit Machines(double q, double v = 1.05) {
        generator(3, 1.0);
        for (int i : {1, 2}) {
            const int k = generator(2, v, 0.5 + 0.1 * i), j = s.gen.NG;
            set_row(s.gen, j, "XQ", MACHINE.reactance, "SNOMI", 1, "FPNOM", MACHINE.active, "FSRIA", 1.05, "FSRIR",
                    1.05, "ANGCG", MACHINE.angle);
            branch(1, k, 0.01, 0.1);
            branch(k, bus(0, 1, 0.3, q), 0.01, 0.05);
        }
        run.opt.set("QLIM"_opt);
        ready();
    }
};

TEST(Capability, AMachineAtItsLimitStandsOnTheCurve) {
    for (const double q : {0.1, 0.9, -1.0})
        for (const char* option : {"NEWT", "STEP", "STPO", "CILH"}) {
            Machines n(q, q < 0 ? 0.9 : 1.05);
            n.run.opt.set(Option{find_option(option)});
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << q << option << n.session.messages();
            EXPECT_LE(n.s.sol.NITP, 8) << "its equation is inside the matrix";
            EXPECT_LT(worst_imbalance(n.s), 1e-7);
            for (int j : {2, 3}) {
                const int k = n.s.gen.NOGEN(j);
                const double v = n.s.bus.VOLT(k);
                const Capability c = capability(machine_of(n.s, j), v, n.s.gen.PGEN(j));
                EXPECT_EQ(n.s.bus.NTYPE(k), q == 0.1 ? 2 : -2) << q;
                if (q > 0.5) {
                    EXPECT_NEAR(n.s.gen.QGEN(j), c.highest.q, 1e-8);
                    EXPECT_NEAR(n.s.gen.QMAX(j), c.highest.q, 1e-8);
                    EXPECT_LT(v, n.s.gen.VGEN(j));
                } else if (q < 0) {
                    EXPECT_NEAR(n.s.gen.QGEN(j), c.lowest.q, 1e-8);
                    EXPECT_NEAR(n.s.gen.QMIN(j), c.lowest.q, 1e-8);
                    EXPECT_GT(v, n.s.gen.VGEN(j));
                }
            }
            EXPECT_EQ(n.s.branch.NL, 4) << "nothing fictitious is left";
            EXPECT_EQ(n.s.branch.NFROM(5), 0);
            n.solve();
            EXPECT_EQ(n.s.sol.NITP, 0) << "from its own solution";
        }
}

TEST(Capability, NcapTakesTheLimitsOfTheData) {
    Machines n(0.9);
    n.s.gen.QMXO(2) = 0.2;
    n.s.gen.QMAX(2) = 0.3;
    n.run.opt.set("NCAP"_opt);
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.s.gen.QGEN(2), 0.2);
    EXPECT_FALSE(n.session.dir.has("Capab.plt"));
}

TEST(Capability, OverloadedMachineIsToldOnce) {
    Machines n(0.1);
    n.s.gen.PGEN(3) = 1.5;
    n.solve();
    EXPECT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.session.numbers("CALCQL"), std::vector{100});
    EXPECT_EQ(n.s.gen.QGEN(3), 0);
    EXPECT_EQ(n.s.gen.QMAX(3), 0);
    EXPECT_LT(worst_imbalance(n.s), 1e-7);
}

TEST(Capability, TheFileHoldsAClosedCurveOfEveryMachine) {
    Machines n(0.9);
    n.solve();
    std::istringstream file(n.session.dir.read("Capab.plt"));
    for (int j : {2, 3}) {
        const int k = n.s.gen.NOGEN(j);
        int number = 0, points = 0;
        std::string name, arc;
        file >> number >> name >> points;
        EXPECT_EQ(number, n.s.bus.NOINT(k));
        EXPECT_EQ(name, n.s.bus.BNAME(k).trimmed());
        std::vector<std::array<double, 2>> at(std::size_t(points), {0, 0});
        std::map<std::string, int> arcs;
        for (auto& [p, q] : at) {
            file >> p >> q >> arc;
            ++arcs[arc];
        }
        ASSERT_TRUE(file) << "as many points as it says";
        EXPECT_EQ(arcs.size(), 3u);
        EXPECT_EQ(at.front()[0], 0);
        EXPECT_EQ(at.back()[0], 0);
        const RoundRotor m = machine_of(n.s, j);
        const double v = n.s.bus.VOLT(k);
        for (int i = 0; i < points / 2; ++i) {
            const auto [p, low] = at[std::size_t(i)];
            const auto [same, high] = at[std::size_t(points - 1 - i)];
            EXPECT_NEAR(p, i * 0.1, 1e-9) << "steps of 0.001 pu";
            EXPECT_EQ(p, same);
            const Capability c = capability(m, v, p / 100);
            EXPECT_NEAR(low, c.lowest.q * 100, 6e-4);
            EXPECT_NEAR(high, c.highest.q * 100, 6e-4);
        }
    }
    int last = -1;
    file >> last;
    EXPECT_EQ(last, 0);
}

}  // namespace
}  // namespace korvane::testing
