// What the program adds to the frame: the table of codes, and what messages may ask of the network.
#pragma once
#include <span>

#include "frame/control.hpp"

namespace korvane {

/// All rows of the table, in the order of their indexes. The program hands it to the interpreter.
std::span<const CodeRow> code_table();

/// Hands a new run what the frame does not know by itself: the table of codes, and the names of elements for messages.
void equip(Run& run);

}  // namespace korvane
