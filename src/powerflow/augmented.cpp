#include "powerflow/augmented.hpp"

#include <algorithm>
#include <cmath>

#include "powerflow/automatic_shunts.hpp"
#include "powerflow/capability.hpp"
#include "powerflow/phase_shifters.hpp"
#include "powerflow/reactive_limits.hpp"
#include "powerflow/remote_voltage.hpp"
#include "powerflow/series_compensators.hpp"
#include "powerflow/static_compensators.hpp"
#include "powerflow/taps.hpp"

namespace korvane {

namespace {

/// Controls and devices, in the order in which they act; their rows stand behind those of the buses in this order.
constexpr Device DEVICES[] = {
    {.name = "controlled buses", .build = start_controlled_buses, .assemble = assemble_controlled_buses},
    {.name = "remote voltage", .build = build_remote_voltage, .update = update_remote_voltage},
    {.name = "static compensators", .build = build_compensators, .update = update_compensators},
    {.name = "automatic shunts",
     .build = build_shunts,
     .assemble = assemble_shunts,
     .restrain = restrain_shunts,
     .update = update_shunts,
     .settle = settle_shunts},
    {.name = "capability", .build = build_capability, .assemble = assemble_capability, .update = update_capability},
    {.name = "series compensators",
     .build = build_series_compensators,
     .assemble = assemble_series_compensators,
     .restrain = restrain_series_compensators,
     .update = update_series_compensators,
     .settle = round_series_compensators,
     .adjust = check_series_compensators},
    {.name = "taps",
     .build = build_taps,
     .restrain = restrain_taps,
     .update = update_taps,
     .settle = settle_taps,
     .adjust = adjust_held_taps,
     .tell = tell_stopped_taps},
    {.name = "reactive limits", .restrain = foresee_limits},
    {.name = "phase shifters",
     .build = build_phase_shifters,
     .assemble = assemble_phase_shifters,
     .update = update_phase_shifters},
    {.name = "units", .settle = dispatch_units},
};

}  // namespace

std::span<const Device> devices() { return DEVICES; }

int add_fictitious_bus(Run& run, Equation kind, int record) {
    SolverState& st = run.mat.state;
    const int f = ++st.NEQ;
    if (f <= MXEQ) {
        const int i = f - run.store.bus.NB;
        run.mat.control.IAPTAD(i) = record;
        run.mat.control.IDPTAD(i) = int(kind);
    }
    return f;
}

int add_fictitious_branch(Run& run, int from, int to, bool in_service) {
    BranchTables& b = run.store.branch;
    const int l = ++run.mat.state.NBR;
    if (l <= MXLINX) {
        b.NFROM(l) = from;
        b.NTO(l) = to;
        b.STLIN(l) = in_service;
    }
    return l;
}

bool equations_fit(Run& run, std::string_view routine) {
    const SolverState& st = run.mat.state;
    if (st.NEQ > MXEQ) MSGPUT(run, routine, 100);
    if (st.NBR > MXLINX) MSGPUT(run, routine, 110);
    return st.NEQ <= MXEQ && st.NBR <= MXLINX;
}

void clear_equations(Run& run) {
    const SolverState& st = run.mat.state;
    if (!st.augmented) return;
    Matrices& m = run.mat;
    const Pattern& p = pattern(run);
    for (int k = run.store.bus.NB + 1; k <= st.NEQ; ++k) {
        const auto r = std::size_t(p.NORDER(k) - 1);
        m.side[r] = {0, 0};
        m.diagonal[r] = {.H = 1, .J = 0, .N = 0, .L = HELD};
    }
}

void meet_residual(Run& run, double Residuals::*which, double value, int k) {
    auto meet = [&](double& at) {
        if (!std::isnan(at) && !(value <= at)) at = value;
    };
    meet(run.mat.state.residual.*which);
    if (run.opt["CILH"_opt]) meet(run.mat.island(run.store.ilh.NOILHA2(k)).residual.*which);
}

void meet_flow_residual(Run& run, double value, int k) {
    const Store& s = run.store;
    if (value >= run.mat.state.residual.DP) run.store.sol.NODEP = s.bus.NOINT(k);
    if (run.opt["CILH"_opt]) {
        IslandState& island = run.mat.island(s.ilh.NOILHA2(k));
        if (value >= island.residual.DP) island.NODEP2 = s.bus.NOINT(k);
    }
    meet_residual(run, &Residuals::DP, value, k);
}

void clear_residual(Run& run, double Residuals::*which) {
    run.mat.state.residual.*which = 0;
    if (run.opt["CILH"_opt])
        for (int i : rows(run.store.ilh.count)) run.mat.island(i).residual.*which = 0;
}

void remove_equations(Run& run) {
    SolverState& st = run.mat.state;
    BranchTables& b = run.store.branch;
    for (int l = b.NL + 1; l <= std::min(st.NBR, MXLINX); ++l) {
        b.NFROM(l) = b.NTO(l) = 0;
        b.STLIN(l) = false;
    }
    st.NEQ = run.store.bus.NB;
    st.NBR = b.NL;
    st.augmented = false;
}

}  // namespace korvane
