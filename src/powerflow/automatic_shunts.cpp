// The unknown of an automatic shunt is the change x of its susceptance B, which its own bus n feels as reactive power
// B V(n)^2. Its equation, while it acts, moves the controlled bus k to a target, or takes over what a group of remote
// generators gives:
//
//     x(k) + e x = (target - V(k)) / V(k)          Q + x(Q) = 0
//
// x(k) being the relative change of V(k). The weight e is slight; it shares a bus evenly among several shunts. By
// itself a shunt acts only while the voltage is outside of its band. Beside a generator at its limit or a static
// compensator it brings the voltage to their set point.
#include "powerflow/automatic_shunts.hpp"

#include <algorithm>
#include <cmath>

#include "powerflow/augmented.hpp"

namespace korvane {

namespace {

using ShuntRow = ControlWork::ShuntRow;
using Beside = ControlWork::Beside;

constexpr double SLIGHT = 1e-4;  // 1/pu
/// Two values of a shunt are one, pu.
constexpr double SAME = 1e-6;
/// A correction that passes a limit by more than the range of the shunt and this is one that no shunt can follow, pu.
constexpr double MARGIN = 0.05;
/// Releases from a limit in one solution.
constexpr int MOST_RELEASES = 2;
/// The rows act from so many times QLST on.
constexpr double NEAR = 100;

int own_bus(const Run& run, const ShuntRow& row) { return run.store.sca.NBUSSCA(row.shunt); }

/// Whether something at bus k itself holds its voltage on this pass, so that no shunt can move it.
bool held(const Run& run, int k) {
    if (run.store.bus.NTYPE(k) <= 0) return false;
    const int j = run.mat.work.NOBGEN(k);
    return !j || !run.mat.control.releases(j);
}

/// Whether a tap holds bus k, or is to do so once it is awake.
bool tap_acts(const Run& run, int k) {
    const ControlWork& w = run.mat.control;
    for (int c = w.held.head(k); c; c = w.held.cell(c).next) {
        if (w.held.cell(c).code > Holder::standby_tap) continue;
        const ControlWork::TapRow& tap = w.tap_row(w.held.cell(c).number);
        if (tap.active && !tap.standby) return true;
    }
    return false;
}

// --- build

/// What else holds the controlled bus. Lists of generators and compensators stand; taps come later and give way to
/// none.
void find_holder(const Run& run, ShuntRow& row) {
    const Store& s = run.store;
    const ControlWork& w = run.mat.control;
    const int head = w.held.head(row.bus), generator = run.mat.work.NOBGEN(row.bus);
    row.beside = Beside::nothing;
    row.holder = 0;
    if (head && w.held.is_generator(head)) {
        row.beside = Beside::remote_generators;
        return;
    }
    for (int c = head; c; c = w.held.cell(c).next)
        if (w.held.cell(c).code >= Holder::compensator && s.cer.STUCER(w.held.cell(c).device)) {
            row.beside = Beside::compensator;
            row.holder = w.held.cell(c).device;
            return;
        }
    if (generator && !w.remote(generator) && std::abs(s.bus.NTYPE(row.bus)) >= 2) {
        row.beside = Beside::generator;
        row.holder = generator;
    }
}

void add_branches(Run& run, ShuntRow& row) {
    ControlWork& w = run.mat.control;
    const int own = own_bus(run, row);
    row.to_own = add_fictitious_branch(run, row.equation, own);
    row.to_bus = row.bus == own ? row.to_own : add_fictitious_branch(run, row.equation, row.bus);
    row.to_holder = run.mat.state.NBR + 1;
    if (row.beside != Beside::remote_generators) return;
    for (int c = w.held.head(row.bus); c && w.held.is_generator(c); c = w.held.cell(c).next)
        add_fictitious_branch(run, row.equation, w.remote_row(w.held.cell(c).number).equation);
}

// --- the pass

void wake(Run& run) {
    ControlWork& w = run.mat.control;
    each_region(run, [&](int i, double dq) {
        w.shunts_awake(i) = w.shunts_awake(i) || dq <= NEAR * run.cte.QLST;
        w.shunts_released(i) = w.shunts_released(i) || dq < run.cte.QLST;
    });
}

/// Whether the equation of the shunt is on: it is free to move, and something would move by it.
bool free_to_move(const Run& run, const ShuntRow& row) {
    const AutomaticShuntTables& t = run.store.sca;
    const int i = row.shunt, own = own_bus(run, row);
    return run.mat.control.shunts_awake(region(run, own)) && !row.at_limit && t.KONSCA(i) > 0 && t.ICONSCA(i) >= 0 &&
           !held(run, own) && !held(run, row.bus) && !island_failed(run, own) && !stays(row);
}

/// The first generator of the list of the controlled bus whose output is an unknown on this pass, and the branch to its
/// equation.
struct Relieved {
    int generator, branch;
};
Relieved relieved_by(const Run& run, const ShuntRow& row) {
    const ControlWork& w = run.mat.control;
    int branch = row.to_holder;
    for (int c = w.held.head(row.bus); c && w.held.is_generator(c); c = w.held.cell(c).next, ++branch)
        if (const int j = w.held.cell(c).device; w.releases(j)) return {j, branch};
    return {0, 0};
}

/// The target of a shunt that has the bus to itself: none inside the band, outside the nearest limit or the middle.
double band_target(Run& run, ShuntRow& row) {
    const AutomaticShuntTables& t = run.store.sca;
    const int i = row.shunt;
    const double v = run.store.bus.VOLT(row.bus), slack = run.cte.TLTC, low = t.VMINSCA(i), high = t.VMAXSCA(i);
    const double middle = (low + high) / 2;
    if (run.opt["ACFP"_opt] && run.store.sol.NITP == 1) return middle;
    if (v > low - slack && v < high + slack) return 0;
    return !t.SCALIM(i) ? middle : v <= low - slack ? low : high;
}

double target_of(Run& run, ShuntRow& row) {
    const Store& s = run.store;
    switch (row.beside) {
        case Beside::nothing: return tap_acts(run, row.bus) ? 0 : band_target(run, row);
        case Beside::generator: return s.gen.VGEN(row.holder);
        case Beside::compensator: return s.cer.VCER(row.holder);
        case Beside::remote_generators: {
            const ControlWork& w = run.mat.control;
            return w.remote_row(w.held.cell(w.held.head(row.bus)).number).target;
        }
    }
    return 0;
}

// A shunt without a moving equation follows the voltage back and forth: in the end it stays, and the report says so.
void count_start(Run& run, ShuntRow& row, bool moved) {
    if (moved || row.beside != Beside::nothing) return;
    ++row.starts;
    if (!stays(row)) return;
    row.moves = false;
    MSGPUT(run, "ESTSCA", -900, run.store.bus.NOINT(own_bus(run, row)), element::bus_number);
}

void meet_reactive(Run& run, double error, int k, bool shunt) {
    Store& s = run.store;
    if (error >= run.mat.state.residual.DQ) s.sol.NODEQ = shunt ? -s.bus.NOINT(k) : s.bus.NOINT(k);
    meet_residual(run, &Residuals::DQ, error, k);
}

// The susceptance in the reactive row of its own bus.
void write_column(Run& run, const ShuntRow& row) {
    link_of(run, row.to_own).to_from.L = -run.store.bus.VOLT(own_bus(run, row));
}

void write_relief(Run& run, const ShuntRow& row, Relieved by) {
    const double q = run.store.gen.QGEN(by.generator);
    const std::size_t r = row_of(run, row.equation);
    run.mat.diagonal[r].L = SLIGHT;
    run.mat.side[r].WORK = -q;
    link_of(run, by.branch).from_to.L = 1;
    write_column(run, row);
    meet_reactive(run, std::abs(q), run.store.gen.NOGEN(by.generator), false);
}

void write_target(Run& run, const ShuntRow& row, double target) {
    const double v = run.store.bus.VOLT(row.bus), error = target - v;
    const std::size_t r = row_of(run, row.equation);
    run.mat.diagonal[r].L = SLIGHT;
    run.mat.side[r].WORK = error / v;
    link_of(run, row.to_bus).from_to.L = 1;
    write_column(run, row);
    meet_residual(run, &Residuals::DS, std::abs(error), row.bus);
}

// On its way to a step, and not yet there however small the rest is.
void write_step(Run& run, ShuntRow& row) {
    const AutomaticShuntTables& t = run.store.sca;
    const double error = t.BSCAESP(row.shunt) - t.BSCA(row.shunt);
    if (error == 0) return;
    const std::size_t r = row_of(run, row.equation);
    row.moves = true;
    run.mat.diagonal[r].L = 1;
    run.mat.side[r].WORK = error;
    write_column(run, row);
    meet_reactive(run, std::abs(error), own_bus(run, row), true);
    meet_residual(run, &Residuals::DS, HELD, own_bus(run, row));
}

// A shunt at a limit acts again once what it helps no longer needs all of it.
void release(Run& run, ShuntRow& row) {
    Store& s = run.store;
    AutomaticShuntTables& t = s.sca;
    const int i = row.shunt, own = own_bus(run, row);
    if (!row.at_limit || t.ICONSCA(i) < 0 || t.ICONSCA(i) > MOST_RELEASES || t.KONSCA(i) <= 0) return;
    if (!run.mat.control.shunts_released(region(run, own)) || island_failed(run, own)) return;
    const double v = s.bus.VOLT(row.bus);
    double excess = 0;  // above 0: less of the shunt is wanted
    switch (row.beside) {
        case Beside::nothing: excess = v > t.VMAXSCA(i) ? 1 : v < t.VMINSCA(i) ? -1 : 0; break;
        case Beside::compensator: excess = -s.cer.QGCER(row.holder); break;
        case Beside::generator: excess = -s.gen.QGEN(row.holder); break;
        case Beside::remote_generators: {
            const int j = relieved_by(run, row).generator;
            excess = j ? -s.gen.QGEN(j) : 0;
            break;
        }
    }
    const bool leaves = t.NTSCA(i) == 2 ? excess > SAME : excess < -SAME;
    if (!leaves || row.lowest == row.highest || held(run, own)) return;
    row.at_limit = false;
    t.NTSCA(i) = 0;
    ++t.ICONSCA(i);
    meet_residual(run, &Residuals::DS, HELD, own);
}

// Shunt to b pu, at most to its limits. True when it met one.
bool move_within(Run& run, ShuntRow& row, double b) {
    AutomaticShuntTables& t = run.store.sca;
    const int i = row.shunt;
    if (!std::isfinite(b)) return false;
    const double to = std::clamp(b, row.lowest, row.highest);
    run.mat.BDIAG(own_bus(run, row)) += to - t.BSCA(i);
    t.BSCA(i) = to;
    t.NTSCA(i) = b <= row.lowest ? 1 : b >= row.highest ? 2 : 0;
    return t.NTSCA(i) != 0;
}

// --- the last steps

bool round_off(Run& run, ShuntRow& row) {
    AutomaticShuntTables& t = run.store.sca;
    const int i = row.shunt;
    t.BSCAESP(i) = t.BSCA(i);
    if (t.KONSCA(i) != 1) return false;
    t.KONSCA(i) = -1;
    const double to = step_for(t, i, run.store.bus.VOLT(row.bus), row.beside == Beside::nothing);
    if (std::abs(to - t.BSCA(i)) <= SAME) return false;
    t.BSCAESP(i) = to;
    meet_residual(run, &Residuals::DS, HELD, own_bus(run, row));
    return true;
}

// A voltage that is far outside of the band yet: one step further.
bool refine(Run& run, ShuntRow& row) {
    constexpr double FAR_BELOW = 0.9, FAR_ABOVE = 1.1;
    AutomaticShuntTables& t = run.store.sca;
    const int i = row.shunt;
    if (row.beside != Beside::nothing || std::abs(t.KONSCA(i)) != 1 || t.ICONSCA(i) < -1) return false;
    const double v = run.store.bus.VOLT(row.bus);
    const bool up = v < FAR_BELOW * t.VMINSCA(i);
    if (!up && !(v > FAR_ABOVE * t.VMAXSCA(i))) return false;
    const double to = next_step(t, i, up);
    if (std::abs(to - t.BSCA(i)) <= SAME) return false;
    t.ICONSCA(i) = t.ICONSCA(i) == -1 ? -2 : -1;
    move_within(run, row, to);
    t.BSCAESP(i) = t.BSCA(i);
    meet_residual(run, &Residuals::DS, HELD, own_bus(run, row));
    return true;
}

}  // namespace

bool build_shunts(Run& run) {
    Store& s = run.store;
    AutomaticShuntTables& t = s.sca;
    ControlWork& w = run.mat.control;
    w.shunts = 0;
    if (!run.opt["CSCA"_opt] || t.NSCA == 0) return true;
    for (auto* flags : {&w.shunts_awake, &w.shunts_released, &w.shunts_rounded}) flags->fill(regions(run), false);
    map_generators(run);
    auto& first = run.mat.work.first_shunt;
    first.fill(s.bus.NB, 0);
    for (int i : rows(t.NSCA)) {
        t.KONSCA(i) = std::abs(t.KONSCA(i));
        t.BSCAESP(i) = 0;
        t.ICONSCA(i) = 0;
        const int k = t.KBUSSCA(i);
        if (t.KONSCA(i) == 0 || k < 1 || k > s.bus.NB) continue;
        ShuntRow& row = w.shunt_row(++w.shunts) = {};
        row.shunt = i;
        row.bus = k;
        row.first = first(k) = first(k) ? int(first(k)) : w.shunts;
        const ShuntRange range = shunt_range(t, i);
        row.lowest = range.lowest;
        row.highest = range.highest;
        row.before = t.BSCA(i);
        const double limit = t.NTSCA(i) == 1 ? row.lowest : row.highest;
        if (t.NTSCA(i) && !(std::abs(t.BSCA(i) - limit) <= SAME)) t.NTSCA(i) = 0;
        row.at_limit = t.NTSCA(i) != 0;
        row.equation = add_fictitious_bus(run, Equation::automatic_shunt, w.shunts);
        find_holder(run, row);
        add_branches(run, row);
    }
    return equations_fit(run, "ESTSCA");
}

void assemble_shunts(Run& run) {
    ControlWork& w = run.mat.control;
    clear_residual(run, &Residuals::DS);
    if (w.shunts == 0) return;
    wake(run);
    for (int r : rows(w.shunts)) w.shunt_row(r).target = 0;
    for (int r : rows(w.shunts)) {
        ShuntRow& row = w.shunt_row(r);
        const bool moved = row.moves;
        row.moves = false;
        if (!free_to_move(run, row)) continue;
        const Relieved by = relieved_by(run, row);
        double& target = w.shunt_row(row.first).target;
        const double own_target = by.generator ? 0 : target_of(run, row);
        row.moves = by.generator || own_target != 0;
        if (row.moves) count_start(run, row, moved);
        if (row.moves && !by.generator && target == 0) target = own_target;
        if (row.moves && by.generator) write_relief(run, row, by);
    }
    for (int r : rows(w.shunts)) {
        ShuntRow& row = w.shunt_row(r);
        const int own = own_bus(run, row);
        if (row.moves && !relieved_by(run, row).generator)
            write_target(run, row, w.shunt_row(row.first).target);
        else if (run.store.sca.KONSCA(row.shunt) < 0 && w.shunts_awake(region(run, own)) && !island_failed(run, own))
            write_step(run, row);
    }
    for (int r : rows(w.shunts)) release(run, w.shunt_row(r));
}

bool restrain_shunts(Run& run) {
    ControlWork& w = run.mat.control;
    bool any = false;
    for (int r : rows(w.shunts)) {
        ShuntRow& row = w.shunt_row(r);
        if (!row.moves || run.store.sca.KONSCA(row.shunt) < 0) continue;
        const double far = row.highest - row.lowest + MARGIN;
        const double b = run.store.sca.BSCA(row.shunt) + run.mat.side[row_of(run, row.equation)].WORK;
        if (!std::isfinite(b) || (b > row.lowest - far && b < row.highest + far)) continue;
        row.at_limit = move_within(run, row, b);
        any = true;
    }
    return any;
}

void update_shunts(Run& run) {
    AutomaticShuntTables& t = run.store.sca;
    ControlWork& w = run.mat.control;
    for (int r : rows(w.shunts)) {
        ShuntRow& row = w.shunt_row(r);
        if (!row.moves || row.at_limit) continue;
        const int i = row.shunt;
        const double step = step_of(run, own_bus(run, row)), change = run.mat.side[row_of(run, row.equation)].WORK;
        if (t.KONSCA(i) < 0 && step == 1)
            move_within(run, row, t.BSCAESP(i));
        else
            row.at_limit = move_within(run, row, t.BSCA(i) + change * step);
    }
}

bool settle_shunts(Run& run) {
    ControlWork& w = run.mat.control;
    bool changed = false;
    for (int r : rows(w.shunts)) {
        ShuntRow& row = w.shunt_row(r);
        const int own = own_bus(run, row);
        if (island_failed(run, own)) continue;
        changed = (w.shunts_rounded(region(run, own)) ? refine(run, row) : round_off(run, row)) || changed;
    }
    for (int r : rows(w.shunts))
        if (const int own = own_bus(run, w.shunt_row(r)); !island_failed(run, own))
            w.shunts_rounded(region(run, own)) = true;
    return changed;
}

}  // namespace korvane
