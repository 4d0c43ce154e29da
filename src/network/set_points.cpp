#include "network/set_points.hpp"

#include <cmath>

namespace korvane {

std::vector<double> set_points(const Store& s) {
    std::vector<double> held(std::size_t(s.bus.NB) + 1, 1.0);
    auto at = [&](int bus) -> double& { return held[std::size_t(bus)]; };
    for (int k : rows(s.bus.NB)) at(k) = s.bus.VOLT(k);
    for (int t : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(t);
        if (l != 0 && (s.branch.LTYPE(l) == 3 || s.branch.LTYPE(l) == 4))
            at(std::abs(s.tap.KBUS(t).at)) = s.tap.VBUS(t);
    }
    for (int g : rows(s.gen.NG))
        if (const int k = s.gen.NOGEN(g); std::abs(s.bus.NTYPE(k)) >= 2) at(k) = s.gen.VGEN(g);
    for (int r : rows(s.rcb.NRCB)) at(s.rcb.IRCB(r)) = s.rcb.VRCB(r);
    return held;
}

std::optional<double> upper_limit(double base_kv) {
    if (base_kv == 765) return 800 / base_kv;
    if (base_kv == 500 || base_kv == 525) return 550 / base_kv;
    return {};
}

}  // namespace korvane
