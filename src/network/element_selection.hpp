// Selection of buses and branches: the eleven fields by which a card names a set of them instead of one element.
//
//     AREA    1 A AREA    5 X TENS  138          areas 1 to 5 without their buses of 138 kV
//
// A card has one criterion or two, joined by X (without), E (and also) or S (only those in both). A criterion is a
// keyword with a value, two of them joined by E, or with A a range of one keyword.
#pragma once
#include <array>
#include <vector>

#include "frame/field_table.hpp"

namespace korvane {

/// The fields of a selection; the card of a block that has one derives from it.
struct SelectionFields {
    Text<4> keyword1, keyword2, keyword3, keyword4;  // "BARR", "AREA", "TENS", "AGR1" to "AG10"
    double value1, value2, value3, value4;           // number, identifier of a group, kV
    char link1, join, link2;                         // "E", "A"; "X", "E", "S"; "E", "A"
};

constexpr int SELECTION_FIELDS = 11;

/// First columns of the fields, in reading order. Keywords have four columns, values five, connectors one.
using SelectionColumns = std::array<int, SELECTION_FIELDS>;
constexpr SelectionColumns SELECTION_COLUMNS = {1, 6, 12, 14, 19, 25, 27, 32, 38, 40, 45};
constexpr SelectionColumns shifted(SelectionColumns columns, int by) {
    for (int& c : columns) c += by;
    return columns;
}

/// The fields of a selection for the field table of a block. Blank ones stay blank, also on a change card.
template <class C>
constexpr std::array<Field<C>, SELECTION_FIELDS> selection_fields(SelectionColumns at = SELECTION_COLUMNS) {
    using S = SelectionFields;
    constexpr Rules text{.letters = Letters::upper, .key = true, .zero_is_none = true};
    constexpr Rules number{.key = true, .zero_is_none = true};
    return {{{at[0], at[0] + 3, static_cast<Text<4> C::*>(&S::keyword1), text},
             {at[1], at[1] + 4, static_cast<double C::*>(&S::value1), number},
             {at[2], at[2], static_cast<char C::*>(&S::link1), text},
             {at[3], at[3] + 3, static_cast<Text<4> C::*>(&S::keyword2), text},
             {at[4], at[4] + 4, static_cast<double C::*>(&S::value2), number},
             {at[5], at[5], static_cast<char C::*>(&S::join), text},
             {at[6], at[6] + 3, static_cast<Text<4> C::*>(&S::keyword3), text},
             {at[7], at[7] + 4, static_cast<double C::*>(&S::value3), number},
             {at[8], at[8], static_cast<char C::*>(&S::link2), text},
             {at[9], at[9] + 3, static_cast<Text<4> C::*>(&S::keyword4), text},
             {at[10], at[10] + 4, static_cast<double C::*>(&S::value4), number}}};
}

/// The field table of a block with a selection among its own fields, in the order of their columns.
template <class C, std::size_t N>
constexpr std::array<Field<C>, N + SELECTION_FIELDS> with_selection(const Field<C> (&own)[N],
                                                                    SelectionColumns at = SELECTION_COLUMNS) {
    std::size_t before = 0;
    while (before < N && own[before].first < at[0]) ++before;
    const std::array<Field<C>, SELECTION_FIELDS> selection = selection_fields<C>(at);
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
        return std::array<Field<C>, N + SELECTION_FIELDS>{(I < before ? own[I]
                                                           : I < before + SELECTION_FIELDS
                                                               ? selection[I - before]
                                                               : own[I - SELECTION_FIELDS])...};
    }
    (std::make_index_sequence<N + SELECTION_FIELDS>{});
}

/// The selection that names the buses with these numbers, at most four of them, for a block that writes its rows.
constexpr int SELECTED_ONE_BY_ONE = 4;
SelectionFields select_buses(std::span<const int> numbers);

/// A set of positions, 1 to the size. Filling, walking and clearing it cost what it holds, not its size.
class PositionSet {
public:
    /// Empty, with room for positions up to n.
    void clear(int n);
    bool has(int i) const { return flag_[std::size_t(i)] != 0; }
    void add(int i) {
        if (!flag_[std::size_t(i)]) member_.push_back(i);
        flag_[std::size_t(i)] = 1;
    }
    /// Only those members stay for which keep(i) holds.
    template <class Keep>
    void keep_if(Keep keep) {
        std::erase_if(member_, [&](int i) {
            if (keep(i)) return false;
            flag_[std::size_t(i)] = 0;
            return true;
        });
    }
    bool empty() const { return member_.empty(); }
    /// The members in ascending order.
    const std::vector<int>& in_order();
    /// The members in the order in which they came.
    const std::vector<int>& members() const { return member_; }

private:
    std::vector<char> flag_;  // by position
    std::vector<int> member_;
};

/// What a card selected, as positions. A block keeps one for all its cards.
struct Selection {
    PositionSet buses, branches;
    PositionSet other_buses, other_branches;  // work: of the second criterion
};

/// BARRAR: number of a keyword: 1 bus, 2 area, 3 base voltage, 4 to 13 aggregators 1 to 10; 0 blank, -1 unknown.
int BARRAR(const Text<4>& keyword);

/// SELCRT: the buses and branches that the fields name. False, and nothing is selected, when a field is wrong or a
/// criterion finds nothing; then messages 701 to 726 or 801 to 842 wait under the name of the current routine, whose
/// catalogue file has "use selection". given: which of the four values are typed. Reads NOORD, NAORD and the chains of
/// the areas, and takes time in proportion to what is found; TENS and aggregators look at every bus or branch.
bool SELCRT(Run& run, const SelectionFields& fields, const std::array<bool, 4>& given, Selection& into);

/// The same of the card that a block is reading.
template <class C>
bool SELCRT(Run& run, const Edit<C>& e, Selection& into) {
    using S = SelectionFields;
    auto typed = [&](double S::*value) { return e.given(static_cast<double C::*>(value)); };
    return SELCRT(run, e.card, {typed(&S::value1), typed(&S::value2), typed(&S::value3), typed(&S::value4)}, into);
}

}  // namespace korvane
