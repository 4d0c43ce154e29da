// Numbers to columns and back, exactly rounded, without the C library's formatted input and output.
#pragma once
#include <string_view>

namespace korvane {

/// Writes v right-aligned into the width columns at out, as Fw.d does: d digits behind the point, rounded as an
/// exact decimal conversion rounds (half to even). A zero before the point is left out when there is no column for
/// it, and a negative number that rounds to zero has no sign. Stars when it does not fit, or v is not finite.
void put_fixed(char* out, int width, int decimals, double v);

/// The same as Ew.d does: 0.ddddE+ee, with d significant digits.
void put_exponent(char* out, int width, int decimals, double v);

/// The same as Iw does.
void put_integer(char* out, int width, long long v);

/// A real number in the columns of field, blanks closed up. Without a decimal point the last implied digits are
/// decimals. Blank reads as 0. False when it is no number, or beyond the range of a double.
bool get_real(std::string_view field, int implied, double& v);

/// An integer in the columns of field, blanks closed up; blank reads as 0. False when it is no integer of 32 bits.
bool get_integer(std::string_view field, int& v);

/// PUTREAL: a real in n columns with as many of seven significant digits as fit; docs/catalogue.md has the forms.
/// Stars above 1 and "0." at or below 1 when nothing fits.
void PUTREAL(double value, int n, char* field);

}  // namespace korvane
