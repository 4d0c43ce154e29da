// kvn as a process: exit status, wrong usage, decks of every shape.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "reports/small_network.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

std::string good_deck() { return small_network() + "EXLF NEWT\nRELA RBAR FILE\nFIM\n"; }

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
        EXPECT_NE(r.errors.find(c.says), std::string::npos) << r.errors;
        EXPECT_EQ(std::count(r.errors.begin(), r.errors.end(), '\n'), 1) << r.errors;
        EXPECT_EQ(r.output, "");
    }
    EXPECT_EQ(dir.read("deck.dat"), good_deck()) << "a deck is never overwritten";
}

TEST(Kvn, HelpAndVersionAreNormal) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"}, {"run", "--help"}}) {
        const ProcessResult r = run_kvn(arguments);
        EXPECT_EQ(r.status, 0);
        EXPECT_NE(r.output.find("Uso: kvn"), std::string::npos) << r.output;
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
    EXPECT_NE(again.output.find("Termino Normal"), std::string::npos);
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
        EXPECT_NE(r.errors.find(part), std::string::npos) << part << ": " << r.errors;
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
        EXPECT_NE(r.errors.find(output[1].substr(0, 4)), std::string::npos) << r.errors;
    }
    if (const ProcessResult full = run_kvn({"run", "deck.dat", "--quiet", "--report", "/dev/full"}); full.status != 0) {
        EXPECT_EQ(full.status, 1) << full.errors;
    }
}

/// What the deck does must not depend on its line ends, and no byte may bring the program down.
TEST(Kvn, DecksOfEveryShapeEndWithAMessageAndTheRightStatus) {
    std::string crlf, cr, every_byte;
    for (char c : good_deck()) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    for (char c : good_deck()) cr += c == '\n' ? '\r' : c;
    for (int i = 0; i < 256; ++i) every_byte += char(i);
    const std::string unended = good_deck().substr(0, good_deck().size() - 1);
    const std::string wide(10'000, 'X');
    struct Case {
        const char* what;
        std::string deck;
        int status;
    };
    const Case cases[] = {
        {"CR LF", crlf, 0},
        {"CR", cr, 0},
        {"no last line end", unended, 0},
        {"zero bytes", "", 1},
        {"no FIM", small_network(), 1},
        {"a long code line", wide + "\nFIM\n", 1},
        {"a long comment", "(" + wide + "\nTITU\n" + wide + "\n" + good_deck(), 0},
        {"a long card", "DBAR\n" + wide + "\n99999\nFIM\n", 1},
        {"a long selection line", small_network() + "RELA RBAR CONV\n" + wide + "\n99999\nFIM\n", 1},
        {"a long list", small_network() + "RELA RBAR AREA\n  1" + std::string(9000, ' ') + "\nFIM\n", 0},
        {"every byte", every_byte, 1},
        {"every byte as a title", "TITU\n" + every_byte.substr(14) + "\n" + good_deck(), 0},
        {"every byte as a card", "DBAR\n" + every_byte.substr(14) + "\n99999\nFIM\n", 1},
        {"every byte as a selection line",
         small_network() + "RELA RBAR CONV\n" + every_byte.substr(14) + "\n99999\nFIM\n", 1},
        {"NUL bytes", std::string(1000, '\0'), 1},
    };
    const TempDir dir;
    for (const Case& c : cases) {
        dir.write("deck.dat", c.deck);
        const ProcessResult file = run_kvn({"run", "deck.dat", "--quiet", "--export", "out"});
        EXPECT_EQ(file.status, c.status) << c.what << ": " << file.errors;
        EXPECT_EQ(file.errors.empty(), c.status == 0) << c.what << ": " << file.errors;
        EXPECT_TRUE(nlohmann::json::accept(dir.read("out/run.json"))) << c.what;
        const ProcessResult typed = run_kvn({"run", "-", "--quiet"}, c.deck);
        EXPECT_EQ(typed.status, c.status) << c.what << " on standard input: " << typed.errors;
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
        EXPECT_NE(list.output.find(part), std::string::npos) << list.output;
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
        EXPECT_NE(bad.output.find(part), std::string::npos) << bad.output;

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
