// DBSH: groups of shunt banks, their rows, and the automatic shunts that they make.
#include <map>
#include <random>

#include "network/block_bench.hpp"
#include "network/shunt_banks.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {
namespace {

class Banks : public ::testing::Test {
protected:
    BlockBench b;
    Store& s = b.run.store;
    const BankTables& g = s.bsh;
    const BankUnitTables& u = s.bshl;
    const AutomaticShuntTables& a = s.sca;

    // Buses 1 to 6 on a line of branches, a shunt at 2, a compensator at 6, a line shunt on 2-3; 7 is out of service.
    Banks() {
        EXPECT_EQ(b.read(INPBUS, {"1:1|8:2|74:1", "1:2|69:30|74:1", "1:3|74:1", "1:4|74:1", "1:5|74:1", "1:6|74:1",
                                  "1:7|7:D|74:1"}),
                  NONE);
        EXPECT_EQ(b.read(INPLIN, {"1:1|11:2|27:10.", "1:2|11:3|27:10.", "1:2|11:3|27:10.", "1:3|11:4|27:10.",
                                  "1:4|11:5|27:10.", "1:5|11:6|27:10."}),
                  NONE);
        EXPECT_EQ(b.read(INPSHL, {"1:2|10:3|18:-10.|24:-20."}), NONE);
        EXPECT_EQ(b.read(INPCER, {"1:6|9:1|21:5.|34:-99|40:99"}), NONE);
    }
    std::vector<int> dbsh(std::initializer_list<std::string_view> cards) { return b.read(INPBSH, cards); }

    int group(int bus, int branch = 0) const {
        for (int i : rows(g.NBSH))
            if (g.NOBSH(i) == b.bus(bus) && g.IDCIR(i) == branch) return i;
        return 0;
    }
    int unit(int of, int number) const {
        for (int i : rows(u.NBSHL))
            if (u.IBUSH(i) == of && u.IDEGS(i) == number) return i;
        return 0;
    }
    /// The numbers of the rows of a group along a chain.
    template <class Head, class Link>
    std::vector<int> chain(int of, const Head& head, const Link& link) const {
        std::vector<int> numbers;
        for (int i = head(of); i; i = link(i)) numbers.push_back(u.IDEGS(i));
        return numbers;
    }
};

TEST_F(Banks, EveryMessageOfAGroup) {
    EXPECT_EQ(dbsh({"1:3|18:D", "1:1|17:5.", "1:FBAN", "1:4", "1:1|17:5.", "1:2|17:5.", "1:3|17:5.", "1:4|17:5.",
                    "1:5|17:5.", "1:6|17:5.", "1:7|17:5."}),
              NONE);
    expect_messages(b, INPBSH, R"(
        1:2|7:3 -> 100; 7:A -> 110; 1:-2|9:-3 -> 110 120; 1:99 -> 130; 1:98|9:99 -> 130 140; 1:2|9:4|47:2 -> 150
        1:2|9:3|15:3|47:2 -> 150; 1:2|9:3|15: 0|47:2 -> 150; 1:2|9:3|47:4 -> 160; 1:2|9:3 -> 160; 1:3 -> 170
        1:2|7:M -> 190; 1:3|9:2|7:E|47:2 -> 190; 1:2|20:-1 -> 210; 1:2|20:0|25:0 -> 210 220
        1:2|20:1050|25: 950 -> 230; 1:2|30:-1 -> 240; 1:2|30:99 -> 250; 1:2|43:X -> 260; 1:2|18:3 -> 270
        1:2|18:Z -> 270; 1:2|9:3|47:3|18:C -> 280; 1:6|18:D -> 281; 1:2|18:D|30:3 -> 282; 1:x -> 290; 1:2|7:Z -> 290
        1:4|7:M|18:D -> 401; 1:2|45:X -> 430)");
    EXPECT_EQ(g.NBSH, 2) << "nothing of a wrong card applies";
    EXPECT_EQ(b.last_without_end(INPBSH, "1:2"), -930);
    EXPECT_EQ(b.numbers().front(), 420);
}

TEST_F(Banks, EveryMessageOfARow) {
    EXPECT_EQ(dbsh({"1:3", "1:1|17:5.", "1:2|9: 3|17:-5.", "1:FBAN", "1:4|18:D", "1:1|17:5.", "1:2|17:5.", "1:3|17:5.",
                    "1:4|17:5.", "1:5|17:5.", "1:6|17:5."}),
              NONE);
    const auto row = [&](std::string_view group, std::string_view card) {
        return b.read(INPBSH, {group, card, "1:fban"});
    };
    expect_outcomes(R"(
        1:3|5:9|17:5. -> 300; 5:A|17:5. -> 310; 1:1|17:5. -> 320; 1:3|5:M|17:5. -> 340; 1:3|5:E -> 340
        1:1|5:E|7:L -> 350; 1:1|5:E|17:1. -> 350; 1:3|7:X|17:5. -> 360; 1:3|9: 0|17:5. -> 370; 1:3|13: -1|17:5. -> 380
        1:3|5:A -> 390; 1:1|5:M|17:0. -> 390; 1:3|9: x|17:5. -> 410; 1:3|5:Q|17:5. -> 410
        1:3|9:  2|13:  3|17:5. -> -910)",
                    [&](const std::string& card) { return row("1:3|7:M", card); });
    EXPECT_EQ(u.NUNISOP(unit(group(3), 3)), 2) << "as many as there are";
    EXPECT_EQ(row("1:4|7:M", "1:7|17:5."), std::vector{400});
    EXPECT_EQ(row("1:4|7:M", "1:6|5:M|17:6."), NONE) << "six are allowed";

