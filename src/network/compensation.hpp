// Shunt banks, automatic shunts, static compensators and controllable series devices.
#pragma once
#include "network/branch.hpp"
#include "network/generation.hpp"

namespace korvane {

/// Stages of an automatic shunt.
constexpr int MXSTAGE = 6;
using StageSteps = std::array<int, MXSTAGE>;      // steps of each stage
using StageValues = std::array<double, MXSTAGE>;  // value of one step of each, pu

struct SeriesDeviceTables {
    static constexpr Family family = Family::series_device;
    int NCSC;
    Table<BranchRef, MXCSC> LICSC;
    Table<double, MXCSC> BMNCSC, BMXCSC;  // susceptance at the least, at the greatest reactance, pu
    Table<int, MXCSC> KONCSC;             // 1 constant power, 2 current, 3 reactance
    Table<int, MXCSC> KONCSC_ORI;         // mode of the data
    Table<double, MXCSC> VSPCSC;          // target: power or current, pu; susceptance, pu
    Table<BusRef, MXCSC> NBECSC;          // end at which the target is measured
    Table<int, MXCSC> NSTCSC;             // steps between the limits, 0: continuous
    Table<bool, MXCSC> NTYCSC;            // the equation acts: neither at a limit nor rounded
    Table<bool, MXCSC> STBYP;             // bypass in

    int& count() { return NCSC; }
    static constexpr auto columns() {
        using C = SeriesDeviceTables;
        return std::tuple{column("LICSC", &C::LICSC),           column("BMNCSC", &C::BMNCSC),
                          column("BMXCSC", &C::BMXCSC),         column("KONCSC", &C::KONCSC),
                          column("KONCSC_ORI", &C::KONCSC_ORI), column("VSPCSC", &C::VSPCSC),
                          column("NBECSC", &C::NBECSC),         column("NSTCSC", &C::NSTCSC),
                          column("NTYCSC", &C::NTYCSC, true),   column("STBYP", &C::STBYP)};
    }
};
static_assert(lists_every_table<SeriesDeviceTables>());

struct CompensatorTables {
    static constexpr Family family = Family::compensator;
    int NCER;
    Table<BusRef, MXCER> NBECER;          // terminal bus
    Table<int, MXCER> IGCER;              // number on the bus
    Table<int, MXCER> NUCER;              // units
    Table<BusRef, MXCER> NVKCER;          // controlled bus
    Table<double, MXCER> RCER;            // slope, pu of voltage for pu of reactive power, not positive
    Table<double, MXCER> QGCER;           // reactive generation, pu
    Table<double, MXCER> QCERMN, QCERMX;  // limits of one unit at nominal voltage, pu
    Table<double, MXCER> VCER;            // voltage reference, pu
    Table<int, MXCER> KONCNT;             // the slope acts on: 1 reactive power, 2 current
    Table<int, MXCER> KONCER;             // region: 1 at QCERMX, 2 on the slope, 3 at QCERMN
    Table<bool, MXCER> STUCER;            // in service

    int& count() { return NCER; }
    static constexpr auto columns() {
        using C = CompensatorTables;
        return std::tuple{
            column("NBECER", &C::NBECER), column("IGCER", &C::IGCER),      column("NUCER", &C::NUCER),
            column("NVKCER", &C::NVKCER), column("RCER", &C::RCER),        column("QGCER", &C::QGCER),
            column("QCERMN", &C::QCERMN), column("QCERMX", &C::QCERMX),    column("VCER", &C::VCER, 1.0),
            column("KONCNT", &C::KONCNT), column("KONCER", &C::KONCER, 2), column("STUCER", &C::STUCER, true)};
    }
};
static_assert(lists_every_table<CompensatorTables>());

struct BankTables {
    static constexpr Family family = Family::bank;
    int NBSH;
    Table<BusRef, MXBSH> NOBSH;         // bus of the group
    Table<int, MXBSH> MCBSH;            // control: 0 fixed, 1 discrete, 2 continuous
    Table<double, MXBSH> TMNSH, TMXSH;  // voltage band, pu
    Table<BusRef, MXBSH> NOBCS;         // controlled bus
    Table<double, MXBSH> VINSH;         // value of the group card, or of the shunt that the group took over, pu
    Table<bool, MXBSH> TCBSH;           // outside the band to its nearest limit; else to its centre
    Table<bool, MXBSH> DELSH;           // takes over the fixed shunt at the end of the block
    Table<BranchRef, MXBSH> IDCIR;      // branch of a group on a branch end, 0 for a group on a bus
    Table<int, MXBSH> NUBSH;            // rows of the group
    Table<Ref<Family::automatic_shunt>, MXBSH> IPSCA;  // its automatic shunt
    Table<double, MXBSH> QBSH;                         // value switched in, pu

