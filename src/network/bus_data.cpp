// DBAR: buses, and the generation, load, shunt and groups on the bus card. The end card is in bus_data_end.cpp.
#include "network/aggregator_fields.hpp"
#include "network/bus_block.hpp"
#include "network/bus_card.hpp"
#include "network/network.hpp"
#include "network/set_points.hpp"

namespace korvane {

namespace {

using BusEdit = Edit<BusCard>;

/// A message about the bus of the card.
bool bad(Run& run, const BusEdit& e, bool condition, int number) {
    return refuse(run, condition, number, e.card.number, element::bus_number);
}

/// Control characters are no text: neither those below blank nor those that Latin-1 leaves empty.
bool printable(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto u = std::uint8_t(c);
        return u < 32 || (u >= 127 && u <= 191);
    });
}

/// A change card without an area leaves the bus where it is.
bool names_area(const BusEdit& e) { return e.adds() || e.given(&BusCard::area); }

bool holds_voltage(int type) { return type == 1 || type == 2; }

// Row of the remote-control list that the generator of bus k has, 0 for none or a bus not there yet.
int& control_row(Store& s, int k) { return s.map.NCADR(k); }

void locate(Run& run, BusEdit& e) {
    if (bad(run, e, e.card.number < 1, 110)) return;
    e.row = bus_of(run.store, e.card.number);
    if (e.adds()) {
        if (bad(run, e, e.row != 0, 120)) return;
        if (bad(run, e, run.store.bus.NB >= MXBUS, 130)) return;
        e.row = run.store.bus.NB + 1;
    } else {
        bad(run, e, e.row == 0, 140);
    }
}

BusCard stored(Run& run, const BusEdit& e) { return bus_card(run, e.row); }

// Groups, area and voltages.
void check_place(Run& run, BusEdit& e, const BusBlock& block) {
    const Store& s = run.store;
    BusCard& c = e.card;
    bad(run, e, c.type > 3, 160);
    bad(run, e, !printable(c.base_group), 440);
    bad(run, e, !printable(c.limit_group), 450);
    bad(run, e, !printable(c.name), 470);
    bad(run, e, !block.base_group[BusBlock::code(c.base_group)] && s.gbt.NGBT >= MXGBT, 270);
    bad(run, e, !block.limit_group[BusBlock::code(c.limit_group)] && s.glt.NGLT >= MXGLT, 170);
    auto outside = [&](double v) { return v < run.cte.VDVN || v > run.cte.VDVM; };
    // What the store holds was accepted once, or a solution left it: only what the card says is tested.
    bad(run, e, (e.adds() || e.given(&BusCard::volt)) && outside(c.volt), 180);
    bad(run, e, (e.adds() || e.given(&BusCard::fvolt)) && outside(c.fvolt), 185);
    if (e.adds()) bad(run, e, !e.given(&BusCard::area), -925);
    if (names_area(e) && !bad(run, e, c.area < 1, 190))
        bad(run, e, !block.area_row[std::size_t(c.area)] && s.area.NAREA >= MXARE, 200);
}

// Generation and its limits.
void check_generation(Run& run, BusEdit& e, const BusBlock& block) {
    const Store& s = run.store;
    BusCard& c = e.card;
    const int g = e.adds() ? 0 : s.map.NGADR(e.row);
    const bool qmin_given = e.given(&BusCard::qmin), qmax_given = e.given(&BusCard::qmax);
    if (!g && c.type == 1 && !qmin_given && !qmax_given) {  // a new machine that nobody limits
        e.amend(&BusCard::qmin, -9999 * run.cte.RBASE);
        e.amend(&BusCard::qmax, NO_LIMIT_MW * run.cte.RBASE);
    }
    if (e.modifies() && c.type == 0 && e.stored.type != 0) {  // a machine that becomes a load leaves its limits behind
        e.supply(&BusCard::qmin, 0.0);
        e.supply(&BusCard::qmax, 0.0);
    }
    const bool generates = c.pgen != 0 || c.qgen != 0 || c.qmin != 0 || c.qmax != 0;
    bad(run, e, !g && (c.type != 0 || generates) && s.gen.NG >= MXGEN, 210);
    bad(run, e, c.type == 0 && (c.qmin != 0 || c.qmax != 0), 220);
    bad(run, e, c.type == 2 && (e.adds() || !block.slack[std::size_t(e.row)]) && s.slk.NSLK >= MXSLK, 230);
    if (!bad(run, e, c.qmin > c.qmax, 240) && holds_voltage(c.type)) {
        const bool touched = e.adds() || c.type != e.stored.type || qmin_given || qmax_given || e.given(&BusCard::qgen);
        if (bad(run, e, touched && c.qgen > c.qmax, -900)) e.amend(&BusCard::qgen, c.qmax);
        if (bad(run, e, touched && c.qgen < c.qmin, -910)) e.amend(&BusCard::qgen, c.qmin);
    }
    bad(run, e, c.type != 0 && g && s.gen.XQ(g) > 0 && (qmin_given || qmax_given), -960);
}