    // Rows of a refused group are checked against the group that is there, and do not apply.
    EXPECT_EQ(dbsh({"1:3", "1:1|17:7.", "1:9|17:7.", "1:2|5:M|17:0."}), (std::vector{170, 320, 390}));
    EXPECT_EQ(dbsh({"1:99", "1:1|5:M|17:7.", "1:2|5:E", "1:3|17:0."}), (std::vector{130, 390}));
    EXPECT_EQ(dbsh({"1:x", "1:1|5:M|17:7.", "1:FBAN", "1:3|7:M", "1:1|5:M|9:4"}), std::vector{290});
    EXPECT_EQ(unit(group(3), 9), 0);
    EXPECT_DOUBLE_EQ(u.VALSH(unit(group(3), 1)), 0.05);
    EXPECT_EQ(u.NUNIS(unit(group(3), 1)), 4) << "the next group is read as usual";
    // Seven rows under fixed control, and the way to automatic control that its rows bar.
    EXPECT_EQ(dbsh({"1:3|7:M", "1:4|17:1.", "1:5|17:1.", "1:6|17:1.", "1:7|17:1."}), NONE);
    EXPECT_EQ(dbsh({"1:3|7:M|18:D", "1:4|5:M|17:2.", "1:8|17:2."}), (std::vector{401, 401, 400}));
    EXPECT_EQ(g.MCBSH(group(3)), 0);
    // "99999" in place of "FBAN" ends the block; behind it nothing is a row.
    b.feed(card_of("1:3|7:M") + card_of("1:99999") + card_of("1:9|17:7."));
    b.run.msg.printed.clear();
    INPBSH(b.run);
    EXPECT_EQ(b.numbers(), NONE);
    b.feed(card_of("1:3|7:M") + card_of("1:9|17:7."));
    EXPECT_THROW(INPBSH(b.run), RunStop);
    EXPECT_EQ(b.numbers(), std::vector{420});
}

TEST_F(Banks, FullTables) {
    ASSERT_EQ(dbsh({"1:1", "1:1|17:5."}), NONE);
    const auto full = [&](int& n, int limit, const char* group, int message) {
        const int kept = std::exchange(n, limit);
        EXPECT_EQ(dbsh({group, "1:9|17:5.", "1:FBAN"}), std::vector{message});
        n = kept;
    };
    // Rows beyond those in use stand for those of other groups on the same bus.
    for (int i : rows(MXBSH)) s.bsh.NOBSH(i) = b.bus(1);
    full(s.bsh.NBSH, MXBSH, "1:3", 180);
    for (int i : rows(MXBSHL)) s.bshl.IBUSH(i) = 1, s.bshl.IDEGS(i) = 1000 + i;
    full(s.bshl.NBSHL, MXBSHL, "1:1|7:M", 330);
    for (int i : rows(MXSCA)) s.sca.NBUSSCA(i) = b.bus(1);
    full(s.sca.NSCA, MXSCA, "1:3|18:D", 440);
}

