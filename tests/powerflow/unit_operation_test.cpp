// Individual generators in a solution, and the priority of controls.
#include <gtest/gtest.h>

#include "network/individual_generators.hpp"
#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

/// A slack, and a plant of up to `most` like units, each 0.3 pu of turbine and 0.1 pu of reactive power, behind a line.
struct Plant : Network {
    int k, j = 2, unit = 1, load;
    Plant(double p, int operating, int most, bool shares, double q = 0, double v = 1.0) {
        generator(3, 1.0);
        k = generator(2, v, p);
        load = bus(0, 1, 0.4, q);
        branch(1, k, 0.01, 0.1);
        branch(k, load, 0.01, 0.05);
        add_row(s.gei);
        set_row(s.gei, unit, "NOGEI", k, "NOGGEI", j, "IDGEI", 10, "NUGIG", most, "NUGIGOP", operating, "NUGIGMN", 1,
                "FLAGNOP", shares, "PGGEI", shares ? 0 : p / operating, "SNGEI", 0.3, "PTUGEI", 0.3, "QMXGEI", 0.1,
                "QMNGEI", -0.1);
        run.opt.set("QLIM"_opt);
        run.cte.TLPR = 1e-6;
        ready();
    }
    int operating() const { return s.gei.NUGIGOP(unit); }
};

TEST(Units, OperateAsTheSolutionAsks) {
    struct {
        const char* what;
        double p;
        int operating, most;
        bool shares, fixed;  // with NUNF
        double q, v;
        int after, type;
        double generation;  // of the row
    } cases[] = {
        {"enough of them", 0.5, 2, 4, true, false, 0, 1.0, 2, 2, 0.5},
        {"more turbines for the active power", 0.7, 2, 4, true, false, 0, 1.0, 3, 2, 0.7},
        {"more of them for the reactive power", 0.5, 2, 6, true, false, 0.3, 1.0, 4, 2, 0.5},
        {"all in operation: the limit holds", 0.5, 2, 3, true, false, 0.6, 1.05, 3, -2, 0.5},
        {"their generation is their own", 0.5, 2, 6, false, false, 0.5, 1.02, 2, -2, 0.5},
        {"NUNF: their number stands", 0.5, 2, 6, true, true, 0.5, 1.02, 2, -2, 0.5},
    };
    for (const auto& c : cases) {
        Plant n(c.p, c.operating, c.most, c.shares, c.q, c.v);
        n.run.opt.set("NUNF"_opt, c.fixed);
        n.solve();
        const auto& t = n.s.gei;
        ASSERT_EQ(n.s.sol.CONVSTAT, 1) << c.what << n.session.messages();
        EXPECT_EQ(n.operating(), c.after) << c.what << ' ' << n.s.gen.QGEN(n.j);
        EXPECT_EQ(n.s.bus.NTYPE(n.k), c.type) << c.what;
        EXPECT_NEAR(n.s.gen.PGEN(n.j), c.generation, 1e-12) << c.what;
        EXPECT_NEAR(n.s.gen.QMAX(n.j), 0.1 * c.after, 1e-12) << c.what;
        EXPECT_NEAR(t.PGGEI(n.unit) * n.operating(), c.generation, 1e-12) << c.what;
        EXPECT_NEAR(t.QGGEI(n.unit) * n.operating(), n.s.gen.QGEN(n.j), 1e-7) << c.what;
        EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
        const bool told = n.session.console().find("UNIDADES EM OPERAÇÃO ALTERADAS") != std::string::npos;
        EXPECT_EQ(told, c.after != c.operating) << c.what << n.session.console();
        n.solve();
        EXPECT_EQ(n.s.sol.NITP, 0) << c.what << ": from its own solution";
        EXPECT_EQ(n.operating(), c.after) << c.what;
    }
}

