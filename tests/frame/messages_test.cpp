// Message queues, what is printed of them, and what happens to the input after errors.
#include <gtest/gtest.h>

#include "frame/run.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

std::string shown(const Run& run) {
    std::string all;
    for (const PrintedMessage& m : run.msg.printed)
        all += m.routine + ' ' + std::to_string(m.number) + (m.identification.empty() ? "" : " " + m.identification) +
               '\n';
    return all;
}

TEST(Messages, TheFortyFirstErrorPrintsTheFirstForty) {
    Session s;
    auto& run = s.start().run;
    for (int i = 1; i <= 40; ++i) MSGPUT(run, "INPBUS", i, i, element::number);
    EXPECT_TRUE(run.msg.printed.empty());
    MSGPUT(run, "INPBUS", 41);
    EXPECT_EQ(run.msg.printed.size(), 40u);
    EXPECT_EQ(run.msg.NERR, 40);
    EXPECT_TRUE(run.msg.errors_wait());
    MSGOUT(run);
    EXPECT_EQ(run.msg.printed.size(), 41u);
    EXPECT_EQ(run.msg.printed.back().number, 41);
    EXPECT_EQ(run.msg.NERR, 1);
    EXPECT_EQ(run.msg.NERQ, -1) << "that errors were seen stays visible";
    EXPECT_FALSE(run.msg.errors_wait());
    EXPECT_EQ(run.msg.NFLUSH, 2);
    for (int i = 0; i < 41; ++i) MSGPUT(run, "INPBUS", -i);
    EXPECT_EQ(run.msg.printed.size(), 81u) << "warnings have a queue of their own, of the same length";
}

TEST(Messages, EachRoutinePrintsUnderItsOwnName) {
    Session s;
    auto& run = s.start().run;
    MSGPUT(run, "INPBUS", 120);
    MSGPUT(run, "INPBUS", -900);
    MSGPUT(run, "INPBUS", 130);
    MSGPUT(run, "ADRLIN", -1);
    MSGPUT(run, "INPBUS", 140);
    MSGOUT(run);
    EXPECT_EQ(shown(run), "INPBUS 120\nINPBUS 130\nINPBUS -900\nADRLIN -1\nINPBUS 140\n") << "errors before warnings";
    EXPECT_EQ(run.msg.NERR, 1);
}

TEST(Messages, WarningsAloneAreNoErrors) {
    Session s;
    auto& run = s.start().run;
    for (int number : {0, -900}) MSGPUT(run, "INPBUS", number);
    EXPECT_FALSE(run.msg.errors_wait());
    EXPECT_TRUE(run.msg.any_wait());
    MSGOUT(run);
    EXPECT_EQ(run.msg.NERR, 0);
    EXPECT_EQ(run.msg.NFLUSH, 0);
}

// A network of one bus, one branch and one link.
ElementName small_network(const Run&, int element, int type) {
    const bool known = type == element::bus_number ? element == 101 : element == 1;
    if (!known) return {};
    switch (type) {
        case element::branch: return {true, 101, "NORTE       ", 202, "SUL         ", 3};
        case element::link: return {true, 0, "ELO 1               ", 0, {}, 0};
        default: return {true, 101, "NORTE       ", 0, {}, 0};
    }
}

TEST(Messages, TellWhatTheElementIs) {
    struct Case {
        int element, type;
        std::string identification, printed;  // "": routine and number only
    };
    const Case cases[] = {
        {0, element::bus, "", ""},
        {-3, element::branch, "", ""},
        {1, element::bus, "101 NORTE", "Barra       101 NORTE"},
        {101, element::bus_number, "101 NORTE", "Barra       101 NORTE"},
        {7, element::bus_number, "7 ?", "Barra         7 ?"},
        {1, element::branch, "101 NORTE - 202 SUL circ 3", "Circuito    101 NORTE        -   202 SUL          circ  3"},
        {1, element::link, "1 ELO 1", "Elo CC    1 ELO 1"},
        {4, element::unit, "4", "Número        4"},
        {12345, element::number, "12345", "Número    12345"},
    };
    for (const Case& c : cases) {
        Session s;
        auto& run = s.start().run;
        run.msg.identify = small_network;
        s.os.output.clear();
        MSGPUT(run, "INPLIN", 110, c.element, c.type);
        MSGOUT(run);
        EXPECT_EQ(run.msg.printed.at(0).identification, c.identification);
        EXPECT_NE(s.console().find("ERRO    INPLIN  110" + (c.printed.empty() ? "\n" : "   " + c.printed)),
                  std::string::npos)
            << s.console();
    }
}

TEST(Messages, AMessageWithoutTextIsNotLost) {
    Session s;
    auto& run = s.start().run;
    MSGPUT(run, "NOBODY", 123);
    MSGPUT(run, "SELKOD", 99);
    MSGOUT(run);
    const std::string& fixed = load_rows(run, "ERRMSG")[1].text();
    EXPECT_GT(fixed.size(), 10u);
    EXPECT_EQ(run.msg.printed.at(0).text, fixed);
    EXPECT_EQ(run.msg.printed.at(1).text, fixed);
    EXPECT_NE(MSGFND(run, "SELKOD", 130), fixed);
}

