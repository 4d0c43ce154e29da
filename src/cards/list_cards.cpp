// Lists of the deck: what controls leave out or hold, what is monitored, what reports show.
#include "cards/range_list.hpp"
#include "network/branch_rows.hpp"

namespace korvane {

namespace {

/// Cards of five branches, in the order of the list.
template <class List>
void put_branches(
    Run& run, std::string_view routine, const DeckScope& deck, const List& list,
    bool (*fits)(int ltype) = [](int) { return true; }) {
    const BranchTables& b = run.store.branch;
    const BranchListForm form = branch_list_cards(run);
    DeckBlock block(run, routine);
    std::vector<int> on_card;
    const auto flush = [&] {
        if (on_card.empty()) return;
        form(run, on_card);
        block.card();
        on_card.clear();
    };
    for (int i : rows(list.n)) {
        const int l = list.row(i);
        if (!fits(b.LTYPE(l)) || (!deck.has_bus(b.NFROM(l)) && !deck.has_bus(b.NTO(l)))) continue;
        on_card.push_back(l);
        if (on_card.size() == BRANCHES_ON_A_CARD) flush();
    }
    flush();
    block.end();
}

/// A list of generators as a set of buses; those that the block would take count.
template <class List>
void put_generators(Run& run, std::string_view routine, const DeckScope& deck, const List& list,
                    const std::vector<char>& taken) {
    const GeneratorTables& t = run.store.gen;
    MarkedBuses set(run);
    for (int g : rows(t.NG))
        if (taken[std::size_t(g)]) set.counts[std::size_t(t.NOGEN(g))] = true;
    for (int i : rows(list.n)) set.marked[std::size_t(t.NOGEN(list.row(i)))] = true;
    DeckBlock block(run, routine);
    put_marked_buses(run, block, deck, set);
    block.end();
}

std::vector<char> all_generators(const Run& run) { return std::vector<char>(std::size_t(run.store.gen.NG) + 1, 1); }

}  // namespace

void PUNSLP(Run& run, const DeckScope& deck) {
    const AlternativeSlackTables& t = run.store.slp;
    if (t.NSLP == 0) return;
    std::vector<int> slacks;
    for (int i : rows(t.NSLP))
        if (deck.has_bus(t.NOSLP(i))) slacks.push_back(i);
    put_block(run, "PUNSLP", substitute_slack_cards(run), slacks);
}

// A tap that the control of its phase shifter has taken over is none that the block takes.
void PUNTPF(Run& run, const DeckScope& deck) {
    put_branches(run, "PUNTPF", deck, run.store.tpf, [](int ltype) { return ltype == 3 || ltype == 4; });
}

void PUNFCR(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    std::vector<char> remote(std::size_t(s.gen.NG) + 1);
    for (int r : rows(s.rcb.NRCB)) remote[std::size_t(s.rcb.ICB(r))] = true;
    put_generators(run, "PUNFCR", deck, s.fcr, remote);
}

void PUNFQL(Run& run, const DeckScope& deck) {
    put_generators(run, "PUNFQL", deck, run.store.fql, all_generators(run));
}

void PUNMTE(Run& run, const DeckScope& deck) {
    const MonitoredBuses& list = run.store.mtb;
    if (list.n == 0) return;
    MarkedBuses set(run);
    std::fill(set.counts.begin(), set.counts.end(), char(1));
    for (int i : rows(list.n)) set.marked[std::size_t(list.row(i))] = true;
    DeckBlock block(run, "PUNMTE");
    put_marked_buses(run, block, deck, set);
    block.end();
}

void PUNMGR(Run& run, const DeckScope& deck) {
    if (run.store.mtg.n > 0) put_generators(run, "PUNMGR", deck, run.store.mtg, all_generators(run));
}

void PUNMFL(Run& run, const DeckScope& deck) {
    if (run.store.mtl.n > 0) put_branches(run, "PUNMFL", deck, run.store.mtl);
}

void PUNFCT(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    std::vector<BusRef> bus(std::size_t(s.rcb.NRCB));
    for (int r : rows(s.rcb.NRCB)) bus[std::size_t(r - 1)] = s.gen.NOGEN(s.rcb.ICB(r));
    const CardForm of_generator = generator_share_cards(run), of_tap = tap_share_cards(run);
    DeckBlock block(run, "PUNFCT");
    const auto put = [&](const CardForm& form, int row, double share) {
        if (share == 1) return;
        form(run, row);
        block.card();
    };
    for (int r : deck.rows_at(s.rcb.NRCB, bus.data())) put(of_generator, r, s.rcb.FARCT(r));
    for (int l : deck.branches())
        if (const int t = tap_row(s, l)) put(of_tap, t, s.tap.FATRF(t));
    block.end();
}

void PUNTVF(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    const CardForm band = tap_band_cards(run), phase = phase_control_cards(run);
    DeckBlock block(run, "PUNTVF");
    const auto put = [&](const CardForm& form, int row) {
        form(run, row);
        block.card();
    };
    for (int l : deck.branches()) {
        if (const int t = tap_row(s, l); t && s.tap.NTTVF(t) != 0) put(band, t);
        if (s.branch.LTYPE(l) == 6) put(phase, s.branch.LITRF(l));
    }
    block.end();
}

void PUNREL(Run& run, const DeckScope& deck) {
    constexpr int BEHIND_WORD = 5;  // columns
    const BusTables& b = run.store.bus;
    MarkedBuses set(run);
    std::fill(set.counts.begin(), set.counts.end(), char(1));
    for (int k : rows(b.NB)) set.marked[std::size_t(k)] = !b.BUSSEL(k);
    DeckBlock block(run, "PUNREL");
    put_marked_buses(run, block, deck, set, "SUPR", shifted(SELECTION_COLUMNS, BEHIND_WORD));
    block.end();
}

void PUNBRE(Run& run, const DeckScope& deck) {
    const AreaTables& t = run.store.area;
    DeckBlock block(run, "PUNBRE");
    block.open();  // the reader begins with all areas shown
    std::vector<int> numbers;
    const auto flush = [&] {
        if (numbers.empty()) return;
        show_area_numbers(run, numbers);
        block.card();
        numbers.clear();
    };
    for (int a : deck.areas()) {
        if (t.ARESEL(a)) continue;
        numbers.push_back(t.NAINT(a));
        if (numbers.size() == AREAS_ON_A_CARD) flush();
    }
    flush();
    block.end();
}

void PUNLEN(Run& run, const DeckScope& deck) {
    if (run.store.branch.NL == 0) return;
    std::vector<int> branches = deck.branches();
    std::erase_if(branches, [&](int l) { return end_limits_at_defaults(run, l); });
    put_block(run, "PUNLEN", end_limit_cards(run), branches);
}

}  // namespace korvane
