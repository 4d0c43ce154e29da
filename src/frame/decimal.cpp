#include "frame/decimal.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace korvane {

// Powers of ten that a double holds exactly.
constexpr int EXACT10 = 22;
constexpr std::array<double, EXACT10 + 1> TEN = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::array<std::uint64_t, 16> TEN_INTEGER = [] {
    std::array<std::uint64_t, 16> t{};
    t[0] = 1;
    for (std::size_t i = 1; i < t.size(); ++i) t[i] = t[i - 1] * 10;
    return t;
}();
// "00" to "99" one after the other: digits leave in pairs.
constexpr std::array<char, 200> PAIRS = [] {
    std::array<char, 200> t{};
    for (std::size_t i = 0; i < 100; ++i) {
        t[2 * i] = char('0' + i / 10);
        t[2 * i + 1] = char('0' + i % 10);
    }
    return t;
}();
// Room for the longest double in fixed notation: 309 digits, a point, and decimals up to MOST_DECIMALS.
constexpr int MOST_DECIMALS = 1000;
constexpr std::size_t LONGEST = 309 + 1 + MOST_DECIMALS + 8;

static void stars(char* out, int width) { std::memset(out, '*', std::size_t(std::max(width, 0))); }

/// a * 10^k rounded to an integer, half to even, judged on the exact product; a >= 0. False when a or k is too large
/// for this way; then the caller goes the long one.
///
/// Below 2^52 the spacing u of doubles at p divides 1/2, so p - n - 1/2 is exact and 0 or at least u away from it,
/// while p is within u/2 of the true product. The sign of that difference therefore decides, and only where it is 0
/// the error of the product, which a fused multiply-add gives exactly, has to be looked at.
static bool scaled(double a, int k, std::uint64_t& n) {
    if (k > EXACT10 || k < -EXACT10) return false;
    const double power = TEN[std::size_t(k < 0 ? -k : k)];
    const double p = k < 0 ? a / power : a * power;
    if (!(p < 0x1p52)) return false;
    n = std::uint64_t(p);
    const double beyond_half = (p - double(n)) - 0.5;
    if (beyond_half > 0) {
        ++n;
    } else if (beyond_half == 0) {
        const double error = k < 0 ? std::fma(-p, power, a) : std::fma(a, power, -p);
        if (error > 0 || (error == 0 && n % 2 == 1)) ++n;
    }
    return true;
}

/// The digits of n to the left of end, at least `least` of them; the first of them is returned. Nothing is written
/// before begin: nullptr when they need more room.
static char* put_digits(char* begin, char* end, std::uint64_t n, int least) {
    char* p = end;
    while (n >= 100 || least >= 2) {
        if (p - begin < 2) return nullptr;
        p -= 2;
        std::memcpy(p, &PAIRS[2 * (n % 100)], 2);
        n /= 100;
        least -= 2;
    }
    while (n > 0 || least > 0) {
        if (p == begin) return nullptr;
        *--p = char('0' + n % 10);
        n /= 10;
        --least;
    }
    return p;
}

void put_integer(char* out, int width, long long v) {
    const std::uint64_t n = v < 0 ? 0 - std::uint64_t(v) : std::uint64_t(v);
    char* p = put_digits(out, out + width, n, 1);
    if (p == nullptr || (v < 0 && p == out)) return stars(out, width);
    if (v < 0) *--p = '-';
    std::memset(out, ' ', std::size_t(p - out));
}

/// Lays digits (integer part, decimals) into the columns; the zero before the point only where it has a column.
static void place_fixed(char* out, int width, int decimals, bool minus, std::string_view whole,
                        std::string_view behind) {
    if (whole == "0") whole = "";
    const int need = int(minus) + int(whole.size()) + 1 + decimals;
    if (need > width || (whole.empty() && decimals == 0 && need + 1 > width)) return stars(out, width);
    const bool zero = whole.empty() && need < width;
    char* p = out + (width - need - int(zero));
    std::memset(out, ' ', std::size_t(p - out));
    if (minus) *p++ = '-';
    if (zero) *p++ = '0';
    p = std::copy(whole.begin(), whole.end(), p);
    *p++ = '.';
    std::copy(behind.begin(), behind.end(), p);
}

