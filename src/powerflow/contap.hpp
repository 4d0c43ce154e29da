// Controls that a solution could not use, found before it.
#pragma once
#include "frame/run.hpp"

namespace korvane {

/// The taps of CONTAP: with CTAP, a transformer between two load buses of which one hangs on it alone and is not the bus
/// that the tap controls. When nothing is connected to that bus no current flows, and the tap joins the list of those
/// held fixed, with a line in the report. Message 100: the list is full. Call it while nothing is compacted.
void hold_idle_taps(Run& run);

}  // namespace korvane
