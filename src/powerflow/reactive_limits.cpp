// Reactive limits of generators, and voltage limits of load buses that have some: what is at a limit is a sign of the
// type of the bus, and every pass looks again, so that a bus can come back.
//
//      2,  3   the voltage is held                         -2, -3   generation stands at QMIN or QMAX, voltage free
//     -1       the scheduled generation, voltage free           1   the voltage stands at VMIN or VMAX, generation free
#include "powerflow/reactive_limits.hpp"

#include <algorithm>
#include <cmath>

#include "powerflow/augmented.hpp"
#include "powerflow/capability.hpp"
#include "powerflow/remote_voltage.hpp"
#include "powerflow/taps.hpp"

namespace korvane {

namespace {

/// A bus that has changed its type so often in one solution leaves a limit no more.
constexpr int MOST_TURNS = 10;
// When half of the iterations are spent: two states alone are not to use up the rest.
constexpr int LATE_TURNS = 3;
/// One that has changed it so often on one pass leaves a limit only by itself: in company it would be driven back. And
/// so often, and it stays there for this pass.
constexpr int CONTESTED = 2;
constexpr int MOST_SWINGS = 5;
/// A correction that moves nothing: no generator crosses a limit by it, whatever it is connected to.
constexpr double STILL = 1e-9;

/// What generator j is to hold: the voltage of a bus at a set point, pu; `elsewhere` by a remote control that acts.
struct Held {
    int bus;
    double set;
    bool elsewhere;
};
Held held_by(const Run& run, int j) {
    const Store& s = run.store;
    const ControlWork& w = run.mat.control;
    const int own = s.gen.NOGEN(j);
    if (!w.remote(j)) return {own, s.gen.VGEN(j), false};
    const ControlWork::RemoteRow& remote = w.remote_row(w.remote(j));
    if (!remote.active) return {own, remote.terminal, false};  // its own at a limit of VLCR
    return {remote.bus, remote.target, true};
}

/// Whether generator j at a reactive limit is to leave it: the voltage has come to the side where less would do.
bool asks_to_leave(const Run& run, int j) {
    const Store& s = run.store;
    const double q = s.gen.QGEN(j), slack = run.cte.TLPR;
    const Held held = held_by(run, j);
    const double voltage = s.bus.VOLT(held.bus);
    if (q < s.gen.QMAX(j) - slack) return voltage <= held.set || q > s.gen.QMIN(j) + slack;
    return q <= s.gen.QMAX(j) + slack && voltage >= held.set;
}

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
        run.mat.work.mark(g.k) = 1;
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

/// What the correction in the right-hand sides would make of the generators, to first order.
struct Foresight {
    Run& run;
    const Store& s = run.store;
    const Matrices& m = run.mat;
    const Pattern& p = pattern(run);

    Sides correction(int k) const {
        const auto r = std::size_t(p.NORDER(k) - 1);
        const unsigned char held = m.work.held[r];
        return {held & ANGLE_HELD ? 0 : m.side[r].DELTA, held & VOLTAGE_HELD ? 0 : m.side[r].WORK};
    }
    double voltage(int k) const { return s.bus.VOLT(k) * (1 + correction(k).WORK); }

    // The largest number of the correction, of buses and controls alike. What is held has next to nothing.
    double widest() const {
        double angle = 0, rise = 0;
        for (int r = 0; r < p.N; ++r) {
            const Sides& side = m.side[std::size_t(r)];
            angle = std::max(angle, std::abs(side.DELTA));
            rise = std::max(rise, std::abs(side.WORK));
        }
        return std::max(angle, rise);
    }
    // What such a correction can do to the generation at bus k at most: two ends and a tap of every branch move.
    double reach(int k, double correction) const {
        constexpr double TERMS = 4;
        return TERMS * correction * s.bus.VOLT(k) * (std::abs(m.GDIAG(k)) + std::abs(m.BDIAG(k)));
    }