// Whose voltage the bus controls.
void check_control(Run& run, BusEdit& e, const BusBlock& block) {
    Store& s = run.store;
    BusCard& c = e.card;
    const bool given = e.given(&BusCard::control);
    if (given && c.control < 0) c.control = -c.control;
    if (c.control == 0 || (!given && !holds_voltage(c.type))) e.amend(&BusCard::control, c.number);
    const bool remote = c.control != c.number;
    const int own = e.adds() ? 0 : e.row;
    if (remote && !bad(run, e, !holds_voltage(c.type), 260))
        bad(run, e, !(own && control_row(s, own)) && s.rcb.NRCB >= MXRCB, 250);

    bad(run, e, c.shunt != 0 && !(own && s.map.NSADR(own)) && s.sht.NSHT >= MXSHT, 280);
    if (!holds_voltage(c.type)) return;
    // Generator and compensator of one bus have to hold the same voltage.
    const int controlled = remote ? bus_of(s, c.control) : own;
    if (const int d = own ? block.compensator[std::size_t(own)] : 0) bad(run, e, s.cer.NVKCER(d) != controlled, 410);
    bad(run, e, remote && controlled && block.compensator[std::size_t(controlled)], 420);
}

void check(Run& run, BusEdit& e, const BusBlock& block) {
    const Store& s = run.store;
    BusCard& c = e.card;
    if (e.removes()) {
        bad(run, e, block.converter[std::size_t(e.row)], 300);
        const bool injects = block.injection[std::size_t(e.row)];
        bad(run, e, injects, -930);
        bad(run, e, injects, -940);
    } else {
        check_place(run, e, block);
        check_generation(run, e, block);
        check_control(run, e, block);
        bad(run, e, c.state != 'L' && c.state != 'D', 430);
        bad(run, e, c.midpoint < 0 || c.midpoint > 2, 460);
        check_aggregators(run, e, &BusCard::aggregator, 480);
    }
    if (e.adds()) return;
    const int area = s.bus.IAREA(e.row);
    const bool moves = !e.removes() && names_area(e) && c.area >= 1 && block.area_row[std::size_t(c.area)] != area;
    const bool provisional = block.rebuild_areas && area == 1;
    refuse(run, (moves || e.removes()) && !provisional && block.buses_in[std::size_t(area)] == 1, -990,
           s.area.NAINT(area), element::number);
}

// --- what a clean card changes

int base_group_row(Store& s, BusBlock& block, const Text<2>& code) {
    std::uint8_t& row = block.base_group[BusBlock::code(code)];
    if (!row) {
        row = std::uint8_t(add_row(s.gbt));
        s.gbt.GBTEN(row) = code;
    }
    return row;
}

int limit_group_row(Store& s, BusBlock& block, const Text<2>& code) {
    std::uint8_t& row = block.limit_group[BusBlock::code(code)];
    if (!row) {
        row = std::uint8_t(add_row(s.glt));
        s.glt.GLTEN(row) = code;
    }
    return row;
}

int area_row(Store& s, BusBlock& block, int number) {
    int& row = block.area_row[std::size_t(number)];
    if (!row) {
        row = add_row(s.area);
        s.area.NAINT(row) = number;
        block.buses_in[std::size_t(row)] = 0;
    }
    return row;
}

void apply_area(Store& s, BusBlock& block, const BusEdit& e) {
    if (!names_area(e)) return;
    const int k = e.row, area = area_row(s, block, e.card.area);
    if (const int before = s.bus.IAREA(k)) --block.buses_in[std::size_t(before)];
    ++block.buses_in[std::size_t(area)];
    s.bus.IAREA(k) = area;
    block.settled[std::size_t(k)] = true;
}

