// What part of the network reports show: lists of areas, islands and groups, and selection lines of buses.
#include "frame/card_text.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

constexpr int LONG_LINE = -1;  // message common to all cards: text behind the last column
constexpr int UNKNOWN = -900;  // a number in a list that names nothing

// --- lists of numbers: 19 fields of three columns, "+" in column 77 for another card

constexpr int LIST_FIELDS = 19, LIST_WIDTH = 3, LIST_MORE = 77;
constexpr int LIST_CARD = 1, LIST_PROMPT = 2, ISLAND_PROMPT = 3;  // rows of OPAREA and OPAGRE
using List = std::array<int, LIST_FIELDS>;

/// The line of RELA does not go to the log, and so neither does what it reads.
void log_selection(Run& run, std::string_view line) {
    constexpr int RELA = 24, CART = 25;
    if (run.ctl.ICODE != RELA && run.ctl.ICODE != CART) log_line(run, line);
}

/// The numbers of CARD; false when a field holds none.
bool read_list(Run& run, List& list) {
    std::array<Target, LIST_FIELDS> targets = [&]<std::size_t... I>(std::index_sequence<I...>) {
        return std::array<Target, LIST_FIELDS>{Target(&list[I])...};
    }
    (std::make_index_sequence<LIST_FIELDS>{});
    for (int i = 0; i < LIST_FIELDS; ++i) RJUST(run.CARD.at + i * LIST_WIDTH, LIST_WIDTH);
    return run.fmt.rot(LIST_CARD).read(run.CARD.view(), targets);
}

/// Reads cards up to the end of the list and hands each to take(list, continued), which tells whether the card makes
/// sense. A batch run reads one card and those that continue it; an operator goes on until the list is ended.
template <class Take>
bool read_lists(Run& run, int prompt, Take&& take) {
    const bool operated = run.units.interactive();
    bool good = true, continued = false;
    for (bool more = true; more;) {
        if (operated) print_console(run, run.fmt.rot(prompt), {});
        std::string_view line;
        if (!read_line(run, line)) {
            good = !refuse(run, true, 130);
            break;
        }
        log_selection(run, line);
        if (blank(line) || line[0] == '(') continue;
        if (line.size() > run.CARD.view().size() && !blank(line.substr(run.CARD.view().size())))
            refuse(run, true, LONG_LINE);
        run.CARD = line;
        const std::string_view card = run.CARD;
        if (blank(card.substr(0, LIST_WIDTH)) || card.substr(0, 5) == "99999") break;
        const bool plus = card[LIST_MORE - 1] == '+';
        List list{};
        if (!read_list(run, list) || !take(list, continued)) {
            if (operated) continue;
            good = !refuse(run, true, 100);
            break;
        }
        MSGOUT(run);
        continued = plus;
        more = plus || operated;
    }
    MSGOUT(run);
    return good;
}

void open_list(Run& run, std::string_view routine) {
    LDFORM(run, routine);
    run.pag.NEWPAG = true;
    run.pag.NLINE = run.pag.LPP;
    if (run.opt["CONT"_opt]) run.pag.PAUSAT = false;
    Store& s = run.store;
    s.bus.BUSSEL.fill(s.bus.NB, false);
    s.area.ARESEL.fill(s.area.NAREA, false);
}

bool select_area(Store& s, int number) {
    const int area = LOCINT(s.area.NAINT, s.area.NAREA, number);
    if (area == 0) return false;
    s.area.ARESEL(area) = true;
    for (int k = s.adr.IPAREA(area); k != 0; k = s.adr.IAREAL(k)) s.bus.BUSSEL(k) = true;
    return true;
}

bool select_island(Store& s, int island) {
    if (island < 1 || island > s.ilh.count) return false;
    s.ilh.ILHASEL(island) = true;
    for (int k = s.ilh.IPILH2(island); k != 0; k = s.ilh.LNKILH2(k)) s.bus.BUSSEL(k) = true;
    return true;
}