TEST(Messages, PrintingKeepsTheRowsOfTheRoutine) {
    Session s;
    auto& run = s.start().run;
    LDFORM(run, "SELKOD");
    const std::string row = run.fmt.rot(2).text();
    refuse(run, true, 100);
    refuse(run, false, 110);
    MSGOUT(run);
    EXPECT_EQ(run.fmt.rot(2).text(), row);
    EXPECT_EQ(shown(run), "SELKOD 100\n");
}

TEST(Messages, ALongTextIsBrokenBetweenWordsAndEveryLineCounts) {
    for (bool narrow : {true, false}) {
        Session s;
        auto& run = s.start().run;
        run.opt.set("80CO"_opt, narrow);
        const std::string words = "palavra outra mais uma depois destas quantas forem precisas para encher ";
        run.msg.texts["INPBUS"][7] = (words + words + words).substr(0, 200);
        run.pag.NLINE = 0;
        s.os.output.clear();
        MSGPUT(run, "INPBUS", 7);
        MSGOUT(run);
        std::size_t widest = 0, at = 0;
        int lines = 0;
        for (std::size_t end; (end = s.console().find('\n', at)) != std::string::npos; at = end + 1, ++lines)
            widest = std::max(widest, end - at);
        EXPECT_LE(widest, narrow ? 80u : 132u);
        EXPECT_EQ(run.pag.NLINE, lines);
        EXPECT_EQ(lines, narrow ? 5 : 4) << s.console();
    }
}

TEST(Messages, AStreamTellsItsLineAndItsFile) {
    Session s;
    s.start().feed("first\nsecond\nthird\n");
    std::string_view line;
    ASSERT_TRUE(read_line(s.run, line) && read_line(s.run, line));
    MSGPUT(s.run, "INPBUS", 310);
    MSGOUT(s.run);
    EXPECT_TRUE(shows(s.console(), "Linha        2 do arquivo deck.dat ***"));
    ASSERT_TRUE(read_line(s.run, line));
    EXPECT_EQ(line, "third") << "input goes on where it was";
}

TEST(Interr, DecidesByInputAndByWhoIsThere) {
    enum class From { console, stream, nested };
    enum class Then { stays, console, outer, stops };
    struct Case {
        From from;
        bool batch, errors;
        Then then;
    };
    const Case cases[] = {
        {From::console, false, true, Then::stays},  {From::console, true, true, Then::stops},
        {From::stream, false, true, Then::console}, {From::stream, true, true, Then::stops},
        {From::nested, false, true, Then::console}, {From::nested, false, false, Then::outer},
        {From::nested, true, false, Then::outer},   {From::nested, true, true, Then::stops},
    };
    for (const Case& c : cases) {
        Session s;
        auto& run = s.start().run;
        if (c.from != From::console) s.feed("outer\n");
        if (c.from == From::nested) {
            s.dir.write("inner.dat", "inner\n");
            run.units.nested = std::make_unique<TextSource>();
            run.units.nested->open("inner.dat");
            run.units.LUN[role::input] = unit::nested_input;
        }
        run.units.BATCHI = c.batch;
        run.msg.NERR = c.errors;
        Then then = Then::stays;
        try {
            INTERR(run);
            std::string_view line;
            if (run.units.CONINP) then = c.from == From::console ? Then::stays : Then::console;
            if (!run.units.CONINP && read_line(run, line) && line == "outer") then = Then::outer;
        } catch (const RunStop& stop) {
            then = Then::stops;
            EXPECT_EQ(stop.status, 1);
        }
        EXPECT_EQ(int(then), int(c.then)) << int(c.from) << c.batch << c.errors;
    }
}

TEST(Ldform, ABlockThatCannotBeUsedStopsTheRunWithItsMessage) {
    std::vector<CatalogueRow> many;
    for (int i = 1; i <= Formats::ROWS + 1; ++i) many.push_back({i, "(A)"});
    CatalogueVersion version;
    version.stamp = PROGRAM_STAMP;
    const std::string blocks = Catalogue::build(
        {{"BEHIND", {{1, "(A)"}, {Formats::ROWS + 1, "(A)"}}}, {"BEFORE", {{0, "(A)"}}}, {"MANY", many}}, version);
    for (const auto& [name, number] :
         std::map<std::string, int>{{"ABSENT", 120}, {"BEHIND", 100}, {"BEFORE", 100}, {"MANY", 110}}) {
        Session s;
        s.start();
        load_rows(s.run, "ERROID");
        load_rows(s.run, "ERRMSG");
        ASSERT_EQ(s.run.fmt.file.open_bytes(blocks), CatalogueFault::none);
        try {
            LDFORM(s.run, name);
            ADD_FAILURE() << name;
        } catch (const RunStop& stop) {
            EXPECT_EQ(stop.text, "FORMATO");
        }
        EXPECT_EQ(shown(s.run), "LDFORM " + std::to_string(number) + "\n");
    }
}

}  // namespace
}  // namespace korvane::testing
