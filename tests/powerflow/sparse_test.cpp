// Ordering and factorisation against dense arithmetic.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "powerflow/sparse.hpp"
#include "support/expect.hpp"

namespace korvane {
namespace {

struct Graph {
    int n = 0;
    std::vector<BusRef> from, to;
    std::unique_ptr<bool[]> on;
    void join(int k, int m) { from.push_back(k), to.push_back(m); }
    int branches() const { return int(from.size()); }
};

Graph graph(int n, std::initializer_list<std::pair<int, int>> branches = {}) {
    Graph g{n, {}, {}, {}};
    for (auto [k, m] : branches) g.join(k, m);
    return g;
}

Graph random_graph(unsigned seed, int n, int branches) {
    std::mt19937 random(seed);
    Graph g{n, {}, {}, {}};
    for (int i = 0; i < branches; ++i) {
        const int k = int(random() % unsigned(n)) + 1, m = int(random() % unsigned(n)) + 1;
        if (k != m) g.join(k, m);
    }
    return g;
}

class Solver {
public:
    MatricesPtr memory = make_matrices();
    Matrices& m = *memory;
    Pattern& p = m.plain;
    OrderFault order(Graph& g, int pool = MXPOOL, const bool* late = nullptr) {
        if (!g.on) {
            g.on = std::make_unique<bool[]>(g.from.size() + 1);
            std::fill_n(g.on.get(), g.from.size(), true);
        }
        return find_order(p, m.space, g.n, g.branches(), g.from.data(), g.to.data(), g.on.get(), late, pool);
    }
    std::vector<int> positions() const {
        std::vector<int> list;
        for (int k : rows(p.N)) list.push_back(p.NORDER(k));
        return list;
    }
};

/// The order by its definition, on sets: least degree, first in first out within a degree; entries counted.
std::pair<std::vector<int>, int> order_by_sets(const Graph& g) {
    std::vector<std::set<int>> near(std::size_t(g.n + 1));
    for (int l = 0; l < g.branches(); ++l)
        if (g.on[std::size_t(l)]) {
            const int k = g.from[std::size_t(l)], m = g.to[std::size_t(l)];
            near[std::size_t(k)].insert(m), near[std::size_t(m)].insert(k);
        }
    std::map<std::size_t, std::vector<int>> classes;
    for (int k : rows(g.n)) classes[near[std::size_t(k)].size()].push_back(k);
    std::vector<int> position(std::size_t(g.n), 0);
    int entries = 0;
    for (int at = 1; at <= g.n; ++at) {
        auto least = classes.begin();
        while (least->second.empty()) ++least;
        const int v = least->second.front();
        least->second.erase(least->second.begin());
        position[std::size_t(v - 1)] = at;
        for (int u : near[std::size_t(v)]) {
            auto& set = near[std::size_t(u)];
            auto& old = classes[set.size()];
            old.erase(std::find(old.begin(), old.end(), u));
            for (int w : near[std::size_t(v)])
                if (w != u) set.insert(w);
            set.erase(v);
            classes[set.size()].push_back(u);
            ++entries;
        }
    }
    return {position, entries};
}

TEST(Ordering, ByHand) {
    struct {
        const char* what;
        Graph g;
        std::vector<int> position;
        int entries;
    } cases[] = {
        {"no branches: the order of the buses", graph(4), {1, 2, 3, 4}, 0},
        // 1-2-3-4: the ends have degree 1, and go first; then 2 has been updated before 3, but 3 was updated later
        {"a chain", graph(4, {{1, 2}, {2, 3}, {3, 4}}), {1, 3, 4, 2}, 3},
        // hub 1: leaves in index order; the hub ties with the last leaf, which is in its class for longer
        {"a star", graph(4, {{1, 2}, {1, 3}, {1, 4}}), {4, 1, 2, 3}, 3},
        // square 1-2-3-4: 1 goes, joins 2 and 4, which go behind 3
        {"a ring", graph(4, {{1, 2}, {2, 3}, {3, 4}, {4, 1}}), {1, 3, 2, 4}, 5},
        {"parallel branches are one neighbour", graph(3, {{2, 1}, {1, 2}, {2, 3}, {3, 2}}), {1, 3, 2}, 2},
        {"a bus without branches goes first", graph(3, {{1, 2}}), {2, 3, 1}, 1},
    };
    for (auto& c : cases) {
        Solver s;
        ASSERT_EQ(s.order(c.g), OrderFault::none) << c.what;
        EXPECT_EQ(s.positions(), c.position) << c.what;
        EXPECT_EQ(s.p.NFAT, c.entries) << c.what;
    }
}

TEST(Ordering, FollowsItsDefinitionOnRandomGraphs) {
    Solver s;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        Graph g = random_graph(seed, 5 + int(seed % 37), 3 + int(seed * 7 % 90));
        g.on = std::make_unique<bool[]>(g.from.size() + 1);
        for (int l = 0; l < g.branches(); ++l) g.on[std::size_t(l)] = (unsigned(l) + seed) % 6 != 0;
        ASSERT_EQ(s.order(g), OrderFault::none);
        const auto [position, entries] = order_by_sets(g);
        EXPECT_EQ(s.positions(), position) << "seed " << seed;
        EXPECT_EQ(s.p.NFAT, entries) << "seed " << seed;
    }
}

Graph grid(int across, int down) {
    Graph g{across * down, {}, {}, {}};
    for (int i = 1; i <= g.n; ++i) {
        if (i % across != 0) g.join(i, i + 1);
        if (i + across <= g.n) g.join(i + across, i);
    }
    return g;
}

TEST(Ordering, ListsThatUseUpTheirSpaceMoveTogether) {
    Solver s;
    Graph g = grid(40, 40);
    const auto expected = [&] {
        EXPECT_EQ(s.order(g), OrderFault::none);
        return s.positions();
    }();
    EXPECT_EQ(expected, order_by_sets(g).first);
    for (const int pool : {25000, 30000, 40000}) {
        ASSERT_EQ(s.order(g, pool), OrderFault::none);
        EXPECT_EQ(s.positions(), expected) << pool;
    }
}

TEST(Ordering, Limits) {
    Solver s;
    {
        Graph star = graph(20000);  // 19,999 neighbours: degree class 20,000
        for (int k = 2; k <= 20000; ++k) star.join(1, k);
        EXPECT_EQ(s.order(star), OrderFault::cells);
        star.from.pop_back(), star.to.pop_back();
        star.on.reset();
        EXPECT_EQ(s.order(star), OrderFault::none);
        EXPECT_EQ(s.p.capacity, s.p.N + 1) << "the row of the hub has 19,998 columns";
    }
    {
        Graph star = graph(10001);
        for (int k = 2; k <= 10001; ++k) star.join(1, k);
        EXPECT_EQ(s.order(star), OrderFault::none);
        EXPECT_EQ(s.p.capacity, 0) << "10,000 columns fit";
    }
    {
        Graph dense = random_graph(3, 500, 40000);  // live lists would need 500 * 499 cells
        EXPECT_EQ(s.order(dense), OrderFault::fill);
    }
    int down = 90;
    for (;; ++down) {  // the widest grid that fits
        Graph g = grid(80, down);
        if (s.order(g) == OrderFault::none) continue;
        EXPECT_EQ(s.order(g), OrderFault::entries);
        EXPECT_GT(s.p.NFAT, MXFAT);
        break;
    }
    Graph g = grid(80, down - 1);
    ASSERT_EQ(s.order(g), OrderFault::none);
    EXPECT_EQ(s.p.capacity, 0);
    const int n = g.n, last = s.p.bus[std::size_t(n - 1)], before = s.p.bus[std::size_t(n - 2)];
    // What the last row may read: the entries less those of the rows before it, less its branches.
    const auto own = std::count(s.p.row.begin(), s.p.row.begin() + s.p.NFAT, n - 1);
    const auto branches = std::count(g.from.begin(), g.from.end(), last) + std::count(g.to.begin(), g.to.end(), last);
    const auto room = MXFAT - (s.p.NFAT - own) - branches;
    for (int i = 0; i < room; ++i) g.join(last, before);  // parallels do not fill, but have to be read
    g.on.reset();
    ASSERT_EQ(s.order(g), OrderFault::none);
    EXPECT_EQ(s.p.capacity, 0);
    g.join(last, before);
    g.on.reset();
    ASSERT_EQ(s.order(g), OrderFault::none);
    EXPECT_EQ(testing::these(s.p.capacity, factor_blocks(s.m, s.p, 1e-10), factor_scalar(s.m.B1, s.p, 1e-10)),
              testing::these(-n, -n, -n));
}

/// Random values over the pattern of a graph, kept as a dense matrix too; unknowns in the order of the buses.
struct Dense {
    int n;
    std::vector<double> a;
    double& operator()(int i, int j) { return a[std::size_t(i * n + j)]; }
    double operator()(int i, int j) const { return a[std::size_t(i * n + j)]; }
};

Dense fill_blocks(Solver& s, const Graph& g, unsigned seed, double spread = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-1, 1);
    Dense d{2 * g.n, std::vector<double>(std::size_t(4 * g.n * g.n))};
    clear_blocks(s.m, s.p);
    auto put = [&](Block& b, int k, int m, double h, double n, double j, double l) {
        b.H += h, b.N += n, b.J += j, b.L += l;
        d(2 * k - 2, 2 * m - 2) += h, d(2 * k - 2, 2 * m - 1) += n;
        d(2 * k - 1, 2 * m - 2) += j, d(2 * k - 1, 2 * m - 1) += l;
    };
    std::vector<int> degree(std::size_t(g.n + 1), 0);
    for (int l = 0; l < g.branches(); ++l) {
        const Slot slot = s.p.slot[std::size_t(l)];
        const int k = g.from[std::size_t(l)], m = g.to[std::size_t(l)];
        if (slot.none()) continue;
        BlockPair& pair = s.m.fat[std::size_t(slot.entry())];
        const double scale = l % 3 == 0 ? spread : 1;
        auto v = [&] { return value(random) * scale; };
        put(slot.reversed() ? pair.L : pair.U, k, m, v(), v(), v(), v());
        put(slot.reversed() ? pair.U : pair.L, m, k, v(), v(), v(), v());
        ++degree[std::size_t(k)], ++degree[std::size_t(m)];
    }
    for (int k : rows(g.n)) {
        Block& b = s.m.diagonal[std::size_t(s.p.NORDER(k) - 1)];
        b = {};
        const double size = 3.0 * spread * degree[std::size_t(k)] + 1;
        put(b, k, k, size + value(random), value(random), value(random), size + value(random));
    }
    return d;
}

