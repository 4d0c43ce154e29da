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

/// Motors that are known by their type, 1 to 7: the circuit, per unit of the rating.
struct MotorType {
    double rstato, xstato, xmagne, rrotor, xrotor;
    double power_factor;  // FPTIP
    int loading;          // IBASMIT: loading unless the card tells another, per cent
};
inline constexpr MotorType MOTOR_TYPES[] = {
    {0.031, 0.100, 3.20, 0.018, 0.180, 0.852, 108}, {0.013, 0.067, 3.80, 0.009, 0.170, 0.890, 103},
    {0.016, 0.063, 0.96, 0.009, 0.016, 0.870, 310}, {0.078, 0.065, 2.67, 0.044, 0.049, 0.940, 170},
    {0.001, 0.230, 3.00, 0.020, 0.230, 0.758, 65},  {0.077, 0.107, 2.22, 0.079, 0.098, 0.870, 125},
    {0.110, 0.120, 2.00, 0.110, 0.130, 0.845, 120},
};

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
