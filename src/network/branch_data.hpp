// What the parts of the reader of branch data share: its card, and the state of the block.
#pragma once
#include "frame/card_block.hpp"
#include "network/branch_finder.hpp"

namespace korvane {

/// A card of DLIN. Ends and electrical data are in the direction of the card.
struct BranchCard {
    int from, to, circuit;
    char from_state, to_state, state, owner;
    double r, x;      // per cent
    double charging;  // whole line, pu
    double tap;       // a, the ratio on the from side
    double tpmin, tpmax;
    double phase;                         // rad
    int controlled;                       // external number, signed
    double normal, emergency, equipment;  // MVA
    int positions;
    Parts aggregators;  // identifiers
};

/// A branch from its card: r and x in per cent, a the tap ratio. The series admittance in pu divided by the tap, which
/// is what GKM and BKM hold:  g + jb = 1 / (a z),  z = (r + jx) / 100.
struct Admittance {
    double g, b;
};
inline Admittance series_admittance(double r, double x, double a) {
    const double f = 100 / (r * r + x * x), t = 1 / a;
    return {r * f * t, -x * f * t};
}

/// Highest circuit number between two buses.
constexpr int MXCIR = 99;

/// A new branch between two bus positions, with the voltage limits that its ends start with; returns its row.
int add_branch(Store& s, int from, int to, int circuit);

/// Ratings of branch l in MVA, NO_RATING and more meaning none, in both forms that the store holds.
void set_ratings(BranchTables& b, int l, double normal, double emergency, double equipment);
inline double shown_rating(double mva) { return std::min(mva, NO_RATING); }

/// The end of a block that adds, changes or removes branches: what depends on them follows, jumpers are marked anew.
void finish_branches(Run& run, bool removed);

using BranchEdit = Edit<BranchCard>;

/// The reader of branch data while it reads a block: the look-ups of the block, and what the checks of the present
/// card found out for apply.
class BranchBlock {
public:
    explicit BranchBlock(Run& of);

    void locate(BranchEdit& e);
    BranchCard stored(const BranchEdit& e) const;
    void check(BranchEdit& e);
    void apply(BranchEdit& e);
    void finish();

private:
    // branch_data.cpp
    void locate_new(BranchEdit& e);
    void locate_old(BranchEdit& e);
    void write_tap(const BranchEdit& e, int l);
    void write_phase(const BranchEdit& e, int l);
    void turn_line_shunts(int h);
    int tap_row(int l) const;
    int phase_row(int l) const;
    // branch_checks.cpp
    bool check_letters(BranchEdit& e);
    void check_ends(BranchEdit& e);
    void check_series(const BranchEdit& e);
    void check_tap(BranchEdit& e);
    bool check_limits(BranchEdit& e);
    void hold_tap_in_limits(BranchEdit& e);
    void check_controlled_bus(BranchEdit& e);
    void check_positions(const BranchEdit& e);
    void check_ratings(BranchEdit& e);
    // branch_data_end.cpp
    void drop_zero_phases();

    /// Queues message number of the branch of the card when the condition holds, and tells whether it did.
    bool say(bool wrong, int number) { return wrong && refuse(run, true, number, element_, type_); }

    Run& run;
    Store& s;
    BranchFinder finder_;
    std::vector<double> set_point_;     // by bus position, pu
    std::vector<bool> remote_control_;  // the generator of the bus controls another one
    bool removed_ = false;

    // the present card
    int element_ = 0, type_ = element::none;                        // what its messages name
    int from_ = 0, to_ = 0;                                         // bus positions
    bool reversed_ = false;                                         // its from bus is the stored NTO
    int LTYPE_ = 0;                                                 // type before the card
    bool tap_typed_ = false;                                        // something stands in columns 39 to 58
    bool transformer_ = false, phase_ = false, regulated_ = false;  // what the branch will be
    bool limits_wrong_ = false;
    int controlled_ = 0;  // bus position, signed as in KBUS
};

/// The number as a card shows it in five columns with three implied decimals.
double card_form(double v);

}  // namespace korvane
