#include "network/study_rows.hpp"

namespace korvane {

namespace {

/// Parts of a row lie together: from its first part up to the first part of the next row. Rows and parts for which keep
/// is false go, and the firsts follow. `first` has one entry more than there are rows.
template <class First, class Row, class Part, class Move>
int close_up_parts(First& first, int n, Row keep_row, Part keep_part, Move move) {
    int rows_kept = 0, parts_kept = 0;
    for (int i : rows(n)) {
        const int from = first(i), to = first(i + 1);
        if (!keep_row(i)) continue;
        first(++rows_kept) = parts_kept + 1;
        for (int p = from; p < to; ++p)
            if (keep_part(p)) move(p, ++parts_kept);
    }
    first(rows_kept + 1) = parts_kept + 1;
    return parts_kept;
}

}  // namespace

void mark_variables_of_removed(Store& s) {
    for (int v : rows(s.vco.NCONX))
        if (const int g = s.vco.ITCONX(v); g != 0 && s.gen.NOGEN(g) == 0) s.vco.NOCONX(v) = 0;
}

void drop_removed_variables(Store& s) {
    if (s.vco.NCONX == 0) return;
    auto stays = [&](int v) { return s.vco.NOCONX(v) != 0; };
    const FamilyInfo& points = layout_of(Family::curve_point);
    const FamilyInfo& terms = layout_of(Family::constraint_term);
    // The firsts are rewritten here, so the rows that close_up moves must not bring their own along.
    std::array<int, MXVCO + 1> first;
    Table<int, MXVCO + 1>& list = s.vco.LPTOX;
    s.pto.NPTO = close_up_parts(
        list, s.vco.NCONX, stays, [](int) { return true; }, [&](int p, int q) { copy_row(&s.pto, points, p, q); });
    std::copy_n(list.data(), first.size(), first.begin());
    close_up(s, s.vco, stays);
    std::copy_n(first.begin(), std::size_t(s.vco.NCONX) + 1, list.data());
    s.cft.NCFT = close_up_parts(
        s.res.IPCFT, s.res.NRES, [](int) { return true; }, [&](int p) { return s.cft.NOCFT(p) != 0; },
        [&](int p, int q) { copy_row(&s.cft, terms, p, q); });
}

}  // namespace korvane
