// DCSC: controllable series devices. Each is a branch of type 5 with a row of its own.
#include "network/aggregator_fields.hpp"
#include "network/branch_data.hpp"
#include "network/branch_ends.hpp"
#include "network/card_forms.hpp"

namespace korvane {

namespace {

struct DeviceCard {
    int from, to, circuit;
    char state, owner, bypass;
    double xmin, xmax, x;  // per cent, capacitive negative
    char mode;             // P power, I current, X reactance
    double target;         // MW, MVA at nominal voltage, per cent
    int measured;          // external number of the bus at which the target is measured
    int steps;
    double normal, emergency, equipment;  // MVA
    Parts aggregators;                    // identifiers
};
using C = DeviceCard;
using DeviceEdit = Edit<DeviceCard>;

constexpr Field<DeviceCard> OWN_FIELDS[] = {
    {1, 5, &C::from, {.key = true}},
    {10, 14, &C::to, {.key = true}},
    {15, 16, &C::circuit, {.key = true}},
    {17, 17, &C::state, {.add = "L", .letters = Letters::upper}},
    {18, 18, &C::owner, {.add = "F", .letters = Letters::upper}},
    {19, 19, &C::bypass, {.add = "D", .letters = Letters::upper}},
    {26, 31, &C::xmin, {.add = "-9999"}},
    {32, 37, &C::xmax},
    {38, 43, &C::x},
    {44, 44, &C::mode, {.add = "X", .letters = Letters::upper}},
    {46, 51, &C::target},
    {53, 57, &C::measured},
    {58, 60, &C::steps, {.zero_is_none = true}},
    {61, 64, &C::normal, {.add = "9999"}},
    {65, 68, &C::emergency},
    {69, 72, &C::equipment},
};
constexpr auto DCSC = with_aggregators(OWN_FIELDS, &C::aggregators, 73, {.zero_is_none = true});
static_assert(well_formed(DCSC));

constexpr EndMessages ENDS = {110, 120, 130, 140, 150};
constexpr double LEAST_RATING = 0.001;             // MVA
constexpr char MODES[] = {'P', 'I', 'X'};          // KONCSC 1 to 3
constexpr int HELD_REACTANCE = 3;                  // KONCSC of mode X, and of a device whose bypass is in
double reactance(double b) { return -100 / b; }    // per cent, of a susceptance in pu
double susceptance(double x) { return -100 / x; }  // pu, of a reactance in per cent

/// The reader of series devices while it reads a block.
class DeviceBlock {
public:
    explicit DeviceBlock(Run& of) : run(of), s(of.store), t(s.csc), finder_(of.store) {}

    void locate(DeviceEdit& e);
    DeviceCard stored(const DeviceEdit& e) const;
    void check(DeviceEdit& e);
    void apply(const DeviceEdit& e);
    void finish();

private:
    void locate_new(DeviceEdit& e);
    void locate_old(DeviceEdit& e);
    void supply_blanks(DeviceEdit& e);
    void check_letters(DeviceEdit& e);
    void check_reactances(const DeviceEdit& e);
    void check_target(DeviceEdit& e);
    void check_ratings(DeviceEdit& e);
    bool bypassed(const DeviceEdit& e) const { return e.card.bypass == 'L'; }
    int mode(const DeviceEdit& e) const;
    bool say(bool wrong, int number) { return wrong && refuse(run, true, number, element_, type_); }

    Run& run;
    Store& s;
    SeriesDeviceTables& t;
    BranchFinder finder_;
    bool removed_ = false;

