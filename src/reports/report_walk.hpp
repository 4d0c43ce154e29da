// What reports have in common: how they open, and the order in which they go through the network. Included within the
// folder only.
#pragma once
#include <string_view>
#include <vector>

#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

/// Opens a report: rows of the routine, printing on, a first page due.
void open_report(Run& run, std::string_view routine);

/// Buses that a report prints, in its order: with ILHA by island, then areas by their number, then buses by theirs.
/// Only selected buses of selected areas, and with ILHA of selected islands, are among them.
std::vector<int> report_walk(const Run& run);

}  // namespace korvane
