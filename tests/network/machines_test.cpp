// Machines: reactive limits of a synchronous one, against a walk through every angle and every step of excitation;
// where an induction motor starts.
#include "network/machine_capability.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "network/motor.hpp"
#include "support/expect.hpp"

namespace korvane::testing {
namespace {

constexpr double PI = 3.141592653589793;

/// The limits of stability and of the least excitation by walking: no shape of any curve is made use of.
struct Walk {
    Machine m;
    double v;
    std::vector<double> sine, sine2;

    Walk(const Machine& machine, double voltage) : m(machine), v(voltage) {
        for (int j = 0; 0.001 * j < PI / 2; ++j) {
            sine.push_back(std::sin(0.001 * j));
            sine2.push_back(std::sin(2 * 0.001 * j));
        }
    }
    double k() const { return 1 / m.xq - 1 / m.xd; }
    double q(double e, double angle) const {
        const double half = v * v / 2;
        return v * e / m.xd * std::cos(angle) + half * k() * std::cos(2 * angle) - half * (1 / m.xq + 1 / m.xd);
    }
    double power(double e, std::size_t j) const { return v * e / m.xd * sine[j] + v * v / 2 * k() * sine2[j]; }

    struct Result {
        double stability = -1e15, carried = 0;  // limit of Q; most power at the least excitation
    };
    Result at(double p) const {
        Result r;
        double nearest = 1e15;
        const double sin_n = std::sin(std::acos(m.power_factor)), pn = v * m.power_factor;
        const double a = v * sin_n + v * v / m.xq, size = std::sqrt(a * a + pn * pn);
        const double most = m.xd * (size - v * v * k() * std::cos(std::atan(pn / a))) / v;
        for (int i = 0; 0.01 * i <= most; ++i) {
            const double e = 0.01 * i;
            std::size_t top = 0;
            for (std::size_t j = 0; j < sine.size(); ++j)
                if (power(e, j) > power(e, top)) top = j;
            const double crest = power(e, top);
            if (std::abs(e - 0.1 * (m.xd - m.xl)) < 0.01) r.carried = crest;
            std::size_t j = top;
            while (j > 0 && power(e, j) > crest - 0.1) --j;
            if (std::abs(power(e, j) - p) < nearest) {
                nearest = std::abs(power(e, j) - p);
                r.stability = q(e, 0.001 * double(j));
            }
        }
        return r;
    }
};

TEST(MachineCapability, FindsWhatAWalkThroughAllAnglesFinds) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        std::mt19937 random(seed);
        auto between = [&](double a, double b) { return a + (b - a) * double(random() % 10000) / 10000; };
        Machine m{between(0.6, 2.2), 0, between(0, 0.3), between(0.7, 1)};
        m.xq = seed % 4 == 0 ? between(1, 1.6) * m.xd : seed % 4 == 1 ? m.xd : between(0.4, 1) * m.xd;
        const double v = between(0.85, 1.15);
        const Walk walk(m, v);
        CapabilityPass pass(m, v);
        for (double p : {0.0, 0.001, between(0, 1), between(0, 1), 1.0, 1.3, -0.2}) {
            const Walk::Result truth = walk.at(p);
            const CapabilityPass::Limits limits = pass.at(p);
            EXPECT_NEAR(limits.stability, truth.stability, 1e-12) << seed << ' ' << p;
            if (p >= truth.carried - 0.01) {
                EXPECT_EQ(limits.excitation, -NO_LIMIT) << seed << ' ' << p;
            } else if (!limits.excitation_unsolved) {
                // The point lies on the curve of the least excitation: (P, Q) is one of its angles.
                const double e = 0.1 * (m.xd - m.xl);
                double best = 1e9;
                for (double d = -PI; d < PI; d += 1e-4) {
                    const double f = v * e / m.xd * std::sin(d) + v * v / 2 * walk.k() * std::sin(2 * d) - p;
                    best = std::min(best, std::hypot(f, walk.q(e, d) - limits.excitation));
                }
                EXPECT_LT(best, 5e-4) << seed << ' ' << p;  // Newton's method stops at 1e-4
            }
            EXPECT_LE(limits.low, limits.high);
        }
    }
}

TEST(MachineCapability, RoundRotorByHand) {
    // xd = xq = 1.5, power factor 0.8 at 1 pu: the rated excitation is |1 + j 1.5 (0.8 - j 0.6)| = hypot(1.9, 1.2), and
    // the limit of the rotor the circle of radius E/xd around -1/xd.
    const double x = 1.5, e = std::hypot(1.9, 1.2);
    CapabilityPass pass({x, x, 0.2, 0.8}, 1.0);
    for (double p : {0.0, 0.3, 0.6, 0.79}) {
        const CapabilityPass::Limits limits = pass.at(p);
        EXPECT_NEAR(limits.rotor, std::sqrt(e * e / (x * x) - p * p) - 1 / x, 1e-3) << p;
        EXPECT_NEAR(limits.stator, std::sqrt(1 - p * p), 1e-12);
        EXPECT_EQ(limits.high, limits.rotor);
    }
    EXPECT_NEAR(pass.at(0.8).rotor, 0.6, 1e-3) << "the rated point";
    // Without power all excitation may go: -V²/xd. The least excitation allows less.
    const CapabilityPass::Limits idle = pass.at(0);
    EXPECT_NEAR(idle.stability, -1 / x, 1e-12);
    EXPECT_NEAR(idle.excitation, 0.1 * (x - 0.2) / x - 1 / x, 1e-12);
    EXPECT_EQ(idle.low, idle.excitation);
    // Beyond the stator current nothing is left, and from the first power at which the stator binds the rotor is
    // not looked at in this pass.
    const CapabilityPass::Limits beyond = pass.at(1.01);
    EXPECT_EQ(these(beyond.stator, beyond.low, beyond.high, pass.at(0).rotor), these(0, 0, 0, NO_LIMIT));
}

