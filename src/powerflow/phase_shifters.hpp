// Phase shifters that hold the active power or the current of their branch.
#pragma once
#include "powerflow/solver.hpp"

namespace korvane {

/// Whether phase row i is a shifter in service that is to hold a flow.
bool controlled_shifter(const Store& s, int i);

/// ESTPHS: with CPHS the equations of the controlled shifters. Whether one is at a limit is decided anew. One that
/// alone holds its island together (CONTAP) keeps its shift: no shift changes what it carries. Messages 100, 110.
bool build_phase_shifters(Run& run);
/// Their rows; what the flow misses counts in DP, unless the shift is at a limit. One at a limit acts again when the
/// flow asks for a shift away from it. Warning -900: one that came back again and again stays.
void assemble_phase_shifters(Run& run);
/// Shifts after the solution of a pass, within their limits.
void update_phase_shifters(Run& run);

}  // namespace korvane
