// What the front end asks of the machine besides what a run needs.
#pragma once
#include <string>
#include <string_view>

namespace korvane {

/// Makes a folder, and those above it that are missing. True when it is there.
bool make_folder(const std::string& path);

/// Writes a whole file so that its name leads to the old bytes or to all of the new ones, never to a part. False when
/// it could not be written; the old file then stands.
bool write_whole_file(const std::string& path, std::string_view bytes);

/// Whether a person sees what goes to standard output, to standard error.
bool output_is_terminal();
bool errors_are_terminal();

}  // namespace korvane
