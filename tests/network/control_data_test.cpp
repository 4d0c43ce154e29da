// Shares in controls (DFCT), substitute slacks (DSLP), limits at branch ends (DLEN), tap bands and phase shifters
// (DTVF).
#include <cmath>

#include "network/control_bench.hpp"

namespace korvane::testing {
namespace {

class ControlData : public ::testing::Test {
protected:
    ControlBench b;
    const Store& s = b.store();
};

TEST_F(ControlData, Shares) {
    expect_messages(b, INPFCT, R"(
        1:20|18:0. -> 100; 7:R|18:.5 -> 110; 1:20|9:30 -> 120; 1:20|15:1 -> 130
        1:-2|9:30|15:1|18:0 -> 100 110 120 130; 1:60 -> 140; 1:99 -> 150; 7:T|9:50 -> 160; 1:40|7:T -> 170
        1:40|7:T|9:50|15:0 -> 180; 1:99|7:T|9:50 -> 190; 1:40|7:T|9:99 -> 200; 1:40|7:T|9:40 -> 210
        1:40|7:T|9:50|15:2 -> 220; 1:10|7:T|9:30 -> 230; 1:20|7:X -> 240; 1:2x -> 250)");
    const int r = s.map.NCADR(b.bus(20));
    EXPECT_EQ(b.read(INPFCT, {"1:20|18:.5", "1:20|7:r|18:.7"}), std::vector{-900}) << "the last card counts";
    EXPECT_EQ(s.rcb.FARCT(r), 0.7);
    EXPECT_EQ(b.run.ctl.returned[0], 1);
    EXPECT_EQ(b.read(INPFCT, {"1:20"}), NONE);
    EXPECT_EQ(s.rcb.FARCT(r), 1) << "a blank share";
    EXPECT_EQ(b.run.ctl.returned[0], 0);

    EXPECT_EQ(b.read(INPFCT, {"1:50|7:T|9:40|18:.8", "1:60|7:T|9:70|15:1|18:.6", "1:20|7:T|9:30|18:.9",
                              "1:50|7:t|9:60|18:.4", "1:40|7:T|9:50|18:.5"}),
              (std::vector{-910, -910, -920}));
    EXPECT_EQ(these(s.tap.FATRF(b.tap(40, 50)), s.tap.FATRF(b.tap(60, 70)), s.tap.FATRF(b.tap(50, 60)),
                    b.run.ctl.returned[0]),
              these(0.5, 0.6, 0.4, 4));
    EXPECT_EQ(b.last_without_end(INPFCT), 260);
}

TEST_F(ControlData, SubstituteSlacks) {
    expect_messages(b, INPSLP, R"(
        1:20|7:2|9:1 -> 100; 1:20|7:3|9:1 -> 100; 9:1 -> 110; 1:99|9:1 -> 120; 1:30|9:1 -> 130; 1:10|9:1 -> 150
        1:20|7:E -> 160; 1:10|7:1 -> 160 170; 1:20 -> 190; 1:2x|9:1 -> 270)");
    EXPECT_EQ(b.read(INPSLP, {"1:60|7:A|9:5", "1:20|7:0|9:5", "1:70|9:2"}), NONE);
    EXPECT_EQ(b.names(s.slp.NOSLP, s.slp.NSLP), "70 60 20 ") << "equal priority: the order of the cards";
    EXPECT_EQ(b.read(INPSLP, {"1:60|9:1"}), std::vector{140});
    EXPECT_EQ(b.read(INPSLP, {"1:70|7:E", "1:80|9:9", "1:70|9:7"}), NONE);
    EXPECT_EQ(b.names(s.slp.NOSLP, s.slp.NSLP), "20 60 70 80 ") << "the last row fills the gap";
    EXPECT_EQ(b.last_without_end(INPSLP), 280);
    b.run.store.slp.NSLP = MXSLP;
    for (int i : rows(MXSLP)) b.run.store.slp.NOSLP(i) = b.bus(80);
    EXPECT_EQ(b.read(INPSLP, {"1:70|9:1"}), std::vector{180});
}

TEST_F(ControlData, LimitsAtBranchEnds) {
    expect_messages(b, INPLEN, R"(
        7:30 -> 110; 1:10 -> 120; 1:10|7:30|13:-1 -> 130; 1:99|7:30 -> 140; 1:10|7:99 -> 150; 1:10|7:30|13:3 -> 160
        1:10|7:10 -> 160; 1:10|7:30|16:x -> 190)");
    const BranchTables& t = s.branch;
    EXPECT_EQ(b.read(INPLEN, {"1:10|7:30|16:0950|21:1050", "1:30|7:10|13:2|16:.91|21:1.11|31:1120"}), NONE);
    const int first = b.branch(10, 30, 1), second = b.branch(10, 30, 2);
    EXPECT_EQ(t.VFNENRG(first), 0.95);
    EXPECT_EQ(t.VFXENRG(first), 1.05);
    EXPECT_EQ(t.VTNENRG(first), 0.9) << "a blank field keeps what is there";
    EXPECT_EQ(t.VTXENRG(first), 1.1);
    EXPECT_EQ(t.VFNENRG(second), 0.9) << "the card names the ends the other way round";
    EXPECT_EQ(these(t.VFXENRG(second), t.VTNENRG(second), t.VTXENRG(second)), these(1.12, 0.91, 1.11));
    EXPECT_EQ(b.last_without_end(INPLEN), 200);
}

TEST_F(ControlData, BandMessages) {
    b.run.store.sol.CONVSTAT = 1;
    expect_messages(b, INPTVF, R"(
        1:40|7:3|9:50|18:.95|23:1.05 -> 100; 9:50|18:.95|23:1.05 -> 110; 1:40|18:.95|23:1.05 -> 120
        1:40|9:50|15:-1|18:.95|23:1.05 -> 130; 1:40|9:50|15:0|18:.95|23:1.05 -> 140; 1:99|9:50|18:.95|23:1.05 -> 150
        1:50|9:60|48:1.|55:99 -> 155; 1:40|9:99|18:.95|23:1.05 -> 160; 1:50|9:60|48:1.|55:40 -> 165
        1:40|9:40|18:.95|23:1.05 -> 170; 1:40|9:50|15:2|18:.95|23:1.05 -> 180; 1:10|9:30|18:.95|23:1.05 -> 190
        1:20|9:30|18:.95|23:1.05 -> 190; 1:40|9:50|32:-5.|39:5. -> 201; 1:60|9:70|18:.95|23:1.05|32:-5.|39:5. -> 202
        1:40|9:50 -> 220 230; 1:40|9:50|7:E -> 240; 1:40|9:50|7:M|18:.9 -> 240; 1:40|9:50|18:.39|23:1.05 -> 250
        1:40|9:50|18:.95|23:2.01 -> 260; 1:40|9:50|18:1.05|23:1.05 -> 270; 1:40|9:50|18:.95|23:1.05|28:X -> 280
        1:40|9:50|18:.95|23:1.05|30:X -> 280; 1:40|9:50|18:.95|23:1.0.5 -> 290)");
    EXPECT_EQ(s.sol.CONVSTAT, 0);
    EXPECT_EQ(b.last_without_end(INPTVF), 300);
}

TEST_F(ControlData, Bands) {
    const TapTables& t = s.tap;
    const int n = b.tap(40, 50);
    EXPECT_EQ(b.read(INPTVF, {"1:50|9:40|18:0950|23:1050|28:L|30:D"}), NONE);
    EXPECT_EQ(these(t.NTTVF(n), t.VMNTVF(n), t.VMXTVF(n), t.TVFLIM(n) && t.FTPDIS(n)), these(1, 0.95, 1.05, true));
    EXPECT_EQ(b.read(INPTVF, {"1:40|9:50|18:.95|23:1.05"}), std::vector{210});
    EXPECT_EQ(b.read(INPTVF, {"1:40|7:M|9:50|23:1.07|28:C"}), NONE);
    EXPECT_EQ(these(t.VMNTVF(n), t.VMXTVF(n), t.TVFLIM(n), t.FTPDIS(n)), these(0.95, 1.07, false, true));
    EXPECT_EQ(b.read(INPTVF, {"1:40|7:1|9:50"}), NONE);
    EXPECT_EQ(these(t.NTTVF(n), t.VMNTVF(n), t.VMXTVF(n), t.TVFLIM(n) && !t.FTPDIS(n)),
              these(0, b.run.cte.VDVN, b.run.cte.VDVM, true));
    // a tap under control with a phase: fields of the band make the card one of the tap
    EXPECT_EQ(b.read(INPTVF, {"1:60|9:70|18:.95|23:1.05"}), NONE);
    EXPECT_EQ(t.NTTVF(b.tap(60, 70)), 1);
    EXPECT_FALSE(t.TVFLIM(b.tap(60, 70))) << "blank: the centre";
    EXPECT_EQ(s.branch.LTYPE(b.branch(60, 70, 1)), 4);
}

TEST_F(ControlData, PhaseShifters) {
    expect_messages(b, INPTVF, R"(
        1:50|9:60|7:M|48:1. -> 245; 1:50|9:60|7:E -> 245; 1:50|9:60|32:6.|39:9.|61:9 -> 310; 1:50|9:60|61:9 -> 320
        1:50|9:60|32:9.|39:1.|61:9 -> 310 320 330; 1:50|9:60|32:-9.|39:9.|46:X|61:9 -> 340
        1:50|9:60|32:-9.|39:9.|61:-1 -> 350; 1:50|9:60|32:-30.|39:30.|48:40. -> -360)");
    const PhaseTables& t = s.phs;
    const int l = b.branch(50, 60, 1), p = b.phase(50, 60);
    const double degree = std::acos(-1.0) / 180;
    EXPECT_EQ(s.branch.LTYPE(l), 6);
    EXPECT_NEAR(t.PHSMIN(p), -30 * degree, 1e-15);
    EXPECT_NEAR(t.PHSMAX(p), 30 * degree, 1e-15);
    EXPECT_EQ(t.KONPHS(p), 2);
    EXPECT_EQ(t.VSPPHS(p), 0.4) << "of 100 MVA";
    EXPECT_EQ(t.NBEPHS(p), b.bus(50));
    EXPECT_EQ(t.NPHSTP(p), 99);
    // A current counts as it leaves the first bus of the card.
    EXPECT_EQ(b.read(INPTVF, {"1:60|7:M|9:50|46:I|48:.3"}), NONE);
    EXPECT_EQ(t.NBEPHS(p), b.bus(50));
    EXPECT_EQ(t.VSPPHS(p), -0.3);
    EXPECT_EQ(b.read(INPTVF, {"1:60|7:M|9:50|61:20"}), NONE) << "what is blank stays";
    EXPECT_EQ(t.VSPPHS(p), -0.3);
    EXPECT_EQ(t.NPHSTP(p), 20);
    EXPECT_EQ(b.read(INPTVF, {"1:60|7:M|9:50|46:F|48:.1|55:60"}), NONE);
    EXPECT_EQ(t.KONPHS(p), 0);
    EXPECT_EQ(t.NBEPHS(p), b.bus(60));
    // Deleted, the branch is the fixed phase shifter that it was.
    EXPECT_EQ(b.read(INPTVF, {"1:50|7:E|9:60"}), NONE);
    EXPECT_EQ(s.branch.LTYPE(l), 2);
    EXPECT_NEAR(t.PHS(p), 5 * degree, 1e-15);
    for (double v : {t.PHSMIN(p), t.PHSMAX(p), t.VSPPHS(p)}) EXPECT_EQ(v, 0);
    EXPECT_EQ(t.NPHSTP(p), 0);
    EXPECT_EQ(t.NBEPHS(p), 0);

    // A tap that a list holds fixed, and that is no tap under control any more.
    EXPECT_EQ(b.read(INPTPI, {"1:60|7:70"}), NONE);
    EXPECT_EQ(b.read(INPTVF, {"1:60|9:70|32:-30.|39:30.|61:9"}), std::vector{-370});
    EXPECT_EQ(b.read(INPTVF, {"1:60|7:E|9:70"}), NONE) << "with its range of taps it is type 4 again";
    b.run.store.branch.LITRF(l) = 0;
    EXPECT_EQ(b.read(INPTVF, {"1:50|9:60"}), std::vector{200});
}

}  // namespace
}  // namespace korvane::testing
