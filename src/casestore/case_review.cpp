// What a restored case is looked over for.
#include <algorithm>
#include <cmath>

#include "casestore/case_pages.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

constexpr int FOUND = -110;                            // warning of RETCAS: something was found
constexpr int HEADING = 5, OF_BUS = 6, OF_BRANCH = 7;  // rows of RETCAS
// What was found: texts of RETCAS.
constexpr int NO_GENERATOR = 11, UNIT_MOVED = 12, UNIT_DROPPED = 13, NOT_FIXED = 14, BAD_RATIO = 15, CROSSED = 16,
              OUT_OF_LIMITS = 17, TWO_TARGETS = 18, HELD_BUS = 19, NO_STEPS = 20, BAD_TARGET = 21, BAD_SHARE = 22;

class Review {
public:
    explicit Review(Run& run) : run_(run), s_(run.store) {}

    void of_bus(int k, int text) { line(OF_BUS, {s_.bus.NOINT(k), s_.bus.BNAME(k), run_.fmt.rot(text).text()}); }
    void of_branch(int l, int text) {
        const int from = s_.branch.NFROM(l), to = s_.branch.NTO(l);
        line(OF_BRANCH, {s_.bus.NOINT(from), s_.bus.NOINT(to), s_.branch.NCIR(l), run_.fmt.rot(text).text()});
    }
    bool anything() const { return found_ > 0; }

private:
    void line(int row, std::initializer_list<Arg> values) {
        if (found_++ == 0) print_line(run_, HEADING);
        print_line(run_, row, values);
    }
    Run& run_;
    Store& s_;
    int found_ = 0;
};

void review_buses(Review& review, Store& s) {
    for (int k : rows(s.bus.NB)) {
        if (std::abs(s.bus.NTYPE(k)) < 2 || s.bus.NTYPE(k) > 3 || s.map.NGADR(k) != 0) continue;
        s.bus.NTYPE(k) = 0;
        review.of_bus(k, NO_GENERATOR);
    }
}

void review_units(Review& review, Store& s) {
    for (int i : rows(s.gei.NGEI)) {
        const int k = s.gei.NOGEI(i), row = s.map.NGADR(k);
        if (s.gei.NOGGEI(i) == row) continue;
        s.gei.NOGGEI(i) = row;
        review.of_bus(k, row ? UNIT_MOVED : UNIT_DROPPED);
    }
    close_up(s, s.gei, [&](int i) { return s.gei.NOGGEI(i) != 0; });
}

/// Taps held fixed are those of transformers.
void review_fixed_taps(Review& review, Store& s) {
    auto transformer = [&](int l) { return s.branch.LTYPE(l) >= 1 && s.branch.LTYPE(l) <= 4; };
    for (int i : rows(s.tpf.n))
        if (!transformer(s.tpf.row(i))) review.of_branch(s.tpf.row(i), NOT_FIXED);
    close_up(s, s.tpf, [&](int i) { return transformer(s.tpf.row(i)); });
}

void review_transformers(Review& review, const Run& run) {
    const Store& s = run.store;
    for (int t : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(t);
        const bool controlled = s.branch.LTYPE(l) == 3 || s.branch.LTYPE(l) == 4;
        const double a = 1 / s.tap.TAP(t);
        if (!(s.tap.TAP(t) > 0))
            review.of_branch(l, BAD_RATIO);
        else if (controlled && s.tap.TPMIN(t) > s.tap.TPMAX(t))
            review.of_branch(l, CROSSED);
        else if (controlled && (a < s.tap.TPMIN(t) - run.cte.TLTC || a > s.tap.TPMAX(t) + run.cte.TLTC))
            review.of_branch(l, OUT_OF_LIMITS);
    }
}

void review_optimisation(Review& review, const Store& s) {
    for (int v : rows(s.vco.NCONX)) {
        const int g = s.vco.ITCONX(v);
        if (g != 0 && (s.vco.PESC(v) < s.gen.PMIN(g) || s.vco.PESC(v) > s.gen.PMAX(g)))
            review.of_bus(s.vco.NOCONX(v), BAD_TARGET);
        if (g == 0 && !(s.vco.PESC(v) > 0 && s.vco.PESC(v) <= 1)) review.of_bus(s.vco.NOCONX(v), BAD_SHARE);
    }
}

/// What a generator at a bus controls: 0 without one.
int controlled_by_generator(const Store& s, int k) {
    if (s.map.NGADR(k) == 0 || std::abs(s.bus.NTYPE(k)) < 2) return 0;
    return s.map.NCADR(k) ? int(s.rcb.IRCB(s.map.NCADR(k))) : k;
}

/// A device at a bus that controls another: a generator beside it must control the same bus, and none may hold that
/// bus by itself.
void review_control(Review& review, const Store& s, int at, int controlled) {
    const int other = controlled_by_generator(s, at);
    if (other != 0 && other != controlled) review.of_bus(at, TWO_TARGETS);
    if (controlled != at && controlled_by_generator(s, controlled) == controlled) review.of_bus(controlled, HELD_BUS);
}

void review_controls(Review& review, const Store& s) {
    for (int i : rows(s.cer.NCER)) review_control(review, s, s.cer.NBECER(i), s.cer.NVKCER(i));
    for (int i : rows(s.sca.NSCA))
        if (s.sca.KONSCA(i) != 0) review_control(review, s, s.sca.NBUSSCA(i), s.sca.KBUSSCA(i));
    for (int i : rows(s.bsh.NBSH))
        if (s.bsh.MCBSH(i) != 0 && s.bsh.NUBSH(i) == 0) review.of_bus(s.bsh.NOBSH(i), NO_STEPS);
}

}  // namespace

void review_case(Run& run) {
    Store& s = run.store;
    map_bus_rows(s);
    Review review(run);
    if (s.tap.NTAP > 0) review_transformers(review, run);
    review_optimisation(review, s);
    review_buses(review, s);
    review_units(review, s);
    review_fixed_taps(review, s);
    review_controls(review, s);
    for (int k : rows(s.bus.NB))
        if (!s.bus.BUSSEL(k)) run.ctl.KNTRL[7] = true;
    refuse(run, review.anything(), FOUND);
    MSGOUT(run);
}

}  // namespace korvane
