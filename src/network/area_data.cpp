// DARE: interchange, its bounds and the names of areas.
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct AreaCard {
    int number;
    double interchange, least, greatest;  // net export and its bounds, pu
    Text<36> name;
};
using C = AreaCard;
using AreaEdit = Edit<AreaCard>;

constexpr Field<AreaCard> DARE[] = {
    {1, 3, &C::number, {.key = true}},
    {8, 13, &C::interchange, {.unit = Scale::power}},
    {19, 54, &C::name},
    {56, 61, &C::least, {.add = "0", .unit = Scale::power}},  // of a new area
    {63, 68, &C::greatest, {.add = "0", .unit = Scale::power}},
};
static_assert(well_formed(DARE));

void locate(Run& run, AreaEdit& e) {
    const int number = e.card.number;
    if (refuse(run, number < 1, 100, number, element::number)) return;
    e.row = LOCINT(run.store.area.NAINT, run.store.area.NAREA, number);
    refuse(run, e.row == 0, 110, number, element::number);
}

AreaCard card_of(const Run& run, int row) {
    const AreaTables& t = run.store.area;
    return {t.NAINT(row), t.AREINT(row), t.EXCMIN(row), t.EXCMAX(row), t.ARNAME(row)};
}

AreaCard stored(Run& run, const AreaEdit& e) { return card_of(run, e.row); }

void check(Run& run, AreaEdit& e) {
    const AreaCard& c = e.card;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, c.number, element::number); };
    if (say(c.least > c.greatest, 120)) return;
    if (say(c.interchange < c.least, -900)) e.amend(&C::least, c.interchange);
    if (say(c.interchange > c.greatest, -910)) e.amend(&C::greatest, c.interchange);
}

void apply(Run& run, AreaEdit& e) {
    AreaTables& t = run.store.area;
    const AreaCard& c = e.card;
    t.AREINT(e.row) = c.interchange;
    t.EXCMIN(e.row) = c.least;
    t.EXCMAX(e.row) = c.greatest;
    t.ARNAME(e.row) = c.name;
}

// What one area exports another imports.
void balance(Run& run) {
    const AreaTables& t = run.store.area;
    double sum = 0;
    for (int i : rows(t.NAREA)) sum += t.AREINT(i);
    refuse(run, std::abs(sum) > run.cte.TETP, -920);
}

}  // namespace

CardForm area_cards(Run& run) { return card_form<AreaCard>(run, "INPARE", DARE, card_of); }

void INPARE(Run& run) {
    const Block<AreaCard> block = {
        .routine = "INPARE",
        .fields = DARE,
        .format_error = 130,
        .end_error = 140,
        .locate = locate,
        .stored = stored,
        .check = check,
        .apply = apply,
        .finish = balance,
    };
    read_block(run, block);
}

}  // namespace korvane
