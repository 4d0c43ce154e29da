// A list of rows of another family, with the place of each of them.
#pragma once
#include <vector>

#include "network/drop_row.hpp"

namespace korvane {

/// The list of a block while the block is read: adding, finding and removing a row take constant time. Column is the
/// table of the list that names the rows.
template <class List, auto Column>
class PlacedRows {
public:
    /// n: rows in use of the family that the list names.
    PlacedRows(List& list, int n) : list_(list), place_(std::size_t(n) + 1, 0) {
        for (int i : rows(list.count())) place_[std::size_t((list.*Column)(i))] = i;
    }

    /// Place of the row in the list, 0 for none.
    int place(int row) const { return place_[std::size_t(row)]; }
    bool has(int row) const { return place(row) != 0; }
    bool full() const { return list_.count() >= limit_of<List>(); }

    /// The row, not listed yet, goes to the end of a list that is not full. Returns its place.
    int add(int row) {
        assert(!has(row) && !full());
        const int i = add_row(list_);
        (list_.*Column)(i) = row;
        return place_[std::size_t(row)] = i;
    }
    /// The row, which is listed, leaves a gap that the last one fills.
    void remove(int row) {
        int& place = place_[std::size_t(row)];
        assert(place != 0);
        place_[std::size_t((list_.*Column)(list_.count()))] = place;
        drop_row(list_, place);
        place = 0;
    }

private:
    List& list_;
    std::vector<int> place_;  // by row of the other family
};

/// The same of a list that holds nothing but the rows.
template <class List>
using PlacedList = PlacedRows<List, &List::row>;

}  // namespace korvane
