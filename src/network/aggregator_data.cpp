// DAGR: aggregators and the groups in them, a block of two kinds of cards.
#include "network/aggregators.hpp"
#include "network/card_forms.hpp"
#include "network/network.hpp"

namespace korvane {

namespace {

struct AggregatorCard {
    int number;  // 1 to 10
    Text<36> description;
};
constexpr Field<AggregatorCard> AGGREGATOR[] = {
    {1, 3, &AggregatorCard::number, {.key = true}},
    {5, 40, &AggregatorCard::description},
};
static_assert(well_formed(AGGREGATOR));

struct GroupCard {
    int id;
    Text<36> description;
};
constexpr Field<GroupCard> GROUP[] = {
    {1, 3, &GroupCard::id, {.key = true}},
    {7, 42, &GroupCard::description, {.key = true}},
};
static_assert(well_formed(GROUP));
constexpr int GROUP_FORMAT = 16;  // row of INPAGR

using GroupEdit = Edit<GroupCard>;

/// The block while it is read.
class AggregatorBlock {
public:
    explicit AggregatorBlock(Run& of) : run(of), s(of.store), a(of.store.agr) {}
    void read();

private:
    Ended read_groups(const AggregatorCard& head, bool good, CardList<GroupCard>& groups);
    void locate(GroupEdit& e);
    void apply(const GroupEdit& e);
    void close_up_groups();

