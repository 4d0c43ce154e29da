// The bus report: its arithmetic, and its page in both widths.
#include <gtest/gtest.h>

#include "reports/reports.hpp"
#include "reports/small_network.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/rows.hpp"

namespace korvane::testing {
namespace {

/// Columns of a text, one a character.
std::size_t width(const std::string& utf8) {
    return std::size_t(std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

/// A page as lines, and its columns as the rule under the heading draws them.
struct Printed {
    std::vector<std::string> lines;
    std::size_t rule = 0;
    std::vector<std::pair<std::size_t, std::size_t>> columns;  // first, behind the last

    explicit Printed(const std::string& text) {
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line.substr(line.starts_with('\f')));  // a new page
        // the rule in pieces; the one across the page stands above it
        while (rule < lines.size() && lines[rule].rfind("----- ---", 0) != 0) ++rule;
        if (rule == lines.size()) return;
        const std::string& r = lines[rule];
        for (std::size_t at = r.find('-'); at != r.npos; at = r.find('-', at)) {
            const std::size_t end = std::min(r.find(' ', at), r.size());
            columns.emplace_back(at, end);
            at = end;
        }
    }
    /// What stands in a column of a line below the rule; a number may begin in the gap before it.
    std::string cell(std::size_t line, std::size_t column) const {
        const std::string& row = lines.at(rule + line);
        auto [first, end] = columns.at(column);
        if (column > 2 && column + 1 < columns.size()) --first;
        std::string s = row.size() > first ? row.substr(first, end - first) : "";
        while (!s.empty() && s.front() == ' ') s.erase(0, 1);
        while (!s.empty() && s.back() == ' ') s.pop_back();
        return s;
    }
    std::vector<std::string> cells(std::size_t line) const {
        std::vector<std::string> all;
        for (std::size_t c = 0; c < columns.size(); ++c) all.push_back(cell(line, c));
        return all;
    }
};

/// The page of bus 2 alone, which has a generator, an injection, a shunt and a load of the given size in MW and Mvar.
Printed page_of(bool wide, double size, double angle, bool in_service = true, double devices = 0, int itsol = 0) {
    Session s(small_network() + "FIM\n");
    Run& run = s.run;
    Store& st = run.store;
    const double pu = size / run.cte.BASE;
    const int k = bus_of(st, 2), g = add_row(st.gen), e = add_row(st.eqv), h = add_row(st.sht);
    for (int i : rows(6)) st.bus.BUSSEL(i) = i == k;
    set_row(st.bus, k, "ANGLE", angle * RADIANS, "STBUS", in_service, "PLOAD", pu, "QLOAD", pu);
    st.gen.NOGEN(g) = st.eqv.NOEQV(e) = st.sht.NOSHT(h) = k;
    st.gen.PGEN(g) = st.gen.QGEN(g) = st.eqv.PMAT(e) = st.eqv.QMAT(e) = st.sht.SHUNT(h) = st.eqv.FSH(e) = -pu;
    st.gen.FGEN(g) = 12.5;
    st.eqv.FMAT(e) = 0.25;
    if (devices != 0) {
        put_row(st.cer, "NBECER", k, "QGCER", devices / run.cte.BASE);
    }
    st.sol.ITSOL = itsol;
    run.opt.restore();
    run.opt.set("RBAR"_opt);
    run.opt.set("80CO"_opt, !wide);
    run.units.LUREP = run.units.LUN[role::print];
    run.pag.LPP = 60;
    report_dispatch(run);
    const std::string text = s.print();
    for (const std::string& line : Printed(text).lines) EXPECT_LE(width(line), wide ? 132u : 80u) << line;
    return Printed(text);
}

using Cells = std::vector<std::string>;

TEST(BusReport, ValuesStandUnderTheirHeadingInBothWidths) {
    const Printed wide = page_of(true, 123.44, -12.345);
    EXPECT_EQ(wide.cells(1), (Cells{"2", "NORTE 77", "0", "1.0000", "-12.35", "-123.4", "-123.4", "-123.4", "-123.4",
                                    "123.4", "123.4", "0.0", "0.0", "-123.4", "-123.4", "0.0", "0.0", "LIG"}));
    ASSERT_EQ(wide.lines.size(), wide.rule + 2);
    const Printed narrow = page_of(false, 123.44, -12.345);
    EXPECT_EQ(narrow.cells(1),
              (Cells{"2", "1", "0", "1.0000", "-123.4", "-123.4", "12.5", "123.4", "0.0", "-123.4", "0.0", "LIG"}));
    const Cells second = narrow.cells(2);  // its name takes the first three columns
    EXPECT_EQ(narrow.lines[narrow.rule + 2].substr(0, 8), "NORTE 77");
    EXPECT_EQ(Cells(second.begin() + 3, second.end()),
              (Cells{"-12.35", "-123.4", "-123.4", "25.0", "123.4", "0.0", "-123.4", "0.0", ""}));
    const Printed linear = page_of(true, 123.44, -12.345, true, 0, 1);
    EXPECT_EQ(linear.cells(1),
              (Cells{"2", "NORTE 77", "0", "-12.35", "-123.4", "-123.4", "123.4", "0.0", "0.0", "LIG"}));
}

TEST(BusReport, GreatValuesFitAndGreaterOnesAreStarsInTheirOwnColumn) {
    for (bool wide : {true, false}) {
        const Printed great = page_of(wide, 99999, -9999);
        const Cells row = great.cells(1);
        EXPECT_EQ(row[wide ? 5 : 4], "-99999.0");
        EXPECT_EQ(row[wide ? 9 : 7], "99999.0");
        EXPECT_EQ(row[wide ? 13 : 9], wide ? "-99999." : "-99999.0") << "a shunt";
        EXPECT_EQ(wide ? row[4] : great.cell(2, 3), "-9999.00");
        const Cells beyond = page_of(wide, 1e7, 1e6).cells(1);
        EXPECT_EQ(beyond[wide ? 5 : 4], "********");
        EXPECT_EQ(beyond[wide ? 11 : 8], "0.0") << "the column behind stands where it stood";
        EXPECT_EQ(beyond.back(), "LIG");
    }
    const Cells broken = page_of(true, std::nan(""), 0).cells(1);
    EXPECT_EQ(broken[5], "********");
}

TEST(BusReport, ZeroHasNoSignAndWhatIsOutOfServiceShowsIt) {
    const Cells row = page_of(true, 0.04, -0.004, false).cells(1);
    for (const std::string& cell : row) EXPECT_EQ(cell.find("-0"), cell.npos) << cell;
    EXPECT_EQ(row.back(), "DES");
}

TEST(BusReport, DevicesTakeALineOfTheirOwnOnlyWhenThereAreSome) {
    for (bool wide : {true, false}) {
        const Printed with = page_of(wide, 10, 0, true, 45.6);
        EXPECT_TRUE(shows(with.lines.back(), "45.6 Mvar"));
        EXPECT_EQ(with.lines.size() - with.rule, page_of(wide, 10, 0).lines.size() - with.rule + 1);
    }
}

TEST(BusReport, PagesBreakBeforeABusThatDoesNotFit) {
    std::string deck = "DBAR\n" + bus_card({1, 2, 1, "REF"});
    for (int i = 2; i <= 150; ++i) deck += bus_card({i, 0, i <= 100 ? 1 : 2, "CARGA", 1});
    const Session s(deck + "99999\nRELA RBAR FILE\nFIM\n");
    // A page has 60 lines, of which 8 are heading: 100 buses of area 1 take two pages, the rest of area 2 one.
    std::vector<std::size_t> lines;
    std::istringstream in(s.print());
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] == '\f') lines.push_back(0);
        if (!lines.empty()) ++lines.back();
    }
    ASSERT_EQ(lines.size(), 3u) << s.print();
    EXPECT_LE(*std::max_element(lines.begin(), lines.end()), 60u);
    EXPECT_GE(lines[0], 59u) << "a full page";
    EXPECT_TRUE(shows(s.print(), "Página      3"));
}

