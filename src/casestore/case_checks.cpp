#include "casestore/case_checks.hpp"

#include <algorithm>
#include <cmath>

#include "network/shunt_banks.hpp"

namespace korvane {

int wrong_count(CaseContext& c, int& cell) {
    for (const CountCell& count : count_cells()) {
        const int n = c.LINE(count.cell);
        if (n >= 0 && n <= count.limit) continue;
        cell = count.cell;
        return count.message;
    }
    const std::pair<int, int> lengths[] = {{36, CODES}, {44, OPTIONS}, {102, MXAGR}};
    for (const auto& [at, limit] : lengths)
        if (c.LINE(at) < 0 || c.LINE(at) > limit) {
            cell = at;
            return 400;
        }
    return 0;
}

namespace {

/// Whether all reals of a column are numbers: the sum of a value times 0 is 0 for these alone.
bool all_finite(Strided<const double> v, int n) {
    double sum = 0;
    for (int i = 0; i < n; ++i) sum += v[i] * 0.0;
    return sum == 0;
}

bool all_within(Strided<const int> v, int n, int low, int high) {
    int least = INT_MAX, most = INT_MIN;
    for (int i = 0; i < n; ++i) {
        least = std::min(least, v[i]);
        most = std::max(most, v[i]);
    }
    return n == 0 || (least >= low && most <= high);
}

}  // namespace

bool sound_fields(CaseContext& c, const char*& field) {
    std::array<int, FAMILIES> count{};
    each_family(c.s(), [&](auto& t) { count[std::size_t(t.family)] = t.count(); });
    bool sound = true;
    each_case_field(c, [&](const CaseField& f, int n) {
        if (!sound || !f.table || f.rebuilt || f.byte) return;
        bool good = true;
        if (f.kind == Kind::R && f.column) good = all_finite({static_cast<const double*>(f.table(c)), f.stride}, n);
        if (f.kind == Kind::I && (f.target || f.low != INT_MIN || f.high != INT_MAX)) {
            const int high = f.target ? count[std::size_t(*f.target)] : f.high;
            const int low = f.target && f.low == INT_MIN ? -high : f.low;
            good = all_within({static_cast<const int*>(f.table(c)), f.stride}, n, low, high);
        }
        if (good) return;
        sound = false;
        field = f.name;
    });
    return sound;
}

namespace {

/// Whether the rows of an aggregator that elements name are there.
template <class Column>
bool aggregators_there(const Store& s, const Column& column, int n) {
    for (int i : rows(n))
        for (int k : rows(MXAGR))
            if (column(i)(k) > s.agr.count(k)) return false;
    return true;
}

/// Whether a column names each row once at most.
template <class Column>
bool each_once(std::vector<char>& seen, const Column& column, int n, int rows_named) {
    seen.assign(std::size_t(rows_named) + 1, 0);
    for (int i : rows(n))
        if (seen[std::size_t(column(i))]++) return false;
    return true;
}

/// Whether entries that are rows of a family that each row tells name one that is there.
template <class Tables, class Column>
bool rows_there(Store& s, const Tables& t, const Column& column, int n) {
    std::array<int, FAMILIES> count{};
    each_family(s, [&](auto& family) { count[std::size_t(family.family)] = family.count(); });
    for (int i : rows(n)) {
        const std::optional<Family> target = t.target_of(i);
        const std::int64_t row = column(i);
        if (target && std::abs(row) > count[std::size_t(*target)]) return false;
    }
    return true;
}

/// Whether parts of each row follow those of the row before and end with the last part there is.
template <class First>
bool parts_in_order(const First& first, int n, int parts) {
    if (n == 0) return true;
    for (int i : rows(n))
        if (first(i) < 1 || first(i) > first(i + 1)) return false;
    return first(n + 1) <= parts + 1;
}

/// Whether the contingencies of each class form a chain that ends at its class, and their changes lie in order.
bool contingencies_in_order(const Store& s) {
    for (int i : rows(s.ctg.NCTG))
        if (s.ctg.IFCTG(i) < s.ctg.IPCTG(i)) return false;
    int left = s.ctg.NCTG;
    for (int p : rows(s.pri.NPRI)) {
        int i = s.pri.NCTPRI(p);
        for (; i > 0; i = s.ctg.NXCTG(i))
            if (i > s.ctg.NCTG || left-- == 0) return false;
        if (i < -std::int64_t(s.pri.NPRI)) return false;
    }
    return true;
}

}  // namespace

bool sound_tables(CaseContext& c, const char*& field) {
    Store& s = c.s();
    std::vector<char> seen;
    auto check = [&](bool good, const char* name) {
        if (!good) field = name;
        return good;
    };
    const std::vector<double>& current = c.reals[0];
    const bool derived = all_finite({s.cer.QGCER.data()}, s.cer.NCER) &&
                         all_finite({current.data()}, int(current.size())) &&
                         all_finite({c.reals[1].data()}, int(c.reals[1].size()));
    bool ends = true;
    for (int l : rows(s.branch.NL)) ends = ends && s.branch.NFROM(l) != s.branch.NTO(l);
    return check(derived, "QGCER") && check(ends, "NTO") &&
           check(each_once(seen, s.bus.NOINT, s.bus.NB, MXNUM), "NOINT") &&
           check(each_once(seen, s.area.NAINT, s.area.NAREA, 999), "NAINT") &&
           check(each_once(seen, s.gen.NOGEN, s.gen.NG, s.bus.NB), "NOGEN") &&
           check(each_once(seen, s.sht.NOSHT, s.sht.NSHT, s.bus.NB), "NOSHT") &&
           check(each_once(seen, s.eqv.NOEQV, s.eqv.NEQV, s.bus.NB), "NOEQV") &&
           check(each_once(seen, s.rcb.ICB, s.rcb.NRCB, s.gen.NG), "ICB") &&
           check(each_once(seen, s.tap.NOTAP, s.tap.NTAP, s.branch.NL), "NOTAP") &&
           check(each_once(seen, s.phs.NOPHS, s.phs.NPHS, s.tap.NTAP), "NOPHS") &&
           check(each_once(seen, s.csc.LICSC, s.csc.NCSC, s.branch.NL), "LICSC") &&
           check(aggregators_there(s, s.bus.IAGRBAR, s.bus.NB), "IAGRBAR") &&
           check(aggregators_there(s, s.branch.IAGRCIR, s.branch.NL), "IAGRCIR") &&
           check(rows_there(s, s.chg, s.chg.NOCTG, s.chg.NCHG), "NOCTG") &&
           check(rows_there(s, s.cft, s.cft.NOCFT, s.cft.NCFT), "NOCFT") &&
           check(parts_in_order(s.vco.LPTOX, s.vco.NCONX, s.pto.NPTO), "LPTOX") &&
           check(parts_in_order(s.res.IPCFT, s.res.NRES, s.cft.NCFT), "IPCFT") &&
           check(contingencies_in_order(s), "NXCTG");
}

int drop_stray_bank_rows(Run& run) {
    Store& s = run.store;
    auto stands = [&](int i) { return s.bshl.IBUSH(i) >= 1 && s.bshl.IBUSH(i) <= s.bsh.NBSH; };
    const int dropped = close_up(s, s.bshl, stands);
    chain_bank_rows(s);
    if (dropped > 0) make_bank_shunts(s);
    return dropped;
}

}  // namespace korvane