/// Selects what belongs to the marked rows of an aggregator: buses, and branches with the areas of their ends.
void select_groups(Run& run, int aggregator, const std::array<bool, MXAGROW + 1>& marked) {
    Store& s = run.store;
    auto select_bus = [&](int k) {
        s.bus.BUSSEL(k) = true;
        if (const int area = s.bus.IAREA(k)) s.area.ARESEL(area) = true;
    };
    for (int k : rows(s.bus.NB))
        if (marked[s.bus.IAGRBAR(k)(aggregator)]) select_bus(k);
    const Options& o = run.opt;
    const bool ends = o["RLIN"_opt] || o["RTIE"_opt] || o["RTRA"_opt] || o["RLTC"_opt] || o["RCSC"_opt] ||
                      o["RSHL"_opt] || o["RLIL"_opt] || o["RBSL"_opt];
    for (int l : rows(s.branch.NL)) {
        if (!marked[s.branch.IAGRCIR(l)(aggregator)]) continue;
        s.branch.LINSEL(l) = true;
        for (int k : {int(s.branch.NFROM(l)), int(s.branch.NTO(l))}) {
            if (ends) select_bus(k);
            if (const int area = s.bus.IAREA(k)) s.area.ARESEL(area) = true;
        }
    }
}

}  // namespace

bool OPAREA(Run& run) {
    open_list(run, "OPAREA");
    Store& s = run.store;
    const bool islands = run.opt["ILHA"_opt];
    s.branch.LINSEL.fill(s.branch.NL, true);
    s.ilh.ILHASEL.fill(s.ilh.count, false);
    if (islands) s.area.ARESEL.fill(s.area.NAREA, true);
    return read_lists(run, islands ? ISLAND_PROMPT : LIST_PROMPT, [&](const List& list, bool) {
        for (int number : list) {
            if (number == 0) continue;
            const bool found = islands ? select_island(s, number) : select_area(s, number);
            refuse(run, !found, UNKNOWN, std::abs(number), element::number);
            if (found && islands) run.opt.set("AREA"_opt);
        }
        return true;
    });
}

bool OPAGRE(Run& run) {
    open_list(run, "OPAGRE");
    Store& s = run.store;
    s.branch.LINSEL.fill(s.branch.NL, false);
    int aggregator = 0;  // of the first card, and of those that continue it
    return read_lists(run, LIST_PROMPT, [&](const List& list, bool continued) {
        std::span<const int> groups(list);
        if (!continued) {
            aggregator = list[0];
            groups = groups.subspan(1);
        }
        if (aggregator < 1 || aggregator > MXAGR) return false;
        std::array<bool, MXAGROW + 1> marked{};
        for (int id : groups) {
            if (id == 0) continue;
            const int row = s.agr.row(aggregator, id);
            marked[std::size_t(row)] = true;
            refuse(run, row == 0, UNKNOWN, std::abs(id), element::number);
        }
        marked[0] = false;  // the row of elements without a group
        select_groups(run, aggregator, marked);
        return true;
    });
}

// --- selection lines

namespace {

constexpr int LINE_WIDTH = 80, RANGE_WIDTH = 50, WORD_WIDTH = 12;
constexpr int LINE_PROMPT = 1, LINE_SHOWN = 2;  // rows of SELBAR: the prompt, a line as typed and its marks

bool digit(char c) { return c >= '0' && c <= '9'; }

/// The number that digits write, or any number beyond all buses when it is greater than they can be.
int number_of(std::string_view digits) {
    int n = 0;
    for (char c : digits) n = n > MXNUM ? n : 10 * n + (c - '0');
    return n;
}

/// One selection line being worked off.
class SelectionLine {
public:
    SelectionLine(Run& run, std::string_view text, std::vector<char>& marks, std::vector<int>& list)
        : run_(run), marks_(marks), list_(list) {
        typed_ = text.substr(0, LINE_WIDTH);
        line_ = typed_;
        if (text.size() > LINE_WIDTH && !blank(text.substr(LINE_WIDTH))) MSGPUT(run_, "SELBAR", LONG_LINE);
    }

    /// Ranges first, then words in their order. True when the selection is ended.
    bool work_off() {
        take_ranges();
        const std::string_view text = line_;
        for (int at = 0; at < LINE_WIDTH; ++at) {
            if (text[std::size_t(at)] == ' ') continue;
            int end = at;
            while (end < LINE_WIDTH && text[std::size_t(end)] != ' ') ++end;
            const std::string_view word = text.substr(std::size_t(at), std::size_t(end - at));
            if (word == "99999") return true;
            if (word.size() > WORD_WIDTH)
                complain(at, end, 100);
            else if (!take_number(word) && !take_fragment(word))
                complain(at, end, 110);
            at = end;
        }
        return false;
    }

private:
    void add(int k) {
        char& mark = marks_[std::size_t(k)];
        if (!mark) list_.push_back(k);
        mark = 1;
    }

