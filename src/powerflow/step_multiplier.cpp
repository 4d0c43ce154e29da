// The multiplier m of a Newton correction that leaves the least squared mismatch along it.
//
//     mismatch after m of the correction = a + m b + m^2 c        a before it, b = -a, c second-order change
//     minimum of the sum of squares:  g3 m^3 + g2 m^2 + g1 m + g0 = 0
//     g0 = sum a b,  g1 = sum (b^2 + 2 a c),  g2 = 3 sum b c,  g3 = 2 sum c^2
//
// The rows are those of Newton, divided by their voltage, so the second order has a term for constant power besides
// those of the branches (S. Iwamoto, Y. Tamura, IEEE Trans. PAS-100, 1981, for the rectangular form).
#include <cmath>

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

// Second order of a constant power P at bus k in P/V: half of d2(P/V)/dV2 times dV^2, P being generation less load.
// Constant current has none, and neither has constant impedance, which is all that is left of a load below its VMINZ.
void add_constant_power(const Run& run) {
    const Store& s = run.store;
    auto& c = run.mat.work.sum;
    auto cube = [&](int k) {
        const double v = s.bus.VOLT(k), dv = correction(run, k).voltage;
        return dv * dv / (v * v * v);
    };
    for (int k : rows(s.bus.NB)) {
        const int j = run.mat.work.NOBGEN(k);
        const double p = (j ? s.gen.PGEN(j) : 0) - s.bus.PLOAD(k), q = (j ? s.gen.QGEN(j) : 0) - s.bus.QLOAD(k);
        const double third = cube(k);
        c(k) = {p * third, q * third};
    }
    for (int i : rows(s.eqv.NEQV)) {
        const int k = s.eqv.NOEQV(i);
        c(k).DELTA += s.eqv.PMAT(i) * cube(k);
        c(k).WORK += s.eqv.QMAT(i) * cube(k);
    }
    for (int i : rows(s.fld.NFLD)) {
        const int k = s.fld.NOFLD(i);
        const bool impedance = s.bus.VOLT(k) < s.fld.VMINZ(i);
        const double p = impedance ? 100 : s.fld.IPFLA(i) + s.fld.IPFLB(i);
        const double q = impedance ? 100 : s.fld.IQFLA(i) + s.fld.IQFLB(i);
        c(k).DELTA += p / 100 * s.bus.PLOAD(k) * cube(k);
        c(k).WORK += q / 100 * s.bus.QLOAD(k) * cube(k);
    }
    for (int i : rows(s.cai.NCAI)) {
        const int k = s.cai.NOCAI(i);
        if (!s.cai.STCAR(i)) continue;
        const bool above = s.bus.VOLT(k) >= s.cai.VMINZC(i);
        const int p = s.cai.IPVLA(i) + s.cai.IPVQB(i), q = s.cai.IQVLC(i) + s.cai.IQVQD(i);
        const double n = s.cai.NUNICOP(i) * cube(k) / 100;
        if (above || p < 1) c(k).DELTA -= (100 - p) * n * s.cai.PLOADI(i);
        if (above || q < 1) c(k).WORK -= (100 - q) * n * s.cai.QLOADI(i);
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
    if (!(held & VOLTAGE_HELD)) cubic.add(a.WORK, c.WORK);
}

}  // namespace

void choose_step(Run& run) {
    Store& s = run.store;
    add_constant_power(run);
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
