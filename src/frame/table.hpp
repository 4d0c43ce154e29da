// Tables of the store: 1-based, of fixed size, each listed once by its family with a name and a reset value.
#pragma once
#include <array>
#include <cassert>
#include <cstddef>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace korvane {

/// 1 to n, the rows in use: for (int k : rows(bus.NB)) ...
class Rows {
public:
    struct Row {
        int k;
        int operator*() const { return k; }
        Row& operator++() { return ++k, *this; }
        bool operator!=(const Row& other) const { return k != other.k; }
    };
    explicit constexpr Rows(int n) : last_(n > 0 ? n : 0) {}
    Row begin() const { return {1}; }
    Row end() const { return {last_ + 1}; }

private:
    int last_;
};
constexpr Rows rows(int n) { return Rows(n); }

/// N rows, counted from 1. The index is checked in the dev build. No constructor: the store lies in zeroed pages,
/// and a row gets its reset values when it is taken into use, so rows never used cost no memory.
template <class T, int N>
class Table {
public:
    using value_type = T;
    static constexpr int size = N;

    T& operator()(int i) {
        assert(1 <= i && i <= N);
        return rows_[std::size_t(i - 1)];
    }
    const T& operator()(int i) const {
        assert(1 <= i && i <= N);
        return rows_[std::size_t(i - 1)];
    }
    /// Rows 1 to n take the value.
    void fill(int n, const T& value) {
        assert(0 <= n && n <= N);
        for (int i = 0; i < n; ++i) rows_[std::size_t(i)] = value;
    }
    T* data() { return rows_.data(); }
    const T* data() const { return rows_.data(); }

private:
    std::array<T, std::size_t(N)> rows_;
};

/// The families of rows that other rows can point at.
enum class Family : unsigned char {
    bus,
    area,
    base_group,
    limit_group,
    generator,
    remote_control,
    slack,
    shunt,
    branch,
    tap,
    phase,
    line_shunt,
    load_model,
    injection,
    motor,
    series_device,
    compensator,
    individual_load,
    individual_generator,
    bank,
    bank_unit,
    automatic_shunt,
    link,
    dc_bus,
    dc_line,
    terminal,
    converter,
    monitored_bus,
    monitored_generator,
    monitored_branch,
    remote_factor,
    limit_factor,
    fixed_tap,
    alternative_slack,
    voltage_band,
    active_sum,
    reactive_sum,
    flow_sum,
    flow_member,
    frequency_island,
    contingency,
    contingency_class,
    contingency_change,
    contingency_value,
    control_variable,
    curve_point,
    group_constraint,
    constraint_term,
};
constexpr int FAMILIES = int(Family::constraint_term) + 1;

/// An entry that is a row of family F: 0 points at nothing, and a sign carries a meaning of the column and survives
/// every move of the row.
template <Family F>
struct Ref {
    static constexpr Family family = F;
    int at;
    Ref() = default;
    constexpr Ref(int row) : at(row) {}
    constexpr operator int() const { return at; }
};

/// An entry that is a row of a family that the row itself tells: target_of() of its tables, nothing for no family. 0 and
/// the sign as with Ref.
struct AnyRef {
    int at;
    AnyRef() = default;
    constexpr AnyRef(int row) : at(row) {}
    constexpr operator int() const { return at; }
};

template <class T>
struct is_ref : std::false_type {};
template <Family F>
struct is_ref<Ref<F>> : std::true_type {};

/// One column of a family: its name, the table, and the value of a fresh row.
template <class Tables, class Member>
struct Column {
    using table_type = std::remove_reference_t<decltype(std::declval<Tables&>().*std::declval<Member>())>;
    using value_type = typename table_type::value_type;
    const char* name;
    Member member;
    value_type reset;
};
template <class Tables, class T, int N>
constexpr auto column(const char* name, Table<T, N> Tables::*member, std::type_identity_t<T> reset = T{}) {
    return Column<Tables, Table<T, N> Tables::*>{name, member, reset};
}

/// f(column, table) for every table of a family.
template <class Tables, class F>
void each_table(Tables& t, F&& f) {
    std::apply([&](const auto&... c) { (f(c, t.*(c.member)), ...); }, std::remove_const_t<Tables>::columns());
}

/// True when columns() lists the tables of the family in their order and leaves none out: the layout that the list
/// gives is exactly the struct, its row count first.
template <class Tables>
constexpr bool lists_every_table() {
    std::size_t at = sizeof(int), widest = alignof(int);
    auto place = [&](std::size_t size, std::size_t align) {
        at = (at + align - 1) / align * align + size;
        widest = align > widest ? align : widest;
    };
    std::apply(
        [&](const auto&... c) {
            (place(sizeof(typename std::remove_cvref_t<decltype(c)>::table_type),
                   alignof(typename std::remove_cvref_t<decltype(c)>::table_type)),
             ...);
        },
        Tables::columns());
    return (at + widest - 1) / widest * widest == sizeof(Tables);
}

/// Old rows to new rows of one family; 0 for a row that is gone. A reference keeps its sign.
class RowMap {
public:
    explicit RowMap(int* new_row) : new_row_(new_row) {}
    int operator()(int ref) const { return ref < 0 ? -new_row_[-ref] : ref == 0 ? 0 : new_row_[ref]; }

private:
    int* new_row_;  // entries 1 to the old count
};

}  // namespace korvane
