// Reference networks with controls put on them.
#pragma once
#include <string>

namespace korvane::bench {

/// A deck, and how many controls were put on it.
struct ControlledDeck {
    std::string text;
    int taps, remotes;
};

/// The deck of a reference network, then the lines given and FIM, in which every transformer has limits a tenth to both
/// sides of its tap and holds the voltage of a load bus, one of its ends if there is one, and a tenth of the generators
/// hold that of a load bus next to them that they can move. The set points are the voltages of the reference solution
/// to three decimals; the reactive limits of the slack are open.
ControlledDeck with_controls(const std::string& name, const std::string& lines);

}  // namespace korvane::bench
