// DMOT, DCAI, DGEI: motors, individual loads and individual generators; EXCC, and how units share and operate.
#include <cmath>
#include <map>
#include <random>

#include "network/block_bench.hpp"
#include "network/individual_generators.hpp"

namespace korvane::testing {
namespace {

class UnitBlocks : public ::testing::Test {
protected:
    BlockBench b;
    Store& s = b.run.store;

    // Bus 1 is the slack, 2 generates 60 MW, 3 to 5 have load, 6 generates. Bus 2 hangs on a transformer.
    UnitBlocks() {
        EXPECT_EQ(b.read(INPBUS, {"1:1|8:2|74:1", "1:2|8:1|33:60|74:1", "1:3|74:1|59:50|64:10", "1:4|74:1|59:20",
                                  "1:5|74:1|64:5", "1:6|8:1|33:10|74:1"}),
                  NONE);
        EXPECT_EQ(b.read(INPLIN, {"1:1|11:2|27:10.|39:1.", "1:1|11:3|27:10."}), NONE);
    }
    int motor(int bus, int number) const { return b.row_at(bus, number, s.mot.NOMOT, s.mot.IDEGM, s.mot.NMOT); }
    int load(int bus, int number) const { return b.row_at(bus, number, s.cai.NOCAI, s.cai.IDEGC, s.cai.NCAI); }
    int unit(int bus, int number) const { return b.row_at(bus, number, s.gei.NOGEI, s.gei.IDGEI, s.gei.NGEI); }
    std::vector<int> dmot(std::initializer_list<std::string_view> cards) { return b.read(INPMOT, cards); }
    std::vector<int> dcai(std::initializer_list<std::string_view> cards) { return b.read(INPCAI, cards); }
    std::vector<int> dgei(std::initializer_list<std::string_view> cards) { return b.read(INPGEI, cards); }
};

// --- DMOT

// A motor of 1000 hp with its own circuit.
const std::string OWN = "|21:1.5|27:10|33:320|39:1.8|45:18|51:1000";

TEST_F(UnitBlocks, EveryMessageOfMotors) {
    EXPECT_EQ(dmot({"1:3|10:1" + OWN, "1:4|10:2|57:3|61:60"}), NONE);
    EXPECT_EQ(b.read(INPCAR, {"1:BARR|6:4|53:20|57:20"}), NONE);
    // "+" stands for a motor of its own circuit, "_" for a blank that a field needs to hide that.
    expect_outcomes(R"(
        1:3|7:3|10:9|57:3 -> 100; 10:9|57:3 -> 110; 1:3|57:3 -> 120; 1:99|10:9|57:-1 -> 280 130; 1:3|10:1|57:3 -> 140
        1:3|7:M|10:9|57:3 -> 160; 1:3|7:E|10:1|12:- -> 170; +|13:201 -> 180; +|12:1|13:100 -> 180; +|17:0 -> 190
        +|21:-1 -> 200; +|27:0_ -> 210; +|33:0__ -> 220; +|39:0__ -> 230; +|45:-1 -> 240; +|51:0___ -> 250
        1:3|10:9|57:x -> 260; +|57:3 -> 290; +|8:X -> 300; 1:3|10:9|57:8 -> 310; 1:3|10:9|57:3|65:0 -> 320
        1:3|10:9|57:3|61:101 -> 330; 1:3|10:9|57:3|61:0 -> 330; 1:3|10:9|12:-|57:3 -> 180
        1:4|10:9|57:3|61:41 -> 340 360; 1:4|10:9|57:3|61:1 -> 360; 1:5|10:9|57:3 -> 350; +|13:200|27:90 -> -900)",
                    [&](std::string card) {
                        if (card[0] == '+') card.replace(0, 1, "1:3|10:9" + OWN);
                        std::replace(card.begin(), card.end(), '_', ' ');
                        return dmot({card});
                    });
    EXPECT_EQ(b.last_without_end(INPMOT, "1:99998"), 270);
}

TEST_F(UnitBlocks, MotorsFollowTheirCards) {
    const MotorTables& t = s.mot;
    s.sol.CONVSTAT = 1;
    EXPECT_EQ(dmot({"1:3|10:1|12:-|13:80|17:2" + OWN, "1:3|10:2|57:1|61:40|65:100", "1:4|8:D|10:1|57:6"}), NONE);
    EXPECT_EQ(s.sol.CONVSTAT, 0);
    int i = motor(3, 1);
    EXPECT_EQ(t.LFPMEC(i), -80);
    EXPECT_DOUBLE_EQ(t.XMAGNE(i), 3.2);
    // 100 MVA on 2 motors of 1000 hp
    EXPECT_NEAR(t.RMOTOR(i), 0.015 * 1e5 / (2 * 745.6998715822702), 1e-12);
    EXPECT_NEAR(t.PMECA(i), -0.8 * 2 * 745.6998715822702e-5, 1e-7);
    EXPECT_LT(t.SLIP(i), 0) << "it generates";
    EXPECT_LT(t.GMOTOR(i), 0);
    EXPECT_LT(t.BMOTOR(i), 0);
    // A type takes its part of the bus load: 20 MW, of a rating of as much.
    i = motor(3, 2);
    EXPECT_EQ(t.XSTATO(i), 0.1);
    EXPECT_DOUBLE_EQ(t.PBASEMI(i), 0.2);
    EXPECT_NEAR(t.HPBASE(i), 20000 / 0.7456998715822702, 1e-8);
    EXPECT_EQ(nearly(t.XMOTOR(i), t.GMOTOR(i), t.NUNID(i)), nearly(3.3 / 0.2, 0, 1));
    EXPECT_EQ(t.IPBSM(motor(4, 1)), 125) << "the loading of the type";
    EXPECT_EQ(motor(4, 1), 3) << "out of service, behind the others";

    // The sign stays with a blank factor, and goes with a new one. A new type forgets the own circuit.
    EXPECT_EQ(dmot({"1:3|7:M|10:1|17:3"}), NONE);
    EXPECT_EQ(t.LFPMEC(motor(3, 1)), -80);
    EXPECT_EQ(t.HPBASE(motor(3, 1)), 1000);
    EXPECT_EQ(dmot({"1:3|7:M|10:1|13:70"}), NONE);
    EXPECT_EQ(t.LFPMEC(motor(3, 1)), 70);
    EXPECT_EQ(dmot({"1:3|7:M|10:2|27:5"}), std::vector{290}) << "its type still stands";
    EXPECT_EQ(dmot({"1:3|7:M|10:1|57:2|61:60"}), NONE);
    EXPECT_EQ(t.IPBSM(motor(3, 1)), 103);
    EXPECT_EQ(dmot({"1:3|7:M|10:2|57:0" + OWN}), NONE);
    EXPECT_EQ(t.MOTIP(motor(3, 2)), 0);
    EXPECT_GT(t.GMOTOR(motor(3, 2)), 0);
    // With POPE a motor with a type gets its capacitor.
    b.run.opt.set("POPE"_opt);
    EXPECT_EQ(dmot({"1:4|7:M|10:1|8:L"}), NONE);
    auto tangent = [](double factor) { return std::tan(std::acos(factor)); };
    EXPECT_NEAR(t.BCMIT(motor(4, 1)), 0.2 * (tangent(0.87) - tangent(0.92)), 1e-12);
    EXPECT_GT(t.BCINI(motor(4, 1)), 0);
    EXPECT_EQ(dmot({"1:3|7:E|10:1", "1:4|7:E|10:1", "1:3|7:E|10:2"}), NONE);
    EXPECT_EQ(t.NMOT, 0);
}

// Rows in use up to the limit; those without a bus go at the end of the block.
TEST_F(UnitBlocks, FullTables) {
    s.mot.NMOT = MXMOT;
    EXPECT_EQ(dmot({"1:3|10:1|57:1"}), std::vector{150});
    s.cai.NCAI = MXCAI;
    EXPECT_EQ(dcai({"1:3|10:1"}), std::vector{150});
    s.gei.NGEI = MXGEI;
    EXPECT_EQ(dgei({"1:2|8:S|10:1"}), std::vector{150});
    EXPECT_EQ(s.mot.NMOT + s.cai.NCAI + s.gei.NGEI, 0);
    s.fld.NFLD = MXFLD - 1;
    EXPECT_EQ(b.read(INPCAR, {"1:AREA|6:1|53:1", "1:BARR|6:4|53:1"}), (std::vector{170}));
    s.eqv.NEQV = MXEQV;
    EXPECT_EQ(b.read(INPINJ, {"1:3|9:1"}), std::vector{140});
    s.shl.NSHL = MXSHL;
    for (int h : rows(MXSHL)) s.shl.LISHL(h) = 1;
    EXPECT_EQ(b.read(INPSHL, {"1:1|10:3|18:-1"}), std::vector{210});
    EXPECT_EQ(s.shl.NSHL, 0);
}

// --- DCAI

TEST_F(UnitBlocks, EveryMessageOfIndividualLoads) {
    EXPECT_EQ(dcai({"1:3|10:1|15:10|23:1"}), NONE);
    expect_messages(b, INPCAI, R"(
        1:3|7:3|10:2 -> 100; 10:2 -> 110; 1:3 -> 120; 1:99|10:2 -> 130; 1:3|10:1 -> 140; 1:3|7:M|10:2 -> 160
        1:3|7:E|10:1|13:L -> 170; 1:3|10:2|13:X -> 180; 1:3|10:2|15:0 -> 190; 1:3|10:2|19:0 -> 200
        1:3|10:2|15:3|19:4 -> -900; 1:3|7:M|10:1|35:-1 -> 210; 1:3|7:M|10:1|35:101 -> 210 230
        1:3|7:M|10:1|39:101 -> 220 230; 1:3|7:M|10:1|35:50|39:51 -> 230; 1:3|7:M|10:1|43:101 -> 240 260
        1:3|7:M|10:1|47:101 -> 250 260; 1:3|7:M|10:1|43:50|47:51 -> 260; 1:3|7:M|10:1|51:0 -> 270
        1:3|7:M|10:1|57:300 -> 280; 1:3|7:M|10:1|23:x -> 290)");
    EXPECT_EQ(b.last_without_end(INPCAI, "1:99998"), 300);
    EXPECT_EQ(nearly(s.cai.NUNICOP(load(3, 2)), s.cai.NUNICOP(load(3, 1)), s.cai.VMINZC(load(3, 1))),
              nearly(3, 10, 0.7));
    EXPECT_EQ(dcai({"1:3|7:E|10:1", "1:3|7:E|10:2"}), NONE);
    EXPECT_EQ(s.cai.NCAI, 0);
}

// What is left after cards in random order is what a book of the cards says, the chains name it all in ascending
// order, and what is out of service stands behind.
TEST_F(UnitBlocks, RandomCardsOfIndividualLoads) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937 random(seed);
        std::map<std::pair<int, int>, int> book;  // power by bus and number, minus: out of service
        for (int block = 0; block < 4; ++block) {
            std::string cards;
            for (int n = 0; n < 60; ++n) {
                const std::pair key(1 + int(random() % 6), 1 + int(random() % 9));
                const auto at = book.find(key);
                const char op = at == book.end() ? 'A' : random() % 2 ? 'E' : 'M';
                std::string card = "1:" + std::to_string(key.first) + "|7:" + op + "|10:" + std::to_string(key.second);
                if (op == 'E') {
                    book.erase(at);
                } else {
                    const int power = 1 + int(random() % 9999);
                    const bool off = random() % 4 == 0;
                    book[key] = off ? -power : power;
                    card += std::string("|13:") + (off ? 'D' : 'L') + "|23:" + std::to_string(power);
                }
                cards += card_of(card);
            }
            ASSERT_EQ(b.read(INPCAI, cards), NONE);
            const IndividualLoadTables& t = s.cai;
            std::map<std::pair<int, int>, int> left;
            int chained = 0;
            for (int k : rows(s.bus.NB))
                for (int i = s.adr.IPCAI(k), before = 0; i; before = i, i = s.adr.LNKCAI(i)) {
                    EXPECT_EQ(t.NOCAI(i), k);
                    EXPECT_LT(before, i);
                    left[{s.bus.NOINT(k), t.IDEGC(i)}] = int(std::lround(t.PLOADI(i) * 100)) * (t.STCAR(i) ? 1 : -1);
                    ++chained;
                }
            EXPECT_EQ(left, book) << seed;
            EXPECT_EQ(chained, t.NCAI);
            for (int i = 2; i <= t.NCAI; ++i) EXPECT_LE(t.STCAR(i), t.STCAR(i - 1));
        }
        std::string all;
        for (const auto& [key, power] : book)
            all += card_of("1:" + std::to_string(key.first) + "|7:E|10:" + std::to_string(key.second));
        EXPECT_EQ(b.read(INPCAI, all), NONE);
    }
}

