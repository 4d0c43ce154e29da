// A made network as full of controls as the equations of a solution have room for.
#pragma once
#include <string>

#include "frame/run.hpp"

namespace korvane::bench {

/// The controls of the network.
constexpr int TAPS = 5000, REMOTE_GENERATORS = 1000, AUTOMATIC_SHUNTS = 2000, COMPENSATORS = 400;  // of each kind

/// The deck of 20,000 buses: a long mesh with a load behind each transformer under control and the series compensators
/// between two of its buses. It ends before FIM, and solves from a flat start.
std::string control_network();

/// Gives every control of the solved network something to do: targets beside the voltages and flows that it has, so
/// that all can be met. The series compensators begin to hold their flow.
void set_targets(Run& run);

}  // namespace korvane::bench
