// The language of format rows: run-time format strings that turn numbers and texts into columns and back.
//
// A row is compiled once into a list of steps. Descriptors: A, Aw, Iw, Iw.m, Fw.d, Ew.d, nX, Tn, 'literal', "literal",
// / for a new line, repeat counts, groups in parentheses, commas between items. See docs/catalogue.md.
#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/text.hpp"

namespace korvane {

/// One value handed to a format row for printing.
struct Arg {
    enum class Kind : std::uint8_t { integer, real, text };
    Kind kind;
    std::uint32_t columns = 0;  // of a text
    union {
        long long i;
        double r;
        const char* p;
    };
    Arg(int v) : kind(Kind::integer), i(v) {}
    Arg(long long v) : kind(Kind::integer), i(v) {}
    Arg(std::size_t v) : kind(Kind::integer), i(static_cast<long long>(v)) {}
    Arg(double v) : kind(Kind::real), r(v) {}
    Arg(std::string_view v) : kind(Kind::text), columns(std::uint32_t(v.size())), p(v.data()) {}
    Arg(const std::string& v) : Arg(std::string_view(v)) {}
    Arg(const char* v) : Arg(std::string_view(v)) {}
    template <int N>
    Arg(const Text<N>& v) : Arg(v.view()) {}
    Arg(bool) = delete;
    std::string_view text() const { return {p, columns}; }
};

/// One value to be read by a format row.
struct Target {
    enum class Kind : std::uint8_t { integer, real, text };
    Kind kind;
    union {
        int* i;
        double* r;
        char* p;
    };
    int columns = 0;  // room of a text
    Target(int* v) : kind(Kind::integer), i(v) {}
    Target(double* v) : kind(Kind::real), r(v) {}
    Target(char* v, int room) : kind(Kind::text), p(v), columns(room) {}
};

/// One step of a compiled row. Repeats and groups are unrolled: a row runs from its first step to its last.
struct FormatStep {
    enum class Op : std::uint8_t { a, i, f, e, skip, tab, literal, line };
    Op op;
    std::int16_t width = 0;     // columns of a field, 0: as wide as the text; to skip; column of a tab; of a literal
    std::int16_t decimals = 0;  // of F and E; least digits of I
    std::int32_t at = 0;        // of a literal: its first character in the row's literals
};

/// A compiled format row.
class FormatRow {
public:
    FormatRow() = default;
    /// Bounds of a row, so that no row, however written, costs much to compile or to print.
    static constexpr int MOST_STEPS = 1000, LAST_COLUMN = 1000, DEEPEST_GROUP = 10;

    /// Compiles the text of a row. A row in error, such as a plain word, prints as its own text and refuses to read;
    /// error() says what is wrong and where. A blank row prints an empty line.
    explicit FormatRow(std::string_view text);

    const std::string& text() const { return text_; }
    const std::string& error() const { return error_; }

    /// Appends the line, or lines separated by '\n', that the values make; no final line end. Stops before the first
    /// field without a value; values left over start the row again from its last group, on a new line. A number that
    /// does not fit its columns fills them with stars, and so does a value of another kind than its field.
    void write(std::string& out, std::span<const Arg> values) const;

    /// Reads the values from the columns of a line, short lines counting as padded with blanks. A blank number reads
    /// as 0. False when a field does not hold a number of its kind, or the row runs out of fields.
    bool read(std::string_view line, std::span<const Target> targets) const;

    /// One data field of the row when laid over a line: its first column from 1, its width and decimals.
    struct Field {
        int column, width, decimals;
        FormatStep::Op op;
    };
    /// The data fields of the row in order, groups unrolled once through.
    std::vector<Field> fields() const;

private:
    friend class FormatCompiler;
    std::string text_, error_, literals_;
    std::vector<FormatStep> steps_;
    int again_ = -1;   // step at which values left over start the row again; -1: nothing there takes a value
    int columns_ = 0;  // of its longest line, texts without a width not counted
};

}  // namespace korvane
