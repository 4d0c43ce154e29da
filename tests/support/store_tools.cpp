#include "support/store_tools.hpp"

#include <algorithm>
#include <cstring>
#include <map>

namespace korvane::testing {

namespace {

template <class C>
using ValueOf = typename std::remove_cvref_t<C>::value_type;

template <class T>
constexpr bool is_row = is_ref<T>::value;

std::uint64_t mix(std::uint64_t h, std::uint64_t v) {
    h ^= v + 0x9e3779b97f4a7c15u + (h << 6) + (h >> 2);
    return h * 0xff51afd7ed558ccdu;
}

template <class T>
std::uint64_t hash_of(const T& value) {
    std::uint64_t h = 14695981039346656037u;
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof value);
    for (unsigned char b : bytes) h = (h ^ b) * 1099511628211u;
    return h;
}

/// Rows of a family, in service or not.
template <class Tables>
int all_rows(Store& s, Tables& t) {
    return rows_taken(s, t);
}

/// What a row holds beside references. LITRF is an address, worked out from the tables of others.
template <class Tables>
std::uint64_t own_values(Tables& t, int i) {
    std::uint64_t h = std::uint64_t(Tables::family);
    each_table(t, [&](const auto& c, auto& table) {
        if constexpr (!is_row<ValueOf<decltype(c)>>)
            if (std::string_view(c.name) != "LITRF") h = mix(h, hash_of(table(i)));
    });
    return h;
}

/// f(tables) for the family F.
template <Family F, class Do>
void with_family(Store& s, Do&& f) {
    each_family(s, [&](auto& t) {
        if constexpr (std::remove_cvref_t<decltype(t)>::family == F) f(t);
    });
}

}  // namespace

std::string first_difference(Store& a, Store& b) {
    std::string found;
    auto differ = [&](const std::string& what) {
        if (found.empty()) found = what;
    };
    std::map<int, std::pair<int, std::map<std::string, std::vector<std::uint64_t>>>> other;
    each_family(b, [&](auto& t) {
        auto& [count, columns] = other[int(t.family)];
        count = all_rows(b, t);
        each_table(t, [&](const auto& c, auto& table) {
            for (int i : rows(count)) columns[c.name].push_back(hash_of(table(i)));
        });
    });
    each_family(a, [&](auto& t) {
        auto& [count, columns] = other[int(t.family)];
        if (all_rows(a, t) != count)
            return differ(family_name(t.family) + ": " + std::to_string(all_rows(a, t)) + " and " +
                          std::to_string(count) + " rows");
        each_table(t, [&](const auto& c, auto& table) {
            for (int i : rows(count))
                if (hash_of(table(i)) != columns[c.name][std::size_t(i - 1)])
                    differ(family_name(t.family) + ' ' + c.name + '(' + std::to_string(i) + ')');
        });
    });
    if (!found.empty()) return found;
    for (int k : rows(MXAGR)) {
        if (a.agr.NAGINT(k) != b.agr.NAGINT(k) || !(a.agr.DESCAG(k) == b.agr.DESCAG(k)) ||
            a.agr.count(k) != b.agr.count(k))
            differ("aggregator " + std::to_string(k));
        for (int i : rows(std::min(a.agr.count(k), b.agr.count(k))))
            if (a.agr.NIDGAG(k)(i) != b.agr.NIDGAG(k)(i) || !(a.agr.DESGAG(k)(i) == b.agr.DESGAG(k)(i)))
                differ("group of aggregator " + std::to_string(k));
    }
    for (int k : rows(a.bus.NB))
        if (a.adr.NOORD(k) != b.adr.NOORD(k)) differ("NOORD(" + std::to_string(k) + ')');
    for (int k : rows(a.area.NAREA))
        if (a.adr.NAORD(k) != b.adr.NAORD(k)) differ("NAORD(" + std::to_string(k) + ')');
    if (a.adr.NBMAX != b.adr.NBMAX) differ("NBMAX");
    return found;
}

std::string stray_reference(Store& s) {
    std::string found;
    each_family(s, [&](auto& t) {
        const int n = all_rows(s, t);
        each_table(t, [&](const auto& c, auto& table) {
            using T = ValueOf<decltype(c)>;
            if constexpr (is_row<T>) {
                int limit = 0;
                with_family<T::family>(s, [&](auto& other) { limit = all_rows(s, other); });
                for (int i : rows(n))
                    if (std::abs(table(i).at) > limit && found.empty())
                        found = family_name(t.family) + ' ' + c.name + '(' + std::to_string(i) +
                                ") = " + std::to_string(table(i).at) + " of " + std::to_string(limit);
            }
        });
    });
    return found;
}

