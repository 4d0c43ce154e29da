// DLIN, branches: the steps of the end card.
#include "network/branch_data.hpp"
#include "network/dependent_rows.hpp"

namespace korvane {

// A phase shifter of angle 0 is a plain transformer.
void BranchBlock::drop_zero_phases() {
    BranchTables& b = s.branch;
    bool any = false;
    for (int p : rows(s.phs.NPHS)) {
        if (s.phs.PHS(p) != 0) continue;
        any = true;
        const int n = s.phs.NOPHS(p), l = s.tap.NOTAP(n);
        b.LTYPE(l) = b.LTYPE(l) != 6 ? b.LTYPE(l) - 1 : s.tap.TPMIN(n) < s.tap.TPMAX(n) ? 3 : 1;
    }
    if (!any) return;
    close_up(s, s.phs, [&](int p) { return s.phs.PHS(p) != 0; });
    link_branch_rows(s);
}

void finish_branches(Run& run, bool removed) {
    if (removed)
        drop_removed(run);  // the address lists with it
    else
        ADRLIN(run);
    settle_dependents(run);
    JUMPER(run);
}

void BranchBlock::finish() {
    drop_zero_phases();
    finish_branches(run, removed_);
}

}  // namespace korvane
