// What keeps a factorisation without a search for pivots honest: weak pivots are noticed, their buses go to the end of
// the order, and what cannot be mended in that way is refined.
//
// A pivot is weak when the terms of its branches cancel, as at a bus between an inductive and a capacitive branch of
// one size. Once its neighbours are eliminated it holds their equations too.
#include <algorithm>

#include "powerflow/solver.hpp"

namespace korvane {

namespace {

constexpr int REORDERS = 8;  // in one solve

bool reorder(Run& run, Pattern& p) {
    const BranchTables& b = run.store.branch;
    const int n = p.N, branches = &p == &run.mat.plain ? int(b.NL) : run.mat.state.NBR;
    const bool fits = find_order(p, run.mat.space, n, branches, b.NFROM.data(), b.NTO.data(), b.STLIN.data(),
                                 run.mat.late.data(), MXPOOL, b.NL) == OrderFault::none;
    p.buses = run.store.bus.NB;
    return fits;
}

}  // namespace

bool hold_back(Run& run, Pattern& p, std::span<const int> weak) {
    SolverState& st = run.mat.state;
    std::vector<int> added;
    for (int r : weak) {
        const int k = p.bus[std::size_t(r)];
        if (bool& late = run.mat.late[std::size_t(k - 1)]; !late) {
            late = true;
            added.push_back(k);
        }
    }
    if (added.empty() || st.reorders >= REORDERS) return false;
    ++st.reorders;
    st.nlate += int(added.size());
    if (!reorder(run, p)) {  // the fill does not fit: back to the order that did
        for (int k : added) run.mat.late[std::size_t(k - 1)] = false;
        st.nlate -= int(added.size());
        st.reorders = REORDERS;
        reorder(run, p);
        return false;
    }
    if (st.first_late == 0) st.first_late = added.front();
    return true;
}

void tell_held_back(Run& run) {
    SolverState& st = run.mat.state;
    const int k = st.first_late;
    if (k == 0 || st.late_told || st.resolve != 0 || k > run.store.bus.NB) return;
    st.late_told = true;
    MSGPUT(run, "OPTIMO", -900, run.store.bus.NOINT(k), element::bus_number);
}

void forget_weak_pivots(Run& run) {
    SolverState& st = run.mat.state;
    if (st.first_late > 0) run.mat.late.fill(false);
    st.nlate = st.reorders = st.first_late = 0;
    st.refine = st.late_told = false;
}

}  // namespace korvane
