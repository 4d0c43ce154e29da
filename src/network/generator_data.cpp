// DGER: limits and capability data of the generators that DBAR created.
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct GeneratorCard {
    int bus;
    double pmin, pmax;  // active limits, pu
    double fgen;        // participation factor
    double share;       // in remote voltage control, of 1
    // capability data
    double fpnom;         // nominal power factor
    double fsria, fsrir;  // stator and rotor limit factors
    double angcg;         // under-excitation angle, rad
    double xq;            // synchronous reactance, pu
    double snomi;         // nominal apparent power, pu

    double droop;
};
using C = GeneratorCard;
using GeneratorEdit = Edit<GeneratorCard>;

constexpr Field<GeneratorCard> DGER[] = {
    {1, 5, &C::bus, {.key = true}},
    {9, 14, &C::pmin, {.add = "0", .unit = Scale::power}},
    {16, 21, &C::pmax, {.add = "99999", .unit = Scale::power}},
    {23, 27, &C::fgen, {.add = "0"}},
    {29, 33, &C::share, {.add = "100", .unit = Scale::percent}},
    {35, 39, &C::fpnom, {.zero_is_none = true}},
    {41, 44, &C::fsria, {.unit = Scale::percent_above, .zero_is_none = true}},
    {46, 49, &C::fsrir, {.unit = Scale::percent_above, .zero_is_none = true}},
    {51, 54, &C::angcg, {.unit = Scale::degrees, .zero_is_none = true}},
    {56, 60, &C::xq, {.unit = Scale::percent, .zero_is_none = true}},
    {62, 66, &C::snomi, {.unit = Scale::power, .zero_is_none = true}},
    {68, 72, &C::droop, {.add = "0", .unit = Scale::percent, .zero_is_none = true}},
};
static_assert(well_formed(DGER));

constexpr double C::*CAPABILITY[] = {&C::fpnom, &C::fsria, &C::fsrir, &C::angcg, &C::xq, &C::snomi};
constexpr double NO_CAPABILITY = -1;  // XQ of a generator without capability data

int typed_capability(const GeneratorEdit& e) {
    return int(std::count_if(std::begin(CAPABILITY), std::end(CAPABILITY), [&](auto field) { return e.given(field); }));
}

/// The block while it is read: which generators a card has applied to.
struct GeneratorBlock {
    std::vector<bool> done;  // by generator row
};

/// No card has changed the row since DBAR made it.
bool at_defaults(const Run& run, int g) {
    const GeneratorTables& t = run.store.gen;
    constexpr double margin = 0.01;  // MW: the default limit goes through BASE and back
    return t.PMIN(g) == 0 && std::abs(t.PMAX(g) * run.cte.BASE - NO_LIMIT_MW) <= margin && t.FGEN(g) == 0 &&
           t.ALFACREM(g) == 1 && t.XQ(g) == NO_CAPABILITY;
}

void locate(Run& run, GeneratorEdit& e, const GeneratorBlock& block) {
    const int number = e.card.bus;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, number, element::bus_number); };
    if (say(e.removes(), 100) || say(number < 1, 110)) return;
    const int k = bus_of(run.store, number);
    if (say(k == 0, 120)) return;
    const int g = e.row = run.store.map.NGADR(k);
    if (say(g == 0, 130)) return;
    const bool done = block.done[std::size_t(g)];
    say(e.adds() && (done || !at_defaults(run, g)), 140);
    if (!e.modifies()) return;
    if (done)
        say(true, -990);
    else
        say(at_defaults(run, g), 150);
}

GeneratorCard card_of(const Run& run, int row) {
    const GeneratorTables& t = run.store.gen;
    GeneratorCard c{};
    c.bus = run.store.bus.NOINT(t.NOGEN(row));
    c.pmin = t.PMIN(row);
    c.pmax = t.PMAX(row);
    c.fgen = t.FGEN(row);
    c.share = t.ALFACREM(row);
    c.droop = t.ESTRP(row);
    if (t.XQ(row) == NO_CAPABILITY) return c;
    c.fpnom = t.FPNOM(row);
    c.fsria = t.FSRIA(row);
    c.fsrir = t.FSRIR(row);
    c.angcg = t.ANGCG(row);
    c.xq = t.XQ(row);
    c.snomi = t.SNOMI(row);
    return c;
}

