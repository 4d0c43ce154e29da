// Active power that areas or islands are short of, and its distribution over their generators: interchange held at its
// schedule during a solution, and the balance after a change of loads.
#include <algorithm>
#include <cmath>

#include "powerflow/load_models.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

enum class Group { area, island };

bool dead(int type) { return std::abs(type) > 3; }

int group_of(const Store& s, Group kind, int k) {
    if (k < 1 || k > s.bus.NB || dead(s.bus.NTYPE(k))) return 0;
    return kind == Group::area ? int(s.bus.IAREA(k)) : int(s.ilh.NOILHA2(k));
}

/// The distribution of what one group after the other is short of.
class Distribution {
public:
    Distribution(Run& run, Group kind, MismatchRow dp) : run_(run), kind_(kind), dp_(dp) {
        chain(s_.gen.NG, w_.generators, w_.next_generator, [&](int j) { return int(s_.gen.NOGEN(j)); });
        chain(s_.eqv.NEQV, w_.injections, w_.next_injection, [&](int i) { return int(s_.eqv.NOEQV(i)); });
    }

    /// Group g is short of `error`, pu; what it has too much is negative. False when nobody can take what is left.
    bool share_out(int g, double error, double tolerance);

private:
    template <class Link, class BusOf>
    void chain(int n, Table<int, MXILH>& head, Link& next, BusOf bus) {
        head.fill(kind_ == Group::area ? s_.area.NAREA : s_.ilh.count, 0);
        for (int i = n; i >= 1; --i)
            if (const int g = group_of(s_, kind_, bus(i))) {
                next(i) = head(g);
                head(g) = i;
            }
    }
    template <class F>
    void each_generator(int g, F f) {
        for (int j = w_.generators(g); j; j = w_.next_generator(j)) f(j);
    }
    template <class F>
    void each_injection(int g, F f) {
        for (int i = w_.injections(g); i; i = w_.next_injection(i)) f(i);
    }

    // The bus gets so much more; the pass does not count as converged.
    void give(int k, double amount) {
        if (!dp_) return;
        dp_(run_, k) += run_.opt["LFDC"_opt] ? amount : amount / s_.bus.VOLT(k);
        run_.mat.state.residual.DP = REOPENED;
        s_.sol.NODEP = s_.bus.NOINT(k);
        if (!run_.opt["CILH"_opt]) return;
        IslandState& island = run_.mat.island(s_.ilh.NOILHA2(k));
        island.residual.DP = REOPENED;
        island.NODEP2 = s_.sol.NODEP;
    }
    // Generator j at p; what that adds is no longer missing.
    void generate(int j, double p, double& error) {
        const double more = p - s_.gen.PGEN(j);
        if (more == 0) return;
        s_.gen.PGEN(j) = p;
        error -= more;
        give(s_.gen.NOGEN(j), more);
    }
    void clamp(int j, double& error) {
        const double p = s_.gen.PGEN(j);
        if (p < s_.gen.PMIN(j)) generate(j, s_.gen.PMIN(j), error);
        if (p > s_.gen.PMAX(j)) generate(j, s_.gen.PMAX(j), error);
    }
    // Whether the generator can still move the way that the error asks for.
    bool has_room(int j, bool up) const {
        return up ? s_.gen.PGEN(j) < s_.gen.PMAX(j) : s_.gen.PGEN(j) > s_.gen.PMIN(j);
    }
    void fail(int g);

    Run& run_;
    Store& s_ = run_.store;
    ControlWork& w_ = run_.mat.control;
    Group kind_;
    MismatchRow dp_;
};

// Under CILH the islands of the group end with it.
void Distribution::fail(int g) {
    s_.sol.CONVSTAT = 4;
    if (!run_.opt["CILH"_opt]) return;
    if (kind_ == Group::island)
        run_.mat.island(g).KONLF2 = 4;
    else
        for (int k : rows(s_.bus.NB))
            if (s_.bus.IAREA(k) == g) run_.mat.island(s_.ilh.NOILHA2(k)).KONLF2 = 4;
}

bool Distribution::share_out(int g, double error, double tolerance) {
    each_generator(g, [&](int j) { clamp(j, error); });
    // Every round ends with all given away, or with one more generator at its limit.
    for (int round = 0; std::abs(error) > tolerance && round <= s_.gen.NG; ++round) {
        const bool up = error > 0;
        double F = 0;
        each_injection(g, [&](int i) { F += s_.eqv.FMAT(i); });
        each_generator(g, [&](int j) {
            if (s_.gen.FGEN(j) != 0 && has_room(j, up)) F += s_.gen.FGEN(j);
        });
        if (!(F > 0)) {
            fail(g);
            return false;
        }
        const double unit = error / F;
        each_injection(g, [&](int i) {
            const double more = unit * s_.eqv.FMAT(i);
            if (more == 0) return;
            s_.eqv.PMAT(i) += more;
            error -= more;
            give(s_.eqv.NOEQV(i), more);
        });
        each_generator(g, [&](int j) {
            if (s_.gen.FGEN(j) == 0 || !has_room(j, up)) return;
            const double p = s_.gen.PGEN(j) + unit * s_.gen.FGEN(j);
            generate(j, up ? std::min(p, s_.gen.PMAX(j)) : std::max(p, s_.gen.PMIN(j)), error);
        });
    }
    return true;
}

