// DSHL: shunts on the ends of lines.
#include "network/branch_finder.hpp"
#include "network/drop_row.hpp"
#include "network/service_order.hpp"

#include "network/card_forms.hpp"

namespace korvane {

namespace {

/// Ends in the direction of the card.
struct LineShuntCard {
    int from, to, circuit;
    double shunt_from, shunt_to;  // susceptance, pu
    Text<2> state_from, state_to;
};
using C = LineShuntCard;
using LineShuntEdit = Edit<LineShuntCard>;

// A delete card may tell the states.
constexpr Field<LineShuntCard> DSHL[] = {
    {1, 5, &C::from, {.key = true}},
    {10, 14, &C::to, {.key = true}},
    {15, 16, &C::circuit, {.key = true}},
    {18, 23, &C::shunt_from, {.unit = Scale::power, .zero_is_none = true}},
    {24, 29, &C::shunt_to, {.unit = Scale::power, .zero_is_none = true}},
    {31, 32, &C::state_from, {.letters = Letters::upper, .right = true, .key = true}},
    {34, 35, &C::state_to, {.letters = Letters::upper, .right = true, .key = true}},
};
static_assert(well_formed(DSHL));

Text<2> state_word(bool on) { return Text<2>::of(on ? " L" : " D"); }
bool on(const Text<2>& state) { return state.at[1] == 'L'; }

/// Row h of the line shunts as a card, in the direction of its branch.
LineShuntCard card_of(const Run& run, int h) {
    const Store& s = run.store;
    const LineShuntTables& t = s.shl;
    const int l = t.LISHL(h);
    return {s.bus.NOINT(s.branch.NFROM(l)), s.bus.NOINT(s.branch.NTO(l)), s.branch.NCIR(l), t.SHLFR(h), t.SHLTO(h),
            state_word(t.STSHLD(h)),        state_word(t.STSHLP(h))};
}

LineShuntCard turned(LineShuntCard c) {
    std::swap(c.from, c.to);
    std::swap(c.shunt_from, c.shunt_to);
    std::swap(c.state_from, c.state_to);
    return c;
}

/// The reader of line shunts while it reads a block.
class LineShuntBlock {
public:
    explicit LineShuntBlock(Run& of) : run(of), s(of.store), t(s.shl) {}

    void locate(LineShuntEdit& e);
    LineShuntCard stored(const LineShuntEdit& e) const;
    void check(LineShuntEdit& e);
    void apply(const LineShuntEdit& e);
    void finish();

private:
    int locate_branch(LineShuntEdit& e);
    void complete(LineShuntEdit& e);
    bool say(bool wrong, int number) {
        return refuse(run, wrong, number, branch_, branch_ ? element::branch : element::none);
    }

