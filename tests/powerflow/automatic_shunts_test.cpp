// Automatic shunts and banks: the steps they can stand on, what they hold in a solution, how units share the result.
#include <gtest/gtest.h>

#include "network/shunt_banks.hpp"
#include "powerflow/automatic_shunts.hpp"
#include "powerflow/controlled_networks.hpp"

namespace korvane::testing {
namespace {

constexpr double CLOSE = 1e-6;

/// Whether shunt i stands on a sum of its steps.
bool on_step(const AutomaticShuntTables& t, int i) {
    const auto [low, high] = steps_around(t, i, t.BSCA(i), t.BSCA(i) > 0);
    const double size = std::abs(t.BSCA(i));
    return std::abs(size - low) < CLOSE || std::abs(size - high) < CLOSE;
}

TEST(ShuntSteps, AreSumsOfStagesInTheirOrder) {
    Network n;
    AutomaticShuntTables& t = n.s.sca;
    const int i = add_row(t);
    t.ISTEPSCA(i) = {2, 3, 1, 1};
    t.VSTEPSCA(i) = {0.1, -0.2, 0.05, -0.5};  // capacitors 0 0.1 0.2 0.25, reactors 0 -0.2 -0.4 -0.6 -1.1
    EXPECT_NEAR(shunt_range(t, i).lowest, -1.1, 1e-12);
    EXPECT_NEAR(shunt_range(t, i).highest, 0.25, 1e-12);
    struct {
        double b, v;       // where it stands; the band is 0.95 to 1.05
        double near, own;  // the step it ends on beside other controls, and with the band to itself
        double up, down;   // the steps next to it
    } const cases[] = {
        {0, 1, 0, 0, 0.1, -0.2},
        {0.04, 0.9, 0, 0.1, 0.1, 0},        // wants more, beyond a third
        {0.02, 0.9, 0, 0, 0.1, 0},          // not yet
        {0.06, 1.1, 0.1, 0, 0.1, 0},        // wants less
        {0.09, 1.1, 0.1, 0.1, 0.1, 0},      // nearly there
        {0.05, 1.0, 0, 0, 0.1, 0},          // a tie goes down
        {0.22, 0.9, 0.2, 0.25, 0.25, 0.2},  // the third stage
        {0.25, 0.9, 0.25, 0.25, 0.25, 0.2},
        {0.4, 0.9, 0.25, 0.25, 0.25, 0.25},
        {-0.1, 1.1, 0, -0.2, 0, -0.2},  // a reactor helps the other way
        {-0.12, 0.9, -0.2, 0, 0, -0.2},
        {-0.6, 1.0, -0.6, -0.6, -0.4, -1.1},
        {-0.7, 1.0, -0.6, -0.6, -0.6, -1.1},
    };
    t.VMINSCA(i) = 0.95;
    t.VMAXSCA(i) = 1.05;
    for (const auto& c : cases) {
        t.BSCA(i) = c.b;
        EXPECT_NEAR(step_for(t, i, c.v, false), c.near, CLOSE) << c.b;
        EXPECT_NEAR(step_for(t, i, c.v, true), c.own, CLOSE) << c.b << ' ' << c.v;
        EXPECT_NEAR(next_step(t, i, true), c.up, CLOSE) << c.b;
        EXPECT_NEAR(next_step(t, i, false), c.down, CLOSE) << c.b;
    }
}

/// A slack, a line to bus 2, on to a load at bus 3, with a shunt at bus 3.
struct Feeder : Network {
    int own = 3, i;
    explicit Feeder(double q, int mode, int controlled = 3) {
        make("slack 1.0; bus");
        bus(0, 1, 0.3, q);
        make("1-2 .01 .1; 2-3 .01 .1");
        i = add_row(s.sca);
        set_row(s.sca, i, "NBUSSCA", own, "KBUSSCA", controlled, "KONSCA", mode, "VMINSCA", 0.98, "VMAXSCA", 1.02);
        s.sca.ISTEPSCA(i) = {5, 8};
        s.sca.VSTEPSCA(i) = {0.1, -0.05};
        run.opt.set("CSCA"_opt);
        run.cte.TLVC = 1e-7;
        ready();
    }
    double b() const { return s.sca.BSCA(i); }
    double v(int k = 3) const { return s.bus.VOLT(k); }
    int state() const { return s.sca.NTSCA(i); }
};

void compensator(Network& n, int own, int held) {
    put_row(n.s.cer, "NBECER", own, "NVKCER", held, "NUCER", 1, "IGCER", 1, "KONCNT", 1, "RCER", -0.05, "QCERMN", -1,
            "QCERMX", 1, "VCER", 1.0, "STUCER", true);
}

TEST(AutomaticShunts, HoldTheirBandOrStopAtALimit) {
    struct {
        const char* what;
        double q;
        int mode, controlled;
        bool nearest;
        double aim;  // what the first step goes to, 0: not held
        int state;
    } const cases[] = {
        {"idle inside", 0.0, 2, 3, false, 0, 0},
        {"to the centre from below", 0.3, 2, 3, false, 1.0, 0},
        {"to the limit from below", 0.3, 2, 3, true, 0.98, 0},
        {"to the centre from above", -0.25, 2, 3, false, 1.0, 0},
        {"to the limit from above", -0.25, 2, 3, true, 1.02, 0},
        {"another bus", 0.37, 2, 2, false, 1.0, 0},
        {"too low", 1.2, 2, 3, false, 0, 2},
        {"too high", -1.0, 2, 3, false, 0, 1},
        {"no control", 0.3, 0, 3, false, 0, 0},
    };
    for (const auto& c : cases) {
        Feeder n(c.q, c.mode, c.controlled);
        n.s.sca.SCALIM(n.i) = c.nearest;
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << n.session.messages();
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
        EXPECT_EQ(n.state(), c.state) << c.what;
        if (c.aim) {  // a linear step ends beside it, and the shunt rests as soon as the voltage is inside
            EXPECT_NEAR(n.v(c.controlled), c.aim, 7e-3) << c.what;
            EXPECT_GT(n.v(c.controlled), 0.98 - n.run.cte.TLTC) << c.what;
            EXPECT_LT(n.v(c.controlled), 1.02 + n.run.cte.TLTC) << c.what;
            EXPECT_EQ(n.b() > 0, c.q > 0) << c.what;
        } else if (c.state) {
            EXPECT_NEAR(n.b(), c.state == 2 ? 0.5 : -0.4, 1e-12) << c.what;
            EXPECT_EQ(n.v() < 1, c.state == 2) << c.what;
        } else
            EXPECT_EQ(n.b(), 0) << c.what;
        const double b = n.b();
        n.solve();
        EXPECT_EQ(n.s.sol.NITP, 0) << c.what << ": from its own solution";
        EXPECT_EQ(n.b(), b) << c.what;
        if (c.state == 0) continue;
        n.s.bus.QLOAD(3) = c.state == 2 ? -0.9 : 0.9;
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what;
        EXPECT_EQ(n.state(), 3 - c.state) << c.what << ": it leaves its limit";
    }
}

TEST(AutomaticShunts, EndOnASumOfTheirSteps) {
    struct {
        const char* what;
        double q, from, to;
    } const cases[] = {
        {"capacitors", 0.3, 0, 0.3},
        {"reactors", -0.25, 0, -0.2},
        {"on a step and inside", 0.0, 0.1, 0.1},
        {"between two and inside, wants more", 0.15, 0.15, 0.2},
        {"all of it", 1.2, 0.2, 0.5},
    };
    for (const char* option : {"NEWT", "CILH", "STPO", "STEP"})
        for (const auto& c : cases) {
            Feeder n(c.q, 1);
            n.s.sca.BSCA(n.i) = c.from;
            n.run.opt.set(Option{find_option(option)});
            n.solve();
            ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << option << n.session.messages();
            EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
            EXPECT_NEAR(n.b(), c.to, 1e-12) << c.what << option;
            const double b = n.b();
            n.solve();
            EXPECT_EQ(n.b(), b) << c.what << ": it stays there";
        }
}

TEST(AutomaticShunts, GoFurtherWhileTheVoltageIsFarOutside) {
    // The steps are so coarse that the nearer one leaves the voltage far below the band.
    Feeder n(1.1, 1);
    n.s.sca.ISTEPSCA(n.i) = {2};
    n.s.sca.VSTEPSCA(n.i) = {1.4};
    set_row(n.s.sca, n.i, "VMINSCA", 0.99, "VMAXSCA", 0.991, "SCALIM", true);
    n.run.cte.VDVN = 0.3;
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1) << n.session.messages();
    EXPECT_TRUE(on_step(n.s.sca, n.i));
    EXPECT_GT(n.b(), 0);
    EXPECT_GT(n.v(), 0.9 * 0.99);
    EXPECT_LT(worst_imbalance(n.s), 1e-7) << "refined";
}

TEST(AutomaticShunts, AFirstPassToTheCentreOnRequest) {
    Feeder n(0.05, 2);
    n.solve();
    EXPECT_EQ(n.b(), 0) << "inside the band";
    n.s.bus.VOLT(3) = 1;
    n.run.opt.set("ACFP"_opt);
    n.solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1);
    EXPECT_NE(n.b(), 0);
    EXPECT_NEAR(n.v(), 1.0, 2e-3) << "by one linear step";
}

