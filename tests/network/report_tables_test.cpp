// Tables of the tabular reports: voltage bands (DBTB), sums of generation (DPGE, DQGE) and of flows (DFTB).
#include "network/control_bench.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {
namespace {

class ReportTables : public ::testing::Test {
protected:
    ControlBench b;
    const Store& s = b.store();

    /// The members of a table of sums: "number+bus" and the text where a sum is closed.
    template <class Sums>
    std::string sums(const Sums& t) const {
        std::string all;
        for (int i : rows(t.n)) {
            all += std::to_string(t.sum(i)) + (t.sign(i) < 0 ? '-' : '+') + std::to_string(s.bus.NOINT(t.bus(i)));
            all += t.closes(i) ? "=" + std::string(t.text(i).trimmed()) + ' ' : " ";
        }
        return all;
    }
    std::string flows() const {
        std::string all;
        for (int i : rows(s.ltb.NLTB)) {
            const int l = s.ltb.IPLTB(i);
            const int from = s.ltb.ISLTB(i) ? s.branch.NTO(l) : s.branch.NFROM(l);
            all += std::to_string(s.ltb.sum(i)) + (s.ltb.sign(i) < 0 ? '-' : '+') + std::to_string(s.bus.NOINT(from)) +
                   ' ';
        }
        for (int i : rows(s.ftb.NFTB)) all += std::string(s.ftb.TXFTB1(i).trimmed()) + ' ';
        return all;
    }
};

TEST_F(ReportTables, VoltageBands) {
    expect_messages(b, INPTBU,
                    {{"7:.9|13:1.1", {100}},
                     {"1:99", {110}},
                     {"1:10|7:0.|13:1.1", {120}},
                     {"1:10|7:.9", {120}},
                     {"1:10|7:1.1|13:.9", {130}},
                     {"1:1.5", {150}},
                     {"1:30|7:.9|13:.9", {}},
                     {"1:10", {}}});
    EXPECT_EQ(b.names(s.btb.IPBTB, s.btb.NBTB), "30 10 ");
    EXPECT_EQ(s.btb.VMXBTB(1), 0.9);
    EXPECT_EQ(s.btb.VMNBTB(2), 0);
    EXPECT_EQ(b.last_without_end(INPTBU), 160);
    b.run.store.btb.NBTB = MXBTB;
    EXPECT_EQ(b.read(INPTBU, {"1:10"}), std::vector{140});
}

TEST_F(ReportTables, SumsOfGeneration) {
    for (Reader block : {INPPGE, INPQGE}) {
        expect_messages(b, block,
                        {{"7:=", {100}},
                         {"1:99|7:=", {105}},
                         {"1:10|7:*", {110}},
                         {"1:1x|7:=", {150}},
                         {"1:10|7:+|9:TEXTO", {-205, -910}},
                         {"1:20|7:-", {-910}},
                         {"1:60|9:UM", {120, -910}},
                         {"1:60|7:,|9:UM", {}},
                         {"1:30|9:DOIS", {-900}}});
        EXPECT_EQ(b.last_without_end(block), 160);
    }
    EXPECT_EQ(sums(s.pge), "1+10 1-20 1+60=UM 2+30=DOIS ");
    EXPECT_EQ(sums(s.qge), sums(s.pge));
    const auto refused_when_full = [&](auto& t, Reader block) {
        t.n = MXSUM;
        for (int i : rows(MXSUM)) t.sum(i) = i, t.closes(i) = true;
        EXPECT_EQ(b.read(block, {"1:10"}), (std::vector{130, 140}));
    };
    refused_when_full(b.run.store.pge, INPPGE);
    refused_when_full(b.run.store.qge, INPQGE);
}

TEST_F(ReportTables, SumsOfFlows) {
    expect_messages(b, INPTFL,
                    {{"7:30|16:=", {100}},
                     {"1:10|16:=", {110}},
                     {"1:10|7:30|13:-1", {120}},
                     {"1:10|7:30|13:0", {130}},
                     {"1:99|7:30", {140}},
                     {"1:10|7:99", {150}},
                     {"1:10|7:10", {160}},
                     {"1:10|7:60", {170}},
                     {"1:10|7:30|43:x", {180}},
                     {"1:10|7:30|16:x", {190}},
                     {"1:1x|7:30", {220}},
                     {"1:30|7:10|13:2|16:-|18:TEXTO", {-205, -910}},
                     {"1:10|7:30|16:+|45:100", {-205, -910}},
                     {"1:30|7:40", {200, -910}},
                     {"1:30|7:40|16:=|18:CORTE NORTE|30:SUL|43:*|45:500.", {}},
                     {"1:50|7:60|18:SO|45:1.|50:2.|75:7.", {}}});
    EXPECT_EQ(flows(), "1-30 1+10 1+30 2+50 CORTE NORTE SO ");
    EXPECT_EQ(s.ftb.TXFTB2(1).trimmed(), "SUL");
    EXPECT_EQ(s.ftb.CNFTB(1), (std::array<double, 7>{500, 500, 500, 500, 500, 500, 500}));
    EXPECT_EQ(s.ftb.CNFTB(2), (std::array<double, 7>{1, 2, 0, 0, 0, 0, 7}));
    EXPECT_EQ(b.last_without_end(INPTFL), 240);
    b.run.store.ftb.NFTB = MXFTB;
    EXPECT_EQ(b.read(INPTFL, {"1:50|7:60", "1:50|7:60|16:+"}), (std::vector{210, -910})) << "a member has room";
    b.run.store.ltb.NLTB = MXLTB;
    EXPECT_EQ(b.read(INPTFL, {"1:50|7:60|16:+"}), (std::vector{210, -910}));
}

TEST_F(ReportTables, FollowWhatIsRemoved) {
    ASSERT_EQ(b.read(INPPGE, {"1:80|9:OUTRA", "1:20|7:-", "1:10|7:+", "1:70|7:-", "1:60|7:=|9:SOMA", "1:60|9:SO",
                              "1:10|9:FIM", "1:20|7:+"}),
              std::vector{-910});
    ASSERT_TRUE(b.read(INPTFL, {"1:30|7:40|16:+", "1:10|7:30|16:-", "1:50|7:60|16:=|18:UM", "1:50|7:60|18:DOIS",
                                "1:40|7:50|18:TRES"})
                    .empty());
    ASSERT_TRUE(b.read(INPTBU, {"1:60", "1:10"}).empty());
    b.read(INPBUS, {"1:60|6:1"});
    EXPECT_EQ(b.store().bus.NB, 7) << b.messages();
    // A sum keeps its text with another member; its last one is added, since no card subtracts it.
    EXPECT_EQ(sums(s.pge), "1+80=OUTRA 2-20 2-70 2+10=SOMA 3+10=FIM 4+20 ");
    EXPECT_EQ(flows(), "1-10 1+30 2+40 UM TRES ");
    EXPECT_EQ(b.names(s.btb.IPBTB, s.btb.NBTB), "10 ");
    EXPECT_EQ(stray_reference(b.run.store), "");
    // The next card closes the sum that stands open, and so does a new one of flows.
    EXPECT_TRUE(b.read(INPPGE, {"1:80|7:=|9:NOVA"}).empty());
    EXPECT_EQ(sums(s.pge), "1+80=OUTRA 2-20 2-70 2+10=SOMA 3+10=FIM 4+20 4+80=NOVA ");

    b.run.opt.set("TABE"_opt);
    INICAS(b.run);
    EXPECT_EQ(s.pge.n + s.qge.n + s.btb.NBTB + s.ftb.NFTB + s.ltb.NLTB, 0);
    EXPECT_EQ(s.bus.NB, 7);
}

}  // namespace
}  // namespace korvane::testing
