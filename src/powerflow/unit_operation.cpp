// Individual generators in a solution: what their rows generate goes to the units, and as many operate as that takes.
#include <cmath>

#include "network/individual_generators.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

/// Units that have been dispatched so often in one solution stay as they are.
constexpr int MOST_DISPATCHES = 10;

// Rows of block SOLVLF.
constexpr int HEADING_FIRST = 35, HEADING_LAST = 36, COUNT = 37;

bool has_units(const Store& s, int k) { return s.adr.IPGEI(k) != 0; }

/// f(unit) for every unit in service of bus k.
template <class F>
void each_unit(const Store& s, int k, F f) {
    for (int i = s.adr.IPGEI(k); i; i = s.adr.LNKGEI(i))
        if (s.gei.STGEI(i)) f(i);
}

// The reactive limits of row j are those of its units. How far they have moved.
double take_limits(Store& s, int j) {
    GeneratorTables& gen = s.gen;
    const UnitSum sum = UNTSUM(s, gen.NOGEN(j));
    if (sum.rows == 0) return 0;
    const double moved = std::max(std::abs(gen.QMIN(j) - sum.qmin), std::abs(gen.QMAX(j) - sum.qmax));
    gen.QMIN(j) = gen.QMNO(j) = sum.qmin;
    gen.QMAX(j) = gen.QMXO(j) = sum.qmax;
    return moved;
}

// A row whose island still runs. Other rows keep their units: their state means nothing.
bool solved(const Run& run, int k) {
    const Store& s = run.store;
    return std::abs(s.bus.NTYPE(k)) <= 3 && !(run.opt["CILH"_opt] && run.mat.island(s.ilh.NOILHA2(k)).failed());
}

// The units of row j; true when their number changed, or limits that hold the row.
bool dispatch_row(Run& run, int j) {
    Store& s = run.store;
    const int k = s.gen.NOGEN(j);
    bool shares = false;
    each_unit(s, k, [&](int i) { shares |= s.gei.FLAGNOP(i); });
    bool changed = shares && UNTDSP(run, j, run.opt["INMN"_opt]);
    changed |= UNTSHR(run, k, run.mat.control.remote(j) != 0);
    const bool moved = take_limits(s, j) > run.cte.TLPR;
    return changed || (moved && s.bus.NTYPE(k) < 0 && run.opt["QLIM"_opt]);
}

}  // namespace

void start_units(Run& run) {
    Store& s = run.store;
    if (s.gei.NGEI == 0) return;
    chain_individual_generators(s);
    note_unit_counts(run);
    if (s.sol.CONVSTAT != 1)
        for (int k : rows(s.bus.NB)) UNTSHR(run, k, false);
    if (run.opt["NUNF"_opt]) s.gei.FLAGNOP.fill(s.gei.NGEI, false);
    UNTGEN(run, false);
    update_step_up_transformers(s);
}

bool bring_in_unit(Run& run, int j) {
    Store& s = run.store;
    const int k = s.gen.NOGEN(j);
    if (s.gei.NGEI == 0 || !has_units(s, k)) return false;
    int next = 0;
    each_unit(s, k, [&](int i) {
        if (next == 0 && s.gei.FLAGNOP(i) && s.gei.NUGIGOP(i) < s.gei.NUGIG(i)) next = i;
    });
    if (next == 0) return false;
    ++s.gei.NUGIGOP(next);
    UNTSHR(run, k, run.mat.control.remote(j) != 0);
    take_limits(s, j);
    update_step_up_transformers(s);
    return true;
}

bool dispatch_units(Run& run) {
    Store& s = run.store;
    if (s.gei.NGEI == 0) return false;
    if (int& dispatches = run.mat.control.dispatches; ++dispatches > MOST_DISPATCHES) {
        if (dispatches == MOST_DISPATCHES + 1) MSGPUT(run, "LIMREA", -910);
        return false;
    }
    bool changed = false;
    for (int j : rows(s.gen.NG))
        if (const int k = s.gen.NOGEN(j); has_units(s, k) && solved(run, k)) changed = dispatch_row(run, j) || changed;
    if (!changed) return false;
    update_step_up_transformers(s);
    build_diagonal(run);
    return true;
}

void note_unit_counts(Run& run) {
    const auto& gei = run.store.gei;
    for (int i : rows(gei.NGEI)) run.mat.control.operating(i) = gei.NUGIGOP(i);
}

void report_unit_counts(Run& run) {
    const Store& s = run.store;
    const auto& before = run.mat.control.operating;
    auto changed = [&](int i) { return s.gei.STGEI(i) && s.gei.NUGIGOP(i) != before(i); };
    bool any = false;
    for (int i : rows(s.gei.NGEI)) any = any || changed(i);
    if (!any) return;
    LDFORM(run, "SOLVLF");
    Page page(run);
    page.heading(HEADING_FIRST, HEADING_LAST);
    for (int i : rows(s.gei.NGEI)) {
        if (!changed(i) || !page.wanted()) continue;
        if (!page.fits(1)) page.heading(HEADING_FIRST, HEADING_LAST);
        const int k = s.gei.NOGEI(i);
        page.line(COUNT, s.bus.NOINT(k), s.bus.BNAME(k), s.gei.IDGEI(i), before(i), s.gei.NUGIGOP(i));
    }
    PAGWAI(run);
}

}  // namespace korvane
