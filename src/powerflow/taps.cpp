// The unknown of a tap is the change of t = 1/a, its equation holds the voltage of the controlled bus c:
//
//     x(c) + e x(f) = (Vset - V(c)) / V(c)
//
// x(c) being the relative change of V(c). The weight e is slight: it shares a bus evenly among taps on different
// branches, whose equations are the same but for it. It has the sign of dV(c)/dt, so that it never works against it.
#include "powerflow/taps.hpp"

#include <algorithm>
#include <cmath>

#include "network/list_marks.hpp"
#include "powerflow/augmented.hpp"
#include "powerflow/reactive_limits.hpp"
#include "powerflow/tap_steps.hpp"

namespace korvane {

namespace {

using TapRow = ControlWork::TapRow;

/// The weight e. Admittances move far more than this, and what it leaves of the error is gone with the next pass.
constexpr double SLIGHT = 1e-4;
/// A step beside the matrix is in vain when it leaves more than this of the least error so far. So many of them, and
/// the tap hunts: it is stopped.
constexpr double PROGRESS = 0.9;
constexpr int MOST_STEPS = 4;

/// A correction that passes a limit by more than the range of the tap and this is one that no tap can follow: the tap
/// has next to no effect on its voltage, as beside a generator at a reactive limit.
constexpr double MARGIN = 0.05;

/// Reactive mismatch, pu, up to which a voltage tells whether a tap is still to stand at its limit.
constexpr double NEAR_SOLUTION = 0.004;

/// The last passes belong to the network and its generators: no tap moves any more.
bool all_stop(const Run& run) { return 5 * run.store.sol.NITP > 4 * run.cte.ACIT; }

/// Returns from a limit that a tap has inside the matrix. Each takes some passes to settle: there are no more than the
/// passes before it is late have room for.
int most_returns(const Run& run) {
    constexpr int PASSES = 5;
    const int left = 3 * run.cte.ACIT / 5 - run.store.sol.NITP;
    return std::clamp((left + PASSES - 1) / PASSES, 0, int(0.1f * float(run.cte.ACIT)));
}

bool in_play(const Run& run, int k) {
    const ControlWork& w = run.mat.control;
    return w.awake(region(run, k)) && !w.frozen(region(run, k)) && !island_failed(run, k);
}

// --- build

bool controllable(const Store& s, int n) {
    const int l = s.tap.NOTAP(n), c = std::abs(s.tap.KBUS(n).at);
    return l >= 1 && l <= s.branch.NL && s.branch.STLIN(l) && (s.branch.LTYPE(l) == 3 || s.branch.LTYPE(l) == 4) &&
           c >= 1 && c <= s.bus.NB && s.tap.TPMIN(n) > 0 && s.tap.TPMAX(n) >= s.tap.TPMIN(n);
}

// Distance of the positions of tap row n, 0 for none.
double position_step(const Run& run, int n) {
    const TapTables& tap = run.store.tap;
    const int positions = tap.NTSTP(n) ? tap.NTSTP(n) : run.cte.TSTP;
    return positions < 2 ? 0 : (tap.TPMAX(n) - tap.TPMIN(n)) / (positions - 1);
}

/// The last tap of the list of a bus that lies between the same buses as branch l, 0 for none.
int parallel_cell(const Run& run, int head, int l) {
    const Store& s = run.store;
    const ControlledBuses& lists = run.mat.control.held;
    int found = 0;
    for (int c = head; c; c = lists.cell(c).next) {
        if (lists.cell(c).code > Holder::standby_tap) continue;
        const int other = s.tap.NOTAP(lists.cell(c).device);
        if (s.branch.NFROM(other) == s.branch.NFROM(l) && s.branch.NTO(other) == s.branch.NTO(l)) found = c;
    }
    return found;
}

// Tap row i takes its place in the list of its bus, behind the tap that it is parallel to, which then leads it.
void enter_list(Run& run, int i) {
    ControlWork& w = run.mat.control;
    ControlledBuses& lists = w.held;
    TapRow& row = w.tap_row(i);
    const int head = lists.head(row.bus);
    if (!head) {
        append_cell(lists, row.bus, Holder::tap, row.tap, i);
        return;
    }
    row.standby = lists.is_generator(head);
    if (row.standby) row.active = false;
    const Holder alone = row.standby ? Holder::standby_tap : Holder::further_tap;
    const int beside = parallel_cell(run, head, run.store.tap.NOTAP(row.tap));
    if (!beside) {
        append_cell(lists, row.bus, alone, row.tap, i);
        return;
    }
    const int other = lists.cell(beside).number, leader = w.tap_row(other).leader ? w.tap_row(other).leader : other;
    const bool follows = w.tap_row(leader).count >= 0 && row.count >= 0;
    if (follows) row.leader = leader;
    const Holder code = follows && !row.standby ? Holder::parallel_tap : alone;
    if (code == Holder::parallel_tap) lists.cell(beside).code = code;
    insert_cell_behind(lists, beside, code, row.tap, i);
}

void add_row(Run& run, int n, bool stays, bool discrete) {
    TapTables& tap = run.store.tap;
    ControlWork& w = run.mat.control;
    TapRow& row = w.tap_row(++w.taps) = {};
    row.tap = n;
    w.tap_row_of(n) = w.taps;
    row.bus = std::abs(tap.KBUS(n).at);
    row.step = position_step(run, n);
    row.discrete = discrete && row.step > 0;
    const double limit = tap.NTTAP(n) == 1 ? tap.TPMAX(n) : tap.TPMIN(n);
    if (tap.NTTAP(n) && !(std::abs(1 / tap.TAP(n) - limit) <= run.cte.TLTC)) tap.NTTAP(n) = 0;
    if (run.opt["CTAF"_opt] && tap.NTTVF(n) < 0) tap.NTTVF(n) = 1;
    row.count = stays ? -1 : 0;
    row.active = !stays && tap.NTTAP(n) == 0;
    row.equation = add_fictitious_bus(run, Equation::tap, w.taps);
    enter_list(run, w.taps);
}

void add_branches(Run& run, TapRow& row) {
    const Store& s = run.store;
    const int l = s.tap.NOTAP(row.tap), from = s.branch.NFROM(l), to = s.branch.NTO(l);
    row.to_from = add_fictitious_branch(run, row.equation, from);
    row.to_to = add_fictitious_branch(run, row.equation, to);
    row.to_bus = row.bus == from ? row.to_from
                 : row.bus == to ? row.to_to
                                 : add_fictitious_branch(run, row.equation, row.bus);
    if (row.leader)
        row.to_leader = add_fictitious_branch(run, row.equation, run.mat.control.tap_row(row.leader).equation);
}

// --- the pass

// A tap with a band rests while the voltage is inside; outside it aims at the centre, or at the limit that was passed.
void check_band(Run& run, TapRow& row) {
    TapTables& tap = run.store.tap;
    const int n = row.tap;
    if (!run.opt["CTAF"_opt] || tap.NTTVF(n) == 0 || row.standby) return;
    if (row.active && tap.NTTVF(n) < 0) tap.NTTVF(n) = 1;
    if (tap.NTTVF(n) < 0 || row.count < 0) return;
    const double v = run.store.bus.VOLT(row.bus), low = tap.VMNTVF(n), high = tap.VMXTVF(n);
    row.active = v < low - run.cte.TLTC || v > high + run.cte.TLTC;
    if (!row.active) return;
    tap.NTTVF(n) = -1;
    tap.VBARRA(n) = !tap.TVFLIM(n) ? (low + high) / 2 : v < low ? low : high;
}

bool near_solution(const Run& run, const TapRow& row) { return reactive_mismatch(run, row.bus) <= NEAR_SOLUTION; }

// A tap at a limit that the voltage no longer asks for moves again, once the network is near its solution: what the
// passes on the way there leave is no voltage to go by.
void leave_limit(Run& run, TapRow& row) {
    Store& s = run.store;
    if (row.active || row.standby || row.met_limit || row.count < 0 || row.count >= most_returns(run)) return;
    if (s.tap.NTTAP(row.tap) == 0 || !near_solution(run, row)) return;
    if (!voltage_unmet(run, row.tap)) return;
    s.tap.NTTAP(row.tap) = 0;
    row.active = true;
    ++row.count;
}

void write_column(Run& run, const TapRow& row) {
    const TapColumn column = tap_column(run, row.tap);
    Block& from = link_of(run, row.to_from).to_from;
    from.N = column.from.N;
    from.L = column.from.L;
    Block& to = link_of(run, row.to_to).to_from;
    to.N = column.to.N;
    to.L = column.to.L;
}

void write_voltage_equation(Run& run, TapRow& row) {
    const Store& s = run.store;
    const double v = s.bus.VOLT(row.bus), error = tap_target(run, row.tap) - v, slack = run.cte.TLVC;
    double right = std::abs(error) < slack ? 0 : error / v;
    if (run.opt["CNTC"_opt] && std::abs(right) > run.cte.VSTP) right = std::copysign(run.cte.VSTP, right);
    const std::size_t r = row_of(run, row.equation);
    run.mat.diagonal[r].L = rises_with_ratio(s.tap, row.tap) ? -SLIGHT : SLIGHT;
    run.mat.side[r].WORK = right;
    link_of(run, row.to_bus).from_to.L = 1;
    if (s.sol.NITP > 0 || !at_explaining_limit(run, row.tap, -error))
        meet_residual(run, &Residuals::DV, std::abs(right) * v, row.bus);
}

// Parallel taps have one position: that of the first, as far as the limits of the other let it.
void write_equality(Run& run, TapRow& row) {
    const TapTables& tap = run.store.tap;
    const std::size_t r = row_of(run, row.equation);
    const TapRow& leader = run.mat.control.tap_row(row.leader);
    const double lead = tap.TAP(leader.tap);
    const double to = std::clamp(lead, 1 / tap.TPMAX(row.tap), 1 / tap.TPMIN(row.tap)), error = to - tap.TAP(row.tap);
    run.mat.diagonal[r].L = 1;
    run.mat.side[r].WORK = error;
    if (to == lead && leader.moves) link_of(run, row.to_leader).from_to.L = -1;
    meet_residual(run, &Residuals::DV, std::abs(error), row.bus);
}

// --- movements

// Tap row i of the tables to t, at most to its limits. True when it met one where it did not stand before.
bool move_within(Run& run, int n, double t) {
    TapTables& tap = run.store.tap;
    const double slack = run.cte.TLTC, lowest = 1 / tap.TPMAX(n), highest = 1 / tap.TPMIN(n), before = tap.TAP(n);
    if (!std::isfinite(t)) return false;
    tap.NTTAP(n) = t < lowest - slack ? 1 : t > highest + slack ? 2 : 0;
    const double to = tap.NTTAP(n) == 1 ? lowest : tap.NTTAP(n) == 2 ? highest : t;
    if (to != before) change_tap(run, n, to);
    return tap.NTTAP(n) != 0 && std::abs(before - to) > slack;
}

void note_limit(Run& run, int n) {
    const Store& s = run.store;
    note_switch(run.mat.state, -s.bus.NOINT(s.branch.NFROM(s.tap.NOTAP(n))));
}

void follow(Run& run, const TapRow& row) {
    TapTables& tap = run.store.tap;
    const int leader = run.mat.control.tap_row(row.leader).tap;
    move_within(run, row.tap, tap.TAP(leader));
}

// A tap without an effect: a generator at one of its ends, which took the effect away as it met a reactive limit, comes
// off it if that helps; else the tap goes to the limit that explains the voltage. That disturbs nothing else.
void give_up(Run& run, TapRow& row) {
    const TapTables& tap = run.store.tap;
    const int n = row.tap, l = tap.NOTAP(n);
    const double error = run.store.bus.VOLT(row.bus) - tap_target(run, n);
    for (const int end : {run.store.branch.NFROM(l), run.store.branch.NTO(l)})
        if (release_generator(run, end, error < 0)) return;
    const bool up = (error < 0) == rises_with_ratio(tap, n);
    const double beyond = 2 * run.cte.TLTC;
    if (move_within(run, n, up ? 1 / tap.TPMAX(n) - beyond : 1 / tap.TPMIN(n) + beyond)) note_limit(run, n);
    row.active = false;
}

void stop(TapRow& row) {
    row.active = false;
    row.stopped = true;
    row.count = -1;
}

// A tap that hunts is stopped where its voltage was nearest to the target. True when that moves it.
bool stop_at_best(Run& run, TapRow& row) {
    TapTables& tap = run.store.tap;
    const int n = row.tap;
    stop(row);
    if (row.best == tap.TAP(n)) return false;
    change_tap(run, n, row.best);
    const auto stands_at = [&](double limit) { return std::abs(1 / row.best - limit) <= run.cte.TLTC; };
    tap.NTTAP(n) = stands_at(tap.TPMAX(n)) ? 1 : stands_at(tap.TPMIN(n)) ? 2 : 0;
    return true;
}

// A step beside the matrix. The error is the voltage less its target. True when the tap moves; `near` then tells that
// it met no limit.
bool step_beside(Run& run, TapRow& row, double error, bool& near) {
    TapTables& tap = run.store.tap;
    const int n = row.tap;
    const bool nearer = !row.stepped || std::abs(error) < PROGRESS * row.best_error;
    if (nearer) {
        row.best = tap.TAP(n);
        row.best_error = std::abs(error);
    }
    const auto move = tap_move(run, n, error);
    if (!move) return false;
    near = !move->at_limit;
    row.stepped = true;
    row.vain = nearer ? 0 : row.vain + 1;
    if (row.vain > MOST_STEPS || late(run)) {
        near = false;
        return stop_at_best(run, row);
    }
    if (move->at_limit) note_limit(run, n);
    tap.NTTAP(n) = !move->at_limit ? 0 : move->ratio == tap.TPMAX(n) ? 1 : 2;
    change_tap(run, n, 1 / move->ratio);
    return true;
}

}  // namespace

// With y = g + jb the admittance without the tap:
//
//     from   dP/V: -(g c + b s) Vm + 2 t g Vk        dQ/V: (b c - g s) Vm - 2 t b Vk
//     to     dP/V:  (b s - g c) Vk                   dQ/V: (b c + g s) Vk
TapColumn tap_column(const Run& run, int n) {
    const Store& s = run.store;
    const int l = s.tap.NOTAP(n);
    const double t = s.tap.TAP(n), g = s.branch.GKM(l) / t, b = s.branch.BKM(l) / t;
    const double sine = run.mat.SINDIK(l), cosine = run.mat.COSDIK(l);
    const double vk = s.bus.VOLT(s.branch.NFROM(l)), vm = s.bus.VOLT(s.branch.NTO(l));
    TapColumn column = {};
    column.from.N = -(g * cosine + b * sine) * vm + 2 * t * g * vk;
    column.from.L = (b * cosine - g * sine) * vm - 2 * t * b * vk;
    column.to.N = (b * sine - g * cosine) * vk;
    column.to.L = (b * cosine + g * sine) * vk;
    return column;
}

bool build_taps(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.taps = 0;
    w.tap_row_of.fill(s.tap.NTAP, 0);
    w.awake.fill(regions(run), false);
    w.frozen.fill(regions(run), false);
    if (!run.opt["CTAP"_opt]) return true;
    const std::span<int> stays = named_by(s, s.tpf, s.branch.NL);
    bool chosen = false;  // some taps are to end on positions; without any, all are
    for (int n : rows(s.tap.NTAP)) chosen = chosen || (controllable(s, n) && s.tap.FTPDIS(n));
    for (int n : rows(s.tap.NTAP))
        if (controllable(s, n)) add_row(run, n, stays[std::size_t(s.tap.NOTAP(n).at)] != 0, !chosen || s.tap.FTPDIS(n));
    for (int i : rows(w.taps)) add_branches(run, w.tap_row(i));
    return equations_fit(run, "ETCTAP");
}

void wake_taps(Run& run) {
    ControlWork& w = run.mat.control;
    each_region(run, [&](int i, double dq) { w.awake(i) = w.awake(i) || dq <= run.cte.TPST; });
}

void let_taps_take_over(Run& run, int head) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    ControlledBuses& lists = w.held;
    if (!lists.is_generator(head)) return;
    bool any_free = false;
    int c = head;
    for (; c && lists.is_generator(c); c = lists.cell(c).next)
        any_free = any_free || s.bus.NTYPE(s.gen.NOGEN(lists.cell(c).device)) > 0;
    for (; c; c = lists.cell(c).next) {
        if (lists.cell(c).code > Holder::standby_tap) continue;
        TapRow& row = w.tap_row(lists.cell(c).number);
        row.standby = any_free;
        if (any_free || row.took_over || row.count < 0) continue;
        row.took_over = row.active = true;
    }
}

