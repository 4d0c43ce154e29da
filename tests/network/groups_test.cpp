// DARE, DGLT, DGBT and DAGR: areas, groups that DBAR created, aggregators.
#include "network/control_bench.hpp"

namespace korvane::testing {
namespace {

class Groups : public ::testing::Test {
protected:
    BlockBench b;
    Groups() {
        EXPECT_EQ(b.read(INPBUS, {"1:1|8:2|9:A|23:A|74:1", "1:2|9:B|74:2", "1:3|9:C|74:3", "1:4|9:D|74:3"}), NONE);
    }
    int base_group(std::string_view code) const {
        return LOCCHR(b.store().gbt.GBTEN, b.store().gbt.NGBT, Text<2>::of(code));
    }
};

TEST_F(Groups, AreaMessages) {
    expect_messages(b, INPARE, R"(
        8:10 -> 100; 1:-1|8:10 -> 100; 1:9|8:10 -> 110; 1:1|56:5|63:4 -> 120; 1:1|8:1x -> 130
        # The bounds follow an interchange outside them. 50 MW go nowhere: TETP is 1 MW.
        1:1|8:50 -> -910 -920; 1:2|8:-50 -> -900)");
    const AreaTables& a = b.store().area;
    EXPECT_EQ(these(a.EXCMAX(1), a.EXCMIN(1), a.EXCMIN(2)), these(0.5, 0, -0.5));
    EXPECT_EQ(b.read(INPARE, {"1:2|19:Norte e Nordeste"}), NONE) << "blank fields stay";
    EXPECT_EQ(a.ARNAME(2).trimmed(), "Norte e Nordeste");
    EXPECT_EQ(a.AREINT(2), -0.5);
    EXPECT_EQ(b.last_without_end(INPARE, "1:3"), 140);
}

TEST_F(Groups, VoltageLimits) {
    expect_messages(b, INPGLT, R"(
        1:ZZ|4:.9 -> 100; 1:A|4:0. -> 110; 1:A|10:-1. -> 120 130 180; 1:A|4:1.1|10:.9 -> 130 180; 1:A|4:.9x -> 140
        1:A|16:0. -> 160; 1:A|22:0. -> 170 180; 1:A|16:1.1|22:.9 -> 180; 1:a|4:.95|10:1.05 ->)");
    const LimitGroupTables& g = b.store().glt;
    const int k = LOCCHR(g.GLTEN, g.NGLT, Text<2>::of(" A"));
    for (double v : {g.VMIN(k), g.VMINE(k)}) EXPECT_EQ(v, 0.95) << "emergency follows normal";
    EXPECT_EQ(b.read(INPGLT, {"1:A|22:1.2"}), NONE);
    EXPECT_EQ(g.VMAX(k), 1.05);
    EXPECT_EQ(g.VMAXE(k), 1.2);
    EXPECT_EQ(b.last_without_end(INPGLT), 150);
}

TEST_F(Groups, BaseVoltagesAndTheLimitsThatFollow) {
    expect_messages(b, INPGBT, "1:ZZ|4:500 -> 100; 1:A|4:0. -> 110; 1:A -> 110; 1:A|4:5.. -> 120");
    ASSERT_EQ(b.read(INPLIN, {"1:1|11:2|27:1.", "1:3|11:4|27:1."}), NONE);
    ASSERT_EQ(b.read(INPGBT, {"1:A|4:765", "1:B|4:500", "1:C|4:525", "1:D|4:440"}), NONE);
    EXPECT_EQ(b.store().gbt.BASET(base_group(" D")), 440);
    const BranchTables& l = b.store().branch;
    EXPECT_EQ(these(l.VFXENRG(1), l.VTXENRG(1), l.VFXENRG(2)), these(800.0 / 765, 550.0 / 500, 550.0 / 525));
    EXPECT_EQ(l.VTXENRG(2), 1.1) << "other voltages leave it as it is";
    EXPECT_EQ(b.last_without_end(INPGBT), 130);
}

// --- DAGR: aggregators and their groups

class AggregatorData : public ::testing::Test {
protected:
    ControlBench b;
    const Aggregators& a = b.store().agr;

