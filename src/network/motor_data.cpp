// DMOT: induction motors.
#include <cmath>

#include "network/card_forms.hpp"
#include "network/motor.hpp"
#include "network/network.hpp"
#include "network/unit_rows.hpp"

namespace korvane {

namespace {

struct MotorCard {
    int bus;
    char state;
    int number;
    char sign;   // "-": the load factor is negative
    int factor;  // mechanical load, per cent of the rating
    int units;
    double rstato, xstato, xmagne, rrotor, xrotor;  // own circuit, pu of the motor's base
    double horsepower;
    int type;     // 0: own circuit; 1 to 7: a type of the table
    int share;    // per cent of PLOAD that the motor takes
    int loading;  // per cent of the rating

    int load_factor() const { return sign == '-' ? -factor : factor; }
};
using C = MotorCard;
using MotorEdit = Edit<MotorCard>;

constexpr Field<MotorCard> DMOT[] = {
    {1, 5, &C::bus, {.key = true}},
    {8, 8, &C::state, {.add = "L", .letters = Letters::upper, .key = true}},
    {10, 11, &C::number, {.key = true}},
    {12, 12, &C::sign},
    {13, 15, &C::factor, {.add = "100"}},
    {17, 19, &C::units, {.add = "1"}},
    {21, 25, &C::rstato, {.unit = Scale::percent, .zero_is_none = true}},
    {27, 31, &C::xstato, {.unit = Scale::percent, .zero_is_none = true}},
    {33, 37, &C::xmagne, {.unit = Scale::percent, .zero_is_none = true}},
    {39, 43, &C::rrotor, {.unit = Scale::percent, .zero_is_none = true}},
    {45, 49, &C::xrotor, {.unit = Scale::percent, .zero_is_none = true}},
    {51, 55, &C::horsepower, {.zero_is_none = true}},
    {57, 59, &C::type, {.zero_is_none = true}},
    {61, 63, &C::share, {.add = "100"}},
    {65, 67, &C::loading, {.zero_is_none = true}},
};
static_assert(well_formed(DMOT));

constexpr double C::*CIRCUIT[] = {&C::rstato, &C::xstato, &C::xmagne, &C::rrotor, &C::xrotor, &C::horsepower};

constexpr int TYPES = int(std::size(MOTOR_TYPES));
const MotorType& type_data(int type) { return MOTOR_TYPES[type - 1]; }

/// Row i of the motors as a card: its circuit or its type.
MotorCard card_of(const Run& run, int i) {
    const MotorTables& t = run.store.mot;
    MotorCard c{};
    c.bus = run.store.bus.NOINT(t.NOMOT(i));
    c.state = t.STMOT(i) ? 'L' : 'D';
    c.number = t.IDEGM(i);
    c.sign = t.LFPMEC(i) < 0 ? '-' : ' ';
    c.factor = std::abs(t.LFPMEC(i));
    c.units = t.NUNID(i);
    c.type = t.MOTIP(i);
    c.share = t.IPFLM(i);
    c.loading = t.IPBSM(i);
    if (c.type != 0) return c;
    c.rstato = t.RSTATO(i);
    c.xstato = t.XSTATO(i);
    c.xmagne = t.XMAGNE(i);
    c.rrotor = t.RROTOR(i);
    c.xrotor = t.XROTOR(i);
    c.horsepower = t.HPBASE(i);
    return c;
}

/// The reader of motors while it reads a block.
class MotorBlock {
public:
    explicit MotorBlock(Run& of);

    void locate(MotorEdit& e);
    MotorCard stored(const MotorEdit& e) const;
    void check(MotorEdit& e);
    void apply(const MotorEdit& e);
    void finish();

private:
    void check_circuit(const MotorCard& c);
    void check_type(MotorEdit& e);
    void check_stalling(const MotorCard& c);
    void write_circuit(const MotorCard& c, int i);
    void write_type(const MotorCard& c, int i);
    void start(int i, const MotorCircuit& circuit);
    /// Ratio of the system base to the power of the units.
    double own_base(double horsepower, int units) const {
        return 1000 * run.cte.BASE / (horsepower * units * KW_PER_HORSEPOWER);
    }
    bool say(bool wrong, int number) { return refuse(run, wrong, number, number_, element::bus_number); }

