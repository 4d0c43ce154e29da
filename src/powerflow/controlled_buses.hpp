// Buses whose voltage something else holds: generators elsewhere, taps, static compensators. Each such bus has a list
// of what holds it, in the order in which it was put there, for what they may do depends on each other.
#pragma once
#include "frame/table.hpp"
#include "network/limits.hpp"

namespace korvane {

struct Run;

/// What a cell of the list of a controlled bus stands for, I_CODIGO.
enum class Holder : int {
    tap = 1,                // the one tap of the bus
    parallel_tap = 2,       // of a pair between the same buses
    further_tap = 3,        // several taps on different branches
    standby_tap = 4,        // beside a generator: it acts when the generators have run out
    generator = 6,          // the one generator of the bus
    group_generator = 7,    // of several, not the last
    last_generator = 8,     // the last of several, or any under TGER
    compensator = 9,        // the one static compensator of the bus
    group_compensator = 10  // of several
};

/// The lists. All zero before the equations of a solution are built.
struct ControlledBuses {
    struct Cell {
        Holder code;
        int device;  // row of the device in the store: I_ADDRESS
        int number;  // running number inside the kind, from 1: I_ADDRESS_AUX
        int next;    // next cell of the bus, 0 at the end: I_PROXIMO
    };
    int n, cells;             // buses and cells in use
    Table<int, MXBUS> bus;    // IBAR_PQV: buses in the order in which their lists began
    Table<int, MXBUS> first;  // IBUS_PQV_PTR: by bus, first cell of its list; 0: nothing holds it
    Table<Cell, MXGEN + MXTAP + MXCER> cell;

    /// First cell of bus k, 0 for none; the cell behind it is cell(i).next.
    int head(int k) const { return first(k); }
    /// Whether a cell holds a generator.
    bool is_generator(int i) const {
        return cell(i).code >= Holder::generator && cell(i).code <= Holder::last_generator;
    }
};

/// One more cell at the end of the list of bus k, or right behind cell `before` of some list. Returns the cell.
int append_cell(ControlledBuses& lists, int k, Holder code, int device, int number);
int insert_cell_behind(ControlledBuses& lists, int before, Holder code, int device, int number);

/// The hooks of the device list: no bus is controlled yet; and the rows of all that hold a voltage. The second clears
/// the residuals DV, DG and DF, wakes the taps once the reactive mismatch allows it, holds the terminal voltages of
/// VLCR, lets standby taps take over, writes the row of every cell by its code, bus by bus, and lets members of groups
/// return from their limits.
bool start_controlled_buses(Run& run);
void assemble_controlled_buses(Run& run);

}  // namespace korvane
