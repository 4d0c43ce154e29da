// Tables that a routine changes for its own time.
#pragma once
#include <memory>

#include "network/store.hpp"

namespace korvane {

/// The first n rows of a table, put back when this goes out of scope, also by a stop of the run.
template <class T, int N>
class Kept {
public:
    Kept(Table<T, N>& table, int n) : at_(table.data()), n_(std::size_t(n)), copy_(std::make_unique<T[]>(n_)) {
        std::copy_n(at_, n_, copy_.get());
    }
    ~Kept() { std::copy_n(copy_.get(), n_, at_); }
    Kept(const Kept&) = delete;

private:
    T* at_;
    std::size_t n_;
    std::unique_ptr<T[]> copy_;
};

/// What is selected for reports.
struct KeptSelection {
    explicit KeptSelection(Store& s)
        : bus(s.bus.BUSSEL, s.bus.NB), lin(s.branch.LINSEL, s.branch.NL), are(s.area.ARESEL, s.area.NAREA) {}
    Kept<bool, MXBUS> bus;
    Kept<bool, MXLIN> lin;
    Kept<bool, MXARE> are;
};

}  // namespace korvane
