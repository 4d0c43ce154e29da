// Elements that stand at buses and branches beyond generation, load and transformers, and the lists that name
// elements. Here each has its keys and its state; the subsystem that reads an element adds the rest of its columns.
#pragma once
#include "network/branch.hpp"
#include "network/generation.hpp"

namespace korvane {

struct MotorTables {
    static constexpr Family family = Family::motor;
    int NMOT;
    Table<BusRef, MXMOT> NOMOT;
    Table<int, MXMOT> IDEGM;   // number on the bus
    Table<bool, MXMOT> STMOT;  // in service

    int& count() { return NMOT; }
    static constexpr auto columns() {
        return std::tuple{column("NOMOT", &MotorTables::NOMOT), column("IDEGM", &MotorTables::IDEGM),
                          column("STMOT", &MotorTables::STMOT, true)};
    }
};
static_assert(lists_every_table<MotorTables>());

struct SeriesDeviceTables {
    static constexpr Family family = Family::series_device;
    int NCSC;
    Table<BranchRef, MXCSC> LICSC;
    Table<int, MXCSC> KONCSC;     // 1 constant power, 2 current, 3 reactance
    Table<BusRef, MXCSC> NBECSC;  // end at which the target is measured

    int& count() { return NCSC; }
    static constexpr auto columns() {
        using C = SeriesDeviceTables;
        return std::tuple{column("LICSC", &C::LICSC), column("KONCSC", &C::KONCSC), column("NBECSC", &C::NBECSC)};
    }
};
static_assert(lists_every_table<SeriesDeviceTables>());

struct CompensatorTables {
    static constexpr Family family = Family::compensator;
    int NCER;
    Table<BusRef, MXCER> NBECER;  // terminal bus
    Table<int, MXCER> IGCER;      // number on the bus
    Table<BusRef, MXCER> NVKCER;  // controlled bus
    Table<double, MXCER> QGCER;   // reactive generation, pu
    Table<double, MXCER> VCER;    // voltage reference, pu
    Table<bool, MXCER> STUCER;    // in service

    int& count() { return NCER; }
    static constexpr auto columns() {
        using C = CompensatorTables;
        return std::tuple{column("NBECER", &C::NBECER),  column("IGCER", &C::IGCER),
                          column("NVKCER", &C::NVKCER),  column("QGCER", &C::QGCER),
                          column("VCER", &C::VCER, 1.0), column("STUCER", &C::STUCER, true)};
    }
};
static_assert(lists_every_table<CompensatorTables>());

struct IndividualLoadTables {
    static constexpr Family family = Family::individual_load;
    int NCAI;
    Table<BusRef, MXCAI> NOCAI;
    Table<int, MXCAI> IDEGC;   // number on the bus
    Table<bool, MXCAI> STCAR;  // in service

    int& count() { return NCAI; }
    static constexpr auto columns() {
        using C = IndividualLoadTables;
        return std::tuple{column("NOCAI", &C::NOCAI), column("IDEGC", &C::IDEGC), column("STCAR", &C::STCAR, true)};
    }
};
static_assert(lists_every_table<IndividualLoadTables>());

struct IndividualGeneratorTables {
    static constexpr Family family = Family::individual_generator;
    int NGEI;
    Table<BusRef, MXGEI> NOGEI;
    Table<GenRef, MXGEI> NOGGEI;  // generator row of the bus
    Table<int, MXGEI> IDGEI;      // number on the bus
    Table<bool, MXGEI> STGEI;     // in service

    int& count() { return NGEI; }
    static constexpr auto columns() {
        using G = IndividualGeneratorTables;
        return std::tuple{column("NOGEI", &G::NOGEI), column("NOGGEI", &G::NOGGEI), column("IDGEI", &G::IDGEI),
                          column("STGEI", &G::STGEI, true)};
    }
};
static_assert(lists_every_table<IndividualGeneratorTables>());

struct BankTables {
    static constexpr Family family = Family::bank;
    int NBSH;
    Table<BusRef, MXBSH> NOBSH;
    Table<BranchRef, MXBSH> IDCIR;  // branch of a group on a branch end, 0 for a group on a bus
    Table<BusRef, MXBSH> NOBCS;     // controlled bus
    Table<double, MXBSH> QBSH;      // value switched in, pu

    int& count() { return NBSH; }
    static constexpr auto columns() {
        using B = BankTables;
        return std::tuple{column("NOBSH", &B::NOBSH), column("IDCIR", &B::IDCIR), column("NOBCS", &B::NOBCS),
                          column("QBSH", &B::QBSH)};
    }
};
static_assert(lists_every_table<BankTables>());

struct BankUnitTables {
    static constexpr Family family = Family::bank_unit;
    int NBSHL;
    Table<Ref<Family::bank>, MXBSHL> IBUSH;  // group of the row
    Table<int, MXBSHL> IDEGS;                // number in the group
    Table<bool, MXBSHL> STBSH;               // in service

