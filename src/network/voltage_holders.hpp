// Which bus each generator holds the voltage of: its own, or with remote control one elsewhere.
#pragma once
#include <cstdlib>
#include <vector>

#include "frame/run.hpp"

namespace korvane {

/// A bus of this NTYPE has a generator that is to hold a voltage; minus: it stands at a reactive limit.
inline bool holds_voltage(int type) { return std::abs(type) == 2 || std::abs(type) == 3; }

/// What one generator holds.
struct VoltageHold {
    int bus = 0;          // whose voltage; 0: none
    int control = 0;      // its row of the remote controls, when it does so by that
    bool forced = false;  // TGER: its own bus, by the same equation as a remote control, without a row of them
};

/// What every generator holds under the options in force, by generator row (entry 0 is not used), whether the store is
/// compacted or not. A generator whose own bus is out of service or of another type holds nothing. Without CREM each
/// holds its own bus. With CREM it follows its first row of ICB that names a bus in service, unless DFCR leaves it out
/// (IPCREM); but a bus that the generator standing there holds has nothing left to control, and then the generator
/// holds its own bus. With TGER those that no row speaks for are taken among the remote controls of their own buses,
/// and share these with the generators that control them from elsewhere.
///
/// Rebuilds NGADR, NSADR, NCADR; uses row_scratch.
std::vector<VoltageHold> voltage_holders(Run& run);

}  // namespace korvane