// Every area that is short of more than TETP, every island that is short of more than TBPA. False when one of them
// finds nobody to take it.
bool distribute(Run& run, Group kind, MismatchRow dp) {
    const Store& s = run.store;
    const ControlWork& w = run.mat.control;
    auto short_of = [&](int g) { return kind == Group::area ? w.AREERRO(g) : w.SYSERRO(g); };
    const double tolerance = kind == Group::area ? run.cte.TETP : run.cte.TBPA;
    const int n = kind == Group::area ? s.area.NAREA : s.ilh.count;
    bool any = false, all = true;
    for (int g : rows(n)) any = any || std::abs(short_of(g)) > tolerance;
    if (!any) return true;
    Distribution to(run, kind, dp);
    for (int g : rows(n))
        if (std::abs(short_of(g)) > tolerance) all = to.share_out(g, short_of(g), tolerance) && all;
    return all;
}

void swap_schedules(Store& s) {
    for (int i : rows(s.slk.NSLK))
        if (const int j = s.slk.NGSLK(i)) std::swap(s.gen.PGEN(j), s.slk.PSLK(i));
}

// What ties carry is metered at the end of the owner; losses belong to the other area.
void meter_ties(Run& run) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    for (int t : rows(s.adr.NLTL)) {
        const int l = s.adr.LTLADR(t);
        if (l < 1 || l > s.branch.NL || !s.branch.STLIN(l)) continue;
        const BranchFlow flow = branch_flow(s, l);
        const int from = s.bus.IAREA(s.branch.NFROM(l)), to = s.bus.IAREA(s.branch.NTO(l));
        const double exported = s.branch.OWNER(l) ? flow.pf : -flow.pt;  // by the area of the from bus
        if (from) w.AREERRO(from) -= exported;
        if (to) w.AREERRO(to) += exported;
    }
}

}  // namespace

void compute_balance(Run& run) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.AREERRO.fill(s.area.NAREA, 0.0);
    w.SYSERRO.fill(s.ilh.count, 0.0);
    auto add = [&](int k, double missing) {
        if (const int area = group_of(s, Group::area, k)) w.AREERRO(area) += missing;
        if (const int island = group_of(s, Group::island, k)) w.SYSERRO(island) += missing;
    };
    const BusLoads loads(s);
    for (int k : rows(s.bus.NB)) add(k, loads(k).p);
    for (int j : rows(s.gen.NG)) add(s.gen.NOGEN(j), -s.gen.PGEN(j));
    for (int i : rows(s.eqv.NEQV)) add(s.eqv.NOEQV(i), -s.eqv.PMAT(i));
    // What a tie carries is metered at the end of its owner, and its losses belong to the other area: so each area has
    // the flow at its own end, and a solved network is short of nothing.
    for (int l : rows(s.branch.NL)) {
        const BranchFlow flow = branch_flow(s, l);
        add(s.branch.NFROM(l), flow.pf);
        add(s.branch.NTO(l), flow.pt);
    }
}

bool distribute_balance(Run& run, bool by_island) {
    Store& s = run.store;
    compute_balance(run);
    bool all = true;
    if (by_island)
        all = distribute(run, Group::island, nullptr);
    else if (!s.ilh.area_spans)
        all = distribute(run, Group::area, nullptr);
    for (int i : rows(s.slk.NSLK))
        if (const int j = s.slk.NGSLK(i)) s.slk.PSLK(i) = s.gen.PGEN(j);
    return all;
}

void share_out_imbalance(Run& run, bool by_island) {
    Store& s = run.store;
    STOOFF(run);
    find_islands(run);
    s.sol.CONVSTAT = 0;
    distribute_balance(run, by_island);
    STOON(run);
}

void adjust_interchange(Run& run, MismatchRow dp) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    const bool areas = run.opt["CINT"_opt];
    w.AREERRO.fill(s.area.NAREA, 0.0);
    w.SYSERRO.fill(s.ilh.count, 0.0);
    if (areas)
        for (int a : rows(s.area.NAREA)) w.AREERRO(a) = s.area.AREINT(a);
    swap_schedules(s);
    for (int i : rows(s.slk.NSLK)) {  // what a slack gives beyond its schedule, its area or island is short of
        const int j = s.slk.NGSLK(i);
        if (!j) continue;
        const double drift = s.slk.PSLK(i) - s.gen.PGEN(j);
        const int k = s.gen.NOGEN(j);
        if (const int area = group_of(s, Group::area, k)) w.AREERRO(area) += drift;
        if (const int island = group_of(s, Group::island, k)) w.SYSERRO(island) += drift;
    }
    if (areas) meter_ties(run);
    distribute(run, areas ? Group::area : Group::island, dp);
    swap_schedules(s);
    for (int i : rows(s.slk.NSLK))
        if (const int j = s.slk.NGSLK(i)) dp(run, s.gen.NOGEN(j)) = 0;
}

}  // namespace korvane