void apply_generator(Run& run, BusBlock& block, const BusEdit& e) {
    Store& s = run.store;
    GeneratorTables& t = s.gen;
    const BusCard& c = e.card;
    const int k = e.row;
    int& g = s.map.NGADR(k);
    const bool generates = c.pgen != 0 || c.qgen != 0 || c.qmin != 0 || c.qmax != 0;
    const bool fresh = !g;
    if (fresh) {
        if (c.type == 0 && !generates) return;
        g = add_row(t);
        t.NOGEN(g) = k;
        t.PMAX(g) = NO_LIMIT_MW * run.cte.RBASE;
    }
    const bool retyped = fresh || c.type != e.stored.type;
    t.PGEN(g) = c.pgen;
    // A blank field keeps what a solution left: the limits in force, the generation at a limit, the set point.
    if (retyped || e.given(&BusCard::qmin)) t.QMIN(g) = t.QMNO(g) = c.qmin;
    if (retyped || e.given(&BusCard::qmax)) t.QMAX(g) = t.QMXO(g) = c.qmax;
    if (c.type == 3) {
        // The card gives the reactive generation that the bus keeps between its voltage limits.
        if (retyped || e.given(&BusCard::qgen)) t.QGEN(g) = t.VGEN(g) = c.qgen;
    } else {
        t.QGEN(g) = c.qgen;
        if (retyped || e.given(&BusCard::volt)) t.VGEN(g) = c.volt;
    }
    if (c.type != 2) return;
    int& slack = block.slack[std::size_t(k)];
    const bool unscheduled = !slack;
    if (unscheduled) {
        slack = add_row(s.slk);
        s.slk.NGSLK(slack) = g;
    }
    if (unscheduled || e.given(&BusCard::pgen)) s.slk.PSLK(slack) = c.pgen;
}

// NTYPE of the card type with the state of its limits. A machine without a band, or that stood at a limit, stays
// there; a load bus with voltage limits starts as a load bus.
int bus_type(const Store& s, const BusEdit& e) {
    const BusCard& c = e.card;
    if (c.type == 0) return 0;
    if (c.type == 3) return -1;
    const int g = s.map.NGADR(e.row), before = s.bus.NTYPE(e.row);
    const bool limited = s.gen.QMAX(g) <= s.gen.QMIN(g) || before == -2 || before == -3;
    return limited ? -(c.type + 1) : c.type + 1;
}

void apply_control(Store& s, const BusEdit& e) {
    const BusCard& c = e.card;
    int& r = control_row(s, e.row);
    if (!r && c.control == c.number) return;
    if (!r) {
        r = add_row(s.rcb);
        s.rcb.ICB(r) = s.map.NGADR(e.row);
    }
    s.rcb.IRCB(r) = c.control;  // its row after the end card
}

// A new voltage reaches what holds the voltage of this bus.
void apply_voltage(Run& run, BusBlock& block, const BusEdit& e) {
    Store& s = run.store;
    const int k = e.row;
    const double volt = e.card.volt;
    if (e.adds() || e.given(&BusCard::volt)) block.set_point[std::size_t(k)] = volt;
    if (!e.modifies() || !e.given(&BusCard::volt)) return;
    for (int n : rows(s.cnv.NCNV))
        if (s.cnv.INTBUS(n) == k) s.cnv.VCNV(n) = volt;
    for (int n : rows(s.cer.NCER))
        if (s.cer.NVKCER(n) == k && std::abs(volt - s.cer.VCER(n)) >= run.cte.TLVC) s.cer.VCER(n) = volt;
}

void remove_bus(Run& run, BusBlock& block, const BusEdit& e) {
    Store& s = run.store;
    const int k = e.row;
    refuse(run, true, -950, e.card.number, element::number);
    block.former[std::size_t(k)] = s.bus.NOINT(k);
    --block.buses_in[std::size_t(s.bus.IAREA(k))];
    forget_bus(s, k);
    s.bus.NOINT(k) = 0;
    ++block.removed;
}

