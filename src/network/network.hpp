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
