// Voltages that the buses are to hold, and the upper voltage limits that follow from a base voltage.
#pragma once
#include <optional>
#include <vector>

#include "network/store.hpp"

namespace korvane {

/// The voltage that each bus is to hold, pu, by bus position (entry 0 is not used): VOLT, or where something controls
/// the bus its set point: VBUS of a tap under control, VGEN of the machine at the bus, VRCB of a remote generator. The
/// later of these wins, as machines hold a voltage whatever a tap wants.
std::vector<double> set_points(const Store& s);

/// The upper voltage limit at the end of a branch that its base voltage in kV asks for, pu: 800 kV on the 765 kV
/// system, 550 kV on the 500 and 525 kV systems; nothing for other voltages.
std::optional<double> upper_limit(double base_kv);

}  // namespace korvane
