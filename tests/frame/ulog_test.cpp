// ULOG: what each unit takes, and how streams nest. LOGD, LOGL, CLOG: the log.
#include <gtest/gtest.h>

#include "support/expect.hpp"
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
    EXPECT_TRUE(shows(s.console(), "Unidade lógica (1 a 9, 0 encerra): "));
}

TEST(Ulog, ADeckOnStandardInputIsReadWithoutPrompts) {
    const Session s(ulog(" 7", "c.out") + "FIM\n", {.via = Via::standard_input});
    EXPECT_EQ(s.messages(), "");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.run.units.name[role::cards], "c.out");
    EXPECT_FALSE(shows(s.console(), ": \n"));
    EXPECT_FALSE(shows(s.console(), "0 encerra"));
}

// --- the log of typed lines: what enters it, its marks, its copy, and that it can be replayed

constexpr const char* MARK = "(###############################\n";

std::string logon() { return std::string(MARK) + "(# Logon : 03/02/2001 04:05:06\n" + MARK; }
std::string logoff() { return "FIM\n" + std::string(MARK) + "(# Logoff: 03/02/2001 04:05:06\n" + MARK; }

const SessionOptions TYPED{.via = Via::standard_input};

TEST(Log, HoldsTheTypedLinesBetweenItsMarks) {
    const Session s(
        "LOGD\nLOGD\n(a comment\ntitu\nAn electric title, ação\nRELA\nDCTE\n(a card\nTEPA 0.01\n99999\nLOGL\nLOGL\n"
        "FIM\n",
        TYPED);
    EXPECT_EQ(s.messages(), "");
    EXPECT_EQ(s.dir.read("KORVANE.LOG"),
              logon() + "(a comment\nTITU\nAn electric title, ação\nDCTE\nTEPA 0.01\n99999\n" + logoff());
    EXPECT_FALSE(s.run.units.LOGON);
}

TEST(Log, ReplaysAsAStream) {
    const Session first("LOGD\nTITU\nReplayed title\nDCTE\nTEPA  0.01\n99999\nLOGL\nFIM\n", TYPED);
    const Session second(first.dir.read("KORVANE.LOG"));
    EXPECT_EQ(second.messages(), "");
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.run.TITLE, first.run.TITLE);
    EXPECT_EQ(second.run.cte.TEPA, first.run.cte.TEPA);
}

TEST(Log, LinesOfAStreamDoNotEnter) {
    const Session s("LOGD\nTITU\nA title\nFIM\n");
    EXPECT_EQ(s.dir.read("KORVANE.LOG"), logon());
}

TEST(Log, GoesToUnit3WhenThatIsAFile) {
    const Session s("ULOG\n 3\nmine.log\nLOGD\nTITU\nA title\nLOGL\nFIM\n",
                    {.via = Via::standard_input,
                     .prepare = [](const TempDir& dir, FakePlatform&) { dir.write("mine.log", "(older\n"); }});
    EXPECT_EQ(s.dir.read("mine.log"), "(older\n" + logon() + "TITU\nA title\n" + logoff());
    EXPECT_FALSE(s.dir.has("KORVANE.LOG"));
}

TEST(Log, CopyGoesOnInUnit3) {
    const Session s("LOGD\nTITU\nfirst\nULOG\n 3\ncopy.log\nCLOG\nTITU\nsecond\nCLOG\nLOGL\nFIM\n", TYPED);
    EXPECT_EQ(s.messages(), "");
    EXPECT_EQ(s.dir.read("copy.log"), logon() + "TITU\nfirst\nULOG\n 3\ncopy.log\n" + "TITU\nsecond\n" + logoff());
    EXPECT_EQ(s.dir.read("KORVANE.LOG"), logon() + "TITU\nfirst\nULOG\n 3\ncopy.log\n");
}

TEST(Log, CopyIsRefusedWithoutALogOrATarget) {
    EXPECT_EQ(Session("CLOG\nFIM\n", TYPED).messages(), "CPYLOG 110");
    EXPECT_EQ(Session("LOGD\nCLOG\nFIM\n", TYPED).messages(), "CPYLOG 100");
}

TEST(Log, CopyOfALogThatWasTakenAwayIsRefused) {
    const Session s("LOGD\nULOG\n 3\ncopy.log\nDOSC\nrm KORVANE.LOG\n99999\nCLOG\nFIM\n",
                    {.via = Via::standard_input, .prepare = [](const TempDir&, FakePlatform& os) {
                         os.on_command = [](const std::string&) { return std::remove("KORVANE.LOG"); };
                     }});
    EXPECT_EQ(s.messages(), "CPYLOG 120");
    EXPECT_TRUE(s.run.units.LOGON);
}

TEST(Log, FollowsUnit3ToAnotherFile) {
    const Session s("ULOG\n 3\na.log\nLOGD\nTITU\none\nULOG\n 3\nb.log\nTITU\ntwo\nLOGL\nFIM\n", TYPED);
    EXPECT_EQ(s.dir.read("a.log"), logon() + "TITU\none\nULOG\n 3\nb.log\n" + logoff());
    EXPECT_EQ(s.dir.read("b.log"), logon() + "TITU\ntwo\n" + logoff());
}

TEST(Log, AFileInUseIsRefused) {
    const Session s("LOGD\nFIM\n", {.print_file = false, .variables = {{"KVN$PRINT", "KORVANE.LOG"}}});
    EXPECT_EQ(s.messages(), "LOGCTL 100");
    EXPECT_FALSE(s.run.units.LOGON);
}

}  // namespace
}  // namespace korvane::testing
