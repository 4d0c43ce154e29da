// DLIN, branches: the card, how a branch becomes a card, and how a card becomes a branch.
#include "network/branch_data.hpp"

#include "frame/decimal.hpp"
#include "network/aggregator_fields.hpp"
#include "network/branch_rows.hpp"
#include "network/card_forms.hpp"
#include "network/set_points.hpp"

namespace korvane {

namespace {

constexpr Field<BranchCard> OWN_FIELDS[] = {
    {1, 5, &BranchCard::from, {.key = true}},
    {6, 6, &BranchCard::from_state, {.add = "L", .letters = Letters::upper}},
    {10, 10, &BranchCard::to_state, {.add = "L", .letters = Letters::upper}},
    {11, 15, &BranchCard::to, {.key = true}},
    {16, 17, &BranchCard::circuit, {.key = true}},
    {18, 18, &BranchCard::state, {.add = "L", .letters = Letters::upper}},
    {19, 19, &BranchCard::owner, {.add = "F", .letters = Letters::upper}},
    {21, 26, &BranchCard::r, {.add = "0"}},
    {27, 32, &BranchCard::x},
    {33, 38, &BranchCard::charging, {.add = "0", .unit = Scale::power}},
    {39, 43, &BranchCard::tap, {.zero_is_none = true}},
    {44, 48, &BranchCard::tpmin, {.zero_is_none = true}},
    {49, 53, &BranchCard::tpmax, {.zero_is_none = true}},
    {54, 58, &BranchCard::phase, {.unit = Scale::degrees, .zero_is_none = true}},
    {59, 64, &BranchCard::controlled, {.zero_is_none = true}},
    {65, 68, &BranchCard::normal, {.add = "9999"}},
    {69, 72, &BranchCard::emergency},
    {73, 74, &BranchCard::positions, {.zero_is_none = true}},
    {75, 78, &BranchCard::equipment},
};
constexpr auto DLIN = with_aggregators(OWN_FIELDS, &BranchCard::aggregators, 79, {.zero_is_none = true});
static_assert(well_formed(DLIN));

/// The number to twelve digits, which is as many as come back from the store whatever they were.
double few_digits(double v) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, v, std::chars_format::scientific, 11).ptr;
    std::from_chars(digits, end, v);
    return v;
}

/// A number worked back from the store, without the last bits that the way there and back has cost: the number of at
/// most twelve digits that it was, if it lies within a few units in the last place of one. So a card written from the
/// store, and a card that changes one of two numbers, leave the other one as it was typed.
double as_typed(double v) {
    const double typed = few_digits(v);
    constexpr double few = 16 * std::numeric_limits<double>::epsilon();
    return std::abs(typed - v) <= few * std::abs(v) ? typed : v;
}

char letter(bool live) { return live ? 'L' : 'D'; }

/// Branch l as a card in its own direction.
BranchCard branch_card(const Run& run, int l) {
    const Store& s = run.store;
    const BranchTables& b = s.branch;
    BranchCard c{};
    c.from = s.bus.NOINT(b.NFROM(l));
    c.to = s.bus.NOINT(b.NTO(l));
    c.circuit = b.NCIR(l);
    c.from_state = letter(b.STLIND(l));
    c.to_state = letter(b.STLINP(l));
    c.state = letter(b.STLIN(l));
    c.owner = b.OWNER(l) ? 'F' : 'T';
    double t = 1;
    if (const int n = tap_row(s, l)) {
        t = s.tap.TAP(n);
        c.tap = as_typed(1 / t);
        c.tpmin = s.tap.TPMIN(n);
        c.tpmax = s.tap.TPMAX(n);
        if (const int k = s.tap.KBUS(n); k != 0 && c.tpmin > 0 && c.tpmax > 0)
            c.controlled = k < 0 ? -s.bus.NOINT(-k) : s.bus.NOINT(k);
        c.positions = s.tap.NTSTP(n);
    }
    // z = 1/y, and y/t is what the store holds
    const double g = b.GKM(l), y = b.BKM(l), z = 100 * t / (g * g + y * y);
    c.r = as_typed(g * z);
    c.x = as_typed(-y * z);
    c.charging = 2 * b.BC(l);
    if (const int p = phase_row(s, l)) c.phase = s.phs.PHS(p);
    c.normal = shown_rating(b.CAPAC(l));
    c.emergency = shown_rating(b.CAPAE(l));
    c.equipment = shown_rating(b.CAPAQ(l));
    show_aggregators(s, b.IAGRCIR(l), c.aggregators);
    return c;
}

}  // namespace

