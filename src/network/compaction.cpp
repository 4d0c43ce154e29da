// STOOFF and STOON: rows out of service go behind those in service, so that solvers see only what is alive.
#include "frame/run.hpp"
#include "network/service_order.hpp"

namespace korvane {

namespace {

/// Whether the row that a reference names is in service; its family has been put in order before.
template <Family F>
bool alive(const Store& s, Ref<F> ref) {
    const int row = std::abs(ref.at);
    return row >= 1 && row <= s.cmp.of(F).on;
}

// --- what keeps a row in service: what it stands on, and the state of its own if it has one

bool in_service(const Store&, const BusTables& t, int i) { return t.STBUS(i); }
bool in_service(const Store& s, const BranchTables& t, int i) { return alive(s, t.NFROM(i)) && alive(s, t.NTO(i)); }
bool in_service(const Store& s, const TapTables& t, int i) { return alive(s, t.NOTAP(i)); }
bool in_service(const Store& s, const PhaseTables& t, int i) { return alive(s, t.NOPHS(i)); }
bool in_service(const Store& s, const LineShuntTables& t, int i) { return alive(s, t.LISHL(i)); }
bool in_service(const Store& s, const SeriesDeviceTables& t, int i) { return alive(s, t.LICSC(i)); }
bool in_service(const Store& s, const GeneratorTables& t, int i) { return alive(s, t.NOGEN(i)); }
bool in_service(const Store& s, const RemoteControlTables& t, int i) { return alive(s, t.ICB(i)); }
bool in_service(const Store& s, const SlackTables& t, int i) { return alive(s, t.NGSLK(i)); }
bool in_service(const Store& s, const LoadModelTables& t, int i) { return alive(s, t.NOFLD(i)); }
bool in_service(const Store& s, const ShuntTables& t, int i) { return alive(s, t.NOSHT(i)); }
bool in_service(const Store& s, const MotorTables& t, int i) { return alive(s, t.NOMOT(i)) && t.STMOT(i); }
bool in_service(const Store& s, const IndividualLoadTables& t, int i) { return alive(s, t.NOCAI(i)) && t.STCAR(i); }
bool in_service(const Store& s, const IndividualGeneratorTables& t, int i) {
    return alive(s, t.NOGEI(i)) && alive(s, t.NOGGEI(i)) && t.STGEI(i);
}
bool in_service(const Store& s, const BankTables& t, int i) {
    return alive(s, t.NOBSH(i)) && (t.IDCIR(i) == 0 || alive(s, t.IDCIR(i)));
}
bool in_service(const Store& s, const BankUnitTables& t, int i) { return alive(s, t.IBUSH(i)) && t.STBSH(i); }
bool in_service(const Store& s, const InjectionTables& t, int i) { return alive(s, t.NOEQV(i)); }
bool in_service(const Store& s, const AlternativeSlackTables& t, int i) { return alive(s, t.NOSLP(i)); }
bool in_service(const Store&, const LinkTables& t, int i) { return t.STUELO(i); }
bool in_service(const Store& s, const DcBusTables& t, int i) { return alive(s, t.LINKDC(i)); }
bool in_service(const Store& s, const DcLineTables& t, int i) { return alive(s, t.NDCFR(i)) && alive(s, t.NDCTO(i)); }
bool in_service(const Store& s, const ConverterTables& t, int i) {
    return alive(s, t.NDCBUS(i)) && alive(s, t.INTBUS(i));
}
bool in_service(const Store& s, const CompensatorTables& t, int i) { return alive(s, t.NBECER(i)) && t.STUCER(i); }
bool in_service(const Store& s, const AutomaticShuntTables& t, int i) { return alive(s, t.NBUSSCA(i)); }
bool in_service(const Store&, const AreaTables&, int) { return true; }
bool in_service(const Store&, const BaseGroupTables&, int) { return true; }
bool in_service(const Store&, const LimitGroupTables&, int) { return true; }
// Rows of report tables and of frequency islands keep their order; who reads them tests what they name.
bool in_service(const Store&, const BandTables&, int) { return true; }
bool in_service(const Store&, const ActiveSums&, int) { return true; }
bool in_service(const Store&, const ReactiveSums&, int) { return true; }
bool in_service(const Store&, const FlowSumTables&, int) { return true; }
bool in_service(const Store&, const FlowMemberTables&, int) { return true; }
bool in_service(const Store&, const FrequencyTables&, int) { return true; }
template <Family Own, Family Of, int N>
bool in_service(const Store& s, const RowList<Own, Of, N>& t, int i) {
    return alive(s, t.row(i));
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

void STOOFF(Run& run) {
    Store& s = run.store;
    if (s.cmp.compacted) STOON(run);  // states have changed since: look again
    s.cmp.NCTROFF = s.cmp.factors = s.cmp.fixed_taps = 0;
    const bool moves = anything_off(s);
    each_family(s, [&](auto& t) {
        OnOff& n = s.cmp.of(t.family);
        const int total = t.count();
        n.on = moves ? bring_forward(s, t, total, [&](int i) { return in_service(s, t, i); }) : total;
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
    ADRARE(s);
    ADRLIN(run);
    CTROFF(run);
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
