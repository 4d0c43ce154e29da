// Text of a fixed number of columns, blank-padded: what names and groups are in the store and on cards.
#pragma once
#include <algorithm>
#include <cstring>
#include <string_view>

namespace korvane {

/// N columns of Latin-1 text, padded with blanks. Plain bytes: it may live in zeroed storage, moves and compares
/// like a number. Assigning a longer text keeps its first N columns.
template <int N>
struct Text {
    char at[N];

    static Text of(std::string_view s) {
        Text t;
        t = s;
        return t;
    }
    Text& operator=(std::string_view s) {
        const auto n = std::min<std::size_t>(s.size(), N);
        std::memcpy(at, s.data(), n);
        std::memset(at + n, ' ', N - n);
        return *this;
    }
    std::string_view view() const { return {at, std::size_t(N)}; }
    operator std::string_view() const { return view(); }
    /// The text without its trailing blanks.
    std::string_view trimmed() const {
        int n = N;
        while (n > 0 && (at[n - 1] == ' ' || at[n - 1] == '\0')) --n;
        return {at, std::size_t(n)};
    }
    bool blank() const { return trimmed().empty(); }
    friend bool operator==(const Text& a, const Text& b) { return std::memcmp(a.at, b.at, N) == 0; }
    friend bool operator==(const Text& a, std::string_view b) { return a == of(b); }
};

/// N blank columns.
template <int N>
constexpr Text<N> BLANK = [] {
    Text<N> t{};
    for (char& c : t.at) c = ' ';
    return t;
}();

}  // namespace korvane
