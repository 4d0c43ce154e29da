// Direct-current links: their buses, lines and converters. Values are per unit of the bases of their link.
#pragma once
#include "network/bus.hpp"

namespace korvane {

struct LinkTables {
    static constexpr Family family = Family::link;
    int NLDC;
    Table<int, MXLDC> NINLNK;  // external number
    Table<Text<20>, MXLDC> NAMLNK;
    Table<double, MXLDC> VBLNK, PBLNK;  // base voltage, kV; base power, MW
    Table<bool, MXLDC> MODOHMVAR;       // taps between CTAPHI and CTMIN
    Table<bool, MXLDC> STUELO;          // in service

    int& count() { return NLDC; }
    static constexpr auto columns() {
        using L = LinkTables;
        return std::tuple{column("NINLNK", &L::NINLNK),       column("NAMLNK", &L::NAMLNK, BLANK<20>),
                          column("VBLNK", &L::VBLNK),         column("PBLNK", &L::PBLNK),
                          column("MODOHMVAR", &L::MODOHMVAR), column("STUELO", &L::STUELO, true)};
    }
};
static_assert(lists_every_table<LinkTables>());

struct DcBusTables {
    static constexpr Family family = Family::dc_bus;
    int NDCB;
    Table<int, MXDCB> NDCINT;  // external number
    Table<Text<12>, MXDCB> DBNAME;
    Table<int, MXDCB> IPOLE;                       // 1, -1, 0 ground; 2, -2: voltage reference of the pole
    Table<Ref<Family::limit_group>, MXDCB> NDGLT;  // voltage group
    Table<double, MXDCB> DVOLT;                    // voltage, with the sign of the pole
    Table<double, MXDCB> DVOLTESP;                 // the same as given
    Table<double, MXDCB> DRSHT;                    // grounding resistance
    Table<Ref<Family::link>, MXDCB> LINKDC;

    int& count() { return NDCB; }
    static constexpr auto columns() {
        using B = DcBusTables;
        return std::tuple{column("NDCINT", &B::NDCINT), column("DBNAME", &B::DBNAME, BLANK<12>),
                          column("IPOLE", &B::IPOLE),   column("NDGLT", &B::NDGLT),
                          column("DVOLT", &B::DVOLT),   column("DVOLTESP", &B::DVOLTESP),
                          column("DRSHT", &B::DRSHT),   column("LINKDC", &B::LINKDC)};
    }
};
static_assert(lists_every_table<DcBusTables>());

struct DcLineTables {
    static constexpr Family family = Family::dc_line;
    int NDCL;
    Table<Ref<Family::dc_bus>, MXDCL> NDCFR, NDCTO;
    Table<int, MXDCL> NDCIR;
    Table<bool, MXDCL> OWNDC;  // metered at NDCTO
    Table<double, MXDCL> DRL;  // resistance
    Table<double, MXDCL> DHL;  // inductance, mH
    Table<int, MXDCL> KAPDC;   // capacity

    int& count() { return NDCL; }
    static constexpr auto columns() {
        using L = DcLineTables;
        return std::tuple{column("NDCFR", &L::NDCFR), column("NDCTO", &L::NDCTO), column("NDCIR", &L::NDCIR),
                          column("OWNDC", &L::OWNDC), column("DRL", &L::DRL),     column("DHL", &L::DHL),
                          column("KAPDC", &L::KAPDC)};
    }
};
static_assert(lists_every_table<DcLineTables>());

/// What the converters at one AC bus take from it together.
struct TerminalTables {
    static constexpr Family family = Family::terminal;
    int NTRM;
    Table<BusRef, MXTRM> NOLDC;
    Table<double, MXTRM> PLDC, QLDC;  // pu of the AC network

