// DCAR, DSHL, DINJ: load models, line shunts, equivalent injections.
#include "network/block_bench.hpp"

namespace korvane::testing {
namespace {

class SmallBlocks : public ::testing::Test {
protected:
    BlockBench b;
    const LoadModelTables& fld = b.store().fld;
    const LineShuntTables& shl = b.store().shl;
    const InjectionTables& eqv = b.store().eqv;

    // Buses 1 to 9, odd ones with load; lines 1-2 to 8-9, but 9-1 is a transformer.
    SmallBlocks() {
        std::string buses, lines;
        for (int k = 1; k <= 9; ++k) {
            const std::string at = "1:" + std::to_string(k);
            buses += card_of(at + "|74:1" + (k % 2 ? "|59:10" : ""));
            lines += card_of(at + (k < 9 ? "|11:" + std::to_string(k + 1) : "|11:1|39:1.") + "|27:5.");
        }
        EXPECT_EQ(b.read(INPBUS, buses), NONE);
        EXPECT_EQ(b.read(INPLIN, lines), NONE);
    }
    std::vector<int> dcar(std::initializer_list<std::string_view> cards) { return b.read(INPCAR, cards); }
    std::vector<int> dshl(std::initializer_list<std::string_view> cards) { return b.read(INPSHL, cards); }
    std::vector<int> dinj(std::initializer_list<std::string_view> cards) { return b.read(INPINJ, cards); }
    // Row of the shunts of the line that leaves bus k; every link between lines and rows is sound.
    int shunt_of(int k) {
        const Store& s = b.store();
        for (int h : rows(shl.NSHL)) EXPECT_EQ(s.branch.LITRF(shl.LISHL(h)), h);
        return s.branch.LITRF(b.branch(k, k + 1, 1));
    }
    int model_of(int k) const { return b.row_at(k, fld.NOFLD, fld.NFLD); }
    int injection_of(int k) const { return b.row_at(k, eqv.NOEQV, eqv.NEQV); }
};

// --- DCAR

TEST_F(SmallBlocks, EveryMessageOfLoadModels) {
    EXPECT_EQ(dcar({"1:BARR|6:1|53:10|57:20"}), NONE);
    expect_messages(b, INPCAR, R"(
        1:BARR|6:3|51:E|53:1 -> 102; 1:BARR|6:1|51:M -> 103; 1:BARR|6:3|51:X -> 104; 1:BARR|6:3|51:1 -> 104
        1:BARR|6:3|53:101 -> 100 140; 1:BARR|6:3|57:101 -> 110 140; 1:BARR|6:3|61:101 -> 120 150
        1:BARR|6:3|65:101 -> 130 150; 1:BARR|6:3|53:50|57:51 -> 140; 1:BARR|6:3|61:50|65:51 -> 150
        1:BARR|6:3|69:0. -> 160; 1:BARR|6:1 -> 165; 1:BARR|6:3|53:x -> 180; 1:BARR|6:3|51:M|53:1 -> 823
        1:BARR|6:1|51:M|53:81 -> 140  # with the 20 % of its row
        1:BARR|6:99|51:E|69:1. -> 102 801)");  // a wrong selection stands beside the rest
    EXPECT_EQ(b.last_without_end(INPCAR, "1:99998"), 190);
    EXPECT_EQ(fld.NFLD, 1);
}

TEST_F(SmallBlocks, LoadModelsOfASelection) {
    b.run.store.sol.CONVSTAT = 1;
    // Buses without load are passed over, and a model that is there spoils nothing but itself.
    EXPECT_EQ(dcar({"1:BARR|6:1|12:A|14:BARR|19:4|53:10|57:20|61:30|65:40"}), NONE);
    EXPECT_EQ(nearly(fld.NFLD, fld.VMINZ(1), b.store().sol.CONVSTAT), nearly(2, 0.7, 0));
    EXPECT_EQ(dcar({"1:AREA|6:1|53:1|69:80"}), (std::vector{165, 165}));
    EXPECT_EQ(fld.NFLD, 5);

    // One column on many buses; the others stay as they are on each.
    EXPECT_EQ(dcar({"1:AREA|6:1|51:M|57:5"}), NONE);
    EXPECT_EQ(nearly(fld.IPFLA(model_of(3)), fld.IPFLA(model_of(5)), fld.IQFLB(model_of(3)), fld.VMINZ(model_of(5))),
              nearly(10, 1, 40, 0.8));
    for (int n : rows(fld.NFLD)) EXPECT_EQ(fld.IPFLB(n), 5);

    // Buses without a row are passed over when models go; the last row fills the gap.
    EXPECT_EQ(dcar({"1:BARR|6:2|12:A|14:BARR|19:5|51:E"}), NONE);
    EXPECT_EQ(these(fld.NFLD, model_of(1) && model_of(7) && model_of(9), fld.IPFLA(model_of(1))), these(3, true, 10));
    EXPECT_EQ(dcar({"1:AREA|6:1|51:E"}), NONE);
    EXPECT_EQ(fld.NFLD, 0);
}

TEST_F(SmallBlocks, LoadModelDefinedAtTheSolvedVoltage) {
    b.run.opt.set("MDEF"_opt);
    b.run.store.bus.VOLT(b.bus(1)) = 0.97;
    EXPECT_EQ(dcar({"1:BARR|6:1|53:1"}), NONE);
    EXPECT_EQ(b.store().bus.FVOLT(b.bus(1)), 1) << "the network is not solved";
    EXPECT_EQ(dcar({"1:BARR|6:1|51:E"}), NONE);
    b.run.store.sol.CONVSTAT = 1;
    EXPECT_EQ(dcar({"1:BARR|6:1|53:1"}), NONE);
    EXPECT_EQ(b.store().bus.FVOLT(b.bus(1)), 0.97);
}

// --- DSHL

TEST_F(SmallBlocks, EveryMessageOfLineShunts) {
    EXPECT_EQ(dshl({"1:1|10:2|18:-10"}), NONE);
    expect_messages(b, INPSHL, R"(
        1:2|7:3|10:3|18:-1 -> 100; 10:3|18:-1 -> 110; 1:2|18:-1 -> 120; 1:2|10:3|15:0|18:-1 -> 130
        1:88|10:99|18:-1 -> 140 150; 1:2|10:2|18:-1 -> 160; 1:2|10:5|18:-1 -> 170; 1:2|10:3|15:2|18:-1 -> 170
        1:9|10:1|18:-1 -> 180; 1:2|10:3 -> 190; 1:1|10:2|18:-5 -> 200; 1:1|7:E|10:2|24:1 -> 220; 1:2|7:E|10:3 -> 230
        1:2|7:M|10:3|18:-1 -> 230; 1:2|10:3|18:x -> 260; 1:2|10:3|18:-1|31:X -> 920; 1:2|10:3|18:-1|34:LD -> 920
        1:2|10:3|18:1|24:2 -> -900 -910)");
    EXPECT_EQ(b.last_without_end(INPSHL, "1:99998"), 600);
}

TEST_F(SmallBlocks, LineShuntsLandOnTheirEnds) {
    b.run.store.sol.CONVSTAT = 1;
    // The card against the direction of the line, then its other end.
    EXPECT_EQ(dshl({"1:2|10:1|18:-20|31:D"}), NONE);
    EXPECT_EQ(b.store().sol.CONVSTAT, 0);
    int h = shunt_of(1);
    EXPECT_EQ(these(shl.SHLFR(h), shl.SHLTO(h), shl.STSHLD(h), shl.STSHLP(h)), these(0, -0.2, true, false));
    EXPECT_EQ(dshl({"1:1|10:2|18:-30"}), NONE);
    EXPECT_EQ(these(shl.NSHL, shl.SHLFR(h), shl.SHLTO(h)), these(1, -0.3, -0.2));
    EXPECT_FALSE(shl.STSHLP(h)) << "the end that was there stays as it is";
    EXPECT_EQ(dshl({"1:2|7:M|10:1|34:D"}), NONE);
    EXPECT_EQ(shl.SHLTO(h), -0.2);
    EXPECT_FALSE(shl.STSHLD(h));
    EXPECT_EQ(b.read(INPLIN, {"1:2|8:M|11:1|65:100"}), NONE);
    EXPECT_EQ(shl.SHLFR(h), -0.2) << "a change of the line in the other direction turns its shunts";
    EXPECT_EQ(shl.SHLTO(h), -0.3);
    EXPECT_EQ(b.read(INPLIN, {"1:1|8:M|11:2|65:200"}), NONE);
    EXPECT_EQ(shl.SHLFR(h), -0.2);

    EXPECT_EQ(dshl({"1:2|10:3|18:-1", "1:3|10:4|18:-2", "1:4|10:5|18:-3", "1:2|7:E|10:3", "1:5|10:6|24:-4"}), NONE);
    EXPECT_EQ(these(shl.NSHL, shunt_of(2), shl.SHLFR(shunt_of(4)), shl.SHLTO(shunt_of(5))), these(4, 0, -0.03, -0.04));
    // A row that holds nothing more goes at the end of the block.
    EXPECT_EQ(dshl({"1:3|7:M|10:4|18:0."}), NONE);
    EXPECT_EQ(these(shl.NSHL, shunt_of(3), shl.SHLFR(shunt_of(4))), these(3, 0, -0.03));
    // Lines at a bus out of service stand behind the others.
    EXPECT_EQ(b.read(INPBUS, {"1:1|6:M|7:D"}), NONE);
    EXPECT_EQ(dshl({"1:1|7:M|10:2|18:-9"}), NONE);
    EXPECT_EQ(shunt_of(1), 3);
}

// --- DINJ

TEST_F(SmallBlocks, Injections) {
    EXPECT_EQ(dinj({"1:1|9:10|16:20|23:30|30:40", "1:2|9:-5.5", "1:3|30:100"}), NONE);
    EXPECT_EQ(these(eqv.NEQV, eqv.FSH(injection_of(1)), eqv.FMAT(injection_of(1))), these(3, 0.3, 0.4));
    expect_messages(b, INPINJ, R"(
        1:4|7:4|9:1 -> 100; 9:1 -> 110; 1:99|9:1 -> 120; 1:2|9:1 -> 130; 1:4|7:M|9:1 -> 150; 1:4|7:E -> 150
        1:2|7:E|30:1 -> 160; 1:4|30:-1 -> 170; 1:4|9:x -> 180)");
    EXPECT_EQ(b.last_without_end(INPINJ, "1:99998"), 190);
    EXPECT_EQ(dinj({"1:1|7:E", "1:3|7:2|16:7", "1:4|9:1"}), NONE);
    EXPECT_EQ(nearly(eqv.NEQV, injection_of(1), eqv.QMAT(injection_of(3)), eqv.FMAT(injection_of(3))),
              nearly(3, 0, 0.07, 1));
    // The chain of the area has them in ascending bus number.
    std::vector<int> buses;
    for (int n = b.store().adr.IEQPTR(1); n; n = b.store().adr.IEQADR(n))
        buses.push_back(b.store().bus.NOINT(eqv.NOEQV(n)));
    EXPECT_EQ(buses, (std::vector{2, 3, 4}));
    EXPECT_EQ(dinj({"1:4|7:E", "1:3|7:E", "1:2|7:E"}), NONE);
    EXPECT_EQ(eqv.NEQV, 0);
}

}  // namespace
}  // namespace korvane::testing