TEST(AutomaticShunts, RelieveWhatElseHoldsTheBus) {
    constexpr double FREE = -1;  // Q of the holder
    struct {
        const char* what;
        void (*add)(Feeder&);
        double v;   // where it ends, within CLOSE
        double q;   // of what else holds the bus
        bool idle;  // the shunt has nothing to do
        double (*of)(const Feeder&) = [](const Feeder& n) { return n.s.gen.QGEN(2); };
    } const cases[] = {
        {"static compensator", [](Feeder& n) { compensator(n, 3, 3); }, 1.0, 0, false,
         [](const Feeder& n) { return n.s.cer.QGCER(1); }},
        {"generator at its limit", [](Feeder& n) { n.machine(3, 1.0, -0.05, 0.05), n.run.opt.set("QLIM"_opt); }, 1.0,
         0.05, false},
        {"generator within its limits", [](Feeder& n) { n.machine(3, 1.0, -9, 9); }, 1.0, FREE, true},
        {"remote generator", [](Feeder& n) { n.branch(n.generator(2, 1.0), 3, 0.0, 0.1), n.remote(2, 3, 1.0); }, 1.0, 0,
         false},
        {"remote generator at its limit",
         [](Feeder& n) {
             n.branch(n.generator(2, 1.0), 3, 0.0, 0.1), n.remote(2, 3, 1.0);
             n.limits(2, 0.02, 0.05), n.run.opt.set("QLIM"_opt);
         },
         1.0, 0.02, false},
        {"a tap that moves",
         [](Feeder& n) {
             n.branch(2, 3, 0, 0.1, 0, 0.99), n.control_tap(-3, 0.97, 0.7, 1.3);
             n.run.opt.set("CTAP"_opt);
         },
         0.97, FREE, true},
    };
    for (const auto& c : cases) {
        Feeder n(0.3, 2);
        c.add(n);
        n.ready().solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << n.session.messages();
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
        EXPECT_NEAR(n.v(), c.v, CLOSE) << c.what;
        if (c.q != FREE) EXPECT_NEAR(c.of(n), c.q, c.q == 0 ? 1e-5 : CLOSE) << c.what;
        EXPECT_EQ(n.b() == 0, c.idle) << c.what;
    }
    Feeder n(0.3, 2);  // a second shunt with a band of its own
    const int j = put_row(n.s.sca, "NBUSSCA", 2, "KBUSSCA", 3, "KONSCA", 2, "VMINSCA", 0.99, "VMAXSCA", 1.03);
    n.s.sca.ISTEPSCA(j) = {5};
    n.s.sca.VSTEPSCA(j) = {0.1};
    n.ready().solve();
    ASSERT_EQ(n.s.sol.CONVSTAT, 1) << n.session.messages();
    EXPECT_LT(worst_imbalance(n.s), 1e-7);
    EXPECT_NEAR(n.v(), 1.0, 7e-3);
    EXPECT_NEAR(n.s.sca.BSCA(1), n.s.sca.BSCA(2), 1e-2) << "they share";
}

