// A generator of the lists gives its reactive generation up to an equation: the voltage of its own bus is free, and a
// fictitious bus has the change of its reactive generation as unknown. The last of a group that can act holds the
// controlled voltage; each before it shares with the next that can,
//
//     V(c) = VRCB                                     last or alone
//     Q(i) / ALFACREM(i) = Q(j) / ALFACREM(j)         i before j
//
// so that a group has as many equations as unknowns whoever of it is at a limit. The reactive generation of one alone
// needs no start: it is read off its mismatch, as at any bus that holds a voltage.
#include "powerflow/remote_voltage.hpp"

#include <cmath>

#include "network/voltage_holders.hpp"
#include "powerflow/augmented.hpp"

namespace korvane {

namespace {

using RemoteRow = ControlWork::RemoteRow;
using Cell = ControlledBuses::Cell;

/// Weight of the own unknown in a voltage equation, 1/pu: small beside what it moves, and never nothing, so that the
/// elimination may begin with it.
constexpr double SLIGHT = 1e-6;

int own_bus(const Run& run, const RemoteRow& row) { return run.store.gen.NOGEN(row.generator); }
int own_type(const Run& run, const RemoteRow& row) { return run.store.bus.NTYPE(own_bus(run, row)); }

/// Whether the equation of the generator acts: it is neither at a reactive limit nor at one of its terminal voltage.
bool can_act(const Run& run, const RemoteRow& row) { return own_type(run, row) > 0 && row.active; }

bool at_limit(const Run& run, const RemoteRow& row) { return own_type(run, row) < 1; }

RemoteRow& row_of_cell(Run& run, int cell) {
    ControlWork& w = run.mat.control;
    return w.remote_row(w.held.cell(cell).number);
}

/// f(cell) for the generators of a list from a cell on; they stand in front of all else.
template <class F>
void each_generator(const ControlledBuses& lists, int cell, F f) {
    for (; cell && lists.is_generator(cell); cell = lists.cell(cell).next) f(cell);
}

void add_row(ControlWork& w, int generator, int bus, double target) {
    RemoteRow& row = w.remote_row(++w.remotes) = {};
    row.generator = generator;
    row.bus = bus;
    row.target = target;
    row.active = true;
    w.remote(generator) = w.remotes;
}

// Those of the data in the order of their rows, then with `forced` those that TGER adds.
void list_remote_controls(Run& run, bool forced) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.remotes = 0;
    w.remote.fill(s.gen.NG, 0);
    const std::vector<VoltageHold> holds = voltage_holders(run);
    auto hold = [&](int j) -> const VoltageHold& { return holds[std::size_t(j)]; };
    for (int i : rows(s.rcb.NRCB))
        if (const int j = s.rcb.ICB(i); j && hold(j).control == i) add_row(w, j, hold(j).bus, s.rcb.VRCB(i));
    if (!forced) return;
    for (int j : rows(s.gen.NG))
        if (hold(j).forced) add_row(w, j, hold(j).bus, s.gen.VGEN(j));
}

void enter_lists(Run& run) {
    ControlWork& w = run.mat.control;
    ControlledBuses& lists = w.held;
    for (int i : rows(w.remotes)) {
        RemoteRow& row = w.remote_row(i);
        const int head = lists.head(row.bus);
        const bool last = head || run.opt["TGER"_opt];
        for (int c = head; c; c = lists.cell(c).next) lists.cell(c).code = Holder::group_generator;
        append_cell(lists, row.bus, last ? Holder::last_generator : Holder::generator, row.generator, i);
        row.equation = add_fictitious_bus(run, Equation::remote_generator, i);
    }
}

void add_branches(Run& run) {
    ControlWork& w = run.mat.control;
    for (int b : rows(w.held.n))
        each_generator(w.held, w.held.head(w.held.bus(b)), [&](int cell) {
            RemoteRow& row = row_of_cell(run, cell);
            row.group = w.held.cell(cell).code != Holder::generator;
            row.to_own = add_fictitious_branch(run, row.equation, own_bus(run, row));
            const bool elsewhere = row.bus != own_bus(run, row);
            row.to_bus = elsewhere ? add_fictitious_branch(run, row.equation, row.bus) : row.to_own;
            row.to_next = run.mat.state.NBR + 1;
            each_generator(w.held, w.held.cell(cell).next, [&](int behind) {
                add_fictitious_branch(run, row.equation, row_of_cell(run, behind).equation);
            });
        });
}

// NTCST. Once all of a group are at their limits none of it has others to share with: each is looked at by itself.
void mark_groups(Run& run) {
    ControlWork& w = run.mat.control;
    for (int b : rows(w.held.n)) {
        const int head = w.held.head(w.held.bus(b));
        bool any_free = false;
        each_generator(w.held, head, [&](int c) { any_free = any_free || !at_limit(run, row_of_cell(run, c)); });
        each_generator(w.held, head, [&](int c) {
            const RemoteRow& row = row_of_cell(run, c);
            if (row.group) w.NTCST(row.generator) = any_free && at_limit(run, row) ? -2 : 2;
        });
    }
}

/// Terminal voltage limits of a generator bus; none without a group.
struct Band {
    double lowest, highest;
};
std::optional<Band> terminal_band(const Run& run, int k) {
    const Store& s = run.store;
    const int group = s.bus.NOGLT(k);
    if (!group) return std::nullopt;
    return Band{run.opt["EMRG"_opt] ? s.glt.VMINE(group) : s.glt.VMIN(group), s.glt.VMAX(group)};
}

/// A generator that came back from its terminal limits so often in one solution stays there.
constexpr int MOST_RETURNS = 10;

void check_terminal(Run& run, RemoteRow& row) {
    Store& s = run.store;
    const int k = own_bus(run, row);
    const auto band = terminal_band(run, k);
    if (row.group || own_type(run, row) < 2 || !band) return;
    const double slack = run.cte.TLVC, error = s.bus.VOLT(row.bus) - row.target;
    double& v = s.bus.VOLT(k);
    const bool low = v <= band->lowest + slack, high = v >= band->highest - slack;
    auto asked_back = [&](bool from_low) { return from_low ? error < -slack : error > slack; };
    if (row.active) {
        if ((!low || asked_back(true)) && (!high || asked_back(false))) return;
        row.active = false;
        v = row.terminal = low && !asked_back(true) ? band->lowest : band->highest;
        if (row.returns >= MOST_RETURNS) return meet_residual(run, &Residuals::DV, HELD, k);
    } else {
        if (!asked_back(row.terminal == band->lowest) || row.returns >= MOST_RETURNS) return;
        row.active = true;
        ++row.returns;
    }
    meet_residual(run, &Residuals::DV, HELD, k);
}

}  // namespace

