// Rows that hold only as long as something else of the network does.
#pragma once
#include "frame/run.hpp"

namespace korvane {

/// After a block that changed buses, branches or their controls: a generator that no longer controls another bus leaves
/// the list of those left out of remote control (DFCR), a branch without a tap under control that of held taps (DTPF),
/// and a step-up transformer that has become the only branch of its units takes their reactance. Linear in the network.
void settle_dependents(Run& run);

}  // namespace korvane
