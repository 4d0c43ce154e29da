// What of the network goes into the deck, and in which order.
#include "cards/pun.hpp"

namespace korvane {

DeckScope::DeckScope(const Run& run) : DeckScope(run, true) {}

DeckScope DeckScope::selected(const Run& run) { return DeckScope(run, false); }

DeckScope::DeckScope(const Run& run, bool whole)
    : s(run.store), whole_(whole), bus_(std::size_t(s.bus.NB) + 1), area_(std::size_t(s.area.NAREA) + 1) {
    buses_.reserve(std::size_t(s.bus.NB));
    for (int i : rows(s.bus.NB)) {
        const int k = s.adr.NOORD(i);
        if (!whole && !s.bus.BUSSEL(k)) continue;
        bus_[std::size_t(k)] = true;
        // An area out of the selection may have buses in it, when an island is selected.
        if (whole || s.area.ARESEL(s.bus.IAREA(k))) area_[std::size_t(s.bus.IAREA(k))] = true;
        buses_.push_back(k);
    }
}

std::vector<int> DeckScope::areas() const {
    std::vector<int> all;
    for (int i : rows(s.area.NAREA))
        if (const int a = s.adr.NAORD(i); has_area(a)) all.push_back(a);
    return all;
}

std::vector<int> DeckScope::branches() const {
    const BranchTables& b = s.branch;
    std::vector<int> all;
    all.reserve(std::size_t(b.NL));
    if (b.NL == 0) return all;
    for (int i : rows(s.bus.NB)) {
        const int k = s.adr.NOORD(i);
        const auto first = std::ptrdiff_t(all.size());
        for (int p = s.adr.LINPTR(k); p < s.adr.LINPTR(k + 1); ++p)
            if (const int l = s.adr.LINADR(p); b.NFROM(l) == k && (has_bus(k) || has_bus(b.NTO(l)))) all.push_back(l);
        std::sort(all.begin() + first, all.end(), [&](int l, int m) {
            const int far_l = s.bus.NOINT(b.NTO(l)), far_m = s.bus.NOINT(b.NTO(m));
            return far_l != far_m ? far_l < far_m : b.NCIR(l) < b.NCIR(m);
        });
    }
    return all;
}

std::vector<int> DeckScope::rows_at(int n, const BusRef* bus, const int* number) const {
    // Rows of each bus as a chain in their own order.
    std::vector<int> head(std::size_t(s.bus.NB) + 1), link(std::size_t(n) + 1), all;
    for (int i = n; i >= 1; --i) link[std::size_t(i)] = std::exchange(head[std::size_t(bus[i - 1])], i);
    all.reserve(std::size_t(n));
    for (int k : buses_) {
        const auto first = std::ptrdiff_t(all.size());
        for (int i = head[std::size_t(k)]; i; i = link[std::size_t(i)]) all.push_back(i);
        if (number && std::ptrdiff_t(all.size()) > first + 1)
            std::stable_sort(all.begin() + first, all.end(),
                             [&](int i, int j) { return number[i - 1] < number[j - 1]; });
    }
    return all;
}

void put_block(Run& run, std::string_view routine, const CardForm& form, const std::vector<int>& rows_in_order) {
    DeckBlock block(run, routine);
    for (int row : rows_in_order) {
        form(run, row);
        block.card();
    }
    block.end();
}

}  // namespace korvane
