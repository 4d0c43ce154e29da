// LNKADR: what direct-current links are made of, worked out from their tables.
#include <vector>

#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

/// Puts rows n to 1 at the heads of their lists, so that each list walks in ascending rows.
template <class Head, class Link, class Owner>
void chain(Head& head, Link& link, int owners, int n, Owner owner) {
    head.fill(owners, 0);
    for (int i = n; i >= 1; --i) {
        link(i) = 0;
        if (owner(i) == 0) continue;
        link(i) = head(owner(i));
        head(owner(i)) = i;
    }
}

/// Link of a converter: that of its DC bus.
int link_of(const Store& s, int c) { return s.cnv.NDCBUS(c) ? int(s.dcb.LINKDC(s.cnv.NDCBUS(c))) : 0; }

/// Whether a converter stands in the positive pole: that of its DC bus. The ground counts as negative.
bool positive(const Store& s, int c) { return s.cnv.NDCBUS(c) && s.dcb.IPOLE(s.cnv.NDCBUS(c)) > 0; }

void find_references(Store& s) {
    Addresses& a = s.adr;
    for (auto* list : {&a.ISLKBP, &a.ISLKBN, &a.ISLKCP, &a.ISLKCN}) list->fill(s.ldc.NLDC, 0);
    for (int b : rows(s.dcb.NDCB)) {
        const int link = s.dcb.LINKDC(b);
        if (link == 0 || std::abs(s.dcb.IPOLE(b)) != 2) continue;
        (s.dcb.IPOLE(b) > 0 ? a.ISLKBP : a.ISLKBN)(link) = b;
    }
    for (int c : rows(s.cnv.NCNV))
        if (const int link = link_of(s, c); link != 0 && s.cnv.ITCNV(c))
            (positive(s, c) ? a.ISLKCP : a.ISLKCN)(link) = c;
    for (int link : rows(s.ldc.NLDC)) {
        a.ISLKBPREF(link) = a.ISLKBP(link);
        a.ISLKBNREF(link) = a.ISLKBN(link);
    }
}

/// One terminal for each AC bus with converters, in their order. False when there are too many.
bool make_terminals(Store& s) {
    struct Terminal {
        int row;
        double p, q;
    };
    std::vector<Terminal> of(std::size_t(s.bus.NB) + 1);
    for (int t : rows(s.trm.NTRM))
        if (const int k = s.trm.NOLDC(t); k != 0) of[std::size_t(k)] = {0, s.trm.PLDC(t), s.trm.QLDC(t)};
    s.trm.NTRM = 0;
    bool room = true;
    for (int c : rows(s.cnv.NCNV)) {
        s.cnv.INTLDC(c) = 0;
        const int k = s.cnv.INTBUS(c);
        if (k == 0) continue;
        Terminal& terminal = of[std::size_t(k)];
        if (terminal.row == 0) {
            if (s.trm.NTRM >= MXTRM) {
                room = false;
                continue;
            }
            terminal.row = add_row(s.trm);
            s.trm.NOLDC(terminal.row) = k;
            s.trm.PLDC(terminal.row) = terminal.p;
            s.trm.QLDC(terminal.row) = terminal.q;
        }
        s.cnv.INTLDC(c) = terminal.row;
    }
    return room;
}

}  // namespace

void LNKADR(Run& run) {
    Store& s = run.store;
    Addresses& a = s.adr;
    chain(a.IPCLNK, a.LNKCNV, s.ldc.NLDC, s.cnv.NCNV, [&](int c) { return link_of(s, c); });
    chain(a.IPBLNK, a.LNKDCB, s.ldc.NLDC, s.dcb.NDCB, [&](int b) { return int(s.dcb.LINKDC(b)); });
    find_references(s);
    // While elements out of service are set aside their terminals are too: rows stay as they are.
    if (s.cmp.compacted || make_terminals(s)) return;
    MSGPUT(run, "LNKADR", 100);
    MSGOUT(run);
}

}  // namespace korvane