    std::string groups(int k) const {
        std::string all;
        for (int i : rows(a.count(k)))
            all += std::to_string(a.NIDGAG(k)(i)) + std::string(a.DESGAG(k)(i).trimmed()) + ' ';
        return all;
    }
    std::string chain(int k) const {
        std::string all;
        for (int i = a.NUMGAG(k); i; i = a.LNKGAG(k)(i)) all += std::to_string(a.NIDGAG(k)(i)) + ' ';
        return all;
    }
};

TEST_F(AggregatorData, Messages) {
    expect_messages(b, INPAGR, "1:0|5:NADA -> 100; 1:11 -> 100; 1:1x -> 110; 1:FAGR -> 110");
    EXPECT_EQ(b.read(INPAGR, {"1:3|5:REGIAO", "1:1|5:3", "7:SEM NUMERO", "1:7|7:SETE", "1:7", "1:8|5:E", "1:9|5:2",
                              "1:1|5:x", "1:fagr", "1:12", "1:5", "1:0"}),
              (std::vector{120, 130, 140, 160, 160, 170, 100, 130}))
        << b.messages();
    EXPECT_EQ(groups(3), "7SETE ");
    EXPECT_EQ(a.DESCAG(3).trimmed(), "REGIAO");
    EXPECT_EQ(b.last_without_end(INPAGR), 180);
    EXPECT_EQ(b.last_without_end(INPAGR, "1:3"), 180);
    std::string cards = card_of("1:10");
    for (int id = 1; id <= MXAGROW + 1; ++id) cards += card_of("1:" + std::to_string(id));
    EXPECT_EQ(b.read(INPAGR, cards), std::vector{150});
    EXPECT_EQ(a.count(10), MXAGROW);
}

TEST_F(AggregatorData, GroupsAndWhatBelongsToThem) {
    ASSERT_EQ(b.read(INPAGR, {"1:2|5:EMPRESA", "1:30|7:TRINTA", "1:10|5:A|7:DEZ", "1:20|5:0|7:VINTE", "1:FAGR", "1:9",
                              "1:5", "1:FAGR"}),
              NONE);
    EXPECT_EQ(groups(2), "30TRINTA 10DEZ 20VINTE ");
    EXPECT_EQ(chain(2), "10 20 30 ");
    ASSERT_EQ(b.read(INPBUS, {"1:10|6:M|85:30|106:5", "1:30|6:M|85:10", "1:40|6:M|85:20"}), NONE);
    ASSERT_EQ(b.read(INPLIN, {"1:30|8:M|11:40|16:1|82:20", "1:40|8:M|11:50|16:1|82:30"}), NONE);

    // The head of the list is gone: a bus or a branch of the group has none, the others follow their rows.
    EXPECT_EQ(b.read(INPAGR, {"1:2", "1:30|5:E", "1:20|5:M", "1:10|5:M|7:X", "1:FAGR"}), NONE);
    EXPECT_EQ(groups(2), "10X 20VINTE ");
    EXPECT_EQ(chain(2), "10 20 ");
    EXPECT_EQ(a.DESCAG(2).trimmed(), "EMPRESA") << "a blank description leaves it";
    const Store& s = b.store();
    const auto bus_group = [&](int number) { return int(s.bus.IAGRBAR(b.bus(number))(2)); };
    EXPECT_EQ((std::vector{bus_group(10), bus_group(30), bus_group(40)}), (std::vector{0, 1, 2}));
    EXPECT_EQ(s.branch.IAGRCIR(b.branch(30, 40, 1))(2), 2);
    EXPECT_EQ(s.branch.IAGRCIR(b.branch(40, 50, 1))(2), 0);
    EXPECT_EQ(s.bus.IAGRBAR(b.bus(10))(9), 1) << "other aggregators stay";

    EXPECT_EQ(b.read(INPAGR, {"1:2", "1:10|5:1", "1:20|5:1"}), NONE);
    EXPECT_EQ(a.count(2), 0);
    EXPECT_EQ(a.NUMGAG(2), 0);
    EXPECT_TRUE(a.DESCAG(2).blank()) << "all its groups were deleted";
    EXPECT_EQ(bus_group(40), 0);

    b.run.opt.set("INIC"_opt);
    b.feed("");
    INPAGR(b.run);
    EXPECT_EQ(these(a.count(9), a.NAGINT(9), s.bus.IAGRBAR(b.bus(10))(9)), these(0, 9, 0));
}

}  // namespace
}  // namespace korvane::testing
