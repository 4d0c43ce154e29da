#include "network/voltage_holders.hpp"

#include "network/list_marks.hpp"

namespace korvane {

std::vector<VoltageHold> voltage_holders(Run& run) {
    Store& s = run.store;
    const bool remote = run.opt["CREM"_opt], all = remote && run.opt["TGER"_opt];
    std::vector<VoltageHold> holds(std::size_t(s.gen.NG) + 1);
    auto hold = [&](int j) -> VoltageHold& { return holds[std::size_t(j)]; };
    for (int j : rows(s.gen.NG))
        if (const int k = s.gen.NOGEN(j); k && s.bus.STBUS(k) && holds_voltage(s.bus.NTYPE(k))) hold(j).bus = k;
    if (!remote) return holds;

    map_bus_rows(s);
    const std::span<int> left_out = named_by(s, s.fcr, s.gen.NG);
    std::vector<int> asked(holds.size());  // row of ICB that speaks for the generator, 0 for none
    for (int i : rows(s.rcb.NRCB)) {
        const int c = s.rcb.IRCB(i);
        const auto j = std::size_t(s.rcb.ICB(i).at);
        if (j && !left_out[j] && !asked[j] && c >= 1 && c <= s.bus.NB && s.bus.STBUS(c)) asked[j] = i;
    }
    // Whether the generator at bus c leaves room for others that control c.
    auto open_to_others = [&](int c) {
        const auto j = std::size_t(s.map.NGADR(c));
        if (!j || !holds[j].bus) return true;
        return all && !left_out[j] && (!asked[j] || s.rcb.IRCB(asked[j]) == c);
    };
    for (int j : rows(s.gen.NG)) {
        const int i = asked[std::size_t(j)];
        if (!hold(j).bus) continue;
        if (!i)
            hold(j).forced = all && !left_out[std::size_t(j)];
        else if (open_to_others(s.rcb.IRCB(i)))
            hold(j) = {.bus = s.rcb.IRCB(i), .control = i};
    }
    return holds;
}

}  // namespace korvane