void note_remote_voltage(Run& run) { list_remote_controls(run, false); }

bool build_remote_voltage(Run& run) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    w.remotes = 0;
    w.NTCST.fill(s.gen.NG, 0);
    w.remote.fill(s.gen.NG, 0);
    w.releases.fill(s.gen.NG, false);
    if (!run.opt["CREM"_opt]) return true;
    list_remote_controls(run, true);
    enter_lists(run);
    add_branches(run);
    if (!equations_fit(run, "ETCREM")) return false;
    mark_groups(run);
    if (run.opt["VLCR"_opt])
        for (int i : rows(w.remotes)) check_terminal(run, w.remote_row(i));
    return true;
}

void write_remote_row(Run& run, int cell) {
    const Store& s = run.store;
    ControlWork& w = run.mat.control;
    const RemoteRow& row = row_of_cell(run, cell);
    const int k = own_bus(run, row), j = row.generator;
    w.releases(j) = can_act(run, row);
    if (!w.releases(j) || island_failed(run, k)) return;
    Block& own = run.mat.diagonal[row_of(run, row.equation)];
    double& right = run.mat.side[row_of(run, row.equation)].WORK;
    link_of(run, row.to_own).to_from.L = -1 / s.bus.VOLT(k);

    int next = 0, branch = row.to_next, to_next = 0;
    each_generator(w.held, w.held.cell(cell).next, [&](int c) {
        if (!next && can_act(run, row_of_cell(run, c))) next = row_of_cell(run, c).generator, to_next = branch;
        ++branch;
    });
    if (next) {
        const double ratio = s.gen.ALFACREM(j) / s.gen.ALFACREM(next);
        const double error = ratio * s.gen.QGEN(next) - s.gen.QGEN(j);
        own.L = 1;
        link_of(run, to_next).from_to.L = -ratio;
        right = std::abs(error) < run.cte.TEPR ? 0 : error;
        meet_residual(run, &Residuals::DG, std::abs(right), k);
    } else {
        const double v = s.bus.VOLT(row.bus), error = row.target - v;
        own.L = SLIGHT;
        link_of(run, row.to_bus).from_to.L = 1;
        right = std::abs(error) < run.cte.TLVC ? 0 : error / v;
        meet_residual(run, &Residuals::DV, std::abs(right) * v, row.bus);
    }
}

