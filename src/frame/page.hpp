// The page of the report unit: lines, page breaks, headings, pauses.
#pragma once
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
    std::string buffer;   // one line being made
};

/// Prints a row of FMTROT or FMTFIX on the report unit, without counting lines.
void print_rot(Run& run, int row, std::initializer_list<Arg> values);
void print_fix(Run& run, int row, std::initializer_list<Arg> values);
/// The same with any compiled row.
void print_row(Run& run, const FormatRow& row, std::span<const Arg> values);

/// PAGHDR: starts a new page with its heading; NLINE takes 3.
void PAGHDR(Run& run);
/// PAGWAI: the end of a report; at the console waits for the operator.
void PAGWAI(Run& run);
/// PAGFIT: makes sure that an echo of the given lines and the messages that wait fit on the page.
void PAGFIT(Run& run, int errors, int warnings, int lines);

/// What a report prints with: rows of the routine that called LDFORM, line counts kept.
class Page {
public:
    explicit Page(Run& run) : run_(run) {}
    /// Whether so many lines still fit on the page.
    bool fits(int lines) const;
    /// Page break before the next line.
    void force();
    /// Starts a page and prints rows first to last as its heading; the values go to the first of them.
    template <class... V>
    void heading(int first, int last, const V&... values) {
        PAGHDR(run_);
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