// Blank capability fields stay as they are only beside one that is given: a card without any clears the data, and
// with them the droop that it does not give.
GeneratorCard stored(Run& run, const GeneratorEdit& e) {
    GeneratorCard c = card_of(run, e.row);
    if (typed_capability(e) > 0 && run.store.gen.XQ(e.row) != NO_CAPABILITY) return c;
    for (double C::*const field : CAPABILITY) c.*field = 0;
    c.droop = 0;
    return c;
}

void check(Run& run, GeneratorEdit& e) {
    const GeneratorTables& t = run.store.gen;
    const GeneratorCard& c = e.card;
    const int g = e.row;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, c.bus, element::bus_number); };

    say(c.pmin < 0, -950);
    say(c.pmax < 0, -960);
    if (!say(c.pmin > c.pmax, 180)) {
        if (say(t.PGEN(g) > c.pmax, -970)) e.amend(&C::pmax, t.PGEN(g));
        if (say(t.PGEN(g) < c.pmin, -980)) e.amend(&C::pmin, t.PGEN(g));
    }
    say(c.fgen < 0, 190);
    say(c.share <= 0 || c.share > 1, 290);

    const int typed = typed_capability(e);
    if (typed == 0) return;
    const bool rest_in_store = e.modifies() && t.XQ(g) != NO_CAPABILITY;
    if (say(typed < int(std::size(CAPABILITY)) && !rest_in_store, 200)) return;
    say(std::abs(c.fpnom) > 1, 210);
    say(c.fsria <= 1, 220);
    say(c.fsrir <= 1, 230);
    say(c.angcg < 0 || c.angcg > 85 * RADIANS, 240);
    say(c.xq < 0, 250);
    say(c.snomi < 0, 260);
}

void apply(Run& run, GeneratorEdit& e, GeneratorBlock& block) {
    GeneratorTables& t = run.store.gen;
    const GeneratorCard& c = e.card;
    const int g = e.row;
    t.PMIN(g) = c.pmin;
    t.PMAX(g) = c.pmax;
    t.FGEN(g) = c.fgen;
    t.ALFACREM(g) = c.share;
    t.FPNOM(g) = c.fpnom;
    t.FSRIA(g) = c.fsria;
    t.FSRIR(g) = c.fsrir;
    t.ANGCG(g) = c.angcg;
    t.XQ(g) = typed_capability(e) ? c.xq : NO_CAPABILITY;
    t.SNOMI(g) = c.snomi;
    t.ESTRP(g) = c.droop;
    t.PGFRP(g) = t.PGEN(g);
    block.done[std::size_t(g)] = true;
}

}  // namespace

bool generator_at_defaults(const Run& run, int g) {
    const GeneratorTables& t = run.store.gen;
    return at_defaults(run, g) && t.FPNOM(g) == 0 && t.ESTRP(g) == 0 && t.PGFRP(g) == 0;
}

CardForm generator_cards(Run& run) {
    using Printer = CardPrinter<GeneratorCard>;
    const Printer printer(run, "INPGEN", DGER);
    // The six fields of the capability data stand together on a card, zeros too.
    const auto capability =
        printer.of({CAPABILITY[0], CAPABILITY[1], CAPABILITY[2], CAPABILITY[3], CAPABILITY[4], CAPABILITY[5]});
    return [=](Run& r, int g) { printer.show(r, card_of(r, g), r.store.gen.XQ(g) != NO_CAPABILITY ? capability : 0); };
}

void INPGEN(Run& run) {
    map_bus_rows(run.store);
    GeneratorBlock block{std::vector<bool>(std::size_t(run.store.gen.NG) + 1)};
    const Block<GeneratorCard> description = {
        .routine = "INPGEN",
        .fields = DGER,
        .operation = {.column = 7, .letters = "A M", .refusal = 100},
        .format_error = 270,
        .end_error = 280,
        .locate = [&](Run& r, GeneratorEdit& e) { locate(r, e, block); },
        .stored = stored,
        .check = check,
        .apply = [&](Run& r, GeneratorEdit& e) { apply(r, e, block); },
    };
    read_block(run, description);
}

}  // namespace korvane
