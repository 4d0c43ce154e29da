// What a controlled voltage asks of a tap: the rules that the controls inside and beside the Newton matrix share.
#pragma once
#include <optional>

#include "powerflow/solver.hpp"

namespace korvane {

/// Whether the controlled voltage of tap row n rises with a = 1/TAP, the ratio on the from side.
inline bool rises_with_ratio(const TapTables& tap, int n) { return tap.KBUS(n) >= 0; }

/// Whether tap row n stands at the limit that keeps it from raising (error below 0) or lowering (above 0) the voltage
/// further; the error is the controlled voltage less its target.
bool at_explaining_limit(const Run& run, int n, double error);

/// The ratio that a step beside the matrix gives tap row n for a voltage error, pu, within its limits. Nothing when it
/// is to stay.
struct TapMove {
    double ratio;
    bool at_limit;
};
std::optional<TapMove> tap_move(const Run& run, int n, double error);

/// The position nearest to ratio a, positions being `step` apart from the lowest limit on; between two the lower one.
double nearest_position(double a, double lowest, double highest, double step, double slack);

}  // namespace korvane
