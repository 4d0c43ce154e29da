// What the operator sees of a solution: one line an iteration, the buses that switched, and the outcome.
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

/// The block of a method, and its rows.
struct Layout {
    const char* name;
    int switched;  // buses that switched
    int across;    // of them in a line
};
constexpr Layout layout(Method m) { return m == Method::newton ? Layout{"SOLVNW", 7, 10} : Layout{"SOLVPQ", 8, 11}; }
constexpr int HEADING_FIRST = 1, HEADING_LAST = 4;                                   // of either
constexpr int ITERATION = 6, SINGULAR = 8;                                           // of SOLVNW
constexpr int ACTIVE_HALF = 6, REACTIVE_HALF = 7;                                    // of SOLVPQ
constexpr int TOTALS_FIRST = 1, TOTALS_P = 2, TOTALS_Q = 3;                          // of SOLVLF
constexpr int OUTCOME_HEADING = 10;                                                  // of SOLVLF
constexpr int ISLANDS = 4, ISLANDS_LAST = 5, ISLAND = 6;                             // of SOLVLF
constexpr int STATE[] = {7, 8, 9, 11, 12, 13, 22};                                   // of SOLVLF: the text of a KONLF2
constexpr int OUTCOME[] = {0, 14, 15, 16, 0, 14, 17, 0, 0, 14, 18, 19, 20, 34, 21};  // of SOLVLF, by outcome code
constexpr std::size_t OPTIONS_FROM = 9;                                              // columns before the options
constexpr double FREQUENCY = 60;                                                     // Hz, without regulators

// Nothing is told of a solve inside another one.
bool quiet(const Run& run) { return run.mat.state.resolve != 0; }

void heading(Run& run, Page& page, int first = HEADING_FIRST, int last = HEADING_LAST) {
    const std::vector<std::string> lines = options_in_force(run);
    const std::vector<Arg> values(lines.begin(), lines.end());
    page.heading(first, last, std::span<const Arg>(values));
}

void report_island_totals(Run& run, Page& page) {
    const Store& s = run.store;
    const double base = run.cte.BASE;
    page.line(ISLANDS);
    page.line(ISLANDS_LAST);
    for (int i : rows(s.ilh.count)) {
        const IslandState& at = run.mat.island(i);
        const int state = at.KONLF2 >= 0 && at.KONLF2 < int(std::size(STATE)) ? at.KONLF2 : 0;
        if (!page.fits(1)) page.heading(ISLANDS, ISLANDS_LAST);
        page.line(ISLAND, i, s.ilh.NBILHA2(i), run.fmt.rot(STATE[state]).text(), at.XMI2, at.residual.DP * base,
                  at.NODEP2, at.residual.DQ * base, at.NODEQ2);
    }
}

}  // namespace

std::vector<std::string> options_in_force(const Run& run) {
    constexpr Option NEWTON[] = {"NEWT"_opt, "PART"_opt, "FJAC"_opt, "FLAT"_opt, "INDC"_opt, "IANG"_opt,
                                 "STEP"_opt, "STPO"_opt, "ILHA"_opt, "CILH"_opt, "ASLK"_opt, "AARI"_opt,
                                 "QLIM"_opt, "NCAP"_opt, "VLIM"_opt, "CREM"_opt, "TGER"_opt, "VLCR"_opt,
                                 "CTAP"_opt, "CTAF"_opt, "TAPD"_opt, "CNTC"_opt, "CSCA"_opt, "ACFP"_opt,
                                 "CPHS"_opt, "CINT"_opt, "DPER"_opt, "BPAR"_opt, "BPSI"_opt};
    constexpr Option LINEAR[] = {"LFDC"_opt, "PERD"_opt}, TABLES[] = {"PERC"_opt, "EMRG"_opt};
    const std::size_t width = std::size_t(page_width(run)) - OPTIONS_FROM;
    std::vector<std::string> lines = {""};
    auto show = [&](std::span<const Option> options) {
        for (const Option o : options) {
            if (!run.opt[o]) continue;
            const std::string_view name = OPTION(o.index);
            if (lines.back().size() + 1 + name.size() > width) lines.emplace_back();
            if (!lines.back().empty()) lines.back() += ' ';
            lines.back() += name;
        }
    };
    if (!run.opt["LFDC"_opt]) {
        show(NEWTON);
    } else {
        show(LINEAR);
        if (run.opt["TABE"_opt]) show(TABLES);
    }
    return lines;
}

