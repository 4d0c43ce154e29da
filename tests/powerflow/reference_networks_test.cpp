// Real networks, read from their decks and solved by every method, against the reference solutions of another program;
// and the linear flow against the linear ones.
#include <gtest/gtest.h>

#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/reference.hpp"

namespace korvane::testing {
namespace {

class ReferenceNetwork : public ::testing::TestWithParam<ReferenceCase> {};

TEST_P(ReferenceNetwork, SolvesToItsReference) {
    const auto [name, iterations] = GetParam();
    if (!reference_present(name)) GTEST_SKIP() << "no reference networks beside the checkout";
    for (const std::string lines :
         {"EXLF NEWT RCVG\n", "EXLF NEWT FLAT STEP\n", "EXLF NEWT FLAT INDC\n", "EXLF PART NEWT\n", "EXLF NEWT STPO\n",
          "EXLF NEWT FJAC\n", "DOPC\nNEWT D\n99999\nEXLF\n"}) {
        const bool cut = lines.find("STEP") != lines.npos;
        if (cut && std::string_view(name).find("pegase") != std::string_view::npos) continue;
        const Session run(reference_deck(name, lines));
        ASSERT_EQ(run.store().sol.CONVSTAT, 1) << lines << run.messages();
        if (lines.find("RCVG") != lines.npos) EXPECT_LE(run.store().sol.NITP, iterations + 1);
        const Difference d = difference(run.store(), run.run.cte.BASE, name);
        EXPECT_EQ(these(d.buses, d.branches), these(run.store().bus.NB, run.store().branch.NL));
        EXPECT_LT(d.voltage, 1e-5) << lines;
        EXPECT_LT(d.angle, 1e-3) << lines;
        EXPECT_LT(d.generation, 0.01) << lines;
        EXPECT_LT(d.flow, 0.01) << lines;
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

TEST_P(ReferenceNetwork, LinearFlow) {
    const std::string name = GetParam().name;
    if (!reference_present(name)) GTEST_SKIP() << "no reference networks beside the checkout";
    const Session run(reference_deck(name, "EXLF LFDC\n"));
    const Store& s = run.store();
    ASSERT_EQ(s.sol.CONVSTAT, 1) << run.messages();
    double angle = 0, flow = 0;
    int buses = 0, branches = 0;
    each_row(reference_folder(name) + "/linear_angles.csv", [&](const std::vector<double>& row) {
        if (const int k = bus_of(s, int(row[0]))) {
            ++buses;
            angle = std::max(angle, std::abs(s.bus.ANGLE(k) * DEGREES - row[1]));
        }
    });
    const auto branch = branches_by_number(s);
    each_row(reference_folder(name) + "/linear_flows.csv", [&](const std::vector<double>& row) {
        const auto at = branch.find(branch_number(int(row[0]), int(row[1]), int(row[2])));
        if (at == branch.end()) return;
        ++branches;
        const int l = at->second;
        const BranchFlow w = solved_flow(run.run, l);
        const double power = s.bus.NOINT(s.branch.NFROM(l)) == int(row[0]) ? w.pf : w.pt;
        flow = std::max(flow, std::abs(power * run.run.cte.BASE - row[3]));
    });
    EXPECT_EQ(buses, s.bus.NB);
    EXPECT_EQ(branches, s.branch.NL);
    EXPECT_LT(angle, 1e-6);
    EXPECT_LT(flow, 1e-6 * run.run.cte.BASE);
}

// The larger ones are solved and compared by the benchmark.
INSTANTIATE_TEST_SUITE_P(Small, ReferenceNetwork,
                         ::testing::ValuesIn(REFERENCE_CASES, REFERENCE_CASES + std::size(REFERENCE_CASES) - 3),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace korvane::testing
