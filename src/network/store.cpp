// The store as a whole: its memory, its reset, the index of external numbers, and what drops rows.
#include "network/store.hpp"

#include <cstdlib>

#include "frame/run.hpp"
#include "network/aggregators.hpp"
#include "network/shunt_banks.hpp"
#include "network/study_rows.hpp"
#include "network/sums.hpp"

namespace korvane {

static_assert(std::is_trivially_default_constructible_v<Store> && std::is_trivially_destructible_v<Store>,
              "the store starts as zeroed pages, no constructor runs");

void FreeStore::operator()(Store* s) const { std::free(s); }

StorePtr make_store() {
    // Large blocks come as fresh zeroed pages, and a page that nobody touches takes no memory.
    void* const pages = std::calloc(1, sizeof(Store));
    if (!pages) stop_run(1, " *** Memória insuficiente para as tabelas da rede ***");
    return StorePtr(static_cast<Store*>(pages));
}

std::span<int> row_scratch(Store& s) { return {s.scratch.data(), std::size_t(MXLINX + 1)}; }

// The index may hold positions of former buses: the number at the position tells. So nothing has to be cleared when
// buses go, and a reset costs nothing here.
int bus_of(const Store& s, int number) {
    if (number < 1 || number > MXNUM) return 0;
    const int k = s.adr.position(number);
    return k >= 1 && k <= s.bus.NB && s.bus.NOINT(k) == number ? k : 0;
}

void note_bus(Store& s, int k) { s.adr.position(s.bus.NOINT(k)) = k; }

void forget_bus(Store& s, int k) {
    const int number = s.bus.NOINT(k);
    if (number > 0 && s.adr.position(number) == k) s.adr.position(number) = 0;
}

void RESET(Run& run) {
    Store& s = run.store;
    s.adr.NOORD.fill(rows_taken(s, s.bus), 0);
    s.adr.NAORD.fill(rows_taken(s, s.area), 0);
    // A row takes its reset values when it is taken into use, so counts are all that a family has to forget.
    each_family(s, [](auto& family) { family.count() = 0; });
    clear_aggregators(s);
    s.adr.NBMAX = 0;
    s.adr.NLTL = 0;
    s.adr.LINPTR(1) = 0;
    s.ilh.count = 0;
    s.ilh.area_spans = false;
    s.comment.length = 0;
    s.sol = {};
    s.kept = {};
    s.cmp.compacted = false;
    s.cmp.rows = {};
    s.cmp.NCTROFF = 0;

    run.cte.reset();
    run.opt.reset();
    run.ctl.KNTRL.reset();
    run.ctl.history.clear();
    run.ctl.position = 0;
    run.ctl.recall.clear();
    run.TITLE = "";
    run.pag.NLINE = run.pag.LPP;
}

void rebuild_addresses(Run& run) {
    order_rows(run.store);
    link_branch_rows(run.store);
    LNKADR(run);
    ADRARE(run.store);
    ADRLIN(run);
}

// A shunt bank on the end of a branch goes with the branch.
static void drop_banks_of_branches(Store& s) {
    auto removed = [&](int k) { return k == 0 || s.bus.NOINT(k) == 0; };
    for (int b : rows(s.bsh.NBSH)) {
        const int l = s.bsh.IDCIR(b);
        if (l != 0 && (removed(s.branch.NFROM(l)) || removed(s.branch.NTO(l)))) s.bsh.NOBSH(b) = 0;
    }
}

// A control returns to its own bus when the bus it controls was removed.
static void return_controls(Store& s) {
    auto removed = [&](BusRef bus) { return bus != 0 && s.bus.NOINT(std::abs(bus.at)) == 0; };
    for (int t : rows(s.tap.NTAP))
        if (removed(s.tap.KBUS(t))) s.tap.KBUS(t) = s.branch.NFROM(s.tap.NOTAP(t));
    for (int b : rows(s.bsh.NBSH))
        if (removed(s.bsh.NOBCS(b))) s.bsh.NOBCS(b) = s.bsh.NOBSH(b);
    for (int a : rows(s.sca.NSCA))
        if (removed(s.sca.KBUSSCA(a))) s.sca.KBUSSCA(a) = s.sca.NBUSSCA(a);
    for (int c : rows(s.cer.NCER))
        if (removed(s.cer.NVKCER(c))) s.cer.NVKCER(c) = s.cer.NBECER(c);
}

// A sum of flows goes with its last member.
static void drop_empty_flow_sums(Store& s) {
    std::vector<bool> has_member(std::size_t(s.ftb.NFTB) + 1);
    for (int i : rows(s.ltb.NLTB)) has_member[std::size_t(s.ltb.sum(i))] = true;
    close_up(s, s.ftb, [&](int sum) { return has_member[std::size_t(sum)]; });
}

void drop_removed(Run& run) {
    Store& s = run.store;
    assert(!s.cmp.compacted && "rows out of service would be left behind");
    const bool banks = s.bsh.NBSH > 0;
    if (banks) drop_bank_shunts(s);  // made anew of the groups that stay
    drop_banks_of_branches(s);
    return_controls(s);
    // Each step sees 0 in the references that the steps before it emptied, so the order goes from what stands to what
    // stands on it.
    close_up(s, s.bus, [&](int k) { return s.bus.NOINT(k) != 0; });
    close_up(s, s.branch, [&](int l) { return s.branch.NFROM(l) != 0 && s.branch.NTO(l) != 0; });
    close_up(s, s.tap, [&](int t) { return s.tap.NOTAP(t) != 0; });
    close_up(s, s.phs, [&](int p) { return s.phs.NOPHS(p) != 0; });
    close_up(s, s.shl, [&](int h) { return s.shl.LISHL(h) != 0; });
    close_up(s, s.csc, [&](int c) { return s.csc.LICSC(c) != 0; });
    mark_variables_of_removed(s);
    close_up(s, s.gen, [&](int g) { return s.gen.NOGEN(g) != 0; });
    close_up(s, s.rcb, [&](int r) { return s.rcb.ICB(r) != 0 && s.rcb.IRCB(r) != 0; });
    close_up(s, s.slk, [&](int r) { return s.slk.NGSLK(r) != 0; });
    close_up(s, s.fld, [&](int r) { return s.fld.NOFLD(r) != 0; });
    close_up(s, s.sht, [&](int r) { return s.sht.NOSHT(r) != 0; });
    close_up(s, s.mot, [&](int r) { return s.mot.NOMOT(r) != 0; });
    close_up(s, s.cai, [&](int r) { return s.cai.NOCAI(r) != 0; });
    close_up(s, s.gei, [&](int r) { return s.gei.NOGEI(r) != 0 && s.gei.NOGGEI(r) != 0; });
    close_up(s, s.bsh, [&](int r) { return s.bsh.NOBSH(r) != 0; });
    close_up(s, s.bshl, [&](int r) { return s.bshl.IBUSH(r) != 0; });
    close_up(s, s.eqv, [&](int r) { return s.eqv.NOEQV(r) != 0; });
    close_up(s, s.cer, [&](int r) { return s.cer.NBECER(r) != 0; });
    close_up(s, s.sca, [&](int r) { return s.sca.NBUSSCA(r) != 0; });
    close_up(s, s.cnv, [&](int r) { return s.cnv.INTBUS(r) != 0; });
    close_up(s, s.trm, [&](int r) { return s.trm.NOLDC(r) != 0; });
    close_up(s, s.slp, [&](int r) { return s.slp.NOSLP(r) != 0; });
    close_up(s, s.btb, [&](int r) { return s.btb.IPBTB(r) != 0; });
    keep_sums_closed(s.pge);
    keep_sums_closed(s.qge);
    keep_sums_closed(s.ltb);
    close_up(s, s.pge, [&](int r) { return s.pge.bus(r) != 0; });
    close_up(s, s.qge, [&](int r) { return s.qge.bus(r) != 0; });
    close_up(s, s.ltb, [&](int r) { return s.ltb.IPLTB(r) != 0; });
    drop_empty_flow_sums(s);
    if (banks) {
        chain_bank_rows(s);
        make_bank_shunts(s);
    }
    close_up(s, s.frq, [&](int r) { return s.frq.NREFRP(r) != 0; });
    drop_removed_variables(s);
    const auto& lists = std::tie(s.mtb, s.mtg, s.mtl, s.fcr, s.fql, s.tpf);
    std::apply([&](auto&... list) { (close_up(s, list, [&](int r) { return list.row(r) != 0; }), ...); }, lists);
    rebuild_addresses(run);
}

}  // namespace korvane
