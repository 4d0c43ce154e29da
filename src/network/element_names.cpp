// What the network tells of the elements that messages name.
#include <cstdlib>

#include "frame/messages.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

static bool is_bus(const Store& s, int k) { return k >= 1 && k <= s.bus.NB && s.bus.NOINT(k) > 0; }

ElementName name_element(const Run& run, int element, int type) {
    const Store& s = run.store;
    ElementName e;
    switch (type) {
        case element::bus:
        case element::bus_number: {
            const int k = type == element::bus ? element : bus_of(s, element);
            if (!is_bus(s, k)) break;
            e.known = true;
            e.number = s.bus.NOINT(k);
            e.name = s.bus.BNAME(k);
            break;
        }
        case element::branch: {
            if (element < 1 || element > s.branch.NL) break;
            const int from = std::abs(s.branch.NFROM(element).at), to = std::abs(s.branch.NTO(element).at);
            if (!is_bus(s, from) || !is_bus(s, to)) break;
            e.known = true;
            e.number = s.bus.NOINT(from);
            e.name = s.bus.BNAME(from);
            e.to_number = s.bus.NOINT(to);
            e.to_name = s.bus.BNAME(to);
            e.circuit = s.branch.NCIR(element);
            break;
        }
        case element::link:
            if (element < 1 || element > s.ldc.NLDC) break;
            e.known = true;
            e.number = s.ldc.NINLNK(element);
            e.name = s.ldc.NAMLNK(element);
            break;
        default: break;
    }
    return e;
}

}  // namespace korvane
