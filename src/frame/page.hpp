// The page of the report unit: lines, page breaks, headings, pauses.
#pragma once
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "frame/format.hpp"

namespace korvane {

struct Run;

/// State of the current page.
struct PageState {
    int NLINE = 0;        // lines on the page
    int LPP = 60;         // lines that fit
    int number = 0;       // page number of the print file
    bool NEWPAG = true;   // the next page is the first of its report
    bool PAUSOK = false;  // a heading has been printed
    bool PAUSAT = false;  // a full screen waits for the operator
    bool SCRREP = false;  // input and reports are both at the console
    char KEYANS = ' ';    // answer at the last pause
    std::string buffer;   // the lines of one row being made

    /// Prints one more line under each heading, such as the contingency being studied; nothing: no such line.
    std::function<void(Run&)> subject;
};

/// Columns of a report line, without its carriage control: 80 with 80CO, else 132.
int page_width(const Run& run);

/// Prints a row of FMTROT or FMTFIX on the report unit. Returns the lines that it took on the page, and counts none.
int print_rot(Run& run, int row, std::initializer_list<Arg> values);
int print_fix(Run& run, int row, std::initializer_list<Arg> values);
/// The same with any compiled row.
int print_row(Run& run, const FormatRow& row, std::span<const Arg> values);
/// Prints a row on the console, whatever the report unit is.
void print_console(Run& run, const FormatRow& row, std::initializer_list<Arg> values);

/// A text shortened to so many columns, a long one from its front: "...rest of the path".
std::string last_columns(std::string_view text, std::size_t columns);

/// PAGHDR: starts a new page with its heading; NLINE takes 3, and 1 more with a subject. Before a page that is not the
/// first of its report the operator at the screen is asked; an answer stays in KEYANS and clears IMPR, and no heading
/// is printed.
void PAGHDR(Run& run);
/// PAGWAI: the end of a report; waits for the operator at the screen. The next heading is the first of its report.
void PAGWAI(Run& run);
/// PAGFIT: makes sure that an echo of the given lines and the messages that wait fit on the page.
void PAGFIT(Run& run, int errors, int warnings, int lines);

/// What a report prints with: rows of the routine that called LDFORM, line counts kept. A new Page forgets what the
/// operator answered at an earlier pause.
class Page {
public:
    explicit Page(Run& run);
    /// Whether so many lines still fit on the page.
    bool fits(int lines) const;
    /// Page break before the next line.
    void force();
    /// Starts a page and prints rows first to last as its heading; the values go to the first of them.
    template <class... V>
    void heading(int first, int last, const V&... values) {
        PAGHDR(run_);
        if (!wanted()) return;
        line(first, values...);
        for (int row = first + 1; row <= last; ++row) line(row);
    }
    /// Prints a row and counts its lines.
    template <class... V>
    void line(int row, const V&... values) {
        const Arg args[sizeof...(V) + 1] = {Arg(values)..., Arg(0)};
        put(row, std::span(args, sizeof...(V)));
    }
    void line(int row, std::span<const Arg> values) { put(row, values); }
    /// False when the operator answered a pause with "no more": the report ends.
    bool wanted() const;

private:
    void put(int row, std::span<const Arg> values);
    Run& run_;
};

}  // namespace korvane
