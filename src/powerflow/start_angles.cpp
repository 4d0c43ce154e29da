// IANG: buses whose angle is 0 take the angle of a bus that they are connected to.
#include <cmath>

#include "powerflow/solver.hpp"

namespace korvane {

namespace {

/// State of a bus in the search: not met, met, given an angle, without one to take.
enum Mark : unsigned char { NEW, MET, GIVEN, NONE };

bool slack(const Store& s, int k) { return std::abs(s.bus.NTYPE(k)) == 3; }

// Walks from a bus over buses at angle 0, depth first, until one has another angle. Returns that angle, or 0; the buses
// met are in work.queue, `met` of them. The walk leaves a bus behind only when all that it leads to has been met, so
// its way to an angle is that of the path, and all of them take the same one.
double walk(Run& run, int start, int& met) {
    const Store& s = run.store;
    auto& work = run.mat.work;
    auto& path = work.path;  // buses of the path, and where each of them stands in its list of branches
    auto& next = work.next;
    int depth = 0;
    met = 0;
    auto enter = [&](int k) {
        work.mark(k) = MET;
        work.queue(++met) = k;
        path(++depth) = k;
        next(depth) = s.adr.LINPTR(k);
    };
    enter(start);
    while (depth > 0) {
        const int k = path(depth);
        if (next(depth) == s.adr.LINPTR(k + 1)) {
            --depth;
            continue;
        }
        const int l = s.adr.LINADR(next(depth)++), m = s.branch.NFROM(l) == k ? s.branch.NTO(l) : s.branch.NFROM(l);
        if (!connects(s, l)) continue;
        if (s.bus.ANGLE(m) != 0) return s.bus.ANGLE(m);
        if (work.mark(m) == NEW) enter(m);
    }
    return 0;
}

// A slack holds the angle of its island: a walk goes through it and leaves it as it is.
void find_angle(Run& run, int start) {
    Store& s = run.store;
    auto& work = run.mat.work;
    int met = 0;
    const double angle = walk(run, start, met);
    for (int i : rows(met)) {
        const int k = work.queue(i);
        work.mark(k) = angle == 0 ? NONE : slack(s, k) ? NEW : GIVEN;
        if (work.mark(k) == GIVEN) s.bus.ANGLE(k) = angle;
    }
}

// The two ends of a branch of next to no impedance stand at one angle and one voltage: a bus that had its angle from
// the data, or else the first of them, hands both on.
void follow_jumpers(Run& run) {
    Store& s = run.store;
    auto& work = run.mat.work;
    auto spread = [&](int start) {
        int tail = 0;
        work.queue(++tail) = start;
        for (int head = 1; head <= tail; ++head) {
            const int k = work.queue(head);
            for (int a = s.adr.LINPTR(k); a < s.adr.LINPTR(k + 1); ++a) {
                const int l = s.adr.LINADR(a), m = s.branch.NFROM(l) == k ? s.branch.NTO(l) : s.branch.NFROM(l);
                if (!connects(s, l) || !s.branch.MARKC(l) || work.mark(m) != GIVEN) continue;
                work.mark(m) = NEW;
                s.bus.ANGLE(m) = s.bus.ANGLE(k);
                s.bus.VOLT(m) = s.bus.VOLT(k);
                work.queue(++tail) = m;
            }
        }
    };
    for (int k : rows(s.bus.NB))
        if (work.mark(k) == NEW && s.bus.STBUS(k) && s.bus.ANGLE(k) != 0) spread(k);
    for (int k : rows(s.bus.NB))
        if (work.mark(k) == GIVEN) {
            work.mark(k) = NEW;
            spread(k);
        }
}

void report_without_angle(Run& run) {
    const Store& s = run.store;
    auto& work = run.mat.work;
    work.nlisted = 0;
    for (int k : rows(s.bus.NB))
        if (work.mark(k) == NONE && !slack(s, k)) list_bus(run, k);
    if (work.nlisted > 0) print_listed(run, "PWFANG");
}

}  // namespace

void start_angles(Run& run) {
    Store& s = run.store;
    auto& mark = run.mat.work.mark;
    mark.fill(s.bus.NB, NEW);
    for (int k : rows(s.bus.NB))
        if (mark(k) == NEW && s.bus.STBUS(k) && s.bus.ANGLE(k) == 0 && !slack(s, k)) find_angle(run, k);
    report_without_angle(run);
    follow_jumpers(run);
}

}  // namespace korvane
