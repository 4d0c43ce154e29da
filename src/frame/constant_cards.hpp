// Constants as their cards have them: what the report of constants and the deck writer print.
#pragma once
#include <span>

#include "frame/constants.hpp"

namespace korvane {

/// The constants that the report and the deck show, in their order.
std::span<const ConstantRow* const> constants_in_card_order();

/// The value of a constant as its card would have it: the inverse of the conversion from the card.
double card_value(const Constants& c, const ConstantRow& row);

}  // namespace korvane
