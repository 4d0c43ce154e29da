// Newton iteration of the alternating-current network, with every control inside the matrix.
//
// Polar form, each row divided by the voltage of its bus: rows dP/V and dQ/V, unknowns the angle correction in rad and
// the voltage correction as a fraction of the voltage. The pattern of the matrix never depends on the type of a bus:
// an equation out of play has the diagonal HELD, the right-hand side 0 and no cross term.
#include <algorithm>
#include <cmath>

#include "powerflow/augmented.hpp"
#include "powerflow/capability.hpp"
#include "powerflow/load_models.hpp"
#include "powerflow/solver.hpp"

namespace korvane {

namespace {

bool dead(int type) { return std::abs(type) > 3; }

// --- entry and exit

void enter(Run& run) {
    SolverState& st = run.mat.state;
    Solution& sol = run.store.sol;
    st.rebuild = true;
    st.singular = false;
    if (st.resolve != 0 || !run.opt["PART"_opt]) {
        sol.NITP = 0;
        sol.CONVSTAT = 0;
        sol.XMI = 1;
        st.nlimq = 0;
        start_limits(run);
        for (int i : rows(run.store.ilh.count)) run.mat.island(i).KONLF2 = 0;
    }
}

void leave(Run& run) {
    run.store.sol.NITQ = run.store.sol.NITP;
    remove_equations(run);
    tell_stuck(run);
    for (const Device& d : devices())
        if (d.tell) d.tell(run);
    if (!run.opt["NCAP"_opt]) CAPABI(run);
}

// --- assembly

// Buses return from their limits when the limit checks are off, or when they are inside them again.
void reset_types(Run& run) {
    Store& s = run.store;
    const Options& opt = run.opt;
    const bool qlim = opt["QLIM"_opt], vlim = opt["VLIM"_opt];
    const double slack = run.cte.TLPR;
    for (int j : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(j);
        int& type = s.bus.NTYPE(k);
        if (type <= -2 && !dead(type)) {
            const double q = s.gen.QGEN(j);
            if (!qlim || (q > s.gen.QMIN(j) + slack && q < s.gen.QMAX(j) - slack)) {
                type = -type;
                s.bus.VOLT(k) = s.gen.VGEN(j);
            }
        } else if (!vlim && std::abs(type) == 1) {
            type = -1;
            s.gen.QGEN(j) = 0;
        }
    }
    if (opt["CREM"_opt]) return;
    for (int i : rows(s.rcb.NRCB)) {
        const int j = s.rcb.ICB(i);
        if (j && s.bus.NTYPE(s.gen.NOGEN(j)) > 0) s.bus.VOLT(s.gen.NOGEN(j)) = s.gen.VGEN(j);
    }
}

/// What one branch adds to the rows of its ends k and m, rows being divided by their own voltage.
///
///     A = Vm (b s + g c)        B = Vk (g c - b s)        s, c   sine and cosine of the angle of k less that of m
///     C = Vm (b c - g s)        D = Vk (g s + b c)        g + jb series admittance divided by the tap, pu
///
/// A and -C go to dP/V and dQ/V of k, B and -D to those of m. The derivatives are the same four numbers, so one
/// evaluation serves mismatch and Jacobian (W. F. Tinney, C. E. Hart, IEEE Trans. PAS-86, 1967).
struct BranchTerms {
    double A, B, C, D;
};
inline BranchTerms branch_terms(double g, double b, double vk, double vm, double s, double c) {
    return {vm * (b * s + g * c), vk * (g * c - b * s), vm * (b * c - g * s), vk * (g * s + b * c)};
}

// Off-diagonal blocks, and the sums of all branches at each bus.
void assemble_branches(Run& run) {
    const Store& s = run.store;
    const BranchTables& br = s.branch;
    Matrices& m = run.mat;
    const Pattern& p = pattern(run);
    clear_fill(m, p);
    m.work.sum.fill(s.bus.NB, Sides{0, 0});
    Sides* const sum = m.work.sum.data() - 1;
    const double* const volt = s.bus.VOLT.data() - 1;
    constexpr int AHEAD = 12;  // the blocks lie all over the matrix: they are asked for so many branches before
    for (int l : rows(br.NL)) {
        const Slot slot = p.slot[std::size_t(l - 1)];
        if (const Slot next = p.slot[std::size_t(std::min(l + AHEAD, int(br.NL)) - 1)]; !next.none())
            __builtin_prefetch(&m.fat[std::size_t(next.entry())], 1);
        if (slot.none()) continue;
        const int f = br.NFROM(l), t = br.NTO(l);
        const auto [A, B, C, D] = branch_terms(br.GKM(l), br.BKM(l), volt[f], volt[t], m.SINDIK(l), m.COSDIK(l));
        sum[f].DELTA += A;
        sum[f].WORK -= C;
        sum[t].DELTA += B;
        sum[t].WORK -= D;
        BlockPair& pair = m.fat[std::size_t(slot.entry())];
        Block& ft = slot.reversed() ? pair.L : pair.U;  // row of the from bus, column of the to bus
        Block& tf = slot.reversed() ? pair.U : pair.L;
        if (!slot.later()) {
            ft = {.H = C, .J = A, .N = -A, .L = C};
            tf = {.H = D, .J = B, .N = -B, .L = D};
        } else {  // parallel to an earlier branch
            ft = {.H = ft.H + C, .J = ft.J + A, .N = ft.N - A, .L = ft.L + C};
            tf = {.H = tf.H + D, .J = tf.J + B, .N = tf.N - B, .L = tf.L + D};
        }
    }
}

// Generation of row j. What a held voltage and a slack angle imply is read off the mismatch itself; in a group the
// reactive generation is an unknown of its own.
void take_generation(GeneratorTables& gen, int j, int type, bool in_group, double v, Sides& side) {
    if (type > 0 && !in_group) {
        gen.QGEN(j) = -side.WORK * v;
        side.WORK = 0;
    } else
        side.WORK += gen.QGEN(j) / v;
    if (std::abs(type) == 3) {
        gen.PGEN(j) = -side.DELTA * v;
        side.DELTA = 0;
    } else
        side.DELTA += gen.PGEN(j) / v;
}

// Diagonal blocks and mismatches of the buses: load, shunt part, generation, and the sums of their branches, which are
// also the derivatives by the angle. The largest mismatches go to the residuals.
void assemble_buses(Run& run) {
    Store& s = run.store;
    Matrices& m = run.mat;
    const Pattern& p = pattern(run);
    Worst active, reactive;
    std::fill_n(m.work.held.begin(), p.N, static_cast<unsigned char>(0));
    for (int k : rows(s.bus.NB)) {
        const auto r = std::size_t(p.NORDER(k) - 1);
        const int type = s.bus.NTYPE(k);
        if (dead(type)) [[unlikely]] {
            m.side[r] = {0, 0};
            m.diagonal[r] = {.H = HELD, .J = 0, .N = 0, .L = HELD};
            m.work.held[r] = ANGLE_HELD | VOLTAGE_HELD;
            continue;
        }
        const double v = s.bus.VOLT(k), reciprocal = 1 / v;
        const Sides sum = m.work.sum(k), injected = m.work.injected(k);
        const Power load = nominal_load(s, k);
        const double pl = (load.p - injected.DELTA) * reciprocal, ql = (load.q - injected.WORK) * reciprocal;
        const double g = m.GDIAG(k) * v, b = m.BDIAG(k) * v;
        Sides side = {sum.DELTA - pl - g, sum.WORK - ql + b};
        m.diagonal[r] = {.H = sum.WORK, .J = -sum.DELTA, .N = g - pl, .L = -ql - b};
        if (const int j = m.work.NOBGEN(k)) take_generation(s.gen, j, type, m.control.NTCST(j) != 0, v, side);
        m.side[r] = side;
        active.meet(std::abs(side.DELTA) * v, k);
        reactive.meet(std::abs(side.WORK) * v, k);
    }
    m.state.residual.DP = active.value;
    m.state.residual.DQ = reactive.value;
    s.sol.NODEP = active.bus ? s.bus.NOINT(active.bus) : 0;
    s.sol.NODEQ = reactive.bus ? s.bus.NOINT(reactive.bus) : 0;
}

// Slopes of the loads that depend on the voltage. Row dP/V has the load as -P/V, whose derivative by the logarithm of V
// is P/V - dP/dV; the first part stands on the diagonal with all other power of the bus.
void assemble_load_slopes(Run& run) {
    const Store& s = run.store;
    Matrices& m = run.mat;
    const Pattern& p = pattern(run);
    each_voltage_load(s, [&](int k, Power, Power slope) {
        if (dead(s.bus.NTYPE(k))) return;
        Block& d = m.diagonal[std::size_t(p.NORDER(k) - 1)];
        d.N += slope.p;
        d.L += slope.q;
    });
}

// CILH: the largest mismatches of each island. What the islands that still run have stands for the network.
void scan_islands(Run& run) {
    const Store& s = run.store;
    const Pattern& p = pattern(run);
    Table<IslandState, MXILH>& island = run.mat.island;
    for (int i : rows(s.ilh.count)) {
        island(i).residual.DP = island(i).residual.DQ = 0;
        island(i).NODEP2 = island(i).NODEQ2 = 0;
    }
    Worst active, reactive;
    for (int k : rows(s.bus.NB)) {
        if (dead(s.bus.NTYPE(k))) continue;
        IslandState& at = island(s.ilh.NOILHA2(k));
        const Sides& side = run.mat.side[std::size_t(p.NORDER(k) - 1)];
        const double v = s.bus.VOLT(k), dp = std::abs(side.DELTA) * v, dq = std::abs(side.WORK) * v;
        Worst worst_p{at.residual.DP, at.NODEP2}, worst_q{at.residual.DQ, at.NODEQ2};
        worst_p.meet(dp, s.bus.NOINT(k));
        worst_q.meet(dq, s.bus.NOINT(k));
        at.residual.DP = worst_p.value, at.NODEP2 = worst_p.bus;
        at.residual.DQ = worst_q.value, at.NODEQ2 = worst_q.bus;
        if (at.failed()) continue;
        active.meet(dp, s.bus.NOINT(k));
        reactive.meet(dq, s.bus.NOINT(k));
    }
    run.mat.state.residual.DP = active.value;
    run.mat.state.residual.DQ = reactive.value;
    run.store.sol.NODEP = active.bus;
    run.store.sol.NODEQ = reactive.bus;
}

// CILH: an island that ended without a solution stays as it is, whatever its numbers, and the others go on.
void hold_failed_islands(Run& run) {
    const Store& s = run.store;
    Matrices& m = run.mat;
    const Pattern& p = pattern(run);
    auto failed = [&](int k) { return k <= s.bus.NB && m.island(s.ilh.NOILHA2(k)).failed(); };
    bool any = false;
    for (int i : rows(s.ilh.count)) any = any || m.island(i).failed();
    if (!any) return;
    for (int k : rows(s.bus.NB))
        if (failed(k)) {
            const auto r = std::size_t(p.NORDER(k) - 1);
            m.side[r] = {0, 0};
            m.diagonal[r] = {.H = HELD, .J = 0, .N = 0, .L = HELD};
            m.work.held[r] = ANGLE_HELD | VOLTAGE_HELD;
        }
    for (int l : rows(m.state.NBR)) {
        const Slot slot = p.slot[std::size_t(l - 1)];
        if (!slot.none() && (failed(s.branch.NFROM(l)) || failed(s.branch.NTO(l))))
            m.fat[std::size_t(slot.entry())] = {};
    }
}

// Rows that the type of a generator bus takes out of play.
void apply_types(Run& run) {
    const Store& s = run.store;
    Matrices& m = run.mat;
    const Pattern& p = pattern(run);
    for (int j : rows(s.gen.NG)) {
        const int k = s.gen.NOGEN(j), type = s.bus.NTYPE(k);
        if (dead(type)) continue;
        const auto r = std::size_t(p.NORDER(k) - 1);
        Block& d = m.diagonal[r];
        const double v = s.bus.VOLT(k);
        if (type < 1 || m.control.releases(j)) {
            d.L += s.gen.QGEN(j) / v;
            d.N += s.gen.PGEN(j) / v;
            if (type > 0) m.work.held[r] |= REACTIVE_FREE;
        } else {
            d.J = d.N = 0;
            d.L = HELD;
            m.work.held[r] |= VOLTAGE_HELD;
        }
        if (std::abs(type) == 3) {
            d.H = HELD;
            d.J = d.N = 0;
            m.work.held[r] |= ANGLE_HELD;
        }
    }
}

// --- convergence

bool within(const Residuals& r, const Constants& c) {
    return r.DP <= c.TEPA && r.DQ <= c.TEPR && r.DV <= c.TLVC && r.DG <= c.TEPR && r.DF <= c.TEPR && r.DGER <= c.TEPR &&
           r.DU <= c.TUDC && r.DA <= c.TADC && r.DS <= c.TLVC && r.DM <= c.TEPA;
}

// CILH: every island by itself. True when all have ended; CONVSTAT is 3 when some of them did so without a solution.
bool islands_converged(Run& run) {
    bool all = true, failed = false;
    for (int i : rows(run.store.ilh.count)) {
        IslandState& island = run.mat.island(i);
        if (island.failed())
            failed = true;
        else {
            island.KONLF2 = within(island.residual, run.cte);
            all = all && island.KONLF2 == 1;
        }
    }
    if (all && failed) run.store.sol.CONVSTAT = 3;
    return all;
}

// One island that still runs keeps the iteration going.
void go_on_for_islands(Run& run) {
    for (int i : rows(run.store.ilh.count))
        if (run.mat.island(i).KONLF2 == 0) {
            run.store.sol.CONVSTAT = 0;
            return;
        }
}

void reach_limit(Run& run) {
    run.store.sol.CONVSTAT = 2;
    if (!run.opt["CILH"_opt]) return;
    for (int i : rows(run.store.ilh.count))
        if (int& state = run.mat.island(i).KONLF2; state == 0) state = 2;
}

// --- factorisation

// Says why the matrix could not be factored: the pivot of bus k is none, or status tells of a limit. An island without
// a slack is the usual reason.
void explain_failure(Run& run, int status, int k, std::string_view routine) {
    SolverState& st = run.mat.state;
    Solution& sol = run.store.sol;
    if (status < 0 || status > pattern(run).N || k > run.store.bus.NB) {
        MSGPUT(run, routine, status < 0 ? 100 : status > pattern(run).N ? 110 : 130);
        sol.CONVSTAT = 3;
        return;
    }
    st.singular = true;
    if (st.resolve == 0) PWFREF(run);
    report_singular(run, k);
}

// The factorisation. Buses of weak pivots go to the end of the order, and the pass is assembled anew; what is weak even
// there is refined. No equation at all for a bus ends the iteration.
bool factor(Run& run, const Pass& pass) {
    Matrices& m = run.mat;
    run.cte.TSFR = 1e-10;  // from the first Newton factorisation on, whatever the data asked for
    for (int first_failure = 0;;) {
        Pattern& p = pattern(run);
        if (m.state.refine) keep_equations(m, p);
        const int status = factor_blocks(m, p, run.cte.TSFR);
        if (status == 0 && m.weak.n == 0) {
            tell_held_back(run);
            return true;
        }
        const bool singular = status > 0 && status <= p.N;
        if (singular && first_failure == 0) first_failure = p.bus[std::size_t(status - 1)];
        if (singular) m.weak.add(status - 1);
        const bool again = (status == 0 || singular) && hold_back(run, p, m.weak.rows());
        if (!again && status != 0) {
            explain_failure(run, status, first_failure, pass.routine);
            return false;
        }
        if (!again && m.state.refine) return true;
        m.state.refine = m.state.refine || !again;
        pass.assemble(run);
    }
}

void solve(Run& run, const Pass& pass) {
    constexpr double LOST = 1e-6;  // a residual that still brings Newton forward
    solve_blocks(run.mat, pattern(run));
    if (run.mat.state.refine && refine_solution(run.mat, pattern(run)) > LOST) MSGPUT(run, pass.routine, -910);
}

// --- correction

/// A correction cut to a limit keeps its sign; `ratio` takes the part that is left when it is the smallest so far.
double cut(double step, double limit, double& ratio) {
    if (!(std::abs(step) > limit)) return step;
    ratio = std::min(ratio, limit / std::abs(step));
    return std::copysign(limit, step);
}

// Angles and voltages take their corrections. A voltage outside of the band ends the iteration, under CILH that of its
// island.
void correct(Run& run) {
    Store& s = run.store;
    const Constants& c = run.cte;
    const Pattern& p = pattern(run);
    Solution& sol = s.sol;
    const bool step = run.opt["STEP"_opt], by_island = run.opt["CILH"_opt];
    double m = sol.XMI;
    double* ratio = &run.mat.state.XMF;
    for (int k : rows(s.bus.NB)) {
        const auto r = std::size_t(p.NORDER(k) - 1);
        const Sides& d = run.mat.side[r];
        const unsigned char held = run.mat.work.held[r];
        IslandState* const island = by_island ? &run.mat.island(s.ilh.NOILHA2(k)) : nullptr;
        if (island) m = island->XMI2, ratio = &island->XMF2;
        const double angle = held & ANGLE_HELD ? 0 : d.DELTA * m, rise = held & VOLTAGE_HELD ? 0 : d.WORK * m;
        double& v = s.bus.VOLT(k);
        if (step) {
            s.bus.ANGLE(k) += cut(angle, c.ASTP, *ratio);
            v += cut(v * rise, c.VSTP, *ratio);
        } else {
            s.bus.ANGLE(k) += angle;
            v *= 1 + rise;
        }
        if (!(v >= c.VDVN && v <= c.VDVM)) {
            sol.CONVSTAT = 3;
            if (!island) break;
            island->KONLF2 = 3;
        }
    }
}

constexpr double SHORTEST = double(0.01f);  // a step shorter than this gets nowhere

// What is left of the step: 3 when it is next to nothing; for the report, the part that STEP left of it.
void judge_step(Run& run) {
    Solution& sol = run.store.sol;
    const bool cut_short = run.opt["STEP"_opt] && !run.opt["STPO"_opt];
    if (!run.opt["CILH"_opt]) {
        if (std::abs(sol.XMI) < SHORTEST) sol.CONVSTAT = 3;
        if (cut_short) sol.XMI = run.mat.state.XMF;
        return;
    }
    for (int i : rows(run.store.ilh.count)) {
        IslandState& island = run.mat.island(i);
        if (std::abs(island.XMI2) < SHORTEST) sol.CONVSTAT = island.KONLF2 = 3;
        if (cut_short) island.XMI2 = island.XMF2;
        sol.XMI = std::min(sol.XMI, island.XMI2);
    }
}

void update(Run& run, std::span<const Device> acting) {
    run.store.sol.XMI = run.mat.state.XMF = 1;
    if (run.opt["CILH"_opt])
        for (int i : rows(run.store.ilh.count)) run.mat.island(i).XMI2 = run.mat.island(i).XMF2 = 1;
    if (run.opt["STPO"_opt]) choose_step(run);
    correct(run);
    for (const Device& d : acting)
        if (d.update) d.update(run);
    refresh_angles(run);
    judge_step(run);
}

}  // namespace

void collect_injections(Run& run) {
    const Store& s = run.store;
    auto& injected = run.mat.work.injected;
    injected.fill(s.bus.NB, Sides{0, 0});
    for (int i : rows(s.eqv.NEQV)) {
        Sides& at = injected(s.eqv.NOEQV(i));
        at.DELTA += s.eqv.PMAT(i);
        at.WORK += s.eqv.QMAT(i);
    }
    for (int c : rows(s.cer.NCER))
        if (s.cer.STUCER(c)) injected(s.cer.NBECER(c)).WORK += s.cer.QGCER(c);
    each_voltage_load(s, [&](int k, Power drawn, Power) {
        injected(k).DELTA -= drawn.p;
        injected(k).WORK -= drawn.q;
    });
}

void map_generators(Run& run) {
    const GeneratorTables& gen = run.store.gen;
    auto& NOBGEN = run.mat.work.NOBGEN;
    NOBGEN.fill(run.store.bus.NB, 0);
    for (int j : rows(gen.NG)) NOBGEN(gen.NOGEN(j)) = j;
}

void assemble_network(Run& run) {
    collect_injections(run);
    map_generators(run);
    assemble_branches(run);
    assemble_buses(run);
    assemble_load_slopes(run);
    if (run.opt["CILH"_opt]) scan_islands(run);
}

bool build_equations(Run& run) {
    const Store& s = run.store;
    SolverState& st = run.mat.state;
    st.rebuild = false;
    st.NEQ = s.bus.NB;
    st.NBR = s.branch.NL;
    st.residual = {};
    for (int i : rows(s.ilh.count)) run.mat.island(i).residual = {};
    refresh_angles(run);
    for (const Device& d : devices())
        if (d.build && !d.build(run)) return false;
    st.augmented = st.NEQ > s.bus.NB || st.NBR > s.branch.NL;
    return !st.augmented || OPTIMO(run, run.mat.augmented, st.NEQ, st.NBR);
}

bool control_generation(Run& run) {
    const Options& opt = run.opt;
    Residuals& residual = run.mat.state.residual;
    if ((opt["CINT"_opt] || opt["DPER"_opt]) && residual.DP <= run.cte.EXST) {
        adjust_interchange(run, [](Run& r, int k) -> double& { return r.mat.side[row_of(r, k)].DELTA; });
        if (run.store.sol.CONVSTAT == 4) return false;
    }
    run.mat.state.DQMAXIMO = residual.DQ;
    for (int i : rows(run.store.ilh.count)) run.mat.island(i).DQMAXIMO2 = run.mat.island(i).residual.DQ;
    run.mat.work.mark.fill(run.store.bus.NB, 0);  // how often a bus has changed its type on this pass
    // Under CILH every island is looked at by its own mismatch.
    if ((opt["QLIM"_opt] || opt["VLIM"_opt]) && (opt["CILH"_opt] || residual.DQ <= run.cte.QLST))
        check_limits(
            run, [](Run& r, int k) -> double& { return r.mat.side[row_of(r, k)].WORK; }, opt["CILH"_opt]);
    return true;
}

static void write_controls(Run& run) {
    clear_equations(run);
    for (const Device& d : devices())
        if (d.assemble) d.assemble(run);
    close_equations(run);
}

void assemble(Run& run) {
    if (run.store.sol.NITP == 0) reset_types(run);
    assemble_network(run);
    if (control_generation(run)) write_controls(run);
}

// The same state in another order: what controls have decided on this pass stands.
static void reassemble(Run& run) {
    assemble_network(run);
    write_controls(run);
}

void close_equations(Run& run) {
    const SolverState& st = run.mat.state;
    apply_types(run);
    if (run.opt["CILH"_opt]) hold_failed_islands(run);
    run.store.sol.DPMAX = st.residual.DP;
    run.store.sol.DQMAX = st.residual.DQ;
    if (run.opt["STPO"_opt]) std::copy_n(run.mat.side.begin(), pattern(run).N, run.mat.mismatch.begin());
    if (run.opt["EJAC"_opt]) write_jacobian(run);
}

bool converged(Run& run) {
    return run.opt["CILH"_opt] ? islands_converged(run) : within(run.mat.state.residual, run.cte);
}

bool iterate(Run& run, const Pass& pass) {
    constexpr int MOST_RESTRAINTS = 12;
    for (int again = 0;; ++again) {
        if (!factor(run, pass)) return false;
        solve(run, pass);
        const auto restrains = [&](const Device& d) { return d.restrain && d.restrain(run); };
        if (again >= MOST_RESTRAINTS || std::none_of(pass.devices.begin(), pass.devices.end(), restrains)) break;
        pass.assemble(run);
    }
    update(run, pass.devices);
    if (run.opt["RCVG"_opt]) report_iteration(run);
    if (run.opt["CILH"_opt] && run.store.sol.CONVSTAT == 3) go_on_for_islands(run);
    return run.store.sol.CONVSTAT != 3;
}

// The discrete steps that come last, all residuals being met: one device after the other, each on the solution that the
// one before it has left. True when they changed the equations.
static bool settle(Run& run) {
    for (const Device& d : devices())
        if (d.settle && d.settle(run)) return true;
    return false;
}

void SOLVNW(Run& run, int& status) {
    Solution& sol = run.store.sol;
    SolverState& st = run.mat.state;
    status = 0;
    enter(run);
    do {
        if (st.rebuild && !build_equations(run)) {
            status = std::max(1, run.msg.NERQ);
            MSGOUT(run);
            break;
        }
        assemble(run);
        if (sol.CONVSTAT == 4) break;
        if (!converged(run)) {
            if (sol.NITP >= run.cte.ACIT) {
                reach_limit(run);
                break;
            }
            ++sol.NITP;
            if (!iterate(run, {"SOLVNW", devices(), reassemble})) break;
        } else if (settle(run))
            sol.CONVSTAT = 0;
        else if (sol.CONVSTAT != 3)  // under CILH some islands ended without a solution; controls of the others go on
            sol.CONVSTAT = 1;
        if (sol.CONVSTAT <= 3)
            for (const Device& d : devices())
                if (d.adjust) d.adjust(run);
        report_switches(run);
    } while (sol.CONVSTAT == 0);
    leave(run);
}

}  // namespace korvane