int add_branch(Store& s, int from, int to, int circuit) {
    BranchTables& b = s.branch;
    const int l = add_row(b);
    b.NFROM(l) = from;
    b.NTO(l) = to;
    b.NCIR(l) = circuit;
    auto base = [&](int k) { return s.bus.NOGBT(k) ? s.gbt.BASET(s.bus.NOGBT(k)) : 1.0; };
    b.VFXENRG(l) = upper_limit(base(from)).value_or(1.1);
    b.VTXENRG(l) = upper_limit(base(to)).value_or(1.1);
    return l;
}

void set_ratings(BranchTables& b, int l, double normal, double emergency, double equipment) {
    auto rating = [](double mva) { return mva >= NO_RATING ? INFINITE_RATING : mva; };
    b.CAPAC(l) = rating(normal);
    b.CAPAE(l) = rating(emergency);
    b.CAPAQ(l) = rating(equipment);
    b.KAPAC(l) = int(std::lround(b.CAPAC(l)));
    b.KAPAE(l) = int(std::lround(b.CAPAE(l)));
    b.KAPAQ(l) = int(std::lround(b.CAPAQ(l)));
}

BranchBlock::BranchBlock(Run& of) : run(of), s(of.store), finder_(of.store), set_point_(set_points(of.store)) {
    remote_control_.assign(std::size_t(s.bus.NB) + 1, false);
    for (int r : rows(s.rcb.NRCB)) remote_control_[std::size_t(s.gen.NOGEN(s.rcb.ICB(r)))] = true;
}

int BranchBlock::phase_row(int l) const { return korvane::phase_row(s, l); }

int BranchBlock::tap_row(int l) const { return korvane::tap_row(s, l); }

void BranchBlock::locate(BranchEdit& e) {
    const BranchCard& c = e.card;
    element_ = c.from;
    type_ = element::bus_number;
    say(c.from < 1, 120);
    say(c.to < 1, 130);
    if (!say(c.circuit < 0, 140)) say(c.circuit == 0 && e.given(&BranchCard::circuit), 150);
    if (c.from < 1 || c.to < 1) return;
    from_ = bus_of(s, c.from);
    to_ = bus_of(s, c.to);
    refuse(run, from_ == 0, 160, c.from, element::bus_number);
    refuse(run, to_ == 0, 170, c.to, element::bus_number);
    say(from_ != 0 && from_ == to_, 180);
    if (run.msg.errors_wait()) return;
    if (e.adds())
        locate_new(e);
    else
        locate_old(e);
}

void BranchBlock::locate_new(BranchEdit& e) {
    const bool free_choice = e.card.circuit == 0 || run.opt["NCIR"_opt];
    const FoundBranch found = finder_.find(from_, to_, e.card.circuit);
    if (free_choice) {
        if (!say(found.highest >= MXCIR, 209)) e.amend(&BranchCard::circuit, found.highest + 1);
    } else {
        refuse(run, found.branch != 0, 210, found.branch, element::branch);
    }
    say(s.branch.NL >= MXLIN, 260);
    e.row = s.branch.NL + 1;
    reversed_ = false;
    LTYPE_ = 0;
}

void BranchBlock::locate_old(BranchEdit& e) {
    e.row = finder_.find(from_, to_, e.card.circuit).branch;
    if (say(e.row == 0, 280)) return;
    element_ = e.row;
    type_ = element::branch;
    reversed_ = s.branch.NFROM(e.row) != from_;
    LTYPE_ = s.branch.LTYPE(e.row);
    say(LTYPE_ == 5, 281);
}

BranchCard BranchBlock::stored(const BranchEdit& e) const {
    if (e.removes()) return {};
    BranchCard c = branch_card(run, e.row);
    if (!reversed_) return c;
    std::swap(c.from, c.to);
    std::swap(c.from_state, c.to_state);
    c.owner = c.owner == 'F' ? 'T' : 'F';
    return c;
}

void BranchBlock::apply(BranchEdit& e) {
    BranchTables& b = s.branch;
    const BranchCard& c = e.card;
    const int l = e.row;
    if (e.removes()) {
        finder_.remove(l);
        b.NFROM(l) = 0;
        b.NCIR(l) = 0;
        removed_ = true;
        return;
    }
    if (e.adds()) {
        add_branch(s, from_, to_, c.circuit);
        finder_.insert(l);
    }
    b.STLIN(l) = c.state == 'L';
    (reversed_ ? b.STLINP : b.STLIND)(l) = c.from_state == 'L';
    (reversed_ ? b.STLIND : b.STLINP)(l) = c.to_state == 'L';
    b.OWNER(l) = (c.owner == 'F') != reversed_;
    set_ratings(b, l, c.normal, c.emergency, c.equipment);
    take_aggregators(s, e, &BranchCard::aggregators, b.IAGRCIR(l));
    b.BC(l) = 0.5 * c.charging;

    // What the card leaves blank stays as it is to the last bit, so the admittance is worked out only when asked for.
    const bool new_tap = transformer_ && LTYPE_ == 0;
    if (e.adds() || new_tap || e.given(&BranchCard::r) || e.given(&BranchCard::x) || c.tap != e.stored.tap) {
        const Admittance y = series_admittance(c.r, c.x, transformer_ ? c.tap : 1);
        b.GKM(l) = y.g;
        b.BKM(l) = y.b;
    }
    if (transformer_) write_tap(e, l);
    if (e.modifies() && reversed_ && b.LTYPE(l) == 0 && b.LITRF(l)) turn_line_shunts(b.LITRF(l));
}

