// The operations that hold for the whole store, as laws over random networks.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "network/network.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/rows.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {
namespace {

/// What a row stands on, and states of its own: it is in service when all of these are.
const std::set<std::string_view> GROUND = {
    "NFROM",  "NTO",   "NOTAP", "NOPHS", "LISHL",  "LICSC",  "NOGEN",  "ICB",     "NGSLK", "NOFLD",
    "NOSHT",  "NOMOT", "NOCAI", "NOGEI", "NOGGEI", "NOBSH",  "IDCIR",  "IBUSH",   "NOEQV", "NOSLP",
    "LINKDC", "NDCFR", "NDCTO", "NOLDC", "NDCBUS", "INTBUS", "NBECER", "NBUSSCA", "row"};
const std::set<std::string_view> STATES = {"STBUS", "STUELO", "STMOT", "STCAR", "STGEI", "STBSH", "STUCER"};

bool alive(Store& s, Family f, int row) {
    const FamilyInfo& family = layout_of(f);
    for (const ColumnInfo& c : family.columns) {
        const char* entry = reinterpret_cast<char*>(&s) + family.offset + c.offset + std::size_t(row - 1) * c.size;
        if (STATES.contains(c.name) && !*entry) return false;
        if (!GROUND.contains(c.name)) continue;
        int at;
        std::memcpy(&at, entry, sizeof at);
        const bool optional = std::string_view(c.name) == "IDCIR" && at == 0;  // a bank on its bus
        if (!optional && !alive(s, *c.target, std::abs(at))) return false;
    }
    return true;
}

/// Rows of every family: those in the counts, or those of them that are alive.
std::vector<int> counts(Store& s, bool all) {
    std::vector<int> found;
    each_family(s, [&](auto& t) {
        found.push_back(0);
        for (int i : rows(t.count())) found.back() += all || alive(s, t.family, i);
    });
    return found;
}

TEST(Store, CompactionKeepsEveryRowUnderItsNumber) {
    Session session;
    Store& s = session.start().run.store;
    for (unsigned seed : seeds(60)) {
        fill_at_random(s, seed, seed % 5 == 0 ? 0.0 : 0.15);
        rebuild_addresses(session.run);
        ASSERT_EQ(stray_reference(s), "") << "the test made a bad store, seed " << seed;
        const auto before = contents(s);
        const std::vector<int> in_service = counts(s, false);

        STOOFF(session.run);
        EXPECT_EQ(counts(s, true), in_service) << seed;
        EXPECT_EQ(counts(s, false), in_service) << seed << ": and those that are alive";
        EXPECT_EQ(stray_reference(s), "") << seed;
        EXPECT_EQ(wrong_address(s), "") << seed;
        EXPECT_EQ(contents(s), before) << seed;
        // What is in the counts is alive, and stands on what is; open branches are the last ones.
        for (int k : rows(s.bus.NB)) EXPECT_TRUE(s.bus.STBUS(k)) << seed;
        for (int l : rows(s.branch.NL)) {
            EXPECT_TRUE(s.branch.NFROM(l) <= s.bus.NB && s.branch.NTO(l) <= s.bus.NB) << seed;
            if (l > 1 && s.branch.STLIN(l)) EXPECT_TRUE(s.branch.STLIN(l - 1)) << seed;
        }
        for (int g : rows(s.gen.NG)) EXPECT_LE(s.gen.NOGEN(g), s.bus.NB) << seed;
        for (int i : rows(s.mtl.n)) EXPECT_LE(s.mtl.row(i), s.branch.NL) << seed;

        // Solvers put fictitious branches behind the count.
        for (int l = s.branch.NL + 1; l <= s.branch.NL + 100; ++l) {
            s.branch.NFROM(l) = s.branch.NTO(l) = 1;
            s.branch.STLIN(l) = s.branch.STLIND(l) = s.branch.STLINP(l) = false;
        }
        STOON(session.run);
        EXPECT_EQ(contents(s), before) << seed;
        EXPECT_EQ(stray_reference(s), "") << seed;
        EXPECT_EQ(wrong_address(s), "") << seed;
    }
}

TEST(Store, CompactionMovesNothingWhileAllBusesLive) {
    Session session, same;
    fill_at_random(session.start().run.store, 7, 0.0);
    fill_at_random(same.start().run.store, 7, 0.0);
    for (Session* each : {&session, &same}) {
        each->run.store.branch.STLIN(1) = false;  // an open branch alone leaves all as it is
        rebuild_addresses(each->run);
    }
    STOOFF(session.run);
    EXPECT_EQ(first_difference(session.run.store, same.run.store), "");
    STOON(session.run);
    EXPECT_EQ(first_difference(session.run.store, same.run.store), "");
}

// Rows that a removal of buses and branches takes along are those that stand on them; the rest stays as it was.
TEST(Store, RemovedRowsTakeAlongWhatStandsOnThem) {
    Session session;
    Store& s = session.start().run.store;
    for (unsigned seed : seeds(40)) {
        fill_at_random(s, seed, 0.15);
        std::mt19937 random(seed);
        std::vector<char> bus_gone(std::size_t(s.bus.NB) + 1), branch_gone(std::size_t(s.branch.NL) + 1);
        // Controls stay with their own bus here: what happens to them is tested apart.
        for (int t : rows(s.tap.NTAP)) s.tap.KBUS(t) = s.branch.NFROM(s.tap.NOTAP(t));
        for (int b : rows(s.bsh.NBSH)) s.bsh.NOBCS(b) = s.bsh.NOBSH(b);
        for (int a : rows(s.sca.NSCA)) s.sca.KBUSSCA(a) = s.sca.NBUSSCA(a);
        for (int c : rows(s.cer.NCER)) s.cer.NVKCER(c) = s.cer.NBECER(c);
        for (int k : rows(s.bus.NB)) bus_gone[std::size_t(k)] = random() % 5 == 0;
        for (int l : rows(s.branch.NL))
            branch_gone[std::size_t(l)] =
                random() % 9 == 0 || bus_gone[std::size_t(s.branch.NFROM(l))] || bus_gone[std::size_t(s.branch.NTO(l))];
        auto tap_gone = [&](int t) { return branch_gone[std::size_t(s.tap.NOTAP(t))]; };
        auto gen_gone = [&](int g) { return bus_gone[std::size_t(s.gen.NOGEN(g))]; };
        auto bank_gone = [&](int b) {
            return bus_gone[std::size_t(s.bsh.NOBSH(b))] ||
                   (s.bsh.IDCIR(b) != 0 && branch_gone[std::size_t(s.bsh.IDCIR(b))]);
        };
        int buses = 0, branches = 0, taps = 0, phases = 0, generators = 0, banks = 0, units = 0, fixed = 0, remote = 0;
        for (int k : rows(s.bus.NB)) buses += !bus_gone[std::size_t(k)];
        for (int l : rows(s.branch.NL)) branches += !branch_gone[std::size_t(l)];
        for (int t : rows(s.tap.NTAP)) taps += !tap_gone(t);
        for (int p : rows(s.phs.NPHS)) phases += !tap_gone(s.phs.NOPHS(p));
        for (int g : rows(s.gen.NG)) generators += !gen_gone(g);
        for (int b : rows(s.bsh.NBSH)) banks += !bank_gone(b);
        for (int u : rows(s.bshl.NBSHL)) units += !bank_gone(s.bshl.IBUSH(u));
        for (int i : rows(s.tpf.n)) fixed += !branch_gone[std::size_t(s.tpf.row(i))];
        for (int r : rows(s.rcb.NRCB)) remote += !gen_gone(s.rcb.ICB(r)) && !bus_gone[std::size_t(s.rcb.IRCB(r))];

        // Names of what stays, by number, and of the machine at each bus.
        std::map<int, std::string> names;
        std::map<int, double> machines;
        for (int k : rows(s.bus.NB))
            if (!bus_gone[std::size_t(k)]) names[s.bus.NOINT(k)] = std::string(s.bus.BNAME(k).view());
        for (int g : rows(s.gen.NG))
            if (!gen_gone(g)) machines[s.bus.NOINT(s.gen.NOGEN(g))] = s.gen.PGEN(g);

        for (int l : rows(s.branch.NL))
            if (branch_gone[std::size_t(l)] && random() % 2) s.branch.NFROM(l) = 0;
        for (int l : rows(s.branch.NL))  // a branch goes by its own mark or with a bus
            if (branch_gone[std::size_t(l)] && s.branch.NFROM(l) != 0 && !bus_gone[std::size_t(s.branch.NFROM(l))] &&
                !bus_gone[std::size_t(s.branch.NTO(l))])
                s.branch.NFROM(l) = 0;
        for (int k : rows(s.bus.NB))
            if (bus_gone[std::size_t(k)]) s.bus.NOINT(k) = 0;
        drop_removed(session.run);

        EXPECT_EQ((std::vector{s.bus.NB, s.branch.NL, s.tap.NTAP, s.phs.NPHS, s.gen.NG, s.bsh.NBSH, s.bshl.NBSHL,
                               s.tpf.n, s.rcb.NRCB}),
                  (std::vector{buses, branches, taps, phases, generators, banks, units, fixed, remote}))
            << seed;
        EXPECT_EQ(stray_reference(s), "") << seed;
        EXPECT_EQ(wrong_address(s), "") << seed;
        for (int k : rows(s.bus.NB)) EXPECT_EQ(s.bus.BNAME(k).view(), names[s.bus.NOINT(k)]) << seed;
        for (int g : rows(s.gen.NG)) EXPECT_EQ(s.gen.PGEN(g), machines[s.bus.NOINT(s.gen.NOGEN(g))]) << seed;
    }
}

TEST(Store, ControlOfARemovedBusReturnsToItsOwn) {
    Session session;
    Store& s = session.start().run.store;
    for (int number : {10, 20, 30}) {
        const int k = add_row(s.bus);
        s.bus.NOINT(k) = number;
    }
    add_row(s.branch);
    set_row(s.branch, 1, "NFROM", 1, "NTO", 2, "LTYPE", 3);
    add_row(s.tap);
    s.tap.NOTAP(1) = 1;
    s.tap.KBUS(1) = -3;
    add_row(s.cer);
    s.cer.NBECER(1) = 2;
    s.cer.NVKCER(1) = 3;
    s.bus.NOINT(3) = 0;
    drop_removed(session.run);
    EXPECT_EQ(s.tap.KBUS(1), 1);  // the from bus, and no longer in the other sense
    EXPECT_EQ(s.cer.NVKCER(1), 2);
}

TEST(Store, ResetForgetsEverything) {
    Session used, fresh;
    fresh.start();
    korvane::Run& run = used.start().run;
    Store& s = run.store;
    fill_at_random(s, 3, 0.2);
    s.agr.count(4) = 2;
    s.agr.NAGINT(4) = 77;
    s.agr.DESCAG(4) = "changed";
    s.sol.CONVSTAT = 3;
    run.TITLE = "a title";
    run.ctl.history = {"EXLF"};
    run.ctl.KNTRL.set();
    run.opt.OPTDEF.set();
    run.cte.BASE = 7;
    rebuild_addresses(run);
    const int number = s.bus.NOINT(1);
    ASSERT_EQ(bus_of(s, number), 1);
    STOOFF(run);
    RESET(run);

    EXPECT_EQ(first_difference(s, fresh.run.store), "");
    EXPECT_EQ(bus_of(s, number), 0);
    EXPECT_EQ(s.sol.CONVSTAT, 0);
    EXPECT_TRUE(run.TITLE.blank());
    EXPECT_TRUE(run.ctl.history.empty());
    EXPECT_TRUE(run.ctl.KNTRL.none());
    EXPECT_EQ(run.opt.OPTDEF, fresh.run.opt.OPTDEF);
    EXPECT_EQ(these(run.cte.BASE, run.pag.NLINE), these(100, run.pag.LPP));
    // A row taken into use again has no memory of the former one.
    each_family(s, [](auto& t) { add_row(t); });
    each_family(fresh.run.store, [](auto& t) { add_row(t); });
    EXPECT_EQ(first_difference(s, fresh.run.store), "");
    EXPECT_TRUE(s.bus.STBUS(1) && s.branch.STLIN(1) && s.branch.STLIND(1) && s.branch.LINSEL(1) && s.area.ARESEL(1));
    EXPECT_EQ(s.branch.VFXENRG(1), 1.1);
    EXPECT_EQ(s.gen.XQ(1), -1);
}

TEST(AddressLists, HeapSortIsTheStableOrder) {
    for (unsigned seed : seeds(40)) {
        std::mt19937 random(seed);
        std::vector<int> values(random() % 200);
        for (int& v : values) v = int(random() % 50) - 25;  // with many equal ones
        std::vector<int> order(values.size()), expected(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) expected[i] = int(i) + 1;
        std::stable_sort(expected.begin(), expected.end(),
                         [&](int a, int b) { return values[std::size_t(a - 1)] < values[std::size_t(b - 1)]; });
        HSORT(values.data(), order.data(), int(values.size()));
        EXPECT_EQ(order, expected) << seed;
    }
}

TEST(AddressLists, FullListOfTiesIsToldOnceAndTheRestIsKept) {
    for (int ties : {MXTIE, MXTIE + 1, MXTIE + 2}) {
        Session session;
        Store& s = session.start().run.store;
        add_row(s.area);
        add_row(s.area);
        for (int k = 1; k <= 2; ++k) {
            add_row(s.bus);
            s.bus.NOINT(k) = k;
            s.bus.IAREA(k) = k;
        }
        for (int l = 1; l <= ties; ++l) {
            add_row(s.branch);
            s.branch.NFROM(l) = 1;
            s.branch.NTO(l) = 2;
        }
        ADRLIN(session.run);
        EXPECT_EQ(s.adr.NLTL, MXTIE);
        EXPECT_EQ(session.numbers("ADRLIN"), ties > MXTIE ? std::vector{100} : std::vector<int>{});
        EXPECT_EQ(s.adr.LINPTR(2) - s.adr.LINPTR(1), ties);
        EXPECT_EQ(s.adr.LINADR(s.adr.LINPTR(3) - 1), ties);
    }
}

// --- controls of dead buses

/// Three buses; the machine at bus 1 and the tap of branch 1 hold the voltage of bus 3, which is out of service.
struct DeadControls : ::testing::Test {
    Session session;
    Store& s = session.start().run.store;
    korvane::Run& run = session.run;