// Hand arithmetic: base 100 MVA, V = 1.1, so V² = 1.21.
TEST(BusReport, SumsOfABusFollowItsVoltageAndTheStateOfItsElements) {
    Session s(small_network() + "FIM\n");
    Store& st = s.run.store;
    const int k = bus_of(st, 2);
    st.bus.VOLT(k) = 1.1;
    st.bus.ANGLE(k) = 0.5;
    const int h = add_row(st.sht), e = add_row(st.eqv);
    st.sht.NOSHT(h) = st.eqv.NOEQV(e) = k;
    st.sht.SHUNT(h) = 0.5;
    st.eqv.FSH(e) = 0.1;
    auto bank = [&](int branch, double q) { put_row(st.bsh, "NOBSH", k, "IDCIR", branch, "QBSH", q); };
    bank(0, 0.2);
    bank(1, 0.3);  // at the end of branch 1 - 2
    auto line_shunt = [&](int branch, double from, double to) {
        const int row = put_row(st.shl, "LISHL", branch, "SHLFR", from, "SHLTO", to);
        return row;
    };
    const int first = line_shunt(1, 9.0, 0.4), second = line_shunt(2, 0.05, 9.0);  // bus 2 is "to" of 1, "from" of 2
    st.shl.STSHLP(first) = true;
    auto row = [&] {
        map_bus_rows(st);
        return bus_row(st, BusElements(st), k, 100.0);
    };
    EXPECT_NEAR(row().shunt, (0.5 + 0.2) * 121, 1e-9);
    EXPECT_NEAR(row().equivalent_shunt, 0.1 * 121, 1e-9);
    EXPECT_NEAR(row().angle, 28.6478897565, 1e-9);
    EXPECT_NEAR(row().line_shunts, (0.3 + 0.4 + 0.05) * 121, 1e-9);
    EXPECT_EQ(row().p_gen, 0.0) << "no generator";
    EXPECT_EQ(row().participation, 0.0);
    st.shl.STSHLD(second) = false;  // switched off
    EXPECT_NEAR(row().line_shunts, (0.3 + 0.4) * 121, 1e-9);
    st.branch.STLIN(1) = false;  // the line is out, its end at bus 1 stays energised: nothing is left at bus 2
    st.branch.STLINP(1) = false;
    EXPECT_NEAR(row().line_shunts, 0.0, 1e-9);
    st.branch.STLIND(1) = false;  // and the other way round
    st.branch.STLINP(1) = true;
    EXPECT_NEAR(row().line_shunts, 0.4 * 121, 1e-9);
}

}  // namespace
}  // namespace korvane::testing
