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
inline void PrintTo(const ReferenceCase& c, std::ostream* out) { *out << c.name; }
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

/// The deck with the reactive limits of its slack opened, as the references with limits have it.
inline std::string with_open_slack(const std::string& deck) {
    std::istringstream in(deck);
    std::string out, line;
    bool buses = false;
    while (std::getline(in, line)) {
        if (line.rfind("DBAR", 0) == 0) buses = true;
        if (line.rfind("99999", 0) == 0) buses = false;
        if (buses && line.size() > 7 && line[0] != '(' && line[7] == '2') {
            line.resize(std::max<std::size_t>(line.size(), 52), ' ');
            line.replace(42, 10, "-999999999");
        }
        out += line + "\n";
    }
    return out;
}

/// Largest differences from the reference with reactive limits, and buses that are limited on the wrong side or in one
/// of the two alone. Nothing to compare when the case has no such reference.
struct LimitedDifference {
    double voltage = 0, angle = 0, generation = 0;
    int buses = 0, limited = 0;
    std::vector<int> wrong;
};
inline LimitedDifference limited_difference(Store& s, double base, const std::string& name) {
    LimitedDifference d;
    std::string path = reference_folder(name) + "/solution_qlim_comp.csv";
    if (!std::filesystem::exists(path)) path = reference_folder(name) + "/solution_qlim.csv";
    if (!std::filesystem::exists(path)) return d;
    map_bus_rows(s);
    each_row(path, [&](const std::vector<double>& row) {
        const int k = bus_of(s, int(row[0]));
        if (!k) return;
        ++d.buses;
        d.voltage = std::max(d.voltage, std::abs(s.bus.VOLT(k) - row[1]));
        d.angle = std::max(d.angle, std::abs(std::remainder(s.bus.ANGLE(k) * DEGREES - row[2], 360.0)));
        const int j = s.map.NGADR(k);
        if (!j) return;
        d.generation = std::max(d.generation, std::abs(s.gen.QGEN(j) * base - row[4]));
        const bool low = std::abs(s.gen.QGEN(j) - s.gen.QMIN(j)) < std::abs(s.gen.QGEN(j) - s.gen.QMAX(j));
        const int side = s.bus.NTYPE(k) != -2 ? 0 : low ? -1 : 1;
        d.limited += side != 0;
        if (side != int(row[5])) d.wrong.push_back(int(row[0]));
    });
    return d;
}

/// Branches by their numbers, the lower bus first.
using BranchNumber = std::tuple<int, int, int>;
inline BranchNumber branch_number(int from, int to, int circuit) {
    return {std::min(from, to), std::max(from, to), circuit};
}
inline std::map<BranchNumber, int> branches_by_number(const Store& s) {
    std::map<BranchNumber, int> branch;
    for (int l : rows(s.branch.NL))
        branch[branch_number(s.bus.NOINT(s.branch.NFROM(l)), s.bus.NOINT(s.branch.NTO(l)), s.branch.NCIR(l))] = l;
    return branch;
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
    const auto branch = branches_by_number(s);
    each_row(reference_folder(name) + "/branches.csv", [&](const std::vector<double>& row) {
        const int f = int(row[0]), t = int(row[1]);
        const auto it = branch.find(branch_number(f, t, int(row[2])));
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
