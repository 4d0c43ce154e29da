// Code lines: reading one, at the console with a history of the lines typed, and matching its code and options.
#include "frame/card_text.hpp"
#include "frame/run.hpp"

namespace korvane {

namespace {

constexpr std::size_t LINE = 69;         // columns of a code line
constexpr std::size_t HISTORY = 20;      // lines kept
constexpr std::size_t ORDER = 12;        // control options kept in order
constexpr int FIELDS = 13;               // options on a line
constexpr int SPLIT = 12, PROMPT = 14;   // fixed rows
constexpr int EXTEND = 2, RECALLED = 3;  // rows of the history
constexpr int WRONG = 4;                 // row that shows a line with messages, and the marks under it
constexpr int ENDS_AT_CONSOLE = 2;       // ends of input in a row after which nobody is there any more

using CodeColumns = Text<int(LINE)>;

std::string trimmed(std::string_view s) {
    const auto end = s.find_last_not_of(' ');
    return std::string(s.substr(0, end == std::string_view::npos ? 0 : end + 1));
}

bool controls_solution(int option) {
    for (Option o : {"QLIM"_opt, "CREM"_opt, "CTAP"_opt, "CSCA"_opt, "CPHS"_opt})
        if (option == o.index) return true;
    return false;
}

/// A line being read: its columns, and those in error.
struct CodeLine {
    Text<4> code;
    std::array<Text<4>, FIELDS> options;
    CodeColumns marks;  // "?" under what was not understood
};

class Selector {
public:
    explicit Selector(Run& run) : run_(run), ctl_(run.ctl) {}
    /// Index of the code of an accepted line; 0 when the line held errors; -1 at the end of input.
    int select();
    /// Shows the lines with messages, on the report unit in force, above these messages.
    void show_wrong_lines();

private:
    bool next_line(bool continuation);
    bool served_by_history(std::string& line);
    void remember(const std::string& line);
    void split();
    int match_macro();
    void take_option(int code, int option);
    void read_options(int code);
    bool voltages_there() const;
    void accept(int code);
    void note_wrong_line();

