// ARQV and SNAP as the operator knows them: numbers, answers, messages, pages.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cmath>

#include "casestore/case_bench.hpp"
#include "casestore/casestore.hpp"
#include "casestore/desk.hpp"
#include "casestore/record_file.hpp"
#include "casestore/stored_networks.hpp"
#include "support/expect.hpp"
#include "support/reference.hpp"

namespace korvane::testing {
namespace {

TEST(CaseCommands, OptionsAnswersAndMessages) {
    Desk d;
    struct Row {
        std::initializer_list<Option> options;
        const char* lines;
        const char* messages;
        const char* cases;  // in the file afterwards
    };
    const auto INIC = "INIC"_opt, GRAV = "GRAV"_opt, REST = "REST"_opt, ELIM = "ELIM"_opt, LIST = "LIST"_opt,
               SUBS = "SUBS"_opt, NOVO = "NOVO"_opt, KORV = "KORV"_opt, V962 = "V962"_opt, AREG = "AREG"_opt,
               PECO = "PECO"_opt;
    const Row table[] = {
        {{}, "1\n", "", "no directory"},
        {{GRAV, NOVO}, " 1\n", "SAVCAS 105", "no directory"},
        {{REST}, " 1\n", "CNFILE 130", "no directory"},
        {{LIST}, "", "LIFILE 100", "no directory"},
        {{INIC}, "(a comment\nTALVEZ\n", "INFILE 100", "no directory"},
        {{INIC}, "", "INFILE 120", "no directory"},
        {{INIC}, "nao\n", "", "no directory"},
        {{INIC, GRAV}, "  sim\n", "", ""},
        {{GRAV, NOVO}, "  \n", "", "1w78"},
        {{GRAV, NOVO}, " 1\n", "SAVCAS 120", "1w78"},
        {{GRAV, NOVO, SUBS}, "(a comment\n 1\n", "", "1w78"},
        {{GRAV, NOVO, SUBS, V962}, "99\n", "", "1w78 99w72"},
        {{GRAV, NOVO}, "-1\n", "CNFILE 110", "1w78 99w72"},
        {{GRAV, NOVO}, "x1\n", "CNFILE 105", "1w78 99w72"},
        {{GRAV, NOVO}, "", "CNFILE 100", "1w78 99w72"},
        {{GRAV}, " 3\n", "SAVCAS 90", "1w78 99w72"},
        {{GRAV, KORV, NOVO}, "3\n", "", "1w78 3n78 99w72"},
        {{GRAV, KORV, AREG}, "\n", "", "1w78 2n78 3n78 99w72"},
        {{GRAV, NOVO, PECO}, " 5\n", "CNFILE 170", "1w78 2n78 3n78 99w72"},
        {{REST}, "\n", "CNFILE 110", "1w78 2n78 3n78 99w72"},
        {{REST}, "50\n", "RETCAS 110", "1w78 2n78 3n78 99w72"},
        {{ELIM}, " 0\n", "CNFILE 110", "1w78 2n78 3n78 99w72"},
        {{ELIM}, "50\n", "DELCAS 100", "1w78 2n78 3n78 99w72"},
        {{ELIM, REST}, " 2\n", "", "1w78 3n78 99w72"},
        {{LIST}, "", "", "1w78 3n78 99w72"},
    };
    for (const Row& row : table) {
        EXPECT_EQ(d.arqv(row.options, row.lines), row.messages) << row.lines << row.cases;
        EXPECT_EQ(d.cases(), row.cases) << row.lines << row.messages;
        if (d.run.store.bus.NB == 0) d.network();
    }
    d.run.store.bus.NB = 0;
    EXPECT_EQ(d.arqv({GRAV, NOVO}, " 7\n"), "SAVCAS 100");
    d.network();
    d.run.store.branch.STLIND(1) = false;
    EXPECT_EQ(d.arqv({GRAV, KORV}, " 7\n"), "SAVCAS 101");
    // An existing file keeps its size and loses its cases.
    EXPECT_EQ(d.arqv({INIC}, "YES\n"), "");
    EXPECT_EQ(d.cases(), "");
    for (int n = 1; n <= 9; ++n) d.arqv({GRAV, NOVO}, "\n");
    for (int n = 10; n <= 99; ++n) EXPECT_EQ(d.arqv({GRAV, NOVO}, "\n"), "") << n;
    EXPECT_EQ(d.arqv({GRAV, NOVO}, "\n"), "SAVCAS 110");
    d.run.units.cases.reset();
    EXPECT_EQ(d.arqv({LIST}, ""), "CNFILE 150");
}

TEST(CaseCommands, AnUnsolvedCaseIsSavedWhenTheAnswerSaysSo) {
    Desk d;
    ASSERT_EQ(d.arqv({"INIC"_opt}, "SIM\n"), "");
    struct Row {
        bool jump;
        const char *lines, *messages, *cases;
    };
    for (const Row& row : {Row{false, " 1\nNAO\n", "", ""}, Row{false, " 1\nno\n", "", ""},
                           Row{false, " 1\nQUEM SABE\n", "CNFILE 140", ""}, Row{false, " 1\n\n", "CNFILE 140", ""},
                           Row{false, " 1\n", "CNFILE 100", ""}, Row{true, " 1\n", "CNFILE -900", "1w78"},
                           Row{false, " 2\n(comment\nsim\n", "", "1w78 2w78"}}) {
        d.run.store.sol.CONVSTAT = 3;
        std::initializer_list<Option> with{"GRAV"_opt, "NOVO"_opt, "JUMP"_opt}, without{"GRAV"_opt, "NOVO"_opt};
        EXPECT_EQ(d.arqv(row.jump ? with : without, row.lines), row.messages) << row.lines;
        EXPECT_EQ(d.cases(), row.cases) << row.lines;
    }
}

TEST(CaseCommands, ARestoredCaseKeepsTheDefaultOfIcteThatTheRunHas) {
    Desk d;
    const std::size_t icte = "ICTE"_opt.index;
    d.arqv({"INIC"_opt}, "SIM\n");
    for (const bool in_file : {false, true}) {
        d.run.opt.OPTDEF[icte] = in_file;
        ASSERT_EQ(d.arqv({"GRAV"_opt, "NOVO"_opt, "SUBS"_opt}, " 1\n"), "");
        d.run.opt.OPTDEF[icte] = !in_file;
        d.arqv({"REST"_opt}, " 1\n");
        EXPECT_EQ(d.run.opt.OPTDEF[icte], !in_file);
        EXPECT_EQ(d.run.cas.held, 1);
    }
}

TEST(CaseCommands, TheListShowsEveryCaseAndHowFullTheFileIs) {
    Desk d;
    d.run.cte.HIST = 101;
    d.arqv({"INIC"_opt}, "SIM\n");
    d.arqv({"GRAV"_opt, "NOVO"_opt}, " 4\n");
    d.run.TITLE = Text<80>::of("narrow case");
    d.arqv({"GRAV"_opt, "KORV"_opt}, "17\n");
    ASSERT_EQ(d.arqv({"LIST"_opt}, ""), "");
    const std::string& page = d.session.os.output;
    for (const char* text :
         {"  4       ", "Three buses", " 17       ", "narrow case", "Capacidade do arquivo ..:    100",
          "Casos gravados .........:      2", "03/02/2001", "00.01.00"})
        EXPECT_TRUE(shows(page, text)) << text << '\n' << page;
}

TEST(CaseCommands, ANarrowCaseOfVersion63IsRefusedWhenItCannotHoldTheNetwork) {
    struct Row {
        const char* what;
        void (*spoil)(Store&);
        int message;
    };
    const Row table[] = {
        {"plain", [](Store&) {}, 0},
        {"unit", [](Store& s) { s.gei.NGEI = 1; }, 90},
        {"load", [](Store& s) { s.cai.NCAI = 1; }, 90},
        {"bank", [](Store& s) { s.bsh.NBSH = 1; }, 90},
        {"group", [](Store& s) { s.agr.count(6) = 1; }, 90},
        {"later group", [](Store& s) { s.agr.count(7) = 1; }, 0},
        {"bus number", [](Store& s) { s.bus.NOINT(2) = 9999; }, 90},
        {"area number", [](Store& s) { s.area.NAINT(1) = 100; }, 90},
        {"base group", [](Store& s) { s.gbt.GBTEN(1).at[0] = 'A'; }, 90},
        {"limit group", [](Store& s) { s.glt.GLTEN(1).at[0] = 'A'; }, 90},
        {"bus off", [](Store& s) { s.bus.STBUS(2) = false; }, 90},
        {"compensator off", [](Store& s) { s.cer.STUCER(1) = false; }, 90},
        {"motor off", [](Store& s) { s.mot.STMOT(1) = false; }, 90},
        {"link off", [](Store& s) { s.ldc.STUELO(1) = false; }, 90},
        {"line shunt off", [](Store& s) { s.shl.STSHLP(1) = false; }, 90},
        {"open end", [](Store& s) { s.branch.STLINP(1) = false; }, 101},
        {"other rating", [](Store& s) { s.branch.KAPAQ(1) += 1; }, 90},
        {"large number", [](Store& s) { s.mot.IDEGM(1) = 32768; }, 90},
    };
    Session session;
    korvane::Run& run = session.start().run;
    const auto plain_network = [&] {
        made_store(run, 4, 0.0, 9000);
        Store& s = run.store;
        s.gei.NGEI = s.cai.NCAI = s.bsh.NBSH = s.bshl.NBSHL = 0;
        s.agr.count.fill(MXAGR, 0);
        for (int g : rows(s.gbt.NGBT)) s.gbt.GBTEN(g).at[0] = ' ';
        for (int g : rows(s.glt.NGLT)) s.glt.GLTEN(g).at[0] = ' ';
        for (int l : rows(s.branch.NL)) s.branch.KAPAQ(l) = s.branch.KAPAC(l);
    };
    for (const Row& row : table) {
        plain_network();
        row.spoil(run.store);
        MemoryRecords r(CASE_RECORD);
        EXPECT_EQ(save_case(run, r, Encoding::narrow, PLAIN_VERSION), row.message) << row.what;
    }
    plain_network();
    while (run.store.ctg.count() <= 100) add_row(run.store.ctg);
    MemoryRecords r(CASE_RECORD);
    make_file(r, 50);
    const SaveRequest request{.number = 1, .encoding = Encoding::narrow, .version = PLAIN_VERSION};
    EXPECT_EQ(write_case(run, r, request).warning, -170);
}

TEST(CaseCommands, TwoProgramsDoNotWriteOneFileAtATime) {
    Desk d;
    d.arqv({"INIC"_opt}, "SIM\n");
    ASSERT_EQ(d.arqv({"GRAV"_opt, "NOVO"_opt}, " 1\n"), "");
    const RecordFile other("CASES.SAV", CASE_RECORD, RecordFile::Mode::existing);
    FileRecords r(machine_disk(), other.descriptor(), "CASES.SAV", CASE_RECORD, true);
    {
        Writing busy(r);
        ASSERT_TRUE(busy);
        for (auto operation : {"GRAV"_opt, "ELIM"_opt})
            EXPECT_EQ(d.arqv({operation, "NOVO"_opt}, " 2\n"), "CNFILE 160");
        EXPECT_EQ(d.arqv({"REST"_opt}, " 1\n"), "RETCAS -110");  // what was made at random is not consistent
    }
    EXPECT_EQ(d.arqv({"GRAV"_opt, "NOVO"_opt}, " 2\n"), "");
    EXPECT_EQ(d.cases(), "1w78 2w78");
}

TEST(CaseCommands, SnapChecksItsNumberAndDoesNothingElse) {
    Desk d;
    struct Row {
        Option option;
        const char *lines, *messages;
    };
    for (const Row& row : {Row{"GRAV"_opt, " 1\n", ""}, Row{"GRAV"_opt, "\n", ""}, Row{"REST"_opt, "\n", "CNSNAP 110"},
                           Row{"REST"_opt, "", "CNSNAP 100"}, Row{"ELIM"_opt, "a\n", "CNSNAP 105"},
                           Row{"ELIM"_opt, " 0\n", "CNSNAP 110"}, Row{"LIST"_opt, "", ""}})
        EXPECT_EQ(d.arqv({row.option}, row.lines, CNSNAP), row.messages) << row.lines;
}

// Solved, saved, restored by another run, reported: byte by byte the same pages.
TEST(CaseCommands, AReportOfARestoredCaseIsTheReportOfTheSolvedOne) {
    for (const ReferenceCase& c : {REFERENCE_CASES[1], REFERENCE_CASES[7], REFERENCE_CASES[8]}) {
        if (!reference_present(c.name)) GTEST_SKIP() << "no reference networks beside the checkout";
        constexpr const char* REPORTS = "RELA RBAR FILE\n";
        TempDir files;
        const std::string path = files.path() + "/CASES.SAV";
        std::ofstream(path).close();
        const SessionOptions with{.variables = {{"KVN$SAVCA", path}}};
        const Session solved(
            reference_deck(c.name, std::string("ARQV INIC\nSIM\nEXLF NEWT\nARQV GRAV NOVO\n 1\n") + REPORTS), with);
        ASSERT_EQ(solved.store().sol.CONVSTAT, 1) << solved.messages();
        const Session restored(std::string("ARQV REST\n 1\n") + REPORTS + "FIM\n", with);
        EXPECT_EQ(restored.messages(), "") << c.name;
        EXPECT_GT(solved.print().size(), 1000u);
        EXPECT_EQ(restored.print(), solved.print()) << c.name;
    }
}

// Damage in the file or in memory that a save or a restore meets on its way.
TEST(CaseCommands, WhatIsDamagedIsTold) {
    Desk d;
    const std::vector<Option> save = {"GRAV"_opt, "NOVO"_opt, "SUBS"_opt};
    d.arqv({"INIC"_opt}, "SIM\n");
    Store& s = d.run.store;
    ASSERT_GE(s.bshl.NBSHL, 1);
    s.bshl.IBUSH(1) = 0;  // a stage without its bank
    EXPECT_EQ(d.arqv(save, " 1\n"), "");
    EXPECT_EQ(d.arqv({"REST"_opt}, " 1\n").substr(0, 11), "RETCAS -120");
    d.network();
    s.bus.VOLT(1) = std::nan("");
    EXPECT_EQ(d.arqv(save, " 1\n"), "");
    EXPECT_EQ(d.arqv({"REST"_opt}, " 1\n"), "RETCAS 410");

    FileRecords r(machine_disk(), d.run.units.cases->descriptor(), "CASES.SAV", CASE_RECORD, true);
    const auto link = [&](int record, std::int32_t to) {
        Writing scope(r);
        ASSERT_TRUE(r.write(record, &to, sizeof to) && scope.commit());
    };
    Directory directory;
    const auto look = [&] {
        const Reading scope(r);
        ASSERT_TRUE(directory.read(r));
    };
    d.network();
    look();
    link(directory.first(1), 30000);
    EXPECT_EQ(d.arqv(save, " 1\n"), "SAVCAS -180");
    look();
    link(directory.free_head(), 30000);
    EXPECT_EQ(d.arqv(save, " 2\n"), "SAVCAS -105");
}

// CPRI: the control that has no solution is given up, and every step that has one is a case of its own file.
TEST(CaseCommands, SolutionByPriorityKeepsItsSteps) {
    const Session solved(R"(DBAR
    1 L2  FONTE         1000  0.   0.   0. -999  999
    2 L1  CARGA         1000  0.   0.   0.   -1    1       200.   0.
99999
DLIN
    1         2 1            40.
99999
EXLF CPRI QLIM NEWT VLIM
EXLF CPRI VLIM QLIM CREM NEWT
FIM
)");
    EXPECT_EQ(solved.status, 0) << solved.console();
    EXPECT_FALSE(solved.run.opt["QLIM"_opt]);
    EXPECT_TRUE(shows(solved.console(), "Controle QLIM desligado"));
    EXPECT_EQ(solved.store().sol.CONVSTAT, 1);
    const std::string file = "CASO0001PRIORIDADE.SAV";
    ASSERT_TRUE(solved.dir.has(file));
    const SessionOptions with{.variables = {{"KVN$SAVCA", solved.dir.path() + "/" + file}}};
    for (const auto& [number, title] : {std::pair{1, "CASO BASE"}, std::pair{2, "CASO BASE + CREM"}}) {
        const Session restored("ARQV REST\n " + std::to_string(number) + "\nFIM\n", with);
        EXPECT_EQ(restored.messages(), "");
        EXPECT_EQ(restored.run.TITLE.trimmed(), title);
    }
    EXPECT_NE(Session("ARQV REST\n 3\nFIM\n", with).messages(), "");
}

}  // namespace
}  // namespace korvane::testing