std::string wrong_address(Store& s) {
    const Addresses& a = s.adr;
    const BranchTables& b = s.branch;
    std::vector<std::vector<int>> branches(std::size_t(s.bus.NB) + 1);
    std::vector<int> ties;
    for (int l : rows(b.NL)) {
        branches[std::size_t(b.NFROM(l))].push_back(l);
        branches[std::size_t(b.NTO(l))].push_back(l);
        if (s.bus.IAREA(b.NFROM(l)) != s.bus.IAREA(b.NTO(l))) ties.push_back(l);
    }
    for (int k : rows(s.bus.NB)) {
        std::vector<int> listed;
        for (int p = a.LINPTR(k); p < a.LINPTR(k + 1); ++p) listed.push_back(a.LINADR(p));
        if (listed != branches[std::size_t(k)]) return "branches of bus " + std::to_string(k);
    }
    if (b.NL == 0 && s.bus.NB > 0 && a.LINPTR(1) != 0) return "LINPTR without branches";
    if (std::vector<int>(a.LTLADR.data(), a.LTLADR.data() + a.NLTL) != ties) return "LTLADR";

    int highest = 0;
    for (int n : rows(s.bus.NB)) {
        const int number = s.bus.NOINT(a.NOORD(n));
        if (number <= highest) return "NOORD(" + std::to_string(n) + ')';
        highest = number;
        if (bus_of(s, number) != a.NOORD(n)) return "index of bus " + std::to_string(number);
    }
    if (a.NBMAX != highest) return "NBMAX";
    for (int n : rows(s.area.NAREA))
        if (n > 1 && s.area.NAINT(a.NAORD(n)) <= s.area.NAINT(a.NAORD(n - 1))) return "NAORD";

    std::vector<int> generator(std::size_t(s.bus.NB) + 1), injection(generator);
    for (int g : rows(s.gen.NG)) generator[std::size_t(s.gen.NOGEN(g))] = g;
    for (int e : rows(s.eqv.NEQV)) injection[std::size_t(s.eqv.NOEQV(e))] = e;
    for (int area : rows(s.area.NAREA)) {
        std::vector<int> buses, machines, injections, chain, machine_chain, injection_chain;
        for (int n : rows(s.bus.NB))
            if (const int k = a.NOORD(n); s.bus.IAREA(k) == area) {
                buses.push_back(k);
                if (generator[std::size_t(k)]) machines.push_back(generator[std::size_t(k)]);
                if (injection[std::size_t(k)]) injections.push_back(injection[std::size_t(k)]);
            }
        for (int k = a.IPAREA(area); k; k = a.IAREAL(k)) chain.push_back(k);
        for (int g = a.IAGPTR(area); g; g = a.IAGADR(g)) machine_chain.push_back(g);
        for (int e = a.IEQPTR(area); e; e = a.IEQADR(e)) injection_chain.push_back(e);
        if (chain != buses) return "buses of area " + std::to_string(area);
        if (machine_chain != machines) return "generators of area " + std::to_string(area);
        if (injection_chain != injections) return "injections of area " + std::to_string(area);
    }
    for (int l : rows(b.NL)) {
        const int row = b.LITRF(l), type = b.LTYPE(l);
        if (row == 0) continue;
        const bool phase = type == 2 || type == 4 || type == 6;
        const int names = phase       ? s.tap.NOTAP(s.phs.NOPHS(row)).at
                          : type == 0 ? s.shl.LISHL(row).at
                          : type == 5 ? s.csc.LICSC(row).at
                                      : s.tap.NOTAP(row).at;
        if (names != l) return "LITRF(" + std::to_string(l) + ')';
    }
    return "";
}

