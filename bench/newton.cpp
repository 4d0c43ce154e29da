// The power flow on large reference networks: ordering, factorisation, solution, a whole iteration. Each network is
// solved first and compared with its reference, so a benchmark that runs is also a solution that is right.
#include <benchmark/benchmark.h>

#include <chrono>

#include "powerflow/augmented.hpp"
#include "powerflow/solver.hpp"
#include "support/fixture.hpp"
#include "support/reference.hpp"

namespace korvane {
namespace {

using testing::Session;

/// A network from its deck, as read, its store compacted and its matrices ordered. Made once for each network.
struct Prepared {
    Session session;
    std::vector<double> volt, angle;
    std::string fault;
    explicit Prepared(const std::string& name)
        : session(testing::reference_deck(name, "EXLF NEWT\n"), {.print_file = true}) {
        Run& run = session.run;
        Store& s = run.store;
        const testing::Difference d = testing::difference(s, run.cte.BASE, name);
        if (s.sol.CONVSTAT != 1 || d.buses != s.bus.NB || d.voltage > 1e-5 || d.angle > 1e-3 || d.generation > 0.01 ||
            d.flow > 0.01)
            fault = "differs from the reference solution";
        STOOFF(run);
        if (!OPTIMO(run, run.mat.plain, s.bus.NB, s.branch.NL)) fault = "not ordered";
        build_diagonal(run);
        run.opt.clear("RCVG"_opt);
        volt.assign(s.bus.VOLT.data(), s.bus.VOLT.data() + s.bus.NB);
        angle.assign(s.bus.ANGLE.data(), s.bus.ANGLE.data() + s.bus.NB);
    }
    void restore() {
        std::copy(volt.begin(), volt.end(), session.run.store.bus.VOLT.data());
        std::copy(angle.begin(), angle.end(), session.run.store.bus.ANGLE.data());
    }
};

Prepared* prepared(benchmark::State& state, const std::string& name) {
    static std::map<std::string, std::unique_ptr<Prepared>> all;
    if (!testing::reference_present(name)) {
        state.SkipWithError("no reference networks beside the checkout");
        return nullptr;
    }
    auto& p = all[name];
    if (!p) p = std::make_unique<Prepared>(name);
    if (!p->fault.empty()) {
        state.SkipWithError((name + ": " + p->fault).c_str());
        return nullptr;
    }
    return p.get();
}

void ordering(benchmark::State& state, const char* name) {
    Prepared* const n = prepared(state, name);
    if (!n) return;
    Run& run = n->session.run;
    const BranchTables& b = run.store.branch;
    for (auto _ : state)
        benchmark::DoNotOptimize(find_order(run.mat.plain, run.mat.space, run.store.bus.NB, b.NL, b.NFROM.data(),
                                            b.NTO.data(), b.STLIN.data()));
    state.counters["entries"] = run.mat.plain.NFAT;
}

// The linear flow from the deck: PWFSOL with LFDC.
void linear(benchmark::State& state, const char* name) {
    if (!prepared(state, name)) return;
    Session fresh(testing::reference_deck(name, ""), {.print_file = true});
    Run& run = fresh.run;
    run.opt.clear("RCVG"_opt);
    run.opt.clear("NEWT"_opt);
    run.opt.set("LFDC"_opt);
    for (auto _ : state) PWFSOL(run);
    if (run.store.sol.CONVSTAT != 1) state.SkipWithError("not solved");
}

// Half iterations of the decoupled method, mismatch and angles across branches with each: the time is that of one half.
void half(benchmark::State& state, const char* name) {
    constexpr int EACH = 10;  // P halves, and Q halves
    Prepared* const n = prepared(state, name);
    if (!n) return;
    Run& run = n->session.run;
    const Constants cte = run.cte;
    run.opt.clear("NEWT"_opt);
    if (!MATRIX(run)) state.SkipWithError("singular");
    run.cte.ACIT = EACH;
    run.cte.TEPA = run.cte.TEPR = 0;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        solve_decoupled(run);
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
        if (run.store.sol.NITP != EACH || run.store.sol.NITQ != EACH) state.SkipWithError("other halves");
        state.SetIterationTime(spent.count() / (2 * EACH));
    }
    run.cte = cte;
    run.opt.set("NEWT"_opt);
    n->restore();
}

// One iteration: angles across branches, assembly with the scan of mismatches, factorisation, solution, correction.
void iteration(benchmark::State& state, const char* name) {
    Prepared* const n = prepared(state, name);
    if (!n) return;
    Run& run = n->session.run;
    run.store.sol.NITP = 1;
    for (auto _ : state) {
        assemble(run);
        if (!iterate(run, {"SOLVNW", devices(), assemble})) state.SkipWithError("singular");
    }
    n->restore();
}

// The same with an equation of its capability curve for every generator in the matrix.
void iteration_with_curves(benchmark::State& state, const char* name) {
    Prepared* const n = prepared(state, name);
    if (!n) return;
    Run& run = n->session.run;
    GeneratorTables& gen = run.store.gen;
    for (int j : rows(gen.NG)) {
        gen.SNOMI(j) = 1 + 2 * std::hypot(gen.PGEN(j), gen.QGEN(j));
        gen.XQ(j) = 1 / gen.SNOMI(j);
        gen.FSRIA(j) = gen.FSRIR(j) = 1;
        gen.FPNOM(j) = 0.9;
        gen.ANGCG(j) = 1.2;
    }
    run.opt.set("QLIM"_opt);
    if (!build_equations(run)) state.SkipWithError("not built");
    run.store.sol.NITP = 1;
    for (auto _ : state) {
        assemble(run);
        if (!iterate(run, {"SOLVNW", devices(), assemble})) state.SkipWithError("singular");
    }
    state.counters["rows"] = run.mat.state.NEQ - run.store.bus.NB;
    remove_equations(run);
    run.opt.clear("QLIM"_opt);
    gen.XQ.fill(gen.NG, -1.0);
    n->restore();
}

void assembly(benchmark::State& state, const char* name) {
    Prepared* const n = prepared(state, name);
    if (!n) return;
    n->session.run.store.sol.NITP = 1;
    for (auto _ : state) {
        refresh_angles(n->session.run);
        assemble(n->session.run);
    }
}

void angles(benchmark::State& state, const char* name) {
    Prepared* const n = prepared(state, name);
    if (!n) return;
    for (auto _ : state) refresh_angles(n->session.run);
}

void factorisation(benchmark::State& state, const char* name) {
    Prepared* const n = prepared(state, name);
    if (!n) return;
    Run& run = n->session.run;
    run.store.sol.NITP = 1;
    refresh_angles(run);
    for (auto _ : state) {
        state.PauseTiming();
        assemble(run);
        state.ResumeTiming();
        benchmark::DoNotOptimize(factor_blocks(run.mat, run.mat.plain, 1e-10));
    }
}

void solution(benchmark::State& state, const char* name) {
    Prepared* const n = prepared(state, name);
    if (!n) return;
    Run& run = n->session.run;
    run.store.sol.NITP = 1;
    refresh_angles(run);
    assemble(run);
    factor_blocks(run.mat, run.mat.plain, 1e-10);
    for (auto _ : state) {
        for (int i = 0; i < run.mat.plain.N; ++i) run.mat.side[std::size_t(i)] = {1e-3, 1e-3};
        solve_blocks(run.mat, run.mat.plain);
    }
}

void solve_from_the_deck(benchmark::State& state, const char* name) {
    if (!prepared(state, name)) return;
    // The state of the deck, before any solution: read once more without EXLF.
    Session fresh(testing::reference_deck(name, ""), {.print_file = true});
    Run& run = fresh.run;
    Store& s = run.store;
    run.opt.clear("RCVG"_opt);
    const std::vector<double> volt(s.bus.VOLT.data(), s.bus.VOLT.data() + s.bus.NB),
        angle(s.bus.ANGLE.data(), s.bus.ANGLE.data() + s.bus.NB);
    for (auto _ : state) {
        std::copy(volt.begin(), volt.end(), s.bus.VOLT.data());
        std::copy(angle.begin(), angle.end(), s.bus.ANGLE.data());
        PWFSOL(run);
        if (s.sol.CONVSTAT != 1) state.SkipWithError("not converged");
    }
    state.counters["iterations"] = s.sol.NITP;
}

#define NETWORKS(f)                                                                  \
    BENCHMARK_CAPTURE(f, case2869, "case2869pegase")->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(f, case9241, "case9241pegase")->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(f, case13659, "case13659pegase")->Unit(benchmark::kMicrosecond)
#define NETWORKS_BY_HAND(f)                                                                           \
    BENCHMARK_CAPTURE(f, case2869, "case2869pegase")->Unit(benchmark::kMicrosecond)->UseManualTime(); \
    BENCHMARK_CAPTURE(f, case9241, "case9241pegase")->Unit(benchmark::kMicrosecond)->UseManualTime(); \
    BENCHMARK_CAPTURE(f, case13659, "case13659pegase")->Unit(benchmark::kMicrosecond)->UseManualTime()
NETWORKS(iteration);
NETWORKS(iteration_with_curves);
NETWORKS(angles);
NETWORKS(assembly);
NETWORKS(factorisation);
NETWORKS(solution);
NETWORKS(ordering);
NETWORKS(solve_from_the_deck);
NETWORKS(linear);
NETWORKS_BY_HAND(half);
BENCHMARK_CAPTURE(solve_from_the_deck, caseACTIVSg10k, "case_ACTIVSg10k")->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace korvane
