// Controls that act between iterations, and the Newton iteration that leaves them there.
#include <algorithm>
#include <cmath>

#include "network/list_marks.hpp"
#include "powerflow/solver.hpp"
#include "powerflow/tap_steps.hpp"

namespace korvane {

namespace {

void reopen(Run& run) {
    run.store.sol.CONVSTAT = 0;
    run.mat.state.residual.DQ = REOPENED;
}

/// Whether a generator at a reactive limit could move its voltage by a change of the sign of d.
bool can_leave_limit(const Run& run, int j, double d) {
    const GeneratorTables& gen = run.store.gen;
    if (std::abs(gen.QMAX(j) - gen.QMIN(j)) <= run.cte.TLPR) return false;
    return d < 0 ? gen.QGEN(j) > gen.QMIN(j) : gen.QGEN(j) < gen.QMAX(j);
}

// A pass of BCSOLV up to the factorisation.
void assemble_separate(Run& run) {
    assemble_network(run);
    close_equations(run);
}

}  // namespace

void adjust_remote(Run& run, bool decoupled) {
    Store& s = run.store;
    auto& moved = run.mat.work.moved;
    moved.fill(s.bus.NB, false);
    const std::span<int> excluded = named_by(s, s.fcr, s.gen.NG);
    bool turned = false, any = false;
    for (int i : rows(s.rcb.NRCB)) {
        const int j = s.rcb.ICB(i), c = s.rcb.IRCB(i);
        if (!j || c < 1 || c > s.bus.NB || s.bus.NTYPE(c) > 0 || excluded[std::size_t(j)]) continue;
        const int k = s.gen.NOGEN(j);
        const double d = s.rcb.VRCB(i) - s.bus.VOLT(c);
        int& type = s.bus.NTYPE(k);
        if (!(std::abs(d) > run.cte.TLVC) || (std::abs(type) != 2 && std::abs(type) != 3)) continue;
        if (type < 0) {
            if (!can_leave_limit(run, j, d)) continue;
            type = -type;
            turned = true;
        }
        s.gen.VGEN(j) = s.bus.VOLT(k) += d * s.rcb.FARCT(i);
        moved(c) = any = true;
    }
    if (!any) return;
    reopen(run);
    for (int i : rows(s.rcb.NRCB))
        if (const int c = s.rcb.IRCB(i); c >= 1 && c <= s.bus.NB && moved(c)) s.bus.VOLT(c) = s.rcb.VRCB(i);
    if (turned && decoupled) rebuild_second(run);
}

void adjust_taps(Run& run) {
    Store& s = run.store;
    auto& moved = run.mat.work.moved;
    moved.fill(s.bus.NB, false);
    const std::span<int> fixed = named_by(s, s.tpf, s.branch.NL);
    bool any = false;
    for (int n : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(n), c = std::abs(s.tap.KBUS(n));
        if (!l || l > s.branch.NL || !s.branch.STLIN(l) || fixed[std::size_t(l)] || c < 1 || c > s.bus.NB) continue;
        if ((s.branch.LTYPE(l) != 3 && s.branch.LTYPE(l) != 4) || s.bus.NTYPE(c) > 0) continue;
        const double error = s.bus.VOLT(c) - s.tap.VBUS(n);
        if (!(std::abs(error) > run.cte.TLVC)) continue;
        const auto move = tap_move(run, n, error);
        if (!move) continue;
        if (move->at_limit)
            note_switch(run.mat.state, -s.bus.NOINT(s.branch.NFROM(l)));
        else
            moved(c) = true;
        change_tap(run, n, 1 / move->ratio);
        any = true;
    }
    if (!any) return;
    reopen(run);
    for (int n : rows(s.tap.NTAP))
        if (const int c = std::abs(s.tap.KBUS(n)); c >= 1 && c <= s.bus.NB && moved(c)) s.bus.VOLT(c) = s.tap.VBUS(n);
}

void BCSOLV(Run& run) {
    SolverState& st = run.mat.state;
    Solution& sol = run.store.sol;
    st.singular = st.augmented = false;
    st.residual = {};
    if (st.resolve != 0 || !run.opt["PART"_opt]) {
        sol.NITP = sol.CONVSTAT = st.nlimq = 0;
        sol.XMI = 1;
        start_limits(run);
    }
    const int most = 4 * run.cte.ACIT + 4;  // passes in which only the controls move are not for ever
    for (int pass = 0; sol.CONVSTAT == 0; ++pass) {
        assemble_network(run);
        if (!control_generation(run)) break;
        close_equations(run);
        if (converged(run))
            sol.CONVSTAT = 1;
        else if (sol.NITP >= run.cte.ACIT || pass > most)
            sol.CONVSTAT = 2;
        else {
            ++sol.NITP;
            if (!iterate(run, {"BCSOLV", {}, assemble_separate})) break;
        }
        if (sol.CONVSTAT > 1) break;
        if (run.opt["CREM"_opt]) adjust_remote(run, false);
        if (run.opt["CTAP"_opt] && sol.DQMAX <= run.cte.TPST) adjust_taps(run);
        report_switches(run);
    }
    sol.NITQ = sol.NITP;
    tell_stuck(run);
}

}  // namespace korvane
