#include "powerflow/tap_steps.hpp"

#include <cmath>

namespace korvane {

double tap_target(const Run& run, int n) {
    const TapTables& tap = run.store.tap;
    return run.opt["CTAF"_opt] && tap.NTTVF(n) != 0 ? tap.VBARRA(n) : tap.VBUS(n);
}

bool at_explaining_limit(const Run& run, int n, double error) {
    const TapTables& tap = run.store.tap;
    const double limit = (error < 0) == rises_with_ratio(tap, n) ? tap.TPMAX(n) : tap.TPMIN(n);
    return std::abs(1 / tap.TAP(n) - limit) <= run.cte.TLTC;
}

bool voltage_unmet(const Run& run, int n) {
    const TapTables& tap = run.store.tap;
    if (run.opt["CTAF"_opt] && tap.NTTVF(n) > 0) return false;
    const double error = run.store.bus.VOLT(std::abs(tap.KBUS(n).at)) - tap_target(run, n);
    return std::abs(error) > run.cte.TLVC && !at_explaining_limit(run, n, error);
}

std::optional<TapMove> tap_move(const Run& run, int n, double error) {
    const TapTables& tap = run.store.tap;
    const double slack = run.cte.TLTC, a = 1 / tap.TAP(n), low = tap.TPMIN(n), high = tap.TPMAX(n);
    constexpr double LARGE = double(0.002f);  // beyond it half of the error is enough
    const double d = std::abs(error) > LARGE ? error / 2 : error;
    const double next = a + (rises_with_ratio(tap, n) ? -d : d) * tap.FATRF(n);
    if (next > high - slack) {
        if (std::abs(a - high) <= slack) return std::nullopt;
        return TapMove{high, true};
    }
    if (next < low + slack) {
        if (std::abs(a - low) <= slack) return std::nullopt;
        return TapMove{low, true};
    }
    return TapMove{next, false};
}

double nearest_position(double a, double lowest, double highest, double step, double slack) {
    double low = lowest + std::trunc((a - lowest) / step) * step, high = low + step;
    if (low < lowest - slack) low = lowest;
    if (high > highest + slack) high = highest;
    return high - a < a - low ? high : low;
}

}  // namespace korvane
