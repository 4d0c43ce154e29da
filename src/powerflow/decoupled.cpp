// Decoupled iteration: a half step in the angles on B', a half step in the voltages on B'', both matrices constant.
//
//     B' dt = dP/V        B'' dV = dQ/V        (B. Stott, O. Alsac, IEEE Trans. PAS-93, 1974)
//
// It solves alone, or takes the first steps before Newton. NITP and NITQ count its halves.
#include <algorithm>
#include <cmath>

#include "powerflow/solver.hpp"

namespace korvane {

namespace {

void enter(Run& run) {
    SolverState& st = run.mat.state;
    Solution& sol = run.store.sol;
    sol.NITP = sol.NITQ = 0;
    sol.CONVSTAT = 0;
    sol.XMI = 1;
    st.nlimq = 0;
    st.residual.DQ = REOPENED;
    start_limits(run);
    collect_injections(run);
    map_generators(run);
}

// The sums of the branches at each bus, by bus: Vm (b s + g c) for dP/V, -Vm (b c - g s) for dQ/V, with the angle of
// the bus less that of the far end m (branch_terms of the Newton iteration).
template <bool ACTIVE>
void sum_branches(const Run& run, double* sum) {
    const Store& s = run.store;
    const BranchTables& br = s.branch;
    const double* const volt = s.bus.VOLT.data() - 1;
    std::fill_n(sum + 1, s.bus.NB, 0.0);
    for (int l : rows(br.NL)) {
        if (!br.STLIN(l)) continue;
        const int f = br.NFROM(l), t = br.NTO(l);
        const double g = br.GKM(l), b = br.BKM(l), sine = run.mat.SINDIK(l), cosine = run.mat.COSDIK(l);
        sum[f] += volt[t] * (ACTIVE ? b * sine + g * cosine : g * sine - b * cosine);
        sum[t] += volt[f] * (ACTIVE ? g * cosine - b * sine : -g * sine - b * cosine);
    }
}

// Injections that follow the voltage, or that interchange has moved.
void follow_injections(Run& run) {
    const Store& s = run.store;
    if (s.eqv.NEQV + s.fld.NFLD + s.cai.NCAI > 0) collect_injections(run);
}

// dP/V by row, and its largest mismatch. The generation of a slack is read off it.
void active_mismatch(Run& run) {
    Store& s = run.store;
    Matrices& m = run.mat;
    double* const sum = m.work.power.data() - 1;
    follow_injections(run);
    sum_branches<true>(run, sum);
    Worst worst;
    for (int k : rows(s.bus.NB)) {
        const int type = std::abs(s.bus.NTYPE(k));
        const double v = s.bus.VOLT(k);
        double left = sum[k] - (nominal_load(s, k).p - m.work.injected(k).DELTA) / v - m.GDIAG(k) * v;
        if (const int j = m.work.NOBGEN(k)) {
            if (type == 3)
                s.gen.PGEN(j) = -left * v;
            else
                left += s.gen.PGEN(j) / v;
        }
        if (type > 2) left = 0;
        m.x[std::size_t(m.plain.NORDER(k) - 1)] = left;
        worst.meet(std::abs(left) * v, k);
    }
    s.sol.DPMAX = m.state.residual.DP = worst.value;
    s.sol.NODEP = worst.bus ? s.bus.NOINT(worst.bus) : 0;
}

// dQ/V by row, and its largest mismatch. The generation of a bus whose voltage is held is read off it.
void reactive_mismatch(Run& run) {
    Store& s = run.store;
    Matrices& m = run.mat;
    double* const sum = m.work.power.data() - 1;
    follow_injections(run);
    sum_branches<false>(run, sum);
    Worst worst;
    for (int k : rows(s.bus.NB)) {
        const int type = s.bus.NTYPE(k);
        const double v = s.bus.VOLT(k);
        double left = sum[k] - (nominal_load(s, k).q - m.work.injected(k).WORK) / v + m.BDIAG(k) * v;
        if (const int j = m.work.NOBGEN(k)) {
            if (type > 0 && type <= 3)
                s.gen.QGEN(j) = -left * v;
            else
                left += s.gen.QGEN(j) / v;
        }
        if (type > 0) left = 0;
        m.x[std::size_t(m.plain.NORDER(k) - 1)] = left;
        worst.meet(std::abs(left) * v, k);
    }
    s.sol.DQMAX = m.state.residual.DQ = worst.value;
    s.sol.NODEQ = worst.bus ? s.bus.NOINT(worst.bus) : 0;
}

double& mismatch_of(Run& run, int k) { return run.mat.x[std::size_t(run.mat.plain.NORDER(k) - 1)]; }

// Interchange, once the active mismatch is small. False when nobody can take what is left.
bool control_interchange(Run& run) {
    const Options& opt = run.opt;
    if ((!opt["CINT"_opt] && !opt["DPER"_opt]) || !(run.mat.state.residual.DP <= run.cte.EXST)) return true;
    adjust_interchange(run, mismatch_of);
    run.store.sol.DPMAX = run.mat.state.residual.DP;
    return run.store.sol.CONVSTAT == 0;
}

// Reactive and voltage limits, once the reactive mismatch is small. B'' follows the types; false when it cannot.
bool control_limits(Run& run) {
    const Options& opt = run.opt;
    if ((!opt["QLIM"_opt] && !opt["VLIM"_opt]) || !(run.mat.state.residual.DQ <= run.cte.QLST)) return true;
    const bool turned = check_limits(run, mismatch_of, false);
    run.store.sol.DQMAX = run.mat.state.residual.DQ;
    return !turned || rebuild_second(run);
}

/// A half is spent; false when its limit is reached.
bool spend(Run& run, int& half) {
    if (half >= run.cte.ACIT) {
        run.store.sol.CONVSTAT = 2;
        return false;
    }
    ++half;
    return true;
}

double limited(double step, double limit, bool cut) { return cut ? std::clamp(step, -limit, limit) : step; }

// Angles from the active mismatch.
bool active_half(Run& run) {
    Store& s = run.store;
    Matrices& m = run.mat;
    if (!spend(run, s.sol.NITP)) return false;
    solve_scalar(m.B1, m.plain, m.x.data());
    const bool cut = run.opt["STEP"_opt];
    for (int k : rows(s.bus.NB)) s.bus.ANGLE(k) += limited(m.x[std::size_t(m.plain.NORDER(k) - 1)], run.cte.ASTP, cut);
    refresh_angles(run);
    if (run.opt["RCVG"_opt]) report_half(run, true);
    m.B1.state = 1;
    return true;
}

// Voltages from the reactive mismatch.
bool reactive_half(Run& run) {
    Store& s = run.store;
    Matrices& m = run.mat;
    if (!spend(run, s.sol.NITQ)) return false;
    solve_scalar(m.B2, m.plain, m.x.data());
    const bool cut = run.opt["STEP"_opt];
    for (int k : rows(s.bus.NB)) {
        double& v = s.bus.VOLT(k);
        v += limited(m.x[std::size_t(m.plain.NORDER(k) - 1)], run.cte.VSTP, cut);
        if (!(v >= run.cte.VDVN && v <= run.cte.VDVM)) s.sol.CONVSTAT = 3;
    }
    if (run.opt["RCVG"_opt]) report_half(run, false);
    m.B2.state = 1;
    return s.sol.CONVSTAT < 3;
}

bool active_met(const Run& run) { return run.mat.state.residual.DP <= run.cte.TEPA; }
bool reactive_met(const Run& run) { return run.mat.state.residual.DQ <= run.cte.TEPR; }

// Both halves, each where its mismatch asks for it. False when the iteration ends here.
bool both_halves(Run& run) {
    const bool angles_stand = active_met(run);
    if (angles_stand && reactive_met(run)) {
        run.store.sol.CONVSTAT = 1;
        return true;
    }
    if (!angles_stand && !active_half(run)) return false;
    reactive_mismatch(run);
    if (!control_limits(run)) return false;
    if (!reactive_met(run)) return reactive_half(run);
    if (angles_stand) run.store.sol.CONVSTAT = 1;
    return true;
}

// As a start before Newton it has done its part.
bool start_done(const Run& run) {
    const Solution& sol = run.store.sol;
    return run.opt["PART"_opt] && run.opt["NEWT"_opt] && (sol.NITP >= run.cte.LFCV || sol.NITQ >= run.cte.LFCV);
}

}  // namespace

void solve_decoupled(Run& run) {
    SolverState& st = run.mat.state;
    Solution& sol = run.store.sol;
    // A solve inside another one may find the angles of the last one good enough.
    bool active = !(st.resolve != 0 && st.NITLF <= 1 && sol.DPMAX <= run.cte.TEPA);
    enter(run);
    refresh_angles(run);
    report_heading(run, Method::decoupled);
    const int most = 4 * run.cte.ACIT + 4;  // cycles in which only the controls move are not for ever
    for (int cycle = 0; cycle <= most; ++cycle) {
        if (active) {
            active_mismatch(run);
            if (!control_interchange(run)) break;
        }
        active = true;
        if (!both_halves(run)) break;
        if (run.opt["CREM"_opt]) adjust_remote(run, true);
        if (run.opt["CTAP"_opt] && sol.DQMAX <= run.cte.TPST) adjust_taps(run);
        report_switches(run, Method::decoupled);
        if (sol.CONVSTAT != 0) break;
        if (start_done(run)) return;
        if (cycle == most) sol.CONVSTAT = 2;
    }
    tell_stuck(run);
}

}  // namespace korvane
