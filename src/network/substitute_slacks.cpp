// DSLP: generator buses that may become the slack of an island without one, by priority.
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/placed_rows.hpp"

namespace korvane {

namespace {

struct SlackCard {
    int bus;
    int priority;  // the lowest number is asked first
};
using C = SlackCard;
using SlackEdit = Edit<SlackCard>;

constexpr Field<SlackCard> DSLP[] = {
    {1, 5, &C::bus, {.key = true}},
    {9, 13, &C::priority, {.key = true}},
};
static_assert(well_formed(DSLP));

/// The block while it is read.
struct SlackBlock {
    explicit SlackBlock(Store& s) : list(s.slp, s.bus.NB), slack(std::size_t(s.gen.NG) + 1) {
        for (int r : rows(s.slk.NSLK)) slack[std::size_t(s.slk.NGSLK(r))] = true;
    }
    PlacedRows<AlternativeSlackTables, &AlternativeSlackTables::NOSLP> list;
    std::vector<bool> slack;  // by generator row
};

void locate(Run& run, SlackEdit& e, const SlackBlock& block) {
    const int number = e.card.bus;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, number, element::bus_number); };
    if (say(e.modifies(), 100) || say(number < 1, 110)) return;
    const int k = e.row = bus_of(run.store, number);
    if (say(k == 0, 120)) return;
    const int g = run.store.map.NGADR(k);
    if (say(g == 0, 130)) return;
    const bool listed = block.list.has(k), slack = block.slack[std::size_t(g)];
    if (e.removes()) {
        say(!listed, 160);
        say(slack, 170);
        return;
    }
    const bool room = listed || !block.list.full();
    say(listed, 140);
    say(slack, 150);
    say(!room, 180);
    say(e.card.priority < 1, 190);
}

void apply(Run& run, const SlackEdit& e, SlackBlock& block) {
    if (e.removes())
        block.list.remove(e.row);
    else
        run.store.slp.IPRSLP(block.list.add(e.row)) = e.card.priority;
}

// Rising priority; rows of equal priority keep their order.
void order_list(Run& run) {
    AlternativeSlackTables& t = run.store.slp;
    struct Row {
        BusRef bus;
        int priority;
        bool used;
    };
    std::vector<Row> list;
    for (int i : rows(t.NSLP)) list.push_back({t.NOSLP(i), t.IPRSLP(i), t.SLPUSO(i)});
    std::stable_sort(list.begin(), list.end(), [](const Row& a, const Row& b) { return a.priority < b.priority; });
    for (int i : rows(t.NSLP)) {
        const Row& row = list[std::size_t(i - 1)];
        t.NOSLP(i) = row.bus;
        t.IPRSLP(i) = row.priority;
        t.SLPUSO(i) = row.used;
    }
}

/// Row i of the list as a card.
SlackCard card_of(const Run& run, int i) {
    const Store& s = run.store;
    return {s.bus.NOINT(s.slp.NOSLP(i)), s.slp.IPRSLP(i)};
}

}  // namespace

CardForm substitute_slack_cards(Run& run) { return card_form<SlackCard>(run, "INPSLP", DSLP, card_of); }

void INPSLP(Run& run) {
    map_bus_rows(run.store);
    SlackBlock block(run.store);
    const Block<SlackCard> description = {
        .routine = "INPSLP",
        .fields = DSLP,
        .operation = {.column = 7, .letters = "AE ", .refusal = 100},
        .format_error = 270,
        .end_error = 280,
        .locate = [&](Run& r, SlackEdit& e) { locate(r, e, block); },
        .apply = [&](Run& r, SlackEdit& e) { apply(r, e, block); },
        .finish = order_list,
    };
    read_block(run, description);
}

}  // namespace korvane
