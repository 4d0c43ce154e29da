// Networks that pass the room of the ordering or of the factors: what the operator reads, and that nothing is solved.
#include <gtest/gtest.h>

#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

void buses(Network& n, int count) {
    n.generator(3, 1);
    while (n.s.bus.NB < count) n.bus(0);
}
void star(Network& n, int count) {
    buses(n, count);
    for (int k = 2; k <= count; ++k) n.branch(1, k, 0, 0.1);
}
void mesh(Network& n, int wide, int high) {
    buses(n, wide * high);
    for (int k = 1; k <= wide * high; ++k) {
        if (k % wide != 0) n.branch(k, k + 1, 0, 0.1);
        if (k + wide <= wide * high) n.branch(k, k + wide, 0, 0.1);
    }
}
// Parallel branches need no room in the factors, but in the input that waits beside them until its row is due.
void mesh_with_a_thick_branch(Network& n) {
    mesh(n, 40, 200);
    n.ready();
    ASSERT_TRUE(OPTIMO(n.run, n.run.mat.plain, n.s.bus.NB, n.s.branch.NL));
    const int last = n.run.mat.plain.bus[std::size_t(n.s.bus.NB - 1)];
    for (int copies = 0; copies < 24000; ++copies) n.branch(last, last + 1, 0, 1e4);
}

TEST(SizeLimits, StopTheSolutionWithTheirMessages) {
    using Told = std::vector<std::pair<std::string, int>>;
    struct {
        const char* what;
        void (*make)(Network&);
        Option method;
        Told told;
    } cases[] = {
        {"a bus with too many neighbours",
         [](Network& n) { star(n, 20000); },
         "NEWT"_opt,
         {{"OPTIMO", 100}, {"PWFSOL", 130}}},
        {"too much fill at a time",
         [](Network& n) { mesh(n, 60, 200); },
         "NEWT"_opt,
         {{"OPTIMO", 120}, {"PWFSOL", 130}}},
        {"too many factors", [](Network& n) { mesh(n, 50, 200); }, "NEWT"_opt, {{"OPTIMO", 130}, {"PWFSOL", 130}}},
        {"too wide a row", [](Network& n) { star(n, 10003); }, "NEWT"_opt, {{"SOLVNW", 110}}},
        {"too much input", mesh_with_a_thick_branch, "NEWT"_opt, {{"SOLVNW", 100}}},
        {"the same, by halves", mesh_with_a_thick_branch, "PART"_opt, {{"MATRIX", 100}, {"PWFSOL", 120}}},
        {"the same, linear", mesh_with_a_thick_branch, "LFDC"_opt, {{"MATRIZ", 100}, {"PWFSOL", 110}}},
        {"the same, from linear angles", mesh_with_a_thick_branch, "INDC"_opt, {{"MATRIZ", 100}, {"PWFSOL", 110}}},
        {"susceptances that cancel",
         [](Network& n) {
             buses(n, 2);
             n.branch(1, 2, 0, 0.1);
             n.shunt(2, 5);
         },
         "PART"_opt,
         {{"MATRIX", 120}, {"PWFSOL", 120}}},
    };
    for (const auto& c : cases) {
        Network n;
        c.make(n);
        n.s.bus.PLOAD(2) = 0.01;
        n.ready();
        n.run.opt.set("NEWT"_opt);
        n.run.opt.set(c.method);
        PWFSOL(n.run);
        Told told;
        for (const auto& m : n.run.msg.printed) told.emplace_back(m.routine, m.number);
        EXPECT_EQ(told, c.told) << c.what;
        EXPECT_NE(n.s.sol.CONVSTAT, 1) << c.what;
    }
}

}  // namespace
}  // namespace korvane::testing
