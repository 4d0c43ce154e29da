// DCER, DCSC, DSCA and DFRQ: static compensators, series devices, automatic shunts, islands that hold their frequency.
#include "network/block_bench.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {
namespace {

/// Buses 1 (slack), 2 (machine), 3, 4, 5 (loads), 6 (machine that holds bus 5), a line 1-3 and a transformer 3-4 whose
/// tap holds bus 4.
struct Network : BlockBench {
    Store& s = run.store;
    Network() {
        EXPECT_EQ(read(INPBUS, {"1:    1|8:2|25:1020|74:  1|43: -99|48:  99", "1:    2|8:1|74:  1|43: -99|48:  99",
                                "1:    3|8:0|74:  1|69:  -20", "1:    4|8:0|74:  1", "1:    5|8:0|74:  1",
                                "1:    6|8:1|53:    5|74:  1|43: -99|48:  99"}),
                  NONE);
        EXPECT_EQ(read(INPLIN, {"1:    1|11:    3|27:   10.",
                                "1:    3|11:    4|27:   10.|39:   1.|44:  0.9|49:  1.1|59:     4"}),
                  NONE);
    }
    void sound() const {
        EXPECT_EQ(stray_reference(run.store), "");
        EXPECT_EQ(wrong_address(run.store), "");
    }
};

TEST(Compensators, FieldsReachTheirTables) {
    Network n;
    n.s.bus.VOLT(n.bus(4)) = 0.98;
    EXPECT_EQ(n.read(INPCER, {"1:    3|9: 2|12: 3|15:    4|21:     5|28:   10|34:  -20|40:   30|46:p"}), NONE);
    const CompensatorTables& t = n.s.cer;
    ASSERT_EQ(t.NCER, 1);
    EXPECT_EQ(nearly(t.NBECER(1), t.NVKCER(1), t.IGCER(1), t.NUCER(1), t.RCER(1), t.QGCER(1), t.QCERMN(1), t.QCERMX(1),
                     t.VCER(1)),
              nearly(n.bus(3), n.bus(4), 2, 3, -0.05, 0.1, -0.2, 0.3, 0.98));
    EXPECT_EQ(t.KONCNT(1), 1);
    EXPECT_TRUE(t.STUCER(1));
    // Blank fields keep what is there; one that is out of service generates nothing.
    EXPECT_EQ(n.read(INPCER, {"1:    3|7:M|9: 2|48:D"}), NONE);
    EXPECT_EQ(nearly(t.RCER(1), t.QGCER(1), t.STUCER(1)), nearly(-0.05, 0, false));
    EXPECT_EQ(n.read(INPCER, {"1:    3|7:E|9: 2"}), NONE);
    EXPECT_EQ(t.NCER, 0);
    n.sound();
}

TEST(Compensators, RefusesWithItsNumber) {
    Network n;
    ASSERT_EQ(n.read(INPCER, {"1:    3|9: 1|21:     5|34:  -20|40:   30"}), NONE);
    n.s.bsh.NOBSH(add_row(n.s.bsh)) = n.bus(5);
    n.s.bsh.MCBSH(1) = 1;
    expect_messages(n, INPCER, R"(
        1:    4|7:3|9: 1 -> 100; 9: 1 -> 110; 1:   99|9: 1 -> 120; 1:    4 -> 130
        1:    3|9: 1|21:     5|34:  -20|40:   30 -> 140; 1:    3|7:E|9: 1|12: 1 -> 150; 1:    4|9: 1 -> 170 180 190
        1:    3|7:M|9: 2 -> 200; 1:    4|7:E|9: 1 -> 210; 1:    3|7:M|9: 1|12: 0 -> 220
        1:    3|7:M|9: 1|15:   -1 -> 230; 1:    3|7:M|9: 1|15:   99 -> 240; 1:    3|7:M|9: 1|46:X -> 250
        1:    3|7:M|9: 1|21:x -> 260
        1:    2|9: 1|15:    4|21:     5|34:  -20|40:   30 -> 280  # the machine there holds bus 2
        1:    3|7:M|9: 1|15:    2 -> 290; 1:    3|7:M|9: 1|48:X -> 300
        1:    5|9: 1|21:     5|34:  -20|40:   30 -> 310; 1:    3|7:M|9: 1|21: 0.005 -> -400)");
    EXPECT_DOUBLE_EQ(n.s.cer.RCER(1), -0.0001);
    n.s.cer.NCER = MXCER;
    EXPECT_EQ(n.read(INPCER, {"1:    4|9: 9|21:     5|34:  -20|40:   30"}), std::vector{160});
}

TEST(SeriesDevices, AreBranchesOfTheirOwnType) {
    Network n;
    EXPECT_EQ(
        n.read(INPCSC, {"1:    3|10:    5|18:T|26:  -10.|32:   -1.|38:   -5.|44:P|46:   80.|53:    5|58: 10|61: 200"}),
        NONE);
    const SeriesDeviceTables& t = n.s.csc;
    const int l = n.branch(3, 5, 1);
    ASSERT_TRUE(l && t.NCSC == 1);
    EXPECT_EQ(these(n.s.branch.LTYPE(l), n.s.branch.LITRF(l), t.LICSC(1)), these(5, 1, l));
    EXPECT_DOUBLE_EQ(n.s.branch.BKM(l), 20);  // -100/x
    EXPECT_EQ(nearly(t.BMNCSC(1), t.BMXCSC(1), t.KONCSC(1), t.VSPCSC(1), t.NBECSC(1), t.NSTCSC(1), n.s.branch.OWNER(l),
                     n.s.branch.CAPAE(l)),
              nearly(10, 100, 1, 0.8, n.bus(5), 10, false, 200));
    n.sound();
    // A card in the other direction finds it; DLIN does not change it.
    EXPECT_EQ(n.read(INPCSC, {"1:    5|7:M|10:    3|15: 1|18:T|44:I"}), NONE);
    EXPECT_EQ(t.KONCSC(1), 2);
    EXPECT_TRUE(n.s.branch.OWNER(l));
    EXPECT_EQ(n.read(INPLIN, {"1:    3|8:M|11:    5|27:   1."}), std::vector{281});
    // A closed bypass is a small impedance between buses of one voltage.
    n.s.bus.VOLT(n.bus(3)) = 1.03;
    EXPECT_EQ(n.read(INPCSC, {"1:    3|7:M|10:    5|15: 1|19:L"}), NONE);
    EXPECT_EQ(nearly(n.s.branch.BKM(l), t.KONCSC(1), t.KONCSC_ORI(1), n.s.bus.VOLT(n.bus(5))),
              nearly(100 / n.run.cte.ZMIN, 3, 2, 1.03));
    EXPECT_EQ(n.read(INPCSC, {"1:    3|7:E|10:    5|15: 1"}), NONE);
    EXPECT_EQ(t.NCSC, 0);
    EXPECT_EQ(n.s.branch.NL, 2);
    n.sound();
}

TEST(SeriesDevices, BlankFieldsTakeTheirDefaults) {
    Network n;
    EXPECT_EQ(
        n.read(INPCSC, {"1:    3|10:    5", "1:    3|10:    5|44:P|46:   1.|32:   -2.", "1:    3|10:    5|46:   -4."}),
        NONE);
    ASSERT_EQ(n.s.csc.NCSC, 3);
    const double zmin = n.run.cte.ZMIN;
    const auto b = [&](int circuit) { return n.s.branch.BKM(n.branch(3, 5, circuit)); };
    EXPECT_EQ(nearly(b(1), b(2), b(3), n.s.csc.VSPCSC(3), n.s.csc.NBECSC(2)), nearly(100 / zmin, 50, 25, 25, n.bus(3)));
}

TEST(SeriesDevices, RefusesWithItsNumber) {
    Network n;
    const std::string device = "1:    3|10:    5|15: 1|26:  -10.|32:   -1.";
    ASSERT_EQ(n.read(INPCSC, {device}), NONE);
    expect_messages(n, INPCSC, R"(
        1:    3|7:3|10:    4 -> 100; 10:    4 -> 110; 1:    3 -> 120; 1:   99|10:    4 -> 130; 1:    3|10:   99 -> 140
        1:    3|10:    3 -> 150; 1:    3|10:    4|15:-1 -> 160; 1:    3|10:    5|15: 1 -> 170
        1:    3|7:M|10:    5|53:   99 -> 180; 1:    3|7:M|10:    5|53:    1 -> 190; 1:    3|7:E|10:    5|17:L -> 220
        1:    3|7:M|10:    5|15: 7 -> 230; 1:    1|7:M|10:    3 -> 240; 1:    3|7:M|10:    5|44:Z -> 250
        1:    3|7:M|10:    5|17:X -> 260; 1:    3|7:M|10:    5|18:X -> 270; 1:    3|7:M|10:    5|26:  -0.5 -> 280
        1:    3|7:M|10:    5|32:    1. -> 285; 1:    3|7:M|10:    5|38:  -20.|44:P|46:    1. -> 290
        1:    3|7:M|10:    5|26:   -1.|58:  5 -> 295; 1:    3|7:M|10:    5|58: -1 -> 300; 1:    3|10:    4|44:Z -> 310
        1:    3|7:M|10:    5|44:I|46:   -1. -> 320; 1:    3|7:M|10:    5|61:  -1 -> 437
        1:    3|7:M|10:    5|65:  -1|69:  -1 -> 438 438; 1:    3|7:M|10:    5|19:X -> 460
        1:    3|7:M|10:    5|38:x -> 470
        1:    3|7:M|10:    5|73: -1|76: -1|79: -1|82: -1|85: -1|88: -1|91: -1|94: -1|97: -1|100: -1 -> 610 630 650 670 690 710 730 750 770 790
        1:    3|7:M|10:    5|73:  7|76:  7|79:  7|82:  7|85:  7|88:  7|91:  7|94:  7|97:  7|100:  7 -> 620 640 660 680 700 720 740 760 780 800
        1:    3|7:M|10:    5|61:   0|65:   0 -> -435 -436; 1:    3|7:M|10:    5|17:D|19:L -> -900
        1:    3|7:M|10:    5|19:D|38:   -2.|46:   -3. -> -910)");
    n.s.csc.NCSC = MXCSC;
    EXPECT_EQ(n.read(INPCSC, {"1:    3|10:    4"}), std::vector{200});
    n.s.csc.NCSC = 1;
    const int branches = n.s.branch.NL;
    n.s.branch.NL = MXLIN;
    n.s.branch.NFROM.fill(MXLIN, n.bus(1));
    n.s.branch.NTO.fill(MXLIN, n.bus(2));
    EXPECT_EQ(n.read(INPCSC, {"1:    3|10:    4"}), std::vector{210});
    n.s.branch.NL = branches;
}

TEST(AutomaticShunts, TakeTheirFieldsAndTheFixedShunt) {
    Network n;
    EXPECT_EQ(n.read(INPSCA, {"1:    3|8:S|9:D|11: 950|15:1050|20:    5|31:2|33:   10|39:1|41:  -15|79:L",
                              "1:    4|25:    5|11:1000|15:1000"}),
              (std::vector{-920, -900}));  // a machine holds bus 5, too
    const AutomaticShuntTables& t = n.s.sca;
    ASSERT_EQ(t.NSCA, 2);
    EXPECT_EQ(nearly(t.KBUSSCA(1), t.KONSCA(1), t.BSCA(1)), nearly(n.bus(5), 1, -0.2));
    EXPECT_EQ(n.s.sht.NSHT, 0);  // the fixed shunt went over
    EXPECT_EQ(nearly(t.ISTEPSCA(1)[0], t.VSTEPSCA(1)[1], t.SCALIM(1), t.VMINSCA(1), t.KONSCA(2)),
              nearly(2, -0.15, true, 0.95, 0));
    EXPECT_NEAR(t.VMAXSCA(2) - t.VMINSCA(2), 2e-6, 1e-12);  // equal limits are moved apart
    EXPECT_EQ(n.read(INPSCA, {"1:    3|7:E"}), NONE);
    ASSERT_EQ(t.NSCA, 1);
    EXPECT_EQ(t.NBUSSCA(1), n.bus(4));
    n.sound();
}

TEST(AutomaticShunts, RefusesWithItsNumber) {
    Network n;
    ASSERT_EQ(n.read(INPSCA, {"1:    3"}), NONE);
    n.s.cer.NVKCER(add_row(n.s.cer)) = n.bus(3);
    n.s.cer.NBECER(1) = n.bus(3);
    expect_messages(n, INPSCA, R"(
        1:    4|7:M -> 100; ->; 9:D -> 110; 1:   99 -> 120; 1:    4|9:3 -> 130; 1:    4|11: 100 -> 140
        1:    4|15:2500 -> 150; 1:    4|20:   99 -> 160; 1:    4|39:1 -> 170; 1:    3 -> 180; 1:    4|79:X -> 190
        1:    4|7:E -> 200; 1:    4|11:1100|15:1000 -> 210; 1:    4|33:x -> 220; 1:    3|7:E|9:F -> 250
        1:    4|9:D -> -910; 1:    5|9:C -> -920; 1:    1|9:C|20:    3 -> -930)");
    n.s.sca.NSCA = MXSCA;
    EXPECT_EQ(n.read(INPSCA, {"1:    6"}), std::vector{240});
}

TEST(FrequencyIslands, AreReadChangedAndRefused) {
    Network n;
    EXPECT_EQ(n.read(INPILH, {"1:  1|7:    1|31:Ilha principal", "1:  2|7:    2|13:  50.|19: 49.5|25: 50.5"}), NONE);
    const FrequencyTables& t = n.s.frq;
    ASSERT_EQ(t.NFRP, 2);
    EXPECT_EQ(these(t.NREFRP(1), t.FREQMAX(1), t.FREQBASE(2)), these(n.bus(1), 60.5, 50));
    EXPECT_EQ(t.IDILFRP(1).trimmed(), "Ilha principal");
    expect_messages(n, INPILH, R"(
        1:  3|5:4 -> 100; 7:    1 -> 110; 1:  3 -> 120; 1:  3|7:   99 -> 130; 1:  1|5:M|13:  59. -> 140
        1:  1|5:M|13:  61. -> 150; 1:  1|7:    1 -> 160; 1:  9|5:M -> 170; 1:  1|5:E|7:    1 -> 190; 1:  x -> 260
        1:  1|5:E ->)");
    ASSERT_EQ(t.NFRP, 1);
    EXPECT_EQ(t.NOFRP(1), 2);
    n.s.frq.NFRP = MXFRP;
    EXPECT_EQ(n.read(INPILH, {"1: 77|7:    1"}), std::vector{180});
}

TEST(DeviceBlocks, EndOfInputIsTold) {
    for (const auto& [code, routine, number] : std::vector<std::tuple<std::string, std::string, int>>{
             {"DCER", "INPCER", 270}, {"DCSC", "INPCSC", 480}, {"DSCA", "INPSCA", 230}, {"DFRQ", "INPILH", 250}}) {
        const Session s("DBAR\n" + card_of("1:    1|74:  1") + card_of("1:    2|74:  1") + "99999\nDLIN\n" +
                            card_of("1:    1|11:    2|27:    1.") + "99999\n" + code + "\n",
                        {.prepare = [](const TempDir&, FakePlatform&) {}});
        EXPECT_EQ(s.numbers(routine), std::vector{number}) << code << s.messages();
    }
}

}  // namespace
}  // namespace korvane::testing
