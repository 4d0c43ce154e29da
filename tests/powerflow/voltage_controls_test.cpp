// Remote voltage and automatic taps in a solution: what they hold, what explains it where they do not, and that a plain
// solution with their result agrees.
#include <gtest/gtest.h>

#include "bench/control_decks.hpp"
#include "powerflow/controlled_networks.hpp"
#include "powerflow/tap_steps.hpp"
#include "support/reference.hpp"

namespace korvane::testing {
namespace {

// How far a controlled voltage may be from its target, pu.
double tolerance(const Session& n) { return 1.01 * n.run.cte.TLVC; }

bool at_limit(const Store& s, int j) { return s.bus.NTYPE(s.gen.NOGEN(j)) < 0; }

/// Remote generators that DFCR does not leave out.
std::vector<int> controlling(const Store& s) {
    std::vector<int> list;
    for (int i : rows(s.rcb.NRCB)) {
        bool excluded = false;
        for (int x : rows(s.fcr.n)) excluded = excluded || s.fcr.row(x) == s.rcb.ICB(i);
        if (!excluded) list.push_back(i);
    }
    return list;
}

// Every controlled voltage is met, or no generator of its bus can act; those free share by their factors, and one at a
// limit would have to pass it for its share.
void expect_remote(const Session& n, const std::string& what) {
    const Store& s = n.store();
    for (int i : controlling(s)) {
        const int j = s.rcb.ICB(i), c = s.rcb.IRCB(i);
        bool any_free = false;
        for (int other : controlling(s)) {
            const int o = s.rcb.ICB(other);
            if (s.rcb.IRCB(other) != c || at_limit(s, o)) continue;
            any_free = true;
            const double share = s.gen.QGEN(o) * s.gen.ALFACREM(j) / s.gen.ALFACREM(o);
            if (!at_limit(s, j))
                EXPECT_NEAR(s.gen.QGEN(j), share, 1e-7) << what << " share of " << j;
            else if (s.gen.QMAX(j) - s.gen.QMIN(j) > n.run.cte.TLPR && s.gen.QGEN(j) > s.gen.QMAX(j) - 1e-6)
                EXPECT_GE(share, s.gen.QMAX(j) - 1e-6) << what << " at its highest " << j;
        }
        const double error = s.bus.VOLT(c) - s.rcb.VRCB(i);
        if (at_limit(s, j) && n.run.mat.control.turns(j) >= 10) {  // it went back and forth, and the report says so
            EXPECT_TRUE(shows(n.messages(), "LIMREA -900")) << what;
            continue;
        }
        if (any_free) {
            EXPECT_NEAR(error, 0, tolerance(n)) << what << " bus " << c;
        } else if (std::abs(s.gen.QGEN(j) - s.gen.QMAX(j)) < 1e-6) {
            EXPECT_LE(error, tolerance(n)) << what << " at its highest " << j;
        } else {
            EXPECT_GE(error, -tolerance(n)) << what << " at its lowest " << j;
        }
    }
}

bool stopped(const Session& n, int t) {
    const ControlWork& w = n.run.mat.control;
    for (int i : rows(w.taps))
        if (w.tap_row(i).tap == t) return w.tap_row(i).count < 0;
    return false;
}

bool held_by_list(const Store& s, int l) {
    for (int i : rows(s.tpf.n))
        if (s.tpf.row(i) == l) return true;
    return false;
}

// A tap meets its voltage, or stands at the limit that explains it, or a generator holds the bus.
void expect_taps(const Session& n, const std::string& what) {
    const Store& s = n.store();
    for (int t : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(t), c = std::abs(s.tap.KBUS(t));
        if (!s.branch.STLIN(l) || (s.branch.LTYPE(l) != 3 && s.branch.LTYPE(l) != 4) || held_by_list(s, l)) continue;
        EXPECT_GE(1 / s.tap.TAP(t), s.tap.TPMIN(t) - 2e-4) << what;
        EXPECT_LE(1 / s.tap.TAP(t), s.tap.TPMAX(t) + 2e-4) << what;
        const double error = s.bus.VOLT(c) - tap_target(n.run, t);
        if (std::abs(error) <= tolerance(n) || s.bus.NTYPE(c) > 0 || at_explaining_limit(n.run, t, error)) continue;
        if (stopped(n, t)) {  // it went back and forth, and the report says so
            EXPECT_TRUE(shows(n.messages(), "ETCTAP -900")) << what;
            continue;
        }
        bool remote = false;
        if (n.run.opt["CREM"_opt])
            for (int i : controlling(s)) remote = remote || (s.rcb.IRCB(i) == c && !at_limit(s, s.rcb.ICB(i)));
        EXPECT_TRUE(remote) << what << " tap " << t << " a " << 1 / s.tap.TAP(t) << " error " << error;
    }
}

// A generator that holds its own bus does so within its limits, or stands at the one that explains the voltage.
void expect_generators(const Session& n, const std::string& what) {
    const Store& s = n.store();
    const double slack = n.run.cte.TLPR + 1e-9;
    for (int j : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(j), type = s.bus.NTYPE(k);
        if (std::abs(type) != 2 || n.run.mat.control.remote(j)) continue;
        EXPECT_GE(s.gen.QGEN(j), s.gen.QMIN(j) - slack) << what << ' ' << s.bus.NOINT(k);
        EXPECT_LE(s.gen.QGEN(j), s.gen.QMAX(j) + slack) << what << ' ' << s.bus.NOINT(k);
        const double above = s.bus.VOLT(k) - s.gen.VGEN(j);
        if (type > 0) {
            EXPECT_EQ(above, 0) << what << ' ' << s.bus.NOINT(k);
        } else if (s.gen.QMAX(j) - s.gen.QMIN(j) > n.run.cte.TLPR && n.run.mat.control.turns(j) < 10) {
            const bool highest = s.gen.QGEN(j) > s.gen.QMAX(j) - slack;
            EXPECT_LE(highest ? above : -above, 1e-6) << what << ' ' << s.bus.NOINT(k);
        }
    }
}

/// A mesh with both controls and room to move.
struct Mesh : Network {
    explicit Mesh(unsigned seed, double q = 99, double ratio = 0.25) {
        random_network(*this, seed, 40);
        add_remote(*this, seed);
        add_taps(*this, seed);
        for (int j : rows(s.gen.NG)) {
            int& type = s.bus.NTYPE(s.gen.NOGEN(j));
            type = std::abs(type);
            if (type == 3) continue;  // the slack keeps room, or nothing might hold the network
            limits(j, -q, q);
        }
        for (int t : rows(s.tap.NTAP)) {
            if (s.branch.LTYPE(s.tap.NOTAP(t)) < 3) continue;
            s.tap.TPMIN(t) = std::min(1 - ratio, 1 / s.tap.TAP(t));
            s.tap.TPMAX(t) = std::max(1 + ratio, 1 / s.tap.TAP(t));
        }
        run.cte.TLVC = 1e-4;
    }
};

/// A slack behind a line, and from bus 2 a transformer (two when `parallel`) to a load at bus 3; the tap holds bus 3,
/// or bus 2 when `own_side`.
struct Feeder : Network {
    int l, t, load;
    explicit Feeder(double q, bool own_side = false, bool parallel = false) {
        generator(3, 1.02);
        const int k = bus(0);
        load = bus(0, 1, 0.4, q);
        branch(1, k, 0.01, 0.06);
        for (int i = 0; i <= int(parallel); ++i) {
            l = branch(own_side ? load : k, own_side ? k : load, 0, 0.1 + 0.05 * i, 0, i ? 1.02 : 0.99);
            t = control_tap(own_side ? load : -load, 1.01);
        }
        run.opt.set("CTAP"_opt);
        run.cte.TLVC = 1e-6;
        ready();
    }
    double ratio(int i) const { return 1 / s.tap.TAP(i); }
    double v() const { return s.bus.VOLT(load); }
};

TEST(Taps, StopAtTheLimitThatTheVoltageAsksFor) {
    struct {
        const char* what;
        double q, target, ratio;  // the ratio where it ends; 0: between the limits
        int state;
        bool own_side;
    } cases[] = {
        {"within reach", 0.1, 1.01, 0, 0, false},
        {"too low a voltage", 0.9, 1.05, 0.9, 2, false},
        {"too high a voltage", -0.9, 0.95, 1.1, 1, false},
        {"at its own side, too low", 0.9, 1.05, 1.1, 1, true},
        {"at its own side, too high", -0.9, 0.95, 0.9, 2, true},
    };
    for (const auto& c : cases) {
        Feeder n(c.q, c.own_side);
        n.s.tap.VBUS(n.t) = c.target;
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << n.session.messages();
        EXPECT_EQ(n.s.tap.NTTAP(n.t), c.state) << c.what;
        if (c.state)
            EXPECT_NEAR(n.ratio(n.t), c.ratio, 1e-12) << c.what;
        else
            EXPECT_NEAR(n.v(), c.target, 2e-6) << c.what;
        expect_taps(n.session, c.what);
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
        const double t = n.s.tap.TAP(n.t);
        n.solve();
        EXPECT_EQ(n.s.sol.NITP, 0) << c.what << ": from its own solution";
        EXPECT_EQ(n.s.tap.TAP(n.t), t) << c.what;
        if (c.state == 0) continue;
        n.s.tap.VBUS(n.t) = n.v() + (c.target > 1 ? -0.02 : 0.02);  // the target comes within reach
        n.solve();
        EXPECT_EQ(n.s.tap.NTTAP(n.t), 0) << c.what << ": it leaves its limit";
        expect_taps(n.session, c.what);
    }
}

TEST(Taps, RestAndWakeAsTheOptionsSay) {
    struct {
        const char* what;
        void (*change)(Feeder&);
        bool moves;
    } cases[] = {
        {"free", [](Feeder&) {}, true},
        {"held by the list", [](Feeder& n) { n.s.tpf.row(add_row(n.s.tpf)) = n.l; }, false},
        {"without CTAP", [](Feeder& n) { n.run.opt.clear("CTAP"_opt); }, false},
        {"asleep", [](Feeder& n) { n.run.cte.TPST = -1; }, false},
        {"fixed tap", [](Feeder& n) { n.s.branch.LTYPE(n.l) = 1; }, false},
        {"inside its band",
         [](Feeder& n) {
             n.run.opt.set("CTAF"_opt);
             set_row(n.s.tap, n.t, "NTTVF", 1, "VMNTVF", 0.9, "VMXTVF", 1.1);
         },
         false},
    };
    for (const auto& c : cases) {
        Feeder n(0.3);
        c.change(n);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << n.session.messages();
        EXPECT_EQ(std::abs(n.ratio(n.t) - 0.99) > 1e-9, c.moves) << c.what;
        EXPECT_EQ(std::abs(n.v() - 1.01) <= 2e-6, c.moves) << c.what;
    }
}

TEST(Taps, ABandIsReachedAtItsCentreOrItsLimit) {
    for (const bool nearest : {false, true})
        for (const double low : {1.02, 0.9}) {
            Feeder n(0.3);
            n.run.opt.set("CTAF"_opt);
            set_row(n.s.tap, n.t, "NTTVF", 1, "VMNTVF", low, "VMXTVF", low + 0.03, "TVFLIM", nearest);
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1);
            EXPECT_NEAR(n.v(), !nearest ? low + 0.015 : low == 1.02 ? 1.02 : 0.93, 2e-4) << "it rests once inside";
        }
}

TEST(Taps, EndOnPositionsAndParallelOnesTogether) {
    for (const bool parallel : {false, true})
        for (const int positions : {0, 1, 2, 5, 17}) {
            Feeder n(0.3, false, parallel);
            if (positions == 5) n.run.opt.set("CILH"_opt);
            for (int t : rows(n.s.tap.NTAP)) n.s.tap.NTSTP(t) = positions;
            n.run.cte.TSTP = 33;
            n.run.opt.set("TAPD"_opt);
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << n.session.messages();
            EXPECT_LT(worst_imbalance(n.s), 1e-7) << "positions";
            const int steps = (positions ? positions : 33) - 1;
            for (int t : rows(n.s.tap.NTAP)) {
                EXPECT_NEAR(n.ratio(t), n.ratio(1), 1e-12) << "parallel taps have one position";
                if (!steps) continue;
                const double at = (n.ratio(t) - 0.9) / 0.2 * steps;
                EXPECT_NEAR(at, std::round(at), 1e-9) << positions;
            }
            const double off = n.v() - 1.01, a = n.ratio(1);
            if (!steps) {
                EXPECT_NEAR(off, 0, 2e-6) << "one position is none";
                continue;
            }
            // It is the nearest one: a voltage that the tap would hold differs by half a position at most.
            n.run.opt.clear("TAPD"_opt);
            n.solve();
            EXPECT_LE(std::abs(n.ratio(1) - a), 0.1 / steps + 1e-6) << positions;
        }
    EXPECT_EQ(nearest_position(1.0, 0.9, 1.1, 0.1, 1e-4), 1.0);
    EXPECT_EQ(nearest_position(0.9 + 0.1 / 4, 0.9, 1.1, 0.05, 1e-4), 0.9) << "a tie goes down";
}

TEST(Taps, TakeOverWhenTheGeneratorRunsOut) {
    for (const double q : {0.1, 0.9})
        for (const bool elsewhere : {false, true}) {
            Feeder n(q, false);
            const int k = elsewhere ? n.generator(2, 1.0) : n.load;
            if (elsewhere) {
                n.branch(k, n.load, 0, 0.1);
                n.remote(n.s.gen.NG, n.load, 1.01);
                n.limits(n.s.gen.NG, -0.3, 0.3);
            } else {
                n.machine(n.load, 1.01, -0.3, 0.3);
            }
            n.run.opt.set("QLIM"_opt);
            n.ready().solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << q << elsewhere << n.session.messages();
            EXPECT_EQ(n.s.bus.NTYPE(k) < 0, q > 0.5);
            EXPECT_EQ(std::abs(n.ratio(1) - 0.99) > 1e-9, q > 0.5) << "the tap moves only then";
            EXPECT_NEAR(n.v(), 1.01, 2e-6);
            EXPECT_LT(worst_imbalance(n.s), 1e-7) << "two holders";
        }
}

// The transformer of a generator loses its effect on the network as the generator meets a limit. Its tap is not to go
// back and forth for that, and the generator comes off the limit where that helps.
TEST(Taps, OfAGeneratorThatRunsOut) {
    struct {
        const char* what;
        double q, target;
        bool limited;
        double ratio;  // of the tap where it ends; 0: between its limits
    } cases[] = {{"far too low", 0.8, 1.05, true, 0.9},
                 {"far too high", -0.8, 0.95, true, 1.1},
                 {"in reach of both", 0.1, 1.0, false, 0}};
    for (const auto& c : cases) {
        Network n;
        n.generator(3, 1.02);
        const int network = n.bus(0, 1, 0.3, c.q), k = n.generator(2, 1.0, 0.2), j = n.s.gen.NG;
        n.branch(1, network, 0.01, 0.1);
        n.branch(k, network, 0, 0.1, 0, 1.01);
        n.limits(j, -0.3, 0.3);
        const int t = n.control_tap(-network, c.target);
        for (auto o : {"CTAP", "QLIM"}) n.run.opt.set(Option{find_option(o)});
        n.run.cte.TLVC = 1e-4;
        n.ready().solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << n.session.messages();
        EXPECT_LE(n.s.sol.NITP, 14) << c.what;
        EXPECT_EQ(n.session.messages(), "") << c.what;
        EXPECT_EQ(at_limit(n.s, j), c.limited) << c.what;
        if (c.ratio != 0) EXPECT_NEAR(1 / n.s.tap.TAP(t), c.ratio, 1e-12) << c.what;
        expect_taps(n.session, c.what);
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
    }
}

TEST(RemoteVoltage, TerminalLimitsHoldWhatTheTargetAsks) {
    for (const double target : {1.0, 1.12, 0.9}) {
        Network n;
        n.generator(3, 1);
        const int k = n.generator(2, 1, 0.2), c = n.bus(0, 1, 0.5, 0.1), j = n.s.gen.NG;
        n.branch(1, c, 0.01, 0.1);
        n.branch(k, c, 0.01, 0.1);
        n.s.bus.NOGLT(k) = put_row(n.s.glt, "VMIN", 0.97, "VMAX", 1.05);
        n.remote(j, c, target);
        n.run.opt.set("VLCR"_opt);
        n.run.cte.TLVC = 1e-6;
        n.ready().solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << target << n.session.messages();
        const double v = n.s.bus.VOLT(k), error = n.s.bus.VOLT(c) - target;
        if (target == 1.0)
            EXPECT_NEAR(error, 0, 2e-6);
        else
            EXPECT_EQ(v, target > 1 ? 1.05 : 0.97);
        EXPECT_TRUE(target <= 1 || error < 0);
        EXPECT_TRUE(target >= 1 || error > 0);
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << "terminal limits";
    }
}

// The same network solved plainly with what the controls came to; and what a solution with controls leaves behind.
TEST(VoltageControls, APlainSolutionWithTheirResultAgrees) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        Mesh n(seed);
        for (auto o : {"CREM", "CTAP", "ATCR"}) n.run.opt.set(Option{find_option(o)});
        const int branches = n.s.branch.NL;
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << seed;
        EXPECT_EQ(n.s.branch.NL, branches);
        EXPECT_EQ(n.s.branch.NFROM(branches + 1), 0) << "nothing fictitious is left";
        EXPECT_EQ(n.run.mat.state.NEQ, n.s.bus.NB);
        EXPECT_FALSE(n.run.mat.state.augmented) << "the order of the plain network is in force";
        std::vector<double> v;
        for (int k : rows(n.s.bus.NB)) v.push_back(n.s.bus.VOLT(k));
        for (auto o : {"CREM", "CTAP", "ATCR"}) n.run.opt.clear(Option{find_option(o)});
        n.run.opt.set("FLAT"_opt);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << seed;
        for (int k : rows(n.s.bus.NB)) EXPECT_NEAR(n.s.bus.VOLT(k), v[std::size_t(k - 1)], 1e-7) << seed << ' ' << k;
    }
}

