// The bus report, in full and in the short form of linear solutions, by areas and by selection lines.
#include "frame/decimal.hpp"
#include "powerflow/powerflow.hpp"
#include "reports/report_walk.hpp"
#include "reports/reports.hpp"

namespace korvane {

BusRow bus_row(const Store& s, const BusElements& elements, int k, double base) {
    const int g = s.map.NGADR(k), h = s.map.NSADR(k), group = s.bus.NOGBT(k);
    const BusElements::Sums& sum = elements(k);
    const int e = sum.injection;
    const double v = s.bus.VOLT(k), v2 = v * v;
    BusRow r{};
    r.number = s.bus.NOINT(k);
    r.name = s.bus.BNAME(k);
    r.type = IBTYP(s.bus.NTYPE(k));
    r.in_service = s.bus.STBUS(k);
    r.base_kv = group ? s.gbt.BASET(group) : 0.0;
    r.v = v;
    r.angle = s.bus.ANGLE(k) * DEGREES;
    if (g) {
        r.p_gen = s.gen.PGEN(g) * base;
        r.q_gen = s.gen.QGEN(g) * base;
        r.participation = s.gen.FGEN(g);
    }
    if (e) {
        r.p_equivalent = s.eqv.PMAT(e) * base;
        r.q_equivalent = s.eqv.QMAT(e) * base;
        r.share = s.eqv.FMAT(e) * 100.0;
        r.equivalent_shunt = s.eqv.FSH(e) * v2 * base;
    }
    r.p_load = sum.p_load * base;
    r.q_load = sum.q_load * base;
    r.p_link = sum.p_link * base;
    r.q_link = sum.q_link * base;
    r.shunt = ((h ? s.sht.SHUNT(h) : 0.0) + sum.bank) * v2 * base;
    r.p_motor = sum.p_motor * base;
    r.q_motor = sum.q_motor * base;
    r.compensator = sum.compensator * base;
    r.line_shunts = sum.line_shunt * v2 * base;
    return r;
}

namespace {

// Rows of blocks OUTBUS and OUTBML.
enum : int {
    ISLAND = 1,
    AREA = 2,
    SELECTED = 3,
    HEADING80 = 4,   // to 6
    HEADING132 = 7,  // to 9
    ROW132 = 10,
    ROW132_WIDE = 11,  // the same with room for -10000 and below in the narrow columns
    DEVICES132 = 12,
    ROW80 = 13,
    ROW80_SECOND = 14,
    DEVICES80 = 15,
    IN_SERVICE = 16,
    OUT_OF_SERVICE = 17,
};
constexpr int HEADING_LINES = 3;

/// Rounds away what the page cannot show, so that no zero has a sign: mismatches leave such crumbs everywhere.
double tenths(double v) { return std::abs(v) < 0.05 ? 0.0 : v; }
double hundredths(double v) { return std::abs(v) < 0.005 ? 0.0 : v; }

bool has_devices(const BusRow& r) { return tenths(r.compensator) != 0.0 || tenths(r.line_shunts) != 0.0; }

std::string_view state_text(const Run& run, const BusRow& r) {
    return run.fmt.rot(r.in_service ? IN_SERVICE : OUT_OF_SERVICE).text();
}

/// The base voltage rounded to whole kV, five columns; blank without a group.
struct BaseText {
    char at[5];
    explicit BaseText(double kv) {
        std::memset(at, ' ', sizeof at);
        if (kv > 0.0) put_integer(at, 5, std::llround(std::min(kv, 1e6)));
    }
    std::string_view view() const { return {at, sizeof at}; }
};

/// One of the two forms of the report: where its rows are, how many lines a bus takes, how they are printed.
struct Form {
    std::string_view block;
    int heading80, heading132;  // first rows of the headings
    int (*lines)(bool narrow, const BusRow&);
    void (*print)(Run&, Page&, bool narrow, const BusRow&);
};

void print_wide(Run& run, Page& page, const BusRow& r) {
    const double narrowest = std::min({r.shunt, r.equivalent_shunt, r.p_motor, r.q_motor});
    page.line(narrowest > -9999.95 ? ROW132 : ROW132_WIDE, r.number, r.name, r.type, r.v, hundredths(r.angle),
              tenths(r.p_gen), tenths(r.q_gen), tenths(r.p_equivalent), tenths(r.q_equivalent), tenths(r.p_load),
              tenths(r.q_load), tenths(r.p_link), tenths(r.q_link), tenths(r.shunt), tenths(r.equivalent_shunt),
              tenths(r.p_motor), tenths(r.q_motor), state_text(run, r));
    if (has_devices(r)) page.line(DEVICES132, tenths(r.compensator), tenths(r.line_shunts));
}

void print_narrow(Run& run, Page& page, const BusRow& r) {
    page.line(ROW80, r.number, BaseText(r.base_kv).view(), r.type, r.v, tenths(r.p_gen), tenths(r.p_equivalent),
              tenths(r.participation), tenths(r.p_load), tenths(r.p_link), tenths(r.shunt), tenths(r.p_motor),
              state_text(run, r));
    page.line(ROW80_SECOND, r.name, hundredths(r.angle), tenths(r.q_gen), tenths(r.q_equivalent), tenths(r.share),
              tenths(r.q_load), tenths(r.q_link), tenths(r.equivalent_shunt), tenths(r.q_motor));
    if (has_devices(r)) page.line(DEVICES80, tenths(r.compensator), tenths(r.line_shunts));
}

constexpr Form FULL{"OUTBUS", HEADING80, HEADING132,
                    [](bool narrow, const BusRow& r) { return (narrow ? 2 : 1) + has_devices(r); },
                    [](Run& run, Page& page, bool narrow, const BusRow& r) {
                        narrow ? print_narrow(run, page, r) : print_wide(run, page, r);
                    }};

/// After a linear solution: voltages are 1 and reactive power has no meaning, so one narrow row serves both widths.
constexpr Form LINEAR{"OUTBML", HEADING80, HEADING80, [](bool, const BusRow&) { return 1; },
                      [](Run& run, Page& page, bool, const BusRow& r) {
                          page.line(ROW80, r.number, r.name, r.type, hundredths(r.angle), tenths(r.p_gen),
                                    tenths(r.p_equivalent), tenths(r.p_load), tenths(r.p_link), tenths(r.p_motor),
                                    state_text(run, r));
                      }};

/// Prints buses, with a heading on each page.
class BusPrinter {
public:
    BusPrinter(Run& run, const Form& form)
        : run_(run),
          form_(form),
          page_((open_report(run, form.block), run)),
          narrow_(run.opt["80CO"_opt]),
          elements_(run.store) {
        map_bus_rows(run.store);
    }
    void new_page() { page_.force(); }

