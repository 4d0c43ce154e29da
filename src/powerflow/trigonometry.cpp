// Sines and cosines of many angles at once: reduction to an eighth of the circle, then the power series.
//
//     x = q pi/2 + r,  |r| <= pi/4        (W. J. Cody, W. Waite, Software Manual for the Elementary Functions, 1980)
//
// pi/2 is held in three parts of 33 bits and more, so q times the first two is exact for the angles of a network. The
// series run to r^17 and r^16: what they leave out is below 1e-19 and 3e-18.
#include "powerflow/trigonometry.hpp"

#include <bit>
#include <cmath>
#include <cstdint>

#include "powerflow/vector_clones.hpp"

namespace korvane {

namespace {

constexpr double QUARTERS = 0.63661977236758134308;  // 2 / pi
constexpr double PART1 = 0x1.921fb544p+0, PART2 = 0x1.0b4611a6p-34, PART3 = 0x1.3198a2e037073p-69;
constexpr double ROUNDING = 6755399441055744.0;  // 1.5 * 2^52: adding it leaves the nearest integer in the low bits
constexpr double LARGE = 1e5;                    // beyond it the library does the reduction

}  // namespace

VECTOR_CLONES void sine_cosine(const double* angle, double* sine, double* cosine, int n) {
    for (int i = 0; i < n; ++i) {
        const double x = angle[i];
        const double shifted = x * QUARTERS + ROUNDING;
        const double q = shifted - ROUNDING;
        const double r = ((x - q * PART1) - q * PART2) - q * PART3;
        const double z = r * r;
        double s = 1.0 / 355687428096000.0;
        s = s * z - 1.0 / 1307674368000.0;
        s = s * z + 1.0 / 6227020800.0;
        s = s * z - 1.0 / 39916800.0;
        s = s * z + 1.0 / 362880.0;
        s = s * z - 1.0 / 5040.0;
        s = s * z + 1.0 / 120.0;
        s = s * z - 1.0 / 6.0;
        s = r + r * (z * s);
        double c = 1.0 / 20922789888000.0;
        c = c * z - 1.0 / 87178291200.0;
        c = c * z + 1.0 / 479001600.0;
        c = c * z - 1.0 / 3628800.0;
        c = c * z + 1.0 / 40320.0;
        c = c * z - 1.0 / 720.0;
        c = c * z + 1.0 / 24.0;
        c = 1.0 - (0.5 * z - z * z * c);
        // The quarter says which of the two is the sine, and their signs.
        const auto quarter = std::bit_cast<std::int64_t>(shifted);
        const auto swap = -(quarter & 1);
        const auto sb = std::bit_cast<std::int64_t>(s), cb = std::bit_cast<std::int64_t>(c);
        const auto other = (sb ^ cb) & swap;
        sine[i] = std::bit_cast<double>((sb ^ other) ^ ((quarter & 2) << 62));
        cosine[i] = std::bit_cast<double>((cb ^ other) ^ (((quarter + 1) & 2) << 62));
    }
    for (int i = 0; i < n; ++i)
        if (!(std::abs(angle[i]) <= LARGE)) {
            sine[i] = std::sin(angle[i]);
            cosine[i] = std::cos(angle[i]);
        }
}

}  // namespace korvane
