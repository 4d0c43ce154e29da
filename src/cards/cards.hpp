// The deck writer: what other folders may call.
#pragma once
#include "frame/run.hpp"

namespace korvane {

/// CART: writes the store as a deck on the card unit, in the layouts by which the blocks read it, so that the deck
/// reads to the same store. AREA and ILHA write what is selected of it, GRAF leaves the electrical blocks out, INDV
/// writes loads, shunts and generators as individual records, FLIV buses and branches as free lists, POPE the
/// voltages of the last solution, CTGS contingencies alone; IMPR shows every line on the report. Changes scratch
/// tables only; selections are as before when it ends, also when it ends by a stop. INTERR after errors in a list of
/// areas.
void CART(Run& run);

}  // namespace korvane
