// Shunt banks: groups of rows of like units, and the automatic shunts that stand for groups under control.
#pragma once
#include <cmath>

#include "network/store.hpp"

namespace korvane {

/// Most rows of a group under control: as many as an automatic shunt has stages.
constexpr int MXROWS_CONTROLLED = MXSTAGE;

/// Control mode of the letter or digit on a card: 0 fixed (F), 1 discrete (D), 2 continuous (C); -1 none of them.
constexpr int control_mode(char letter) {
    switch (letter) {
        case 'F':
        case '0': return 0;
        case 'D':
        case '1': return 1;
        case 'C':
        case '2': return 2;
        default: return -1;
    }
}
constexpr char mode_letter(int mode) { return "FDC"[mode]; }

/// A limit of a voltage group, pu, as the three decimals of a band on a card hold it.
inline double band_voltage(double v) { return std::round(v * 1000) / 1000; }

/// NUBSH and the chains of rows: IPBSH, LNKBS in ascending number, IPBRC, LNKRC the same with negative values first.
void chain_bank_rows(Store& s);

/// Automatic shunts that groups made leave, those of DSCA stay.
void drop_bank_shunts(Store& s);

/// One automatic shunt for every bus with groups under control: its stages are their rows in service, capacitors
/// first; a group on a circuit out of service gives none. Those made before go; those of DSCA stay. Returns false when
/// the table of automatic shunts is full.
bool make_bank_shunts(Store& s);

/// The stages of these shunts from the rows in service as they are now, and what those have switched in as VORISCA;
/// with `present` as the value BSCA too. Call it while nothing is compacted.
void take_bank_values(Store& s, bool present);

/// What every row of a bank has switched in, QBAN, and its group, QBSH, pu. The value BSCA of an automatic shunt goes
/// to the rows of its groups in the order of its stages: units as long as they do not pass it, and what is left to the
/// row that stops short. Groups without control, and those under discrete control unless `discrete`, have the units in
/// operation of their rows. A row out of service has nothing, nor has one on a branch out of service; without control
/// only where the branch is open at both ends. Call it while nothing is compacted.
void allocate_banks(Store& s, bool discrete);

}  // namespace korvane