// --- DGEI

TEST_F(UnitBlocks, EveryMessageOfIndividualGenerators) {
    EXPECT_EQ(dgei({"1:2|8:S|10:1|14:4|43:12"}), NONE);
    expect_messages(b, INPGEI, R"(
        1:2|7:3|10:2 -> 100; 8:S|10:2 -> 110; 1:2|8:S -> 120; 1:99|8:S|10:2 -> 130; 1:3|8:S|10:2 -> 135
        1:2|8:S|10:1 -> 140; 1:2|7:M|10:2 -> 160; 1:3|7:E|10:2 -> 160; 1:2|7:E|10:1|23:1 -> 170
        1:2|7:M|10:1|13:X -> 180; 1:2|7:M|10:1|14:0 -> 190; 1:2|7:M|10:1|17:0 -> 200; 1:2|7:M|10:1|17:5 -> -900
        1:2|7:M|10:1|17:1|20:2 -> -930; 1:2|7:M|10:1|8:N|81:5 -> 205; 1:2|7:M|10:1|8:N|23:51|70:50 -> 206
        1:2|7:M|10:1|33:5|38:4 -> 207; 1:2|7:M|10:1|28:-7|33:-5 -> -910; 1:2|7:M|10:1|28:7|38:5 -> -920
        1:2|7:M|10:1|43:-1 -> 210; 1:2|7:M|10:1|50:-1 -> 220
        1:2|7:M|10:1|50:-1E15 ->  # the mark of a unit without machine data
        1:2|7:M|10:1|55:-1 -> 230; 1:2|7:M|10:1|60:-1 -> 240; 1:2|7:M|10:1|66:1.1 -> 250; 1:2|7:M|10:1|70:-1 -> 260
        1:2|7:M|10:1|75:-1 -> 270; 1:2|7:M|10:1|23:x -> 280; 1:2|7:M|10:1|81:-1 -> 310; 1:2|7:M|10:1|87:101 -> 320
        1:2|7:M|10:1|43:0 -> -950; 1:2|10:2 -> -940; 1:2|8:N|10:3 -> -940)");
    EXPECT_EQ(b.last_without_end(INPGEI, "1:99998"), 300);
    EXPECT_EQ(s.gei.NUGIGOP(unit(2, 1)), 2);
}

