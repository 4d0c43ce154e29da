// Networks that tests fill straight into the store, and the balance of a bus worked out with complex numbers.
#pragma once
#include <cmath>
#include <complex>
#include <random>
#include <sstream>
#include <stdexcept>

#include "powerflow/solver.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/rows.hpp"

namespace korvane::testing {

/// A started run whose store a test fills bus by bus. Values in per unit and radians; buses numbered 10, 20, 30, ...,
/// and on from 1 when these run out.
class Network {
public:
    Session session;
    Run& run;
    Store& s;

    Network() : run(session.start().run), s(run.store) { run.opt.restore(); }

    int bus(int type, double v = 1, double p = 0, double q = 0) {
        const int k = add_row(s.bus);
        s.bus.NOINT(k) = 10 * (k % 9999) + k / 9999;
        s.bus.BNAME(k) = "BARRA-" + std::to_string(s.bus.NOINT(k));
        set_row(s.bus, k, "NTYPE", type, "VOLT", v, "PLOAD", p, "QLOAD", q, "IAREA", 1);
        note_bus(s, k);
        return k;
    }
    /// A bus with a generator: type 2 or 3 holds its voltage, 0 gives what it is told.
    int generator(int type, double v, double p = 0, double q = 0) {
        const int k = bus(type, v), j = add_row(s.gen);
        set_row(s.gen, j, "NOGEN", k, "PGEN", p, "QGEN", q, "VGEN", v, "QMIN", -99, "QMNO", -99, "QMAX", 99, "QMXO",
                99);
        if (std::abs(type) == 3) {
            put_row(s.slk, "NGSLK", j, "PSLK", p);
        }
        return k;
    }
    /// A branch; a is the tap on the from side, 1 for none, shift is added to the angle across it.
    int branch(int from, int to, double r, double x, double charging = 0, double a = 1, double shift = 0) {
        const int l = add_row(s.branch);
        const std::complex<double> y = 1.0 / std::complex<double>(r, x) / a;
        set_row(s.branch, l, "NFROM", from, "NTO", to, "NCIR", l % 99 + 1, "GKM", y.real(), "BKM", y.imag(), "BC",
                charging / 2);
        if (a != 1 || shift != 0) {
            s.branch.LTYPE(l) = shift != 0 ? 2 : 1;
            const int n = put_row(s.tap, "NOTAP", l, "TAP", 1 / a, "TPMIN", a, "TPMAX", a);
            if (shift != 0) {
                put_row(s.phs, "NOPHS", n, "PHS", shift);
            }
        }
        return l;
    }
    void shunt(int k, double b) { put_row(s.sht, "NOSHT", k, "SHUNT", b); }
    /// Reactive limits of generator j, those of the data and those in force.
    void limits(int j, double low, double high) {
        set_row(s.gen, j, "QMIN", low, "QMNO", low, "QMAX", high, "QMXO", high);
    }
    /// A generator at a bus that is there, which then holds v between limits. Returns its row.
    int machine(int k, double v, double low, double high) {
        set_row(s.bus, k, "NTYPE", 2, "VOLT", v);
        const int j = put_row(s.gen, "NOGEN", k, "VGEN", v);
        limits(j, low, high);
        return j;
    }
    /// Generator j is to hold the voltage of bus k. Returns the row of its remote control.
    int remote(int j, int k, double v) {
        run.opt.set("CREM"_opt);
        return put_row(s.rcb, "ICB", j, "IRCB", k, "VRCB", v);
    }
    /// The last tap is to hold bus k at v; minus k: the voltage falls as the tap rises. Returns its row.
    int control_tap(int k, double v, double low = 0.9, double high = 1.1) {
        const int t = s.tap.NTAP;
        s.branch.LTYPE(s.tap.NOTAP(t)) = 3;
        set_row(s.tap, t, "TPMIN", low, "TPMAX", high, "KBUS", k, "VBUS", v);
        return t;
    }
    int area(int number, double export_pu = 0) {
        const int i = put_row(s.area, "NAINT", number, "AREINT", export_pu);
        return i;
    }
    /// Elements from a text: "slack 1.0; gen 1.01 .2; load .3 .1; bus; 1-2 .01 .1" has generators by their voltage and
    /// power, loads, a bus with nothing, and a branch between buses 1 and 2, all with the arguments above.
    Network& make(std::string_view elements) {
        std::istringstream items{std::string(elements)};
        for (std::string item; std::getline(items, item, ';');) {
            std::istringstream words(item);
            std::string kind;
            words >> kind;
            std::vector<double> x(6);
            for (std::size_t i = 0; words >> x[i]; ++i) {
            }
            int from = 0, to = 0;
            if (kind == "slack" || kind == "gen")
                generator(kind == "slack" ? 3 : 2, x[0], x[1], x[2]);
            else if (kind == "load" || kind == "bus")
                bus(0, 1, x[0], x[1]);
            else if (std::sscanf(kind.c_str(), "%d-%d", &from, &to) == 2)
                branch(from, to, x[0], x[1], x[2], x[3] == 0 ? 1 : x[3], x[4]);
            else
                throw std::logic_error("no element: " + item);
        }
        return *this;
    }
    /// The address lists, once everything is in.
    Network& ready() {
        if (s.area.NAREA == 0) area(1);
        order_rows(s);
        link_branch_rows(s);
        ADRLIN(run);
        ADRARE(s);
        return *this;
    }
    /// PWFSOL with tight tolerances.
    Network& solve() {
        run.cte.TEPA = run.cte.TEPR = 1e-9;
        PWFSOL(run);
        return *this;
    }
    int at(int number) const { return bus_of(s, number); }
};

inline std::complex<double> voltage(const Store& s, int k) { return std::polar(s.bus.VOLT(k), s.bus.ANGLE(k)); }

/// Power that branch l draws at its two ends, by its pi circuit in complex numbers.
inline std::pair<std::complex<double>, std::complex<double>> drawn(const Store& s, int l) {
    using C = std::complex<double>;
    const auto& b = s.branch;
    if (!b.STLIN(l) && b.STLIND(l) == b.STLINP(l)) return {0, 0};
    double t = 1, shift = 0;
    for (int n : rows(s.tap.NTAP))
        if (s.tap.NOTAP(n) == l) {
            t = s.tap.TAP(n);
            for (int f : rows(s.phs.NPHS))
                if (s.phs.NOPHS(f) == n) shift = s.phs.PHS(f);
        }
    const C y = C(b.GKM(l), b.BKM(l)) / t, charging(0, b.BC(l));
    const C vf = voltage(s, b.NFROM(l)), vt = voltage(s, b.NTO(l));
    if (!b.STLIN(l)) {  // one end open: the far end floats behind y
        C far = charging, near = charging;
        const bool from = b.STLIND(l);
        for (int i : rows(s.shl.NSHL))
            if (s.shl.LISHL(i) == l) {
                if (s.shl.STSHLD(i)) (from ? near : far) += C(0, s.shl.SHLFR(i));
                if (s.shl.STSHLP(i)) (from ? far : near) += C(0, s.shl.SHLTO(i));
            }
        const C yy = C(b.GKM(l), b.BKM(l)), seen = 1.0 / (1.0 / yy + 1.0 / far) + near;
        const C v = from ? vf : vt, drawn = v * std::conj(seen * v);
        return from ? std::pair{drawn, C(0)} : std::pair{C(0), drawn};
    }
    const C inside = vf * std::polar(t, shift), current = y * (inside - vt);
    return {inside * std::conj(current) + vf * std::conj(charging * vf),
            -vt * std::conj(current) + vt * std::conj(charging * vt)};
}

/// A load under a model with per cent a of constant current and b of constant impedance.
inline double drawn_load(double nominal, int a, int b, double v, double reference, double lowest) {
    const double x = v / reference;
    if (v >= lowest) return nominal + (a * (x - 1) + b * (x * x - 1)) * nominal / 100;
    return nominal / 100 * ((100 - a - b) * std::pow(v / lowest, 2) + a * v * v / (reference * lowest) + b * x * x);
}

/// What all loads of each bus draw. In the equations of the solver an individual load of constant power stays so.
inline std::vector<std::complex<double>> loads_drawn(const Store& s, bool solved) {
    std::vector<std::complex<double>> sum(std::size_t(s.bus.NB + 1));
    for (int k : rows(s.bus.NB)) sum[std::size_t(k)] = {s.bus.PLOAD(k), s.bus.QLOAD(k)};
    for (int i : rows(s.fld.NFLD)) {
        const int k = s.fld.NOFLD(i);
        const double v = s.bus.VOLT(k), vf = s.bus.FVOLT(k), vz = s.fld.VMINZ(i);
        sum[std::size_t(k)] = {drawn_load(s.bus.PLOAD(k), s.fld.IPFLA(i), s.fld.IPFLB(i), v, vf, vz),
                               drawn_load(s.bus.QLOAD(k), s.fld.IQFLA(i), s.fld.IQFLB(i), v, vf, vz)};
    }
    for (int i : rows(s.cai.NCAI)) {
        if (!s.cai.STCAR(i)) continue;
        const int k = s.cai.NOCAI(i);
        auto drawn = [&](double unit, int a, int b) {
            const double nominal = unit * s.cai.NUNICOP(i);
            if (solved && a == 0 && b == 0) return nominal;
            return drawn_load(nominal, a, b, s.bus.VOLT(k), s.cai.FVOLTC(i), s.cai.VMINZC(i));
        };
        sum[std::size_t(k)] += std::complex(drawn(s.cai.PLOADI(i), s.cai.IPVLA(i), s.cai.IPVQB(i)),
                                            drawn(s.cai.QLOADI(i), s.cai.IQVLC(i), s.cai.IQVQD(i)));
    }
    return sum;
}

/// What is left over at each bus: generation less load, shunts and branches. Zero at a solved bus.
inline std::vector<std::complex<double>> imbalance(const Store& s) {
    using C = std::complex<double>;
    std::vector<C> sum(std::size_t(s.bus.NB + 1));
    auto at = [&](int k) -> C& { return sum[std::size_t(k)]; };
    const std::vector<C> load = loads_drawn(s, true);
    for (int k : rows(s.bus.NB)) at(k) -= load[std::size_t(k)];
    for (int j : rows(s.gen.NG)) at(s.gen.NOGEN(j)) += C(s.gen.PGEN(j), s.gen.QGEN(j));
    for (int i : rows(s.eqv.NEQV)) {
        const double v2 = std::norm(voltage(s, s.eqv.NOEQV(i)));
        at(s.eqv.NOEQV(i)) += C(s.eqv.PMAT(i), s.eqv.QMAT(i) + s.eqv.FSH(i) * v2);
    }
    for (int i : rows(s.sht.NSHT)) at(s.sht.NOSHT(i)) += C(0, s.sht.SHUNT(i) * std::norm(voltage(s, s.sht.NOSHT(i))));
    for (int i : rows(s.sca.NSCA)) {
        const int k = s.sca.NBUSSCA(i);
        at(k) += C(0, s.sca.BSCA(i) * std::norm(voltage(s, k)));
    }
    for (int i : rows(s.cer.NCER))
        if (s.cer.STUCER(i)) at(s.cer.NBECER(i)) += C(0, s.cer.QGCER(i));
    for (int i : rows(s.shl.NSHL)) {
        const int l = s.shl.LISHL(i), f = s.branch.NFROM(l), t = s.branch.NTO(l);
        if (!s.branch.STLIN(l)) continue;  // an open line has them in what it draws
        if (s.shl.STSHLD(i)) at(f) += C(0, s.shl.SHLFR(i) * std::norm(voltage(s, f)));
        if (s.shl.STSHLP(i)) at(t) += C(0, s.shl.SHLTO(i) * std::norm(voltage(s, t)));
    }
    for (int l : rows(s.branch.NL)) {
        if (!s.bus.STBUS(s.branch.NFROM(l)) || !s.bus.STBUS(s.branch.NTO(l))) continue;
        const auto [from, to] = drawn(s, l);
        at(s.branch.NFROM(l)) -= from;
        at(s.branch.NTO(l)) -= to;
    }
    for (int k : rows(s.bus.NB))
        if (!s.bus.STBUS(k)) at(k) = 0;
    return sum;
}

inline double worst_imbalance(const Store& s) {
    double worst = 0;
    for (const auto& left : imbalance(s))
        if (!(std::abs(left) <= worst)) worst = std::abs(left);  // what is not a number stays
    return worst;
}

/// A ring with chords, loads, generators, taps, shifters, shunts, parallel and open-ended branches.
inline void random_network(Network& n, unsigned seed, int buses = 40) {
    std::mt19937 random(seed);
    auto uniform = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); };
    auto any = [&](int limit) { return int(random() % unsigned(limit)) + 1; };
    n.generator(3, 1.03);
    for (int k = 2; k <= buses; ++k) {
        if (k % 5 == 0)
            n.generator(2, uniform(0.99, 1.04), uniform(0, 0.4));
        else if (k % 11 == 0)
            n.generator(0, 1, uniform(0, 0.1), uniform(-0.05, 0.05));
        else
            n.bus(0, 1, uniform(0, 0.12), uniform(-0.03, 0.06));
    }
    for (int k = 1; k <= buses; ++k)
        n.branch(k, k % buses + 1, uniform(0, 0.01), uniform(0.02, 0.08), uniform(0, 0.05));
    for (int i = 0; i < buses / 2; ++i) {
        const int k = any(buses), m = any(buses);
        if (k == m) continue;
        const double a = i % 3 == 0 ? uniform(0.95, 1.05) : 1, shift = i % 6 == 0 ? uniform(-0.05, 0.05) : 0;
        const int l = n.branch(k, m, uniform(0, 0.02), uniform(0.05, 0.2), a == 1 ? uniform(0, 0.1) : 0, a, shift);
        if (i % 4 == 1) n.branch(m, k, 0.001, uniform(0.05, 3), 0.01);  // parallel, the other way round
        if (i % 7 == 2) {
            n.s.branch.STLIN(l) = false;
            (i % 2 ? n.s.branch.STLIND(l) : n.s.branch.STLINP(l)) = false;
        }
        if (i % 5 == 3 && a == 1) {
            const int h = add_row(n.s.shl);
            n.s.shl.LISHL(h) = l;
            n.s.shl.SHLFR(h) = uniform(-0.1, 0.1);
            n.s.shl.SHLTO(h) = uniform(-0.1, 0.1);
            n.s.shl.STSHLP(h) = i % 2;
        }
    }
    for (int k = 3; k <= buses; k += 9) n.shunt(k, uniform(-0.1, 0.1));
    const int e = add_row(n.s.eqv);
    n.s.eqv.NOEQV(e) = any(buses);
    set_row(n.s.eqv, e, "PMAT", 0.1, "QMAT", -0.02, "FSH", 0.03);
    n.ready();
}

