// DINJ: equivalent injections at buses.
#include "network/card_forms.hpp"
#include "network/drop_row.hpp"
#include "network/network.hpp"

namespace korvane {

namespace {

struct InjectionCard {
    int bus;
    double pmat, qmat;  // injected power, pu
    double fsh;         // shunt susceptance, pu
    double fmat;        // participation
    Text<4> type;       // of the bus, for the echo alone
};
using C = InjectionCard;
using InjectionEdit = Edit<InjectionCard>;

constexpr Field<InjectionCard> DINJ[] = {
    {1, 5, &C::bus, {.key = true}},
    {9, 15, &C::pmat, {.add = "0.", .unit = Scale::power}},
    {16, 22, &C::qmat, {.add = "0.", .unit = Scale::power}},
    {23, 29, &C::fsh, {.add = "0.", .unit = Scale::power}},
    {30, 36, &C::fmat, {.add = "0.", .unit = Scale::percent}},
    {129, 132, &C::type, {.key = true}},
};
static_assert(well_formed(DINJ));

constexpr int TYPE_WORDS = 16;  // rows of INPINJ: the types of buses, NTYPE -3 to 4

/// The reader of injections while it reads a block.
class InjectionBlock {
public:
    explicit InjectionBlock(Run& of) : run(of), s(of.store), t(s.eqv), row_(std::size_t(s.bus.NB) + 1) {
        for (int n : rows(t.NEQV)) row_of(t.NOEQV(n)) = n;
    }
    void locate(InjectionEdit& e);
    void check(InjectionEdit& e) {
        if (!e.removes()) say(e, e.card.fmat < 0, 170);
    }
    void apply(const InjectionEdit& e);

private:
    int& row_of(int k) { return row_[std::size_t(k)]; }
    bool say(const InjectionEdit& e, bool wrong, int number) {
        return refuse(run, wrong, number, e.card.bus, element::bus_number);
    }

    Run& run;
    Store& s;
    InjectionTables& t;
    std::vector<int> row_;  // 0 for none; by bus
    int bus_ = 0;           // position, of the present card
};

void InjectionBlock::locate(InjectionEdit& e) {
    if (say(e, e.card.bus < 1, 110)) return;
    bus_ = bus_of(s, e.card.bus);
    if (say(e, bus_ == 0, 120)) return;
    e.amend(&C::type, Text<4>::of(run.fmt.rot(TYPE_WORDS + 3 + s.bus.NTYPE(bus_)).text()));
    e.row = row_of(bus_);
    if (!e.adds())
        say(e, e.row == 0, 150);
    else if (!say(e, e.row != 0, 130) && !say(e, t.NEQV >= MXEQV, 140))
        e.row = t.NEQV + 1;
}

/// Row n of the injections as a card.
InjectionCard card_of(const Run& run, int n) {
    const InjectionTables& t = run.store.eqv;
    return {run.store.bus.NOINT(t.NOEQV(n)), t.PMAT(n), t.QMAT(n), t.FSH(n), t.FMAT(n), BLANK<4>};
}

void InjectionBlock::apply(const InjectionEdit& e) {
    const InjectionCard& c = e.card;
    const int n = e.row;
    if (e.removes()) {
        row_of(t.NOEQV(t.NEQV)) = n;
        row_of(bus_) = 0;
        return drop_row(t, n);
    }
    if (e.adds()) row_of(bus_) = add_row(t);
    t.NOEQV(n) = bus_;
    t.PMAT(n) = c.pmat;
    t.QMAT(n) = c.qmat;
    t.FSH(n) = c.fsh;
    t.FMAT(n) = c.fmat;
}

}  // namespace

CardForm injection_cards(Run& run) { return card_form<InjectionCard>(run, "INPINJ", DINJ, card_of); }

void INPINJ(Run& run) {
    InjectionBlock block(run);
    const Block<InjectionCard> description = {
        .routine = "INPINJ",
        .fields = DINJ,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 160},
        .format_error = 180,
        .end_error = 190,
        .locate = [&](Run&, InjectionEdit& e) { block.locate(e); },
        .stored =
            [](Run& r, const InjectionEdit& e) {
                InjectionCard c = card_of(r, e.row);
                c.type = e.card.type;
                return c;
            },
        .check = [&](Run&, InjectionEdit& e) { block.check(e); },
        .apply = [&](Run&, InjectionEdit& e) { block.apply(e); },
        .finish = [](Run& r) { ADRARE(r.store); },
    };
    read_block(run, description);
}

}  // namespace korvane