TEST(Factors, GiveBackTheSolution) {
    Solver s;
    std::mt19937 random(5);
    std::uniform_real_distribution<double> value(-1, 1);
    for (unsigned seed = 1; seed <= 40; ++seed) {
        Graph g = random_graph(seed, 2 + int(seed), int(seed * seed % 97) + int(seed));
        ASSERT_EQ(s.order(g), OrderFault::none);
        Dense a = fill_blocks(s, g, seed);
        std::vector<double> x(std::size_t(a.n));
        for (double& v : x) v = value(random);
        for (int k : rows(g.n)) {
            Sides& side = s.m.side[std::size_t(s.p.NORDER(k) - 1)];
            side = {0, 0};
            for (int j = 0; j < a.n; ++j) {
                side.DELTA += a(2 * k - 2, j) * x[std::size_t(j)];
                side.WORK += a(2 * k - 1, j) * x[std::size_t(j)];
            }
        }
        ASSERT_EQ(factor_blocks(s.m, s.p, 1e-10), 0);
        solve_blocks(s.m, s.p);
        for (int k : rows(g.n)) {
            const Sides& side = s.m.side[std::size_t(s.p.NORDER(k) - 1)];
            EXPECT_NEAR(side.DELTA, x[std::size_t(2 * k - 2)], 1e-12) << "seed " << seed << " bus " << k;
            EXPECT_NEAR(side.WORK, x[std::size_t(2 * k - 1)], 1e-12) << "seed " << seed << " bus " << k;
        }
    }
}

