// Rows that cards have removed, until the end card closes them up.
#pragma once
#include <vector>

#include "network/store.hpp"

namespace korvane {

/// Where a new element of a family goes: behind the rows in use, or when the table is full into a row that a card of
/// the block has removed. A removed row names no element, and nothing refers to it.
template <class Tables>
class RemovedRows {
public:
    explicit RemovedRows(Tables& t) : t_(t) {}

    /// The row that the next element takes, 0 when there is no room.
    int next() const { return t_.count() < limit_of<Tables>() ? t_.count() + 1 : rows_.empty() ? 0 : rows_.back(); }
    /// Takes the row that next() told, with reset values.
    void take(int i) {
        if (i > t_.count()) {
            add_row(t_);
        } else {
            rows_.pop_back();
            reset_row(t_, i);
        }
    }
    void remove(int i) {
        reset_row(t_, i);
        rows_.push_back(i);
    }
    bool any() const { return !rows_.empty(); }

private:
    Tables& t_;
    std::vector<int> rows_;
};

}  // namespace korvane
