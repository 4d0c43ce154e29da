// The card engine: reading a card, decoding its columns, and showing what was used.
#include "frame/card_block.hpp"

#include "frame/decimal.hpp"

namespace korvane::card_detail {

constexpr int LONG_LINE = -1;  // message common to all blocks: text behind the last column
constexpr std::size_t LIST_COLUMNS = 500;
constexpr double DEGREE = 0.017453292519943295;  // rad

double factor_of(const Run& run, Scale s) {
    switch (s) {
        case Scale::power: return run.cte.RBASE;
        case Scale::percent:
        case Scale::percent_above: return 0.01;
        case Scale::degrees: return DEGREE;
        case Scale::none: break;
    }
    return 1.0;
}

namespace {

template <class T>
T load(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class T>
void save(void* p, T v) {
    std::memcpy(p, &v, sizeof v);
}

bool is_blank(const char* columns, int width) {
    for (int i = 0; i < width; ++i)
        if (columns[i] != ' ') return false;
    return true;
}

double card_number(const Slot& slot, const void* p) { return (load<double>(p) - slot.shift) / slot.factor; }

void save_number(const Slot& slot, double number, void* p) { save(p, number * slot.factor + slot.shift); }

/// A text of any length in the columns of a text field, with the field's rules.
void put_text(const Slot& slot, std::string_view text, char* columns) {
    std::memset(columns, ' ', std::size_t(slot.width));
    std::memcpy(columns, text.data(), std::min(text.size(), std::size_t(slot.width)));
    if (slot.rules->letters == Letters::upper) UPPER(columns, slot.width);
    if (slot.rules->right) RJUST(columns, slot.width);
}

}  // namespace

bool decode(const Slot& slot, std::string_view columns, void* p) {
    switch (slot.kind) {
        case Kind::integer: {
            int v;
            if (!get_integer(columns, v)) return false;
            save(p, v);
            return true;
        }
        case Kind::real: {
            double v;
            if (!get_real(columns, slot.decimals, v)) return false;
            save_number(slot, v, p);
            return true;
        }
        case Kind::letter: save(p, columns.empty() ? ' ' : columns[0]); return true;
        case Kind::text: {
            char* const text = static_cast<char*>(p);
            std::memset(text, ' ', slot.size);
            const std::size_t n = std::min({columns.size(), std::size_t(slot.width), slot.size});
            std::memcpy(text, columns.data(), n);
            if (slot.rules->right) RJUST(text, slot.width);
            return true;
        }
    }
    return false;
}

void encode(const Slot& slot, const void* p, char* columns) {
    switch (slot.kind) {
        case Kind::integer: put_integer(columns, slot.width, load<int>(p)); return;
        case Kind::letter: columns[0] = load<char>(p) ? load<char>(p) : ' '; return;
        case Kind::text: std::memcpy(columns, p, std::size_t(slot.width)); return;
        case Kind::real: break;
    }
    const double number = card_number(slot, p);
    PUTREAL(number, slot.width, columns);
    if (slot.decimals == 0) return;
    // A field with implied decimals may show more digits without its point: 1.045 in F4.3 is " 1.04" or " 1045".
    char whole[32];
    put_integer(whole, slot.width, std::llround(std::clamp(number, -1e9, 1e9) * std::pow(10.0, slot.decimals)));
    const std::string_view dense(whole, std::size_t(slot.width));
    double with_point = 0, without = 0;
    if (!get_real(dense, slot.decimals, without)) return;
    const bool shown = get_real({columns, std::size_t(slot.width)}, slot.decimals, with_point);
    const double slack = 1e-9 * std::abs(number);
    if (!shown || std::abs(without - number) + slack < std::abs(with_point - number))
        std::memcpy(columns, dense.data(), dense.size());
}

Reader::Reader(Run& run, std::span<const Slot> slots, bool list, int operation_column)
    : run_(run), slots_(slots), list_(list), operation_column_(operation_column) {
    const auto raw = run.fmt.rot(1).fields();
    width_ = list ? LIST_COLUMNS : raw.empty() ? 132 : std::min<std::size_t>(std::size_t(raw[0].width), 132);
}

bool Reader::next() {
    std::string_view text;
    do {
        if (!read_line(run_, text)) return false;
    } while (text.empty() || text[0] == '(' || blank(text));
    given = changed = 0;
    log_line(run_, text);
    if (text.size() > width_ && !blank(text.substr(width_))) MSGPUT(run_, run_.fmt.routine, LONG_LINE);
    text = text.substr(0, width_);
    if (list_) line_.assign(text);
    run_.CARD = text;
    if (run_.pag.SCRREP) run_.pag.NLINE = run_.pag.LPP;  // a screen shows one card at a time with its headings
    return true;
}

bool Reader::begins_with(std::string_view word) const {
    Card card = run_.CARD;
    UPPER(card.at, int(word.size()));
    return card.view().substr(0, word.size()) == word;
}

bool Reader::decode_columns(void* card) {
    bool good = true;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Slot& slot = slots_[i];
        char* const at = columns(slot);
        if (is_blank(at, slot.width)) {
            if (slot.kind == Kind::text || slot.kind == Kind::letter)
                std::memset(static_cast<char*>(card) + slot.offset, ' ', slot.size);
            continue;
        }
        given |= bit(i);
        if (slot.rules->letters == Letters::upper) UPPER(at, slot.width);
        if (slot.rules->right) RJUST(at, slot.width);
        good &= decode(slot, {at, std::size_t(slot.width)}, static_cast<char*>(card) + slot.offset);
    }
    return good;
}

// One item of a free list into its field and its columns. A number keeps all its digits in the card struct, and its
// columns show what fits.
bool Reader::take_item(const Slot& slot, std::string_view item, void* card) {
    char* const at = columns(slot);
    void* const p = static_cast<char*>(card) + slot.offset;
    const auto width = std::size_t(slot.width);
    if (slot.kind == Kind::text || slot.kind == Kind::letter) {
        if (item.size() > width) return false;
        put_text(slot, item, at);
        return decode(slot, {at, width}, p);
    }
    if (slot.kind == Kind::integer) {
        if (!decode(slot, item, p)) return false;
        encode(slot, p, at);
        return at[0] != '*';
    }
    double number;
    if (!get_real(item, 0, number)) return false;
    if (slot.rules->tiny_is_zero && number == 0.0001) {
        save_number(slot, 0.0, p);
        std::memset(at, ' ', width);
        std::memcpy(at + width - 3, "0.0", 3);
        return true;
    }
    save_number(slot, number, p);
    encode(slot, p, at);
    return true;
}

bool Reader::spread(void* card) {
    std::memset(run_.CARD.at, ' ', sizeof run_.CARD.at);
    for (const Slot& slot : slots_)
        if (slot.kind == Kind::text || slot.kind == Kind::letter)
            std::memset(static_cast<char*>(card) + slot.offset, ' ', slot.size);
    const std::string_view text = line_;
    bool good = true, operation_due = operation_column_ > 0;
    std::size_t at = 0, field = 0;
    while (at <= text.size()) {
        // one item: up to a comma or semicolon outside double quotes, blanks around it dropped
        bool quoted = false;
        std::size_t end = at;
        while (end < text.size() && (quoted || (text[end] != ',' && text[end] != ';'))) quoted ^= text[end++] == '"';
        std::string_view item = text.substr(at, end - at);
        at = end + 1;
        while (!item.empty() && item.front() == ' ') item.remove_prefix(1);
        while (!item.empty() && item.back() == ' ') item.remove_suffix(1);
        std::string unquoted;
        if (item.size() >= 2 && item.front() == '"' && item.back() == '"') {
            for (std::size_t i = 1; i + 1 < item.size(); ++i) {
                unquoted += item[i];
                if (item[i] == '"' && i + 2 < item.size() && item[i + 1] == '"') ++i;  // "" is a quote in the text
            }
            item = unquoted;
        }
        good &= !quoted;

        if (operation_due && (field == slots_.size() || slots_[field].first > operation_column_)) {
            operation_due = false;
            good &= item.size() <= 1;
            if (!item.empty()) run_.CARD.at[operation_column_ - 1] = item[0];
        } else if (field == slots_.size()) {
            good &= item.empty();
        } else {
            const std::size_t i = field++;
            if (blank(item)) continue;
            given |= bit(i);
            good &= take_item(slots_[i], item, card);
        }
    }
    return good;
}

void Reader::fill(void* card, const void* from, FieldSet which) {
    which &= ~given;
    changed |= which;
    for (std::size_t i = 0; which; ++i, which >>= 1) {
        if (!(which & 1)) continue;
        const Slot& slot = slots_[i];
        const char* const value = static_cast<const char*>(from) + slot.offset;
        std::memcpy(static_cast<char*>(card) + slot.offset, value, slot.size);
        if (slot.rules->zero_is_none && std::all_of(value, value + slot.size, [](char c) { return c == 0; }))
            changed &= ~bit(i);
    }
}

void Reader::show(const void* card) {
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Slot& slot = slots_[i];
        if (changed & bit(i))
            encode(slot, static_cast<const char*>(card) + slot.offset, columns(slot));
        else if (slot.kind == Kind::integer || slot.kind == Kind::real)
            RJUST(columns(slot), slot.width);
    }
}

