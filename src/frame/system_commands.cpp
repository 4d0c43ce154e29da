// Commands of the system: a shell for the operator, and a block of commands whose output goes to the report.
#include "frame/card_block.hpp"
#include "frame/run.hpp"

namespace korvane {

namespace {

constexpr const char* OUTPUT_FILE = "DOS.OUT";
constexpr int NOT_FOUND = 127;  // the shell's answer when there is no such program
constexpr std::string_view CLEAR_SCREEN = "\033[2J\033[H";

/// A text as one word of the shell's language.
std::string quoted(std::string_view text) {
    std::string s("'");
    for (char c : text) {
        if (c == '\'')
            s += "'\\''";
        else
            s.push_back(c);
    }
    return s.append("'");
}

/// A deck on standard input is ours: a command may not read its lines.
const char* input_of(const Run& run) { return run.units.BATCHI ? " < /dev/null" : ""; }

bool starts_with_word(std::string_view line, std::string_view word) {
    if (line.size() < word.size()) return false;
    std::string head(line.substr(0, word.size()));
    UPPER(head.data(), int(head.size()));
    return head == word && (line.size() == word.size() || line[word.size()] == ' ');
}

std::string_view without_blanks_before(std::string_view s) {
    const auto first = s.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view{} : s.substr(first);
}

/// The command behind "CMD" and "CMD /C", which ask for a command that writes to the console itself.
std::string_view behind_cmd(std::string_view line) {
    line = without_blanks_before(line.substr(3));
    for (std::string_view how : {"/C", "/K"})
        if (starts_with_word(line, how)) line = without_blanks_before(line.substr(how.size()));
    return line;
}

/// One line of text to the report, with page breaks where they are due.
void report_line(Run& run, std::string_view text) {
    if (run.pag.NLINE >= run.pag.LPP) PAGHDR(run);
    if (run.pag.KEYANS != ' ') return;
    std::string line(" ");
    write_line(run, run.units.LUREP, line.append(text));
    ++run.pag.NLINE;
}

void report_output(Run& run) {
    TextSource output;
    if (!output.open(OUTPUT_FILE)) return;
    std::string_view line;
    while (output.next(line)) report_line(run, line);
    delete_file(OUTPUT_FILE);
}

void run_command(Run& run, std::string_view line) {
    const bool direct = starts_with_word(line, "CMD");
    const std::string command = utf8_from_latin1(direct ? behind_cmd(line) : line);
    // The line end keeps a comment at the end of the command from hiding what follows it.
    const std::string words = direct ? "( " + command + "\n)" : "( " + command + "\n) > " + OUTPUT_FILE + " 2>&1";
    if (!direct) delete_file(OUTPUT_FILE);
    const bool started = command.find('\0') == std::string::npos && run.os.shell(words + input_of(run)) >= 0;
    refuse(run, !started, 100);
    if (!direct) report_output(run);
    MSGOUT(run);
}

}  // namespace

void DOSCMD(Run& run) {
    LDFORM(run, "DOSCMD");
    run.msg.NERR = 0;
    const std::string shell = run.os.environment("SHELL").value_or("/bin/sh");
    const std::string prompt = "[korvane] " + run.os.environment("PS1").value_or("$ ");
    if (run.units.interactive()) run.os.write_console(CLEAR_SCREEN);
    run.os.flush_console();
    const int status = run.os.shell("PS1=" + quoted(prompt) + " " + quoted(shell) + input_of(run));
    if (refuse(run, status < 0 || status == NOT_FOUND, 100)) {
        MSGOUT(run);
        INTERR(run);
        return;
    }
    IOCONT(run);
    show_units(run);
}

void INPCMD(Run& run) {
    card_detail::open_block(run, "INPCMD");
    run.pag.KEYANS = ' ';
    for (;;) {
        if (run.units.interactive()) print_console(run, run.fmt.rot(2), {});
        std::string_view line;
        if (!read_line(run, line)) {
            refuse(run, true, 120);
            break;
        }
        if (line.starts_with('(') || blank(line)) continue;
        log_line(run, line);
        run.CARD = line;
        if (line.starts_with("99999")) break;
        run_command(run, line);
    }
    card_detail::close_block(run);
}

}  // namespace korvane
