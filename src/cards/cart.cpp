// CART: the deck as a whole, block by block.
#include "cards/cards.hpp"
#include "cards/pun.hpp"
#include "network/kept_rows.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

// Fixed rows: title and end of the deck, in the deck and on the report. Rows of CART: its comments.
constexpr int DECK_TITLE = 18, DECK_END = 19, REPORT_TITLE = 20, REPORT_END = 21;
constexpr int AREA_COMMENT = 1;

bool always(const Run&) { return true; }
template <int... Slot>
bool done(const Run& run) {
    return (run.ctl.KNTRL[std::size_t(Slot)] || ...);
}

/// One block of the deck and its condition.
struct DeckRow {
    void (*put)(Run&, const DeckScope&);
    bool (*wanted)(const Run&) = always;
    bool of_the_whole = false;  // not with AREA
};

bool load_models(const Run& run) { return done<5>(run) && !run.opt["INDV"_opt]; }
bool fixed_taps(const Run& run) { return done<87>(run) || run.store.tpf.count() > 0; }
bool individual(const Run& run) { return run.opt["INDV"_opt]; }

/// The electrical blocks, in the order in which they can be read. Blocks that no reader has yet have their places here:
/// DCTG behind DMFL; DELO, DCBA, DCLI, DCNV, DCCV behind DREL; DVCO, DCUR, DRES behind DINJ; DVSA behind DMOT.
constexpr DeckRow ELECTRICAL[] = {
    {PUNAGR},
    {PUNOPT, done<41>},
    {PUNCTE, done<9>, true},
    {PUNBUS, done<1>},
    {PUNSLP, done<127>},
    {PUNLIN, done<2>},
    {PUNCSC, done<37>},
    {PUNCAI, done<100>},
    {PUNGEI, done<102>},
    {PUNBSH, done<99>},
    {PUNSHL, done<21>},
    {PUNGEN, done<3>},
    {PUNFLD, load_models},
    {PUNCER, done<82>},
    {PUNSCA, done<97>},
    {PUNTVF, done<94, 124>},
    {PUNGLT, done<6>},
    {PUNARE, done<4>},
    {PUNTPF, fixed_taps},
    {PUNFCR, done<89>},
    {PUNFQL, done<90>},
    {PUNMTE, done<38>},
    {PUNMGR, done<39>},
    {PUNMFL, done<40>},
    {PUNFCT, done<10>},
    {PUNREL, done<7>},
    {PUNBRE, done<11>},
    {PUNINJ, done<17>},
    {PUNMOT, done<34>},
    {PUNILH, done<132>},
};

/// The blocks that GRAF writes too; DAVR has its place behind DGBT.
constexpr DeckRow FOR_GRAPHICS[] = {
    {PUNGBT, done<36>}, {PUNCMT}, {PUNLEN, done<104>}, {individual_records, individual}};

void put_blocks(Run& run, const DeckScope& deck, std::span<const DeckRow> blocks) {
    for (const DeckRow& block : blocks)
        if (block.wanted(run) && (deck.whole() || !block.of_the_whole)) block.put(run, deck);
}

/// The lines of a fixed row to the deck, and those of its twin to the report.
void put_fixed(Run& run, int deck_row, int report_row, std::initializer_list<Arg> values) {
    std::string text;
    run.fmt.fix(deck_row).write(text, {values.begin(), values.size()});
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::string_view line(text.data() + at, end - at);
        line = line.substr(0, line.find_last_not_of(' ') + 1);
        write_card(run, line);
        at = end + 1;
    }
    if (!run.opt["IMPR"_opt] || run.pag.KEYANS != ' ') return;
    if (run.pag.NLINE >= run.pag.LPP) PAGHDR(run);
    if (run.pag.KEYANS == ' ') run.pag.NLINE += print_fix(run, report_row, values);
}

void put_title(Run& run) {
    if (run.opt["GRAF"_opt]) return;
    if (run.opt["AREA"_opt]) {
        std::string comment;
        load_rows(run, "CART")[AREA_COMMENT].write(comment, {});
        write_card(run, comment);
    }
    run.pag.NLINE = run.pag.LPP;
    put_fixed(run, DECK_TITLE, REPORT_TITLE, {run.TITLE});
}

/// What the line asks for. The selection that reports go by, which is part of the data, is as before afterwards.
/// Nothing after an error in the list of areas.
std::optional<DeckScope> scope(Run& run) {
    if (!run.opt["AREA"_opt] && !run.opt["ILHA"_opt]) return DeckScope(run);
    const KeptSelection selection(run.store);
    if (run.opt["ILHA"_opt]) search_islands(run);
    if (!OPAREA(run)) return {};
    return DeckScope::selected(run);
}

}  // namespace

void CART(Run& run) {
    run.pag.PAUSOK = false;
    run.pag.NEWPAG = true;
    run.pag.KEYANS = ' ';
    // Contingencies alone: a case without any has no such deck, and no reader of contingencies is there yet.
    if (run.opt["CTGS"_opt]) return PAGWAI(run);
    const std::optional<DeckScope> deck = scope(run);
    if (deck) {
        put_title(run);
        if (!run.opt["GRAF"_opt]) put_blocks(run, *deck, ELECTRICAL);
        put_blocks(run, *deck, FOR_GRAPHICS);
        put_fixed(run, DECK_END, REPORT_END, {});
    }
    PAGWAI(run);
    if (!deck) INTERR(run);
}

}  // namespace korvane
