// Macro definitions, from the stream and from the macro file.
#include "frame/card_text.hpp"
#include "frame/run.hpp"

namespace korvane {

namespace {

constexpr std::string_view MACRO_FILE = "KVNMACRO";
constexpr std::size_t COLUMNS = 80;  // of a card
constexpr int OPTIONS_ON_CARD = 10, CODE_AT = 20, OPTIONS_AT = 25, MORE_AT = 75;
constexpr int SHOWN = 2;  // row that prints a card

/// Where the cards come from, and what a card's end looks like there.
struct Source {
    bool stream;
    std::function<bool(std::string_view&)> next;
};

class MacroReader {
public:
    MacroReader(Run& run, Source source, std::string* appended)
        : run_(run), source_(std::move(source)), appended_(appended) {}
    /// Reads definitions up to the end card, or to the end of the macro file.
    void read() {
        while (!ended_ && next_card() && !end_card()) read_definition();
    }

private:
    bool next_card();
    bool end_card() const { return source_.stream && card_.view().substr(0, 5) == "99999"; }
    void read_definition();
    void read_options(Macro& macro);
    void echo();

    std::string_view columns(int first, int n) const {
        return card_.view().substr(std::size_t(first - 1), std::size_t(n));
    }

    Run& run_;
    Source source_;
    std::string* appended_;  // definitions for the macro file; none: they are not kept there
    Text<int(COLUMNS)> card_;
    bool ended_ = false;   // the end card came inside a definition
    bool good_ = true;     // the definition being read
    std::string written_;  // its cards
};

bool MacroReader::next_card() {
    std::string_view text;
    do {
        if (!source_.next(text)) {
            refuse(run_, source_.stream, 160);
            return false;
        }
        // an end card of the file does not hide the macros that were appended behind it
        if (!source_.stream && text.substr(0, 5) == "99999") text = {};
    } while (text.empty() || text[0] == '(' || blank(text));
    if (source_.stream) log_line(run_, text);
    refuse(run_, text.size() > COLUMNS && !blank(text.substr(COLUMNS)), -100);
    card_ = text;
    UPPER(card_.at, int(COLUMNS));
    return true;
}

void MacroReader::read_options(Macro& macro) {
    for (int i = 0; i < OPTIONS_ON_CARD; ++i) {
        const std::string_view name = columns(OPTIONS_AT + 5 * i, 4);
        if (blank(name)) continue;
        const int option = find_option(name);
        if (refuse(run_, option == 0 || option == "+"_opt.index, 140)) {
            good_ = false;
            std::memset(card_.at + OPTIONS_AT + 5 * i - 1, '?', 4);
        } else {
            macro.options.push_back(option);
        }
    }
}

void MacroReader::echo() {
    if (run_.opt["IMPR"_opt] || run_.msg.any_wait()) {
        PAGFIT(run_, run_.msg.NERQ, run_.msg.NWAQ, 1);
        if (run_.pag.NLINE >= run_.pag.LPP) PAGHDR(run_);
        run_.pag.NLINE += print_rot(run_, SHOWN, {card_.trimmed()});
    }
    MSGOUT(run_);
}

// A definition is a card and its continuations. It counts whole or not at all.
void MacroReader::read_definition() {
    good_ = true;
    Macro macro{};
    macro.name = columns(1, 18);
    const std::string_view code = columns(CODE_AT, 4);
    macro.code = find_code(run_, code);
    written_.assign(card_.trimmed()).append("\n");
    if (refuse(run_, macro.code == 0, 100)) {
        good_ = false;
        std::memset(card_.at + CODE_AT - 1, '?', 4);
    }
    if (refuse(run_, macro.name.blank(), 110)) good_ = false;
    for (;;) {
        const bool more = columns(MORE_AT, 1) == "+";
        read_options(macro);
        echo();
        if (!more) break;
        if (!next_card()) {
            good_ = false;
            break;
        }
        if (end_card()) {
            refuse(run_, true, 150);
            echo();
            ended_ = true;
            return;
        }
        written_.append(card_.trimmed()).append("\n");
    }
    if (!good_) return;
    if (appended_) appended_->append(written_);
    run_.ctl.macros.push_back(std::move(macro));
}

/// Puts the definitions behind those that the macro file holds.
void append_to_file(Run& run, const std::string& definitions) {
    if (definitions.empty()) return;
    const std::string path = macro_file(run).value_or(std::string(MACRO_FILE));
    const auto present = read_file(path);
    OutputFile file(path, OutputFile::Mode::append);
    if (present && !present->empty() && present->back() != '\n' && present->back() != '\r') file.write("\n");
    file.write(utf8_from_latin1(definitions));
    file.flush();
    refuse(run, !file.good(), -900);
}

void prepare_page(Run& run) {
    run.pag.NLINE = run.pag.LPP;
    run.pag.PAUSOK = false;
    if (run.pag.SCRREP) run.pag.PAUSAT = false;
}

}  // namespace

std::optional<std::string> macro_file(const Run& run) {
    const std::string& directory = run.ctl.macro_directory;
    const std::string name(MACRO_FILE);
    if (!directory.empty() && file_exists(directory + "/" + name)) return directory + "/" + name;
    return file_exists(name) ? std::optional(name) : std::nullopt;
}

void INPMAC(Run& run) {
    LDFORM(run, "INPMAC");
    run.msg.NERR = 0;
    prepare_page(run);
    std::string appended;
    const bool keep = run.opt["GRAV"_opt];
    Source stream{true, [&](std::string_view& line) {
                      if (run.units.interactive()) print_console(run, run.fmt.rot(1), {});
                      return read_line(run, line);
                  }};
    MacroReader(run, std::move(stream), keep ? &appended : nullptr).read();
    append_to_file(run, appended);
    MSGOUT(run);
    PAGWAI(run);
    if (run.msg.NERR != 0) INTERR(run);
}

void read_macro_file(Run& run, TextSource& file) {
    LDFORM(run, "INPMAC");
    prepare_page(run);
    const int input = std::exchange(run.units.LUN[role::input], unit::macros);
    MacroReader(run, {false, [&](std::string_view& line) { return file.next(line); }}, nullptr).read();
    MSGOUT(run);
    run.units.LUN[role::input] = input;
    run.msg.NERR = 0;
}

}  // namespace korvane
