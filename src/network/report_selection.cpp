// DREL: which buses and branches the reports show, and DBRE: areas that they leave out.
#include "frame/decimal.hpp"
#include "network/card_forms.hpp"
#include "network/element_selection.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

struct ReportCard : SelectionFields {
    Text<4> word;  // "IMPR" show, "SUPR" leave out
};
using C = ReportCard;
using ReportEdit = Edit<ReportCard>;

constexpr Field<ReportCard> WORD[] = {{1, 4, &C::word, {.letters = Letters::upper}}};
constexpr SelectionColumns COLUMNS = {6, 11, 17, 19, 24, 30, 32, 37, 43, 45, 50};
constexpr auto DREL = with_selection(WORD, COLUMNS);
static_assert(well_formed(DREL));

void locate(Run& run, ReportEdit& e, Selection& selection) {
    refuse(run, e.card.word != "IMPR" && e.card.word != "SUPR", 100);
    SELCRT(run, e, selection);
}

void apply(Run& run, const ReportEdit& e, const Selection& selection) {
    Store& s = run.store;
    const bool show = e.card.word == "IMPR";
    bool changed = false;
    auto select = [&](auto& selected, const PositionSet& those) {
        for (int i : those.members()) {
            changed = changed || selected(i) != show;
            selected(i) = show;
        }
    };
    select(s.bus.BUSSEL, selection.buses);
    select(s.branch.LINSEL, selection.branches);
    refuse(run, !changed, -900);
}

/// Whether something is not selected.
bool narrowed(const Store& s) {
    for (int k : rows(s.bus.NB))
        if (!s.bus.BUSSEL(k)) return true;
    for (int l : rows(s.branch.NL))
        if (!s.branch.LINSEL(l)) return true;
    return false;
}

/// An area is selected when one of its buses is.
void select_areas(Store& s) {
    s.area.ARESEL.fill(s.area.NAREA, false);
    for (int k : rows(s.bus.NB))
        if (const int a = s.bus.IAREA(k); a != 0 && s.bus.BUSSEL(k)) s.area.ARESEL(a) = true;
}

void finish(Run& run) {
    run.ctl.returned[0] = narrowed(run.store);
    select_areas(run.store);
    if (!run.units.interactive()) return;
    MSGOUT(run);
    run.msg.NERR = 0;  // the operator has seen them, and can give the cards again
}

}  // namespace

void INPREL(Run& run) {
    Store& s = run.store;
    if (run.opt["ELIM"_opt]) {
        run.msg.NERR = 0;
        s.bus.BUSSEL.fill(s.bus.NB, true);
        s.branch.LINSEL.fill(s.branch.NL, true);
        s.area.ARESEL.fill(s.area.NAREA, true);
        run.ctl.returned[0] = 0;
        return;
    }
    Selection selection;
    const Block<ReportCard> block = {
        .routine = "INPREL",
        .fields = DREL,
        .operation = {.always = Operation::add},
        .format_error = 140,
        .end_error = 150,
        .locate = [&](Run& r, ReportEdit& e) { locate(r, e, selection); },
        .apply = [&](Run& r, ReportEdit& e) { apply(r, e, selection); },
        .finish = finish,
    };
    read_block(run, block);
}

// --- DBRE

namespace {

constexpr int AREA_WIDTH = 3, AREA_PERIOD = 4;

/// Prints one area of the card as the card of a block is printed: its number and name, and its messages under it.
void echo_area(Run& run, std::string_view number, int area) {
    if (!run.opt["IMPR"_opt] && !run.msg.any_wait()) return;
    using namespace card_detail;
    constexpr Slot SHOWN[] = {{1, AREA_WIDTH, 0, Kind::text, 0, AREA_WIDTH, 1, 0, nullptr},
                              {5, 36, 0, Kind::text, 0, 36, 1, 0, nullptr}};
    run.CARD = number;
    if (area) std::memcpy(run.CARD.at + SHOWN[1].first - 1, run.store.area.ARNAME(area).at, 36);
    echo(run, EchoRows{}, SHOWN, OperationColumn{}, Operation::modify);
}

void leave_out(Run& run, int number, std::string_view columns) {
    AreaTables& t = run.store.area;
    int area = 0;
    if (!refuse(run, number < 1, 100, number, element::number)) {
        area = LOCINT(t.NAINT, t.NAREA, number);
        if (!refuse(run, area == 0, 110, number, element::number)) t.ARESEL(area) = false;
    }
    echo_area(run, columns, area);
}

/// The numbers of the card in CARD; a card with something else applies nothing.
void take_areas(Run& run) {
    std::array<Text<AREA_WIDTH>, AREAS_ON_A_CARD> columns;
    std::array<int, AREAS_ON_A_CARD> number{};
    for (std::size_t i = 0; i < columns.size(); ++i) {
        columns[i] = run.CARD.view().substr(i * AREA_PERIOD, AREA_WIDTH);
        RJUST(columns[i].at, AREA_WIDTH);
        if (get_integer(columns[i], number[i])) continue;
        refuse(run, true, 130);
        return echo_area(run, columns[i], 0);
    }
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (number[i] != 0) leave_out(run, number[i], columns[i]);
}

}  // namespace

void show_area_numbers(Run& run, std::span<const int> numbers) {
    assert(numbers.size() <= AREAS_ON_A_CARD);
    run.CARD = std::string_view("");
    for (std::size_t i = 0; i < numbers.size(); ++i) put_integer(run.CARD.at + i * AREA_PERIOD, AREA_WIDTH, numbers[i]);
}

void INPBRE(Run& run) {
    run.store.area.ARESEL.fill(run.store.area.NAREA, true);
    card_detail::open_block(run, "INPBRE");
    card_detail::Reader reader(run, {}, false, 0);
    for (;;) {
        if (refuse(run, !reader.next(), 120) || reader.end_card()) break;
        take_areas(run);
    }
    card_detail::close_block(run);
}

}  // namespace korvane
