#include "frame/format.hpp"

#include <algorithm>
#include <cstring>

#include "frame/decimal.hpp"

namespace korvane {

using Op = FormatStep::Op;

static bool takes_value(Op op) { return op == Op::a || op == Op::i || op == Op::f || op == Op::e; }

// Compiling -----------------------------------------------------------------------------------------------------------

/// Turns the text of a row into its steps. The first fault ends it: error_ is set and every routine returns at once.
class FormatCompiler {
public:
    explicit FormatCompiler(FormatRow& row) : row_(row), s_(row.text_) {}

    void run() {
        if (peek() == '\0' && at_ == s_.size()) return;  // a blank row
        if (peek() != '(') return fail("does not begin with \"(\"");
        ++at_;
        int last_group = 0;
        items(1, last_group);
        if (!failed() && (peek() != '\0' || at_ != s_.size())) fail("goes on behind the last \")\"");
        if (!failed()) measure(last_group);
        if (failed()) {
            row_.steps_.clear();
            row_.literals_.clear();
        }
    }

private:
    /// The next character that is no blank; NUL at the end.
    char peek() {
        while (at_ < s_.size() && s_[at_] == ' ') ++at_;
        return at_ < s_.size() ? s_[at_] : '\0';
    }
    bool accept(char c) {
        if (peek() != c || at_ == s_.size()) return false;
        ++at_;
        return true;
    }
    bool failed() const { return !row_.error_.empty(); }
    void fail(const std::string& what) {
        if (!failed()) row_.error_ = what + ", at character " + std::to_string(at_ + 1);
    }

    /// A whole number of 1 to LAST_COLUMN, 0 for none; zero itself and more are faults, unless zero is allowed.
    int number(bool& there, bool zero_allowed = false) {
        int n = 0;
        for (there = false; peek() >= '0' && peek() <= '9'; there = true) {
            n = std::min(n * 10 + (s_[at_] - '0'), FormatRow::LAST_COLUMN + 1);
            ++at_;
        }
        if (there && n == 0 && !zero_allowed) fail("a count, width or column of 0");
        if (n > FormatRow::LAST_COLUMN) fail("a number above " + std::to_string(FormatRow::LAST_COLUMN));
        return n;
    }

    void add(const FormatStep& step, int times = 1) {
        if (row_.steps_.size() + std::size_t(times) > std::size_t(FormatRow::MOST_STEPS))
            return fail("more than " + std::to_string(FormatRow::MOST_STEPS) + " steps when repeats are written out");
        row_.steps_.insert(row_.steps_.end(), std::size_t(times), step);
    }

    /// The items up to the closing parenthesis, which it takes. last_group: first step of the last group met.
    void items(int depth, int& last_group) {
        if (depth > FormatRow::DEEPEST_GROUP) return fail("groups nested too deeply");
        // A comma stands between two items; "/", literals and parentheses also do without one.
        bool comma = false, loose = true;
        for (bool first = true;; first = false) {
            if (accept(')')) {
                if (comma) --at_, fail("a comma before \")\"");
                return;
            }
            const char c = peek();
            const bool free = at_ == s_.size() || c == '/' || c == '\'' || c == '"' || c == '(';
            if (!first && !comma && !loose && !free) return fail("a comma is missing");
            loose = item(depth, last_group);
            if (failed()) return;
            comma = accept(',');
        }
    }

    /// One item; true when no comma needs to follow it.
    bool item(int depth, int& last_group) {
        bool counted = false, there = false;
        const int count = number(counted), times = counted ? count : 1;
        const char c = peek();
        if (failed()) return false;
        if (c == '\0') {
            fail(at_ == s_.size() ? "ends without \")\"" : "holds a NUL character");
            return false;
        }
        ++at_;
        switch (c) {
            case '(': {
                const std::size_t first = row_.steps_.size();
                int inner = 0;
                items(depth + 1, inner);
                if (failed()) return true;
                last_group = int(first);
                repeat(first, times);
                return true;
            }
            case '/': add({Op::line}, times); return true;
            case '\'':
            case '"':
                if (counted) --at_, fail("a repeat count before a literal");
                literal(c);
                return true;
            case 'x':
            case 'X': add({Op::skip, std::int16_t(times)}); return false;
            case 't':
            case 'T': {
                if (counted) --at_, fail("a repeat count before T");
                const int column = number(there);
                if (!there) fail("T without a column");
                add({Op::tab, std::int16_t(column)});
                return false;
            }
            case 'a':
            case 'A': {
                const int width = number(there);
                add({Op::a, std::int16_t(width)}, times);
                return false;
            }
            case 'i':
            case 'I': return numeric(Op::i, times);
            case 'f':
            case 'F': return numeric(Op::f, times);
            case 'e':
            case 'E': return numeric(Op::e, times);
            default:
                --at_;
                fail(c == ',' ? std::string("a comma with no item before it")
                              : "unknown descriptor \"" + std::string(1, c) + '"');
                return false;
        }
    }

