// The two buses by which a card names a branch.
#pragma once
#include "frame/run.hpp"

namespace korvane {

/// Message numbers of the two buses of a card.
struct EndMessages {
    int first_wrong, second_wrong;      // the number is below 1
    int first_unknown, second_unknown;  // there is no such bus
    int same;                           // both are one bus
};

/// The ends of the branch of a card.
struct CardEnds {
    int first = 0, second = 0;  // bus positions
    bool found = false;         // both are buses, not the same one
};

/// Queues what is wrong with the numbers as they stand; true when nothing is.
bool check_end_numbers(Run& run, int first, int second, const EndMessages& messages);

/// Finds the buses of numbers that are in order, and queues what is wrong with them.
CardEnds find_ends(Run& run, int first, int second, const EndMessages& messages);

/// The branch between the ends with LTYPE up to the greatest: of the circuit when one is given, else the one of lowest
/// circuit number. 0: none.
int branch_of_card(const Run& run, const CardEnds& ends, int circuit, bool given, int greatest_type);

}  // namespace korvane