/// The long way: the library's exact conversion, for what scaled() leaves.
static void put_fixed_exactly(char* out, int width, int decimals, double v) {
    char digits[LONGEST];
    if (width > MOST_DECIMALS) {  // no row has such a field: print in its last columns
        std::memset(out, ' ', std::size_t(width - MOST_DECIMALS));
        out += width - MOST_DECIMALS;
        width = MOST_DECIMALS;
    }
    if (decimals >= width) return stars(out, width);
    const auto end = std::to_chars(digits, digits + sizeof digits, std::abs(v), std::chars_format::fixed, decimals);
    if (end.ec != std::errc()) return stars(out, width);
    const std::string_view all(digits, std::size_t(end.ptr - digits));
    const std::size_t point = std::min(all.find('.'), all.size());
    const bool minus = std::signbit(v) && all.find_first_not_of("0.") != all.npos;
    place_fixed(out, width, decimals, minus, all.substr(0, point), all.substr(std::min(point + 1, all.size())));
}

void put_fixed(char* out, int width, int decimals, double v) {
    const double a = std::abs(v);
    if (!(a <= std::numeric_limits<double>::max())) return stars(out, width);
    std::uint64_t n = 0;
    if (decimals >= int(TEN_INTEGER.size()) || !scaled(a, decimals, n))
        return put_fixed_exactly(out, width, decimals, v);
    if (decimals >= width) return stars(out, width);

    const bool minus = std::signbit(v) && n != 0;
    const std::uint64_t power = TEN_INTEGER[std::size_t(decimals)], whole = n / power;
    char* const point = out + (width - decimals - 1);
    put_digits(point + 1, point + 1 + decimals, n - whole * power, decimals);
    *point = '.';
    char* p = put_digits(out, point, whole, 0);
    if (p == nullptr || (minus && p == out)) return stars(out, width);
    if (whole == 0) {
        if (p - out > int(minus)) {
            *--p = '0';
        } else if (decimals == 0) {
            return stars(out, width);  // a point alone is no number
        }
    }
    if (minus) *--p = '-';
    std::memset(out, ' ', std::size_t(p - out));
}

/// The first d significant digits of a > 0, correctly rounded: a = 0.n * 10^e, n having d digits. d from 1 to 15.
static void significant(double a, int d, std::uint64_t& n, int& e) {
    int guess = int(std::floor(std::ilogb(a) * 0.30102999566398120)) + 1;  // log10(2): this e or the one below it
    const std::uint64_t least = TEN_INTEGER[std::size_t(d - 1)];
    for (int turn = 0; turn < 2; ++turn, ++guess) {
        if (!scaled(a, d - guess, n)) break;
        if (least <= n && n < least * 10) {
            e = guess;
            return;
        }
    }
    char digits[40];
    const auto end = std::to_chars(digits, digits + sizeof digits, a, std::chars_format::scientific, d - 1);
    n = 0;
    const char* p = digits;
    for (; *p != 'e'; ++p)
        if (*p != '.') n = n * 10 + std::uint64_t(*p - '0');
    ++p;
    if (*p == '+') ++p;
    std::from_chars(p, end.ptr, e);
    ++e;
}

void put_exponent(char* out, int width, int decimals, double v) {
    const double a = std::abs(v);
    if (!(a <= std::numeric_limits<double>::max()) || decimals < 1 || decimals + 5 > width) return stars(out, width);
    const bool minus = v < 0;
    const int kept = std::min(decimals, int(TEN_INTEGER.size()) - 1);
    std::uint64_t n = 0;
    int e = 0;
    char* const digits = out + (width - 4 - decimals);
    if (a == 0) {
        std::memset(digits, '0', std::size_t(decimals));
    } else if (kept == decimals) {
        significant(a, decimals, n, e);
        put_digits(digits, digits + decimals, n, decimals);
    } else {  // more digits than an integer holds
        char all[MOST_DECIMALS + 16];
        if (decimals > MOST_DECIMALS) return stars(out, width);
        const auto end = std::to_chars(all, all + sizeof all, a, std::chars_format::scientific, decimals - 1);
        digits[0] = all[0];
        std::memcpy(digits + 1, all + 2, std::size_t(decimals - 1));
        const char* p = all + decimals + 2;  // behind the "e"
        if (*p == '+') ++p;
        std::from_chars(p, end.ptr, e);
        ++e;
    }
    char* const tail = digits + decimals;
    const int size = e < 0 ? -e : e;
    tail[0] = 'E';
    tail[1] = e < 0 ? '-' : '+';
    if (size > 99) tail[0] = tail[1];  // three digits take the column of the letter: 0.1+101
    put_digits(size > 99 ? tail + 1 : tail + 2, tail + 4, std::uint64_t(size), size > 99 ? 3 : 2);
    char* p = digits;
    *--p = '.';
    if (p - out < int(minus)) return stars(out, width);
    if (p - out > int(minus)) *--p = '0';
    if (minus) *--p = '-';
    std::memset(out, ' ', std::size_t(p - out));
}

