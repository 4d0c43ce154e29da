// Columns that a case holds in another form than the store: worked out for the stream alone when it is written, so that
// memory stays as it was, and taken apart when it is read.
#pragma once
#include "casestore/case_fields.hpp"

namespace korvane {

// Each returns the first element: on writing of the column made for the stream, on reading of where it goes.

void* conductance_with_motors(CaseContext& c);  // GDIAG, BDIAG: classic motors as shunts on top
void* susceptance_with_motors(CaseContext& c);
void* solver_rows(CaseContext& c);    // NORDER
void* motor_current(CaseContext& c);  // at the terminal, pu and rad
void* motor_current_angle(CaseContext& c);
void* generation_of_a_unit(CaseContext& c);  // QGCER over NUCER
void* rows_of_fixed_taps(CaseContext& c);    // LITRF of ITAPF
void* bypassed_branches(CaseContext& c);     // STBYP of the series device on a branch
void* terminal_power(CaseContext& c);        // PLDC, QLDC of the terminals in service order of their converters
void* terminal_reactive(CaseContext& c);

/// Terminals of all converters, those out of service too.
int terminals_in_use(Store& s);

// What is left to do once all fields of a version have been read.

/// QGCER of all units together.
void gather_units(CaseContext& c);
/// Terminals of the converters, with the powers read.
void take_terminals(CaseContext& c);
/// STBYP of series devices from the branches read.
void take_bypasses(CaseContext& c);
/// The circuit of each classic motor on the system base, its shunt equivalent, and its internal voltage: from the
/// terminal current that the stream held, or from its slip where the stream had none.
void rebuild_motors(CaseContext& c);

}  // namespace korvane
