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

/// Load of bus k at its present voltage, individual loads with it, pu.
struct Power {
    double p, q;
};
inline Power bus_load(const Store& s, int k) { return {s.bus.PLOAD(k), s.bus.QLOAD(k)}; }

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
