// What stands behind a bus in more detail than its card: motors, individual loads, individual generators.
#pragma once
#include "network/branch.hpp"
#include "network/generation.hpp"

namespace korvane {

struct MotorTables {
    static constexpr Family family = Family::motor;
    int NMOT;
    Table<BusRef, MXMOT> NOMOT;
    Table<int, MXMOT> IDEGM;    // number on the bus, 1 to 999
    Table<bool, MXMOT> STMOT;   // in service
    Table<bool, MXMOT> MOTOFF;  // stalled: a shunt instead of a motor
    Table<int, MXMOT> MOTIP;    // 0 own circuit and rating; 1 to 7 type of the table, power from the bus load
    Table<int, MXMOT> NUNID;    // units
    Table<int, MXMOT> LFPMEC;   // mechanical load, per cent of the rating
    Table<int, MXMOT> IPFLM;    // per cent of PLOAD that the motor takes
    Table<int, MXMOT> IPBSM;    // loading, per cent of the rating
    Table<double, MXMOT> RSTATO, XSTATO, XMAGNE, RROTOR, XROTOR;       // circuit, pu on the motor's base
    Table<double, MXMOT> HPBASE;                                       // rating, horsepower
    Table<double, MXMOT> PBASEMI;                                      // rating, pu, of a motor with a type
    Table<double, MXMOT> RMOTOR, XMOTOR, XLMOTO, RROTR, XROTR, XMAGN;  // circuit, pu on BASE
    Table<double, MXMOT> PMECA;                                        // mechanical power, pu
    Table<double, MXMOT> SLIP;
    Table<double, MXMOT> VOLTMOT, ANGLEMOT;    // voltage behind the stator, pu and rad
    Table<double, MXMOT> GMOTOR, BMOTOR;       // the motor as a shunt, pu
    Table<double, MXMOT> QLINI;                // reactive load of the bus that the motor replaces, pu
    Table<double, MXMOT> BCINI, BCMIT, QCMIT;  // reactive power of the motor as a susceptance; its capacitor, pu

    int& count() { return NMOT; }
    static constexpr auto columns() {
        using M = MotorTables;
        return std::tuple{
            column("NOMOT", &M::NOMOT),     column("IDEGM", &M::IDEGM),       column("STMOT", &M::STMOT, true),
            column("MOTOFF", &M::MOTOFF),   column("MOTIP", &M::MOTIP),       column("NUNID", &M::NUNID),
            column("LFPMEC", &M::LFPMEC),   column("IPFLM", &M::IPFLM),       column("IPBSM", &M::IPBSM),
            column("RSTATO", &M::RSTATO),   column("XSTATO", &M::XSTATO),     column("XMAGNE", &M::XMAGNE),
            column("RROTOR", &M::RROTOR),   column("XROTOR", &M::XROTOR),     column("HPBASE", &M::HPBASE),
            column("PBASEMI", &M::PBASEMI), column("RMOTOR", &M::RMOTOR),     column("XMOTOR", &M::XMOTOR),
            column("XLMOTO", &M::XLMOTO),   column("RROTR", &M::RROTR),       column("XROTR", &M::XROTR),
            column("XMAGN", &M::XMAGN),     column("PMECA", &M::PMECA),       column("SLIP", &M::SLIP),
            column("VOLTMOT", &M::VOLTMOT), column("ANGLEMOT", &M::ANGLEMOT), column("GMOTOR", &M::GMOTOR),
            column("BMOTOR", &M::BMOTOR),   column("QLINI", &M::QLINI),       column("BCINI", &M::BCINI),
            column("BCMIT", &M::BCMIT),     column("QCMIT", &M::QCMIT)};
    }
};
static_assert(lists_every_table<MotorTables>());

struct IndividualLoadTables {
    static constexpr Family family = Family::individual_load;
    int NCAI;
    Table<BusRef, MXCAI> NOCAI;
    Table<int, MXCAI> IDEGC;              // number on the bus, 1 to 999
    Table<bool, MXCAI> STCAR;             // in service
    Table<int, MXCAI> NUNIC, NUNICOP;     // units, units in operation
    Table<double, MXCAI> PLOADI, QLOADI;  // power of one unit, pu
    Table<int, MXCAI> IPVLA, IPVQB;       // per cent of the active power at constant current, at constant impedance
    Table<int, MXCAI> IQVLC, IQVQD;       // the same of the reactive power
    Table<double, MXCAI> VMINZC;          // below this voltage all load is constant impedance, pu
    Table<double, MXCAI> FVOLTC;          // voltage at which the power holds, pu

