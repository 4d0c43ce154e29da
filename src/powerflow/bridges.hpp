// Branches that hold an island together by themselves. Included within the folder only.
#pragma once
#include <vector>

#include "network/store.hpp"

namespace korvane {

/// By branch, from 1: whether its outage alone would split the island that it lies in. Branches in service between
/// buses in service count; a branch with another one in parallel never splits. One search in depth, linear in the
/// network. Reads the address lists of ADRLIN, whether the store is compacted or not.
std::vector<char> find_bridges(const Store& s);

}  // namespace korvane
