// DPGE, DQGE: sums of the generation of buses, for the tables of reports.
#include "frame/card_block.hpp"
#include "network/network.hpp"
#include "network/sums.hpp"

namespace korvane {

namespace {

struct MemberCard {
    int bus;
    char sign;  // "+", "-": more members follow; "=", ",", blank: the last one, with the text
    Text<12> text;
};
using C = MemberCard;
using MemberEdit = Edit<MemberCard>;

constexpr Field<MemberCard> DPGE[] = {
    {1, 5, &C::bus, {.key = true}},
    {7, 7, &C::sign},
    {9, 20, &C::text},
};
static_assert(well_formed(DPGE));

/// Whether the last member of the table waits for others.
template <class Sums>
bool open_sum(const Sums& t) {
    return t.n > 0 && !t.closes(t.n);
}

/// Number of the sum that the next member belongs to.
template <class Sums>
int next_sum(const Sums& t) {
    return t.n == 0 ? 1 : t.sum(t.n) + t.closes(t.n);
}

template <class Sums>
void locate(Run& run, const Sums& t, MemberEdit& e) {
    const MemberCard& c = e.card;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, c.bus, element::bus_number); };
    if (!say(c.bus < 1, 100)) {
        e.row = bus_of(run.store, c.bus);
        if (!say(e.row == 0, 105)) say(run.store.map.NGADR(e.row) == 0, -900);
    }
    const SumSign sign = sum_sign(c.sign);
    say(!sign.known, 110);
    say(c.sign == ' ' && open_sum(t), 120);
    say(t.n >= MXSUM, 130);
    say(next_sum(t) > MXSUM, 140);
    say(sign.known && !sign.closes && e.given(&C::text), -205);
}

template <class Sums>
void apply(Sums& t, const MemberEdit& e) {
    const int sum = next_sum(t), i = add_row(t);
    const SumSign sign = sum_sign(e.card.sign);
    t.bus(i) = e.row;
    t.sign(i) = sign.sign;
    t.sum(i) = sum;
    t.closes(i) = sign.closes;
    if (sign.closes) t.text(i) = e.card.text;
}

/// Row i of the table as a card.
template <class Sums>
[[maybe_unused]] MemberCard card_of(const Run& run, const Sums& t, int i) {
    return {run.store.bus.NOINT(t.bus(i)), sign_letter(t.closes(i), t.sign(i)), t.text(i)};
}

template <class Sums>
void read_sums(Run& run, std::string_view routine, Sums& t) {
    map_bus_rows(run.store);
    const Block<MemberCard> block = {
        .routine = routine,
        .fields = DPGE,
        .operation = {.always = Operation::add},
        .format_error = 150,
        .end_error = 160,
        .locate = [&](Run& r, MemberEdit& e) { locate(r, t, e); },
        .apply = [&](Run&, MemberEdit& e) { apply(t, e); },
        .finish = [&](Run& r) { refuse(r, open_sum(t), -910); },
    };
    read_block(run, block);
}

}  // namespace

void INPPGE(Run& run) { read_sums(run, "INPPGE", run.store.pge); }
void INPQGE(Run& run) { read_sums(run, "INPQGE", run.store.qge); }

}  // namespace korvane
