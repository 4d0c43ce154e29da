// Constants: the table of names, and the block that sets them.
#include "frame/constants.hpp"

#include "frame/decimal.hpp"
#include "frame/pair_card.hpp"

namespace korvane {

namespace {

using C = Constants;
using S = ConstantRow::Scale;

constexpr double PERCENT_SINGLE = double(0.01f), PERCENT_DOUBLE = 0.01;
constexpr double RADIAN = 0.017453292519943295;  // of a degree

// In the order of the name table; entry 2 is blank. A row without a scale is a name that a card may give and that no
// routine reads, but for %SBC, which acts when it is read.
constexpr ConstantRow TABLE[] = {
    {1, "BASE", S::as_read, 100, &C::BASE},
    {3, "TEPA", S::power, 0.1, &C::TEPA},
    {4, "TEPR", S::power, 0.1, &C::TEPR},
    {5, "TLPR", S::power, 0.1, &C::TLPR},
    {6, "TLVC", S::percent_single, 0.5, &C::TLVC},
    {7, "TLTC", S::percent_single, 0.01, &C::TLTC},
    {8, "TETP", S::power, 5, &C::TETP},
    {9, "TBPA", S::power, 5, &C::TBPA},
    {10, "TSFR", S::percent_single, 0.01, &C::TSFR},
    {11, "CSTP", S::percent_single, 5, &C::CSTP},
    {12, "ZMAX", S::inverse_square, 500, &C::ZMAX},
    {13, "QLST", S::power, 0.4, &C::QLST},
    {14, "EXST", S::power, 0.4, &C::EXST},
    {15, "TPST", S::power, 0.2, &C::TPST},
    {16, "TLPP", S::percent_single, 1, &C::TLPP},
    {17, "TLPQ", S::percent_single, 2, &C::TLPQ},
    {18, "TLPV", S::percent_single, 0.5, &C::TLPV},
    {19, "TSBZ", S::power, 0.01, &C::TSBZ},
    {20, "TSBA", S::power, 5, &C::TSBA},
    {21, "VDVN", S::percent_double, 40, &C::VDVN},
    {22, "VDVM", S::percent_double, 200, &C::VDVM},
    {23, "ASTP", S::as_read, 0.05, &C::ASTP},
    {24, "VSTP", S::percent_single, 5, &C::VSTP},
    {25, "TUDC", S::percent_single, 0.001, &C::TUDC},
    {26, "TADC", S::percent_single, 0.01, &C::TADC},
    {27, "DASE", S::as_read, 100, &C::DASE},
    {28, "PGER", S::percent_single, 30, &C::PGER},
    {29, "ZMIN", S::as_read, 0.001, &C::ZMIN},
    {30, "VFLD", S::percent_single, 70, &C::VFLD},
    {31, "LPRT", S::integer, 60, nullptr, &C::LPRT},
    {32, "HIST", S::integer, 470, nullptr, &C::HIST},
    {33, "ACIT", S::integer, 30, nullptr, &C::ACIT},
    {34, "LPIT", S::integer, 50, nullptr, &C::LPIT},
    {35, "LFLP", S::integer, 10, nullptr, &C::LFLP},
    {36, "LFCV", S::integer, 1, nullptr, &C::LFCV},
    {37, "LFIT", S::integer, 10, nullptr, &C::LFIT},
    {38, "DCIT", S::integer, 10, nullptr, &C::DCIT},
    {39, "VSIT", S::integer, 10, nullptr, &C::VSIT},
    {40, "LCRT", S::integer, 24, nullptr, &C::LCRT},
    {41, "PDIT", S::integer, 10, nullptr, &C::PDIT},
    {42, "%FCG"},
    {43, "CAND"},
    {44, "%SBC"},
    {45, "%CTG"},
    {46, "TBC1"},
    {47, "TBC2"},
    {48, "XGHT", S::percent_single, 0, &C::XGHT},
    {49, "FGHT", S::percent_single, 0.01, &C::FGHT},
    {50, "%TXD"},
    {51, "CTPT"},
    {52, "CTEN"},
    {53, "YREF"},
    {54, "TLFM"},
    {55, "QAIT"},
    {56, "PENI"},
    {57, "PENN"},
    {58, "FTQG"},
    {59, "FAEQ"},
    {60, "FATC"},
    {61, "FTAP"},
    {62, "TPEI"},
    {63, "TPEN"},
    {64, "QBIT"},
    {65, "TPIV"},
    {66, "BSTP"},
    {67, "TRSB"},
    {68, "YREV"},
    {69, "BCAP"},
    {70, "BIND"},
    {71, "TQBI"},
    {72, "TQBS"},
    {73, "MRGG"},
    {74, "MRGC"},
    {75, "CCAP"},
    {76, "CIND"},
    {77, "DMAX", S::integer, 5, nullptr, &C::DMAX},
    {78, "VART", S::as_read, 5, &C::VART},
    {79, "FDIV", S::as_read, 2, &C::FDIV},
    {80, "ICMN", S::as_read, 0.05, &C::ICMN},
    {81, "ICIT", S::integer, 9999, nullptr, &C::ICIT},
    {82, "TSTP", S::integer, 33, nullptr, &C::TSTP},
    {83, "TSDC", S::as_read, 0.02, &C::TSDC},
    {84, "ASDC", S::radians, 1, &C::ASDC},
    {85, "ICMV", S::as_read, 0.5, &C::ICMV},
    {86, "APAS", S::as_read, 90, &C::APAS},
    {87, "CPAR", S::as_read, 70, &C::CPAR},
    {88, "VAVT", S::as_read, 2, &C::VAVT},
    {89, "VAVF", S::as_read, 5, &C::VAVF},
    {90, "VMVF", S::power, 15, &C::VMVF},
    {91, "VPVT", S::as_read, 2, &C::VPVT},
    {92, "VPVF", S::as_read, 5, &C::VPVF},
    {93, "VPMF", S::power, 10, &C::VPMF},
    {94, "VSVF", S::as_read, 20, &C::VSVF},
    {95, "VINF", S::as_read, 1, &C::VINF},
    {96, "VSUP", S::as_read, 1, &C::VSUP},
    {97, "TLSI", S::as_read, 0, &C::TLSI},
    {98, "NDIR", S::as_read, 20, &C::NDIR, &C::NDIRI},
    {99, "STTR", S::percent_double, 5, &C::STTR},
    {100, "TRPT", S::percent_double, 100, &C::TRPT},
    {101, "STIR", S::as_read, 1, &C::STIR},
    {102, "BFPO", S::power, 1, &C::BFPO},
    {103, "LFPO", S::power, 0.1, &C::LFPO},
    {104, "TLMT", S::percent_double, 0, &C::TLMT},
    {105, "TLMF", S::percent_double, 0, &C::TLMF},
    {106, "TLMG", S::percent_double, 0, &C::TLMG},
};
constexpr int ROWS = int(std::size(TABLE));
constexpr int LAST_INDEX = 106;
static_assert([] {
    for (int i = 1; i < ROWS; ++i)
        if (TABLE[i].index <= TABLE[i - 1].index) return false;
    return TABLE[ROWS - 1].index == LAST_INDEX;
}());

constexpr int row_of(std::string_view name) {
    for (int i = 0; i < ROWS; ++i)
        if (name == std::string_view(TABLE[i].name, 4)) return i;
    return -1;
}
constexpr int BASE = row_of("BASE"), SBC = row_of("%SBC"), TEPA = row_of("TEPA"), TEPR = row_of("TEPR"),
              EXST = row_of("EXST"), QLST = row_of("QLST"), TPST = row_of("TPST"), ZMIN = row_of("ZMIN");

constexpr std::string_view MAY_BE_ZERO[] = {"PGER", "%FCG", "%SBC", "%CTG", "CTPT", "CTEN",
                                            "TLFM", "TLSI", "BFPO", "TLMT", "TLMF", "TLMG"};

// Constants in MW and Mvar that keep their value in these units when the base power changes.
constexpr double C::*REBASED[] = {&C::TEPA, &C::TEPR, &C::TLPR, &C::TETP, &C::TBPA,
                                  &C::QLST, &C::EXST, &C::TPST, &C::TSBZ, &C::TSBA};

/// The internal value of a number in card units.
double converted(S scale, double v, double base) {
    switch (scale) {
        case S::power: return v / base;
        case S::percent_single: return v * PERCENT_SINGLE;
        case S::percent_double: return v * PERCENT_DOUBLE;
        case S::radians: return v * RADIAN;
        case S::integer: return std::trunc(v + 0.5);
        case S::inverse_square: return 1.0 / ((v * PERCENT_SINGLE) * (v * PERCENT_SINGLE));
        case S::as_read:
        case S::unused: break;
    }
    return v;
}

/// Whether a card may give the value to the constant. What would leave the program with an infinite value, a count of
/// nothing or a negative rating is refused like a negative value.
bool usable(int row, double v) {
    const ConstantRow& c = TABLE[row];
    if (row == SBC) return v > -100.0;
    if (v < 0) return false;
    if (v == 0)
        return std::find(std::begin(MAY_BE_ZERO), std::end(MAY_BE_ZERO), std::string_view(c.name, 4)) !=
               std::end(MAY_BE_ZERO);
    if (row == BASE) return v >= 1e-6;
    if (c.scale == S::integer) return v >= 0.5 && v < 2147483647.0;
    if (c.whole) return v < 2147483647.0;
    return std::isfinite(converted(c.scale, v, 1.0));
}

void store_constant(C& cte, const ConstantRow& row, double v) {
    const double value = converted(row.scale, v, cte.BASE);
    if (row.real) cte.*row.real = value;
    if (row.whole) cte.*row.whole = int(std::trunc(value + 0.5));
}

void change_base(C& cte, double base) {
    for (auto member : REBASED) cte.*member *= cte.BASE / base;
    cte.BASE = base;
    cte.RBASE = 1.0 / base;
}

/// Values of a block in card units, by row of the table.
using Given = std::array<std::optional<double>, std::size_t(ROWS)>;

void read_card(Run& run, Card& card, Given& given) {
    std::array<double, DCTE_CARD.pairs> values{};
    for (int i = 1; i <= DCTE_CARD.pairs; ++i) RJUST(DCTE_CARD.value(card, i), DCTE_CARD.value_width);
    const Target targets[] = {&values[0], &values[1], &values[2], &values[3], &values[4], &values[5]};
    if (refuse(run, !run.fmt.rot(2).read(card.view(), targets), 120)) {
        if (run.units.interactive()) print_rot(run, EchoRows{}.guide, {});
        return;
    }
    for (int i = 1; i <= DCTE_CARD.pairs; ++i) {
        char* const name = DCTE_CARD.name(card, i);
        if (blank({name, 4})) continue;
        const int row = row_of({name, 4});
        const double v = values[std::size_t(i - 1)];
        if (refuse(run, row < 0, 110)) {
            mark_wrong(name, 4);
        } else if (refuse(run, !usable(row, v), 100)) {
            mark_wrong(DCTE_CARD.value(card, i), DCTE_CARD.value_width);
        } else {
            given[std::size_t(row)] = v;
        }
    }
}

/// Tolerances and thresholds of the solution that must not contradict each other.
void reconcile(Run& run, const Given& given) {
    C& cte = run.cte;
    auto has = [&](int row) { return given[std::size_t(row)].has_value(); };
    if (has(TEPA) && !has(EXST)) cte.EXST = 4 * cte.TEPA;
    if (has(TEPR) && !has(QLST)) cte.QLST = 4 * cte.TEPR;
    if (has(TEPR) && !has(TPST)) cte.TPST = 2 * cte.TEPR;
    if (refuse(run, cte.QLST < cte.TEPR, -900)) cte.QLST = 4 * cte.TEPR;
    if (refuse(run, cte.EXST < cte.TEPA, -910)) cte.EXST = 4 * cte.TEPA;
    if (refuse(run, cte.TPST < cte.TEPR, -920)) cte.TPST = 2 * cte.TEPR;
    if (refuse(run, cte.TSBA < cte.TSBZ, 140)) cte.TSBA = 500 * cte.TSBZ;
    if (refuse(run, cte.VDVM <= cte.VDVN, 150)) {
        cte.VDVN = 0.4;
        cte.VDVM = 2.0;
    }
    if (cte.CSTP == 5.0) cte.CSTP = 0.05;  // five as a fraction can only mean 5 %
}

ConstantsRead apply_constants(Run& run, const Given& given) {
    auto value = [&](int row) { return given[std::size_t(row)]; };
    if (value(BASE)) change_base(run.cte, *value(BASE));
    for (int row = 0; row < ROWS; ++row)
        if (row != BASE && value(row)) store_constant(run.cte, TABLE[row], *value(row));
    reconcile(run, given);
    ConstantsRead read;
    read.jumpers = value(ZMIN).has_value();
    read.ratings = value(SBC).has_value();
    if (read.ratings) read.rating_factor = 1.0 + *value(SBC) * PERCENT_SINGLE;
    return read;
}

}  // namespace

std::span<const ConstantRow> constant_table() { return TABLE; }

void Constants::reset() {
    BASE = 100.0;
    RBASE = 1.0 / BASE;
    for (const ConstantRow& row : TABLE) {
        if (row.initial != 0)
            store_constant(*this, row, row.initial);
        else if (row.real)
            this->*row.real = 0;
    }
}

ConstantsRead INPCTE(Run& run) {
    card_detail::open_block(run, "INPCTE");
    Given given{};
    const bool ended = each_pair_card(run, DCTE_CARD, [&](Card& card) { read_card(run, card, given); });
    ConstantsRead read;
    if (ended)
        read = apply_constants(run, given);
    else
        refuse(run, true, 130);
    card_detail::close_block(run);
    return read;
}

}  // namespace korvane