TEST_F(Banks, GroupsAndRowsInTheStore) {
    s.sol.CONVSTAT = 1;
    EXPECT_EQ(b.read(INPGLT, {"1: 0|4:.95|10:1.045"}), NONE);
    EXPECT_EQ(dbsh({"1:3|7:a|36:12.5", "1:5|17:-4.", "1:2|7:d|9:2|17:3.", "1:9|9:3|13:1|17:-2", "1:FBAN",
                    "1:3|9:2|47:2|18:D|20:1000|25: 1.1|30:5|43:L", "1:1|9:4|17:2.", "1:FBAN", "1:3|9:2|15:2|47:3",
                    "1:1|17:2."}),
              NONE);
    EXPECT_EQ(s.sol.CONVSTAT, 0);
    const int circuit = b.branch(2, 3, 1), on_bus = group(3), on_end = group(2, circuit);
    ASSERT_TRUE(on_bus && on_end && group(3, b.branch(2, 3, 2)));
    EXPECT_EQ(g.TMNSH(on_bus), 0.95);
    EXPECT_EQ(g.TMXSH(on_bus), 1.045) << "three decimals, as its columns show";
    EXPECT_EQ(
        nearly(g.NOBCS(on_bus), g.VINSH(on_bus), g.NUBSH(on_bus), g.MCBSH(on_end), g.TCBSH(on_end), g.NOBCS(on_end)),
        nearly(b.bus(3), 0.125, 3, 1, true, b.bus(5)));
    EXPECT_EQ(u.NUNISOP(unit(on_bus, 2)), 2) << "as the units";
    EXPECT_FALSE(u.STBSH(unit(on_bus, 2)));
    EXPECT_DOUBLE_EQ(g.QBSH(on_bus), -0.04 - 0.02) << "what is in service";
    EXPECT_EQ(chain(on_bus, s.adr.IPBSH, s.adr.LNKBS), (std::vector{2, 5, 9}));
    EXPECT_EQ(chain(on_bus, s.adr.IPBRC, s.adr.LNKRC), (std::vector{5, 9, 2})) << "reactors first";
    EXPECT_EQ(unit(on_bus, 2), 5) << "rows out of service stand behind";

    // A change keeps what it leaves blank, whichever end is named first.
    EXPECT_EQ(dbsh({"1:2|7:M|9:3|15:1|47:2|18:C|36:1.", "1:1|5:M|13:3"}), NONE);
    const int same = group(2, circuit);
    EXPECT_EQ(nearly(g.MCBSH(same), g.TMXSH(same), g.TCBSH(same), u.NUNISOP(unit(same, 1)), u.NUNCHAV(unit(same, 1)),
                     u.VALSH(unit(same, 1))),
              nearly(2, 1.1, true, 3, 3, 0.02));

    // Deletion: a row, a group, the last row of a group with it, and a group that never got one.
    EXPECT_EQ(dbsh({"1:3|7:M", "1:5|5:E", "1:FBAN", "1:2|9:3|47:2|7:E"}), NONE);
    EXPECT_EQ(g.NBSH, 2);
    EXPECT_EQ(u.NBSHL, 3);
    EXPECT_EQ(dbsh({"1:4", "1:FBAN", "1:2|9:3|15:2|47:3|7:M", "1:1|5:E", "1:FBAN", "1:2|9:3|15:2|47:3|7:M"}),
              (std::vector{190, -930}))
        << "gone before the next group card";
    EXPECT_EQ(g.NBSH, 1);
    EXPECT_EQ(stray_reference(s), "");
    EXPECT_EQ(dbsh({"1:3|7:E", "1:3", "1:1|17:2."}), NONE) << "gone and made anew";
    EXPECT_EQ(chain(group(3), s.adr.IPBSH, s.adr.LNKBS), std::vector{1});
}

