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
    std::erase_if(buses,
                  [&](int k) { return (b.PLOAD(k) == 0 && b.QLOAD(k) == 0) || individual.load_stays[std::size_t(k)]; });
    if (!buses.empty()) put_block(run, "PUNCAI", bus_load_cards(run), buses);
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
    put_generators(run, deck);
}

}  // namespace korvane
