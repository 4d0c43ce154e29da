// Deleting rows of a family while a block is read.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// The last row of a family that nothing refers to moves into the place of row i. The work tables of the block follow
/// by themselves.
template <class Tables>
void drop_row(Tables& t, int i) {
    const FamilyInfo& layout = layout_of(Tables::family);
    assert(!layout.referenced && "references to the last row would be left behind");
    if (i != t.count()) copy_row(&t, layout, t.count(), i);
    --t.count();
}

/// The same for a family that others refer to: they follow the last row, and have 0 for the deleted one.
template <class Tables>
void drop_row(Store& s, Tables& t, int i) {
    const int last = t.count();
    int* const to = row_scratch(s).data();
    for (int k = 0; k <= last; ++k) to[k] = k;
    to[i] = 0;
    if (i != last) {
        to[last] = i;
        copy_row(&t, layout_of(Tables::family), last, i);
    }
    --t.count();
    remap(s, Tables::family, RowMap(to));
}

}  // namespace korvane
