// Islands of the network and the slack that each of them must hold.
#include <algorithm>

#include "powerflow/solver.hpp"

namespace korvane {

namespace {

// Areas: the first island that each lies in, and the buses that lie in a later one.
void check_areas(Store& s) {
    Islands& ilh = s.ilh;
    ilh.area_spans = false;
    ilh.NSYARE.fill(s.area.NAREA, 0);
    ilh.FLGBUS.fill(s.bus.NB, false);
    for (int k : rows(s.bus.NB)) {
        const int area = s.bus.IAREA(k);
        if (area < 1 || area > s.area.NAREA) continue;
        int& first = ilh.NSYARE(area);
        if (first == 0) first = ilh.NOILHA2(k);
        if (first != ilh.NOILHA2(k)) ilh.FLGBUS(k) = ilh.area_spans = true;
    }
}

void mark_slacks(Run& run) {
    const Store& s = run.store;
    auto& slack = run.mat.work.slack;
    slack.fill(s.ilh.count, 0);
    for (int i : rows(s.slk.NSLK))
        if (const int j = s.slk.NGSLK(i)) {
            const int k = s.gen.NOGEN(j);
            if (int& first = slack(s.ilh.NOILHA2(k)); !first) first = k;
        }
}

// ASLK: an island without a slack takes the first bus of the list that lies in it.
void appoint_slacks(Run& run) {
    Store& s = run.store;
    auto& slack = run.mat.work.slack;
    map_bus_rows(s);
    for (int i : rows(s.slp.NSLP)) {
        const int k = s.slp.NOSLP(i);
        if (k < 1 || k > s.bus.NB || slack(s.ilh.NOILHA2(k))) continue;
        const int j = s.map.NGADR(k);
        if (!j || s.slk.NSLK >= MXSLK) continue;
        s.bus.NTYPE(k) = 3;
        const int row = add_row(s.slk);
        s.slk.NGSLK(row) = j;
        s.slk.PSLK(row) = s.gen.PGEN(j);
        s.slp.SLPUSO(i) = true;
        slack(s.ilh.NOILHA2(k)) = k;
    }
}

// Bus of the island with the lowest position.
int first_bus(const Store& s, int island) {
    int k = s.ilh.IPILH2(island);
    for (int i = k; i; i = s.ilh.LNKILH2(i)) k = std::min(k, i);
    return k;
}

// Every island with its buses and its slack.
void report_islands(Run& run) {
    const Store& s = run.store;
    LDFORM(run, "PWFREF");
    Page page(run);
    page.force();
    for (int island : rows(s.ilh.count)) {
        if (!page.fits(1)) page.heading(1, 4);
        const int k = first_bus(s, island);
        if (const int slack = run.mat.work.slack(island))
            page.line(6, island, s.ilh.NBILHA2(island), s.bus.NOINT(k), s.bus.BNAME(k), s.bus.NOINT(slack),
                      s.bus.BNAME(slack));
        else
            page.line(7, island, s.ilh.NBILHA2(island), s.bus.NOINT(k), s.bus.BNAME(k));
    }
}

/// The lowest area number that is not in use, 0 for none.
int free_area_number(const Store& s) {
    constexpr int HIGHEST = 998;
    for (int number : rows(HIGHEST))
        if (LOCINT(s.area.NAINT, s.area.NAREA, number) == 0) return number;
    return 0;
}

/// A new area for the part of area a that lies in another island; 0 when there is no room.
int split_off(Store& s, int a) {
    const int number = free_area_number(s);
    if (number == 0 || s.area.NAREA >= MXARE) return 0;
    const int row = add_row(s.area);
    s.area.NAINT(row) = number;
    s.area.ARNAME(row) = s.area.ARNAME(a);
    return row;
}

// Area a keeps its buses of the lowest island; those of each other island go to an area of their own. False when there
// is no room for one: such buses stay.
bool split_area(Run& run, int a) {
    Store& s = run.store;
    auto& area = run.mat.work.slack;  // area that an island's buses go to
    area.fill(s.ilh.count, 0);
    int first = s.ilh.count + 1;
    for (int k : rows(s.bus.NB))
        if (s.bus.IAREA(k) == a) {
            area(s.ilh.NOILHA2(k)) = -1;
            first = std::min(first, int(s.ilh.NOILHA2(k)));
        }
    area(first) = a;
    bool room = true;
    for (int i : rows(s.ilh.count))
        if (area(i) < 0) {
            const int row = split_off(s, a);
            area(i) = row ? row : a;
            room = room && row;
        }
    for (int k : rows(s.bus.NB))
        if (s.bus.IAREA(k) == a) s.bus.IAREA(k) = area(s.ilh.NOILHA2(k));
    return room;
}

}  // namespace

bool AREILH(Run& run) {
    Store& s = run.store;
    STOOFF(run);
    find_islands(run);
    auto& spans = run.mat.work.queue;  // of an area
    spans.fill(s.area.NAREA, 0);
    for (int k : rows(s.bus.NB))
        if (s.ilh.FLGBUS(k)) spans(s.bus.IAREA(k)) = 1;
    const int areas = s.area.NAREA;
    bool room = true;
    for (int a : rows(areas))
        if (spans(a)) room = split_area(run, a) && room;
    STOON(run);
    rebuild_addresses(run);
    if (s.area.NAREA > areas) MSGPUT(run, "AREILH", -900);
    if (!room) MSGPUT(run, "AREILH", 100);
    return s.area.NAREA > areas;
}

int find_islands(Run& run) {
    Store& s = run.store;
    Islands& ilh = s.ilh;
    const BranchTables& br = s.branch;
    const int n = s.bus.NB;
    auto& queue = run.mat.work.queue;
    ilh.count = 0;
    ilh.NOILHA2.fill(n, 0);
    for (int start : rows(n)) {
        if (ilh.NOILHA2(start)) continue;
        const int island = ++ilh.count;
        ilh.NBILHA2(island) = ilh.IPILH2(island) = 0;
        int tail = 0;
        auto visit = [&](int k) {
            ilh.NOILHA2(k) = island;
            ilh.LNKILH2(k) = ilh.IPILH2(island);
            ilh.IPILH2(island) = k;
            ++ilh.NBILHA2(island);
            queue(++tail) = k;
        };
        visit(start);
        for (int head = 1; head <= tail; ++head) {
            const int k = queue(head);
            for (int a = s.adr.LINPTR(k); a < s.adr.LINPTR(k + 1); ++a) {
                const int l = s.adr.LINADR(a);
                if (!br.STLIN(l)) continue;
                const int m = br.NFROM(l) == k ? br.NTO(l) : br.NFROM(l);
                if (!ilh.NOILHA2(m)) visit(m);
            }
        }
    }
    check_areas(s);
    return ilh.count;
}

bool PWFREF(Run& run) {
    Store& s = run.store;
    const int islands = find_islands(run);
    mark_slacks(run);
    if (run.opt["ASLK"_opt]) appoint_slacks(run);
    bool sound = true;
    for (int island : rows(islands))
        if (!run.mat.work.slack(island)) {
            const int bus = s.bus.NOINT(first_bus(s, island));
            MSGPUT(run, "PWFREF", islands == 1 ? 120 : 110, bus, element::bus_number);
            sound = false;
            break;
        }
    if (!sound && islands > 1 && run.opt["RILH"_opt]) {
        MSGOUT(run);
        report_islands(run);
    }
    const Options& opt = run.opt;
    if (s.ilh.area_spans && (opt["CINT"_opt] || opt["DPER"_opt] || opt["BPAR"_opt] || opt["BPSI"_opt])) {
        MSGPUT(run, "PWFREF", 130);
        sound = false;
    }
    if (opt["CINT"_opt] && opt["BPSI"_opt]) run.opt.clear("BPSI"_opt);
    return sound;
}

int remove_islands(Run& run) {
    Store& s = run.store;
    auto& work = run.mat.work;
    work.nlisted = 0;
    find_islands(run);
    mark_slacks(run);
    if (run.opt["ASLK"_opt]) appoint_slacks(run);
    for (int k : rows(s.bus.NB))
        if (!work.slack(s.ilh.NOILHA2(k))) {
            s.bus.STBUS(k) = false;
            list_bus(run, k);
        }
    return work.nlisted;
}

void list_bus(Run& run, int k) {
    auto& work = run.mat.work;
    const int i = ++work.nlisted;
    work.listed(i) = run.store.bus.NOINT(k);
    work.listed_name(i) = run.store.bus.BNAME(k);
}

void print_listed(Run& run, std::string_view routine) {
    const auto& work = run.mat.work;
    const bool narrow = run.opt["80CO"_opt];
    const int across = narrow ? 4 : 6, n = work.nlisted;
    LDFORM(run, routine);
    Page page(run);
    page.force();
    std::vector<Arg> values;
    for (int i = 1; i <= n && page.wanted(); i += across) {
        if (!page.fits(1)) page.heading(narrow ? 4 : 1, narrow ? 6 : 3, n);
        values.clear();
        for (int j = i; j < i + across && j <= n; ++j) {
            values.emplace_back(work.listed(j));
            values.emplace_back(work.listed_name(j));
        }
        page.line(narrow ? 8 : 7, std::span<const Arg>(values));
    }
    PAGWAI(run);
}

}  // namespace korvane
