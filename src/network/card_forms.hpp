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

CardForm line_shunt_cards(Run& run);            ///< DSHL, rows of line shunts.
CardForm injection_cards(Run& run);             ///< DINJ, rows of equivalent injections.
CardForm motor_cards(Run& run);                 ///< DMOT, rows of motors.
CardForm individual_load_cards(Run& run);       ///< DCAI, rows of individual loads.
CardForm individual_generator_cards(Run& run);  ///< DGEI, rows of individual generators.

/// DCAR: the model of row n of the load models for buses with these numbers, at most SELECTED_ONE_BY_ONE of them.
using LoadModelForm = std::function<void(Run&, int n, std::span<const int> buses)>;
LoadModelForm load_model_cards(Run& run);

// Data of other blocks as individual records.
CardForm bus_load_cards(Run& run);        ///< The load of bus k and its model, as DCAI.
CardForm generator_unit_cards(Run& run);  ///< Generator g, as the one unit of DGEI at a bus without units.

/// Whether a generator is as DBAR made it, so that a card of DGER would say nothing.
bool generator_at_defaults(const Run& run, int g);

}  // namespace korvane
