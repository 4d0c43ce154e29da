// Direct-current links in the flow interface file.
#pragma once
#include <vector>

#include "casestore/side_stream.hpp"
#include "network/store.hpp"

namespace korvane {

/// What the converters at an AC bus take from it together, pu.
struct TerminalPower {
    int number;  // external, of the bus
    double p, q;
};

/// The links in service: for each a block of its DC buses, lines and converters; behind the last the powers at the AC
/// buses. Converters are told by bridge, angles by their cosines and taps by their reciprocals.
void write_links(const Store& s, SideWriter& out);
/// The links in service of a store.
int links_in_service(const Store& s);

/// Reads so many links into the empty tables of a store. INTBUS holds external numbers until the caller knows the
/// buses. 0, or the message: 260 links, 270 DC buses, 280 lines, 290 converters, 295 terminals beyond the tables, 300 a
/// row that points at none.
int read_links(Store& s, SideReader& in, int links, std::vector<TerminalPower>& powers);

}  // namespace korvane
