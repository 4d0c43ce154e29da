#include "powerflow/load_models.hpp"

namespace korvane {

namespace {

LoadAt scaled(Power nominal, const LoadFactor& p, const LoadFactor& q) {
    return {{nominal.p * p.value, nominal.q * q.value},
            {nominal.p * p.slope, nominal.q * q.slope},
            {nominal.p * p.bend, nominal.q * q.bend}};
}

}  // namespace

LoadAt bus_model(const Store& s, int i, double v) {
    const int k = s.fld.NOFLD(i);
    const double reference = s.bus.FVOLT(k), lowest = s.fld.VMINZ(i);
    const LoadModel p = {s.fld.IPFLA(i) * 0.01, s.fld.IPFLB(i) * 0.01, reference, lowest};
    const LoadModel q = {s.fld.IQFLA(i) * 0.01, s.fld.IQFLB(i) * 0.01, reference, lowest};
    return scaled(nominal_load(s, k), load_factor(p, v), load_factor(q, v));
}

LoadAt individual_load(const Store& s, int i, double v, bool solved) {
    const IndividualLoadTables& c = s.cai;
    auto factor = [&](int current, int impedance) {
        if (solved && current < 1 && impedance < 1) return LoadFactor{1, 0, 0};
        return load_factor({current * 0.01, impedance * 0.01, c.FVOLTC(i), c.VMINZC(i)}, v);
    };
    const double units = c.NUNICOP(i);
    return scaled({c.PLOADI(i) * units, c.QLOADI(i) * units}, factor(c.IPVLA(i), c.IPVQB(i)),
                  factor(c.IQVLC(i), c.IQVQD(i)));
}

void load_at_voltage(const Store& s, int k, Power& load, int& row) {
    for (int i = 1; row == 0 && i <= s.fld.NFLD; ++i)
        if (s.fld.NOFLD(i) == k) row = i;
    if (row == 0) return;
    const LoadModelTables& t = s.fld;
    const double v = s.bus.VOLT(k), reference = s.bus.FVOLT(k), lowest = t.VMINZ(row);
    load.p *= load_factor({t.IPFLA(row) * 0.01, t.IPFLB(row) * 0.01, reference, lowest}, v).value;
    load.q *= load_factor({t.IQFLA(row) * 0.01, t.IQFLB(row) * 0.01, reference, lowest}, v).value;
}

Power individual_loads(const Store& s, int k) {
    Power sum{0, 0};
    if (k == 0) return sum;
    for (int i = s.adr.IPCAI(k); i; i = s.adr.LNKCAI(i)) {
        if (!s.cai.STCAR(i)) continue;
        const LoadAt at = individual_load(s, i, s.bus.VOLT(k));
        sum.p += at.power.p;
        sum.q += at.power.q;
    }
    return sum;
}

void chain_individual_loads(Store& s) {
    s.adr.IPCAI.fill(s.bus.NB, 0);
    for (int i = s.cai.NCAI; i >= 1; --i) {
        const int k = s.cai.NOCAI(i);
        if (k < 1 || k > s.bus.NB) continue;
        s.adr.LNKCAI(i) = s.adr.IPCAI(k);
        s.adr.IPCAI(k) = i;
    }
}

BusLoads::BusLoads(const Store& s) : sums_(std::size_t(s.bus.NB) + 1) {
    for (int k : rows(s.bus.NB)) sums_[std::size_t(k)] = nominal_load(s, k);
    for (int i : rows(s.fld.NFLD))
        if (const int k = s.fld.NOFLD(i)) sums_[std::size_t(k)] = bus_model(s, i, s.bus.VOLT(k)).power;
    for (int i : rows(s.cai.NCAI)) {
        const int k = s.cai.NOCAI(i);
        if (!k || !s.cai.STCAR(i)) continue;
        const LoadAt at = individual_load(s, i, s.bus.VOLT(k));
        sums_[std::size_t(k)].p += at.power.p;
        sums_[std::size_t(k)].q += at.power.q;
    }
}

}  // namespace korvane
