// DFCT: shares of generators in remote voltage control, and of transformers in the control of a voltage.
#include "network/branch_ends.hpp"
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct ShareCard {
    int bus;
    char kind;           // "R": generator, "T": transformer
    int other, circuit;  // of a transformer
    double share;
};
using C = ShareCard;
using ShareEdit = Edit<ShareCard>;

constexpr Field<ShareCard> DFCT[] = {
    {1, 5, &C::bus, {.key = true}},
    {7, 7, &C::kind, {.add = "R", .letters = Letters::upper}},
    {9, 13, &C::other, {.zero_is_none = true}},
    {15, 16, &C::circuit, {.zero_is_none = true}},
    {18, 22, &C::share, {.add = "1.0"}},
};
static_assert(well_formed(DFCT));

constexpr EndMessages ENDS = {160, 170, 190, 200, 210};
constexpr int GREATEST_TYPE = 5;

/// The block while it is read: the rows that a card has given.
class ShareBlock {
public:
    explicit ShareBlock(Run& of) : run(of), s(of.store) {
        map_bus_rows(s);
        generators_.resize(std::size_t(s.rcb.NRCB) + 1);
        taps_.resize(std::size_t(s.tap.NTAP) + 1);
    }

    void locate(ShareEdit& e);
    void apply(const ShareEdit& e);
    void finish();

private:
    void locate_generator(ShareEdit& e);
    void locate_transformer(ShareEdit& e);

    Run& run;
    Store& s;
    std::vector<bool> generators_, taps_;  // by row of the remote controls, of the taps
};

void ShareBlock::locate(ShareEdit& e) {
    const ShareCard& c = e.card;
    refuse(run, e.given(&C::share) && c.share == 0, 100, c.bus, element::bus_number);
    switch (c.kind) {
        case ' ':
        case 'R': return locate_generator(e);
        case 'T': return locate_transformer(e);
        default: refuse(run, true, 240, c.bus, element::bus_number);
    }
}

void ShareBlock::locate_generator(ShareEdit& e) {
    const int number = e.card.bus;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, number, element::bus_number); };
    const bool wrong = say(number < 1, 110);
    say(e.given(&C::other), 120);
    say(e.given(&C::circuit), 130);
    if (wrong) return;
    const int k = bus_of(s, number);
    if (say(k == 0, 150)) return;
    e.row = s.map.NCADR(k);
    if (say(e.row == 0, 140)) return;
    say(generators_[std::size_t(e.row)], -900);
}

void ShareBlock::locate_transformer(ShareEdit& e) {
    const ShareCard& c = e.card;
    const bool given = e.given(&C::circuit);
    const bool numbers = check_end_numbers(run, c.bus, c.other, ENDS);
    const bool wrong_circuit = refuse(run, given && c.circuit < 1, 180, c.bus, element::bus_number);
    if (!numbers) return;
    const CardEnds ends = find_ends(run, c.bus, c.other, ENDS);
    if (!ends.found || wrong_circuit) return;
    const int l = branch_of_card(run, ends, c.circuit, given, GREATEST_TYPE);
    if (refuse(run, l == 0, 220, c.bus, element::bus_number)) return;
    if (!given) e.amend(&C::circuit, s.branch.NCIR(l));
    const int type = s.branch.LTYPE(l);
    if (refuse(run, type < 1 || type > 4, 230, l, element::branch)) return;
    refuse(run, type < 3, -910, l, element::branch);
    const int row = s.branch.LITRF(l);
    e.row = type == 2 || type == 4 ? s.phs.NOPHS(row).at : row;
    refuse(run, taps_[std::size_t(e.row)], -920, l, element::branch);
}

void ShareBlock::apply(const ShareEdit& e) {
    const bool generator = e.card.kind == 'R';
    (generator ? s.rcb.FARCT(e.row) : s.tap.FATRF(e.row)) = e.card.share;
    (generator ? generators_ : taps_)[std::size_t(e.row)] = true;
}

void ShareBlock::finish() {
    int given = 0;
    for (int r : rows(s.rcb.NRCB)) given += s.rcb.FARCT(r) != 1;
    for (int t : rows(s.tap.NTAP)) given += s.tap.FATRF(t) != 1;
    run.ctl.returned[0] = given;
}

/// Row r of the remote controls, row t of the taps as a card.
ShareCard card_of_generator(const Run& run, int r) {
    const Store& s = run.store;
    return {s.bus.NOINT(s.gen.NOGEN(s.rcb.ICB(r))), 'R', 0, 0, s.rcb.FARCT(r)};
}
ShareCard card_of_transformer(const Run& run, int t) {
    const Store& s = run.store;
    const int l = s.tap.NOTAP(t);
    return {s.bus.NOINT(s.branch.NFROM(l)), 'T', s.bus.NOINT(s.branch.NTO(l)), s.branch.NCIR(l), s.tap.FATRF(t)};
}

}  // namespace

CardForm generator_share_cards(Run& run) {
    return [printer = CardPrinter<ShareCard>(run, "INPFCT", DFCT, {&C::kind})](Run& r, int row) {
        printer.show(r, card_of_generator(r, row));
    };
}

CardForm tap_share_cards(Run& run) { return card_form<ShareCard>(run, "INPFCT", DFCT, card_of_transformer); }

void INPFCT(Run& run) {
    ShareBlock block(run);
    const Block<ShareCard> description = {
        .routine = "INPFCT",
        .fields = DFCT,
        .operation = {.always = Operation::add},
        .format_error = 250,
        .end_error = 260,
        .locate = [&](Run&, ShareEdit& e) { block.locate(e); },
        .apply = [&](Run&, ShareEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
