// Headings, line counts and pauses.
#include <gtest/gtest.h>

#include "frame/run.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

TEST(Page, TheHeadingHasThePageNumberOnlyInItsWideForm) {
    for (bool wide : {true, false}) {
        Session s;
        auto& run = s.start().run;
        run.TITLE = "Rede do norte";
        run.opt.set("80CO"_opt, !wide);
        s.os.output.clear();
        for (int i = 0; i < 2; ++i) PAGHDR(run);
        EXPECT_EQ(run.pag.NLINE, 3);
        EXPECT_EQ(bool(shows(s.console(), "Página      2")), wide) << s.console();
        EXPECT_TRUE(shows(s.console(), PROGRAM_STAMP));
        EXPECT_TRUE(shows(s.console(), "\nRede do norte\n" + std::string(wide ? 132 : 80, '-') + "\n"));
    }
}

TEST(Page, TheSubjectTakesALine) {
    Session s;
    auto& run = s.start().run;
    run.pag.subject = [](korvane::Run& r) { write_line(r, r.units.LUREP, " Contingency 7"); };
    PAGHDR(run);
    EXPECT_EQ(run.pag.NLINE, 4);
    EXPECT_TRUE(shows(s.console(), "Contingency 7"));
}

TEST(Page, FitsUpToItsLastLine) {
    struct Case {
        int nline, errors, warnings, lines;
        bool breaks;
    };
    // 60 lines; a message takes 3. A negative count was flushed already.
    const Case cases[] = {{59, 0, 0, 1, false}, {60, 0, 0, 1, true},    {56, 1, 0, 1, false}, {57, 1, 0, 1, true},
                          {53, 1, 1, 1, false}, {57, -5, -2, 3, false}, {58, -5, -2, 3, true}};
    Session s;
    auto& run = s.start().run;
    run.pag.LPP = 60;
    for (const Case& c : cases) {
        run.pag.NLINE = c.nline;
        PAGFIT(run, c.errors, c.warnings, c.lines);
        EXPECT_EQ(run.pag.NLINE, c.breaks ? 60 : c.nline) << c.nline << ' ' << c.errors << ' ' << c.lines;
    }
}

TEST(Page, TheOperatorEndsAReportAtThePauseBetweenItsPages) {
    struct Case {
        std::string typed;
        bool wanted;
    };
    for (const Case& c : {Case{"\n", true}, Case{"   \n", true}, Case{"n\n", false}, Case{"", false}}) {
        Session s({.via = Via::console});
        auto& run = s.start().run;
        run.units.BATCHI = false;
        run.pag.PAUSAT = true;
        run.opt.set("IMPR"_opt);
        Page page(run);
        PAGHDR(run);
        EXPECT_TRUE(page.wanted()) << "no question before the first page";
        s.os.type(c.typed);
        PAGHDR(run);
        EXPECT_EQ(page.wanted(), c.wanted) << c.typed;
        EXPECT_EQ(run.opt["IMPR"_opt], c.wanted);
        EXPECT_TRUE(Page(run).wanted()) << "the next report is asked for anew";
    }
}

TEST(Page, NobodyIsAskedInABatchRun) {
    Session s;
    auto& run = s.start().run;
    run.pag.PAUSAT = true;
    s.os.type("x\nx\n");
    for (int i = 0; i < 2; ++i) PAGHDR(run);
    PAGWAI(run);
    EXPECT_EQ(s.os.typed.size(), 2u);
    EXPECT_EQ(run.pag.KEYANS, ' ');
}

}  // namespace
}  // namespace korvane::testing
