// Readers of the network data: what other folders may call.
#pragma once
#include "frame/run.hpp"

namespace korvane {

void INPBUS(Run& run);  ///< DBAR: buses. Messages 100 to 670, -900 to -995.
void INPLIN(Run& run);  ///< DLIN: branches. Messages 110 to 800, -435 to -970.
void INPGEN(Run& run);  ///< DGER: limits and capability data of generators. Messages 100 to 290, -950 to -990.
void INPCAR(Run& run);  ///< DCAR: load models. Messages 100 to 190, 823, and those of SELCRT.
void INPSHL(Run& run);  ///< DSHL: shunts on the ends of branches. Messages 100 to 260, 600, 920, -900, -910.
void INPINJ(Run& run);  ///< DINJ: equivalent injections. Messages 100 to 190.
void INPMOT(Run& run);  ///< DMOT: induction motors. Messages 100 to 360, -900.
void INPCAI(Run& run);  ///< DCAI: individual loads. Messages 100 to 300, -900.
void INPGEI(Run& run);  ///< DGEI: individual generators. Messages 100 to 320, -900 to -950.
void INPARE(Run& run);  ///< DARE: areas. Messages 100 to 140, -900 to -920.
void INPGLT(Run& run);  ///< DGLT: voltage-limit groups. Messages 100 to 180.
void INPGBT(Run& run);  ///< DGBT: base-voltage groups. Messages 100 to 130.
void INPAGR(Run& run);  ///< DAGR: groups of aggregators; with INIC clears them all. Messages 100 to 180.
void INPAGL(Run& run);  ///< DAGA: a change of generation. Messages 100 to 120.

/// Shares out between generators what the areas, or the islands, lack since the network was solved; CONVSTAT is not 0
/// when no generator can take it.
using ShareBalance = void (*)(Run& run, bool by_island);
/// DANC: a change of load by area (INPANC), by selection (INPACL, with ACLS). With BPAR or BPSI what the block changed
/// is shared out at its end. Messages 100 to 230, -180 to -210.
void INPANC(Run& run, ShareBalance share);
void INPACL(Run& run, ShareBalance share);

void INPTPI(Run& run);  ///< DTPF: taps held fixed, by branches. Messages 100 to 230, -823.
void INPTPX(Run& run);  ///< The same by selection. Messages 102 to 190, -900.
void INPFCR(Run& run);  ///< DFCR: generators left out of remote control. Messages 104 to 190, -900.
void INPFQL(Run& run);  ///< DFQL: generators left out of limit switching. Messages 104 to 190, -900.
void INPFCT(Run& run);  ///< DFCT: shares in controls; returns how many are not 1. Messages 100 to 260, -900 to -920.
void INPSLP(Run& run);  ///< DSLP: substitute slack buses. Messages 100 to 280.
void INPLEN(Run& run);  ///< DLEN: voltage limits at the ends of branches. Messages 110 to 200.
void INPMTE(Run& run);  ///< DMTE: monitored buses. Messages 102 to 190, -900.
void INPMGR(Run& run);  ///< DMGR: monitored generators. Messages 104 to 190, -900.
void INPMFI(Run& run);  ///< DMFL: monitored branches. Messages 100 to 220.
void INPMFX(Run& run);  ///< The same by selection. Messages 102 to 190, -900.
void INPTBU(Run& run);  ///< DBTB: buses of the voltage table. Messages 100 to 160.
void INPTFL(Run& run);  ///< DFTB: sums of branch flows. Messages 100 to 240, -205, -910.
void INPPGE(Run& run);  ///< DPGE: sums of active generation. Messages 100 to 160, -205 to -910.
void INPQGE(Run& run);  ///< DQGE: sums of reactive generation. The same messages.
void INPTVF(Run& run);  ///< DTVF, DCTR: tap bands and phase-shifter control. Messages 100 to 350, -360, -370.
void INPREL(Run& run);  ///< DREL: selection for reports; returns 1 when it is narrowed. Messages 100 to 150, -900.
void INPBRE(Run& run);  ///< DBRE: areas out of the reports. Messages 100 to 130.
void INPCMT(Run& run);  ///< DCMT: the comment of the case. Messages 130, 140, -900.

void INPSCA(Run& run);  ///< DSCA: automatic shunts. Messages 100 to 260, -900 to -930.
void INPBSH(Run& run);  ///< DBSH: shunt banks, groups and their rows. Messages 100 to 440, -900 to -930.
void INPCER(Run& run);  ///< DCER: static compensators. Messages 100 to 310, -400.
void INPCSC(Run& run);  ///< DCSC: controllable series devices. Messages 100 to 480, 610 to 800, -435, -436, -900, -910.
void INPILH(Run& run);  ///< DFRQ: islands that hold their frequency. Messages 100 to 190, 250, 260.

void INICAS(Run& run);  ///< CASO: a new case, or a partial clear by its options.
void JUMPER(Run& run);  ///< Marks branches whose impedance is at or below ZMIN.

/// FNDLIN: the branch between two buses in either direction. Circuit 0: the first one.
struct FoundBranch {
    int branch = 0;   // 0: none
    int place = 0;    // its place among the parallels
    int count = 0;    // circuits between the buses
    int highest = 0;  // highest circuit number between the buses
};
FoundBranch FNDLIN(const Run& run, int from, int to, int circuit);

/// Number and name of a bus (position or number), the ends of a branch, the name of a link: what a message says of its
/// element.
ElementName name_element(const Run& run, int element, int type);

}  // namespace korvane
