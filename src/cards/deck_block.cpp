// The deck being written: code lines, rulers, cards and end cards, and their echo on the report.
#include "cards/deck_block.hpp"

#include <utility>

namespace korvane {

namespace {

constexpr int REPORT_LINE = 90, END_CARD = 91;  // rows that all blocks have

/// The text of a row without values.
std::string text_of(const Run& run, int row) {
    std::string text;
    run.fmt.rot(row).write(text, {});
    return text;
}

int pieces(const Run& run, std::string_view line) {
    const auto width = std::size_t(page_width(run));
    return line.size() <= width ? 1 : int((line.size() + width - 1) / width);
}

/// The line on the report, whole lines of the page; the caller has made room.
void report(Run& run, std::string_view line) {
    const auto width = std::size_t(page_width(run));
    do {
        const Arg piece[] = {line.substr(0, width)};
        run.pag.NLINE += print_row(run, run.fmt.rot(REPORT_LINE), piece);
        line.remove_prefix(std::min(width, line.size()));
    } while (!line.empty());
}

bool reported(const Run& run) { return run.opt["IMPR"_opt] && run.pag.KEYANS == ' '; }

void make_room(Run& run, int lines) {
    if (run.pag.NLINE + lines > run.pag.LPP) PAGHDR(run);
}

}  // namespace

void put_deck_line(Run& run, std::string_view line) {
    const auto last = line.find_last_not_of(' ');
    line = line.substr(0, last == line.npos ? 0 : last + 1);
    write_card(run, line);
    if (!reported(run)) return;
    make_room(run, pieces(run, line));
    if (reported(run)) report(run, line);
}

DeckBlock::DeckBlock(Run& run, std::string_view routine, int code_row, int ruler_row) : run_(run) {
    LDFORM(run, routine);
    code_ = text_of(run, code_row);
    if (ruler_row) ruler_ = text_of(run, ruler_row);
}

void DeckBlock::open() {
    if (std::exchange(open_, true)) return;
    // The code line does not stand alone at the foot of a page.
    if (reported(run_)) make_room(run_, 2 + int(!ruler_.empty()));
    put_deck_line(run_, code_);
    if (!ruler_.empty()) put_deck_line(run_, ruler_);
}

void DeckBlock::card() { line(run_.CARD.view()); }

void DeckBlock::line(std::string_view text) {
    open();
    put_deck_line(run_, text);
}

void DeckBlock::end() {
    if (open_) put_deck_line(run_, text_of(run_, END_CARD));
}

}  // namespace korvane