OperationFault read_operation(const Run& run, const OperationColumn& column, Operation& op) {
    if (column.column == 0) return OperationFault::none;
    char c = run.CARD.at[column.column - 1];
    if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    if (column.letters_only && c >= '0' && c <= '9') c = '9';
    if (c == ' ') c = '0';
    if (const auto i = column.letters.find(c); i != std::string_view::npos) c = char('0' + i);
    op = c >= '0' && c <= '2' ? Operation(c - '0' + 1) : Operation::failed;
    if (op != Operation::failed) return OperationFault::none;
    const bool known_kind = (c >= '3' && c <= '9') || column.letters_only;
    return known_kind ? OperationFault::digit : OperationFault::letter;
}

void echo(Run& run, const EchoRows& rows, std::span<const Slot> slots, const OperationColumn& column, Operation op) {
    const bool narrow = run.opt["80CO"_opt];
    const int row = narrow ? rows.echo80 : rows.echo132;
    const std::string& text = run.fmt.rot(row).text();
    PAGFIT(run, run.msg.NERQ, run.msg.NWAQ, 1 + int(std::count(text.begin(), text.end(), '/')));
    Page page(run);
    if (run.pag.NLINE >= run.pag.LPP) {
        const int first = narrow ? rows.heading80 : rows.heading132;
        const int last = narrow ? rows.heading80_last : rows.heading132_last;
        PAGHDR(run);
        if (run.pag.KEYANS == ' ')
            for (int k = first; k <= last; ++k) page.line(k);
    }
    const std::string& word = run.fmt.rot(column.words + int(op) - 1).text();
    std::vector<Arg> values;
    values.reserve(slots.size() + 1);
    bool word_due = column.column > 0;
    auto put_word = [&] {
        if (word_due) values.emplace_back(word);
        word_due = false;
    };
    for (const Slot& slot : slots) {
        if (slot.first > column.column) put_word();
        values.emplace_back(std::string_view(run.CARD.at + slot.first - 1, std::size_t(slot.width)));
    }
    put_word();
    page.line(row, std::span<const Arg>(values));
    MSGOUT(run);
}

void open_block(Run& run, std::string_view routine) {
    LDFORM(run, routine);
    run.msg.NERR = 0;
    run.pag.NLINE = run.pag.LPP;  // the first echo starts a page
    run.pag.PAUSOK = false;
    if (run.pag.SCRREP) run.pag.PAUSAT = false;
}

void close_block(Run& run) {
    MSGOUT(run);
    PAGWAI(run);
    if (run.msg.NERR != 0) INTERR(run);
}

}  // namespace korvane::card_detail