// Where nothing else holds the bus, a continuous shunt keeps its band or stands at the limit that explains why not, and
// a discrete one on a step; whatever the other controls do.
TEST(AutomaticShunts, KeepTheirBandsAmongTheOtherControls) {
    for (unsigned seed = 1; seed <= 6; ++seed)
        for (const char* option : {"NEWT", "STEP", "STPO", "CILH", "TAPD", "ACFP"}) {
            const std::string what = std::to_string(seed) + ' ' + option;
            Network n;
            random_network(n, seed, 40);
            add_remote(n, seed);
            add_taps(n, seed);
            AutomaticShuntTables& t = n.s.sca;
            for (const int k : {3, 4, 6, 7, 8, 9, 12, 17, 18, 19, 26, 27, 31}) {
                const int i = add_row(t);
                set_row(t, i, "NBUSSCA", k, "KBUSSCA", i % 4 == 0 ? k + 1 : k, "KONSCA", 1 + i % 2, "VMINSCA",
                        0.99 + 0.004 * double((seed + unsigned(i)) % 8));
                t.VMAXSCA(i) = t.VMINSCA(i) + 0.01;
                t.SCALIM(i) = i % 3 == 0;
                t.ISTEPSCA(i) = {6, 6};
                t.VSTEPSCA(i) = {0.05, -0.05};
            }
            for (int j : rows(n.s.gen.NG)) {
                int& type = n.s.bus.NTYPE(n.s.gen.NOGEN(j));
                type = std::abs(type);
                if (type == 3) continue;
                n.limits(j, -0.8, 0.8);
            }
            n.run.cte.ACIT = 60;
            n.run.cte.TLVC = 1e-5;
            for (const char* o : {"QLIM", "CSCA", option}) n.run.opt.set(Option{find_option(o)});
            n.solve();
            EXPECT_EQ(n.s.sol.CONVSTAT, 1) << what << n.session.messages();
            if (n.s.sol.CONVSTAT != 1) continue;
            EXPECT_LT(worst_imbalance(n.s), 1e-7) << what;
            std::vector<char> shared(std::size_t(n.s.bus.NB) + 1);
            for (int r : rows(n.s.rcb.NRCB)) shared[std::size_t(int(n.s.rcb.IRCB(r)))] = 1;
            for (int r : rows(n.s.tap.NTAP)) shared[std::size_t(std::abs(n.s.tap.KBUS(r)))] = 1;
            for (int i : rows(t.NSCA)) {
                const int k = t.KBUSSCA(i);
                if (t.KONSCA(i) != 2) {
                    EXPECT_TRUE(on_step(t, i)) << what << " shunt " << i;
                } else if (!shared[std::size_t(k)] && n.s.bus.NTYPE(k) == 0 && !stays(n.run.mat.control.shunt_row(i))) {
                    const double v = n.s.bus.VOLT(k), slack = n.run.cte.TLTC + 1e-9;
                    EXPECT_TRUE(v > t.VMINSCA(i) - slack || t.NTSCA(i) == 2) << what << " shunt " << i << ' ' << v;
                    EXPECT_TRUE(v < t.VMAXSCA(i) + slack || t.NTSCA(i) == 1) << what << " shunt " << i << ' ' << v;
                }
            }
        }
}

