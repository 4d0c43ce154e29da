// Reports of the data alone: areas, groups, aggregators, macros and the comment; lists of buses and branches; and
// buses, branches and series devices as their cards have them.
#include "network/branch_rows.hpp"
#include "network/card_forms.hpp"
#include "network/case_comment.hpp"
#include "reports/report_walk.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

// Rows of the blocks of these reports; rows behind them are their own.
enum : int { TITLE = 1, HEADING132 = 2, HEADING80 = 5, ROW132 = 8, ROW80 = 9, OWN = 10 };
constexpr int HEADING_LINES = 3;

/// Rows under a title and a heading, which every page begins with.
class DataReport {
public:
    DataReport(Run& run, std::string_view routine)
        : run_(run), page_((open_report(run, routine), run)), narrow_(page_width(run) == 80) {}

    void new_page() { page_.force(); }
    /// Prints a row, under title(page) when it starts a page. False when the operator wants no more.
    template <class Title>
    bool print(std::span<const Arg> values, Title&& title, int row132 = ROW132, int row80 = ROW80) {
        const int row = narrow_ ? row80 : row132;
        const std::string& format = run_.fmt.rot(row).text();
        if (!page_.fits(1 + int(std::count(format.begin(), format.end(), '/')))) {
            PAGHDR(run_);
            if (!page_.wanted()) return false;
            title(page_);
            const int first = narrow_ ? HEADING80 : HEADING132;
            for (int k = first; k < first + HEADING_LINES; ++k)
                if (!run_.fmt.rot(k).text().empty()) page_.line(k);
        }
        page_.line(row, values);
        return true;
    }
    template <class... V>
    bool row(const V&... values) {
        const Arg args[] = {Arg(values)...};
        return print(args, [](Page& page) { page.line(TITLE); });
    }

private:
    Run& run_;
    Page page_;
    bool narrow_;
};

/// Cards as texts: the columns that the card format of a reader has, but for its operation.
class CardColumns {
public:
    CardColumns(Run& run, std::string_view reader, int operation) {
        for (const FormatRow::Field& f : load_rows(run, reader)[std::size_t(EchoRows{}.card)].fields())
            if (f.column != operation) fields_.push_back(f);
    }
    std::vector<Arg> operator()(const Card& card) const {
        std::vector<Arg> texts;
        texts.reserve(fields_.size());
        for (const FormatRow::Field& f : fields_)
            texts.emplace_back(std::string_view(card.at + f.column - 1, std::size_t(f.width)));
        return texts;
    }

private:
    std::vector<FormatRow::Field> fields_;
};

bool shown(const Store& s, int l) {
    const BranchTables& b = s.branch;
    return b.LINSEL(l) && (s.bus.BUSSEL(b.NFROM(l)) || s.bus.BUSSEL(b.NTO(l)));
}

/// The branches at bus k that are selected, by rising number of the far bus and of the circuit.
std::vector<int> branches_at(const Store& s, int k) {
    const BranchTables& b = s.branch;
    std::vector<int> all;
    if (b.NL == 0) return all;
    for (int p = s.adr.LINPTR(k); p < s.adr.LINPTR(k + 1); ++p)
        if (const int l = s.adr.LINADR(p); b.LINSEL(l)) all.push_back(l);
    const auto key = [&](int l) { return std::pair(s.bus.NOINT(b.NFROM(l) == k ? b.NTO(l) : b.NFROM(l)), b.NCIR(l)); };
    std::sort(all.begin(), all.end(), [&](int l, int m) { return key(l) < key(m); });
    return all;
}

/// Every branch of the report once: at its from bus, or where the report does not go there at its to bus. f(l, bus)
/// returns false to end.
template <class F>
void each_branch(const Run& run, F&& f) {
    const Store& s = run.store;
    const std::vector<int> buses = report_walk(run);
    std::vector<char> walked(std::size_t(s.bus.NB) + 1);
    for (int k : buses) walked[std::size_t(k)] = true;
    for (int k : buses)
        for (int l : branches_at(s, k)) {
            const int from = s.branch.NFROM(l);
            if ((from == k || !walked[std::size_t(from)]) && !f(l, k)) return;
        }
}

/// What the reports of buses, branches and devices differ in.
struct CardReport {
    std::string_view routine, reader;
    int operation;  // column of the card
    CardForm (*form)(Run&);
};
constexpr CardReport BUSES{"OUTDBA", "INPBUS", 6, bus_cards};
constexpr CardReport BRANCHES{"OUTDLI", "INPLIN", 8, branch_cards};
constexpr CardReport DEVICES{"OUTDSC", "INPCSC", 7, series_device_cards};

/// Prints rows of the store as their cards have them, by islands and areas: each starts a page.
class CardPages {
public:
    CardPages(Run& run, const CardReport& of)
        : run_(run), columns_(run, of.reader, of.operation), form_(of.form(run)), report_(run, of.routine) {}

