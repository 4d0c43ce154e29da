// Rows of the store filled by the names of their columns.
#pragma once
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "network/store.hpp"

namespace korvane::testing {

template <class Tables>
void set_column(Tables& t, int i, std::string_view name, double value) {
    bool found = false;
    each_table(t, [&](const auto& column, auto& table) {
        auto& entry = table(i);
        using Value = std::remove_cvref_t<decltype(entry)>;
        if (name != column.name) return;
        if constexpr (std::is_arithmetic_v<Value>)
            entry = static_cast<Value>(value), found = true;
        else if constexpr (std::is_assignable_v<Value&, int>)
            entry = static_cast<int>(value), found = true;
    });
    if (!found) throw std::logic_error("no column of numbers: " + std::string(name));
}

/// Columns of row i and the values that they take: set_row(s.gen, j, "QMIN", -9, "QMAX", 9).
template <class Tables>
void set_row(Tables&, int) {}
template <class Tables, class Value, class... More>
void set_row(Tables& t, int i, std::string_view name, Value value, More... more) {
    set_column(t, i, name, static_cast<double>(value));
    set_row(t, i, more...);
}

/// The same of a row that is added. Returns it.
template <class Tables, class... Columns>
int put_row(Tables& t, Columns... columns) {
    const int i = add_row(t);
    set_row(t, i, columns...);
    return i;
}

}  // namespace korvane::testing