TEST_F(UnitBlocks, GeneratorsFollowTheirCards) {
    const IndividualGeneratorTables& t = s.gei;
    s.bus.VOLT(b.bus(6)) = 0.9;
    s.sol.CONVSTAT = 1;
    EXPECT_EQ(dgei({"1:1|10:1|23:7", "1:6|10:1|14:3|66:.8|70:100|87:5", "1:2|8:S|10:1|13:D|23:50|43:9"}),
              (std::vector{-940, -940}));
    EXPECT_EQ(s.sol.CONVSTAT, 0);
    EXPECT_TRUE(t.FLAGNOP(unit(1, 1))) << "the slack bus has its units follow it";
    EXPECT_EQ(t.PGGEI(unit(1, 1)), 0);
    EXPECT_EQ(t.PGGEI(unit(2, 1)), 0);
    EXPECT_EQ(unit(2, 1), 3) << "out of service, behind the others";
    const int i = unit(6, 1);
    EXPECT_DOUBLE_EQ(t.PGGEI(i), 0.72);  // 100 MVA at 0.9 pu and power factor 0.8
    EXPECT_EQ(nearly(t.NUGIGOP(i), t.QMXGEI(i), t.ERPGEI(i), t.PRPGEI(i), t.NOGGEI(i)),
              nearly(3, 99.99, 0.05, 0.1, s.map.NGADR(b.bus(6))));
    // The default generation shows in five columns, and never stands above what the unit can give.
    s.bus.VOLT(b.bus(6)) = 1.03337;
    EXPECT_EQ(dgei({"1:6|10:2|70:100."}), std::vector{-940});
    EXPECT_LE(t.PGGEI(unit(6, 2)), 1.03337);
    EXPECT_NEAR(t.PGGEI(unit(6, 2)), 1.03337, 2e-3);
    EXPECT_EQ(dgei({"1:6|7:E|10:1", "1:6|7:E|10:2", "1:1|7:E|10:1", "1:2|7:E|10:1"}), NONE);
    EXPECT_EQ(t.NGEI, 0);
    EXPECT_EQ(s.adr.IPGEI(b.bus(6)), 0);
}

