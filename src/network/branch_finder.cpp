#include "network/branch_finder.hpp"

#include <bit>

namespace korvane {

namespace {

/// A branch of the pair was met, in ascending branch order.
void take(FoundBranch& found, const BranchTables& b, int l, int circuit) {
    ++found.count;
    found.highest = std::max(found.highest, b.NCIR(l));
    if (found.branch == 0 && (circuit == 0 || b.NCIR(l) == circuit)) {
        found.branch = l;
        found.place = found.count;
    }
}

/// f(l) for every branch between two buses, in ascending order.
template <class F>
void each_parallel(const Store& s, int from, int to, F f) {
    if (from < 1 || to < 1 || from > s.bus.NB || to > s.bus.NB || from == to) return;
    const Addresses& a = s.adr;
    // The bus with fewer branches: a look-up on a bus with thousands of them stays short.
    auto degree = [&](int k) { return a.LINPTR(k + 1) - a.LINPTR(k); };
    const int k = degree(from) <= degree(to) ? from : to, other = from + to - k;
    for (int p = a.LINPTR(k); p < a.LINPTR(k + 1); ++p) {
        const int l = a.LINADR(p);
        if (s.branch.NFROM(l) + s.branch.NTO(l) - k == other) f(l);
    }
}

}  // namespace

FoundBranch FNDLIN(const Run& run, int from, int to, int circuit) {
    FoundBranch found;
    each_parallel(run.store, from, to, [&](int l) { take(found, run.store.branch, l, circuit); });
    return found;
}

int FNDPAR(const Run& run, int from, int to, int circuit, int least, int greatest) {
    const BranchTables& b = run.store.branch;
    int exact = 0, lowest = 0;
    each_parallel(run.store, from, to, [&](int l) {
        if (b.LTYPE(l) < least || b.LTYPE(l) > greatest) return;
        if (exact == 0 && b.NCIR(l) == circuit) exact = l;
        if (lowest == 0 || b.NCIR(l) < b.NCIR(lowest)) lowest = l;
    });
    return exact ? exact : -lowest;
}

BranchFinder::BranchFinder(const Store& s) : branch_(s.branch) {
    const auto nl = std::size_t(s.branch.NL);
    pairs_.assign(std::bit_ceil(std::max<std::size_t>(1024, 4 * nl)), Pair{});
    next_.assign(nl + 1, 0);
    for (int l : rows(s.branch.NL))
        if (branch_.NFROM(l) != 0) insert(l);
}

/// The place of the pair, or the free one that it would take.
std::size_t BranchFinder::place_of(int low, int high) const {
    const std::uint64_t mixed = (std::uint64_t(low) << 32 | std::uint64_t(high)) * 0x9E3779B97F4A7C15u;
    const std::size_t mask = pairs_.size() - 1;
    std::size_t at = std::size_t(mixed >> 32) & mask;
    while (pairs_[at].low != 0 && (pairs_[at].low != low || pairs_[at].high != high)) at = (at + 1) & mask;
    return at;
}

void BranchFinder::grow() {
    std::vector<Pair> former(2 * pairs_.size(), Pair{});
    former.swap(pairs_);
    for (const Pair& pair : former)
        if (pair.low) pairs_[place_of(pair.low, pair.high)] = pair;
}

FoundBranch BranchFinder::find(int from, int to, int circuit) const {
    FoundBranch found;
    for (int l = pairs_[place_of(std::min(from, to), std::max(from, to))].first; l; l = next_[std::size_t(l)])
        take(found, branch_, l, circuit);
    return found;
}

void BranchFinder::insert(int l) {
    if (2 * (used_ + 1) > pairs_.size()) grow();
    const int low = std::min<int>(branch_.NFROM(l), branch_.NTO(l)), high = branch_.NFROM(l) + branch_.NTO(l) - low;
    Pair& pair = pairs_[place_of(low, high)];
    used_ += pair.low == 0;
    pair.low = low;
    pair.high = high;
    (pair.first ? next_[std::size_t(pair.last)] : pair.first) = l;
    pair.last = l;
    next_.resize(std::max(next_.size(), std::size_t(l) + 1), 0);
    next_[std::size_t(l)] = 0;
}

void BranchFinder::remove(int l) {
    const int low = std::min<int>(branch_.NFROM(l), branch_.NTO(l)), high = branch_.NFROM(l) + branch_.NTO(l) - low;
    Pair& pair = pairs_[place_of(low, high)];
    int before = 0;
    for (int at = pair.first; at != l; at = next_[std::size_t(at)]) before = at;
    (before ? next_[std::size_t(before)] : pair.first) = next_[std::size_t(l)];
    if (pair.last == l) pair.last = before;
}

}  // namespace korvane
