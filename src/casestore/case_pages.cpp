#include "casestore/case_pages.hpp"

#include <algorithm>

#include "casestore/case_io.hpp"
#include "frame/card_text.hpp"

namespace korvane {

namespace {

// Rows that LIFILE and INFOFI have in common.
constexpr int TITLE = 1, RULE = 2, FILE_NAME = 3, HEAD80 = 4, HEAD132 = 7, HEAD_ROWS = 3, ROW132 = 10, ROW80 = 11;
// Rows of LIFILE behind the list.
constexpr int SUMMARY = 12, CAPACITY = 13, USED = 14, NUMBER = 15, PERCENT = 16;

/// A list over cases, with the name of the file above each page.
class CaseList {
public:
    explicit CaseList(Run& run) : run_(run), page_(run), wide_(page_width(run) == 132) {
        std::string name = latin1_from_utf8(run.units.name[role::cases]);
        UPPER(name.data(), int(name.size()));
        constexpr std::size_t label = 12;
        name_ = last_columns(name, std::size_t(page_width(run)) - label);
    }
    bool wide() const { return wide_; }
    /// False when the operator wants no more.
    template <class... V>
    bool print(int row, const V&... values) {
        if (!page_.fits(1)) heading();
        if (page_.wanted()) page_.line(row, values...);
        return page_.wanted();
    }
    /// A row of the list, in the width of the page.
    template <class... V>
    bool entry(const V&... values) {
        return print(wide_ ? ROW132 : ROW80, values...);
    }

private:
    void heading() {
        PAGHDR(run_);
        if (!page_.wanted()) return;
        page_.line(TITLE);
        page_.line(RULE);
        page_.line(FILE_NAME, name_);
        const int first = wide_ ? HEAD132 : HEAD80;
        for (int row = first; row < first + HEAD_ROWS; ++row) page_.line(row);
    }
    Run& run_;
    Page page_;
    bool wide_;
    std::string name_;
};

/// INFOFI: the information lines of all cases that have one.
void list_information(Run& run, Records& r, const Directory& d) {
    LDFORM(run, "INFOFI");
    run.pag.NLINE = run.pag.LPP;
    CaseList list(run);
    std::array<char, 80> line;
    for (int n = 1; n <= CASES; ++n)
        if (d.has(n) && read_information(r, d, n, line))
            if (!list.entry(n, std::string_view(line.data(), list.wide() ? 80 : 67))) return;
}

}  // namespace

std::string title_of(const CaseHead& head) {
    const auto last =
        std::string_view(head.title.data(), head.title.size()).find_last_not_of(std::string_view(" \0", 2));
    return {head.title.data(), last == std::string_view::npos ? 0 : last + 1};
}

void print_line(Run& run, int row, std::initializer_list<Arg> values) {
    Page page(run);
    if (!page.fits(3)) PAGHDR(run);
    if (page.wanted()) page.line(row, std::span(values.begin(), values.size()));
}

void print_title(Run& run, int row, int n, std::string_view title) {
    constexpr std::size_t label = 24;
    print_line(run, row, {n, title.substr(0, std::size_t(page_width(run)) - label)});
}

void list_cases(Run& run, Records& r) {
    LDFORM(run, "LIFILE");
    run.pag.NLINE = run.pag.LPP;
    run.pag.NEWPAG = true;
    const Reading scope(r);
    Directory d;
    if (refuse(run, !scope || !d.read(r), 100)) {
        MSGOUT(run);
        return INTERR(run);
    }
    CaseList list(run);
    int cases = 0, informed = 0, used = 0;
    for (int n = 1; n <= CASES; ++n) {
        CaseHead head;
        if (!d.has(n)) continue;
        used += d.count(n);
        if (!read_head(r, d.first(n), head)) continue;
        ++cases;
        informed += head.version >= FIRST_INFORMATION;
        if (!list.entry(n, d.count(n), std::string_view(head.title.data(), list.wide() ? 80 : 64))) return;
    }
    const int records = d.highest() >= 1 ? d.highest() : run.cte.HIST;
    const int capacity = std::max(records - 1, 1);
    list.print(SUMMARY);
    list.print(CAPACITY, capacity);
    list.print(USED, used);
    list.print(NUMBER, cases);
    list.print(PERCENT, 100.0 * used / capacity);
    if (informed > 0) list_information(run, r, d);
    run.cas.NCASO = 0;
}

void print_information(Run& run, int n, std::string_view line) {
    LDFORM(run, "INFOFI");
    CaseList list(run);
    list.entry(n, line.substr(0, list.wide() ? 80 : 67));
}

void print_comment(Run& run) {
    constexpr int HEADING = 3, LINE = 4;
    const CaseComment& comment = run.store.comment;
    const std::string_view text(comment.text.data(), std::size_t(comment.length));
    if (text.empty()) return;
    print_line(run, HEADING);
    for (std::size_t at = 0; at < text.size(); at += 80) {
        const std::string_view row = text.substr(at, 80);
        print_line(run, LINE, {row.substr(0, std::size_t(page_width(run)))});
    }
}

}  // namespace korvane
