// Lines in and out: a deck handed out line by line, and a report written to a file.
#include <benchmark/benchmark.h>

#include "frame/units.hpp"
#include "support/fixture.hpp"

namespace korvane {
namespace {

constexpr int CARDS = 34000;  // of the largest reference deck

/// A deck of so many cards with the given line end; accents: one name in ten has one.
std::string deck(const char* line_end, bool accents) {
    std::string s;
    for (int i = 0; i < CARDS; ++i) {
        s += "12345 L1 1BARRA ";
        s += accents && i % 10 == 0 ? "S\xC3\xA3O " : "SAO ";
        s += "    11060  0.232.4   0.   0.  10.       21.7 12.7       1";
        s += line_end;
    }
    return s;
}

void hand_out(benchmark::State& state, const char* line_end, bool accents) {
    const testing::TempDir dir;
    dir.write("deck.dat", deck(line_end, accents));
    for (auto _ : state) {
        TextSource source;
        source.open("deck.dat");
        std::size_t columns = 0;
        std::string_view line;
        while (source.next(line)) columns += line.size();
        benchmark::DoNotOptimize(columns);
    }
    state.SetItemsProcessed(state.iterations() * CARDS);
}
BENCHMARK_CAPTURE(hand_out, lf, "\n", false);
BENCHMARK_CAPTURE(hand_out, cr_lf, "\r\n", false);
BENCHMARK_CAPTURE(hand_out, cr, "\r", false);
BENCHMARK_CAPTURE(hand_out, utf8, "\n", true);

void print_lines(benchmark::State& state) {
    testing::Session s;
    s.start();
    const std::string line(132, 'x');
    for (auto _ : state) {
        for (int i = 0; i < CARDS; ++i) write_line(s.run, role::print, line);
        s.run.units.print->rewind();
    }
    state.SetItemsProcessed(state.iterations() * CARDS);
}
BENCHMARK(print_lines);

}  // namespace
}  // namespace korvane
