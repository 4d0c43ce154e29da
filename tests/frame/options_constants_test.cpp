// Default options and constants: what a card gives, what it refuses, and what follows from it.
#include <gtest/gtest.h>

#include <numbers>

#include "frame/decimal.hpp"
#include "frame/run.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

using Numbers = std::vector<int>;

/// A session after one block; its reader has run on the cards, and errors have not stopped it.
struct Block : Session {
    explicit Block(std::string_view cards, const std::string& option = "") : Session({.via = Via::console}) {
        start();
        if (!option.empty()) run.opt.set(Option{find_option(option)});
        feed(cards);
    }
};

// --- DOPC

TEST(DefaultOptions, AreSetAndClearedByTheirState) {
    struct Case {
        std::string card;
        std::vector<Option> on, off;
        Numbers messages;
    };
    const Case cases[] = {
        {"IMPR", {"IMPR"_opt, "NEWT"_opt}, {}, {}},
        {"IMPR L FLAT   NEWT D", {"IMPR"_opt, "FLAT"_opt}, {"NEWT"_opt}, {}},
        {"impr l\nIMPR D", {}, {"IMPR"_opt}, {}},
        {"              STEP L", {"STEP"_opt}, {}, {}},
        {"IMPR X FLAT Z STEP L", {"STEP"_opt}, {"IMPR"_opt, "FLAT"_opt}, {100}},
        {"ZZZZ L IMPR L YYYY D", {"IMPR"_opt}, {}, {110}},
        {"ZZZZ X IMPR", {"IMPR"_opt}, {}, {100, 110}},
        {"     L", {}, {}, {105}},
        {"+    L spar L SPAR", {}, {Option{354}, Option{353}}, {110}},
        {"UNPG L", {"UNPG"_opt}, {}, {}},
        {"                                                               IMPR L", {"IMPR"_opt}, {}, {}},
    };
    for (const Case& c : cases) {
        Block s(c.card + "\n99999\n");
        INPOPT(s.run);
        for (Option o : c.on) EXPECT_TRUE(s.run.opt.OPTDEF[std::size_t(o.index)]) << c.card << o.index;
        for (Option o : c.off) EXPECT_FALSE(s.run.opt.OPTDEF[std::size_t(o.index)]) << c.card << o.index;
        EXPECT_EQ(s.numbers("INPOPT"), c.messages) << c.card;
    }
}

TEST(DefaultOptions, TheEchoMarksWhatIsWrong) {
    Block s("IMPR X FLAT   ZZZZ D\n99999\n");
    INPOPT(s.run);
    EXPECT_TRUE(shows(s.console(), "IMPR ? FLAT L ???? D"));
}

// --- DCTE

/// A value in the six columns of its field, in its fewest digits.
std::string pair_of(std::string_view name, double v) {
    char field[6];
    PUTREAL(v, 6, field);
    return std::string(name) + ' ' + std::string(field, 6) + ' ';
}

TEST(Constants, DefaultsAreWhatACardWouldHaveGiven) {
    Session fresh;
    fresh.start();
    const Constants reset = fresh.run.cte;
    for (const ConstantRow& row : constant_table()) {
        if (row.initial == 0 || (!row.real && !row.whole)) continue;
        const std::string name(row.name, 4);
        Block s(pair_of(name, row.initial == 1 ? 2 : 1) + "\n" + pair_of(name, row.initial) + "\n99999\n");
        // as if nothing had been set
        if (row.real) s.run.cte.*row.real = -7;
        if (row.whole) s.run.cte.*row.whole = -7;
        if (name == "BASE") s.run.cte.BASE = 100;
        INPCTE(s.run);
        if (row.real) {
            EXPECT_EQ(s.run.cte.*row.real, reset.*row.real) << name;
        }
        if (row.whole) {
            EXPECT_EQ(s.run.cte.*row.whole, reset.*row.whole) << name;
        }
    }
}

// Values of a reset program, worked out by hand from what the manual says in card units.
TEST(Constants, DefaultsInInternalUnits) {
    Session s;
    const Constants& c = s.start().run.cte;
    const double single = 0.01f;
    EXPECT_EQ(nearly(c.BASE, c.RBASE, c.TEPA, c.TETP, c.QLST, c.TSBZ, c.TLVC, c.CSTP, c.VFLD),
              nearly(100, 0.01, 0.001, 0.05, 0.004, 0.0001, 0.5 * single, 5 * single, 70 * single));
    EXPECT_EQ(nearly(c.FGHT, c.XGHT, c.ZMAX, c.ZMIN, c.VDVN, c.VDVM, c.ASTP, c.ASDC, c.VMVF),
              nearly(0.01 * single, 0, 1 / (25 * 1e4 * single * single), 0.001, 0.4, 2.0, 0.05, std::numbers::pi / 180,
                     0.15));
    EXPECT_EQ(nearly(c.TRPT, c.TLMF, c.LFPO, c.LPRT, c.LCRT, c.ACIT, c.ICIT, c.TSTP, c.NDIRI),
              nearly(1, 0, 0.001, 60, 24, 30, 9999, 33, 20));
}

struct ConstantCase {
    std::string cards;
    std::vector<std::pair<double Constants::*, double>> values;
    Numbers messages;
};

