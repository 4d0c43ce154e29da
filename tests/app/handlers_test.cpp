// Codes that join several folders: constants and the network, a solution and its reports, voltages read back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "frame/run.hpp"
#include "network/block_bench.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

// One slack, one generator, one load; the type of bus 1 stands in column 8.
std::string triangle(char type = '2') {
    return std::string("DBAR\n    1 L") + type +
           "  REFERENCIA    1020  0.                                           1\n"
           "    2 L1  USINA         1010      80.                                      1\n"
           "    3 L0  CARGA                                            150.  60.       1\n"
           "99999\nDLIN\n"
           "    1         2 1      1.   10.    2.\n"
           "    1         3 1      1.   10.    2.\n"
           "    2         3 1      2.   20.    4.\n"
           "99999\n";
}

TEST(PowerFlow, AnAnswerPrintsTheReportsOfItsLineWithoutIslands) {
    Session s(triangle() + "EXLF NEWT ILHA RBAR FILE\nFIM\n");
    EXPECT_EQ(s.status, 0) << s.messages();
    EXPECT_TRUE(s.run.ctl.KNTRL[16]);
    EXPECT_TRUE(shows(s.print(), "CARGA")) << "ILHA would have asked for a list first";
    EXPECT_TRUE(s.run.ctl.KNTRL[1] && s.run.ctl.KNTRL[2]);
}

TEST(PowerFlow, ANetworkThatCannotBeSolvedEndsABatchRun) {
    Session s(triangle('0') + "EXLF NEWT\nRELA RBAR\nFIM\n");
    EXPECT_EQ(s.status, 1);
    EXPECT_FALSE(s.run.ctl.KNTRL[16]);
    EXPECT_EQ(s.run.ctl.log.back().code, "EXLF");
    EXPECT_FALSE(s.numbers("PWFREF").empty()) << s.messages();
}

// DANC with BPSI: the machine that participates takes the load that was added, and the slack its losses.
TEST(PowerFlow, AChangeOfLoadIsSharedByTheMachines) {
    Session s(triangle() + "DGER\n" + card_of("1:2|16:999|23:100") + "99999\nEXLF NEWT\nDANC BPSI ACLS VABS\n" +
              card_of("1:BARR|6:3|51:180|58:60") + "99999\nEXLF NEWT\nFIM\n");
    EXPECT_EQ(s.status, 0) << s.messages();
    EXPECT_EQ(s.numbers("INPACL"), NONE);
    const Store& store = s.run.store;
    EXPECT_NEAR(store.bus.PLOAD(3), 1.8, 1e-9);
    EXPECT_NEAR(store.gen.PGEN(2), 0.8 + 0.3, 0.01) << s.messages();
}

TEST(PowerFlow, DataThatChangeTheNetworkTakeTheSolutionBack) {
    Session s(triangle() +
              "EXLF NEWT\nDBAR\n    3M                                                     180.\n99999\nFIM\n");
    EXPECT_EQ(s.status, 0) << s.messages();
    EXPECT_FALSE(s.run.ctl.KNTRL[16]);
}

TEST(ConstantsBlock, ReachesTheNetwork) {
    // impedances of 10.05, 10.05 and 20.1 per cent
    const std::pair<const char*, int> cases[] = {
        {"ZMIN 10.04", 0}, {"ZMIN 10.06", 2}, {"ZMIN 20.2 ", 3}, {"TEPA .1", 0}};
    for (const auto& [card, jumpers] : cases) {
        for (const char* again : {"", "SERV JUMP\n"}) {
            Session s(triangle() + "DCTE IMPR FILE\n" + card + "\n99999\n" + again + "FIM\n");
            EXPECT_EQ(s.status, 0) << s.messages();
            int marked = 0;
            for (int l : rows(s.store().branch.NL)) marked += s.store().branch.MARKC(l);
            EXPECT_EQ(marked, jumpers) << card;
            EXPECT_TRUE(shows(s.print(), "DCIT")) << "the table of all constants";
        }
    }
}

std::string voltage_record(std::int32_t number, double voltage, double angle) {
    std::string record(VOLTAGE_RECORD, '\0');
    std::memcpy(record.data(), &number, 4);
    std::memcpy(record.data() + 4, &voltage, 8);
    std::memcpy(record.data() + 12, &angle, 8);
    return record;
}

TEST(Voltages, AreReadBackByBusNumber) {
    const std::string file = voltage_record(3, 0.95, -0.1) + voltage_record(77, 2, 2) + voltage_record(2, 1.03, 0.2) +
                             voltage_record(1, std::nan(""), 0);
    struct Case {
        std::size_t length;
        int status;
        double v2, v3;
    };
    // a record that is not whole ends the file
    const Case cases[] = {
        {file.size(), 0, 1.03, 0.95}, {59, 0, 1.01, 0.95}, {20, 0, 1.01, 0.95}, {19, 1, 1.01, 1.0}, {0, 1, 1.01, 1.0}};
    for (const Case& c : cases) {
        Session s(triangle() + "TV0+\nFIM\n", {.prepare = [&](const TempDir& d, FakePlatform&) {
                      d.write("TENSAO.TMP", file.substr(0, c.length));
                  }});
        const Store& st = s.store();
        EXPECT_EQ(s.status, c.status) << c.length;
        EXPECT_EQ(s.numbers("SELKOD"), c.status ? std::vector<int>{100} : std::vector<int>{}) << c.length;
        ASSERT_EQ(st.bus.NB, 3);
        EXPECT_EQ(st.bus.VOLT(1), 1.02);
        EXPECT_EQ(st.bus.VOLT(2), c.v2) << c.length;
        EXPECT_EQ(st.bus.VOLT(3), c.v3) << c.length;
        EXPECT_EQ(st.bus.ANGLE(3), c.status ? 0.0 : -0.1);
        EXPECT_EQ(st.gen.VGEN(st.map.NGADR(2)), c.v2) << "what the generator holds";
    }
}

}  // namespace
}  // namespace korvane::testing
