#include "powerflow/controlled_buses.hpp"

#include "powerflow/augmented.hpp"
#include "powerflow/remote_voltage.hpp"
#include "powerflow/static_compensators.hpp"
#include "powerflow/taps.hpp"

namespace korvane {

namespace {

void write_row(Run& run, int i) {
    const ControlledBuses::Cell& cell = run.mat.control.held.cell(i);
    switch (cell.code) {
        case Holder::tap:
        case Holder::parallel_tap:
        case Holder::further_tap:
        case Holder::standby_tap: write_tap_row(run, cell.number); break;
        case Holder::generator:
        case Holder::group_generator:
        case Holder::last_generator: write_remote_row(run, i); break;
        case Holder::compensator:
        case Holder::group_compensator: write_compensator_row(run, cell); break;
    }
}

}  // namespace

int append_cell(ControlledBuses& lists, int k, Holder code, int device, int number) {
    int last = lists.first(k);
    if (last) {
        while (lists.cell(last).next) last = lists.cell(last).next;
        return insert_cell_behind(lists, last, code, device, number);
    }
    lists.bus(++lists.n) = k;
    lists.cell(++lists.cells) = {code, device, number, 0};
    return lists.first(k) = lists.cells;
}

int insert_cell_behind(ControlledBuses& lists, int before, Holder code, int device, int number) {
    const int i = ++lists.cells;
    lists.cell(i) = {code, device, number, lists.cell(before).next};
    lists.cell(before).next = i;
    return i;
}

bool start_controlled_buses(Run& run) {
    ControlledBuses& lists = run.mat.control.held;
    lists.n = lists.cells = 0;
    lists.first.fill(run.store.bus.NB, 0);
    return true;
}

void assemble_controlled_buses(Run& run) {
    for (auto which : {&Residuals::DV, &Residuals::DG, &Residuals::DF}) clear_residual(run, which);
    const ControlledBuses& lists = run.mat.control.held;
    if (lists.n == 0) return;
    wake_taps(run);
    check_terminal_voltages(run);
    for (int i : rows(lists.n)) {
        const int head = lists.first(lists.bus(i));
        let_taps_take_over(run, head);
        for (int c = head; c; c = lists.cell(c).next) write_row(run, c);
    }
    rejoin_groups(run);
}

}  // namespace korvane
