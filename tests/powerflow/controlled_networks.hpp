// Controls put on the networks of networks.hpp.
#pragma once
#include "powerflow/networks.hpp"

namespace korvane::testing {

/// Generators that hold the voltage of load buses, alone and in a group of three, one of them at a limit.
inline void add_remote(Network& n, unsigned seed) {
    std::mt19937 random(seed);
    auto uniform = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); };
    for (int j : rows(n.s.gen.NG)) {
        n.s.gen.QGEN(j) = uniform(-0.4, 0.4);
        n.s.gen.ALFACREM(j) = uniform(0.2, 1);
        const int k = n.s.gen.NOGEN(j);
        int& type = n.s.bus.NTYPE(k);
        if (type < 2) continue;
        const int i = add_row(n.s.rcb);
        n.s.rcb.ICB(i) = j;
        n.s.rcb.IRCB(i) = k == 1 ? 2 : k >= 10 && k <= 20 ? 13 : k - 1;  // a neighbour, or 13, which is none
        n.s.rcb.VRCB(i) = 1.01;
        if (i == 3) type = -type;
    }
    n.run.opt.set("CREM"_opt);
}

/// Taps on half of the transformers, at their ends and at a third bus, one of them with a parallel branch.
inline void add_taps(Network& n, unsigned seed) {
    int made = 0;
    std::vector<int> load_ends;
    for (int t : rows(n.s.tap.NTAP)) {
        const int l = n.s.tap.NOTAP(t), from = n.s.branch.NFROM(l), to = n.s.branch.NTO(l);
        const int held[] = {from, -to, 13};
        const int k = held[(made + int(seed)) % 3];
        if (n.s.bus.NTYPE(std::abs(k)) != 0) continue;
        n.s.branch.LTYPE(l) += 2;
        set_row(n.s.tap, t, "TPMIN", 0.8, "TPMAX", 1.2, "KBUS", k, "VBUS", 1.01);
        if (++made == 1) load_ends = {from, to, k};
    }
    ASSERT_GT(made, 1);
    n.branch(load_ends[0], load_ends[1], 0.01, 0.2, 0, 1.03);
    n.control_tap(load_ends[2], 1.01, 0.8, 1.2);
    n.ready();
    n.run.opt.set("CTAP"_opt);
}

/// Compensators at their own and at other buses, with both slopes, in all three regions.
inline void add_compensators(Network& n, unsigned) {
    struct {
        int own, held, units;
        double slope, reference;
        int kind;
    } const cases[] = {{3, 3, 1, -0.05, 1.0, 1},  {4, 7, 2, -0.02, 1.05, 2}, {6, 6, 1, -0.03, 0.99, 2},
                       {8, 8, 2, -0.001, 1.5, 1}, {9, 13, 1, -0.01, 0.5, 2}, {7, 7, 1, -0.04, 1.02, 2}};
    for (const auto& c : cases) {
        put_row(n.s.cer, "NBECER", c.own, "NVKCER", c.held, "IGCER", 10, "NUCER", c.units, "RCER", c.slope, "QCERMN",
                -2.5, "QCERMX", 3, "VCER", c.reference, "KONCNT", c.kind, "STUCER", true);
    }
}

/// Automatic shunts out of their bands, at their own and at other buses, two for one bus, one beside a generator at its
/// limit, one at a bus that a group holds when there is one.
inline void add_shunts(Network& n, unsigned) {
    constexpr std::pair<int, int> PLACES[] = {{3, 3}, {4, 7}, {6, 6}, {8, 6}, {19, 20}, {12, 13}};
    for (const auto& [own, held] : PLACES) {
        const int i = add_row(n.s.sca);
        set_row(n.s.sca, i, "NBUSSCA", own, "KBUSSCA", held, "KONSCA", 2, "VMINSCA", 1.3, "VMAXSCA", 1.31, "BSCA",
                0.05 * i);
        n.s.sca.ISTEPSCA(i) = {9, 9};
        n.s.sca.VSTEPSCA(i) = {0.1, -0.1};
    }
    n.s.bus.NTYPE(20) = -std::abs(n.s.bus.NTYPE(20));
    n.run.opt.set("CSCA"_opt);
}

/// A series compensator from a new bus behind bus k to bus m, of the mode, measured at its from or its to end.
inline int series_compensator(Network& n, int k, int m, int mode, double target, bool at_to, int steps = 0) {
    const int middle = n.bus(0);
    n.branch(k, middle, 0.004, 0.06);
    const int l = n.branch(middle, m, 0, -0.02), i = add_row(n.s.csc);
    set_row(n.s.branch, l, "GKM", 0, "LTYPE", 5, "LITRF", i);
    set_row(n.s.csc, i, "LICSC", l, "BMNCSC", 1 / 0.05, "BMXCSC", 1 / 0.005, "KONCSC", mode, "KONCSC_ORI", mode,
            "VSPCSC", target, "NBECSC", at_to ? m : middle, "NSTCSC", steps, "NTYCSC", true);
    return i;
}
inline void add_series_compensators(Network& n, unsigned) {
    series_compensator(n, 2, 9, 1, 0.3, false);
    series_compensator(n, 3, 13, 2, 0.2, false);
    series_compensator(n, 6, 17, 1, -0.2, true);
    series_compensator(n, 8, 19, 2, 0.1, true);
    for (int k = n.s.bus.NB - 3; k <= n.s.bus.NB; ++k) n.s.bus.ANGLE(k) = 0.03 * (k % 5) - 0.05;
    n.ready();
}

/// A phase shifter between two buses, of the kind, measured at its from or its to end.
inline int phase_shifter(Network& n, int from, int to, int kind, double target, bool at_to) {
    const int l = n.branch(from, to, 0.01, 0.1, 0, 1.02, 0.01), i = n.s.phs.NPHS;
    n.s.branch.LTYPE(l) = 6;
    set_row(n.s.phs, i, "PHSMIN", -0.5, "PHSMAX", 0.5, "KONPHS", kind, "VSPPHS", target, "NBEPHS", at_to ? to : from);
    n.run.opt.set("CPHS"_opt);
    return i;
}
inline void add_shifters(Network& n, unsigned) {
    phase_shifter(n, 3, 9, 1, 0.2, false);
    phase_shifter(n, 4, 13, 1, -0.1, true);
    phase_shifter(n, 6, 12, 2, 0.25, false);
    phase_shifter(n, 7, 18, 2, -0.3, true);
    n.ready();
}

}  // namespace korvane::testing