TEST(MachineCapability, OddMachinesEnd) {
    for (const Machine& m : {Machine{1e-4, 100, 0, 1}, Machine{100, 1e-4, 0, 0}, Machine{100, 100, 100, -1},
                             Machine{100, 99, 0, .5}, Machine{1e-4, 1e-4, 9, .9}})
        for (double v : {0.4, 1.0, 2.0}) {
            ASSERT_TRUE(has_capability(m));
            CapabilityPass pass(m, v);
            for (double p : {0.0, 0.5, -3.0, 1e6}) {
                const CapabilityPass::Limits limits = pass.at(p);
                EXPECT_LE(limits.low, limits.high);
            }
        }
    for (const Machine& m : {Machine{0, 1, 0, 1}, Machine{1, 0, 0, 1}, Machine{-1e13, 1, 0, 1}, Machine{1, 1e80, 0, 1},
                             Machine{1, 1, 1e80, 1}, Machine{1, 1, 0, 1.1}})
        EXPECT_FALSE(has_capability(m));
}

// --- start values of induction motors, against the circuit of a textbook worked out with complex numbers

using Complex = std::complex<double>;

struct Point {
    Complex power, internal;
    double shaft;
};

// Stator, magnetising branch and rotor as a ladder, at a slip.
Point ladder(double rs, double xs, double xm, double rr, double xr, double slip, Complex v) {
    const Complex rotor(rr / slip, xr), magnetising(0, xm), gap = rotor * magnetising / (rotor + magnetising);
    const Complex i = v / (Complex(rs, xs) + gap), ir = (v - i * Complex(rs, xs)) / rotor;
    const double x1 = xs + xr * xm / (xr + xm);
    return {v * std::conj(i), v - i * Complex(rs, x1), std::norm(ir) * rr * (1 - slip) / slip};
}

TEST(Motors, StartOnTheirOperatingPoint) {
    int found = 0;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        std::mt19937 random(seed);
        auto between = [&](double a, double b) { return a + (b - a) * double(random() % 10000) / 10000; };
        const double z = std::pow(10, between(0, 5));  // from the whole system down to some kilowatts
        const double rs = seed % 7 ? between(0, 0.05) : 0, xs = between(0.05, 0.2), xm = between(2, 4),
                     rr = between(0.01, 0.05), xr = between(0.05, 0.2);
        const double v = between(0.9, 1.1), angle = between(-3, 3);
        const MotorLoad load{seed % 2 == 0, between(seed % 5 ? 0.1 : -1, 1) / z};
        const MotorCircuit c = motor_circuit(rs, xs, xm, rr, xr, z);
        const MotorStart at = start_motor(c, load, v, angle);
        if (!at.found) continue;
        ++found;
        const Point truth = ladder(rs * z, xs * z, xm * z, rr * z, xr * z, at.slip, std::polar(v, angle));
        const double given = load.share ? truth.power.real() : truth.shaft;
        EXPECT_NEAR(given, load.power, 1e-6 * std::abs(load.power) + 1e-9 / z) << seed;
        EXPECT_NEAR(std::abs(truth.internal), at.voltage, 1e-7) << seed;
        EXPECT_NEAR(std::abs(truth.internal - std::polar(at.voltage, at.angle)), 0, 1e-7) << seed;
        const Complex y = motor_admittance(c, at.slip);
        EXPECT_NEAR(std::abs(v * v * std::conj(y) - truth.power), 0, 1e-9 / z) << seed;
    }
    EXPECT_GT(found, 190);
}

TEST(Motors, WithoutAnOperatingPoint) {
    const MotorCircuit c = motor_circuit(0.031, 0.1, 3.2, 0.018, 0.18, 1);
    // More than the motor gives, at the voltage of the bus and at 1 pu.
    const MotorStart stalled = start_motor(c, {false, 9}, 0.95, 0.3);
    EXPECT_EQ(these(stalled.found, stalled.slip, stalled.voltage, stalled.angle), these(false, 0.01, 0.95, 0.3));
    // Too much for a low voltage, not for the nominal one.
    const MotorStart at_nominal = start_motor(c, {false, 1}, 0.3, 0);
    EXPECT_TRUE(at_nominal.found);
    EXPECT_EQ(at_nominal.voltage, start_motor(c, {false, 1}, 1, 0).voltage);
    EXPECT_FALSE(start_motor(motor_circuit(0, 1e300, 1e300, 1e300, 1e300, 1e300), {false, 1}, 1, 0).found);
}

}  // namespace
}  // namespace korvane::testing
