// DARE, DGLT and DGBT: areas and groups that DBAR created.
#include "network/block_bench.hpp"

namespace korvane::testing {
namespace {

class Groups : public ::testing::Test {
protected:
    BlockBench b;
    Groups() {
        EXPECT_TRUE(b.read(INPBUS, {"1:1|8:2|9:A|23:A|74:1", "1:2|9:B|74:2", "1:3|9:C|74:3", "1:4|9:D|74:3"}).empty())
            << b.messages();
    }
    int base_group(std::string_view code) const {
        return LOCCHR(b.store().gbt.GBTEN, b.store().gbt.NGBT, Text<2>::of(code));
    }
};

TEST_F(Groups, AreaMessages) {
    expect_messages(b, INPARE,
                    {{"8:10", {100}},
                     {"1:-1|8:10", {100}},
                     {"1:9|8:10", {110}},
                     {"1:1|56:5|63:4", {120}},
                     {"1:1|8:1x", {130}},
                     // The bounds follow an interchange outside them. 50 MW go nowhere: TETP is 1 MW.
                     {"1:1|8:50", {-910, -920}},
                     {"1:2|8:-50", {-900}}});
    const AreaTables& a = b.store().area;
    EXPECT_EQ(a.EXCMAX(1), 0.5);
    EXPECT_EQ(a.EXCMIN(1), 0);
    EXPECT_EQ(a.EXCMIN(2), -0.5);
    EXPECT_TRUE(b.read(INPARE, {"1:2|19:Norte e Nordeste"}).empty()) << "blank fields stay";
    EXPECT_EQ(a.ARNAME(2).trimmed(), "Norte e Nordeste");
    EXPECT_EQ(a.AREINT(2), -0.5);
    b.feed(card_of("1:1|8:50"));
    EXPECT_THROW(INPARE(b.run), RunStop);
    EXPECT_EQ(b.numbers().at(0), 140);
}

TEST_F(Groups, VoltageLimits) {
    expect_messages(b, INPGLT,
                    {{"1:ZZ|4:.9", {100}},
                     {"1:A|4:0.", {110}},
                     {"1:A|10:-1.", {120, 130, 180}},
                     {"1:A|4:1.1|10:.9", {130, 180}},
                     {"1:A|4:.9x", {140}},
                     {"1:A|16:0.", {160}},
                     {"1:A|22:0.", {170, 180}},
                     {"1:A|16:1.1|22:.9", {180}},
                     {"1:a|4:.95|10:1.05", {}}});
    const LimitGroupTables& g = b.store().glt;
    const int k = LOCCHR(g.GLTEN, g.NGLT, Text<2>::of(" A"));
    for (double v : {g.VMIN(k), g.VMINE(k)}) EXPECT_EQ(v, 0.95) << "emergency follows normal";
    EXPECT_TRUE(b.read(INPGLT, {"1:A|22:1.2"}).empty());
    EXPECT_EQ(g.VMAX(k), 1.05);
    EXPECT_EQ(g.VMAXE(k), 1.2);
    b.feed("");
    EXPECT_THROW(INPGLT(b.run), RunStop);
    EXPECT_EQ(b.numbers().at(0), 150);
}

TEST_F(Groups, BaseVoltagesAndTheLimitsThatFollow) {
    expect_messages(b, INPGBT, {{"1:ZZ|4:500", {100}}, {"1:A|4:0.", {110}}, {"1:A", {110}}, {"1:A|4:5..", {120}}});
    ASSERT_TRUE(b.read(INPLIN, {"1:1|11:2|27:1.", "1:3|11:4|27:1."}).empty());
    ASSERT_TRUE(b.read(INPGBT, {"1:A|4:765", "1:B|4:500", "1:C|4:525", "1:D|4:440"}).empty()) << b.messages();
    EXPECT_EQ(b.store().gbt.BASET(base_group(" D")), 440);
    const BranchTables& l = b.store().branch;
    EXPECT_EQ(l.VFXENRG(1), 800.0 / 765);
    EXPECT_EQ(l.VTXENRG(1), 550.0 / 500);
    EXPECT_EQ(l.VFXENRG(2), 550.0 / 525);
    EXPECT_EQ(l.VTXENRG(2), 1.1) << "other voltages leave it as it is";
    b.feed("");
    EXPECT_THROW(INPGBT(b.run), RunStop);
    EXPECT_EQ(b.numbers().at(0), 130);
}

}  // namespace
}  // namespace korvane::testing
