// The exported tables of controls: what each of them aims at, what it has reached, and what explains the difference.
#include <cmath>

#include "app/export.hpp"
#include "app/export_tables.hpp"
#include "network/branch_rows.hpp"
#include "network/list_marks.hpp"
#include "network/voltage_holders.hpp"

namespace korvane {

namespace {

bool has_ends(const Store& s, int l) {
    return l >= 1 && l <= s.branch.NL && s.branch.NFROM(l) != 0 && s.branch.NTO(l) != 0;
}

// --- generators that hold the voltage of another bus

/// The remote controls of the last solution.
class RemoteControls {
public:
    explicit RemoteControls(Run& run) : run_(run), s_(run.store), holds_(voltage_holders(run)) {}

    std::string_view state(int i) const {
        const int j = s_.rcb.ICB(i), k = s_.gen.NOGEN(j);
        if (!s_.bus.STBUS(k)) return "out";
        if (holds_[std::size_t(j)].control != i) return "off";
        if (s_.bus.NTYPE(k) > 0) return at_terminal_limit(i) ? "terminal" : "free";
        const double q = s_.gen.QGEN(j);
        return s_.gen.QMAX(j) - q <= q - s_.gen.QMIN(j) ? "max" : "min";
    }

    /// Buses that a generator elsewhere holds: it is at no reactive limit.
    std::vector<char> held_buses() const {
        std::vector<char> held(std::size_t(s_.bus.NB) + 1);
        for (int j : rows(s_.gen.NG))
            if (const VoltageHold& hold = holds_[std::size_t(j)]; hold.control && s_.bus.NTYPE(s_.gen.NOGEN(j)) > 0)
                held[std::size_t(hold.bus)] = 1;
        return held;
    }

private:
    // VLCR keeps the voltage at the terminals at a limit of its group.
    bool at_terminal_limit(int i) const {
        const int k = s_.gen.NOGEN(s_.rcb.ICB(i)), group = s_.bus.NOGLT(k), c = s_.rcb.IRCB(i);
        if (!run_.opt["VLCR"_opt] || !group || !(std::abs(s_.bus.VOLT(c) - s_.rcb.VRCB(i)) > run_.cte.TLVC))
            return false;
        const double v = s_.bus.VOLT(k), low = run_.opt["EMRG"_opt] ? s_.glt.VMINE(group) : s_.glt.VMIN(group);
        return v == low || v == s_.glt.VMAX(group);
    }

