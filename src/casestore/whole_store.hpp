// What a scratch case holds beyond the format, behind its fields: all that the format leaves out of the store, and
// whether elements out of service were set aside. So an analysis gets back exactly the network that it kept.
#pragma once
#include "casestore/case_fields.hpp"

namespace korvane {

void save_rest(CaseWriter& out, CaseContext& c);
/// Called when the tables hold their rows and address lists are made: it brings back the rest.
void restore_rest(CaseReader& in, CaseContext& c);

}  // namespace korvane