TEST_F(UnitBlocks, CapabilityAndStepUpTransformerAtTheEndCard) {
    const IndividualGeneratorTables& t = s.gei;
    // Power factor 0.8, xd = xq = 150 %: at its rated point the unit gives 0.6 of its rating, and the stator allows
    // as much. Of two units without capability data the card counts.
    EXPECT_EQ(dgei({"1:2|8:S|10:1|14:4|17:2|43:12|50:150|55:150|60:20|66:.8|70:50", "1:2|8:S|10:2|13:D|14:9|43:1",
                    "1:2|8:S|10:3|14:3|33:-8|38:9|43:8|70:0"}),
              NONE);
    EXPECT_DOUBLE_EQ(t.QMXGEI(unit(2, 3)), 0.09);
    EXPECT_GT(t.QMXGEI(unit(2, 1)), 0.3);
    EXPECT_LT(t.QMNGEI(unit(2, 1)), -0.2);
    s.gei.PGGEI(unit(2, 1)) = 0.4;
    UNTCAP(b.run, unit(2, 1));
    EXPECT_NEAR(t.QMXGEI(unit(2, 1)), 0.3, 1e-3);
    s.gei.PGGEI(unit(2, 1)) = 0.9;  // more than any excitation gives
    UNTCAP(b.run, unit(2, 1));
    EXPECT_EQ(t.QMXGEI(unit(2, 1)), t.QMNGEI(unit(2, 1)));
    EXPECT_TRUE(shows(b.console(), "gerador   1: limite do rotor n"));
    // -(2/0.12 + 3/0.08), those out of service left out
    const int l = b.branch(1, 2, 1);
    EXPECT_NEAR(s.branch.BKM(l), -(2 / 0.12 + 3 / 0.08), 1e-12);
    EXPECT_FALSE(update_step_up_transformers(s));
    s.gei.NUGIGOP(unit(2, 1)) = 3;
    EXPECT_TRUE(update_step_up_transformers(s));
    // A unit without a transformer, a line, or a second branch: the branch stays as it is.
    const double before = s.branch.BKM(l);
    EXPECT_EQ(dgei({"1:2|7:M|10:3|43:0"}), std::vector{-950});
    EXPECT_EQ(s.branch.BKM(l), before);
    EXPECT_EQ(b.read(INPLIN, {"1:2|11:3|27:9."}), NONE);
    EXPECT_EQ(dgei({"1:2|7:M|10:3|43:5"}), NONE);
    EXPECT_EQ(s.branch.BKM(l), before);
}

