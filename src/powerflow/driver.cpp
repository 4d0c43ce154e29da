// The driver of the power flow: prepares the network, runs the solver, puts the network back.
#include <cmath>

#include "network/individual_generators.hpp"
#include "network/shunt_banks.hpp"
#include "powerflow/automatic_shunts.hpp"
#include "powerflow/contap.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

/// Options of EXLF that this build reads but cannot honour yet, each with the warning that says so.
constexpr struct {
    Option option;
    int warning;
} NOT_YET[] = {
    {"CELO"_opt, -968}, {"FREQ"_opt, -969}, {"TABE"_opt, -971}, {"PLTG"_opt, -972}, {"CPER"_opt, -974},
};

void warn_of_options(Run& run) {
    for (const auto& [option, warning] : NOT_YET)
        if (run.opt[option]) MSGPUT(run, "PWFSOL", warning);
}

// Every island takes the voltage 1 and the angle of its slack; generators their set points.
void flat_start(Run& run) {
    Store& s = run.store;
    find_islands(run);
    for (int i : rows(s.slk.NSLK)) {
        const int j = s.slk.NGSLK(i);
        if (!j) continue;
        const int slack = s.gen.NOGEN(j);
        const double angle = s.bus.ANGLE(slack);
        for (int k = s.ilh.IPILH2(s.ilh.NOILHA2(slack)); k; k = s.ilh.LNKILH2(k)) {
            s.bus.VOLT(k) = 1.0;
            if (std::abs(s.bus.NTYPE(k)) < 3) s.bus.ANGLE(k) = angle;
        }
    }
    for (int j : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(j);
        if (std::abs(s.bus.NTYPE(k)) >= 2) s.bus.VOLT(k) = s.gen.VGEN(j);
    }
    if (run.opt["CTAP"_opt])
        for (int n : rows(s.tap.NTAP)) {
            const int l = s.tap.NOTAP(n), k = std::abs(s.tap.KBUS(n));
            if (l && k && l <= s.branch.NL && k <= s.bus.NB && s.branch.STLIN(l) && s.branch.LTYPE(l) > 2 &&
                s.bus.NTYPE(k) == 0)
                s.bus.VOLT(k) = s.tap.VBUS(n);
        }
    if (run.opt["CREM"_opt])
        for (int i : rows(s.rcb.NRCB)) {
            const int k = s.rcb.IRCB(i);
            if (k && k <= s.bus.NB && s.bus.NTYPE(k) == 0) s.bus.VOLT(k) = s.rcb.VRCB(i);
        }
    for (int i : rows(s.cer.NCER)) {
        s.cer.QGCER(i) = 0;
        if (const int k = s.cer.NVKCER(i); k && k <= s.bus.NB) s.bus.VOLT(k) = s.cer.VCER(i);
    }
}

// The scheduled interchanges of a closed system add up to nothing.
void check_interchange(Run& run) {
    const AreaTables& area = run.store.area;
    double sum = 0;
    for (int i : rows(area.NAREA)) sum += area.AREINT(i);
    if (std::abs(sum) > run.cte.TETP) MSGPUT(run, "PWFSOL", 100);
}

// INDC: angles by the linear model, as the start of the alternating-current solve. The model puts every slack at angle
// 0; here each island keeps the angle of its slack. False when the linear model could not be solved.
bool linear_start(Run& run) {
    Store& s = run.store;
    Options& opt = run.opt;
    const bool report = opt["RCVG"_opt];
    opt.clear("PERD"_opt);
    opt.clear("RCVG"_opt);
    auto& angle = run.mat.work.angle;
    angle.fill(s.ilh.count, 0.0);
    for (int i : rows(s.slk.NSLK))
        if (const int j = s.slk.NGSLK(i)) {
            const int k = s.gen.NOGEN(j);
            angle(s.ilh.NOILHA2(k)) = s.bus.ANGLE(k);
        }
    if (MATRIZ(run))
        solve_linear(run);
    else
        MSGPUT(run, "PWFSOL", 110);
    opt.set("RCVG"_opt, report);
    if (s.sol.CONVSTAT != 1) return false;
    for (int k : rows(s.bus.NB)) s.bus.ANGLE(k) += angle(s.ilh.NOILHA2(k));
    s.sol.CONVSTAT = s.sol.ITSOL = 0;
    return true;
}

// The solution path of the options in force, on the compacted network.
void solve(Run& run, bool from_linear) {
    const Store& s = run.store;
    forget_weak_pivots(run);
    for (int i : rows(s.ilh.count)) run.mat.island(i) = UNSOLVED_ISLAND;
    if (!OPTIMO(run, run.mat.plain, s.bus.NB, s.branch.NL))
        MSGPUT(run, "PWFSOL", 130);
    else if (run.opt["LFDC"_opt]) {
        if (MATRIZ(run))
            solve_linear(run);
        else
            MSGPUT(run, "PWFSOL", 110);
    } else if (!from_linear || linear_start(run)) {
        if (run.opt["BPAR"_opt] || run.opt["BPSI"_opt])
            if (!distribute_balance(run, !run.opt["BPAR"_opt])) MSGPUT(run, "PWFSOL", -910);
        if (MATRIX(run))
            SOLVLF(run);
        else
            MSGPUT(run, "PWFSOL", 120);
    }
}

