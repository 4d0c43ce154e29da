// Linear active power flow: voltages stay, angles come from one substitution with B', slack generation from the flows.
//
//     flow from k to m = -(tk - tm + f) v          loss = g (tk - tm + f)^2
//
// t is the angle of a bus and f the phase shift of the branch, rad; v is the element of B', negative for an inductive
// branch; g + jb its series admittance without tap, pu. Half of a loss stands as load at either end.
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
    solve_scalar(run.mat.B1, p, run.mat.x.data());
    for (int k : rows(s.bus.NB)) s.bus.ANGLE(k) = x[p.NORDER(k)];
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
    for (int i : rows(s.ilh.count))
        run.mat.island(i) = {
            .KONLF2 = sol.CONVSTAT, .residual{}, .NODEP2 = 0, .NODEQ2 = 0, .DQMAXIMO2 = 0, .XMI2 = 1, .XMF2 = 1};
    report_outcome(run, 8 + sol.CONVSTAT);
}

}  // namespace korvane
