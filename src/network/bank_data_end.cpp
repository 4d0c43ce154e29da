// DBSH: the steps of the end card.
#include "network/bank_block.hpp"
#include "network/service_order.hpp"

namespace korvane {

// Groups that take over the fixed shunt of their bus. A shunt that an earlier group took is gone.
void BankBlock::take_over_bus_shunts() {
    ShuntTables& t = s.sht;
    for (int g : rows(b.NBSH)) {
        if (b.NOBSH(g) == 0 || !b.DELSH(g) || b.IDCIR(g) != 0) continue;
        b.DELSH(g) = false;
        const int shunt = s.map.NSADR(b.NOBSH(g));
        if (shunt == 0 || t.SHUNT(shunt) == 0) continue;
        b.VINSH(g) = t.SHUNT(shunt);
        t.SHUNT(shunt) = 0;
    }
    close_up(s, t, [&](int i) { return t.SHUNT(i) != 0; });
}

// The same on the ends of lines.
void BankBlock::take_over_line_shunts() {
    LineShuntTables& t = s.shl;
    for (int g : rows(b.NBSH)) {
        const int l = b.IDCIR(g);
        if (b.NOBSH(g) == 0 || !b.DELSH(g) || l == 0) continue;
        b.DELSH(g) = false;
        const int row = s.branch.LTYPE(l) == 0 ? s.branch.LITRF(l) : 0;
        if (row == 0) continue;
        double& value = (s.branch.NFROM(l) == b.NOBSH(g) ? t.SHLFR : t.SHLTO)(row);
        if (value != 0) b.VINSH(g) = value;
        value = 0;
    }
    if (close_up(s, t, [&](int i) { return t.SHLFR(i) != 0 || t.SHLTO(i) != 0; })) link_branch_rows(s);
}

void BankBlock::order_by_service() {
    auto in_service = [&](int k) { return s.bus.STBUS(k); };
    auto group_in_service = [&](int g) {
        const int l = b.IDCIR(g);
        return in_service(b.NOBSH(g)) && (l == 0 || (in_service(s.branch.NFROM(l)) && in_service(s.branch.NTO(l))));
    };
    bring_forward(s, b, b.NBSH, group_in_service);
    bring_forward(s, u, u.NBSHL, [&](int i) { return u.STBSH(i) && group_in_service(u.IBUSH(i)); });
}

// A bank under automatic control takes the place of the automatic shunt that DSCA gave its bus.
void BankBlock::replace_direct_shunts() {
    for (int k : rows(s.bus.NB))
        if (const int n = direct_shunt_[std::size_t(k)]; n && automatic(k).groups > 0) s.sca.NBUSSCA(n) = 0;
}

void BankBlock::finish() {
    drop_empty_groups();
    replace_direct_shunts();
    take_over_bus_shunts();
    take_over_line_shunts();
    close_up(s, b, [&](int g) { return b.NOBSH(g) != 0; });
    close_up(s, u, [&](int i) { return u.IBUSH(i) != 0; });
    order_by_service();
    chain_bank_rows(s);
    for (int g : rows(b.NBSH)) {
        b.QBSH(g) = 0;  // summed up along the chain, so that the order of the cards leaves no trace
        for (int i = s.adr.IPBSH(g); i; i = s.adr.LNKBS(i)) b.QBSH(g) += u.QBAN(i);
    }
    make_bank_shunts(s);
}

}  // namespace korvane
