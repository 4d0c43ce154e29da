// Saving and restoring a large network: in memory, and in a file on a disk that does not wait for its syncs.
#include <benchmark/benchmark.h>

#include "casestore/case_io.hpp"
#include "casestore/record_file.hpp"
#include "support/fixture.hpp"
#include "support/reference.hpp"

namespace korvane {
namespace {

using testing::Session;

/// The disk of the machine, its syncs left out: they tell of the machine alone.
class HastyDisk final : public Disk {
public:
    int open(const std::string& path, Open how) override { return disk_.open(path, how); }
    void close(int file) override { disk_.close(file); }
    bool read(int file, std::int64_t at, void* out, std::size_t n) override { return disk_.read(file, at, out, n); }
    bool write(int file, std::int64_t at, const void* in, std::size_t n) override {
        return disk_.write(file, at, in, n);
    }
    std::int64_t size(int file) override { return disk_.size(file); }
    bool truncate(int file, std::int64_t size) override { return disk_.truncate(file, size); }
    bool sync(int) override { return true; }
    bool exists(const std::string& path) override { return disk_.exists(path); }
    bool remove(const std::string& path) override { return disk_.remove(path); }
    bool sync_folder(const std::string&) override { return true; }
    std::string real_path(const std::string& path) override { return disk_.real_path(path); }
    Locked lock(int file, int which, Lock kind, int patience) override {
        return disk_.lock(file, which, kind, patience);
    }

private:
    Disk& disk_ = machine_disk();
};

Session& solved() {
    static Session session(testing::reference_deck("case13659pegase", "EXLF NEWT\n"), {.print_file = true});
    return session;
}

bool make_file(Records& r) {
    Writing scope(r);
    Directory d;
    return scope && format_records(r, d, 2) && scope.commit();
}

constexpr SaveRequest REQUEST{.number = 1, .replace = true, .extend = true};

void measure(benchmark::State& state, Records& r, bool saving) {
    if (!testing::reference_present("case13659pegase")) return state.SkipWithError("no reference networks");
    Run& run = solved().run;
    if (run.store.sol.CONVSTAT != 1 || !make_file(r)) return state.SkipWithError("not solved, or no file");
    const double voltage = run.store.bus.VOLT(13659);
    if (write_case(run, r, REQUEST).error) return state.SkipWithError("not saved");
    for (auto _ : state)
        if (saving ? write_case(run, r, REQUEST).error : read_case(run, r, 1).error)
            return state.SkipWithError("failed");
    Directory d;
    {
        const Reading scope(r);
        if (!d.read(r)) return state.SkipWithError("no directory");
    }
    state.counters["buses"] = run.store.bus.NB;
    state.counters["records"] = d.count(1);
    if (read_case(run, r, 1).error || run.store.bus.VOLT(13659) != voltage) state.SkipWithError("another network");
}

void in_memory(benchmark::State& state, bool saving) {
    MemoryRecords r(CASE_RECORD);
    measure(state, r, saving);
}

void in_a_file(benchmark::State& state, bool saving) {
    HastyDisk disk;
    const testing::TempDir folder;
    const int file = disk.open("CASES.SAV", Disk::Open::create);
    if (file < 0) return state.SkipWithError("no file");
    {
        FileRecords r(disk, file, "CASES.SAV", CASE_RECORD, true);
        measure(state, r, saving);
    }
    disk.close(file);
}

BENCHMARK_CAPTURE(in_memory, save, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(in_memory, restore, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(in_a_file, save, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(in_a_file, restore, false)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace korvane
