// The layout of the store without its types, and the operations that move rows of any family by it.
#include "network/store.hpp"

namespace korvane {

/// Whether a row that tells the family of its reference may name this one: a change of a contingency, a term of a
/// constraint.
static bool named_by_rows(Family f) {
    for (int type = change::generation; type <= change::bypass_off; ++type)
        if (family_of_change(type) == f) return true;
    return f == Family::control_variable || f == Family::branch;
}

template <class Tables>
std::optional<Family> target_of_row(const void* tables, int row) {
    return static_cast<const Tables*>(tables)->target_of(row);
}

static std::vector<FamilyInfo> make_layout() {
    // Distances between the members of a store that nobody uses: its pages stay untouched.
    const StorePtr sample = make_store();
    Store& s = *sample;
    auto distance = [](const void* from, const void* to) {
        return std::size_t(static_cast<const char*>(to) - static_cast<const char*>(from));
    };
    std::vector<FamilyInfo> all;
    each_family(s, [&](auto& t) {
        FamilyInfo info{t.family, distance(&s, &t), false, {}};
        each_table(t, [&](const auto& c, auto& table) {
            using Entry = typename std::remove_cvref_t<decltype(c)>::value_type;
            ColumnInfo column{c.name, distance(&t, &table), sizeof(Entry), std::nullopt};
            if constexpr (is_ref<Entry>::value) column.target = Entry::family;
            if constexpr (std::is_same_v<Entry, AnyRef>)
                column.target_of = target_of_row<std::remove_reference_t<decltype(t)>>;
            info.columns.push_back(column);
        });
        all.push_back(std::move(info));
    });
    for (FamilyInfo& family : all)
        for (const FamilyInfo& other : all)
            for (const ColumnInfo& c : other.columns)
                if (c.target == family.family || (c.target_of && named_by_rows(family.family)))
                    family.referenced = true;
    return all;
}

const std::vector<FamilyInfo>& store_layout() {
    static const std::vector<FamilyInfo> layout = make_layout();
    return layout;
}

const FamilyInfo& layout_of(Family f) {
    static const std::vector<int> place = [] {
        std::vector<int> at;
        for (std::size_t i = 0; i < store_layout().size(); ++i) {
            const auto family = std::size_t(store_layout()[i].family);
            if (family >= at.size()) at.resize(family + 1, -1);
            at[family] = int(i);
        }
        return at;
    }();
    return store_layout()[std::size_t(place[std::size_t(f)])];
}

static char* entry(void* tables, const ColumnInfo& c, int row) {
    return static_cast<char*>(tables) + c.offset + c.size * std::size_t(row - 1);
}

void copy_row(void* tables, const FamilyInfo& layout, int from, int to) {
    for (const ColumnInfo& c : layout.columns) std::memcpy(entry(tables, c, to), entry(tables, c, from), c.size);
}

void swap_rows(void* tables, const FamilyInfo& layout, int i, int j) {
    for (const ColumnInfo& c : layout.columns)
        std::swap_ranges(entry(tables, c, i), entry(tables, c, i) + c.size, entry(tables, c, j));
}

void remap(Store& s, Family f, const RowMap& moved) {
    for (const FamilyInfo& family : store_layout()) {
        char* const tables = reinterpret_cast<char*>(&s) + family.offset;
        int n;
        std::memcpy(&n, tables, sizeof n);
        n += s.cmp.of(family.family).off * s.cmp.compacted;
        for (const ColumnInfo& c : family.columns) {
            if (c.target != f && !c.target_of) continue;
            int* const at = reinterpret_cast<int*>(tables + c.offset);
            for (int i = 0; i < n; ++i)
                if (!c.target_of || c.target_of(tables, i + 1) == f) at[i] = moved(at[i]);
        }
    }
}

}  // namespace korvane