    int& count() { return NCAI; }
    static constexpr auto columns() {
        using C = IndividualLoadTables;
        return std::tuple{
            column("NOCAI", &C::NOCAI),       column("IDEGC", &C::IDEGC),     column("STCAR", &C::STCAR, true),
            column("NUNIC", &C::NUNIC),       column("NUNICOP", &C::NUNICOP), column("PLOADI", &C::PLOADI),
            column("QLOADI", &C::QLOADI),     column("IPVLA", &C::IPVLA),     column("IPVQB", &C::IPVQB),
            column("IQVLC", &C::IQVLC),       column("IQVQD", &C::IQVQD),     column("VMINZC", &C::VMINZC, 0.7),
            column("FVOLTC", &C::FVOLTC, 1.0)};
    }
};
static_assert(lists_every_table<IndividualLoadTables>());

struct IndividualGeneratorTables {
    static constexpr Family family = Family::individual_generator;
    int NGEI;
    Table<BusRef, MXGEI> NOGEI;
    Table<GenRef, MXGEI> NOGGEI;                // generator row of the bus
    Table<int, MXGEI> IDGEI;                    // number on the bus, 1 to 999
    Table<bool, MXGEI> STGEI;                   // in service
    Table<bool, MXGEI> FLAGNOP;                 // takes its share of what the bus generates: PGGEI is 0 in the data
    Table<bool, MXGEI> STCAP;                   // has a capability curve
    Table<int, MXGEI> NUGIG, NUGIGOP, NUGIGMN;  // units: all, in operation, least in operation
    Table<double, MXGEI> PGGEI, QGGEI;          // generation of one unit, pu
    Table<double, MXGEI> QMNGEI, QMXGEI;        // its reactive limits, pu
    Table<double, MXGEI> XTFGEI;                // reactance of the step-up transformer, pu
    Table<double, MXGEI> XDGEI, XQGEI, XLGEI;   // direct axis, quadrature axis, leakage reactance, pu
    Table<double, MXGEI> FPGEI;                 // nominal power factor
    Table<double, MXGEI> SNGEI;                 // nominal apparent power, pu
    Table<double, MXGEI> PTUGEI, PGEIMN;        // turbine power, least active generation, pu
    Table<double, MXGEI> ERPGEI;                // droop
    Table<double, MXGEI> PRPGEI;                // generation at which the droop line starts, pu

    int& count() { return NGEI; }
    static constexpr auto columns() {
        using G = IndividualGeneratorTables;
        return std::tuple{
            column("NOGEI", &G::NOGEI),       column("NOGGEI", &G::NOGGEI),   column("IDGEI", &G::IDGEI),
            column("STGEI", &G::STGEI, true), column("FLAGNOP", &G::FLAGNOP), column("STCAP", &G::STCAP),
            column("NUGIG", &G::NUGIG),       column("NUGIGOP", &G::NUGIGOP), column("NUGIGMN", &G::NUGIGMN),
            column("PGGEI", &G::PGGEI),       column("QGGEI", &G::QGGEI),     column("QMNGEI", &G::QMNGEI),
            column("QMXGEI", &G::QMXGEI),     column("XTFGEI", &G::XTFGEI),   column("XDGEI", &G::XDGEI),
            column("XQGEI", &G::XQGEI),       column("XLGEI", &G::XLGEI),     column("FPGEI", &G::FPGEI, 1.0),
            column("SNGEI", &G::SNGEI),       column("PTUGEI", &G::PTUGEI),   column("PGEIMN", &G::PGEIMN),
            column("ERPGEI", &G::ERPGEI),     column("PRPGEI", &G::PRPGEI)};
    }
};
static_assert(lists_every_table<IndividualGeneratorTables>());

}  // namespace korvane
