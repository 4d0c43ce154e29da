// Generators that hold the voltage of a bus other than their own, alone or in groups that share the reactive
// generation.
#pragma once
#include "powerflow/solver.hpp"

namespace korvane {

/// ETCREM: with CREM the generators of the remote controls, apart from those that DFCR leaves out; with TGER all others
/// at their own buses. Messages 100, 110.
bool build_remote_voltage(Run& run);
/// Generation of groups after the solution of a pass.
void update_remote_voltage(Run& run);

/// The row of the generator of a cell of the lists.
void write_remote_row(Run& run, int cell);
/// VLCR: generators whose terminal voltage has met a limit hold it there, until the controlled voltage asks them back.
void check_terminal_voltages(Run& run);
/// Members of a group that stand at a reactive limit return when their share has come inside.
void rejoin_groups(Run& run);

/// Notes the remote controls for the iterations beside Newton, which have no equations for them.
void note_remote_voltage(Run& run);

}  // namespace korvane
