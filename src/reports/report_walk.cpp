// What reports have in common: how they open, and the order in which they go through the network.
#include "reports/report_walk.hpp"

namespace korvane {

namespace {

/// Keeps the buses of selected islands and brings them together by island, in the same order within each. One pass
/// over the buses however many islands there are.
std::vector<int> by_island(const Islands& ilh, const std::vector<int>& buses) {
    std::vector<int> end(std::size_t(ilh.count) + 1, 0);  // first counts by island, then where the next bus goes
    auto printed = [&](int k) {
        const int island = ilh.NOILHA2(k);
        return island >= 1 && island <= ilh.count && ilh.ILHASEL(island);
    };
    for (int k : buses)
        if (printed(k)) ++end[std::size_t(ilh.NOILHA2(k))];
    int total = 0;
    for (int& n : end) n = std::exchange(total, total + n);
    std::vector<int> sorted(static_cast<std::size_t>(total));
    for (int k : buses)
        if (printed(k)) sorted[std::size_t(end[std::size_t(ilh.NOILHA2(k))]++)] = k;
    return sorted;
}

}  // namespace

void open_report(Run& run, std::string_view routine) {
    LDFORM(run, routine);
    run.pag.PAUSOK = false;
    run.pag.NEWPAG = true;
    run.pag.NLINE = run.pag.LPP;
    run.opt.set("IMPR"_opt);
}

std::vector<int> report_walk(const Run& run) {
    const Store& s = run.store;
    std::vector<int> buses;
    buses.reserve(std::size_t(s.bus.NB));
    for (int i : rows(s.area.NAREA)) {
        const int area = s.adr.NAORD(i);
        if (!s.area.ARESEL(area)) continue;
        for (int k = s.adr.IPAREA(area); k != 0; k = s.adr.IAREAL(k))
            if (s.bus.BUSSEL(k)) buses.push_back(k);
    }
    return run.opt["ILHA"_opt] ? by_island(s.ilh, buses) : buses;
}

}  // namespace korvane
