// The induction motor as an equivalent circuit: stator R + j(X - Xm), magnetising branch, rotor Rr/s + jXr. Numbers in,
// numbers out: no store. Per unit of the system base.
#pragma once
#include <complex>

namespace korvane {

constexpr double KW_PER_HORSEPOWER = 0.7456998715822702;

/// The circuit, with what the solution of the motor works on:
///
///     x  = Xs + Xm     reactance with the rotor open        x1 = Xs + Xr Xm / (Xr + Xm)   with the rotor at rest
///
/// Behind r + j x1 lies the internal voltage E, on which the rotor draws P = E² (xr + xm) s / ((x - x1) rr) and the
/// magnetising current E / (x - x1): Kundur, Power System Stability and Control, ch. 7.
struct MotorCircuit {
    double r, x, x1;
    double rr, xr, xm;
};

/// The circuit of a motor whose data are on its own base, z being the ratio of the bases: 1 / power of the units in pu.
MotorCircuit motor_circuit(double rs, double xs, double xm, double rr, double xr, double z);

/// The motor as a shunt at slip s: 1 / (r + j x1 + 1/(u - j t)) with t = 1/(x - x1) and u = s (xr + xm) t / rr.
std::complex<double> motor_admittance(const MotorCircuit& c, double slip);

/// What drives the motor.
struct MotorLoad {
    bool share;    // it takes that power from its bus; else it gives that power at its shaft
    double power;  // pu
};

/// Internal voltage, slip and powers of a running motor at a bus.
struct MotorStart {
    bool found;  // false: no such point was found; the rest is what to start from all the same
    double slip;
    double mechanical;  // power that the motor keeps as its mechanical one, pu
    double voltage;     // internal, pu
    double angle;       // internal, rad
};

/// Start values at a bus voltage of size v and angle, pu and rad. A motor that has no solution there is tried at 1 pu.
MotorStart start_motor(const MotorCircuit& c, const MotorLoad& load, double v, double angle);

}  // namespace korvane
