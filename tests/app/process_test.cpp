// The program as the operator starts it: one process, a deck, an exit status.
#include <gtest/gtest.h>

#include "platform/files.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

TEST(Process, EveryWayAndShapeOfADeckEndsWithAMessageAndAStatus) {
    std::string every_byte;
    for (int b = 0; b < 256; ++b) every_byte.push_back(char(b));
    const struct {
        const char* what;
        std::string deck;
        int status;
        const char* shows;
    } cases[] = {
        {"plain", "TITU\nA title\nFIM\n", 0, "Termino Normal"},
        {"CR LF", "TITU\r\nA title\r\nFIM\r\n", 0, "Termino Normal"},
        {"CR", "TITU\rA title\rFIM\r", 0, "Termino Normal"},
        {"byte-order mark", "\xEF\xBB\xBFTITU\nA title\nFIM\n", 0, "Termino Normal"},
        {"no last line end", "TITU\nA title\nFIM", 0, "Termino Normal"},
        {"no FIM", "TITU\nA title\n", 1, "SELKOD"},
        {"no bytes", "", 1, "SELKOD"},
        {"only line ends", "\n\n\r\n\r", 1, "SELKOD"},
        {"an unknown code", "XPTO\nFIM\n", 1, "SELKOD"},
        {"a long line", std::string(10000, 'X') + "\nFIM\n", 1, "SELKOD"},
        {"a long title", "TITU\n" + std::string(10000, 'X') + "\nFIM\n", 0, "INPTIT"},
        {"every byte", every_byte, 1, "SELKOD"},
        {"every byte in a block", "DBAR\n" + every_byte + "\n99999\nFIM\n", 1, "INPBUS"},
        {"zeroes", std::string(100000, '\0'), 1, "SELKOD"},
        {"a refusal", "EXLF\nFIM\n", 1, "KORVAN"},
    };
    const TempDir dir;
    for (const auto& c : cases) {
        const auto typed = run_korvane({}, c.deck);
        EXPECT_EQ(typed.status, c.status) << c.what << " on standard input:\n" << typed.output << typed.errors;
        EXPECT_NE(typed.output.find(c.shows), std::string::npos) << c.what << " on standard input:\n" << typed.output;

        dir.write("deck.dat", c.deck);
        const auto named = run_korvane({}, "", {{"KVN$DADOS", "deck.dat"}});
        EXPECT_EQ(named.status, c.status) << c.what << " by name:\n" << named.output << named.errors;
        EXPECT_NE(named.output.find(c.shows), std::string::npos) << c.what << " by name:\n" << named.output;
    }
    EXPECT_EQ(dir.files(), std::vector<std::string>{"deck.dat"});
}

TEST(Process, TheSameDeckGivesTheSameBytes) {
    const TempDir dir;
    dir.write("deck.dat", "TITU\nA title\nDCTE IMPR\nTEPA  0.01\n99999\nRELA RCTE ROPC FILE\nFIM\n");
    std::string console, print;
    for (const int pass : {1, 2}) {
        const auto r = run_korvane({}, "", {{"KVN$DADOS", "deck.dat"}, {"KVN$PRINT", "rel.out"}});
        EXPECT_EQ(r.status, 0) << r.output;
        EXPECT_EQ(r.errors, "");
        if (pass == 2) {
            EXPECT_EQ(r.output, console);
            EXPECT_EQ(dir.read("rel.out"), print);
        }
        console = r.output;
        print = dir.read("rel.out");
    }
    EXPECT_FALSE(print.empty());
}

TEST(Process, ADeckThatIsNotThereIsTold) {
    const auto r = run_korvane({}, "", {{"KVN$DADOS", "no-such-deck.dat"}});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("no-such-deck.dat"), std::string::npos);
}

TEST(Process, CommandsOfTheDeckRunInTheShellAndLeaveTheDeckAlone) {
    const TempDir dir;
    const auto r = run_korvane({}, "DOSC\necho um; echo dois >&2\ncat\n99999\nTITU\nA title\nFIM\n");
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_NE(r.output.find("um\ndois\n"), std::string::npos) << r.output;
    EXPECT_EQ(dir.files(), std::vector<std::string>{});
}

TEST(Process, AFullDiskBehindStandardOutputIsAnAbnormalEnd) {
    if (!OutputFile("/dev/full", OutputFile::Mode::create).good()) GTEST_SKIP() << "no disk without room here";
    const TempDir dir;
    EXPECT_EQ(run_korvane({}, "FIM\n", {{"KVN$PRINT", "/dev/full"}}).status, 0) << "nothing was printed";
    const auto r = run_korvane({}, "RELA RCTE FILE\nFIM\n", {{"KVN$PRINT", "/dev/full"}});
    EXPECT_EQ(r.status, 1) << r.output;
    EXPECT_NE(r.output.find("CONNUL"), std::string::npos) << r.output;
}

}  // namespace
}  // namespace korvane::testing
