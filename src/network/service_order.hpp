// Rows in service in front of the others, within one family; and how many there are in each.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// The rows of each family that are in service: those that STOOFF would leave. Nothing moves.
std::array<int, FAMILIES> rows_in_service(Store& s);

/// Rows out of service, which lie behind the others already, leave the counts: the end of STOOFF, with the counts of
/// Compaction::rows.
void set_aside_again(Run& run);

/// The rows 1 to n for which keep holds go before the others: from the front, a row out of place trades places with
/// the last one that belongs in front, and all references follow. Returns how many there are.
template <class Tables, class Keep>
int bring_forward(Store& s, Tables& t, int n, Keep keep) {
    int* to = nullptr;  // NOVAPOS: old rows to new ones, once something moves
    int i = 1, j = n;
    for (;;) {
        while (i <= j && keep(i)) ++i;
        while (j > i && !keep(j)) --j;
        if (i >= j) break;
        if (!to) {
            to = row_scratch(s).data();
            for (int k = 0; k <= t.count(); ++k) to[k] = k;
        }
        swap_rows(&t, layout_of(Tables::family), i, j);
        std::swap(to[i++], to[j--]);
    }
    if (to) remap(s, Tables::family, RowMap(to));
    return i - 1;
}

}  // namespace korvane
