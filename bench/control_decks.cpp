#include "control_decks.hpp"

#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <string_view>
#include <vector>

#include "support/reference.hpp"

namespace korvane::bench {

namespace {

/// Columns of a card, from 1.
struct Columns {
    int first, last;
};
constexpr Columns BUS = {1, 5}, TYPE = {8, 8}, VOLTAGE = {25, 28}, CONTROLLED_BY_GENERATOR = {53, 58};
constexpr Columns FROM = {1, 5}, TO = {11, 15}, REACTANCE = {27, 32}, TAP = {39, 43}, TAP_MIN = {44, 48},
                  TAP_MAX = {49, 53};
constexpr Columns CONTROLLED_BY_TAP = {59, 64};

std::string get(const std::string& card, Columns c) {
    const auto first = std::size_t(c.first - 1), width = std::size_t(c.last - c.first + 1);
    return card.size() <= first ? "" : card.substr(first, width);
}
int number(const std::string& card, Columns c) { return std::atoi(get(card, c).c_str()); }

void put(std::string& card, Columns c, const std::string& text) {
    const auto first = std::size_t(c.first - 1), width = std::size_t(c.last - c.first + 1);
    if (card.size() < first + width) card.resize(first + width, ' ');
    card.replace(first, width, std::string(width - text.size(), ' ') + text);
}

std::string decimals(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", v);
    return text;
}

/// The cards of a deck, and where those of its buses and branches are.
struct Cards {
    std::vector<std::string> lines;
    std::vector<std::size_t> buses, branches;
    std::map<int, std::size_t> bus_line;

    explicit Cards(const std::string& deck) {
        std::istringstream in(deck);
        std::vector<std::size_t>* block = nullptr;
        for (std::string line; std::getline(in, line); lines.push_back(line)) {
            if (line.starts_with("DBAR"))
                block = &buses;
            else if (line.starts_with("DLIN"))
                block = &branches;
            else if (line.starts_with("99999"))
                block = nullptr;
            else if (block && !line.starts_with("("))
                block->push_back(lines.size());
        }
        for (const std::size_t i : buses) bus_line[number(lines[i], BUS)] = i;
    }
    bool load_bus(int k) { return get(lines[bus_line.at(k)], TYPE) == "0"; }
    std::string text() const {
        std::string all;
        for (const std::string& line : lines) all += line + "\n";
        return all;
    }
};

}  // namespace

ControlledDeck with_controls(const std::string& name, const std::string& lines) {
    Cards cards(testing::with_open_slack(testing::reference_deck(name, lines)));
    std::map<int, double> solved;
    testing::each_row(testing::reference_folder(name) + "/solution.csv",
                      [&](const std::vector<double>& row) { solved[int(row[0])] = row[1]; });
    ControlledDeck made{"", 0, 0};
    std::set<int> by_generator;  // buses held by a generator elsewhere
    const auto hold = [&](int k) {
        if (cards.load_bus(k))
            put(cards.lines[cards.bus_line[k]], VOLTAGE, std::to_string(int(std::lround(1000 * solved[k]))));
    };

    std::map<int, std::map<int, double>> next;  // susceptance to the neighbours of a bus
    for (const std::size_t i : cards.branches) {
        const int k = number(cards.lines[i], FROM), m = number(cards.lines[i], TO);
        const double b = 1 / std::max(1e-3, std::abs(std::atof(get(cards.lines[i], REACTANCE).c_str())));
        next[k][m] += b;
        next[m][k] += b;
    }
    // What a generator does at its own bus has to show at the bus that it is to hold.
    const auto moves = [&](int g, int k) {
        double all = 0;
        for (const auto& [m, b] : next[k]) all += b;
        return next[k][g] > 0.2 * all;
    };
    int generators = 0;
    for (const std::size_t i : cards.buses) {
        if (get(cards.lines[i], TYPE) != "1") continue;
        if (10 * made.remotes > generators++) continue;
        const int g = number(cards.lines[i], BUS);
        for (const auto& [k, b] : next[g]) {
            if (!cards.load_bus(k) || by_generator.contains(k) || !moves(g, k)) continue;
            put(cards.lines[i], CONTROLLED_BY_GENERATOR, std::to_string(k));
            hold(k);
            by_generator.insert(k);
            ++made.remotes;
            break;
        }
    }
    for (const std::size_t i : cards.branches) {
        std::string& card = cards.lines[i];
        if (get(card, TAP).find_first_not_of(' ') == std::string::npos) continue;
        const double tap = std::atof(get(card, TAP).c_str());
        const int from = number(card, FROM), to = number(card, TO);
        const auto free = [&](int k) { return cards.load_bus(k) && !by_generator.contains(k); };
        // An end, else a bus next to one: where the tap moves something whatever the generators do.
        int k = free(to) ? to : free(from) ? from : 0;
        for (const int end : {to, from})
            for (const auto& [m, b] : next[end])
                if (k == 0 && free(m)) k = m;
        if (k == 0) continue;
        put(card, TAP_MIN, decimals(tap - 0.1));
        put(card, TAP_MAX, decimals(tap + 0.1));
        put(card, CONTROLLED_BY_TAP, std::to_string(k));
        hold(k);
        ++made.taps;
    }
    made.text = cards.text();
    return made;
}

}  // namespace korvane::bench
