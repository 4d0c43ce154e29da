// Controls that a solution could not use, found before it.
#pragma once
#include "frame/run.hpp"

namespace korvane {

/// CONTAP, of taps and phase shifters. Call it while nothing is compacted.
///
/// With CTAP, a transformer between two load buses of which one hangs on it alone and is not the bus
/// that the tap controls. When nothing is connected to that bus no current flows, and the tap joins the list of those
/// held fixed, with a line in the report. Message 100: the list is full.
///
/// With CPHS, a controlled phase shifter that alone holds its island together: what it carries does not depend on its
/// shift. `bridge` tells the solver so, and FLGPHS marks it to keep it. Warning -200 and a line in the report, unless
/// its shift is at a limit; in a solve inside an analysis only when it has not been marked before.
void CONTAP(Run& run);

}  // namespace korvane
