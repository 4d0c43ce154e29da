// The unknown of a phase shifter is the change of its shift, which adds to the angle across the branch. Its equation
// holds the active power that the branch draws at the measured end e to the target T:
//
//     P(e) = T,     P(from) = t G Vk^2 - Vk A,     P(to) = G Vm^2 / t - Vm B
//
// with A, B, C, D of the branch as the network rows have them, G its conductance times the tap t. The derivatives by
// the shift are those by the angle across the branch.
#include "powerflow/phase_shifters.hpp"

#include <algorithm>
#include <cmath>

#include "powerflow/augmented.hpp"

namespace korvane {

namespace {

using ShifterRow = ControlWork::ShifterRow;

constexpr int CURRENT = 1;         // KONPHS
constexpr double AT_LIMIT = 1e-4;  // rad
/// Returns from a limit, after which a shifter stays there.
constexpr int MOST_RETURNS = 10;

int branch_of(const Store& s, int i) { return s.tap.NOTAP(s.phs.NOPHS(i)); }

/// The branch of a shifter: the numbers of the network rows, and the flow at the measured end with its derivatives.
struct Flow {
    int from, to, measured;
    double A, B, C, D;
    double p, target, target_slope;  // target_slope: by the logarithm of the voltage of the measured end
    double angle, by_from, by_to;    // dP by the angle across, by the logarithms of the voltages
    double error() const { return target - p; }
};
Flow flow_of(const Run& run, int i) {
    const Store& s = run.store;
    const int l = branch_of(s, i);
    const double g = s.branch.GKM(l), b = s.branch.BKM(l), t = s.tap.TAP(s.phs.NOPHS(i));
    const double sine = run.mat.SINDIK(l), cosine = run.mat.COSDIK(l);
    Flow f{};
    f.from = s.branch.NFROM(l);
    f.to = s.branch.NTO(l);
    const bool at_to = s.phs.NBEPHS(i) == f.to;
    f.measured = at_to ? f.to : f.from;
    const double vk = s.bus.VOLT(f.from), vm = s.bus.VOLT(f.to), v = s.bus.VOLT(f.measured);
    f.A = vm * (b * sine + g * cosine);
    f.B = vk * (g * cosine - b * sine);
    f.C = vm * (b * cosine - g * sine);
    f.D = vk * (g * sine + b * cosine);
    const double own = at_to ? g / t * vm * vm : g * t * vk * vk, mutual = at_to ? vm * f.B : vk * f.A;
    f.p = own - mutual;
    f.angle = at_to ? vm * f.D : -vk * f.C;
    f.by_from = at_to ? -mutual : 2 * own - mutual;
    f.by_to = at_to ? 2 * own - mutual : -mutual;
    f.target = s.phs.KONPHS(i) == CURRENT ? s.phs.VSPPHS(i) * v : s.phs.VSPPHS(i);
    f.target_slope = s.phs.KONPHS(i) == CURRENT ? f.target : 0;
    return f;
}

// Whether the shift at a limit is asked away from it.
void leave_limit(Run& run, ShifterRow& row, const Flow& f) {
    PhaseTables& p = run.store.phs;
    const int i = row.shifter;
    if (!shift_at_limit(run.store, i) || !(std::abs(f.error()) > run.cte.TEPA) || row.returns > MOST_RETURNS) return;
    // What the pass that stopped it left is no flow to go by yet, unless the network is solved.
    if (run.store.sol.NITP <= row.stopped && !(run.mat.state.residual.DP <= run.cte.TEPA)) return;
    const double wanted = f.error() / f.angle;
    const bool leaves = wanted < 0 ? p.PHS(i) - p.PHSMIN(i) > AT_LIMIT : p.PHSMAX(i) - p.PHS(i) > AT_LIMIT;
    if (!leaves) return;
    if (++row.returns > MOST_RETURNS)
        MSGPUT(run, "ESTPHS", -900, run.store.bus.NOINT(f.measured), element::bus_number);
    else
        p.FLGPHS(i) = false;
}

}  // namespace

bool controlled_shifter(const Store& s, int i) {
    const int n = s.phs.NOPHS(i);
    if (n < 1 || n > s.tap.NTAP) return false;
    const int l = s.tap.NOTAP(n);
    return l >= 1 && l <= s.branch.NL && s.branch.STLIN(l) && s.branch.LTYPE(l) == 6 && s.phs.KONPHS(i) != 0;
}

bool shift_at_limit(const Store& s, int i) {
    const PhaseTables& p = s.phs;
    return p.PHS(i) - p.PHSMIN(i) <= AT_LIMIT || p.PHSMAX(i) - p.PHS(i) <= AT_LIMIT;
}

bool build_phase_shifters(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.shifters = 0;
    if (!run.opt["CPHS"_opt]) return true;
    for (int i : rows(s.phs.NPHS)) {
        if (!controlled_shifter(s, i)) continue;
        ShifterRow& row = w.shifter_row(++w.shifters) = {};
        const int l = branch_of(s, i);
        row.shifter = i;
        row.stopped = -1;
        row.equation = add_fictitious_bus(run, Equation::phase_shifter, w.shifters);
        row.to_from = add_fictitious_branch(run, row.equation, s.branch.NFROM(l));
        row.to_to = add_fictitious_branch(run, row.equation, s.branch.NTO(l));
        if (s.phs.bridge(i)) row.returns = MOST_RETURNS + 1;
        s.phs.FLGPHS(i) = s.phs.bridge(i) || shift_at_limit(s, i);
    }
    return equations_fit(run, "ESTPHS");
}

void assemble_phase_shifters(Run& run) {
    ControlWork& w = run.mat.control;
    for (int r : rows(w.shifters)) {
        ShifterRow& row = w.shifter_row(r);
        row.moves = false;
        const Flow f = flow_of(run, row.shifter);
        if (island_failed(run, f.from)) continue;
        if (run.store.phs.FLGPHS(row.shifter)) leave_limit(run, row, f);
        if (run.store.phs.FLGPHS(row.shifter)) continue;
        row.moves = true;
        const std::size_t at = row_of(run, row.equation);
        const Link from = link_of(run, row.to_from), to = link_of(run, row.to_to);
        run.mat.side[at].WORK = f.error();
        run.mat.diagonal[at].L = f.angle;
        from.from_to = {.H = 0, .J = f.angle, .N = 0, .L = f.by_from};
        to.from_to = {.H = 0, .J = -f.angle, .N = 0, .L = f.by_to};
        (f.measured == f.from ? from : to).from_to.L -= f.target_slope;
        from.to_from = {.H = 0, .J = 0, .N = -f.C, .L = -f.A};
        to.to_from = {.H = 0, .J = 0, .N = f.D, .L = f.B};
        meet_flow_residual(run, std::abs(f.error()), f.measured);
    }
}

void update_phase_shifters(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    for (int r : rows(w.shifters)) {
        ShifterRow& row = w.shifter_row(r);
        if (!row.moves) continue;
        const int i = row.shifter, from = s.branch.NFROM(branch_of(s, i));
        double change = run.mat.side[row_of(run, row.equation)].WORK * step_of(run, from);
        if (run.opt["STEP"_opt] && std::abs(change) > run.cte.ASTP) change = std::copysign(run.cte.ASTP, change);
        if (!std::isfinite(change)) continue;
        const double to = s.phs.PHS(i) + change;
        const double lowest = s.phs.PHSMIN(i), highest = std::max(lowest, s.phs.PHSMAX(i));
        s.phs.PHS(i) = std::clamp(to, lowest, highest);
        if (to == s.phs.PHS(i)) continue;
        s.phs.FLGPHS(i) = true;
        row.stopped = s.sol.NITP;
    }
}

}  // namespace korvane