/// Load models on every third bus and individual loads on every fourth; half of them stand below their voltage limit.
inline void add_voltage_loads(Network& n, unsigned seed) {
    std::mt19937 random(seed);
    auto percent = [&] { return int(random() % 51); };
    auto uniform = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); };
    Store& s = n.s;
    for (int k = 1; k <= s.bus.NB; k += 3) {
        const int i = add_row(s.fld);
        s.fld.NOFLD(i) = k;
        s.fld.IPFLA(i) = percent();
        s.fld.IPFLB(i) = percent();
        s.fld.IQFLA(i) = percent();
        s.fld.IQFLB(i) = percent();
        s.fld.VMINZ(i) = i % 2 ? 0.7 : 1.1;
        s.bus.FVOLT(k) = uniform(0.95, 1.05);
    }
    for (int k = 2; k <= s.bus.NB; k += 4)
        for (int unit : {1, 2, 3}) {
            const int i = put_row(s.cai, "NOCAI", k, "IDEGC", unit, "NUNICOP", unit);
            s.cai.PLOADI(i) = uniform(0, 0.03);
            s.cai.QLOADI(i) = uniform(-0.01, 0.01);
            s.cai.STCAR(i) = unit < 3;
            if (unit == 2) s.cai.IPVLA(i) = percent(), s.cai.IPVQB(i) = percent(), s.cai.IQVLC(i) = percent();
            s.cai.VMINZC(i) = k % 8 == 2 ? 0.7 : 1.1;
            s.cai.FVOLTC(i) = uniform(0.95, 1.05);
        }
}

}  // namespace korvane::testing