TEST(Factors, DoNotDependOnHowTheTargetsAreFound) {
    Solver s;
    Graph g = random_graph(11, 60, 220);
    ASSERT_EQ(s.order(g), OrderFault::none);
    auto solution = [&] {
        fill_blocks(s, g, 11);
        EXPECT_EQ(factor_blocks(s.m, s.p, 1e-10), 0);
        for (int i = 0; i < g.n; ++i) s.m.side[std::size_t(i)] = {1.0 + i, 2.0 - i};
        solve_blocks(s.m, s.p);
        std::vector<double> x;
        for (int i = 0; i < g.n; ++i)
            x.push_back(s.m.side[std::size_t(i)].DELTA), x.push_back(s.m.side[std::size_t(i)].WORK);
        return x;
    };
    const auto listed = solution();
    EXPECT_GT(s.p.naims, 0);
    std::fill_n(s.p.aim.begin(), s.p.NFAT, SEARCHED);
    EXPECT_EQ(solution(), listed) << "searched for, to the last bit";
}

TEST(Factors, ARightHandSideMayBeginLate) {
    Solver s;
    Graph g = random_graph(2, 30, 60);
    ASSERT_EQ(s.order(g), OrderFault::none);
    fill_blocks(s, g, 2);
    ASSERT_EQ(factor_blocks(s.m, s.p, 1e-10), 0);
    auto solve_from = [&](int first) {
        for (int i = 0; i < g.n; ++i) s.m.side[std::size_t(i)] = {i == 20 ? 1.0 : 0.0, i == 25 ? -2.0 : 0.0};
        solve_blocks(s.m, s.p, first);
        std::vector<double> x;
        for (int i = 0; i < g.n; ++i) x.push_back(s.m.side[std::size_t(i)].DELTA);
        return x;
    };
    EXPECT_EQ(solve_from(20), solve_from(0));
}