void apply(Run& run, BusEdit& e, BusBlock& block) {
    if (e.removes()) return remove_bus(run, block, e);
    Store& s = run.store;
    BusTables& b = s.bus;
    const BusCard& c = e.card;
    const int k = e.row;
    if (e.adds()) {
        add_row(b);
        b.NOINT(k) = c.number;
        note_bus(s, k);
        s.map.NGADR(k) = s.map.NSADR(k) = s.map.NCADR(k) = 0;
    }
    b.STBUS(k) = c.state == 'L';
    b.BNAME(k) = c.name;
    b.NOGBT(k) = base_group_row(s, block, c.base_group);
    b.NOGLT(k) = limit_group_row(s, block, c.limit_group);
    b.VOLT(k) = c.volt;
    b.ANGLE(k) = c.angle;
    b.PLOAD(k) = c.pload;
    b.QLOAD(k) = c.qload;
    b.FVOLT(k) = c.fvolt;
    b.IBMIDPOINT(k) = c.midpoint;
    take_aggregators(s, e, &BusCard::aggregator, b.IAGRBAR(k));
    apply_area(s, block, e);
    apply_generator(run, block, e);
    b.NTYPE(k) = bus_type(s, e);
    apply_control(s, e);
    int& shunt = s.map.NSADR(k);
    if (!shunt && c.shunt != 0) {
        shunt = add_row(s.sht);
        s.sht.NOSHT(shunt) = k;
    }
    if (shunt) s.sht.SHUNT(shunt) = c.shunt;
    apply_voltage(run, block, e);
}

// MOLT: every bus goes to one provisional area; each card tells the area of its bus anew.
void gather_areas(Store& s) {
    if (s.area.NAREA == 0 || s.bus.NB == 0) return;
    close_up(s, s.area, [](int a) { return a == 1; });
    s.bus.IAREA.fill(s.bus.NB, 1);
    reset_row(s.area, 1);
    s.area.NAINT(1) = MOLT_AREA;
}

}  // namespace

BusBlock::BusBlock(Run& run)
    : set_point(set_points(run.store)),
      slack(MXBUS + 1),
      compensator(MXBUS + 1),
      injection(MXBUS + 1),
      converter(MXBUS + 1),
      settled(MXBUS + 1),
      former(MXBUS + 1),
      base_group(1 << 16),
      limit_group(1 << 16) {
    Store& s = run.store;
    set_point.resize(MXBUS + 1);
    buses_before = s.bus.NB;
    rebuild_areas = run.opt["MOLT"_opt];
    if (rebuild_areas) gather_areas(s);

    map_bus_rows(s);
    for (int r : rows(s.slk.NSLK)) slack[std::size_t(s.gen.NOGEN(s.slk.NGSLK(r)))] = r;
    for (int n : rows(s.cer.NCER)) compensator[std::size_t(s.cer.NBECER(n))] = n;
    for (int n : rows(s.eqv.NEQV)) injection[std::size_t(s.eqv.NOEQV(n))] = n;
    for (int n : rows(s.cnv.NCNV)) converter[std::size_t(s.cnv.INTBUS(n))] = true;
    for (int n : rows(s.gbt.NGBT)) base_group[code(s.gbt.GBTEN(n))] = std::uint8_t(n);
    for (int n : rows(s.glt.NGLT)) limit_group[code(s.glt.GLTEN(n))] = std::uint8_t(n);
    for (int n : rows(s.area.NAREA)) area_row[std::size_t(s.area.NAINT(n))] = n;
    if (rebuild_areas && s.area.NAREA) area_row[MOLT_AREA] = 0;  // a card that names 99 means an area of its own

    for (int k : rows(s.bus.NB)) ++buses_in[std::size_t(s.bus.IAREA(k))];
    // From here to the end card the list holds external numbers: a controlled bus may go and come in the block.
    for (int r : rows(s.rcb.NRCB)) s.rcb.IRCB(r) = s.bus.NOINT(s.rcb.IRCB(r));
}

void INPBUS(Run& run) {
    assert(!run.store.cmp.compacted && "cards need the whole store");
    run.store.sol.CONVSTAT = 0;
    BusBlock block(run);
    read_block<BusCard>(
        run, {.routine = "INPBUS",
              .fields = DBAR,
              .operation = {.column = 6, .letters = "AEM", .refusal = 100, .extra_on_delete = 150, .words = 35},
              .format_error = 310,
              .end_error = 320,
              .locate = locate,
              .stored = stored,
              .check = [&](Run& r, BusEdit& e) { check(r, e, block); },
              .apply = [&](Run& r, BusEdit& e) { apply(r, e, block); },
              .finish = [&](Run& r) { finish_buses(r, block); },
              .free_list = run.opt["FLIV"_opt],
              .commas_from = 23});
}

}  // namespace korvane
