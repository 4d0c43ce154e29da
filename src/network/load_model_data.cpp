// DCAR: load models of the buses that a selection names.
#include "network/card_forms.hpp"
#include "network/drop_row.hpp"
#include "network/element_selection.hpp"
#include "network/network.hpp"
#include "network/shown_value.hpp"

namespace korvane {

namespace {

struct LoadModelCard : SelectionFields {
    int ipfla, ipflb;  // per cent of PLOAD at constant current, at constant impedance
    int iqfla, iqflb;  // the same of QLOAD
    double vminz;      // below this voltage all load is constant impedance, pu
};
using C = LoadModelCard;
using LoadModelEdit = Edit<LoadModelCard>;

// What a change card leaves blank stays as it is on each bus, so its columns stay blank.
constexpr Field<LoadModelCard> OWN[] = {
    {53, 55, &C::ipfla, {.zero_is_none = true}},
    {57, 59, &C::ipflb, {.zero_is_none = true}},
    {61, 63, &C::iqfla, {.zero_is_none = true}},
    {65, 67, &C::iqflb, {.zero_is_none = true}},
    {69, 73, &C::vminz, {.unit = Scale::percent, .zero_is_none = true}},
};
constexpr auto DCAR = with_selection(OWN);
static_assert(well_formed(DCAR));

constexpr int LIMIT_COLUMNS = 5;

/// The reader of load models while it reads a block.
class LoadModelBlock {
public:
    explicit LoadModelBlock(Run& of);

    void locate(LoadModelEdit& e);
    void check(LoadModelEdit& e);
    void apply(LoadModelEdit& e);
    void finish();

private:
    void add(const LoadModelCard& c, int k);
    void remove(int k);
    void modify(const LoadModelEdit& e, int k);
    bool loaded(int k) const { return s.bus.PLOAD(k) != 0 || s.bus.QLOAD(k) != 0; }
    int& row_of(int k) { return row_[std::size_t(k)]; }

    Run& run;
    Store& s;
    LoadModelTables& t;
    Selection selection_;
    std::vector<int> row_;  // model row, 0 for none; by bus
    bool full_ = false, changed_ = false;
};

LoadModelBlock::LoadModelBlock(Run& of) : run(of), s(of.store), t(s.fld), row_(std::size_t(s.bus.NB) + 1) {
    for (int n : rows(t.NFLD)) row_of(t.NOFLD(n)) = n;
}

// Every rule of the card alone. The rest depends on the bus.
void LoadModelBlock::locate(LoadModelEdit& e) {
    const LoadModelCard& c = e.card;
    const bool model =
        e.given(&C::ipfla) || e.given(&C::ipflb) || e.given(&C::iqfla) || e.given(&C::iqflb) || e.given(&C::vminz);
    refuse(run, e.removes() && model, 102);
    refuse(run, e.modifies() && !model, 103);
    SELCRT(run, e, selection_);
    if (!e.removes()) {
        refuse(run, c.ipfla > 100, 100);
        refuse(run, c.ipflb > 100, 110);
        refuse(run, c.iqfla > 100, 120);
        refuse(run, c.iqflb > 100, 130);
        refuse(run, c.ipfla + c.ipflb > 100, 140);
        refuse(run, c.iqfla + c.iqflb > 100, 150);
        refuse(run, e.given(&C::vminz) && c.vminz <= 0, 160);
    }
    if (run.msg.errors_wait()) e.op = Operation::failed;
}

void LoadModelBlock::check(LoadModelEdit& e) {
    if (!e.adds()) return;
    for (auto share : {&C::ipfla, &C::ipflb, &C::iqfla, &C::iqflb}) e.supply(share, 0);
    e.supply(&C::vminz, shown_value(100 * run.cte.VFLD, LIMIT_COLUMNS) * 0.01);
}

void LoadModelBlock::apply(LoadModelEdit& e) {
    for (int k : selection_.buses.in_order()) {
        if (e.removes()) {
            if (row_of(k)) remove(k);
        } else if (loaded(k)) {
            if (e.adds())
                add(e.card, k);
            else
                modify(e, k);
            if (e.modifies() && run.msg.NERQ >= Messages::QUEUE) break;
        }
    }
    if (run.msg.any_wait()) e.op = Operation::failed;
}

void LoadModelBlock::add(const LoadModelCard& c, int k) {
    if (refuse(run, row_of(k) != 0, 165, k, element::bus) || full_) return;
    full_ = refuse(run, t.NFLD >= MXFLD, 170);
    if (full_) return;
    const int n = row_of(k) = add_row(t);
    t.NOFLD(n) = k;
    t.IPFLA(n) = c.ipfla;
    t.IPFLB(n) = c.ipflb;
    t.IQFLA(n) = c.iqfla;
    t.IQFLB(n) = c.iqflb;
    t.VMINZ(n) = c.vminz;
    if (run.opt["MDEF"_opt] && s.sol.CONVSTAT == 1) s.bus.FVOLT(k) = s.bus.VOLT(k);
    changed_ = true;
}

void LoadModelBlock::remove(int k) {
    row_of(t.NOFLD(t.NFLD)) = row_of(k);
    drop_row(t, row_of(k));
    row_of(k) = 0;
    changed_ = true;
}

void LoadModelBlock::modify(const LoadModelEdit& e, int k) {
    const int n = row_of(k);
    if (refuse(run, n == 0, 823, k, element::bus)) return;
    auto value = [&](int C::*field, int stored) { return e.given(field) ? e.card.*field : stored; };
    const int a = value(&C::ipfla, t.IPFLA(n)), b = value(&C::ipflb, t.IPFLB(n));
    const int c = value(&C::iqfla, t.IQFLA(n)), d = value(&C::iqflb, t.IQFLB(n));
    refuse(run, a + b > 100, 140, k, element::bus);
    refuse(run, c + d > 100, 150, k, element::bus);
    if (run.msg.errors_wait()) return;
    t.IPFLA(n) = a;
    t.IPFLB(n) = b;
    t.IQFLA(n) = c;
    t.IQFLB(n) = d;
    if (e.given(&C::vminz)) t.VMINZ(n) = e.card.vminz;
    changed_ = true;
}

void LoadModelBlock::finish() {
    if (changed_) s.sol.CONVSTAT = 0;
}

}  // namespace

LoadModelForm load_model_cards(Run& run) {
    constexpr int OPERATION = 51;
    return [printer = CardPrinter<LoadModelCard>(run, "INPCAR", DCAR)](Run& r, int n, std::span<const int> buses) {
        const LoadModelTables& t = r.store.fld;
        printer.show(r, {select_buses(buses), t.IPFLA(n), t.IPFLB(n), t.IQFLA(n), t.IQFLB(n), t.VMINZ(n)});
        r.CARD.at[OPERATION - 1] = 'A';
    };
}

void INPCAR(Run& run) {
    LoadModelBlock block(run);
    const Block<LoadModelCard> description = {
        .routine = "INPCAR",
        .fields = DCAR,
        .operation = {.column = 51, .letters = "AEM", .refusal = 104, .words = 11, .letters_only = true},
        .format_error = 180,
        .end_error = 190,
        .locate = [&](Run&, LoadModelEdit& e) { block.locate(e); },
        .stored = [](Run&, const LoadModelEdit& e) { return e.card; },
        .check = [&](Run&, LoadModelEdit& e) { block.check(e); },
        .apply = [&](Run&, LoadModelEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
        .rows = {.guide = 15},
    };
    read_block(run, description);
}

}  // namespace korvane
