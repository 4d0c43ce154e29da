// What a case must obey before the network may stand on it: a damaged file must not lead any routine out of a table.
#pragma once
#include "casestore/case_fields.hpp"

namespace korvane {

/// The number of RETCAS for the first count of LINE that does not fit the store, 0 for none; `cell` tells which.
int wrong_count(CaseContext& c, int& cell);

/// Whether every field holds what it may: rows of other tables that are there, numbers within their range, reals that
/// are numbers. `field` is the name of the first that does not.
bool sound_fields(CaseContext& c, const char*& field);

/// Whether the tables agree with each other: numbers of buses and areas are unique, an element stands on one of its
/// kind, lists of parts stay within their parts.
bool sound_tables(CaseContext& c, const char*& field);

/// Rows of shunt banks that stand on no bank are dropped, and the chains of the others made. Returns how many went.
int drop_stray_bank_rows(Run& run);

}  // namespace korvane
