// Rows behind a bus, each known by its bus and a number on the bus: motors, individual loads, individual generators.
#pragma once
#include "network/service_order.hpp"

namespace korvane {

/// The rows of every bus as chains in ascending order, worked out anew from their bus column.
template <int N>
void chain_by_bus(const Table<BusRef, N>& bus, int n, int buses, Table<int, MXBUS>& head, Table<int, N>& link) {
    head.fill(buses, 0);
    for (int i = n; i >= 1; --i) {
        const int k = bus(i);
        if (k == 0) continue;
        link(i) = head(k);
        head(k) = i;
    }
}

/// The chains of one family while a block adds and removes rows. A row that is removed has bus 0 and leaves its chain;
/// the end card closes it up. A number on a bus is below 1000, so every look-up takes constant time.
template <int N>
class UnitRows {
public:
    UnitRows(const Store& s, Table<BusRef, N>& bus, Table<int, N>& number, int n, Table<int, MXBUS>& head,
             Table<int, N>& link)
        : bus_(bus), number_(number), head_(head), link_(link) {
        chain_by_bus(bus, n, s.bus.NB, head, link);
    }
    /// Row of the number on bus k, 0 for none.
    int find(int k, int number) const {
        int i = head_(k);
        while (i && number_(i) != number) i = link_(i);
        return i;
    }
    /// Row i, behind all rows so far, belongs to bus k under the number from now on.
    void append(int i, int k, int number) {
        bus_(i) = k;
        number_(i) = number;
        link_(i) = 0;
        int* last = &head_(k);
        while (*last) last = &link_(*last);
        *last = i;
    }
    void remove(int i) {
        int* before = &head_(bus_(i));
        while (*before != i) before = &link_(*before);
        *before = link_(i);
        bus_(i) = 0;
    }
    /// f(row) for every row of bus k.
    template <class F>
    void each(int k, F f) const {
        for (int i = head_(k); i; i = link_(i)) f(i);
    }

private:
    Table<BusRef, N>& bus_;
    Table<int, N>& number_;
    Table<int, MXBUS>& head_;
    Table<int, N>& link_;
};

/// In what order the rows of such a family stand after a block: those that were removed are gone, those in service
/// (their own state and that of their bus) come first.
template <class Tables, int N>
void settle_units(Store& s, Tables& t, Table<BusRef, N> Tables::*bus, Table<bool, N> Tables::*state) {
    close_up(s, t, [&](int i) { return (t.*bus)(i) != 0; });
    bring_forward(s, t, t.count(), [&](int i) { return (t.*state)(i) && s.bus.STBUS((t.*bus)(i)); });
}

}  // namespace korvane