void write_tap_row(Run& run, int i) {
    ControlWork& w = run.mat.control;
    TapRow& row = w.tap_row(i);
    row.moves = false;
    if (!in_play(run, row.bus) || run.store.bus.NTYPE(row.bus) > 0) return;
    if (row.leader) {
        const TapRow& leader = w.tap_row(row.leader);
        if (!leader.active || (!leader.moves && run.store.tap.TAP(leader.tap) == run.store.tap.TAP(row.tap))) return;
        write_equality(run, row);
    } else {
        check_band(run, row);
        leave_limit(run, row);
        if (!row.active || row.standby || row.rests) return;
        const double error = run.store.bus.VOLT(row.bus) - tap_target(run, row.tap);
        if (std::abs(error) < run.cte.TLVC) return;  // it would hold the voltage where it happens to be
        write_voltage_equation(run, row);
    }
    row.moves = true;
    write_column(run, row);
}

bool restrain_taps(Run& run) {
    TapTables& tap = run.store.tap;
    ControlWork& w = run.mat.control;
    bool any = false;
    for (int i : rows(w.taps)) {
        TapRow& row = w.tap_row(i);
        if (!row.moves || row.leader) continue;
        const int n = row.tap;
        const double lowest = 1 / tap.TPMAX(n), highest = 1 / tap.TPMIN(n), slack = run.cte.TLTC;
        const double t = tap.TAP(n) + run.mat.side[row_of(run, row.equation)].WORK, far = highest - lowest + MARGIN;
        if (!(t < lowest - slack || t > highest + slack) || !std::isfinite(t)) continue;
        any = true;
        if (t > lowest - far && t < highest + far) {
            if (move_within(run, n, t)) note_limit(run, n);
            row.active = false;
        } else if (reactive_mismatch(run, row.bus) <= FORESEEABLE)
            give_up(run, row);
        else
            row.rests = true;
        row.met_limit = !row.active;
    }
    if (any)
        for (int i : rows(w.taps))
            if (const TapRow& row = w.tap_row(i); row.leader && row.moves && !w.tap_row(row.leader).active)
                follow(run, row);
    return any;
}

