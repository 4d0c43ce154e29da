// Numbers to columns and back, against the C library's conversions, which this program does not use itself.
#include "frame/decimal.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "support/text_table.hpp"

namespace korvane {
namespace {

using testing::table_of;

std::string fixed(int width, int decimals, double v) {
    std::string s(std::size_t(width), '?');
    put_fixed(s.data(), width, decimals, v);
    return s;
}

std::string exponent(int width, int decimals, double v) {
    std::string s(std::size_t(width), '?');
    put_exponent(s.data(), width, decimals, v);
    return s;
}

std::string short_real(double v, int n) {
    std::string s(std::size_t(n), '?');
    PUTREAL(v, n, s.data());
    return s;
}

std::string right(const std::string& s, int width) {
    if (int(s.size()) > width) return std::string(std::size_t(width), '*');
    return std::string(std::size_t(width) - s.size(), ' ') + s;
}

std::string with_format(const char* format, int precision, double v) {
    char s[2000];
    std::snprintf(s, sizeof s, format, precision, v);
    return s;
}

// The rules of Fw.d over the digits of the C library.
std::string fixed_by_library(int width, int decimals, double v) {
    std::string s = with_format("%.*f", decimals, v);
    if (decimals == 0) s += '.';
    if (s[0] == '-' && s.find_first_of("123456789") == s.npos) s.erase(0, 1);
    const std::size_t zero = s.find("0.");
    if (int(s.size()) > width && decimals > 0 && zero == std::size_t(s[0] == '-')) s.erase(zero, 1);
    return right(s, width);
}

// The rules of Ew.d over the digits of the C library: its d.ddde+x is 0.dddd times ten more.
std::string exponent_by_library(int width, int decimals, double v) {
    const std::string s = with_format("%.*e", decimals - 1, std::abs(v));
    const std::size_t letter = s.find('e');
    std::string digits = s.substr(0, letter);
    if (decimals > 1) digits.erase(1, 1);
    const int e = v == 0 ? 0 : std::atoi(s.c_str() + letter + 1) + 1;
    char tail[8];
    std::snprintf(tail, sizeof tail, std::abs(e) > 99 ? "%+04d" : "E%+03d", e);
    const std::string sign = v < 0 ? "-" : "";
    const std::string all = sign + "0." + digits + tail;
    return int(all.size()) > width ? right(sign + "." + digits + tail, width) : right(all, width);
}

/// Numbers of every sort: any bits, ordinary sizes, short decimals, exact ties and their neighbours.
double any_number(std::mt19937_64& random) {
    const auto below = [&](std::uint64_t n) { return random() % n; };
    const double sign = below(2) ? 1 : -1;
    switch (below(6)) {
        case 0: {
            double v;
            const std::uint64_t bits = random();
            std::memcpy(&v, &bits, sizeof v);
            return std::isfinite(v) ? v : 0.0;
        }
        case 1: return sign * double(below(1'000'000'000)) / 1e6 * std::pow(10.0, double(below(7)) - 3);
        case 2: return sign * double(below(100'000)) / std::pow(10.0, double(below(8)));
        case 3: return sign * (double(below(100'000)) + 0.5) / std::ldexp(1.0, int(below(12)));
        case 4: {
            const double tie = (double(below(100'000)) + 0.5) / std::pow(10.0, double(below(6)));
            return sign * std::nextafter(tie, below(2) ? 0.0 : 1e300);
        }
        default: return sign * std::ldexp(double(random() >> 11), int(below(40)) - 20);
    }
}

TEST(Decimal, FixedAgreesWithTheExactConversion) {
    std::mt19937_64 random(20240501);
    for (int i = 0; i < 300'000; ++i) {
        const double v = any_number(random);
        const int decimals = int(random() % 18);
        const int width = 1 + int(random() % (i % 10 == 0 ? 340 : 24));
        ASSERT_EQ(fixed(width, decimals, v), fixed_by_library(width, decimals, v))
            << "F" << width << '.' << decimals << ' ' << std::hexfloat << v;
    }
}

TEST(Decimal, ExponentAgreesWithTheExactConversion) {
    std::mt19937_64 random(20240502);
    for (int i = 0; i < 200'000; ++i) {
        const double v = any_number(random);
        const int decimals = 1 + int(random() % 20), width = 4 + int(random() % 30);
        ASSERT_EQ(exponent(width, decimals, v), exponent_by_library(width, decimals, v))
            << "E" << width << '.' << decimals << ' ' << std::hexfloat << v;
    }
}

TEST(Decimal, PowersOfTenAndTheirNeighbours) {  // where the first digit is guessed wrong most easily
    for (int e = -307; e <= 308; ++e) {
        const double power = std::strtod(("1e" + std::to_string(e)).c_str(), nullptr);
        for (double v : {std::nextafter(power, 0.0), power, std::nextafter(power, 1.7e308)})
            for (int decimals : {1, 7, 15, 16, 17}) {
                EXPECT_EQ(exponent(30, decimals, v), exponent_by_library(30, decimals, v)) << e;
                EXPECT_EQ(fixed(20, decimals, v), fixed_by_library(20, decimals, v)) << e;
            }
    }
}

TEST(Decimal, FixedAtTheEdgesOfItsColumns) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        int width, decimals;
        double v;
        const char* text;
    } cases[] = {
        {5, 2, 0.5, " 0.50"},      {4, 2, 0.5, "0.50"},      {3, 2, 0.5, ".50"},      {2, 2, 0.5, "**"},
        {5, 2, -0.5, "-0.50"},     {4, 2, -0.5, "-.50"},     {3, 2, -0.5, "***"},     {3, 2, 0.0, ".00"},
        {6, 2, -0.001, "  0.00"},                             // no zero with a sign
        {6, 2, -0.0, "  0.00"},    {6, 2, -0.005, " -0.01"},  // -0.005 lies a little beyond the tie
        {2, 0, 0.25, "0."},        {1, 0, 0.25, "*"},        {1, 0, 5.0, "*"},        {2, 0, 5.0, "5."},
        {4, 0, 2.5, "  2."},       {4, 0, 3.5, "  4."},      {6, 2, 0.125, "  0.12"}, {6, 2, 0.375, "  0.38"},
        {5, 1, 999.95, "*****"},  // 999.95 is above the tie and rounds to four digits
        {6, 1, 999.95, "1000.0"},  {4, 1, inf, "****"},      {4, 1, -inf, "****"},    {4, 1, nan, "****"},
        {6, 3, 12345.0, "******"}, {0, 0, 1.0, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(fixed(c.width, c.decimals, c.v), c.text) << 'F' << c.width << '.' << c.decimals << ' ' << c.v;
    }
}

TEST(Decimal, Integers) {
    const auto integer = [](int width, long long v) {
        std::string s(std::size_t(width), '?');
        put_integer(s.data(), width, v);
        return s;
    };
    constexpr long long least = std::numeric_limits<long long>::min();
    for (long long v : {0LL, 7LL, 10LL, 99LL, 100LL, 12345LL, -1LL, -10LL, -99999LL, least, ~least})
        for (int width = 0; width <= 22; ++width)
            EXPECT_EQ(integer(width, v), right(std::to_string(v), width)) << width << ' ' << v;
}

TEST(Decimal, ReadsWhatTheLibraryReads) {
    std::mt19937_64 random(20240503);
    for (int i = 0; i < 200'000; ++i) {
        // Digits, perhaps a point among them, perhaps an exponent; blanks anywhere.
        std::string digits;
        const int n = 1 + int(random() % (i % 20 == 0 ? 60 : 18));
        for (int k = 0; k < n; ++k) digits += char('0' + random() % 10);
        const bool point = random() % 2;
        if (point) digits.insert(random() % (digits.size() + 1), ".");
        const int implied = int(random() % 4);
        std::string sign = random() % 3 == 0 ? "-" : random() % 3 == 0 ? "+" : "", tail, c_tail;
        int e = 0;
        if (random() % 2) {
            e = int(random() % 60) - 30;
            if (i % 15 == 0) e *= 10;
            static const char* const letters[] = {"E", "e", "D", "d", ""};
            const char* letter = letters[random() % 5];
            tail = letter + (e < 0 ? std::to_string(e) : (*letter && random() % 2 ? "" : "+") + std::to_string(e));
        }
        std::string text = sign + digits + tail;
        for (int k = 0; k < 3; ++k)
            if (random() % 2) text.insert(random() % (text.size() + 1), " ");
        const std::string c = sign + digits + "e" + std::to_string(e - (point ? 0 : implied));
        const double want = std::strtod(c.c_str(), nullptr);
        double v = 777;
        const bool zero = digits.find_first_of("123456789") == digits.npos;
        const bool in_range = zero || (want != 0 && std::isfinite(want));
        ASSERT_EQ(get_real(text, implied, v), in_range) << '"' << text << '"';
        if (in_range) {
            ASSERT_EQ(v, want) << '"' << text << "\" implied " << implied;
            ASSERT_FALSE(v == 0 && std::signbit(v)) << '"' << text << '"';
        }
    }
}

TEST(Decimal, ReadingTakesFormsOfFormattedReads) {
    // The columns, "_" for a blank and '' for none, implied decimals, and the value.
    for (auto c : table_of(R"(
        '' 2 0; _____ 2 0; _12_ 0 12; _1_2 0 12; 1045 3 1.045; 1.045 3 1.045; 1045. 3 1045; -.5 3 -0.5; 1+5 0 1e5
        1.5-3 2 1.5e-3; 12E3 2 120; 12D+3 0 12000; +3 0 3; 0E999999999999 0 0; 1_E_2 0 100; 4.9E-324 0 4.9e-324
        1.7976931348623157E308 0 1.7976931348623157e308)")) {
        std::replace(c.at(0).begin(), c[0].end(), '_', ' ');
        double v = -1;
        EXPECT_TRUE(get_real(c[0] == "''" ? "" : c[0], std::stoi(c[1]), v)) << c[0];
        EXPECT_EQ(v, std::strtod(c[2].c_str(), nullptr)) << c[0];
    }
    for (std::string_view bad :
         {"-",     "+",    ".",    "E5",  "-.",  "1E",  "1E+",   "1+",     "1..2",   "1.2.3", "--1", "1-+2",
          "1E5.0", "abc",  "0x10", "INF", "NAN", "1,5", "1E309", "-1E309", "1E-400", "1\t",   "\t1", "1E99999999999",
          "12F",   "1e1e1"}) {
        double v = -1;
        EXPECT_FALSE(get_real(bad, 0, v)) << bad;
    }
    double v = -1;
    EXPECT_FALSE(get_real(std::string_view("1\0", 2), 0, v));
    EXPECT_FALSE(get_real(std::string_view("\0", 1), 0, v));
}

TEST(Decimal, ReadingIntegers) {
    const auto read = [](std::string_view text) {
        int v = 0;
        return get_integer(text, v) ? std::to_string(v) : "bad";
    };
    for (auto c : table_of(R"(
        ___ 0; _12 12; 1_2_ 12; -7 -7; +7 7; 0007 7; 2147483647 2147483647; 2147483648 bad; -2147483648 -2147483648
        -2147483649 bad; 99999999999999999999999 bad; 1. bad; - bad; 1- bad; A bad; 1E2 bad)")) {
        std::replace(c.at(0).begin(), c[0].end(), '_', ' ');
        EXPECT_EQ(read(c[0]), c[1]) << c[0];
    }
    EXPECT_EQ(read(""), "0");
}

// A number, the columns of its field, and the field, "_" for a blank. Seven digits count, rounded half up.
TEST(Putreal, FormsByHand) {
    for (const auto& c : table_of(R"(
        0 5 ___0.; -0.5 5 __-.5; 0.5 5 ___.5; 1 5 ___1.; -1 5 __-1.; 1.5 2 2.; 123.456 5 123.5; 123.456 8 _123.456
        -123.456 5 -123.; -123.456 4 -123; 12345 5 12345; 99999 5 99999; -9999 5 -9999; 12345.6 5 12346
        1234567 7 1234567; 1234567 8 1234567.; 123456789 12 __123456800.; 123456.789 5 123E3; -123456.789 5 -12E4
        123456.789 3 1E5; 123456.789 2 **; 1e5 5 __1E5; 1e15 5 _1E15; 1.5e10 6 __15E9; 1e100 4 ****; 99999.6 5 __1E5
        99999.6 6 100000; 0.99996 5 ___1.; 9.9996 5 __10.; 1.0005 5 1.001; 0.05 5 __.05; -0.05 5 _-.05; 0.0123 5 .0123
        0.00123 5 .0012; 0.000123 5 12E-5; 0.000123 6 123E-6; 0.000123 8 _.000123; 1e-5 5 _1E-5; 1e-6 6 __1E-6
        1.25e-12 9 __125E-14; 1.25e-12 4 __0.; 1e-5 3 _0.; -1e-5 4 __0.; -0.05 4 -.05; -0.5 2 0.; 0.5 1 0
        5e-324 8 494E-326; 1.7976931348623157e308 8 1798E305)")) {
        std::string field = c.at(2);
        std::replace(field.begin(), field.end(), '_', ' ');
        EXPECT_EQ(short_real(std::strtod(c[0].c_str(), nullptr), std::stoi(c[1])), field) << c[0] << " in " << c[1];
    }
    for (double v : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                     std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(short_real(v, 4), "****");
}

// Whatever is not stars reads back, without implied decimals, within half of the last digit that shows.
TEST(Putreal, ReadsBack) {
    std::mt19937_64 random(20240504);
    for (int i = 0; i < 200'000; ++i) {
        const double v = any_number(random);
        const int n = 2 + int(random() % 13);
        if (std::abs(v) > 1e307) continue;  // rounded up it may leave the range
        const std::string field = short_real(v, n);
        const std::string shown = with_format("%.*g", 17, v) + " in " + std::to_string(n) + ": " + field;
        if (field == std::string(std::size_t(n), '*')) {  // not even one digit, E and the exponent
            ASSERT_GE(std::abs(v), n - int(v < 0) < 3 ? std::pow(10.0, n - int(v < 0)) * 0.5 : 9.5e9) << shown;
            continue;
        }
        double back = 777, unit = 0;
        ASSERT_TRUE(get_real(field, 0, back)) << shown;
        if (back == 0) {
            ASSERT_LE(std::abs(v), 1) << shown;
            continue;
        }
        std::string last = field.substr(0, field.find('E'));  // 123.4E5 becomes 000.1E5
        for (char& c : last) c = c >= '1' && c <= '9' ? '0' : c;
        last[last.find_last_of('0')] = '1';
        ASSERT_TRUE(get_real(last + field.substr(last.size()), 0, unit)) << shown;
        ASSERT_LE(std::abs(back - v), 0.5 * std::abs(unit) * 1.000001 + 5e-7 * std::abs(v)) << shown;
    }
}

}  // namespace
}  // namespace korvane
