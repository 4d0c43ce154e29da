// What the cards and the end card of DBSH share while a block is read. For network/bank_data*.cpp only.
#pragma once
#include "frame/card_block.hpp"
#include "network/removed_rows.hpp"
#include "network/shunt_banks.hpp"

namespace korvane {

/// A card that names a group. On a branch the group hangs on one of its ends.
struct GroupCard {
    int bus, other, circuit;  // external numbers; other 0: a group on a bus
    char control;             // F fixed, D discrete, C continuous
    double vmin, vmax;        // voltage band, pu
    int controlled;           // external number
    double value;             // pu
    char band;                // outside the band to its C centre, L nearest limit
    char takes_shunt;         // S: takes over the fixed shunt
    int holder;               // bus of the branch that has the group
};

/// A card of one row of the group: like units.
struct UnitCard {
    int number;
    char state;
    int units, in_operation;
    double value;  // of one unit, pu
};

using GroupEdit = Edit<GroupCard>;
using UnitEdit = Edit<UnitCard>;

/// The reader of shunt banks while it reads a block: answers in constant time what a card asks, and follows every card
/// applied. Removed groups and rows stay in their tables as rows without an element up to the end card.
class BankBlock {
public:
    explicit BankBlock(Run& of);

    // group cards
    void locate(GroupEdit& e);
    void check(GroupEdit& e);
    void apply(const GroupEdit& e);
    /// The rows that follow belong to the group of this card. On a card with errors they are only checked.
    void open_rows(const GroupEdit& e, bool applied);
    // row cards
    void locate(UnitEdit& e);
    void check(UnitEdit& e);
    void apply(UnitEdit& e);

    void finish();

private:
    /// What the groups under automatic control of one bus have in common, as they share one automatic shunt.
    struct Automatic {
        int groups, rows;
        double vmin, vmax;
        int controlled, control;
        bool to_limit;
    };
    // group cards
    int group_branch(const GroupEdit& e, int bus, int other);
    int& group_at(int bus, int branch);
    void check_band(const GroupEdit& e);
    void check_control(const GroupEdit& e);
    void check_neighbours(const GroupEdit& e, int control);
    void count_automatic(int group, int sign);
    void remove_group(int group);
    void drop_empty_groups();
    bool say(bool wrong, int number) { return refuse(run, wrong, number, element_, type_); }
    // row cards
    void remove_unit(int unit);
    void count_units(int more);
    int automatic_rows(int group) const;
    // end card
    void take_over_bus_shunts();
    void take_over_line_shunts();
    void replace_direct_shunts();
    void order_by_service();

    Automatic& automatic(int bus) { return automatic_[std::size_t(bus)]; }

    Run& run;
    Store& s;
    BankTables& b;
    BankUnitTables& u;
    RemovedRows<BankTables> removed_groups_;
    RemovedRows<BankUnitTables> removed_units_;
    std::vector<int> on_bus_, on_from_, on_to_;  // group by bus, by the from and by the to end of a branch
    std::vector<Automatic> automatic_;           // by bus
    std::vector<int> first_unit_, next_unit_;    // rows of each group: head by group, link by row
    std::vector<int> direct_shunt_;              // automatic shunt of DSCA by bus
    std::vector<char> compensator_;              // a static compensator stands at the bus
    std::vector<int> doubtful_;                  // groups that may have no rows
    std::vector<char> fresh_;                    // by group: added in the block, no row yet
    int shunts_ = 0;                             // automatic shunts: of DSCA, and one a bus with such groups
    bool unit_removed_ = false;                  // since the last group card

    // the present group
    int element_ = 0, type_ = element::none;     // what its messages name
    int bus_ = 0, branch_ = 0, controlled_ = 0;  // positions
    int group_ = 0;                              // its row, 0: none found
    int control_ = 0;                            // of the card, or of the group when the card tells none
    bool open_ = false;                          // its rows are applied
};

}  // namespace korvane
