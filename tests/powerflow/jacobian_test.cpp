// The Jacobian against the slopes of the mismatches: every row of the network and of every control, at random states.
#include <gtest/gtest.h>

#include "powerflow/augmented.hpp"
#include "powerflow/controlled_networks.hpp"

namespace korvane::testing {
namespace {

/// What a device lends the test: the state that its column moves, and the factor that its row is divided by, which
/// moves with the state while its derivative is not part of the equation.
struct Unknown {
    void (*move)(Network&, int record, double by);
    double (*divisor)(Network&, int record);
};
double whole(Network&, int) { return 1; }

Unknown unknown_of(Network& n, int f) {
    switch (const int i = f - n.s.bus.NB; Equation(n.run.mat.control.IDPTAD(i))) {
        case Equation::capability: return {[](Network& net, int j, double by) { net.s.gen.QGEN(j) += by; }, whole};
        case Equation::remote_generator:
            return {[](Network& net, int r, double by) {
                        net.s.gen.QGEN(net.run.mat.control.remote_row(r).generator) += by;
                    },
                    [](Network& net, int r) {
                        const auto& row = net.run.mat.control.remote_row(r);
                        const bool shares = net.run.mat.diagonal[row_of(net.run, row.equation)].L == 1;
                        return shares ? 1.0 : net.s.bus.VOLT(row.bus);
                    }};
        case Equation::tap:
            return {[](Network& net, int r, double by) {
                        const int tap = net.run.mat.control.tap_row(r).tap;
                        change_tap(net.run, tap, net.s.tap.TAP(tap) + by);
                    },
                    [](Network& net, int r) {
                        const auto& row = net.run.mat.control.tap_row(r);
                        return row.leader ? 1.0 : net.s.bus.VOLT(row.bus);
                    }};
        case Equation::compensator: return {[](Network& net, int c, double by) { net.s.cer.QGCER(c) += by; }, whole};
        case Equation::automatic_shunt:
            return {[](Network& net, int r, double by) {
                        const int a = net.run.mat.control.shunt_row(r).shunt;
                        net.s.sca.BSCA(a) += by;
                        net.run.mat.BDIAG(net.s.sca.NBUSSCA(a)) += by;
                    },
                    [](Network& net, int r) {
                        const auto& row = net.run.mat.control.shunt_row(r);
                        const bool relieves = row.beside == ControlWork::Beside::remote_generators;
                        return relieves ? 1.0 : net.s.bus.VOLT(row.bus);
                    }};
        case Equation::series_device:
            return {[](Network& net, int r, double by) {
                        const int l = net.s.csc.LICSC(net.run.mat.control.series_row(r).device);
                        net.s.branch.BKM(l) += by;
                        net.run.mat.BDIAG(net.s.branch.NFROM(l)) += by;
                        net.run.mat.BDIAG(net.s.branch.NTO(l)) += by;
                    },
                    whole};
        case Equation::phase_shifter:
            return {
                [](Network& net, int r, double by) { net.s.phs.PHS(net.run.mat.control.shifter_row(r).shifter) += by; },
                whole};
        default: ADD_FAILURE() << "no unknown for equation " << n.run.mat.control.IDPTAD(i); return {};
    }
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
    n.run.cte.QLST = n.run.opt["QLIM"_opt] ? -1 : 1e99;  // no bus changes its type, shunts are awake
    n.run.cte.TLVC = 0;                                  // every voltage error counts
    n.run.cte.TPST = 1e99;                               // taps are awake
    n.s.sol.NITP = 1;
    const Pattern& p = pattern(n.run);
    const int buses = n.s.bus.NB;
    auto record = [&](int f) { return n.run.mat.control.IAPTAD(f - buses); };
    auto mismatch = [&] {
        refresh_angles(n.run);
        assemble(n.run);
        std::vector<Sides> sides(m.side.begin(), m.side.begin() + p.N);
        for (int f = buses + 1; f <= m.state.NEQ; ++f)
            if (m.diagonal[row_of(n.run, f)].L != HELD)
                sides[row_of(n.run, f)].WORK *= unknown_of(n, f).divisor(n, record(f));
        return sides;
    };
    mismatch();
    const auto j = dense(n);
    std::vector<double> divisor(std::size_t(p.N), 1.0);
    for (int f = buses + 1; f <= m.state.NEQ; ++f)
        if (m.diagonal[row_of(n.run, f)].L != HELD) divisor[row_of(n.run, f)] = unknown_of(n, f).divisor(n, record(f));
    // Generation of one alone is read off its row, which then has no mismatch.
    auto read_off = [&](int row) {
        const int g = row <= buses ? m.work.NOBGEN(row) : 0;
        return g && m.control.releases(g) && m.control.NTCST(g) == 0;
    };
    constexpr double STEP = 1e-5;    // the error of the slope is about its square, times a third derivative
    constexpr double SLIGHT = 1e-4;  // what a voltage equation has on its own diagonal
    auto compare = [&](int column, bool angle, auto move) {
        move(STEP);
        const auto up = mismatch();
        move(-2 * STEP);
        const auto down = mismatch();
        move(STEP);
        const std::size_t c = row_of(n.run, column);
        for (int row : rows(m.state.NEQ)) {
            const std::size_t r = row_of(n.run, row);
            const Block &b = j[r][c], &own = j[r][r];
            if (r == c && (angle ? own.H : own.L) == HELD) continue;  // a held unknown has no column of its own
            if (own.H != HELD && (row <= buses || own.H != 1)) {
                EXPECT_NEAR(angle ? b.H : b.N, (down[r].DELTA - up[r].DELTA) / (2 * STEP), 1e-6)
                    << what << " row P " << row << " column " << column << (angle ? " angle" : "");
            }
            if (own.L != HELD && !read_off(row)) {
                EXPECT_NEAR(angle ? b.J : b.L, (down[r].WORK - up[r].WORK) / (2 * STEP * divisor[r]),
                            r == c && row > buses ? 1e-6 + SLIGHT : 1e-6)
                    << what << " row Q " << row << " column " << column << (angle ? " angle" : "");
            }
        }
    };
    for (int k : rows(buses)) {
        compare(k, true, [&](double by) { n.s.bus.ANGLE(k) += by; });
        compare(k, false, [&](double by) { n.s.bus.VOLT(k) *= std::exp(by); });
    }
    int acting = 0;
    for (int f = buses + 1; f <= m.state.NEQ; ++f)
        if (j[row_of(n.run, f)][row_of(n.run, f)].L != HELD) {
            compare(f, false, [&](double by) { unknown_of(n, f).move(n, record(f), by); });
            ++acting;
        }
    for (int f = buses + 1; f <= m.state.NEQ; ++f)  // a series compensator has its unknown in the angle half
        if (j[row_of(n.run, f)][row_of(n.run, f)].H != 1) {
            compare(f, true, [&](double by) { unknown_of(n, f).move(n, record(f), by); });
            ++acting;
        }
    EXPECT_EQ(acting > 0, m.state.NEQ > buses) << what;
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
        {"remote voltage", add_remote},
        {"remote voltage, all generators",
         [](Network& n, unsigned seed) {
             add_remote(n, seed);
             n.run.opt.set("TGER"_opt);
         }},
        {"taps", add_taps},
        {"static compensators", add_compensators},
        {"series compensators", add_series_compensators},
        {"phase shifters", add_shifters},
        {"automatic shunts", add_shunts},
        {"automatic shunts beside others",
         [](Network& n, unsigned seed) {
             add_remote(n, seed);
             add_compensators(n, seed);
             add_shunts(n, seed);
         }},
        {"all flow devices",
         [](Network& n, unsigned seed) {
             add_compensators(n, seed);
             add_series_compensators(n, seed);
             add_shifters(n, seed);
         }},
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
