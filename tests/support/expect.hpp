// Several values looked at together: EXPECT_EQ(these(a, b, c), these(1, 2, true)) shows all of them when one is wrong.
// And what a text must show.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::testing {

/// Numbers, flags, characters and rows of references as they are.
template <class... T>
std::vector<double> these(const T&... values) {
    return {static_cast<double>(values)...};
}

/// A number that rounding may have moved by four units in its last place.
struct Nearly {
    double value;
    bool operator==(const Nearly& o) const {
        const double size = std::max(std::abs(value), std::abs(o.value));
        return std::abs(value - o.value) <= 4 * std::numeric_limits<double>::epsilon() * size;
    }
    friend std::ostream& operator<<(std::ostream& out, const Nearly& n) { return out << n.value; }
};
template <class... T>
std::vector<Nearly> nearly(const T&... values) {
    return {Nearly{static_cast<double>(values)}...};
}

/// Whether a text has a part in it; a failed test shows the text.
inline ::testing::AssertionResult shows(std::string_view text, std::string_view part) {
    const bool found = text.find(part) != text.npos;
    return (found ? ::testing::AssertionSuccess() : ::testing::AssertionFailure()) << '"' << part << "\" in:\n" << text;
}

}  // namespace korvane::testing
