// DBSH: groups of shunt banks, and the rows of like units that each of them has.
#include "network/bank_block.hpp"

#include "network/card_forms.hpp"
#include "network/network.hpp"

namespace korvane {

namespace {

using G = GroupCard;
using U = UnitCard;

// A delete card may tell the whole group.
constexpr Field<GroupCard> GROUP[] = {
    {1, 5, &G::bus, {.key = true}},
    {9, 13, &G::other, {.key = true, .zero_is_none = true}},
    {15, 16, &G::circuit, {.key = true, .zero_is_none = true}},
    {18, 18, &G::control, {.add = "F", .letters = Letters::upper, .key = true}},
    {20, 23, &G::vmin, {.key = true, .zero_is_none = true}},
    {25, 28, &G::vmax, {.key = true, .zero_is_none = true}},
    {30, 34, &G::controlled, {.key = true, .zero_is_none = true}},
    {36, 41, &G::value, {.unit = Scale::power, .key = true, .zero_is_none = true}},
    {43, 43, &G::band, {.add = "C", .letters = Letters::upper, .key = true}},
    {45, 45, &G::takes_shunt, {.letters = Letters::upper, .key = true}},
    {47, 51, &G::holder, {.key = true, .zero_is_none = true}},
};
static_assert(well_formed(GROUP));

constexpr Field<UnitCard> UNIT[] = {
    {1, 2, &U::number, {.key = true}},
    {7, 7, &U::state, {.add = "L", .letters = Letters::upper}},
    {9, 11, &U::units, {.add = "1"}},
    {13, 15, &U::in_operation},
    {17, 22, &U::value, {.unit = Scale::power}},
};
static_assert(well_formed(UNIT));

constexpr int GROUP_OPERATION = 7;  // column
constexpr int UNIT_FORMAT = 19;     // row of FMTROT

/// A group card that removes has no rows behind it, also when the rest of it cannot be read.
bool names_removal(const Card& card) {
    const char c = card.at[GROUP_OPERATION - 1];
    return c == 'E' || c == 'e' || c == '1';
}

/// Row g of the groups as a card, in the direction of its branch.
GroupCard card_of(const Run& run, int g) {
    const Store& s = run.store;
    const BankTables& b = s.bsh;
    const int l = b.IDCIR(g), number = s.bus.NOINT(b.NOBSH(g));
    GroupCard c{};
    c.bus = l ? s.bus.NOINT(s.branch.NFROM(l)) : number;
    c.other = l ? s.bus.NOINT(s.branch.NTO(l)) : 0;
    c.circuit = l ? s.branch.NCIR(l) : 0;
    c.holder = l ? number : 0;
    c.control = mode_letter(b.MCBSH(g));
    c.vmin = b.TMNSH(g);
    c.vmax = b.TMXSH(g);
    c.controlled = s.bus.NOINT(b.NOBCS(g));
    c.value = b.VINSH(g);
    c.band = b.TCBSH(g) ? 'L' : 'C';
    c.takes_shunt = ' ';
    return c;
}

/// Row i of the units as a card.
UnitCard unit_card_of(const Run& run, int i) {
    const BankUnitTables& u = run.store.bshl;
    return {u.IDEGS(i), u.STBSH(i) ? 'L' : 'D', u.NUNIS(i), u.NUNISOP(i), u.VALSH(i)};
}

}  // namespace

BankBlock::BankBlock(Run& of)
    : run(of),
      s(of.store),
      b(s.bsh),
      u(s.bshl),
      removed_groups_(b),
      removed_units_(u),
      on_bus_(std::size_t(s.bus.NB) + 1),
      on_from_(std::size_t(s.branch.NL) + 1),
      on_to_(std::size_t(s.branch.NL) + 1),
      automatic_(std::size_t(s.bus.NB) + 1),
      first_unit_(MXBSH + 1),
      next_unit_(MXBSHL + 1),
      direct_shunt_(std::size_t(s.bus.NB) + 1),
      compensator_(std::size_t(s.bus.NB) + 1),
      fresh_(MXBSH + 1) {
    map_bus_rows(s);
    drop_bank_shunts(s);
    for (int i : rows(s.sca.NSCA))
        if (const int k = s.sca.NBUSSCA(i)) {
            direct_shunt_[std::size_t(k)] = i;
            ++shunts_;
        }
    for (int n : rows(s.cer.NCER)) compensator_[std::size_t(s.cer.NBECER(n))] = true;
    b.NUBSH.fill(b.NBSH, 0);
    for (int i = u.NBSHL; i >= 1; --i) {
        int& head = first_unit_[std::size_t(u.IBUSH(i))];
        next_unit_[std::size_t(i)] = head;
        head = i;
        ++b.NUBSH(u.IBUSH(i));
    }
    for (int g : rows(b.NBSH)) {
        group_at(b.NOBSH(g), b.IDCIR(g)) = g;
        count_automatic(g, 1);
    }
}

// --- groups

/// The group on the bus, or on that end of the branch.
int& BankBlock::group_at(int bus, int branch) {
    if (branch == 0) return on_bus_[std::size_t(bus)];
    return (s.branch.NFROM(branch) == bus ? on_from_ : on_to_)[std::size_t(branch)];
}

void BankBlock::count_automatic(int group, int sign) {
    if (b.MCBSH(group) == 0) return;
    Automatic& a = automatic(b.NOBSH(group));
    if (sign > 0)
        a = {a.groups, a.rows, b.TMNSH(group), b.TMXSH(group), b.NOBCS(group), b.MCBSH(group), b.TCBSH(group)};
    const bool before = a.groups > 0;
    a.groups += sign;
    a.rows += sign * b.NUBSH(group);
    shunts_ += int(a.groups > 0) - int(before);
}

/// Rows of the groups under automatic control of the bus, those of this group not counted.
int BankBlock::automatic_rows(int group) const {
    const Automatic& a = automatic_[std::size_t(bus_)];
    const bool counted = group != 0 && b.MCBSH(group) != 0;
    return a.rows - (counted ? b.NUBSH(group) : 0);
}

// The branch of a group on a branch end, 0 after a message; bus_ takes the bus of the group.
int BankBlock::group_branch(const GroupEdit& e, int bus, int other) {
    const G& c = e.card;
    const int l = c.circuit > 0 ? FNDLIN(run, bus, other, c.circuit).branch : 0;
    if (say(l == 0, 150)) return 0;
    element_ = l;
    type_ = element::branch;
    if (say(c.holder != c.bus && c.holder != c.other, 160)) return 0;
    bus_ = c.holder == c.bus ? bus : other;
    return l;
}

void BankBlock::locate(GroupEdit& e) {
    const G& c = e.card;
    if (unit_removed_) drop_empty_groups();
    element_ = c.bus;
    type_ = element::bus_number;
    bus_ = branch_ = group_ = control_ = 0;
    const bool no_bus = say(c.bus < 1, 110), no_other = say(c.other < 0, 120);
    if (no_bus || no_other) return;
    const bool on_branch = c.other != 0;
    bus_ = bus_of(s, c.bus);
    const int other = on_branch ? bus_of(s, c.other) : 0;
    if (on_branch) e.supply(&G::circuit, 1);
    const bool unknown = say(bus_ == 0, 130);
    if (refuse(run, on_branch && other == 0, 140, c.other, element::bus_number) || unknown) return;
    if (on_branch && (branch_ = group_branch(e, bus_, other)) == 0) return;
    e.row = group_ = group_at(bus_, branch_);
    if (group_) control_ = b.MCBSH(group_);
    if (!e.adds()) {
        say(group_ == 0, 190);
    } else if (!say(group_ != 0, 170)) {
        e.row = removed_groups_.next();
        say(e.row == 0, 180);
    }
}

void BankBlock::check(GroupEdit& e) {
    if (e.removes()) return;
    const G& c = e.card;
    if (e.adds()) {
        if (const int group = s.bus.NOGLT(bus_)) {
            e.supply(&G::vmin, band_voltage(s.glt.VMIN(group)));
            e.supply(&G::vmax, band_voltage(s.glt.VMAX(group)));
        }
        e.supply(&G::controlled, s.bus.NOINT(bus_));
    }
    check_band(e);
    controlled_ = 0;
    if (!say(c.controlled < 1, 240)) {
        controlled_ = bus_of(s, c.controlled);
        refuse(run, controlled_ == 0, 250, c.controlled, element::bus_number);
    }
    say(c.band != 'L' && c.band != 'C', 260);
    check_control(e);
    const bool takes = c.takes_shunt == 'S';
    if (!say(!takes && c.takes_shunt != ' ', 430)) say(takes && !run.msg.errors_wait(), -900);
}

void BankBlock::check_band(const GroupEdit& e) {
    const G& c = e.card;
    const bool no_least = say(c.vmin <= 0, 210), no_greatest = say(c.vmax <= 0, 220);
    if (!no_least && !no_greatest) say(c.vmin > c.vmax, 230);
}

// One automatic shunt serves all groups of a bus: they agree in what they hold, and their rows are its stages.
void BankBlock::check_control(const GroupEdit& e) {
    const G& c = e.card;
    const int control = control_mode(c.control);
    if (say(control < 0, 270)) return;
    control_ = control;
    if (control == 0) return;
    const int group = e.modifies() ? e.row : 0;
    const Automatic& a = automatic(bus_);
    const bool counted = group != 0 && b.MCBSH(group) != 0;
    if (a.groups > int(counted))
        say(c.vmin != a.vmin || c.vmax != a.vmax || (controlled_ && controlled_ != a.controlled) ||
                control != a.control || (c.band == 'L') != a.to_limit,
            280);
    say(compensator_[std::size_t(bus_)], 281);
    if (controlled_ != 0 && controlled_ != bus_)
        refuse(run, automatic(controlled_).groups > 0, 282, controlled_, element::bus);
    say(automatic_rows(group) + (group ? b.NUBSH(group) : 0) > MXROWS_CONTROLLED, 401);
    if (a.groups > 0) return;
    const bool replaces = direct_shunt_[std::size_t(bus_)] != 0;
    if (!say(shunts_ - int(replaces) >= MXSCA, 440)) say(replaces, -920);
}

void BankBlock::apply(const GroupEdit& e) {
    const G& c = e.card;
    const int g = e.row;
    if (e.removes()) return remove_group(g);
    if (e.adds()) {
        removed_groups_.take(g);
        b.NOBSH(g) = bus_;
        b.IDCIR(g) = branch_;
        group_at(bus_, branch_) = g;
        first_unit_[std::size_t(g)] = 0;
        fresh_[std::size_t(g)] = true;
        doubtful_.push_back(g);
    } else {
        count_automatic(g, -1);
    }
    b.MCBSH(g) = control_;
    b.TMNSH(g) = c.vmin;
    b.TMXSH(g) = c.vmax;
    b.NOBCS(g) = controlled_;
    b.VINSH(g) = c.value;
    b.TCBSH(g) = c.band == 'L';
    b.DELSH(g) = c.takes_shunt == 'S';
    count_automatic(g, 1);
}

void BankBlock::remove_group(int group) {
    count_automatic(group, -1);
    group_at(b.NOBSH(group), b.IDCIR(group)) = 0;
    for (int i = first_unit_[std::size_t(group)]; i;) {
        const int next = next_unit_[std::size_t(i)];
        removed_units_.remove(i);
        i = next;
    }
    first_unit_[std::size_t(group)] = 0;
    removed_groups_.remove(group);
}

// A group without rows goes, at the next group card after a row was removed and at the end card.
void BankBlock::drop_empty_groups() {
    for (int g : doubtful_) {
        if (b.NOBSH(g) == 0 || b.NUBSH(g) != 0) continue;
        refuse(run, fresh_[std::size_t(g)], -930, b.NOBSH(g), element::bus);
        remove_group(g);
    }
    doubtful_.clear();
    unit_removed_ = false;
}

// --- rows

void BankBlock::open_rows(const GroupEdit& e, bool applied) {
    open_ = applied;
    if (applied) {
        group_ = e.row;
    } else if (e.op == Operation::failed) {
        group_ = control_ = 0;  // the card told nothing
    }
}

void BankBlock::locate(UnitEdit& e) {
    const U& c = e.card;
    element_ = c.number;
    type_ = element::number;
    if (say(c.number < 1, 310)) return;
    for (int i = group_ ? first_unit_[std::size_t(group_)] : 0; i && !e.row; i = next_unit_[std::size_t(i)])
        if (u.IDEGS(i) == c.number) e.row = i;
    if (!e.adds()) {
        if (group_ == 0)
            e.op = Operation::failed;  // the group card has said why
        else
            say(e.row == 0, 340);
    } else if (!say(e.row != 0, 320)) {
        e.row = removed_units_.next();
        say(e.row == 0, 330);
    }
}

void BankBlock::check(UnitEdit& e) {
    if (!e.adds() && !e.modifies()) return;
    const U& c = e.card;
    if (e.adds()) e.supply(&U::in_operation, c.units);
    say(c.state != 'L' && c.state != 'D', 360);
    const bool no_units = say(c.units < 1, 370);
    // What the card does not tell follows the units, so its message would only repeat theirs.
    const bool negative = say(c.in_operation < 0 && (e.modifies() || e.given(&U::in_operation)), 380);
    if (!no_units && !negative && say(c.in_operation > c.units, -910)) e.amend(&U::in_operation, c.units);
    say(c.value == 0, 390);
    if (control_ == 0) return;
    const int present = automatic_rows(group_) + (group_ ? b.NUBSH(group_) : 0);
    say(e.adds() && present >= MXROWS_CONTROLLED, 400);
    say(e.modifies() && present > MXROWS_CONTROLLED, 401);
}

void BankBlock::apply(UnitEdit& e) {
    if (!open_) {
        e.op = Operation::failed;
        return;
    }
    const U& c = e.card;
    const int i = e.row;
    if (e.removes()) return remove_unit(i);
    if (e.adds()) {
        removed_units_.take(i);
        u.IBUSH(i) = group_;
        u.IDEGS(i) = c.number;
        next_unit_[std::size_t(i)] = first_unit_[std::size_t(group_)];
        first_unit_[std::size_t(group_)] = i;
        fresh_[std::size_t(group_)] = false;
        count_units(1);
    }
    u.STBSH(i) = c.state == 'L';
    u.NUNIS(i) = c.units;
    u.NUNISOP(i) = u.NUNCHAV(i) = c.in_operation;
    u.VALSH(i) = c.value;
    u.QBAN(i) = u.STBSH(i) ? c.value * c.in_operation : 0;
}

void BankBlock::remove_unit(int unit) {
    int* before = &first_unit_[std::size_t(group_)];
    while (*before != unit) before = &next_unit_[std::size_t(*before)];
    *before = next_unit_[std::size_t(unit)];
    removed_units_.remove(unit);
    count_units(-1);
    doubtful_.push_back(group_);
    unit_removed_ = true;
}

void BankBlock::count_units(int more) {
    b.NUBSH(group_) += more;
    if (b.MCBSH(group_) != 0) automatic(b.NOBSH(group_)).rows += more;
}

CardForm bank_group_cards(Run& run) {
    return [printer = CardPrinter<GroupCard>(run, "INPBSH", GROUP, {&G::control})](Run& r, int g) {
        printer.show(r, card_of(r, g));
    };
}

CardForm bank_unit_cards(Run& run) {
    return [printer = CardPrinter<UnitCard>(run, "INPBSH", UNIT, {&U::state}, Implied::point, UNIT_FORMAT)](
               Run& r, int i) { printer.show(r, unit_card_of(r, i)); };
}

FixedShuntForm fixed_shunt_group_cards(Run& run) {
    return [printer = CardPrinter<GroupCard>(run, "INPBSH", GROUP)](Run& r, const FixedShunt& shunt) {
        const Store& s = r.store;
        GroupCard c{};
        c.bus = s.bus.NOINT(shunt.bus);
        if (const int l = shunt.branch) {
            const int from = s.branch.NFROM(l);
            c.holder = c.bus;
            c.other = s.bus.NOINT(shunt.bus == from ? int(s.branch.NTO(l)) : from);
            c.circuit = s.branch.NCIR(l);
        }
        c.control = 'F';
        c.band = 'C';
        c.takes_shunt = ' ';
        printer.show(r, c);
        if (shunt.group) r.CARD.at[GROUP_OPERATION - 1] = 'M';
    };
}

FixedShuntForm fixed_shunt_unit_cards(Run& run) {
    return [printer = CardPrinter<UnitCard>(run, "INPBSH", UNIT, {&U::state}, Implied::point, UNIT_FORMAT)](
               Run& r, const FixedShunt& shunt) {
        printer.show(r, {shunt.number, shunt.live ? 'L' : 'D', 1, 1, shunt.value});
    };
}

void INPBSH(Run& run) {
    run.store.sol.CONVSTAT = 0;
    BankBlock block(run);
    const Block<GroupCard> groups = {
        .routine = "INPBSH",
        .fields = GROUP,
        .operation = {.column = GROUP_OPERATION, .letters = "AEM", .refusal = 100},
        .format_error = 290,
        .end_error = 420,
        .locate = [&](Run&, GroupEdit& e) { block.locate(e); },
        .stored = [](Run& r, const GroupEdit& e) { return card_of(r, e.row); },
        .check = [&](Run&, GroupEdit& e) { block.check(e); },
        .apply = [&](Run&, GroupEdit& e) { block.apply(e); },
    };
    const Block<UnitCard> units = {
        .routine = "INPBSH",
        .fields = UNIT,
        .operation = {.column = 5, .letters = "AEM", .refusal = 300, .extra_on_delete = 350},
        .format_error = 410,
        .end_error = 420,
        .locate = [&](Run&, UnitEdit& e) { block.locate(e); },
        .stored = [](Run& r, const UnitEdit& e) { return e.row ? unit_card_of(r, e.row) : UnitCard{}; },
        .check = [&](Run&, UnitEdit& e) { block.check(e); },
        .apply = [&](Run&, UnitEdit& e) { block.apply(e); },
        .rows = {.echo132 = 16, .echo80 = 17, .guide = 18, .card = UNIT_FORMAT},
        .last_card = "FBAN",
    };
    card_detail::open_block(run, "INPBSH");
    CardList<GroupCard> heads(run, groups);
    CardList<UnitCard> lines(run, units);
    Ended ended = Ended::no;
    while (ended == Ended::no && (ended = heads.next()) == Ended::no) {
        if (names_removal(run.CARD)) continue;
        block.open_rows(heads.card(), heads.applied());
        while ((ended = lines.next()) == Ended::no) {
        }
        if (ended == Ended::last_card) ended = Ended::no;
    }
    block.finish();
    card_detail::close_block(run);
}

}  // namespace korvane
