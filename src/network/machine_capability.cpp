#include "network/machine_capability.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace korvane {

namespace {

constexpr double LEAST_REACTANCE = 1e-4, MOST_REACTANCE = 100;  // beyond them a number is none of a machine, pu
constexpr double EXCITATION_STEP = 0.01, ANGLE_STEP = 0.001, MARGIN = 0.1;
constexpr int ANGLES = 1571;  // 0 to below 90 degrees

/// sin d and sin 2d on the angles that the stability curve is searched on.
struct Sines {
    std::array<double, ANGLES> one, two;
    Sines() {
        for (int j = 0; j < ANGLES; ++j) {
            one[std::size_t(j)] = std::sin(ANGLE_STEP * j);
            two[std::size_t(j)] = std::sin(2 * ANGLE_STEP * j);
        }
    }
    /// P on angle j, with a the factor of sin d and b that of sin 2d.
    double power(double a, double b, int j) const { return a * one[std::size_t(j)] + b * two[std::size_t(j)]; }
};
const Sines& sines() {
    static const Sines table;
    return table;
}

}  // namespace

bool has_capability(const Machine& m) {
    auto sound = [](double x) { return x >= LEAST_REACTANCE && x <= MOST_REACTANCE; };
    return sound(m.xd) && sound(m.xq) && std::abs(m.xl) <= MOST_REACTANCE && std::abs(m.power_factor) <= 1;
}

CapabilityPass::CapabilityPass(const Machine& machine, double voltage) : m_(machine), v_(voltage) {
    const double k = 1 / m_.xq - 1 / m_.xd, half = v_ * v_ / 2;
    saliency_ = half * k;
    round_ = half * (1 / m_.xq + 1 / m_.xd);
    least_ = 0.1 * (m_.xd - m_.xl);

    // Excitation of a rated point (P, Q), from the phasor behind xq: its size m and its angle d0.
    auto excitation = [&](double p, double q, double v) {
        const double along = q + v * v / m_.xq, size = std::hypot(along, p), angle = std::atan(p / along);
        return m_.xd * (size - v * v * k * std::cos(angle)) / v;
    };
    const double cosine = m_.power_factor, sine = std::sin(std::acos(cosine));
    rated_ = excitation(cosine, sine, 1);
    const double most = excitation(v_ * cosine, v_ * sine, v_);
    steps_ = most < 0 ? -1 : int(most / EXCITATION_STEP * (1 + 1e-12));

    // Among the steps next to the lowest excitation, the last one tells.
    most_power_ = 0;
    const int nearest = int(std::floor(least_ / EXCITATION_STEP)) + 1;
    for (int i = nearest; i >= std::max(0, nearest - 2); --i)
        if (i <= steps_ && std::abs(EXCITATION_STEP * i - least_) < EXCITATION_STEP) {
            most_power_ = crest_power(i);
            break;
        }
}

double CapabilityPass::reactive(double a, double angle) const {
    return a * std::cos(angle) + saliency_ * std::cos(2 * angle) - round_;
}

// Newton's method for P(angle) = p. False when a hundred steps were not enough.
bool CapabilityPass::solve_angle(double p, double a, double& angle) const {
    constexpr double close = 1e-4;
    constexpr int most_steps = 100;
    for (int n = 0; n <= most_steps; ++n) {
        const double f = p - a * std::sin(angle) - saliency_ * std::sin(2 * angle);
        if (std::abs(f) <= close) return true;
        angle += f / (a * std::cos(angle) + 2 * saliency_ * std::cos(2 * angle));
    }
    return false;
}

double CapabilityPass::rotor_limit(double p, bool& unsolved) const {
    const double square = 1 - p * p, a = sine_share(rated_);
    double angle = std::atan(p / ((square > 0 ? std::sqrt(square) : 0) + round_));
    unsolved = !solve_angle(p, a, angle);
    return unsolved ? NO_LIMIT : reactive(a, angle);
}

double CapabilityPass::excitation_limit(double p, bool& unsolved) const {
    if (p >= most_power_ - 0.01) return -NO_LIMIT;
    double angle = 0;
    const double a = sine_share(least_);
    unsolved = !solve_angle(p, a, angle);
    return unsolved ? -NO_LIMIT : reactive(a, angle);
}

// --- the stability curve: for each step of excitation the point that keeps the margin to the greatest power. The
// curve is searched through the shape of P(d), which gives the very points that walking through all angles gives.

