// The log of what the operator typed. Its own lines are comments, so that it can be replayed as a stream.
#include "frame/unit_files.hpp"

namespace korvane {

namespace {

constexpr const char* LOG_FILE = "KORVANE.LOG";
constexpr std::string_view RULE = "(###############################";
constexpr int CANNOT_CREATE = 100;                                        // LOGCTL
constexpr int NO_TARGET = 100, LOG_IS_OFF = 110, CANNOT_READ_BACK = 120;  // CPYLOG

void put_two(std::string& s, int v) {
    s.push_back(char('0' + v / 10 % 10));
    s.push_back(char('0' + v % 10));
}

/// dd/mm/yyyy hh:mm:ss
std::string date_and_time(const Moment& m) {
    std::string s;
    put_two(s, m.day);
    s.push_back('/');
    put_two(s, m.month);
    s.push_back('/');
    put_two(s, m.year / 100);
    put_two(s, m.year);
    s.push_back(' ');
    put_two(s, m.hour);
    s.push_back(':');
    put_two(s, m.minute);
    s.push_back(':');
    put_two(s, m.second);
    return s;
}

void write_mark(Run& run, std::string_view words) {
    write_log(run, RULE);
    write_log(run, std::string(words) + date_and_time(run.os.now()));
    write_log(run, RULE);
}

void close_log_file(Run& run) {
    if (!run.units.log->commit()) run.units.output_lost = true;
    run.units.log.reset();
}

void log_error(Run& run, std::string_view routine, int number) {
    MSGPUT(run, routine, number);
    MSGOUT(run);
    INTERR(run);
}

}  // namespace

void log_line(Run& run, std::string_view line) {
    if (run.units.LOGON && run.units.CONINP) write_log(run, line);
}

void LOGCTL(Run& run, int kind) {
    Units& u = run.units;
    if ((kind == 1) == u.LOGON) return;
    if (kind == 1) {
        u.LULOG = u.LUN[role::log_copy];
        if (u.LULOG == unit::null) {
            if (!written_already(u, LOG_FILE)) u.log = std::make_unique<OutputFile>(LOG_FILE, OutputFile::Mode::create);
            if (!u.log || !u.log->good()) {
                u.log.reset();
                return log_error(run, "LOGCTL", CANNOT_CREATE);
            }
            u.LULOG = unit::log;
        }
        write_mark(run, "(# Logon : ");
        u.LOGON = true;
    } else {
        write_log(run, "FIM");
        write_mark(run, "(# Logoff: ");
        u.LOGON = false;
        if (u.log) close_log_file(run);
        u.LULOG = unit::null;
    }
}

void CPYLOG(Run& run) {
    Units& u = run.units;
    if (!u.LOGON) return log_error(run, "CPYLOG", LOG_IS_OFF);
    if (u.LUN[role::log_copy] == unit::null) return log_error(run, "CPYLOG", NO_TARGET);
    if (u.LULOG != unit::log) return;  // the log is written there already

    u.log->flush();
    TextSource written;
    if (!written.open(LOG_FILE)) return log_error(run, "CPYLOG", CANNOT_READ_BACK);
    close_log_file(run);
    u.LULOG = u.LUN[role::log_copy];
    std::string_view line;
    while (written.next(line)) write_log(run, line);
}

}  // namespace korvane
