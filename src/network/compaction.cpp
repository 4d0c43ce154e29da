// STOOFF and STOON: rows out of service go behind those in service, so that solvers see only what is alive.
#include "frame/run.hpp"
#include "network/service_order.hpp"

namespace korvane {

namespace {

/// Whether the row that a reference names is in service; its family has been looked at before.
class Alive {
public:
    explicit Alive(const Store& s) : s_(s) {}

    template <Family F>
    bool operator()(Ref<F> ref) const {
        const int row = std::abs(ref.at);
        if (row < 1) return false;
        const std::vector<char>& marks = marks_[std::size_t(F)];
        return marks.empty() ? row <= s_.cmp.of(F).on : marks[std::size_t(row)];
    }
    /// Marks of a family whose rows stay where they are: by row, from 1.
    std::vector<char>& marks(Family f) { return marks_[std::size_t(f)]; }

private:
    const Store& s_;
    std::array<std::vector<char>, FAMILIES> marks_;  // none: rows in service come first
};

// --- what keeps a row in service: what it stands on, and the state of its own if it has one

bool in_service(const Alive&, const BusTables& t, int i) { return t.STBUS(i); }
bool in_service(const Alive& alive, const BranchTables& t, int i) { return alive(t.NFROM(i)) && alive(t.NTO(i)); }
bool in_service(const Alive& alive, const TapTables& t, int i) { return alive(t.NOTAP(i)); }
bool in_service(const Alive& alive, const PhaseTables& t, int i) { return alive(t.NOPHS(i)); }
bool in_service(const Alive& alive, const LineShuntTables& t, int i) { return alive(t.LISHL(i)); }
bool in_service(const Alive& alive, const SeriesDeviceTables& t, int i) { return alive(t.LICSC(i)); }
bool in_service(const Alive& alive, const GeneratorTables& t, int i) { return alive(t.NOGEN(i)); }
bool in_service(const Alive& alive, const RemoteControlTables& t, int i) { return alive(t.ICB(i)); }
bool in_service(const Alive& alive, const SlackTables& t, int i) { return alive(t.NGSLK(i)); }
bool in_service(const Alive& alive, const LoadModelTables& t, int i) { return alive(t.NOFLD(i)); }
bool in_service(const Alive& alive, const ShuntTables& t, int i) { return alive(t.NOSHT(i)); }
bool in_service(const Alive& alive, const MotorTables& t, int i) { return alive(t.NOMOT(i)) && t.STMOT(i); }
bool in_service(const Alive& alive, const IndividualLoadTables& t, int i) { return alive(t.NOCAI(i)) && t.STCAR(i); }
bool in_service(const Alive& alive, const IndividualGeneratorTables& t, int i) {
    return alive(t.NOGEI(i)) && alive(t.NOGGEI(i)) && t.STGEI(i);
}
bool in_service(const Alive& alive, const BankTables& t, int i) {
    return alive(t.NOBSH(i)) && (t.IDCIR(i) == 0 || alive(t.IDCIR(i)));
}
bool in_service(const Alive& alive, const BankUnitTables& t, int i) { return alive(t.IBUSH(i)) && t.STBSH(i); }
bool in_service(const Alive& alive, const InjectionTables& t, int i) { return alive(t.NOEQV(i)); }
bool in_service(const Alive& alive, const AlternativeSlackTables& t, int i) { return alive(t.NOSLP(i)); }
bool in_service(const Alive&, const LinkTables& t, int i) { return t.STUELO(i); }
bool in_service(const Alive& alive, const DcBusTables& t, int i) { return alive(t.LINKDC(i)); }
bool in_service(const Alive& alive, const DcLineTables& t, int i) { return alive(t.NDCFR(i)) && alive(t.NDCTO(i)); }
bool in_service(const Alive& alive, const TerminalTables& t, int i) { return alive(t.NOLDC(i)); }
bool in_service(const Alive& alive, const ConverterTables& t, int i) {
    return alive(t.NDCBUS(i)) && alive(t.INTBUS(i));
}
bool in_service(const Alive& alive, const CompensatorTables& t, int i) { return alive(t.NBECER(i)) && t.STUCER(i); }
bool in_service(const Alive& alive, const AutomaticShuntTables& t, int i) { return alive(t.NBUSSCA(i)); }
bool in_service(const Alive&, const AreaTables&, int) { return true; }
bool in_service(const Alive&, const BaseGroupTables&, int) { return true; }
bool in_service(const Alive&, const LimitGroupTables&, int) { return true; }
// Rows of report tables, of studies and of frequency islands keep their order; who reads them tests what they name.
bool in_service(const Alive&, const BandTables&, int) { return true; }
bool in_service(const Alive&, const ActiveSums&, int) { return true; }
bool in_service(const Alive&, const ReactiveSums&, int) { return true; }
bool in_service(const Alive&, const FlowSumTables&, int) { return true; }
bool in_service(const Alive&, const FlowMemberTables&, int) { return true; }
bool in_service(const Alive&, const FrequencyTables&, int) { return true; }
bool in_service(const Alive&, const ContingencyTables&, int) { return true; }
bool in_service(const Alive&, const ContingencyClassTables&, int) { return true; }
bool in_service(const Alive&, const ContingencyChangeTables&, int) { return true; }
bool in_service(const Alive&, const ContingencyValueTables&, int) { return true; }
bool in_service(const Alive&, const ControlVariableTables&, int) { return true; }
bool in_service(const Alive&, const CurvePointTables&, int) { return true; }
bool in_service(const Alive&, const GroupConstraintTables&, int) { return true; }
bool in_service(const Alive&, const ConstraintTermTables&, int) { return true; }
template <Family Own, Family Of, int N>
bool in_service(const Alive& alive, const RowList<Own, Of, N>& t, int i) {
    return alive(t.row(i));
}

/// Whether any element is out of service by its own state. Branches do not count: solvers see the open ones too.
bool anything_off(const Store& s) {
    auto off = [](const auto& state, int n) {
        for (int i : rows(n))
            if (!state(i)) return true;
        return false;
    };
    return off(s.bus.STBUS, s.bus.NB) || off(s.ldc.STUELO, s.ldc.NLDC) || off(s.mot.STMOT, s.mot.NMOT) ||
           off(s.cai.STCAR, s.cai.NCAI) || off(s.gei.STGEI, s.gei.NGEI) || off(s.bshl.STBSH, s.bshl.NBSHL) ||
           off(s.cer.STUCER, s.cer.NCER);
}

// Fictitious branches of the augmented equations take the rows behind the count, in these columns only.
void save_branch_ends(Store& s) {
    BranchTables& b = s.branch;
    const OnOff& n = s.cmp.of(Family::branch);
    for (int l = n.on + 1; l <= n.on + n.off; ++l)
        s.cmp.ends(l) = {b.NFROM(l), b.NTO(l), b.STLIN(l), b.STLIND(l), b.STLINP(l)};
}

void restore_branch_ends(Store& s) {
    BranchTables& b = s.branch;
    const OnOff& n = s.cmp.of(Family::branch);
    assert(b.NL == n.on && "branches are not added while the store is compacted");
    for (int l = n.on + 1; l <= n.on + n.off; ++l) {
        const Compaction::BranchEnds& e = s.cmp.ends(l);
        b.NFROM(l) = e.from;
        b.NTO(l) = e.to;
        b.STLIN(l) = e.in_service;
        b.STLIND(l) = e.live_from;
        b.STLINP(l) = e.live_to;
    }
}

}  // namespace

std::array<int, FAMILIES> rows_in_service(Store& s) {
    std::array<int, FAMILIES> on{};
    const bool all = s.cmp.compacted || !anything_off(s);
    Alive alive(s);
    each_family(s, [&](auto& t) {
        int& n = on[std::size_t(t.family)];
        n = t.count();
        if (all) return;
        std::vector<char> marks(std::size_t(t.count()) + 1);
        n = 0;
        for (int i : rows(t.count())) n += marks[std::size_t(i)] = in_service(alive, t, i);
        alive.marks(t.family) = std::move(marks);
    });
    return on;
}

void STOOFF(Run& run) {
    Store& s = run.store;
    if (s.cmp.compacted) STOON(run);  // states have changed since: look again
    s.cmp.NCTROFF = s.cmp.factors = s.cmp.fixed_taps = 0;
    const bool moves = anything_off(s);
    const Alive alive(s);
    each_family(s, [&](auto& t) {
        OnOff& n = s.cmp.of(t.family);
        const int total = t.count();
        n.on = moves ? bring_forward(s, t, total, [&](int i) { return in_service(alive, t, i); }) : total;
        n.off = total - n.on;
        if constexpr (std::is_same_v<std::remove_reference_t<decltype(t)>, BranchTables>)
            if (moves) bring_forward(s, t, n.on, [&](int l) { return t.STLIN(l); });
    });
    if (moves) {
        link_branch_rows(s);
        save_branch_ends(s);
        for (int k = s.cmp.of(Family::bus).on + 1; k <= s.bus.NB; ++k) s.ilh.NOILHA2(k) = 0;
    }
    each_family(s, [&](auto& t) { t.count() = s.cmp.of(t.family).on; });
    s.cmp.compacted = true;
    if (!moves) return;
    order_rows(s);
    LNKADR(run);
    ADRARE(s);
    ADRLIN(run);
    CTROFF(run);
}

void set_aside_again(Run& run) {
    Store& s = run.store;
    link_branch_rows(s);
    save_branch_ends(s);
    each_family(s, [&](auto& t) { t.count() = s.cmp.of(t.family).on; });
    order_rows(s);
    LNKADR(run);
    ADRARE(s);
    ADRLIN(run);
}

void STOON(Run& run) {
    Store& s = run.store;
    if (!s.cmp.compacted) return;
    restore_branch_ends(s);
    bool moved = false;
    each_family(s, [&](auto& t) {
        const int off = s.cmp.of(t.family).off;
        t.count() += off;
        moved = moved || off != 0;
    });
    s.cmp.compacted = false;
    undo_CTROFF(s);
    if (moved) rebuild_addresses(run);
}

}  // namespace korvane
