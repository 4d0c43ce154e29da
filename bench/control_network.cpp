#include "control_network.hpp"

#include "deck_text.hpp"
#include "network/store.hpp"
#include "powerflow/powerflow.hpp"

namespace korvane::bench {

namespace {

constexpr int BUSES = 20000, MESH = BUSES - TAPS - COMPENSATORS, WIDTH = 8, AREAS = 50;

/// Three in ten buses of the mesh have a generator, evenly, so that power need not travel far.
int generator_bus(int g) { return (10 * g + 2) / 3; }
constexpr int GENERATORS = MESH * 3 / 10;
bool generates(int i) {
    const int g = (3 * i) / 10;
    return generator_bus(g) == i || generator_bus(g + 1) == i;
}
bool beside(int i) { return i % WIDTH != 0 && i < MESH; }  // a line goes to the next bus

int feeder_of(int tap) { return int(long(tap) * MESH / TAPS); }
int load_behind(int tap) { return MESH + tap; }
int middle_of(int compensator) { return MESH + TAPS + compensator; }
/// A compensated line begins at a load bus and ends at another one, which draws much.
constexpr int APART = 30;
int start_of(int compensator) { return (compensator - 1) * APART + 3; }
bool ends_compensated(int i) { return i % APART == (3 + WIDTH) % APART && i <= COMPENSATORS * APART; }

/// Active and reactive load of bus i, MW and Mvar: behind transformers, and where a compensated line ends.
const char* active_load(int i) {
    if (i > MESH) return i <= MESH + TAPS ? "10.00" : " 0.00";
    return ends_compensated(i) ? "41.00" : " 1.00";
}
const char* reactive_load(int i) { return i <= MESH ? " 0.30" : i <= MESH + TAPS ? " 4.00" : " 0.00"; }

/// Active generation, MW: where the loads are, for power that travels far takes many iterations.
const char* generation(int i) { return i <= COMPENSATORS * APART ? "18.20" : "13.75"; }

void buses(Deck& deck) {
    deck.line("DBAR");
    int remote = 0;
    for (int i = 1; i <= BUSES; ++i) {
        const int area = (i - 1) % MESH * AREAS / MESH + 1;
        const At number = to(5, i), name{11, "BARRA " + std::to_string(i)}, region = to(76, area);
        if (i > MESH || !generates(i)) {
            deck.card({number,
                       {7, "L"},
                       {8, "0"},
                       {9, "34"},
                       name,
                       {25, "1000"},
                       {59, active_load(i)},
                       {64, reactive_load(i)},
                       region});
            continue;
        }
        const bool slack = i == generator_bus(1);
        const bool elsewhere = !slack && remote < REMOTE_GENERATORS && i % 10 == 4 && beside(i);
        if (elsewhere) ++remote;
        deck.card({number,
                   {7, "L"},
                   {8, slack ? "2" : "1"},
                   {9, "34"},
                   name,
                   {25, "1000"},
                   {33, generation(i)},
                   {43, "-80.0"},
                   {48, " 80.0"},
                   to(58, elsewhere ? i + 1 : i),
                   region});
    }
    deck.end();
}

void branches(Deck& deck) {
    deck.line("DLIN");
    const auto line = [&](int from, int to_bus, const char* x) {
        deck.card({to(5, from), to(15, to_bus), to(17, 1), {21, "   .10"}, {27, x}, {33, "  .050"}, {65, " 100"}});
    };
    for (int i = 1; i <= MESH; ++i) {
        if (beside(i)) line(i, i + 1, "  1.00");
        if (i + WIDTH <= MESH) line(i, i + WIDTH, "  1.00");
    }
    for (int t = 1; t <= TAPS; ++t)
        deck.card({to(5, feeder_of(t)),
                   to(15, load_behind(t)),
                   to(17, 1),
                   {27, " 10.00"},
                   {39, "1.000"},
                   {44, " .850"},
                   {49, "1.150"},
                   to(64, load_behind(t)),
                   {65, " 100"},
                   {73, "33"}});
    for (int c = 1; c <= COMPENSATORS; ++c) line(start_of(c), middle_of(c), "  4.00");
    deck.end();
}

void compensators(Deck& deck) {
    deck.line("DCSC");
    for (int c = 1; c <= COMPENSATORS; ++c)
        deck.card({to(5, middle_of(c)),
                   {7, "A"},
                   to(14, start_of(c) + WIDTH),
                   to(16, 1),
                   {17, "L"},
                   {26, "-2.000"},
                   {32, " -.300"},
                   {38, "-1.000"},
                   {44, "X"},
                   {46, "-1.000"}});
    deck.end();
    deck.line("DCER");
    for (int c = 1, i = 2; c <= COMPENSATORS; ++c, i += 30)
        deck.card({to(5, i), {7, "A"}, {9, "10"}, {12, " 1"}, {21, "  2.00"}, {34, " -150"}, {40, "  150"}, {46, "P"}});
    deck.end();
    deck.line("DSCA");
    for (int s = 1, i = 1; s <= AUTOMATIC_SHUNTS; ++i) {
        if (i % 10 != 8 && i % 10 != 9) continue;
        deck.card({to(5, i),
                   {7, "A"},
                   {9, "D"},
                   {11, " 900"},
                   {15, "1100"},
                   {31, "5"},
                   {33, "   5."},
                   {39, "5"},
                   {41, "  -5."},
                   {79, "C"}});
        ++s;
    }
    deck.end();
}

}  // namespace

std::string control_network() {
    static_assert(AUTOMATIC_SHUNTS <= MESH / 5 && COMPENSATORS * 30 <= MESH);
    Deck deck;
    deck.line("TITU");
    deck.line("MADE NETWORK OF CONTROLS");
    buses(deck);
    branches(deck);
    compensators(deck);
    return deck.take();
}

void set_targets(Run& run) {
    Store& s = run.store;
    const auto voltage = [&](int k) { return s.bus.VOLT(k); };
    const auto side = [](int i) { return i % 2 ? 1 : -1; };
    for (int t : rows(s.tap.NTAP)) s.tap.VBUS(t) = voltage(std::abs(s.tap.KBUS(t))) + 0.01 * side(t);
    for (int r : rows(s.rcb.NRCB)) s.rcb.VRCB(r) = voltage(s.rcb.IRCB(r)) + 0.001 * side(r);
    for (int c : rows(s.cer.NCER)) s.cer.VCER(c) = voltage(s.cer.NVKCER(c)) + 0.001 * side(c);
    for (int i : rows(s.sca.NSCA)) {
        const double centre = voltage(s.sca.KBUSSCA(i)) + 0.0004 * side(i);
        s.sca.VMINSCA(i) = centre - 0.0002;
        s.sca.VMAXSCA(i) = centre + 0.0002;
    }
    for (int i : rows(s.csc.NCSC)) {
        const int l = s.csc.LICSC(i);
        s.csc.KONCSC(i) = s.csc.KONCSC_ORI(i) = 1;
        s.csc.NBECSC(i) = s.branch.NFROM(l);
        s.csc.VSPCSC(i) = 1.05 * solved_flow(run, l).pf;
        s.csc.NTYCSC(i) = true;
    }
}

}  // namespace korvane::bench