TEST_F(Banks, TakeOverFixedShunts) {
    EXPECT_EQ(dbsh({"1:2|36:7.|45:S", "1:1|17:5.", "1:FBAN", "1:4|36:7.|45:S", "1:1|17:5.", "1:FBAN",
                    "1:2|9:3|47:2|45:s", "1:1|17:5."}),
              (std::vector{-900, -900, -900}));
    const int circuit = b.branch(2, 3, 1);
    EXPECT_DOUBLE_EQ(g.VINSH(group(2)), 0.3);
    EXPECT_EQ(s.sht.NSHT, 0) << "an empty shunt row goes";
    EXPECT_DOUBLE_EQ(g.VINSH(group(4)), 0.07) << "there was nothing to take";
    EXPECT_DOUBLE_EQ(g.VINSH(group(2, circuit)), -0.1);
    ASSERT_EQ(s.shl.NSHL, 1);
    EXPECT_EQ(s.shl.SHLFR(1), 0);
    EXPECT_DOUBLE_EQ(s.shl.SHLTO(1), -0.2) << "the other end stays";
    EXPECT_FALSE(g.DELSH(1) || g.DELSH(2) || g.DELSH(3));
    EXPECT_EQ(dbsh({"1:2|9:3|47:3|45:S", "1:1|17:5."}), std::vector{-900});
    EXPECT_EQ(s.shl.NSHL, 0);
    EXPECT_EQ(s.branch.LITRF(circuit), 0);
}

// What the groups of a bus under automatic control make: one shunt, its stages their rows in service.
TEST_F(Banks, AutomaticShunts) {
    EXPECT_EQ(b.read(INPSCA, {"1:4|7:A|9:D|31:2|33:10.", "1:5|9:D|25:3."}), NONE);
    EXPECT_EQ(dbsh({"1:3|18:D|20: 990|25:1010|43:L", "1:2|9:3|13:1|17:10.", "1:1|9:2|17:-20.", "1:3|7:D|17:30.",
                    "1:FBAN", "1:4|18:C", "1:1|17:5.", "1:FBAN", "1:2", "1:1|17:5.", "1:FBAN",
                    "1:2|9:3|47:3|18:D|20: 990|25:1010|43:L", "1:1|17:7."}),
              std::vector{-920})
        << b.messages();
    ASSERT_EQ(a.NSCA, 3) << "5 of its own, 3 and 4 of banks; 4 gave way";
    EXPECT_EQ(nearly(a.NBUSSCA(1), a.VORISCA(1), a.NBUSSCA(2), g.IPSCA(group(3))), nearly(b.bus(5), 0.03, b.bus(3), 2));
    EXPECT_EQ(g.IPSCA(group(3, b.branch(2, 3, 1))), 2) << "groups of a bus share it";
    EXPECT_EQ(g.IPSCA(group(4)), 3);
    EXPECT_EQ(g.IPSCA(group(2)), 0);
    EXPECT_EQ(a.ISTEPSCA(2), (StageSteps{3, 1, 2})) << "capacitors first";
    EXPECT_EQ(nearly(a.VSTEPSCA(2)[0], a.BSCA(2), a.KONSCA(2), a.KONSCA(3), a.VMINSCA(2), a.SCALIM(2)),
              nearly(0.1, -0.4 + 0.1 + 0.07, 1, 2, 0.99, true));
    EXPECT_EQ(b.read(INPSCA, {"1:3|7:E"}), std::vector{260}) << "the bank holds it";

    // Groups of a bus have six rows between them.
    EXPECT_EQ(dbsh({"1:3|7:M", "1:4|17:1.", "1:5|17:1.", "1:6|17:1."}), std::vector{400});
    EXPECT_EQ(dbsh({"1:3|7:M|25:1020"}), std::vector{280});
    // A circuit that is off takes its group out; gone, the group goes with it.
    EXPECT_EQ(b.read(INPLIN, {"1:2|8:M|11:3|16: 1|18:D"}), NONE);
    EXPECT_EQ(dbsh({}), NONE);
    EXPECT_EQ(a.ISTEPSCA(2), (StageSteps{3, 1, 1, 2})) << "rows 1, 2, 4, 5 of the group on the bus";
    EXPECT_EQ(b.read(INPLIN, {"1:2|8:E|11:3|16: 1"}), NONE);
    EXPECT_EQ(these(g.NBSH, a.NSCA, a.NBUSSCA(g.IPSCA(group(3)))), these(3, 3, b.bus(3)));
    EXPECT_EQ(stray_reference(s), "");
    // Without its groups a bank shunt goes, those of DSCA stay.
    EXPECT_EQ(dbsh({"1:3|7:E", "1:4|7:M|18:F"}), NONE);
    ASSERT_EQ(a.NSCA, 1);
    EXPECT_EQ(a.NBUSSCA(1), b.bus(5));
    EXPECT_EQ(b.read(INPSCA, {"1:4|7:E"}), std::vector{200});
}

