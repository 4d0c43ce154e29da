// Automatic shunts: stepped banks whose susceptance keeps a voltage inside a band, or relieves what else holds it.
#pragma once
#include "powerflow/solver.hpp"

namespace korvane {

/// ESTSCA: with CSCA the equations of the automatic shunts, none of them on its way to a step any more. Messages 100,
/// 110. Warning -900 on a later pass: the voltage left the band again and again, the shunt stays where it is.
bool build_shunts(Run& run);
/// Their rows and the residual DS, once the reactive mismatch is small enough; and those that leave a limit.
void assemble_shunts(Run& run);
/// Before the correction of a pass: shunts that it would carry far beyond their limits stop there at once. True when
/// some did: the pass is to be assembled and solved anew, or the voltages would follow a shunt that is not there.
bool restrain_shunts(Run& run);
/// Shunts take their corrections and stop at their limits.
void update_shunts(Run& run);
/// Shunts that are to end on a sum of their steps go there; afterwards those that leave a voltage far outside of its
/// band go one more step, twice at most. True when the equations changed by it.
bool settle_shunts(Run& run);

/// Departures of the voltage from the band, after which a shunt stays where it is for the rest of a solution.
constexpr int MOST_STARTS = 8;
inline bool stays(const ControlWork::ShuntRow& row) { return row.starts > MOST_STARTS; }

/// The sums of steps next to |b| for the stages of one sign, capacitors when `capacitors`: low <= |b| <= high inside
/// the range, both the nearer end of the range beyond it. Magnitudes, pu.
struct StepsAround {
    double low, high;
};
StepsAround steps_around(const AutomaticShuntTables& t, int i, double b, bool capacitors);
/// The sum of steps that shunt i ends on when it stands at BSCA and its bus at voltage v, both pu: the nearer one, the
/// lower on a tie; with a band of its own (`by_band`) the next one to which the voltage asks it to go, from a third of
/// the step on.
double step_for(const AutomaticShuntTables& t, int i, double v, bool by_band);
/// The sum of steps one step above or below BSCA.
double next_step(const AutomaticShuntTables& t, int i, bool up);

/// CHKSAV: whether the data of compensators and automatic shunts agree with what generators hold; each conflict is a
/// line of the report. Call it while nothing is compacted.
bool CHKSAV(Run& run);
/// OUTSCA: the automatic shunts after a solution with CSCA.
void OUTSCA(Run& run);

}  // namespace korvane
