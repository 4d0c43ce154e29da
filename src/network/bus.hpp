// Buses, and the areas and groups that a bus belongs to.
#pragma once
#include "frame/table.hpp"
#include "frame/text.hpp"
#include "network/limits.hpp"

#include <cstdint>

namespace korvane {

using BusRef = Ref<Family::bus>;
using AreaRef = Ref<Family::area>;

/// The rows of an element in the tables of aggregators 1 to 10, 0 for none.
struct AggregatorRows {
    std::array<std::uint8_t, MXAGR> of;
    std::uint8_t& operator()(int k) { return of[std::size_t(k - 1)]; }
    std::uint8_t operator()(int k) const { return of[std::size_t(k - 1)]; }
    bool operator==(const AggregatorRows&) const = default;
};

struct BusTables {
    static constexpr Family family = Family::bus;
    int NB;                   // buses in use
    Table<int, MXBUS> NOINT;  // external number, 1 to 99999; 0: removed in the block being read
    Table<Text<12>, MXBUS> BNAME;
    Table<int, MXBUS> NTYPE;            // electrical role: 0 load, 2 voltage held, 3 slack, -1 voltage limits;
                                        // the sign is the state of the limit checks
    Table<bool, MXBUS> STBUS;           // in service
    Table<double, MXBUS> VOLT;          // voltage magnitude, pu
    Table<double, MXBUS> ANGLE;         // voltage angle, rad
    Table<double, MXBUS> PLOAD, QLOAD;  // load, pu
    Table<double, MXBUS> FVOLT;         // voltage at which the load is defined, pu
    Table<AreaRef, MXBUS> IAREA;
    Table<Ref<Family::base_group>, MXBUS> NOGBT;
    Table<Ref<Family::limit_group>, MXBUS> NOGLT;
    Table<int, MXBUS> IBMIDPOINT;          // mid-point of three-winding data: 0, 1 or 2
    Table<AggregatorRows, MXBUS> IAGRBAR;  // IAGR1BAR to IAGR10BAR
    Table<bool, MXBUS> BUSSEL;             // selected for reports

    int& count() { return NB; }
    static constexpr auto columns() {
        using B = BusTables;
        return std::tuple{column("NOINT", &B::NOINT),           column("BNAME", &B::BNAME, BLANK<12>),
                          column("NTYPE", &B::NTYPE),           column("STBUS", &B::STBUS, true),
                          column("VOLT", &B::VOLT, 1.0),        column("ANGLE", &B::ANGLE),
                          column("PLOAD", &B::PLOAD),           column("QLOAD", &B::QLOAD),
                          column("FVOLT", &B::FVOLT, 1.0),      column("IAREA", &B::IAREA),
                          column("NOGBT", &B::NOGBT),           column("NOGLT", &B::NOGLT),
                          column("IBMIDPOINT", &B::IBMIDPOINT), column("IAGRBAR", &B::IAGRBAR),
                          column("BUSSEL", &B::BUSSEL, true)};
    }
};
static_assert(lists_every_table<BusTables>());

/// Card type from NTYPE, -3 to 4; minus: the limit check has turned the bus.
constexpr int IBTYP(int ntype) {
    constexpr int of[] = {-2, -1, 3, 0, -3, 1, 2, 4};
    return of[ntype + 3];
}

struct AreaTables {
    static constexpr Family family = Family::area;
    int NAREA;                // areas in use
    Table<int, MXARE> NAINT;  // external number, 1 to 999
    Table<Text<36>, MXARE> ARNAME;
    Table<double, MXARE> AREINT;          // net interchange, export positive, pu
    Table<double, MXARE> EXCMIN, EXCMAX;  // its bounds, pu
    Table<bool, MXARE> ARESEL;            // selected for reports

    int& count() { return NAREA; }
    static constexpr auto columns() {
        using A = AreaTables;
        return std::tuple{column("NAINT", &A::NAINT),   column("ARNAME", &A::ARNAME, BLANK<36>),
                          column("AREINT", &A::AREINT), column("EXCMIN", &A::EXCMIN),
                          column("EXCMAX", &A::EXCMAX), column("ARESEL", &A::ARESEL, true)};
    }
};
static_assert(lists_every_table<AreaTables>());

struct BaseGroupTables {
    static constexpr Family family = Family::base_group;
    int NGBT;
    Table<Text<2>, MXGBT> GBTEN;       // group code
    Table<double, MXGBT> BASET;        // base voltage, kV
    Table<int, MXGBT> IGTCOR, IGTESP;  // colour and thickness on diagrams, kept with a case

    int& count() { return NGBT; }
    static constexpr auto columns() {
        return std::tuple{column("GBTEN", &BaseGroupTables::GBTEN, BLANK<2>),
                          column("BASET", &BaseGroupTables::BASET, 1.0), column("IGTCOR", &BaseGroupTables::IGTCOR),
                          column("IGTESP", &BaseGroupTables::IGTESP)};
    }
};
static_assert(lists_every_table<BaseGroupTables>());

struct LimitGroupTables {
    static constexpr Family family = Family::limit_group;
    int NGLT;
    Table<Text<2>, MXGLT> GLTEN;        // group code
    Table<double, MXGLT> VMIN, VMAX;    // normal limits, pu
    Table<double, MXGLT> VMINE, VMAXE;  // emergency limits, pu

    int& count() { return NGLT; }
    static constexpr auto columns() {
        using G = LimitGroupTables;
        return std::tuple{column("GLTEN", &G::GLTEN, BLANK<2>), column("VMIN", &G::VMIN, double(0.8f)),
                          column("VMAX", &G::VMAX, double(1.2f)), column("VMINE", &G::VMINE, double(0.8f)),
                          column("VMAXE", &G::VMAXE, double(1.2f))};
    }
};
static_assert(lists_every_table<LimitGroupTables>());

}  // namespace korvane
