// The reference networks beside the checkout: their decks, and how far a solution is from theirs.
#pragma once
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "network/store.hpp"
#include "powerflow/powerflow.hpp"
#include "support/paths.hpp"

namespace korvane::testing {

/// A reference network, and the iterations that its reference solution took.
struct ReferenceCase {
    const char* name;
    int iterations;
};
inline constexpr ReferenceCase REFERENCE_CASES[] = {
    {"case9", 4},           {"case14", 3},           {"case30", 4},         {"case_ieee30", 3},
    {"case39", 3},          {"case57", 4},           {"case118", 3},        {"case300", 5},
    {"case1354pegase", 4},  {"case_ACTIVSg2000", 4}, {"case2869pegase", 7}, {"case9241pegase", 6},
    {"case_ACTIVSg10k", 5}, {"case13659pegase", 6},
};

inline std::string reference_folder(const std::string& name) { return std::string(DATA_DIRECTORY) + "/" + name; }
inline bool reference_present(const std::string& name) { return std::filesystem::exists(reference_folder(name)); }

/// The deck of a case up to its EXLF line, with tight tolerances, then the lines given and FIM.
inline std::string reference_deck(const std::string& name, const std::string& lines) {
    std::ifstream in(reference_folder(name) + "/" + name + ".dat");
    std::string deck, line;
    while (std::getline(in, line) && line.rfind("EXLF", 0) != 0) deck += line + "\n";
    return deck + "DCTE\nTEPA  .0001 TEPR  .0001\n99999\n" + lines + "FIM\n";
}

/// Largest differences from the reference solution: pu, degrees modulo 360, MW or Mvar.
struct Difference {
    double voltage = 0, angle = 0, generation = 0, flow = 0;
    int buses = 0, branches = 0;
};

/// f(fields) for each row of a file of numbers under a heading.
template <class F>
void each_row(const std::string& path, F f) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::istringstream row(line);
        std::vector<double> fields;
        for (std::string field; std::getline(row, field, ',');) fields.push_back(std::stod(field));
        f(fields);
    }
}

inline Difference difference(const Store& s, double base, const std::string& name) {
    Difference d;
    auto worst = [](double& at, double x, double y) {
        at = std::max(at, std::isnan(x - y) ? HUGE_VAL : std::abs(x - y));
    };
    std::vector<double> p(std::size_t(s.bus.NB + 1), 0.0), q = p;
    for (int j : rows(s.gen.NG)) {
        p[std::size_t(s.gen.NOGEN(j))] += s.gen.PGEN(j) * base;
        q[std::size_t(s.gen.NOGEN(j))] += s.gen.QGEN(j) * base;
    }
    each_row(reference_folder(name) + "/solution.csv", [&](const std::vector<double>& row) {
        const int k = bus_of(s, int(row[0]));
        if (!k) return;
        ++d.buses;
        worst(d.voltage, s.bus.VOLT(k), row[1]);
        worst(d.angle, std::remainder(s.bus.ANGLE(k) * DEGREES - row[2], 360.0), 0);
        worst(d.generation, p[std::size_t(k)], row[3]);
        worst(d.generation, q[std::size_t(k)], row[4]);
    });
    std::map<std::tuple<int, int, int>, int> branch;
    for (int l : rows(s.branch.NL)) {
        const int f = s.bus.NOINT(s.branch.NFROM(l)), t = s.bus.NOINT(s.branch.NTO(l));
        branch[{std::min(f, t), std::max(f, t), s.branch.NCIR(l)}] = l;
    }
    each_row(reference_folder(name) + "/branches.csv", [&](const std::vector<double>& row) {
        const int f = int(row[0]), t = int(row[1]);
        const auto it = branch.find({std::min(f, t), std::max(f, t), int(row[2])});
        if (it == branch.end()) return;
        ++d.branches;
        BranchFlow w = branch_flow(s, it->second);
        if (s.bus.NOINT(s.branch.NFROM(it->second)) != f) w = {w.pt, w.qt, w.pf, w.qf};
        worst(d.flow, w.pf * base, row[3]);
        worst(d.flow, w.qf * base, row[4]);
        worst(d.flow, w.pt * base, row[5]);
        worst(d.flow, w.qt * base, row[6]);
    });
    return d;
}

}  // namespace korvane::testing
