// What the routines of this folder share: admittances, islands, the Newton iteration and its report.
#pragma once
#include <cmath>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "network/branch_rows.hpp"
#include "powerflow/sparse.hpp"

namespace korvane {

// --- admittances

/// Rebuilds GDIAG and BDIAG from nothing, pu: branches, open-ended branches, taps, shunts, line-end shunts, banks,
/// automatic shunts.
void build_diagonal(Run& run);

/// SINDIK and COSDIK of all branches from the present angles and phase shifts.
void refresh_angles(Run& run);

/// Reactive power at 1 pu that the shunts and banks of a branch give at its two ends, pu.
struct EndShunts {
    double from, to;
};
EndShunts end_shunts(const Store& s, int l);

/// Sets t = 1/a of tap row n to t1, rescales its branch and keeps the diagonal in step. Only the from side depends on
/// the tap.
void change_tap(Run& run, int n, double t1);

// --- islands

/// Takes the islands without a slack out of service and notes their buses for print_listed. The store is compacted.
/// Returns the number of buses.
int remove_islands(Run& run);
/// AREILH: an area that spans islands keeps its buses of the first of them; those of each other island go to a new area
/// of the same name. True after any split. Warning -900 then; message 100: no room for a new area.
bool AREILH(Run& run);
/// IANG: every bus at angle 0, slacks apart, takes the angle of a bus that it is connected to; those without one are
/// listed. Then the ends of jumpers take one angle and one voltage.
void start_angles(Run& run);

/// Buses for a report that lists them: one more, and the report of those noted, of rows 1 to 8 of the routine. OUTDBC
/// lists what remove_islands took out, PWFANG what start_angles found no angle for.
void list_bus(Run& run, int k);
void print_listed(Run& run, std::string_view routine);

// --- controls

/// A kind of control or device inside the Newton iteration. A hook that is missing is skipped.
struct Device {
    const char* name;
    // Its fictitious buses and branches behind the real ones; false: a limit, message queued.
    bool (*build)(Run&) = nullptr;
    // Its rows and its residual, and what it changes in the rows of the buses.
    void (*assemble)(Run&) = nullptr;
    // The solution would take an unknown beyond its limit: it goes to the limit now. True: the rest is to be solved
    // anew, as it went by the whole step; devices behind this one wait for that.
    bool (*restrain)(Run&) = nullptr;
    // Its own unknowns, after the solution.
    void (*update)(Run&) = nullptr;
    // All residuals are met: a last discrete step; true: the equations are no longer the same.
    bool (*settle)(Run&) = nullptr;
    // Steps after the pass; clears CONVSTAT when the solution is to go on.
    void (*adjust)(Run&) = nullptr;
    // The solution is over: what it could not do.
    void (*tell)(Run&) = nullptr;
};
std::span<const Device> devices();

/// Where a solver keeps the active or the reactive mismatch of a bus, divided by its voltage.
using MismatchRow = double& (*)(Run&, int k);

// --- limits

/// The start of a solution: which generators IPQLIM leaves out, and no bus has changed its type yet.
void start_limits(Run& run);
/// Generators at their reactive limits with QLIM, load buses at their voltage limits with VLIM: types, generation,
/// voltages and reactive rows follow. A change raises DQ of the pass, so that the solution goes on. True when a bus
/// changed its type. A bus that did so ten times leaves a limit no more. With by_island only islands whose own DQ, as
/// noted before any control, is not above QLST.
bool check_limits(Run& run, MismatchRow dq, bool by_island);
/// A control has changed something at bus k: its reactive mismatch stands for unsolved on this pass, under CILH that of
/// its island too.
void reopen_reactive(Run& run, int k);
/// Whether generator j has not changed the type of its bus too often to do so again; and that it has done it once more.
bool may_turn(Run& run, int j);
void note_turn(Run& run, int j);
/// Tells the buses that have been kept at a limit in this way: LIMREA warning -900.
void tell_stuck(Run& run);

// --- individual generators

/// The start of a solution of the compacted network: generator rows take what their units give, and without a solution
/// in the store the units their share of it first. With NUNF no unit takes a share any more: what it gives, and how
/// many operate, stands.
void start_units(Run& run);
/// A generator at a reactive limit: one more of its units that take their share goes into operation, and the limits of
/// the row follow. False when none is left. The admittance diagonal is to be rebuilt when the step-up changed with it.
bool bring_in_unit(Run& run, int j);
/// The units of a solved network share what their rows generate, and as many operate as that takes. True when the
/// equations changed by it. LIMREA warning -910 when the counts do not come to rest.
bool dispatch_units(Run& run);
/// How many operate at the start of a solution; whether another number of them does now, and the report of these.
void note_unit_counts(Run& run);
void report_unit_counts(Run& run);

// --- balance and interchange

/// AREERRO and SYSERRO: active power that every area and every island is short of at the present state, pu: loads,
/// losses and flows out less generation and injections. The islands are those of the last search.
void compute_balance(Run& run);
/// Distributes what compute_balance finds over the areas (BPAR) or the islands (BPSI), and takes PGEN for PSLK.
/// CONVSTAT 4 and false when nobody could take what was left.
bool distribute_balance(Run& run, bool by_island);
/// CINT and DPER: a slack gives up what it gives beyond its schedule, and areas hold their interchange, by generators
/// and injections with participation. Every change goes to its mismatch row and raises DP of the pass. CONVSTAT 4 when
/// nobody can take what is left.
void adjust_interchange(Run& run, MismatchRow dp);

// --- the Newton iteration

/// SOLVNW: solves the network by Newton's method. The result is CONVSTAT; `status` takes the count of fatal errors of
/// the augmented equations. Messages 100, 110, 130.
void SOLVNW(Run& run, int& status);

/// A mismatch forced so high that the solution goes on.
constexpr double REOPENED = 1e6;

/// Notes a bus that changed its type, or minus the from bus of a tap that met its limit, for the report. The list takes
/// fifty.
inline void note_switch(SolverState& st, int entry) {
    if (st.nlimq < int(st.ILIMQ.size())) st.ILIMQ[std::size_t(st.nlimq++)] = entry;
}

/// Power given to each bus beyond its generator and its nominal load, pu, into work.injected: equivalent injections,
/// less what loads with a model draw at the present voltages beyond their nominal power.
void collect_injections(Run& run);
/// The generator row of each bus, into work.NOBGEN.
void map_generators(Run& run);

/// The largest mismatches met so far; the later bus wins a tie. A mismatch that is not a number stays, and is not
/// converged.
struct Worst {
    double value = 0;
    int bus = 0;
    void meet(double mismatch, int k) {
        if (mismatch >= value) value = mismatch, bus = k;
        if (std::isnan(mismatch)) [[unlikely]]
            value = mismatch, bus = k;
    }
};

/// The augmented equations at the start of a solution, and their order; without controls that add some the order of the
/// plain network holds. False after a message: a limit is passed.
bool build_equations(Run& run);
/// Mismatches and Jacobian at the present state: one pass up to the factorisation.
void assemble(Run& run);
/// Its parts: the network alone, generation held to schedules and limits, and the equations closed once the controls
/// have written theirs.
void assemble_network(Run& run);
/// Interchange, reactive and voltage limits, on mismatches small enough. False when CONVSTAT is 4.
bool control_generation(Run& run);
void close_equations(Run& run);
/// Whether all residuals are within their tolerances; under CILH those of every island that still runs.
bool converged(Run& run);
/// A Newton pass: the routine that messages name, the devices whose unknowns it corrects, and its assembly.
struct Pass {
    std::string_view routine;
    std::span<const Device> devices;
    void (*assemble)(Run&);
};
/// Factors, solves and corrects voltages, angles and the unknowns of the devices. False when the iteration ends here:
/// the matrix is singular, which has been told, or CONVSTAT is 3. Warning -910: the solution could not be made exact.
bool iterate(Run& run, const Pass& pass);

/// Buses of weak pivots, by row, go to the end of a new order; the equations are to be assembled anew. False when there
/// is nothing more to hold back, and the order is as before.
bool hold_back(Run& run, Pattern& p, std::span<const int> weak);
/// Says so, once in a solve, when a factorisation has come through in such an order. Warning OPTIMO -900.
void tell_held_back(Run& run);
/// A new solve: no bus is held back, nothing is refined.
void forget_weak_pivots(Run& run);

/// STPO: the multiplier of the correction into XMI, under CILH into XMI2 of every island.
void choose_step(Run& run);
/// EJAC: the assembled equations into the file JACOBI_000.BIN. Warning -900: the file cannot be written.
void write_jacobian(Run& run);

// --- the iterations beside it

/// The decoupled iteration, alone or as the start of Newton: CONVSTAT stays 0 when Newton is to go on.
void solve_decoupled(Run& run);
/// BCSOLV: Newton without rows for controls, which act between the iterations. Messages 100, 110.
void BCSOLV(Run& run);

/// Controls between the iterations: remote voltage and taps. Each reopens the solution when it moves something. B'' is
/// rebuilt after a change of type when `decoupled`.
void adjust_remote(Run& run, bool decoupled);
void adjust_taps(Run& run);
/// B'' of the present types, factored. False when that failed: the message is queued, CONVSTAT is 3.
bool rebuild_second(Run& run);

// --- the report of convergence

/// Options in force that the heading of the report shows, in lines that fit the page.
std::vector<std::string> options_in_force(const Run& run);
enum class Method { newton, decoupled };
void report_heading(Run& run, Method method);
void report_iteration(Run& run);
void report_half(Run& run, bool active);  // of the decoupled iteration
void report_switches(Run& run, Method method = Method::newton);
void report_singular(Run& run, int k);  // bus k has a pivot of zero
void report_outcome(Run& run, int code);

// --- the linear flow

/// SOLVLF, its linear form: angles and slack generation by the linear model; B' has been factored. With PERD the losses
/// of the branches are folded in, in PDIT rounds. CONVSTAT is 1, or 3 when an angle is not a number.
void solve_linear(Run& run);

// --- the driver

/// SOLVLF: the alternating-current solver, alternated with direct-current links where there are some.
void SOLVLF(Run& run);

}  // namespace korvane