    // the present card
    int element_ = 0, type_ = element::none;  // what its messages name
    CardEnds ends_;
    bool reversed_ = false;  // its from bus is the stored NTO
};

void DeviceBlock::locate(DeviceEdit& e) {
    const DeviceCard& c = e.card;
    element_ = c.from;
    type_ = element::bus_number;
    if (!check_end_numbers(run, c.from, c.to, ENDS)) return;
    ends_ = find_ends(run, c.from, c.to, ENDS);
    if (!ends_.found) return;
    if (e.adds())
        locate_new(e);
    else
        locate_old(e);
}

void DeviceBlock::locate_new(DeviceEdit& e) {
    const FoundBranch found = finder_.find(ends_.first, ends_.second, e.card.circuit);
    if (e.card.circuit == 0) {
        if (!say(found.highest >= MXCIR, 160)) e.amend(&C::circuit, found.highest + 1);
    } else {
        say(e.card.circuit < 1, 160);
        refuse(run, found.branch != 0, 170, found.branch, element::branch);
    }
    say(t.NCSC >= MXCSC, 200);
    say(s.branch.NL >= MXLIN, 210);
    e.row = s.branch.NL + 1;
    reversed_ = false;
}

void DeviceBlock::locate_old(DeviceEdit& e) {
    e.row = finder_.find(ends_.first, ends_.second, e.card.circuit).branch;
    if (say(e.row == 0, 230)) return;
    element_ = e.row;
    type_ = element::branch;
    reversed_ = s.branch.NFROM(e.row) != ends_.first;
    say(s.branch.LTYPE(e.row) != 5, 240);
}

/// The device of branch l as a card, in the direction of the branch.
DeviceCard card_of(const Run& run, int l) {
    const Store& s = run.store;
    const BranchTables& b = s.branch;
    const SeriesDeviceTables& t = s.csc;
    const int i = b.LITRF(l), k = t.KONCSC_ORI(i);
    DeviceCard c{};
    c.from = s.bus.NOINT(b.NFROM(l));
    c.to = s.bus.NOINT(b.NTO(l));
    c.circuit = b.NCIR(l);
    c.state = b.STLIN(l) ? 'L' : 'D';
    c.owner = b.OWNER(l) ? 'F' : 'T';
    c.bypass = t.STBYP(i) ? 'L' : 'D';
    c.xmin = reactance(t.BMNCSC(i));
    c.xmax = reactance(t.BMXCSC(i));
    c.x = reactance(b.BKM(l));
    c.mode = MODES[k - 1];
    c.target = k == HELD_REACTANCE ? reactance(t.VSPCSC(i)) : t.VSPCSC(i) * run.cte.BASE;
    c.measured = s.bus.NOINT(t.NBECSC(i));
    c.steps = t.NSTCSC(i);
    c.normal = shown_rating(b.CAPAC(l));
    c.emergency = shown_rating(b.CAPAE(l));
    c.equipment = shown_rating(b.CAPAQ(l));
    show_aggregators(s, b.IAGRCIR(l), c.aggregators);
    return c;
}

DeviceCard DeviceBlock::stored(const DeviceEdit& e) const {
    if (e.removes()) return {};
    DeviceCard c = card_of(run, e.row);
    if (reversed_) {
        std::swap(c.from, c.to);
        c.owner = c.owner == 'F' ? 'T' : 'F';
    }
    return c;
}

int DeviceBlock::mode(const DeviceEdit& e) const {
    const auto at = std::find(std::begin(MODES), std::end(MODES), e.card.mode);
    return at == std::end(MODES) ? 0 : int(at - std::begin(MODES)) + 1;
}

// A device starts at its greatest reactance, one that holds its reactance at what it is to hold.
void DeviceBlock::supply_blanks(DeviceEdit& e) {
    const DeviceCard& c = e.card;
    const bool holds = c.mode == 'X';
    e.supply(&C::xmax, -run.cte.ZMIN);
    e.supply(&C::x, holds && e.given(&C::target) ? c.target : c.xmax);
    if (holds) e.supply(&C::target, c.x);
    e.supply(&C::measured, c.from);
    e.supply(&C::emergency, c.normal);
    e.supply(&C::equipment, c.normal);
}

void DeviceBlock::check_letters(DeviceEdit& e) {
    const DeviceCard& c = e.card;
    auto state = [](char letter) { return letter == 'L' || letter == 'D'; };
    say(!state(c.state), 260);
    say(c.owner != 'F' && c.owner != 'T', 270);
    say(!state(c.bypass), 460);
    // A bypass that is in carries the current whatever becomes of the device.
    if (bypassed(e) && say(c.state == 'D', -900)) e.amend(&C::state, 'L');
    say(mode(e) == 0, e.adds() ? 310 : 250);
}

void DeviceBlock::check_reactances(const DeviceEdit& e) {
    const DeviceCard& c = e.card;
    const bool reversed = say(c.xmin > c.xmax, 280);
    const bool inductive = say(c.xmax >= 0, 285);
    const bool free = bypassed(e) || c.mode == 'X';  // the limits do not act
    say(free ? c.x == 0 : !reversed && !inductive && (c.x < c.xmin || c.x > c.xmax), 290);
    if (!e.given(&C::steps) && c.steps == 0) return;
    if (!say(c.steps < 1, 300)) say(c.xmin == c.xmax, 295);
}

// What the device is to hold, and where it is measured.
void DeviceBlock::check_target(DeviceEdit& e) {
    const DeviceCard& c = e.card;
    const int k = bus_of(s, c.measured);
    if (!refuse(run, k == 0, 180, c.measured, element::bus_number))
        refuse(run, k != ends_.first && k != ends_.second, 190, c.measured, element::bus_number);
    const bool wrong = say((c.mode == 'X' && c.target >= 0) || (c.mode == 'I' && c.target < 0), 320);
    if (!wrong && say(c.mode == 'X' && c.target != c.x, -910)) e.amend(&C::target, c.x);
}

void DeviceBlock::check_ratings(DeviceEdit& e) {
    struct Rating {
        double C::*field;
        int negative, small;
    };
    for (const Rating& r :
         {Rating{&C::normal, 437, -435}, Rating{&C::emergency, 438, -436}, Rating{&C::equipment, 438, -436}}) {
        if (!e.given(r.field) || say(e.card.*r.field < 0, r.negative)) continue;
        if (say(e.card.*r.field < LEAST_RATING, r.small)) e.amend(r.field, LEAST_RATING);
    }
}

void DeviceBlock::check(DeviceEdit& e) {
    if (e.removes()) return;
    if (e.adds()) supply_blanks(e);
    check_letters(e);
    check_reactances(e);
    check_target(e);
    check_ratings(e);
    check_aggregators(run, e, &C::aggregators, 610);
}

void DeviceBlock::apply(const DeviceEdit& e) {
    BranchTables& b = s.branch;
    const DeviceCard& c = e.card;
    const int l = e.row;
    if (e.removes()) {
        finder_.remove(l);
        b.NFROM(l) = 0;
        b.NCIR(l) = 0;
        removed_ = true;
        return;
    }
    if (e.adds()) {
        add_branch(s, ends_.first, ends_.second, c.circuit);
        finder_.insert(l);
        b.LTYPE(l) = 5;
        b.LITRF(l) = add_row(t);
        t.LICSC(b.LITRF(l)) = l;
    }
    const int i = b.LITRF(l);
    b.STLIN(l) = c.state == 'L';
    b.OWNER(l) = (c.owner == 'F') != reversed_;
    set_ratings(b, l, c.normal, c.emergency, c.equipment);
    take_aggregators(s, e, &C::aggregators, b.IAGRCIR(l));

    // What the card leaves blank stays as it is to the last bit.
    auto changes = [&](double C::*field) { return e.adds() || c.*field != e.stored.*field; };
    if (changes(&C::xmin)) t.BMNCSC(i) = susceptance(c.xmin);
    if (changes(&C::xmax)) t.BMXCSC(i) = susceptance(c.xmax);
    if (changes(&C::x)) b.BKM(l) = susceptance(c.x);
    const int kind = mode(e);
    if (changes(&C::target) || kind != t.KONCSC_ORI(i))
        t.VSPCSC(i) = kind == HELD_REACTANCE ? susceptance(c.target) : c.target / run.cte.BASE;
    t.KONCSC(i) = t.KONCSC_ORI(i) = kind;
    t.NBECSC(i) = bus_of(s, c.measured);
    t.NSTCSC(i) = c.steps;
    t.NTYCSC(i) = true;
    t.STBYP(i) = bypassed(e);
    if (!t.STBYP(i)) return;
    // A closed bypass: the smallest impedance, and both ends at one voltage.
    b.BKM(l) = 100 / run.cte.ZMIN;
    t.KONCSC(i) = HELD_REACTANCE;
    s.bus.VOLT(b.NTO(l)) = s.bus.VOLT(b.NFROM(l));
    s.bus.ANGLE(b.NTO(l)) = s.bus.ANGLE(b.NFROM(l));
}

void DeviceBlock::finish() { finish_branches(run, removed_); }

}  // namespace

CardForm series_device_cards(Run& run) {
    return
        [printer = CardPrinter<DeviceCard>(run, "INPCSC", DCSC, {&C::circuit, &C::mode, &C::normal})](Run& r, int i) {
            DeviceCard c = card_of(r, r.store.csc.LICSC(i));
            // The reactance of a closed bypass is none that the device has.
            if (r.store.csc.STBYP(i)) c.x = c.mode == 'X' ? c.target : c.xmax;
            printer.show(r, c);
        };
}

void INPCSC(Run& run) {
    DeviceBlock block(run);
    const Block<DeviceCard> description = {
        .routine = "INPCSC",
        .fields = DCSC,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 220},
        .format_error = 470,
        .end_error = 480,
        .locate = [&](Run&, DeviceEdit& e) { block.locate(e); },
        .stored = [&](Run&, const DeviceEdit& e) { return block.stored(e); },
        .check = [&](Run&, DeviceEdit& e) { block.check(e); },
        .apply = [&](Run&, DeviceEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