// Devices that only the full Newton solution knows.
void force_newton(Run& run) {
    const Store& s = run.store;
    if (s.cer.NCER + s.cai.NCAI + s.bsh.NBSH + s.sca.NSCA + s.gei.NGEI + s.mot.NMOT == 0) return;
    run.opt.clear("FJAC"_opt);
    run.opt.set("NEWT"_opt);
    run.opt.clear("PART"_opt);
}

// ATCR: the voltage that remote control gave a generator bus is its set point from now on.
void keep_remote_voltages(Store& s) {
    for (int i : rows(s.rcb.NRCB))
        if (const int j = s.rcb.ICB(i); j && std::abs(s.bus.NTYPE(s.gen.NOGEN(j))) >= 2)
            s.gen.VGEN(j) = s.bus.VOLT(s.gen.NOGEN(j));
}

// Load models hold above VMINZ only.
void warn_of_low_load(Run& run) {
    const Store& s = run.store;
    for (int i : rows(s.fld.NFLD)) {
        const int k = s.fld.NOFLD(i);
        if (k && s.bus.STBUS(k) && s.bus.VOLT(k) < s.fld.VMINZ(i)) {
            MSGPUT(run, "PWFSOL", -900, s.bus.NOINT(k), element::bus_number);
            return;
        }
    }
}

}  // namespace

void PWFSOL(Run& run) {
    Store& s = run.store;
    SolverState& st = run.mat.state;
    Options& opt = run.opt;
    const bool inner = st.analysis || st.resolve != 0, without_islands = opt["ILHA"_opt], impr = opt["IMPR"_opt];
    const bool from_linear = opt["NEWT"_opt] && opt["INDC"_opt] && !opt["LFDC"_opt] && s.sol.CONVSTAT != 1;
    if (!inner) warn_of_options(run);
    MSGOUT(run);
    const bool switched = opt["CSCA"_opt];
    if (switched && !CHKSAV(run)) {
        MSGPUT(run, "PWFSOL", 140);
        MSGOUT(run);
        return;
    }

    if (opt["IANG"_opt]) start_angles(run);
    if (opt["AARI"_opt]) AREILH(run);
    CONTAP(run);
    take_bank_values(s, !switched);
    allocate_banks(s, switched);
    int removed = 0;
    if (without_islands) {
        STOOFF(run);
        removed = remove_islands(run);
        STOON(run);
    }
    STOOFF(run);
    start_units(run);
    s.sol.CONVSTAT = 0;
    s.sol.ITSOL = 0;
    run.pag.NLINE = run.pag.LPP;
    opt.set("IMPR"_opt);
    force_newton(run);
    bool sound = true;
    if (without_islands)
        find_islands(run);
    else
        sound = PWFREF(run);
    if (opt["FLAT"_opt]) flat_start(run);
    check_interchange(run);
    if (sound) solve(run, from_linear);
    STOON(run);
    chain_individual_generators(s);
    allocate_banks(s, switched);
    opt.set("IMPR"_opt, impr);

    if (removed > 0) print_listed(run, "OUTDBC");
    if (s.sol.CONVSTAT == 1 && !inner) {
        warn_of_low_load(run);
        if (opt["CREM"_opt] && opt["ATCR"_opt]) keep_remote_voltages(s);
        if (switched && s.sca.NSCA > 0) OUTSCA(run);
    }
    MSGOUT(run);
}

// The iteration of the options in force. False when its end has been told already.
bool solve_network(Run& run) {
    const Options& opt = run.opt;
    Solution& sol = run.store.sol;
    SolverState& st = run.mat.state;
    int status = 0;
    st.singular = false;
    if (!opt["NEWT"_opt] || (opt["PART"_opt] && st.resolve == 0)) solve_decoupled(run);
    if (opt["NEWT"_opt] && sol.CONVSTAT == 0) {
        report_heading(run, Method::newton);
        if (opt["FJAC"_opt])
            BCSOLV(run);
        else
            SOLVNW(run, status);
    }
    return !st.singular && status == 0;
}

void SOLVLF(Run& run) {
    SolverState& st = run.mat.state;
    Solution& sol = run.store.sol;
    st.NITLF = st.sum_p = st.sum_q = st.sum_dc = 0;
    sol.ITSOL = 0;
    sol.CONVSTAT = 0;
    refresh_angles(run);
    const bool told = !solve_network(run);
    st.sum_p += sol.NITP;
    st.sum_q += sol.NITQ;
    if (!told) report_outcome(run, sol.CONVSTAT == 6 ? 3 : 8 + sol.CONVSTAT);
    if (st.resolve == 0 && !st.analysis) report_unit_counts(run);
}

}  // namespace korvane
