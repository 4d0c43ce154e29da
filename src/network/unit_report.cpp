// EXCCAP: what is printed of individual generators.
#include "frame/page.hpp"
#include "frame/run.hpp"
#include "network/individual_generators.hpp"
#include "network/machine_capability.hpp"

namespace korvane {

namespace {

using UnitTables = IndividualGeneratorTables;

// Rows of EXCCAP. Those of the second width follow those of the first.
constexpr int TOTALS = 1, TOTAL_GROUPS = 3, TOTAL_POWER = 4, TOTAL_LIMITS = 5, WIDE = 6, NARROW = 13;
constexpr int HEADING_LAST = 3, UNIT = 4, CURVE = 5, CURVE_POINT = 6;  // behind WIDE, NARROW
constexpr int IN_SERVICE = 20, OUT_OF_SERVICE = 21, TAKES_SHARE = 22, OWN_POWER = 23;

constexpr double SHOWN_MVAR = 99999;  // an open limit shows as this

/// The report while it prints: headings on every page, until the operator wants no more.
class UnitReport {
public:
    explicit UnitReport(Run& of)
        : run(of), s(of.store), t(s.gei), page_(of), first_(page_width(of) == 132 ? WIDE : NARROW) {}

    void print(const std::vector<char>& charted) {
        for (int n : rows(s.bus.NB)) {
            const int k = s.adr.NOORD(n);
            for (int i = s.adr.IPGEI(k); i; i = s.adr.LNKGEI(i)) {
                if (!unit(i)) return;
                if (charted[std::size_t(k)] && follows_capability(s, i) && !curve(i)) return;
            }
        }
    }

private:
    bool room(int lines) {
        if (page_.fits(lines)) return true;
        page_.heading(first_, first_ + HEADING_LAST);
        return page_.wanted();
    }
    double mva(double v) const { return std::clamp(v * run.cte.BASE, -SHOWN_MVAR, SHOWN_MVAR); }
    const std::string& word(int row) const { return run.fmt.rot(row).text(); }

    bool unit(int i) {
        if (!room(1)) return false;
        const int k = t.NOGEI(i);
        page_.line(first_ + UNIT, s.bus.NOINT(k), s.bus.BNAME(k), t.IDGEI(i),
                   word(t.STGEI(i) ? IN_SERVICE : OUT_OF_SERVICE), word(t.FLAGNOP(i) ? TAKES_SHARE : OWN_POWER),
                   t.NUGIGOP(i), t.NUGIG(i), mva(t.PGGEI(i)), mva(t.QGGEI(i)), mva(t.QMNGEI(i)), mva(t.QMXGEI(i)),
                   mva(t.SNGEI(i)));
        return true;
    }
    /// Limits of one unit at eleven powers up to its rating.
    bool curve(int i) {
        constexpr int points = 10;
        if (!room(points + 3)) return false;
        page_.line(first_ + CURVE);
        CapabilityPass pass({t.XDGEI(i), t.XQGEI(i), t.XLGEI(i), t.FPGEI(i)}, s.bus.VOLT(t.NOGEI(i)));
        const double rating = t.SNGEI(i);
        for (int n = 0; n <= points; ++n) {
            const double p = double(n) / points;
            const CapabilityPass::Limits q = pass.at(p);
            page_.line(first_ + CURVE_POINT, mva(p * rating), mva(-q.stator * rating), mva(q.stability * rating),
                       mva(q.excitation * rating), mva(q.rotor * rating), mva(q.stator * rating), mva(q.low * rating),
                       mva(q.high * rating));
        }
        return true;
    }

    Run& run;
    const Store& s;
    const UnitTables& t;
    Page page_;
    int first_;
};

}  // namespace

void print_unit_totals(Run& run) {
    const Store& s = run.store;
    const UnitTables& t = s.gei;
    if (t.NGEI == 0) return;
    const std::string routine = run.fmt.routine;
    LDFORM(run, "EXCCAP");
    int buses = 0, live = 0, units = 0, operating = 0, curves = 0;
    UnitSum sum{};
    for (int k : rows(s.bus.NB)) {
        buses += s.adr.IPGEI(k) != 0;
        const UnitSum of_bus = UNTSUM(s, k);
        sum.p += of_bus.p;
        sum.q += of_bus.q;
        sum.qmin += of_bus.qmin;
        sum.qmax += of_bus.qmax;
    }
    for (int i : rows(t.NGEI)) {
        live += t.STGEI(i);
        units += t.NUGIG(i);
        operating += t.STGEI(i) ? t.NUGIGOP(i) : 0;
        curves += follows_capability(s, i);
    }
    Page page(run);
    constexpr int lines = 5;
    if (!page.fits(lines)) PAGHDR(run);
    if (page.wanted()) {
        const double base = run.cte.BASE;
        page.line(TOTALS);
        page.line(TOTALS + 1);
        page.line(TOTAL_GROUPS, t.NGEI, buses, live, curves);
        page.line(TOTAL_POWER, operating, units, sum.p * base, sum.q * base);
        page.line(TOTAL_LIMITS, sum.qmin * base, sum.qmax * base);
    }
    LDFORM(run, routine);
}

void EXCCAP(Run& run) {
    LDFORM(run, "EXCCAP");
    Store& s = run.store;
    run.pag.NEWPAG = true;
    run.pag.NLINE = run.pag.LPP;
    const bool none = refuse(run, s.gei.NGEI == 0, -900);
    if (!none && !refuse(run, s.sol.CONVSTAT != 1, -901)) {
        chain_individual_generators(s);
        constexpr int chosen_buses = 51;  // a block named the buses to chart
        std::vector<char> charted(std::size_t(s.bus.NB) + 1, 0);
        if (!run.ctl.KNTRL[chosen_buses])
            for (int i : rows(s.gei.NGEI))
                if (s.gei.STGEI(i)) charted[std::size_t(s.gei.NOGEI(i))] = 1;
        UnitReport(run).print(charted);
        print_unit_totals(run);
    }
    MSGOUT(run);
    PAGWAI(run);
}

}  // namespace korvane
