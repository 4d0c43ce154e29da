// Files behind the units: the devices that names stand for, opening and closing. Used within frame only.
#pragma once
#include <string>
#include <string_view>

#include "frame/run.hpp"

namespace korvane {

constexpr const char* CONSOLE_NAME = "CON";
constexpr const char* NULL_NAME = "NUL";

enum class Device { file, console, null };

/// What a name stands for; letters of either case name the console and the null device.
Device device_of(std::string_view name);

/// A name without the blanks around it, and without the two quotes that keep its own blanks.
std::string_view trimmed_name(std::string_view typed);

/// When a file is assigned: a print file named in the environment keeps its bytes until the first report line, one
/// that the operator names is emptied at once.
enum class Opening { at_start, by_operator };

enum class Assigned {
    yes,
    cannot_open,    // the file is there but cannot be opened or is in use, or it is not there and must be
    cannot_create,  // there is none, and none can be made
};

/// Puts a file behind a role; name is UTF-8. Whatever stood behind the role is closed first, and stays so on failure:
/// the role is then on its fallback. Input is put on unit 1, or on unit 11 above a stream.
Assigned assign_file(Run& run, int role, const std::string& name, Opening opening);

/// Puts the console behind a role that writes lines.
void assign_console(Run& run, int role);

/// Puts the null device behind a role that writes lines.
void assign_null(Run& run, int role);

/// Closes what stands behind a role that is not input: the role goes to its fallback.
void release(Run& run, int role);

/// Whether the path leads to a file that some unit writes.
bool written_already(const Units& u, const std::string& path);

/// A line to the log.
void write_log(Run& run, std::string_view line);

}  // namespace korvane