    int& count() { return NBSHL; }
    static constexpr auto columns() {
        using U = BankUnitTables;
        return std::tuple{column("IBUSH", &U::IBUSH), column("IDEGS", &U::IDEGS), column("STBSH", &U::STBSH, true)};
    }
};
static_assert(lists_every_table<BankUnitTables>());

struct AutomaticShuntTables {
    static constexpr Family family = Family::automatic_shunt;
    int NSCA;
    Table<BusRef, MXSCA> NBUSSCA;
    Table<BusRef, MXSCA> KBUSSCA;   // controlled bus
    Table<double, MXSCA> BSCA;      // present value, pu
    Table<double, MXSCA> BSCAYBUS;  // the part of it that the data hold already, pu

    int& count() { return NSCA; }
    static constexpr auto columns() {
        using S = AutomaticShuntTables;
        return std::tuple{column("NBUSSCA", &S::NBUSSCA), column("KBUSSCA", &S::KBUSSCA), column("BSCA", &S::BSCA),
                          column("BSCAYBUS", &S::BSCAYBUS)};
    }
};
static_assert(lists_every_table<AutomaticShuntTables>());

struct LinkTables {
    static constexpr Family family = Family::link;
    int NLDC;
    Table<int, MXLDC> NINLNK;  // external number
    Table<Text<20>, MXLDC> NAMLNK;
    Table<bool, MXLDC> STUELO;  // in service

    int& count() { return NLDC; }
    static constexpr auto columns() {
        using L = LinkTables;
        return std::tuple{column("NINLNK", &L::NINLNK), column("NAMLNK", &L::NAMLNK, BLANK<20>),
                          column("STUELO", &L::STUELO, true)};
    }
};
static_assert(lists_every_table<LinkTables>());

struct DcBusTables {
    static constexpr Family family = Family::dc_bus;
    int NDCB;
    Table<int, MXDCB> NDCINT;  // external number
    Table<Ref<Family::link>, MXDCB> LINKDC;

    int& count() { return NDCB; }
    static constexpr auto columns() {
        return std::tuple{column("NDCINT", &DcBusTables::NDCINT), column("LINKDC", &DcBusTables::LINKDC)};
    }
};
static_assert(lists_every_table<DcBusTables>());

struct DcLineTables {
    static constexpr Family family = Family::dc_line;
    int NDCL;
    Table<Ref<Family::dc_bus>, MXDCL> NDCFR, NDCTO;
    Table<int, MXDCL> NDCIR;

    int& count() { return NDCL; }
    static constexpr auto columns() {
        return std::tuple{column("NDCFR", &DcLineTables::NDCFR), column("NDCTO", &DcLineTables::NDCTO),
                          column("NDCIR", &DcLineTables::NDCIR)};
    }
};
static_assert(lists_every_table<DcLineTables>());

struct ConverterTables {
    static constexpr Family family = Family::converter;
    int NCNV;
    Table<int, MXCNV> NCVINT;     // external number
    Table<BusRef, MXCNV> INTBUS;  // AC bus
    Table<Ref<Family::dc_bus>, MXCNV> NDCBUS, NELBUS;
    Table<double, MXCNV> VCNV;  // voltage held at the AC bus, pu

    int& count() { return NCNV; }
    static constexpr auto columns() {
        using C = ConverterTables;
        return std::tuple{column("NCVINT", &C::NCVINT), column("INTBUS", &C::INTBUS), column("NDCBUS", &C::NDCBUS),
                          column("NELBUS", &C::NELBUS), column("VCNV", &C::VCNV, 1.0)};
    }
};
static_assert(lists_every_table<ConverterTables>());

/// A list of rows of one family: N entries at most.
template <Family Own, Family Of, int N>
struct RowList {
    static constexpr Family family = Own;
    int n;
    Table<Ref<Of>, N> row;

    int& count() { return n; }
    static constexpr auto columns() { return std::tuple{column("row", &RowList::row)}; }
};

using MonitoredBuses = RowList<Family::monitored_bus, Family::bus, MXMTB>;                   // MTBUS, NMTB
using MonitoredGenerators = RowList<Family::monitored_generator, Family::generator, MXMTG>;  // MTGEN, NMTG
using MonitoredBranches = RowList<Family::monitored_branch, Family::branch, MXMTL>;          // MTLIN, NMTL
using RemoteFactors = RowList<Family::remote_factor, Family::generator, MXFCR>;              // IPCREM, NFCR
using LimitFactors = RowList<Family::limit_factor, Family::generator, MXFQL>;                // IPQLIM, NFQL
using FixedTaps = RowList<Family::fixed_tap, Family::branch, MXTPF>;                         // ITAPF, NTPF
static_assert(lists_every_table<MonitoredBuses>());

struct AlternativeSlackTables {
    static constexpr Family family = Family::alternative_slack;
    int NSLP;
    Table<BusRef, MXSLP> NOSLP;
    Table<int, MXSLP> IPRSLP;   // priority
    Table<bool, MXSLP> SLPUSO;  // used

    int& count() { return NSLP; }
    static constexpr auto columns() {
        using S = AlternativeSlackTables;
        return std::tuple{column("NOSLP", &S::NOSLP), column("IPRSLP", &S::IPRSLP), column("SLPUSO", &S::SLPUSO)};
    }
};
static_assert(lists_every_table<AlternativeSlackTables>());

}  // namespace korvane