/// Walks over a field as if its blanks were not there.
struct Closed {
    const char *p, *end;
    char peek() {
        while (p != end && *p == ' ') ++p;
        return p != end ? *p : '\0';
    }
    bool done() { return peek() == '\0' && p == end; }
    bool sign(bool& minus) {
        const char c = peek();
        if (c != '+' && c != '-') return false;
        minus = c == '-';
        ++p;
        return true;
    }
    bool digit(int& d) {
        const char c = peek();
        if (c < '0' || c > '9') return false;
        d = c - '0';
        ++p;
        return true;
    }
};

/// All digits of the field times 10^exponent, by the library: for mantissas beyond 2^53 and large exponents.
static bool get_exactly(std::string_view digits, int exponent, double& v) {
    std::string plain;
    for (char c : digits)
        if (c >= '0' && c <= '9') plain += c;
    plain += 'e';
    char number[16];
    plain.append(number, std::to_chars(number, number + sizeof number, exponent).ptr);
    const auto end = std::from_chars(plain.data(), plain.data() + plain.size(), v);
    return end.ec == std::errc() && end.ptr == plain.data() + plain.size();
}

bool get_real(std::string_view field, int implied, double& v) {
    constexpr int HUGE_EXPONENT = 100'000'000;  // beyond every double, and safe to add lengths of fields to
    Closed in{field.data(), field.data() + field.size()};
    if (in.done()) {
        v = 0;
        return true;
    }
    bool minus = false;
    in.sign(minus);
    const char* const first = in.p;
    std::uint64_t mantissa = 0;  // meaningful up to 19 significant digits
    int taken = 0, digits = 0, decimals = 0, d = 0;
    bool point = false;
    for (;;) {
        if (in.digit(d)) {
            ++digits;
            if (taken > 0 || d > 0) ++taken;
            if (taken <= 19) mantissa = mantissa * 10 + std::uint64_t(d);
            if (point) ++decimals;
        } else if (!point && in.peek() == '.') {
            point = true;
            ++in.p;
        } else {
            break;
        }
    }
    if (digits == 0) return false;
    const std::string_view text(first, std::size_t(in.p - first));
    int exponent = 0;
    if (!in.done()) {
        const char c = in.peek();
        const bool letter = c == 'E' || c == 'e' || c == 'D' || c == 'd';
        if (letter) ++in.p;
        bool down = false;
        if (!in.sign(down) && !letter) return false;
        if (!in.digit(d)) return false;
        do exponent = std::min(exponent * 10 + d, HUGE_EXPONENT);
        while (in.digit(d));
        if (!in.done()) return false;
        if (down) exponent = -exponent;
    }
    exponent -= point ? decimals : implied;

    double a = 0;
    if (taken > 19 || mantissa > (std::uint64_t(1) << 53) || exponent > EXACT10 || exponent < -EXACT10) {
        if (taken > 0 && !get_exactly(text, exponent, a)) return false;
    } else if (exponent >= 0) {  // both factors exact: one rounding, the right one
        a = double(mantissa) * TEN[std::size_t(exponent)];
    } else {
        a = double(mantissa) / TEN[std::size_t(-exponent)];
    }
    v = minus && a > 0 ? -a : a;
    return true;
}

bool get_integer(std::string_view field, int& v) {
    Closed in{field.data(), field.data() + field.size()};
    if (in.done()) {
        v = 0;
        return true;
    }
    bool minus = false;
    in.sign(minus);
    long long n = 0;
    int d = 0;
    if (!in.digit(d)) return false;
    do n = std::min(n * 10 + d, 1LL << 40);
    while (in.digit(d));
    if (!in.done()) return false;
    if (minus) n = -n;
    if (n < std::numeric_limits<int>::min() || n > std::numeric_limits<int>::max()) return false;
    v = int(n);
    return true;
}

