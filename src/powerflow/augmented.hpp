// Augmented equations: fictitious buses and branches, by which a control has its equation inside the Newton matrix.
// Included within the folder only.
//
// A controlled quantity becomes the voltage unknown of a fictitious bus, and its equation the reactive row of that bus;
// the angle half of the pair has no role and keeps the diagonal 1. A fictitious branch between two buses makes room for
// the blocks that tie the equation to the network. So ordering, factorisation and solution need nothing special: only
// the control knows what its rows mean. Fictitious elements stand behind the real ones while a solution runs.
#pragma once
#include <algorithm>

#include "powerflow/solver.hpp"

namespace korvane {

/// Kinds of fictitious buses, IDPTAD.
enum class Equation : int {
    remote_generator = 1,
    compensator,
    automatic_shunt,
    capability,
    series_device,
    tap,
    phase_shifter
};

/// One more fictitious bus for the record of a device, or fictitious branch. Both count also beyond the limits, where
/// nothing is written: see equations_fit.
int add_fictitious_bus(Run& run, Equation kind, int record);
int add_fictitious_branch(Run& run, int from, int to, bool in_service = true);
/// To be asked at the end of every build: messages 100 and 110 of the routine when the limits are passed.
bool equations_fit(Run& run, std::string_view routine);

/// All fictitious rows as equations out of play; the blocks of their branches are cleared with the fill.
void clear_equations(Run& run);
/// The network without its fictitious elements.
void remove_equations(Run& run);

/// Row of a bus, real or fictitious: its diagonal block and its right-hand side.
inline std::size_t row_of(const Run& run, int k) { return std::size_t(pattern(run).NORDER(k) - 1); }

/// The two blocks off the diagonal that a branch stands for, real or fictitious: at the row of its from bus and the
/// column of its to bus, and the other way round.
struct Link {
    Block& from_to;
    Block& to_from;
};
inline Link link_of(Run& run, int l) {
    const Slot slot = pattern(run).slot[std::size_t(l - 1)];
    BlockPair& pair = run.mat.fat[std::size_t(slot.entry())];
    return slot.reversed() ? Link{pair.L, pair.U} : Link{pair.U, pair.L};
}

/// Under CILH, whether the island of bus k has ended without a solution: its controls rest.
inline bool island_failed(const Run& run, int k) {
    return run.opt["CILH"_opt] && run.mat.island(run.store.ilh.NOILHA2(k)).failed();
}
/// The island whose flags bus k obeys; without CILH the first stands for all.
inline int region(const Run& run, int k) { return run.opt["CILH"_opt] ? int(run.store.ilh.NOILHA2(k)) : 1; }
/// How many of them there are, and f(region, its reactive mismatch before a control forced it up) for each.
inline int regions(const Run& run) { return std::max(1, int(run.store.ilh.count)); }
template <class F>
void each_region(const Run& run, F f) {
    if (!run.opt["CILH"_opt])
        f(1, run.mat.state.DQMAXIMO);
    else
        for (int i : rows(run.store.ilh.count)) f(i, run.mat.island(i).DQMAXIMO2);
}

/// The largest reactive mismatch around bus k on this pass, before a control forced it up.
inline double reactive_mismatch(const Run& run, int k) {
    return run.opt["CILH"_opt] ? run.mat.island(region(run, k)).DQMAXIMO2 : run.mat.state.DQMAXIMO;
}
/// Up to this reactive mismatch, pu, a correction tells to first order what taps and generators will come to.
constexpr double FORESEEABLE = 0.2;
/// Whether so many iterations are spent that what still hunts is to come to rest.
inline bool late(const Run& run) { return 5 * run.store.sol.NITP > 3 * run.cte.ACIT; }

/// The multiplier of the correction of this pass at bus k.
inline double step_of(const Run& run, int k) {
    return run.opt["CILH"_opt] ? run.mat.island(run.store.ilh.NOILHA2(k)).XMI2 : run.store.sol.XMI;
}

/// Raises a residual of a control, and that of the island of bus k under CILH. A residual that is not a number stays.
void meet_residual(Run& run, double Residuals::*which, double value, int k);
/// The same for a flow that is not at its target: it counts as an active mismatch of bus k.
void meet_flow_residual(Run& run, double value, int k);
/// The residual of a control at the start of a pass.
void clear_residual(Run& run, double Residuals::*which);

}  // namespace korvane
