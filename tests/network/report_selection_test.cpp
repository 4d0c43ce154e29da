// DREL and DBRE: what reports show. DCMT: the comment of the case.
#include "network/case_comment.hpp"
#include "network/control_bench.hpp"

namespace korvane::testing {
namespace {

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
    expect_messages(b, INPREL,
                    {{"1:NADA|6:AREA|11:1", {100}},
                     {"6:AREA|11:1", {100}},
                     {"1:SUPR|6:AREA|11:7", {811}},
                     {"1:SUPR|6:AREA|11:x", {140}},
                     {"1:IMPR|6:AREA|11:1", {-900}}});
    EXPECT_EQ(b.run.ctl.returned[0], 0);
    EXPECT_TRUE(b.read(INPREL, {"1:supr|6:barr|11:10|17:A|19:BARR|24:30"}).empty()) << b.messages();
    EXPECT_EQ(hidden(), "10 20 30 area 1 ");
    EXPECT_EQ(b.run.ctl.returned[0], 1);
    EXPECT_EQ(b.read(INPREL, {"1:SUPR|6:BARR|11:30"}), std::vector{-900}) << "out already";
    EXPECT_TRUE(b.read(INPREL, {"1:IMPR|6:BARR|11:20|30:E|32:BARR|37:30"}).empty()) << b.messages();
    EXPECT_EQ(hidden(), "10 ") << "one bus keeps its area";
    s.agr.count(4) = 1;
    s.agr.NIDGAG(4)(1) = 8;
    s.branch.IAGRCIR(2)(4) = 1;
    EXPECT_TRUE(b.read(INPREL, {"1:SUPR|6:BARR|11:10|30:E|32:AGR4|37:8"}).empty()) << b.messages();
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
    expect_messages(b, INPBRE, {{"1:-1", {100}}, {"1:9", {110}}, {"1:1|5:x", {130}}, {"5:1|77:7|73:0", {110}}});
    EXPECT_EQ(hidden(), "area 1 ") << "numbers that are right apply";
    b.run.opt.set("IMPR"_opt);
    EXPECT_TRUE(b.read(INPBRE, {"77:2"}).empty());
    EXPECT_EQ(hidden(), "area 2 ") << "the block starts from all areas";
    EXPECT_NE((b.console() + b.print()).find("2  Nordeste"), std::string::npos);
    EXPECT_EQ(b.last_without_end(INPBRE), 120);
}

TEST_F(ReportSelection, CommentOfTheCase) {
    const auto comment = [&] { return std::string(s.comment.text.data(), std::size_t(s.comment.length)); };
    const auto padded = [](std::string text) { return text.append(80 - text.size(), ' '); };
    EXPECT_TRUE(b.read(INPCMT, "Caso de ponta \n\n( comentario do deck\nde 2030\n").empty()) << b.messages();
    EXPECT_EQ(comment(), padded("Caso de ponta") + padded("de 2030"));
    EXPECT_TRUE(b.read(INPCMT, "").empty());
    EXPECT_EQ(s.comment.length, 160) << "no text: it stays";
    // A line of 81 columns takes two rows. The row that looks like the end of a block is written behind its line.
    const std::string text = std::string(80, 'x') + "99999\nfim\n" + std::string(100, ' ') + "y\n";
    EXPECT_TRUE(b.read(INPCMT, text).empty());
    const std::string before = comment();
    EXPECT_EQ(before.size(), 400u);
    std::string written;
    for (const std::string& line : comment_lines(s)) written += line + '\n';
    EXPECT_EQ(written, text);
    EXPECT_TRUE(b.read(INPCMT, written).empty());
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
