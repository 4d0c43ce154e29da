// Start values of induction motors, against the circuit of a textbook worked out with complex numbers.
#include "network/motor.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace korvane::testing {
namespace {

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
    EXPECT_FALSE(stalled.found);
    EXPECT_EQ(stalled.slip, 0.01);
    EXPECT_EQ(stalled.voltage, 0.95);
    EXPECT_EQ(stalled.angle, 0.3);
    // Too much for a low voltage, not for the nominal one.
    const MotorStart at_nominal = start_motor(c, {false, 1}, 0.3, 0);
    EXPECT_TRUE(at_nominal.found);
    EXPECT_EQ(at_nominal.voltage, start_motor(c, {false, 1}, 1, 0).voltage);
    EXPECT_FALSE(start_motor(motor_circuit(0, 1e300, 1e300, 1e300, 1e300, 1e300), {false, 1}, 1, 0).found);
}

}  // namespace
}  // namespace korvane::testing
