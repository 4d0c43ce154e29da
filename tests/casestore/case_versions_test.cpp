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
bool near(double a, double b) { return std::abs(a - b) <= 1e-9 * (1 + std::abs(b)); }

/// Versions up to `last` leave it so; a wide case of a later version holds what was saved.
struct Absent {
    const char* what;
    int last;
    bool wide_only;  // a narrow case of any version leaves it so
    bool (*holds)(Run&);
};
const Absent ABSENT[] = {
    {"BUSSEL", 50, false, [](Run&) { return true; }},
    {"BUSSEL of the area", 51, false,
     [](Run& r) {
         for (int k : rows(r.store.bus.NB))
             if (r.store.bus.BUSSEL(k) != r.store.area.ARESEL(r.store.bus.IAREA(k))) return false;
         return true;
     }},
    {"DMAX ICIT", 54, false, [](Run& r) { return r.cte.DMAX == 5 && r.cte.ICIT == 30; }},
    {"VART FDIV ICMN", 54, false, [](Run& r) { return r.cte.VART == 5 && r.cte.FDIV == 2 && r.cte.ICMN == 0.05; }},
    {"FVOLT", 55, false, [](Run& r) { return all_are(r.store.bus.FVOLT, r.store.bus.NB, 1.0); }},
    {"VDCMIN", 56, false, [](Run& r) { return all_are(r.store.cnv.VDCMIN, r.store.cnv.NCNV, 0.0); }},
    {"NTSTP", 57, false, [](Run& r) { return all_are(r.store.tap.NTSTP, r.store.tap.NTAP, r.cte.TSTP); }},
    {"TSDC ASDC", 58, false,
     [](Run& r) { return r.cte.TSDC == double(0.02f) && r.cte.ASDC == double(0.01745329238f); }},
    {"QMNO QMXO", 59, false,
     [](Run& r) {
         const auto& g = r.store.gen;
         return same(g.QMNO, g.QMIN, g.NG) && same(g.QMXO, g.QMAX, g.NG);
     }},
    {"ICMV APAS CPAR", 60, false, [](Run& r) { return r.cte.ICMV == 0.5 && r.cte.APAS == 90 && r.cte.CPAR == 70; }},
    {"ALFACREM", 60, false, [](Run& r) { return all_are(r.store.gen.ALFACREM, r.store.gen.NG, 1.0); }},
    {"NUCER IGCER", 60, false,
     [](Run& r) {
         const auto& c = r.store.cer;
         for (int i : rows(c.NCER))
             if (c.NUCER(i) != 1 || c.IGCER(i) != i) return false;
         return true;
     }},
    {"MODOHMVAR", 60, false, [](Run& r) { return all_are(r.store.ldc.MODOHMVAR, r.store.ldc.NLDC, false); }},
    {"references of converters", 60, false,
     [](Run& r) {
         const auto& c = r.store.cnv;
         for (int i : rows(c.NCNV))
             if (c.CTAPHI(i) != 1 / c.CTMAX(i) || c.CTAPTR(i) != 1 || c.CVOLTREF(i) != c.CVOLT(i) ||
                 c.CTAPREF(i) != c.CTAP(i) || c.CCURREF(i) != c.CCUR(i) || c.DLREF(i) != c.DL(i) ||
                 c.CMARGEM(i) != double(0.1f) || c.CSOBREC(i) != double(99.99f) ||
                 c.VOLTDCREF(i) != r.store.bus.VOLT(c.INTBUS(i)))
                 return false;
         return true;
     }},
    {"NTTAP", 61, false, [](Run& r) { return all_are(r.store.tap.NTTAP, r.store.tap.NTAP, 0); }},
    {"VAVT to VSUP", 62, false,
     [](Run& r) {
         const Constants& k = r.cte;
         return k.VAVT == 2 && k.VAVF == 5 && near(k.VMVF, 15 / k.BASE) && k.VPVT == 2 && k.VPVF == 5 &&
                near(k.VPMF, 10 / k.BASE) && k.VSVF == 20 && k.VINF == 1 && k.VSUP == 1;
     }},
    {"comment", 62, false, [](Run& r) { return r.store.comment.length == 0; }},
    {"states", 63, false,
     [](Run& r) {
         const Store& s = r.store;
         return all_are(s.bus.STBUS, s.bus.NB, true) && all_are(s.shl.STSHLD, s.shl.NSHL, true) &&
                all_are(s.cer.STUCER, s.cer.NCER, true) && all_are(s.ldc.STUELO, s.ldc.NLDC, true) &&
                all_are(s.mot.STMOT, s.mot.NMOT, true);
     }},
    {"VMINE VMAXE", 63, false,
     [](Run& r) {
         const auto& g = r.store.glt;
         return same(g.VMINE, g.VMIN, g.NGLT) && same(g.VMAXE, g.VMAX, g.NGLT);
     }},
    {"NTTVF TVFLIM FTPDIS", 63, false,
     [](Run& r) {
         const auto& t = r.store.tap;
         return all_are(t.NTTVF, t.NTAP, 0) && all_are(t.TVFLIM, t.NTAP, false) && all_are(t.FTPDIS, t.NTAP, false);
     }},
    {"CTGID", 63, false,
     [](Run& r) {
         for (int i : rows(r.store.ctg.NCTG))
             if (!(r.store.ctg.CTGID(i) == BLANK<46>)) return false;
         return true;
     }},
    {"elements of 64", 63, false,
     [](Run& r) {
         const Store& s = r.store;
         return s.gei.NGEI == 0 && s.cai.NCAI == 0 && s.bsh.NBSH == 0 && s.bshl.NBSHL == 0 && s.sca.NSCA == 0;
     }},
    {"FLAGNOP", 64, false, [](Run& r) { return all_are(r.store.gei.FLAGNOP, r.store.gei.NGEI, false); }},
    {"first character of groups", 65, false,
     [](Run& r) {
         for (int g : rows(r.store.glt.NGLT))
             if (r.store.glt.GLTEN(g).at[0] != ' ') return false;
         return r.store.gbt.NGBT == 0 || r.store.gbt.GBTEN(1).at[0] == ' ';
     }},
    {"STLIND STLINP", 67, false,
     [](Run& r) {
         const auto& b = r.store.branch;
         return all_are(b.STLIND, b.NL, true) && all_are(b.STLINP, b.NL, true);
     }},
    {"KAPAQ", 68, true, [](Run& r) { return same(r.store.branch.KAPAQ, r.store.branch.KAPAC, r.store.branch.NL); }},
    {"aggregators", 68, true,
     [](Run& r) {
         int n = 0;
         for (int k = 1; k <= 6; ++k) n += r.store.agr.count(k);
         for (int k : rows(r.store.bus.NB)) n += r.store.bus.IAGRBAR(k)(1);
         return n == 0;
     }},
    {"TLSI", 69, false, [](Run& r) { return r.cte.TLSI == 0; }},
    {"LINSEL", 69, true, [](Run& r) { return all_are(r.store.branch.LINSEL, r.store.branch.NL, true); }},
    {"control of phase shifters", 71, true,
     [](Run& r) {
         const auto& p = r.store.phs;
         for (int i : rows(p.NPHS))
             if (r.store.branch.LTYPE(r.store.tap.NOTAP(p.NOPHS(i))) != 2) return false;  // nothing is held
         return all_are(p.PHSMIN, p.NPHS, 0.0) && all_are(p.VSPPHS, p.NPHS, 0.0) && all_are(p.NPHSTP, p.NPHS, 0);
     }},
    {"NDIR STTR TRPT STIR BFPO", 72, false,
     [](Run& r) {
         const Constants& k = r.cte;
         return k.NDIR == 20 && k.STTR == 0.05 && k.TRPT == 1 && k.STIR == 1 && near(k.BFPO, 1 / k.BASE);
     }},
    {"later aggregators", 72, true,
     [](Run& r) {
         int n = 0;
         for (int k = 7; k <= 10; ++k) n += r.store.agr.count(k);
         return n == 0 && r.store.slp.NSLP == 0;
     }},
    {"KONCSC_ORI STBYP", 72, true,
     [](Run& r) {
         const auto& c = r.store.csc;
         return same(c.KONCSC_ORI, c.KONCSC, c.NCSC) && all_are(c.STBYP, c.NCSC, false);
     }},
    {"DVOLTESP", 72, true, [](Run& r) { return same(r.store.dcb.DVOLTESP, r.store.dcb.DVOLT, r.store.dcb.NDCB); }},
    {"ITCI ITCISOL IDTAPLIV VCNV", 72, true,
     [](Run& r) {
         const auto& c = r.store.cnv;
         for (int i : rows(c.NCNV))
             if (c.VCNV(i) != r.store.bus.VOLT(c.INTBUS(i))) return false;
         return all_are(c.ITCI, c.NCNV, true) && all_are(c.ITCISOL, c.NCNV, 0) && all_are(c.IDTAPLIV, c.NCNV, true);
     }},
    {"CAPAC CAPAE CAPAQ", 73, true,
     [](Run& r) {
         const auto& b = r.store.branch;
         return same(b.CAPAC, b.KAPAC, b.NL) && same(b.CAPAE, b.KAPAE, b.NL) && same(b.CAPAQ, b.KAPAQ, b.NL);
     }},
    {"PGEIMN ESTRP PGFRP", 74, true,
     [](Run& r) {
         const Store& s = r.store;
         return all_are(s.gei.PGEIMN, s.gei.NGEI, 0.0) && all_are(s.gen.ESTRP, s.gen.NG, 0.0) &&
                all_are(s.gen.PGFRP, s.gen.NG, 0.0) && s.frq.NFRP == 0;
     }},
    {"LFPO", 75, false, [](Run& r) { return near(r.cte.LFPO, 0.1 / r.cte.BASE); }},
    {"TLMT TLMF TLMG", 76, false, [](Run& r) { return r.cte.TLMT == 0 && r.cte.TLMF == 0 && r.cte.TLMG == 0; }},
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
                EXPECT_EQ(row.holds(b.run), absent) << row.what << " in version " << version << (e == Encoding::wide);
            }
        }
}

}  // namespace
}  // namespace korvane::testing
