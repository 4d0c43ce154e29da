// A network out of the stream of the side files.
#include <algorithm>
#include <cmath>
#include <map>

#include "casestore/side_links.hpp"
#include "casestore/side_network.hpp"
#include "network/branch_data.hpp"
#include "network/branch_rows.hpp"
#include "network/limits.hpp"

namespace korvane {

namespace {

// Messages of RETPEC and FLWINT.
constexpr int TOO_MANY_BUSES = 106, WRONG_HEAD = 110, SHORT = 115, BUSES_FULL = 120, SHUNTS_FULL = 130,
              GENERATORS_FULL = 140, BRANCHES_FULL = 150, WRONG_END = 155, REGULATED_WRONG = 160, REMOTE_FULL = 170,
              WRONG_AREA = 180, TAPS_FULL = 190, WRONG_NUMBER = 200, TAP_ASTRAY = 210, PHASE_ASTRAY = 220,
              SLACK_ASTRAY = 230, SLACK_IDLE = 240, SLACKS_FULL = 250, LOADS_FULL = 310;
constexpr double LEAST_TOLERANCE = 0.01, PMAX_MW = 99999;
constexpr double ROUNDING = 1e-5;  // pu, of generation that links were taken out of

using Pair = std::pair<int, int>;

/// The vectors of a stream, as they stand in it.
struct Vectors {
    std::vector<std::string> area_name, name;
    std::vector<double> interchange, exchange_tolerance;
    std::vector<int> area, number;
    std::vector<double> shunt, volt, angle, pload, qload, pgen, qgen;
    std::vector<Pair> ends, tap_ends, phase_ends, ratings;
    std::vector<double> g, b, charging;
    std::vector<int> regulated, controlled, tap_controlled, slacks;
    std::vector<double> set_point, qmin, qmax, tap_voltage, tap, tap_min, tap_max, phase;
    std::array<std::vector<double>, 6> load;  // P and Q at constant power, current, impedance
    std::vector<TerminalPower> terminals;     // of links, which are in the store already
    int message = 0;                          // of the links
};

std::vector<double> reals(SideReader& in, int n) {
    std::vector<double> v(static_cast<std::size_t>(n));
    for (double& x : v) x = in.real();
    return v;
}
std::vector<int> halves(SideReader& in, int n) {
    std::vector<int> v(static_cast<std::size_t>(n));
    for (int& x : v) x = in.half();
    in.end();
    return v;
}
std::vector<std::string> texts(SideReader& in, int n, int columns) {
    std::vector<std::string> v(static_cast<std::size_t>(n));
    for (std::string& x : v) x = in.text(columns);
    in.end();
    return v;
}
std::vector<Pair> pairs(SideReader& in, int n) {
    std::vector<Pair> v(static_cast<std::size_t>(n));
    for (Pair& x : v) x.first = in.word(), x.second = in.word();
    return v;
}

Vectors take(Store& s, SideReader& in, const SideHead& h, SideForm form) {
    Vectors v;
    const bool flow = form == SideForm::flow;
    v.area_name = texts(in, SIDE_AREAS, 36);
    halves(in, SIDE_AREAS);  // the bus that stands for an area
    v.interchange = reals(in, SIDE_AREAS);
    v.exchange_tolerance = reals(in, SIDE_AREAS);
    halves(in, h.rows);  // buses that are no slack, or the elimination order
    v.area = halves(in, h.rows);
    v.name = texts(in, h.rows, 12);
    for (auto* const column : {&v.shunt, &v.volt, &v.angle, &v.pload, &v.qload, &v.pgen, &v.qgen})
        *column = reals(in, h.rows);
    v.ends = pairs(in, h.ends);
    for (auto* const column : {&v.g, &v.b, &v.charging}) *column = reals(in, h.ends);
    v.regulated = halves(in, h.regulated);
    for (auto* const column : {&v.set_point, &v.qmin, &v.qmax}) *column = reals(in, h.regulated);
    v.controlled = halves(in, h.regulated);
    v.tap_ends = pairs(in, h.taps);
    for (auto* const column : {&v.tap_voltage, &v.tap, &v.tap_min, &v.tap_max}) *column = reals(in, h.taps);
    v.tap_controlled = halves(in, h.taps);
    v.phase_ends = pairs(in, h.phases);
    v.phase = reals(in, h.phases);
    v.ratings = pairs(in, h.ends);
    if (!flow)
        for (const int n : SIDE_RESERVE) in.skip(std::size_t(n));
    in.skip(std::size_t(side_voltages(h.rows)));
    if (h.slacks > 1)
        v.slacks = halves(in, h.slacks);
    else
        v.slacks = {h.slack};
    if (flow && h.links != 0) v.message = read_links(s, in, h.links, v.terminals);
    if (v.message) return v;
    if (h.loads != 0)
        for (auto& column : v.load) column = reals(in, h.rows);
    if (flow) v.number = halves(in, h.rows);
    return v;
}

/// A whole part of a load, per cent.
int per_cent(double part, double whole) {
    return whole == 0 ? 0 : int(std::lround(std::clamp(100 * part / whole, 0.0, 100.0)));
}

class NetworkReader {
public:
    NetworkReader(Run& of, const SideHead& head, const Vectors& vectors) : run(of), s(of.store), h(head), v(vectors) {}
    SideFault read();

private:
    void constants();
    void areas();
    void buses();
    void branches();
    void regulated();
    void taps();
    void phases();
    void slacks();
    void loads();
    void links();

