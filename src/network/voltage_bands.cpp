// DBTB: buses that the tables of reports print against a band of voltage.
#include "frame/card_block.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct BandCard {
    int bus;
    double vmin, vmax;  // pu; 0 and 0: no band
};
using C = BandCard;
using BandEdit = Edit<BandCard>;

constexpr Field<BandCard> DBTB[] = {
    {1, 5, &C::bus, {.key = true}},
    {7, 11, &C::vmin, {.zero_is_none = true}},
    {13, 17, &C::vmax, {.zero_is_none = true}},
};
static_assert(well_formed(DBTB));

void locate(Run& run, BandEdit& e) {
    const BandCard& c = e.card;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, c.bus, element::bus_number); };
    if (!say(c.bus < 1, 100)) say((e.row = bus_of(run.store, c.bus)) == 0, 110);
    if ((e.given(&C::vmin) || e.given(&C::vmax)) && !say(c.vmin <= 0 || c.vmax <= 0, 120)) say(c.vmax < c.vmin, 130);
    say(run.store.btb.NBTB >= MXBTB, 140);
}

void apply(Run& run, BandEdit& e) {
    BandTables& t = run.store.btb;
    const int i = add_row(t);
    t.IPBTB(i) = e.row;
    t.VMNBTB(i) = e.card.vmin;
    t.VMXBTB(i) = e.card.vmax;
}

/// Row i of the table as a card.
[[maybe_unused]] BandCard card_of(const Run& run, int i) {
    const BandTables& t = run.store.btb;
    return {run.store.bus.NOINT(t.IPBTB(i)), t.VMNBTB(i), t.VMXBTB(i)};
}

}  // namespace

void INPTBU(Run& run) {
    const Block<BandCard> block = {
        .routine = "INPTBU",
        .fields = DBTB,
        .operation = {.always = Operation::add},
        .format_error = 150,
        .end_error = 160,
        .locate = locate,
        .apply = apply,
    };
    read_block(run, block);
}

}  // namespace korvane
