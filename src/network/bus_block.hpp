// What the bus cards and the end card of DBAR share while a block is read. For network/bus_data*.cpp only.
#pragma once
#include <vector>

#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

constexpr int MXAREA_NUMBER = 999;
constexpr int MOLT_AREA = 99;  // where MOLT puts buses until a card tells their area

/// Work tables of one DBAR block. They answer in constant time what a card asks, and follow every card applied.
struct BusBlock {
    std::vector<double> set_point;                  // voltage at which the bus is held, pu; by bus
    std::vector<int> slack;                         // slack row; by bus
    std::vector<int> compensator;                   // compensator that stands at the bus; by bus
    std::vector<int> injection;                     // equivalent injection; by bus
    std::vector<char> converter;                    // a converter stands at the bus; by bus
    std::vector<char> settled;                      // MOLT: a card told the area; by bus
    std::vector<int> former;                        // number of a bus that the block removed; by bus
    std::vector<std::uint8_t> base_group;           // row of a group by its two characters
    std::vector<std::uint8_t> limit_group;          // the same
    std::array<int, MXAREA_NUMBER + 1> area_row{};  // by external number
    std::array<int, MXARE + 1> buses_in{};          // by area row
    int buses_before = 0;                           // buses in use when the block began
    int removed = 0;                                // buses removed
    bool rebuild_areas = false;                     // MOLT

    explicit BusBlock(Run& run);

    static std::size_t code(const Text<2>& group) {
        return std::size_t(std::uint8_t(group.at[0])) << 8 | std::uint8_t(group.at[1]);
    }
};

/// The steps of the end card, on all tables. Messages 340, 350, -970, -980, -995.
void finish_buses(Run& run, BusBlock& block);

}  // namespace korvane
