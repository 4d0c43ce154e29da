// Tables of the tabular reports: voltage bands (DBTB), sums of generation (DPGE, DQGE) and of flows (DFTB); what
// reports show (DREL, DBRE); the comment of the case (DCMT).
#include "network/case_comment.hpp"
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
    expect_messages(b, INPTBU, R"(
        7:.9|13:1.1 -> 100; 1:99 -> 110; 1:10|7:0.|13:1.1 -> 120; 1:10|7:.9 -> 120; 1:10|7:1.1|13:.9 -> 130
        1:1.5 -> 150; 1:30|7:.9|13:.9 ->; 1:10 ->)");
    EXPECT_EQ(b.names(s.btb.IPBTB, s.btb.NBTB), "30 10 ");
    EXPECT_EQ(s.btb.VMXBTB(1), 0.9);
    EXPECT_EQ(s.btb.VMNBTB(2), 0);
    EXPECT_EQ(b.last_without_end(INPTBU), 160);
    b.run.store.btb.NBTB = MXBTB;
    EXPECT_EQ(b.read(INPTBU, {"1:10"}), std::vector{140});
}

TEST_F(ReportTables, SumsOfGeneration) {
    for (Reader block : {INPPGE, INPQGE}) {
        expect_messages(b, block, R"(
            7:= -> 100; 1:99|7:= -> 105; 1:10|7:* -> 110; 1:1x|7:= -> 150; 1:10|7:+|9:TEXTO -> -205 -910
            1:20|7:- -> -910; 1:60|9:UM -> 120 -910; 1:60|7:,|9:UM ->; 1:30|9:DOIS -> -900)");
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
    expect_messages(b, INPTFL, R"(
        7:30|16:= -> 100; 1:10|16:= -> 110; 1:10|7:30|13:-1 -> 120; 1:10|7:30|13:0 -> 130; 1:99|7:30 -> 140
        1:10|7:99 -> 150; 1:10|7:10 -> 160; 1:10|7:60 -> 170; 1:10|7:30|43:x -> 180; 1:10|7:30|16:x -> 190
        1:1x|7:30 -> 220; 1:30|7:10|13:2|16:-|18:TEXTO -> -205 -910; 1:10|7:30|16:+|45:100 -> -205 -910
        1:30|7:40 -> 200 -910; 1:30|7:40|16:=|18:CORTE NORTE|30:SUL|43:*|45:500. ->
        1:50|7:60|18:SO|45:1.|50:2.|75:7. ->)");
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
    ASSERT_EQ(b.read(INPTFL, {"1:30|7:40|16:+", "1:10|7:30|16:-", "1:50|7:60|16:=|18:UM", "1:50|7:60|18:DOIS",
                              "1:40|7:50|18:TRES"}),
              NONE);
    ASSERT_EQ(b.read(INPTBU, {"1:60", "1:10"}), NONE);
    b.read(INPBUS, {"1:60|6:1"});
    EXPECT_EQ(b.store().bus.NB, 7) << b.messages();
    // A sum keeps its text with another member; its last one is added, since no card subtracts it.
    EXPECT_EQ(sums(s.pge), "1+80=OUTRA 2-20 2-70 2+10=SOMA 3+10=FIM 4+20 ");
    EXPECT_EQ(flows(), "1-10 1+30 2+40 UM TRES ");
    EXPECT_EQ(b.names(s.btb.IPBTB, s.btb.NBTB), "10 ");
    EXPECT_EQ(stray_reference(b.run.store), "");
    // The next card closes the sum that stands open, and so does a new one of flows.
    EXPECT_EQ(b.read(INPPGE, {"1:80|7:=|9:NOVA"}), NONE);
    EXPECT_EQ(sums(s.pge), "1+80=OUTRA 2-20 2-70 2+10=SOMA 3+10=FIM 4+20 4+80=NOVA ");

    b.run.opt.set("TABE"_opt);
    INICAS(b.run);
    EXPECT_EQ(s.pge.n + s.qge.n + s.btb.NBTB + s.ftb.NFTB + s.ltb.NLTB, 0);
    EXPECT_EQ(s.bus.NB, 7);
}

// --- what reports show, and the comment of the case

class ReportSelection : public ::testing::Test {
protected:
    ControlBench b;
    Store& s = b.run.store;

    std::string hidden() const {
        std::string all;
        for (int k : rows(s.bus.NB))
            if (!s.bus.BUSSEL(k)) all += std::to_string(s.bus.NOINT(k)) + ' ';
        for (int l : rows(s.branch.NL))
            if (!s.branch.LINSEL(l)) all += "branch " + std::to_string(l) + ' ';
        for (int a : rows(s.area.NAREA))
            if (!s.area.ARESEL(a)) all += "area " + std::to_string(s.area.NAINT(a)) + ' ';
        return all;
    }
};

TEST_F(ReportSelection, ByBusesAndBranches) {
    expect_messages(b, INPREL, R"(
        1:NADA|6:AREA|11:1 -> 100; 6:AREA|11:1 -> 100; 1:SUPR|6:AREA|11:7 -> 811; 1:SUPR|6:AREA|11:x -> 140
        1:IMPR|6:AREA|11:1 -> -900)");
    EXPECT_EQ(b.run.ctl.returned[0], 0);
    EXPECT_EQ(b.read(INPREL, {"1:supr|6:barr|11:10|17:A|19:BARR|24:30"}), NONE);
    EXPECT_EQ(hidden(), "10 20 30 area 1 ");
    EXPECT_EQ(b.run.ctl.returned[0], 1);
    EXPECT_EQ(b.read(INPREL, {"1:SUPR|6:BARR|11:30"}), std::vector{-900}) << "out already";
    EXPECT_EQ(b.read(INPREL, {"1:IMPR|6:BARR|11:20|30:E|32:BARR|37:30"}), NONE);
    EXPECT_EQ(hidden(), "10 ") << "one bus keeps its area";
    s.agr.count(4) = 1;
    s.agr.NIDGAG(4)(1) = 8;
    s.branch.IAGRCIR(2)(4) = 1;
    EXPECT_EQ(b.read(INPREL, {"1:SUPR|6:BARR|11:10|30:E|32:AGR4|37:8"}), NONE);
    EXPECT_EQ(hidden(), "10 branch 2 ");
    EXPECT_EQ(b.last_without_end(INPREL), 150);
    b.run.opt.set("ELIM"_opt);
    b.feed("");
    INPREL(b.run);
    EXPECT_EQ(hidden(), "");
    EXPECT_EQ(b.run.ctl.returned[0], 0);
}

TEST_F(ReportSelection, ByAreas) {
    s.area.ARNAME(2) = "Nordeste";
    expect_messages(b, INPBRE, "1:-1 -> 100; 1:9 -> 110; 1:1|5:x -> 130; 5:1|77:7|73:0 -> 110");
    EXPECT_EQ(hidden(), "area 1 ") << "numbers that are right apply";
    b.run.opt.set("IMPR"_opt);
    EXPECT_EQ(b.read(INPBRE, {"77:2"}), NONE);
    EXPECT_EQ(hidden(), "area 2 ") << "the block starts from all areas";
    EXPECT_NE((b.console() + b.print()).find("2  Nordeste"), std::string::npos);
    EXPECT_EQ(b.last_without_end(INPBRE), 120);
}

TEST_F(ReportSelection, CommentOfTheCase) {
    const auto comment = [&] { return std::string(s.comment.text.data(), std::size_t(s.comment.length)); };
    const auto padded = [](std::string text) { return text.append(80 - text.size(), ' '); };
    EXPECT_EQ(b.read(INPCMT, "Caso de ponta \n\n( comentario do deck\nde 2030\n"), NONE);
    EXPECT_EQ(comment(), padded("Caso de ponta") + padded("de 2030"));
    EXPECT_EQ(b.read(INPCMT, ""), NONE);
    EXPECT_EQ(s.comment.length, 160) << "no text: it stays";
    // A line of 81 columns takes two rows. The row that looks like the end of a block is written behind its line.
    const std::string text = std::string(80, 'x') + "99999\nfim\n" + std::string(100, ' ') + "y\n";
    EXPECT_EQ(b.read(INPCMT, text), NONE);
    const std::string before = comment();
    EXPECT_EQ(before.size(), 400u);
    std::string written;
    for (const std::string& line : comment_lines(s)) written += line + '\n';
    EXPECT_EQ(written, text);
    EXPECT_EQ(b.read(INPCMT, written), NONE);
    EXPECT_EQ(comment(), before);
    // What fits is kept, line by line.
    std::string lines;
    for (int i = 0; i < 18; ++i) lines += "linha " + std::to_string(i) + '\n';
    EXPECT_EQ(b.read(INPCMT, lines + std::string(81, 'z') + "\nultima\nmais uma\n"), (std::vector{-900, -900}));
    EXPECT_EQ(s.comment.length, MXCMT);
    EXPECT_EQ(comment().substr(18 * 80), padded("ultima"));
    EXPECT_EQ(b.last_without_end(INPCMT), 140);
}

TEST(ReportSelectionCode, AtTheConsoleWrongLinesStopNothing) {
    const Session s("DBAR\n" + card_of("1:1|74:1") + card_of("1:2|74:1") + "99999\nDREL\nNADA BARR     1\n" +
                        "SUPR BARR     1\n99999\nDCMT\n?\ntexto\n99999\nFIM\n",
                    {.via = Via::console});
    EXPECT_EQ(s.numbers("INPREL"), std::vector{100}) << s.messages();
    EXPECT_FALSE(s.store().bus.BUSSEL(1));
    EXPECT_TRUE(s.run.ctl.KNTRL[7]);
    EXPECT_EQ(s.numbers("INPCMT"), std::vector{130});
    EXPECT_EQ(std::string_view(s.store().comment.text.data(), 5), "texto");
    EXPECT_EQ(s.store().comment.length, 80);
}

}  // namespace
}  // namespace korvane::testing
