// The groups of the aggregators as a whole.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// Every aggregator without groups and without a description, under its own number. Rows that refer to groups are the
/// caller's.
void clear_aggregators(Store& s);

/// The groups of every aggregator in a chain of rising identifiers: NUMGAG, LNKGAG.
void link_groups(Store& s);

}  // namespace korvane