    int& count() { return NTRM; }
    static constexpr auto columns() {
        using T = TerminalTables;
        return std::tuple{column("NOLDC", &T::NOLDC), column("PLDC", &T::PLDC), column("QLDC", &T::QLDC)};
    }
};
static_assert(lists_every_table<TerminalTables>());

struct ConverterTables {
    static constexpr Family family = Family::converter;
    int NCNV;
    Table<int, MXCNV> NCVINT;     // external number
    Table<BusRef, MXCNV> INTBUS;  // AC bus
    Table<Ref<Family::terminal>, MXCNV> INTLDC;
    Table<Ref<Family::dc_bus>, MXCNV> NDCBUS, NELBUS;  // DC bus, neutral bus
    Table<double, MXCNV> CNCNV;                        // nominal current, A
    Table<int, MXCNV> NPCNV;                           // bridges in series
    Table<double, MXCNV> VVSCNV, SNTCNV;               // voltage on the valve side, kV; rating, MVA
    Table<double, MXCNV> RA, XA;                       // smoothing reactor: resistance; inductance, mH
    Table<double, MXCNV> RCNV;                         // commutation resistance; negative on an inverter
    Table<double, MXCNV> RCCNV;                        // commutation capacitor as a resistance, 0 for none
    Table<int, MXCNV> IFRCNV;                          // frequency, Hz
    Table<double, MXCNV> CNVK;                         // no-load voltage factor, negative in the negative pole
    Table<int, MXCNV> KCNTYP;                          // 0 holds the current, 1 the power, 99: no control data
    Table<bool, MXCNV> ITCNV;                          // holds the voltage of its pole
    Table<bool, MXCNV> ITCI;                           // an inverter that holds its angle rather than the AC voltage
    Table<int, MXCNV> ITCISOL;                         // the solver's record of that
    Table<double, MXCNV> CPCNV;                        // ordered current or power; negative on an inverter
    Table<double, MXCNV> CPMIN, CPMAX;                 // limits of the order, kept with a case
    Table<double, MXCNV> CCUR, CVOLT;                  // current and voltage
    Table<double, MXCNV> CCURREF, CVOLTREF, CTAPREF, DLREF;  // as given, for the flat start
    Table<double, MXCNV> CMARGEM, CSOBREC;                   // current margin, overload, fractions
    Table<double, MXCNV> DL, DMN, DMX;                       // firing or extinction angle, its limits, rad
    Table<double, MXCNV> ALFA, AMI;                          // with a capacitor: firing angle, overlap, rad
    Table<bool, MXCNV> FMI0;                                 // these two have been worked out
    Table<double, MXCNV> ELOMI, TETACC;                      // overlap, power-factor angle, rad
    Table<double, MXCNV> ELOMIREF, TETACCREF, VOLTDCREF;     // their references, with the voltage of the AC bus
    Table<double, MXCNV> CTAP;                               // 1/t, t being the tap
    Table<double, MXCNV> CTMIN, CTMAX, CTSTP;                // limits and step of t, 0: continuous
    Table<bool, MXCNV> IDTAPLIV;                             // the tap is free, not at a limit
    Table<double, MXCNV> CTAPHI, CTAPTR;                     // reciprocals of two further taps
    Table<double, MXCNV> VDCMIN;      // voltage below which an order of power becomes one of current
    Table<double, MXCNV> VCNV;        // voltage held at the AC bus, pu
    Table<double, MXCNV> PCNV, QCNV;  // power, MW and Mvar of the pole

    int& count() { return NCNV; }
    static constexpr auto columns() {
        using C = ConverterTables;
        return std::tuple{column("NCVINT", &C::NCVINT),
                          column("INTBUS", &C::INTBUS),
                          column("INTLDC", &C::INTLDC),
                          column("NDCBUS", &C::NDCBUS),
                          column("NELBUS", &C::NELBUS),
                          column("CNCNV", &C::CNCNV),
                          column("NPCNV", &C::NPCNV),
                          column("VVSCNV", &C::VVSCNV),
                          column("SNTCNV", &C::SNTCNV),
                          column("RA", &C::RA),
                          column("XA", &C::XA),
                          column("RCNV", &C::RCNV),
                          column("RCCNV", &C::RCCNV),
                          column("IFRCNV", &C::IFRCNV, 60),
                          column("CNVK", &C::CNVK),
                          column("KCNTYP", &C::KCNTYP, 99),
                          column("ITCNV", &C::ITCNV),
                          column("ITCI", &C::ITCI, true),
                          column("ITCISOL", &C::ITCISOL),
                          column("CPCNV", &C::CPCNV),
                          column("CPMIN", &C::CPMIN),
                          column("CPMAX", &C::CPMAX),
                          column("CCUR", &C::CCUR),
                          column("CVOLT", &C::CVOLT),
                          column("CCURREF", &C::CCURREF),
                          column("CVOLTREF", &C::CVOLTREF),
                          column("CTAPREF", &C::CTAPREF, 1.0),
                          column("DLREF", &C::DLREF),
                          column("CMARGEM", &C::CMARGEM),
                          column("CSOBREC", &C::CSOBREC),
                          column("DL", &C::DL),
                          column("DMN", &C::DMN),
                          column("DMX", &C::DMX),
                          column("ALFA", &C::ALFA),
                          column("AMI", &C::AMI),
                          column("FMI0", &C::FMI0),
                          column("ELOMI", &C::ELOMI),
                          column("TETACC", &C::TETACC),
                          column("ELOMIREF", &C::ELOMIREF),
                          column("TETACCREF", &C::TETACCREF),
                          column("VOLTDCREF", &C::VOLTDCREF),
                          column("CTAP", &C::CTAP, 1.0),
                          column("CTMIN", &C::CTMIN),
                          column("CTMAX", &C::CTMAX),
                          column("CTSTP", &C::CTSTP),
                          column("IDTAPLIV", &C::IDTAPLIV, true),
                          column("CTAPHI", &C::CTAPHI),
                          column("CTAPTR", &C::CTAPTR, 1.0),
                          column("VDCMIN", &C::VDCMIN),
                          column("VCNV", &C::VCNV, 1.0),
                          column("PCNV", &C::PCNV),
                          column("QCNV", &C::QCNV)};
    }
};
static_assert(lists_every_table<ConverterTables>());

}  // namespace korvane
