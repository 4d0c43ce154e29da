// Real networks, read from their decks and solved, against the reference solutions of another program.
#include <gtest/gtest.h>

#include "support/fixture.hpp"
#include "support/reference.hpp"

namespace korvane::testing {
namespace {

class ReferenceNetwork : public ::testing::TestWithParam<ReferenceCase> {};

TEST_P(ReferenceNetwork, SolvesToItsReference) {
    const auto [name, iterations] = GetParam();
    if (!reference_present(name)) GTEST_SKIP() << "no reference networks beside the checkout";
    for (const char* line : {"EXLF NEWT RCVG\n", "EXLF NEWT FLAT STEP\n"}) {
        const bool flat = std::string_view(line).find("FLAT") != std::string_view::npos;
        if (flat && std::string_view(name).find("pegase") != std::string_view::npos) continue;
        const Session run(reference_deck(name, line));
        ASSERT_EQ(run.store().sol.CONVSTAT, 1) << run.messages();
        if (!flat) {
            EXPECT_LE(run.store().sol.NITP, iterations + 1);
        }
        const Difference d = difference(run.store(), run.run.cte.BASE, name);
        EXPECT_EQ(d.buses, run.store().bus.NB);
        EXPECT_EQ(d.branches, run.store().branch.NL);
        EXPECT_LT(d.voltage, 1e-5) << line;
        EXPECT_LT(d.angle, 1e-3) << line;
        EXPECT_LT(d.generation, 0.01) << line;
        EXPECT_LT(d.flow, 0.01) << line;
    }
}

TEST_P(ReferenceNetwork, ReachesItsReactiveLimits) {
    const std::string name = GetParam().name;
    if (!reference_present(name)) GTEST_SKIP() << "no reference networks beside the checkout";
    for (const char* line : {"EXLF NEWT QLIM\n", "EXLF NEWT FJAC QLIM\n", "EXLF NEWT QLIM FLAT INDC\n"}) {
        const Session run(with_open_slack(reference_deck(name, std::string("DCTE\nTLPR  .0001\n99999\n") + line)));
        ASSERT_EQ(run.store().sol.CONVSTAT, 1) << run.messages();
        const LimitedDifference d = limited_difference(run.run.store, run.run.cte.BASE, name);
        EXPECT_EQ(d.wrong, std::vector<int>{}) << line;
        EXPECT_LT(d.voltage, 1e-5) << line;
        EXPECT_LT(d.angle, 1e-3) << line;
        EXPECT_LT(d.generation, 0.01) << line;
    }
}

// The larger ones are solved and compared by the benchmark.
INSTANTIATE_TEST_SUITE_P(Small, ReferenceNetwork,
                         ::testing::ValuesIn(REFERENCE_CASES, REFERENCE_CASES + std::size(REFERENCE_CASES) - 3),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace korvane::testing