    /// Prints the bus, under heading() when it starts a page. False when the operator wants no more.
    template <class Heading>
    bool print(int k, Heading&& heading) {
        const BusRow r = bus_row(run_.store, elements_, k, run_.cte.BASE);
        if (!page_.fits(form_.lines(narrow_, r))) {
            PAGHDR(run_);
            if (!page_.wanted()) return false;
            heading(page_);
            const int first = narrow_ ? form_.heading80 : form_.heading132;
            for (int row = first; row < first + HEADING_LINES; ++row) page_.line(row);
        }
        form_.print(run_, page_, narrow_, r);
        return true;
    }

private:
    Run& run_;
    const Form& form_;
    Page page_;
    bool narrow_;
    BusElements elements_;
};

/// The report by islands and areas: each starts a page, and one without a bus to print shows nothing.
void print_by_area(Run& run, const Form& form) {
    const Store& s = run.store;
    const bool islands = run.opt["ILHA"_opt];
    BusPrinter printer(run, form);
    int island = 0, area = 0;
    for (int k : report_walk(run)) {
        const int of_island = islands ? int(s.ilh.NOILHA2(k)) : 0, of_area = s.bus.IAREA(k);
        if (of_island != island || of_area != area) printer.new_page();
        island = of_island;
        area = of_area;
        const bool go_on = printer.print(k, [&](Page& page) {
            if (islands) page.line(ISLAND, island);
            page.line(AREA, s.area.NAINT(area), s.area.ARNAME(area));
        });
        if (!go_on) return;
    }
}

/// The report of the buses named on selection lines, up to the line that ends the selection.
void print_by_selection(Run& run, const Form& form) {
    BusPrinter printer(run, form);
    std::vector<int> list;
    for (;;) {
        SELBAR(run, "RELBAR", list);
        printer.new_page();
        for (int k : list) {
            if (k == END_OF_SELECTION) return;
            if (!printer.print(k, [](Page& page) { page.line(SELECTED); })) return;
        }
    }
}

}  // namespace

void OUTBUS(Run& run) { print_by_area(run, FULL); }
void SELBUS(Run& run) { print_by_selection(run, FULL); }
void OUTBML(Run& run) { print_by_area(run, LINEAR); }
void SELBML(Run& run) { print_by_selection(run, LINEAR); }

}  // namespace korvane