// The step-up transformers of the units are the branch of their bus: one unit more changes it.
TEST(Units, TakeTheirStepUpTransformersWithThem) {
    Network n;
    n.generator(3, 1.0);
    const int k = n.generator(2, 1.0, 0.7);
    const int l = n.branch(k, 1, 0, 0.1, 0, 0.98);
    Store& s = n.s;
    add_row(s.gei);
    set_row(s.gei, 1, "NOGEI", k, "NOGGEI", 2, "NUGIG", 5, "NUGIGOP", 2, "NUGIGMN", 1, "FLAGNOP", true, "SNGEI", 0.3,
            "PTUGEI", 0.3, "QMXGEI", 0.2, "QMNGEI", -0.2, "XTFGEI", 0.2);
    n.ready().solve();
    ASSERT_EQ(s.sol.CONVSTAT, 1) << n.session.messages();
    EXPECT_EQ(s.gei.NUGIGOP(1), 3);
    EXPECT_NEAR(s.branch.BKM(l), -3 / 0.2 / 0.98, 1e-12);
    EXPECT_LT(worst_imbalance(s), 1e-7) << "with the diagonal of the new branch";
}

/// Cases as an analysis keeps them: what the solution changes, in memory.
struct MemoryCases : CaseKeeper {
    struct Case {
        std::vector<double> volt, angle;
        std::vector<int> type;
        std::string title;
    };
    std::map<int, Case> cases;
    int refused = 0;  // number that finds no room
    std::vector<int> brought;
    bool keep(Run& run, int n) override {
        const Store& s = run.store;
        if (n == refused) return false;
        Case& c = cases[n] = {};
        for (int k : rows(s.bus.NB)) {
            c.volt.push_back(s.bus.VOLT(k));
            c.angle.push_back(s.bus.ANGLE(k));
            c.type.push_back(s.bus.NTYPE(k));
        }
        c.title = std::string(run.TITLE.trimmed());
        return true;
    }
    bool bring_back(Run& run, int n) override {
        brought.push_back(n);
        if (!cases.count(n)) return false;
        Store& s = run.store;
        for (int k : rows(s.bus.NB)) {
            const auto i = std::size_t(k - 1);
            set_row(s.bus, k, "VOLT", cases[n].volt[i], "ANGLE", cases[n].angle[i], "NTYPE", cases[n].type[i]);
        }
        return true;
    }
};

TEST(Priority, ControlsJoinOneByOne) {
    const int qlim = ("QLIM"_opt).index, crem = ("CREM"_opt).index;
    struct {
        const char* what;
        std::vector<int> order;
        double most;  // QMAX of the plant: with too little of it QLIM has no solution
        int refused;  // case without room
        std::vector<std::string> titles;
        bool stays;  // QLIM at the end
        std::vector<int> brought, messages;
    } cases[] = {
        {"none was asked for", {}, 0.1, 0, {"CASO BASE"}, false, {}, {}},
        {"both in their order",
         {crem, qlim},
         0.1,
         0,
         {"CASO BASE", "CASO BASE + CREM", "CASO BASE + CREM + QLIM"},
         true,
         {},
         {}},
        {"one is given up, the next goes on", {qlim, crem}, -9, 0, {"CASO BASE", "CASO BASE + CREM"}, false, {1}, {}},
        {"no room at the first", {qlim}, 0.1, 1, {}, false, {}, {100}},
    };
    for (const auto& c : cases) {
        Plant n(0.3, 1, 1, false, 0.3, 1.03);
        n.s.gei.NGEI = 0;
        n.s.gen.QMAX(n.j) = c.most;
        n.s.gen.QMIN(n.j) = -9;
        n.run.ctl.order = c.order;
        n.run.TITLE = "O CASO";
        n.run.cte.TEPA = n.run.cte.TEPR = 1e-9;
        n.run.opt.set("CREM"_opt);
        MemoryCases kept;
        kept.refused = c.refused;
        PWFPRI(n.run, kept);
        MSGOUT(n.run);
        std::vector<std::string> titles;
        for (const auto& [number, one] : kept.cases) titles.push_back(one.title);
        EXPECT_EQ(titles, c.titles) << c.what << n.session.console();
        EXPECT_EQ(n.run.opt["QLIM"_opt], c.stays) << c.what;
        EXPECT_EQ(kept.brought, c.brought) << c.what;
        EXPECT_EQ(n.session.numbers("PWFPRI"), c.messages) << c.what;
        EXPECT_EQ(n.run.TITLE.trimmed(), "O CASO") << c.what;
        EXPECT_EQ(bool(shows(n.session.console(), "Controle QLIM desligado")), !c.brought.empty())
            << n.session.console();
        if (c.messages.empty() && !c.order.empty()) EXPECT_LT(worst_imbalance(n.s), 1e-7) << c.what;
    }
}

}  // namespace
}  // namespace korvane::testing
