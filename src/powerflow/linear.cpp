// Linear active power flow: voltages stay, angles come from one substitution with B', slack generation from the flows.
//
//     flow from k to m = -(tk - tm + f) v          loss = g (tk - tm + f)^2
//
// t is the angle of a bus and f the phase shift of the branch, rad; v is the element of B', negative for an inductive
// branch; g + jb its series admittance without tap, pu. Half of a loss stands as load at either end.
#include <algorithm>
#include <cmath>

#include "powerflow/solver.hpp"

namespace korvane {

namespace {

bool holds_angle(int type) { return std::abs(type) >= 3; }

double phase_shift(const Store& s, int l) {
    const int f = phase_row(s, l);
    return f ? s.phs.PHS(f) : 0.0;
}

// Angle across a branch, its phase shift with it, rad.
double angle_across(const Store& s, int l) {
    return s.bus.ANGLE(s.branch.NFROM(l)) - s.bus.ANGLE(s.branch.NTO(l)) + phase_shift(s, l);
}

// Loss of a branch at the present angles, pu. An angle not above the pivot tolerance counts as none.
double loss(const Run& run, int l) {
    const Store& s = run.store;
    const double angle = angle_across(s, l);
    if (!(std::abs(angle) > run.cte.TSFR)) return 0;
    const int n = tap_row(s, l);
    return (n ? s.branch.GKM(l) / s.tap.TAP(n) : s.branch.GKM(l)) * angle * angle;
}

// What is injected at each bus whatever the angles: generation less load, and what the phase shifts push through.
void collect_power(Run& run) {
    const Store& s = run.store;
    auto& power = run.mat.work.power;
    collect_injections(run);
    for (int k : rows(s.bus.NB)) power(k) = run.mat.work.injected(k).DELTA - nominal_load(s, k).p;
    for (int j : rows(s.gen.NG)) power(s.gen.NOGEN(j)) += s.gen.PGEN(j);
    for (int i : rows(s.phs.NPHS)) {
        const int n = s.phs.NOPHS(i), l = n ? int(s.tap.NOTAP(n)) : 0;
        if (!l || l > s.branch.NL || !s.branch.STLIN(l)) continue;
        const double flow = s.phs.PHS(i) * linear_element(s, l);
        power(s.branch.NFROM(l)) += flow;
        power(s.branch.NTO(l)) -= flow;
    }
}

// What the angles leave of the injections in work space `kept`, by row, into the right-hand side. Returns its ratio to
// them.
double injections_left(Run& run) {
    const Store& s = run.store;
    const Pattern& p = run.mat.plain;
    double* const left = run.mat.x.data() - 1;
    std::copy_n(run.mat.kept.begin(), p.N, run.mat.x.begin());
    for (int l : rows(s.branch.NL)) {
        if (!s.branch.STLIN(l)) continue;
        const int k = s.branch.NFROM(l), m = s.branch.NTO(l);
        const double flow = (s.bus.ANGLE(m) - s.bus.ANGLE(k)) * linear_element(s, l);
        left[p.NORDER(k)] -= flow;
        left[p.NORDER(m)] += flow;
    }
    double largest = 0, whole = 0;
    for (int k : rows(s.bus.NB)) {
        if (holds_angle(s.bus.NTYPE(k))) left[p.NORDER(k)] = 0;
        largest = std::max(largest, std::abs(left[p.NORDER(k)]));
        whole = std::max(whole, std::abs(run.mat.kept[std::size_t(p.NORDER(k) - 1)]));
    }
    return whole > 0 ? largest / whole : 0;
}

// The factors come from an elimination without a search for pivots. What they leave is solved for again, and told when
// it stays.
void refine_angles(Run& run) {
    constexpr double SMALL = 1e-9, LOST = 1e-6;
    constexpr int ROUNDS = 3;
    double left = injections_left(run);
    for (int round = 0; left > SMALL && round < ROUNDS; ++round) {
        solve_scalar(run.mat.B1, run.mat.plain, run.mat.x.data());
        for (int k : rows(run.store.bus.NB))
            run.store.bus.ANGLE(k) += run.mat.x[std::size_t(run.mat.plain.NORDER(k) - 1)];
        left = injections_left(run);
    }
    if (left > LOST) MSGPUT(run, "MATRIZ", -900);
}

// Angles from the injections, less the losses that the present angles make.
void solve_angles(Run& run, bool losses) {
    Store& s = run.store;
    const Pattern& p = run.mat.plain;
    double* const x = run.mat.x.data() - 1;  // by elimination position
    for (int k : rows(s.bus.NB)) x[p.NORDER(k)] = run.mat.work.power(k);
    if (losses)
        for (int l : rows(s.branch.NL)) {
            if (!s.branch.STLIN(l) || s.branch.GKM(l) == 0) continue;
            const double half = loss(run, l) / 2;
            x[p.NORDER(s.branch.NFROM(l))] -= half;
            x[p.NORDER(s.branch.NTO(l))] -= half;
        }
    for (int k : rows(s.bus.NB))
        if (holds_angle(s.bus.NTYPE(k))) x[p.NORDER(k)] = 0;
    std::copy_n(run.mat.x.begin(), p.N, run.mat.kept.begin());
    solve_scalar(run.mat.B1, p, run.mat.x.data());
    for (int k : rows(s.bus.NB)) s.bus.ANGLE(k) = x[p.NORDER(k)];
    refine_angles(run);
}

// Generation of each slack: the load of its bus and what flows out of it, less what else is injected there.
void balance_slacks(Run& run, bool losses) {
    Store& s = run.store;
    for (int i : rows(s.slk.NSLK)) {
        const int j = s.slk.NGSLK(i);
        if (!j) continue;
        const int k = s.gen.NOGEN(j);
        double out = nominal_load(s, k).p - run.mat.work.injected(k).DELTA;
        for (int a = s.adr.LINPTR(k); a < s.adr.LINPTR(k + 1); ++a) {
            const int l = s.adr.LINADR(a);
            const BranchFlow f = linear_flow(run, l, losses);
            out += s.branch.NFROM(l) == k ? f.pf : f.pt;
        }
        s.gen.PGEN(j) = out;
    }
}

bool finite_angles(const Store& s) {
    double sum = 0;
    for (int k : rows(s.bus.NB)) sum += s.bus.ANGLE(k);
    return std::isfinite(sum);
}

}  // namespace

BranchFlow linear_flow(const Run& run, int l, bool losses) {
    const Store& s = run.store;
    if (!s.branch.STLIN(l)) return {0, 0, 0, 0};
    const double flow = -angle_across(s, l) * linear_element(s, l), half = losses ? loss(run, l) / 2 : 0;
    return {flow + half, 0, half - flow, 0};
}

BranchFlow solved_flow(const Run& run, int l) {
    const int kind = run.store.sol.ITSOL;
    return kind == 0 ? branch_flow(run.store, l) : linear_flow(run, l, kind == 2);
}

void solve_linear(Run& run) {
    Store& s = run.store;
    SolverState& st = run.mat.state;
    Solution& sol = s.sol;
    const bool losses = run.opt["PERD"_opt];
    st.NITLF = st.sum_p = st.sum_q = st.sum_dc = 0;
    sol.ITSOL = losses ? 2 : 1;
    sol.NITP = sol.NITQ = 0;
    sol.DPMAX = sol.DQMAX = 0;
    sol.XMI = 1;
    collect_power(run);
    solve_angles(run, false);
    if (losses)
        for (; sol.NITP < run.cte.PDIT; ++sol.NITP) solve_angles(run, true);
    balance_slacks(run, losses);
    sol.CONVSTAT = finite_angles(s) ? 1 : 3;
    sol.NODEP = s.slk.NSLK && s.slk.NGSLK(1) ? s.bus.NOINT(s.gen.NOGEN(s.slk.NGSLK(1))) : 0;
    sol.NODEQ = 0;
    st.sum_p = sol.NITP;
    for (int i : rows(s.ilh.count)) run.mat.island(i).KONLF2 = sol.CONVSTAT;
    report_outcome(run, 8 + sol.CONVSTAT);
}

}  // namespace korvane
