// Decoupled iteration: a half step in the angles on B', a half step in the voltages on B'', both matrices constant.
//
//     B' dt = dP/V        B'' dV = dQ/V        (B. Stott, O. Alsac, IEEE Trans. PAS-93, 1974)
//
// It solves alone, or takes the first steps before Newton. NITP and NITQ count its halves.
#include <algorithm>
#include <cmath>

#include "powerflow/solver.hpp"
#include "powerflow/vector_clones.hpp"

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

// Injections that follow the voltage, or that interchange has moved.
void follow_injections(Run& run) {
    const Store& s = run.store;
    if (s.eqv.NEQV + s.fld.NFLD + s.cai.NCAI + s.cer.NCER > 0) collect_injections(run);
}

/// A mismatch over all buses: its largest, and the bus of that.
struct Mismatch {
    double worst;
    int bus;
};

// dP/V or dQ/V of the injections: loads and other given power, and the diagonal of the admittance matrix.
template <bool ACTIVE>
[[gnu::always_inline]] inline void injected_mismatch(const double* load, const Sides* injected, const double* diagonal,
                                                     const double* volt, Sides* left, int n) {
    for (int i = 0; i < n; ++i) {
        const double given = ACTIVE ? injected[i].DELTA : injected[i].WORK;
        left[i].DELTA = (given - load[i]) / volt[i] + (ACTIVE ? -diagonal[i] : diagonal[i]) * volt[i];
        left[i].WORK = 0;
    }
}
VECTOR_CLONES void injected_active(const double* load, const Sides* injected, const double* diagonal,
                                   const double* volt, Sides* left, int n) {
    injected_mismatch<true>(load, injected, diagonal, volt, left, n);
}
VECTOR_CLONES void injected_reactive(const double* load, const Sides* injected, const double* diagonal,
                                     const double* volt, Sides* left, int n) {
    injected_mismatch<false>(load, injected, diagonal, volt, left, n);
}

// dP/V or dQ/V by row. The branches give Vm (b s + g c) or -Vm (b c - g s), with the angle of the bus less that of the
// far end m (branch_terms of the Newton iteration). What a slack generates, or a bus whose voltage is held, is read off
// its mismatch, which is none then. Each step goes over one table alone, so no loop has to guess which bus has what;
// branches of one bus stand together and go to two sums in turn, so that an addition need not wait for the last.
template <bool ACTIVE>
Mismatch mismatch(Run& run) {
    Store& s = run.store;
    Matrices& m = run.mat;
    const BranchTables& br = s.branch;
    GeneratorTables& gen = s.gen;
    const double* const volt = s.bus.VOLT.data() - 1;
    Sides* const left = m.work.sum.data() - 1;
    follow_injections(run);
    if (ACTIVE)
        injected_active(s.bus.PLOAD.data(), m.work.injected.data(), m.GDIAG.data(), s.bus.VOLT.data(), left + 1,
                        s.bus.NB);
    else
        injected_reactive(s.bus.QLOAD.data(), m.work.injected.data(), m.BDIAG.data(), s.bus.VOLT.data(), left + 1,
                          s.bus.NB);
    for (int l : rows(br.NL)) {
        if (!br.STLIN(l)) continue;
        const int f = br.NFROM(l), t = br.NTO(l);
        const double g = br.GKM(l), b = br.BKM(l), sine = m.SINDIK(l), cosine = m.COSDIK(l);
        double Sides::*const turn = l & 1 ? &Sides::DELTA : &Sides::WORK;
        left[f].*turn += volt[t] * (ACTIVE ? b * sine + g * cosine : g * sine - b * cosine);
        left[t].*turn += volt[f] * (ACTIVE ? g * cosine - b * sine : -g * sine - b * cosine);
    }
    const auto dead = [](int type) { return std::abs(type) > 3; };
    for (int j : rows(gen.NG)) {
        const int k = gen.NOGEN(j), type = s.bus.NTYPE(k);
        double& power = ACTIVE ? gen.PGEN(j) : gen.QGEN(j);
        if (dead(type)) continue;
        if (ACTIVE ? std::abs(type) == 3 : type > 0) {
            power = -(left[k].DELTA + left[k].WORK) * volt[k];
            left[k] = {0, 0};
        } else
            left[k].DELTA += power / volt[k];
    }
    Worst worst;
    for (int k : rows(s.bus.NB)) {
        const double at = dead(s.bus.NTYPE(k)) ? 0 : left[k].DELTA + left[k].WORK;
        m.x[std::size_t(m.plain.NORDER(k) - 1)] = at;
        worst.meet(std::abs(at) * volt[k], k);
    }
    return {worst.value, worst.bus ? s.bus.NOINT(worst.bus) : 0};
}

void active_mismatch(Run& run) {
    const auto [worst, bus] = mismatch<true>(run);
    run.store.sol.DPMAX = run.mat.state.residual.DP = worst;
    run.store.sol.NODEP = bus;
}

void reactive_mismatch(Run& run) {
    const auto [worst, bus] = mismatch<false>(run);
    run.store.sol.DQMAX = run.mat.state.residual.DQ = worst;
    run.store.sol.NODEQ = bus;
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
