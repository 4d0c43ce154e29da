// ULOG: what each unit takes, and how streams nest.
#include <gtest/gtest.h>

#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

std::string ulog(const std::string& unit, const std::string& name) { return "ULOG\n" + unit + "\n" + name + "\n"; }

TEST(Ulog, EachUnitTakesWhatItsRoleAllows) {
    const struct {
        const char* unit;
        const char* file;
        std::vector<int> messages;
        int role, lun;
        const char* name;
    } cases[] = {
        {" 2", "", {}, 2, 2, "SAVECASE.SAV"},
        {"2", "old.sav", {}, 2, 2, "old.sav"},
        {"2 ", "OLD.SAV", {}, 2, 2, "old.sav"},  // an existing file, in another case
        {" 2", "New.Sav", {}, 2, 2, "New.Sav"},  // a new one, as typed
        {" 2", "nul", {}, 2, unit::null, "NUL"},
        {" 2", "CON", {210, 230}, 2, unit::null, "NUL"},
        {" 2", "no/folder.sav", {190, 230}, 2, unit::null, "NUL"},
        {" 2", "deck.dat", {180, 230}, 2, unit::null, "NUL"},  // the deck being read
        {" 3", "", {}, 3, unit::null, "NUL"},
        {" 3", "log.txt", {}, 3, 3, "log.txt"},
        {" 3", "no/log.txt", {190, 230}, 3, unit::null, "NUL"},
        {" 4", "", {}, 4, unit::console_out, "CON"},
        {" 4", "nul", {}, 4, unit::null, "NUL"},
        {" 4", "\"my report.out\"", {}, 4, 4, "my report.out"},
        {" 4", "   blanks around   ", {}, 4, 4, "blanks around"},
        {" 4", "OLD.SAV", {}, 4, 4, "OLD.SAV"},  // never overwrites a file of another name
        {" 4", "deck.dat", {190, 230}, 4, unit::console_out, "CON"},
        {" 4", "no/folder", {190, 230}, 4, unit::console_out, "CON"},
        {" 7", "", {}, 7, unit::null, "NUL"},
        {" 7", "con", {}, 7, unit::console_out, "CON"},
        {" 7", "cards.out", {}, 7, 7, "cards.out"},
        {" 8", "", {}, 8, 8, "POWERMOD.DAT"},
        {" 8", "old.sav", {}, 8, 8, "old.sav"},
        {" 9", "", {}, 9, unit::null, "NUL"},
        {" 9", "fluxo.bin", {}, 9, 9, "fluxo.bin"},
        {" 1", "NUL", {210, 230}, 1, 1, "deck.dat"},
        {" 1", "missing", {170, 230}, 1, 1, "deck.dat"},
        {" 5", "x", {210, 230}, 5, 5, "CON"},
        {" 6", "x", {210, 230}, 6, 6, "CON"},
        {"10", "x", {200, 230}, 4, 4, "print.out"},
        {"-1", "x", {200, 230}, 4, 4, "print.out"},
        {"x4", "x", {200, 230}, 4, 4, "print.out"},
        {" 0", "", {}, 4, 4, "print.out"},  // nothing is assigned
        {"(a comment\n 4", "rel.out", {}, 4, 4, "rel.out"},
    };
    for (const auto& c : cases) {
        const SessionOptions options{.prepare = [](const TempDir& dir, FakePlatform&) { dir.write("old.sav", "x"); }};
        const std::string name = std::string(c.unit) == " 0" ? "" : std::string(c.file) + "\n";
        const Session s("ULOG\n" + std::string(c.unit) + "\n" + name + "FIM\n", options);
        const std::string what = std::string(c.unit) + " \"" + c.file + "\": " + s.messages();
        EXPECT_EQ(s.numbers("IOFILE"), c.messages) << what;
        EXPECT_EQ(s.status, c.messages.empty() ? 0 : 1) << what;
        EXPECT_EQ(s.run.units.LUN[std::size_t(c.role)], c.lun) << what;
        EXPECT_EQ(s.run.units.name[std::size_t(c.role)], c.name) << what;
        EXPECT_EQ(s.dir.read("old.sav"), "x") << what;  // opened, never emptied
    }
}

