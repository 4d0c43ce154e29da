// DFRQ: islands that hold their frequency.
#include "network/card_forms.hpp"
#include "network/drop_row.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct FrequencyCard {
    int island;
    int reference;                    // external number of the reference bus
    double nominal, least, greatest;  // Hz
    Text<46> name;
};
using C = FrequencyCard;
using FrequencyEdit = Edit<FrequencyCard>;

constexpr Field<FrequencyCard> DFRQ[] = {
    {1, 3, &C::island, {.key = true}},       {7, 11, &C::reference},
    {13, 17, &C::nominal, {.add = "60."}},   {19, 23, &C::least, {.add = "59.5"}},
    {25, 29, &C::greatest, {.add = "60.5"}}, {31, 76, &C::name},
};
static_assert(well_formed(DFRQ));

/// Row i of the islands as a card.
FrequencyCard card_of(const Run& run, int i) {
    const FrequencyTables& t = run.store.frq;
    return {t.NOFRP(i), run.store.bus.NOINT(t.NREFRP(i)), t.FREQBASE(i), t.FREQMIN(i), t.FREQMAX(i), t.IDILFRP(i)};
}

void locate(Run& run, FrequencyEdit& e) {
    const FrequencyTables& t = run.store.frq;
    const int number = e.card.island;
    if (refuse(run, number < 1, 110, number, element::number)) return;
    e.row = LOCINT(t.NOFRP, t.NFRP, number);
    if (!e.adds())
        refuse(run, e.row == 0, 170, number, element::number);
    else if (!refuse(run, e.row != 0, 160, number, element::number) && !refuse(run, t.NFRP >= MXFRP, 180))
        e.row = t.NFRP + 1;
}

void check(Run& run, FrequencyEdit& e) {
    if (e.removes()) return;
    const FrequencyCard& c = e.card;
    if (!refuse(run, c.reference < 1, 120, c.island, element::number))
        refuse(run, bus_of(run.store, c.reference) == 0, 130, c.reference, element::bus_number);
    refuse(run, c.nominal < c.least, 140, c.island, element::number);
    refuse(run, c.nominal > c.greatest, 150, c.island, element::number);
}

void apply(Run& run, FrequencyEdit& e) {
    FrequencyTables& t = run.store.frq;
    const FrequencyCard& c = e.card;
    const int i = e.row;
    if (e.removes()) return drop_row(t, i);
    if (e.adds()) t.NOFRP(add_row(t)) = c.island;
    t.NREFRP(i) = bus_of(run.store, c.reference);
    t.FREQBASE(i) = c.nominal;
    t.FREQMIN(i) = c.least;
    t.FREQMAX(i) = c.greatest;
    t.IDILFRP(i) = c.name;
}

}  // namespace

CardForm frequency_cards(Run& run) { return card_form<FrequencyCard>(run, "INPILH", DFRQ, card_of); }

void INPILH(Run& run) {
    const Block<FrequencyCard> block = {
        .routine = "INPILH",
        .fields = DFRQ,
        .operation = {.column = 5, .letters = "AEM", .refusal = 100, .extra_on_delete = 190},
        .format_error = 260,
        .end_error = 250,
        .locate = locate,
        .stored = [](Run& r, const FrequencyEdit& e) { return card_of(r, e.row); },
        .check = check,
        .apply = apply,
    };
    read_block(run, block);
}

}  // namespace korvane