    bool fail(bool wrong, int message, int element = 0) {
        if (wrong && fault_.message == 0) fault_ = {message, element};
        return wrong;
    }
    int bus(int number) const {
        const auto at = bus_.find(number);
        return at == bus_.end() ? 0 : at->second;
    }
    int generator(int k);
    /// The circuit between two buses that has no such row yet, one without charging before one with it.
    template <class Free>
    int circuit(const Pair& ends, Free free) const;

    Run& run;
    Store& s;
    const SideHead& h;
    const Vectors& v;
    SideFault fault_;
    std::map<int, int> bus_;                     // by number
    std::map<int, int> row_;                     // row of a bus, by position
    std::map<int, int> generator_;               // by bus
    std::map<Pair, std::vector<int>> circuits_;  // by numbers, the lower first
};

void NetworkReader::constants() {
    run.TITLE = h.title;
    run.cte.TEPA = std::max(h.TEPA, LEAST_TOLERANCE);
    run.cte.TEPR = std::max(h.TEPR, LEAST_TOLERANCE);
    run.cte.TLVC = h.TLVC;
    s.sol.NITP = h.iterations;
}

void NetworkReader::areas() {
    for (int n = 1; n <= h.highest_area; ++n) {
        const auto i = std::size_t(n - 1);
        if (v.exchange_tolerance[i] == 0 && v.area_name[i].find_first_not_of(' ') == std::string::npos &&
            std::find(v.area.begin(), v.area.end(), n) == v.area.end())
            continue;  // no such area
        const int a = add_row(s.area);
        s.area.NAINT(a) = n;
        s.area.ARNAME(a) = v.area_name[i];
        s.area.AREINT(a) = v.interchange[i];
        s.area.EXCMIN(a) = v.interchange[i] - v.exchange_tolerance[i];
        s.area.EXCMAX(a) = v.interchange[i] + v.exchange_tolerance[i];
    }
    s.glt.GLTEN(add_row(s.glt)) = " 0";
    s.gbt.GBTEN(add_row(s.gbt)) = " 0";
}

int NetworkReader::generator(int k) {
    int& j = generator_[k];
    if (j != 0 || fail(s.gen.NG == MXGEN, GENERATORS_FULL)) return j;
    j = add_row(s.gen);
    s.gen.NOGEN(j) = k;
    s.gen.VGEN(j) = s.bus.VOLT(k);
    s.gen.PMAX(j) = PMAX_MW / run.cte.BASE;
    return j;
}

void NetworkReader::buses() {
    std::map<int, int> area;
    for (int a : rows(s.area.NAREA)) area[s.area.NAINT(a)] = a;
    std::vector<Pair> order;  // number, row
    for (int r = 0; r < h.rows; ++r)
        if (v.volt[std::size_t(r)] != 0) order.emplace_back(v.number.empty() ? r + 1 : v.number[std::size_t(r)], r);
    std::sort(order.begin(), order.end());
    for (const auto& [number, r] : order) {
        const auto i = std::size_t(r);
        if (fail(number < 1 || bus_.contains(number), WRONG_NUMBER, number) || fail(s.bus.NB == MXBUS, BUSES_FULL))
            return;
        if (fail(!area.contains(v.area[i]), WRONG_AREA, number)) return;
        const int k = add_row(s.bus);
        bus_[number] = k;
        row_[k] = r;
        s.bus.NOINT(k) = number;
        s.bus.BNAME(k) = v.name[i];
        s.bus.VOLT(k) = v.volt[i];
        s.bus.ANGLE(k) = v.angle[i] / DEGREES;
        s.bus.PLOAD(k) = v.pload[i];
        s.bus.QLOAD(k) = v.qload[i];
        s.bus.IAREA(k) = area[v.area[i]];
        s.bus.NOGBT(k) = 1;
        s.bus.NOGLT(k) = 1;
        if (v.shunt[i] != 0) {
            if (fail(s.sht.NSHT == MXSHT, SHUNTS_FULL)) return;
            const int n = add_row(s.sht);
            s.sht.NOSHT(n) = k;
            s.sht.SHUNT(n) = v.shunt[i];
        }
        double p = v.pgen[i], q = v.qgen[i];
        for (const TerminalPower& t : v.terminals)
            if (t.number == number) p += t.p, q += t.q;
        if (v.terminals.empty() ? p == 0 && q == 0 : std::abs(p) + std::abs(q) < ROUNDING) continue;
        const int j = generator(k);
        if (j == 0) return;
        s.gen.PGEN(j) = p;
        s.gen.QGEN(j) = q;
    }
}

void NetworkReader::branches() {
    constexpr int MXCIRCUIT = 99;
    for (int r = 0; r < h.ends; ++r) {
        const auto i = std::size_t(r);
        const auto [from, to] = v.ends[i];
        if (from >= to) continue;
        const int k = bus(from), m = bus(to);
        if (fail(k == 0 || m == 0, WRONG_END, k == 0 ? from : to) || fail(s.branch.NL == MXLIN, BRANCHES_FULL)) return;
        auto& parallel = circuits_[{from, to}];
        if (fail(int(parallel.size()) == MXCIRCUIT, BRANCHES_FULL, from)) return;
        const int l = add_branch(s, k, m, int(parallel.size()) + 1);
        parallel.push_back(l);
        BranchTables& b = s.branch;
        b.STLIN(l) = b.STLIND(l) = b.STLINP(l) = true;
        b.GKM(l) = v.g[i];
        b.BKM(l) = -v.b[i];
        b.BC(l) = v.charging[i];
        const auto [normal, emergency] = v.ratings[i];
        b.OWNER(l) = !(normal < 0);  // the circuit runs from the lower number
        const auto rating = [](int mva) {
            const int size = mva == INT_MIN ? SIDE_NO_RATING : std::abs(mva);
            return size >= SIDE_NO_RATING ? INFINITE_RATING : double(size);
        };
        set_ratings(b, l, rating(normal), rating(emergency), rating(emergency));
    }
}

void NetworkReader::regulated() {
    for (int r = 0; r < h.regulated; ++r) {
        const auto i = std::size_t(r);
        const int k = bus(v.regulated[i]), c = bus(v.controlled[i]);
        if (fail(k == 0 || c == 0, REGULATED_WRONG, k == 0 ? v.regulated[i] : v.controlled[i])) return;
        const int j = generator(k);
        if (j == 0) return;
        s.gen.QMIN(j) = s.gen.QMNO(j) = v.qmin[i];
        s.gen.QMAX(j) = s.gen.QMXO(j) = v.qmax[i];
        s.bus.NTYPE(k) = v.qmax[i] > v.qmin[i] ? 2 : -2;
        if (c == k) {
            s.gen.VGEN(j) = v.set_point[i];
            continue;
        }
        if (fail(s.rcb.NRCB == MXRCB, REMOTE_FULL)) return;
        const int n = add_row(s.rcb);
        s.rcb.ICB(n) = j;
        s.rcb.IRCB(n) = c;
        s.rcb.VRCB(n) = v.set_point[i];
    }
}

template <class Free>
int NetworkReader::circuit(const Pair& ends, Free free) const {
    const auto at = circuits_.find(std::minmax(ends.first, ends.second));
    if (at == circuits_.end()) return 0;
    int found = 0;
    for (const int l : at->second)
        if (free(l) && (found == 0 || (s.branch.BC(found) != 0 && s.branch.BC(l) == 0))) found = l;
    return found;
}

void NetworkReader::taps() {
    for (int r = 0; r < h.taps; ++r) {
        const auto i = std::size_t(r);
        const int l = circuit(v.tap_ends[i], [&](int c) { return s.branch.LTYPE(c) == 0; });
        const int c = bus(std::abs(v.tap_controlled[i]));
        if (fail(l == 0 || c == 0 || !(v.tap[i] > 0), TAP_ASTRAY, v.tap_ends[i].first) ||
            fail(s.tap.NTAP == MXTAP, TAPS_FULL))
            return;
        BranchTables& b = s.branch;
        if (bus(v.tap_ends[i].first) != b.NFROM(l)) {  // the tap stands at the other end
            std::swap(b.NFROM(l).at, b.NTO(l).at);
            b.OWNER(l) = !b.OWNER(l);
        }
        const int n = add_row(s.tap);
        s.tap.NOTAP(n) = l;
        s.tap.TAP(n) = 1 / v.tap[i];
        s.tap.TPMIN(n) = v.tap_min[i];
        s.tap.TPMAX(n) = v.tap_max[i];
        s.tap.VBUS(n) = s.tap.VBARRA(n) = v.tap_voltage[i];
        s.tap.KBUS(n) = v.tap_controlled[i] < 0 ? -c : c;
        b.LTYPE(l) = v.tap_min[i] < v.tap_max[i] ? 3 : 1;
        b.LITRF(l) = n;
        b.GKM(l) *= s.tap.TAP(n);
        b.BKM(l) *= s.tap.TAP(n);
    }
}

void NetworkReader::phases() {
    for (int r = 0; r < h.phases; ++r) {
        const auto i = std::size_t(r);
        const int l = circuit(v.phase_ends[i], [&](int c) { return s.branch.LTYPE(c) == 1 || s.branch.LTYPE(c) == 3; });
        if (fail(l == 0 || s.phs.NPHS == MXPHS, PHASE_ASTRAY, v.phase_ends[i].first)) return;
        const int p = add_row(s.phs);
        s.phs.NOPHS(p) = s.branch.LITRF(l);
        s.phs.PHS(p) = v.phase[i];
        ++s.branch.LTYPE(l);
        s.branch.LITRF(l) = p;
    }
}

void NetworkReader::slacks() {
    for (const int number : v.slacks) {
        const int k = bus(number);
        if (fail(k == 0, SLACK_ASTRAY, number) || fail(std::abs(s.bus.NTYPE(k)) == 3, SLACK_IDLE, number)) return;
        const int j = generator(k);
        if (j == 0 || fail(s.slk.NSLK == MXSLK, SLACKS_FULL)) return;
        s.bus.NTYPE(k) = s.gen.QMAX(j) > s.gen.QMIN(j) ? 3 : -3;
        const int n = add_row(s.slk);
        s.slk.NGSLK(n) = j;
        s.slk.PSLK(n) = s.gen.PGEN(j);
    }
}

void NetworkReader::loads() {
    if (h.loads == 0) return;
    for (int k : rows(s.bus.NB)) {
        const auto i = std::size_t(row_[k]);
        const auto part = [&](int of) { return v.load[std::size_t(of)][i]; };
        const double p = part(0) + part(2) + part(4), q = part(1) + part(3) + part(5);
        const int pa = per_cent(part(2), p), pb = per_cent(part(4), p), qa = per_cent(part(3), q),
                  qb = per_cent(part(5), q);
        if (pa + pb + qa + qb == 0) continue;
        if (fail(s.fld.NFLD == MXFLD, LOADS_FULL)) return;
        const int n = add_row(s.fld);
        s.fld.NOFLD(n) = k;
        s.fld.IPFLA(n) = pa;
        s.fld.IPFLB(n) = std::min(pb, 100 - pa);
        s.fld.IQFLA(n) = qa;
        s.fld.IQFLB(n) = std::min(qb, 100 - qa);
        s.fld.VMINZ(n) = run.cte.VFLD;
    }
}

// Converters find their buses, and what they take leaves the generation that the file tells.
void NetworkReader::links() {
    constexpr int ASTRAY = 300;
    for (int c : rows(s.cnv.NCNV)) {
        const int k = bus(s.cnv.INTBUS(c));
        if (fail(k == 0 || s.cnv.NDCBUS(c) == 0, ASTRAY, s.cnv.INTBUS(c))) return;
        s.cnv.INTBUS(c) = k;
    }
    LNKADR(run);
    for (const TerminalPower& t : v.terminals)
        for (int i : rows(s.trm.NTRM))
            if (s.bus.NOINT(s.trm.NOLDC(i)) == t.number) s.trm.PLDC(i) = t.p, s.trm.QLDC(i) = t.q;
}

SideFault NetworkReader::read() {
    constants();
    areas();
    for (void (NetworkReader::*const step)() :
         {&NetworkReader::buses, &NetworkReader::branches, &NetworkReader::regulated, &NetworkReader::taps,
          &NetworkReader::phases, &NetworkReader::slacks, &NetworkReader::loads, &NetworkReader::links})
        if (fault_.message == 0) (this->*step)();
    if (fault_.message == 0) rebuild_addresses(run);
    return fault_;
}

/// What a head asks for that cannot be: 0, or the message.
int unfit(const SideHead& h) {
    if (h.buses > MXBUS) return TOO_MANY_BUSES;
    const int least = std::min({h.buses, h.ends, h.taps, h.phases, h.regulated, h.slacks, h.highest_area});
    if (least < 0 || h.rows < 1 || h.rows > MXNUM || h.highest_area > SIDE_AREAS || h.slack < 1) return WRONG_HEAD;
    return h.ends > 2 * MXLIN    ? BRANCHES_FULL
           : h.regulated > MXGEN ? REGULATED_WRONG
           : h.taps > MXTAP      ? TAPS_FULL
           : h.phases > MXPHS    ? PHASE_ASTRAY
           : h.slacks > MXSLK    ? SLACKS_FULL
                                 : 0;
}

}  // namespace

SideFault network_from_side(Run& run, SideForm form, const SideHead& head, SideReader& in) {
    RESET(run);
    SideFault fault;
    fault.message = unfit(head);
    if (fault.message == TOO_MANY_BUSES) fault.element = head.buses;
    if (fault.message == 0) {
        const Vectors vectors = take(run.store, in, head, form);
        fault = vectors.message ? SideFault{vectors.message, 0}
                : in.short_of() ? SideFault{SHORT, 0}
                                : NetworkReader(run, head, vectors).read();
    }
    if (fault.message) RESET(run);
    return fault;
}

}  // namespace korvane