TEST(Taps, TowardsAnEmptyBusAreHeld) {
    struct {
        const char* what;
        double load;
        int controlled, held;
    } cases[] = {{"empty", 0, 2, 1}, {"loaded", 0.1, 2, 0}, {"the empty bus is the controlled one", 0, -3, 0}};
    for (const auto& c : cases) {
        Feeder n(0);
        n.s.bus.PLOAD(n.load) = c.load;
        n.s.tap.KBUS(n.t) = c.controlled;
        n.solve();
        EXPECT_EQ(n.s.sol.CONVSTAT, 1) << c.what << ": a tap with next to no effect does no harm";
        EXPECT_EQ(n.s.tpf.n, c.held) << c.what;
        n.solve();
        EXPECT_EQ(n.s.tpf.n, c.held) << c.what << ": once";
    }
}

TEST(RemoteVoltage, TheListLeavesGeneratorsAtTheirOwnBuses) {
    Mesh n(3);
    const int j = n.s.rcb.ICB(2), k = n.s.gen.NOGEN(j);
    n.s.fcr.row(add_row(n.s.fcr)) = j;
    n.run.opt.set("CREM"_opt);
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_EQ(n.s.bus.VOLT(k), n.s.gen.VGEN(j));
    EXPECT_GT(std::abs(n.s.bus.VOLT(n.s.rcb.IRCB(2)) - n.s.rcb.VRCB(2)), 1e-4);
    expect_remote(n.session, "one left out");
}

