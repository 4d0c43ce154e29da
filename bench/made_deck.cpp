#include "made_deck.hpp"

#include <cmath>

#include "deck_text.hpp"

namespace korvane::bench {

namespace {

constexpr int BUSES = 20000, BRANCHES = 40000, GENERATORS = 6000, BANKS = 5000, AUTOMATIC = 8000;
constexpr int LOADS_AT_BUS = 2, UNITS_OF_GENERATOR = 4, ROWS_OF_BANK = 6, AREAS = 50;

int part(int n, double scale) { return int(std::lround(n * scale)); }

/// A long mesh: i has its neighbours i + 1 and i + WIDTH. Real networks have about as few factor entries a bus.
constexpr int WIDTH = 8;

/// Bus of generator g, from 1: three in ten buses have one, evenly, so that power need not travel far.
int generator_bus(int g) { return (10 * g + 2) / 3; }

void buses(Deck& deck, int count, int generators) {
    deck.line("DBAR");
    for (int i = 1, g = 1; i <= count; ++i) {
        const bool generates = g <= generators && i == generator_bus(g);
        if (generates) ++g;
        const int area = (i - 1) * AREAS / count + 1;
        const At number = to(5, i), name{11, "BARRA " + std::to_string(i)}, region = to(76, area);
        if (generates)
            deck.card({number,
                       {7, "L"},
                       {8, i == generator_bus(1) ? "2" : "1"},
                       {9, "34"},
                       name,
                       {25, "1000"},
                       {33, " 4.67"},
                       {43, "-5.00"},
                       {48, " 5.00"},
                       {59, " 1.00"},
                       {64, " 0.30"},
                       region});
        else
            deck.card(
                {number, {7, "L"}, {8, "0"}, {9, "34"}, name, {25, "1000"}, {59, " 1.00"}, {64, " 0.30"}, region});
    }
    deck.end();
}

void branches(Deck& deck, int count, int wanted) {
    deck.line("DLIN");
    int made = 0;
    auto branch = [&](int from, int to_bus, int circuit) {
        if (made == wanted) return;
        ++made;
        if (made % 10 == 0)  // a transformer under control
            deck.card({to(5, from),
                       to(15, to_bus),
                       to(17, circuit),
                       {27, "  1.00"},
                       {39, "1.000"},
                       {44, " .900"},
                       {49, "1.100"},
                       to(64, to_bus),
                       {65, " 100"},
                       {73, "17"}});
        else
            deck.card({to(5, from),
                       to(15, to_bus),
                       to(17, circuit),
                       {21, "   .10"},
                       {27, "  1.00"},
                       {33, "  .050"},
                       {65, " 100"}});
    };
    for (int circuit = 1; made < wanted; ++circuit)
        for (int i = 1; i <= count && made < wanted; ++i) {
            if (i % WIDTH != 0 && i < count) branch(i, i + 1, circuit);
            if (i + WIDTH <= count) branch(i, i + WIDTH, circuit);
        }
    deck.end();
}

void individual_loads(Deck& deck, int count) {
    deck.line("DCAI");
    for (int i = 1; i <= count; ++i)
        for (int n = 1; n <= LOADS_AT_BUS; ++n)
            deck.card({to(5, i),
                       {7, "A"},
                       to(11, n),
                       {13, "L"},
                       {15, "  2"},
                       {23, "  .10"},
                       {29, "  .03"},
                       {35, " 20"},
                       {39, " 30"},
                       {43, " 10"},
                       {47, " 40"}});
    deck.end();
}

void individual_generators(Deck& deck, int generators) {
    deck.line("DGEI");
    for (int g = 1; g <= generators; ++g)
        for (int n = 1; n <= UNITS_OF_GENERATOR; ++n)
            deck.card({to(5, generator_bus(g)),
                       {7, "A"},
                       {8, "S"},
                       to(11, n),
                       {13, "L"},
                       {14, "  2"},
                       {33, "-0.60"},
                       {38, " 0.60"},
                       {43, " 10.00"},
                       {66, ".950"},
                       {70, " 1.00"}});
    deck.end();
}

void banks(Deck& deck, int wanted) {
    deck.line("DBSH");
    for (int b = 1; b <= wanted; ++b) {
        deck.card({to(5, b), {7, "A"}, {18, "F"}, {20, " 950"}, {25, "1050"}, {43, "C"}});
        for (int row = 1; row <= ROWS_OF_BANK; ++row)
            deck.card({to(2, row), {5, "A"}, {7, "L"}, {9, "  3"}, {13, "  1"}, {17, row % 2 ? "  .020" : " -.020"}});
        deck.line("FBAN");
    }
    deck.end();
}

void automatic_shunts(Deck& deck, int first, int wanted) {
    deck.line("DSCA");
    for (int i = first; i < first + wanted; ++i)
        deck.card({to(5, i),
                   {7, "A"},
                   {9, "F"},
                   {11, " 950"},
                   {15, "1050"},
                   {25, "   .1"},
                   {31, "4"},
                   {33, "  .05"},
                   {39, "2"},
                   {41, " -.10"},
                   {79, "C"}});
    deck.end();
}

}  // namespace

std::string made_deck(double scale) {
    const int count = part(BUSES, scale), generators = part(GENERATORS, scale), groups = part(BANKS, scale);
    Deck deck;
    deck.line("TITU");
    deck.line("MADE NETWORK OF " + std::to_string(count) + " BUSES");
    buses(deck, count, generators);
    branches(deck, count, part(BRANCHES, scale));
    individual_loads(deck, count);
    individual_generators(deck, generators);
    banks(deck, groups);
    automatic_shunts(deck, groups + 1, part(AUTOMATIC, scale));
    return deck.take();
}

std::string every_second_bus_removed(double scale) {
    Deck deck;
    deck.line("DBAR");
    for (int i = 2; i <= part(BUSES, scale); i += 2) deck.card({to(5, i), {6, "E"}});
    deck.end();
    return deck.take();
}

}  // namespace korvane::bench
