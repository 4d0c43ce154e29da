// Stores that tests make up, compare and look over: every tool walks columns(), so it knows tables of the future too.
#pragma once
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "network/store.hpp"

namespace korvane::testing {

/// f(column name as "bus.VOLT"-like text, family, column, table) for every table of every family.
template <class F>
void each_column(Store& s, F&& f) {
    each_family(s, [&](auto& family) { each_table(family, [&](const auto& c, auto& table) { f(family, c, table); }); });
}

/// Name of a family for failure texts.
inline std::string family_name(Family f) { return "family " + std::to_string(int(f)); }

/// The first table entry in use that differs between two stores, with counts, aggregators and orders looked at too;
/// empty when the stores hold the same network.
std::string first_difference(Store& a, Store& b);

/// The first reference that points outside its family, or names a row out of use; empty when there is none. Rows of
/// every family are looked at, those out of service too.
std::string stray_reference(Store& s);

/// What the address lists must say, worked out the simple way: empty when LINPTR, LINADR, LTLADR, NOORD, the chains of
/// areas, LITRF and the index of external numbers agree with the tables.
std::string wrong_address(Store& s);

/// Every row of every family as a number that does not depend on row order: its own values, and those of the rows that
/// it refers to. Sorted, one list a family, and one of the aggregators. Two stores with the same lists hold the same
/// network in some order.
std::vector<std::vector<std::uint64_t>> contents(Store& s);

/// Columns whose values, row order aside, are not the same in two stores: what to look at when contents() differ.
std::string differing_columns(Store& a, Store& b);

/// Rows in all families, with references that are right and values at random. Elements out of service at random with
/// the given probability of each. Address lists are not made.
void fill_at_random(Store& s, unsigned seed, double off);

/// Seeds 1 to n.
inline std::vector<unsigned> seeds(unsigned n) {
    std::vector<unsigned> all(n);
    for (unsigned i = 0; i < n; ++i) all[i] = i + 1;
    return all;
}

}  // namespace korvane::testing
