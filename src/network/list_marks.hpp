// Which rows of another family a list names.
#pragma once
#include <algorithm>
#include <span>

#include "network/store.hpp"

namespace korvane {

/// Rows of a list, marked by the row that each names: index r is 1 when some entry names row r, of n. In row_scratch.
template <class List>
std::span<int> named_by(Store& s, const List& list, int n) {
    const std::span<int> mark = row_scratch(s);
    std::fill_n(mark.begin(), n + 1, 0);
    for (int i : rows(list.n))
        if (list.row(i) <= n) mark[std::size_t(list.row(i).at)] = 1;
    return mark;
}

}  // namespace korvane
