// ULOG: one file is assigned to one unit; and the table of units.
#include "frame/card_text.hpp"
#include "frame/unit_files.hpp"

namespace korvane {

namespace {

// Rows of block "IOFILE".
constexpr int HEADING = 1, HEADING_LAST = 4, FIRST_UNIT = 5, ASK_UNIT = 14, ASK_FILE = 15, UNIT_COLUMNS = 16,
              UNIT_NUMBER = 17;
constexpr int NAME_COLUMN = 41;  // where the rows of the units have the name of the file

constexpr int NO_SUCH_INPUT = 170, CANNOT_OPEN = 180, CANNOT_CREATE = 190, NOT_A_UNIT = 200, NOT_ASSIGNABLE = 210,
              ABANDONED = 230;

/// What a blank name means for each role; none for the console's own.
constexpr const char* BLANK_MEANS[] = {"", "CON", "SAVECASE.SAV", "NUL", "CON", "", "", "NUL", "POWERMOD.DAT", "NUL"};

/// How one pass of the dialogue ended.
enum class Outcome { assigned, left, refused, no_input };

/// The next line that is no comment, after a prompt if someone can answer it.
bool ask(Run& run, int prompt, bool comments, std::string_view& line) {
    do {
        if (run.units.interactive()) print_console(run, run.fmt.rot(prompt), {});
        if (!read_line(run, line)) return false;
    } while (comments && line.starts_with('('));
    log_line(run, line);
    return true;
}

/// The unit typed in the columns of the line, -1 when they hold no number.
int unit_of(Run& run, std::string_view line) {
    char columns[2];
    const Target text(columns, sizeof columns);
    run.fmt.rot(UNIT_COLUMNS).read(line, {&text, 1});
    RJUST(columns, sizeof columns);
    int number = -1;
    const Target target(&number);
    return run.fmt.rot(UNIT_NUMBER).read({columns, sizeof columns}, {&target, 1}) ? number : -1;
}

/// Message that assigning the input ends with, 0 for none.
int assign_input(Run& run, const std::string& name, Device device) {
    if (device == Device::null) return NOT_ASSIGNABLE;
    if (device == Device::console) {
        while (close_stream(run)) {
        }
        return 0;
    }
    if (run.units.nested) return CANNOT_CREATE;  // a third level
    return assign_file(run, role::input, name, Opening::by_operator) == Assigned::yes ? 0 : NO_SUCH_INPUT;
}

/// The same for a unit that holds records: cases, models, flows.
int assign_records(Run& run, int role, const std::string& name, Device device) {
    if (device == Device::console) return NOT_ASSIGNABLE;
    if (device == Device::null) {
        release(run, role);
        return 0;
    }
    switch (assign_file(run, role, name, Opening::by_operator)) {
        case Assigned::yes: return 0;
        case Assigned::cannot_open: return CANNOT_OPEN;
        case Assigned::cannot_create: break;
    }
    return CANNOT_CREATE;
}

/// The same for a unit that lines go to: copy of the log, reports, cards.
int assign_lines(Run& run, int role, const std::string& name, Device device) {
    switch (device) {
        case Device::null: assign_null(run, role); return 0;
        case Device::console: assign_console(run, role); return 0;
        case Device::file: break;
    }
    return assign_file(run, role, name, Opening::by_operator) == Assigned::yes ? 0 : CANNOT_CREATE;
}

/// A log that goes to unit 3 follows it: it is ended in the old file, so that this can be replayed, and begun in the
/// new one.
int assign_log_copy(Run& run, const std::string& name, Device device) {
    const bool follows = run.units.LOGON && run.units.LULOG != unit::log;
    if (follows) LOGCTL(run, 2);
    const int message = assign_lines(run, role::log_copy, name, device);
    if (follows && run.units.LUN[role::log_copy] != unit::null) LOGCTL(run, 1);
    return message;
}

int assign(Run& run, int role, std::string_view typed) {
    const std::string_view shown = trimmed_name(typed);
    const std::string name = utf8_from_latin1(shown.empty() ? BLANK_MEANS[role] : shown);
    const Device device = device_of(name);
    switch (role) {
        case role::input: return assign_input(run, name, device);
        case role::log_copy: return assign_log_copy(run, name, device);
        case role::print:
        case role::cards: return assign_lines(run, role, name, device);
        default: return assign_records(run, role, name, device);
    }
}

Outcome one_assignment(Run& run) {
    std::string_view line;
    if (!ask(run, ASK_UNIT, true, line)) return Outcome::no_input;
    const int number = unit_of(run, line);
    if (number == 0) return Outcome::left;
    if (refuse(run, number < role::input || number > role::flow, NOT_A_UNIT, number, element::unit) ||
        refuse(run, number == unit::console_in || number == unit::console_out, NOT_ASSIGNABLE, number, element::unit))
        return Outcome::refused;
    if (!ask(run, ASK_FILE, false, line)) return Outcome::no_input;
    const int message = assign(run, number, line);
    return refuse(run, message != 0, message, number, element::unit) ? Outcome::refused : Outcome::assigned;
}

/// The table of units on a page of its own.
void page_of_units(Run& run) {
    PAGHDR(run);
    if (run.pag.KEYANS != ' ') return;
    show_units(run);
    run.pag.NLINE += FIRST_UNIT + role::flow;
}

}  // namespace

void show_units(Run& run) {
    LDFORM(run, "IOFILE");
    for (int row = HEADING; row <= HEADING_LAST; ++row) print_rot(run, row, {});
    const auto room = std::size_t(page_width(run) - NAME_COLUMN + 1);
    for (int r = role::input; r <= role::flow; ++r)
        print_rot(run, FIRST_UNIT + r - 1, {last_columns(latin1_from_utf8(run.units.name[std::size_t(r)]), room)});
}

void IOFILE(Run& run) {
    LDFORM(run, "IOFILE");
    run.msg.NERR = 0;
    run.pag.NLINE = run.pag.LPP;
    run.pag.PAUSOK = false;
    if (run.units.interactive()) {
        run.units.LUREP = unit::console_out;
        run.opt.set("80CO"_opt);
        run.pag.NEWPAG = true;
        page_of_units(run);
    }
    for (;;) {
        const Outcome outcome = one_assignment(run);
        if (outcome == Outcome::left) return;
        if (outcome == Outcome::assigned) {
            if (run.pag.NLINE >= run.pag.LPP) page_of_units(run);
            if (!run.units.CONINP) PAGWAI(run);
            return;
        }
        const bool ask_again = outcome == Outcome::refused && run.units.interactive();
        if (!ask_again) refuse(run, true, ABANDONED);
        MSGOUT(run);
        if (ask_again) continue;
        INTERR(run);
        return;
    }
}

}  // namespace korvane