void update_taps(Run& run) {
    TapTables& tap = run.store.tap;
    ControlWork& w = run.mat.control;
    for (int i : rows(w.taps)) {
        TapRow& row = w.tap_row(i);
        row.rests = row.met_limit = false;
        if (!row.moves) continue;
        if (row.leader) {
            follow(run, row);
            continue;
        }
        const double change = run.mat.side[row_of(run, row.equation)].WORK * step_of(run, row.bus);
        if (move_within(run, row.tap, tap.TAP(row.tap) + change)) note_limit(run, row.tap);
        if (tap.NTTAP(row.tap) != 0) row.active = false;
    }
}

bool settle_taps(Run& run) {
    TapTables& tap = run.store.tap;
    ControlWork& w = run.mat.control;
    if (!run.opt["CTAP"_opt] || !run.opt["TAPD"_opt]) return false;
    bool moved = false;
    for (int i : rows(w.taps)) {
        TapRow& row = w.tap_row(i);
        const int n = row.tap;
        if (!in_play(run, row.bus) || !row.discrete || (row.count < 0 && !row.stopped)) continue;
        const double a = 1 / tap.TAP(n);
        const double to = nearest_position(a, tap.TPMIN(n), tap.TPMAX(n), row.step, run.cte.TLTC);
        row.active = false;
        row.count = -1;
        if (to == a) continue;
        change_tap(run, n, 1 / to);
        moved = true;
    }
    auto freeze = [&](int i) { w.frozen(i) = w.frozen(i) || w.awake(i); };
    if (!run.opt["CILH"_opt])
        freeze(1);
    else
        for (int i : rows(run.store.ilh.count))
            if (!run.mat.island(i).failed()) freeze(i);
    return moved;
}