TEST_F(UnitBlocks, UnitsShareWhatTheBusGenerates) {
    const IndividualGeneratorTables& t = s.gei;
    EXPECT_EQ(dgei({"1:2|8:S|10:1|14:4|17:1|33:-9|38:6|43:12|70:20", "1:2|8:S|10:2|14:2|33:-3|38:8|43:8|70:10"}), NONE);
    const int k = b.bus(2), g = s.map.NGADR(k);
    auto expect_balance = [&] {
        const UnitSum sum = UNTSUM(s, k);
        EXPECT_NEAR(sum.p, s.gen.PGEN(g), 1e-12);
        EXPECT_NEAR(sum.q, s.gen.QGEN(g), 1e-12);
    };
    // 60 MW on 20 and 2 x 10 MVA: units of the first group join until every one carries 10/20 of its rating.
    s.gen.PGEN(g) = 0.6;
    s.gen.QGEN(g) = 0.1;
    s.bus.BNAME(k) = "USINA GERAD 01";
    EXPECT_TRUE(UNTSHR(b.run, k, false));
    EXPECT_EQ(t.NUGIGOP(unit(2, 1)), 2);
    EXPECT_EQ(t.NUGIGOP(unit(2, 2)), 2);
    EXPECT_EQ(s.bus.BNAME(k), "USINA GERAD2");
    EXPECT_NEAR(t.PGGEI(unit(2, 1)), 0.2, 1e-12);
    EXPECT_NEAR(t.PGGEI(unit(2, 2)), 0.1, 1e-12);
    expect_balance();
    EXPECT_FALSE(UNTSHR(b.run, k, false));
    // Without power the reactive limits on the side of the generation are the weights.
    s.gen.PGEN(g) = 0;
    s.gei.PGGEI(unit(2, 1)) = s.gei.PGGEI(unit(2, 2)) = 0;
    for (double q : {0.14, -0.12}) {
        s.gen.QGEN(g) = q;
        EXPECT_FALSE(UNTSHR(b.run, k, false));
        expect_balance();
        EXPECT_NEAR(t.QGGEI(unit(2, 1)) / t.QGGEI(unit(2, 2)), q > 0 ? 6.0 / 8 : 3.0, 1e-12);
    }
    // UNTGEN: the row takes the limits of its units, and the generation only of units that do not follow it.
    UNTGEN(b.run, true);
    EXPECT_NEAR(s.gen.QMAX(g), 2 * 0.06 + 2 * 0.08, 1e-12);
    EXPECT_NEAR(s.gen.QMNO(g), -(2 * 0.09 + 2 * 0.03), 1e-12);
    EXPECT_EQ(s.gen.PGEN(g), 0);
    EXPECT_EQ(dgei({"1:2|7:M|8:N|10:1|23:15|87:4", "1:2|7:M|8:N|10:2|23:5|87:6"}), NONE);
    b.run.opt.set("FREQ"_opt);
    UNTGEN(b.run, false);
    EXPECT_NEAR(s.gen.PGEN(g), 2 * 0.15 + 2 * 0.05, 1e-12);
    EXPECT_NEAR(s.gen.ESTRP(g), 2 * 0.04 + 2 * 0.06, 1e-12);
    EXPECT_EQ(s.gen.PGFRP(g), 0);
}