/// A group of banks at a bus, or at the end of a branch; rows of units and their value.
int bank(Network& n, int k, int mode, std::initializer_list<std::pair<int, double>> units, int branch = 0) {
    BankTables& g = n.s.bsh;
    const int b = put_row(g, "NOBSH", k, "NOBCS", k, "MCBSH", mode, "TMNSH", 0.98, "TMXSH", 1.02, "IDCIR", branch);
    int number = 0;
    for (const auto& [count, value] : units) {
        const int i = add_row(n.s.bshl);
        n.s.bshl.IBUSH(i) = b;
        n.s.bshl.IDEGS(i) = ++number;
        set_row(n.s.bshl, i, "STBSH", true, "NUNIS", count, "NUNISOP", 0, "NUNCHAV", 0, "VALSH", value);
    }
    return b;
}
void chain_banks(Network& n) {
    chain_bank_rows(n.s);
    make_bank_shunts(n.s);
}

TEST(BankUnits, ShareTheValueOfTheirShunt) {
    struct {
        const char* what;
        int mode;
        double b;
        std::vector<int> units;
        double rest;  // beside them
    } const cases[] = {
        {"nothing", 1, 0, {0, 0, 0}, 0},
        {"units of the first row", 1, 0.2, {2, 0, 0}, 0},
        {"both rows of the sign", 1, 0.55, {3, 1, 0}, 0},
        {"the other sign", 1, -0.1, {0, 0, 1}, 0},
        {"a remainder", 2, 0.24, {2, 0, 0}, 0.04},
        {"rounding is no remainder", 1, 0.3 - 1e-10, {3, 0, 0}, 0},
        {"more than all", 2, 9, {3, 2, 0}, 0},
    };
    for (const auto& c : cases) {
        Network n;
        n.bus(0);
        bank(n, 1, c.mode, {{3, 0.1}, {2, 0.25}, {2, -0.1}});
        chain_banks(n);
        n.s.sca.BSCA(1) = c.b;
        allocate_banks(n.s, true);
        double rest = 0, value = 0;
        for (int i = 1; i <= 3; ++i) {
            EXPECT_EQ(n.s.bshl.NUNISOP(i), c.units[std::size_t(i - 1)]) << c.what << ' ' << i;
            rest += n.s.bshl.RELBSH(i);
            value += n.s.bshl.QBAN(i);
        }
        EXPECT_NEAR(rest, c.rest, 1e-9) << c.what;
        EXPECT_NEAR(n.s.bsh.QBSH(1), value, 1e-12) << c.what;
        if (c.b != 9) {
            EXPECT_NEAR(value, c.b, 1e-9) << c.what;
        }
        take_bank_values(n.s, true);
        EXPECT_NEAR(n.s.sca.BSCA(1), value, 1e-9) << c.what << ": there and back";
    }
}

