// A made network with every kind of element that stands at a bus: as large as the store takes, or a part of it.
#pragma once
#include <string>

namespace korvane::bench {

/// The deck of a long mesh of buses. At scale 1: 20,000 buses, 40,000 branches, 6,000 generators, 40,000 individual loads,
/// 24,000 individual generators, 5,000 shunt banks with 30,000 rows, 8,000 automatic shunts; at another scale that
/// part of each. Load and generation lie close together, so the network solves from a flat start. It ends before FIM.
std::string made_deck(double scale);

/// A DBAR block that removes every second bus of that network.
std::string every_second_bus_removed(double scale);

}  // namespace korvane::bench