    /// The row stands at bus k, 0 for a page of selected buses.
    bool print(int row, int k) {
        constexpr int ISLAND = OWN, SELECTED = OWN + 1;
        const Store& s = run_.store;
        const int area = k ? int(s.bus.IAREA(k)) : 0;
        const int island = k && run_.opt["ILHA"_opt] ? int(s.ilh.NOILHA2(k)) : 0;
        if (area != area_ || island != island_) report_.new_page();
        area_ = area;
        island_ = island;
        form_(run_, row);
        return report_.print(columns_(run_.CARD), [&](Page& page) {
            if (island) page.line(ISLAND, island);
            if (area)
                page.line(TITLE, s.area.NAINT(area), s.area.ARNAME(area));
            else
                page.line(SELECTED);
        });
    }
    void new_page() { report_.new_page(); }

private:
    Run& run_;
    CardColumns columns_;
    CardForm form_;
    DataReport report_;
    int area_ = 0, island_ = 0;
};

/// f(k) for each bus that selection lines name, up to the line that ends the selection; a page for each line. f
/// returns false to end.
template <class F>
void each_selected(Run& run, std::string_view prompt, CardPages& pages, F&& f) {
    std::vector<int> list;
    for (;;) {
        SELBAR(run, prompt, list);
        pages.new_page();
        for (int k : list)
            if (k == END_OF_SELECTION || !f(k)) return;
    }
}

/// Generators of a list by the number of their buses, those of selected buses.
template <class List>
void print_generators(Run& run, std::string_view routine, const List& list) {
    const Store& s = run.store;
    std::vector<char> listed(std::size_t(s.bus.NB) + 1);
    for (int i : rows(list.n)) listed[std::size_t(s.gen.NOGEN(list.row(i)))] = true;
    DataReport report(run, routine);
    for (int k : report_walk(run))
        if (listed[std::size_t(k)] &&
            !report.row(s.bus.NOINT(k), s.bus.BNAME(k), s.area.NAINT(s.bus.IAREA(k)), IBTYP(s.bus.NTYPE(k))))
            return;
}

}  // namespace

// --- areas and groups

void OUTARE(Run& run) {
    const AreaTables& t = run.store.area;
    DataReport report(run, "OUTARE");
    for (int i : rows(t.NAREA)) {
        const int a = run.store.adr.NAORD(i);
        const double base = run.cte.BASE;
        if (t.ARESEL(a) &&
            !report.row(t.NAINT(a), t.EXCMIN(a) * base, t.AREINT(a) * base, t.EXCMAX(a) * base, t.ARNAME(a)))
            return;
    }
}

void OUTGLT(Run& run) {
    const LimitGroupTables& t = run.store.glt;
    DataReport report(run, "OUTGLT");
    for (int g : rows(t.NGLT))
        if (!report.row(t.GLTEN(g), t.VMIN(g), t.VMAX(g), t.VMINE(g), t.VMAXE(g))) return;
}

void OUTGBT(Run& run) {
    const BaseGroupTables& t = run.store.gbt;
    std::vector<int> groups;
    for (int g : rows(t.NGBT)) groups.push_back(g);
    std::stable_sort(groups.begin(), groups.end(), [&](int a, int b) { return t.BASET(a) < t.BASET(b); });
    DataReport report(run, "OUTGBT");
    for (int g : groups)
        if (!report.row(t.GBTEN(g), t.BASET(g))) return;
}

void OUTAGR(Run& run) {
    constexpr int HEAD = OWN;
    const Aggregators& a = run.store.agr;
    DataReport report(run, "OUTAGR");
    const auto title = [](Page& page) { page.line(TITLE); };
    for (int k : rows(MXAGR)) {
        if (a.count(k) == 0 && a.DESCAG(k).blank()) continue;
        const Arg head[] = {a.NAGINT(k), a.DESCAG(k)};
        if (!report.print(head, title, HEAD, HEAD)) return;
        for (int row = a.NUMGAG(k); row; row = a.LNKGAG(k)(row))
            if (!report.row(a.NIDGAG(k)(row), a.DESGAG(k)(row))) return;
    }
}

// --- the session

void OUTMAC(Run& run) {
    constexpr int CONTINUED = OWN;
    constexpr std::size_t OPTIONS_ON_A_LINE = 10;
    DataReport report(run, "OUTMAC");
    const auto title = [](Page& page) { page.line(TITLE); };
    for (const Macro& m : run.ctl.macros) {
        std::vector<Arg> line = {m.name, std::string_view(run.ctl.codes[std::size_t(m.code - 1)].code, 4)};
        std::size_t on_line = 0;
        bool first = true;
        const auto flush = [&] {
            const bool go_on = first ? report.print(line, title) : report.print(line, title, CONTINUED, CONTINUED);
            first = false;
            on_line = 0;
            line.clear();
            return go_on;
        };
        for (int option : m.options) {
            if (on_line == OPTIONS_ON_A_LINE && !flush()) return;
            line.emplace_back(OPTION(option));
            ++on_line;
        }
        if (!flush()) return;
    }
}

