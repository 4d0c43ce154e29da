#include "casestore/case_answers.hpp"

#include "frame/card_text.hpp"

namespace korvane {

bool read_answer(Run& run, int prompt, std::string& line) {
    std::string_view read;
    do {
        if (run.units.interactive()) print_console(run, run.fmt.rot(prompt), {});
        if (!read_line(run, read)) return false;
        log_line(run, read);
    } while (read.starts_with('('));
    line = read;
    return true;
}

Answer ask_yes_or_no(Run& run, int prompt) {
    constexpr std::size_t COLUMNS = 132, WORD = 3;
    std::string line;
    if (!read_answer(run, prompt, line)) return Answer::none;
    line.resize(COLUMNS, ' ');
    UPPER(line.data(), int(COLUMNS));
    LJUST(line.data(), int(COLUMNS));
    const std::string_view word = std::string_view(line).substr(0, WORD);
    if (word == "SIM" || word == "YES") return Answer::yes;
    if (word == "NAO" || word == "NO ") return Answer::no;
    return Answer::other;
}

}  // namespace korvane
