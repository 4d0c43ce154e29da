// Changes of load (DANC by area and by selection) and of generation (DAGA).
#include <cmath>

#include "network/control_bench.hpp"
#include "support/rows.hpp"

namespace korvane::testing {
namespace {

void no_share(Run&, bool) { FAIL() << "nothing was to be shared out"; }
void by_area(Run& run, bool by_island) {
    EXPECT_FALSE(by_island);
    run.store.gen.PGEN(1) = 0.77;
}
void by_island_in_vain(Run& run, bool by_island) {
    EXPECT_TRUE(by_island);
    run.store.sol.CONVSTAT = 4;
}
template <ShareBalance share>
void INPANC_with(Run& run) {
    INPANC(run, share);
}
template <ShareBalance share>
void INPACL_with(Run& run) {
    INPACL(run, share);
}
constexpr Reader AREAS = INPANC_with<no_share>, SELECTED = INPACL_with<no_share>;

class LoadChange : public ::testing::Test {
protected:
    ControlBench b;
    Store& s = b.run.store;

    // At bus 50 of area 2, beside its load of 50 MW and 20 Mvar: two units in operation of three, each 10 MW, 4 Mvar.
    LoadChange() { put_row(s.cai, "NOCAI", b.bus(50), "NUNIC", 3, "NUNICOP", 2, "PLOADI", 0.1, "QLOADI", 0.04); }
    void expect_load(double p, double q, double pi, double qi, double shunt) const {
        const int k = b.bus(50);
        EXPECT_NEAR(s.bus.PLOAD(k), p, 1e-12);
        EXPECT_NEAR(s.bus.QLOAD(k), q, 1e-12);
        EXPECT_NEAR(s.cai.PLOADI(1), pi, 1e-12);
        EXPECT_NEAR(s.cai.QLOADI(1), qi, 1e-12);
        EXPECT_NEAR(s.sht.SHUNT(1), shunt, 1e-12);
    }
};

TEST_F(LoadChange, Messages) {
    expect_messages(b, AREAS, "5:10 -> 100; 1:-1 -> 100; 1:9|5:10 -> 110; 1:1|5:x -> 130");
    EXPECT_EQ(b.read(AREAS, {"1:2|5:0", "1:1|5:0", "1:2|5:10"}), std::vector{120});
    expect_load(0.5, 0.2, 0.1, 0.04, 0.08);
    EXPECT_EQ(b.last_without_end(AREAS), 140);
    expect_messages(b, SELECTED, "1:AREA|6:9|51:10 -> 811; 51:10 -> 701 703; 1:AREA|6:2|51:x -> 180");
    EXPECT_EQ(b.read(SELECTED, {"1:BARR|6:50|51:0", "1:AREA|6:2|51:10"}), std::vector{100});
    expect_load(0.5, 0.2, 0.1, 0.04, 0.08);
    EXPECT_EQ(b.last_without_end(SELECTED), 190);

    // Values that the meaning does not use, and sets without load. Nothing changes where a total is asked of nothing.
    struct Case {
        bool FCTE;
        Reader block;
        const char* card;
        std::vector<int> messages;
    };
    const Case cases[] = {
        {true, AREAS, "1:2|5:70|12:1", {-190}},
        {true, SELECTED, "1:AREA|6:2|51:80|65:1", {-210}},
        {false, AREAS, "1:2|5:70|12:28|19:1", {-180}},
        {false, SELECTED, "1:AREA|6:2|51:80|58:32|65:1", {-200}},
        {true, SELECTED, "1:BARR|6:40|51:0", {220}},
        {false, SELECTED, "1:BARR|6:40|51:0|58:0", {220}},
        {false, SELECTED, "1:BARR|6:40|51:5|58:5", {220}},
    };
    for (const Case& c : cases) {
        b.run.opt.set("FCTE"_opt, c.FCTE);
        b.run.opt.set("VABS"_opt, !c.FCTE);
        EXPECT_EQ(b.read(c.block, {c.card}), c.messages) << c.card << b.messages();
        expect_load(0.5, 0.2, 0.1, 0.04, 0.08);  // the totals that were there
    }
    s.bus.QLOAD(b.bus(30)) = 0;
    EXPECT_EQ(b.read(AREAS, {"1:1|5:60|12:1"}), std::vector{230});
    EXPECT_EQ(b.read(SELECTED, {"1:AREA|6:1|51:60|58:1"}), std::vector{230});
    EXPECT_EQ(s.bus.PLOAD(b.bus(30)), 0.3) << "the active load was not changed either";
    s.bus.PLOAD(b.bus(30)) = 0;
    EXPECT_EQ(b.read(AREAS, {"1:1|5:60"}), std::vector{220});
    s.bus.PLOAD(b.bus(30)) = 0.3;
    EXPECT_EQ(b.read(AREAS, {"1:1|5:60"}), NONE) << "a reactive load of nothing stays nothing";
    EXPECT_EQ(s.bus.PLOAD(b.bus(30)), 0.6);
}

TEST_F(LoadChange, PerCent) {
    EXPECT_EQ(b.read(AREAS, {"1:2|5:10|12:-50|19:100"}), NONE);
    expect_load(0.55, 0.1, 0.11, 0.02, 0.16);
    EXPECT_EQ(s.bus.PLOAD(b.bus(30)), 0.3) << "another area";
    EXPECT_EQ(b.read(SELECTED, {"1:BARR|6:50|51:-50|58:100|65:-50"}), NONE);
    expect_load(0.275, 0.2, 0.055, 0.04, 0.08);
}

TEST_F(LoadChange, Totals) {
    b.run.opt.set("VABS"_opt);
    // 50 + 2 x 10 MW by area, 50 + 3 x 10 MW by selection
    EXPECT_EQ(b.read(AREAS, {"1:2|5:140|12:56"}), NONE);
    expect_load(1, 0.4, 0.2, 0.08, 0.08);
    EXPECT_EQ(b.read(SELECTED, {"1:AREA|6:2|51:80|58:16"}), NONE);
    expect_load(0.5, 0.1, 0.1, 0.02, 0.08);
    b.run.opt.set("FCTE"_opt);
    EXPECT_EQ(b.read(AREAS, {"1:2|5:35"}), NONE);
    expect_load(0.25, 0.05, 0.05, 0.01, 0.08);
}

TEST_F(LoadChange, SharesWhatItLeavesUnbalanced) {
    const Reader areas = INPANC_with<by_area>, islands = INPACL_with<by_island_in_vain>;
    b.run.opt.set("BPAR"_opt);
    const auto refused = [&](int number) {
        EXPECT_EQ(b.read(AREAS, {"1:1|5:10"}), std::vector{number});
        EXPECT_EQ(b.read(SELECTED, {"1:AREA|6:1|51:10"}), std::vector{number});
    };
    refused(170);
    b.run.ctl.KNTRL[16] = true;
    s.area.ARESEL(2) = false;
    refused(150);
    s.area.ARESEL(2) = true;
    EXPECT_EQ(b.read(AREAS, {"1:9|5:10"}), std::vector{110}) << "after errors nothing is shared";
    EXPECT_EQ(b.read(areas, {"1:1|5:10"}), NONE);
    EXPECT_EQ(s.slk.PSLK(1), 0.77);
    b.run.opt.set("BPSI"_opt);
    EXPECT_EQ(b.read(islands, {"1:BARR|6:30|51:10"}), std::vector{160});
    EXPECT_EQ(b.read(INPANC_with<by_island_in_vain>, {"1:1|5:10"}), std::vector{160});
}

TEST_F(LoadChange, OfGeneration) {
    const auto generation = [&](int number) { return s.gen.PGEN(s.map.NGADR(b.bus(number))); };
    expect_messages(b, INPAGL, "1:AREA|6:9|51:10 -> 811; 1:AREA|6:1|51:x -> 110; 1:AREA|6:1|51:50 ->");
    EXPECT_DOUBLE_EQ(generation(20), 0.6);
    EXPECT_EQ(generation(10), 0) << "a slack gives what the others leave";
    s.gen.PGEN(s.map.NGADR(b.bus(10))) = 1;
    s.bus.NTYPE(b.bus(60)) = -2;
    EXPECT_EQ(b.read(INPAGL, {"1:BARR|6:60|51:-50", "1:BARR|6:10|12:A|14:BARR|19:80|51:100", "1:AREA|6:2|51:10"}),
              (std::vector{100, 100}));
    EXPECT_EQ(generation(10), 1);
    EXPECT_DOUBLE_EQ(generation(20), 1.2) << "before the bus that stopped the card";
    EXPECT_EQ(generation(60), 0.1);
    EXPECT_EQ(generation(70), 0.07) << "a load bus with voltage limits";
    EXPECT_EQ(generation(80), 0.05);
    EXPECT_EQ(b.last_without_end(INPAGL), 120);
}

TEST(LoadChangeCode, TakesTheFormOfItsOption) {
    const std::string buses = "DBAR\n" + card_of("1:1|8:2|74:1") + card_of("1:2|59:10|74:1") + "99999\nDLIN\n" +
                              card_of("1:1|11:2|27:10.") + "99999\n";
    const Session areas(buses + "DANC\n" + card_of("1:1|5:50") + "99999\nFIM\n");
    EXPECT_EQ(areas.status, 0) << areas.messages();
    EXPECT_DOUBLE_EQ(areas.store().bus.PLOAD(2), 0.15);
    const Session selected(buses + "DANC ACLS VABS\n" + card_of("1:BARR|6:2|51:30") + "99999\nFIM\n");
    EXPECT_EQ(selected.status, 0) << selected.messages();
    EXPECT_DOUBLE_EQ(selected.store().bus.PLOAD(2), 0.3);
    EXPECT_TRUE(selected.run.ctl.KNTRL[12]);
}

}  // namespace
}  // namespace korvane::testing