    Run& run_;
    Control& ctl_;
    CodeLine line_;
    std::vector<std::string> typed_;  // the line and its continuations, for the log
    std::vector<std::string> wrong_;  // lines with messages, each with the marks under it
    int messages_ = 0;                // queued for the lines before the present one
};

void prompt(Run& run) {
    if (run.units.interactive()) print_console(run, run.fmt.fix(PROMPT), {});
}

// U, D, S and the blank line at the console. True when the line is served and another one is to be read; false when
// line is the line typed.
bool Selector::served_by_history(std::string& line) {
    const int n = int(ctl_.history.size());
    int& at = ctl_.position;
    auto recalled = [&] { return ctl_.history[std::size_t(at - 1)]; };
    if (line == "U" || line == "D") {
        if (n == 0) return true;
        at = line == "U" ? at - 1 : at + 1;
        if (at < 1) at = n;
        if (at > n) at = 1;
        ctl_.recall = recalled();
        print_console(run_, run_.fmt.rot(RECALLED), {ctl_.recall});
        return true;
    }
    if (line == "S") {
        if (n == 0) return true;
        at = std::clamp(at, 1, n);
        line = recalled();
        print_console(run_, run_.fmt.rot(EXTEND), {line});
        std::string_view added;
        if (!read_line(run_, added)) return true;
        line = trimmed(line + " " + std::string(added));
        UPPER(line.data(), int(line.size()));
    } else if (line.empty()) {
        line = std::exchange(ctl_.recall, {});
        return line.empty();
    }
    remember(line);
    return false;
}

void Selector::remember(const std::string& line) {
    auto& history = ctl_.history;
    auto starts = [&](std::string_view s) { return line.starts_with(s); };
    const bool kept = !starts("D") && !starts("FIM") && !starts("ULOG") && !starts("TITU") &&
                      std::find(history.begin(), history.end(), line) == history.end();
    if (kept) {
        if (history.size() == HISTORY) history.erase(history.begin());
        history.push_back(line.substr(0, LINE));
    }
    ctl_.position = int(history.size()) + 1;
    ctl_.recall.clear();
}

// The next line that is neither comment nor blank into KODLIN, upper-cased. False at the end of input.
bool Selector::next_line(bool continuation) {
    for (;;) {
        prompt(run_);
        std::string_view text;
        if (!read_line(run_, text)) return false;
        ctl_.lines_missed = 0;
        if (!text.empty() && text[0] == '(') {
            log_line(run_, text);
            continue;
        }
        const bool beyond = text.size() > LINE && !blank(text.substr(LINE));
        std::string line = trimmed(text.substr(0, LINE));
        UPPER(line.data(), int(line.size()));
        if (run_.units.interactive() && !continuation) {
            if (served_by_history(line)) continue;
        } else if (line.empty()) {
            continue;
        }
        refuse(run_, beyond || line.size() > LINE, -100);
        typed_.push_back(line);
        ctl_.KODLIN = line;
        ctl_.KODLIN.resize(LINE, ' ');
        return true;
    }
}

void Selector::split() {
    line_ = {};
    line_.marks = "";
    std::array<Target, FIELDS + 1> fields = [&]<std::size_t... I>(std::index_sequence<I...>) {
        return std::array<Target, FIELDS + 1>{Target(line_.code.at, 4), Target(line_.options[I].at, 4)...};
    }
    (std::make_index_sequence<FIELDS>{});
    run_.fmt.fix(SPLIT).read(ctl_.KODLIN, fields);
    if (ctl_.KODLIN[0] == '@') return;
    // Between two fields nothing may stand; what does is not lost without a word.
    bool between = false;
    for (std::size_t column = 4; column < LINE; column += 5) between |= ctl_.KODLIN[column] != ' ';
    refuse(run_, between, -110);
}

/// A macro call sets the options of its definition. Returns the code, 0 when no macro has the name.
int Selector::match_macro() {
    const std::string_view line = ctl_.KODLIN;
    const Macro* found = nullptr;
    for (const Macro& m : ctl_.macros)
        if (m.name == line.substr(0, 18) || m.name == line.substr(1, 18)) found = &m;
    if (refuse(run_, !found, 140)) {
        std::memset(line_.marks.at, '?', 18);
        return 0;
    }
    run_.opt.restore();
    ctl_.order.clear();
    for (int option : found->options) take_option(found->code, option);
    return found->code;
}

// An option of the line; those of EXLF that control the solution are also kept in the order written.
void Selector::take_option(int code, int option) {
    run_.opt.IOPTN.set(std::size_t(option));
    if (!controls_solution(option) || ctl_.order.size() == ORDER) return;
    if (code > 0 && std::string_view(ctl_.codes[std::size_t(code - 1)].code, 4) == "EXLF") ctl_.order.push_back(option);
}

void Selector::read_options(int code) {
    for (int i = 0; i < FIELDS; ++i) {
        const Text<4>& field = line_.options[std::size_t(i)];
        const int option = find_option(field);
        if (refuse(run_, option == 0, 110)) {
            std::memset(line_.marks.at + 5 * (i + 1), '?', 4);
            continue;
        }
        take_option(code, option);
    }
}

bool Selector::voltages_there() const {
    const auto path = existing_file(std::string(VOLTAGE_FILE));
    if (!path) return false;
    const auto bytes = read_file(*path);
    return bytes && bytes->size() >= VOLTAGE_RECORD;
}

// What the line says about the output of its code.
void Selector::accept(int code) {
    Options& opt = run_.opt;
    Units& u = run_.units;
    PageState& p = run_.pag;
    const std::string_view name(ctl_.codes[std::size_t(code - 1)].code, 4);
    bool logged = true;
    for (std::string_view quiet : {"CART", "LOGL", "LOGD", "CLOG", "RELA"}) logged &= name != quiet;
    if (logged)
        for (const std::string& line : typed_) log_line(run_, line);

    if (opt["LFDC"_opt])
        opt.clear("NEWT"_opt);
    else if (opt["PART"_opt])
        opt.set("NEWT"_opt);

    u.LUREP = opt["FILE"_opt] ? u.LUN[role::print] : unit::console_out;
    p.LPP = u.to_console() ? run_.cte.LCRT : run_.cte.LPRT;
    if (u.to_console()) opt.set("80CO"_opt);
    p.SCRREP = u.CONINP && u.to_console();
    p.PAUSAT = u.to_console() && !opt["CONT"_opt];
    p.KEYANS = ' ';
    p.NEWPAG = true;
    p.PAUSOK = false;
}

// Keeps the present line, and marks under the columns that were not understood, when it caused messages.
void Selector::note_wrong_line() {
    const int messages = std::max(run_.msg.NERQ, 0) + std::max(run_.msg.NWAQ, 0);
    if (messages == messages_) return;
    messages_ = messages;
    wrong_.push_back(trimmed(ctl_.KODLIN));
    if (!line_.marks.blank()) wrong_.emplace_back(line_.marks.trimmed());
}

void Selector::show_wrong_lines() {
    if (wrong_.empty()) return;
    PAGFIT(run_, run_.msg.NERQ, run_.msg.NWAQ, int(wrong_.size()));
    if (run_.pag.NLINE >= run_.pag.LPP) PAGHDR(run_);
    for (const std::string& line : wrong_) run_.pag.NLINE += print_rot(run_, WRONG, {line});
}

int Selector::select() {
    typed_.clear();
    wrong_.clear();
    MSGOUT(run_);
    messages_ = 0;
    run_.msg.NERR = 0;
    if (!next_line(false)) return -1;
    split();
    int code;
    if (ctl_.KODLIN[0] == '@') {
        code = match_macro();
    } else {
        code = find_code(run_, line_.code);
        if (refuse(run_, code == 0, 100)) std::memset(line_.marks.at, '?', 4);
        ctl_.order.clear();
        run_.opt.restore();
        read_options(code);
        if (code && line_.code == "TV0+") refuse(run_, !voltages_there(), 100);
    }
    note_wrong_line();
    while (run_.opt["+"_opt]) {
        run_.opt.clear("+"_opt);
        if (!next_line(true)) return -1;
        split();
        if (refuse(run_, !line_.code.blank(), 120))
            std::memset(line_.marks.at, '?', 4);
        else
            read_options(code);
        note_wrong_line();
    }
    if (run_.msg.errors_wait()) return 0;
    accept(code);
    show_wrong_lines();
    return code;
}

}  // namespace

int SELKOD(Run& run) {
    Selector selector(run);
    for (;;) {
        LDFORM(run, "SELKOD");
        const int code = selector.select();
        if (code > 0) return code;
        refuse(run, code < 0, 130);
        if (run.units.CONINP) run.units.LUREP = unit::console_out;
        if (run.units.to_console()) run.opt.set("80CO"_opt);
        selector.show_wrong_lines();
        MSGOUT(run);
        if (!run.units.CONINP) return FIM;
        if (run.units.BATCHI) INTERR(run);
        if (code < 0 && ++run.ctl.lines_missed >= ENDS_AT_CONSOLE) return FIM;
    }
}

}  // namespace korvane
