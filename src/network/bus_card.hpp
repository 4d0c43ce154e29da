// The card of DBAR, and how a bus becomes one. For network/bus_*.cpp only.
#pragma once
#include "network/aggregator_fields.hpp"

namespace korvane {

struct BusCard {
    int number;
    char state;
    int type;
    Text<2> base_group;
    Text<12> name;
    Text<2> limit_group;
    double volt, angle;             // pu, rad
    double pgen, qgen, qmin, qmax;  // pu; on type 3 qgen is the scheduled reactive generation
    int control;                    // external number of the controlled bus
    double pload, qload, shunt;     // pu
    int area;                       // external number
    double fvolt;                   // pu
    int midpoint;
    Parts aggregator;  // identifiers
};

inline constexpr Field<BusCard> BUS_FIELDS[] = {
    {1, 5, &BusCard::number, {.key = true}},
    {7, 7, &BusCard::state, {.add = "L", .letters = Letters::upper}},
    {8, 8, &BusCard::type, {.add = "0"}},
    {9, 10, &BusCard::base_group, {.add = " 0", .letters = Letters::upper, .right = true}},
    {11, 22, &BusCard::name},
    {23, 24, &BusCard::limit_group, {.add = " 0", .letters = Letters::upper, .right = true}},
    {25, 28, &BusCard::volt, {.add = "1.0"}},
    {29, 32, &BusCard::angle, {.add = "0.", .unit = Scale::degrees}},
    {33, 37, &BusCard::pgen, {.add = "0.", .unit = Scale::power}},
    {38, 42, &BusCard::qgen, {.add = "0.", .unit = Scale::power}},
    {43, 47, &BusCard::qmin, {.add = "0.", .unit = Scale::power, .tiny_is_zero = true}},
    {48, 52, &BusCard::qmax, {.add = "0.", .unit = Scale::power, .tiny_is_zero = true}},
    {53, 58, &BusCard::control, {.zero_is_none = true}},
    {59, 63, &BusCard::pload, {.add = "0.", .unit = Scale::power}},
    {64, 68, &BusCard::qload, {.add = "0.", .unit = Scale::power}},
    {69, 73, &BusCard::shunt, {.add = "0.", .unit = Scale::power}},
    {74, 76, &BusCard::area, {.add = "1"}},
    {77, 80, &BusCard::fvolt, {.add = "1.0"}},
    {81, 81, &BusCard::midpoint, {.add = "0"}},
};
inline constexpr auto DBAR = with_aggregators(BUS_FIELDS, &BusCard::aggregator, 82, {.zero_is_none = true});
static_assert(well_formed(DBAR));

/// Bus k as a card that changes it would have it. Wants the maps of buses to rows.
BusCard bus_card(const Run& run, int k);

}  // namespace korvane