// A change card in the other direction turns the shunts on the ends of the line round with it.
void BranchBlock::turn_line_shunts(int h) {
    std::swap(s.shl.SHLFR(h), s.shl.SHLTO(h));
    std::swap(s.shl.STSHLD(h), s.shl.STSHLP(h));
}

void BranchBlock::write_tap(const BranchEdit& e, int l) {
    const BranchCard& c = e.card;
    TapTables& t = s.tap;
    const bool is_new = LTYPE_ == 0;
    const int n = is_new ? add_row(t) : tap_row(l);
    if (is_new) {
        t.NOTAP(n) = l;
        t.VMNTVF(n) = run.cte.VDVN;
        t.VMXTVF(n) = run.cte.VDVM;
        s.branch.LITRF(l) = n;
        s.branch.LTYPE(l) = 1;
    }
    if (is_new || c.tap != e.stored.tap) t.TAP(n) = 1 / c.tap;
    t.TPMIN(n) = c.tpmin;
    t.TPMAX(n) = c.tpmax;
    if (tap_typed_ || controlled_ != t.KBUS(n)) {
        t.KBUS(n) = controlled_;
        t.VBUS(n) = set_point_[std::size_t(std::abs(controlled_))];
    }
    if (is_new) t.VBARRA(n) = t.VBUS(n);
    if (tap_typed_) t.FATRF(n) = 1;  // a share in the control goes with the tap that it was given for
    t.NTSTP(n) = regulated_ ? c.positions : 0;
    // Where the control left the tap holds only while the tap is there.
    const bool at_limit = t.NTTAP(n) == 1   ? card_form(c.tap) == card_form(c.tpmax)
                          : t.NTTAP(n) == 2 ? card_form(c.tap) == card_form(c.tpmin)
                                            : true;
    if (tap_typed_ && (!regulated_ || !at_limit)) t.NTTAP(n) = 0;

    if (phase_) write_phase(e, l);
    if (s.branch.LTYPE(l) != 6) s.branch.LTYPE(l) = (regulated_ ? 3 : 1) + phase_;
}

void BranchBlock::write_phase(const BranchEdit& e, int l) {
    int p = phase_row(l);
    if (p == 0) {
        const int n = s.branch.LITRF(l);
        p = add_row(s.phs);
        s.phs.NOPHS(p) = n;
        s.branch.LITRF(l) = p;
    }
    s.phs.PHS(p) = e.card.phase;
    if (s.branch.LTYPE(l) == 6 || !e.given(&BranchCard::phase)) return;
    // A shift that is given is fixed: what a control left in the row goes.
    const Ref<Family::tap> n = s.phs.NOPHS(p);
    reset_row(s.phs, p);
    s.phs.NOPHS(p) = n;
    s.phs.PHS(p) = e.card.phase;
}

namespace {

CardPrinter<BranchCard> branch_printer(Run& run) {
    return {run, "INPLIN", DLIN, {&BranchCard::circuit, &BranchCard::normal}};
}

}  // namespace

CardForm branch_cards(Run& run) {
    return [printer = branch_printer(run)](Run& r, int l) { printer.show(r, branch_card(r, l)); };
}

ListForm branch_lists(Run& run) {
    return [printer = branch_printer(run)](Run& r, int l, std::string& text) {
        constexpr int OPERATION = 8;
        BranchCard c = branch_card(r, l);
        for (double BranchCard::*const field : {&BranchCard::r, &BranchCard::x, &BranchCard::tap})
            c.*field = few_digits(c.*field);
        printer.list(text, c, OPERATION);
    };
}

void INPLIN(Run& run) {
    BranchBlock block(run);
    const bool list = run.opt["FLIV"_opt];
    const Block<BranchCard> description = {
        .routine = "INPLIN",
        .fields = DLIN,
        .operation = {8, "AEM", 110, 270},
        .format_error = 590,
        .end_error = 600,
        .locate = [&](Run&, BranchEdit& e) { block.locate(e); },
        .stored = [&](Run&, const BranchEdit& e) { return block.stored(e); },
        .check = [&](Run&, BranchEdit& e) { block.check(e); },
        .apply = [&](Run&, BranchEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
        .free_list = list,
        .commas_from = list ? 0 : 1,
    };
    read_block(run, description);
}

}  // namespace korvane
