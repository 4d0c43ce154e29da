// The values that an automatic shunt can have: sums of its steps, stage after stage in their order, those of each sign
// by themselves.
#include <algorithm>
#include <cmath>

#include "powerflow/automatic_shunts.hpp"

namespace korvane {

ShuntRange shunt_range(const AutomaticShuntTables& t, int i) {
    ShuntRange r{0, 0};
    for (std::size_t stage = 0; stage < MXSTAGE; ++stage) {
        const double all = t.ISTEPSCA(i)[stage] * t.VSTEPSCA(i)[stage];
        (all < 0 ? r.lowest : r.highest) += all;
    }
    return r;
}

StepsAround steps_around(const AutomaticShuntTables& t, int i, double b, bool capacitors) {
    const double size = std::abs(b);
    double low = 0;
    for (std::size_t stage = 0; stage < MXSTAGE; ++stage) {
        const double step = t.VSTEPSCA(i)[stage];
        const int steps = t.ISTEPSCA(i)[stage];
        if (step == 0 || (step > 0) != capacitors || steps < 1) continue;
        const double value = std::abs(step), end = low + steps * value;
        if (size >= end) {
            low = end;
            continue;
        }
        const double at = low + std::floor((size - low) / value) * value;
        return {at, at + value};
    }
    return {low, low};
}

double step_for(const AutomaticShuntTables& t, int i, double v, bool by_band) {
    const double b = t.BSCA(i), size = std::abs(b), middle = (t.VMINSCA(i) + t.VMAXSCA(i)) / 2;
    const bool capacitors = b > 0;
    const auto [low, high] = steps_around(t, i, b, capacitors);
    const double third = (high - low) / 3;
    const bool more = capacitors ? v < middle : v > middle, less = capacitors ? v > middle : v < middle;
    double to = high - size < size - low ? high : low;
    if (by_band && more && size > low + third && size < high) to = high;
    if (by_band && less && size > low && size < high - third) to = low;
    return capacitors ? to : -to;
}

double next_step(const AutomaticShuntTables& t, int i, bool up) {
    constexpr double PAST = 0.001;  // pu; off the value where it stands
    const double b = t.BSCA(i) + (up ? PAST : -PAST);
    const ShuntRange range = shunt_range(t, i);
    if (b >= range.highest) return range.highest;
    if (b <= range.lowest) return range.lowest;
    const auto [low, high] = steps_around(t, i, b, b > 0);
    return b > 0 ? (up ? high : low) : -(up ? low : high);
}

}  // namespace korvane