    Run& run;
    Store& s;
    LineShuntTables& t;
    int branch_ = 0;         // of the present card, 0: none found
    bool reversed_ = false;  // its from bus is the NTO of the branch
};

// Returns 0 after a message.
int LineShuntBlock::locate_branch(LineShuntEdit& e) {
    LineShuntCard& c = e.card;
    e.supply(&C::circuit, 1);
    auto bus = [&](int number, int below, int missing) {
        if (refuse(run, number < 1, below, number, element::bus_number)) return 0;
        const int k = bus_of(s, number);
        refuse(run, k == 0, missing, number, element::bus_number);
        return k;
    };
    const int from = bus(c.from, 110, 140), to = bus(c.to, 120, 150);
    if (refuse(run, c.circuit < 1, 130) || !from || !to) return 0;
    if (refuse(run, from == to, 160, c.from, element::bus_number)) return 0;
    const int l = FNDPAR(run, from, to, c.circuit, 0, 4);
    if (refuse(run, l <= 0, 170)) return 0;
    reversed_ = s.branch.NFROM(l) != from;
    return l;
}

void LineShuntBlock::locate(LineShuntEdit& e) {
    branch_ = 0;
    branch_ = locate_branch(e);
    if (branch_ == 0 || say(s.branch.LTYPE(branch_) != 0, 180)) return;
    e.row = s.branch.LITRF(branch_);
    if (!e.adds()) say(e.row == 0, 230);
}

LineShuntCard LineShuntBlock::stored(const LineShuntEdit& e) const {
    return reversed_ ? turned(card_of(run, e.row)) : card_of(run, e.row);
}

// An add card on a line that has a shunt on one end gives the other one.
void LineShuntBlock::complete(LineShuntEdit& e) {
    say(e.card.shunt_from == 0 && e.card.shunt_to == 0, 190);
    if (e.row) {
        const LineShuntCard present = stored(e);
        auto taken = [&](double C::*shunt) { return present.*shunt != 0; };
        say((taken(&C::shunt_from) && e.given(&C::shunt_from)) || (taken(&C::shunt_to) && e.given(&C::shunt_to)), 200);
        auto keep = [&](double C::*shunt, Text<2> C::*state) {
            if (!taken(shunt) || e.given(shunt)) return;
            e.amend(shunt, present.*shunt);
            e.supply(state, present.*state);
        };
        keep(&C::shunt_from, &C::state_from);
        keep(&C::shunt_to, &C::state_to);
    } else if (!say(t.NSHL >= MXSHL, 210)) {
        e.row = t.NSHL + 1;
    }
    for (Text<2> C::*state : {&C::state_from, &C::state_to})
        if ((e.card.*state).blank()) e.amend(state, state_word(true));
}

void LineShuntBlock::check(LineShuntEdit& e) {
    if (e.removes()) return;
    if (e.adds()) complete(e);
    const LineShuntCard& c = e.card;
    auto known = [](const Text<2>& state) { return state == " L" || state == " D"; };
    say(!known(c.state_from) || !known(c.state_to), 920);
    say(c.shunt_from > 0, -900);
    say(c.shunt_to > 0, -910);
}

void LineShuntBlock::apply(const LineShuntEdit& e) {
    if (e.removes()) {
        s.branch.LITRF(t.LISHL(t.NSHL)) = e.row;
        drop_row(s, t, e.row);
        s.branch.LITRF(branch_) = 0;
        return;
    }
    const LineShuntCard c = reversed_ ? turned(e.card) : e.card;
    if (e.row > t.NSHL) {
        add_row(t);
        t.LISHL(e.row) = branch_;
        s.branch.LITRF(branch_) = e.row;
    }
    t.SHLFR(e.row) = c.shunt_from;
    t.SHLTO(e.row) = c.shunt_to;
    t.STSHLD(e.row) = on(c.state_from);
    t.STSHLP(e.row) = on(c.state_to);
}

void LineShuntBlock::finish() {
    close_up(s, t, [&](int h) { return t.SHLFR(h) != 0 || t.SHLTO(h) != 0; });
    bring_forward(s, t, t.NSHL, [&](int h) {
        const int l = t.LISHL(h);
        return s.bus.STBUS(s.branch.NFROM(l)) && s.bus.STBUS(s.branch.NTO(l));
    });
    link_branch_rows(s);
}

}  // namespace

CardForm line_shunt_cards(Run& run) { return card_form<LineShuntCard>(run, "INPSHL", DSHL, card_of); }

void INPSHL(Run& run) {
    run.store.sol.CONVSTAT = 0;
    LineShuntBlock block(run);
    const Block<LineShuntCard> description = {
        .routine = "INPSHL",
        .fields = DSHL,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 220},
        .format_error = 260,
        .end_error = 600,
        .locate = [&](Run&, LineShuntEdit& e) { block.locate(e); },
        .stored = [&](Run&, const LineShuntEdit& e) { return block.stored(e); },
        .check = [&](Run&, LineShuntEdit& e) { block.check(e); },
        .apply = [&](Run&, LineShuntEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