TEST(VoltageControls, HoldTheirBusesOrStandAtAnExplainingLimit) {
    struct {
        double q, ratio;
    } rooms[] = {{99, 0.25}, {0.3, 0.25}, {0.3, 0.03}, {0.08, 0.05}};
    for (unsigned seed = 1; seed <= 8; ++seed)
        for (const auto& room : rooms)
            for (const char* option : {"NEWT", "STEP", "STPO", "CILH", "CNTC", "TGER"}) {
                Mesh n(seed, room.q, room.ratio);
                for (auto o : {"QLIM", "CREM", "CTAP", option}) n.run.opt.set(Option{find_option(o)});
                n.run.cte.ACIT = 60;
                n.solve();
                const std::string what = std::to_string(seed) + " q " + std::to_string(room.q) + " ratio " +
                                         std::to_string(room.ratio) + ' ' + option;
                EXPECT_EQ(n.s.sol.CONVSTAT, 1) << what << n.session.messages();
                if (n.s.sol.CONVSTAT != 1) continue;
                EXPECT_LT(worst_imbalance(n.s), 1e-7) << what;
                expect_remote(n.session, what);
                expect_taps(n.session, what);
            }
}

// Every transformer of a real network under control, and many generators that run out of reactive power: some taps and
// generators push each other to and fro. They come to rest within ACIT, and those that had to be stopped are named.
TEST(VoltageControls, SettleOnRealNetworks) {
    struct {
        const char* name;
        int iterations;
    } const cases[] = {{"case300", 8}, {"case1354pegase", 10}, {"case2869pegase", 11}, {"case_ACTIVSg2000", 30}};
    for (const auto& c : cases) {
        if (!reference_present(c.name)) GTEST_SKIP() << "no reference networks beside the checkout";
        for (const char* line : {"EXLF NEWT QLIM CTAP\n", "EXLF NEWT QLIM CREM CTAP\n"}) {
            Session n(bench::with_controls(c.name, line).text);
            const std::string what = std::string(c.name) + ' ' + line;
            EXPECT_EQ(n.store().sol.CONVSTAT, 1) << what;
            EXPECT_LE(n.store().sol.NITP, c.iterations) << what;
            expect_generators(n, what);
            expect_taps(n, what);
            if (n.run.opt["CREM"_opt]) expect_remote(n, what);
        }
    }
}

}  // namespace
}  // namespace korvane::testing
