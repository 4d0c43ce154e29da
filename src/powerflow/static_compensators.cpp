#include "powerflow/static_compensators.hpp"

namespace korvane {

// No list has such a cell yet.
void write_compensator_row(Run&, const ControlledBuses::Cell&) {}

}  // namespace korvane
