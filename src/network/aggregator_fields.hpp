// The columns of aggregators 1 to 10 on a card, three columns each, and what is wrong with them.
#pragma once
#include "frame/field_table.hpp"
#include "network/store.hpp"

namespace korvane {

/// The field table of a block with the aggregators behind its own fields.
template <class C, std::size_t N>
constexpr std::array<Field<C>, N + MXAGR> with_aggregators(const Field<C> (&own)[N], Parts C::*into, int first,
                                                           Rules rules) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
        auto group = [&](int k) {
            Rules r = rules;
            r.part = k;
            return Field<C>{first + 3 * (k - 1), first + 3 * k - 1, into, r};
        };
        return std::array<Field<C>, N + MXAGR>{(I < N ? own[I] : group(int(I - N) + 1))...};
    }
    (std::make_index_sequence<N + MXAGR>{});
}

/// Identifiers that are negative (message first) or that nobody defined (first + 10); 20 more for each aggregator.
template <class C>
void check_aggregators(Run& run, const Edit<C>& e, Parts C::*member, int first) {
    for (int k : rows(MXAGR)) {
        const int id = (e.card.*member)[std::size_t(k - 1)], message = first + 20 * (k - 1);
        if (id == 0 || !e.given(member, k)) continue;
        if (!refuse(run, id < 0, message, id, element::number))
            refuse(run, run.store.agr.row(k, id) == 0, message + 10, id, element::number);
    }
}

/// Rows of the aggregators as identifiers, and identifiers that are typed as rows.
inline void show_aggregators(const Store& s, const AggregatorRows& from, Parts& into) {
    for (int k : rows(MXAGR))
        if (const int row = from(k)) into[std::size_t(k - 1)] = s.agr.NIDGAG(k)(row);
}
template <class C>
void take_aggregators(const Store& s, const Edit<C>& e, Parts C::*member, AggregatorRows& into) {
    for (int k : rows(MXAGR))
        if (e.adds() || e.given(member, k)) {
            const int id = (e.card.*member)[std::size_t(k - 1)];
            into(k) = std::uint8_t(id ? s.agr.row(k, id) : 0);
        }
}

}  // namespace korvane
