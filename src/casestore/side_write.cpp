// A network as the stream of the side files.
#include <algorithm>
#include <cmath>

#include "casestore/side_links.hpp"
#include "casestore/side_network.hpp"
#include "network/branch_rows.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

/// The end of a circuit in service: its near bus, and the circuit.
struct CircuitEnd {
    int bus, branch;
};

class NetworkWriter {
public:
    NetworkWriter(Run& of, SideForm form, SideWriter& to)
        : run(of), s(of.store), flow_(form == SideForm::flow), out(to) {}
    SideFault write(SideHead& head);

private:
    void collect();
    SideFault unfit() const;
    void fill_head(SideHead& head) const;
    void areas();
    void buses();
    void branches();
    void regulated();
    void taps();
    void phases();
    void ratings();
    void voltages();
    void loads();

    bool on(int k) const { return s.bus.STBUS(k); }
    int number(int k) const { return s.bus.NOINT(k); }
    int far_end(const CircuitEnd& e) const {
        return s.branch.NFROM(e.branch) == e.bus ? s.branch.NTO(e.branch) : s.branch.NFROM(e.branch);
    }
    int row_count() const { return flow_ ? int(buses_.size()) : s.bus.NOINT(buses_.back()); }
    bool at_first_end(const CircuitEnd& e) const { return s.branch.NFROM(e.branch) == e.bus; }

    /// f(bus) for every row of a vector by bus, 0 where there is none.
    template <class F>
    void each_row(F f) {
        for (const int k : row_) f(k);
    }
    template <class F>
    void reals(F f) {
        each_row([&](int k) { out.real(k ? f(k) : 0.0); });
    }
    template <class Range, class F>
    void reals(const Range& range, F f) {
        for (const auto& item : range) out.real(f(item));
    }
    template <class Range, class F>
    void halves(const Range& range, F f) {
        for (const auto& item : range) out.half(f(item));
        out.end();
    }
    /// Rows of two words.
    template <class Range, class F>
    void pairs(const Range& range, F f) {
        for (const auto& item : range) {
            const std::pair<int, int> row = f(item);
            out.word(row.first);
            out.word(row.second);
        }
    }

    Run& run;
    const Store& s;
    bool flow_;
    SideWriter& out;
    std::vector<int> buses_;  // in service, by rising number
    std::vector<int> row_;    // bus of a row of the vectors by bus
    std::vector<CircuitEnd> ends_;
    std::vector<int> generators_, slacks_;  // in service, by bus: those that hold a voltage; rows of NGSLK
    std::vector<int> taps_, phases_;        // rows
    std::vector<int> generator_, remote_;   // of a bus; of a generator row
    std::vector<double> shunt_, p_, q_;     // at a bus: what injections and links add
    std::vector<double> p_link_, q_link_;
};

