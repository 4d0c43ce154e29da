// DGLT: voltage limits of the groups that buses belong to.
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct LimitCard {
    Text<2> group;
    double vmin, vmax, vmine, vmaxe;  // normal and emergency limits, pu
};
using C = LimitCard;
using LimitEdit = Edit<LimitCard>;

constexpr Field<LimitCard> DGLT[] = {
    {1, 2, &C::group, {.letters = Letters::upper, .right = true, .key = true}},
    {4, 8, &C::vmin},
    {10, 14, &C::vmax},
    {16, 20, &C::vmine},
    {22, 26, &C::vmaxe},
};
static_assert(well_formed(DGLT));

void locate(Run& run, LimitEdit& e) {
    e.row = LOCCHR(run.store.glt.GLTEN, run.store.glt.NGLT, e.card.group);
    refuse(run, e.row == 0, 100);
}

LimitCard card_of(const Run& run, int row) {
    const LimitGroupTables& t = run.store.glt;
    return {t.GLTEN(row), t.VMIN(row), t.VMAX(row), t.VMINE(row), t.VMAXE(row)};
}

LimitCard stored(Run& run, const LimitEdit& e) { return card_of(run, e.row); }

void check(Run& run, LimitEdit& e) {
    const LimitCard& c = e.card;
    e.supply(&C::vmine, c.vmin);  // emergency follows normal
    e.supply(&C::vmaxe, c.vmax);
    refuse(run, e.given(&C::vmin) && c.vmin <= 0, 110);
    refuse(run, e.given(&C::vmax) && c.vmax <= 0, 120);
    refuse(run, c.vmax < c.vmin, 130);
    refuse(run, e.given(&C::vmine) && c.vmine <= 0, 160);
    refuse(run, e.given(&C::vmaxe) && c.vmaxe <= 0, 170);
    refuse(run, c.vmaxe < c.vmine, 180);
}

void apply(Run& run, LimitEdit& e) {
    LimitGroupTables& t = run.store.glt;
    const LimitCard& c = e.card;
    t.VMIN(e.row) = c.vmin;
    t.VMAX(e.row) = c.vmax;
    t.VMINE(e.row) = c.vmine;
    t.VMAXE(e.row) = c.vmaxe;
}

}  // namespace

CardForm limit_group_cards(Run& run) { return card_form<LimitCard>(run, "INPGLT", DGLT, card_of); }

void INPGLT(Run& run) {
    const Block<LimitCard> block = {
        .routine = "INPGLT",
        .fields = DGLT,
        .format_error = 140,
        .end_error = 150,
        .locate = locate,
        .stored = stored,
        .check = check,
        .apply = apply,
    };
    read_block(run, block);
}

}  // namespace korvane
