// What a case file holds, in its order: one description for every reader and writer, in every version and encoding.
//
// A case is a head, the table LINE of counts, and fields in sections. A section is there when its count, and those it
// stands inside of, are above zero; a field when the version is between its first and its last.
#pragma once
#include <array>
#include <climits>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "casestore/case_stream.hpp"
#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

constexpr int OLDEST_VERSION = 51, PLAIN_VERSION = 63, V962_VERSION = 72, CURRENT_VERSION = 78;
constexpr int FIRST_INFORMATION = 63;  // version with an information line and a comment
constexpr int INFORMATION_ROW = 1;     // of SAVCAS in the catalogue
constexpr int CASE_FAMILY = 1;         // of the identification block
constexpr int CELLS = 200;             // of LINE; 100 in a narrow case up to version 63
constexpr int PLAIN_CELLS = 100;
constexpr int CONSTANT_CELLS = 120;               // the table of constants of the newest versions
constexpr int NO_LIMIT_CELL = 9999;               // cell 43: a rating from here on is none
constexpr std::string_view RELEASE = "00.01.00";  // of the program, as the information line tells it

/// One save or one restore.
struct CaseContext {
    Run& run;
    Encoding encoding;
    int version;
    bool writing;
    Table<int, CELLS> LINE{};
    std::vector<double> reals[4]{};  // columns that are worked out for the stream, or out of it
    std::vector<int> integers{};
    std::unique_ptr<bool[]> logicals{};

    Store& s() { return run.store; }
    bool wide() const { return encoding == Encoding::wide; }
    bool plain() const { return !wide() && version <= PLAIN_VERSION; }
    int cells() const { return plain() ? PLAIN_CELLS : CELLS; }
    int constants() const { return version < 61 ? 48 : version < 64 ? 60 : CONSTANT_CELLS; }
};

enum class Kind : char { R = 'R', I = 'I', L = 'L', C = 'C' };

/// A copy with a change.
template <class T, class F>
constexpr T with(T copy, F change) {
    change(copy);
    return copy;
}

/// One field: n elements of a kind.
struct CaseField {
    const char* name;
    Kind kind;
    int stride = 0;                          // bytes from an element to the next in memory
    void* (*table)(CaseContext&) = nullptr;  // the first element; nothing: no table holds it, zeros are written
    bool column = false;                     // of the store, as it is
    bool rebuilt = false;                    // passed over on reading: it follows from other tables
    bool byte = false;                       // an integer of one byte in memory
    bool rating = false;                     // none, in a narrow case, is 9999
    int columns = 1;                         // of a text
    int from = OLDEST_VERSION, until = CURRENT_VERSION;
    int more = 0;                       // elements beyond the count
    std::optional<Family> target{};     // an integer that is a row of this family ...
    int low = INT_MIN, high = INT_MAX;  // what an integer may be; of a row, above its family's count never

    /// The value of a row may be 1 and up, not 0.
    constexpr CaseField needed() const {
        return with(*this, [](CaseField& f) { f.low = 1; });
    }
    /// Its sign tells something.
    constexpr CaseField with_sign() const {
        return with(*this, [](CaseField& f) { f.low = INT_MIN; });
    }
    constexpr CaseField within(int a, int b) const {
        return with(*this, [=](CaseField& f) { f.low = a, f.high = b; });
    }
    constexpr CaseField since(int v) const {
        return with(*this, [=](CaseField& f) { f.from = v; });
    }
    constexpr CaseField plus(int n) const {
        return with(*this, [=](CaseField& f) { f.more = n; });
    }
    constexpr CaseField rated() const {
        return with(*this, [](CaseField& f) { f.rating = true; });
    }
    constexpr CaseField derived() const {
        return with(*this, [](CaseField& f) { f.rebuilt = true; });
    }
};

/// Fields of one count.
struct CaseSection {
    std::array<int, 4> guards;  // cells of LINE that must be above zero, 0 for none; the first is the count
    std::span<const CaseField> fields;
    int from = OLDEST_VERSION;  // version of all its fields
    bool wide_only = false;
    bool always = false;  // written in every version, though read from `from` on only
    int count() const { return guards[0]; }
    /// Whether a case of this encoding and version has the section.
    bool in(const CaseContext& c) const {
        return (c.wide() || !wide_only) && (c.version >= from || (always && c.writing));
    }
};
std::span<const CaseSection> case_sections();

/// f(field, number of elements) for every field that the case has, in order.
template <class F>
void each_case_field(CaseContext& c, F&& f) {
    for (const CaseSection& section : case_sections()) {
        if (!section.in(c)) continue;
        bool there = true;
        for (const int cell : section.guards) there = there && (cell == 0 || c.LINE(cell) > 0);
        if (!there) continue;
        for (const CaseField& field : section.fields)
            if (field.from <= c.version && c.version <= field.until) f(field, c.LINE(section.count()) + field.more);
    }
}

/// A cell of LINE that counts rows.
struct CountCell {
    int cell;
    int* (*count)(Store&);  // nothing: rows that this program does not keep
    int (*taken)(Store&);   // rows to write, those out of service too
    int limit;
    int message;  // of RETCAS, when the count is negative or above the limit
};
std::span<const CountCell> count_cells();

/// A cell of LINE that is a number of its own: an integer constant, or the state of the solution.
struct NumberCell {
    int cell;
    int* (*number)(Run&);
    bool constant = false;  // taken only when above 0
    int from = OLDEST_VERSION;
};
std::span<const NumberCell> number_cells();

/// The families of cells 76 to 101: their rows in service.
constexpr int FIRST_SERVICE_CELL = 76;
std::span<const Family> service_cells();

/// Constants by their place in the table of reals, from 1; nothing where the file holds 0.
struct ConstantCell {
    int place;
    double Constants::*real;
    int Constants::*whole;
    bool if_positive;  // taken only when above 0
};
std::span<const ConstantCell> constant_cells();

/// Slots of KNTRL and OPTDEF that a narrow case of version 63 holds elsewhere.
struct MovedSlot {
    int old_slot, slot;
};
constexpr int OLD_CODES = 96, OLD_OPTIONS = 192;
std::span<const MovedSlot> moved_codes();
std::span<const MovedSlot> moved_options();

}  // namespace korvane
