// DCAI: individual loads, each with its own model.
#include <bitset>

#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/shown_value.hpp"
#include "network/unit_rows.hpp"

namespace korvane {

namespace {

struct LoadCard {
    int bus, number;
    char state;
    int units, in_operation;
    double pload, qload;  // of one unit, pu
    int ipvla, ipvqb;     // per cent of the active power at constant current, at constant impedance
    int iqvlc, iqvqd;     // the same of the reactive power
    double vminz;         // below this voltage all load is constant impedance, pu
    double fvolt;         // voltage at which the power holds, pu
};
using C = LoadCard;
using LoadEdit = Edit<LoadCard>;

constexpr Field<LoadCard> DCAI[] = {
    {1, 5, &C::bus, {.key = true}},
    {10, 11, &C::number, {.key = true}},
    {13, 13, &C::state, {.add = "L", .letters = Letters::upper}},
    {15, 17, &C::units, {.add = "1"}},
    {19, 21, &C::in_operation},
    {23, 27, &C::pload, {.add = "0.", .unit = Scale::power}},
    {29, 33, &C::qload, {.add = "0.", .unit = Scale::power}},
    {35, 37, &C::ipvla, {.add = "0"}},
    {39, 41, &C::ipvqb, {.add = "0"}},
    {43, 45, &C::iqvlc, {.add = "0"}},
    {47, 49, &C::iqvqd, {.add = "0"}},
    {51, 55, &C::vminz, {.unit = Scale::percent}},
    {57, 60, &C::fvolt, {.add = "1.0"}},
};
static_assert(well_formed(DCAI));

constexpr int LIMIT_COLUMNS = 5;
constexpr int MXNUMBER = 99;  // of a load on its bus, as its columns have room

/// Row i of the individual loads as a card.
LoadCard card_of(const Run& run, int i) {
    const IndividualLoadTables& t = run.store.cai;
    return {run.store.bus.NOINT(t.NOCAI(i)),
            t.IDEGC(i),
            t.STCAR(i) ? 'L' : 'D',
            t.NUNIC(i),
            t.NUNICOP(i),
            t.PLOADI(i),
            t.QLOADI(i),
            t.IPVLA(i),
            t.IPVQB(i),
            t.IQVLC(i),
            t.IQVQD(i),
            t.VMINZC(i),
            t.FVOLTC(i)};
}

/// The reader of individual loads while it reads a block.
class LoadBlock {
public:
    explicit LoadBlock(Run& of)
        : run(of), s(of.store), t(s.cai), rows_(s, t.NOCAI, t.IDEGC, t.NCAI, s.adr.IPCAI, s.adr.LNKCAI) {}

    void locate(LoadEdit& e);
    void check(LoadEdit& e);
    void apply(const LoadEdit& e);
    void finish();

private:
    void check_shares(const LoadCard& c);
    bool say(bool wrong, int number) { return refuse(run, wrong, number, number_, element::bus_number); }

