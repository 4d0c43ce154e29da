// Admittances of the network: the diagonal of the bus matrix, the angles across branches, branch flows.
//
// Off-diagonal terms are read from the branch tables. GKM + j BKM is the series admittance y times t = 1/a, a being the
// tap on the from side; such a branch adds t^2 y to the diagonal of its from bus and y to that of its to bus.
#include <cmath>

#include "powerflow/solver.hpp"
#include "powerflow/trigonometry.hpp"
#include "powerflow/vector_clones.hpp"

namespace korvane {

namespace {

struct Admittance {
    double g, b;
};

/// What a line with its far end open shows at the near end: the series admittance y in series with the shunts e of
/// the open end, y e / (y + e), and the shunts of the near end beside it. `near` and `far` are susceptances, pu.
Admittance open_line(double g, double b, double near, double far) {
    // y e = (g + jb) j far = -b far + j g far;  y + e = g + j (b + far)
    const double re = -b * far, im = g * far, sum = b + far, size = g * g + sum * sum;
    if (size == 0) return {0, near};
    return {(re * g + im * sum) / size, (im * g - re * sum) / size + near};
}

/// f(branch, at its from end, value) for every shunt and bank that stands at the end of a branch and is switched in.
template <class F>
void each_end_shunt(const Store& s, F f) {
    for (int i : rows(s.bsh.NBSH))
        if (const int l = s.bsh.IDCIR(i)) f(l, int(s.bsh.NOBSH(i)) == int(s.branch.NFROM(l)), s.bsh.QBSH(i));
    for (int i : rows(s.shl.NSHL)) {
        const int l = s.shl.LISHL(i);
        if (l && s.shl.STSHLD(i)) f(l, true, s.shl.SHLFR(i));
        if (l && s.shl.STSHLP(i)) f(l, false, s.shl.SHLTO(i));
    }
}

bool open_at_one_end(const BranchTables& b, int l) { return !b.STLIN(l) && b.STLIND(l) != b.STLINP(l); }

// Branches out of service with one end energised hang on that end with their charging.
void add_open_branches(Run& run, Table<double, MXBUS>& G, Table<double, MXBUS>& B) {
    const Store& s = run.store;
    const BranchTables& br = s.branch;
    auto& at_from = run.mat.work.shfrom;
    auto& at_to = run.mat.work.shto;
    bool summed = false;
    for (int l : rows(br.NL)) {
        if (!open_at_one_end(br, l)) continue;
        if (!summed) {
            at_from.fill(br.NL, 0.0);
            at_to.fill(br.NL, 0.0);
            each_end_shunt(s, [&](int k, bool from, double value) {
                if (k <= br.NL) (from ? at_from : at_to)(k) += value;
            });
            summed = true;
        }
        const bool from = br.STLIND(l);
        const double near = br.BC(l) + (from ? at_from : at_to)(l), far = br.BC(l) + (from ? at_to : at_from)(l);
        const Admittance y = open_line(br.GKM(l), br.BKM(l), near, far);
        const int k = from ? br.NFROM(l) : br.NTO(l);
        G(k) += y.g;
        B(k) += y.b;
    }
}

}  // namespace

void build_diagonal(Run& run) {
    const Store& s = run.store;
    const BranchTables& br = s.branch;
    auto& G = run.mat.GDIAG;
    auto& B = run.mat.BDIAG;
    G.fill(s.bus.NB, 0.0);
    B.fill(s.bus.NB, 0.0);
    for (int l : rows(br.NL))
        if (br.STLIN(l)) {
            const int k = br.NFROM(l), m = br.NTO(l);
            G(k) += br.GKM(l);
            B(k) += br.BKM(l) + br.BC(l);
            G(m) += br.GKM(l);
            B(m) += br.BKM(l) + br.BC(l);
        }
    add_open_branches(run, G, B);
    for (int n : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(n);
        if (!l || l > br.NL || !br.STLIN(l)) continue;
        const double t = s.tap.TAP(n), u = t - 1, v = -u / t;
        const int k = br.NFROM(l), m = br.NTO(l);
        G(k) += br.GKM(l) * u;
        B(k) += br.BKM(l) * u;
        G(m) += br.GKM(l) * v;
        B(m) += br.BKM(l) * v;
    }
    for (int i : rows(s.sht.NSHT)) B(s.sht.NOSHT(i)) += s.sht.SHUNT(i);
    for (int i : rows(s.eqv.NEQV)) B(s.eqv.NOEQV(i)) += s.eqv.FSH(i);
    for (int i : rows(s.shl.NSHL)) {
        const int l = s.shl.LISHL(i);
        if (!l || l > br.NL || !br.STLIN(l)) continue;
        if (s.shl.STSHLD(i)) B(br.NFROM(l)) += s.shl.SHLFR(i);
        if (s.shl.STSHLP(i)) B(br.NTO(l)) += s.shl.SHLTO(i);
    }
    for (int i : rows(s.bsh.NBSH))  // those under control stand behind an automatic shunt
        if (const int l = s.bsh.IDCIR(i); s.bsh.IPSCA(i) == 0 && (l == 0 || br.STLIN(l)))
            B(s.bsh.NOBSH(i)) += s.bsh.QBSH(i);
    for (int i : rows(s.sca.NSCA)) B(s.sca.NBUSSCA(i)) += s.sca.BSCA(i) - s.sca.BSCAYBUS(i);
}

// Sine and cosine of the differences of angles, by branch, of those by bus.
VECTOR_CLONES static void across_branches(const BusRef* from, const BusRef* to, int n, const double* sine,
                                          const double* cosine, double* __restrict__ sine_across,
                                          double* __restrict__ cosine_across) {
    for (int i = 0; i < n; ++i) {
        const int k = from[i].at, j = to[i].at;
        sine_across[i] = sine[k] * cosine[j] - cosine[k] * sine[j];
        cosine_across[i] = cosine[k] * cosine[j] + sine[k] * sine[j];
    }
}

void refresh_angles(Run& run) {
    const Store& s = run.store;
    const BranchTables& br = s.branch;
    Matrices& m = run.mat;
    sine_cosine(s.bus.ANGLE.data(), m.SINBUS.data(), m.COSBUS.data(), s.bus.NB);
    across_branches(br.NFROM.data(), br.NTO.data(), br.NL, m.SINBUS.data() - 1, m.COSBUS.data() - 1, m.SINDIK.data(),
                    m.COSDIK.data());
    sine_cosine(s.phs.PHS.data(), m.work.sine.data(), m.work.cosine.data(), s.phs.NPHS);
    for (int i : rows(s.phs.NPHS)) {
        const int n = s.phs.NOPHS(i), l = n ? int(s.tap.NOTAP(n)) : 0;
        if (!l || l > br.NL) continue;
        const double a = m.SINDIK(l), b = m.COSDIK(l), u = m.work.sine(i), v = m.work.cosine(i);
        m.SINDIK(l) = a * v + b * u;
        m.COSDIK(l) = b * v - a * u;
    }
}

EndShunts end_shunts(const Store& s, int l) {
    EndShunts sum{0, 0};
    each_end_shunt(s, [&](int k, bool from, double value) {
        if (k == l) (from ? sum.from : sum.to) += value;
    });
    return sum;
}

void change_tap(Run& run, int n, double t1) {
    Store& s = run.store;
    BranchTables& br = s.branch;
    const int l = s.tap.NOTAP(n), k = br.NFROM(l);
    const double t0 = s.tap.TAP(n), ratio = t1 / t0;
    // The from side holds t y t; the to side holds y whatever the tap.
    const double g0 = br.GKM(l) * t0, b0 = br.BKM(l) * t0;
    s.tap.TAP(n) = t1;
    br.GKM(l) *= ratio;
    br.BKM(l) *= ratio;
    if (!br.STLIN(l)) return;
    run.mat.GDIAG(k) += br.GKM(l) * t1 - g0;
    run.mat.BDIAG(k) += br.BKM(l) * t1 - b0;
}

BranchFlow branch_flow(const Store& s, int l) {
    const BranchTables& br = s.branch;
    if (!br.STLIN(l) && br.STLIND(l) == br.STLINP(l)) return {0, 0, 0, 0};
    const int k = br.NFROM(l), m = br.NTO(l);
    const double vk = s.bus.VOLT(k), vm = s.bus.VOLT(m), g = br.GKM(l), b = br.BKM(l), bc = br.BC(l);
    if (!br.STLIN(l)) {
        const EndShunts e = end_shunts(s, l);
        const bool from = br.STLIND(l);
        const Admittance y = open_line(g, b, bc + (from ? e.from : e.to), bc + (from ? e.to : e.from));
        const double v2 = from ? vk * vk : vm * vm;
        const double p = y.g * v2, q = -y.b * v2;
        return from ? BranchFlow{p, q, 0, 0} : BranchFlow{0, 0, p, q};
    }
    const int n = tap_row(s, l), f = phase_row(s, l);
    const double t = n ? s.tap.TAP(n) : 1.0;
    const double angle = s.bus.ANGLE(k) - s.bus.ANGLE(m) + (f ? s.phs.PHS(f) : 0.0);
    const double sine = std::sin(angle), cosine = std::cos(angle), v = vk * vm;
    return {vk * vk * t * g - v * (g * cosine + b * sine), -vk * vk * (t * b + bc) + v * (b * cosine - g * sine),
            vm * vm * g / t - v * (g * cosine - b * sine), -vm * vm * (b / t + bc) + v * (b * cosine + g * sine)};
}

}  // namespace korvane
