// How much reactive power a salient-pole synchronous machine can give and take. Numbers in, numbers out: no store.
//
// Everything is per unit of the machine's own rating. With V the voltage at its terminals, E the excitation voltage and
// d the load angle, round a round rotor and its saliency,
//
//     P(d) = (V E / xd) sin d + (V²/2) k sin 2d                                            k = 1/xq - 1/xd
//     Q(d) = (V E / xd) cos d + (V²/2) k cos 2d - (V²/2) (1/xq + 1/xd)
//
// the two-reaction theory of Blondel, in any textbook of synchronous machines. Four limits bound Q at a given P: the
// current of the stator, that of the rotor, steady-state stability with a margin, and the least excitation.
#pragma once

namespace korvane {

struct Machine {
    double xd, xq, xl;    // direct axis, quadrature axis, leakage reactance
    double power_factor;  // nominal
};

constexpr double NO_LIMIT = 1e15;  // a limit that does not bind

/// Data that the formulas work on: reactances above 0, and within what a machine may have.
bool has_capability(const Machine& machine);

/// One capability pass: a machine at one voltage. It remembers what does not depend on P, and that the limit of the
/// rotor was once found to lie beyond that of the stator.
class CapabilityPass {
public:
    CapabilityPass(const Machine& machine, double voltage);

    struct Limits {
        double low, high;  // of Q
        double stator, rotor, stability, excitation;
        bool rotor_unsolved, excitation_unsolved;  // Newton's method gave up: that limit does not bind
    };
    /// UNTQLM: the limits at active power p.
    Limits at(double p);

private:
    struct Point {
        double p, q;
    };
    double rotor_limit(double p, bool& unsolved) const;
    double stability_limit(double p) const;
    double excitation_limit(double p, bool& unsolved) const;

    double sine_share(double e) const { return v_ * e / m_.xd; }
    double reactive(double a, double angle) const;
    bool solve_angle(double p, double a, double& angle) const;
    int crest(double a) const;
    double crest_power(int step) const;
    Point curve_point(int step) const;

    Machine m_;
    double v_;
    double saliency_;          // (V²/2) k
    double round_;             // (V²/2) (1/xq + 1/xd)
    double least_;             // lowest step of excitation
    double rated_;             // excitation at the rated point and nominal voltage, which the rotor bears
    int steps_;                // of excitation on the stability curve, below 0: no curve
    double most_power_;        // PSTABL: the most that the machine carries at the lowest step of excitation
    bool rotor_binds_ = true;  // ROTCHK
};

}  // namespace korvane
