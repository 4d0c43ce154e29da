// Values that a blank field takes from elsewhere than a card.
#pragma once
#include "frame/decimal.hpp"

namespace korvane {

/// The number as its columns show it. A default that the program works out takes this value, so that a deck written
/// from the store reads back to the same.
inline double shown_value(double number, int columns) {
    char text[32];
    PUTREAL(number, columns, text);
    double v;
    return get_real({text, std::size_t(columns)}, 0, v) ? v : number;
}

}  // namespace korvane
