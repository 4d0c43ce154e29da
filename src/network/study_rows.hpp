// Rows of studies that stand on buses, generators and branches.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// Variables of generators that are about to go are about to go themselves: called while rows marked for removal are
/// still there.
void mark_variables_of_removed(Store& s);

/// Control variables of removed buses and generators go with their cost curves, and terms of constraints go with the
/// variable or branch that they name.
void drop_removed_variables(Store& s);

}  // namespace korvane
