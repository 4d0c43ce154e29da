// Lines to units, and the units at the start.
#include <gtest/gtest.h>

#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

TEST(Units, CarriageControl) {
    Session s;
    s.start();
    s.os.output.clear();
    const char* const lines[] = {" plain", "0after an empty line", "1new page", "", "xodd control"};
    for (const char* line : lines) {
        write_line(s.run, unit::console_out, line);
        write_line(s.run, role::print, line);
    }
    write_line(s.run, unit::console_out, "$prompt: ");
    write_line(s.run, unit::null, " lost");
    EXPECT_EQ(s.console(), "plain\n\nafter an empty line\n\nnew page\n\nodd control\nprompt: ");
    EXPECT_EQ(s.print(), "plain\n\nafter an empty line\n\fnew page\n\nodd control\n");
}

TEST(Units, ControlCharactersDisturbNoColumn) {
    Session s;
    s.start();
    s.os.output.clear();
    std::string all(" ");
    for (int b = 0; b < 256; ++b) all.push_back(char(b));
    write_line(s.run, unit::console_out, all);
    const std::string latin1 = latin1_from_utf8(s.console());
    ASSERT_EQ(latin1.size(), 257u);  // one column a byte, and one line end
    for (int b = 0; b < 256; ++b) {
        const bool control = b < 32 || (b >= 127 && b < 160);
        EXPECT_EQ(latin1[std::size_t(b)], control ? '.' : char(b)) << b;
    }
}

TEST(Units, CardsKeepColumnOneAtTheConsoleToo) {
    Session s;
    s.start();
    s.os.output.clear();
    s.run.units.LUN[role::cards] = unit::console_out;
    write_card(s.run, "10001 CARD");
    EXPECT_EQ(s.console(), "10001 CARD\n");
}

TEST(Units, TheEnvironmentNamesFiles) {
    const struct {
        const char* variable;
        const char* value;
        int role;
        int lun;
        const char* name;
        bool told = false;  // that the file could not be opened
    } cases[] = {
        {"KVN$DADOS", "deck.dat", role::input, 1, "deck.dat"},
        {"KVN$DADOS", "DECK.DAT", role::input, 1, "deck.dat"},
        {"KVN$DADOS", "  deck.dat ", role::input, 1, "deck.dat"},
        {"KVN$DADOS", "missing", role::input, unit::console_in, "CON", true},
        {"KVN$DADOS", "nul", role::input, unit::console_in, "CON"},
        {"KVN$DADOS", "Con", role::input, unit::console_in, "CON"},
        {"KVN$SAVCA", "old.sav", role::cases, 2, "old.sav"},
        {"KVN$SAVCA", "missing", role::cases, 2, "SAVECASE.DAT", true},  // the default, as SAVECASE.SAV is not there
        {"KVN$SAVCA", "NUL", role::cases, unit::null, "NUL"},
        {"KVN$TEMPO", "deck.dat", role::log_copy, unit::null, "NUL", true},  // the deck itself is no place for a log
        {"KVN$TEMPO", "new.log", role::log_copy, 3, "new.log"},
        {"KVN$TEMPO", "con", role::log_copy, unit::console_out, "CON"},
        {"KVN$PRINT", "No/Folder", role::print, unit::console_out, "CON", true},
        {"KVN$PRINT", "Rel.out", role::print, 4, "Rel.out"},
        {"KVN$PUNCH", "cards.out", role::cards, 7, "cards.out"},
        {"KVN$PWMOD", "missing", role::model, 8, "POWERMOD.DAT", true},
        {"KVN$FWINT", "missing", role::flow, unit::null, "NUL", true},
        {"KVN$FWINT", "old.sav", role::flow, 9, "old.sav"},
    };
    for (const auto& c : cases) {
        SessionOptions options{.print_file = false, .variables = {{"KVN$DADOS", "deck.dat"}}};
        options.variables[c.variable] = c.value;
        options.prepare = [](const testing::TempDir& dir, testing::FakePlatform&) {
            dir.write("deck.dat", "FIM\n");
            dir.write("old.sav", "");
            dir.write("SAVECASE.DAT", "");
            dir.write("POWERMOD.DAT", "");
        };
        Session s(options);
        s.start();
        const auto r = std::size_t(c.role);
        EXPECT_EQ(s.run.units.LUN[r], c.lun) << c.variable << ' ' << c.value;
        EXPECT_EQ(s.run.units.name[r], c.name) << c.variable << ' ' << c.value;
        EXPECT_EQ(s.run.units.CONINP, s.run.units.LUN[role::input] == unit::console_in);
        const bool told = s.console().find(std::string("*** ") + c.variable) != std::string::npos;
        EXPECT_EQ(told, c.told) << c.variable << ' ' << c.value;
    }
}

TEST(Units, AnExistingPrintFileIsKeptUntilTheFirstLine) {
    const SessionOptions options{.prepare = [](const testing::TempDir& dir, testing::FakePlatform&) {
        dir.write("print.out", "of yesterday\n");
    }};
    Session s(options);
    s.start();
    EXPECT_EQ(s.print(), "of yesterday\n");
    write_line(s.run, role::print, " of today");
    EXPECT_EQ(s.print(), "of today\n");
}

TEST(Units, CommitReportsAFullDiskAndTheRunEndsAbnormally) {
    if (!OutputFile("/dev/full", OutputFile::Mode::create).good()) GTEST_SKIP() << "no disk without room here";
    Session s(SessionOptions{.print_file = false, .variables = {{"KVN$PUNCH", "/dev/full"}}});
    s.start();
    write_card(s.run, "TITU");
    CONNUL(s.run);
    EXPECT_EQ(s.numbers("CONNUL"), std::vector{100});
    EXPECT_EQ(s.run.msg.printed.back().element, 7);
    EXPECT_FALSE(flush_units(s.run));
}

TEST(Units, AConsoleThatIsGoneEndsTheRun) {
    Session s("TITU\nA title\n", {.via = Via::console});  // and then no line ever again
    EXPECT_EQ(s.status, 1);
}

}  // namespace
}  // namespace korvane::testing
