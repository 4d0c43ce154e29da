// DGEI: individual generators.
#include "network/card_forms.hpp"
#include "network/individual_generators.hpp"
#include "network/machine_capability.hpp"
#include "network/network.hpp"
#include "network/shown_value.hpp"
#include "network/unit_rows.hpp"

namespace korvane {

namespace {

struct UnitCard {
    int bus;
    char share;  // "S": the units take their share of what the bus generates
    int number;
    char state;
    int units, in_operation, least;
    double pgen, qgen, qmin, qmax;  // of one unit, pu
    double xtf, xd, xq, xl;         // reactances, pu
    double power_factor;
    double snomi, turbine, pmin;  // of one unit, pu
    double reserve;
};
using C = UnitCard;
using UnitEdit = Edit<UnitCard>;

constexpr Field<UnitCard> DGEI[] = {
    {1, 5, &C::bus, {.key = true}},
    {8, 8, &C::share, {.add = "N", .letters = Letters::upper, .key = true}},
    {10, 11, &C::number, {.key = true}},
    {13, 13, &C::state, {.add = "L", .letters = Letters::upper}},
    {14, 16, &C::units, {.add = "1"}},
    {17, 19, &C::in_operation},
    {20, 22, &C::least, {.add = "1"}},
    {23, 27, &C::pgen, {.unit = Scale::power}},
    {28, 32, &C::qgen, {.add = "0.", .unit = Scale::power}},
    {33, 37, &C::qmin, {.add = "-9999", .unit = Scale::power}},
    {38, 42, &C::qmax, {.add = "9999", .unit = Scale::power}},
    {43, 48, &C::xtf, {.add = "0.", .unit = Scale::percent}},
    {50, 54, &C::xd, {.add = "0.", .unit = Scale::percent}},
    {55, 59, &C::xq, {.add = "0.", .unit = Scale::percent}},
    {60, 64, &C::xl, {.add = "0.", .unit = Scale::percent}},
    {66, 69, &C::power_factor, {.add = "1.0"}},
    {70, 74, &C::snomi, {.add = "9999", .unit = Scale::power}},
    {75, 80, &C::turbine, {.add = "9999", .unit = Scale::power}},
    {81, 86, &C::pmin, {.add = "0.", .unit = Scale::power}},
    {87, 91, &C::reserve, {.add = "0.", .unit = Scale::percent}},
};
static_assert(well_formed(DGEI));

constexpr int GENERATION_COLUMNS = 5;
constexpr double NO_MACHINE = -1e15;  // direct-axis reactance on cards of units without machine data

/// A number of so many columns near the value and not above it.
double shown_below(double value, int columns) {
    double shown = shown_value(value, columns);
    for (double step = std::max(shown - value, 1e-7 * std::abs(value)); shown > value; step *= 2)
        shown = shown_value(value - step, columns);
    return shown;
}

/// Row i of the individual generators as a card.
UnitCard card_of(const Run& run, int i) {
    const IndividualGeneratorTables& t = run.store.gei;
    UnitCard c{};
    c.bus = run.store.bus.NOINT(t.NOGEI(i));
    c.share = t.FLAGNOP(i) ? 'S' : 'N';
    c.number = t.IDGEI(i);
    c.state = t.STGEI(i) ? 'L' : 'D';
    c.units = t.NUGIG(i);
    c.in_operation = t.NUGIGOP(i);
    c.least = t.NUGIGMN(i);
    c.pgen = t.PGGEI(i);
    c.qgen = t.QGGEI(i);
    c.qmin = t.QMNGEI(i);
    c.qmax = t.QMXGEI(i);
    c.xtf = t.XTFGEI(i);
    c.xd = t.XDGEI(i);
    c.xq = t.XQGEI(i);
    c.xl = t.XLGEI(i);
    c.power_factor = t.FPGEI(i);
    c.snomi = t.SNGEI(i);
    c.turbine = t.PTUGEI(i);
    c.pmin = t.PGEIMN(i);
    c.reserve = t.ERPGEI(i);
    return c;
}

/// The reader of individual generators while it reads a block.
class UnitBlock {
public:
    explicit UnitBlock(Run& of)
        : run(of), s(of.store), t(s.gei), rows_(s, t.NOGEI, t.IDGEI, t.NGEI, s.adr.IPGEI, s.adr.LNKGEI) {
        map_bus_rows(s);
    }
    void locate(UnitEdit& e);
    void check(UnitEdit& e);
    void apply(UnitEdit& e);
    void finish();

private:
    void complete(UnitEdit& e);
    void check_units(UnitEdit& e);
    void check_generation(UnitEdit& e);
    void check_machine(const UnitCard& c);
    void write(const UnitCard& c, int i);
    bool dispatched(const UnitEdit& e) const { return run.opt["INMN"_opt] && !e.given(&C::in_operation); }
    bool slack() const { return std::abs(s.bus.NTYPE(bus_)) == 3; }
    /// Such a unit has no generation of its own on the card.
    bool takes_share(const UnitCard& c) const { return c.share == 'S' || slack(); }
    double power_at(double rating) const { return rating * s.bus.VOLT(bus_); }
    bool say(bool wrong, int number) { return refuse(run, wrong, number, number_, element::bus_number); }

