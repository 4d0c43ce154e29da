// The comment of the case.
#pragma once
#include <string>
#include <vector>

#include "network/store.hpp"

namespace korvane {

constexpr int COMMENT_WIDTH = 80;  // columns of a row

/// The comment as lines from which DCMT reads the same rows. A row that looks like a comment of the deck or the end of
/// the block stands behind the row before it, and a blank one before the row behind it: so they came in.
std::vector<std::string> comment_lines(const Store& s);

}  // namespace korvane
