// Reports of the settings of a run: default options and constants.
#include "frame/constant_cards.hpp"
#include "frame/decimal.hpp"
#include "reports/report_walk.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

// Rows of blocks OUTOPT and OUTCTE.
constexpr int TITLE = 1, RULE = 2, ROW132 = 3, ROW80 = 4, NONE_ON = 5;

/// A title, and lines of a row that takes so many values in each width.
class Listing {
public:
    Listing(Run& run, std::string_view routine, std::size_t values132, std::size_t values80)
        : page_((open_report(run, routine), run)),
          row_(page_width(run) == 132 ? ROW132 : ROW80),
          room_(row_ == ROW132 ? values132 : values80) {}

    /// Prints the values in their order. False when the operator wants no more.
    bool print(std::span<const Arg> values) {
        for (std::size_t at = 0; at < values.size(); at += room_) {
            if (!room_for_line()) return false;
            page_.line(row_, values.subspan(at, std::min(room_, values.size() - at)));
        }
        return true;
    }
    void print_row(int row) {
        if (room_for_line()) page_.line(row);
    }

private:
    bool room_for_line() {
        if (page_.fits(1)) return true;
        page_.heading(TITLE, RULE);
        return page_.wanted();
    }
    Page page_;
    int row_;
    std::size_t room_;
};

}  // namespace

void OUTOPT(Run& run) {
    Listing listing(run, "OUTOPT", 16, 10);
    std::vector<Arg> names;
    for (int i = 2; i < OPTIONS; ++i)
        if (run.opt.OPTDEF[std::size_t(i)]) names.emplace_back(OPTION(i));
    if (names.empty())
        listing.print_row(NONE_ON);
    else
        listing.print(names);
}

void OUTCTE(Run& run) {
    constexpr std::size_t WIDTH = 8;
    Listing listing(run, "OUTCTE", 16, 10);
    std::string values(constants_in_card_order().size() * WIDTH, ' ');
    std::vector<Arg> shown;
    for (std::size_t i = 0; const ConstantRow* row : constants_in_card_order()) {
        char* const value = &values[WIDTH * i++];
        PUTREAL(card_value(run.cte, *row), int(WIDTH), value);
        shown.emplace_back(std::string_view(row->name, 4));
        shown.emplace_back(std::string_view(value, WIDTH));
    }
    listing.print(shown);
}

}  // namespace korvane
