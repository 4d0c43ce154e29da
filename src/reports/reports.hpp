// Reports: what other folders may call.
#pragma once
#include <string_view>
#include <vector>

#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

/// RELA, and the report step of the runs: prints the reports that the options in force ask for, narrowed by areas,
/// islands or aggregators. Selections and ratings are as before when it ends, also when it ends by a stop; IMPR ends
/// false. Messages RELDSP -100, -110; INTERR after errors in a list of areas or groups.
void report_dispatch(Run& run);

// --- selection

/// OPAREA: reads the list of areas, or with ILHA of islands, into BUSSEL, ARESEL, LINSEL and ILHASEL. False after an
/// error. Messages 100, 130, -900.
bool OPAREA(Run& run);

/// Islands of what is in service, all of them selected; a bus out of service lies in none. Before a list of islands.
void search_islands(Run& run);

/// OPAGRE: the same for groups of an aggregator. Messages 100, 130, -900.
bool OPAGRE(Run& run);

/// Last entry of a list of SELBAR when the operator has ended the selection. No bus has this position.
constexpr int END_OF_SELECTION = 99999;

/// SELBAR: reads selection lines until one names a bus or ends the selection. Leaves bus positions in list, in the
/// order asked for and each once, then END_OF_SELECTION at the end. The prompt names the report.
/// Messages 100, 110.
void SELBAR(Run& run, std::string_view report, std::vector<int>& list);

// --- bus report

/// What stands at each bus besides its own row, summed over the elements of the bus: one pass over the tables when it
/// is made, a look-up for each bus. Stale once a row of the store moves.
class BusElements {
public:
    struct Sums {
        double p_load = 0, q_load = 0;    // of the bus under its model and of its individual loads, pu
        int injection = 0;                // row of its equivalent injection, 0 for none
        double bank = 0;                  // bank units switched in, pu at 1 pu of voltage
        double compensator = 0;           // reactive generation of its static compensators, pu
        double line_shunt = 0;            // shunts at the ends of its branches, pu at 1 pu of voltage
        double p_link = 0, q_link = 0;    // power of its converters, pu
        double p_motor = 0, q_motor = 0;  // pu
    };
    explicit BusElements(const Store& s);
    const Sums& operator()(int k) const { return sums_[std::size_t(k)]; }

private:
    std::vector<Sums> sums_;
};

/// What the bus report says of a bus, in the units of the reader: pu, degrees, MW, Mvar.
struct BusRow {
    int number;
    std::string_view name;
    int type;  // as on the card; minus: at a limit
    bool in_service;
    double base_kv;  // 0 without a base-voltage group
    double v, angle;
    double p_gen, q_gen, participation;
    double p_equivalent, q_equivalent, share;  // share in per cent
    double p_load, q_load;                     // at the present voltage
    double p_link, q_link;
    double shunt, equivalent_shunt;  // at the present voltage
    double p_motor, q_motor;
    double compensator, line_shunts;
};

/// The row of bus k. Wants NGADR and NSADR as map_bus_rows leaves them.
BusRow bus_row(const Store& s, const BusElements& elements, int k, double base);

void OUTBUS(Run& run);  ///< RBAR: state of each bus of the selected areas.
void SELBUS(Run& run);  ///< The same for the buses named on selection lines.
void OUTBML(Run& run);  ///< RBAR after a linear solution: angles and active power.
void SELBML(Run& run);  ///< The same for the buses named on selection lines.

// --- settings

void OUTOPT(Run& run);  ///< ROPC: the options that are on by default.
void OUTCTE(Run& run);  ///< RCTE, and DCTE with IMPR: the constants, in the units of their cards.

// --- data alone

void OUTARE(Run& run);  ///< RARE: interchange of the areas and its bounds.
void OUTGLT(Run& run);  ///< RGLT: voltage-limit groups.
void OUTGBT(Run& run);  ///< RGBT: base-voltage groups by rising voltage.
void OUTAGR(Run& run);  ///< RAGR: aggregators and their groups.
void OUTMAC(Run& run);  ///< RMAC: macros.
void OUTCMT(Run& run);  ///< RCMT: the comment of the case.
void OUTDBA(Run& run);  ///< DADB: buses as their cards have them.
void SELDBA(Run& run);  ///< The same for the buses named on selection lines.
void OUTDLI(Run& run);  ///< DADL: branches as their cards have them, each once.
void SELDLI(Run& run);  ///< The branches of the buses named on selection lines.
void OUTDSC(Run& run);  ///< DADC: controllable series devices as their cards have them.
void OUTFCR(Run& run);  ///< RFCR: generators left out of remote control.
void OUTFQL(Run& run);  ///< RFQL: generators left out of the switching of limits.
void OUTSLP(Run& run);  ///< RSLP: substitute slack buses, by priority.
void OUTTPF(Run& run);  ///< RTPF: taps held fixed.
void OUTTVF(Run& run);  ///< RTVF, RCTR: bands of taps, control of phase shifters.
void OUTLEN(Run& run);  ///< RLEN: voltage limits at the ends of branches.

}  // namespace korvane
