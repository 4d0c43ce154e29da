// How the units of a generator row share its generation, and how many of them operate.
#include <cmath>

#include "frame/run.hpp"
#include "network/individual_generators.hpp"
#include "network/machine_capability.hpp"
#include "network/unit_rows.hpp"

namespace korvane {

namespace {

using UnitTables = IndividualGeneratorTables;

/// f(unit) for every unit in service of bus k.
template <class F>
void each_unit(const Store& s, int k, F f) {
    for (int i = s.adr.IPGEI(k); i; i = s.adr.LNKGEI(i))
        if (s.gei.STGEI(i)) f(i);
}

/// The droop line of a generator row from its units, while frequency is regulated.
void sum_droop(Run& run, int g) {
    if (!run.opt["FREQ"_opt]) return;
    Store& s = run.store;
    double droop = 0, start = 0;
    each_unit(s, s.gen.NOGEN(g), [&](int i) {
        droop += s.gei.NUGIGOP(i) * s.gei.ERPGEI(i);
        start += s.gei.NUGIGOP(i) * s.gei.PRPGEI(i);
    });
    s.gen.ESTRP(g) = droop;
    s.gen.PGFRP(g) = start;
}

/// The name of a bus tells behind it how many units operate.
void show_count(Text<12>& name, int n) {
    const std::string digits = std::to_string(n);
    const std::size_t width = std::min(digits.size(), sizeof name.at);
    std::memcpy(name.at + sizeof name.at - width, digits.data(), width);
}

/// Units of so much each that cover the excess; 0 when there is none, or no number of them would do.
int covering(double excess, double each) {
    constexpr double most = 1e6, slack = 1e-9;
    if (excess <= 0 || each <= 0) return 0;
    return int(std::ceil(std::min(excess / each, most) - slack));
}

/// What the units in operation of a bus can carry together, pu.
struct Reach {
    double turbines, least, qmin, qmax;
    void add(const UnitTables& t, int i, int n) {
        turbines += n * t.PTUGEI(i);
        least += n * t.PGEIMN(i);
        qmin += n * t.QMNGEI(i);
        qmax += n * t.QMXGEI(i);
    }
};

int least_units(const UnitTables& t, int i) { return std::max(1, std::min(t.NUGIGMN(i), t.NUGIG(i))); }

}  // namespace

void chain_individual_generators(Store& s) {
    chain_by_bus(s.gei.NOGEI, s.gei.NGEI, s.bus.NB, s.adr.IPGEI, s.adr.LNKGEI);
}

UnitSum UNTSUM(const Store& s, int k) {
    const UnitTables& t = s.gei;
    UnitSum sum{};
    each_unit(s, k, [&](int i) {
        const int n = t.NUGIGOP(i);
        sum.p += n * t.PGGEI(i);
        sum.q += n * t.QGGEI(i);
        sum.qmin += n * t.QMNGEI(i);
        sum.qmax += n * t.QMXGEI(i);
        ++sum.rows;
    });
    return sum;
}

void UNTGEN(Run& run, bool clear) {
    Store& s = run.store;
    GeneratorTables& gen = s.gen;
    for (int i : rows(s.gei.NGEI))
        if (clear && s.gei.STGEI(i) && s.gei.FLAGNOP(i)) s.gei.PGGEI(i) = 0;
    for (int g : rows(gen.NG)) {
        const int k = gen.NOGEN(g);
        const UnitSum sum = UNTSUM(s, k);
        if (sum.rows == 0) continue;
        sum_droop(run, g);
        gen.QMIN(g) = gen.QMNO(g) = sum.qmin;
        gen.QMAX(g) = gen.QMXO(g) = sum.qmax;
        bool shares = false;
        each_unit(s, k, [&](int i) { shares |= s.gei.FLAGNOP(i); });
        if (!shares) gen.PGEN(g) = sum.p;
    }
}

bool UNTSHR(Run& run, int k, bool remote) {
    Store& s = run.store;
    UnitTables& t = s.gei;
    if (s.adr.IPGEI(k) == 0) return false;
    const int g = t.NOGGEI(s.adr.IPGEI(k));
    const double p = s.gen.PGEN(g), q = s.gen.QGEN(g);
    auto weight = [&](int i) {  // of one unit
        if (p > 0) return t.FLAGNOP(i) ? t.SNGEI(i) : t.PGGEI(i);
        return q > 0 ? t.QMXGEI(i) : t.QMNGEI(i);
    };
    bool changed = false;
    for (bool again = true; again;) {
        again = false;
        double total = 0;
        each_unit(s, k, [&](int i) { total += weight(i) * t.NUGIGOP(i); });
        if (total == 0) return changed;
        each_unit(s, k, [&](int i) {
            if (again) return;
            const double share = weight(i) / total;
            t.QGGEI(i) = q * share;
            if (p <= 0 || !t.FLAGNOP(i)) return;
            t.PGGEI(i) = p * share;
            if (t.PGGEI(i) <= t.SNGEI(i) * s.bus.VOLT(k) || t.NUGIGOP(i) >= t.NUGIG(i)) return;
            show_count(s.bus.BNAME(k), ++t.NUGIGOP(i));
            again = changed = true;
        });
    }
    const bool limits_moved = remote || s.bus.NTYPE(k) < 0;
    each_unit(s, k, [&](int i) {
        if (t.FLAGNOP(i) ? p > 0 : limits_moved) UNTCAP(run, i);
    });
    return changed;
}

bool UNTDSP(Run& run, int g, bool afresh) {
    constexpr double slack = 1e-5;
    Store& s = run.store;
    UnitTables& t = s.gei;
    const int k = s.gen.NOGEN(g);
    const double p = s.gen.PGEN(g), q = s.gen.QGEN(g);
    Reach reach{};
    each_unit(s, k, [&](int i) { reach.add(t, i, afresh ? least_units(t, i) : t.NUGIGOP(i)); });

    bool changed = false;
    each_unit(s, k, [&](int i) {
        const int before = t.NUGIGOP(i), n = afresh ? least_units(t, i) : before;
        int more = 0;
        if (p > reach.turbines + slack)
            more = covering(p - reach.turbines, t.PTUGEI(i));
        else if (!afresh && p < reach.least - slack && n > t.NUGIGMN(i))
            more = -covering(reach.least - p, t.PGEIMN(i));
        if (afresh || s.bus.NTYPE(k) < 0) {
            const int for_q = q > 0 ? covering(q - reach.qmax, t.QMXGEI(i)) : covering(reach.qmin - q, -t.QMNGEI(i));
            more = std::max(more, for_q);
        }
        const int now = std::max(std::min(n + more, t.NUGIG(i)), std::min(n, least_units(t, i)));
        reach.add(t, i, now - n);
        if (now == before) return;
        t.NUGIGOP(i) = now;
        changed = true;
    });
    sum_droop(run, g);
    return changed;
}

bool update_step_up_transformers(Store& s) {
    const BranchTables& b = s.branch;
    bool changed = false;
    for (int g : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(g), first = s.adr.LINPTR(k);
        if (s.adr.IPGEI(k) == 0 || s.adr.LINPTR(k + 1) - first != 1) continue;
        const int l = s.adr.LINADR(first), type = b.LTYPE(l);
        if (type < 1 || type > 4 || b.GKM(l) != 0) continue;
        double susceptance = 0;
        bool all = true;
        each_unit(s, k, [&](int i) {
            all = all && s.gei.XTFGEI(i) != 0;
            if (all) susceptance -= s.gei.NUGIGOP(i) / s.gei.XTFGEI(i);
        });
        if (!all || susceptance == 0) continue;
        const int row = type == 1 || type == 3 ? b.LITRF(l) : s.phs.NOPHS(b.LITRF(l)).at;
        const double tap = s.tap.TAP(row);
        constexpr double same = 1e-6;
        if (std::abs(susceptance - b.BKM(l) / tap) <= same) continue;
        s.branch.BKM(l) = susceptance * tap;
        changed = true;
    }
    return changed;
}

// --- the reactive limits of a unit

bool follows_capability(const Store& s, int i) {
    const UnitTables& t = s.gei;
    const Machine machine{t.XDGEI(i), t.XQGEI(i), t.XLGEI(i), t.FPGEI(i)};
    return t.STGEI(i) && t.STCAP(i) && t.SNGEI(i) > 0 && s.bus.VOLT(t.NOGEI(i)) > 0 && has_capability(machine);
}

void UNTCAP(Run& run, int i) {
    Store& s = run.store;
    UnitTables& t = s.gei;
    if (!follows_capability(s, i)) return;
    const int k = t.NOGEI(i);
    CapabilityPass pass({t.XDGEI(i), t.XQGEI(i), t.XLGEI(i), t.FPGEI(i)}, s.bus.VOLT(k));
    const CapabilityPass::Limits limits = pass.at(t.PGGEI(i) / t.SNGEI(i));
    t.QMNGEI(i) = limits.low * t.SNGEI(i);
    t.QMXGEI(i) = limits.high * t.SNGEI(i);
    constexpr int ROTOR = 1, EXCITATION = 2;
    auto tell = [&](int row) {
        const Arg values[] = {s.bus.NOINT(k), s.bus.BNAME(k), t.IDGEI(i)};
        run.pag.NLINE += print_row(run, load_rows(run, "UNTQLM")[row], values);
    };
    if (limits.rotor_unsolved) tell(ROTOR);
    if (limits.excitation_unsolved) tell(EXCITATION);
}

}  // namespace korvane