void NetworkWriter::collect() {
    const std::size_t nb = std::size_t(s.bus.NB) + 1;
    for (int i : rows(s.bus.NB))
        if (const int k = s.adr.NOORD(i); on(k)) buses_.push_back(k);
    if (buses_.empty()) return;
    if (flow_) {
        for (int k : rows(s.bus.NB))
            if (on(k)) row_.push_back(k);
    } else {
        row_.assign(std::size_t(row_count()), 0);
        for (const int k : buses_) row_[std::size_t(number(k) - 1)] = k;
    }
    for (int l : rows(s.branch.NL))
        if (connects(s, l)) ends_.insert(ends_.end(), {{s.branch.NFROM(l), l}, {s.branch.NTO(l), l}});
    std::sort(ends_.begin(), ends_.end(), [&](const CircuitEnd& a, const CircuitEnd& b) {
        return std::tuple(number(a.bus), number(far_end(a)), s.branch.NCIR(a.branch)) <
               std::tuple(number(b.bus), number(far_end(b)), s.branch.NCIR(b.branch));
    });
    for (const CircuitEnd& e : ends_) {
        if (!at_first_end(e)) continue;
        if (const int n = tap_row(s, e.branch)) taps_.push_back(n);
        if (const int p = phase_row(s, e.branch)) phases_.push_back(p);
    }
    generator_.assign(nb, 0);
    for (int j : rows(s.gen.NG)) generator_[std::size_t(s.gen.NOGEN(j))] = j;
    for (const int k : buses_)
        if (const int type = std::abs(s.bus.NTYPE(k)); (type == 1 || type == 2) && generator_[std::size_t(k)])
            generators_.push_back(generator_[std::size_t(k)]);
    remote_.assign(std::size_t(s.gen.NG) + 1, 0);
    for (int r : rows(s.rcb.NRCB)) remote_[std::size_t(s.rcb.ICB(r))] = r;
    for (int i : rows(s.slk.NSLK))
        if (on(s.gen.NOGEN(s.slk.NGSLK(i)))) slacks_.push_back(i);
    shunt_.assign(nb, 0), p_.assign(nb, 0), q_.assign(nb, 0), p_link_.assign(nb, 0), q_link_.assign(nb, 0);
    for (int i : rows(s.sht.NSHT)) shunt_[std::size_t(s.sht.NOSHT(i))] += s.sht.SHUNT(i);
    for (int i : rows(s.eqv.NEQV)) {
        const auto k = std::size_t(s.eqv.NOEQV(i));
        shunt_[k] += s.eqv.FSH(i), p_[k] += s.eqv.PMAT(i), q_[k] += s.eqv.QMAT(i);
    }
    for (int i : rows(s.trm.NTRM)) {
        const auto k = std::size_t(s.trm.NOLDC(i));
        p_link_[k] += s.trm.PLDC(i), q_link_[k] += s.trm.QLDC(i);
    }
}

SideFault NetworkWriter::unfit() const {
    for (const int k : buses_)
        if (number(k) > SIDE_HIGHEST_NUMBER) return {150, number(k)};
    for (int a : rows(s.area.NAREA))
        if (s.area.NAINT(a) > SIDE_AREAS) return {160, s.area.NAINT(a)};
    return {};
}

void NetworkWriter::fill_head(SideHead& h) const {
    h = {};
    h.title = run.TITLE;
    h.slack = slacks_.empty() ? 0 : number(s.gen.NOGEN(s.slk.NGSLK(slacks_[0])));
    h.buses = int(buses_.size());
    h.ends = int(ends_.size());
    h.taps = int(taps_.size());
    h.phases = int(phases_.size());
    h.regulated = int(generators_.size());
    for (int a : rows(s.area.NAREA)) h.highest_area = std::max(h.highest_area, s.area.NAINT(a));
    h.iterations = s.sol.NITP;
    h.rows = row_count();
    h.TEPA = run.cte.TEPA, h.TEPR = run.cte.TEPR, h.TLVC = run.cte.TLVC;
    h.slacks = int(slacks_.size());
    for (int i : rows(s.fld.NFLD)) h.loads += on(s.fld.NOFLD(i));
    if (flow_) h.links = links_in_service(s);
}

void NetworkWriter::areas() {
    std::array<int, SIDE_AREAS + 1> area{}, bus{};
    for (int a : rows(s.area.NAREA)) area[std::size_t(s.area.NAINT(a))] = a;
    // The bus that stands for an area: of its generator with the largest participation, or generation; any bus; a
    // slack.
    std::array<int, SIDE_AREAS + 1> best{};
    const auto key = [&](int j) { return std::pair(s.gen.FGEN(j), s.gen.PGEN(j)); };
    for (const int k : buses_) {
        const auto n = std::size_t(s.area.NAINT(s.bus.IAREA(k)));
        const int j = generator_[std::size_t(k)];
        if (bus[n] == 0) bus[n] = k;
        if (j == 0) continue;
        if (best[n] == 0 || key(j) > key(best[n])) best[n] = j, bus[n] = k;
    }
    for (const int i : slacks_) {
        const int k = s.gen.NOGEN(s.slk.NGSLK(i));
        bus[std::size_t(s.area.NAINT(s.bus.IAREA(k)))] = k;
    }
    const std::span numbers(area.begin() + 1, area.end());
    for (const int a : numbers) out.text(a ? s.area.ARNAME(a).view() : "", 36);
    out.end();
    halves(std::span(bus.begin() + 1, bus.end()), [&](int k) { return k ? number(k) : 0; });
    reals(numbers, [&](int a) { return a ? s.area.AREINT(a) : 0; });
    reals(numbers, [&](int a) { return a ? run.cte.TETP : 0; });
}

