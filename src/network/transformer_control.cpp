// DTVF, DCTR: voltage bands of taps under control, and the control of phase shifters.
#include "network/branch_ends.hpp"
#include "network/card_forms.hpp"
#include "network/dependent_rows.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

/// Columns 18 to 30 are a band of a tap, columns 32 to 62 the control of a phase shifter; a card gives one of the two.
struct ControlCard {
    int first, second, circuit;
    double vmin, vmax;    // band, pu
    char aim;             // outside the band to its centre "C" or its nearest limit "L"
    char motion;          // of the tap: continuous "C", in whole positions "D"
    double phmin, phmax;  // limits of the angle, rad
    char control;         // "F" fixed, "I" current, "P" power
    double target;        // pu, MW
    int measured;         // number of the end at which the target is measured
    int steps;
};
using C = ControlCard;
using ControlEdit = Edit<ControlCard>;

constexpr Field<ControlCard> DTVF[] = {
    {1, 5, &C::first, {.key = true}},
    {9, 13, &C::second, {.key = true}},
    {15, 16, &C::circuit, {.key = true}},
    {18, 21, &C::vmin, {.key = true, .zero_is_none = true}},
    {23, 26, &C::vmax, {.key = true, .zero_is_none = true}},
    {28, 28, &C::aim, {.letters = Letters::upper, .key = true, .zero_is_none = true}},
    {30, 30, &C::motion, {.letters = Letters::upper, .key = true, .zero_is_none = true}},
    {32, 37, &C::phmin, {.unit = Scale::degrees, .key = true, .zero_is_none = true}},
    {39, 44, &C::phmax, {.unit = Scale::degrees, .key = true, .zero_is_none = true}},
    {46, 46, &C::control, {.letters = Letters::upper, .key = true, .zero_is_none = true}},
    {48, 53, &C::target, {.key = true, .zero_is_none = true}},
    {55, 59, &C::measured, {.key = true, .zero_is_none = true}},
    {61, 62, &C::steps, {.key = true, .zero_is_none = true}},
};
static_assert(well_formed(DTVF));

constexpr EndMessages ENDS = {110, 120, 150, 160, 170};
constexpr std::string_view CONTROLS = "FIP";  // KONPHS 0, 1, 2
constexpr int CURRENT = 1, POWER = 2;         // KONPHS
constexpr int NO_STEPS_GIVEN = 99;

bool bands_given(const ControlEdit& e) {
    return e.given(&C::vmin) || e.given(&C::vmax) || e.given(&C::aim) || e.given(&C::motion);
}
bool phase_given(const ControlEdit& e) {
    return e.given(&C::phmin) || e.given(&C::phmax) || e.given(&C::control) || e.given(&C::target) ||
           e.given(&C::measured) || e.given(&C::steps);
}

/// The reader while it reads a block. What the present card is about stands in its members.
class ControlBlock {
public:
    explicit ControlBlock(Run& of) : run(of), s(of.store) {}

    void locate(ControlEdit& e);
    ControlCard stored(const ControlEdit& e) const;
    void check(ControlEdit& e);
    void apply(const ControlEdit& e);
    void finish();

private:
    bool find_branch(ControlEdit& e);
    bool find_measured_end(const ControlEdit& e, const CardEnds& ends);
    bool choose_mode(const ControlEdit& e);
    void check_band(ControlEdit& e);
    void check_phase(ControlEdit& e);
    void apply_band(const ControlEdit& e);
    void apply_phase(const ControlEdit& e);
    void release_phase();
    bool say(bool wrong, int message) { return refuse(run, wrong, message, l_, element::branch); }

    Run& run;
    Store& s;
    int l_ = 0;           // the branch
    bool phase_ = false;  // the card is about the phase shifter, else about the tap
    int tap_ = 0, phs_ = 0;
};

// --- the branch, and what of it the card is about

bool ControlBlock::find_branch(ControlEdit& e) {
    const ControlCard& c = e.card;
    const bool numbers = check_end_numbers(run, c.first, c.second, ENDS);
    bool circuit = !refuse(run, c.circuit < 0, 130, c.first, element::bus_number);
    circuit &= !refuse(run, e.given(&C::circuit) && c.circuit == 0, 140, c.first, element::bus_number);
    e.supply(&C::circuit, 1);
    if (!numbers) return false;
    const CardEnds ends = find_ends(run, c.first, c.second, ENDS);
    if (!ends.found || !circuit || !find_measured_end(e, ends)) return false;
    l_ = FNDLIN(run, ends.first, ends.second, c.circuit).branch;
    return !refuse(run, l_ == 0, 180, c.first, element::bus_number);
}

