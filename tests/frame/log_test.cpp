// The log of typed lines: what enters it, its marks, its copy, and that it can be replayed.
#include <gtest/gtest.h>

#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

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
