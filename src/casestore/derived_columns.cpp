#include "casestore/derived_columns.hpp"

#include <algorithm>
#include <complex>

#include "network/motor.hpp"
#include "powerflow/sparse.hpp"

namespace korvane {

namespace {

/// A motor of the classic kind on the system base: its data are on that of its rating.
MotorCircuit circuit_of(const CaseContext& c, int m) {
    const MotorTables& t = c.run.store.mot;
    const double z = 1000 * c.run.cte.BASE / (t.HPBASE(m) * t.NUNID(m) * KW_PER_HORSEPOWER);
    return motor_circuit(t.RSTATO(m), t.XSTATO(m), t.XMAGNE(m), t.RROTOR(m), t.XROTOR(m), z);
}

/// Its admittance at its slip; none for a motor without data that make one.
std::complex<double> admittance_of(const CaseContext& c, int m) {
    const std::complex<double> y = motor_admittance(circuit_of(c, m), c.run.store.mot.SLIP(m));
    return std::isfinite(y.real()) && std::isfinite(y.imag()) ? y : 0.0;
}

bool classic(const MotorTables& t, int m) { return t.MOTIP(m) == 0; }

double* with_motors(CaseContext& c, int buffer, const double* diagonal, double (*part)(std::complex<double>)) {
    std::vector<double>& column = c.reals[buffer];
    column.assign(diagonal, diagonal + c.LINE(12));
    const MotorTables& t = c.s().mot;
    for (int m : rows(c.LINE(41)))
        if (classic(t, m) && t.STMOT(m)) column[std::size_t(t.NOMOT(m) - 1)] += part(admittance_of(c, m));
    return column.data();
}

}  // namespace

void* conductance_with_motors(CaseContext& c) {
    double* const diagonal = c.run.mat.GDIAG.data();
    if (!c.writing) return diagonal;
    return with_motors(c, 0, diagonal, [](std::complex<double> y) { return y.real(); });
}

void* susceptance_with_motors(CaseContext& c) {
    double* const diagonal = c.run.mat.BDIAG.data();
    if (!c.writing) return diagonal;
    return with_motors(c, 1, diagonal, [](std::complex<double> y) { return y.imag(); });
}

// The order of the last solution, as far as it is one of the buses at hand; a solution finds its own anew.
void* solver_rows(CaseContext& c) {
    const int n = c.LINE(12);
    const Pattern& p = c.run.mat.plain;
    c.integers.assign(std::size_t(n), 0);
    if (!c.writing) return c.integers.data();
    std::vector<bool> taken(std::size_t(n) + 1);
    bool order = true;
    for (int k : rows(n)) {
        const int row = p.NORDER(k);
        order = order && row >= 1 && row <= n && !taken[std::size_t(row)];
        if (!order) break;
        taken[std::size_t(row)] = true;
        c.integers[std::size_t(k - 1)] = row;
    }
    if (!order)
        for (int k : rows(n)) c.integers[std::size_t(k - 1)] = k;
    return c.integers.data();
}

// What flows from the bus into the stator, behind which the internal voltage lies. A motor that was never solved has
// none of either.
static void work_out_currents(CaseContext& c) {
    const Store& s = c.s();
    for (int i : {0, 1}) c.reals[i].assign(std::size_t(c.LINE(41)), 0.0);
    if (!c.writing) return;
    for (int m : rows(c.LINE(41))) {
        if (s.mot.VOLTMOT(m) == 0) continue;
        const int k = s.mot.NOMOT(m);
        const MotorCircuit z =
            classic(s.mot, m) ? circuit_of(c, m) : MotorCircuit{s.mot.RMOTOR(m), 0, s.mot.XLMOTO(m), 0, 0, 0};
        const std::complex<double> drop =
            std::polar(s.bus.VOLT(k), s.bus.ANGLE(k)) - std::polar(s.mot.VOLTMOT(m), s.mot.ANGLEMOT(m));
        const std::complex<double> current = drop / std::complex(z.r, z.x1);
        if (!std::isfinite(current.real()) || !std::isfinite(current.imag())) continue;
        c.reals[0][std::size_t(m - 1)] = std::abs(current);
        c.reals[1][std::size_t(m - 1)] = std::arg(current);
    }
}

void* motor_current(CaseContext& c) {
    work_out_currents(c);
    return c.reals[0].data();
}
void* motor_current_angle(CaseContext& c) { return c.reals[1].data(); }

void* generation_of_a_unit(CaseContext& c) {
    CompensatorTables& t = c.s().cer;
    if (!c.writing) return t.QGCER.data();
    c.reals[0].clear();
    for (int i : rows(c.LINE(63))) c.reals[0].push_back(t.QGCER(i) / std::max(1, t.NUCER(i)));
    return c.reals[0].data();
}

void gather_units(CaseContext& c) {
    CompensatorTables& t = c.s().cer;
    for (int i : rows(t.NCER)) t.QGCER(i) *= std::max(1, t.NUCER(i));
}

void* rows_of_fixed_taps(CaseContext& c) {
    const Store& s = c.s();
    c.integers.clear();
    for (int i : rows(c.LINE(65))) c.integers.push_back(s.branch.LITRF(s.tpf.row(i)));
    return c.integers.data();
}

void* bypassed_branches(CaseContext& c) {
    const Store& s = c.s();
    c.logicals = std::make_unique<bool[]>(std::size_t(c.LINE(17)));
    if (c.writing)
        for (int i : rows(c.LINE(47))) c.logicals[std::size_t(s.csc.LICSC(i) - 1)] = s.csc.STBYP(i);
    return c.logicals.get();
}

/// f(terminal row) for the AC bus of each converter when it is met first. Returns how many there are.
template <class F>
static int each_terminal(const Store& s, int converters, F&& f) {
    std::vector<int> met;
    for (int i : rows(converters)) {
        if (std::find(met.begin(), met.end(), int(s.cnv.INTBUS(i))) != met.end()) continue;
        met.push_back(s.cnv.INTBUS(i));
        f(int(s.cnv.INTLDC(i)));
    }
    return int(met.size());
}

int terminals_in_use(Store& s) {
    return std::min(each_terminal(s, rows_taken(s, s.cnv), [](int) {}), MXTRM);
}

static void* terminal_column(CaseContext& c, std::size_t buffer, const Table<double, MXTRM>& column) {
    std::vector<double>& values = c.reals[buffer];
    values.clear();
    if (c.writing) each_terminal(c.s(), c.LINE(34), [&](int t) { values.push_back(t ? column(t) : 0); });
    values.resize(MXTRM);
    return values.data();
}

void* terminal_power(CaseContext& c) { return terminal_column(c, 2, c.s().trm.PLDC); }
void* terminal_reactive(CaseContext& c) { return terminal_column(c, 3, c.s().trm.QLDC); }

void take_terminals(CaseContext& c) {
    TerminalTables& t = c.s().trm;
    for (int i : rows(std::min(t.NTRM, c.LINE(35)))) {
        t.PLDC(i) = c.reals[2][std::size_t(i - 1)];
        t.QLDC(i) = c.reals[3][std::size_t(i - 1)];
    }
}

void take_bypasses(CaseContext& c) {
    SeriesDeviceTables& t = c.s().csc;
    if (c.logicals)
        for (int i : rows(t.NCSC)) t.STBYP(i) = c.logicals[std::size_t(t.LICSC(i) - 1)];
}

/// A motor known by its type has the circuit of the type on the base of its rating.
static MotorCircuit circuit_of_type(MotorTables& t, int m) {
    const MotorType& type = MOTOR_TYPES[t.MOTIP(m) - 1];
    t.RSTATO(m) = type.rstato;
    t.XSTATO(m) = type.xstato;
    t.XMAGNE(m) = type.xmagne;
    t.RROTOR(m) = type.rrotor;
    t.XROTOR(m) = type.xrotor;
    return motor_circuit(type.rstato, type.xstato, type.xmagne, type.rrotor, type.xrotor,
                         1 / (t.PBASEMI(m) * t.NUNID(m)));
}

void rebuild_motors(CaseContext& c) {
    Store& s = c.s();
    MotorTables& t = s.mot;
    for (int m : rows(t.NMOT)) {
        const bool own = classic(t, m);
        const int k = t.NOMOT(m);
        const MotorCircuit z = own ? circuit_of(c, m) : circuit_of_type(t, m);
        const std::complex<double> y = own ? admittance_of(c, m) : 0.0;
        t.RMOTOR(m) = z.r;
        t.XMOTOR(m) = z.x;
        t.XLMOTO(m) = z.x1;
        t.RROTR(m) = z.rr;
        t.XROTR(m) = z.xr;
        t.XMAGN(m) = z.xm;
        t.GMOTOR(m) = y.real();
        t.BMOTOR(m) = y.imag();
        if (own && t.STMOT(m)) {  // the diagonal of the stream holds these
            c.run.mat.GDIAG(k) -= y.real();
            c.run.mat.BDIAG(k) -= y.imag();
        }
        const std::complex<double> v = std::polar(s.bus.VOLT(k), s.bus.ANGLE(k));
        const std::complex<double> current =
            c.version >= 64 ? std::polar(c.reals[0][std::size_t(m - 1)], c.reals[1][std::size_t(m - 1)]) : y * v;
        if (current == 0.0) continue;
        const std::complex<double> internal = v - current * std::complex(z.r, z.x1);
        t.VOLTMOT(m) = std::abs(internal);
        t.ANGLEMOT(m) = std::arg(internal);
    }
}

}  // namespace korvane
