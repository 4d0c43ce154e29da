// DGER: limits and capability data of generators.
#include <cmath>

#include "network/block_bench.hpp"

namespace korvane::testing {
namespace {

class Generators : public ::testing::Test {
protected:
    BlockBench b;
    const GeneratorTables& g = b.store().gen;

    // Machines at 1 to 6, of 40 MW each; no machine at 7.
    Generators() {
        std::string buses;
        for (int k = 1; k <= 6; ++k) buses += card_of("1:" + std::to_string(k) + "|8:1|33:40|74:1");
        EXPECT_EQ(b.read(INPBUS, buses + card_of("1:7|74:1")), NONE);
    }
    std::vector<int> dger(std::initializer_list<std::string_view> cards) { return b.read(INPGEN, cards); }
};

// Sub-fields of a card with all six capability fields.
constexpr const char* CAPABLE = "|35:.9|41:5|46:10|51:60|56:120|62:50";

TEST_F(Generators, EveryMessage) {
    // "+" stands for a card with all six capability fields.
    expect_outcomes(R"(
        1:1|7:1|9:1 -> 100; 1:1|7:3|9:1 -> 100; 16:99 -> 110; 1:99|16:99 -> 120; 1:7|16:99 -> 130
        1:1|7:M|16:99 -> 150; 1:1|9:90|16:80 -> 180; 1:1|16:99|23:-1 -> 190; 1:1|16:99|29:0 -> 290
        1:1|16:99|29:101 -> 290; 1:1|16:99|35:.9 -> 200; +|35:1.1 -> 210; +|41:0. -> 220; +|46:-1 -> 230
        +|51:86 -> 240; +|51:-1 -> 240; +|56:-1 -> 250; +|62:-1 -> 260; 1:1|16:x -> 270
        # limits that the generation does not keep move to it
        1:1|16:30 -> -970; 1:2|9:50|16:90 -> -980; 1:3|9:-90|16:-10 -> -950 -960 -970)",
                    [&](std::string card) {
                        if (card[0] == '+') card.replace(0, 1, std::string("1:1|16:99") + CAPABLE);
                        return dger({card});
                    });
    EXPECT_EQ(g.PMAX(1), g.PGEN(1));
    EXPECT_EQ(g.PMIN(2), g.PGEN(2));
    EXPECT_EQ(dger({"1:1|16:99"}), std::vector{140}) << "it has data since its first card";
    EXPECT_EQ(b.last_without_end(INPGEN, "1:5|16:99"), 280);
}

TEST_F(Generators, TwoCardsOfOneBusInABlock) {
    EXPECT_EQ(dger({"1:1|16:99", "1:1|16:88"}), std::vector{140});
    EXPECT_EQ(g.PMAX(1), 0.99);
    EXPECT_EQ(dger({"1:2|16:99", "1:2|7:M|23:5", "1:2|7:2|23:6"}), (std::vector{-990, -990}));
    EXPECT_EQ(g.FGEN(2), 6);
    EXPECT_EQ(g.PMAX(2), 0.99);
    // A card that says the defaults leaves the row at them: a later block still adds.
    EXPECT_EQ(dger({"1:3"}), NONE);
    EXPECT_EQ(dger({"1:3|16:99999.|29:100"}), NONE);
    EXPECT_EQ(g.PMAX(3), 999.99);
    EXPECT_EQ(dger({"1:3|16:99998."}), NONE);
    EXPECT_EQ(dger({"1:3"}), std::vector{140}) << "a megawatt away from the default is data";
}

TEST_F(Generators, CapabilityDataAndUnits) {
    const std::string add = std::string("1:1|9:10|16:99|23:3|29:50|68:4") + CAPABLE;
    EXPECT_EQ(dger({add.c_str()}), NONE);
    EXPECT_EQ(nearly(g.PMIN(1), g.ALFACREM(1), g.FPNOM(1), g.FSRIA(1), g.FSRIR(1)), nearly(0.1, 0.5, 0.9, 1.05, 1.1));
    EXPECT_NEAR(g.ANGCG(1), std::acos(-1.0) / 3, 1e-15);
    EXPECT_EQ(nearly(g.XQ(1), g.SNOMI(1), g.ESTRP(1), g.PGFRP(1)), nearly(1.2, 0.5, 0.04, g.PGEN(1)));
    // One capability field given: the others, and the droop, stay. None given: they go.
    EXPECT_EQ(dger({"1:1|7:M|62:60"}), NONE);
    EXPECT_EQ(nearly(g.SNOMI(1), g.XQ(1), g.ESTRP(1)), nearly(0.6, 1.2, 0.04));
    EXPECT_EQ(dger({"1:1|7:M|23:9"}), NONE);
    EXPECT_EQ(these(g.XQ(1), g.SNOMI(1), g.ESTRP(1), g.PMIN(1), g.ALFACREM(1)), these(-1, 0, 0, 0.1, 0.5));
    EXPECT_EQ(dger({"1:1|7:M|62:60"}), std::vector{200}) << "nothing in the store to complete it";
    // 85 degrees and a share of 100 % are still inside
    const std::string edge = "1:2|16:99|35:-1.|41:.1|46:.1|51:85|56:0.|62:0.|29:100";
    EXPECT_EQ(dger({edge.c_str()}), NONE);
}

}  // namespace
}  // namespace korvane::testing
