// Whether a branch connects its buses, and the rows that it has in the tables of taps and of phase shifters.
#pragma once
#include "network/store.hpp"

namespace korvane {

/// In service between two buses in service.
inline bool connects(const Store& s, int l) {
    return s.branch.STLIN(l) && s.bus.STBUS(s.branch.NFROM(l)) && s.bus.STBUS(s.branch.NTO(l));
}
/// Tap row of a branch, 0 for none.
inline int tap_row(const Store& s, int l) {
    switch (s.branch.LTYPE(l)) {
        case 1:
        case 3: return s.branch.LITRF(l);
        case 2:
        case 4:
        case 6: return s.branch.LITRF(l) ? int(s.phs.NOPHS(s.branch.LITRF(l))) : 0;
        default: return 0;
    }
}
/// Its phase row, 0 for none.
inline int phase_row(const Store& s, int l) {
    const int type = s.branch.LTYPE(l);
    return type == 2 || type == 4 || type == 6 ? s.branch.LITRF(l) : 0;
}

}  // namespace korvane
