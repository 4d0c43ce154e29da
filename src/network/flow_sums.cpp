// DFTB: sums of the flows of branches, for the tables of reports.
#include "frame/card_block.hpp"
#include "network/branch_ends.hpp"
#include "network/network.hpp"
#include "network/sums.hpp"

namespace korvane {

namespace {

constexpr int LIMITS = 7;

struct FlowCard {
    int first, second, circuit;  // the flow is measured at the first bus
    char sign;
    Text<12> text1, text2;
    char all;                                                       // "*": all limits are the first
    double limit1, limit2, limit3, limit4, limit5, limit6, limit7;  // MVA
};
using C = FlowCard;
using FlowEdit = Edit<FlowCard>;

constexpr Field<FlowCard> DFTB[] = {
    {1, 5, &C::first, {.key = true}},
    {7, 11, &C::second, {.key = true}},
    {13, 14, &C::circuit, {.add = "1", .key = true}},
    {16, 16, &C::sign},
    {18, 29, &C::text1},
    {30, 41, &C::text2},
    {43, 43, &C::all},
    {45, 48, &C::limit1, {.zero_is_none = true}},
    {50, 53, &C::limit2, {.zero_is_none = true}},
    {55, 58, &C::limit3, {.zero_is_none = true}},
    {60, 63, &C::limit4, {.zero_is_none = true}},
    {65, 68, &C::limit5, {.zero_is_none = true}},
    {70, 73, &C::limit6, {.zero_is_none = true}},
    {75, 78, &C::limit7, {.zero_is_none = true}},
};
static_assert(well_formed(DFTB));

constexpr double C::*LIMIT[LIMITS] = {&C::limit1, &C::limit2, &C::limit3, &C::limit4,
                                      &C::limit5, &C::limit6, &C::limit7};
constexpr EndMessages ENDS = {100, 110, 140, 150, 160};

/// Whether the last member of the table waits for others.
bool open_sum(const FlowMemberTables& t) { return t.NLTB > 0 && t.sum(t.NLTB) == 0; }

void find_branch(Run& run, FlowEdit& e) {
    const FlowCard& c = e.card;
    const bool given = e.given(&C::circuit), numbers = check_end_numbers(run, c.first, c.second, ENDS);
    bool circuit = !refuse(run, given && c.circuit < 0, 120, c.first, element::bus_number);
    circuit &= !refuse(run, given && c.circuit == 0, 130, c.first, element::bus_number);
    if (!numbers) return;
    const CardEnds ends = find_ends(run, c.first, c.second, ENDS);
    if (!ends.found || !circuit) return;
    e.row = FNDLIN(run, ends.first, ends.second, given ? c.circuit : 1).branch;
    refuse(run, e.row == 0, 170, c.first, element::bus_number);
}

void locate(Run& run, FlowEdit& e) {
    find_branch(run, e);
    const Store& s = run.store;
    const FlowCard& c = e.card;
    const SumSign sign = sum_sign(c.sign);
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, c.first, element::bus_number); };
    say(!sign.known, 190);
    say(c.sign == ' ' && open_sum(s.ltb), 200);
    say(s.ltb.NLTB >= MXLTB || (sign.closes && s.ftb.NFTB >= MXFTB), 210);
    const bool limits = std::any_of(std::begin(LIMIT), std::end(LIMIT), [&](auto field) { return e.given(field); });
    const bool said = e.given(&C::text1) || e.given(&C::text2) || e.given(&C::all) || limits;
    say(sign.known && !sign.closes && said, -205);
}

void check(Run& run, FlowEdit& e) {
    const FlowCard& c = e.card;
    if (refuse(run, c.all != '*' && c.all != ' ', 180, c.first, element::bus_number) || c.all == ' ') return;
    for (auto field : LIMIT)
        if (field != &C::limit1) e.amend(field, c.limit1);
}

void apply(Run& run, FlowEdit& e) {
    Store& s = run.store;
    const FlowCard& c = e.card;
    const SumSign sign = sum_sign(c.sign);
    const int i = add_row(s.ltb);
    s.ltb.IPLTB(i) = e.row;
    s.ltb.ISLTB(i) = s.bus.NOINT(s.branch.NTO(e.row)) == c.first;
    s.ltb.sign(i) = sign.sign;
    if (!sign.closes) return;
    const int sum = add_row(s.ftb);
    s.ftb.TXFTB1(sum) = c.text1;
    s.ftb.TXFTB2(sum) = c.text2;
    for (int k = 0; k < LIMITS; ++k) s.ftb.CNFTB(sum)[std::size_t(k)] = c.*LIMIT[k];
    for (int member = i; member > 0 && s.ltb.sum(member) == 0; --member) s.ltb.sum(member) = sum;
}

/// Member i as a card; the last member of a sum has its texts and limits.
[[maybe_unused]] FlowCard card_of(const Run& run, int i) {
    const Store& s = run.store;
    const FlowMemberTables& t = s.ltb;
    const int l = t.IPLTB(i), sum = t.sum(i);
    const bool closes = sum != 0 && (i == t.NLTB || t.sum(i + 1) != sum);
    FlowCard c{};
    c.first = s.bus.NOINT(t.ISLTB(i) ? s.branch.NTO(l) : s.branch.NFROM(l));
    c.second = s.bus.NOINT(t.ISLTB(i) ? s.branch.NFROM(l) : s.branch.NTO(l));
    c.circuit = s.branch.NCIR(l);
    c.sign = sign_letter(closes, t.sign(i));
    c.all = ' ';
    c.text1 = c.text2 = "";
    if (!closes) return c;
    c.text1 = s.ftb.TXFTB1(sum);
    c.text2 = s.ftb.TXFTB2(sum);
    for (int k = 0; k < LIMITS; ++k) c.*LIMIT[k] = s.ftb.CNFTB(sum)[std::size_t(k)];
    return c;
}

}  // namespace

void INPTFL(Run& run) {
    const Block<FlowCard> block = {
        .routine = "INPTFL",
        .fields = DFTB,
        .operation = {.always = Operation::add},
        .format_error = 220,
        .end_error = 240,
        .locate = locate,
        .check = check,
        .apply = apply,
        .finish = [](Run& r) { refuse(r, open_sum(r.store.ltb), -910); },
    };
    read_block(run, block);
}

}  // namespace korvane
