// A branch of the tree of a search in depth is a bridge when nothing behind it leads back to the bus in front of it or
// further up (R. E. Tarjan, SIAM J. Comput. 1, 1972; bridges: Inf. Process. Lett. 2, 1974).
#include "powerflow/bridges.hpp"

#include <algorithm>

#include "network/branch_rows.hpp"

namespace korvane {

namespace {

/// A bus of the present path: the branch that it was entered by, 0 for the first, and how far its list has been read.
struct Step {
    int bus, entered, next;
};

}  // namespace

std::vector<char> find_bridges(const Store& s) {
    const auto buses = std::size_t(s.bus.NB) + 1;
    std::vector<char> bridge(std::size_t(s.branch.NL) + 1);
    std::vector<int> met(buses);    // when the search met a bus
    std::vector<int> reach(buses);  // when it met the earliest that leads on from that bus or from behind it
    std::vector<Step> path;
    int clock = 0;
    auto enter = [&](int k, int by) {
        met[std::size_t(k)] = reach[std::size_t(k)] = ++clock;
        path.push_back({k, by, s.adr.LINPTR(k)});
    };
    auto leave = [&] {
        const Step done = path.back();
        path.pop_back();
        if (path.empty()) return;
        const auto k = std::size_t(done.bus), up = std::size_t(path.back().bus);
        reach[up] = std::min(reach[up], reach[k]);
        bridge[std::size_t(done.entered)] = reach[k] == met[k];
    };
    for (int start : rows(s.bus.NB)) {
        if (met[std::size_t(start)]) continue;
        enter(start, 0);
        while (!path.empty()) {
            Step& at = path.back();
            if (at.next == s.adr.LINPTR(at.bus + 1)) {
                leave();
                continue;
            }
            const int l = s.adr.LINADR(at.next++);
            if (l == at.entered || !connects(s, l)) continue;
            const int k = at.bus, m = s.branch.NFROM(l) == k ? s.branch.NTO(l) : s.branch.NFROM(l);
            if (const int when = met[std::size_t(m)])
                reach[std::size_t(k)] = std::min(reach[std::size_t(k)], when);
            else
                enter(m, l);
        }
    }
    return bridge;
}

}  // namespace korvane
