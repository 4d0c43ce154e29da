// Loads that depend on the voltage, against the formulas of their parts.
#include <gtest/gtest.h>

#include "powerflow/load_models.hpp"
#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

TEST(LoadModel, FollowsItsPartsAndTheirSlopes) {
    constexpr double STEP = 1e-5;
    for (const auto& [a, b] : {std::pair{0, 0}, {100, 0}, {0, 100}, {30, 20}, {60, 40}})
        for (const double reference : {0.95, 1.0, 1.08})
            for (const double lowest : {0.7, 1.0}) {
                const LoadModel m = {a / 100.0, b / 100.0, reference, lowest};
                auto at = [&](double v) { return load_factor(m, v).value; };
                for (const double v : {0.0, 0.4, lowest - 0.01, lowest, 1.02, 1.3}) {
                    EXPECT_NEAR(at(v), drawn_load(1, a, b, v, reference, lowest), 1e-14) << a << ' ' << b << ' ' << v;
                    if (v == lowest) continue;  // the slope has a step there
                    EXPECT_NEAR(load_factor(m, v).slope, (at(v + STEP) - at(v - STEP)) / (2 * STEP), 1e-9);
                    EXPECT_NEAR(load_factor(m, v).bend, (at(v + STEP) - 2 * at(v) + at(v - STEP)) / (STEP * STEP),
                                1e-4);
                }
                EXPECT_NEAR(at(lowest), at(std::nextafter(lowest, 0)), 1e-14) << "both forms meet";
                EXPECT_EQ(at(0), 0) << "no voltage, no load";
                if (reference >= lowest) {
                    EXPECT_NEAR(at(reference), 1, 1e-14) << "the nominal power holds at the reference voltage";
                }
            }
}

TEST(LoadModel, LoadAtVoltageFindsTheModelOfTheBus) {
    Network n;
    n.generator(3, 1.0);
    n.bus(0, 0.95, 0.4, 0.1);
    n.bus(0, 0.6, 0.4, 0.1);
    for (int k : {1, 2}) n.s.fld.NOFLD(add_row(n.s.fld)) = k;
    n.s.fld.IPFLB(2) = n.s.fld.IQFLA(2) = 100;
    struct {
        int bus, row, found;
        Power load, drawn;
    } cases[] = {
        {2, 0, 2, {1, 1}, {0.95 * 0.95, 0.95}},
        {2, 2, 2, {2, 1}, {2 * 0.95 * 0.95, 0.95}},
        {3, 0, 0, {0.4, 0.1}, {0.4, 0.1}},
        {2, 0, 2, {0, 0}, {0, 0}},
    };
    for (auto& c : cases) {
        load_at_voltage(n.s, c.bus, c.load, c.row);
        EXPECT_EQ(c.row, c.found);
        EXPECT_NEAR(c.load.p, c.drawn.p, 1e-15);
        EXPECT_NEAR(c.load.q, c.drawn.q, 1e-15);
    }
}

TEST(LoadModel, AllWaysToAskForALoadAgree) {
    Network n;
    random_network(n, 5);
    add_voltage_loads(n, 5);
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1) << n.session.messages();
    const auto expected = loads_drawn(n.s, false);
    const BusLoads loads(n.s);
    chain_individual_loads(n.s);
    EXPECT_EQ(individual_loads(n.s, 0).p, 0);
    for (int k : rows(n.s.bus.NB)) {
        Power sum = nominal_load(n.s, k);
        int row = 0;
        load_at_voltage(n.s, k, sum, row);
        sum.p += individual_loads(n.s, k).p;
        sum.q += individual_loads(n.s, k).q;
        const auto here = expected[std::size_t(k)];
        EXPECT_NEAR(sum.p, here.real(), 1e-14);
        EXPECT_NEAR(sum.q, here.imag(), 1e-14);
        EXPECT_NEAR(loads(k).p, here.real(), 1e-14);
        EXPECT_NEAR(loads(k).q, here.imag(), 1e-14);
    }
}

// A line that cannot carry the load as constant power still has a solution when the load falls with the voltage.
TEST(LoadModel, AModelKeepsACollapsingNetworkSolvable) {
    for (const bool model : {false, true}) {
        Network n;
        n.generator(3, 1.0);
        const int k = n.bus(0, 1, 6.0, 0);
        n.branch(1, k, 0, 0.1);
        if (model) n.s.fld.NOFLD(add_row(n.s.fld)) = k;
        n.ready().solve();
        EXPECT_EQ(n.s.sol.CONVSTAT, model ? 1 : 3);
        if (!model) continue;
        EXPECT_LT(n.s.bus.VOLT(k), n.s.fld.VMINZ(1));
        EXPECT_EQ(n.session.numbers("PWFSOL"), std::vector{-900});
        // x = 0.1 and a resistance of Vz^2 / P in series: V = R / |R + jx|
        const double r = 0.49 / 6;
        EXPECT_NEAR(n.s.bus.VOLT(k), r / std::hypot(r, 0.1), 1e-9);
    }
}

}  // namespace
}  // namespace korvane::testing
