// The result of a run as files that other programs read: run.json and tables of comma-separated values. docs/export.md
// has their fields.
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

/// What the controls have come to, under the options in force: one row for each tap under control; for each static
/// compensator, series compensator and phase shifter; for each automatic shunt; for each generator that holds the voltage
/// of another bus.
std::string transformers_csv(Run& run);
std::string compensators_csv(Run& run);
std::string shunts_csv(Run& run);
std::string generators_remote_csv(Run& run);

/// Writes all of them into the folder, which is made when it is missing, each whole or not at all, under the options of
/// the last solution. Also after a run that stopped on errors. Gives the path that could not be written, nothing when
/// all is well.
std::optional<std::string> export_run(Run& run, const std::string& folder, int status);

}  // namespace korvane
