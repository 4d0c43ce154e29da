// Loads and shunts of bus cards as individual records (INDV): what stays on the bus card all the same.
#pragma once
#include <vector>

#include "network/store.hpp"

namespace korvane {

/// By bus: a typed motor takes its power from the load of its bus, so that load stays there; and a shunt stays beside a
/// group of banks under control, which would switch it.
struct IndividualRecords {
    explicit IndividualRecords(const Store& s)
        : load_stays(std::size_t(s.bus.NB) + 1), shunt_stays(std::size_t(s.bus.NB) + 1) {
        for (int i : rows(s.mot.NMOT))
            if (s.mot.MOTIP(i) != 0) load_stays[std::size_t(s.mot.NOMOT(i))] = true;
        for (int n : rows(s.bsh.NBSH))
            if (s.bsh.MCBSH(n) != 0 && s.bsh.IDCIR(n) == 0) shunt_stays[std::size_t(s.bsh.NOBSH(n))] = true;
    }
    std::vector<char> load_stays, shunt_stays;
};

}  // namespace korvane
