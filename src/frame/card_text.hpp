// The small text routines that every card reader rests on.
#pragma once
#include <string_view>

namespace korvane {

/// UPPER: the first n characters from "a".."z" become upper case, others stay.
void UPPER(char* text, int n);

/// RJUST: moves the non-blank characters of the first n columns to their right end, closing the blanks among them.
/// Returns the column of the first of them, from 1; n + 1 when all are blank.
int RJUST(char* text, int n);

/// LJUST: the same towards the left, up to a NUL character; columns behind the result are blank. Returns the count of
/// characters kept.
int LJUST(char* text, int n);

/// TRMLEN: column of the last non-blank among the first n, 0 if all are blank.
int TRMLEN(const char* text, int n);

/// DECPNT: every "," from column start to column n becomes ".".
void DECPNT(char* text, int n, int start);

inline bool blank(std::string_view s) { return s.find_first_not_of(' ') == std::string_view::npos; }

}  // namespace korvane
