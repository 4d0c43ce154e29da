// Series compensators: branches whose reactance follows a flow, between two limits and if need be in steps.
#pragma once
#include "powerflow/solver.hpp"

namespace korvane {

/// ETRCSC: the equations of the compensators. Messages 100, 110.
bool build_series_compensators(Run& run);
/// Their rows. What the flow misses counts in DP; the rows act from the second iteration on.
void assemble_series_compensators(Run& run);
/// Before the correction of a pass: compensators that it would carry far beyond their limits stop there at once. True when
/// some did: the pass is to be assembled and solved anew.
bool restrain_series_compensators(Run& run);
/// Susceptances after the solution of a pass.
void update_series_compensators(Run& run);
/// A compensator with steps ends on one, the next toward the least reactance. True when a susceptance moved by it.
bool round_series_compensators(Run& run);
/// Compensators stop at their limits, and leave them when the flow asks for it. Warning -900: one that came back again
/// and again stays.
void check_series_compensators(Run& run);

}  // namespace korvane
