// Loads that depend on the voltage: bus models (DCAR) and individual loads (DCAI).
#pragma once
#include <vector>

#include "powerflow/powerflow.hpp"

namespace korvane {

/// Parts of a load that are not constant power, as fractions of 1, and the voltages of its model, pu.
struct LoadModel {
    double current, impedance;  // a, b
    double reference, lowest;   // Vf, Vz
};
/// A load as a multiple of its nominal power, and its first and second derivative by the voltage.
struct LoadFactor {
    double value, slope, bend;
};

/// The load at voltage v, pu:
///
///     f = (1 - a - b) + a v/Vf + b (v/Vf)^2       v >= Vz
///     f = f(Vz) (v/Vz)^2                          v <  Vz
///
/// Below Vz all of it is constant impedance, so that the load falls to nothing with the voltage and a network that
/// collapses keeps a solution. Both forms meet at Vz.
inline LoadFactor load_factor(const LoadModel& m, double v) {
    const double reference = m.reference > 0 ? m.reference : 1.0;  // a damaged one must not make the load infinite
    const double a = m.current / reference, b = m.impedance / (reference * reference);
    const double constant = 1 - m.current - m.impedance;
    if (v >= m.lowest) return {constant + (a + b * v) * v, a + 2 * b * v, 2 * b};
    const double c = (constant + (a + b * m.lowest) * m.lowest) / (m.lowest * m.lowest);
    return {c * v * v, 2 * c * v, 2 * c};
}

/// What a load draws, and its derivatives by the voltage of its bus, pu.
struct LoadAt {
    Power power, slope, bend;
};

/// Load of the bus of model row i, at voltage v.
LoadAt bus_model(const Store& s, int i, double v);
/// Individual load i, all its units, at voltage v. In the equations of the solver (`solved`) active and reactive power
/// whose two percentages are below 1 are constant power at any voltage; elsewhere they too become impedance below
/// VMINZC.
LoadAt individual_load(const Store& s, int i, double v, bool solved = false);

/// Replaces the load of bus k by what its model makes of it at the present voltage. `row` is its model row; 0 searches
/// for it and leaves 0 when there is none, and then the load stays as it is.
void load_at_voltage(const Store& s, int k, Power& load, int& row);
/// Sum of the individual loads in service at bus k at the present voltage, pu; bus 0 has none. Wants the chains.
Power individual_loads(const Store& s, int k);
/// IPCAI and LNKCAI: the individual loads of every bus, ascending.
void chain_individual_loads(Store& s);

/// What the loads of every bus draw at the present voltages, pu: one pass over the tables when it is made, a look-up
/// for each bus. Stale once a voltage changes or a row of the store moves.
class BusLoads {
public:
    explicit BusLoads(const Store& s);
    Power operator()(int k) const { return sums_[std::size_t(k)]; }

private:
    std::vector<Power> sums_;
};

/// f(k, drawn, slope) for every load with a model in the equations of the solver: how much more than its nominal power
/// it draws at bus k, pu, and the derivative of this by the voltage. Models first, in the order of their rows, then
/// individual loads in service, whose nominal power is not in the load of the bus and so counts whole.
template <class F>
void each_voltage_load(const Store& s, F f) {
    for (int i : rows(s.fld.NFLD)) {
        const int k = s.fld.NOFLD(i);
        if (!k) continue;
        const LoadAt at = bus_model(s, i, s.bus.VOLT(k));
        const Power nominal = nominal_load(s, k);
        f(k, Power{at.power.p - nominal.p, at.power.q - nominal.q}, at.slope);
    }
    for (int i : rows(s.cai.NCAI)) {
        const int k = s.cai.NOCAI(i);
        if (!k || !s.cai.STCAR(i)) continue;
        const LoadAt at = individual_load(s, i, s.bus.VOLT(k), true);
        f(k, at.power, at.slope);
    }
}

}  // namespace korvane
