// Sets of buses on cards of selections: whole areas first, then the rest, by ranges of their numbers where they follow
// one another. Included within the folder only.
#pragma once
#include "cards/pun.hpp"
#include "network/element_selection.hpp"

namespace korvane {

/// Positions from..to of an order; one of its own when they are the same.
struct Range {
    int from, to;
};

/// The range builder: marks by position from 1 (entry 0 is not used), into ranges of two positions or more.
std::vector<Range> ranges_of(const std::vector<char>& marks);

/// A set of buses: the elements that count, and those of them that are in it. By bus.
struct MarkedBuses {
    explicit MarkedBuses(const Run& run)
        : counts(std::size_t(run.store.bus.NB) + 1), marked(std::size_t(run.store.bus.NB) + 1) {}
    std::vector<char> counts, marked;
};

/// Writes the set as cards of the block. Areas whose buses that count are all marked go as areas, in the order of
/// their numbers; an area without any joins its neighbours. The other marked buses follow. Each card begins with
/// the word, if there is one.
void put_marked_buses(Run& run, DeckBlock& block, const DeckScope& deck, const MarkedBuses& set,
                      std::string_view word = "", SelectionColumns at = SELECTION_COLUMNS);

}  // namespace korvane