    Run& run;
    Store& s;
    IndividualGeneratorTables& t;
    UnitRows<MXGEI> rows_;
    int number_ = 0, bus_ = 0, generator_ = 0;  // of the present card: bus number, its position and generator row
};

void UnitBlock::locate(UnitEdit& e) {
    const UnitCard& c = e.card;
    number_ = c.bus;
    const bool no_bus = say(c.bus < 1, 110), no_number = say(c.number < 1, 120);
    bus_ = bus_of(s, c.bus);
    if (no_bus || say(bus_ == 0, 130)) return;
    generator_ = s.map.NGADR(bus_);
    if (say(generator_ == 0 && !e.removes(), 135) || no_number) return;
    e.row = rows_.find(bus_, c.number);
    if (!e.adds())
        say(e.row == 0, 160);
    else if (!say(e.row != 0, 140) && !say(t.NGEI >= MXGEI, 150))
        e.row = t.NGEI + 1;
}

// Blanks that depend on other fields, or on the bus.
void UnitBlock::complete(UnitEdit& e) {
    const UnitCard& c = e.card;
    if (e.adds() && !e.given(&C::pgen)) {
        const double mw = run.cte.BASE * power_at(c.snomi) * c.power_factor;
        e.amend(&C::pgen, shown_below(mw, GENERATION_COLUMNS) * run.cte.RBASE);
    }
    if (dispatched(e))
        e.amend(&C::in_operation, std::min(c.least, c.units));
    else if (e.adds())
        e.supply(&C::in_operation, c.units);
}

void UnitBlock::check_units(UnitEdit& e) {
    const UnitCard& c = e.card;
    say(c.state != 'L' && c.state != 'D', 180);
    say(c.units < 1, 190);
    // What the card does not tell follows the units, so its message would only repeat theirs.
    if (say(c.in_operation < 1 && e.given(&C::in_operation), 200) || c.units < 1) return;
    if (say(c.in_operation > c.units, -900)) e.amend(&C::in_operation, c.units);
    const int least = std::min(c.least, c.units);
    if (say(c.in_operation < least, -930)) e.amend(&C::in_operation, least);
}

void UnitBlock::check_generation(UnitEdit& e) {
    const UnitCard& c = e.card;
    say(e.adds() && c.share != 'S', -940);
    say(!takes_share(c) && c.pgen < c.pmin, 205);
    // With machine data the capability curve gives the limits, whatever the card says.
    const bool follows_curve = c.snomi > 0 && has_capability({c.xd, c.xq, c.xl, c.power_factor});
    if (!follows_curve && !say(c.qmax < c.qmin, 207)) {
        if (say(c.qgen < c.qmin, -910)) e.amend(&C::qgen, c.qmin);
        if (say(c.qgen > c.qmax, -920)) e.amend(&C::qgen, c.qmax);
    }
    say(c.xtf < 0, 210);
    say(c.xtf == 0 && c.share == 'S', -950);
}

void UnitBlock::check_machine(const UnitCard& c) {
    auto no_machine = [](double x) { return std::abs(100 * x - NO_MACHINE) < 1e-6 * std::abs(NO_MACHINE); };
    say(c.xd < 0 && !no_machine(c.xd), 220);
    say(c.xq < 0, 230);
    say(c.xl < 0, 240);
    say(std::abs(c.power_factor) > 1, 250);
    say(c.snomi < 0, 260);
    constexpr double slightly = 1e-6;
    say(!takes_share(c) && c.pgen > power_at(c.snomi) + slightly, 206);
    say(c.turbine < 0, 270);
    say(c.pmin < 0, 310);
    say(c.reserve < 0 || c.reserve > 1, 320);
}

void UnitBlock::check(UnitEdit& e) {
    if (e.removes()) return;
    complete(e);
    check_units(e);
    check_generation(e);
    check_machine(e.card);
}

void UnitBlock::write(const UnitCard& c, int i) {
    t.NOGGEI(i) = generator_;
    t.STGEI(i) = c.state == 'L';
    t.STCAP(i) = c.xd != 0;
    t.NUGIG(i) = c.units;
    t.NUGIGOP(i) = c.in_operation;
    t.NUGIGMN(i) = c.least;
    t.QGGEI(i) = c.qgen;
    t.QMNGEI(i) = c.qmin;
    t.QMXGEI(i) = c.qmax;
    t.XTFGEI(i) = c.xtf;
    t.XDGEI(i) = c.xd;
    t.XQGEI(i) = c.xq;
    t.XLGEI(i) = c.xl;
    t.FPGEI(i) = c.power_factor;
    t.SNGEI(i) = c.snomi;
    t.PTUGEI(i) = c.turbine;
    t.PGEIMN(i) = c.pmin;
    t.ERPGEI(i) = c.reserve;
    t.PRPGEI(i) = s.gen.PGEN(generator_);
}

void UnitBlock::apply(UnitEdit& e) {
    const UnitCard& c = e.card;
    const int i = e.row;
    if (e.removes()) return rows_.remove(i);
    if (e.adds()) {
        add_row(t);
        rows_.append(i, bus_, c.number);
    }
    write(c, i);
    // Units of a slack bus take what it generates, whatever the card says.
    if (slack() && c.share != 'S') e.amend(&C::share, 'S');
    t.FLAGNOP(i) = c.share == 'S';
    t.PGGEI(i) = t.FLAGNOP(i) ? 0.0 : c.pgen;
    if (!dispatched(e)) return;
    UNTDSP(run, generator_, true);
    e.amend(&C::in_operation, t.NUGIGOP(i));
}

void UnitBlock::finish() {
    settle_units(s, t, &IndividualGeneratorTables::NOGEI, &IndividualGeneratorTables::STGEI);
    for (int i : rows(t.NGEI)) UNTCAP(run, i);
    chain_individual_generators(s);
    update_step_up_transformers(s);
    MSGOUT(run);
    print_unit_totals(run);
}

}  // namespace

CardForm individual_generator_cards(Run& run) { return card_form<UnitCard>(run, "INPGEI", DGEI, card_of); }

CardForm generator_unit_cards(Run& run) {
    return [printer = CardPrinter<UnitCard>(run, "INPGEI", DGEI)](Run& r, int g) {
        const GeneratorTables& t = r.store.gen;
        UnitCard c{};
        c.bus = r.store.bus.NOINT(t.NOGEN(g));
        c.share = 'S';  // what the bus generates is on its own card
        c.number = 1;
        c.state = 'L';
        c.units = c.in_operation = c.least = 1;
        c.qgen = t.QGEN(g);
        c.qmin = t.QMNO(g);
        c.qmax = t.QMXO(g);
        c.power_factor = 1;
        c.snomi = t.XQ(g) < 0 ? 9999 * r.cte.RBASE : t.SNOMI(g);
        c.turbine = std::max(t.PMAX(g), 0.0);
        c.pmin = std::max(t.PMIN(g), 0.0);
        c.reserve = std::clamp(t.ESTRP(g), 0.0, 1.0);
        printer.show(r, c);
    };
}

void INPGEI(Run& run) {
    run.store.sol.CONVSTAT = 0;
    UnitBlock block(run);
    const Block<UnitCard> description = {
        .routine = "INPGEI",
        .fields = DGEI,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 170},
        .format_error = 280,
        .end_error = 300,
        .locate = [&](Run&, UnitEdit& e) { block.locate(e); },
        .stored = [](Run& r, const UnitEdit& e) { return card_of(r, e.row); },
        .check = [&](Run&, UnitEdit& e) { block.check(e); },
        .apply = [&](Run&, UnitEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
