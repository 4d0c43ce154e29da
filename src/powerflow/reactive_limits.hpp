// Reactive limits within a pass, before its correction is taken.
#pragma once

namespace korvane {

struct Run;

/// On a pass on which the limits are checked: generators that the correction would carry across a limit stop there, and
/// those at a limit that it would bring back hold their voltages again. To first order, and alone or in front of a bus
/// held from elsewhere, not in groups. True when there were some: the pass is to be assembled and solved anew. Without
/// this every round of switches takes a solution of its own.
bool foresee_limits(Run& run);

/// The same for the generator at bus k whose own voltage does not ask for it: it comes off its limit if another
/// voltage, too low or too high, gains by that. True when it did.
bool release_generator(Run& run, int k, bool too_low);

}  // namespace korvane
