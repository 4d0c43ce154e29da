// Networks that a case may hold, and what a case keeps of them.
#pragma once
#include <functional>
#include <string>

#include "casestore/case_fields.hpp"
#include "casestore/case_io.hpp"
#include "network/aggregators.hpp"
#include "network/motor.hpp"
#include "network/shunt_banks.hpp"
#include "powerflow/sparse.hpp"
#include "support/fixture.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {

/// f(field, number of elements) for all fields of a case of this version, with the counts of the store.
inline void each_field(Run& run, Encoding e, int version,
                       const std::function<void(CaseContext&, const CaseField&, int)>& f) {
    CaseContext c{run, e, version, true};
    for (const CountCell& cell : count_cells()) c.LINE(cell.cell) = cell.taken(run.store);
    c.LINE(102) = MXAGR;
    each_case_field(c, [&](const CaseField& field, int n) { f(c, field, n); });
}

/// A store at random whose values are such as cards leave: within their ranges, one row for one element. `largest`: of
/// any number in it.
inline void made_store(Run& run, unsigned seed, double off, int largest = 1 << 30) {
    Store& s = run.store;
    RESET(run);
    fill_at_random(s, seed, off);
    std::mt19937 random(seed + 1000);
    auto below = [&](int n) { return int(random() % unsigned(n)); };
    static const std::set<std::string_view> made = {"NXCTG", "NOCTG", "ITCTG", "NOCFT",
                                                    "ITCFT", "LPTOX", "IPCFT", "ITCONX"};  // sound as they are
    const auto cut = [&](int& v, int low, int high) { v = low + std::abs(v) % (high - low + 1); };
    each_field(run, Encoding::wide, CURRENT_VERSION, [&](CaseContext& c, const CaseField& f, int n) {
        const std::string_view name = f.name;
        if (!f.column || f.kind != Kind::I || f.byte || f.target || made.contains(name)) return;
        const Strided<int> v{static_cast<int*>(f.table(c)), f.stride};
        for (int i = 0; i < n; ++i)
            cut(v[i], f.low == INT_MIN ? 0 : f.low, std::min({f.high, largest, f.rating ? 9998 : INT_MAX}));
    });
    for (int k : rows(s.bus.NB)) s.bus.NOINT(k) = std::min(MXNUM, largest) - 3 * k;
    for (int a : rows(s.area.NAREA)) s.area.NAINT(a) = 99 - a;
    for (int i : rows(s.sht.NSHT)) s.sht.NOSHT(i) = i;
    s.rcb.NRCB = std::min(s.rcb.NRCB, s.gen.NG);
    for (int i : rows(s.rcb.NRCB)) s.rcb.ICB(i) = i;
    for (int i : rows(s.gei.NGEI)) s.gei.NUGIGMN(i) = 1 + below(5);
    for (int p : rows(s.phs.NPHS)) s.branch.LTYPE(s.tap.NOTAP(s.phs.NOPHS(p))) = 6;
    for (int i : rows(s.sca.NSCA))
        for (double& step : s.sca.VSTEPSCA(i)) step = below(1000) / 64.0;
    for (int i : rows(s.cer.NCER)) s.cer.NUCER(i) = 1 << below(4);  // a share of each unit is exact
    for (int k : rows(MXAGR)) {
        s.agr.NAGINT(k) = k;
        s.agr.count(k) = below(9);
        for (int i : rows(s.agr.count(k))) {
            s.agr.NIDGAG(k)(i) = (i * 7) % 10;
            s.agr.DESGAG(k)(i) = BLANK<36>;
            s.agr.DESGAG(k)(i).at[0] = char('a' + i);
        }
    }
    const auto groups = [&](auto& column, int n) {
        for (int i : rows(n))
            for (int k : rows(MXAGR)) column(i).of[std::size_t(k - 1)] = std::uint8_t(below(s.agr.count(k) + 1));
    };
    groups(s.bus.IAGRBAR, s.bus.NB);
    groups(s.branch.IAGRCIR, s.branch.NL);
    for (int m : rows(s.mot.NMOT)) {
        s.mot.HPBASE(m) = 100 + below(100);
        s.mot.NUNID(m) = 1 + below(9);
        s.mot.VOLTMOT(m) = 0;
        if (s.mot.MOTIP(m) == 0) continue;
        const MotorType& type = MOTOR_TYPES[s.mot.MOTIP(m) - 1];
        s.mot.RSTATO(m) = type.rstato, s.mot.XSTATO(m) = type.xstato, s.mot.XMAGNE(m) = type.xmagne;
        s.mot.RROTOR(m) = type.rrotor, s.mot.XROTOR(m) = type.xrotor;
    }
    for (int k : rows(s.bus.NB)) {
        run.mat.GDIAG(k) = 0.001 * below(10000);
        run.mat.BDIAG(k) = -0.01 * below(10000);
    }
    for (std::size_t i = 1; i < run.ctl.KNTRL.size(); ++i) run.ctl.KNTRL[i] = below(2);
    for (std::size_t i = 1; i < run.opt.OPTDEF.size(); ++i) run.opt.OPTDEF[i] = below(2);
    run.ctl.KNTRL[18] = run.ctl.KNTRL[19] = false;  // no result comes with a case
    chain_bank_rows(s);
    link_groups(s);
    rebuild_addresses(run);
}

/// A file in memory with the network as case 1: empty when it could not be saved.
inline int save_case(Run& run, Records& r, Encoding e = Encoding::wide, int version = CURRENT_VERSION,
                     bool whole = false) {
    if (Directory d; !d.read(r)) {
        Writing scope(r);
        format_records(r, d, 2);
    }
    SaveRequest request;
    request.number = 1;
    request.replace = request.extend = true;
    request.encoding = e;
    request.version = version;
    request.whole = whole;
    return write_case(run, r, request).error;
}

}  // namespace korvane::testing
