// Reports: what other folders may call.
#pragma once
#include "frame/run.hpp"

namespace korvane {

/// RELA: prints the reports that the options of the line ask for, narrowed by areas, islands or aggregators.
void report_dispatch(Run& run);

/// OUTBUS: state of each bus of the selected areas.
void OUTBUS(Run& run);

/// SELBUS: the same for the buses named on selection lines.
void SELBUS(Run& run);

}  // namespace korvane
