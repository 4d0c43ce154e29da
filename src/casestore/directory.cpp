#include "casestore/directory.hpp"

#include <algorithm>

namespace korvane {

Chain CHKFRE(Records& r, Directory& d) {
    if (!d.read(r)) return Chain::broken;
    int tail = d.free_head(), highest = d.highest();
    if (tail == 0) return Chain::sound;
    for (int steps = 0, link = tail;; ++steps) {
        if (link < 0 || link >= RECORD_CEILING || steps >= RECORD_CEILING) return Chain::broken;
        highest = std::max(highest, link);
        tail = link;
        if (!read_link(r, tail, link)) return Chain::broken;
        if (link == 0) break;
    }
    if (highest == d.highest()) return Chain::sound;
    d.set_highest(tail);
    return d.write(r) ? Chain::raised : Chain::broken;
}

Chain CHKCHN(Records& r, const Directory& d, int n) {
    int link;
    if (!read_link(r, d.first(n), link)) return Chain::unreadable;
    const int first = d.first(n), last = d.last(n);
    if (first == last || first == 0 || last == 0) return Chain::sound;
    int record = first;
    for (int steps = 0; steps < RECORD_CEILING; ++steps) {
        if (!read_link(r, record, record) || record <= 0 || record > d.highest()) return Chain::broken;
        if (record == last) return Chain::sound;
    }
    return Chain::broken;
}

bool format_records(Records& r, Directory& d, int records) {
    std::fill_n(d.IPREG.begin(), 100, std::int16_t(0));
    // From the back, so that a file grows to its size at once.
    for (int k = records; k >= 2; --k)
        if (!write_link(r, k, k == records ? 0 : k + 1)) return false;
    d.set_free_head(2);
    d.set_highest(records);
    return d.write(r);
}

bool free_case(Records& r, Directory& d, int n) {
    if (!write_link(r, d.last(n), d.free_head())) return false;
    d.set_free_head(d.first(n));
    return true;
}

}  // namespace korvane
