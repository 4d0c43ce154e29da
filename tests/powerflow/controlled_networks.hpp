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
        n.s.tap.TPMIN(t) = 0.8;
        n.s.tap.TPMAX(t) = 1.2;
        n.s.tap.KBUS(t) = k;
        n.s.tap.VBUS(t) = 1.01;
        if (++made == 1) load_ends = {from, to, k};
    }
    ASSERT_GT(made, 1);
    n.branch(load_ends[0], load_ends[1], 0.01, 0.2, 0, 1.03);
    const int t = n.s.tap.NTAP;
    n.s.branch.LTYPE(n.s.tap.NOTAP(t)) = 3;
    n.s.tap.TPMIN(t) = 0.8;
    n.s.tap.TPMAX(t) = 1.2;
    n.s.tap.KBUS(t) = load_ends[2];
    n.s.tap.VBUS(t) = 1.01;
    n.ready();
    n.run.opt.set("CTAP"_opt);
}

}  // namespace korvane::testing
