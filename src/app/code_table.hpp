// The table of codes: which handler runs for each code, and what the code needs and sets.
#pragma once
#include <span>

#include "frame/control.hpp"

namespace korvane {

/// All rows of the table, in the order of their indexes. The program hands it to the interpreter.
std::span<const CodeRow> code_table();

}  // namespace korvane
