// Series devices, static compensators, shunt banks, automatic shunts and islands of frequency control in the deck.
#include "cards/pun.hpp"

namespace korvane {

void PUNCSC(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    if (s.csc.NCSC == 0) return;
    std::vector<int> devices;
    for (int l : deck.branches())
        if (s.branch.LTYPE(l) == 5) devices.push_back(s.branch.LITRF(l));
    put_block(run, "PUNCSC", series_device_cards(run), devices);
}

void PUNCER(Run& run, const DeckScope& deck) {
    const CompensatorTables& t = run.store.cer;
    put_block(run, "PUNCER", compensator_cards(run), deck.rows_at(t.NCER, t.NBECER.data(), t.IGCER.data()));
}

namespace {

// A group may not control a bus that has groups under control already, but these may come behind it: so groups that
// control other buses go first, along the chain of control.
std::vector<int> control_depths(const Store& s) {
    const BankTables& t = s.bsh;
    std::vector<int> controls(std::size_t(s.bus.NB) + 1), depth(std::size_t(t.NBSH) + 1);
    for (int g : rows(t.NBSH))
        if (t.MCBSH(g) != 0) controls[std::size_t(t.NOBSH(g))] = t.NOBCS(g);
    for (int g : rows(t.NBSH)) {
        if (t.MCBSH(g) == 0) continue;
        int& d = depth[std::size_t(g)];
        for (int k = t.NOBSH(g); d < t.NBSH; ++d) {
            const int next = controls[std::size_t(k)];
            if (next == 0 || next == k || controls[std::size_t(next)] == 0) break;
            k = next;
        }
    }
    return depth;
}

/// Groups of the deck in an order in which they can be read: on buses, then on ends of branches.
std::vector<int> bank_groups(const Store& s, const DeckScope& deck) {
    const BankTables& t = s.bsh;
    std::vector<int> groups;
    std::vector<std::array<int, 2>> at_end(std::size_t(s.branch.NL) + 1);
    for (int g : deck.rows_at(t.NBSH, t.NOBSH.data())) {
        if (const int l = t.IDCIR(g); l == 0)
            groups.push_back(g);
        else
            at_end[std::size_t(l)][t.NOBSH(g) == s.branch.NFROM(l) ? 0 : 1] = g;
    }
    for (int l : deck.branches())
        for (int g : at_end[std::size_t(l)])
            if (g) groups.push_back(g);
    const std::vector<int> depth = control_depths(s);
    std::stable_sort(groups.begin(), groups.end(),
                     [&](int g, int h) { return depth[std::size_t(g)] > depth[std::size_t(h)]; });
    return groups;
}

}  // namespace

void PUNBSH(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    if (s.bsh.NBSH == 0) return;
    const CardForm group = bank_group_cards(run), unit = bank_unit_cards(run);
    DeckBlock block(run, "PUNBSH");
    for (int g : bank_groups(s, deck)) {
        group(run, g);
        block.card();
        for (int i = s.adr.IPBSH(g); i; i = s.adr.LNKBS(i)) {
            unit(run, i);
            block.card();
        }
        block.line("FBAN");
    }
    block.end();
}

// Those that stand for groups of banks come with the banks.
void PUNSCA(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    std::vector<char> of_banks(std::size_t(s.sca.NSCA) + 1);
    for (int b : rows(s.bsh.NBSH)) of_banks[std::size_t(s.bsh.IPSCA(b))] = true;
    std::vector<int> shunts;
    for (int i : rows(s.sca.NSCA))
        if (!of_banks[std::size_t(i)] && deck.has_bus(s.sca.NBUSSCA(i))) shunts.push_back(i);
    put_block(run, "PUNSCA", automatic_shunt_cards(run), shunts);
}

void PUNILH(Run& run, const DeckScope& deck) {
    const FrequencyTables& t = run.store.frq;
    std::vector<int> islands;
    for (int i : rows(t.NFRP))
        if (deck.has_bus(t.NREFRP(i))) islands.push_back(i);
    put_block(run, "PUNILH", frequency_cards(run), islands);
}

}  // namespace korvane
