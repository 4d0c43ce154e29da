// DAGA: a change, in per cent, of the active generation of selected buses.
#include "network/element_selection.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct GenerationCard : SelectionFields {
    double change;  // of 1
};
using C = GenerationCard;
using GenerationEdit = Edit<GenerationCard>;

constexpr Field<GenerationCard> OWN[] = {{51, 56, &C::change, {.unit = Scale::percent}}};
constexpr auto DAGA = with_selection(OWN);
static_assert(well_formed(DAGA));

// Slacks give what the others leave, so only machines that hold a voltage count. A bus that a card has changed stops
// the next one there; the buses before it keep the change.
void apply(Run& run, const GenerationEdit& e, Selection& selection, std::vector<bool>& changed) {
    Store& s = run.store;
    for (int k : selection.buses.in_order()) {
        const int g = s.map.NGADR(k);
        if (g == 0 || std::abs(s.bus.NTYPE(k)) != 2) continue;
        if (refuse(run, changed[std::size_t(k)], 100, k, element::bus)) return;
        s.gen.PGEN(g) *= 1 + e.card.change;
        changed[std::size_t(k)] = true;
    }
}

}  // namespace

void INPAGL(Run& run) {
    map_bus_rows(run.store);
    Selection selection;
    std::vector<bool> changed(std::size_t(run.store.bus.NB) + 1);
    const Block<GenerationCard> block = {
        .routine = "INPAGL",
        .fields = DAGA,
        .operation = {.always = Operation::add},
        .format_error = 110,
        .end_error = 120,
        .locate = [&](Run& r, GenerationEdit& e) { SELCRT(r, e, selection); },
        .apply = [&](Run& r, GenerationEdit& e) { apply(r, e, selection, changed); },
    };
    read_block(run, block);
}

}  // namespace korvane
