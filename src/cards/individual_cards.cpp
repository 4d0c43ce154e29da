// What stands behind a bus in the deck: motors, individual loads, individual generators, and the data of bus cards as
// such records.
#include "cards/pun.hpp"
#include "network/individual_records.hpp"

namespace korvane {

void PUNMOT(Run& run, const DeckScope& deck) {
    const MotorTables& t = run.store.mot;
    if (t.NMOT == 0) return;
    put_block(run, "PUNMOT", motor_cards(run), deck.rows_at(t.NMOT, t.NOMOT.data(), t.IDEGM.data()));
}

void PUNCAI(Run& run, const DeckScope& deck) {
    const IndividualLoadTables& t = run.store.cai;
    if (t.NCAI == 0) return;
    put_block(run, "PUNCAI", individual_load_cards(run), deck.rows_at(t.NCAI, t.NOCAI.data(), t.IDEGC.data()));
}

void PUNGEI(Run& run, const DeckScope& deck) {
    const IndividualGeneratorTables& t = run.store.gei;
    if (t.NGEI == 0) return;
    put_block(run, "PUNGEI", individual_generator_cards(run), deck.rows_at(t.NGEI, t.NOGEI.data(), t.IDGEI.data()));
}

namespace {

void put_loads(Run& run, const DeckScope& deck, const IndividualRecords& individual) {
    const BusTables& b = run.store.bus;
    std::vector<int> buses = deck.buses();
    std::erase_if(buses, [&](int k) { return (b.PLOAD(k) == 0 && b.QLOAD(k) == 0) || individual.load_stays(k); });
    if (!buses.empty()) put_block(run, "PUNCAI", bus_load_cards(run), buses);
}

/// Shunts of buses, then those of the ends of lines, that go out as banks.
std::vector<FixedShunt> fixed_shunts(const Store& s, const DeckScope& deck, const IndividualRecords& individual) {
    std::vector<FixedShunt> all;
    const auto add = [&](int k, int l, double value, bool live) {
        const int g = individual.bank(k, l);
        all.push_back({k, l, g, individual.free_number(g), value, live});
    };
    for (int n : deck.rows_at(s.sht.NSHT, s.sht.NOSHT.data()))
        if (const int k = s.sht.NOSHT(n); !individual.shunt_stays(k)) add(k, 0, s.sht.SHUNT(n), true);
    for (int l : deck.branches()) {
        const int n = s.branch.LTYPE(l) == 0 ? s.branch.LITRF(l) : 0;
        if (n == 0 || individual.line_shunts_stay(n)) continue;
        if (s.shl.SHLFR(n) != 0) add(s.branch.NFROM(l), l, s.shl.SHLFR(n), s.shl.STSHLD(n));
        if (s.shl.SHLTO(n) != 0) add(s.branch.NTO(l), l, s.shl.SHLTO(n), s.shl.STSHLP(n));
    }
    return all;
}

void put_shunts(Run& run, const DeckScope& deck, const IndividualRecords& individual) {
    const std::vector<FixedShunt> shunts = fixed_shunts(run.store, deck, individual);
    if (shunts.empty()) return;
    const FixedShuntForm group = fixed_shunt_group_cards(run), unit = fixed_shunt_unit_cards(run);
    DeckBlock block(run, "PUNBSH");
    for (const FixedShunt& shunt : shunts) {
        group(run, shunt);
        block.card();
        unit(run, shunt);
        block.card();
        block.line("FBAN");
    }
    block.end();
}

// A bus whose units are known keeps them alone.
void put_generators(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    std::vector<char> has_units(std::size_t(s.gen.NG) + 1);
    for (int i : rows(s.gei.NGEI)) has_units[std::size_t(s.gei.NOGGEI(i))] = true;
    std::vector<int> generators = deck.rows_at(s.gen.NG, s.gen.NOGEN.data());
    std::erase_if(generators, [&](int g) { return has_units[std::size_t(g)] != 0; });
    if (!generators.empty()) put_block(run, "PUNGEI", generator_unit_cards(run), generators);
}

}  // namespace

void individual_records(Run& run, const DeckScope& deck) {
    const IndividualRecords individual(run.store);
    put_loads(run, deck, individual);
    put_shunts(run, deck, individual);
    put_generators(run, deck);
}

}  // namespace korvane
