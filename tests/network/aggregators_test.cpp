// DAGR: aggregators and their groups.
#include "network/control_bench.hpp"

namespace korvane::testing {
namespace {

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
    expect_messages(b, INPAGR, {{"1:0|5:NADA", {100}}, {"1:11", {100}}, {"1:1x", {110}}, {"1:FAGR", {110}}});
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
    ASSERT_TRUE(b.read(INPAGR, {"1:2|5:EMPRESA", "1:30|7:TRINTA", "1:10|5:A|7:DEZ", "1:20|5:0|7:VINTE", "1:FAGR", "1:9",
                                "1:5", "1:FAGR"})
                    .empty())
        << b.messages();
    EXPECT_EQ(groups(2), "30TRINTA 10DEZ 20VINTE ");
    EXPECT_EQ(chain(2), "10 20 30 ");
    ASSERT_TRUE(b.read(INPBUS, {"1:10|6:M|85:30|106:5", "1:30|6:M|85:10", "1:40|6:M|85:20"}).empty()) << b.messages();
    ASSERT_TRUE(b.read(INPLIN, {"1:30|8:M|11:40|16:1|82:20", "1:40|8:M|11:50|16:1|82:30"}).empty()) << b.messages();

    // The head of the list is gone: a bus or a branch of the group has none, the others follow their rows.
    EXPECT_TRUE(b.read(INPAGR, {"1:2", "1:30|5:E", "1:20|5:M", "1:10|5:M|7:X", "1:FAGR"}).empty()) << b.messages();
    EXPECT_EQ(groups(2), "10X 20VINTE ");
    EXPECT_EQ(chain(2), "10 20 ");
    EXPECT_EQ(a.DESCAG(2).trimmed(), "EMPRESA") << "a blank description leaves it";
    const Store& s = b.store();
    const auto bus_group = [&](int number) { return int(s.bus.IAGRBAR(b.bus(number))(2)); };
    EXPECT_EQ((std::vector{bus_group(10), bus_group(30), bus_group(40)}), (std::vector{0, 1, 2}));
    EXPECT_EQ(s.branch.IAGRCIR(b.branch(30, 40, 1))(2), 2);
    EXPECT_EQ(s.branch.IAGRCIR(b.branch(40, 50, 1))(2), 0);
    EXPECT_EQ(s.bus.IAGRBAR(b.bus(10))(9), 1) << "other aggregators stay";

    EXPECT_TRUE(b.read(INPAGR, {"1:2", "1:10|5:1", "1:20|5:1"}).empty());
    EXPECT_EQ(a.count(2), 0);
    EXPECT_EQ(a.NUMGAG(2), 0);
    EXPECT_TRUE(a.DESCAG(2).blank()) << "all its groups were deleted";
    EXPECT_EQ(bus_group(40), 0);

    b.run.opt.set("INIC"_opt);
    b.feed("");
    INPAGR(b.run);
    EXPECT_EQ(a.count(9), 0);
    EXPECT_EQ(a.NAGINT(9), 9);
    EXPECT_EQ(s.bus.IAGRBAR(b.bus(10))(9), 0);
}

}  // namespace
}  // namespace korvane::testing