TEST_F(UnitBlocks, UnitsInOperation) {
    const IndividualGeneratorTables& t = s.gei;
    EXPECT_EQ(dgei({"1:2|8:S|10:1|14:8|17:2|20:1|33:-5|38:5|43:12|75:10|81:6"}), NONE);
    const int k = b.bus(2), g = s.map.NGADR(k), i = unit(2, 1);
    struct Case {
        double p, q;
        bool at_limit;
        int before, after, afresh;
    };
    for (const Case& c : {Case{0.20, 0, false, 2, 2, 2}, Case{0.21, 0, false, 2, 3, 3}, Case{0.60, 0, false, 2, 6, 6},
                          Case{0.95, 0, false, 2, 8, 8},       // as many as there are
                          Case{0.29, 0, false, 5, 4, 3},       // 4 x 6 MW lie below, 5 x 6 MW do not
                          Case{0.05, 0, false, 3, 1, 1},       // the least stays
                          Case{0.12, 0.18, false, 2, 2, 4},    // no limit was reached
                          Case{0.12, 0.18, true, 2, 4, 4},     // 4 x 5 Mvar carry 18
                          Case{0.12, -0.26, true, 2, 6, 6},    // and 6 x -5 Mvar -26
                          Case{0.31, 0.11, true, 2, 4, 4}}) {  // the greater need counts
        s.gen.PGEN(g) = c.p;
        s.gen.QGEN(g) = c.q;
        s.bus.NTYPE(k) = c.at_limit ? -2 : 2;
        s.gei.NUGIGOP(i) = c.before;
        EXPECT_EQ(UNTDSP(b.run, g, false), c.before != c.after) << c.p << ' ' << c.q;
        EXPECT_EQ(t.NUGIGOP(i), c.after) << c.p << ' ' << c.q;
        UNTDSP(b.run, g, true);
        EXPECT_EQ(t.NUGIGOP(i), c.afresh) << c.p << ' ' << c.q;
    }
    // Two groups share the need.
    s.bus.NTYPE(k) = 2;
    EXPECT_EQ(dgei({"1:2|8:S|10:2|14:5|17:1|43:12|75:20"}), NONE);
    s.gei.NUGIGOP(i) = 8;
    s.gen.PGEN(g) = 1.41;
    EXPECT_TRUE(UNTDSP(b.run, g, false));
    EXPECT_EQ(t.NUGIGOP(unit(2, 2)), 4);
    // INMN: the card takes the fewest that carry the generation of the bus.
    b.run.opt.set("INMN"_opt);
    b.run.opt.set("IMPR"_opt);
    s.gen.PGEN(g) = 0.6;
    EXPECT_EQ(dgei({"1:2|7:E|10:1", "1:2|7:E|10:2", "1:2|8:S|10:3|14:  9|43:12|75:14"}), NONE);
    EXPECT_EQ(t.NUGIGOP(unit(2, 3)), 5);
    EXPECT_TRUE(shows(b.console(), "9   5   1"));
}

TEST_F(UnitBlocks, CapabilitySummary) {
    EXPECT_EQ(b.read(EXCCAP, ""), std::vector{-900});
    EXPECT_EQ(dgei({"1:2|8:S|10:7|14:4|17:2|43:12|50:150|55:150|60:20|66:.8|70:50", "1:1|8:S|10:8|43:12"}), NONE);
    EXPECT_EQ(b.read(EXCCAP, ""), std::vector{-901});
    s.sol.CONVSTAT = 1;
    b.os.output.clear();
    EXPECT_EQ(b.read(EXCCAP, ""), NONE);
    const std::string& text = b.console();
    EXPECT_TRUE(shows(text, "    2                7 LIG BAR    2   4"));
    EXPECT_TRUE(shows(text, "        40.0     -30.0")) << "the rated point of its curve\n" << text;
    EXPECT_LT(text.find("    1                8 LIG"), text.find("    2                7 LIG")) << "by bus number";
}

}  // namespace
}  // namespace korvane::testing