void NetworkWriter::buses() {
    std::vector<int> list;
    if (flow_)
        for (const int k : row_) list.push_back(run.mat.plain.NORDER(k));
    else
        for (int k : rows(s.bus.NB))
            if (on(k) && std::abs(s.bus.NTYPE(k)) < 3) list.push_back(number(k));
    list.resize(row_.size(), 0);
    halves(list, [](int n) { return n; });
    halves(row_, [&](int k) { return k ? s.area.NAINT(s.bus.IAREA(k)) : 0; });
    each_row([&](int k) { out.text(k ? s.bus.BNAME(k).view() : "", 12); });
    out.end();
    const auto at = [](const std::vector<double>& of, int k) { return of[std::size_t(k)]; };
    const auto generated = [&](int k, const auto& table) {
        const int j = generator_[std::size_t(k)];
        return j ? table(j) : 0;
    };
    reals([&](int k) { return at(shunt_, k); });
    reals([&](int k) { return s.bus.VOLT(k); });
    reals([&](int k) { return s.bus.ANGLE(k) * DEGREES; });
    reals([&](int k) { return s.bus.PLOAD(k) - at(p_, k); });
    reals([&](int k) { return s.bus.QLOAD(k) - at(q_, k); });
    reals([&](int k) { return generated(k, s.gen.PGEN) - at(p_link_, k); });
    reals([&](int k) { return generated(k, s.gen.QGEN) - at(q_link_, k); });
}

void NetworkWriter::branches() {
    const BranchTables& b = s.branch;
    const auto divisor = [&](int l) {
        const int n = tap_row(s, l);
        return n ? s.tap.TAP(n) : 1.0;
    };
    pairs(ends_, [&](const CircuitEnd& e) { return std::pair(number(e.bus), number(far_end(e))); });
    reals(ends_, [&](const CircuitEnd& e) { return b.GKM(e.branch) / divisor(e.branch); });
    reals(ends_, [&](const CircuitEnd& e) { return -b.BKM(e.branch) / divisor(e.branch); });
    reals(ends_, [&](const CircuitEnd& e) { return b.BC(e.branch); });
}

void NetworkWriter::regulated() {
    const auto remote = [&](int j) { return remote_[std::size_t(j)]; };
    halves(generators_, [&](int j) { return number(s.gen.NOGEN(j)); });
    reals(generators_, [&](int j) {
        const int k = s.gen.NOGEN(j);
        return remote(j) ? s.rcb.VRCB(remote(j)) : std::abs(s.bus.NTYPE(k)) == 1 ? s.bus.VOLT(k) : s.gen.VGEN(j);
    });
    reals(generators_, [&](int j) { return s.gen.QMIN(j); });
    reals(generators_, [&](int j) { return s.gen.QMAX(j); });
    halves(generators_, [&](int j) { return number(remote(j) ? s.rcb.IRCB(remote(j)).at : s.gen.NOGEN(j).at); });
}

void NetworkWriter::taps() {
    const auto branch = [&](int n) { return int(s.tap.NOTAP(n)); };
    const auto controlled = [&](int n) { return s.branch.LTYPE(branch(n)) == 3 || s.branch.LTYPE(branch(n)) == 4; };
    const auto limit = [&](const auto& table) {
        return [&](int n) { return controlled(n) ? table(n) : 1 / s.tap.TAP(n); };
    };
    pairs(taps_, [&](int n) { return std::pair(number(s.branch.NFROM(branch(n))), number(s.branch.NTO(branch(n)))); });
    reals(taps_, [&](int n) { return s.tap.VBUS(n); });
    reals(taps_, [&](int n) { return 1 / s.tap.TAP(n); });
    reals(taps_, limit(s.tap.TPMIN));
    reals(taps_, limit(s.tap.TPMAX));
    halves(taps_, [&](int n) {
        const int k = s.tap.KBUS(n).at;
        return controlled(n) && k ? (k < 0 ? -number(-k) : number(k)) : number(s.branch.NFROM(branch(n)));
    });
}

