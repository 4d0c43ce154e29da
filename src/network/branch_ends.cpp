#include "network/branch_ends.hpp"

#include "network/branch_finder.hpp"

namespace korvane {

bool check_end_numbers(Run& run, int first, int second, const EndMessages& messages) {
    const bool wrong = refuse(run, first < 1, messages.first_wrong, first, element::bus_number);
    return !refuse(run, second < 1, messages.second_wrong, first, element::bus_number) && !wrong;
}

CardEnds find_ends(Run& run, int first, int second, const EndMessages& messages) {
    CardEnds e{bus_of(run.store, first), bus_of(run.store, second), false};
    refuse(run, e.first == 0, messages.first_unknown, first, element::bus_number);
    refuse(run, e.second == 0, messages.second_unknown, second, element::bus_number);
    const bool same = e.first != 0 && refuse(run, e.first == e.second, messages.same, first, element::bus_number);
    e.found = e.first != 0 && e.second != 0 && !same;
    return e;
}

int branch_of_card(const Run& run, const CardEnds& ends, int circuit, bool given, int greatest_type) {
    const int l = FNDPAR(run, ends.first, ends.second, given ? circuit : 0, 0, greatest_type);
    return given ? std::max(l, 0) : std::abs(l);
}

}  // namespace korvane
