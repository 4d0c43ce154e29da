#include "powerflow/contap.hpp"

#include <algorithm>
#include <vector>

#include "frame/page.hpp"
#include "network/branch_rows.hpp"
#include "network/list_marks.hpp"
#include "powerflow/bridges.hpp"
#include "powerflow/phase_shifters.hpp"

namespace korvane {

namespace {

// Rows of CONTAP.
constexpr int TAPS = 1, SHIFTERS = 6, COLUMNS = 2, UNDERLINE = 3, LINE = 4, HELD_WORD = 5;

/// Of every bus, its neighbours over branches in service: none, one, or several (MANY).
constexpr int MANY = -1;
std::vector<int> sole_neighbours(const Store& s) {
    std::vector<int> sole(std::size_t(s.bus.NB) + 1);
    auto meet = [&](int k, int m) {
        int& at = sole[std::size_t(k)];
        at = at == 0 || at == m ? m : MANY;
    };
    for (int l : rows(s.branch.NL)) {
        const int k = s.branch.NFROM(l), m = s.branch.NTO(l);
        if (!connects(s, l)) continue;
        meet(k, m);
        meet(m, k);
    }
    return sole;
}

/// Buses with something connected to them: load, shunts of any kind, load models, compensators, converters, motors,
/// injections.
std::vector<char> loaded_buses(const Store& s) {
    std::vector<char> loaded(std::size_t(s.bus.NB) + 1);
    auto mark = [&](int k) { loaded[std::size_t(k)] = 1; };
    for (int k : rows(s.bus.NB))
        if (s.bus.PLOAD(k) != 0 || s.bus.QLOAD(k) != 0) mark(k);
    for (int i : rows(s.sht.NSHT))
        if (s.sht.SHUNT(i) != 0) mark(s.sht.NOSHT(i));
    for (int i : rows(s.fld.NFLD)) mark(s.fld.NOFLD(i));
    for (int i : rows(s.gen.NG)) mark(s.gen.NOGEN(i));
    for (int i : rows(s.cai.NCAI)) mark(s.cai.NOCAI(i));
    for (int i : rows(s.eqv.NEQV)) mark(s.eqv.NOEQV(i));
    for (int i : rows(s.bsh.NBSH)) mark(s.bsh.NOBSH(i));
    for (int i : rows(s.sca.NSCA)) mark(s.sca.NBUSSCA(i));
    for (int i : rows(s.cer.NCER)) mark(s.cer.NBECER(i));
    for (int i : rows(s.mot.NMOT)) mark(s.mot.NOMOT(i));
    for (int i : rows(s.trm.NTRM)) mark(s.trm.NOLDC(i));
    return loaded;
}

// The branches that are held, under the title row. The rows of the running routine stay as they are.
void report(Run& run, int title, const std::vector<int>& held) {
    if (held.empty() || run.units.LUREP == unit::null) return;
    const Formats::Rows& format = load_rows(run, "CONTAP");
    const Store& s = run.store;
    auto print = [&](int row, std::initializer_list<Arg> values) {
        run.pag.NLINE += print_row(run, format[std::size_t(row)], {values.begin(), values.size()});
    };
    bool headed = false;
    for (int l : held) {
        if (!headed || run.pag.NLINE >= run.pag.LPP) {
            if (headed || run.pag.NLINE + 5 > run.pag.LPP) PAGHDR(run);
            for (int row : {title, COLUMNS, UNDERLINE}) print(row, {});
            headed = true;
        }
        const int from = s.branch.NFROM(l), to = s.branch.NTO(l);
        print(LINE, {s.bus.NOINT(from), s.bus.BNAME(from), s.bus.NOINT(to), s.bus.BNAME(to), s.branch.NCIR(l),
                     format[HELD_WORD].text()});
    }
}

// Whether a held shifter is to be told is decided before its mark is set anew.
void hold_radial_shifters(Run& run) {
    Store& s = run.store;
    if (!run.opt["CPHS"_opt]) return;
    const bool inner = run.mat.state.analysis || run.mat.state.resolve != 0;
    std::vector<char> bridge;
    std::vector<int> held;
    for (int i : rows(s.phs.NPHS)) {
        if (!controlled_shifter(s, i)) continue;
        if (bridge.empty()) bridge = find_bridges(s);
        const int l = s.tap.NOTAP(s.phs.NOPHS(i));
        s.phs.bridge(i) = bridge[std::size_t(l)];
        const bool told = inner && s.phs.FLGPHS(i), stays = s.phs.bridge(i) && !shift_at_limit(s, i);
        s.phs.FLGPHS(i) = stays;
        if (stays && !told) held.push_back(l);
    }
    for (int l : held) MSGPUT(run, "CONTAP", -200, l, element::branch);
    report(run, SHIFTERS, held);
}

void hold_taps(Run& run) {
    Store& s = run.store;
    if (!run.opt["CTAP"_opt] || s.tap.NTAP == 0) return;
    const std::vector<int> sole = sole_neighbours(s);
    std::vector<int> idle;
    auto hangs_idle = [&](int k, int controlled) { return sole[std::size_t(k)] > 0 && k != controlled; };
    for (int n : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(n), c = std::abs(s.tap.KBUS(n).at);
        if (!l || !s.branch.STLIN(l) || (s.branch.LTYPE(l) != 3 && s.branch.LTYPE(l) != 4)) continue;
        const int k = s.branch.NFROM(l), m = s.branch.NTO(l);
        if (s.bus.NTYPE(k) == 0 && s.bus.NTYPE(m) == 0 && (hangs_idle(k, c) || hangs_idle(m, c))) idle.push_back(l);
    }
    if (idle.empty()) return;
    const std::vector<char> loaded = loaded_buses(s);
    const std::span<int> listed = named_by(s, s.tpf, s.branch.NL);
    std::stable_sort(idle.begin(), idle.end(), [&](int a, int b) {
        return std::pair(s.bus.NOINT(s.branch.NFROM(a)), s.branch.NCIR(a)) <
               std::pair(s.bus.NOINT(s.branch.NFROM(b)), s.branch.NCIR(b));
    });
    std::vector<int> held;
    for (int l : idle) {
        const int c = std::abs(s.tap.KBUS(tap_row(s, l)).at), k = s.branch.NFROM(l), m = s.branch.NTO(l);
        const int radial = hangs_idle(k, c) ? k : m;
        if (loaded[std::size_t(radial)] || listed[std::size_t(l)]) continue;
        if (rows_taken(s, s.tpf) >= MXTPF) {
            MSGPUT(run, "CONTAP", 100, l, element::branch);
            break;
        }
        s.tpf.row(add_row(s.tpf)) = l;
        held.push_back(l);
    }
    report(run, TAPS, held);
}

}  // namespace

void CONTAP(Run& run) {
    hold_taps(run);
    hold_radial_shifters(run);
    MSGOUT(run);  // a branch is named by its row, which moves when the store is compacted
}

}  // namespace korvane
