// Constants as their cards have them.
#include "frame/constant_cards.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>

namespace korvane {

namespace {

constexpr double DEGREES = 57.29577951308232;  // of a radian

constexpr char CARD_ORDER[][5] = {
    "BASE", "DASE", "TEPA", "EXST", "TETP", "TBPA", "TLPP", "TEPR", "QLST", "TLPR", "TLPQ", "TSBZ", "TSBA", "ASTP",
    "VSTP", "TLVC", "TLTC", "TSFR", "ZMAX", "TLPV", "VDVM", "VDVN", "TUDC", "TADC", "PGER", "TPST", "VFLD", "ZMIN",
    "HIST", "LFIT", "ACIT", "LFCV", "DCIT", "VSIT", "LPIT", "LFLP", "PDIT", "LCRT", "LPRT", "CSTP", "ASDC", "ICIT",
    "DMAX", "FDIV", "ICMN", "VART", "TSTP", "ICMV", "APAS", "CPAR", "VAVT", "VAVF", "VMVF", "VPVT", "VPVF", "VPMF",
    "VSVF", "VINF", "VSUP", "TLSI", "NDIR", "STTR", "TRPT", "STIR", "BFPO", "LFPO", "TLMT", "TLMF", "TLMG"};

}  // namespace

std::span<const ConstantRow* const> constants_in_card_order() {
    static const auto order = [] {
        std::array<const ConstantRow*, std::size(CARD_ORDER)> of{};
        const auto table = constant_table();
        for (std::size_t i = 0; i < of.size(); ++i) {
            const std::string_view name(CARD_ORDER[i], 4);
            const auto row =
                std::find_if(table.begin(), table.end(), [&](const ConstantRow& r) { return name == r.name; });
            assert(row != table.end() && "the constant is in the table");
            of[i] = &*row;
        }
        return of;
    }();
    return order;
}

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

}  // namespace korvane
