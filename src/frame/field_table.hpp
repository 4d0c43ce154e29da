// Field tables that are put together from parts.
#pragma once
#include "frame/card_block.hpp"

namespace korvane {

/// Columns rise, do not overlap, and end by 132.
template <class C, std::size_t N>
consteval bool well_formed(const std::array<Field<C>, N>& fields) {
    int at = 0;
    for (const Field<C>& f : fields) {
        if (f.first <= at || f.last < f.first || f.last > 132) return false;
        at = f.last;
    }
    return true;
}

}  // namespace korvane
