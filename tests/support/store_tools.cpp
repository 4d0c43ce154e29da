#include "support/store_tools.hpp"

#include <algorithm>
#include <cstring>

namespace korvane::testing {

namespace {

// Families and columns are walked at run time: templates over all of them would take minutes to compile.

std::uint64_t mix(std::uint64_t h, std::uint64_t v) {
    h ^= v + 0x9e3779b97f4a7c15u + (h << 6) + (h >> 2);
    return h * 0xff51afd7ed558ccdu;
}

/// A family of a store.
struct FamilyView {
    const FamilyInfo& info;
    unsigned char* tables;
    int off;  // rows out of service, behind the count

    FamilyView(Store& s, const FamilyInfo& f)
        : info(f),
          tables(reinterpret_cast<unsigned char*>(&s) + f.offset),
          off(s.cmp.compacted ? s.cmp.of(f.family).off : 0) {}
    int& count() const { return *reinterpret_cast<int*>(tables); }
    int all_rows() const { return count() + off; }
    unsigned char* entry(const ColumnInfo& c, int i) const { return tables + c.offset + std::size_t(i - 1) * c.size; }
    int& reference(const ColumnInfo& c, int i) const { return *reinterpret_cast<int*>(entry(c, i)); }
    std::uint64_t hash(const ColumnInfo& c, int i) const {
        std::uint64_t h = 14695981039346656037u;
        for (unsigned char byte : std::span(entry(c, i), c.size)) h = (h ^ byte) * 1099511628211u;
        return h;
    }
    std::string name() const { return family_name(info.family); }
};

std::vector<FamilyView> families(Store& s) {
    std::vector<FamilyView> all;
    for (const FamilyInfo& f : store_layout()) all.emplace_back(s, f);
    return all;
}

FamilyView family(Store& s, Family f) { return {s, layout_of(f)}; }

std::string at(const FamilyView& f, const ColumnInfo& c, int i) {
    return f.name() + ' ' + c.name + '(' + std::to_string(i) + ')';
}

/// The most rows that a family has room for, of those that have little.
int room(Family f) {
    switch (f) {
        case Family::frequency_island: return MXFRP;
        case Family::link: return MXLDC;
        case Family::contingency_class: return MXPRI;
        case Family::group_constraint: return MXRES;
        default: return 100;
    }
}

/// The family that an entry refers to; nothing for a column of values.
std::optional<Family> target(const FamilyView& f, const ColumnInfo& c, int i) {
    return c.target_of ? c.target_of(f.tables, i) : c.target;
}

/// Changes of contingencies and terms of constraints name elements that are there; parts lie one behind the other.
void make_studies(Store& s, std::mt19937& random) {
    auto below = [&](int n) { return int(random() % unsigned(n)); };
    auto element = [&](Family f) { return 1 + below(family(s, f).count()); };
    s.pri.NPRI = 1;  // one class chains them all
    s.pri.NCTPRI(1) = 1;
    for (int i : rows(s.ctg.NCTG)) {
        s.ctg.NXCTG(i) = i < s.ctg.NCTG ? i + 1 : -1;
        s.ctg.IFCTG(i) = std::max<int>(s.ctg.IPCTG(i), s.ctg.IFCTG(i));
    }
    for (int i : rows(s.chg.NCHG)) {
        do s.chg.ITCTG(i) = 1 + below(change::bypass_off);
        while (!family_of_change(s.chg.ITCTG(i)));
        s.chg.NOCTG(i) = element(*s.chg.target_of(i));
    }
    for (int i : rows(s.cft.NCFT)) {
        s.cft.ITCFT(i) = 1 + below(3);
        s.cft.NOCFT(i) = element(*s.cft.target_of(i));
    }
    for (int i : rows(s.vco.NCONX)) {
        s.vco.NOCONX(i) = s.gen.NOGEN(1 + below(s.gen.NG));
        s.vco.ITCONX(i) = 0;
        if (below(2)) continue;
        s.vco.ITCONX(i) = element(Family::generator);
        s.vco.NOCONX(i) = s.gen.NOGEN(s.vco.ITCONX(i));
    }
    for (int i : rows(s.vco.NCONX + 1)) s.vco.LPTOX(i) = std::min(i, s.pto.NPTO + 1);
    for (int i : rows(s.res.NRES + 1)) s.res.IPCFT(i) = std::min(i, s.cft.NCFT + 1);
}

}  // namespace

std::string first_difference(Store& a, Store& b) {
    std::string found;
    auto differ = [&](const std::string& what) {
        if (found.empty()) found = what;
    };
    for (const FamilyView& f : families(a)) {
        const FamilyView other = family(b, f.info.family);
        const int n = f.all_rows();
        if (n != other.all_rows())
            return f.name() + ": " + std::to_string(n) + " and " + std::to_string(other.all_rows()) + " rows";
        for (const ColumnInfo& c : f.info.columns)
            for (int i : rows(n))
                if (std::memcmp(f.entry(c, i), other.entry(c, i), c.size) != 0) return at(f, c, i);
    }
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
    if (std::string_view(a.comment.text.data(), std::size_t(a.comment.length)) !=
        std::string_view(b.comment.text.data(), std::size_t(b.comment.length)))
        differ("comment");
    return found;
}

std::string stray_reference(Store& s) {
    for (const FamilyView& f : families(s))
        for (const ColumnInfo& c : f.info.columns) {
            if (!c.target && !c.target_of) continue;
            for (int i : rows(f.all_rows())) {
                const auto to = target(f, c, i);
                const int limit = to ? family(s, *to).all_rows() : 0;
                if (to && std::abs(f.reference(c, i)) > limit)
                    return at(f, c, i) + " = " + std::to_string(f.reference(c, i)) + " of " + std::to_string(limit);
            }
        }
    return "";
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

/// What an entry says, the rows of groups as the numbers that they have.
static std::uint64_t meaning(const Store& s, const FamilyView& f, const ColumnInfo& c, int i) {
    if (double v; c.size == sizeof v) {  // 0 and -0 are one value
        std::memcpy(&v, f.entry(c, i), sizeof v);
        if (v == 0) return 0;
    }
    const std::string_view name = c.name;
    if (name != "IAGRBAR" && name != "IAGRCIR") return f.hash(c, i);
    AggregatorRows groups;
    assert(c.size == sizeof groups);
    std::memcpy(&groups, f.entry(c, i), sizeof groups);
    std::uint64_t h = 0;
    for (int k : rows(MXAGR)) {
        const int row = groups(k);
        h = mix(h, std::uint64_t(row > 0 && row <= s.agr.count(k) ? s.agr.NIDGAG(k)(row) : row));
    }
    return h;
}

std::vector<std::vector<std::uint64_t>> contents(Store& s) {
    // What a row holds beside references. LITRF is an address, worked out from the tables of others.
    std::vector<std::vector<std::uint64_t>> own(FAMILIES), all(FAMILIES);
    for (const FamilyView& f : families(s)) {
        auto& values = own[std::size_t(f.info.family)];
        values.assign(std::size_t(f.all_rows()) + 1, std::uint64_t(f.info.family));
        for (const ColumnInfo& c : f.info.columns)
            if (!c.target && !c.target_of && std::string_view(c.name) != "LITRF")
                for (int i : rows(f.all_rows()))
                    values[std::size_t(i)] = mix(values[std::size_t(i)], meaning(s, f, c, i));
    }
    for (const FamilyView& f : families(s)) {
        auto& list = all[std::size_t(f.info.family)];
        for (int i : rows(f.all_rows())) {
            std::uint64_t h = own[std::size_t(f.info.family)][std::size_t(i)];
            for (const ColumnInfo& c : f.info.columns) {
                const auto to = target(f, c, i);
                if (!to) continue;
                const int row = f.reference(c, i);
                h = mix(h, row ? own[std::size_t(*to)][std::size_t(std::abs(row))] + (row < 0) : 0);
            }
            list.push_back(h);
        }
        std::sort(list.begin(), list.end());
    }
    auto& groups = all.emplace_back();
    for (int k : rows(MXAGR)) {
        const auto text = [](const auto& t) { return std::uint64_t(std::hash<std::string_view>{}(t.view())); };
        groups.push_back(mix(std::uint64_t(k), text(s.agr.DESCAG(k))));
        for (int i : rows(s.agr.count(k)))
            groups.push_back(mix(mix(std::uint64_t(k), std::uint64_t(s.agr.NIDGAG(k)(i))), text(s.agr.DESGAG(k)(i))));
    }
    std::sort(groups.begin(), groups.end());
    return all;
}

std::string differing_columns(Store& a, Store& b) {
    std::string found;
    const auto values = [](const Store& s, const FamilyView& f, const ColumnInfo& c) {
        std::vector<std::uint64_t> all;
        for (int i : rows(f.all_rows())) all.push_back(meaning(s, f, c, i));
        std::sort(all.begin(), all.end());
        return all;
    };
    for (const FamilyView& f : families(a))
        for (const ColumnInfo& c : f.info.columns)
            if (!c.target && !c.target_of && std::string_view(c.name) != "LITRF" &&
                values(a, f, c) != values(b, family(b, f.info.family), c))
                found += f.name() + ' ' + c.name + "; ";
    return found;
}

void fill_at_random(Store& s, unsigned seed, double off) {
    std::mt19937 random(seed);
    auto below = [&](int n) { return int(random() % unsigned(n)); };
    const int nb = 2 + below(60);
    // Counts first, so that references know where they may point.
    for (const FamilyView& f : families(s))
        f.count() = f.info.family == Family::bus ? nb : std::min(1 + below(nb), room(f.info.family));
    auto put = [&](unsigned char* entry, std::size_t size) {
        const auto set = [&](auto value) { std::memcpy(entry, &value, sizeof value); };
        if (size == sizeof(bool))
            set(double(below(1000)) >= off * 1000);
        else if (size == sizeof(int))
            set(1 + below(1 << 30));
        else if (size == sizeof(double))
            set(double(random()) / 1e6);
        else
            for (unsigned char& byte : std::span(entry, size)) byte = static_cast<unsigned char>('A' + below(26));
    };
    for (const FamilyView& f : families(s))
        for (const ColumnInfo& c : f.info.columns)
            for (int i : rows(f.count())) {
                if (c.target)
                    f.reference(c, i) = 1 + below(family(s, *c.target).count());
                else
                    put(f.entry(c, i), c.size);
            }
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
    make_studies(s, random);
}

}  // namespace korvane::testing