void NetworkWriter::phases() {
    const auto branch = [&](int p) { return int(s.tap.NOTAP(s.phs.NOPHS(p))); };
    pairs(phases_,
          [&](int p) { return std::pair(number(s.branch.NFROM(branch(p))), number(s.branch.NTO(branch(p)))); });
    reals(phases_, [&](int p) { return s.phs.PHS(p); });
}

// The sign of one rating tells which end owns the circuit.
void NetworkWriter::ratings() {
    pairs(ends_, [&](const CircuitEnd& e) {
        const BranchTables& b = s.branch;
        const auto shown = [](int mva) { return mva >= int(NO_RATING) ? SIDE_NO_RATING : mva; };
        const int l = e.branch, normal = shown(b.KAPAC(l)), emergency = shown(b.KAPAE(l));
        const bool rising = number(b.NFROM(l)) < number(b.NTO(l));
        return b.OWNER(l) != rising ? std::pair(-normal, emergency) : std::pair(normal, -emergency);
    });
}

void NetworkWriter::voltages() {
    for (int i = 0; i < side_voltages(int(row_.size())); ++i) {
        const int k = i < int(row_.size()) ? row_[std::size_t(i)] : 0;
        out.real(k ? s.bus.VOLT(k) : 0);
    }
}

// For each row: what is constant power, constant current and constant impedance of the load.
void NetworkWriter::loads() {
    const LoadModelTables& t = s.fld;
    std::vector<int> model(std::size_t(s.bus.NB) + 1);
    for (int i : rows(t.NFLD)) model[std::size_t(t.NOFLD(i))] = i;
    const auto part = [&](const auto& load, auto share) {
        reals([&](int k) {
            const int i = model[std::size_t(k)];
            return i ? load(k) * share(i) / 100 : 0;
        });
    };
    part(s.bus.PLOAD, [&](int i) { return 100 - t.IPFLA(i) - t.IPFLB(i); });
    part(s.bus.QLOAD, [&](int i) { return 100 - t.IQFLA(i) - t.IQFLB(i); });
    part(s.bus.PLOAD, [&](int i) { return t.IPFLA(i); });
    part(s.bus.QLOAD, [&](int i) { return t.IQFLA(i); });
    part(s.bus.PLOAD, [&](int i) { return t.IPFLB(i); });
    part(s.bus.QLOAD, [&](int i) { return t.IQFLB(i); });
}

SideFault NetworkWriter::write(SideHead& head) {
    collect();
    if (buses_.empty()) return {100, 0};
    if (const SideFault fault = unfit(); fault.message) return fault;
    fill_head(head);
    areas();
    buses();
    branches();
    regulated();
    taps();
    phases();
    ratings();
    if (!flow_)
        for (const int n : SIDE_RESERVE)
            for (int i = 0; i < n; ++i) out.word(0);
    voltages();
    if (slacks_.size() > 1) halves(slacks_, [&](int i) { return number(s.gen.NOGEN(s.slk.NGSLK(i))); });
    if (head.links > 0) write_links(s, out);
    if (head.loads > 0) loads();
    if (flow_) halves(row_, [&](int k) { return number(k); });
    return {};
}

}  // namespace

SideFault network_to_side(Run& run, SideForm form, SideHead& head, SideWriter& out) {
    // The flow interface file tells the elimination order as well.
    const Store& s = run.store;
    if (form == SideForm::flow && s.bus.NB > 0) OPTIMO(run, run.mat.plain, s.bus.NB, s.branch.NL);
    return NetworkWriter(run, form, out).write(head);
}

}  // namespace korvane
