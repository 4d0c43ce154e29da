#include "frame/unit_files.hpp"

#include "frame/card_text.hpp"

namespace korvane {

namespace {

constexpr int CASE_RECORD = 2560, MODEL_RECORD = 3156, FLOW_RECORD = 3156;  // bytes

int fallback_of(int role) {
    switch (role) {
        case role::input:
        case role::console_in: return unit::console_in;
        case role::print:
        case role::console_out: return unit::console_out;
        default: return unit::null;
    }
}

/// The file behind a role for which the program keeps one open, if it does.
std::unique_ptr<RecordFile>& records_of(Units& u, int role) {
    return role == role::cases ? u.cases : role == role::model ? u.model : u.flow;
}
std::unique_ptr<OutputFile>& lines_of(Units& u, int role) {
    return role == role::log_copy ? u.log_copy : role == role::print ? u.print : u.cards;
}

bool holds_records(int role) { return role == role::cases || role == role::model || role == role::flow; }
bool holds_lines(int role) { return role == role::log_copy || role == role::print || role == role::cards; }

Assigned open_stream(Units& u, const std::string& path) {
    auto source = std::make_unique<TextSource>();
    if (!source->open(path)) return Assigned::cannot_open;
    (u.CONINP ? u.stream : u.nested) = std::move(source);
    u.LUN[role::input] = u.CONINP ? unit::stream : unit::nested_input;
    u.CONINP = false;
    return Assigned::yes;
}

Assigned open_records(Units& u, int role, const std::string& path, bool exists) {
    const int length = role == role::cases ? CASE_RECORD : role == role::model ? MODEL_RECORD : FLOW_RECORD;
    const auto mode = exists ? RecordFile::Mode::existing : RecordFile::Mode::create;
    auto file = std::make_unique<RecordFile>(path, length, mode);
    if (!file->good()) return exists ? Assigned::cannot_open : Assigned::cannot_create;
    records_of(u, role) = std::move(file);
    u.LUN[std::size_t(role)] = role;
    return Assigned::yes;
}

Assigned open_lines(Units& u, int role, const std::string& path, bool exists, Opening opening) {
    using Mode = OutputFile::Mode;
    const bool keeps = role == role::cards || opening == Opening::at_start;
    const Mode mode = role == role::log_copy ? Mode::append : keeps ? Mode::overwrite_from_start : Mode::create;
    auto file = std::make_unique<OutputFile>(path, mode);
    if (!file->good()) return exists ? Assigned::cannot_open : Assigned::cannot_create;
    lines_of(u, role) = std::move(file);
    u.LUN[std::size_t(role)] = role;
    return Assigned::yes;
}

}  // namespace

Device device_of(std::string_view name) {
    std::string upper(name);
    UPPER(upper.data(), int(upper.size()));
    if (upper == CONSOLE_NAME || upper == "CONIN$") return Device::console;
    return upper == NULL_NAME ? Device::null : Device::file;
}

std::string_view trimmed_name(std::string_view typed) {
    const auto first = typed.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    typed = typed.substr(first, typed.find_last_not_of(' ') - first + 1);
    if (typed.size() >= 2 && typed.front() == '"' && typed.back() == '"') typed = typed.substr(1, typed.size() - 2);
    return typed;
}

void release(Run& run, int role) {
    Units& u = run.units;
    if (holds_records(role)) {
        auto& file = records_of(u, role);
        if (file && !file->commit()) u.output_lost = true;
        file.reset();
    } else if (holds_lines(role)) {
        auto& file = lines_of(u, role);
        if (file && !file->commit()) u.output_lost = true;
        file.reset();
        if (role == role::print && u.LUREP == role::print) u.LUREP = unit::console_out;
    }
    u.LUN[std::size_t(role)] = fallback_of(role);
    u.name[std::size_t(role)] = u.LUN[std::size_t(role)] == unit::null ? NULL_NAME : CONSOLE_NAME;
}

bool written_already(const Units& u, const std::string& path) {
    const auto is = [&](const auto& file) { return file && same_file(file->path(), path); };
    return is(u.log_copy) || is(u.print) || is(u.cards) || is(u.log) || is(u.cases) || is(u.model) || is(u.flow);
}

/// Two units on one file would spoil it: what a role writes may not be open anywhere else, the running deck included.
static bool in_use(const Units& u, int role, const std::string& path) {
    const auto reads = [&](const auto& source) { return source && same_file(source->name(), path); };
    return written_already(u, path) || (role != role::input && (reads(u.stream) || reads(u.nested)));
}

void assign_null(Run& run, int role) {
    release(run, role);
    run.units.LUN[std::size_t(role)] = unit::null;
    run.units.name[std::size_t(role)] = NULL_NAME;
}

void assign_console(Run& run, int role) {
    release(run, role);
    run.units.LUN[std::size_t(role)] = unit::console_out;
    run.units.name[std::size_t(role)] = CONSOLE_NAME;
}

Assigned assign_file(Run& run, int role, const std::string& name, Opening opening) {
    Units& u = run.units;
    if (role != role::input) release(run, role);

    // A file that will be overwritten is the one that was named, never one whose name differs in case.
    const bool overwritten = role == role::print || role == role::cards;
    const std::string named = new_file(name);
    const auto existing =
        overwritten ? (file_exists(named) ? std::optional(named) : std::nullopt) : existing_file(name);
    const bool must_exist = role == role::input || (opening == Opening::at_start && holds_records(role));
    if (!existing && must_exist) return Assigned::cannot_open;
    const std::string& path = existing ? *existing : named;
    if (existing && in_use(u, role, path)) return Assigned::cannot_open;

    Assigned result;
    if (role == role::input)
        result = open_stream(u, path);
    else if (holds_records(role))
        result = open_records(u, role, path, existing.has_value());
    else
        result = open_lines(u, role, path, existing.has_value(), opening);
    if (result == Assigned::yes) u.name[std::size_t(role)] = path;
    return result;
}

}  // namespace korvane
