// What older versions of a case leave out, and what the values then are.
#pragma once
#include "casestore/case_fields.hpp"

namespace korvane {

/// Where the information line, of 80 characters, tells the release of the program that wrote the case.
constexpr std::size_t RELEASE_COLUMN = 59, RELEASE_COLUMNS = 8;

/// Constants that the version does not hold.
void adapt_constants(CaseContext& c, std::string_view information);
/// Tables that the version does not hold. All fields have been read.
void adapt_tables(CaseContext& c, std::string_view information);

}  // namespace korvane
