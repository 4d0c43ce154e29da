// Reactive limits of generators, and voltage limits of load buses that have some: what is at a limit is a sign of the
// type of the bus, and every pass looks again, so that a bus can come back.
//
//      2,  3   the voltage is held                         -2, -3   generation stands at QMIN or QMAX, voltage free
//     -1       the scheduled generation, voltage free           1   the voltage stands at VMIN or VMAX, generation free
#include <cmath>

#include "powerflow/augmented.hpp"
#include "powerflow/capability.hpp"
#include "powerflow/remote_voltage.hpp"

namespace korvane {

namespace {

/// A bus that has changed its type so often in one solution leaves a limit no more.
constexpr int MOST_TURNS = 10;
// When half of the iterations are spent: two states alone are not to use up the rest.
constexpr int LATE_TURNS = 3;

struct Checker {
    Run& run;
    MismatchRow dq;
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    bool turned = false, unit_came_in = false;

    /// Generator j and its bus k.
    struct At {
        int j, k;
        int& type;
        double& q;
        double& v;
        double low, high;
    };
    At at(int j) {
        const int k = s.gen.NOGEN(j);
        return {j, k, s.bus.NTYPE(k), s.gen.QGEN(j), s.bus.VOLT(k), s.gen.QMIN(j), s.gen.QMAX(j)};
    }

    bool may_leave(int j) const { return may_turn(run, j); }

    // The solution goes on, and the report names the bus.
    void changed(const At& g) {
        reopen_reactive(run, g.k);
        note_switch(run.mat.state, s.bus.NOINT(g.k));
    }
    void turn(const At& g) {
        g.type = -g.type;
        note_turn(run, g.j);
        turned = true;
        changed(g);
    }
    // Generation moves to a value; the row takes the difference on top of what it has, or is nothing but it.
    void generate(const At& g, double q, bool on_top) {
        double& row = dq(run, g.k);
        row = (on_top ? row : 0.0) + (q - g.q) / g.v;
        g.q = q;
    }

    void generator(int j);
    void band(int j);
    void at_voltage_limit(const At& g, double lowest, double highest);
    void at_schedule(const At& g, double lowest, double highest);
};

void Checker::generator(int j) {
    const At g = at(j);
    // The voltage that it holds may be that of another bus, or its own at a limit of VLCR.
    const ControlWork::RemoteRow* const remote = w.remote(j) ? &w.remote_row(w.remote(j)) : nullptr;
    const bool elsewhere = remote && remote->active, in_group = w.NTCST(j) != 0;
    const double slack = run.cte.TLPR, set = elsewhere ? remote->target : remote ? remote->terminal : s.gen.VGEN(j);
    const double held = elsewhere ? s.bus.VOLT(remote->bus) : g.v;
    auto release = [&] {
        if (!may_leave(j)) return;
        if (!elsewhere) g.v = set;
        if (!in_group) dq(run, g.k) = 0;
        turn(g);
    };
    if (g.type > 0) {
        if (!(g.q > g.high + slack || g.q < g.low - slack)) return;
        generate(g, g.q > g.high + slack ? g.high : g.low, in_group);
        if (bring_in_unit(run, j)) {
            unit_came_in = true;
            changed(g);
        } else
            turn(g);
    } else if (g.q < g.high - slack) {
        if (held <= set || g.q > g.low + slack)
            release();
        else if (g.q < g.low - slack) {
            generate(g, g.low, true);
            changed(g);
        }
    } else if (g.q > g.high + slack) {
        generate(g, g.high, true);
        changed(g);
    } else if (held >= set)
        release();
}

void Checker::at_voltage_limit(const At& g, double lowest, double highest) {
    const double slack = run.cte.TLPR, near = run.cte.TLVC, missing = s.gen.VGEN(g.j) - g.q;
    if (g.v < lowest - near || g.v > highest + near) {
        g.v = g.v < lowest ? lowest : highest;
        changed(g);
    } else if (g.q > g.high + slack || g.q < g.low - slack) {
        generate(g, g.q > g.high ? g.high : g.low, false);
        turn(g);
    } else if (missing != 0 && !(missing > 0 && g.v >= highest - near) && !(missing < 0 && g.v <= lowest + near) &&
               may_leave(g.j)) {
        generate(g, s.gen.VGEN(g.j), false);
        turn(g);
    }
}

void Checker::at_schedule(const At& g, double lowest, double highest) {
    const double slack = run.cte.TLPR, near = run.cte.TLVC, schedule = s.gen.VGEN(g.j);
    const bool at_low = g.q <= g.low + slack, at_high = g.q >= g.high - slack;
    if (std::abs(g.q - schedule) > slack) {
        // A band out of reach of the reactive limits: the bus does at a limit what it can.
        if ((at_high && g.v < lowest) || (at_low && g.v > highest)) return;
        if ((at_low || at_high) && !may_leave(g.j)) return;
        generate(g, schedule, true);
        changed(g);
    } else if ((g.v > highest + near && !at_low) || (g.v < lowest - near && !at_high)) {
        g.v = g.v > highest ? highest : lowest;
        dq(run, g.k) = 0;
        turn(g);
    }
}

void Checker::band(int j) {
    const At g = at(j);
    const int group = s.bus.NOGLT(g.k);
    if (!group) return;
    const double lowest = s.glt.VMIN(group), highest = s.glt.VMAX(group);
    if (g.type > 0)
        at_voltage_limit(g, lowest, highest);
    else
        at_schedule(g, lowest, highest);
}

}  // namespace

void start_limits(Run& run) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.turns.fill(s.gen.NG, 0);
    w.exempt.fill(s.gen.NG, false);
    w.NTCST.fill(s.gen.NG, 0);
    w.remote.fill(s.gen.NG, 0);
    w.releases.fill(s.gen.NG, false);
    w.machines = 0;
    for (int i : rows(s.fql.n))
        if (const int j = s.fql.row(i); j >= 1 && j <= s.gen.NG) w.exempt(j) = true;
    if (run.opt["CREM"_opt] && !run.opt["FJAC"_opt]) note_remote_voltage(run);
    w.dispatches = 0;
}