void OUTCMT(Run& run) {
    DataReport report(run, "OUTCMT");
    for (const std::string& line : comment_lines(run.store))
        for (std::size_t at = 0; at <= line.size(); at += COMMENT_WIDTH)
            if ((at == 0 || at < line.size()) && !report.row(line.substr(at, COMMENT_WIDTH))) return;
}

// --- as on cards

void OUTDBA(Run& run) {
    CardPages pages(run, BUSES);
    for (int k : report_walk(run))
        if (!pages.print(k, k)) return;
}

void SELDBA(Run& run) {
    CardPages pages(run, BUSES);
    each_selected(run, "RELDBA", pages, [&](int k) { return pages.print(k, 0); });
}

void OUTDLI(Run& run) {
    CardPages pages(run, BRANCHES);
    each_branch(run, [&](int l, int k) { return run.store.branch.LTYPE(l) == 5 || pages.print(l, k); });
}

void SELDLI(Run& run) {
    const Store& s = run.store;
    CardPages pages(run, BRANCHES);
    each_selected(run, "RELDLI", pages, [&](int k) {
        const std::vector<int> at = branches_at(s, k);
        return std::all_of(at.begin(), at.end(), [&](int l) { return s.branch.LTYPE(l) == 5 || pages.print(l, 0); });
    });
}

void OUTDSC(Run& run) {
    const BranchTables& b = run.store.branch;
    CardPages pages(run, DEVICES);
    each_branch(run, [&](int l, int k) { return b.LTYPE(l) != 5 || pages.print(b.LITRF(l), k); });
}

// --- lists

void OUTFCR(Run& run) { print_generators(run, "OUTFCR", run.store.fcr); }
void OUTFQL(Run& run) { print_generators(run, "OUTFQL", run.store.fql); }

void OUTSLP(Run& run) {
    const Store& s = run.store;
    DataReport report(run, "OUTSLP");
    for (int i : rows(s.slp.NSLP)) {
        const int k = s.slp.NOSLP(i);
        if (s.bus.BUSSEL(k) && !report.row(s.slp.IPRSLP(i), s.bus.NOINT(k), s.bus.BNAME(k))) return;
    }
}

void OUTTPF(Run& run) {
    const Store& s = run.store;
    const BranchTables& b = s.branch;
    DataReport report(run, "OUTTPF");
    for (int i : rows(s.tpf.n)) {
        const int l = s.tpf.row(i), t = tap_row(s, l), k = b.NFROM(l), m = b.NTO(l);
        if (t && shown(s, l) &&
            !report.row(s.bus.NOINT(k), s.bus.BNAME(k), s.bus.NOINT(m), s.bus.BNAME(m), b.NCIR(l), 1 / s.tap.TAP(t)))
            return;
    }
}

void OUTTVF(Run& run) {
    constexpr int PHASE = OWN;
    const Store& s = run.store;
    const BranchTables& b = s.branch;
    DataReport report(run, "OUTTVF");
    const auto title = [](Page& page) { page.line(TITLE); };
    each_branch(run, [&](int l, int) {
        const int t = tap_row(s, l), p = phase_row(s, l);
        const int from = s.bus.NOINT(b.NFROM(l)), to = s.bus.NOINT(b.NTO(l));
        if (t && s.tap.NTTVF(t) != 0 &&
            !report.row(from, to, b.NCIR(l), s.tap.VMNTVF(t), s.tap.VMXTVF(t), s.tap.TVFLIM(t) ? "L" : "C",
                        s.tap.FTPDIS(t) ? "D" : "C"))
            return false;
        if (b.LTYPE(l) != 6) return true;
        constexpr int POWER = 2;  // KONPHS
        const double scale = s.phs.KONPHS(p) == POWER ? run.cte.BASE : 1;
        const int measured = s.phs.NBEPHS(p) ? s.bus.NOINT(s.phs.NBEPHS(p)) : 0;
        const std::string_view letter =
            std::string_view("FIP ").substr(std::size_t(std::clamp(s.phs.KONPHS(p), 0, 3)), 1);
        const Arg control[] = {from,
                               to,
                               b.NCIR(l),
                               s.phs.PHSMIN(p) * DEGREES,
                               s.phs.PHSMAX(p) * DEGREES,
                               letter,
                               s.phs.VSPPHS(p) * scale,
                               measured,
                               s.phs.NPHSTP(p)};
        return report.print(control, title, PHASE, PHASE);
    });
}

void OUTLEN(Run& run) {
    const Store& s = run.store;
    const BranchTables& b = s.branch;
    DataReport report(run, "OUTLEN");
    each_branch(run, [&](int l, int) {
        const int k = b.NFROM(l), m = b.NTO(l);
        return report.row(s.bus.NOINT(k), s.bus.BNAME(k), s.bus.NOINT(m), s.bus.BNAME(m), b.NCIR(l), b.VFNENRG(l),
                          b.VFXENRG(l), b.VTNENRG(l), b.VTXENRG(l));
    });
}

}  // namespace korvane
