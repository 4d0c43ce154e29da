// A static compensator gives the reactive power Q to its own bus, of voltage Vt, and looks at the voltage Vc of the
// controlled bus. Q is the unknown, and its equation depends on the region:
//
//     at a limit       Q = B Vt^2            B: susceptance of all units at that limit
//     on the slope     Vc = VCER + s Q       s: slope of all units, over Vt when it acts on the current
#include "powerflow/static_compensators.hpp"

#include <cmath>

#include "powerflow/augmented.hpp"

namespace korvane {

namespace {

constexpr int HIGHEST = 1, SLOPE = 2, LOWEST = 3;  // KONCER
constexpr int ON_CURRENT = 2;                      // KONCNT
constexpr double LEAST_SLOPE = 1e-6;
/// Jumps over the slope, after which a compensator is not put back on it.
constexpr int MOST_JUMPS = 5;

/// The characteristic of compensator i at the present voltages, pu.
struct Characteristic {
    double s;                // slope
    double highest, lowest;  // Q at its limits
    double vc, vt;

    double from_slope(double reference) const { return (vc - reference) / s; }
};
Characteristic characteristic(const Store& s, int i) {
    const CompensatorTables& c = s.cer;
    const int units = std::max(1, c.NUCER(i));
    const double vt = s.bus.VOLT(c.NBECER(i)), slope = c.RCER(i) / units;
    return {.s = c.KONCNT(i) == ON_CURRENT ? slope / vt : slope,
            .highest = c.QCERMX(i) * units * vt * vt,
            .lowest = c.QCERMN(i) * units * vt * vt,
            .vc = s.bus.VOLT(c.NVKCER(i)),
            .vt = vt};
}

/// The region that the controlled voltage asks for. Without a range between the limits there is no slope.
int region_of(const Store& s, int i, const Characteristic& at) {
    const double reference = s.cer.VCER(i);
    if (at.vc < reference + at.s * at.highest) return HIGHEST;
    if (at.vc > reference + at.s * at.lowest) return LOWEST;
    return s.cer.QCERMN(i) < s.cer.QCERMX(i) ? SLOPE : HIGHEST;
}

bool acts(const Run& run, int i) {
    const Store& s = run.store;
    const int k = s.cer.NBECER(i);
    return s.cer.STUCER(i) && std::abs(s.bus.NTYPE(k)) <= 3 && std::abs(s.bus.NTYPE(s.cer.NVKCER(i))) <= 3 &&
           !island_failed(run, k);
}

// A jump from one limit to the other is not taken: the compensator starts again from the middle of its slope.
void start_on_slope(Run& run, int i) {
    Store& s = run.store;
    s.cer.KONCER(i) = SLOPE;
    s.cer.QGCER(i) = 0;
    if (const int k = s.cer.NVKCER(i); s.bus.NTYPE(k) <= 0) s.bus.VOLT(k) = s.cer.VCER(i);
}

}  // namespace

bool build_compensators(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.compensators = 0;
    for (int i : rows(s.cer.NCER)) {
        ControlWork::CompensatorRow& row = w.compensator_row(++w.compensators) = {};
        const int own = s.cer.NBECER(i), k = s.cer.NVKCER(i);
        if (const Characteristic at = characteristic(s, i); !s.cer.STUCER(i))
            s.cer.QGCER(i) = 0;
        else if (std::abs(at.s) >= LEAST_SLOPE) {
            const int region = s.cer.KONCER(i) = region_of(s, i, at);
            s.cer.QGCER(i) = region == HIGHEST  ? at.highest
                             : region == LOWEST ? at.lowest
                                                : at.from_slope(s.cer.VCER(i));
        }
        row.compensator = i;
        row.equation = add_fictitious_bus(run, Equation::compensator, i);
        row.to_own = add_fictitious_branch(run, row.equation, own);
        row.to_bus = k == own ? row.to_own : add_fictitious_branch(run, row.equation, k);
        bool shared = false;
        ControlledBuses& lists = w.held;
        for (int c = lists.head(k); c; c = lists.cell(c).next)
            if (Holder& code = lists.cell(c).code; code >= Holder::compensator)
                code = Holder::group_compensator, shared = true;
        append_cell(lists, k, shared ? Holder::group_compensator : Holder::compensator, i, w.compensators);
    }
    return equations_fit(run, "ETRCER");
}

void write_compensator_row(Run& run, const ControlledBuses::Cell& cell) {
    const Store& s = run.store;
    const int i = cell.device;
    if (!acts(run, i)) return;
    const ControlWork::CompensatorRow& row = run.mat.control.compensator_row(cell.number);
    const Characteristic at = characteristic(s, i);
    const double q = s.cer.QGCER(i);
    Block& own = run.mat.diagonal[row_of(run, row.equation)];
    double error;
    if (s.cer.KONCER(i) == SLOPE) {
        error = s.cer.VCER(i) - at.vc + at.s * q;
        own.L = -at.s;
        link_of(run, row.to_bus).from_to.L += at.vc;
        if (s.cer.KONCNT(i) == ON_CURRENT) link_of(run, row.to_own).from_to.L += at.s * q;
    } else {
        const double limit = s.cer.KONCER(i) == HIGHEST ? at.highest : at.lowest;
        error = q - limit;
        own.L = -1;
        link_of(run, row.to_own).from_to.L = 2 * limit;
    }
    run.mat.side[row_of(run, row.equation)].WORK = error;
    link_of(run, row.to_own).to_from.L = -1 / at.vt;
    meet_residual(run, &Residuals::DF, std::abs(error), s.cer.NBECER(i));
}

void update_compensators(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    for (int r : rows(w.compensators)) {
        ControlWork::CompensatorRow& row = w.compensator_row(r);
        const int i = row.compensator;
        if (!acts(run, i)) continue;
        s.cer.QGCER(i) += run.mat.side[row_of(run, row.equation)].WORK;
        const Characteristic at = characteristic(s, i);
        const int before = s.cer.KONCER(i), region = region_of(s, i, at);
        const bool range = s.cer.QCERMN(i) < s.cer.QCERMX(i);
        if (range && before != SLOPE && region != SLOPE && region != before && row.jumps <= MOST_JUMPS) {
            if (++row.jumps <= MOST_JUMPS) {
                start_on_slope(run, i);
                continue;
            }
            MSGPUT(run, "ETRCER", -900, s.bus.NOINT(s.cer.NBECER(i)), element::bus_number);
        }
        if (row.jumps <= MOST_JUMPS) s.cer.KONCER(i) = region;
        if (s.cer.KONCER(i) != SLOPE) s.cer.QGCER(i) = s.cer.KONCER(i) == HIGHEST ? at.highest : at.lowest;
    }
}

}  // namespace korvane
