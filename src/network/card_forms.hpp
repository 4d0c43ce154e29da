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

CardForm series_device_cards(Run& run);     ///< DCSC, rows of series devices.
CardForm compensator_cards(Run& run);       ///< DCER, rows of static compensators.
CardForm automatic_shunt_cards(Run& run);   ///< DSCA, rows of automatic shunts.
CardForm bank_group_cards(Run& run);        ///< DBSH, groups of banks.
CardForm bank_unit_cards(Run& run);         ///< DBSH, rows of groups.
CardForm frequency_cards(Run& run);         ///< DFRQ, rows of islands that hold their frequency.
CardForm substitute_slack_cards(Run& run);  ///< DSLP, rows of substitute slacks.
CardForm tap_band_cards(Run& run);          ///< DTVF, the band of rows of taps.
CardForm phase_control_cards(Run& run);     ///< DTVF, the control of rows of phase shifters.
CardForm generator_share_cards(Run& run);   ///< DFCT, rows of remote controls.
CardForm tap_share_cards(Run& run);         ///< DFCT, rows of taps.
CardForm end_limit_cards(Run& run);         ///< DLEN, rows of branches: limits that are not as without a card.
bool end_limits_at_defaults(const Run& run, int l);

CardForm aggregator_cards(Run& run);  ///< DAGR, aggregator k.
/// DAGR, row of the groups of aggregator k.
using GroupForm = std::function<void(Run&, int k, int row)>;
GroupForm aggregator_group_cards(Run& run);

/// DTPF, DMFL: an add card of branches, at most so many of them.
constexpr std::size_t BRANCHES_ON_A_CARD = 5;
using BranchListForm = std::function<void(Run&, std::span<const int> branches)>;
BranchListForm branch_list_cards(Run& run);

/// DBRE: a card of area numbers, at most so many of them.
constexpr std::size_t AREAS_ON_A_CARD = 20;
void show_area_numbers(Run& run, std::span<const int> numbers);

// Data of other blocks as individual records.
CardForm bus_load_cards(Run& run);        ///< The load of bus k and its model, as DCAI.
CardForm generator_unit_cards(Run& run);  ///< Generator g, as the one unit of DGEI at a bus without units.

/// A fixed shunt as a row of DBSH: in a group of its own, or in the group that stands at its place.
struct FixedShunt {
    int bus, branch;  // rows; branch 0: at the bus itself
    int group;        // row, 0 for none
    int number;       // of the row in the group
    double value;     // pu
    bool live;
};
using FixedShuntForm = std::function<void(Run&, const FixedShunt&)>;
FixedShuntForm fixed_shunt_group_cards(Run& run);  ///< The card of its group.
FixedShuntForm fixed_shunt_unit_cards(Run& run);   ///< The card of its row.

/// Whether a generator is as DBAR made it, so that a card of DGER would say nothing.
bool generator_at_defaults(const Run& run, int g);

}  // namespace korvane
