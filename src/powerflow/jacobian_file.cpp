// EJAC: the equations of the present pass as a file of records, for other programs. docs/export.md tells its layout.
#include <cstdint>
#include <cstring>

#include "platform/files.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

constexpr const char* JACOBIAN_FILE = "JACOBI_000.BIN";

/// A record of numbers, its length in bytes before and behind it.
class Record {
public:
    template <class T>
    Record& operator<<(T value) {
        char bytes[sizeof value];
        std::memcpy(bytes, &value, sizeof value);
        bytes_.append(bytes, sizeof value);
        return *this;
    }
    Record& operator<<(const Block& b) { return *this << b.H << b.N << b.J << b.L; }
    void put(OutputFile& file) {
        const auto length = std::int32_t(bytes_.size());
        char mark[sizeof length];
        std::memcpy(mark, &length, sizeof length);
        file.write(std::string_view(mark, sizeof mark));
        file.write(bytes_);
        file.write(std::string_view(mark, sizeof mark));
        bytes_.clear();
    }

private:
    std::string bytes_;
};

}  // namespace

void write_jacobian(Run& run) {
    const Matrices& m = run.mat;
    const Pattern& p = pattern(run);
    const Store& s = run.store;
    OutputFile file(new_file(JACOBIAN_FILE), OutputFile::Mode::create);
    Record record;
    (record << std::int32_t(p.N) << std::int32_t(p.column[std::size_t(p.N)]) << std::int32_t(s.bus.NB)
            << std::int32_t(s.sol.NITP))
        .put(file);
    for (int r = 0; r < p.N; ++r) {
        const int k = p.bus[std::size_t(r)];
        (record << std::int32_t(k <= s.bus.NB ? int(s.bus.NOINT(k)) : 0) << m.side[std::size_t(r)].DELTA
                << m.side[std::size_t(r)].WORK << m.diagonal[std::size_t(r)])
            .put(file);
    }
    for (int c = 0; c < p.N; ++c)
        for (int e = p.column[std::size_t(c)]; e < p.column[std::size_t(c + 1)]; ++e) {
            const BlockPair& pair = m.fat[std::size_t(e)];
            (record << std::int32_t(c + 1) << std::int32_t(p.row[std::size_t(e)] + 1) << pair.U << pair.L).put(file);
        }
    file.flush();
    if (!file.good()) MSGPUT(run, "SOLVNW", -900);
}

}  // namespace korvane