bool ControlBlock::find_measured_end(const ControlEdit& e, const CardEnds& ends) {
    if (!e.given(&C::measured)) return true;
    const int k = bus_of(s, e.card.measured);
    if (refuse(run, k == 0, 155, e.card.measured, element::bus_number)) return false;
    return !refuse(run, k != ends.first && k != ends.second, 165, e.card.measured, element::bus_number);
}

/// A branch with a phase row starts as a phase shifter; fields of the band make the card one of its tap.
bool ControlBlock::choose_mode(const ControlEdit& e) {
    const int type = s.branch.LTYPE(l_);
    if (say(type < 2 || type == 5, 190)) return false;
    const bool band = bands_given(e), phase = phase_given(e), shifter = type != 3;
    if (say(band && phase, 202) || say(phase && !shifter, 201)) return false;
    phase_ = shifter && !band;
    phs_ = shifter ? s.branch.LITRF(l_) : 0;
    tap_ = shifter ? (phs_ ? s.phs.NOPHS(phs_).at : 0) : s.branch.LITRF(l_);
    return !say(tap_ == 0, 200);
}

void ControlBlock::locate(ControlEdit& e) {
    if (!find_branch(e) || !choose_mode(e)) return;
    e.row = l_;
    const bool band = s.tap.NTTVF(tap_) != 0;
    if (e.adds()) {
        if (phase_) return;
        say(band, 210);
        say(!e.given(&C::vmin), 220);
        say(!e.given(&C::vmax), 230);
    } else if (phase_) {
        say(s.phs.NBEPHS(phs_) == 0, 245);
    } else {
        say(!band, 240);
    }
}

// --- the row as a card, and back

/// The value of a set point on a card whose first bus is at the given end: MW, or a current that counts as it leaves
/// the first bus.
double shown_target(const Run& run, int p, int first) {
    const PhaseTables& t = run.store.phs;
    const double v = t.VSPPHS(p);
    if (t.KONPHS(p) == POWER) return v / run.cte.RBASE;
    return t.KONPHS(p) == CURRENT && t.NBEPHS(p) != first ? -v : v;
}

void show_band(const Run& run, int t, ControlCard& c) {
    const TapTables& tap = run.store.tap;
    c.vmin = tap.VMNTVF(t);
    c.vmax = tap.VMXTVF(t);
    c.aim = tap.TVFLIM(t) ? 'L' : 'C';
    c.motion = tap.FTPDIS(t) ? 'D' : 'C';
}

void show_phase(const Run& run, int p, int first, ControlCard& c) {
    const PhaseTables& t = run.store.phs;
    c.phmin = t.PHSMIN(p);
    c.phmax = t.PHSMAX(p);
    const int kind = t.KONPHS(p);
    c.control = kind >= 0 && kind < int(CONTROLS.size()) ? CONTROLS[std::size_t(kind)] : ' ';
    c.target = shown_target(run, p, first);
    c.measured = t.NBEPHS(p) ? run.store.bus.NOINT(t.NBEPHS(p)) : 0;
    c.steps = t.NPHSTP(p);
}

ControlCard no_control() {
    ControlCard c{};
    c.aim = c.motion = c.control = ' ';
    return c;
}

/// The band of tap t, the control of phase shifter p as a card whose first bus is NFROM.
ControlCard card_of_band(const Run& run, int t) {
    const Store& s = run.store;
    const int l = s.tap.NOTAP(t);
    ControlCard c = no_control();
    c.first = s.bus.NOINT(s.branch.NFROM(l));
    c.second = s.bus.NOINT(s.branch.NTO(l));
    c.circuit = s.branch.NCIR(l);
    show_band(run, t, c);
    return c;
}
ControlCard card_of_phase(const Run& run, int p) {
    const Store& s = run.store;
    const int l = s.tap.NOTAP(s.phs.NOPHS(p));
    ControlCard c = no_control();
    c.first = s.bus.NOINT(s.branch.NFROM(l));
    c.second = s.bus.NOINT(s.branch.NTO(l));
    c.circuit = s.branch.NCIR(l);
    show_phase(run, p, s.branch.NFROM(l), c);
    return c;
}

ControlCard ControlBlock::stored(const ControlEdit& e) const {
    ControlCard c = no_control();
    c.first = e.card.first;
    c.second = e.card.second;
    c.circuit = e.card.circuit;
    if (phase_)
        show_phase(run, phs_, bus_of(s, c.first), c);
    else
        show_band(run, tap_, c);
    return c;
}

// --- the rules

void ControlBlock::check_band(ControlEdit& e) {
    const ControlCard& c = e.card;
    e.supply(&C::aim, c.aim == ' ' ? 'C' : c.aim);
    e.supply(&C::motion, c.motion == ' ' ? 'C' : c.motion);
    say(c.vmin < run.cte.VDVN, 250);
    say(c.vmax > run.cte.VDVM, 260);
    say(c.vmax <= c.vmin, 270);
    say((c.aim != 'C' && c.aim != 'L') || (c.motion != 'C' && c.motion != 'D'), 280);
}

