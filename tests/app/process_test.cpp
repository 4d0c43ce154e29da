// The two programs as the operator starts them: one process, a deck, an exit status.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "platform/files.hpp"
#include "reports/small_network.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

std::string good_deck() { return small_network() + "EXLF NEWT\nRELA RBAR FILE\nFIM\n"; }

/// What a deck does must not depend on its line ends, and no byte may bring a program down.
TEST(Process, EveryWayAndShapeOfADeckEndsWithAMessageAndAStatus) {
    const std::string network = small_network(), deck = good_deck(), wide(10'000, 'X');
    std::string crlf, every_byte;
    for (char c : deck) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    for (int b = 0; b < 256; ++b) every_byte.push_back(char(b));
    std::string cr = deck;
    std::replace(cr.begin(), cr.end(), '\n', '\r');
    const struct {
        const char* what;
        std::string deck;
        int status;
        const char* shows;
    } cases[] = {
        {"plain", deck, 0, "Termino Normal"},
        {"CR LF", crlf, 0, "Termino Normal"},
        {"CR", cr, 0, "Termino Normal"},
        {"byte-order mark", "\xEF\xBB\xBF" + deck, 0, "Termino Normal"},
        {"no last line end", deck.substr(0, deck.size() - 1), 0, "Termino Normal"},
        {"no FIM", network, 1, "SELKOD"},
        {"no bytes", "", 1, "SELKOD"},
        {"only line ends", "\n\n\r\n\r", 1, "SELKOD"},
        {"an unknown code", "XPTO\nFIM\n", 1, "SELKOD"},
        {"a refusal", "EXLF\nFIM\n", 1, "KORVAN"},
        {"a long code line", wide + "\nFIM\n", 1, "SELKOD"},
        {"a long comment and title", "(" + wide + "\nTITU\n" + wide + "\n" + deck, 0, "INPTIT"},
        {"a long card", "DBAR\n" + wide + "\n99999\nFIM\n", 1, "INPBUS"},
        {"a long selection line", network + "RELA RBAR CONV\n" + wide + "\n99999\nFIM\n", 1, "SELBAR"},
        {"a long list", network + "RELA RBAR AREA\n  1" + std::string(9000, ' ') + "\nFIM\n", 0, "Termino Normal"},
        {"every byte", every_byte, 1, "SELKOD"},
        {"every byte as a title", "TITU\n" + every_byte.substr(14) + "\n" + deck, 0, "Termino Normal"},
        {"every byte in a block", "DBAR\n" + every_byte + "\n99999\nFIM\n", 1, "INPBUS"},
        {"every byte as a card", "DBAR\n" + every_byte.substr(14) + "\n99999\nFIM\n", 1, "INPBUS"},
        {"every byte as a selection line", network + "RELA RBAR CONV\n" + every_byte.substr(14) + "\n99999\nFIM\n", 1,
         "SELBAR"},
        {"zeroes", std::string(100000, '\0'), 1, "SELKOD"},
    };
    const TempDir dir;
    for (const auto& c : cases) {
        dir.write("deck.dat", c.deck);
        for (const bool named : {false, true}) {
            const auto korvane = named ? run_korvane({}, "", {{"KVN$DADOS", "deck.dat"}}) : run_korvane({}, c.deck);
            EXPECT_EQ(korvane.status, c.status) << c.what << named << '\n' << korvane.output << korvane.errors;
            EXPECT_TRUE(shows(korvane.output, c.shows)) << c.what << named << '\n' << korvane.output;
            const auto kvn = named ? run_kvn({"run", "deck.dat", "--quiet", "--export", "out"})
                                   : run_kvn({"run", "-", "--quiet"}, c.deck);
            EXPECT_EQ(kvn.status, c.status) << c.what << named << ": " << kvn.errors;
            EXPECT_EQ(kvn.errors.empty(), c.status == 0) << c.what << named << ": " << kvn.errors;
        }
        EXPECT_TRUE(nlohmann::json::accept(dir.read("out/run.json"))) << c.what;
    }
    EXPECT_EQ(dir.files(), (std::vector<std::string>{"deck.dat", "out"}));
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
    EXPECT_TRUE(shows(r.output, "no-such-deck.dat"));
}

TEST(Process, CommandsOfTheDeckRunInTheShellAndLeaveTheDeckAlone) {
    const TempDir dir;
    const auto r = run_korvane({}, "DOSC\necho um; echo dois >&2\ncat\n99999\nTITU\nA title\nFIM\n");
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(shows(r.output, "um\ndois\n"));
    EXPECT_EQ(dir.files(), std::vector<std::string>{});
}

TEST(Process, AFullDiskBehindStandardOutputIsAnAbnormalEnd) {
    if (!OutputFile("/dev/full", OutputFile::Mode::create).good()) GTEST_SKIP() << "no disk without room here";
    const TempDir dir;
    EXPECT_EQ(run_korvane({}, "FIM\n", {{"KVN$PRINT", "/dev/full"}}).status, 0) << "nothing was printed";
    const auto r = run_korvane({}, "RELA RCTE FILE\nFIM\n", {{"KVN$PRINT", "/dev/full"}});
    EXPECT_EQ(r.status, 1) << r.output;
    EXPECT_TRUE(shows(r.output, "CONNUL"));
}

// --- the front end

TEST(Kvn, WrongUsageIsStatusTwoWithOneLineThatSaysWhy) {
    const TempDir dir;
    dir.write("deck.dat", good_deck());
    struct Case {
        std::vector<std::string> arguments;
        std::string says;
    };
    const Case cases[] = {
        {{}, "comando"},
        {{"run"}, "DECK"},
        {{"walk", "deck.dat"}, "comando"},
        {{"run", "deck.dat", "--colour"}, "--colour"},
        {{"run", "deck.dat", "more.dat"}, "more.dat"},
        {{"run", "deck.dat", "--report"}, "--report"},
        {{"run", "deck.dat", "--report", ""}, "--report"},
        {{"run", "deck.dat", "--report", "a", "--report", "b"}, "--report"},
        {{"run", "missing.dat"}, "missing.dat"},
        {{"run", "."}, "'.'"},
        {{"run", "deck.dat", "--report", "deck.dat"}, "mesmo arquivo"},
        {{"run", "deck.dat", "--cards", "x", "--report", "./x"}, "mesmo arquivo"},
    };
    for (const Case& c : cases) {
        const ProcessResult r = run_kvn(c.arguments);
        EXPECT_EQ(r.status, 2) << c.says << r.errors;
        EXPECT_TRUE(shows(r.errors, c.says));
        EXPECT_EQ(std::count(r.errors.begin(), r.errors.end(), '\n'), 1) << r.errors;
        EXPECT_EQ(r.output, "");
    }
    EXPECT_EQ(dir.read("deck.dat"), good_deck()) << "a deck is never overwritten";
}

TEST(Kvn, HelpAndVersionAreNormal) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"}, {"run", "--help"}}) {
        const ProcessResult r = run_kvn(arguments);
        EXPECT_EQ(r.status, 0);
        EXPECT_TRUE(shows(r.output, "Uso: kvn"));
        EXPECT_EQ(r.errors, "");
    }
    EXPECT_NE(run_kvn({"run", "--help"}).output.find("--export"), std::string::npos);
    const ProcessResult version = run_kvn({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output.rfind("kvn 0.", 0), 0u) << version.output;
}

