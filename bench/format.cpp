// What a report line costs: compiled rows, numbers to columns and back.
#include "frame/format.hpp"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "frame/decimal.hpp"

namespace korvane {
namespace {

std::vector<double> numbers(double size, int n) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> any(-size, size);
    std::vector<double> v(std::size_t(n), 0.0);
    for (double& x : v) x = any(random);
    return v;
}

void BusRow(benchmark::State& state) {
    const FormatRow row(
        "(1X,I5,1X,A12,1X,I2,1X,F5.3,1X,F6.1,1X,F7.1,1X,F8.1,1X,F8.1,1X,F8.1,1X,F6.1,1X,F7.1,1X,F7.1,1X,F7.1,1X,I3,"
        "1X,F7.1,1X,F7.1,1X,I2)");
    const std::vector<double> v = numbers(1000, 4096);
    const std::string_view name = "BARRA-230   ";
    std::string out;
    int k = 0, lines = 0;
    for (auto _ : state) {
        const auto next = [&] { return v[std::size_t(k++ & 4095)]; };
        const Arg values[] = {k & 0xffff, name,   1,      1.023,  next(), next(), next(), next(), next(),
                              next(),     next(), next(), next(), 17,     next(), next(), 3};
        if (++lines % 64 == 0) out.clear();
        row.write(out, values);
        out += '\n';
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BusRow);

void ReadCard(benchmark::State& state) {
    const FormatRow row("(I5,I1,2A1,A2,A12,A2,F4.3,F4.0,5F5.0,I6,3F5.0,I3,F4.3)");
    const std::string_view card =
        "  101 L1 0BARRA-230    01023-12. 12.5  3.4-99.9 99.9         21.7 12.7  19.0  11000                          "
        " ";
    int n[4];
    double r[11];
    char t[6][12];
    for (auto _ : state) {
        const Target targets[] = {&n[0], &n[1], {t[0], 1}, {t[1], 1}, {t[2], 2}, {t[3], 12}, {t[4], 2},
                                  &r[0], &r[1], &r[2],     &r[3],     &r[4],     &r[5],      &r[6],
                                  &n[2], &r[7], &r[8],     &r[9],     &n[3],     &r[10]};
        bool good = row.read(card, targets);
        benchmark::DoNotOptimize(good);
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(ReadCard);

void CompileRow(benchmark::State& state) {
    for (auto _ : state) {
        FormatRow row("(1X,I5,1X,A12,1X,3(F5.3,1X),F6.1,1X,F7.1,' MW ',2(F8.1,1X),T100,I3)");
        benchmark::DoNotOptimize(&row);
    }
}
BENCHMARK(CompileRow);

template <class Put>
void put_all(benchmark::State& state, double size, Put put) {
    const std::vector<double> v = numbers(size, 4096);
    char field[16];
    int k = 0;
    for (auto _ : state) {
        put(field, v[std::size_t(k++ & 4095)]);
        benchmark::DoNotOptimize(field);
    }
}
void PutFixed(benchmark::State& state) {
    put_all(state, 1000, [](char* f, double v) { put_fixed(f, 8, 2, v); });
}
BENCHMARK(PutFixed);
void PutExponent(benchmark::State& state) {
    put_all(state, 1000, [](char* f, double v) { put_exponent(f, 14, 7, v); });
}
BENCHMARK(PutExponent);
void PutReal(benchmark::State& state) {
    put_all(state, 1000, [](char* f, double v) { PUTREAL(v, 5, f); });
}
BENCHMARK(PutReal);

void GetReal(benchmark::State& state) {
    const std::vector<double> v = numbers(1000, 4096);
    std::string all(4096 * 8, ' ');
    for (std::size_t i = 0; i < 4096; ++i) put_fixed(all.data() + 8 * i, 8, 2, v[i]);
    std::size_t k = 0;
    double x = 0;
    for (auto _ : state) {
        bool good = get_real(std::string_view(all).substr(8 * (k++ & 4095), 8), 3, x);
        benchmark::DoNotOptimize(good);
        benchmark::DoNotOptimize(x);
    }
}
BENCHMARK(GetReal);

}  // namespace
}  // namespace korvane
