// Block factorisation and solution over the fixed pattern of the network.
#include "powerflow/sparse.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "powerflow/vector_clones.hpp"

namespace korvane {

MatricesPtr make_matrices() {
    // Zeroed pages from the system: those never used cost nothing. The blocks want whole cache lines.
    constexpr std::size_t line = 64;
    void* const memory = std::calloc(1, sizeof(Matrices) + line);
    if (!memory) stop_run(1, " Memoria insuficiente para as matrizes do fluxo de potencia.");
    void* at = memory;
    std::size_t space = sizeof(Matrices) + line;
    std::align(line, sizeof(Matrices), at, space);
    auto* const m = static_cast<Matrices*>(at);
    m->memory = memory;
    return MatricesPtr(m);
}

void FreeMatrices::operator()(Matrices* m) const { std::free(m->memory); }

void clear_blocks(Matrices& m, const Pattern& p) {
    static_assert(std::is_trivially_copyable_v<BlockPair>);
    std::memset(static_cast<void*>(m.fat.data()), 0, std::size_t(p.column[p.N]) * sizeof(BlockPair));
}

void clear_fill(Matrices& m, const Pattern& p) {
    for (int i = 0; i < p.nfill; ++i) m.fat[std::size_t(p.fill[std::size_t(i)])] = {};
}

namespace {

/// The four numbers of a block in one register, row by row.
typedef double Two __attribute__((vector_size(16), may_alias));
typedef double Four __attribute__((vector_size(32), may_alias));

inline const Four& four(const Block& b) { return reinterpret_cast<const Four&>(b); }
inline Four& four(Block& b) { return reinterpret_cast<Four&>(b); }

// [a b; c d] times [e f; g h] is [a a c c] * [e f e f] + [b b d d] * [g h g h].
#define LEFT_COLUMN(x) __builtin_shufflevector(x, x, 0, 1, 0, 1)
#define RIGHT_COLUMN(x) __builtin_shufflevector(x, x, 2, 3, 2, 3)
#define UPPER_ROW(x) __builtin_shufflevector(x, x, 0, 0, 2, 2)
#define LOWER_ROW(x) __builtin_shufflevector(x, x, 1, 1, 3, 3)

/// a takes the size of each number of b that is greater.
[[gnu::always_inline]] inline void keep_larger(Four& a, const Four& b) {
    typedef long long Bits __attribute__((vector_size(32), may_alias));
    constexpr long long SIZE = 0x7fffffffffffffff;
    const Four size = reinterpret_cast<Four>(reinterpret_cast<const Bits&>(b) & Bits{SIZE, SIZE, SIZE, SIZE});
    a = size > a ? size : a;
}

/// Column a of the entries from e to end is eliminated; its entry e, at row i, now changes column i: the blocks at
/// the rows that follow e. `target(b)` is the entry that takes the product of e and b.
///
///     A(b, i) -= L(b) U(i)        A(i, b) -= L(i) U(b)
///
/// L is scaled by the inverted pivot, U is as it came; both products of a pair stand side by side in memory.
template <class Target>
[[gnu::always_inline]] inline void update_column(BlockPair* fat, int e, int end, Target target) {
    const Four u = four(fat[e].U), l = four(fat[e].L);
    const Four u0 = UPPER_ROW(u), u1 = LOWER_ROW(u), l0 = LEFT_COLUMN(l), l1 = RIGHT_COLUMN(l);
    for (int b = e + 1; b < end; ++b) {
        const Four ub = four(fat[b].U), lb = four(fat[b].L);
        BlockPair& to = fat[target(b)];
        four(to.U) = four(to.U) - l0 * UPPER_ROW(ub) - l1 * LOWER_ROW(ub);
        four(to.L) = four(to.L) - LEFT_COLUMN(lb) * u0 - RIGHT_COLUMN(lb) * u1;
    }
}

/// The rows of a block factorisation; 0, or 1 + the row whose pivot fails.
VECTOR_CLONES int factor_rows(BlockPair* fat, Block* diagonal, const Pattern& p, double tolerance, WeakPivots& weak) {
    const int n = p.N;
    const int* const column = p.column.data();
    const int* const row = p.row.data();
    const int* const aim = p.aim.data();
    const int* const aims = p.aims.data();
    for (int k = 0; k < n; ++k) {
        const Block d = diagonal[k];
        const double det = d.H * d.L - d.N * d.J;
        if (!(std::abs(det) > tolerance)) return k + 1;
        const Block inverse = {.H = d.L / det, .J = -d.J / det, .N = -d.N / det, .L = d.H / det};
        diagonal[k] = inverse;
        const int begin = column[k], end = column[k + 1];
        const Four i0 = UPPER_ROW(four(inverse)), i1 = LOWER_ROW(four(inverse));
        Four size = {0, 0, 0, 0};
        for (int e = begin; e < end; ++e) {
            const Four l = four(fat[e].L), u = four(fat[e].U);
            const Four scaled = LEFT_COLUMN(l) * i0 + RIGHT_COLUMN(l) * i1;
            four(fat[e].L) = scaled;
            keep_larger(size, scaled);
            Four& to = four(diagonal[row[e]]);
            to = to - LEFT_COLUMN(scaled) * UPPER_ROW(u) - RIGHT_COLUMN(scaled) * LOWER_ROW(u);
        }
        if (std::max(std::max(size[0], size[1]), std::max(size[2], size[3])) > WEAK && p.bus[std::size_t(k)] <= p.buses)
            [[unlikely]]
            weak.add(k);
        for (int e = begin; e + 1 < end; ++e) {
            if (const int at = aim[e]; at == SAME_ROWS) {
                const int shift = column[row[e]] - (e + 1);
                update_column(fat, e, end, [=](int b) { return b + shift; });
            } else if (at >= 0) {
                const int* const list = aims + at - (e + 1);
                update_column(fat, e, end, [=](int b) { return list[b]; });
            } else {
                int t = column[row[e]] - 1;
                update_column(fat, e, end, [=, &t](int b) {
                    do ++t;
                    while (row[t] != row[b]);
                    return t;
                });
            }
        }
    }
    return 0;
}

/// Forward over the columns, then backward over the rows of U, which stand in the same order.
VECTOR_CLONES void solve_rows(const BlockPair* fat, const Block* diagonal, const Pattern& p, Sides* side, int first) {
    const int* const column = p.column.data();
    const int* const row = p.row.data();
    for (int k = first; k < p.N; ++k) {
        const Two a = {side[k].DELTA, side[k].DELTA}, b = {side[k].WORK, side[k].WORK};
        for (int e = column[k]; e < column[k + 1]; ++e) {
            const Two* const l = reinterpret_cast<const Two*>(&fat[e].L);
            Two& s = reinterpret_cast<Two&>(side[row[e]]);
            s = s - (l[0] * a + l[1] * b);
        }
    }
    for (int k = p.N - 1; k >= 0; --k) {
        Two x = reinterpret_cast<Two&>(side[k]);
        for (int e = column[k]; e < column[k + 1]; ++e) {
            const Two* const u = reinterpret_cast<const Two*>(&fat[e].U);
            const Two s = reinterpret_cast<Two&>(side[row[e]]);
            x = x - (u[0] * __builtin_shufflevector(s, s, 0, 0) + u[1] * __builtin_shufflevector(s, s, 1, 1));
        }
        const Two* const d = reinterpret_cast<const Two*>(&diagonal[k]);
        reinterpret_cast<Two&>(side[k]) =
            d[0] * __builtin_shufflevector(x, x, 0, 0) + d[1] * __builtin_shufflevector(x, x, 1, 1);
    }
}

}  // namespace

int factor_blocks(Matrices& m, const Pattern& p, double tolerance) {
    m.weak.n = 0;
    if (p.capacity != 0) return p.capacity;
    return factor_rows(m.fat.data(), m.diagonal.data(), p, tolerance, m.weak);
}

void solve_blocks(Matrices& m, const Pattern& p, int first) {
    solve_rows(m.fat.data(), m.diagonal.data(), p, m.side.data(), first);
}

void keep_equations(Matrices& m, const Pattern& p) {
    std::copy_n(m.fat.begin(), p.column[std::size_t(p.N)], m.fat_kept.begin());
    std::copy_n(m.diagonal.begin(), p.N, m.diagonal_kept.begin());
    std::copy_n(m.side.begin(), p.N, m.side_kept.begin());
}

namespace {

/// b -= A x over one block.
void take_off(Sides& b, const Block& a, const Sides& x) {
    b.DELTA -= a.H * x.DELTA + a.N * x.WORK;
    b.WORK -= a.J * x.DELTA + a.L * x.WORK;
}

double size_of(const Sides* b, int n) {
    double largest = 0;
    for (int i = 0; i < n; ++i) largest = std::max({largest, std::abs(b[i].DELTA), std::abs(b[i].WORK)});
    return largest;
}

}  // namespace

double refine_solution(Matrices& m, const Pattern& p) {
    constexpr int ROUNDS = 5;
    constexpr double SMALL = 1e-12;  // of the right-hand side: some hundred times its rounding
    const double whole = size_of(m.side_kept.data(), p.N);
    std::copy_n(m.side.begin(), p.N, m.correction.begin());
    for (int round = 0;; ++round) {
        std::copy_n(m.side_kept.begin(), p.N, m.side.begin());
        for (int k = 0; k < p.N; ++k) {
            const auto r = std::size_t(k);
            take_off(m.side[r], m.diagonal_kept[r], m.correction[r]);
            for (int e = p.column[r]; e < p.column[r + 1]; ++e) {
                const auto i = std::size_t(p.row[std::size_t(e)]);
                take_off(m.side[r], m.fat_kept[std::size_t(e)].U, m.correction[i]);
                take_off(m.side[i], m.fat_kept[std::size_t(e)].L, m.correction[r]);
            }
        }
        const double left = size_of(m.side.data(), p.N);
        if (!(left > SMALL * whole) || round == ROUNDS) {
            std::copy_n(m.correction.begin(), p.N, m.side.begin());
            return whole > 0 ? left / whole : 0;
        }
        solve_blocks(m, p);
        for (int k = 0; k < p.N; ++k) {
            m.correction[std::size_t(k)].DELTA += m.side[std::size_t(k)].DELTA;
            m.correction[std::size_t(k)].WORK += m.side[std::size_t(k)].WORK;
        }
    }
}

}  // namespace korvane