TEST(BankUnits, ActInASolution) {
    struct {
        const char* what;
        int mode;
        bool csca, row_on, on_branch, branch_on;
        double b;  // what bus 3 has in the end; -1: held at 1 pu
    } const cases[] = {
        {"fixed", 0, true, true, false, true, 0.2},
        {"fixed, row out", 0, true, false, false, true, 0},
        {"fixed on a branch", 0, true, true, true, true, 0.2},
        {"fixed on a branch out of service", 0, true, true, true, false, 0},
        {"discrete without CSCA", 1, false, true, false, true, 0.2},
        {"continuous without CSCA", 2, false, true, false, true, 0.2},
        {"discrete", 1, true, true, false, true, 0.4},
        {"continuous", 2, true, true, false, true, -1},
        {"continuous on a branch", 2, true, true, true, true, -1},
        {"continuous on a branch out of service", 2, true, true, true, false, 0},
    };
    for (const auto& c : cases) {
        Feeder n(0.35, 0);
        n.s.sca.NSCA = 0;
        const int l = n.branch(2, 3, 0, 50);
        n.ready();
        bank(n, 3, c.mode, {{6, 0.1}}, c.on_branch ? l : 0);
        n.s.bshl.NUNISOP(1) = 2;
        n.s.bshl.STBSH(1) = c.row_on;
        chain_banks(n);
        if (!c.branch_on) n.s.branch.STLIN(l) = n.s.branch.STLIND(l) = n.s.branch.STLINP(l) = false;
        if (!c.csca) n.run.opt.clear("CSCA"_opt);
        n.solve();
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << n.session.messages();
        const double q = n.s.bsh.QBSH(1);
        auto left = imbalance(n.s);
        if (c.mode == 0) left[3] += std::complex(0.0, q * std::norm(voltage(n.s, 3)));
        for (const auto& at : left) EXPECT_LT(std::abs(at), 1e-7) << c.what;
        if (c.b >= 0)
            EXPECT_NEAR(q, c.b, 1e-9) << c.what;
        else
            EXPECT_NEAR(n.v(), 1.0, 7e-3) << c.what;
        if (c.mode) {
            EXPECT_NEAR(n.s.sca.BSCA(1), q, 1e-9) << c.what;
        }
    }
}