TEST(Factors, APivotAtTheToleranceIsSingular) {
    Solver s;
    Graph g = graph(2, {{1, 2}});
    ASSERT_EQ(s.order(g), OrderFault::none);
    auto status = [&](const Block& first, const Block& second) {
        clear_blocks(s.m, s.p);
        s.m.diagonal[0] = first;
        s.m.diagonal[1] = second;
        return factor_blocks(s.m, s.p, 1e-4);
    };
    const Block unit{.H = 1, .J = 0, .N = 0, .L = 1};
    EXPECT_EQ(status(unit, unit), 0);
    EXPECT_EQ(status({.H = 1e-4, .J = 0, .N = 0, .L = 1}, unit), 1) << "exactly the tolerance";
    EXPECT_EQ(status({.H = 1.001e-4, .J = 0, .N = 0, .L = 1}, unit), 0);
    EXPECT_EQ(status(unit, {.H = 2, .J = 4, .N = 1, .L = 2}), 2) << "rows in proportion";
    EXPECT_EQ(status(unit, {.H = std::nan(""), .J = 0, .N = 0, .L = 1}), 2) << "not a number is no pivot";
}

/// A solution of ones: the right-hand side for it.
void ask_for_ones(Solver& s, const Dense& a) {
    for (int k : rows(s.p.N)) {
        Sides& side = s.m.side[std::size_t(s.p.NORDER(k) - 1)];
        side = {0, 0};
        for (int j = 0; j < a.n; ++j) side.DELTA += a(2 * k - 2, j), side.WORK += a(2 * k - 1, j);
    }
}
double error_of_ones(const Solver& s) {
    double worst = 0;
    for (int r = 0; r < s.p.N; ++r) {
        const Sides& x = s.m.side[std::size_t(r)];
        worst = std::max({worst, std::abs(x.DELTA - 1), std::abs(x.WORK - 1)});
    }
    return worst;
}