    // Change of the reactive power that the branches and taps at bus k draw there.
    double drawn(int k) const {
        const BranchTables& br = s.branch;
        const Sides here = correction(k);
        double sum = 0;
        for (int i = s.adr.LINPTR(k); i < s.adr.LINPTR(k + 1); ++i) {
            const int l = s.adr.LINADR(i);
            if (p.slot[std::size_t(l - 1)].none()) continue;
            const bool from = br.NFROM(l) == k;
            const int far = from ? br.NTO(l) : br.NFROM(l);
            const double g = br.GKM(l), b = br.BKM(l), sine = from ? m.SINDIK(l) : -m.SINDIK(l), cosine = m.COSDIK(l);
            const Sides there = correction(far);
            sum += s.bus.VOLT(far) *
                   ((b * sine + g * cosine) * (there.DELTA - here.DELTA) + (b * cosine - g * sine) * there.WORK);
            const int n = m.control.taps ? tap_row(s, l) : 0, moving = n ? m.control.tap_row_of(n) : 0;
            if (!moving || !m.control.tap_row(moving).moves) continue;
            const TapColumn column = tap_column(run, n);
            sum += (from ? column.from.L : column.to.L) * m.side[row_of(run, m.control.tap_row(moving).equation)].WORK;
        }
        return sum * s.bus.VOLT(k);
    }
    // Of a generator that holds a voltage.
    double generation(int j, int k) const {
        const ControlWork& w = m.control;
        return s.gen.QGEN(j) +
               (w.releases(j) ? m.side[row_of(run, w.remote_row(w.remote(j)).equation)].WORK : drawn(k));
    }
};

/// Whether limits are foreseen around bus k on this pass: where they would be met, and where taps act, already before.
/// What a tap and the generators around it do is to be decided together.
bool foreseen(const Run& run, int k) {
    const ControlWork& w = run.mat.control;
    const bool taps = w.taps != 0 && w.awake(region(run, k));
    return reactive_mismatch(run, k) <= (taps ? std::max(run.cte.QLST, FORESEEABLE) : run.cte.QLST);
}

/// Whether the limits of generator j at bus k are looked at on this pass, and it stands for itself.
bool looked_at(const Run& run, int j, int k) {
    const ControlWork& w = run.mat.control;
    const int type = std::abs(run.store.bus.NTYPE(k));
    if (!run.opt["QLIM"_opt] || type < 2 || type > 3 || w.exempt(j) || w.NTCST(j) != 0) return false;
    if (w.remote(j) && !w.remote_row(w.remote(j)).active) return false;
    return !island_failed(run, k) && foreseen(run, k);
}

bool has_band(const Run& run, int j) { return std::abs(run.store.gen.QMAX(j) - run.store.gen.QMIN(j)) > run.cte.TLPR; }

bool at_highest(const Run& run, int j) { return run.store.gen.QGEN(j) >= run.store.gen.QMAX(j) - run.cte.TLPR; }

// The pass is solved anew with the other type. What counts as a turn is the state in which the pass leaves the bus.
void swing(Run& run, int j) {
    Store& s = run.store;
    const int k = s.gen.NOGEN(j);
    unsigned char &swings = run.mat.work.mark(k), &turns = run.mat.control.turns(j);
    if (swings++ == 0) note_switch(run.mat.state, s.bus.NOINT(k));
    if (swings % 2 != 0)
        note_turn(run, j);
    else if (turns > 0)
        --turns;
    s.bus.NTYPE(k) = -s.bus.NTYPE(k);
    if (s.bus.NTYPE(k) > 0 && !run.mat.control.remote(j)) s.bus.VOLT(k) = s.gen.VGEN(j);
}

void Checker::generator(int j) {
    const At g = at(j);
    const bool in_group = w.NTCST(j) != 0;
    const double slack = run.cte.TLPR;
    if (g.type > 0) {
        if (!(g.q > g.high + slack || g.q < g.low - slack)) return;
        generate(g, g.q > g.high + slack ? g.high : g.low, in_group);
        if (bring_in_unit(run, j)) {
            unit_came_in = true;
            changed(g);
        } else
            turn(g);
    } else if (asks_to_leave(run, j)) {
        if (!may_leave(j)) return;
        if (const Held held = held_by(run, j); !held.elsewhere) g.v = held.set;
        if (!in_group) dq(run, g.k) = 0;
        turn(g);
    } else if (g.q > g.high + slack || g.q < g.low - slack) {
        generate(g, g.q > g.high + slack ? g.high : g.low, true);
        changed(g);
    }
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
    if (turns < (late(run) ? LATE_TURNS : MOST_TURNS)) return true;
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
        return by_island && (island_failed(run, k) || !(reactive_mismatch(run, k) <= run.cte.QLST));
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

bool foresee_limits(Run& run) {
    Store& s = run.store;
    const ControlWork& w = run.mat.control;
    if (!run.opt["QLIM"_opt] || s.gei.NGEI != 0) return false;  // units come in one by one
    if (!run.opt["CILH"_opt] && !foreseen(run, 1)) return false;
    Foresight ahead{run};
    const double widest = ahead.widest();
    if (widest <= STILL) return false;
    bool any = false;
    int alone = 0;  // the contested generator that wants most to come back
    double most = 0;
    for (int j : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(j);
        const double low = s.gen.QMIN(j), high = s.gen.QMAX(j), slack = run.cte.TLPR;
        if (s.bus.NTYPE(k) > 0) {
            const double reach = ahead.reach(k, widest), present = s.gen.QGEN(j);
            if (!w.releases(j) && present + reach <= high + slack && present - reach >= low - slack) continue;
            if (!looked_at(run, j, k)) continue;
            const double q = ahead.generation(j, k);
            if (!(q > high + slack || q < low - slack)) continue;
            s.gen.QGEN(j) = q > high ? high : low;
        } else {
            if (!looked_at(run, j, k)) continue;
            const unsigned char swings = run.mat.work.mark(k);
            if (!has_band(run, j) || swings >= MOST_SWINGS) continue;
            const Held held = held_by(run, j);
            const double beyond = (ahead.voltage(held.bus) - held.set) * (at_highest(run, j) ? 1 : -1);
            if (!(beyond >= 0) || !may_turn(run, j)) continue;
            if (swings >= CONTESTED) {
                if (beyond > most) most = beyond, alone = j;
                continue;
            }
        }
        swing(run, j);
        any = true;
    }
    if (alone) swing(run, alone);
    return any || alone != 0;
}

bool release_generator(Run& run, int k, bool too_low) {
    const int j = run.mat.work.NOBGEN(k);
    if (!j || run.store.bus.NTYPE(k) > 0 || !looked_at(run, j, k) || run.mat.control.remote(j)) return false;
    if (!has_band(run, j) || at_highest(run, j) == too_low || run.mat.work.mark(k) >= MOST_SWINGS) return false;
    if (!may_turn(run, j)) return false;
    swing(run, j);
    return true;
}

void tell_stuck(Run& run) {
    const Store& s = run.store;
    const ControlWork& w = run.mat.control;
    for (int j : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(j);
        // In a group it is the share that would tell, not the voltage.
        const bool by_voltage = (s.bus.NTYPE(k) == -2 || s.bus.NTYPE(k) == -3) && w.NTCST(j) == 0;
        if (w.turns(j) < MOST_TURNS || (by_voltage && !asks_to_leave(run, j))) continue;
        MSGPUT(run, "LIMREA", -900, s.bus.NOINT(k), element::bus_number);
    }
}

}  // namespace korvane