std::vector<std::vector<std::uint64_t>> contents(Store& s) {
    std::vector<std::vector<std::uint64_t>> own(FAMILIES), all(FAMILIES);
    each_family(s, [&](auto& t) {
        own[std::size_t(t.family)].resize(std::size_t(all_rows(s, t)) + 1);
        for (int i : rows(all_rows(s, t))) own[std::size_t(t.family)][std::size_t(i)] = own_values(t, i);
    });
    each_family(s, [&](auto& t) {
        auto& list = all[std::size_t(t.family)];
        for (int i : rows(all_rows(s, t))) {
            std::uint64_t h = own[std::size_t(t.family)][std::size_t(i)];
            each_table(t, [&](const auto& c, auto& table) {
                using T = ValueOf<decltype(c)>;
                if constexpr (is_row<T>) {
                    const int at = table(i);
                    h = mix(h, at ? own[std::size_t(T::family)][std::size_t(std::abs(at))] + (at < 0) : 0);
                }
            });
            list.push_back(h);
        }
        std::sort(list.begin(), list.end());
    });
    return all;
}

void fill_at_random(Store& s, unsigned seed, double off) {
    std::mt19937 random(seed);
    auto below = [&](int n) { return int(random() % unsigned(n)); };
    const int nb = 2 + below(60);
    // Counts first, so that references know where they may point.
    each_family(s, [&](auto& t) {
        t.count() = 0;
        int n = 1 + below(nb);
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(t)>, BusTables>) n = nb;
        n = std::min(n, limit_of<std::remove_cvref_t<decltype(t)>>());
        for (int i = 0; i < n; ++i) add_row(t);
    });
    each_family(s, [&](auto& t) {
        each_table(t, [&](const auto& c, auto& table) {
            using T = ValueOf<decltype(c)>;
            for (int i : rows(t.count())) {
                if constexpr (is_row<T>) {
                    int limit = 0;
                    with_family<T::family>(s, [&](auto& other) { limit = other.count(); });
                    table(i) = 1 + below(limit);
                } else if constexpr (std::is_same_v<T, bool>) {
                    table(i) = double(below(1000)) >= off * 1000;
                } else if constexpr (std::is_same_v<T, int>) {
                    table(i) = 1 + below(1 << 30);
                } else if constexpr (std::is_same_v<T, double>) {
                    table(i) = double(random()) / 1e6;
                } else {
                    for (char& byte : std::span(reinterpret_cast<char*>(&table(i)), sizeof(T)))
                        byte = char('A' + below(26));
                }
            }
        });
    });
    // What the tables mean beyond that: numbers are unique, an element has one row of its kind.
    std::vector<int> numbers(99999), buses(static_cast<std::size_t>(nb));
    for (int i = 0; i < 99999; ++i) numbers[std::size_t(i)] = i + 1;
    for (int k : rows(nb)) std::swap(numbers[std::size_t(k - 1)], numbers[std::size_t(k - 1 + below(99999 - k))]);
    for (int k : rows(nb)) {
        buses[std::size_t(k - 1)] = k;
        s.bus.NOINT(k) = numbers[std::size_t(k - 1)];
        s.bus.NTYPE(k) = below(7) - 3;
    }
    for (int a : rows(s.area.NAREA)) s.area.NAINT(a) = 1000 - a;
    std::shuffle(buses.begin(), buses.end(), random);
    for (int g : rows(s.gen.NG)) s.gen.NOGEN(g) = buses[std::size_t(g - 1)];
    for (int e : rows(s.eqv.NEQV)) s.eqv.NOEQV(e) = buses[std::size_t(e - 1)];
    for (int l : rows(s.branch.NL)) {
        s.branch.LTYPE(l) = below(7);
        if (s.branch.NFROM(l) == s.branch.NTO(l)) s.branch.NTO(l) = s.branch.NFROM(l) % nb + 1;
    }
    s.tap.NTAP = std::min(s.tap.NTAP, s.branch.NL);
    s.phs.NPHS = std::min(s.phs.NPHS, s.tap.NTAP);
    for (int t : rows(s.tap.NTAP)) {
        s.tap.NOTAP(t) = t;
        if (below(2)) s.tap.KBUS(t).at *= -1;
    }
    for (int p : rows(s.phs.NPHS)) s.phs.NOPHS(p) = p;
    s.shl.NSHL = std::min(s.shl.NSHL, s.branch.NL);
    for (int h : rows(s.shl.NSHL)) s.shl.LISHL(h) = h;
    s.csc.NCSC = std::min(s.csc.NCSC, s.branch.NL);
    for (int c : rows(s.csc.NCSC)) s.csc.LICSC(c) = c;
    for (int b : rows(s.bsh.NBSH))
        if (below(2)) s.bsh.IDCIR(b) = 0;
}

}  // namespace korvane::testing