    Run& run;
    Store& s;
    IndividualLoadTables& t;
    UnitRows<MXCAI> rows_;
    int number_ = 0, bus_ = 0;  // of the present card: bus number and position
};

void LoadBlock::locate(LoadEdit& e) {
    const LoadCard& c = e.card;
    number_ = c.bus;
    const bool no_bus = say(c.bus < 1, 110), no_number = say(c.number < 1, 120);
    bus_ = bus_of(s, c.bus);
    if (no_bus || say(bus_ == 0, 130) || no_number) return;
    e.row = rows_.find(bus_, c.number);
    if (!e.adds())
        say(e.row == 0, 160);
    else if (!say(e.row != 0, 140) && !say(t.NCAI >= MXCAI, 150))
        e.row = t.NCAI + 1;
}

void LoadBlock::check_shares(const LoadCard& c) {
    auto outside = [](int share) { return share < 0 || share > 100; };
    say(outside(c.ipvla), 210);
    say(outside(c.ipvqb), 220);
    say(c.ipvla + c.ipvqb > 100, 230);
    say(c.iqvlc > 100, 240);
    say(c.iqvqd > 100, 250);
    say(c.iqvlc + c.iqvqd > 100, 260);
}

void LoadBlock::check(LoadEdit& e) {
    if (e.removes()) return;
    LoadCard& c = e.card;
    if (e.adds()) {
        e.supply(&C::in_operation, c.units);
        e.supply(&C::vminz, shown_value(100 * run.cte.VFLD, LIMIT_COLUMNS) * 0.01);
    }
    say(c.state != 'L' && c.state != 'D', 180);
    say(c.units < 1, 190);
    // What the card does not tell follows the units, so its message would only repeat theirs.
    say(c.in_operation < 1 && (e.modifies() || e.given(&C::in_operation)), 200);
    if (say(c.in_operation > c.units, -900)) e.amend(&C::in_operation, c.units);
    check_shares(c);
    say(c.vminz <= 0, 270);
    // A voltage of definition in the store was accepted once, whatever the limits are now.
    const bool outside = c.fvolt < run.cte.VDVN || c.fvolt > run.cte.VDVM;
    say(outside && (e.adds() || e.given(&C::fvolt)), 280);
}

void LoadBlock::apply(const LoadEdit& e) {
    const LoadCard& c = e.card;
    const int i = e.row;
    if (e.removes()) return rows_.remove(i);
    if (e.adds()) {
        add_row(t);
        rows_.append(i, bus_, c.number);
    }
    t.STCAR(i) = c.state == 'L';
    t.NUNIC(i) = c.units;
    t.NUNICOP(i) = c.in_operation;
    t.PLOADI(i) = c.pload;
    t.QLOADI(i) = c.qload;
    t.IPVLA(i) = c.ipvla;
    t.IPVQB(i) = c.ipvqb;
    t.IQVLC(i) = c.iqvlc;
    t.IQVQD(i) = c.iqvqd;
    t.VMINZC(i) = c.vminz;
    t.FVOLTC(i) = c.fvolt;
}

void LoadBlock::finish() {
    settle_units(s, t, &IndividualLoadTables::NOCAI, &IndividualLoadTables::STCAR);
    chain_by_bus(t.NOCAI, t.NCAI, s.bus.NB, s.adr.IPCAI, s.adr.LNKCAI);
}

}  // namespace

CardForm individual_load_cards(Run& run) { return card_form<LoadCard>(run, "INPCAI", DCAI, card_of); }

CardForm bus_load_cards(Run& run) {
    const Store& s = run.store;
    std::vector<int> model(std::size_t(s.bus.NB) + 1);
    for (int n : rows(s.fld.NFLD)) model[std::size_t(s.fld.NOFLD(n))] = n;
    std::vector<std::bitset<MXNUMBER + 1>> taken(std::size_t(s.bus.NB) + 1);
    for (int i : rows(s.cai.NCAI))
        if (s.cai.IDEGC(i) <= MXNUMBER) taken[std::size_t(s.cai.NOCAI(i))].set(std::size_t(s.cai.IDEGC(i)));
    return [=, printer = CardPrinter<LoadCard>(run, "INPCAI", DCAI)](Run& r, int k) {
        const BusTables& b = r.store.bus;
        const LoadModelTables& t = r.store.fld;
        int number = 1;
        while (number < MXNUMBER && taken[std::size_t(k)][std::size_t(number)]) ++number;
        LoadCard c{b.NOINT(k), number, 'L', 1, 1, b.PLOAD(k), b.QLOAD(k), 0, 0, 0, 0, r.cte.VFLD, b.FVOLT(k)};
        if (const int n = model[std::size_t(k)]) {
            c.ipvla = t.IPFLA(n);
            c.ipvqb = t.IPFLB(n);
            c.iqvlc = t.IQFLA(n);
            c.iqvqd = t.IQFLB(n);
            c.vminz = t.VMINZ(n);
        }
        printer.show(r, c);
    };
}

void INPCAI(Run& run) {
    run.store.sol.CONVSTAT = 0;
    LoadBlock block(run);
    const Block<LoadCard> description = {
        .routine = "INPCAI",
        .fields = DCAI,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 170},
        .format_error = 290,
        .end_error = 300,
        .locate = [&](Run&, LoadEdit& e) { block.locate(e); },
        .stored = [](Run& r, const LoadEdit& e) { return card_of(r, e.row); },
        .check = [&](Run&, LoadEdit& e) { block.check(e); },
        .apply = [&](Run&, LoadEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