TEST(Constants, FollowFromEachOther) {
    using C = Constants;
    const ConstantCase cases[] = {
        {"BASE 200",
         {{&C::BASE, 200}, {&C::RBASE, 0.005}, {&C::TEPA, 0.0005}, {&C::EXST, 0.002}, {&C::VMVF, 0.15}},
         {}},
        {"TEPA 1.0    BASE 200", {{&C::TEPA, 1.0 / 200}, {&C::EXST, 4.0 / 200}, {&C::TEPR, 0.0005}}, {}},
        {"BASE 200    BASE 50", {{&C::TEPA, 0.002}}, {}},
        {"TEPR 2.0", {{&C::QLST, 0.08}, {&C::TPST, 0.04}}, {}},
        {"TEPR 2.0    QLST 3.0", {{&C::QLST, 0.03}, {&C::TPST, 0.04}}, {}},
        {"TEPR 2.0    QLST 1.0", {{&C::QLST, 0.08}}, {-900}},
        {"TEPA 2.0    EXST 1.0", {{&C::EXST, 0.08}}, {-910}},
        {"TEPR 2.0    TPST 1.0    QLST 2.0", {{&C::TPST, 0.04}, {&C::QLST, 0.02}}, {-920}},
        {"TSBA .001", {{&C::TSBA, 0.05}}, {140}},
        {"VDVN 150    VDVM 150", {{&C::VDVN, 0.4}, {&C::VDVM, 2.0}}, {150}},
        {"VDVN 50     VDVM 150", {{&C::VDVN, 0.5}, {&C::VDVM, 1.5}}, {}},
        {"ZMAX 100", {{&C::ZMAX, 1.0}}, {}},
        {"TEPA 1\nTEPA 2\n", {{&C::TEPA, 0.02}}, {}},
        {"tepa 1,0\nTEPA   2.", {}, {120}},
        {"NDIR 12.6", {{&C::NDIR, 12.6}}, {}},
    };
    for (const ConstantCase& c : cases) {
        Block s(c.cards + "\n99999\n");
        INPCTE(s.run);
        for (const auto& [member, expected] : c.values)
            EXPECT_NEAR(s.run.cte.*member, expected, 1e-7 * expected) << c.cards;  // 0.01 in single precision: 2e-8
        EXPECT_EQ(s.numbers("INPCTE"), c.messages) << c.cards;
    }
}

TEST(Constants, AWrongEntryLeavesItsOldValueAndTheOthersApply) {
    struct Case {
        std::string cards;
        Numbers messages;
        double tepa;  // MW
        std::string echo;
    };
    const Case cases[] = {
        {"TEPA -1", {100}, 0.1, "TEPA ??????"},
        {"TEPA 0", {100}, 0.1, "TEPA ??????"},
        {"TEPA", {100}, 0.1, "TEPA ??????"},
        {"ZZZZ 1      TEPA 5", {110}, 5, "???? "},
        {"LPRT 0.4", {100}, 0.1, "LPRT ??????"},
        {"ACIT 9E99   TEPA 5", {100}, 5, "ACIT ??????"},
        {"BASE 1E-300 TEPA 5", {100}, 5, "BASE ??????"},
        {"%SBC -100   TEPA 5", {100}, 5, "%SBC ??????"},
        {"TEPA abc    ZMIN 1", {120}, 0.1, ""},
        {"PGER 0      %FCG 0      CTPT 0      TLMT 0      BFPO 0      TEPA 5", {}, 5, ""},
        {"YREF 2030   CAND 1      BIND 4      TEPA 5", {}, 5, ""},
        {"BCAP -1     TEPA 5", {100}, 5, ""},
        {"TEPA 5\n", {}, 5, ""},
    };
    for (const Case& c : cases) {
        Block s(c.cards + "\n99999\n");
        INPCTE(s.run);
        EXPECT_EQ(s.numbers("INPCTE"), c.messages) << c.cards;
        EXPECT_NEAR(s.run.cte.TEPA, c.tepa / 100, 1e-15) << c.cards;
        EXPECT_TRUE(shows(s.console(), c.echo));
    }
    Block unfinished("TEPA 5\n");
    INPCTE(unfinished.run);
    EXPECT_EQ(unfinished.numbers("INPCTE"), Numbers{130});
    EXPECT_EQ(unfinished.run.cte.TEPA, 0.001);
}

TEST(Constants, RatingsAreScaledButNotThoseThatAreNone) {
    for (const char* option : {"", "EMRG"}) {
        Session s({.via = Via::console});
        auto& run = s.start().run;
        BranchTables& b = run.store.branch;
        for (double rating : {100.0, NO_RATING, INFINITE_RATING}) {
            const int l = add_row(b);
            b.CAPAC(l) = b.CAPAE(l) = rating;
            b.KAPAC(l) = b.KAPAE(l) = int(rating);
        }
        s.os.type(std::string("DCTE ") + option + "\n%SBC -10\n99999\nFIM\n");
        KORVAN(run);
        const bool emergency = *option != 0;
        auto& scaled = emergency ? b.CAPAE : b.CAPAC;
        auto& kept = emergency ? b.CAPAC : b.CAPAE;
        EXPECT_NEAR(scaled(1), 90, 1e-5);  // 0.01 in single precision
        EXPECT_EQ(these((emergency ? b.KAPAE : b.KAPAC)(1), scaled(2), scaled(3), kept(1)),
                  these(90, NO_RATING, INFINITE_RATING, 100));
    }
}

}  // namespace
}  // namespace korvane::testing