TEST(Ulog, AnInputThatEndsEarlyIsToldOnce) {
    for (const char* deck : {"ULOG\n", "ULOG\n 4\n", "ULOG\n(only a comment\n"}) {
        const Session s(deck);
        EXPECT_EQ(s.messages(), "IOFILE 230") << deck;
        EXPECT_EQ(s.status, 1);
    }
}

TEST(Ulog, OneLineAssignsOneUnit) {
    const Session s("ULOG\n 4\na.out\nTITU\nA title\nFIM\n");
    EXPECT_EQ(s.messages(), "");
    EXPECT_EQ(s.run.TITLE.trimmed(), "A title");
}

TEST(Ulog, AnAssignmentShowsTheTableOfUnits) {
    const Session s(ulog(" 7", "cartões.out") + "FIM\n");
    const std::string& out = s.console();
    const auto second = out.rfind("Unidades lógicas");
    EXPECT_NE(out.find("Unidades lógicas"), second) << "once at the start, once after the assignment";
    EXPECT_NE(out.find("cartões.out", second), std::string::npos);
    EXPECT_TRUE(s.dir.has("cartões.out"));
}

TEST(Ulog, StreamsNestTwoDeep) {
    const auto title = [](const char* text) { return std::string("TITU\n") + text + "\n"; };
    const SessionOptions options{.prepare = [&](const TempDir& dir, FakePlatform&) {
        dir.write("inner", title("of the inner stream") + "FIM\n");
        dir.write("third", ulog(" 1", "inner") + "FIM\n");
    }};
    {
        const Session s(ulog("1", "inner") + "FIM\n", options);  // FIM goes back to the outer stream
        EXPECT_EQ(s.messages(), "");
        EXPECT_EQ(s.status, 0);
        EXPECT_EQ(s.run.TITLE.trimmed(), "of the inner stream");
        EXPECT_EQ(s.run.units.name[role::input], "deck.dat");
    }
    {
        const Session s(ulog("1", "inner") + title("back outside") + "FIM\n", options);
        EXPECT_EQ(s.run.TITLE.trimmed(), "back outside");
        EXPECT_EQ(s.stop, " Termino Normal");
    }
    {
        const Session s(ulog("1", "inner") + ulog("1", "INNER") + "FIM\n", options);  // one after the other
        EXPECT_EQ(s.messages(), "");
    }
    {
        const Session s(ulog("1", "third") + title("never read") + "FIM\n", options);
        EXPECT_EQ(s.numbers("IOFILE"), (std::vector{190, 230}));
        EXPECT_EQ(s.status, 1);
        EXPECT_TRUE(s.run.TITLE.blank());
    }
}

TEST(Ulog, InputGoesBackToTheConsole) {
    const SessionOptions options{.prepare = [](const TempDir&, FakePlatform& os) { os.type("TITU\ntyped\nFIM"); }};
    const Session s(ulog(" 1", "CON") + "TITU\nnever read\nFIM\n", options);
    EXPECT_EQ(s.messages(), "");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.run.TITLE.trimmed(), "typed");
}

TEST(Ulog, APersonIsAskedAgainAfterAMistake) {
    const Session s("ULOG\n99\n 1\nmissing\n 4\nrel.out\n\nFIM\n", {.via = Via::console});
    EXPECT_EQ(s.numbers("IOFILE"), (std::vector{200, 170}));
    EXPECT_EQ(s.run.units.name[role::print], "rel.out");
    EXPECT_NE(s.console().find("Unidade lógica (1 a 9, 0 encerra): "), std::string::npos);
}

TEST(Ulog, ADeckOnStandardInputIsReadWithoutPrompts) {
    const Session s(ulog(" 7", "c.out") + "FIM\n", {.via = Via::standard_input});
    EXPECT_EQ(s.messages(), "");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.run.units.name[role::cards], "c.out");
    EXPECT_EQ(s.console().find(": \n"), std::string::npos);
    EXPECT_EQ(s.console().find("0 encerra"), std::string::npos);
}

}  // namespace
}  // namespace korvane::testing
