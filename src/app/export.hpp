// The result of a run as files that other programs read: run.json, buses.csv, branches.csv. docs/export.md has their
// fields.
#pragma once
#include <optional>
#include <string>

#include "frame/run.hpp"

namespace korvane {

/// How the run ended: status, solution, counts, codes and messages.
std::string run_json(const Run& run, int status);

/// One row a bus and one a branch, in the order of the store.
std::string buses_csv(Run& run);
std::string branches_csv(Run& run);
std::string transformers_csv(Run& run);

/// Writes the three files into the folder, which is made when it is missing, each whole or not at all. Also after a
/// run that stopped on errors. Gives the path that could not be written, nothing when all is well.
std::optional<std::string> export_run(Run& run, const std::string& folder, int status);

}  // namespace korvane
