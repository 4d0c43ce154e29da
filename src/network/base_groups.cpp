// DGBT: base voltages of the groups that buses belong to.
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/set_points.hpp"

namespace korvane {

namespace {

struct BaseCard {
    Text<2> group;
    double baset;  // kV
};
using C = BaseCard;
using BaseEdit = Edit<BaseCard>;

constexpr Field<BaseCard> DGBT[] = {
    {1, 2, &C::group, {.letters = Letters::upper, .right = true, .key = true}},
    {4, 8, &C::baset},
};
static_assert(well_formed(DGBT));

void locate(Run& run, BaseEdit& e) {
    e.row = LOCCHR(run.store.gbt.GBTEN, run.store.gbt.NGBT, e.card.group);
    refuse(run, e.row == 0, 100);
}

BaseCard card_of(const Run& run, int row) { return {run.store.gbt.GBTEN(row), run.store.gbt.BASET(row)}; }

BaseCard stored(Run& run, const BaseEdit& e) { return card_of(run, e.row); }

void check(Run& run, BaseEdit& e) { refuse(run, !e.given(&C::baset) || e.card.baset <= 0, 110); }

void apply(Run& run, BaseEdit& e) { run.store.gbt.BASET(e.row) = e.card.baset; }

// Branch ends on systems whose upper limit follows from the base voltage take it.
void limit_branch_ends(Run& run) {
    const Store& s = run.store;
    BranchTables& b = run.store.branch;
    auto follow = [&](int bus, double& limit) {
        if (bus != 0 && s.bus.NOGBT(bus) != 0) limit = upper_limit(s.gbt.BASET(s.bus.NOGBT(bus))).value_or(limit);
    };
    for (int l : rows(b.NL)) {
        follow(b.NFROM(l), b.VFXENRG(l));
        follow(b.NTO(l), b.VTXENRG(l));
    }
}

}  // namespace

CardForm base_group_cards(Run& run) { return card_form<BaseCard>(run, "INPGBT", DGBT, card_of); }

void INPGBT(Run& run) {
    const Block<BaseCard> block = {
        .routine = "INPGBT",
        .fields = DGBT,
        .format_error = 120,
        .end_error = 130,
        .locate = locate,
        .stored = stored,
        .check = check,
        .apply = apply,
        .finish = limit_branch_ends,
    };
    read_block(run, block);
}

}  // namespace korvane
