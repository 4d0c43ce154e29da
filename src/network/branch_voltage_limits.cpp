// DLEN: voltage limits at the two ends of a branch.
#include "network/branch_ends.hpp"
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/set_points.hpp"
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

constexpr double LEAST = 0.9, GREATEST = 1.1;  // pu, of a new branch

/// The limits of branch l as they are without a card.
EndLimitCard without_card(const Run& run, int l) {
    const Store& s = run.store;
    auto greatest = [&](int k) { return upper_limit(s.gbt.BASET(s.bus.NOGBT(k))).value_or(GREATEST); };
    return {0, 0, 0, LEAST, greatest(s.branch.NFROM(l)), LEAST, greatest(s.branch.NTO(l))};
}

constexpr double C::*LIMITS[] = {&C::first_min, &C::first_max, &C::second_min, &C::second_max};

}  // namespace

bool end_limits_at_defaults(const Run& run, int l) {
    const EndLimitCard c = card_of(run, l), fresh = without_card(run, l);
    return std::all_of(std::begin(LIMITS), std::end(LIMITS), [&](auto limit) { return c.*limit == fresh.*limit; });
}

CardForm end_limit_cards(Run& run) {
    return [printer = CardPrinter<EndLimitCard>(run, "INPLEN", DLEN)](Run& r, int l) {
        EndLimitCard c = card_of(r, l);
        const EndLimitCard fresh = without_card(r, l);
        for (auto limit : LIMITS)
            if (c.*limit == fresh.*limit) c.*limit = 0;  // a blank leaves it as it is
        printer.show(r, c);
    };
}

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