void update_remote_voltage(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    for (int i : rows(w.remotes)) {
        const RemoteRow& row = w.remote_row(i);
        if (!row.group || !w.releases(row.generator)) continue;
        s.gen.QGEN(row.generator) += run.mat.side[row_of(run, row.equation)].WORK * step_of(run, own_bus(run, row));
    }
    mark_groups(run);
}

void check_terminal_voltages(Run& run) {
    ControlWork& w = run.mat.control;
    if (!run.opt["VLCR"_opt]) return;
    for (int i : rows(w.remotes)) {
        RemoteRow& row = w.remote_row(i);
        const int k = own_bus(run, row);
        if (reactive_mismatch(run, k) <= run.cte.QLST && !island_failed(run, k)) check_terminal(run, row);
    }
}

void rejoin_groups(Run& run) {
    Store& s = run.store;
    ControlWork& w = run.mat.control;
    const Constants& c = run.cte;
    auto settled = [&](int k) {
        const Residuals& r = run.opt["CILH"_opt] ? run.mat.island(s.ilh.NOILHA2(k)).residual : run.mat.state.residual;
        return r.DP <= c.TEPA && r.DQ <= c.TEPR && r.DV <= c.TLVC;
    };
    // What it would give by the share of one that is free lies inside the limit at which it stands.
    auto inside = [&](int j, int free) {
        const double q = s.gen.QGEN(free) * s.gen.ALFACREM(j) / s.gen.ALFACREM(free);
        return (std::abs(s.gen.QGEN(j) - s.gen.QMAX(j)) <= c.TLPR && q < s.gen.QMAX(j)) ||
               (std::abs(s.gen.QGEN(j) - s.gen.QMIN(j)) <= c.TLPR && q > s.gen.QMIN(j));
    };
    std::vector<int> back;  // none at almost every pass
    for (int i : rows(w.remotes)) {
        const RemoteRow& row = w.remote_row(i);
        const int j = row.generator;
        if (w.NTCST(j) >= 0 || !at_limit(run, row) || !settled(own_bus(run, row))) continue;
        if (std::abs(s.gen.QMAX(j) - s.gen.QMIN(j)) <= c.TLPR || !may_turn(run, j)) continue;
        bool returns = false;
        each_generator(w.held, w.held.head(row.bus), [&](int cell) {
            const RemoteRow& other = row_of_cell(run, cell);
            returns = returns || (can_act(run, other) && inside(j, other.generator));
        });
        if (returns) back.push_back(j);
    }
    for (int j : back) {
        const int k = s.gen.NOGEN(j);
        s.bus.NTYPE(k) = std::abs(s.bus.NTYPE(k));
        w.NTCST(j) = 2;
        w.releases(j) = true;  // its voltage stays free; its equation follows on the next pass
        note_turn(run, j);
        reopen_reactive(run, k);
    }
}

}  // namespace korvane
