// Handlers of codes that join several folders; the other rows of the table name routines of one folder.
#pragma once
#include "frame/run.hpp"

namespace korvane {

/// DCTE: the constants, then what they ask of the network: ratings (%SBC, with EMRG the emergency ones), jumpers
/// (ZMIN), and with IMPR the report of the constants.
void constants_block(Run& run);

/// DANC: a change of load, by area or with ACLS by selection; with BPAR or BPSI it is shared out between generators.
void load_change(Run& run);

/// EXLF: solves the network; after an answer without errors KNTRL 16 is true and the reports of the line are printed.
/// A network that diverges is an answer; one that cannot be solved at all is an error, and INTERR decides.
void solve_power_flow(Run& run);

/// RELA: the reports of the line.
void print_reports(Run& run);

/// ARQV: what its options ask of the case file; after a restore the options that are in effect.
void case_file(Run& run);

/// CART: the deck, from the beginning of the card unit.
void write_deck(Run& run);

/// SERV: the services that the options of the line name.
void run_services(Run& run);

/// TV0+: voltage and angle of the buses in the file of voltages, to the store; the set point of a generator bus too.
/// Buses that do not exist are passed over.
void read_voltages(Run& run);

}  // namespace korvane
