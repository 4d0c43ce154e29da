// Lines in and out of the logical units, and what start-up opens.
#include "frame/units.hpp"

#include "frame/card_text.hpp"
#include "frame/run.hpp"
#include "frame/unit_files.hpp"

namespace korvane {

namespace {

constexpr int MXENDS = 5;  // ends of input in a row after which nobody is taken to sit at the console any more
constexpr std::string_view NOBODY_THERE = "** Fim da entrada do console **";

/// Whether every character takes one column and means itself on paper and on a terminal.
bool plain(std::string_view text) {
    unsigned outside = 0;
    for (char c : text) outside |= unsigned(static_cast<unsigned char>(c - ' ') > '~' - ' ');
    return outside == 0;
}

/// Latin-1 as a reader may see it: UTF-8, and a point for each control character, which would break columns and pages.
std::string printable(std::string_view text) {
    std::string shown(text);
    for (char& c : shown) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || (u >= 0x7F && u < 0xA0)) c = '.';
    }
    return utf8_from_latin1(shown);
}

/// The text of a line on its way to a reader, as pieces that are handed to put one after the other.
template <class Put>
void put_text(std::string_view text, Put&& put) {
    if (plain(text))
        put(text);
    else
        put(printable(text));
}

void to_console(Run& run, std::string_view line) {
    const char control = line.empty() ? ' ' : line.front();
    if (control == '0' || control == '1') run.os.write_console("\n");
    put_text(line.substr(line.empty() ? 0 : 1), [&](std::string_view s) { run.os.write_console(s); });
    if (control != '$') run.os.write_console("\n");
}

void to_print(OutputFile& file, std::string_view line) {
    const char control = line.empty() ? ' ' : line.front();
    if (control == '0') file.write("\n");
    if (control == '1') file.write("\f");
    put_text(line.substr(line.empty() ? 0 : 1), [&](std::string_view s) { file.write(s); });
    file.write("\n");
}

/// Cards and log lines hold what was typed, so a control character stays.
void to_file(OutputFile& file, std::string_view line) {
    if (plain(line))
        file.write(line);
    else
        file.write(utf8_from_latin1(line));
    file.write("\n");
}

}  // namespace

bool read_line(Run& run, std::string_view& line) {
    Units& u = run.units;
    switch (u.LUN[role::input]) {
        case unit::nested_input: return u.nested && u.nested->next(line);
        case unit::stream: return u.stream && u.stream->next(line);
        default: break;
    }
    const auto typed = run.os.read_console();
    if (!typed) {
        if (++u.console_ends >= MXENDS) stop_run(1, std::string(NOBODY_THERE));
        return false;
    }
    u.console_ends = 0;
    const bool marked = !std::exchange(u.console_begun, true) && typed->starts_with(BYTE_ORDER_MARK);
    u.console_line = latin1_from_utf8(std::string_view(*typed).substr(marked ? BYTE_ORDER_MARK.size() : 0));
    line = u.console_line;
    return true;
}

void write_line(Run& run, int lun, std::string_view line) {
    Units& u = run.units;
    switch (lun) {
        case unit::console_out: return to_console(run, line);
        case role::print:
            if (u.print) to_print(*u.print, line);
            return;
        case role::cards:
            if (u.cards) to_file(*u.cards, line);
            return;
        case role::log_copy:
            if (u.log_copy) to_file(*u.log_copy, line);
            return;
        case unit::log:
            if (u.log) to_file(*u.log, line);
            return;
        default: return;  // the null unit
    }
}

/// A line without carriage control to a unit that may be the console.
static void write_plain(Run& run, int lun, std::string_view line) {
    if (lun == unit::console_out) {
        std::string shown(" ");
        to_console(run, shown.append(line));
    } else {
        write_line(run, lun, line);
    }
}

void write_card(Run& run, std::string_view card) { write_plain(run, run.units.LUN[role::cards], card); }

void write_log(Run& run, std::string_view line) { write_plain(run, run.units.LULOG, line); }

bool close_stream(Run& run) {
    Units& u = run.units;
    if (u.nested) {
        u.nested.reset();
        u.LUN[role::input] = unit::stream;
        u.name[role::input] = u.stream ? u.stream->name() : CONSOLE_NAME;
        return true;
    }
    const bool was_stream = !u.CONINP;
    u.stream.reset();
    u.LUN[role::input] = unit::console_in;
    u.name[role::input] = CONSOLE_NAME;
    u.CONINP = true;
    return was_stream;
}

// --- to disk

/// Writes out what waits for a role; false when that fails.
static bool commit(Units& u, int r) {
    switch (r) {
        case role::cases: return !u.cases || u.cases->commit();
        case role::model: return !u.model || u.model->commit();
        case role::flow: return !u.flow || u.flow->commit();
        case role::log_copy: return !u.log_copy || u.log_copy->commit();
        case role::print: return !u.print || u.print->commit();
        case role::cards: return !u.cards || u.cards->commit();
        default: return true;
    }
}

void CONNUL(Run& run) {
    bool failed = false;
    for (int r = role::cases; r <= role::model; ++r)
        if (!commit(run.units, r)) {
            MSGPUT(run, "CONNUL", 100, r, element::unit);
            failed = true;
        }
    if (run.units.log) run.units.log->flush();
    run.os.flush_console();
    if (!failed) return;
    run.units.output_lost = true;
    MSGOUT(run);
}

bool flush_units(Run& run) {
    Units& u = run.units;
    bool good = !u.output_lost && (!u.log || u.log->commit());
    for (int r = role::cases; r <= role::flow; ++r) good &= commit(u, r);
    return run.os.flush_console() && good;
}

// --- start-up

/// What the environment names for a role, blank when it names nothing.
static std::string from_environment(Run& run, const char* variable) {
    return std::string(trimmed_name(run.os.environment(variable).value_or("")));
}

void open_units(Run& run) {
    Units& u = run.units;
    u.LUN = {
        0,          unit::console_in, unit::null, unit::null, unit::console_out, unit::console_in, unit::console_out,
        unit::null, unit::null,       unit::null};
    for (int r = role::input; r <= role::flow; ++r) u.name[r] = u.LUN[r] == unit::null ? NULL_NAME : CONSOLE_NAME;
    u.LUREP = unit::console_out;
    u.CONINP = true;

    struct Start {
        int role;
        const char* variable;
        std::initializer_list<const char*> otherwise;  // tried when the environment leads to no file
    };
    const Start starts[] = {
        {role::input, "KVN$DADOS", {}},    {role::cases, "KVN$SAVCA", {"SAVECASE.SAV", "SAVECASE.DAT"}},
        {role::log_copy, "KVN$TEMPO", {}}, {role::print, "KVN$PRINT", {}},
        {role::cards, "KVN$PUNCH", {}},    {role::model, "KVN$PWMOD", {"POWERMOD.DAT"}},
        {role::flow, "KVN$FWINT", {}},
    };
    const auto open = [&](const Start& s, const std::string& name) {
        return assign_file(run, s.role, name, Opening::at_start) == Assigned::yes;
    };
    for (const Start& s : starts) {
        const std::string named = from_environment(run, s.variable);
        const Device device = device_of(named);
        const bool writes_lines = s.role == role::log_copy || s.role == role::print || s.role == role::cards;
        if (device == Device::console && writes_lines) assign_console(run, s.role);
        if (device != Device::file || (!named.empty() && open(s, named))) continue;
        for (const char* name : s.otherwise)
            if (open(s, name)) break;
        if (!named.empty()) u.unopened.push_back({s.variable, named, u.name[s.role]});
    }
}

}  // namespace korvane
