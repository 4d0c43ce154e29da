// Automatic taps inside the Newton matrix.
#pragma once
#include "powerflow/solver.hpp"

namespace korvane {

/// ETCTAP: with CTAP the taps of transformers in service that are under control. Messages 100, 110.
bool build_taps(Run& run);
/// Derivatives of the rows of both ends of tap row n by t: N of P/V, L of Q/V.
struct TapColumn {
    Block from, to;
};
TapColumn tap_column(const Run& run, int n);

/// Before the correction of a pass: taps that it would carry beyond their limits stop there at once, and those without
/// an effect that it would carry far beyond give up. True when there were some: the pass is to be assembled and solved
/// anew, or the voltages would follow a tap that is not there.
bool restrain_taps(Run& run);
/// Taps take their corrections and stop at their limits.
void update_taps(Run& run);
/// TAPD: taps to end on positions take the nearest one; none moves any more. True when one moved.
bool settle_taps(Run& run);
/// Taps that have left their limits too often move beside the matrix, a step a pass; one that does not come to rest is
/// stopped where its voltage error was least. At last all are.
void adjust_held_taps(Run& run);
/// At the end of a solution: ETCTAP -900 for taps that were stopped, and leave their voltage unmet and unexplained.
void tell_stopped_taps(Run& run);

/// The row of tap row i of the work tables.
void write_tap_row(Run& run, int i);
/// Taps wake when the reactive mismatch is small enough, and stay awake.
void wake_taps(Run& run);
/// Taps behind generators in the list that begins at a cell act once none of these can.
void let_taps_take_over(Run& run, int head);

}  // namespace korvane