void report_heading(Run& run, Method method) {
    if (quiet(run) || !run.opt["RCVG"_opt]) return;
    LDFORM(run, layout(method).name);
    Page page(run);
    page.force();
    heading(run, page);
}

void report_iteration(Run& run) {
    if (quiet(run)) return;
    const Solution& sol = run.store.sol;
    const double base = run.cte.BASE;
    LDFORM(run, layout(Method::newton).name);
    Page page(run);
    if (!page.fits(1)) heading(run, page);
    page.line(ITERATION, sol.NITP, FREQUENCY, sol.DPMAX * base, sol.NODEP, sol.DQMAX * base, sol.NODEQ, sol.XMI);
}

void report_half(Run& run, bool active) {
    if (quiet(run)) return;
    const Solution& sol = run.store.sol;
    const double base = run.cte.BASE;
    const auto fresh = [](const ScalarMatrix& a) { return a.state == FRESH ? "*" : " "; };
    LDFORM(run, layout(Method::decoupled).name);
    Page page(run);
    if (!page.fits(1)) heading(run, page);
    if (active)
        page.line(ACTIVE_HALF, sol.NITP, fresh(run.mat.B1), sol.DPMAX * base, sol.NODEP);
    else
        page.line(REACTIVE_HALF, sol.NITQ, fresh(run.mat.B2), sol.DQMAX * base, sol.NODEQ);
}

void report_switches(Run& run, Method method) {
    SolverState& st = run.mat.state;
    const int n = st.nlimq;
    st.nlimq = 0;
    if (n == 0 || quiet(run) || !run.opt["RCVG"_opt] || run.opt["80CO"_opt]) return;
    const Layout rows = layout(method);
    LDFORM(run, rows.name);
    Page page(run);
    for (int i = 0; i < n; i += rows.across) {
        std::vector<Arg> values;
        for (int j = i; j < std::min(n, i + rows.across); ++j) {
            const int entry = st.ILIMQ[std::size_t(j)];
            values.emplace_back(entry < 0 ? "C" : "B");
            values.emplace_back(std::abs(entry));
        }
        if (!page.fits(1)) heading(run, page);
        page.line(rows.switched, std::span<const Arg>(values));
    }
}

void report_singular(Run& run, int k) {
    if (quiet(run)) return;
    MSGOUT(run);
    LDFORM(run, layout(Method::newton).name);
    Page page(run);
    if (!page.fits(2)) heading(run, page);
    page.line(SINGULAR, run.store.bus.NOINT(k), run.store.bus.BNAME(k));
}

void report_outcome(Run& run, int code) {
    const Solution& sol = run.store.sol;
    const SolverState& st = run.mat.state;
    if (st.analysis || (!run.opt["RCVG"_opt] && (quiet(run) || sol.CONVSTAT == 1))) return;
    LDFORM(run, "SOLVLF");
    Page page(run);
    constexpr int LINES = 9;
    if (!page.fits(LINES)) heading(run, page, OUTCOME_HEADING, OUTCOME_HEADING);
    if (code > 0 && code < int(std::size(OUTCOME)) && OUTCOME[code]) page.line(OUTCOME[code]);
    const double base = run.cte.BASE;
    page.line(TOTALS_FIRST, st.NITLF, st.sum_p, st.sum_q, st.sum_dc, sol.XMI, FREQUENCY);
    if (run.opt["CILH"_opt]) {
        report_island_totals(run, page);
        PAGWAI(run);
        return;
    }
    page.line(TOTALS_P, sol.DPMAX * base, sol.NODEP);
    page.line(TOTALS_Q, sol.DQMAX * base, sol.NODEQ);
    PAGWAI(run);
}

}  // namespace korvane
