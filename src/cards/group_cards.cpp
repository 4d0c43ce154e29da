// Areas, groups and aggregators of the deck.
#include "cards/pun.hpp"
#include "frame/decimal.hpp"

namespace korvane {

namespace {

/// Rows of a family that the buses of the deck refer to. A block refuses a group or an area that no bus has named.
template <class Of>
std::vector<int> named_rows(const DeckScope& deck, int n, Of&& row_of) {
    std::vector<char> named(std::size_t(n) + 1);
    for (int k : deck.buses()) named[std::size_t(row_of(k))] = true;
    std::vector<int> all;
    for (int i : rows(n))
        if (named[std::size_t(i)]) all.push_back(i);
    return all;
}

bool is_default(double v, double wanted) { return v == wanted || v == double(float(wanted)); }

bool default_limits(const LimitGroupTables& t, int g) {
    return is_default(t.VMIN(g), 0.8) && is_default(t.VMINE(g), 0.8) && is_default(t.VMAX(g), 1.2) &&
           is_default(t.VMAXE(g), 1.2);
}

}  // namespace

void PUNAGR(Run& run, const DeckScope&) {
    const Aggregators& a = run.store.agr;
    const auto has_data = [&](int k) { return a.count(k) > 0 || !a.DESCAG(k).blank(); };
    bool any = false;
    for (int k : rows(MXAGR)) any |= has_data(k);
    if (!any) return;
    const CardForm head = aggregator_cards(run);
    const GroupForm group = aggregator_group_cards(run);
    DeckBlock block(run, "PUNAGR");
    for (int k : rows(MXAGR)) {
        if (!has_data(k)) continue;
        head(run, k);
        block.card();
        for (int row = a.NUMGAG(k); row; row = a.LNKGAG(k)(row)) {
            group(run, k, row);
            block.card();
        }
        block.line("FAGR");
    }
    block.end();
}

void PUNGLT(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    std::vector<int> groups = named_rows(deck, s.glt.NGLT, [&](int k) { return s.bus.NOGLT(k); });
    std::erase_if(groups, [&](int g) { return default_limits(s.glt, g); });
    std::sort(groups.begin(), groups.end(),
              [&](int a, int b) { return s.glt.GLTEN(a).view() < s.glt.GLTEN(b).view(); });
    put_block(run, "PUNGLT", limit_group_cards(run), groups);
}

void PUNGBT(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    std::vector<int> groups = named_rows(deck, s.gbt.NGBT, [&](int k) { return s.bus.NOGBT(k); });
    std::sort(groups.begin(), groups.end(), [&](int a, int b) {
        const double kv_a = s.gbt.BASET(a), kv_b = s.gbt.BASET(b);
        return kv_a != kv_b ? kv_a < kv_b : s.gbt.GBTEN(a).view() < s.gbt.GBTEN(b).view();
    });
    put_block(run, "PUNGBT", base_group_cards(run), groups);
}

void PUNARE(Run& run, const DeckScope& deck) { put_block(run, "PUNARE", area_cards(run), deck.areas()); }

}  // namespace korvane