// Three ways with a bus whose own terms cancel: take it as it comes, refine, hold it back.
TEST(Factors, AWeakPivotIsNotedRefinedOrHeldBack) {
    for (const double left : {1e-7, 1e-9, 1e-11}) {
        Solver s;
        Graph g = random_graph(4, 30, 60);
        ASSERT_EQ(s.order(g), OrderFault::none);
        int weak = 0;
        while (s.p.column[std::size_t(weak + 1)] - s.p.column[std::size_t(weak)] < 3) ++weak;
        const int bus = s.p.bus[std::size_t(weak)];
        auto fill = [&] {
            Dense a = fill_blocks(s, g, 4);
            const Block b = {.H = left, .J = 0, .N = 0, .L = -left};
            s.m.diagonal[std::size_t(s.p.NORDER(bus) - 1)] = b;
            a(2 * bus - 2, 2 * bus - 2) = b.H, a(2 * bus - 1, 2 * bus - 1) = b.L;
            a(2 * bus - 2, 2 * bus - 1) = a(2 * bus - 1, 2 * bus - 2) = 0;
            ask_for_ones(s, a);
        };
        fill();
        keep_equations(s.m, s.p);
        ASSERT_EQ(factor_blocks(s.m, s.p, 1e-30), 0);
        ASSERT_EQ(s.m.weak.n, left < 1e-6) << left;
        EXPECT_EQ(s.m.weak.row[0], weak);
        solve_blocks(s.m, s.p);
        const double taken = error_of_ones(s);
        EXPECT_GT(taken, 1e-12 / left * 1e-5) << "some digits are gone";
        refine_solution(s.m, s.p);
        EXPECT_LT(error_of_ones(s), std::min(1e-10, taken)) << left;

        const auto late = std::make_unique<bool[]>(std::size_t(g.n));
        late[std::size_t(bus - 1)] = true;
        ASSERT_EQ(s.order(g, MXPOOL, late.get()), OrderFault::none);
        EXPECT_EQ(s.p.NORDER(bus), g.n);
        fill();
        ASSERT_EQ(factor_blocks(s.m, s.p, 1e-10), 0);
        EXPECT_EQ(s.m.weak.n, 0);
        solve_blocks(s.m, s.p);
        EXPECT_LT(error_of_ones(s), 1e-12) << left;
    }
}

TEST(Scalar, GivesBackTheSolution) {
    Solver s;
    std::mt19937 random(9);
    std::uniform_real_distribution<double> value(0.1, 1);
    for (unsigned seed = 1; seed <= 30; ++seed) {
        Graph g = random_graph(seed + 100, 3 + int(seed), 5 * int(seed));
        ASSERT_EQ(s.order(g), OrderFault::none);
        Dense a{g.n, std::vector<double>(std::size_t(g.n * g.n))};
        ScalarMatrix& b = s.m.B1;
        std::fill_n(b.value.begin(), s.p.NFAT, 0.0);
        for (int k : rows(g.n)) a(k - 1, k - 1) = 0.5;
        for (int l = 0; l < g.branches(); ++l) {
            const int k = g.from[std::size_t(l)] - 1, m = g.to[std::size_t(l)] - 1;
            const double y = value(random);
            b.value[std::size_t(s.p.slot[std::size_t(l)].entry())] -= y;
            a(k, m) -= y, a(m, k) -= y, a(k, k) += y, a(m, m) += y;
        }
        std::vector<double> x(std::size_t(g.n)), rhs(std::size_t(g.n), 0.0);
        for (double& v : x) v = value(random);
        for (int k : rows(g.n)) {
            b.diagonal[std::size_t(s.p.NORDER(k) - 1)] = a(k - 1, k - 1);
            for (int j = 0; j < g.n; ++j) rhs[std::size_t(s.p.NORDER(k) - 1)] += a(k - 1, j) * x[std::size_t(j)];
        }
        ASSERT_EQ(factor_scalar(b, s.p, 1e-10), 0);
        solve_scalar(b, s.p, rhs.data());
        for (int k : rows(g.n)) EXPECT_NEAR(rhs[std::size_t(s.p.NORDER(k) - 1)], x[std::size_t(k - 1)], 1e-11) << seed;
    }
}

}  // namespace
}  // namespace korvane
