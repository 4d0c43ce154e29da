// Format rows from any bytes: compiled, printed with values and read back from any line.
#include "frame/format.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame/decimal.hpp"

using namespace korvane;

namespace {

constexpr std::size_t VALUES = 24;

/// Takes the input apart, zeros where it has ended.
struct Input {
    const std::uint8_t* p;
    std::size_t left;
    template <class T>
    T take() {
        T v{};
        const std::size_t n = std::min(sizeof v, left);
        std::memcpy(&v, p, n);
        p += n;
        left -= n;
        return v;
    }
    std::string_view text(std::size_t n) {
        n = std::min(n, left);
        const std::string_view s(reinterpret_cast<const char*>(p), n);
        p += n;
        left -= n;
        return s;
    }
};

void require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in{data, size};
    const FormatRow row(in.text(in.take<std::uint8_t>()));
    const std::size_t n = in.take<std::uint8_t>() % (VALUES + 1);
    std::vector<Arg> values;
    std::vector<Target> targets;
    std::vector<int> integers(VALUES);
    std::vector<double> reals(VALUES);
    std::vector<std::vector<char>> texts(VALUES);  // rooms of their exact size, so that a byte too many is seen
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned kind = in.take<std::uint8_t>();
        texts[i].resize(kind / 3 % 20);
        if (kind % 3 == 0) {
            values.emplace_back(in.take<long long>());
            targets.emplace_back(&integers[i]);
        } else if (kind % 3 == 1) {
            values.emplace_back(in.take<double>());
            targets.emplace_back(&reals[i]);
        } else {
            values.emplace_back(in.text(kind / 3));
            targets.emplace_back(texts[i].data(), int(texts[i].size()));
        }
    }
    std::string out;
    row.write(out, values);
    // Bounded: no row prints more than its lines for each value, and the texts.
    require(out.size() <= (n + 1) * (std::size_t(FormatRow::MOST_STEPS) * FormatRow::LAST_COLUMN) + 85 * n);
    row.read(out, targets);
    const std::string_view line = in.text(in.left);
    row.read(line, targets);
    row.fields();

    double v = 0;
    char field[40];
    if (get_real(line, 3, v)) {
        const int width = int(1 + line.size() % 20);
        put_fixed(field, width, int(line.size() % 7), v);
        put_exponent(field, width, int(line.size() % 7), v);
        PUTREAL(v, width, field);
        double back = 0;
        require(field[0] == '*' || std::abs(v) > 1e307 || get_real({field, std::size_t(width)}, 0, back));
    }
    return 0;
}
