// Static compensators: shunt devices that hold a voltage along a slope, between two limits.
#pragma once
#include "powerflow/controlled_buses.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

/// Writes the row of the compensator of a cell with the code compensator or group_compensator, and its residual DF.
void write_compensator_row(Run& run, const ControlledBuses::Cell& cell);

}  // namespace korvane
