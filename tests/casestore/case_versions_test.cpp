// Older cases: what a version does not hold gets the value that the format tells.
#include <gtest/gtest.h>

#include <cmath>

#include "casestore/case_bench.hpp"
#include "casestore/stored_networks.hpp"

namespace korvane::testing {
namespace {

template <class Column>
bool all_are(const Column& column, int n, typename Column::value_type value) {
    for (int i : rows(n))
        if (column(i) != value) return false;
    return true;
}
template <class A, class B>
bool same(const A& a, const B& b, int n) {
    for (int i : rows(n))
        if (a(i) != b(i)) return false;
    return true;
}
template <class F>
bool each(int n, F holds) {
    for (int i : rows(n))
        if (!holds(i)) return false;
    return true;
}
bool near(double a, double b) { return std::abs(a - b) <= 1e-9 * (1 + std::abs(b)); }

using S = const Store&;
using K = const Constants&;

/// Versions up to `last` leave it so; a wide case of a later version holds what was saved.
struct Absent {
    const char* what;
    int last;
    bool wide_only;  // a narrow case of any version leaves it so
    bool (*holds)(S s, K k);
};
const Absent ABSENT[] = {
    {"BUSSEL", 50, false, [](S, K) { return true; }},
    {"BUSSEL of the area", 51, false,
     [](S s, K) { return each(s.bus.NB, [&](int k) { return s.bus.BUSSEL(k) == s.area.ARESEL(s.bus.IAREA(k)); }); }},
    {"DMAX ICIT", 54, false, [](S, K k) { return k.DMAX == 5 && k.ICIT == 30; }},
    {"VART FDIV ICMN", 54, false, [](S, K k) { return k.VART == 5 && k.FDIV == 2 && k.ICMN == 0.05; }},
    {"FVOLT", 55, false, [](S s, K) { return all_are(s.bus.FVOLT, s.bus.NB, 1.0); }},
    {"VDCMIN", 56, false, [](S s, K) { return all_are(s.cnv.VDCMIN, s.cnv.NCNV, 0.0); }},
    {"NTSTP", 57, false, [](S s, K k) { return all_are(s.tap.NTSTP, s.tap.NTAP, k.TSTP); }},
    {"TSDC ASDC", 58, false, [](S, K k) { return k.TSDC == double(0.02f) && k.ASDC == double(0.01745329238f); }},
    {"QMNO QMXO", 59, false,
     [](S s, K) { return same(s.gen.QMNO, s.gen.QMIN, s.gen.NG) && same(s.gen.QMXO, s.gen.QMAX, s.gen.NG); }},
    {"ICMV APAS CPAR", 60, false, [](S, K k) { return k.ICMV == 0.5 && k.APAS == 90 && k.CPAR == 70; }},
    {"ALFACREM", 60, false, [](S s, K) { return all_are(s.gen.ALFACREM, s.gen.NG, 1.0); }},
    {"NUCER IGCER", 60, false,
     [](S s, K) { return each(s.cer.NCER, [&](int i) { return s.cer.NUCER(i) == 1 && s.cer.IGCER(i) == i; }); }},
    {"MODOHMVAR", 60, false, [](S s, K) { return all_are(s.ldc.MODOHMVAR, s.ldc.NLDC, false); }},
    {"references of converters", 60, false,
     [](S s, K) {
         const auto& c = s.cnv;
         return same(c.CVOLTREF, c.CVOLT, c.NCNV) && same(c.CTAPREF, c.CTAP, c.NCNV) &&
                same(c.CCURREF, c.CCUR, c.NCNV) && same(c.DLREF, c.DL, c.NCNV) && all_are(c.CTAPTR, c.NCNV, 1) &&
                all_are(c.CMARGEM, c.NCNV, double(0.1f)) && all_are(c.CSOBREC, c.NCNV, double(99.99f)) &&
                each(c.NCNV,
                     [&](int i) { return c.CTAPHI(i) == 1 / c.CTMAX(i) && c.VOLTDCREF(i) == s.bus.VOLT(c.INTBUS(i)); });
     }},
    {"NTTAP", 61, false, [](S s, K) { return all_are(s.tap.NTTAP, s.tap.NTAP, 0); }},
    {"VAVT to VSUP", 62, false,
     [](S, K k) {
         return k.VAVT == 2 && k.VAVF == 5 && near(k.VMVF, 15 / k.BASE) && k.VPVT == 2 && k.VPVF == 5 &&
                near(k.VPMF, 10 / k.BASE) && k.VSVF == 20 && k.VINF == 1 && k.VSUP == 1;
     }},
    {"comment", 62, false, [](S s, K) { return s.comment.length == 0; }},
    {"states", 63, false,
     [](S s, K) {
         return all_are(s.bus.STBUS, s.bus.NB, true) && all_are(s.shl.STSHLD, s.shl.NSHL, true) &&
                all_are(s.cer.STUCER, s.cer.NCER, true) && all_are(s.ldc.STUELO, s.ldc.NLDC, true) &&
                all_are(s.mot.STMOT, s.mot.NMOT, true);
     }},
    {"VMINE VMAXE", 63, false,
     [](S s, K) { return same(s.glt.VMINE, s.glt.VMIN, s.glt.NGLT) && same(s.glt.VMAXE, s.glt.VMAX, s.glt.NGLT); }},
    {"NTTVF TVFLIM FTPDIS", 63, false,
     [](S s, K) {
         const auto& t = s.tap;
         return all_are(t.NTTVF, t.NTAP, 0) && all_are(t.TVFLIM, t.NTAP, false) && all_are(t.FTPDIS, t.NTAP, false);
     }},
    {"CTGID", 63, false, [](S s, K) { return each(s.ctg.NCTG, [&](int i) { return s.ctg.CTGID(i).blank(); }); }},
    {"elements of 64", 63, false,
     [](S s, K) { return s.gei.NGEI + s.cai.NCAI + s.bsh.NBSH + s.bshl.NBSHL + s.sca.NSCA == 0; }},
    {"FLAGNOP", 64, false, [](S s, K) { return all_are(s.gei.FLAGNOP, s.gei.NGEI, false); }},
    {"first character of groups", 65, false,
     [](S s, K) {
         return each(s.glt.NGLT, [&](int g) { return s.glt.GLTEN(g).at[0] == ' '; }) &&
                (s.gbt.NGBT == 0 || s.gbt.GBTEN(1).at[0] == ' ');
     }},
    {"STLIND STLINP", 67, false,
     [](S s, K) { return all_are(s.branch.STLIND, s.branch.NL, true) && all_are(s.branch.STLINP, s.branch.NL, true); }},
    {"KAPAQ", 68, true, [](S s, K) { return same(s.branch.KAPAQ, s.branch.KAPAC, s.branch.NL); }},
    {"aggregators", 68, true,
     [](S s, K) {
         return each(6, [&](int k) { return s.agr.count(k) == 0; }) &&
                each(s.bus.NB, [&](int k) { return s.bus.IAGRBAR(k)(1) == 0; });
     }},
    {"TLSI", 69, false, [](S, K k) { return k.TLSI == 0; }},
    {"LINSEL", 69, true, [](S s, K) { return all_are(s.branch.LINSEL, s.branch.NL, true); }},
    {"control of phase shifters", 71, true,  // nothing is held
     [](S s, K) {
         const auto& p = s.phs;
         return each(p.NPHS, [&](int i) { return s.branch.LTYPE(s.tap.NOTAP(p.NOPHS(i))) == 2; }) &&
                all_are(p.PHSMIN, p.NPHS, 0.0) && all_are(p.VSPPHS, p.NPHS, 0.0) && all_are(p.NPHSTP, p.NPHS, 0);
     }},
    {"NDIR STTR TRPT STIR BFPO", 72, false,
     [](S, K k) { return k.NDIR == 20 && k.STTR == 0.05 && k.TRPT == 1 && k.STIR == 1 && near(k.BFPO, 1 / k.BASE); }},
    {"later aggregators", 72, true,
     [](S s, K) { return each(4, [&](int k) { return s.agr.count(6 + k) == 0; }) && s.slp.NSLP == 0; }},
    {"KONCSC_ORI STBYP", 72, true,
     [](S s, K) {
         return same(s.csc.KONCSC_ORI, s.csc.KONCSC, s.csc.NCSC) && all_are(s.csc.STBYP, s.csc.NCSC, false);
     }},
    {"DVOLTESP", 72, true, [](S s, K) { return same(s.dcb.DVOLTESP, s.dcb.DVOLT, s.dcb.NDCB); }},
    {"ITCI ITCISOL IDTAPLIV VCNV", 72, true,
     [](S s, K) {
         const auto& c = s.cnv;
         return each(c.NCNV, [&](int i) { return c.VCNV(i) == s.bus.VOLT(c.INTBUS(i)); }) &&
                all_are(c.ITCI, c.NCNV, true) && all_are(c.ITCISOL, c.NCNV, 0) && all_are(c.IDTAPLIV, c.NCNV, true);
     }},
    {"CAPAC CAPAE CAPAQ", 73, true,
     [](S s, K) {
         const auto& b = s.branch;
         return same(b.CAPAC, b.KAPAC, b.NL) && same(b.CAPAE, b.KAPAE, b.NL) && same(b.CAPAQ, b.KAPAQ, b.NL);
     }},
    {"PGEIMN ESTRP PGFRP", 74, true,
     [](S s, K) {
         return all_are(s.gei.PGEIMN, s.gei.NGEI, 0.0) && all_are(s.gen.ESTRP, s.gen.NG, 0.0) &&
                all_are(s.gen.PGFRP, s.gen.NG, 0.0) && s.frq.NFRP == 0;
     }},
    {"LFPO", 75, false, [](S, K k) { return near(k.LFPO, 0.1 / k.BASE); }},
    {"TLMT TLMF TLMG", 76, false, [](S, K k) { return k.TLMT == 0 && k.TLMF == 0 && k.TLMG == 0; }},
};

/// Every constant of the table differs from what a version that does not hold it would give.
void make_constants(Run& run) {
    RESET(run);
    for (const ConstantCell& cell : constant_cells())
        if (cell.real) run.cte.*cell.real = 0.5 + cell.place / 64.0;  // exact in single precision
    run.cte.BASE = 100;
    run.cte.NDIR = 12;
    run.cte.DMAX = 77, run.cte.ICIT = 78, run.cte.TSTP = 44;
}

TEST(CaseVersions, EachVersionLeavesWhatItDoesNotHold) {
    Session a, b;
    a.start();
    b.start();
    made_store(a.run, 11, 0.0, 9000);
    Store& s = a.run.store;
    for (int i : rows(s.chg.NCHG))  // no contingency names what the oldest versions do not hold
        if (s.chg.ITCTG(i) >= change::bank_off && s.chg.ITCTG(i) <= change::generator_on)
            s.chg.ITCTG(i) = change::bus_off, s.chg.NOCTG(i) = 1;
    // States that older versions cannot tell.
    s.bus.STBUS(1) = s.branch.STLIND(1) = s.branch.LINSEL(1) = s.csc.STBYP(1) = s.branch.STLINP(2) = false;
    s.csc.STBYP(1) = true;
    s.ldc.MODOHMVAR.fill(s.ldc.NLDC, true);
    s.cnv.ITCI(1) = false;
    s.area.ARESEL(1) = false;
    s.agr.count(1) = std::max(1, s.agr.count(1));
    s.agr.count(8) = std::max(1, s.agr.count(8));
    s.comment.length = 80;
    s.comment.text[0] = 'c';
    const Store* const stored = &s;
    for (const Encoding e : {Encoding::wide, Encoding::narrow})
        for (int version = OLDEST_VERSION; version <= CURRENT_VERSION; ++version) {
            const Constants before = a.run.cte;
            Constants made;
            {
                Session c;
                c.start();
                make_constants(c.run);
                made = c.run.cte;
            }
            a.run.cte = made;
            if (e == Encoding::narrow) s.branch.STLIND(1) = s.branch.STLINP(2) = true;
            MemoryRecords r(CASE_RECORD);
            ASSERT_EQ(save_case(a.run, r, e, version), e == Encoding::narrow && version <= PLAIN_VERSION ? 90 : 0)
                << version;
            a.run.cte = before;
            if (e == Encoding::narrow && version <= PLAIN_VERSION) continue;
            const RestoreOutcome out = read_case(b.run, r, 1);
            ASSERT_EQ(out.error, 0) << version << ' ' << (out.field ? out.field : "");
            EXPECT_EQ(stray_reference(b.run.store), "") << version;
            EXPECT_EQ(wrong_address(b.run.store), "") << version;
            EXPECT_EQ(b.run.store.bus.NB, stored->bus.NB);
            for (const Absent& row : ABSENT) {
                const bool absent = version <= row.last || (row.wide_only && e == Encoding::narrow);
                if (e == Encoding::narrow && std::string_view(row.what) == "STLIND STLINP") continue;
                if (std::string_view(row.what) == "BUSSEL" && !absent) continue;
                if (std::string_view(row.what) == "BUSSEL of the area" && version > 51) continue;
                EXPECT_EQ(row.holds(b.run.store, b.run.cte), absent)
                    << row.what << " in version " << version << (e == Encoding::wide);
            }
        }
}

}  // namespace
}  // namespace korvane::testing
