// Contingencies: numbered sets of changes of the network, in classes of priority.
#pragma once
#include "network/bus.hpp"

namespace korvane {

/// What a change does: ITCTG. Its element is a row of the family that the type tells.
namespace change {
constexpr int generation = 1, load = 2, shunt = 3, branch = 4, branch_from = 5, branch_to = 6, bus_off = 8,
              branch_on = 9, bus_on = 10, compensator_off = 11, compensator_on = 12, bank_off = 13, bank_on = 14,
              load_off = 15, load_on = 16, generator_off = 17, generator_on = 18, line_shunt_off = 19,
              line_shunt_on = 20, link_off = 21, link_on = 22, motor_off = 23, motor_on = 24, bypass_on = 25,
              bypass_off = 26;
}  // namespace change

/// The family that the element of a change is a row of; nothing for a type that there is not.
constexpr std::optional<Family> family_of_change(int type) {
    switch (type) {
        case change::generation: return Family::generator;
        case change::load:
        case change::bus_off:
        case change::bus_on: return Family::bus;
        case change::shunt: return Family::shunt;
        case change::branch:
        case change::branch_from:
        case change::branch_to:
        case change::branch_on:
        case change::bypass_on:
        case change::bypass_off: return Family::branch;
        case change::compensator_off:
        case change::compensator_on: return Family::compensator;
        case change::bank_off:
        case change::bank_on: return Family::bank_unit;
        case change::load_off:
        case change::load_on: return Family::individual_load;
        case change::generator_off:
        case change::generator_on: return Family::individual_generator;
        case change::line_shunt_off:
        case change::line_shunt_on: return Family::line_shunt;
        case change::link_off:
        case change::link_on: return Family::link;
        case change::motor_off:
        case change::motor_on: return Family::motor;
        default: return std::nullopt;
    }
}

struct ContingencyTables {
    static constexpr Family family = Family::contingency;
    int NCTG;
    Table<int, MXCTG> IDCTG;                                     // number, 1 to 9999
    Table<Text<46>, MXCTG> CTGID;                                // identification
    Table<Ref<Family::contingency_change>, MXCTG> IPCTG, IFCTG;  // first and last change
    Table<Ref<Family::contingency_value>, MXCTG> IVCTG;          // first value, 0 for none
    Table<int, MXCTG> NXCTG;  // next of the class; the last holds minus the position of its class

    int& count() { return NCTG; }
    static constexpr auto columns() {
        using C = ContingencyTables;
        return std::tuple{column("IDCTG", &C::IDCTG), column("CTGID", &C::CTGID, BLANK<46>),
                          column("IPCTG", &C::IPCTG), column("IFCTG", &C::IFCTG),
                          column("IVCTG", &C::IVCTG), column("NXCTG", &C::NXCTG)};
    }
};
static_assert(lists_every_table<ContingencyTables>());

struct ContingencyClassTables {
    static constexpr Family family = Family::contingency_class;
    int NPRI;
    Table<int, MXPRI> LSTPRI;                       // number of the class
    Table<Ref<Family::contingency>, MXPRI> NCTPRI;  // its first contingency

    int& count() { return NPRI; }
    static constexpr auto columns() {
        using P = ContingencyClassTables;
        return std::tuple{column("LSTPRI", &P::LSTPRI), column("NCTPRI", &P::NCTPRI)};
    }
};
static_assert(lists_every_table<ContingencyClassTables>());

struct ContingencyChangeTables {
    static constexpr Family family = Family::contingency_change;
    int NCHG;
    Table<AnyRef, MXCHG> NOCTG;  // element; 0: it was removed, and the change does nothing
    Table<int, MXCHG> ITCTG;     // what happens to it: change::

    int& count() { return NCHG; }
    std::optional<Family> target_of(int row) const { return family_of_change(ITCTG(row)); }
    static constexpr auto columns() {
        using N = ContingencyChangeTables;
        return std::tuple{column("NOCTG", &N::NOCTG), column("ITCTG", &N::ITCTG)};
    }
};
static_assert(lists_every_table<ContingencyChangeTables>());

/// Powers, participations and units of the changes, in their order: 7 for change::generation, 2 for change::load, 1
/// where there is one.
struct ContingencyValueTables {
    static constexpr Family family = Family::contingency_value;
    int NVAL;
    Table<double, MXCTV> CTGVAL;  // powers in pu

    int& count() { return NVAL; }
    static constexpr auto columns() { return std::tuple{column("CTGVAL", &ContingencyValueTables::CTGVAL)}; }
};
static_assert(lists_every_table<ContingencyValueTables>());

}  // namespace korvane
