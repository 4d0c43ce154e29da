// Branches by their pair of buses: while a block adds and removes them, and by circuit and type.
#pragma once
#include <vector>

#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

/// FNDPAR: the branch between two buses with this circuit and LTYPE from least to greatest. Without it, minus the one
/// of lowest circuit number with these ends and such a type, or 0. Reads LINPTR, LINADR.
int FNDPAR(const Run& run, int from, int to, int circuit, int least, int greatest);

/// What FNDLIN answers, from a table of its own that follows every change of the block: an open hash of pairs of bus
/// positions, each with the chain of its parallels in ascending branch order. A pair has at most 99 circuits, so every
/// call takes constant time, also on a bus with thousands of branches.
class BranchFinder {
public:
    explicit BranchFinder(const Store& s);

    FoundBranch find(int from, int to, int circuit) const;
    /// Branch row l, with its ends in the tables, can be found from now on. It lies behind all rows found so far.
    void insert(int l);
    /// Branch row l, its ends still in the tables, is found no more.
    void remove(int l);

private:
    struct Pair {
        int low, high;    // bus positions; 0: a free place
        int first, last;  // its branches; 0: all of them were removed
    };
    std::size_t place_of(int low, int high) const;
    void grow();

    const BranchTables& branch_;
    std::vector<Pair> pairs_;
    std::vector<int> next_;  // by branch row: the next one of its pair
    std::size_t used_ = 0;
};

}  // namespace korvane
