// DOSC, DOS and DMSG.
#include <gtest/gtest.h>

#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

/// A shell that answers every command with two lines.
SessionOptions with_shell(Via via = Via::environment) {
    return {.via = via, .prepare = [](const TempDir& dir, FakePlatform& os) {
                os.on_command = [&](const std::string& command) {
                    if (command.find("> DOS.OUT") != std::string::npos)
                        dir.write("DOS.OUT", "first line\nsecond ção\n");
                    return 0;
                };
            }};
}

TEST(SystemCommands, OutputGoesToTheReportAndTheFileIsRemoved) {
    const Session s("DOSC\n(a comment\n\nls -l  # all files\ncmd /c date\n99999\nFIM\n", with_shell());
    EXPECT_EQ(s.messages(), "");
    ASSERT_EQ(s.os.commands.size(), 2u);
    EXPECT_EQ(s.os.commands[0], "( ls -l  # all files\n) > DOS.OUT 2>&1 < /dev/null");
    EXPECT_EQ(s.os.commands[1], "( date\n) < /dev/null");
    const auto first = s.console().find("first line\nsecond ção\n");
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(s.console().find("first line", first + 1), std::string::npos)
        << "a CMD line prints nothing into the report";
    EXPECT_FALSE(s.dir.has("DOS.OUT"));
}

TEST(SystemCommands, OutputGoesToThePrintFileWithFile) {
    const Session s("DOSC FILE\nls\n99999\nFIM\n", with_shell());
    EXPECT_TRUE(shows(s.print(), "first line\nsecond ção\n"));
}

TEST(SystemCommands, AnInputThatEndsEarlyIsToldOnce) {
    const Session s("DOSC\nls\n", with_shell());
    EXPECT_EQ(s.messages(), "INPCMD 120");
    EXPECT_EQ(s.status, 1);
    EXPECT_EQ(s.os.commands.size(), 1u);
}

TEST(SystemCommands, ACommandThatCannotStartIsTold) {
    const Session s("DOSC\nls\n99999\nFIM\n", {.prepare = [](const TempDir&, FakePlatform& os) {
                        os.on_command = [](const std::string&) { return -1; };
                    }});
    EXPECT_EQ(s.messages(), "INPCMD 100");
}

TEST(SystemCommands, AShellForTheOperator) {
    SessionOptions options = with_shell(Via::console);
    options.variables = {{"SHELL", "/bin/o'shell"}, {"PS1", "% "}};
    const Session s("DOS\nFIM\n", options);
    EXPECT_EQ(s.messages(), "");
    ASSERT_EQ(s.os.commands.size(), 1u);
    EXPECT_EQ(s.os.commands[0], "PS1='[korvane] % ' '/bin/o'\\''shell'");
    const auto banner = s.console().find("KORVANE");
    EXPECT_NE(s.console().find("KORVANE", banner + 200), std::string::npos) << "the banner is shown again";
}

TEST(SystemCommands, AShellThatIsNotThere) {
    const Session s("DOS\nFIM\n", {.prepare = [](const TempDir&, FakePlatform& os) {
                        os.on_command = [](const std::string&) { return 127; };
                    }});
    EXPECT_EQ(s.messages(), "DOSCMD 100");
    EXPECT_EQ(s.os.commands[0], "PS1='[korvane] $ ' '/bin/sh' < /dev/null");  // the deck is no input of the shell
}

TEST(MessageBox, ALineOfTheDeckIsShown) {
    for (const bool boxes : {true, false}) {
        const Session s("DMSG\n(olá, operação\nFIM\n",
                        {.prepare = [=](const TempDir&, FakePlatform& os) { os.has_boxes = boxes; }});
        EXPECT_EQ(s.messages(), "");
        EXPECT_EQ(s.os.boxes, boxes ? std::vector<std::string>{"(olá, operação"} : std::vector<std::string>{});
        EXPECT_EQ(!bool(shows(s.console(), "*** (olá, operação\n")), boxes);
    }
    EXPECT_EQ(Session("DMSG\n").messages(), "INPMSG 100");
}

TEST(Colours, TheSetIsKept) {
    const Session s("CONC CNF3\nCONC\nFIM\n");
    EXPECT_EQ(s.run.ctl.colour_set, 3);
    EXPECT_NE(s.run.ctl.colours, (std::array<int, 4>{}));
}

}  // namespace
}  // namespace korvane::testing