TEST(ShuntData, ConflictsAreListedAndNothingIsSolved) {
    struct {
        const char* what;
        void (*change)(Feeder&);
        const char* line;
    } const cases[] = {
        {"none", [](Feeder&) {}, ""},
        {"no steps", [](Feeder& n) { n.s.sca.ISTEPSCA(n.i) = {}; }, "sem estágio em serviço"},
        {"no control, no steps", [](Feeder& n) { n.s.sca.ISTEPSCA(n.i) = {}, n.s.sca.KONSCA(n.i) = 0; }, ""},
        {"a generator that holds its own bus", [](Feeder& n) { n.s.sca.NBUSSCA(n.i) = 1, n.s.sca.KBUSSCA(n.i) = 3; },
         "gerador da barra do shunt mantém outra barra"},
        {"a bank whose rows are all out",
         [](Feeder& n) {
             n.s.sca.NSCA = 0;
             bank(n, 3, 1, {{2, 0.1}});
             n.s.bshl.STBSH(1) = false;
             chain_banks(n);
         },
         "sem estágio em serviço"},
        {"a compensator beside a generator of another bus", [](Feeder& n) { compensator(n, 1, 3); },
         "gerador da barra terminal mantém outra barra"},
        {"a compensator that holds the bus of a generator", [](Feeder& n) { compensator(n, 3, 1); },
         "gerador da barra controlada mantém tensão"},
    };
    for (const auto& c : cases) {
        Feeder n(0.3, 1);
        c.change(n);
        n.solve();
        const bool refused = *c.line != 0;
        if (refused) {
            EXPECT_TRUE(shows(n.session.console(), c.line)) << c.what << n.session.console();
        }
        EXPECT_EQ(n.session.numbers("PWFSOL"), refused ? std::vector{140} : std::vector<int>{}) << c.what;
        EXPECT_EQ(n.s.sol.CONVSTAT, refused ? 0 : 1) << c.what;
        EXPECT_EQ(n.v() == 1.0, refused) << c.what << ": nothing was changed";
    }
}

// The generator at bus 1 holds bus 3, or bus 4 that has a generator of its own, from elsewhere.
TEST(ShuntData, ACompensatorBesideARemoteGenerator) {
    struct {
        int held, compensated;  // by the generator, by the compensator at its bus
        const char* option;
        bool agree;
    } const cases[] = {{3, 3, "CREM", true},  {3, 1, "CREM", false}, {3, 3, "NEWT", false},
                       {3, 1, "NEWT", true},  {4, 1, "CREM", true},  // bus 4 is held, and it stays with its own
                       {4, 4, "CREM", false}, {4, 1, "TGER", false}};
    for (const auto& c : cases) {
        Feeder n(0.3, 1);
        n.branch(3, n.generator(2, 1.0), 0, 0.1);
        n.ready().remote(1, c.held, 1.0);
        n.run.opt.clear("CREM"_opt);
        compensator(n, 1, c.compensated);
        n.run.opt.set(Option{find_option(c.option)});
        if (*c.option == 'T') n.run.opt.set("CREM"_opt);
        EXPECT_EQ(CHKSAV(n.run), c.agree) << c.held << c.compensated << c.option;
    }
}

}  // namespace
}  // namespace korvane::testing
