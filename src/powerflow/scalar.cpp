// Scalar matrices over the pattern of the network: B' and B'' of the decoupled and the linear solutions.
//
// B. Stott, O. Alsac, Fast Decoupled Load Flow, IEEE Trans. PAS-93, 1974.
#include <algorithm>
#include <cmath>

#include "powerflow/solver.hpp"
#include "powerflow/vector_clones.hpp"

namespace korvane {

namespace {

constexpr double HELD_SCALAR = 1e20;  // diagonal of a row taken out of play
constexpr double LEAST_RATIO = 1e-6;  // reactance to resistance of a branch that has no reactance

/// Entry e of an eliminated column, at row i, updates column i: A(b, i) -= A(b) d A(i) for the entries b after it.
template <class Target>
[[gnu::always_inline]] inline void update_column(double* value, int e, int end, double scaled, Target target) {
    for (int b = e + 1; b < end; ++b) value[target(b)] -= value[b] * scaled;
}

VECTOR_CLONES int factor_rows(double* value, double* diagonal, const Pattern& p, double tolerance, WeakPivots& weak) {
    const int* const column = p.column.data();
    const int* const row = p.row.data();
    for (int k = 0; k < p.N; ++k) {
        if (!(std::abs(diagonal[k]) > tolerance)) return k + 1;
        const double d = diagonal[k] = 1 / diagonal[k];
        const int end = column[k + 1];
        double size = 0;
        for (int e = column[k]; e < end; ++e) {
            const double w = value[e], scaled = w * d;
            size = std::max(size, std::abs(scaled));
            diagonal[row[e]] -= scaled * w;
            if (const int at = p.aim[e]; at == SAME_ROWS) {
                const int shift = column[row[e]] - (e + 1);
                update_column(value, e, end, scaled, [=](int b) { return b + shift; });
            } else if (at >= 0) {
                const int* const list = p.aims.data() + at - (e + 1);
                update_column(value, e, end, scaled, [=](int b) { return list[b]; });
            } else {
                int t = column[row[e]] - 1;
                update_column(value, e, end, scaled, [=, &t](int b) {
                    do ++t;
                    while (row[t] != row[b]);
                    return t;
                });
            }
            value[e] = scaled;
        }
        if (size > WEAK) [[unlikely]]
            weak.add(k);
    }
    return 0;
}

// f(l, entry) for every branch in service.
template <class F>
void each_entry(const Run& run, const Pattern& p, F f) {
    for (int l : rows(run.store.branch.NL))
        if (const Slot slot = p.slot[std::size_t(l - 1)]; !slot.none()) f(l, slot.entry());
}

bool held(int type) { return std::abs(type) >= 3; }

// B': no resistance, no tap; slack buses decoupled. A connected network leaves it positive definite.
void build_first(Run& run) {
    const Store& s = run.store;
    const Pattern& p = run.mat.plain;
    ScalarMatrix& a = run.mat.B1;
    std::fill_n(a.value.data(), p.column[std::size_t(p.N)], 0.0);
    for (int k : rows(s.bus.NB)) a.diagonal[std::size_t(p.NORDER(k) - 1)] = held(s.bus.NTYPE(k)) ? HELD_SCALAR : 0;
    each_entry(run, p, [&](int l, int entry) {
        const int k = s.branch.NFROM(l), m = s.branch.NTO(l);
        const double v = linear_element(s, l);
        a.diagonal[std::size_t(p.NORDER(k) - 1)] -= v;
        a.diagonal[std::size_t(p.NORDER(m) - 1)] -= v;
        if (!held(s.bus.NTYPE(k)) && !held(s.bus.NTYPE(m))) a.value[std::size_t(entry)] += v;
    });
}

// B'': buses whose voltage is held decoupled.
void build_second(Run& run) {
    const Store& s = run.store;
    const Pattern& p = run.mat.plain;
    ScalarMatrix& a = run.mat.B2;
    std::fill_n(a.value.data(), p.column[std::size_t(p.N)], 0.0);
    for (int k : rows(s.bus.NB))
        a.diagonal[std::size_t(p.NORDER(k) - 1)] = s.bus.NTYPE(k) < 1 ? -2 * run.mat.BDIAG(k) : HELD_SCALAR;
    each_entry(run, p, [&](int l, int entry) {
        const int k = s.branch.NFROM(l), m = s.branch.NTO(l);
        const double v = s.branch.BKM(l);
        a.diagonal[std::size_t(p.NORDER(k) - 1)] += v;
        a.diagonal[std::size_t(p.NORDER(m) - 1)] += v;
        if (s.bus.NTYPE(k) < 1 && s.bus.NTYPE(m) < 1) a.value[std::size_t(entry)] += v;
    });
}

// Buses of weak pivots, and one whose pivot fails, go to the end of the order, and the matrix is built anew.
int factor_reordering(Run& run, ScalarMatrix& a, void (*build)(Run&)) {
    for (;;) {
        build(run);
        const int status = factor_scalar(a, run.mat.plain, run.cte.TSFR);
        if (status > 0) a.weak.add(status - 1);
        if (status == 0 && a.weak.n == 0) tell_held_back(run);
        if (a.weak.n == 0 || !hold_back(run, run.mat.plain, a.weak.rows())) return status;
    }
}

bool factor_first(Run& run, std::string_view routine, int one_island) {
    const int status = factor_reordering(run, run.mat.B1, build_first);
    if (status == 0) {
        run.mat.B1.state = FRESH;
        return true;
    }
    if (status < 0)
        MSGPUT(run, routine, 100);
    else
        MSGPUT(run, routine, find_islands(run) > 1 ? 110 : one_island);
    return false;
}

bool factor_second(Run& run) {
    const int status = factor_reordering(run, run.mat.B2, build_second);
    if (status != 0) MSGPUT(run, "MATRIX", status < 0 ? 130 : 120);
    run.mat.B2.state = status == 0 ? FRESH : 0;
    return status == 0;
}

// B'', and B' before it when asked for or when B'' could not do with the order of B'.
bool factor_pair(Run& run, bool first) {
    for (;;) {
        if (first && !factor_first(run, "MATRIX", 140)) return false;
        const int order = run.mat.state.reorders;
        if (!factor_second(run)) return false;
        if (run.mat.state.reorders == order) return true;
        first = true;
    }
}

}  // namespace

int factor_scalar(ScalarMatrix& a, const Pattern& p, double tolerance) {
    a.weak.n = 0;
    if (p.capacity < 0) return p.capacity;
    return factor_rows(a.value.data(), a.diagonal.data(), p, tolerance, a.weak);
}

void solve_scalar(const ScalarMatrix& a, const Pattern& p, double* x, int first) {
    const int* const column = p.column.data();
    const int* const row = p.row.data();
    const double* const value = a.value.data();
    const double* const diagonal = a.diagonal.data();
    for (int k = first, e = column[first]; k < p.N; ++k) {
        const double here = x[k];
        x[k] = here * diagonal[k];
        for (const int end = column[k + 1]; e < end; ++e) x[row[e]] -= value[e] * here;
    }
    for (int k = p.N - 1, e = column[p.N] - 1; k >= 0; --k) {
        double here = x[k];
        for (const int begin = column[k]; e >= begin; --e) here -= value[e] * x[row[e]];
        x[k] = here;
    }
}

double linear_element(const Store& s, int l) {
    const double g = s.branch.GKM(l), b = s.branch.BKM(l);
    const int n = tap_row(s, l);
    const double v = b != 0 ? b + g * g / b : -g / LEAST_RATIO;
    return n ? v / s.tap.TAP(n) : v;
}

bool MATRIZ(Run& run) { return factor_first(run, "MATRIZ", 120); }

bool MATRIX(Run& run) {
    build_diagonal(run);
    if (run.opt["NEWT"_opt] && !run.opt["PART"_opt]) return true;
    return factor_pair(run, true);
}

bool rebuild_second(Run& run) {
    if (factor_pair(run, false)) return true;
    run.store.sol.CONVSTAT = 3;
    return false;
}

}  // namespace korvane