    Run& run;
    Store& s;
    MotorTables& t;
    struct Chains {
        Table<int, MXBUS> head;
        Table<int, MXMOT> link;
    };
    std::unique_ptr<Chains> chains_;
    UnitRows<MXMOT> rows_;
    std::vector<int> model_;     // load model, 0 for none; by bus
    std::vector<char> changed_;  // by bus: its motors do not come from a solution
    int number_ = 0, bus_ = 0;   // of the present card: bus number and position
};

MotorBlock::MotorBlock(Run& of)
    : run(of),
      s(of.store),
      t(s.mot),
      chains_(std::make_unique<Chains>()),
      rows_(s, t.NOMOT, t.IDEGM, t.NMOT, chains_->head, chains_->link),
      model_(std::size_t(s.bus.NB) + 1),
      changed_(std::size_t(s.bus.NB) + 1, 1) {
    for (int n : rows(s.fld.NFLD)) model_[std::size_t(s.fld.NOFLD(n))] = n;
    for (int i : rows(t.NMOT)) changed_[std::size_t(t.NOMOT(i))] = 0;
}

void MotorBlock::locate(MotorEdit& e) {
    const MotorCard& c = e.card;
    number_ = c.bus;
    const bool no_bus = say(c.bus < 1, 110), no_number = say(c.number < 1, 120);
    say(c.type < 0, 280);
    bus_ = bus_of(s, c.bus);
    if (no_bus || say(bus_ == 0, 130) || no_number) return;
    e.row = rows_.find(bus_, c.number);
    if (!e.adds())
        say(e.row == 0, 160);
    else if (!say(e.row != 0, 140) && !say(t.NMOT >= MXMOT, 150))
        e.row = t.NMOT + 1;
}

MotorCard MotorBlock::stored(const MotorEdit& e) const {
    MotorCard c = card_of(run, e.row);
    if (e.given(&C::factor)) c.sign = ' ';  // a factor comes with its sign
    if (e.given(&C::type) && e.card.type != 0)
        for (auto field : CIRCUIT) c.*field = 0;
    return c;
}

// Steady-state pull-out: with the stator resistance left out the most that a motor gives at 1 pu is
// (x - x1) / (2 x x1).
void MotorBlock::check_stalling(const MotorCard& c) {
    constexpr double shaft_share = 0.99;
    const double z = own_base(c.horsepower, c.units);
    const MotorCircuit m = motor_circuit(c.rstato, c.xstato, c.xmagne, c.rrotor, c.xrotor, z);
    say((m.x - m.x1) / (2 * m.x * m.x1) < c.load_factor() * 0.01 / (z * shaft_share), -900);
}

void MotorBlock::check_circuit(const MotorCard& c) {
    say(c.load_factor() > 200, 180);
    say(c.units < 1, 190);
    say(c.rstato < 0, 200);
    say(c.xstato <= 0, 210);
    say(c.xmagne <= 0, 220);
    say(c.rrotor <= 0, 230);
    say(c.xrotor <= 0, 240);
    say(c.horsepower <= 0, 250);
    if (!run.msg.errors_wait()) check_stalling(c);
}

void MotorBlock::check_type(MotorEdit& e) {
    const MotorCard& c = e.card;
    say(c.load_factor() <= 0, 180);  // the rating is the power of the bus over the load factor
    if (!say(c.type > TYPES, 310) && c.loading == 0) e.supply(&C::loading, type_data(c.type).loading);
    if (c.type <= TYPES) say(c.loading < 1, 320);
    say(c.share < 1 || c.share > 100, 330);
    int taken = c.share;
    rows_.each(bus_, [&](int i) { taken += i != e.row && t.MOTIP(i) != 0 ? t.IPFLM(i) : 0; });
    say(c.share <= 100 && taken > 100, 340);
    say(s.bus.PLOAD(bus_) <= 0, 350);
    if (const int n = model_[std::size_t(bus_)]) say(taken + s.fld.IPFLA(n) + s.fld.IPFLB(n) > 100, 360);
    if (c.units != 1) e.amend(&C::units, 1);
}

void MotorBlock::check(MotorEdit& e) {
    if (e.removes()) return;
    const MotorCard& c = e.card;
    say(c.sign != ' ' && c.sign != '-' && c.sign != '+', 180);
    const bool own = std::any_of(std::begin(CIRCUIT), std::end(CIRCUIT), [&](auto field) { return e.given(field); });
    if (say(c.type != 0 && own, 290)) {
        // neither is known to be meant
    } else if (c.type == 0) {
        check_circuit(c);
    } else {
        check_type(e);
    }
    say(c.state != 'L' && c.state != 'D', 300);
}

void MotorBlock::write_circuit(const MotorCard& c, int i) {
    t.NUNID(i) = c.units;
    t.RSTATO(i) = c.rstato;
    t.XSTATO(i) = c.xstato;
    t.XMAGNE(i) = c.xmagne;
    t.RROTOR(i) = c.rrotor;
    t.XROTOR(i) = c.xrotor;
    t.HPBASE(i) = c.horsepower;
    t.PBASEMI(i) = 0;
    t.IPBSM(i) = c.loading;
    start(i, motor_circuit(c.rstato, c.xstato, c.xmagne, c.rrotor, c.xrotor, own_base(c.horsepower, c.units)));
}

// The motor takes its share of the bus load, and its rating follows from that.
void MotorBlock::write_type(const MotorCard& c, int i) {
    const MotorType& type = type_data(c.type);
    t.NUNID(i) = 1;
    t.RSTATO(i) = type.rstato;
    t.XSTATO(i) = type.xstato;
    t.XMAGNE(i) = type.xmagne;
    t.RROTOR(i) = type.rrotor;
    t.XROTOR(i) = type.xrotor;
    t.IPBSM(i) = c.loading;
    t.PMECA(i) = s.bus.PLOAD(bus_) * c.share / 100;
    t.PBASEMI(i) = t.PMECA(i) * 100 / (c.load_factor() * 0.01 * c.loading);
    t.HPBASE(i) = 1000 * run.cte.BASE * t.PBASEMI(i) / KW_PER_HORSEPOWER;
    start(i, motor_circuit(type.rstato, type.xstato, type.xmagne, type.rrotor, type.xrotor, 1 / t.PBASEMI(i)));
}

void MotorBlock::start(int i, const MotorCircuit& circuit) {
    t.RMOTOR(i) = circuit.r;
    t.XMOTOR(i) = circuit.x;
    t.XLMOTO(i) = circuit.x1;
    t.RROTR(i) = circuit.rr;
    t.XROTR(i) = circuit.xr;
    t.XMAGN(i) = circuit.xm;
    const bool typed = t.MOTIP(i) != 0;
    const double shaft = t.HPBASE(i) * t.NUNID(i) * KW_PER_HORSEPOWER / run.cte.BASE / 1000 * t.LFPMEC(i) * 0.01;
    const double v = s.bus.VOLT(bus_);
    const MotorStart at = start_motor(circuit, {typed, typed ? t.PMECA(i) : shaft}, v, s.bus.ANGLE(bus_));
    t.SLIP(i) = at.slip;
    t.PMECA(i) = at.mechanical;
    t.VOLTMOT(i) = at.voltage;
    t.ANGLEMOT(i) = at.angle;
    t.GMOTOR(i) = t.BMOTOR(i) = 0;
    t.QLINI(i) = t.BCINI(i) = t.BCMIT(i) = t.QCMIT(i) = 0;
    if (!run.opt["POPE"_opt] || !typed || !at.found) return;
    // The capacitor raises the power factor of the motor to the usual one.
    constexpr double usual_power_factor = 0.92;
    auto reactive = [](double power_factor) { return std::tan(std::acos(power_factor)); };
    t.BCINI(i) = -motor_admittance(circuit, at.slip).imag();
    t.BCMIT(i) = s.bus.PLOAD(bus_) * t.IPFLM(i) / 100 *
                 (reactive(type_data(t.MOTIP(i)).power_factor) - reactive(usual_power_factor));
    t.QCMIT(i) = t.BCMIT(i) * v * v;
}

void MotorBlock::apply(const MotorEdit& e) {
    const MotorCard& c = e.card;
    const int i = e.row;
    changed_[std::size_t(bus_)] = 1;
    if (e.removes()) return rows_.remove(i);
    if (e.adds()) {
        add_row(t);
        rows_.append(i, bus_, c.number);
    }
    t.STMOT(i) = c.state == 'L';
    t.MOTIP(i) = c.type;
    t.LFPMEC(i) = c.load_factor();
    t.IPFLM(i) = c.share;
    if (c.type == 0)
        write_circuit(c, i);
    else
        write_type(c, i);
}

void MotorBlock::finish() {
    for (int i : rows(t.NMOT)) {
        const int k = t.NOMOT(i);
        if (k == 0 || t.MOTIP(i) != 0 || !changed_[std::size_t(k)]) continue;
        const MotorCircuit m{t.RMOTOR(i), t.XMOTOR(i), t.XLMOTO(i), t.RROTR(i), t.XROTR(i), t.XMAGN(i)};
        const std::complex<double> y = motor_admittance(m, t.SLIP(i));
        t.GMOTOR(i) = y.real();
        t.BMOTOR(i) = y.imag();
    }
    settle_units(s, t, &MotorTables::NOMOT, &MotorTables::STMOT);
}

}  // namespace

CardForm motor_cards(Run& run) { return card_form<MotorCard>(run, "INPMOT", DMOT, card_of); }

void INPMOT(Run& run) {
    run.store.sol.CONVSTAT = 0;
    MotorBlock block(run);
    const Block<MotorCard> description = {
        .routine = "INPMOT",
        .fields = DMOT,
        .operation = {.column = 7, .letters = "AEM", .refusal = 100, .extra_on_delete = 170},
        .format_error = 260,
        .end_error = 270,
        .locate = [&](Run&, MotorEdit& e) { block.locate(e); },
        .stored = [&](Run&, const MotorEdit& e) { return block.stored(e); },
        .check = [&](Run&, MotorEdit& e) { block.check(e); },
        .apply = [&](Run&, MotorEdit& e) { block.apply(e); },
        .finish = [&](Run&) { block.finish(); },
    };
    read_block(run, description);
}

}  // namespace korvane