    int& count() { return NBSH; }
    static constexpr auto columns() {
        using B = BankTables;
        return std::tuple{column("NOBSH", &B::NOBSH), column("MCBSH", &B::MCBSH), column("TMNSH", &B::TMNSH),
                          column("TMXSH", &B::TMXSH), column("NOBCS", &B::NOBCS), column("VINSH", &B::VINSH),
                          column("TCBSH", &B::TCBSH), column("DELSH", &B::DELSH), column("IDCIR", &B::IDCIR),
                          column("NUBSH", &B::NUBSH), column("IPSCA", &B::IPSCA), column("QBSH", &B::QBSH)};
    }
};
static_assert(lists_every_table<BankTables>());

struct BankUnitTables {
    static constexpr Family family = Family::bank_unit;
    int NBSHL;
    Table<Ref<Family::bank>, MXBSHL> IBUSH;      // group of the row
    Table<int, MXBSHL> IDEGS;                    // number in the group, 1 to 999
    Table<bool, MXBSHL> STBSH;                   // in service
    Table<int, MXBSHL> NUNIS, NUNISOP, NUNCHAV;  // units: all, in operation, switched in
    Table<double, MXBSHL> VALSH;                 // value of one unit, capacitive positive, pu
    Table<double, MXBSHL> RELBSH;                // remainder of the sharing, pu
    Table<double, MXBSHL> QBAN;                  // value switched in, pu

    int& count() { return NBSHL; }
    static constexpr auto columns() {
        using U = BankUnitTables;
        return std::tuple{column("IBUSH", &U::IBUSH), column("IDEGS", &U::IDEGS),     column("STBSH", &U::STBSH, true),
                          column("NUNIS", &U::NUNIS), column("NUNISOP", &U::NUNISOP), column("NUNCHAV", &U::NUNCHAV),
                          column("VALSH", &U::VALSH), column("RELBSH", &U::RELBSH),   column("QBAN", &U::QBAN)};
    }
};
static_assert(lists_every_table<BankUnitTables>());

struct AutomaticShuntTables {
    static constexpr Family family = Family::automatic_shunt;
    int NSCA;
    Table<BusRef, MXSCA> NBUSSCA;
    Table<BusRef, MXSCA> KBUSSCA;           // controlled bus
    Table<StageSteps, MXSCA> ISTEPSCA;      // ISTEPSCA1 to ISTEPSCA6
    Table<StageValues, MXSCA> VSTEPSCA;     // VSTEPSCA1 to VSTEPSCA6, capacitive positive
    Table<double, MXSCA> VMINSCA, VMAXSCA;  // voltage band, pu
    Table<double, MXSCA> VORISCA;           // initial value, pu
    Table<double, MXSCA> BSCA;              // present value, pu
    Table<double, MXSCA> BSCAYBUS;          // the part of it that the bus diagonal holds already, pu
    Table<double, MXSCA> BSCAESP;           // value that it is driven to, pu
    Table<int, MXSCA> KONSCA;   // 0 fixed, 1 continuous then discrete, 2 continuous; minus: driven to a discrete value
    Table<int, MXSCA> NTSCA;    // 0 free, 1 at the minimum, 2 at the maximum
    Table<int, MXSCA> ICONSCA;  // passes at a limit; -2, -1: moving in discrete steps
    Table<bool, MXSCA> SCALIM;  // outside the band to its nearest limit; else to its centre

    int& count() { return NSCA; }
    static constexpr auto columns() {
        using S = AutomaticShuntTables;
        return std::tuple{
            column("NBUSSCA", &S::NBUSSCA),   column("KBUSSCA", &S::KBUSSCA), column("ISTEPSCA", &S::ISTEPSCA),
            column("VSTEPSCA", &S::VSTEPSCA), column("VMINSCA", &S::VMINSCA), column("VMAXSCA", &S::VMAXSCA),
            column("VORISCA", &S::VORISCA),   column("BSCA", &S::BSCA),       column("BSCAYBUS", &S::BSCAYBUS),
            column("BSCAESP", &S::BSCAESP),   column("KONSCA", &S::KONSCA),   column("NTSCA", &S::NTSCA),
            column("ICONSCA", &S::ICONSCA),   column("SCALIM", &S::SCALIM)};
    }
};
static_assert(lists_every_table<AutomaticShuntTables>());

}  // namespace korvane
