// DSCA: automatic shunts.
#include "network/card_forms.hpp"
#include "network/drop_row.hpp"
#include "network/network.hpp"
#include "network/shunt_banks.hpp"

namespace korvane {

namespace {

struct ShuntCard {
    int bus;
    char takes_fixed;                                 // S: the fixed shunt of the bus becomes the initial value
    char mode;                                        // F fixed, D discrete, C continuous; also their digits
    double vmin, vmax;                                // pu
    int control;                                      // external number of the controlled bus
    double initial;                                   // pu
    Parts steps;                                      // of each stage
    double step1, step2, step3, step4, step5, step6;  // value of one step, pu
    char band;                                        // C centre, L limit
};
using C = ShuntCard;
using ShuntEdit = Edit<ShuntCard>;

constexpr Field<ShuntCard> DSCA[] = {
    {1, 5, &C::bus, {.key = true}},
    {8, 8, &C::takes_fixed, {.letters = Letters::upper}},
    {9, 9, &C::mode, {.add = "F", .letters = Letters::upper}},
    {11, 14, &C::vmin, {.zero_is_none = true}},
    {15, 18, &C::vmax, {.zero_is_none = true}},
    {20, 24, &C::control},
    {25, 29, &C::initial, {.add = "0.", .unit = Scale::power}},
    {31, 31, &C::steps, {.zero_is_none = true, .part = 1}},
    {33, 37, &C::step1, {.unit = Scale::power, .zero_is_none = true}},
    {39, 39, &C::steps, {.zero_is_none = true, .part = 2}},
    {41, 45, &C::step2, {.unit = Scale::power, .zero_is_none = true}},
    {47, 47, &C::steps, {.zero_is_none = true, .part = 3}},
    {49, 53, &C::step3, {.unit = Scale::power, .zero_is_none = true}},
    {55, 55, &C::steps, {.zero_is_none = true, .part = 4}},
    {57, 61, &C::step4, {.unit = Scale::power, .zero_is_none = true}},
    {63, 63, &C::steps, {.zero_is_none = true, .part = 5}},
    {65, 69, &C::step5, {.unit = Scale::power, .zero_is_none = true}},
    {71, 71, &C::steps, {.zero_is_none = true, .part = 6}},
    {73, 77, &C::step6, {.unit = Scale::power, .zero_is_none = true}},
    {79, 79, &C::band, {.add = "C", .letters = Letters::upper}},
};
static_assert(well_formed(DSCA));

constexpr double C::*STEP[MXSTAGE] = {&C::step1, &C::step2, &C::step3, &C::step4, &C::step5, &C::step6};
constexpr double APART = 1e-6;  // pu; equal limits are moved apart by this, each

/// Row i of the automatic shunts as a card, at its present value.
ShuntCard card_of(const Run& run, int i) {
    const AutomaticShuntTables& t = run.store.sca;
    const BusTables& bus = run.store.bus;
    ShuntCard c{};
    c.bus = bus.NOINT(t.NBUSSCA(i));
    c.takes_fixed = ' ';
    c.mode = mode_letter(std::abs(t.KONSCA(i)));
    c.vmin = t.VMINSCA(i);
    c.vmax = t.VMAXSCA(i);
    c.control = bus.NOINT(t.KBUSSCA(i));
    c.initial = t.BSCA(i);
    for (std::size_t stage = 0; stage < MXSTAGE; ++stage) {
        c.steps[stage] = t.ISTEPSCA(i)[stage];
        c.*STEP[stage] = t.VSTEPSCA(i)[stage];
    }
    c.band = t.SCALIM(i) ? 'L' : 'C';
    return c;
}

/// The reader of automatic shunts while it reads a block.
class ShuntBlock {
public:
    explicit ShuntBlock(Run& of);

    void locate(ShuntEdit& e);
    void check(ShuntEdit& e);
    void apply(const ShuntEdit& e);
    void finish();

private:
    void check_band(ShuntEdit& e);
    void check_control(ShuntEdit& e);
    bool say(bool wrong, int number) { return refuse(run, wrong, number, number_, element::bus_number); }

    /// What else controls the voltage of a bus.
    struct Controls {
        bool tap, generator, compensator;
    };

