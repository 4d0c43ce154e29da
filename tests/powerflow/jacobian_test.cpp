// The Jacobian against the slopes of the mismatches: every row of the network and of every control, at random states.
#include <gtest/gtest.h>

#include "powerflow/augmented.hpp"
#include "powerflow/networks.hpp"

namespace korvane::testing {
namespace {

/// What the column of a fictitious bus moves, by the kind of its equation.
double& unknown_of(Network& n, int f) {
    const int i = f - n.s.bus.NB, record = n.run.mat.control.IAPTAD(i);
    switch (Equation(n.run.mat.control.IDPTAD(i))) {
        case Equation::capability: return n.s.gen.QGEN(record);
        default: break;
    }
    ADD_FAILURE() << "no unknown for equation " << n.run.mat.control.IDPTAD(i);
    static double none;
    return none;
}

/// Machines with capability curves on every generator, half of them at a limit and somewhere beside the curve.
void add_machines(Network& n, unsigned seed) {
    std::mt19937 random(seed);
    auto uniform = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); };
    for (int j : rows(n.s.gen.NG)) {
        n.s.gen.XQ(j) = uniform(0.8, 1.5);
        n.s.gen.SNOMI(j) = uniform(0.6, 1);
        n.s.gen.FPNOM(j) = uniform(0.8, 0.95);
        n.s.gen.FSRIA(j) = n.s.gen.FSRIR(j) = 1.05;
        n.s.gen.ANGCG(j) = uniform(1.1, 1.4);
        n.s.gen.QGEN(j) = uniform(-0.4, 0.4);
        int& type = n.s.bus.NTYPE(n.s.gen.NOGEN(j));
        if (j % 2 && type >= 2) type = -type;
    }
    n.run.opt.set("QLIM"_opt);
}

/// The equations of the present pass as one dense matrix, block by block.
std::vector<std::vector<Block>> dense(const Network& n) {
    const Pattern& p = pattern(n.run);
    const Matrices& m = n.run.mat;
    const auto size = std::size_t(p.N);
    std::vector<std::vector<Block>> j(size, std::vector<Block>(size, Block{}));
    for (std::size_t c = 0; c < size; ++c) {
        j[c][c] = m.diagonal[c];
        for (int e = p.column[c]; e < p.column[c + 1]; ++e) {
            const auto r = std::size_t(p.row[std::size_t(e)]);
            j[r][c] = m.fat[std::size_t(e)].L;
            j[c][r] = m.fat[std::size_t(e)].U;
        }
    }
    return j;
}

void expect_slopes(Network& n, const std::string& what) {
    Matrices& m = n.run.mat;
    ASSERT_TRUE(OPTIMO(n.run, m.plain, n.s.bus.NB, n.s.branch.NL));
    build_diagonal(n.run);
    find_islands(n.run);
    start_limits(n.run);
    ASSERT_TRUE(build_equations(n.run));
    n.run.cte.QLST = -1;  // no bus changes its type here
    n.s.sol.NITP = 1;
    const Pattern& p = pattern(n.run);
    auto mismatch = [&] {
        refresh_angles(n.run);
        assemble(n.run);
        return std::vector<Sides>(m.side.begin(), m.side.begin() + p.N);
    };
    mismatch();
    const auto j = dense(n);
    constexpr double STEP = 1e-5;  // the error of the slope is about its square, times a third derivative
    auto compare = [&](int column, bool angle, double& state, auto moved) {
        const double at = state;
        state = moved(at, STEP);
        const auto up = mismatch();
        state = moved(at, -STEP);
        const auto down = mismatch();
        state = at;
        const std::size_t c = row_of(n.run, column);
        for (int row : rows(m.state.NEQ)) {
            const std::size_t r = row_of(n.run, row);
            const Block &b = j[r][c], &own = j[r][r];
            if (r == c && (angle ? own.H : own.L) == HELD) continue;  // a held unknown has no column of its own
            if (own.H != HELD && row <= n.s.bus.NB) {
                EXPECT_NEAR(angle ? b.H : b.N, (down[r].DELTA - up[r].DELTA) / (2 * STEP), 1e-6)
                    << what << " row P " << row << " column " << column << (angle ? " angle" : "");
            }
            if (own.L != HELD) {
                EXPECT_NEAR(angle ? b.J : b.L, (down[r].WORK - up[r].WORK) / (2 * STEP), 1e-6)
                    << what << " row Q " << row << " column " << column << (angle ? " angle" : "");
            }
        }
    };
    auto add = [](double at, double step) { return at + step; };
    auto scale = [](double at, double step) { return at * std::exp(step); };
    for (int k : rows(n.s.bus.NB)) {
        compare(k, true, n.s.bus.ANGLE(k), add);
        compare(k, false, n.s.bus.VOLT(k), scale);
    }
    for (int f = n.s.bus.NB + 1; f <= m.state.NEQ; ++f)
        if (m.diagonal[row_of(n.run, f)].L != HELD) compare(f, false, unknown_of(n, f), add);
    remove_equations(n.run);
}

TEST(Jacobian, IsMinusTheSlopeOfTheMismatch) {
    struct {
        const char* what;
        void (*add)(Network&, unsigned seed);
    } cases[] = {
        {"network", [](Network&, unsigned) {}},
        {"loads with models", add_voltage_loads},
        {"capability curves", add_machines},
    };
    for (const auto& c : cases)
        for (unsigned seed : {3u, 8u}) {
            Network n;
            random_network(n, seed, 24);
            std::mt19937 random(seed);
            for (int k : rows(n.s.bus.NB)) {
                n.s.bus.VOLT(k) *= 0.95 + 0.001 * double(random() % 100);
                n.s.bus.ANGLE(k) += 0.002 * double(random() % 100);
            }
            c.add(n, seed);
            expect_slopes(n, c.what + std::string(" seed ") + std::to_string(seed));
        }
}

}  // namespace
}  // namespace korvane::testing