    void SetUp() override {
        add_row(s.area);
        for (int k = 1; k <= 3; ++k) {
            add_row(s.bus);
            s.bus.NOINT(k) = 10 * k;
            s.bus.BNAME(k) = "BARRA " + std::to_string(k);
            s.bus.IAREA(k) = 1;
        }
        s.bus.STBUS(3) = false;
        add_row(s.gen);
        s.gen.NOGEN(1) = 1;
        s.bus.NTYPE(1) = 2;
        add_row(s.rcb);
        s.rcb.ICB(1) = 1;
        s.rcb.IRCB(1) = 3;
        for (int l = 1; l <= 2; ++l) {
            add_row(s.branch);
            set_row(s.branch, l, "NFROM", 1, "NTO", 2, "LTYPE", 3);
            add_row(s.tap);
            s.tap.NOTAP(l) = l;
        }
        s.tap.KBUS(1) = -3;
        s.tap.KBUS(2) = 2;
        rebuild_addresses(run);
    }
};

TEST_F(DeadControls, AreTakenOutAndPutBack) {
    run.opt.set("CREM"_opt);
    run.opt.set("CTAP"_opt);
    STOOFF(run);
    EXPECT_EQ(s.rcb.IRCB(1), 1);
    ASSERT_EQ(s.fcr.n, 1);
    EXPECT_EQ(s.fcr.row(1), 1);
    ASSERT_EQ(s.tpf.n, 1);
    EXPECT_EQ(s.branch.LTYPE(s.tpf.row(1)), 3);
    EXPECT_EQ(s.tap.KBUS(1), -3);
    EXPECT_TRUE(shows(session.console(), "CREM    10 BARRA 1          30 BARRA 3"));
    EXPECT_TRUE(shows(session.console(), "CTAP    10 BARRA 1          30 BARRA 3"));
    STOON(run);
    EXPECT_EQ(these(s.rcb.IRCB(1), s.fcr.n, s.tpf.n), these(3, 0, 0));
}

TEST_F(DeadControls, StayWithoutTheOptions) {
    STOOFF(run);
    EXPECT_EQ(s.rcb.IRCB(1), 3);
    EXPECT_EQ(s.fcr.n + s.tpf.n, 0);
    STOON(run);
    EXPECT_EQ(s.rcb.IRCB(1), 3);
}

TEST_F(DeadControls, ListsOfTheOperatorStay) {
    run.opt.set("CREM"_opt);
    run.opt.set("CTAP"_opt);
    s.fcr.row(add_row(s.fcr)) = 1;  // already released by the operator
    s.tpf.row(add_row(s.tpf)) = 2;
    STOOFF(run);
    EXPECT_EQ(s.fcr.n, 1);
    EXPECT_EQ(s.tpf.n, 2);
    // A solver adds to the list meanwhile: that row stays.
    const int added = add_live_row(s, s.slk);
    s.slk.NGSLK(added) = 1;
    STOON(run);
    EXPECT_EQ(s.fcr.n, 1);
    ASSERT_EQ(s.tpf.n, 1);
    EXPECT_EQ(s.tpf.row(1), 2);
    EXPECT_EQ(s.slk.NSLK, 1);
}

TEST_F(DeadControls, FullListsAreTold) {
    run.opt.set("CREM"_opt);
    run.opt.set("CTAP"_opt);
    while (s.fcr.n < MXFCR) s.fcr.row(add_row(s.fcr)) = 2;  // others: rows of machines that are not there
    add_row(s.gen);
    s.gen.NOGEN(2) = 2;
    while (s.tpf.n < MXTPF) s.tpf.row(add_row(s.tpf)) = 2;
    STOOFF(run);
    EXPECT_EQ(session.numbers("CTROFF"), (std::vector{100, 110}));
    EXPECT_EQ(s.rcb.IRCB(1), 3);
    STOON(run);
    EXPECT_EQ(s.fcr.n, MXFCR);
    EXPECT_EQ(s.tpf.n, MXTPF);
}

TEST(Store, RowsAddedWhileCompactedStandBeforeThoseOutOfService) {
    Session session;
    Store& s = session.start().run.store;
    for (unsigned seed : seeds(10)) {
        fill_at_random(s, seed, 0.3);
        rebuild_addresses(session.run);
        STOOFF(session.run);
        const int live = s.tap.NTAP, total = rows_taken(s, s.tap);
        const int row = add_live_row(s, s.tap);
        s.tap.NOTAP(row) = 0;
        EXPECT_EQ(row, live + 1) << seed;
        EXPECT_EQ(rows_taken(s, s.tap), total + 1) << seed;
        for (int p : rows(rows_taken(s, s.phs))) EXPECT_NE(s.phs.NOPHS(p), row) << seed;
        STOON(session.run);
        EXPECT_EQ(stray_reference(s), "") << seed;
    }
}

TEST(Jumper, MarksBranchesAtOrBelowTheLeastImpedance) {
    Session session;
    korvane::Run& run = session.start().run;
    Store& s = run.store;
    struct Case {
        double r, x, ratio;  // per cent; 0: no tap
        bool jumper;
    };
    // ZMIN is 0.001 %: a branch of exactly that counts
    const Case cases[] = {{0, 0.001, 0, true},      {0, 0.00101, 0, false},   {0.0008, 0.0006, 0, true},
                          {0, 0.001, 0.9, true},    {0, 0.00101, 0.9, false}, {0, 0.001, 1.1, true},
                          {0, 0.00101, 1.1, false}, {0, -0.0005, 0, true},    {1, 10, 0, false}};
    for (int k = 1; k <= 2; ++k) add_row(s.bus);
    for (const Case& c : cases) {
        const int l = add_row(s.branch);
        const double f = 100 / (c.r * c.r + c.x * c.x), tap = c.ratio != 0 ? 1 / c.ratio : 1;
        s.branch.GKM(l) = c.r * f * tap * (1 - 1e-12);  // rounding must not decide: 0.001 stands in the store as 1E5
        s.branch.BKM(l) = -c.x * f * tap * (1 + 1e-12);
        s.branch.LTYPE(l) = c.ratio != 0;
        if (c.ratio == 0) continue;
        put_row(s.tap, "NOTAP", l, "TAP", tap);
    }
    const int open = add_row(s.branch);  // no admittance at all is no jumper
    s.branch.MARKC(open) = true;
    JUMPER(run);
    for (int l : rows(open - 1)) EXPECT_EQ(s.branch.MARKC(l), cases[l - 1].jumper) << "branch " << l;
    EXPECT_FALSE(s.branch.MARKC(open));
}

// --- CASO

TEST(NewCase, ClearsAllOrWhatItsOptionsName) {
    const std::string bus = "DBAR\n    1 L2  UM\n99999\n";
    {
        Session s("TITU\nUm caso\n" + bus + "CASO IMPR\nFIM\n");
        EXPECT_EQ(s.status, 0) << s.messages();
        EXPECT_EQ(s.store().bus.NB, 0);
        EXPECT_TRUE(s.run.TITLE.blank());
        EXPECT_TRUE(s.run.ctl.KNTRL[42]);
        EXPECT_FALSE(s.run.ctl.KNTRL[1]);
        EXPECT_TRUE(shows(s.console(), "Caso novo"));
    }
    {
        Session s("TITU\nUm caso\n" + bus + "CASO TABE CTGS GRAF\nFIM\n");
        EXPECT_EQ(s.status, 0) << s.messages();
        EXPECT_EQ(s.store().bus.NB, 1);
        EXPECT_FALSE(s.run.TITLE.blank());
        EXPECT_EQ(s.numbers("INICAS"), (std::vector{-930}));
    }
    {
        Session s;
        s.start().run.store.ctg.NCTG = s.run.store.chg.NCHG = 1;
        s.run.ctl.KNTRL[8] = true;
        s.run.opt.set("CTGS"_opt);
        INICAS(s.run);
        EXPECT_EQ(s.store().ctg.NCTG + s.store().chg.NCHG, 0);
        EXPECT_FALSE(s.run.ctl.KNTRL[8]);
    }
}

}  // namespace
}  // namespace korvane::testing
