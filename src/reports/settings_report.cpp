// Reports of the settings of a run: default options and constants.
#include "frame/constants.hpp"
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

/// The constants in the order of their cards.
constexpr char CARD_ORDER[][5] = {
    "BASE", "DASE", "TEPA", "EXST", "TETP", "TBPA", "TLPP", "TEPR", "QLST", "TLPR", "TLPQ", "TSBZ", "TSBA", "ASTP",
    "VSTP", "TLVC", "TLTC", "TSFR", "ZMAX", "TLPV", "VDVM", "VDVN", "TUDC", "TADC", "PGER", "TPST", "VFLD", "ZMIN",
    "HIST", "LFIT", "ACIT", "LFCV", "DCIT", "VSIT", "LPIT", "LFLP", "PDIT", "LCRT", "LPRT", "CSTP", "ASDC", "ICIT",
    "DMAX", "FDIV", "ICMN", "VART", "TSTP", "ICMV", "APAS", "CPAR", "VAVT", "VAVF", "VMVF", "VPVT", "VPVF", "VPMF",
    "VSVF", "VINF", "VSUP", "TLSI", "NDIR", "STTR", "TRPT", "STIR", "BFPO", "LFPO", "TLMT", "TLMF", "TLMG"};

/// The value of a constant as its card would have it: the inverse of the conversion from the card.
double card_value(const Constants& c, const ConstantRow& row) {
    using Scale = ConstantRow::Scale;
    const double v = row.real ? c.*row.real : row.whole ? double(c.*row.whole) : 0.0;
    switch (row.scale) {
        case Scale::power: return v * c.BASE;
        case Scale::percent_single: return v / double(0.01f);
        case Scale::percent_double: return v / 0.01;
        case Scale::radians: return v * DEGREES;
        case Scale::inverse_square: return v > 0.0 ? 1.0 / (double(0.01f) * std::sqrt(v)) : 0.0;
        case Scale::as_read:
        case Scale::integer:
        case Scale::unused: break;
    }
    return v;
}

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
    const auto table = constant_table();
    std::string values(std::size(CARD_ORDER) * WIDTH, ' ');
    std::vector<Arg> shown;
    for (std::size_t i = 0; i < std::size(CARD_ORDER); ++i) {
        const std::string_view name(CARD_ORDER[i], 4);
        const auto row = std::find_if(table.begin(), table.end(), [&](const ConstantRow& r) { return name == r.name; });
        assert(row != table.end() && "the constant is in the table");
        PUTREAL(card_value(run.cte, *row), int(WIDTH), &values[i * WIDTH]);
        shown.emplace_back(name);
        shown.emplace_back(std::string_view(&values[i * WIDTH], WIDTH));
    }
    listing.print(shown);
}

}  // namespace korvane
