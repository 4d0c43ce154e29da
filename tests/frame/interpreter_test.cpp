// Code lines: what they may hold, what a code needs, and how a run goes on after a refusal.
#include <gtest/gtest.h>

#include <map>

#include "app/code_table.hpp"
#include "frame/run.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/text_table.hpp"

namespace korvane::testing {
namespace {

using Numbers = std::vector<int>;

std::vector<std::string> codes_run(const Run& run) {
    std::vector<std::string> codes;
    for (const CodeRun& c : run.ctl.log) codes.push_back(c.refused ? c.code + " " + std::to_string(c.refused) : c.code);
    return codes;
}
using Codes = std::vector<std::string>;

// --- one code line

struct Line {
    std::string deck;
    int code;
    Numbers messages;
};

TEST(CodeLine, IsReadOrRefusedByItsColumns) {
    const Line cases[] = {
        {"EXLF\n", 16, {}},
        {"exlf newt rcvg\n", 16, {}},
        {"EXLF           NEWT\n", 16, {}},
        {"DOS \n", 77, {}},
        {"FIM\n", 228, {}},
        {"( comment\n\n   \nEXLF\n", 16, {}},
        {"XXXX\n", 228, {100}},
        {" EXLF\n", 228, {100, -110}},
        {"spar\n", 228, {100}},
        {"EXLF spar\n", 228, {110}},
        {"XXXX ZZZZ NEWT YYYY\n", 228, {100, 110, 110}},
        {"EXLF  NEWT\n", 228, {110, -110}},
        {"EXLF NEWT,RCVG\n", 16, {-110}},
        {"", 228, {130}},
        {"( only a comment", 228, {130}},
        {"EXLF +\n\n( comment\n     NEWT +\n     RCVG\n", 16, {}},
        {"EXLF +\nDBAR NEWT\n", 228, {120}},
        {"EXLF ZZZZ +\n     YYYY\n", 228, {110, 110}},
        {"EXLF NEWT +\n", 228, {130}},
        {"EXLF" + std::string(65, ' ') + "NEWT\n", 16, {-100}},
        {"@UNKNOWN\n", 228, {140}},
        {"TV0+\n", 228, {100}},
        {std::string("\0\xff\x80 NEWT\n", 9), 228, {100, 110, -110}},
    };
    for (const Line& c : cases) {
        Session s;
        s.start().feed(c.deck);
        EXPECT_EQ(SELKOD(s.run), c.code) << c.deck;
        MSGOUT(s.run);
        EXPECT_EQ(s.numbers("SELKOD"), c.messages) << c.deck;
        EXPECT_FALSE(shows(s.console(), std::string(81, '-'))) << "the screen has 80 columns";
    }
}

TEST(CodeLine, SaysWhereItsReportsGo) {
    struct Case {
        std::string deck;
        bool print_file, to_console, narrow, pause;
        int page;
    };
    const Case cases[] = {
        {"RELA RBAR\n", true, true, true, true, 24},         {"RELA RBAR CONT\n", true, true, true, false, 24},
        {"RELA RBAR FILE\n", true, false, false, false, 60}, {"RELA FILE 80CO\n", true, false, true, false, 60},
        {"RELA RBAR FILE\n", false, true, true, true, 24},
    };
    for (const Case& c : cases) {
        Session s({.print_file = c.print_file});
        auto& run = s.start().feed(c.deck).run;
        SELKOD(run);
        EXPECT_EQ(run.units.to_console(), c.to_console) << c.deck;
        EXPECT_EQ(run.opt["80CO"_opt], c.narrow) << c.deck;
        EXPECT_EQ(run.pag.PAUSAT, c.pause) << c.deck;
        EXPECT_EQ(run.pag.LPP, c.page) << c.deck;
        EXPECT_FALSE(run.pag.SCRREP) << "cards come from a file";
    }
}

TEST(CodeLine, SolutionMethodsExcludeEachOther) {
    const std::pair<const char*, bool> cases[] = {{"EXLF", true},
                                                  {"EXLF LFDC", false},
                                                  {"EXLF NEWT LFDC", false},
                                                  {"EXLF PART LFDC", false},
                                                  {"EXLF PART", true}};
    for (const auto& [line, newton] : cases) {
        Session s;
        auto& run = s.start().feed(line).run;
        SELKOD(run);
        EXPECT_EQ(run.opt["NEWT"_opt], newton) << line;
    }
}

TEST(CodeLine, ControlOptionsKeepTheOrderTheyWereWrittenIn) {
    Session s;
    auto& run = s.start().feed("EXLF QLIM CTAP NEWT QLIM +\n     CSCA CREM\nEXIC CSCA\nEXLF CPHS\n").run;
    auto names = [&] {
        std::string all;
        for (int i : run.ctl.order) all += std::string(OPTION(i)) + ' ';
        return all;
    };
    SELKOD(run);
    EXPECT_EQ(names(), "QLIM CTAP QLIM CSCA CREM ");
    SELKOD(run);
    EXPECT_EQ(names(), "");
    EXPECT_TRUE(run.opt["CSCA"_opt]);
    EXPECT_FALSE(run.opt["QLIM"_opt]) << "options hold for one line";
    SELKOD(run);
    EXPECT_EQ(names(), "CPHS ");
}

TEST(Options, EveryNameIsFoundAndNoFreePlaceIs) {
    EXPECT_EQ(find_option("    "), 1);
    EXPECT_EQ(find_option("+   "), 354);
    for (int i = 1; i <= OPTIONS; ++i) EXPECT_EQ(find_option(OPTION(i)), OPTION(i) == "spar" ? 0 : i);
    for (const char* wrong : {"spar", "SPAR", "newt", "NEW", "NEWTX", ""}) EXPECT_EQ(find_option(wrong), 0) << wrong;
}

// --- what codes need

// Lines typed one after the other at a console, where a refusal does not end the run.
struct Console : Session {
    Console() : Session({.via = Via::console}) { start(); }
    Codes type(const std::string& lines) {
        run.ctl.log.clear();
        os.type(lines + "FIM\n");
        KORVAN(run);
        return codes_run(run);
    }
};

TEST(Refusals, WithoutDataEveryCodeSaysWhatItMisses) {
    // Ten times the index, but for these; codes that need nothing are not among them.
    const std::map<std::string, int> others = {
        {"DCBA", 131}, {"EXEQ", 171},  {"EXCT", 182},  {"EXRT", 1304}, {"DGLI", 681},  {"DGMO", 731},  {"DGSL", 741},
        {"DGCV", 831}, {"DTGR", 1251}, {"DEMT", 1305}, {"DGMT", 1306}, {"EXMT", 1307}, {"EXRR", 1300}, {"DCTR", 940}};
    std::string lines;
    Codes expected;
    int needy = 0;
    for (const CodeRow& row : code_table()) {
        const std::string code(row.code, 4);
        if (row.needs[0].refusal == 0 || code == "DBAR" || code == "SERV") continue;
        const auto other = others.find(code);
        lines += code + "\n";
        expected.push_back(code + " " + std::to_string(other != others.end() ? other->second : 10 * row.index));
        ++needy;
    }
    expected.push_back("FIM");
    EXPECT_EQ(needy, 92);
    Console s;
    const Codes outcome = s.type(lines);
    ASSERT_EQ(outcome.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(outcome[i], expected[i]);
    const std::string& without_text = load_rows(s.run, "ERRMSG")[1].text();
    for (const PrintedMessage& m : s.run.msg.printed) EXPECT_NE(m.text, without_text) << m.routine << ' ' << m.number;
    EXPECT_EQ(s.run.ctl.NEXT, 1307) << "the last refusal";
}

// A code line, "@" before what has been done, the method of the solution (ITSOL) and the last code (ILAST).
TEST(Refusals, ComeInTheOrderOfTheNeeds) {
    Console s;
    for (const auto& [given, outcome] : cases_of(R"(
        EXLF @1 -> EXLF 162; EXLF @1 @13 @2 -> EXLF 161; EXLF @1 @13 -> EXLF 161; DBAR WSCC -> DBAR 7010
        DLIN WSCC -> DLIN 20; DARE WSCC @1 -> DARE 7010; SERV JUMP AREA -> SERV 7020; DCBA @1 -> DCBA 130
        EXCT @8 -> EXCT 181; EXCT @8 @16 itsol1 -> EXCT 180; EXCT LFDC @8 @16 itsol1 -> EXCT 7000
        EXEQ @16 itsol2 -> EXEQ 170; EXEQ @16 -> EXEQ 7000; DANC BPSI @1 -> DANC 1302; EXIC @1 -> EXIC 632
        EXIC @1 @13 -> EXIC 631; EXIC PVCT @1 @2 -> EXIC 1303; EXIC PVCT @1 @8 @13 @48 -> EXIC 7000
        EXCG @1 -> EXCG 162; EXAR @1 -> EXAR 1085; DTGR @1 -> DTGR 1252; EXRS @1 -> EXRS 1281
        EXRS @1 @129 last1 -> EXRS 1309; EXRS @1 @129 last129 -> EXRS 7000; EXRS ELIM -> EXRS 7000
        EXMT @133 last2 -> EXMT 1308; EXMT @133 last134 -> EXMT 7000; EXPL -> EXPL 7000; DGEQ -> DGEQ 7000
        DGLI @67 -> DGLI 680; DGMO @34 -> DGMO 730; DGSL @21 -> DGSL 740; DGCV @15 -> DGCV 830; EXQV @1 -> EXQV 842
        EXQV @1 @13 -> EXQV 841; EXOT @1 -> EXOT)")) {
        std::string line;
        s.run.ctl.KNTRL.reset();
        s.run.store.sol.ITSOL = s.run.ctl.ILAST = 0;
        std::istringstream words(given);
        for (std::string word; words >> word;)
            if (word[0] == '@')
                s.run.ctl.KNTRL.set(std::stoul(word.substr(1)));
            else if (word.starts_with("itsol"))
                s.run.store.sol.ITSOL = std::stoi(word.substr(5));
            else if (word.starts_with("last"))
                s.run.ctl.ILAST = std::stoi(word.substr(4));
            else
                line += (line.empty() ? "" : " ") + word;
        EXPECT_EQ(s.type(line + "\n"), (Codes{outcome, "FIM"})) << given;
    }
}

TEST(Refusals, LeaveTheSlotAlone) {
    Console s;
    s.run.ctl.KNTRL[1] = true;
    s.type("EXOT\nVISO\nDREL\n");
    EXPECT_TRUE(s.run.ctl.KNTRL[123]);
    EXPECT_TRUE(s.run.ctl.KNTRL[130]);
    EXPECT_FALSE(s.run.ctl.KNTRL[7]);
    EXPECT_EQ(s.run.ctl.ILAST, 7) << "a refused code was run all the same";
}

// --- how a run ends

TEST(Run, EndsByItsInput) {
    struct Case {
        std::string deck;
        Via via;
        int status;
        Numbers messages;
    };
    const Case cases[] = {
        {"VISO\nFIM\n", Via::environment, 0, {}},
        {"VISO\nFIM\n", Via::standard_input, 0, {}},
        {"VISO\nFIM", Via::console, 0, {}},
        {"VISO\n", Via::environment, 1, {130}},
        {"VISO\n", Via::standard_input, 1, {130}},
        {"", Via::environment, 1, {130}},
        {"VISO\n", Via::console, 1, {130, 130}},  // nobody is there any more
        {"DLIN\nVISO\nFIM\n", Via::environment, 1, {20}},
        {"DLIN\nVISO\nFIM\n", Via::standard_input, 1, {20}},
        {"DLIN\nVISO\nFIM\n", Via::console, 0, {20}},
        {"DLIN\nFIM\n", Via::console, 1, {20}},  // the last code had errors
        {"XXXX\nVISO\nFIM\n", Via::environment, 1, {100}},
        {"XXXX\nVISO\nFIM\n", Via::standard_input, 1, {100}},
        {"XXXX\nVISO\nFIM\n", Via::console, 0, {100}},
        {"TITU\n", Via::environment, 1, {100}},
        {"TITU\n(um titulo\nFIM\n", Via::environment, 0, {}},
        {"DOPC\nFLAT L\n", Via::environment, 1, {130}},  // the end of input is told once
    };
    for (const Case& c : cases) {
        Session s(c.deck, {.via = c.via});
        EXPECT_EQ(s.status, c.status) << c.deck << int(c.via);
        EXPECT_EQ(s.numbers(), c.messages) << c.deck << int(c.via) << s.messages();
    }
}

TEST(Run, AnyBytesEndWithAMessage) {
    unsigned seed = 1;
    auto random = [&] { return seed = seed * 1664525u + 1013904223u, seed >> 16; };
    const std::string starts[] = {"", "DCTE\n", "DOPC IMPR\n", "DMAC IMPR\n", "TITU\n", "EXLF +\n", "EXLF "};
    for (int i = 0; i < 70; ++i) {
        std::string bytes = starts[std::size_t(i) % std::size(starts)];
        const std::size_t length = bytes.size() + (i % 10 == 9 ? 10000 : random() % 600);
        while (bytes.size() < length) bytes += char(random() % 12 == 0 ? '\n' : random());
        for (Via via : {Via::environment, Via::standard_input}) {
            Session s(bytes, {.via = via});
            EXPECT_EQ(s.status, 1) << i;
            EXPECT_FALSE(s.run.msg.printed.empty()) << i;
        }
    }
}

TEST(Run, ANestedStreamGoesBackToTheOuterOne) {
    const SessionOptions inner{.prepare = [](const TempDir& d, FakePlatform&) {
        d.write("inner.dat", "VISO\nFIM\n");
        d.write("wrong.dat", "DLIN\nFIM\n");
    }};
    Session good("ULOG\n1\ninner.dat\nEXT0\nFIM\n", inner);
    EXPECT_EQ(good.status, 0) << good.messages();
    EXPECT_EQ(codes_run(good.run), (Codes{"ULOG", "VISO", "FIM", "EXT0", "FIM"}));
    Session wrong("ULOG\n1\nwrong.dat\nEXT0\nFIM\n", inner);
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(codes_run(wrong.run), (Codes{"ULOG", "DLIN 20"}));
}

// --- the console

TEST(Console, KeepsAHistoryOfItsLines) {
    struct Case {
        std::string typed;
        Codes run;
    };
    const Case cases[] = {
        {"EXT0\nVISO\nU\n\n", {"EXT0", "VISO", "VISO", "FIM"}},
        {"EXT0\nVISO\nU\nU\n\n", {"EXT0", "VISO", "EXT0", "FIM"}},
        {"EXT0\nVISO\nU\nU\nU\n\n", {"EXT0", "VISO", "VISO", "FIM"}},          // wraps to the last
        {"EXT0\nVISO\nd\n\n", {"EXT0", "VISO", "EXT0", "FIM"}},                // wraps to the first
        {"EXT0\nVISO\nEXT0\nU\n\n", {"EXT0", "VISO", "EXT0", "VISO", "FIM"}},  // a line is kept once
        {"U\nS\nD\n\n\nVISO\n", {"VISO", "FIM"}},                              // an empty history recalls nothing
        {"VISO\nEXT0\nU\nVISO\n\n", {"VISO", "EXT0", "VISO", "FIM"}},          // a new line forgets the recalled one
        {"VISO\nS\nIMPR\n", {"VISO", "VISO", "FIM"}},
    };
    for (const Case& c : cases) {
        Console s;
        EXPECT_EQ(s.type(c.typed), c.run) << c.typed;
    }
    Console s;
    s.type("VISO\nS\nIMPR\nDOPC\n99999\nTITU\nx\n");
    EXPECT_EQ(s.run.ctl.history, (std::vector<std::string>{"VISO", "VISO IMPR"})) << "no data codes, titles or ends";
    std::string many;
    for (const char* option : {"IMPR", "FLAT", "QLIM", "VLIM", "CREM", "CTAP", "CINT", "DPER", "PERD", "TRB1",
                               "TRB2", "CPB1", "CPB2", "STEP", "BPAR", "BPSI", "TABE", "NEWT", "PART", "LFDC"})
        many += std::string("EXT0 ") + option + "\n";
    s.type(many);
    EXPECT_EQ(s.run.ctl.history.size(), 20u);
    EXPECT_EQ(s.run.ctl.history.front(), "EXT0 IMPR") << "the oldest go first";
}

TEST(Console, RedirectedInputHasNeitherPromptsNorHistory) {
    Session s("VISO\n\nEXT0\n\nFIM\n", {.via = Via::standard_input});
    EXPECT_EQ(codes_run(s.run), (Codes{"VISO", "EXT0", "FIM"}));
    EXPECT_TRUE(s.run.ctl.history.empty());
    EXPECT_FALSE(shows(s.console(), "Código>"));
}

}  // namespace
}  // namespace korvane::testing
