#include "casestore/whole_store.hpp"
#include "network/service_order.hpp"

#include <algorithm>

namespace korvane {

namespace {

/// The columns that no field of the newest version holds as they are. They follow from the description, so they are
/// worked out once.
const std::vector<std::vector<ColumnInfo>>& left_out(CaseContext& c) {
    static const std::vector<std::vector<ColumnInfo>> columns = [&] {
        std::vector<const char*> held;
        for (const CaseSection& section : case_sections())
            for (const CaseField& f : section.fields)
                if (f.column) held.push_back(static_cast<const char*>(f.table(c)));
        std::vector<std::vector<ColumnInfo>> all;
        const char* const store = reinterpret_cast<const char*>(&c.run.store);
        for (const FamilyInfo& family : store_layout()) {
            all.emplace_back();
            for (const ColumnInfo& column : family.columns) {
                const char* const first = store + family.offset + column.offset;
                const auto in_first_entry = [&](const char* p) { return p >= first && p < first + column.size; };
                if (std::none_of(held.begin(), held.end(), in_first_entry)) all.back().push_back(column);
            }
        }
        return all;
    }();
    return columns;
}

/// f(bytes, size) for each piece of the rest that is no column.
template <class F>
void each_piece(Run& run, F&& f) {
    Store& s = run.store;
    auto piece = [&](auto& object) {
        static_assert(std::is_trivially_copyable_v<std::remove_reference_t<decltype(object)>>);
        f(reinterpret_cast<char*>(&object), int(sizeof object));
    };
    piece(s.sol);
    piece(run.cte);
    piece(s.cmp.rows);
    piece(s.cmp.compacted);
    piece(s.cmp.first_factor);
    piece(s.cmp.factors);
    piece(s.cmp.first_fixed_tap);
    piece(s.cmp.fixed_taps);
    piece(s.cmp.NCTROFF);
    if (s.cmp.NCTROFF > 0)
        f(reinterpret_cast<char*>(s.cmp.change.data()), s.cmp.NCTROFF * int(sizeof(Compaction::ControlChange)));
}

/// f(first entry, rows, bytes of an entry) for each column that the format leaves out.
template <class F>
void each_column(CaseContext& c, F&& f) {
    char* const store = reinterpret_cast<char*>(&c.run.store);
    const auto& layout = store_layout();
    const auto& columns = left_out(c);
    for (std::size_t i = 0; i < layout.size(); ++i) {
        int n;
        std::memcpy(&n, store + layout[i].offset, sizeof n);
        if (c.writing && c.s().cmp.compacted) n += c.s().cmp.of(layout[i].family).off;
        f(store + layout[i].offset, n, columns[i]);
    }
}

}  // namespace

void save_rest(CaseWriter& out, CaseContext& c) {
    // Families that the format does not know at all come with their counts.
    each_column(c, [&](const char* family, int n, const std::vector<ColumnInfo>& columns) {
        out.SAVINT(Strided<const int>{&n}, 1);
        for (const ColumnInfo& column : columns)
            out.SAVCHR({family + column.offset, int(column.size)}, n, int(column.size));
    });
    each_piece(c.run, [&](const char* bytes, int size) { out.SAVCHR({bytes}, 1, size); });
}

void restore_rest(CaseReader& in, CaseContext& c) {
    each_column(c, [&](char* family, int, const std::vector<ColumnInfo>& columns) {
        int n = 0;
        in.RETINT(Strided<int>{&n}, 1);
        std::memcpy(family, &n, sizeof n);
        for (const ColumnInfo& column : columns)
            in.RETCHR({family + column.offset, int(column.size)}, n, int(column.size));
    });
    each_piece(c.run, [&](char* bytes, int size) { in.RETCHR({bytes}, 1, size); });
    if (c.run.store.cmp.compacted) set_aside_again(c.run);
}

}  // namespace korvane
