// Static compensators: shunt devices that hold a voltage along a slope, between two limits.
#pragma once
#include "powerflow/controlled_buses.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

/// ETRCER: the region of every compensator from the present voltages, and its equation. Messages 100, 110.
bool build_compensators(Run& run);
/// Writes the row of the compensator of a cell with the code compensator or group_compensator, and its residual DF.
void write_compensator_row(Run& run, const ControlledBuses::Cell& cell);
/// QGCER after the solution of a pass, and the regions that follow from it. Warning -900: a compensator that went over
/// its slope again and again stays at the limit where it ended.
void update_compensators(Run& run);

}  // namespace korvane
