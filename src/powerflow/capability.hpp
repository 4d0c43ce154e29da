// Capability curve of a synchronous machine. Included within the folder only.
#pragma once
#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

/// What bounds the reactive power of a machine at one side of its curve.
enum class Arc { stator, rotor, under_excitation };

/// A machine with a round rotor as its curve needs it, pu on the base of the network and rad.
struct RoundRotor {
    double reactance;         // XQ, synchronous
    double current;           // I, of the stator at its limit: apparent power for a voltage of 1
    double active, reactive;  // cosine and sine of the nominal power factor's angle
    double excitation;        // limit of the rotor as a multiple of rated excitation
    double angle;             // of the under-excitation line; 0 or below: no such line
};
RoundRotor machine_of(const Store& s, int j);

/// A reactive limit, and its derivative by the voltage.
struct ReactiveLimit {
    double q, slope;
    Arc arc;
};
struct Capability {
    bool carries;  // false: at this voltage the machine cannot carry its active power, and the rest has no meaning
    ReactiveLimit lowest, highest;
};

/// The reactive limits of a machine at terminal voltage V and active power P.
///
///     stator   Q = +-sqrt(V^2 I^2 - P^2)
///     rotor    Q = -V^2/Xq + sqrt(V^2 Ef^2/Xq^2 - P^2)      Ef = fr |V + j Xq I e^(-j phi)|
///     under-excitation   Q = P / tan(angle) - V^2/Xq
///
/// phi is the nominal power-factor angle and fr the limit factor of the rotor: Ef is what the field gives when the
/// machine runs at its stator limit and nominal power factor. The highest limit is the lower of stator and rotor, the
/// lowest the higher of stator and under-excitation. (A. E. Fitzgerald, C. Kingsley, S. D. Umans, Electric Machinery,
/// chapter 5.)
Capability capability(const RoundRotor& m, double v, double p);

// The equation of every machine with a curve, with QLIM unless NCAP: at a limit its generation follows the curve.
// Without the curve, with NCAP, the limits of the data hold.
bool build_capability(Run& run);
void assemble_capability(Run& run);
void update_capability(Run& run);

/// QMIN or QMAX of every machine of the equations at the present state. CALCQL message 100.
void refresh_capability(Run& run);

/// CAPABI: the curve of every machine at its present voltage into the file Capab.plt, anew. Nothing without a machine
/// that has one. Warning -900: the file cannot be written.
void CAPABI(Run& run);

}  // namespace korvane
