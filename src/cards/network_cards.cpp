// Buses and branches of the deck, and what the blocks of generators, line shunts, load models and injections add.
#include <map>

#include "cards/pun.hpp"
#include "network/element_selection.hpp"
#include "network/individual_records.hpp"

namespace korvane {

namespace {

constexpr int LIST_CODE = 3;  // row of PUNBUS and PUNLIN

/// With FLIV a block is one of lists, without a ruler, as a list has no columns.
void put_lists(Run& run, std::string_view routine, const ListForm& form, const std::vector<int>& rows_in_order) {
    DeckBlock block(run, routine, LIST_CODE, 0);
    std::string text;
    for (int row : rows_in_order) {
        text.clear();
        form(run, row, text);
        block.line(text);
    }
    block.end();
}

}  // namespace

void PUNBUS(Run& run, const DeckScope& deck) {
    if (run.opt["FLIV"_opt])
        put_lists(run, "PUNBUS", bus_lists(run), deck.buses());
    else
        put_block(run, "PUNBUS", bus_cards(run), deck.buses());
}

void PUNLIN(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    if (s.branch.NL <= s.csc.NCSC) return;
    std::vector<int> branches = deck.branches();
    std::erase_if(branches, [&](int l) { return s.branch.LTYPE(l) == 5; });  // series devices have a block of their own
    if (run.opt["FLIV"_opt])
        put_lists(run, "PUNLIN", branch_lists(run), branches);
    else
        put_block(run, "PUNLIN", branch_cards(run), branches);
}

void PUNGEN(Run& run, const DeckScope& deck) {
    const GeneratorTables& t = run.store.gen;
    std::vector<int> generators = deck.rows_at(t.NG, t.NOGEN.data());
    std::erase_if(generators, [&](int g) { return generator_at_defaults(run, g); });
    put_block(run, "PUNGEN", generator_cards(run), generators);
}

void PUNSHL(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    if (s.shl.NSHL == 0) return;
    std::vector<int> shunts;
    for (int l : deck.branches())
        if (s.branch.LTYPE(l) == 0 && s.branch.LITRF(l) != 0) shunts.push_back(s.branch.LITRF(l));
    if (run.opt["INDV"_opt]) {
        const IndividualRecords individual(s);
        std::erase_if(shunts, [&](int n) { return !individual.line_shunts_stay(n); });
        if (shunts.empty()) return;
    }
    put_block(run, "PUNSHL", line_shunt_cards(run), shunts);
}

// Buses of like models share a card, four at most, in the order of the first of them.
void PUNFLD(Run& run, const DeckScope& deck) {
    const Store& s = run.store;
    const LoadModelTables& t = s.fld;
    const LoadModelForm form = load_model_cards(run);
    DeckBlock block(run, "PUNFLD");
    using Model = std::tuple<int, int, int, int, double>;
    std::map<Model, std::size_t> known;
    std::vector<std::vector<int>> alike;
    for (int n : deck.rows_at(t.NFLD, t.NOFLD.data())) {
        const Model model{t.IPFLA(n), t.IPFLB(n), t.IQFLA(n), t.IQFLB(n), t.VMINZ(n)};
        const auto [at, fresh] = known.emplace(model, alike.size());
        if (fresh) alike.emplace_back();
        alike[at->second].push_back(n);
    }
    std::vector<int> buses;
    for (const std::vector<int>& models : alike) {
        for (int n : models) {
            buses.push_back(s.bus.NOINT(t.NOFLD(n)));
            if (buses.size() < SELECTED_ONE_BY_ONE && n != models.back()) continue;
            form(run, n, buses);
            block.card();
            buses.clear();
        }
    }
    block.end();
}

void PUNINJ(Run& run, const DeckScope& deck) {
    const InjectionTables& t = run.store.eqv;
    if (t.NEQV == 0) return;
    put_block(run, "PUNINJ", injection_cards(run), deck.rows_at(t.NEQV, t.NOEQV.data()));
}

}  // namespace korvane
