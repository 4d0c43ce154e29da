// Loads and shunts of cards of buses and lines as individual records (INDV): what stays where it is all the same.
#pragma once
#include <map>
#include <vector>

#include "network/store.hpp"

namespace korvane {

/// A typed motor takes its power from the load of its bus, so that load stays there. A shunt stays beside a group of
/// banks under control, which would switch it, and beside one that has no number free for another row.
class IndividualRecords {
public:
    explicit IndividualRecords(const Store& of);

    bool load_stays(int k) const { return load_stays_[std::size_t(k)] != 0; }
    bool shunt_stays(int k) const { return blocks_[std::size_t(bank(k, 0))] != 0; }
    /// The shunts of line shunt n: both, as one card has them.
    bool line_shunts_stay(int n) const {
        const int l = s.shl.LISHL(n);
        return blocks_[std::size_t(bank(s.branch.NFROM(l), l))] || blocks_[std::size_t(bank(s.branch.NTO(l), l))];
    }

    /// The group of banks at a bus (l 0), or at that end of branch l: 0 for none.
    int bank(int k, int l) const {
        const auto at = bank_.find({k, l});
        return at == bank_.end() ? 0 : at->second;
    }
    /// The number for another row of a group.
    int free_number(int group) const { return number_[std::size_t(group)]; }

private:
    static constexpr int MXNUMBER = 99;  // two columns

    const Store& s;
    std::vector<char> load_stays_;             // by bus
    std::map<std::pair<int, int>, int> bank_;  // by bus and branch
    std::vector<char> blocks_;                 // by group: takes no other row. Entry 0, no group: does not block
    std::vector<int> number_;                  // by group
};

}  // namespace korvane