    Run& run;
    Store& s;
    AutomaticShuntTables& t;
    std::vector<int> shunt_;                     // by bus position: its automatic shunt
    std::vector<char> of_bank_;                  // by automatic shunt: a bank stands behind it
    std::vector<Controls> controls_;             // by bus position
    int number_ = 0, bus_ = 0, controlled_ = 0;  // of the present card: bus number, positions
};

ShuntBlock::ShuntBlock(Run& of)
    : run(of),
      s(of.store),
      t(s.sca),
      shunt_(std::size_t(s.bus.NB) + 1, 0),
      of_bank_(std::size_t(t.NSCA) + 1, false),
      controls_(std::size_t(s.bus.NB) + 1, Controls{}) {
    map_bus_rows(s);
    for (int i : rows(t.NSCA)) shunt_[std::size_t(t.NBUSSCA(i))] = i;
    for (int b : rows(s.bsh.NBSH)) of_bank_[std::size_t(s.bsh.IPSCA(b))] = true;
    for (int n : rows(s.tap.NTAP)) {
        const int type = s.branch.LTYPE(s.tap.NOTAP(n));
        if (type == 3 || type == 4) controls_[std::size_t(std::abs(s.tap.KBUS(n)))].tap = true;
    }
    for (int r : rows(s.rcb.NRCB)) controls_[std::size_t(s.rcb.IRCB(r))].generator = true;
    for (int c : rows(s.cer.NCER)) controls_[std::size_t(s.cer.NVKCER(c))].compensator = true;
}

void ShuntBlock::locate(ShuntEdit& e) {
    number_ = e.card.bus;
    if (say(e.modifies(), 100) || say(number_ < 1, 110)) return;
    bus_ = bus_of(s, number_);
    if (say(bus_ == 0, 120)) return;
    e.row = shunt_[std::size_t(bus_)];
    if (e.removes())
        say(e.row == 0, 200) || say(e.row < int(of_bank_.size()) && of_bank_[std::size_t(e.row)], 260);
    else if (!say(e.row != 0, 180) && !say(t.NSCA >= MXSCA, 240))
        e.row = t.NSCA + 1;
}

void ShuntBlock::check_band(ShuntEdit& e) {
    const ShuntCard& c = e.card;
    const int group = s.bus.NOGLT(bus_);
    e.supply(&C::vmin, band_voltage(group ? s.glt.VMIN(group) : 0.8));
    e.supply(&C::vmax, band_voltage(group ? s.glt.VMAX(group) : 1.2));
    say(c.vmin < run.cte.VDVN, 140);
    say(c.vmax > run.cte.VDVM, 150);
    say(c.vmin > c.vmax, 210);
}

void ShuntBlock::check_control(ShuntEdit& e) {
    e.supply(&C::control, e.card.bus);
    controlled_ = bus_of(s, e.card.control);
    if (refuse(run, controlled_ == 0, 160, e.card.control, element::bus_number)) return;
    if (control_mode(e.card.mode) < 1) return;  // a fixed shunt controls nothing
    const Controls& others = controls_[std::size_t(controlled_)];
    say(others.tap, -910);
    say(others.generator, -920);
    say(others.compensator, -930);
}

void ShuntBlock::check(ShuntEdit& e) {
    if (e.removes()) return;
    ShuntCard& c = e.card;
    say(control_mode(c.mode) < 0, 130);
    check_band(e);
    check_control(e);
    bool ended = false, gap = false;
    for (std::size_t stage = 0; stage < MXSTAGE; ++stage) {
        gap |= ended && c.steps[stage] != 0;
        ended |= c.steps[stage] == 0;
    }
    say(gap, 170);
    say(c.band != 'C' && c.band != 'L' && c.band != '1' && c.band != '2', 190);
    if (const int h = s.map.NSADR(bus_); c.takes_fixed == 'S' && h && s.sht.SHUNT(h) != 0) {
        say(true, -900);
        e.amend(&C::initial, s.sht.SHUNT(h));
    }
}

void ShuntBlock::apply(const ShuntEdit& e) {
    const ShuntCard& c = e.card;
    const int i = e.row;
    if (e.removes()) {
        shunt_[std::size_t(bus_)] = 0;
        t.NBUSSCA(i) = 0;
        return;
    }
    shunt_[std::size_t(bus_)] = add_row(t);
    t.NBUSSCA(i) = bus_;
    t.KBUSSCA(i) = controlled_;
    t.KONSCA(i) = control_mode(c.mode);
    const double apart = c.vmin == c.vmax ? APART : 0.0;
    t.VMINSCA(i) = c.vmin - apart;
    t.VMAXSCA(i) = c.vmax + apart;
    t.VORISCA(i) = t.BSCA(i) = c.initial;
    for (std::size_t stage = 0; stage < MXSTAGE; ++stage) {
        t.ISTEPSCA(i)[stage] = c.steps[stage];
        t.VSTEPSCA(i)[stage] = c.*STEP[stage];
    }
    t.SCALIM(i) = c.band == 'L' || c.band == '2';
    if (const int h = s.map.NSADR(bus_); c.takes_fixed == 'S' && h) s.sht.SHUNT(h) = 0;
}

void ShuntBlock::finish() {
    close_up(s, t, [&](int i) { return t.NBUSSCA(i) != 0; });
    close_up(s, s.sht, [&](int h) { return s.sht.SHUNT(h) != 0; });
}

}  // namespace

CardForm automatic_shunt_cards(Run& run) {
    return [printer = CardPrinter<ShuntCard>(run, "INPSCA", DSCA, {&C::mode, &C::band})](Run& r, int i) {
        printer.show(r, card_of(r, i));
    };
}

void INPSCA(Run& run) {
    ShuntBlock block(run);
    const Block<ShuntCard> description = {
        .routine = "INPSCA",
        .fields = DSCA,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 250},
        .format_error = 220,
        .end_error = 230,
        .locate = [&](Run&, ShuntEdit& e) { block.locate(e); },
        .stored = [](Run& r, const ShuntEdit& e) { return card_of(r, e.row); },
        .check = [&](Run&, ShuntEdit& e) { block.check(e); },
        .apply = [&](Run&, ShuntEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
