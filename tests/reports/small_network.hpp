// A network of six buses in three areas and two islands, as a deck: what the tests of the reports look at.
//
//     area 1: 1 NORTE 1 (slack), 2 NORTE 77, 6 MORTA (out of service)   1 - 2 - 3   one island
//     area 2: 3 SUL 1, 5 SUL 2
//     area 3: 4 LESTE (slack)                                           4 - 5       the other
#pragma once
#include <cstdio>
#include <string>

namespace korvane::testing {

struct BusCard {
    int number, type, area;
    const char* name;
    double load_mw = 0;
    char state = 'L';
};

inline std::string bus_card(const BusCard& b) {
    char card[160];
    std::snprintf(card, sizeof card, "%5d %c%1d  %-12s  1000   0                          %5g          %3d\n",
                  b.number, b.state, b.type, b.name, b.load_mw, b.area);
    return card;
}

inline std::string branch_card(int from, int to, double x_percent) {
    char card[160];
    std::snprintf(card, sizeof card, "%5d     %5d 1         %6g\n", from, to, x_percent);
    return card;
}

inline std::string small_network() {
    std::string deck = "TITU\nRede de ensaio: ação e reação\nDBAR\n";
    const BusCard buses[] = {{1, 2, 1, "NORTE 1"}, {2, 0, 1, "NORTE 77", 50}, {3, 0, 2, "SUL 1", 20},
                             {4, 2, 3, "LESTE"},   {5, 0, 2, "SUL 2", 10},    {6, 0, 1, "MORTA", 5, 'D'}};
    for (const BusCard& b : buses) deck += bus_card(b);
    deck += "99999\nDLIN\n" + branch_card(1, 2, 10) + branch_card(2, 3, 10) + branch_card(4, 5, 10) + "99999\n";
    return deck;
}

}  // namespace korvane::testing