    const Run& run_;
    const Store& s_;
    std::vector<VoltageHold> holds_;
};

// --- compensators and phase shifters

/// A row of compensators.csv; numbers that a kind has none of stay empty.
struct Control {
    std::string_view kind;
    int from;
    std::optional<int> to, circuit, group;
    std::string_view state, quantity;
    int controlled_bus;
    std::optional<double> target, achieved;
    double value, lowest, highest;
};

void write(Csv& csv, const Store& s, const Control& c) {
    csv << c.kind << s.bus.NOINT(c.from) << c.to << c.circuit << c.group << c.state << c.quantity;
    csv << (c.controlled_bus ? std::optional<int>(s.bus.NOINT(c.controlled_bus)) : std::nullopt);
    csv << c.target << c.achieved << c.value << c.lowest << c.highest;
    csv.end_row();
}

void static_rows(Csv& csv, const Store& s, double base) {
    constexpr int HIGHEST = 1, LOWEST = 3;  // KONCER
    const CompensatorTables& t = s.cer;
    for (int i : rows(t.NCER)) {
        const int k = t.NBECER(i), c = t.NVKCER(i), region = t.KONCER(i);
        if (k == 0 || c == 0) continue;  // removed in a block that did not come to its end
        const double unit = std::max(1, t.NUCER(i)) * s.bus.VOLT(k) * s.bus.VOLT(k) * base;
        write(csv, s,
              {.kind = "static",
               .from = k,
               .to = {},
               .circuit = {},
               .group = t.IGCER(i),
               .state = !t.STUCER(i) || !s.bus.STBUS(k) ? "out"
                        : region == HIGHEST             ? "max"
                        : region == LOWEST              ? "min"
                                                        : "free",
               .quantity = "voltage",
               .controlled_bus = c,
               .target = t.VCER(i),
               .achieved = s.bus.VOLT(c),
               .value = t.QGCER(i) * base,
               .lowest = t.QCERMN(i) * unit,
               .highest = t.QCERMX(i) * unit});
    }
}

/// Active power that a branch draws at one end, MW, and the same as a current: MVA at 1 pu.
struct Drawn {
    double power, current;
};
Drawn drawn_at(const Run& run, int l, int k) {
    const BranchFlow f = live_flow(run, l);
    const double p = (k == run.store.branch.NTO(l) ? f.pt : f.pf) * run.cte.BASE;
    return {p, p / run.store.bus.VOLT(k)};
}

void series_rows(Csv& csv, const Run& run) {
    constexpr int POWER = 1, CURRENT = 2, REACTANCE = 3;  // KONCSC
    const Store& s = run.store;
    const SeriesDeviceTables& t = s.csc;
    auto reactance = [](double b) { return -100 / b; };  // per cent
    for (int i : rows(t.NCSC)) {
        const int l = t.LICSC(i), k = t.NBECSC(i);
        if (!has_ends(s, l) || k == 0) continue;  // removed in a block that did not come to its end
        const double b = s.branch.BKM(l);
        // What the data ask for; a bypass that is in has put it off.
        const int mode = t.KONCSC_ORI(i) ? t.KONCSC_ORI(i) : t.KONCSC(i);
        const Drawn drawn = drawn_at(run, l, k);
        write(csv, s,
              {.kind = "series",
               .from = s.branch.NFROM(l),
               .to = s.bus.NOINT(s.branch.NTO(l)),
               .circuit = s.branch.NCIR(l),
               .group = {},
               .state = !connects(s, l)            ? "out"
                        : t.KONCSC(i) == REACTANCE ? "fixed"
                        : t.NTYCSC(i)              ? "free"
                        : b == t.BMNCSC(i)         ? "min"
                        : b == t.BMXCSC(i)         ? "max"
                                                   : "rounded",
               .quantity = mode == POWER     ? "power"
                           : mode == CURRENT ? "current"
                                             : "reactance",
               .controlled_bus = k,
               .target = mode == REACTANCE ? reactance(t.VSPCSC(i)) : t.VSPCSC(i) * run.cte.BASE,
               .achieved = mode == POWER     ? drawn.power
                           : mode == CURRENT ? drawn.current
                                             : reactance(b),
               .value = reactance(b),
               .lowest = reactance(t.BMNCSC(i)),
               .highest = reactance(t.BMXCSC(i))});
    }
}

void shifter_rows(Csv& csv, const Run& run) {
    constexpr int CURRENT = 1;  // KONPHS
    const Store& s = run.store;
    const PhaseTables& t = s.phs;
    for (int i : rows(t.NPHS)) {
        const int n = t.NOPHS(i), l = n ? int(s.tap.NOTAP(n)) : 0;
        if (!has_ends(s, l) || s.branch.LTYPE(l) != 6) continue;
        const bool controls = t.KONPHS(i) != 0, current = t.KONPHS(i) == CURRENT;
        const int k = t.NBEPHS(i) ? t.NBEPHS(i).at : s.branch.NFROM(l).at;
        const Drawn drawn = drawn_at(run, l, k);
        const bool lower = t.PHS(i) - t.PHSMIN(i) < t.PHSMAX(i) - t.PHS(i);
        Control row = {.kind = "phase",
                       .from = s.branch.NFROM(l),
                       .to = s.bus.NOINT(s.branch.NTO(l)),
                       .circuit = s.branch.NCIR(l),
                       .group = {},
                       .state = !connects(s, l)                     ? "out"
                                : !controls || !run.opt["CPHS"_opt] ? "fixed"
                                : !t.FLGPHS(i)                      ? "free"
                                : !shift_at_limit(s, i)             ? "held"
                                : lower                             ? "min"
                                                                    : "max",
                       .quantity = !controls ? ""
                                   : current ? "current"
                                             : "power",
                       .controlled_bus = k,
                       .target = {},
                       .achieved = {},
                       .value = t.PHS(i) * DEGREES,
                       .lowest = t.PHSMIN(i) * DEGREES,
                       .highest = t.PHSMAX(i) * DEGREES};
        if (controls) {
            row.target = t.VSPPHS(i) * run.cte.BASE;
            row.achieved = current ? drawn.current : drawn.power;
        }
        write(csv, s, row);
    }
}

}  // namespace

std::string transformers_csv(Run& run) {
    Store& s = run.store;
    const BranchTables& b = s.branch;
    const std::vector<char> remote = RemoteControls(run).held_buses();
    const std::span<int> held = named_by(s, s.tpf, b.NL);
    const bool solved_with_taps = run.opt.solved && run.opt["CTAP"_opt];
    Csv csv("from,to,circuit,in_service,state,controlled_bus,target_pu,voltage_pu,tap,tap_min,tap_max");
    for (int t : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(t), k = std::abs(s.tap.KBUS(t).at);
        if (!has_ends(s, l) || (b.LTYPE(l) != 3 && b.LTYPE(l) != 4)) continue;
        if (k == 0) continue;  // removed in a block that did not come to its end
        const bool waits = s.bus.NTYPE(k) > 0 || remote[std::size_t(k)];
        const std::string_view state = held[std::size_t(l)]                                  ? "held"
                                       : solved_with_taps && !waits && voltage_unmet(run, t) ? "stopped"
                                       : s.tap.NTTAP(t) == 1                                 ? "max"
                                       : s.tap.NTTAP(t) == 2                                 ? "min"
                                       : waits                                               ? "standby"
                                                                                             : "free";
        csv << s.bus.NOINT(b.NFROM(l)) << s.bus.NOINT(b.NTO(l)) << b.NCIR(l) << int(b.STLIN(l)) << state
            << s.bus.NOINT(k) << tap_target(run, t) << s.bus.VOLT(k) << 1.0 / s.tap.TAP(t) << s.tap.TPMIN(t)
            << s.tap.TPMAX(t);
        csv.end_row();
    }
    return csv.take();
}

std::string compensators_csv(Run& run) {
    Csv csv("kind,from,to,circuit,group,state,quantity,controlled_bus,target,achieved,value,value_min,value_max");
    static_rows(csv, run.store, run.cte.BASE);
    series_rows(csv, run);
    shifter_rows(csv, run);
    return csv.take();
}

std::string shunts_csv(Run& run) {
    const Store& s = run.store;
    const AutomaticShuntTables& t = s.sca;
    const double base = run.cte.BASE;
    std::vector<char> of_bank(std::size_t(t.NSCA) + 1);
    for (int b : rows(s.bsh.NBSH)) of_bank[std::size_t(s.bsh.IPSCA(b))] = 1;
    Csv csv("bus,source,mode,state,controlled_bus,v_min_pu,v_max_pu,voltage_pu,b_mvar,b_min_mvar,b_max_mvar,q_mvar");
    for (int i : rows(t.NSCA)) {
        const int k = t.NBUSSCA(i), c = t.KBUSSCA(i), mode = std::abs(t.KONSCA(i));
        if (k == 0 || c < 1 || c > s.bus.NB) continue;  // removed in a block that did not come to its end
        const ShuntRange range = shunt_range(t, i);
        const double v = s.bus.VOLT(k);
        const std::string_view state = !s.bus.STBUS(k)                     ? "out"
                                       : mode == 0 || !run.opt["CSCA"_opt] ? "fixed"
                                       : t.NTSCA(i) == 1                   ? "min"
                                       : t.NTSCA(i) == 2                   ? "max"
                                                                           : "free";
        csv << s.bus.NOINT(k) << (of_bank[std::size_t(i)] ? "bank" : "direct")
            << (mode == 0   ? "fixed"
                : mode == 1 ? "discrete"
                            : "continuous")
            << state << s.bus.NOINT(c) << t.VMINSCA(i) << t.VMAXSCA(i) << s.bus.VOLT(c) << t.BSCA(i) * base
            << range.lowest * base << range.highest * base << (s.bus.STBUS(k) ? t.BSCA(i) * v * v * base : 0.0);
        csv.end_row();
    }
    return csv.take();
}

std::string generators_remote_csv(Run& run) {
    const Store& s = run.store;
    const RemoteControls remote(run);
    const double base = run.cte.BASE;
    Csv csv("bus,state,controlled_bus,target_pu,voltage_pu,q_gen_mvar,q_min_mvar,q_max_mvar");
    for (int i : rows(s.rcb.NRCB)) {
        const int j = s.rcb.ICB(i), c = s.rcb.IRCB(i), k = j ? int(s.gen.NOGEN(j)) : 0;
        if (k == 0 || c < 1 || c > s.bus.NB) continue;  // removed in a block that did not come to its end
        csv << s.bus.NOINT(k) << remote.state(i) << s.bus.NOINT(c) << s.rcb.VRCB(i) << s.bus.VOLT(c)
            << s.gen.QGEN(j) * base << s.gen.QMIN(j) * base << s.gen.QMAX(j) * base;
        csv.end_row();
    }
    return csv.take();
}

}  // namespace korvane