    bool numeric(Op op, int times) {
        bool there = false;
        const int width = number(there);
        if (!there) fail("a number field without a width");
        int decimals = 0;
        if (accept('.')) {
            decimals = number(there, true);
            if (!there) fail("no digit behind the point of a descriptor");
            if (op == Op::i && decimals > width) fail("more digits than columns");
            if (op == Op::e && decimals == 0) fail("E without a digit");
        } else if (op != Op::i) {
            fail("F or E without its decimals");
        }
        add({op, std::int16_t(width), std::int16_t(decimals)}, times);
        return false;
    }

    void literal(char quote) {
        const std::size_t first = row_.literals_.size();
        for (;; ++at_) {
            if (at_ == s_.size()) return fail("a literal without its closing quote");
            if (s_[at_] == quote) {
                ++at_;
                if (at_ == s_.size() || s_[at_] != quote) break;  // a doubled quote is one character
            }
            row_.literals_ += s_[at_];
            if (row_.literals_.size() > std::size_t(FormatRow::LAST_COLUMN)) return fail("literals are too long");
        }
        add({Op::literal, std::int16_t(row_.literals_.size() - first), 0, std::int32_t(first)});
    }

    void repeat(std::size_t first, int times) {
        const std::size_t length = row_.steps_.size() - first;
        if (length * std::size_t(times - 1) + row_.steps_.size() > std::size_t(FormatRow::MOST_STEPS))
            return fail("more than " + std::to_string(FormatRow::MOST_STEPS) + " steps when repeats are written out");
        row_.steps_.reserve(first + length * std::size_t(times));
        for (int t = 1; t < times; ++t)
            for (std::size_t k = 0; k < length; ++k) row_.steps_.push_back(row_.steps_[first + k]);
    }

    /// Longest line, and the place from which values left over are printed.
    void measure(int last_group) {
        int column = 0;
        for (const FormatStep& step : row_.steps_) {
            if (step.op == Op::line)
                column = 0;
            else if (step.op == Op::tab)
                column = step.width - 1;
            else
                column += step.width;
            row_.columns_ = std::max(row_.columns_, column);
        }
        if (row_.columns_ > FormatRow::LAST_COLUMN)
            return fail("a line beyond column " + std::to_string(FormatRow::LAST_COLUMN));
        const auto data = [](const FormatStep& step) { return takes_value(step.op); };
        const auto begin = row_.steps_.begin(), end = row_.steps_.end();
        if (std::any_of(begin + last_group, end, data))
            row_.again_ = last_group;
        else if (std::any_of(begin, end, data))
            row_.again_ = 0;
    }