// PUTREAL -------------------------------------------------------------------------------------------------------------

constexpr int SEVEN = 7;  // significant digits that PUTREAL starts from

/// A number 0.d1d2...d7 * 10^e on its way into columns.
struct Seven {
    char d[SEVEN];
    int e = 0;
    /// Digits up to the last that is not zero.
    int used() const {
        int n = SEVEN;
        while (n > 1 && d[n - 1] == '0') --n;
        return n;
    }
    char digit(int i) const { return i < SEVEN ? d[i] : '0'; }  // from 0
    /// Keeps the first n digits, rounding half up; a carry out of the first moves the point.
    void keep(int n) {
        if (n >= SEVEN) return;
        const bool up = d[n] >= '5';
        std::fill(d + n, d + SEVEN, '0');
        if (!up) return;
        for (int i = n - 1; i >= 0; --i) {
            if (d[i]++ < '9') return;
            d[i] = '0';
        }
        d[0] = '1';
        ++e;
    }
};

static int digits_of(int n) { return n < 10 ? 1 : n < 100 ? 2 : 3; }

/// How a number sits in its room.
struct RealForm {
    enum { fixed, exponent, none } kind = none;
    int kept = 0;  // significant digits that show
};

/// Digits that d.E+-x shows in so many columns; 0 when not even one.
static int exponent_digits(int e, int room) {
    for (int k = std::min(room, SEVEN); k >= 1; --k) {
        const int x = e - k;
        if (k + 1 + int(x < 0) + digits_of(std::abs(x)) <= room) return k;
    }
    return 0;
}

static RealForm choose_form(const Seven& s, int room) {
    const int by_exponent = exponent_digits(s.e, room);
    if (s.e > room) return {by_exponent > 0 ? RealForm::exponent : RealForm::none, by_exponent};
    if (s.e > 0) return {RealForm::fixed, s.e == room ? room : room - 1};
    const int behind = room - 1 + s.e;  // columns behind the point and its zeros
    if (s.e == 0) return {behind > 0 ? RealForm::fixed : RealForm::none, behind};
    // Small numbers stay fixed while enough digits do, and while an exponent would not show more of them.
    const int enough = s.e < -9 ? 5 : 4;
    if (behind >= enough || (behind > 0 && behind >= std::min(by_exponent, s.used()))) return {RealForm::fixed, behind};
    return {by_exponent > 0 ? RealForm::exponent : RealForm::none, by_exponent};
}

void PUTREAL(double value, int n, char* field) {
    const auto nothing_fits = [&] {
        std::memset(field, ' ', std::size_t(n));
        if (std::abs(value) > 1 || std::isnan(value)) return stars(field, n);
        if (n >= 2) field[n - 2] = '0';
        if (n >= 1) field[n - 1] = n >= 2 ? '.' : '0';
    };
    const double a = std::abs(value);
    if (a == 0 || !(a <= std::numeric_limits<double>::max())) return nothing_fits();

    const int room = n - int(value < 0);
    Seven s;
    std::uint64_t digits = 0;
    significant(a, SEVEN, digits, s.e);
    put_digits(s.d, s.d + SEVEN, digits, SEVEN);
    RealForm form = choose_form(s, room);
    if (form.kind != RealForm::none && form.kept < s.used()) {  // rounding may carry, so the layout is worked out again
        s.keep(form.kept);
        form = choose_form(s, room);
    }
    if (form.kind == RealForm::none) return nothing_fits();

    std::string text;  // within the small-string room
    if (value < 0) text += '-';
    if (form.kind == RealForm::exponent) {
        const int shown = std::min(form.kept, s.used());
        text.append(s.d, std::size_t(shown));
        char x[8];
        text += 'E';
        text.append(x, std::to_chars(x, x + sizeof x, s.e - shown).ptr);
    } else {
        for (int i = 0; i < s.e; ++i) text += s.digit(i);
        if (s.e < room) {
            text += '.';
            if (s.e < 0) text.append(std::size_t(-s.e), '0');
            for (int i = std::max(s.e, 0); i < std::min(form.kept, SEVEN); ++i) text += s.digit(i);
            while (text.back() == '0') text.pop_back();
        }
    }
    std::memset(field, ' ', std::size_t(n));
    std::memcpy(field + n - text.size(), text.data(), text.size());
}

}  // namespace korvane
