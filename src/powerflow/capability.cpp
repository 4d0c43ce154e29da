// Machines with a capability curve: their limits follow voltage and active power, and a machine at its limit stays on
// the curve by an equation of its own inside the Newton matrix.
#include "powerflow/capability.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/files.hpp"
#include "powerflow/augmented.hpp"

namespace korvane {

namespace {

/// sqrt of what the square of the active power leaves of the square of the whole, not below this: the slope of an arc
/// at its very end is infinite.
constexpr double LEAST_ROOT = 1e-6;

ReactiveLimit stator_limit(const RoundRotor& m, double v, double p) {
    const double root = std::sqrt(std::max(v * v * m.current * m.current - p * p, 0.0));
    return {root, v * m.current * m.current / std::max(root, LEAST_ROOT), Arc::stator};
}

/// Ef and its derivative by the voltage: the voltage behind Xq moves with the terminal voltage.
struct Excitation {
    double ef, slope;
};
Excitation rotor_excitation(const RoundRotor& m, double v) {
    const double along = v + m.reactive * m.reactance * m.current, across = m.active * m.reactance * m.current;
    const double rated = std::sqrt(along * along + across * across);
    return {m.excitation * rated, rated > 0 ? m.excitation * along / rated : m.excitation};
}

ReactiveLimit rotor_limit(const RoundRotor& m, const Excitation& e, double v, double p) {
    const double x2 = m.reactance * m.reactance;
    const double root = std::sqrt(std::max(v * v * e.ef * e.ef / x2 - p * p, 0.0));
    return {root - v * v / m.reactance,
            (v * e.ef * e.ef + v * v * e.ef * e.slope) / (x2 * std::max(root, LEAST_ROOT)) - 2 * v / m.reactance,
            Arc::rotor};
}

ReactiveLimit under_excitation_limit(const RoundRotor& m, double v, double p) {
    return {p / std::tan(m.angle) - v * v / m.reactance, -2 * v / m.reactance, Arc::under_excitation};
}

bool has_curve(const GeneratorTables& gen, int j) { return gen.XQ(j) > 0; }

bool dead(int type) { return std::abs(type) > 3; }
bool at_limit(int type) { return type == -2 || type == -3; }

/// Whether machine j is held against its lowest limit: at a limit, the nearer one; free, the one on the side of its
/// reactive power.
bool under_excited(const Store& s, int j) {
    const double q = s.gen.QGEN(j), low = std::abs(q - s.gen.QMIN(j)), high = std::abs(q - s.gen.QMAX(j));
    return at_limit(s.bus.NTYPE(s.gen.NOGEN(j))) && low != high ? low < high : !(q > 0);
}

/// The limit that the generation of machine j is held against; QMIN or QMAX takes it. Nothing when the machine cannot
/// carry its active power: both limits are 0 then.
std::optional<ReactiveLimit> take_limit(Run& run, int j) {
    GeneratorTables& gen = run.store.gen;
    const int k = gen.NOGEN(j);
    const Capability c = capability(machine_of(run.store, j), run.store.bus.VOLT(k), gen.PGEN(j));
    if (c.carries) {
        const bool lowest = under_excited(run.store, j);
        const ReactiveLimit& limit = lowest ? c.lowest : c.highest;
        (lowest ? gen.QMIN : gen.QMAX)(j) = limit.q;
        return limit;
    }
    gen.QMIN(j) = gen.QMAX(j) = 0;
    bool& told = run.mat.control.overloaded(j);
    if (!told) MSGPUT(run, "CALCQL", 100, run.store.bus.NOINT(k), element::bus_number);
    told = true;
    return std::nullopt;
}

bool curves_on(const Run& run) { return run.opt["QLIM"_opt] && !run.opt["NCAP"_opt]; }

// --- the file of the curves

// Rows of block CAPABI.
constexpr int MACHINE = 1, POINT = 2, LAST = 3, ARC_NAMES = 4;
constexpr double STEP = 0.001, CLOSED = 0.0001;  // pu
constexpr int MOST_POINTS = 20000;               // of one side; a machine too large for it takes longer steps

/// The curve of one machine from P = 0 to where its limits meet.
struct CurvePoint {
    double p;
    ReactiveLimit lowest, highest;
};
void trace(const RoundRotor& m, double v, std::vector<CurvePoint>& curve) {
    curve.clear();
    const double step = std::max(STEP, v * m.current / MOST_POINTS);
    for (int i = 0; i <= MOST_POINTS; ++i) {
        const double p = i * step;
        const Capability c = capability(m, v, p);
        if (!c.carries) break;
        curve.push_back({p, c.lowest, c.highest});
        if (!(c.highest.q - c.lowest.q > CLOSED)) break;
    }
}

}  // namespace

RoundRotor machine_of(const Store& s, int j) {
    const GeneratorTables& g = s.gen;
    // On a load bus with voltage limits VGEN is the scheduled reactive generation.
    const bool holds_voltage = std::abs(s.bus.NTYPE(g.NOGEN(j))) != 1 && g.VGEN(j) > 0;
    const double factor = std::clamp(g.FPNOM(j), -1.0, 1.0);
    return {.reactance = g.XQ(j),
            .current = g.FSRIA(j) * g.SNOMI(j) / (holds_voltage ? g.VGEN(j) : 1.0),
            .active = factor,
            .reactive = std::sqrt(1 - factor * factor),
            .excitation = g.FSRIR(j),
            .angle = g.ANGCG(j)};
}

Capability capability(const RoundRotor& m, double v, double p) {
    Capability c{};
    const Excitation field = rotor_excitation(m, v);
    c.carries = std::abs(p) <= v * m.current && std::abs(p) * m.reactance <= v * field.ef;
    if (!c.carries) return c;
    const ReactiveLimit rotor = rotor_limit(m, field, v, p), stator = stator_limit(m, v, p);
    c.highest = rotor.q < stator.q ? rotor : stator;
    c.lowest = {-stator.q, -stator.slope, Arc::stator};
    if (m.angle > 0) {
        const ReactiveLimit line = under_excitation_limit(m, v, p);
        if (line.q > c.lowest.q) c.lowest = line;
    }
    return c;
}

bool build_capability(Run& run) {
    GeneratorTables& gen = run.store.gen;
    ControlWork& w = run.mat.control;
    w.machines = 0;
    if (!run.opt["QLIM"_opt]) return true;
    if (run.opt["NCAP"_opt]) {
        for (int j : rows(gen.NG)) gen.QMIN(j) = gen.QMNO(j), gen.QMAX(j) = gen.QMXO(j);
        return true;
    }
    for (int j : rows(gen.NG)) {
        if (!has_curve(gen, j)) continue;
        const int f = add_fictitious_bus(run, Equation::capability, j);
        const int l = add_fictitious_branch(run, f, gen.NOGEN(j));
        w.machine(++w.machines) = {j, f, l, true};
        w.overloaded(j) = false;
    }
    return equations_fit(run, "ETRGER");
}

// The machine at its limit: QGEN = limit(V). The unknown is the change of QGEN, pu.
void assemble_capability(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    clear_residual(run, &Residuals::DGER);
    for (int i : rows(w.machines)) {
        ControlWork::MachineRow& row = w.machine(i);
        const int j = row.generator, k = s.gen.NOGEN(j), type = s.bus.NTYPE(k);
        if (dead(type)) continue;
        const auto limit = row.active ? take_limit(run, j) : std::nullopt;
        if (row.active && !limit && at_limit(type) && s.gen.QGEN(j) != 0) {  // it cannot carry its active power
            s.gen.QGEN(j) = 0;
            reopen_reactive(run, k);
        }
        row.active = true;
        if (!limit || !at_limit(type)) continue;  // the row stays as an equation out of play
        const double v = s.bus.VOLT(k), error = s.gen.QGEN(j) - limit->q;
        const std::size_t r = row_of(run, row.bus);
        const Link link = link_of(run, row.branch);  // from the fictitious bus to that of the machine
        run.mat.diagonal[r].L = -1;
        run.mat.side[r].WORK = error;
        link.from_to.L = limit->slope * v;
        link.to_from.L = -1 / v;
        meet_residual(run, &Residuals::DGER, std::abs(error), k);
    }
}

void update_capability(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    for (int i : rows(w.machines)) {
        const int j = w.machine(i).generator, type = s.bus.NTYPE(s.gen.NOGEN(j));
        if (dead(type)) continue;
        if (at_limit(type)) s.gen.QGEN(j) += run.mat.side[row_of(run, w.machine(i).bus)].WORK;
        w.machine(i).active = take_limit(run, j).has_value();
    }
}

void refresh_capability(Run& run) {
    Store& s = run.store;
    if (!curves_on(run)) return;
    for (int i : rows(run.mat.control.machines)) {
        const int j = run.mat.control.machine(i).generator;
        if (!dead(s.bus.NTYPE(s.gen.NOGEN(j)))) take_limit(run, j);
    }
}

void CAPABI(Run& run) {
    const Store& s = run.store;
    bool any = false;
    for (int j : rows(s.gen.NG)) any = any || has_curve(s.gen, j);
    if (!any) return;
    const Formats::Rows& format = load_rows(run, "CAPABI");
    OutputFile file("Capab.plt", OutputFile::Mode::create);
    std::vector<CurvePoint> curve;
    std::string text;
    auto line = [&](int row, std::initializer_list<Arg> values) {
        text.clear();
        format[std::size_t(row)].write(text, {values.begin(), values.size()});
        file.write(utf8_from_latin1(text));
        file.write("\n");
    };
    const double base = run.cte.BASE;
    auto point = [&](double p, const ReactiveLimit& q) {
        line(POINT, {p * base, q.q * base, format[std::size_t(ARC_NAMES + int(q.arc))].text()});
    };
    for (int j : rows(s.gen.NG)) {
        if (!has_curve(s.gen, j)) continue;
        const int k = s.gen.NOGEN(j);
        trace(machine_of(s, j), s.bus.VOLT(k), curve);
        line(MACHINE, {s.bus.NOINT(k), s.bus.BNAME(k), curve.size() * 2});
        for (auto at = curve.begin(); at != curve.end(); ++at) point(at->p, at->lowest);
        for (auto at = curve.rbegin(); at != curve.rend(); ++at) point(at->p, at->highest);
    }
    line(LAST, {0});
    file.flush();
    if (!file.good()) MSGPUT(run, "CAPABI", -900);
}

}  // namespace korvane
