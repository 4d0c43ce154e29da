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
        EXPECT_TRUE(b.read(INPBUS, buses + card_of("1:7|74:1")).empty()) << b.messages();
    }
    std::vector<int> dger(std::initializer_list<std::string_view> cards) { return b.read(INPGEN, cards); }
};

// Sub-fields of a card with all six capability fields.
constexpr const char* CAPABLE = "|35:.9|41:5|46:10|51:60|56:120|62:50";

TEST_F(Generators, EveryMessage) {
    const std::string all = CAPABLE;
    auto with = [&](std::string fields) { return "1:1|16:99" + all + '|' + fields; };
    const std::string too_much_power_factor = with("35:1.1"), no_stator = with("41:0."), no_rotor = with("46:-1"),
                      steep = with("51:86"), no_angle = with("51:-1"), no_reactance = with("56:-1"),
                      no_power = with("62:-1");
    expect_messages(b, INPGEN,
                    {{"1:1|7:1|9:1", {100}},
                     {"1:1|7:3|9:1", {100}},
                     {"16:99", {110}},
                     {"1:99|16:99", {120}},
                     {"1:7|16:99", {130}},
                     {"1:1|7:M|16:99", {150}},
                     {"1:1|9:90|16:80", {180}},
                     {"1:1|16:99|23:-1", {190}},
                     {"1:1|16:99|29:0", {290}},
                     {"1:1|16:99|29:101", {290}},
                     {"1:1|16:99|35:.9", {200}},
                     {too_much_power_factor.c_str(), {210}},
                     {no_stator.c_str(), {220}},
                     {no_rotor.c_str(), {230}},
                     {steep.c_str(), {240}},
                     {no_angle.c_str(), {240}},
                     {no_reactance.c_str(), {250}},
                     {no_power.c_str(), {260}},
                     {"1:1|16:x", {270}},
                     // limits that the generation does not keep move to it
                     {"1:1|16:30", {-970}},
                     {"1:2|9:50|16:90", {-980}},
                     {"1:3|9:-90|16:-10", {-950, -960, -970}}});
    EXPECT_EQ(g.PMAX(1), g.PGEN(1));
    EXPECT_EQ(g.PMIN(2), g.PGEN(2));
    EXPECT_EQ(dger({"1:1|16:99"}), std::vector{140}) << "it has data since its first card";

    b.feed(card_of("1:5|16:99"));
    b.run.msg.printed.clear();
    EXPECT_THROW(INPGEN(b.run), RunStop);
    EXPECT_EQ(b.numbers(), std::vector{280});
}

TEST_F(Generators, TwoCardsOfOneBusInABlock) {
    EXPECT_EQ(dger({"1:1|16:99", "1:1|16:88"}), std::vector{140});
    EXPECT_EQ(g.PMAX(1), 0.99);
    EXPECT_EQ(dger({"1:2|16:99", "1:2|7:M|23:5", "1:2|7:2|23:6"}), (std::vector{-990, -990}));
    EXPECT_EQ(g.FGEN(2), 6);
    EXPECT_EQ(g.PMAX(2), 0.99);
    // A card that says the defaults leaves the row at them: a later block still adds.
    EXPECT_TRUE(dger({"1:3"}).empty());
    EXPECT_TRUE(dger({"1:3|16:99999.|29:100"}).empty()) << b.messages();
    EXPECT_EQ(g.PMAX(3), 999.99);
    EXPECT_EQ(dger({"1:3|16:99998."}), std::vector<int>{});
    EXPECT_EQ(dger({"1:3"}), std::vector{140}) << "a megawatt away from the default is data";
}

TEST_F(Generators, CapabilityDataAndUnits) {
    const std::string add = std::string("1:1|9:10|16:99|23:3|29:50|68:4") + CAPABLE;
    EXPECT_TRUE(dger({add.c_str()}).empty()) << b.messages();
    EXPECT_EQ(g.PMIN(1), 0.1);
    EXPECT_EQ(g.ALFACREM(1), 0.5);
    EXPECT_EQ(g.FPNOM(1), 0.9);
    EXPECT_DOUBLE_EQ(g.FSRIA(1), 1.05);
    EXPECT_DOUBLE_EQ(g.FSRIR(1), 1.1);
    EXPECT_NEAR(g.ANGCG(1), std::acos(-1.0) / 3, 1e-15);
    EXPECT_DOUBLE_EQ(g.XQ(1), 1.2);
    EXPECT_EQ(g.SNOMI(1), 0.5);
    EXPECT_EQ(g.ESTRP(1), 0.04);
    EXPECT_EQ(g.PGFRP(1), g.PGEN(1));
    // One capability field given: the others, and the droop, stay. None given: they go.
    EXPECT_TRUE(dger({"1:1|7:M|62:60"}).empty());
    EXPECT_EQ(g.SNOMI(1), 0.6);
    EXPECT_DOUBLE_EQ(g.XQ(1), 1.2);
    EXPECT_EQ(g.ESTRP(1), 0.04);
    EXPECT_TRUE(dger({"1:1|7:M|23:9"}).empty());
    EXPECT_EQ(g.XQ(1), -1);
    EXPECT_EQ(g.SNOMI(1), 0);
    EXPECT_EQ(g.ESTRP(1), 0);
    EXPECT_EQ(g.PMIN(1), 0.1);
    EXPECT_EQ(g.ALFACREM(1), 0.5);
    EXPECT_EQ(dger({"1:1|7:M|62:60"}), std::vector{200}) << "nothing in the store to complete it";
    // 85 degrees and a share of 100 % are still inside
    const std::string edge = "1:2|16:99|35:-1.|41:.1|46:.1|51:85|56:0.|62:0.|29:100";
    EXPECT_TRUE(dger({edge.c_str()}).empty()) << b.messages();
}

}  // namespace
}  // namespace korvane::testing
