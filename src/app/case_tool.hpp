// What `kvn cases` tells of a file of saved cases. Texts are UTF-8.
#pragma once
#include <string>
#include <vector>

#include "casestore/records.hpp"
#include "frame/run.hpp"

namespace korvane {

/// One line a case: number, encoding and version, records, title, information; and a line on the room. Nothing when
/// the directory cannot be read.
std::vector<std::string> case_list(Records& r);

/// What is wrong with the file, a line each: chains that lead nowhere or into each other, records that no chain
/// reaches, cases that cannot be restored. Nothing is written to it. The run must have been started; its network goes.
std::vector<std::string> case_faults(Run& run, Records& r);

/// Restores case n into the run. What keeps it from being restored, empty for nothing.
std::string case_restored(Run& run, Records& r, int n);

}  // namespace korvane
