// The multiplier m of a Newton correction that leaves the least squared mismatch along it.
//
//     mismatch after m of the correction = a + m b + m^2 c        a before it, b = -a, c second-order change
//     minimum of the sum of squares:  g3 m^3 + g2 m^2 + g1 m + g0 = 0
//     g0 = sum a b,  g1 = sum (b^2 + 2 a c),  g2 = 3 sum b c,  g3 = 2 sum c^2
//
// The rows are those of Newton, divided by their voltage, so the second order has a term for constant power besides
// those of the branches (S. Iwamoto, Y. Tamura, IEEE Trans. PAS-100, 1981, for the rectangular form).
#include <cmath>

#include "powerflow/load_models.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

/// Coefficients of the cubic.
struct Cubic {
    double g0 = 0, g1 = 0, g2 = 0, g3 = 0;
    void add(double a, double c) {
        const double b = -a;
        g0 += a * b;
        g1 += b * b + 2 * c * a;
        g2 += 3 * c * b;
        g3 += 2 * c * c;
    }
};

/// Its root by Newton's method from 1. A search that fails, a root above 1 or not above 0: the whole step.
double root(const Cubic& q) {
    constexpr double SMALL = double(0.000001f);
    constexpr int STEPS = 21;
    double m = 1;
    for (int i = 0;; ++i) {
        const double value = ((q.g3 * m + q.g2) * m + q.g1) * m + q.g0;
        if (std::abs(value) <= SMALL) break;
        if (i == STEPS) return 1;
        m -= value / ((3 * q.g3 * m + 2 * q.g2) * m + q.g1);
    }
    return m > 0 && m <= 1 ? m : 1;
}

/// Corrections of bus k over a full step: the angle in rad, the voltage in pu.
struct Correction {
    double angle, voltage;
};

Correction correction(const Run& run, int k) {
    const auto r = std::size_t(pattern(run).NORDER(k) - 1);
    const unsigned char held = run.mat.work.held[r];
    const Sides& d = run.mat.side[r];
    return {held & ANGLE_HELD ? 0 : d.DELTA, held & VOLTAGE_HELD ? 0 : d.WORK * run.store.bus.VOLT(k)};
}

/// Second order of P(V)/V over a voltage step dv: half of its second derivative times dv^2. Constant current has none,
/// and neither has constant impedance.
double second_order(double power, double slope, double bend, double v, double dv) {
    return (bend / 2 - (slope - power / v) / v) * dv * dv / v;
}

// Power that stands at the buses: generation and injections less load.
void add_power(const Run& run) {
    const Store& s = run.store;
    auto& c = run.mat.work.sum;
    auto add = [&](int k, const LoadAt& at, double sign) {
        const double v = s.bus.VOLT(k), dv = correction(run, k).voltage;
        c(k).DELTA += sign * second_order(at.power.p, at.slope.p, at.bend.p, v, dv);
        c(k).WORK += sign * second_order(at.power.q, at.slope.q, at.bend.q, v, dv);
    };
    auto constant = [](double p, double q) { return LoadAt{{p, q}, {0, 0}, {0, 0}}; };
    for (int k : rows(s.bus.NB)) {
        const int j = run.mat.work.NOBGEN(k);
        const Power load = nominal_load(s, k);
        c(k) = {0, 0};
        add(k, constant((j ? s.gen.PGEN(j) : 0) - load.p, (j ? s.gen.QGEN(j) : 0) - load.q), 1);
    }
    for (int i : rows(s.eqv.NEQV)) add(s.eqv.NOEQV(i), constant(s.eqv.PMAT(i), s.eqv.QMAT(i)), 1);
    for (int i : rows(s.fld.NFLD)) {
        const int k = s.fld.NOFLD(i);
        if (!k) continue;
        const Power load = nominal_load(s, k);
        add(k, constant(load.p, load.q), 1);  // the model stands for it
        add(k, bus_model(s, i, s.bus.VOLT(k)), -1);
    }
    for (int i : rows(s.cai.NCAI)) {
        const int k = s.cai.NOCAI(i);
        if (k && s.cai.STCAR(i)) add(k, individual_load(s, i, s.bus.VOLT(k), true), -1);
    }
}

// Second order of the branches: in the angle across, and mixed with the voltage of the far end. A, C of the end k are
// those of branch_terms; d is the angle step of k less that of m, dvm the voltage step of m.
//
//     dP/V of k:  -A d^2 / 2 + (C / Vm) d dvm        dQ/V of k:  C d^2 / 2 + (A / Vm) d dvm
void add_branches(const Run& run) {
    const Store& s = run.store;
    const BranchTables& br = s.branch;
    auto& c = run.mat.work.sum;
    auto end = [&](int k, int l, double sine, int m, double d, double dvm) {
        const double g = br.GKM(l), b = br.BKM(l), cosine = run.mat.COSDIK(l), half = s.bus.VOLT(m) * d / 2;
        const double active = b * sine + g * cosine, reactive = b * cosine - g * sine;
        c(k).DELTA += d * (reactive * dvm - active * half);
        c(k).WORK += d * (active * dvm + reactive * half);
    };
    for (int l : rows(br.NL)) {
        if (!br.STLIN(l)) continue;
        const int k = br.NFROM(l), m = br.NTO(l);
        const Correction at_k = correction(run, k), at_m = correction(run, m);
        const double d = at_k.angle - at_m.angle, sine = run.mat.SINDIK(l);
        end(k, l, sine, m, d, at_m.voltage);
        end(m, l, -sine, k, -d, at_k.voltage);
    }
}

// The two rows of bus k.
void add_bus(const Run& run, int k, Cubic& cubic) {
    const auto r = std::size_t(pattern(run).NORDER(k) - 1);
    const unsigned char held = run.mat.work.held[r];
    const Sides &a = run.mat.mismatch[r], &c = run.mat.work.sum(k);
    if (!(held & ANGLE_HELD)) cubic.add(a.DELTA, c.DELTA);
    if (!(held & (VOLTAGE_HELD | REACTIVE_FREE))) cubic.add(a.WORK, c.WORK);
}

}  // namespace

void choose_step(Run& run) {
    Store& s = run.store;
    add_power(run);
    add_branches(run);
    if (!run.opt["CILH"_opt]) {
        Cubic cubic;
        for (int k : rows(s.bus.NB)) add_bus(run, k, cubic);
        s.sol.XMI = root(cubic);
        return;
    }
    for (int i : rows(s.ilh.count)) {
        Cubic cubic;
        for (int k = s.ilh.IPILH2(i); k; k = s.ilh.LNKILH2(k)) add_bus(run, k, cubic);
        run.mat.island(i).XMI2 = root(cubic);
    }
}

}  // namespace korvane