void ControlBlock::check_phase(ControlEdit& e) {
    const ControlCard& c = e.card;
    if (e.adds()) {
        for (auto field : {&C::phmin, &C::phmax, &C::target}) e.supply(field, 0.0);
        e.supply(&C::control, 'P');
        e.supply(&C::measured, c.first);
        if (say(!e.given(&C::steps), -360)) e.amend(&C::steps, NO_STEPS_GIVEN);
    }
    const double phase = s.phs.PHS(phs_);
    say(phase < c.phmin, 310);
    say(phase > c.phmax, 320);
    say(c.phmax < c.phmin, 330);
    // A control that has no letter stays when the card does not give another one.
    say(CONTROLS.find(c.control) == std::string_view::npos && (e.adds() || e.given(&C::control)), 340);
    say(c.steps < 0, 350);
}

void ControlBlock::check(ControlEdit& e) {
    if (e.removes()) return;
    if (phase_)
        check_phase(e);
    else
        check_band(e);
}

// --- what a clean card changes

void ControlBlock::apply_band(const ControlEdit& e) {
    const bool on = !e.removes();
    const ControlCard& c = e.card;
    s.tap.NTTVF(tap_) = on;
    s.tap.VMNTVF(tap_) = on ? c.vmin : run.cte.VDVN;
    s.tap.VMXTVF(tap_) = on ? c.vmax : run.cte.VDVM;
    s.tap.TVFLIM(tap_) = !on || c.aim == 'L';
    s.tap.FTPDIS(tap_) = on && c.motion == 'D';
}

void ControlBlock::apply_phase(const ControlEdit& e) {
    PhaseTables& t = s.phs;
    const ControlCard& c = e.card;
    const int p = phs_, first = bus_of(s, c.first);
    t.PHSMIN(p) = c.phmin;
    t.PHSMAX(p) = c.phmax;
    if (const auto kind = CONTROLS.find(c.control); kind != std::string_view::npos) t.KONPHS(p) = int(kind);
    t.NBEPHS(p) = bus_of(s, c.measured);
    switch (t.KONPHS(p)) {
        case POWER: t.VSPPHS(p) = c.target * run.cte.RBASE; break;
        case CURRENT: t.VSPPHS(p) = t.NBEPHS(p) == first ? c.target : -c.target; break;
        case 3: t.VSPPHS(p) = 0; break;
        default: t.VSPPHS(p) = c.target;
    }
    t.NPHSTP(p) = c.steps;
    s.branch.LTYPE(l_) = 6;
}

// The shifter keeps its angle, and the branch is again what its tap makes it.
void ControlBlock::release_phase() {
    const Ref<Family::tap> tap = s.phs.NOPHS(phs_);
    const double phase = s.phs.PHS(phs_);
    reset_row(s.phs, phs_);
    s.phs.NOPHS(phs_) = tap;
    s.phs.PHS(phs_) = phase;
    s.branch.LTYPE(l_) = s.tap.TPMIN(tap_) < s.tap.TPMAX(tap_) ? 4 : 2;
}

void ControlBlock::apply(const ControlEdit& e) {
    if (!phase_)
        apply_band(e);
    else if (e.removes())
        release_phase();
    else
        apply_phase(e);
}

// Taps held fixed must still be taps under control.
void ControlBlock::finish() {
    for (int i : rows(s.tpf.n)) {
        const int type = s.branch.LTYPE(s.tpf.row(i));
        refuse(run, type != 3 && type != 4, -370, s.tpf.row(i), element::branch);
    }
    settle_dependents(run);
}

}  // namespace

CardForm tap_band_cards(Run& run) { return card_form<ControlCard>(run, "INPTVF", DTVF, card_of_band); }

CardForm phase_control_cards(Run& run) {
    const CardPrinter<ControlCard> printer(run, "INPTVF", DTVF, {&C::phmin, &C::phmax, &C::target, &C::steps});
    return [=](Run& r, int p) { printer.show(r, card_of_phase(r, p)); };
}

void INPTVF(Run& run) {
    run.store.sol.CONVSTAT = 0;
    ControlBlock block(run);
    const Block<ControlCard> description = {
        .routine = "INPTVF",
        .fields = DTVF,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100},
        .format_error = 290,
        .end_error = 300,
        .locate = [&](Run&, ControlEdit& e) { block.locate(e); },
        .stored = [&](Run&, const ControlEdit& e) { return block.stored(e); },
        .check = [&](Run&, ControlEdit& e) { block.check(e); },
        .apply = [&](Run&, ControlEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
