// What the routines of this folder share: admittances, islands, the Newton iteration and its report.
#pragma once
#include <span>
#include <string>

#include "powerflow/sparse.hpp"

namespace korvane {

// --- admittances

/// Rebuilds GDIAG and BDIAG from nothing, pu: branches, open-ended branches, taps, shunts, line-end shunts, automatic
/// shunts.
void build_diagonal(Run& run);

/// SINDIK and COSDIK of all branches from the present angles and phase shifts.
void refresh_angles(Run& run);

/// Reactive power at 1 pu that the shunts and banks of a branch give at its two ends, pu.
struct EndShunts {
    double from, to;
};
EndShunts end_shunts(const Store& s, int l);

/// Tap row of a branch, 0 for none.
inline int tap_row(const Store& s, int l) {
    switch (s.branch.LTYPE(l)) {
        case 1:
        case 3: return s.branch.LITRF(l);
        case 2:
        case 4:
        case 6: return s.branch.LITRF(l) ? int(s.phs.NOPHS(s.branch.LITRF(l))) : 0;
        default: return 0;
    }
}
/// Its phase row, 0 for none.
inline int phase_row(const Store& s, int l) {
    const int type = s.branch.LTYPE(l);
    return type == 2 || type == 4 || type == 6 ? s.branch.LITRF(l) : 0;
}

/// Sets t = 1/a of tap row n to t1, rescales its branch and keeps the diagonal in step. Only the from side depends on
/// the tap.
void change_tap(Run& run, int n, double t1);

// --- islands

/// Takes the islands without a slack out of service and notes their buses for OUTDBC. The store is compacted.
/// Returns the number of buses.
int remove_islands(Run& run);
/// OUTDBC: the buses that remove_islands took out.
void OUTDBC(Run& run);

// --- the Newton iteration

/// A kind of control or device that adds rows of its own to the Newton equations. A hook that is missing is skipped.
struct Device {
    const char* name;
    bool (*build)(Run&);     // its fictitious buses and branches behind the real ones; false: a limit, message queued
    void (*assemble)(Run&);  // its rows, and what it changes in those of the buses
    void (*update)(Run&);    // its own unknowns, after the solution
    void (*adjust)(Run&);    // steps between passes; clears CONVSTAT when the solution is to go on
};
std::span<const Device> devices();

/// SOLVNW: solves the network by Newton's method. The result is CONVSTAT; `status` takes the count of fatal errors of
/// the augmented equations. Messages 100, 110, 130.
void SOLVNW(Run& run, int& status);

/// Power given to each bus beyond its generator and its nominal load, pu, into work.injected: equivalent injections,
/// less what loads with a model draw at the present voltages beyond their nominal power.
void collect_injections(Run& run);

/// Mismatches and Jacobian at the present state: one pass up to the factorisation. For Newton and for tests.
void assemble(Run& run);
/// Factors, solves and corrects voltages and angles. False when the matrix is singular, which has been told.
bool iterate(Run& run);

// --- the report of convergence

/// Options in force that the heading of the report shows.
std::string options_in_force(const Run& run);
void report_heading(Run& run);
void report_iteration(Run& run);
void report_switches(Run& run);
void report_singular(Run& run, int k);  // bus k has a pivot of zero
void report_outcome(Run& run, int code);

// --- the driver

/// SOLVLF: the alternating-current solver, alternated with direct-current links where there are some.
void SOLVLF(Run& run);

}  // namespace korvane
