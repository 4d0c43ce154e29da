#include "casestore/case_versions.hpp"

#include <algorithm>
#include <cmath>

#include "casestore/derived_columns.hpp"

namespace korvane {

void adapt_constants(CaseContext& c, std::string_view information) {
    const std::string_view release = information.substr(RELEASE_COLUMN, RELEASE_COLUMNS);
    Constants& k = c.run.cte;
    const double mw = 1 / k.BASE;
    if (c.version <= 54) {
        k.VART = 5.0;
        k.FDIV = 2.0;
        k.ICMN = 0.05;
    }
    if (c.version < 55) {
        k.DMAX = 5;
        k.ICIT = 30;
    }
    if (c.version <= 58) {
        k.TSDC = double(0.02f);
        k.ASDC = double(0.01745329238f);
    }
    if (c.version <= 60) {
        k.ICMV = 0.5;
        k.APAS = 90;
        k.CPAR = 70;
    }
    if (c.version <= 62) {
        k.VAVT = 2;
        k.VAVF = 5;
        k.VMVF = 15 * mw;
        k.VPVT = 2;
        k.VPVF = 5;
        k.VPMF = 10 * mw;
        k.VSVF = 20;
        k.VINF = k.VSUP = 1;
    }
    if (c.version <= 69) k.TLSI = 0;
    const bool before_transfers = c.version < 73 || (release >= "09.07.00" && release <= "09.07.05");
    if (before_transfers) {
        k.NDIR = 20;
        k.STTR = 0.05;
        k.TRPT = k.STIR = 1;
    }
    if (before_transfers || release == "10.00.01") k.BFPO = mw;
    if (c.version <= 75) k.LFPO = 0.1 * mw;
    if (c.version < 77) k.TLMT = k.TLMF = k.TLMG = 0;
    k.NDIRI = int(std::trunc(std::clamp(k.NDIR, 0.0, 2147483646.0) + 0.5));
}

namespace {

/// Column b takes the rows of column a.
template <class To, class From>
void copy_rows(To& to, const From& from, int n) {
    for (int i : rows(n)) to(i) = from(i);
}

void adapt_buses(CaseContext& c) {
    Store& s = c.s();
    if (c.version < 52)
        for (int k : rows(s.bus.NB)) s.bus.BUSSEL(k) = c.version == OLDEST_VERSION && s.area.ARESEL(s.bus.IAREA(k));
    if (c.version < 64) {
        copy_rows(s.glt.VMINE, s.glt.VMIN, s.glt.NGLT);
        copy_rows(s.glt.VMAXE, s.glt.VMAX, s.glt.NGLT);
    }
    // Before two characters there was one, now the second.
    if (c.version < 66) {
        for (int g : rows(s.glt.NGLT)) s.glt.GLTEN(g).at[0] = ' ';
        for (int g : rows(s.gbt.NGBT)) s.gbt.GBTEN(g).at[0] = ' ';
    }
}

void adapt_generators(CaseContext& c) {
    Store& s = c.s();
    if (c.version < 60) {
        copy_rows(s.gen.QMNO, s.gen.QMIN, s.gen.NG);
        copy_rows(s.gen.QMXO, s.gen.QMAX, s.gen.NG);
    }
    for (int i : rows(s.gei.NGEI))
        if (s.gei.NUGIGMN(i) == 0) s.gei.NUGIGMN(i) = 1;
    if (c.version < 61)
        for (int i : rows(s.cer.NCER)) {
            s.cer.NUCER(i) = 1;
            s.cer.IGCER(i) = i;
        }
}

void adapt_branches(CaseContext& c, std::string_view release) {
    Store& s = c.s();
    BranchTables& b = s.branch;
    if (c.version < 58) s.tap.NTSTP.fill(s.tap.NTAP, c.run.cte.TSTP);
    if (c.version < 64) {
        s.tap.TVFLIM.fill(s.tap.NTAP, false);
        s.tap.FTPDIS.fill(s.tap.NTAP, false);
        copy_rows(s.tap.VBARRA, s.tap.VBUS, s.tap.NTAP);
    }
    if (!c.wide() || c.version < 69) copy_rows(b.KAPAQ, b.KAPAC, b.NL);
    int groups = 0;
    for (int k = 1; k <= 6; ++k) groups += s.agr.count(k);
    const bool half_done =
        (c.version == 70 || c.version == 71) && (release == "09.04.01" || release == "09.04.02" ||
                                                 (groups == 0 && (release == "09.04.03" || release == "09.04.04")));
    if (half_done) b.LINSEL.fill(b.NL, true);
    for (int p : rows(s.phs.NPHS)) {
        const int type = b.LTYPE(s.tap.NOTAP(s.phs.NOPHS(p)));
        if (c.wide() && c.version >= V962_VERSION && type == 6) continue;
        s.phs.PHSMIN(p) = s.phs.PHSMAX(p) = s.phs.VSPPHS(p) = 0;
        s.phs.NPHSTP(p) = s.phs.KONPHS(p) = 0;
        s.phs.NBEPHS(p) = 0;
    }
    if (!c.wide() || c.version < 73) copy_rows(s.csc.KONCSC_ORI, s.csc.KONCSC, s.csc.NCSC);
}

// Whole numbers of MVA in the older versions; a rating that is none is infinite in memory.
void adapt_ratings(CaseContext& c) {
    BranchTables& b = c.s().branch;
    const int none = c.LINE(43) > 0 ? c.LINE(43) : NO_LIMIT_CELL;
    const bool whole_only = !c.wide() || c.version < 74;
    using Reals = decltype(b.CAPAC);
    using Whole = decltype(b.KAPAC);
    for (const auto& [rating, whole] :
         {std::pair<Reals*, Whole*>{&b.CAPAC, &b.KAPAC}, {&b.CAPAE, &b.KAPAE}, {&b.CAPAQ, &b.KAPAQ}})
        for (int l : rows(b.NL)) {
            if (whole_only) (*rating)(l) = (*whole)(l);
            if ((*rating)(l) >= NO_RATING) (*rating)(l) = INFINITE_RATING;
            if ((*whole)(l) >= none) (*whole)(l) = int(INFINITE_RATING);
        }
}

/// Overlap and power-factor angle of converter i as the older versions left them to be worked out: with a the firing
/// angle, mu the overlap and phi the power-factor angle
///
///     cos(a + mu) = cos a - 2 R I / (K t V)       tan phi = (2 mu + sin 2a - sin 2(a + mu)) / (cos 2a - cos 2(a + mu))
///
/// for commutation resistance R, current I, no-load factor K, tap t and AC voltage V: Kundur, Power System Stability
/// and Control, ch. 10.
void work_out_angles(const Store& s, ConverterTables& t, int i) {
    const double volts = std::abs(t.CNVK(i)) * t.CTAP(i) * s.bus.VOLT(t.INTBUS(i));
    const double a = t.DL(i);
    const double end = std::acos(std::clamp(std::cos(a) - 2 * t.RCNV(i) * t.CCUR(i) / volts, -1.0, 1.0));
    const double sines = 2 * (end - a) + std::sin(2 * a) - std::sin(2 * end);
    const double angle = std::atan2(sines, std::cos(2 * a) - std::cos(2 * end));
    t.ELOMIREF(i) = std::isfinite(end) ? end - a : 0;
    t.TETACCREF(i) = std::isfinite(angle) ? angle : 0;
}

/// The references that a flat start returns to, before version 61.
void make_references(CaseContext& c, int i) {
    const Store& s = c.s();
    ConverterTables& t = c.s().cnv;
    t.CTAPHI(i) = t.CTMAX(i) != 0 ? 1 / t.CTMAX(i) : 0;
    t.CTAPTR(i) = 1;
    t.CVOLTREF(i) = t.CVOLT(i);
    t.CTAPREF(i) = t.CTAP(i);
    if (t.CCUR(i) == 0) {
        const double current = t.KCNTYP(i) != 0 ? t.CPCNV(i) / t.CVOLT(i) : t.CPCNV(i);
        t.CCUR(i) = std::isfinite(current) ? current : 0;
    }
    t.CCURREF(i) = t.CCUR(i);
    t.DLREF(i) = t.DL(i);
    t.CMARGEM(i) = double(0.1f);
    t.CSOBREC(i) = double(99.99f);
    t.VOLTDCREF(i) = s.bus.VOLT(t.INTBUS(i));
    work_out_angles(s, t, i);
}

void adapt_links(CaseContext& c, std::string_view information) {
    Store& s = c.s();
    ConverterTables& t = s.cnv;
    const bool wide_since_73 = c.wide() && c.version >= 73;
    if (!wide_since_73) copy_rows(s.dcb.DVOLTESP, s.dcb.DVOLT, s.dcb.NDCB);
    const bool angles_known = information.substr(RELEASE_COLUMN, 3) == "FPO" || s.sol.CONVSTAT == 1;
    for (int i : rows(t.NCNV)) {
        if (!wide_since_73) t.VCNV(i) = s.bus.VOLT(t.INTBUS(i));
        if (c.version <= 58) {
            t.DMN(i) = std::acos(std::clamp(t.DMN(i), -1.0, 1.0));
            t.DMX(i) = std::acos(std::clamp(t.DMX(i), -1.0, 1.0));
        }
        if (c.version < 61) make_references(c, i);
        t.ELOMI(i) = t.ELOMIREF(i);
        t.TETACC(i) = t.TETACCREF(i);
        t.FMI0(i) = angles_known;
    }
}

}  // namespace

void adapt_tables(CaseContext& c, std::string_view information) {
    const std::string_view release = information.substr(RELEASE_COLUMN, RELEASE_COLUMNS);
    adapt_buses(c);
    adapt_generators(c);
    adapt_branches(c, release);
    adapt_ratings(c);
    adapt_links(c, information);
    if (c.version >= 61) gather_units(c);
    take_bypasses(c);
    rebuild_motors(c);
}

}  // namespace korvane
