// Data blocks in and out: reading the largest network that the store takes, writing it as a deck, and removing every
// second of its buses. A tenth of the network shows whether the time grows with the cards.
#include <benchmark/benchmark.h>

#include "made_deck.hpp"
#include "support/fixture.hpp"

namespace korvane {
namespace {

using testing::Session;

/// The scale of a run, given in thousandths.
double scale(const benchmark::State& state) { return double(state.range(0)) / 1000; }

void check(benchmark::State& state, const Session& s) {
    const std::vector<int> told = s.numbers();
    for (int number : told)
        if (number > 0) {
            state.SkipWithError(s.messages().substr(0, 300).c_str());
            return;
        }
}

void count_elements(benchmark::State& state, const Store& s) {
    state.counters["rows"] = s.bus.NB + s.branch.NL + s.gen.NG + s.cai.NCAI + s.gei.NGEI + s.bshl.NBSHL + s.sca.NSCA;
}

void read_network(benchmark::State& state) {
    const std::string deck = bench::made_deck(scale(state)) + "FIM\n";
    for (auto _ : state) {
        const Session s(deck);
        state.PauseTiming();
        check(state, s);
        count_elements(state, s.store());
        state.ResumeTiming();
    }
}
BENCHMARK(read_network)->Arg(1000)->Arg(100)->Unit(benchmark::kMillisecond);

/// A network that is read already, and the time of the code lines that follow.
void measure_lines(benchmark::State& state, const std::string& lines, void (*run_lines)(Session&)) {
    const std::string deck = bench::made_deck(scale(state));
    for (auto _ : state) {
        state.PauseTiming();
        {
            Session s(deck + "FIM\n");
            s.feed(lines);
            s.run.msg.printed.clear();
            state.ResumeTiming();
            run_lines(s);
            state.PauseTiming();
            count_elements(state, s.store());
        }
        state.ResumeTiming();
    }
}

void remove_every_second_bus(benchmark::State& state) {
    const std::string block = bench::every_second_bus_removed(scale(state));
    measure_lines(state, block + "FIM\n", [](Session& s) { KORVAN(s.run); });
}
BENCHMARK(remove_every_second_bus)->Arg(1000)->Arg(100)->Unit(benchmark::kMillisecond);

void write_network(benchmark::State& state) {
    measure_lines(state, "ULOG\n 7\nwritten.dat\nCART\nFIM\n", [](Session& s) { KORVAN(s.run); });
}
BENCHMARK(write_network)->Arg(1000)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace korvane
