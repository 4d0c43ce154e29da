#include "network/motor.hpp"

#include <algorithm>
#include <cmath>
#include <optional>

namespace korvane {

namespace {

/// One search for the internal voltage: E², the power P on it, the slip.
struct Internal {
    double e2, p, slip;
};

// The stator gives E from P at voltage v:
//
//     (r² + x²) E⁴ + (2 r P - v²) a² E² + (x1² + r²) P² a² = 0          a = x - x1
//
// and the load gives P from E: the shaft power over 1 - s, or for a share M of the bus load what the stator leaves
// of it, r a² P² + a² E² P + r E⁴ - M a² E² = 0. Both are repeated until they agree.
std::optional<Internal> search(const MotorCircuit& c, const MotorLoad& load, double v) {
    constexpr int most_passes = 1000;
    constexpr double close = 1e-8;
    // Circuits of small motors have huge numbers on the system base, and so the last bits of a residual.
    constexpr double last_bits = 1e-13;
    constexpr double typical_loss = 0.9, shaft_share = 0.99;
    const double a = c.x - c.x1, a2 = a * a, A = c.r * c.r + c.x * c.x;
    double p = load.share ? typical_loss * load.power : load.power / shaft_share, slip = 0;
    for (int pass = 0; pass < most_passes; ++pass) {
        const auto B = [&] { return (2 * c.r * p - v * v) * a2; };
        const auto C = [&] { return (c.x1 * c.x1 + c.r * c.r) * p * p * a2; };
        const double D = B() * B() - 4 * A * C();
        if (!(D >= 0)) return std::nullopt;
        const double e2 = (-B() + std::sqrt(D)) / (2 * A);
        if (!(e2 > 0)) return std::nullopt;

        double rest = 0, rest_size = 0;
        if (load.share) {
            const double T = e2 * a2, U = c.r * e2 * e2 - load.power * T, W = T * T - 4 * c.r * a2 * U;
            if (!(W >= 0)) return std::nullopt;
            p = -2 * U / (T + std::sqrt(W));
            rest = c.r * a2 * p * p + p * T + U;
            rest_size = std::abs(p * T) + std::abs(U);
        } else {
            p = load.power / (1 - slip);
        }
        const double f1 = A * e2 * e2 + B() * e2 + C(), f1_size = A * e2 * e2 + std::abs(B() * e2) + C();
        slip = a * c.rr * p / ((c.xr + c.xm) * e2);
        if (std::abs(f1) <= std::max(close, last_bits * f1_size) &&
            std::abs(rest) <= std::max(close, last_bits * rest_size))
            return Internal{e2, p, slip};
    }
    return std::nullopt;
}

}  // namespace

MotorCircuit motor_circuit(double rs, double xs, double xm, double rr, double xr, double z) {
    return {rs * z, (xs + xm) * z, (xs + xr * xm / (xr + xm)) * z, rr * z, xr * z, xm * z};
}

std::complex<double> motor_admittance(const MotorCircuit& c, double slip) {
    const double t = 1 / (c.x - c.x1), u = slip * (c.xr + c.xm) * t / c.rr;
    return 1.0 / (std::complex(c.r, c.x1) + 1.0 / std::complex(u, -t));
}

MotorStart start_motor(const MotorCircuit& c, const MotorLoad& load, double v, double angle) {
    constexpr double usual_slip = 0.01;
    std::optional<Internal> found = search(c, load, v);
    if (!found) found = search(c, load, 1.0);
    if (!found) return {false, usual_slip, load.power, v, angle};
    // E lies behind the stator: what its impedance leaves of the voltage.
    const std::complex<double> left = 1.0 - motor_admittance(c, found->slip) * std::complex(c.r, c.x1);
    const double mechanical = load.share ? found->p : found->p * (1 - found->slip);
    return {true, found->slip, mechanical, std::sqrt(found->e2), std::arg(std::polar(1.0, angle) * left)};
}

}  // namespace korvane