void adjust_held_taps(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    if (w.taps == 0) return;
    auto& moved = run.mat.work.moved;
    const int returns = most_returns(run);
    bool any = false, all_clear = false;
    if (all_stop(run))
        for (int i : rows(w.taps))
            if (TapRow& row = w.tap_row(i); row.active) stop(row);
    for (int i : rows(w.taps)) {
        TapRow& row = w.tap_row(i);
        if (row.leader) {
            if (w.tap_row(row.leader).stopped) stop(row);  // together; a leader stands before those that follow it
            continue;
        }
        if (row.active || row.standby || row.count < returns || !in_play(run, row.bus)) continue;
        if (s.tap.NTTAP(row.tap) == 0 && !row.stepped) continue;  // at rest inside its band
        if (!near_solution(run, row)) continue;
        ++row.count;
        if (s.bus.NTYPE(row.bus) > 0) continue;
        const double error = s.bus.VOLT(row.bus) - tap_target(run, row.tap);
        bool near = false;
        if (!(std::abs(error) > run.cte.TLVC) || !step_beside(run, row, error, near)) continue;
        if (!all_clear) moved.fill(s.bus.NB, false);
        all_clear = any = true;
        moved(row.bus) = moved(row.bus) || near;
    }
    if (!any) return;
    for (int i : rows(w.taps)) {
        TapRow& row = w.tap_row(i);
        if (row.leader && w.tap_row(row.leader).stepped) follow(run, row);
        if (!row.leader && moved(row.bus)) s.bus.VOLT(row.bus) = tap_target(run, row.tap);
    }
    s.sol.CONVSTAT = 0;
    run.mat.state.residual.DQ = REOPENED;
}

void tell_stopped_taps(Run& run) {
    const Store& s = run.store;
    const ControlWork& w = run.mat.control;
    for (int i : rows(w.taps)) {
        const TapRow& row = w.tap_row(i);
        if (!row.stopped || row.leader || s.bus.NTYPE(row.bus) > 0 || !voltage_unmet(run, row.tap)) continue;
        MSGPUT(run, "ETCTAP", -900, s.bus.NOINT(s.branch.NFROM(s.tap.NOTAP(row.tap))), element::bus_number);
    }
}

}  // namespace korvane