TEST(Kvn, ADeckRunsAndLeavesItsFiles) {
    const TempDir dir;
    dir.write("Deck.dat", good_deck());
    dir.write("report.txt", std::string(100'000, 'x'));  // of an earlier run, and longer
    const ProcessResult r = run_kvn({"run", "Deck.dat", "--report", "report.txt", "--cards", "cards.dat", "--log",
                                     "log.txt", "--cases", "cases.sav", "--export", "out", "--quiet"});
    EXPECT_EQ(r.status, 0) << r.errors << r.output;
    EXPECT_EQ(r.output, "") << "quiet";
    EXPECT_EQ(r.errors, "") << "no progress when nobody looks";
    EXPECT_NE(dir.read("report.txt").find("NORTE 77"), std::string::npos);
    EXPECT_EQ(dir.read("report.txt").find('x'), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(dir.read("out/run.json")).at("convstat"), 1);
    for (const char* name : {"cards.dat", "log.txt", "out/buses.csv", "out/branches.csv"})
        EXPECT_TRUE(dir.has(name)) << name;

    const ProcessResult again = run_kvn({"run", "Deck.dat"});
    EXPECT_TRUE(shows(again.output, "Termino Normal"));
    const ProcessResult typed = run_kvn({"run", "-", "--export", "typed"}, good_deck());
    EXPECT_EQ(typed.status, 0) << typed.errors;
    EXPECT_EQ(dir.read("typed/buses.csv"), dir.read("out/buses.csv"));
    EXPECT_EQ(dir.read("typed/branches.csv"), dir.read("out/branches.csv"));
}

TEST(Kvn, AFailedRunEndsWithALineThatTellsWhatAndWhere) {
    const TempDir dir;
    std::string deck = small_network();
    deck.insert(deck.find("99999"), bus_card({1, 0, 1, "DUPLA"}));
    dir.write("deck.dat", deck + "FIM\n");
    const ProcessResult r = run_kvn({"run", "deck.dat", "--quiet", "--export", "out"});
    EXPECT_EQ(r.status, 1);
    for (const char* part : {"kvn: ", "DBAR", "deck.dat, linha", "INPBUS 120"})
        EXPECT_TRUE(shows(r.errors, part)) << part << ": " << r.errors;
    EXPECT_EQ(r.errors.back(), '\n');
    const auto json = nlohmann::json::parse(dir.read("out/run.json"));
    EXPECT_EQ(json.at("status"), 1);
    EXPECT_EQ(json.at("messages").at(0).at("number"), 120);
}

TEST(Kvn, FilesThatCannotBeWrittenAreStatusOne) {
    const TempDir dir;
    dir.write("deck.dat", good_deck());
    dir.write("file", "");
    for (const std::vector<std::string>& output : {std::vector<std::string>{"--report", "no/such/folder.txt"},
                                                   {"--export", "file"},
                                                   {"--export", "file/below"}}) {
        std::vector<std::string> arguments{"run", "deck.dat", "--quiet"};
        arguments.insert(arguments.end(), output.begin(), output.end());
        const ProcessResult r = run_kvn(arguments);
        EXPECT_EQ(r.status, 1) << output[0];
        EXPECT_TRUE(shows(r.errors, output[1].substr(0, 4)));
    }
    if (const ProcessResult full = run_kvn({"run", "deck.dat", "--quiet", "--report", "/dev/full"}); full.status != 0) {
        EXPECT_EQ(full.status, 1) << full.errors;
    }
}

// Of two programs: one solves and saves, the other lists, checks and exports, with the same tables.
TEST(Kvn, CasesAreListedCheckedAndExported) {
    const TempDir dir;
    dir.write("deck.dat", small_network() + "ARQV INIC\nSIM\nEXLF NEWT\nARQV GRAV NOVO\n 1\nARQV GRAV NOVO\n 7\nFIM\n");
    const ProcessResult saved = run_kvn({"run", "deck.dat", "--quiet", "--cases", "c.sav", "--export", "out"});
    ASSERT_EQ(saved.status, 0) << saved.errors;
    const std::string bytes = dir.read("c.sav");
    const ProcessResult list = run_kvn({"cases", "c.sav"});
    EXPECT_EQ(list.status, 0) << list.errors;
    for (const char* part : {" 1  largo    78", " 7  largo    78", "2 casos, ", " de 469 registros"})
        EXPECT_TRUE(shows(list.output, part));
    const ProcessResult exported = run_kvn({"cases", "c.sav", "--check", "--export", "7", "again"});
    EXPECT_EQ(exported.status, 0) << exported.output << exported.errors;
    EXPECT_EQ(exported.output, "nenhum defeito\n");
    for (const char* table : {"/buses.csv", "/branches.csv"})
        EXPECT_EQ(dir.read(std::string("again") + table), dir.read(std::string("out") + table)) << table;
    EXPECT_TRUE(dir.read("c.sav") == bytes) << "looking changes nothing";

    // Case 7 begins with the first record of case 1; its own records are lost.
    std::string damaged = bytes;
    damaged.replace(12, 2, damaged.substr(0, 2));
    dir.write("bad.sav", damaged);
    const ProcessResult bad = run_kvn({"cases", "bad.sav", "--check"});
    EXPECT_EQ(bad.status, 1);
    for (const char* part : {"caso 7: a cadeia passa pelo registro 2, que é do caso 1", "em nenhuma cadeia"})
        EXPECT_TRUE(shows(bad.output, part));

    dir.write("text.sav", "no cases");
    for (const auto& [arguments, status] : {std::pair<std::vector<std::string>, int>{{"cases"}, 2},
                                            {{"cases", "missing.sav"}, 2},
                                            {{"cases", "text.sav"}, 1},
                                            {{"cases", "text.sav", "--check"}, 1},
                                            {{"cases", "c.sav", "--export", "2", "x"}, 1},
                                            {{"cases", "c.sav", "--export", "0", "x"}, 2},
                                            {{"cases", "c.sav", "--export", "1"}, 2}})
        EXPECT_EQ(run_kvn(arguments).status, status) << arguments.back();
}

}  // namespace
}  // namespace korvane::testing
