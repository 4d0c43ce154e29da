// DLEN: voltage limits at the two ends of a branch.
#include "frame/card_block.hpp"
#include "network/branch_ends.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct EndLimitCard {
    int first, second, circuit;
    double first_min, first_max, second_min, second_max;  // pu
};
using C = EndLimitCard;
using EndLimitEdit = Edit<EndLimitCard>;

constexpr Field<EndLimitCard> DLEN[] = {
    {1, 5, &C::first, {.key = true}},
    {7, 11, &C::second, {.key = true}},
    {13, 14, &C::circuit, {.key = true}},
    {16, 19, &C::first_min, {.zero_is_none = true}},
    {21, 24, &C::first_max, {.zero_is_none = true}},
    {26, 29, &C::second_min, {.zero_is_none = true}},
    {31, 34, &C::second_max, {.zero_is_none = true}},
};
static_assert(well_formed(DLEN));

constexpr EndMessages ENDS = {110, 120, 140, 150, 160};

/// Limits of branch l as a card whose first bus is NFROM.
EndLimitCard card_of(const Run& run, int l) {
    const Store& s = run.store;
    const BranchTables& b = s.branch;
    return {s.bus.NOINT(b.NFROM(l)),
            s.bus.NOINT(b.NTO(l)),
            b.NCIR(l),
            b.VFNENRG(l),
            b.VFXENRG(l),
            b.VTNENRG(l),
            b.VTXENRG(l)};
}

/// The same card seen from the other end.
EndLimitCard turned(const EndLimitCard& c) {
    return {c.second, c.first, c.circuit, c.second_min, c.second_max, c.first_min, c.first_max};
}

bool reversed(const Run& run, const EndLimitEdit& e) {
    return run.store.bus.NOINT(run.store.branch.NFROM(e.row)) != e.card.first;
}

void locate(Run& run, EndLimitEdit& e) {
    const EndLimitCard& c = e.card;
    const bool numbers = check_end_numbers(run, c.first, c.second, ENDS);
    const bool wrong_circuit = refuse(run, c.circuit < 0, 130, c.first, element::bus_number);
    e.supply(&C::circuit, 1);
    if (!numbers) return;
    const CardEnds ends = find_ends(run, c.first, c.second, ENDS);
    if (!ends.found || wrong_circuit) return;
    e.row = FNDLIN(run, ends.first, ends.second, c.circuit).branch;
    refuse(run, e.row == 0, 160, c.first, element::bus_number);
}

EndLimitCard stored(Run& run, const EndLimitEdit& e) {
    EndLimitCard c = card_of(run, e.row);
    if (reversed(run, e)) c = turned(c);
    c.circuit = e.card.circuit;
    return c;
}

void apply(Run& run, EndLimitEdit& e) {
    BranchTables& b = run.store.branch;
    const EndLimitCard c = reversed(run, e) ? turned(e.card) : e.card;
    b.VFNENRG(e.row) = c.first_min;
    b.VFXENRG(e.row) = c.first_max;
    b.VTNENRG(e.row) = c.second_min;
    b.VTXENRG(e.row) = c.second_max;
}

}  // namespace

void INPLEN(Run& run) {
    const Block<EndLimitCard> block = {
        .routine = "INPLEN",
        .fields = DLEN,
        .format_error = 190,
        .end_error = 200,
        .locate = locate,
        .stored = stored,
        .apply = apply,
    };
    read_block(run, block);
}

}  // namespace korvane