// The angle of the greatest power. dP/dd = 0 is 4 b c² + a c - 2 b = 0 with c = cos d: P rises up to that angle for
// b >= 0; for b < 0 it falls first and rises to the end.
int CapabilityPass::crest(double a) const {
    const Sines& table = sines();
    const double b = saliency_;
    int best = 0;
    auto consider = [&](int j) {
        if (j >= 0 && j < ANGLES && table.power(a, b, j) > table.power(a, b, best)) best = j;
    };
    if (b > 0) {
        const double c = (std::sqrt(a * a + 32 * b * b) - a) / (8 * b);
        const int at = int(std::acos(std::clamp(c, 0.0, 1.0)) / ANGLE_STEP);
        for (int j = at - 1; j <= at + 2; ++j) consider(j);
    }
    for (int j = ANGLES - 2; j < ANGLES; ++j) consider(j);
    return best;
}

double CapabilityPass::crest_power(int step) const {
    const double a = sine_share(EXCITATION_STEP * step);
    return sines().power(a, saliency_, crest(a));
}

CapabilityPass::Point CapabilityPass::curve_point(int step) const {
    const Sines& table = sines();
    const double a = sine_share(EXCITATION_STEP * step), b = saliency_;
    const int top = crest(a);
    const double wanted = table.power(a, b, top) - MARGIN;
    // P rises from here to the crest.
    int low = 1;
    if (b < 0) {
        const double c = (a + std::sqrt(a * a + 32 * b * b)) / (-8 * b);
        low = std::clamp(int(std::acos(std::clamp(c, -1.0, 1.0)) / ANGLE_STEP), 1, std::max(top, 1));
        while (low > 1 && table.power(a, b, low - 1) < table.power(a, b, low)) --low;
        while (low < top && table.power(a, b, low + 1) < table.power(a, b, low)) ++low;
    }
    // The last angle before the crest that keeps the margin; without one, angle 0.
    int at = 0;
    if (low <= top && table.power(a, b, low) <= wanted) {
        int high = top;
        at = low;
        while (high - at > 1) {
            const int middle = (at + high) / 2;
            (table.power(a, b, middle) <= wanted ? at : high) = middle;
        }
    }
    return {table.power(a, b, at), reactive(a, ANGLE_STEP * at)};
}

// The point whose power lies nearest to p, the first one of equals. The power of a point lies below its crest less the
// margin by one step of the angle at most, or is that of angle 0; and the crest rises with the excitation. So all but
// the points around one place can be left out.
double CapabilityPass::stability_limit(double p) const {
    double nearest = NO_LIMIT, q = -NO_LIMIT;
    int at = -1;
    auto consider = [&](int i) {
        const Point point = curve_point(i);
        const double distance = std::abs(point.p - p);
        if (distance > nearest || (distance == nearest && i > at)) return;
        nearest = distance;
        q = point.q;
        at = i;
    };
    if (steps_ < 0) return q;
    consider(0);
    int low = 0, high = steps_ + 1;  // the first step whose crest less the margin reaches p lies in between
    while (low < high) {
        const int middle = (low + high) / 2;
        if (crest_power(middle) - MARGIN < p)
            low = middle + 1;
        else
            high = middle;
    }
    for (int i = low - 1; i > 0 && p - (crest_power(i) - MARGIN) <= nearest; --i) consider(i);
    for (int i = low; i <= steps_; ++i) {
        const double step = ANGLE_STEP * (sine_share(EXCITATION_STEP * i) + 2 * std::abs(saliency_));
        if (crest_power(i) - MARGIN - step - p > nearest) break;
        consider(i);
    }
    return q;
}

CapabilityPass::Limits CapabilityPass::at(double p) {
    Limits r{};
    const double square = v_ * v_ - p * p;
    r.stator = square > 0 ? std::sqrt(square) : 0;
    r.rotor = rotor_binds_ ? rotor_limit(p, r.rotor_unsolved) : NO_LIMIT;
    if (r.rotor > r.stator) rotor_binds_ = false;
    r.stability = stability_limit(p);
    r.excitation = excitation_limit(p, r.excitation_unsolved);
    r.low = std::max({r.stability, r.excitation, -r.stator});
    r.high = std::max(std::min(r.stator, r.rotor), r.low);
    return r;
}

}  // namespace korvane
