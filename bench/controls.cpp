// Solutions with controls: the reference networks with taps and remote generators put on them, and the made network
// that is full of controls.
#include <benchmark/benchmark.h>

#include "control_decks.hpp"
#include "control_network.hpp"
#include "powerflow/augmented.hpp"
#include "powerflow/solver.hpp"
#include "support/fixture.hpp"
#include "support/reference.hpp"

namespace korvane {
namespace {

using testing::Session;

/// What a solution changes in the store, to begin it again.
class State {
public:
    explicit State(Store& s) : s_(s) {
        keep(s.bus.VOLT, s.bus.NB), keep(s.bus.ANGLE, s.bus.NB), keep(s.gen.QGEN, s.gen.NG), keep(s.gen.PGEN, s.gen.NG);
        keep(s.tap.TAP, s.tap.NTAP), keep(s.branch.GKM, s.branch.NL), keep(s.branch.BKM, s.branch.NL);
        keep(s.sca.BSCA, s.sca.NSCA), keep(s.cer.QGCER, s.cer.NCER);
        types_.assign(s.bus.NTYPE.data(), s.bus.NTYPE.data() + s.bus.NB);
    }
    void restore() {
        for (const auto& [to, values] : reals_) std::copy(values.begin(), values.end(), to);
        std::copy(types_.begin(), types_.end(), s_.bus.NTYPE.data());
        s_.tap.NTTAP.fill(s_.tap.NTAP, 0);
        s_.sca.NTSCA.fill(s_.sca.NSCA, 0);
        s_.csc.NTYCSC.fill(s_.csc.NCSC, true);
    }

private:
    template <class T>
    void keep(T& table, int n) {
        reals_.emplace_back(table.data(), std::vector<double>(table.data(), table.data() + n));
    }
    Store& s_;
    std::vector<std::pair<double*, std::vector<double>>> reals_;
    std::vector<int> types_;
};

/// A network with controls, as read; the state from which it is to be solved.
struct Prepared {
    Session session;
    std::optional<State> start;
    explicit Prepared(const std::string& deck) : session(deck, {.print_file = true}) {
        session.run.opt.clear("RCVG"_opt);
        session.run.opt.set("NEWT"_opt);
    }
};

std::unique_ptr<Prepared> on_reference(benchmark::State& state, const std::string& name) {
    if (!testing::reference_present(name)) {
        state.SkipWithError("no reference networks beside the checkout");
        return nullptr;
    }
    auto p = std::make_unique<Prepared>(bench::with_controls(name, "").text);
    for (const Option o : {"QLIM"_opt, "CREM"_opt, "CTAP"_opt}) p->session.run.opt.set(o);
    p->start.emplace(p->session.run.store);
    return p;
}

std::unique_ptr<Prepared> made(benchmark::State& state) {
    auto p = std::make_unique<Prepared>(bench::control_network() + "FIM\n");
    Run& run = p->session.run;
    Store& s = run.store;
    const std::vector<double> volt(s.bus.VOLT.data(), s.bus.VOLT.data() + s.bus.NB);
    PWFSOL(run);
    if (s.sol.CONVSTAT != 1) state.SkipWithError("the plain network has no solution");
    bench::set_targets(run);
    std::copy(volt.begin(), volt.end(), s.bus.VOLT.data());
    s.bus.ANGLE.fill(s.bus.NB, 0.0);
    p->start.emplace(s);
    state.counters["plain"] = s.sol.NITP;
    return p;
}

void solve(benchmark::State& state, Prepared& p) {
    Run& run = p.session.run;
    for (auto _ : state) {
        state.PauseTiming();
        p.start->restore();
        state.ResumeTiming();
        PWFSOL(run);
        if (run.store.sol.CONVSTAT != 1) {
            state.SkipWithError("not converged");
            break;
        }
    }
    state.counters["iterations"] = run.store.sol.NITP;
}

// PWFSOL from the state of the deck, with QLIM CREM CTAP.
void controlled_solve(benchmark::State& state, const char* name) {
    if (auto p = on_reference(state, name)) solve(state, *p);
}

// A pass of Newton with the equations of all controls, at the solution.
void iterations_of(benchmark::State& state, Run& run) {
    STOOFF(run);
    build_diagonal(run);
    if (!OPTIMO(run, run.mat.plain, run.store.bus.NB, run.store.branch.NL) || !build_equations(run)) {
        state.SkipWithError("not built");
        return;
    }
    run.store.sol.NITP = 1;
    for (auto _ : state) {
        assemble(run);
        if (!iterate(run, {"SOLVNW", devices(), assemble})) state.SkipWithError("singular");
    }
    state.counters["rows"] = run.mat.state.NEQ;
    state.counters["entries"] = pattern(run).NFAT;
}

void controlled_iteration(benchmark::State& state, const char* name) {
    auto p = on_reference(state, name);
    if (!p) return;
    PWFSOL(p->session.run);
    iterations_of(state, p->session.run);
}

constexpr Option ALL[] = {"QLIM"_opt, "CREM"_opt, "CTAP"_opt, "CSCA"_opt};

void full_solve(benchmark::State& state) {
    auto p = made(state);
    for (const Option o : ALL) p->session.run.opt.set(o);
    solve(state, *p);
}

void full_iteration(benchmark::State& state) {
    auto p = made(state);
    for (const Option o : ALL) p->session.run.opt.set(o);
    PWFSOL(p->session.run);
    iterations_of(state, p->session.run);
}

// Of the same network without any control, the compensators held.
void full_plain_iteration(benchmark::State& state) {
    auto p = std::make_unique<Prepared>(bench::control_network() + "FIM\n");
    PWFSOL(p->session.run);
    p->session.run.store.cer.NCER = 0;
    p->session.run.store.csc.NCSC = 0;
    iterations_of(state, p->session.run);
}

#define CONTROLLED(f)                                                                \
    BENCHMARK_CAPTURE(f, case2869, "case2869pegase")->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(f, case9241, "case9241pegase")->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(f, case13659, "case13659pegase")->Unit(benchmark::kMicrosecond)
CONTROLLED(controlled_iteration);
CONTROLLED(controlled_solve);
BENCHMARK(full_solve)->Unit(benchmark::kMicrosecond);
BENCHMARK(full_iteration)->Unit(benchmark::kMicrosecond);
BENCHMARK(full_plain_iteration)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace korvane
