// JUMPER: branches of so little impedance that their ends count as one place.
#include "frame/run.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

void JUMPER(Run& run) {
    BranchTables& b = run.store.branch;
    const TapTables& t = run.store.tap;
    constexpr double ROUNDING = 1 + 1e-9;  // of an impedance that went through its admittance
    // |z| = |1/y| as on the card, in per cent: y stands in the store divided by the ratio of its transformer.
    auto mark = [&](int l, double tap) {
        const double admittance = std::hypot(b.GKM(l), b.BKM(l)) / std::abs(tap);
        b.MARKC(l) = 100 <= run.cte.ZMIN * admittance * ROUNDING;
    };
    for (int l : rows(b.NL)) mark(l, 1.0);
    for (int n : rows(t.NTAP)) mark(t.NOTAP(n), t.TAP(n));
}

}  // namespace korvane
