// The unknown of a series compensator is the change of its susceptance B, carried in the angle half of its pair. With k
// the end where the flow is measured, m the other one, and s, c sine and cosine of the angle of k less that of m:
//
//     T / Vk + Vm B s = 0
//
// The flow out of k being -Vk Vm B s. The target T is a power, or a current times Vk.
#include "powerflow/series_compensators.hpp"

#include <cmath>

#include "powerflow/augmented.hpp"

namespace korvane {

namespace {

using SeriesRow = ControlWork::SeriesRow;

constexpr int CURRENT = 2, HELD_REACTANCE = 3;  // KONCSC
/// Returns from a limit, after which a compensator stays there.
constexpr int MOST_RETURNS = 10;
/// A reactance this near to a step, in steps, is on it.
constexpr double ON_STEP = 1e-6;

bool in_service(const Run& run, int i) {
    const Store& s = run.store;
    const int l = s.csc.LICSC(i);
    return l >= 1 && l <= s.branch.NL && s.branch.STLIN(l) && s.csc.KONCSC(i) != HELD_REACTANCE &&
           !island_failed(run, s.branch.NFROM(l));
}

/// The compensator seen from the end where it is measured.
struct View {
    int l, k, m;
    double vk, vm, s, c;
    double target;        // T / Vk
    double target_slope;  // minus its derivative by the logarithm of Vk
    double flow(double b) const { return -vk * vm * b * s; }
};
View view(const Run& run, int i) {
    const Store& s = run.store;
    const int l = s.csc.LICSC(i), from = s.branch.NFROM(l), to = s.branch.NTO(l);
    const bool at_to = s.csc.NBECSC(i) == to;
    View v{};
    v.l = l;
    v.k = at_to ? to : from;
    v.m = at_to ? from : to;
    v.vk = s.bus.VOLT(v.k);
    v.vm = s.bus.VOLT(v.m);
    v.s = at_to ? -run.mat.SINDIK(l) : run.mat.SINDIK(l);
    v.c = run.mat.COSDIK(l);
    const bool current = s.csc.KONCSC(i) == CURRENT;
    v.target = current ? s.csc.VSPCSC(i) : s.csc.VSPCSC(i) / v.vk;
    v.target_slope = current ? 0 : v.target;
    return v;
}

void set_susceptance(Run& run, int l, double b) {
    BranchTables& br = run.store.branch;
    const double change = b - br.BKM(l);
    run.mat.BDIAG(br.NFROM(l)) += change;
    run.mat.BDIAG(br.NTO(l)) += change;
    br.BKM(l) = b;
}

/// Whether the equations of the island of bus k were met on this pass: under CILH it does not wait for the others.
bool island_solved(const Run& run, int k) {
    const Store& s = run.store;
    return run.opt["CILH"_opt] ? run.mat.island(s.ilh.NOILHA2(k)).KONLF2 == 1 : s.sol.CONVSTAT == 1;
}

void go_on(Run& run, int k, bool note) {
    run.store.sol.CONVSTAT = 0;
    if (run.opt["CILH"_opt]) run.mat.island(run.store.ilh.NOILHA2(k)).KONLF2 = 0;
    if (note) note_switch(run.mat.state, run.store.bus.NOINT(k));
}

// Before the first of them reopens its island, so that all of it move on the same pass.
void note_solved(Run& run) {
    ControlWork& w = run.mat.control;
    for (int r : rows(w.series_devices)) {
        SeriesRow& row = w.series_row(r);
        const int k = run.store.csc.NBECSC(row.device);
        row.solved = in_service(run, row.device) && island_solved(run, k);
    }
}

// A compensator stops at a limit of its susceptance.
void stop_at(Run& run, int i, double limit) {
    SeriesDeviceTables& csc = run.store.csc;
    set_susceptance(run, csc.LICSC(i), limit);
    csc.NTYCSC(i) = false;
    go_on(run, csc.NBECSC(i), true);
}

}  // namespace

bool build_series_compensators(Run& run) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.series_devices = 0;
    for (int i : rows(s.csc.NCSC)) {
        const int l = s.csc.LICSC(i);
        if (l < 1 || l > s.branch.NL) continue;
        SeriesRow& row = w.series_row(++w.series_devices) = {};
        const bool on = s.branch.STLIN(l) && s.csc.KONCSC(i) != HELD_REACTANCE;
        row.device = i;
        row.equation = add_fictitious_bus(run, Equation::series_device, w.series_devices);
        row.to_from = add_fictitious_branch(run, row.equation, s.branch.NFROM(l), on);
        row.to_to = add_fictitious_branch(run, row.equation, s.branch.NTO(l), on);
    }
    return equations_fit(run, "ETRCSC");
}

