// What the program says to the operator besides reports and messages: the banner, texts of a deck, screen colours.
#include "frame/run.hpp"

namespace korvane {

namespace {

// Rows of block "IOCONT": a rule, the name with the stamp of the catalogue, its number and origin, a rule; then where
// to find help.
constexpr int RULE = 1, NAME = 2, VERSION = 3, RULE_BELOW = 4, MAIL = 5, HOME_PAGE = 6;

std::string_view trimmed(std::string_view s) {
    const auto end = s.find_last_not_of(' ');
    return end == std::string_view::npos ? std::string_view{} : s.substr(0, end + 1);
}

}  // namespace

void IOCONT(Run& run) {
    LDFORM(run, "IOCONT");
    const CatalogueVersion& v = run.fmt.file.version();
    print_console(run, run.fmt.rot(RULE), {});
    print_console(run, run.fmt.rot(NAME), {v.stamp});
    print_console(run, run.fmt.rot(VERSION), {v.number, trimmed(v.origin)});
    print_console(run, run.fmt.rot(RULE_BELOW), {});
    print_console(run, run.fmt.rot(MAIL), {});
    print_console(run, run.fmt.rot(HOME_PAGE), {});
}

void INPMSG(Run& run) {
    LDFORM(run, "INPMSG");
    run.msg.NERR = 0;
    constexpr int ASK = 1, SHOW = 2;
    if (run.units.interactive()) print_console(run, run.fmt.rot(ASK), {});
    std::string_view line;
    if (refuse(run, !read_line(run, line), 100)) {
        MSGOUT(run);
        INTERR(run);
        return;
    }
    run.CARD = line;
    log_line(run, line);
    line = trimmed(line);
    if (!run.os.message_box(utf8_from_latin1(line))) print_console(run, run.fmt.rot(SHOW), {line});
    run.msg.NERR = 0;
}

void CONSET(Run& run) {
    // Letters, background, heading and message, in the usual sixteen screen colours.
    constexpr std::array<std::array<int, 4>, 4> SETS = {
        {{7, 0, 14, 12}, {15, 1, 14, 12}, {0, 7, 1, 4}, {10, 0, 15, 14}}};
    constexpr Option ASKED[] = {"CNF1"_opt, "CNF2"_opt, "CNF3"_opt, "CNF4"_opt};
    for (int k = 0; k < 4; ++k)
        if (run.opt[ASKED[k]]) {
            run.ctl.colour_set = k + 1;
            run.ctl.colours = SETS[std::size_t(k)];
        }
}

}  // namespace korvane
