// DLIN, branches: what must be true of a card, in the order of the messages.
#include "frame/decimal.hpp"
#include "network/aggregator_fields.hpp"
#include "network/branch_data.hpp"

namespace korvane {

using C = BranchCard;

constexpr double LEAST_TAP = 0.6, GREATEST_TAP = 1.4;  // beyond these a tap is doubtful
constexpr double LEAST_RATING = 0.001;                 // MVA

static bool doubtful(double tap) { return tap < LEAST_TAP || tap > GREATEST_TAP; }

double card_form(double v) {
    char columns[5];
    PUTREAL(v, 5, columns);
    double shown = v;
    return get_real({columns, 5}, 3, shown) ? shown : v;
}

void BranchBlock::check(BranchEdit& e) {
    if (e.removes()) return;
    const bool tap_typed = e.given(&C::tap) || e.given(&C::tpmin) || e.given(&C::tpmax) || e.given(&C::phase);
    // Electrical data belong to the direction in which the branch was given.
    const bool backward =
        say(reversed_ && (tap_typed || e.given(&C::r) || e.given(&C::x) || e.given(&C::charging)), 300);
    tap_typed_ = tap_typed && !backward;
    transformer_ = tap_typed_ || LTYPE_ != 0;
    phase_ = LTYPE_ == 2 || LTYPE_ == 4 || LTYPE_ == 6 || (tap_typed_ && e.given(&C::phase));

    const bool letters = check_letters(e);
    if (!backward) check_series(e);
    limits_wrong_ = false;
    if (tap_typed_ || (transformer_ && e.given(&C::charging))) check_tap(e);
    regulated_ = transformer_ && !limits_wrong_ && e.card.tpmin > 0 && e.card.tpmin < e.card.tpmax;
    if (letters) check_ends(e);
    check_controlled_bus(e);
    check_ratings(e);
    check_positions(e);
    check_aggregators(run, e, &C::aggregators, 610);
    say(e.modifies() && LTYPE_ == 0 && tap_typed_ && s.branch.LITRF(e.row) != 0, 567);
}

bool BranchBlock::check_letters(BranchEdit& e) {
    const C& c = e.card;
    auto state = [](char letter) { return letter == 'L' || letter == 'D'; };
    // A branch that goes back into service does so at both ends, unless the card tells otherwise.
    if (e.modifies() && e.given(&C::state) && c.state == 'L' && !e.given(&C::from_state) && !e.given(&C::to_state)) {
        e.amend(&C::from_state, 'L');
        e.amend(&C::to_state, 'L');
    }
    const bool wrong = say(!state(c.state) || !state(c.from_state) || !state(c.to_state), 310);
    say(c.owner != 'F' && c.owner != 'T', 320);
    return !wrong;
}

void BranchBlock::check_ends(BranchEdit& e) {
    const C& c = e.card;
    if (c.from_state == 'L' && c.to_state == 'L') return;
    if (transformer_) {
        say(true, 526);
        e.amend(&C::from_state, 'L');
        e.amend(&C::to_state, 'L');
    } else if (c.state == 'L') {
        say(true, -970);
        e.amend(&C::state, 'D');
    }
}

// A reactance of 0, and an impedance so far from anything physical that its admittance is no number.
void BranchBlock::check_series(const BranchEdit& e) {
    const C& c = e.card;
    if (!e.adds() && !e.given(&C::r) && !e.given(&C::x) && !tap_typed_) return;
    const Admittance y = series_admittance(c.r, c.x, c.tap > 0 ? c.tap : 1);
    say(!std::isfinite(y.g) || !std::isnormal(y.b), 330);
}

void BranchBlock::check_tap(BranchEdit& e) {
    const C& c = e.card;
    if (LTYPE_ == 0) e.supply(&C::tap, 1.0);
    const bool wrong = say(c.tap <= 0, 340);
    say(!wrong && e.given(&C::tap) && doubtful(c.tap), -910);
    say(c.charging != 0, 345);
    limits_wrong_ = !check_limits(e);
    if (!wrong && !limits_wrong_ && c.tpmin > 0) hold_tap_in_limits(e);
    say(LTYPE_ == 0 && s.tap.NTAP >= MXTAP, 390);
    say(phase_ && (e.adds() || phase_row(e.row) == 0) && s.phs.NPHS >= MXPHS, 400);
}

/// Both limits or none, above 0, in their order.
bool BranchBlock::check_limits(BranchEdit& e) {
    const C& c = e.card;
    const bool least = e.given(&C::tpmin), greatest = e.given(&C::tpmax);
    if (!least && !greatest) return true;
    const bool no_least = say(c.tpmin <= 0, 350), no_greatest = say(c.tpmax <= 0, 360);
    if (no_least || no_greatest || say(c.tpmin > c.tpmax, 380)) return false;
    say(least && doubtful(c.tpmin), -912);
    say(greatest && doubtful(c.tpmax), -914);
    return true;
}

// Compared as a card shows them, so that a tap that the control left at a limit does not pass it by its last bits.
void BranchBlock::hold_tap_in_limits(BranchEdit& e) {
    const C& c = e.card;
    if (c.tap >= c.tpmin && c.tap <= c.tpmax) return;
    const double tap = card_form(c.tap);
    if (say(tap < card_form(c.tpmin), -960))
        e.amend(&C::tap, c.tpmin);
    else if (say(tap > card_form(c.tpmax), -950))
        e.amend(&C::tap, c.tpmax);
}

void BranchBlock::check_controlled_bus(BranchEdit& e) {
    const bool typed = e.given(&C::controlled);
    if (!transformer_) {
        say(typed, 425);
        return;
    }
    controlled_ = LTYPE_ != 0 ? int(s.tap.KBUS(tap_row(e.row))) : from_;
    const bool limits = e.card.tpmin > 0 && e.card.tpmax > 0;
    if (typed) {
        if (say(!limits && !limits_wrong_, 370)) return;
        const int number = std::abs(e.card.controlled), k = bus_of(s, number);
        if (refuse(run, k == 0, 410, number, element::bus_number)) return;
        const int from = reversed_ ? to_ : from_, to = from_ + to_ - from;  // of the branch as it is stored
        // A higher tap ratio lowers the voltage on the side without it.
        controlled_ = k == from ? k : k == to ? -k : e.card.controlled < 0 ? -k : k;
        if (limits && !regulated_ && !limits_wrong_) say(k != from && k != to, -940);
    } else if (regulated_ && LTYPE_ == 0) {
        e.amend(&C::controlled, e.card.from);
    }
    if (typed || (regulated_ && tap_typed_)) {
        const int k = std::abs(controlled_);
        refuse(run, remote_control_[std::size_t(k)], 420, s.bus.NOINT(k), element::bus_number);
    }
}

void BranchBlock::check_positions(const BranchEdit& e) {
    if (!e.given(&C::positions) || limits_wrong_) return;
    if (!say(!regulated_, 445)) say(e.card.positions < 1, 446);
}

void BranchBlock::check_ratings(BranchEdit& e) {
    const C& c = e.card;
    if (e.given(&C::normal) && !say(c.normal < 0, 430) && say(c.normal < LEAST_RATING, -435))
        e.amend(&C::normal, LEAST_RATING);
    for (double C::*const other : {&C::emergency, &C::equipment}) {
        if (e.given(other)) {
            if (!say(c.*other < 0, 440) && say(c.*other < LEAST_RATING, -436)) e.amend(other, c.normal);
        } else if (e.adds()) {
            e.amend(other, c.normal);
        }
    }
}

}  // namespace korvane
