// DCER: static compensators.
#include "network/card_forms.hpp"
#include "network/drop_row.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct CompensatorCard {
    int bus, group, units;
    int control;              // external number of the controlled bus
    double slope;             // per cent, positive when the voltage falls with the generation
    double qger, qmin, qmax;  // pu; limits of one unit at nominal voltage
    char mode, state;
};
using C = CompensatorCard;
using CompensatorEdit = Edit<CompensatorCard>;

constexpr Field<CompensatorCard> DCER[] = {
    {1, 5, &C::bus, {.key = true}},
    {9, 10, &C::group, {.key = true}},
    {12, 13, &C::units, {.add = "1"}},
    {15, 19, &C::control},
    {21, 26, &C::slope},
    {28, 32, &C::qger, {.add = "0.", .unit = Scale::power}},
    {34, 38, &C::qmin, {.unit = Scale::power}},
    {40, 44, &C::qmax, {.unit = Scale::power}},
    {46, 46, &C::mode, {.add = "I", .letters = Letters::upper}},
    {48, 48, &C::state, {.add = "L", .letters = Letters::upper}},
};
static_assert(well_formed(DCER));

constexpr double LEAST_SLOPE = 0.0001;  // pu; a flatter characteristic makes the equation singular

/// Row i of the compensators as a card.
CompensatorCard card_of(const Run& run, int i) {
    const CompensatorTables& t = run.store.cer;
    const BusTables& bus = run.store.bus;
    return {bus.NOINT(t.NBECER(i)),
            t.IGCER(i),
            t.NUCER(i),
            bus.NOINT(t.NVKCER(i)),
            -100 * t.RCER(i),
            t.QGCER(i),
            t.QCERMN(i),
            t.QCERMX(i),
            t.KONCNT(i) == 1 ? 'P' : 'I',
            t.STUCER(i) ? 'L' : 'D'};
}

/// The reader of static compensators while it reads a block.
class CompensatorBlock {
public:
    explicit CompensatorBlock(Run& of);

    void locate(CompensatorEdit& e);
    void check(CompensatorEdit& e);
    void apply(const CompensatorEdit& e);

private:
    void check_control(CompensatorEdit& e);
    bool generates(int k) const { return s.map.NGADR(k) != 0 && s.bus.NTYPE(k) != 0; }
    /// Position of the bus whose voltage the generator of bus k holds.
    int held_by_generator(int k) const {
        const int r = s.map.NCADR(k);
        return r ? int(s.rcb.IRCB(r)) : k;
    }
    bool say(bool wrong, int number) { return refuse(run, wrong, number, number_, element::bus_number); }

    Run& run;
    Store& s;
    CompensatorTables& t;
    std::vector<bool> automatic_bank_;           // by bus position
    int number_ = 0, bus_ = 0, controlled_ = 0;  // of the present card: bus number, positions
};

CompensatorBlock::CompensatorBlock(Run& of)
    : run(of), s(of.store), t(s.cer), automatic_bank_(std::size_t(s.bus.NB) + 1, false) {
    map_bus_rows(s);
    for (int b : rows(s.bsh.NBSH))
        if (s.bsh.MCBSH(b) != 0) automatic_bank_[std::size_t(s.bsh.NOBSH(b))] = true;
}

void CompensatorBlock::locate(CompensatorEdit& e) {
    const CompensatorCard& c = e.card;
    number_ = c.bus;
    const bool no_bus = say(c.bus < 1, 110), no_group = say(c.group < 1, 130);
    bus_ = bus_of(s, c.bus);
    if (no_bus || say(bus_ == 0, 120) || no_group) return;
    bool others = false;
    for (int i : rows(t.NCER)) {
        if (t.NBECER(i) != bus_) continue;
        others = true;
        if (t.IGCER(i) == c.group) e.row = i;
    }
    if (!e.adds())
        say(e.row == 0, others ? 200 : 210);
    else if (!say(e.row != 0, 140) && !say(t.NCER >= MXCER, 160))
        e.row = t.NCER + 1;
}

// Whose voltage the compensator holds: nobody else may hold it, nor may a machine at its terminal hold another one.
void CompensatorBlock::check_control(CompensatorEdit& e) {
    const CompensatorCard& c = e.card;
    controlled_ = 0;
    if (say(c.control < 1, 230)) return;
    controlled_ = bus_of(s, c.control);
    if (refuse(run, controlled_ == 0, 240, c.control, element::bus_number)) return;
    say(generates(bus_) && held_by_generator(bus_) != controlled_, 280);
    refuse(run, controlled_ != bus_ && generates(controlled_), 290, c.control, element::bus_number);
}

void CompensatorBlock::check(CompensatorEdit& e) {
    if (e.removes()) return;
    const CompensatorCard& c = e.card;
    if (e.adds()) {
        e.supply(&C::control, c.bus);
        say(!e.given(&C::slope), 170);
        say(!e.given(&C::qmin), 180);
        say(!e.given(&C::qmax), 190);
    }
    say(c.units < 1, 220);
    check_control(e);
    say(c.mode != 'P' && c.mode != 'I', 250);
    say(c.state != 'L' && c.state != 'D', 300);
    say(automatic_bank_[std::size_t(bus_)], 310);
    if (say(e.given(&C::slope) && std::abs(c.slope) <= 100 * LEAST_SLOPE, -400)) e.amend(&C::slope, 100 * LEAST_SLOPE);
}

void CompensatorBlock::apply(const CompensatorEdit& e) {
    const CompensatorCard& c = e.card;
    const int i = e.row;
    if (e.removes()) return drop_row(s, t, i);
    if (e.adds()) {
        add_row(t);
        t.NBECER(i) = bus_;
        t.IGCER(i) = c.group;
    }
    t.NUCER(i) = c.units;
    if (t.NVKCER(i) != controlled_) {
        t.NVKCER(i) = controlled_;
        t.VCER(i) = s.bus.VOLT(controlled_);
    }
    if (e.adds() || e.given(&C::slope) || c.slope != e.stored.slope) t.RCER(i) = -c.slope / 100;
    t.QCERMN(i) = c.qmin;
    t.QCERMX(i) = c.qmax;
    t.KONCNT(i) = c.mode == 'P' ? 1 : 2;
    t.STUCER(i) = c.state == 'L';
    t.QGCER(i) = t.STUCER(i) ? c.qger : 0.0;
}

}  // namespace

CardForm compensator_cards(Run& run) { return card_form<CompensatorCard>(run, "INPCER", DCER, card_of); }

void INPCER(Run& run) {
    CompensatorBlock block(run);
    const Block<CompensatorCard> description = {
        .routine = "INPCER",
        .fields = DCER,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 150},
        .format_error = 260,
        .end_error = 270,
        .locate = [&](Run&, CompensatorEdit& e) { block.locate(e); },
        .stored = [](Run& r, const CompensatorEdit& e) { return card_of(r, e.row); },
        .check = [&](Run&, CompensatorEdit& e) { block.check(e); },
        .apply = [&](Run&, CompensatorEdit& e) { block.apply(e); },
    };
    read_block(run, description);
}

}  // namespace korvane