void assemble_series_compensators(Run& run) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    const bool armed = s.sol.NITP >= 1;
    for (int r : rows(w.series_devices)) {
        const SeriesRow& row = w.series_row(r);
        const int i = row.device;
        if (!in_service(run, i) || !s.csc.NTYCSC(i)) continue;
        const View v = view(run, i);
        const double b = s.branch.BKM(v.l), error = v.target + v.vm * b * v.s;
        meet_flow_residual(run, std::abs(error) * v.vk, v.k);
        if (!armed || v.s == 0) continue;
        const bool at_to = s.csc.NBECSC(i) == s.branch.NTO(v.l);
        const Link own = link_of(run, at_to ? row.to_to : row.to_from);
        const Link far = link_of(run, at_to ? row.to_from : row.to_to);
        const std::size_t f = row_of(run, row.equation);
        run.mat.diagonal[f].H = -v.vm * v.s;
        run.mat.side[f].DELTA = error;
        own.from_to = {.H = -v.vm * b * v.c, .J = 0, .N = v.target_slope, .L = 0};
        own.to_from = {.H = -v.vm * v.s, .J = v.vm * v.c - v.vk, .N = 0, .L = 0};
        far.from_to = {.H = v.vm * b * v.c, .J = 0, .N = -v.vm * b * v.s, .L = 0};
        far.to_from = {.H = v.vk * v.s, .J = v.vk * v.c - v.vm, .N = 0, .L = 0};
    }
}

void update_series_compensators(Run& run) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    for (int r : rows(w.series_devices)) {
        const SeriesRow& row = w.series_row(r);
        if (!in_service(run, row.device) || !s.csc.NTYCSC(row.device)) continue;
        double change = run.mat.side[row_of(run, row.equation)].DELTA;
        if (run.opt["STEP"_opt] && std::abs(change) > run.cte.CSTP) change = std::copysign(run.cte.CSTP, change);
        const int l = s.csc.LICSC(row.device);
        if (std::isfinite(change)) set_susceptance(run, l, s.branch.BKM(l) + change);
    }
}

bool restrain_series_compensators(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    bool any = false;
    for (int r : rows(w.series_devices)) {
        const SeriesRow& row = w.series_row(r);
        const int i = row.device, l = s.csc.LICSC(i);
        if (!in_service(run, i) || !s.csc.NTYCSC(i)) continue;
        const double lowest = s.csc.BMNCSC(i), highest = s.csc.BMXCSC(i), range = highest - lowest;
        const double b = s.branch.BKM(l) + run.mat.side[row_of(run, row.equation)].DELTA;
        if (!std::isfinite(b) || (b > lowest - range && b < highest + range)) continue;
        stop_at(run, i, b < lowest ? lowest : highest);
        any = true;
    }
    return any;
}

bool round_series_compensators(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    bool moved = false;
    note_solved(run);
    for (int r : rows(w.series_devices)) {
        SeriesRow& row = w.series_row(r);
        const int i = row.device, l = s.csc.LICSC(i);
        if (row.rounded || s.csc.NSTCSC(i) <= 0 || !in_service(run, i)) continue;
        if (run.opt["CILH"_opt] && !row.solved) continue;
        row.rounded = true;
        s.csc.NTYCSC(i) = false;
        const double least = -1 / s.csc.BMNCSC(i), greatest = -1 / s.csc.BMXCSC(i), z = -1 / s.branch.BKM(l);
        const double range = (greatest - least) / s.csc.NSTCSC(i), step = range == 0 ? 1 : range;
        const double to = least + std::trunc((z - least) / step + ON_STEP) * step;
        if (std::abs(to - z) <= ON_STEP * step) continue;
        set_susceptance(run, l, -1 / to);
        go_on(run, s.csc.NBECSC(i), false);
        moved = true;
    }
    return moved;
}

void check_series_compensators(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    if (run.opt["CILH"_opt]) round_series_compensators(run);
    if (s.sol.NITP < 2 && s.sol.CONVSTAT != 1) return;
    note_solved(run);
    for (int r : rows(w.series_devices)) {
        SeriesRow& row = w.series_row(r);
        const int i = row.device, l = s.csc.LICSC(i);
        if (!in_service(run, i)) continue;
        const double b = s.branch.BKM(l), lowest = s.csc.BMNCSC(i), highest = s.csc.BMXCSC(i);
        if (s.csc.NTYCSC(i)) {
            if (b >= lowest && b <= highest) continue;
            stop_at(run, i, b < lowest ? lowest : highest);
            continue;
        }
        // What was rounded stands: it would come back to the same step. A flow that is not solved yet frees nothing: it
        // may be that of the step which was cut off.
        if (row.rounded || !row.solved || (b != lowest && b != highest)) continue;
        const View v = view(run, i);
        const double sign = s.csc.VSPCSC(i) < 0 ? -1 : 1, beyond = sign * (v.flow(b) - v.target * v.vk);
        const bool leaves = (b == lowest && beyond > run.cte.TEPA) || (b == highest && beyond < -run.cte.TEPA);
        if (!leaves || lowest == highest || row.returns > MOST_RETURNS) continue;
        if (++row.returns > MOST_RETURNS) {
            MSGPUT(run, "ETRCSC", -900, s.bus.NOINT(v.k), element::bus_number);
            continue;
        }
        s.csc.NTYCSC(i) = true;
        go_on(run, v.k, true);
    }
}

}  // namespace korvane
