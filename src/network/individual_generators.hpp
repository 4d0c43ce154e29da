// Individual generators: groups of like units behind one generator row. What their data say of the row, how they share
// what it generates, and how many of them operate.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// IPGEI, LNKGEI: the units of every bus, in ascending order. The routines below walk them; call it after rows moved.
void chain_individual_generators(Store& s);

/// A unit whose reactive limits follow from its machine data and the voltage of its bus.
bool follows_capability(const Store& s, int i);

/// UNTCAP: QMNGEI and QMXGEI of a unit in service that has a capability curve, at its PGGEI and the present voltage.
/// Where Newton's method finds no limit, a row of UNTQLM says so on the report.
void UNTCAP(Run& run, int i);

/// UNTSUM: what the units in service of bus k give together, pu.
struct UnitSum {
    double p, q, qmin, qmax;
    int rows;  // how many groups
};
UnitSum UNTSUM(const Store& s, int k);

/// UNTGEN: generator rows with units in service take their sums: the reactive limits, and the generation unless a unit
/// takes its share of it. clear: such units forget their share first. With FREQ the droops are summed as well.
void UNTGEN(Run& run, bool clear);

/// UNTSHR: PGEN and QGEN of bus k go to its units in service: by their own generation or rating, and by the reactive
/// limit on the side of QGEN. A group whose units would carry more than they can puts one more into operation, which
/// shows behind its bus name; then true. remote: the generator controls another bus now, so limits may have moved.
bool UNTSHR(Run& run, int k, bool remote);

/// UNTDSP: units in operation of generator row g, so that PTUGEI carries its PGEN, PGEIMN stays below it, and at a
/// reactive limit QMXGEI or QMNGEI carry its QGEN. afresh (INMN): the fewest that do, whatever operates now. True when
/// a count changed.
bool UNTDSP(Run& run, int g, bool afresh);

/// A bus with one branch, a transformer without resistance, behind whose units all have step-up transformers: the
/// branch takes the susceptance of those in operation side by side. True when a branch changed.
bool update_step_up_transformers(Store& s);

/// Prints how many units there are, and what they generate and can generate together.
void print_unit_totals(Run& run);

/// EXCCAP: the report of code EXCC: every unit, and for those in service with a capability curve their limits over
/// active power. Messages -900 no units, -901 the network is not solved.
void EXCCAP(Run& run);

}  // namespace korvane
