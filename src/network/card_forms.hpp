// How the rows of each data block show as cards: what the deck writer prints with. A form shows row k of its family in
// run.CARD, in the layout by which the block reads it.
#pragma once
#include "frame/card_writer.hpp"

namespace korvane {

CardForm bus_cards(Run& run);  ///< DBAR, rows of buses, by the options POPE and INDV. Makes the maps of buses to rows.
ListForm bus_lists(Run& run);  ///< The same as free lists.
CardForm branch_cards(Run& run);       ///< DLIN, rows of branches.
ListForm branch_lists(Run& run);       ///< The same as free lists.
CardForm generator_cards(Run& run);    ///< DGER, rows of generators.
CardForm area_cards(Run& run);         ///< DARE, rows of areas.
CardForm limit_group_cards(Run& run);  ///< DGLT, rows of voltage-limit groups.
CardForm base_group_cards(Run& run);   ///< DGBT, rows of base-voltage groups.

/// Whether a generator is as DBAR made it, so that a card of DGER would say nothing.
bool generator_at_defaults(const Run& run, int g);

}  // namespace korvane