    Run& run;
    Store& s;
    Aggregators& a;
    int k_ = 0;                             // the aggregator whose groups are read; 0: its card was refused
    std::array<int, MXAGR + 1> removed_{};  // groups, by aggregator
};

void AggregatorBlock::locate(GroupEdit& e) {
    const int id = e.card.id;
    auto say = [&](bool wrong, int message) { return refuse(run, wrong, message, id, element::number); };
    if (say(id < 1, 130) || k_ == 0) return;
    e.row = a.row(k_, id);
    if (!e.adds()) {
        say(e.row == 0, 160);
    } else if (!say(e.row != 0, 140)) {
        e.row = a.count(k_) + 1;
        say(e.row > MXAGROW, 150);
    }
}

void AggregatorBlock::apply(const GroupEdit& e) {
    if (k_ == 0) return;
    if (e.removes()) {
        a.NIDGAG(k_)(e.row) = 0;
        ++removed_[std::size_t(k_)];
        return;
    }
    a.count(k_) = std::max(a.count(k_), e.row);
    a.NIDGAG(k_)(e.row) = e.card.id;
    a.DESGAG(k_)(e.row) = e.card.description;
}

/// The groups behind the card of their aggregator, and then its description.
Ended AggregatorBlock::read_groups(const AggregatorCard& head, bool good, CardList<GroupCard>& groups) {
    k_ = good ? head.number : 0;
    Ended ended;
    while ((ended = groups.next()) == Ended::no) {
    }
    if (!good) return ended;
    a.NAGINT(k_) = k_;
    int left = -removed_[std::size_t(k_)];
    left += a.count(k_);
    if (!head.description.blank() || (left == 0 && removed_[std::size_t(k_)] != 0)) a.DESCAG(k_) = head.description;
    return ended;
}

// Rows without an identifier go, and buses and branches follow the others.
void AggregatorBlock::close_up_groups() {
    std::array<std::array<std::uint8_t, MXAGROW + 1>, MXAGR + 1> moved{};
    bool any = false;
    for (int k : rows(MXAGR)) {
        int n = 0;
        for (int i : rows(a.count(k))) {
            if (a.NIDGAG(k)(i) == 0) continue;
            moved[std::size_t(k)][std::size_t(i)] = std::uint8_t(++n);
            a.NIDGAG(k)(n) = a.NIDGAG(k)(i);
            a.DESGAG(k)(n) = a.DESGAG(k)(i);
        }
        a.count(k) = n;
        any = any || removed_[std::size_t(k)] != 0;
    }
    if (!any) return;
    auto follow = [&](AggregatorRows& of) {
        for (int k : rows(MXAGR)) of(k) = moved[std::size_t(k)][of(k)];
    };
    for (int b : rows(s.bus.NB)) follow(s.bus.IAGRBAR(b));
    for (int l : rows(s.branch.NL)) follow(s.branch.IAGRCIR(l));
}

void AggregatorBlock::read() {
    const Block<AggregatorCard> heads = {
        .routine = "INPAGR",
        .fields = AGGREGATOR,
        .operation = {.always = Operation::add},
        .format_error = 110,
        .end_error = 180,
        .locate =
            [](Run& r, Edit<AggregatorCard>& e) {
                const int number = e.card.number;
                refuse(r, number < 1 || number > MXAGR, 100, number, element::number);
            },
        .apply = [](Run&, Edit<AggregatorCard>&) {},
    };
    const Block<GroupCard> groups = {
        .routine = "INPAGR",
        .fields = GROUP,
        .operation = {.column = 5, .letters = "AEM", .refusal = 120},
        .format_error = 170,
        .end_error = 180,
        .locate = [&](Run&, GroupEdit& e) { locate(e); },
        .stored = [&](Run&, const GroupEdit& e) -> GroupCard {
            return {e.card.id, k_ ? a.DESGAG(k_)(e.row) : e.card.description};
        },
        .apply = [&](Run&, GroupEdit& e) { apply(e); },
        .rows = {.echo132 = 17, .echo80 = 18, .guide = 19, .card = GROUP_FORMAT},
        .last_card = "FAGR",
    };
    card_detail::open_block(run, heads.routine);
    CardList<AggregatorCard> head_cards(run, heads);
    CardList<GroupCard> group_cards(run, groups);
    while (head_cards.next() == Ended::no)
        if (read_groups(head_cards.card().card, head_cards.applied(), group_cards) != Ended::last_card) break;
    close_up_groups();
    link_groups(s);
    card_detail::close_block(run);
}

}  // namespace

void clear_aggregators(Store& s) {
    for (int k : rows(MXAGR)) {
        s.agr.NAGINT(k) = k;
        s.agr.DESCAG(k) = "";
        s.agr.count(k) = s.agr.NUMGAG(k) = 0;
    }
}

void link_groups(Store& s) {
    Aggregators& a = s.agr;
    std::array<int, MXAGROW> order;
    for (int k : rows(MXAGR)) {
        HSORT(a.NIDGAG(k).data(), order.data(), a.count(k));
        a.NUMGAG(k) = 0;
        for (int n = a.count(k); n >= 1; --n) {
            const int row = order[std::size_t(n - 1)];
            a.LNKGAG(k)(row) = a.NUMGAG(k);
            a.NUMGAG(k) = row;
        }
    }
}

CardForm aggregator_cards(Run& run) {
    return [printer = CardPrinter<AggregatorCard>(run, "INPAGR", AGGREGATOR)](Run& r, int k) {
        printer.show(r, {k, r.store.agr.DESCAG(k)});
    };
}

GroupForm aggregator_group_cards(Run& run) {
    return [printer = CardPrinter<GroupCard>(run, "INPAGR", GROUP, {}, Implied::point, GROUP_FORMAT)](Run& r, int k,
                                                                                                      int row) {
        printer.show(r, {r.store.agr.NIDGAG(k)(row), r.store.agr.DESGAG(k)(row)});
    };
}

void INPAGR(Run& run) {
    if (!run.opt["INIC"_opt]) return AggregatorBlock(run).read();
    Store& s = run.store;
    run.msg.NERR = 0;
    clear_aggregators(s);
    for (int k : rows(s.bus.NB)) s.bus.IAGRBAR(k) = {};
    for (int l : rows(s.branch.NL)) s.branch.IAGRCIR(l) = {};
}

}  // namespace korvane