// Cards at random, and a plain model of them: the store is that of a deck with the survivors alone.
TEST(BankSequences, LeaveTheSurvivors) {
    struct Row {
        int units, operating;
        bool on;
    };
    for (const unsigned seed : seeds(6)) {
        std::mt19937 random(seed);
        auto below = [&](int n) { return int(random() % unsigned(n)); };
        const auto network = [](BlockBench& b) {
            std::string cards;
            for (int k = 1; k <= 8; ++k)
                cards += card_of("1:" + std::to_string(k) + "|7:" + (k == 8 ? "D" : "L") + "|74:1");
            EXPECT_EQ(b.read(INPBUS, cards), NONE);
        };
        const auto row_card = [](int number, char op, const Row& r) {
            return card_of("1:" + std::to_string(number) + "|5:" + op + "|7:" + (r.on ? "L" : "D") +
                           "|9:" + std::to_string(r.units) + " |13:" + std::to_string(r.operating) + " |17:5.");
        };
        const auto group_card = [](int bus, char op, int control) {
            return card_of("1:" + std::to_string(bus) + "|7:" + op + "|18:" + "FDC"[control]);
        };
        BlockBench walked;
        network(walked);
        std::map<int, std::pair<int, std::map<int, Row>>> model;  // by bus: control, rows
        for (int block = 0; block < 12; ++block) {
            std::string cards;
            for (int n = 0; n < 6; ++n) {
                const int bus = 1 + below(8);
                const bool there = model.count(bus) != 0;
                if (there && below(4) == 0) {
                    cards += card_of("1:" + std::to_string(bus) + "|7:E");
                    model.erase(bus);
                    continue;
                }
                auto& [control, rows] = model[bus];
                control = below(3);
                cards += group_card(bus, there ? 'M' : 'A', control);
                for (int i = 0; i < 3; ++i) {
                    const int number = 1 + below(6);
                    if (rows.count(number) && below(3) == 0) {
                        cards += card_of("1:" + std::to_string(number) + "|5:E");
                        rows.erase(number);
                    } else {
                        const Row r{3, below(4), below(2) == 0};
                        cards += row_card(number, rows.count(number) ? 'M' : 'A', r);
                        rows[number] = r;
                    }
                }
                if (rows.empty()) model.erase(bus);
                cards += "FBAN\n";
            }
            EXPECT_EQ(walked.read(INPBSH, cards), NONE) << seed << walked.messages();
            ASSERT_EQ(stray_reference(walked.run.store), "") << seed;
        }
        BlockBench straight;
        network(straight);
        std::string cards;
        for (const auto& [bus, group] : model) {
            cards += group_card(bus, 'A', group.first);
            for (const auto& [number, row] : group.second) cards += row_card(number, 'A', row);
            cards += "FBAN\n";
        }
        EXPECT_EQ(straight.read(INPBSH, cards), NONE) << seed << straight.messages();
        EXPECT_EQ(contents(walked.run.store), contents(straight.run.store)) << seed;
    }
}

}  // namespace
}  // namespace korvane::testing
