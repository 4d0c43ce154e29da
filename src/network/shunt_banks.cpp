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

constexpr int DISCRETE = 1, CONTINUOUS = 2;  // MCBSH

/// Whether a group under control has its branch, if it stands on one, in service: its units can be switched.
static bool connected(const Store& s, int b) {
    const int l = s.bsh.IDCIR(b);
    return l == 0 || s.branch.STLIN(l);
}

/// The stages of automatic shunt n take the rows of group b, those of one sign; VORISCA what they have switched in.
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
        if (s.bsh.MCBSH(b) == CONTINUOUS) s.sca.VORISCA(n) += row.RELBSH(i);
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
    take_bank_values(s, true);
    return room;
}

void take_bank_values(Store& s, bool present) {
    const BankTables& group = s.bsh;
    AutomaticShuntTables& t = s.sca;
    for (int b : rows(group.NBSH))
        if (const int n = group.IPSCA(b)) {
            t.ISTEPSCA(n) = {};
            t.VSTEPSCA(n) = {};
            t.VORISCA(n) = 0;
        }
    for (const bool capacitors : {true, false})
        for (int b : rows(group.NBSH))
            if (const int n = group.IPSCA(b); n && connected(s, b)) add_stages(s, n, b, capacitors);
    for (int b : rows(group.NBSH))
        if (const int n = group.IPSCA(b); n && present) t.BSCA(n) = t.VORISCA(n);
}

namespace {

/// What a row has switched in: units, and the part of one beside them.
struct Share {
    int units;
    double rest;
};

/// Units of row i until its shunt has b, the rows before it having given `sum`: as many as do not pass it. What a row
/// that stops short leaves is its rest.
Share share_of(const BankUnitTables& row, int i, double b, double& sum) {
    constexpr double SAME = 1e-9, LEAST = 1e-7;  // pu
    const double value = row.VALSH(i), left = b - sum;
    if (!std::isfinite(b) || b == 0 || (value >= 0) != (b > 0)) return {0, 0};
    const double fits = std::floor((std::abs(left) + SAME) / std::abs(value));
    const int units = int(std::clamp(fits, 0.0, double(row.NUNIS(i))));
    sum += units * value;
    double rest = units < row.NUNIS(i) ? b - sum : 0;
    if (std::abs(rest) < LEAST) rest = 0;
    sum += rest;
    return {units, rest};
}

}  // namespace

void allocate_banks(Store& s, bool discrete) {
    BankTables& group = s.bsh;
    BankUnitTables& row = s.bshl;
    std::vector<double> sum(std::size_t(s.sca.NSCA) + 1, 0.0);
    for (int b : rows(group.NBSH)) {
        const int mode = group.MCBSH(b), l = group.IDCIR(b);
        const int n = mode == CONTINUOUS || (mode == DISCRETE && discrete) ? int(group.IPSCA(b)) : 0;
        const bool live = n ? connected(s, b) : l == 0 || s.branch.STLIND(l) || s.branch.STLINP(l);
        group.QBSH(b) = 0;
        for (int i = s.adr.IPBSH(b); i; i = s.adr.LNKBS(i)) {
            Share share{0, 0};
            if (live && row.STBSH(i) && n) {
                share = share_of(row, i, s.sca.BSCA(n), sum[std::size_t(n)]);
                row.NUNISOP(i) = row.NUNCHAV(i) = share.units;
            } else if (live && row.STBSH(i)) {
                share.units = row.NUNISOP(i);
            }
            row.RELBSH(i) = share.rest;
            row.QBAN(i) = row.VALSH(i) * share.units + share.rest;
            group.QBSH(b) += row.QBAN(i);
        }
    }
}

}  // namespace korvane
