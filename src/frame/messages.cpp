// Messages: the queues, their printing under the cards that caused them, and what happens after errors.
#include "frame/messages.hpp"

#include "frame/run.hpp"

namespace korvane {

namespace {

// Rows of block "ERROID": the words, then one label for each element type from 0 to 9.
constexpr int WORD_ERROR = 1, WORD_WARNING = 2, LABEL = 3;
// Fixed rows that print a message.
constexpr int PLAIN = 22, TEXT = 24, ONE_ELEMENT = 28, BRANCH_ENDS = 29, STREAM_LINE = 31;

constexpr std::string_view AFTER_ERROR = "** Termino anormal em consequencia de ERRO na execucao **";

/// A text left-justified in so many columns.
std::string padded(std::string text, std::size_t columns) {
    if (text.size() < columns) text.resize(columns, ' ');
    return text;
}

std::string_view trimmed(std::string_view s) {
    const auto end = s.find_last_not_of(' ');
    return end == std::string_view::npos ? std::string_view{} : s.substr(0, end + 1);
}

/// How a message is laid out: the kind of element without the 10 that tells how it was given.
int layout_of(int element, int type) {
    if (element <= 0) return element::none;
    return type > 10 ? type - 10 : type;
}

ElementName name_of(const Run& run, int element, int type) {
    return run.msg.identify ? run.msg.identify(run, element, type) : ElementName{};
}

/// "  101 NORTH     ", the columns of a bus in a message.
std::string bus_columns(int number, std::string_view name) {
    const std::string digits = std::to_string(number);
    std::string s(digits.size() < 5 ? 5 - digits.size() : 0, ' ');
    s.append(digits);
    if (!name.empty()) s.append(" ").append(name);
    return s;
}

/// What the element is, as the line of the message shows it; branches have a row of their own.
std::string identification(const ElementName& e, int element, int layout) {
    switch (layout) {
        case element::none: return {};
        case element::bus: return e.known ? bus_columns(e.number, trimmed(e.name)) : bus_columns(element, "?");
        case element::link:
            return e.known ? std::to_string(element) + " " + std::string(trimmed(e.name))
                           : std::to_string(element) + " ?";
        case element::branch:
            if (!e.known) return bus_columns(element, "?");
            return std::to_string(e.number) + " " + std::string(trimmed(e.name)) + " - " + std::to_string(e.to_number) +
                   " " + std::string(trimmed(e.to_name)) + " circ " + std::to_string(e.circuit);
        default: return bus_columns(element, {});
    }
}

/// The text in as many lines as the page needs, broken between words. Returns the lines printed.
int print_text(Run& run, std::string_view text) {
    const FormatRow& row = run.fmt.fix(TEXT);
    const auto fields = row.fields();
    const int first = fields.empty() ? 10 : fields[0].column;
    const auto room = std::size_t(std::max(page_width(run) + 2 - first, 20));
    int lines = 0;
    text = trimmed(text);
    do {
        std::size_t n = text.size();
        if (n > room) {
            const auto gap = text.rfind(' ', room);
            n = gap == std::string_view::npos || gap == 0 ? room : gap;
        }
        const Arg piece[] = {trimmed(text.substr(0, n))};
        lines += print_row(run, row, piece);
        const auto next = text.find_first_not_of(' ', n);
        text = next == std::string_view::npos ? std::string_view{} : text.substr(next);
    } while (!text.empty());
    return lines;
}

TextSource* stream_in_use(Units& u) { return u.nested ? u.nested.get() : u.stream.get(); }

}  // namespace

void MSGPUT(Run& run, std::string_view routine, int number, int element, int type) {
    Messages& m = run.msg;
    if (routine != m.MSGROT) {
        if (m.any_wait()) MSGOUT(run);
        m.MSGROT = routine;
    }
    auto put = [&](int& count, auto& queue) {
        if (count < 0) count = 0;
        if (count == Messages::QUEUE) {
            MSGOUT(run);
            count = 0;
        }
        queue[std::size_t(count++)] = {number, element, type};
    };
    if (number < 1)
        put(m.NWAQ, m.warnings);
    else
        put(m.NERQ, m.errors);
}

void MSGOUT(Run& run) {
    Messages& m = run.msg;
    if (m.NERQ > 0) {
        const int n = m.NERQ;
        m.NERR = n;
        m.NERQ = -n;
        ++m.NFLUSH;
        for (int i = 0; i < n; ++i) {
            const Messages::Entry e = m.errors[std::size_t(i)];
            MSGTXT(run, m.MSGROT, e.number, e.element, e.type);
        }
        if (!run.units.CONINP) MSGLIN(run);
    }
    if (m.NWAQ > 0) {
        const int n = m.NWAQ;
        m.NWAQ = 0;
        for (int i = 0; i < n; ++i) {
            const Messages::Entry e = m.warnings[std::size_t(i)];
            MSGTXT(run, m.MSGROT, e.number, e.element, e.type);
        }
    }
}

void MSGTXT(Run& run, std::string_view routine, int number, int element, int type) {
    const Formats::Rows& words = load_rows(run, "ERROID");
    const int layout = layout_of(element, type);
    const bool warning = number < 1;
    const std::string word = padded(words[warning ? WORD_WARNING : WORD_ERROR].text(), 7);
    const std::string label = padded(words[std::size_t(LABEL + std::clamp(layout, 0, 9))].text(), 9);
    const std::string& text = MSGFND(run, routine, number);
    const ElementName e =
        layout == element::none || layout == element::number ? ElementName{} : name_of(run, element, type);
    std::string who = identification(e, element, layout);

    if (run.pag.NLINE + 3 > run.pag.LPP) PAGHDR(run);
    const int shown = std::abs(number);
    int lines;
    if (layout == element::none)
        lines = print_fix(run, PLAIN, {word, routine, shown});
    else if (layout == element::branch && e.known)
        lines = print_fix(run, BRANCH_ENDS,
                          {word, routine, shown, label, e.number, e.name, e.to_number, e.to_name, e.circuit});
    else
        lines = print_fix(run, ONE_ELEMENT, {word, routine, shown, label, who});
    lines += print_text(run, text);
    write_line(run, run.units.LUREP, " ");
    run.pag.NLINE += lines + 1;

    if (const auto start = who.find_first_not_of(' '); start != std::string::npos) who.erase(0, start);
    run.msg.printed.push_back({std::string(routine), number, element, type, std::move(who), text});
}

const std::string& MSGFND(Run& run, std::string_view routine, int number) {
    Messages& m = run.msg;
    auto found = m.texts.find(std::string(routine));
    if (found == m.texts.end()) {
        std::vector<CatalogueRow> rows;
        const auto block = m.file.rows_of(routine, Messages::TEXTS, rows);
        if (block == Catalogue::Block::bad) stop_run(1, "ERRMSG-100");
        if (block == Catalogue::Block::too_long) stop_run(1, "ERRMSG-110");
        found = m.texts.emplace(std::string(routine), std::unordered_map<int, std::string>{}).first;
        if (block == Catalogue::Block::found)
            for (CatalogueRow& row : rows)
                found->second.try_emplace(row.index, row.text.substr(0, Messages::TEXT_LENGTH));
    }
    const auto text = found->second.find(number);
    return text != found->second.end() ? text->second : load_rows(run, "ERRMSG")[1].text();
}

void MSGLIN(Run& run) {
    const TextSource* source = stream_in_use(run.units);
    if (!source || run.units.LUN[role::input] == unit::macros) return;
    const FormatRow& row = run.fmt.fix(STREAM_LINE);
    const auto fields = row.fields();
    const int first = fields.size() < 2 ? 30 : fields[1].column;
    const auto room = std::size_t(std::max(page_width(run) + 2 - first - 4, 12));
    const std::string name = last_columns(latin1_from_utf8(source->name()), room) + " ***";
    const Arg values[] = {source->line_number(), name};
    run.pag.NLINE += print_row(run, row, values);
}

bool refuse(Run& run, bool condition, int number, int element, int type) {
    if (condition) MSGPUT(run, run.fmt.routine, number, element, type);
    return condition;
}

void INTERR(Run& run) {
    const Units& u = run.units;
    const bool errors = run.msg.NERR > 0;
    // The end of a nested stream without errors goes back to the outer one, also when nobody sits at the console.
    if (u.BATCHI && (errors || !u.nested)) stop_run(1, std::string(AFTER_ERROR));
    const bool both = u.nested && errors;
    if (!u.CONINP) close_stream(run);
    if (both) close_stream(run);
}

const Formats::Rows& load_rows(Run& run, std::string_view routine) {
    auto& loaded = run.fmt.loaded;
    std::string key(routine);
    if (const auto at = loaded.find(key); at != loaded.end()) return *at->second;

    std::vector<CatalogueRow> rows;
    const auto block = run.fmt.file.rows_of(routine, Formats::ROWS, rows);
    if (block == Catalogue::Block::bad) stop_run(1, " LDFORM - Erro na leitura do arquivo formatos Korvane.");
    int fault = block == Catalogue::Block::missing ? 120 : block == Catalogue::Block::too_long ? 110 : 0;
    auto compiled = std::make_unique<Formats::Rows>(std::size_t(Formats::ROWS + 1));
    for (const CatalogueRow& row : rows) {
        if (row.index < 1 || row.index > Formats::ROWS)
            fault = fault ? fault : 100;
        else
            (*compiled)[std::size_t(row.index)] = FormatRow(std::string_view(row.text).substr(0, Formats::ROW_LENGTH));
    }
    if (fault) {
        // Printing the message takes three blocks itself; without them only the stop is left.
        const bool printable = routine != "ERROID" && routine != "ERRMSG" && run.fmt.FMTFIX;
        if (printable) {
            MSGPUT(run, "LDFORM", fault);
            MSGOUT(run);
        }
        stop_run(1, "FORMATO");
    }
    return *loaded.emplace(std::move(key), std::move(compiled)).first->second;
}

void LDFORM(Run& run, std::string_view routine) {
    run.fmt.FMTROT = &load_rows(run, routine);
    run.fmt.routine = routine;
}

void stop_run(int status, std::string text) { throw RunStop{status, std::move(text)}; }

}  // namespace korvane
