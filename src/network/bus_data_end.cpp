// The end card of DBAR: what follows on all tables from the buses that the block added, changed and removed.
#include "network/bus_block.hpp"
#include "network/dependent_rows.hpp"

namespace korvane {

namespace {

bool gone(const Store& s, int k) { return s.bus.NOINT(k) == 0; }

// MOLT: a bus for which no card told an area takes that of its first neighbour which has one.
void settle_areas(Store& s, BusBlock& block) {
    const Addresses& a = s.adr;
    auto due = [&](int k) { return !block.settled[std::size_t(k)] && s.bus.IAREA(k) == 1 && !gone(s, k); };
    auto other_end = [&](int k, int p) {
        const int l = a.LINADR(p);
        return s.branch.NFROM(l) == k ? s.branch.NTO(l).at : s.branch.NFROM(l).at;
    };
    std::vector<int> moved;
    auto move = [&](int k, int area) {
        --block.buses_in[1];
        ++block.buses_in[std::size_t(area)];
        s.bus.IAREA(k) = area;
        block.settled[std::size_t(k)] = true;
        moved.push_back(k);
    };
    // New buses have no branches yet, so the lists of the old ones are all there is to search.
    for (int k : rows(block.buses_before)) {
        for (int p = a.LINPTR(k); due(k) && p < a.LINPTR(k + 1); ++p)
            if (const int m = other_end(k, p); !gone(s, m) && !due(m)) move(k, s.bus.IAREA(m));
    }
    // A bus passed over may have a neighbour that got its area later.
    while (!moved.empty()) {
        const int k = moved.back();
        moved.pop_back();
        for (int p = a.LINPTR(k); p < a.LINPTR(k + 1); ++p)
            if (const int m = other_end(k, p); due(m)) move(m, s.bus.IAREA(k));
    }
    // The rest stays in the provisional area; when a card named that number, it is the same area.
    if (const int named = block.area_row[MOLT_AREA])
        for (int k : rows(block.buses_before))
            if (due(k)) move(k, named);
}

// Steps 1 to 3: generator rows without a machine go, and with them what names them.
void close_up_generators(Run& run, BusBlock& block) {
    Store& s = run.store;
    GeneratorTables& t = s.gen;
    auto needed = [&](int g) {
        const int k = t.NOGEN(g);
        if (gone(s, k)) return false;
        return s.bus.NTYPE(k) != 0 || t.PGEN(g) != 0 || t.QGEN(g) != 0 || t.QMIN(g) != 0 || t.QMAX(g) != 0;
    };
    std::vector<char> dropped(MXBUS + 1);
    for (int g : rows(t.NG)) dropped[std::size_t(t.NOGEN(g))] = !needed(g);
    if (close_up(s, t, needed)) {
        close_up(s, s.slp, [&](int r) { return !dropped[std::size_t(s.slp.NOSLP(r))]; });
        close_up(s, s.mtg, [&](int r) { return s.mtg.row(r) != 0; });
        close_up(s, s.fcr, [&](int r) { return s.fcr.row(r) != 0; });
        close_up(s, s.fql, [&](int r) { return s.fql.row(r) != 0; });
    }
    close_up(s, s.gei, [&](int r) {
        const int k = s.gei.NOGEI(r);
        if (s.gei.NOGGEI(r) != 0 && s.bus.NTYPE(k) != 0) return true;
        refuse(run, true, -995, gone(s, k) ? block.former[std::size_t(k)] : s.bus.NOINT(k), element::bus_number);
        return false;
    });
}

// Step 4, and the same for taps.
void return_controls(Run& run) {
    Store& s = run.store;
    for (int n : rows(s.cer.NCER)) {
        const int own = s.cer.NBECER(n);
        if (gone(s, own) || !gone(s, s.cer.NVKCER(n))) continue;
        refuse(run, true, -970, own, element::bus);
        s.cer.NVKCER(n) = own;
    }
    for (int t : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(t), k = std::abs(s.tap.KBUS(t).at);
        if (k == 0 || !gone(s, k) || gone(s, s.branch.NFROM(l)) || gone(s, s.branch.NTO(l))) continue;
        refuse(run, true, -980, l, element::branch);
        s.tap.KBUS(t) = s.branch.NFROM(l);
    }
}

// Steps 5 to 7: slacks, remote controls and taps take their rows and set points.
void settle_controls(Run& run, const BusBlock& block) {
    Store& s = run.store;
    close_up(s, s.slk,
             [&](int r) { return s.slk.NGSLK(r) != 0 && std::abs(s.bus.NTYPE(s.gen.NOGEN(s.slk.NGSLK(r)))) == 3; });

    auto set_point = [&](int k) { return block.set_point[std::size_t(k)]; };
    std::vector<char> controls(MXBUS + 1);
    close_up(s, s.rcb, [&](int r) {
        const int g = s.rcb.ICB(r);
        const int own = g ? s.gen.NOGEN(g).at : 0;
        if (own == 0 || (std::abs(s.bus.NTYPE(own)) != 2 && std::abs(s.bus.NTYPE(own)) != 3)) return false;
        const int number = s.rcb.IRCB(r), k = bus_of(s, number);
        if (k == own) {
            s.bus.VOLT(own) = s.gen.VGEN(g);
            return false;
        }
        if (refuse(run, k == 0, -980, own, element::bus)) return false;
        s.rcb.IRCB(r) = k;
        s.rcb.VRCB(r) = set_point(k);
        controls[std::size_t(own)] = true;
        return true;
    });
    for (int r : rows(s.rcb.NRCB)) refuse(run, controls[std::size_t(s.rcb.IRCB(r))], 340, s.rcb.IRCB(r), element::bus);

    for (int t : rows(s.tap.NTAP)) {
        const int type = s.branch.LTYPE(s.tap.NOTAP(t)), k = std::abs(s.tap.KBUS(t).at);
        if ((type != 3 && type != 4) || k == 0 || gone(s, k)) continue;
        s.tap.VBUS(t) = s.tap.VBARRA(t) = set_point(k);
        refuse(run, controls[std::size_t(k)], 350, k, element::bus);
    }
}

// Step 10, first half: areas and voltage-limit groups that no bus is in.
void drop_unused_groups(Store& s) {
    std::array<bool, MXARE + 1> area{};
    std::array<bool, MXGLT + 1> group{};
    for (int k : rows(s.bus.NB)) {
        if (gone(s, k)) continue;
        area[std::size_t(s.bus.IAREA(k))] = true;
        group[std::size_t(s.bus.NOGLT(k))] = true;
    }
    close_up(s, s.area, [&](int a) { return area[std::size_t(a)]; });
    close_up(s, s.glt, [&](int g) { return group[std::size_t(g)]; });
}

}  // namespace

void finish_buses(Run& run, BusBlock& block) {
    Store& s = run.store;
    if (block.rebuild_areas) settle_areas(s, block);
    close_up_generators(run, block);
    return_controls(run);
    settle_controls(run, block);
    close_up(s, s.sht, [&](int h) { return s.sht.SHUNT(h) != 0; });
    MSGOUT(run);
    drop_unused_groups(s);
    if (block.removed)
        drop_removed(run);
    else
        rebuild_addresses(run);
    settle_dependents(run);
}

}  // namespace korvane