    bool take_number(std::string_view word) {
        if (word.size() > 5 || !std::all_of(word.begin(), word.end(), digit)) return false;
        const int k = bus_of(run_.store, number_of(word));
        if (k != 0) add(k);
        return k != 0;
    }

    /// Buses whose name has the word in it, capital or not.
    bool take_fragment(std::string_view word) {
        Text<WORD_WIDTH> part = Text<WORD_WIDTH>::of(word);
        UPPER(part.at, WORD_WIDTH);
        const std::string_view wanted = part.view().substr(0, word.size());
        const BusTables& bus = run_.store.bus;
        bool found = false;
        for (int k : rows(bus.NB)) {
            Text<12> name = bus.BNAME(k);
            UPPER(name.at, 12);
            if (name.view().find(wanted) == std::string_view::npos) continue;
            add(k);
            found = true;
        }
        return found;
    }

    /// Two numbers and a colon between them, blanks allowed around it, within the first columns.
    void take_ranges() {
        const char* const text = line_.at;
        for (int colon = 0; colon < RANGE_WIDTH; ++colon) {
            if (text[colon] != ':') continue;
            int last = colon - 1;
            while (last >= 0 && text[last] == ' ') --last;
            int first = last;
            while (first >= 0 && digit(text[first])) --first;
            if (first == last || (first >= 0 && text[first] != ' ')) continue;
            int second = colon + 1;
            while (second < RANGE_WIDTH && text[second] == ' ') ++second;
            int end = second;
            while (end < RANGE_WIDTH && digit(text[end])) ++end;
            if (end == second || text[end] != ' ') continue;
            ++first;
            const auto columns = [&](int a, int b) { return line_.view().substr(std::size_t(a), std::size_t(b - a)); };
            if (!take_range(number_of(columns(first, last + 1)), number_of(columns(second, end))))
                complain(first, end, 110);
            std::memset(line_.at + first, ' ', std::size_t(end - first));
        }
    }

    bool take_range(int a, int b) {
        if (a > b) std::swap(a, b);
        const Store& s = run_.store;
        const int* const order = s.adr.NOORD.data();
        const int* at = std::lower_bound(order, order + s.bus.NB, a, [&](int k, int n) { return s.bus.NOINT(k) < n; });
        const bool found = at != order + s.bus.NB && s.bus.NOINT(*at) <= b;
        for (; at != order + s.bus.NB && s.bus.NOINT(*at) <= b; ++at) add(*at);
        return found;
    }

    /// Shows the line with marks under the columns from first up to end, and gives the message.
    void complain(int first, int end, int message) {
        Text<LINE_WIDTH> marks = Text<LINE_WIDTH>::of("");
        std::memset(marks.at + first, '?', std::size_t(end - first));
        const FormatRow& row = load_rows(run_, "SELBAR")[LINE_SHOWN];
        const Arg shown[] = {typed_.trimmed(), marks.trimmed()};
        if (run_.units.interactive())
            print_console(run_, row, {shown[0], shown[1]});
        else
            run_.pag.NLINE += print_row(run_, row, shown);
        MSGPUT(run_, "SELBAR", message);
        MSGOUT(run_);
    }

    Run& run_;
    std::vector<char>& marks_;  // by bus: in the list already
    std::vector<int>& list_;
    Text<LINE_WIDTH> typed_, line_;  // as typed; with the ranges blanked
};

}  // namespace

void SELBAR(Run& run, std::string_view report, std::vector<int>& list) {
    list.clear();
    std::vector<char> marks(std::size_t(run.store.bus.NB) + 1, 0);
    bool ended = false;
    while (list.empty() && !ended) {
        if (run.units.interactive()) print_console(run, load_rows(run, "SELBAR")[LINE_PROMPT], {report});
        std::string_view text;
        if (!read_line(run, text)) {
            ended = true;
            break;
        }
        log_selection(run, text);
        if (!text.empty() && text[0] == '(') continue;
        ended = SelectionLine(run, text, marks, list).work_off();
        MSGOUT(run);
    }
    if (ended) list.push_back(END_OF_SELECTION);
}

}  // namespace korvane
