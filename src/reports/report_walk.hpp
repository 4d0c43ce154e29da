// The order in which reports go through the network. Included within the folder only.
#pragma once
#include <vector>

#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

/// Buses that a report prints, in its order: with ILHA by island, then areas by their number, then buses by theirs.
/// Only selected buses of selected areas, and with ILHA of selected islands, are among them.
std::vector<int> report_walk(const Run& run);

}  // namespace korvane
