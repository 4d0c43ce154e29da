// Sums that are given member by member, one card each: what their blocks share.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// What the sign on the card of a member says.
struct SumSign {
    bool known;
    bool closes;  // the member is the last of its sum
    int sign;     // 1 or -1
};
constexpr SumSign sum_sign(char c) {
    switch (c) {
        case '+': return {true, false, 1};
        case '-': return {true, false, -1};
        case '=':
        case ',':
        case ' ': return {true, true, 1};
        default: return {false, false, 1};
    }
}
/// The sign that a card of the member has.
constexpr char sign_letter(bool closes, int sign) { return closes ? '=' : sign < 0 ? '-' : '+'; }

/// Sets the members of the sum in rows first to last that stay in an order in which cards can give them: the one that
/// closes the sum is added, not subtracted, when there is such a one. Returns the row of that member, 0 when none
/// stays.
template <class Members, class Stays>
int last_member(Members& t, int first, int last, Stays stays) {
    int end = 0, added = 0;
    for (int i = first; i <= last; ++i) {
        if (!stays(i)) continue;
        end = i;
        if (t.sign(i) > 0) added = i;
    }
    if (added != 0 && added != end) swap_rows(&t, layout_of(Members::family), added, end);
    return end;
}

/// Members whose bus is 0 are about to leave the table. A sum that loses the member that closes it is closed by
/// another one, with its text; sums are numbered from 1 again.
template <Family Own>
void keep_sums_closed(GenerationSum<Own>& t) {
    int number = 1, first = 1;
    for (int i : rows(t.n)) {
        t.sum(i) = number;
        if (!t.closes(i)) continue;
        const int end = last_member(t, first, i, [&](int k) { return t.bus(k) != 0; });
        if (end != 0 && end != i) {
            t.closes(end) = true;
            t.text(end) = t.text(i);
        }
        number += end != 0;
        first = i + 1;
    }
}

/// The same of flow sums, whose members of branch 0 are about to leave.
inline void keep_sums_closed(FlowMemberTables& t) {
    int first = 1;
    for (int i : rows(t.NLTB)) {
        if (i < t.NLTB && t.sum(i + 1) == t.sum(i)) continue;
        if (t.sum(i) != 0) last_member(t, first, i, [&](int k) { return t.IPLTB(k) != 0; });
        first = i + 1;
    }
}

}  // namespace korvane