    FormatRow& row_;
    const std::string& s_;
    std::size_t at_ = 0;
};

FormatRow::FormatRow(std::string_view text) : text_(text) {
    FormatCompiler(*this).run();
    steps_.shrink_to_fit();
}

// Printing ------------------------------------------------------------------------------------------------------------

/// A line being printed. The string is kept as long as the row's longest line and cut to what was written at its end,
/// so a field only writes its own columns.
class FormatLine {
public:
    FormatLine(std::string& out, std::size_t columns) : out_(out), columns_(columns) { start(); }
    /// The next n columns, for writing all of them.
    char* take(std::size_t n) {
        const std::size_t from = at_;
        at_ += n;
        if (at_ > out_.size()) out_.resize(std::max(at_, base_ + columns_), ' ');
        written_ = std::max(written_, at_);
        return out_.data() + from;
    }
    void skip(std::size_t n) { at_ += n; }
    void tab(std::size_t column) { at_ = base_ + column - 1; }
    void finish() { out_.resize(written_); }
    void next_line() {
        finish();
        out_ += '\n';
        start();
    }

private:
    void start() {
        base_ = at_ = written_ = out_.size();
        out_.resize(base_ + columns_, ' ');
    }
    std::string& out_;
    std::size_t columns_, base_ = 0, at_ = 0, written_ = 0;
};

static void write_field(FormatLine& line, const FormatStep& step, const Arg& value) {
    const std::size_t width = std::size_t(step.width);
    if (step.op == Op::a && value.kind == Arg::Kind::text) {
        const std::string_view text = value.text();
        const std::size_t w = width ? width : text.size(), n = std::min(w, text.size());
        char* p = line.take(w);
        std::memset(p, ' ', w - n);
        if (n > 0) std::memcpy(p + (w - n), text.data(), n);
    } else if (step.op == Op::i && value.kind == Arg::Kind::integer) {
        char* p = line.take(width);
        put_integer(p, step.width, value.i);
        if (step.decimals > 1 && *p != '*') {  // I2.2: zeros up to so many digits
            char* const end = p + width;
            char* first = std::find_if(p, end, [](char c) { return c != ' '; });
            const bool minus = *first == '-';
            char* const want = end - step.decimals;
            if (minus && want <= p) return std::fill(p, end, '*'), void();
            first += int(minus);
            if (want < first) {
                std::fill(want, first, '0');
                if (minus) want[-1] = '-';
            }
        }
    } else if (step.op == Op::f && value.kind == Arg::Kind::real) {
        put_fixed(line.take(width), step.width, step.decimals, value.r);
    } else if (step.op == Op::e && value.kind == Arg::Kind::real) {
        put_exponent(line.take(width), step.width, step.decimals, value.r);
    } else {  // a value of another kind: as visible as one that does not fit
        const std::size_t w = width ? width : 1;
        std::memset(line.take(w), '*', w);
    }
}

void FormatRow::write(std::string& out, std::span<const Arg> values) const {
    if (!error_.empty()) {
        out += text_;
        return;
    }
    FormatLine line(out, std::size_t(columns_));
    std::size_t next = 0;
    for (std::size_t k = 0;; ++k) {
        if (k == steps_.size()) {
            if (next == values.size() || again_ < 0) break;
            k = std::size_t(again_);
            line.next_line();
        }
        const FormatStep& step = steps_[k];
        switch (step.op) {
            case Op::skip: line.skip(std::size_t(step.width)); break;
            case Op::tab: line.tab(std::size_t(step.width)); break;
            case Op::line: line.next_line(); break;
            case Op::literal:
                std::memcpy(line.take(std::size_t(step.width)), literals_.data() + step.at, std::size_t(step.width));
                break;
            default:
                if (next == values.size()) return line.finish();
                write_field(line, step, values[next++]);
        }
    }
    line.finish();
}

// Reading -------------------------------------------------------------------------------------------------------------

/// Columns of a field into its target; `columns` is what the line has of them, blanks stand for the rest.
static bool read_field(std::string_view columns, const FormatStep& step, const Target& target) {
    if (step.op == Op::i) return target.kind == Target::Kind::integer && get_integer(columns, *target.i);
    if (step.op != Op::a) return target.kind == Target::Kind::real && get_real(columns, step.decimals, *target.r);
    if (target.kind != Target::Kind::text) return false;
    const std::size_t room = std::size_t(std::max(target.columns, 0)),
                      width = step.width ? std::size_t(step.width) : room;
    if (width > room) columns.remove_prefix(std::min(width - room, columns.size()));  // the last columns win
    const std::size_t n = std::min(columns.size(), room);
    if (n > 0) std::memcpy(target.p, columns.data(), n);
    std::fill(target.p + n, target.p + room, ' ');
    return true;
}

bool FormatRow::read(std::string_view line, std::span<const Target> targets) const {
    if (!error_.empty()) return false;
    std::string_view rest = line;  // the present line and those behind it
    std::string_view present = rest.substr(0, rest.find('\n'));
    std::size_t at = 0, next = 0;
    for (const FormatStep& step : steps_) {
        std::size_t width = std::size_t(step.width);
        if (step.op == Op::tab) {
            at = width - 1;
        } else if (step.op == Op::line) {
            rest.remove_prefix(std::min(present.size() + 1, rest.size()));
            present = rest.substr(0, rest.find('\n'));
            at = 0;
        } else if (!takes_value(step.op)) {
            at += width;
        } else {
            if (next == targets.size()) return true;
            const Target& target = targets[next++];
            if (step.op == Op::a && width == 0) width = std::size_t(std::max(target.columns, 0));
            if (!read_field(present.substr(std::min(at, present.size()), width), step, target)) return false;
            at += width;
        }
    }
    return next == targets.size();
}

std::vector<FormatRow::Field> FormatRow::fields() const {
    std::vector<Field> fields;
    int column = 1;
    for (const FormatStep& step : steps_) {
        if (step.op == Op::tab) {
            column = step.width;
        } else if (step.op == Op::line) {
            column = 1;
        } else {
            if (takes_value(step.op)) fields.push_back({column, step.width, step.decimals, step.op});
            column += step.width;
        }
    }
    return fields;
}

}  // namespace korvane
