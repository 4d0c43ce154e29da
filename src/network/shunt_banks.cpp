#include "network/shunt_banks.hpp"

#include <algorithm>
#include <vector>

namespace korvane {

void chain_bank_rows(Store& s) {
    BankTables& group = s.bsh;
    BankUnitTables& row = s.bshl;
    Addresses& a = s.adr;
    group.NUBSH.fill(group.NBSH, 0);
    a.IPBSH.fill(group.NBSH, 0);
    a.IPBRC.fill(group.NBSH, 0);
    std::vector<int> order;
    order.reserve(std::size_t(row.NBSHL));
    for (int i : rows(row.NBSHL)) {
        order.push_back(i);
        ++group.NUBSH(row.IBUSH(i));
    }
    std::sort(order.begin(), order.end(), [&](int i, int j) {
        return std::pair(int(row.IBUSH(i)), row.IDEGS(i)) < std::pair(int(row.IBUSH(j)), row.IDEGS(j));
    });
    // From the last row to the first, each put at the head of its chain.
    std::reverse(order.begin(), order.end());
    auto put = [&](int i, Table<int, MXBSH>& head, Table<int, MXBSHL>& link) {
        link(i) = std::exchange(head(row.IBUSH(i)), i);
    };
    for (int i : order) put(i, a.IPBSH, a.LNKBS);
    for (const bool positive : {true, false})
        for (int i : order)
            if ((row.VALSH(i) >= 0) == positive) put(i, a.IPBRC, a.LNKRC);
}

/// The stages of automatic shunt n take the rows of group b, those of one sign.
static void add_stages(Store& s, int n, int b, bool capacitors) {
    const BankUnitTables& row = s.bshl;
    StageSteps& steps = s.sca.ISTEPSCA(n);
    StageValues& values = s.sca.VSTEPSCA(n);
    auto stage = std::size_t(std::find(steps.begin(), steps.end(), 0) - steps.begin());
    for (int i = s.adr.IPBSH(b); i && stage < MXSTAGE; i = s.adr.LNKBS(i)) {
        if (!row.STBSH(i) || (row.VALSH(i) >= 0) != capacitors) continue;
        steps[stage] = row.NUNIS(i);
        values[stage++] = row.VALSH(i);
        s.sca.VORISCA(n) += row.VALSH(i) * row.NUNISOP(i);
    }
}

void drop_bank_shunts(Store& s) {
    for (int b : rows(s.bsh.NBSH))
        if (const int n = s.bsh.IPSCA(b)) s.sca.NBUSSCA(n) = 0;
    close_up(s, s.sca, [&](int n) { return s.sca.NBUSSCA(n) != 0; });
}

bool make_bank_shunts(Store& s) {
    BankTables& group = s.bsh;
    AutomaticShuntTables& t = s.sca;
    drop_bank_shunts(s);
    std::vector<int> shunt(std::size_t(s.bus.NB) + 1, 0);
    bool room = true;
    for (int b : rows(group.NBSH)) {
        group.IPSCA(b) = 0;
        if (group.MCBSH(b) == 0 || group.NUBSH(b) == 0) continue;
        int& n = shunt[std::size_t(group.NOBSH(b))];
        if (n == 0) {
            if (t.NSCA >= MXSCA) {
                room = false;
                continue;
            }
            n = add_row(t);
            t.NBUSSCA(n) = group.NOBSH(b);
            t.KBUSSCA(n) = group.NOBCS(b);
            t.VMINSCA(n) = group.TMNSH(b);
            t.VMAXSCA(n) = group.TMXSH(b);
            t.KONSCA(n) = group.MCBSH(b);
            t.SCALIM(n) = group.TCBSH(b);
        }
        group.IPSCA(b) = n;
    }
    for (const bool capacitors : {true, false})
        for (int b : rows(group.NBSH))
            if (const int n = group.IPSCA(b), l = group.IDCIR(b); n && (l == 0 || s.branch.STLIN(l)))
                add_stages(s, n, b, capacitors);
    for (int b : rows(group.NBSH))
        if (const int n = group.IPSCA(b)) t.BSCA(n) = t.VORISCA(n);
    return room;
}

}  // namespace korvane