void reopen_reactive(Run& run, int k) {
    const int number = run.store.bus.NOINT(k);
    run.mat.state.residual.DQ = REOPENED;
    run.store.sol.NODEQ = number;
    if (!run.opt["CILH"_opt]) return;
    IslandState& island = run.mat.island(run.store.ilh.NOILHA2(k));
    island.residual.DQ = REOPENED;
    island.NODEQ2 = number;
}

bool may_turn(Run& run, int j) {
    unsigned char& turns = run.mat.control.turns(j);
    const bool late = 2 * run.store.sol.NITP > run.cte.ACIT;
    if (turns < (late ? LATE_TURNS : MOST_TURNS)) return true;
    turns = std::max(turns, static_cast<unsigned char>(MOST_TURNS));  // to be told
    return false;
}

void note_turn(Run& run, int j) {
    unsigned char& turns = run.mat.control.turns(j);
    if (turns < 255) ++turns;
}

bool check_limits(Run& run, MismatchRow dq, bool by_island) {
    const Store& s = run.store;
    const bool generators = run.opt["QLIM"_opt], bands = run.opt["VLIM"_opt];
    Checker check{run, dq};
    refresh_capability(run);
    auto left_alone = [&](int j) {
        const int k = s.gen.NOGEN(j);
        if (run.mat.control.exempt(j)) return true;
        if (run.mat.control.NTCST(j) == -2 && !run.opt["FJAC"_opt]) return true;  // its group looks after it
        // a unit with no band stays as it is
        if (s.bus.NTYPE(k) < 0 && std::abs(s.gen.QMAX(j) - s.gen.QMIN(j)) <= run.cte.TLPR) return true;
        if (!by_island) return false;
        const IslandState& island = run.mat.island(s.ilh.NOILHA2(k));
        return island.failed() || !(island.DQMAXIMO2 <= run.cte.QLST);
    };
    auto type = [&](int j) { return std::abs(s.bus.NTYPE(s.gen.NOGEN(j))); };
    if (generators)
        for (int j : rows(s.gen.NG))
            if (type(j) >= 2 && type(j) <= 3 && !left_alone(j)) check.generator(j);
    if (bands)
        for (int j : rows(s.gen.NG))
            if (type(j) == 1 && !left_alone(j)) check.band(j);
    if (check.unit_came_in) build_diagonal(run);
    return check.turned;
}

void tell_stuck(Run& run) {
    const Store& s = run.store;
    for (int j : rows(s.gen.NG))
        if (run.mat.control.turns(j) >= MOST_TURNS)
            MSGPUT(run, "LIMREA", -900, s.bus.NOINT(s.gen.NOGEN(j)), element::bus_number);
}

}  // namespace korvane
