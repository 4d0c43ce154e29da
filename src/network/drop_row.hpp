// Deleting rows of families that nothing refers to, while a block is read.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// The last row of the family moves into the place of row i. The work tables of the block follow by themselves.
template <class Tables>
void drop_row(Tables& t, int i) {
    const FamilyInfo& layout = layout_of(Tables::family);
    assert(!layout.referenced && "references to the last row would be left behind");
    if (i != t.count()) copy_row(&t, layout, t.count(), i);
    --t.count();
}

}  // namespace korvane
