// The page of the report unit.
#include "frame/page.hpp"

#include "frame/run.hpp"

namespace korvane {

namespace {

// Fixed rows: the heading in 132 and in 80 columns, and the prompts of the two pauses.
constexpr int HEADING132 = 1, HEADING80 = 4, NEXT_PAGE = 7, END_OF_REPORT = 8;

/// Lines of text on the page that a printed line takes: an empty one before it with "0".
int lines_of(std::string_view line) { return !line.empty() && line[0] == '0' ? 2 : 1; }

/// f(line) for each line that a row made.
template <class F>
void each_line(std::string_view text, F&& f) {
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        f(text.substr(at, end - at));
        at = end + 1;
    }
}

/// Someone sits before the screen that reports go to, and wants to be waited for.
bool can_pause(const Run& run) { return !run.units.BATCHI && run.pag.PAUSAT; }

/// The first character typed after the prompt: blank goes on, and the end of input does not.
char ask(Run& run, int row) {
    print_console(run, run.fmt.fix(row), {});
    const auto answer = run.os.read_console();
    if (!answer) return '*';
    return answer->empty() ? ' ' : answer->front();
}

}  // namespace

int page_width(const Run& run) { return run.opt["80CO"_opt] ? 80 : 132; }

int print_row(Run& run, const FormatRow& row, std::span<const Arg> values) {
    std::string& text = run.pag.buffer;
    text.clear();
    row.write(text, values);
    int lines = 0;
    each_line(text, [&](std::string_view line) {
        const auto last = line.find_last_not_of(' ');
        line = line.substr(0, last == std::string_view::npos ? 0 : last + 1);
        assert(line.size() <= std::size_t(page_width(run)) + 1 && "a report line fits the page");
        write_line(run, run.units.LUREP, line.empty() ? " " : line);
        lines += lines_of(line);
    });
    return lines;
}

int print_rot(Run& run, int row, std::initializer_list<Arg> values) {
    return print_row(run, run.fmt.rot(row), {values.begin(), values.size()});
}

int print_fix(Run& run, int row, std::initializer_list<Arg> values) {
    return print_row(run, run.fmt.fix(row), {values.begin(), values.size()});
}

void print_console(Run& run, const FormatRow& row, std::initializer_list<Arg> values) {
    std::string text;
    row.write(text, {values.begin(), values.size()});
    each_line(text, [&](std::string_view line) { write_line(run, unit::console_out, line); });
    run.os.flush_console();
}

std::string last_columns(std::string_view text, std::size_t columns) {
    if (text.size() <= columns) return std::string(text);
    if (columns <= 3) return std::string(text.substr(text.size() - columns));
    return "..." + std::string(text.substr(text.size() - (columns - 3)));
}

void PAGHDR(Run& run) {
    PageState& p = run.pag;
    p.KEYANS = ' ';
    if (can_pause(run) && !p.NEWPAG) p.KEYANS = ask(run, NEXT_PAGE);
    p.NLINE = 3;
    p.NEWPAG = false;
    p.PAUSOK = true;
    if (p.KEYANS != ' ') {
        run.opt.clear("IMPR"_opt);
        return;
    }
    const bool wide = page_width(run) == 132;
    const int first = wide ? HEADING132 : HEADING80;
    if (wide)
        print_fix(run, first, {PROGRAM_STAMP, ++p.number});
    else
        print_fix(run, first, {PROGRAM_STAMP});
    print_fix(run, first + 1, {run.TITLE});
    print_fix(run, first + 2, {});
    if (p.subject) {
        p.subject(run);
        ++p.NLINE;
    }
}

void PAGWAI(Run& run) {
    PageState& p = run.pag;
    if (can_pause(run) && p.PAUSOK) p.KEYANS = ask(run, END_OF_REPORT);
    p.PAUSOK = false;
    p.NEWPAG = true;
}

void PAGFIT(Run& run, int errors, int warnings, int lines) {
    const int messages = std::max(errors, 0) + std::max(warnings, 0);
    if (run.pag.NLINE + 3 * messages + lines > run.pag.LPP) run.pag.NLINE = run.pag.LPP;
}

Page::Page(Run& run) : run_(run) { run_.pag.KEYANS = ' '; }

bool Page::fits(int lines) const { return run_.pag.NLINE + lines < run_.pag.LPP; }

void Page::force() { run_.pag.NLINE = run_.pag.LPP; }

bool Page::wanted() const { return run_.pag.KEYANS == ' '; }

void Page::put(int row, std::span<const Arg> values) { run_.pag.NLINE += print_row(run_, run_.fmt.rot(row), values); }

}  // namespace korvane
