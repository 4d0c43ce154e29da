// What the operator sees of a solution: one line an iteration, the buses that switched, and the outcome.
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

// Rows of block SOLVNW.
constexpr int HEADING_FIRST = 1, HEADING_LAST = 4, ITERATION = 6, SWITCHED = 7, SINGULAR = 8;
// Rows of block SOLVLF: an outcome code stands in its own row; the totals.
constexpr int TOTALS_FIRST = 1, TOTALS_P = 2, TOTALS_Q = 3;
constexpr int OUTCOME[] = {0, 14, 15, 16, 0, 14, 17, 0, 0, 14, 18, 19, 20, 34, 21};
constexpr double FREQUENCY = 60;  // Hz, without regulators

// Nothing is told of a solve inside another one.
bool quiet(const Run& run) { return run.mat.state.resolve != 0; }

void heading(Run& run, Page& page) { page.heading(HEADING_FIRST, HEADING_LAST, options_in_force(run)); }

}  // namespace

std::string options_in_force(const Run& run) {
    constexpr Option SHOWN[] = {"NEWT"_opt, "LFDC"_opt, "FLAT"_opt, "STEP"_opt, "ILHA"_opt, "ASLK"_opt, "QLIM"_opt,
                                "VLIM"_opt, "CREM"_opt, "CTAP"_opt, "CPHS"_opt, "CSCA"_opt, "CINT"_opt};
    std::string list;
    for (const Option o : SHOWN)
        if (run.opt[o]) {
            if (!list.empty()) list += ' ';
            list += OPTION(o.index);
        }
    return list;
}

void report_heading(Run& run) {
    if (quiet(run) || !run.opt["RCVG"_opt]) return;
    LDFORM(run, "SOLVNW");
    Page page(run);
    page.force();
    heading(run, page);
}

void report_iteration(Run& run) {
    if (quiet(run)) return;
    const Solution& sol = run.store.sol;
    const double base = run.cte.BASE;
    LDFORM(run, "SOLVNW");
    Page page(run);
    if (!page.fits(1)) heading(run, page);
    page.line(ITERATION, sol.NITP, FREQUENCY, sol.DPMAX * base, sol.NODEP, sol.DQMAX * base, sol.NODEQ, sol.XMI);
}

void report_switches(Run& run) {
    SolverState& st = run.mat.state;
    const int n = st.nlimq;
    st.nlimq = 0;
    if (n == 0 || quiet(run) || !run.opt["RCVG"_opt] || run.opt["80CO"_opt]) return;
    LDFORM(run, "SOLVNW");
    Page page(run);
    constexpr int ACROSS = 10;
    for (int i = 0; i < n; i += ACROSS) {
        std::array<Arg, std::size_t(2 * ACROSS)> values = {
            Arg(""), Arg(0), Arg(""), Arg(0), Arg(""), Arg(0), Arg(""), Arg(0), Arg(""), Arg(0),
            Arg(""), Arg(0), Arg(""), Arg(0), Arg(""), Arg(0), Arg(""), Arg(0), Arg(""), Arg(0)};
        const int here = std::min(ACROSS, n - i);
        for (int j = 0; j < here; ++j) {
            const int entry = st.ILIMQ[std::size_t(i + j)];
            values[std::size_t(2 * j)] = Arg(entry < 0 ? "C" : "B");
            values[std::size_t(2 * j + 1)] = Arg(std::abs(entry));
        }
        if (!page.fits(1)) heading(run, page);
        page.line(SWITCHED, std::span<const Arg>(values.data(), std::size_t(2 * here)));
    }
}

void report_singular(Run& run, int k) {
    if (quiet(run)) return;
    MSGOUT(run);
    LDFORM(run, "SOLVNW");
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
    if (!page.fits(LINES)) page.heading(10, 10, options_in_force(run));
    if (code > 0 && code < int(std::size(OUTCOME)) && OUTCOME[code]) page.line(OUTCOME[code]);
    const double base = run.cte.BASE;
    page.line(TOTALS_FIRST, st.NITLF, st.sum_p, st.sum_q, st.sum_dc, sol.XMI, FREQUENCY);
    page.line(TOTALS_P, sol.DPMAX * base, sol.NODEP);
    page.line(TOTALS_Q, sol.DQMAX * base, sol.NODEQ);
    PAGWAI(run);
}

}  // namespace korvane
