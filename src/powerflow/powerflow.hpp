// The power flow: what other folders may call.
#pragma once
#include <memory>

#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

/// PWFSOL: the one entry that solves the network. It prepares the network for the options in force, runs the solver,
/// and puts the store back so that reports see the full network. The result is CONVSTAT. Messages 100 to 140, -900.
void PWFSOL(Run& run);

/// Island search: breadth-first from the lowest bus over branches in service. Returns the island count and fills
/// store.ilh.
int find_islands(Run& run);

/// PWFREF: every island must hold a slack; with ASLK one is chosen from the list of alternatives. Messages 110, 120,
/// 130; false after any of them.
bool PWFREF(Run& run);

/// Ordering, factors and right-hand sides in zeroed memory.
struct FreeMatrices {
    void operator()(Matrices* m) const;
};
using MatricesPtr = std::unique_ptr<Matrices, FreeMatrices>;
MatricesPtr make_matrices();

/// Active and reactive power, pu.
struct Power {
    double p, q;
};
/// Load of the row of bus k as the data give it, whatever its model. What loads draw is in powerflow/load_models.hpp.
inline Power nominal_load(const Store& s, int k) { return {s.bus.PLOAD(k), s.bus.QLOAD(k)}; }

/// After a change of loads or generation in a solved network: what every area (BPAR), or with by_island every island
/// (BPSI), is short of goes to its generators and equivalent injections by their participation, and PSLK takes PGEN.
/// By area nothing moves while an area lies in two islands. CONVSTAT is 0 afterwards; 4 when nobody could take what was
/// left.
void share_out_imbalance(Run& run, bool by_island);

/// Where an analysis keeps the network between its steps.
class CaseKeeper {
public:
    virtual ~CaseKeeper() = default;
    /// Keeps the network as case n, whatever was there. False: there is no room for it.
    virtual bool keep(Run& run, int n) = 0;
    /// The network as case n has it. False: it could not be brought back.
    virtual bool bring_back(Run& run, int n) = 0;
};
/// PWFPRI: CPRI. Solves the case once for each control of the code line, one more of them at a time, in their order. A
/// control whose solution does not converge is given up, and the next one starts from the last solution that did,
/// which is what the store holds at the end. Every such solution is kept as a case, from 1 up; the case as it came in
/// is the first. Messages 100, 110: a case could not be kept, or not brought back, and the run ends there.
void PWFPRI(Run& run, CaseKeeper& cases);

/// Voltage that tap row n aims at, pu: with CTAF the target that its band gave it last.
double tap_target(const Run& run, int n);
/// Whether that voltage is off its target by more than TLVC, outside of its band, and no limit of the tap explains it.
bool voltage_unmet(const Run& run, int n);
/// The bounds of automatic shunt i: all its reactors, all its capacitors, pu.
struct ShuntRange {
    double lowest, highest;
};
ShuntRange shunt_range(const AutomaticShuntTables& t, int i);
/// Whether phase row i stands at a limit of its shift.
bool shift_at_limit(const Store& s, int i);

/// Power that enters branch l at its from and at its to end at the present voltages, pu.
struct BranchFlow {
    double pf, qf, pt, qt;
};
BranchFlow branch_flow(const Store& s, int l);

/// The same in the linear model, without and with losses: half of the loss of a branch enters at either end.
BranchFlow linear_flow(const Run& run, int l, bool losses);
/// The same in the model of the last solution, as ITSOL tells.
BranchFlow solved_flow(const Run& run, int l);

}  // namespace korvane
