// A case out of its records into the store.
#include <algorithm>
#include <cmath>

#include "casestore/case_checks.hpp"
#include "casestore/case_io.hpp"
#include "casestore/case_versions.hpp"
#include "casestore/derived_columns.hpp"
#include "casestore/whole_store.hpp"
#include "network/aggregators.hpp"

namespace korvane {

namespace {

constexpr int UNREADABLE = 100, NO_CASE = 110, WRONG_FAMILY = 120, TOO_OLD = 130, TOO_NEW = 140, BROKEN_CHAIN = 390,
              UNSOUND = 410;

int message_of(CaseReader::Fault fault) {
    switch (fault) {
        case CaseReader::Fault::none: return 0;
        case CaseReader::Fault::unreadable: return UNREADABLE;
        case CaseReader::Fault::chain: return BROKEN_CHAIN;
    }
    return UNREADABLE;
}

// --- the head

void restore_constants(CaseReader& in, CaseContext& c) {
    std::array<double, CONSTANT_CELLS> values{};
    in.RETFLT({values.data()}, c.constants());
    Constants& k = c.run.cte;
    for (const ConstantCell& cell : constant_cells()) {
        const double v = values[std::size_t(cell.place - 1)];
        if (cell.place > c.constants() || !std::isfinite(v) || (cell.if_positive && v <= 0)) continue;
        if (cell.real)
            k.*cell.real = v;
        else if (v < 2147483647.0)
            k.*cell.whole = int(v);
    }
    k.RBASE = 1 / k.BASE;
}

template <std::size_t N>
void restore_flags(CaseReader& in, CaseContext& c, std::bitset<N>& flags, std::span<const MovedSlot> moved, int n) {
    std::array<bool, N> slots{};
    in.RETLOG({slots.data() + 1}, n);
    flags.reset();
    const int kept = c.plain() ? (N == CODES + 1 ? OLD_CODES : OLD_OPTIONS) : n;
    for (int i : rows(std::min(kept, n))) flags[std::size_t(i)] = slots[std::size_t(i)];
    if (!c.plain()) return;
    for (const MovedSlot& m : moved) flags[std::size_t(m.old_slot)] = false;
    for (const MovedSlot& m : moved) flags[std::size_t(m.slot)] = slots[std::size_t(m.old_slot)];
}

/// The texts in front of the constants: title, information line, comment.
void restore_texts(CaseReader& in, CaseContext& c, RestoreOutcome& out) {
    Run& run = c.run;
    in.RETCHR({run.TITLE.at}, 1, 80);
    in.skip(4, in.integer_bytes());
    out.information.fill(' ');
    out.has_information = c.version >= FIRST_INFORMATION;
    if (!out.has_information) return;
    in.RETCHR({out.information.data()}, 1, 80);
    CaseComment& comment = run.store.comment;
    in.RETCHR({comment.text.data()}, 1, MXCMT);
    comment.length = MXCMT;
    while (comment.length > 0 && (comment.text[std::size_t(comment.length - 1)] == ' ' ||
                                  comment.text[std::size_t(comment.length - 1)] == '\0'))
        --comment.length;
    comment.length = (comment.length + 79) / 80 * 80;  // whole rows
}

/// Takes the cells of LINE that are no counts.
void take_numbers(CaseContext& c) {
    for (const NumberCell& cell : number_cells())
        if (c.version >= cell.from && (!cell.constant || c.LINE(cell.cell) > 0))
            *cell.number(c.run) = c.LINE(cell.cell);
}

// --- the tables

/// Rows in use, with reset values: a field that the version does not hold keeps them.
void take_rows(CaseContext& c) {
    Store& s = c.s();
    for (const CountCell& cell : count_cells())
        if (cell.count) *cell.count(s) = c.LINE(cell.cell);
    each_family(s, [](auto& t) {
        each_table(t, [&](const auto& column, auto& table) { table.fill(t.count(), column.reset); });
    });
}

void restore_field(CaseReader& in, CaseContext& c, const CaseField& f, int n) {
    if (!f.table || f.rebuilt) {
        const int bytes = f.kind == Kind::R ? in.real_bytes() : f.kind == Kind::I ? in.integer_bytes() : 1;
        if (f.kind == Kind::C && n > INT_MAX / f.columns) n = INT_MAX / f.columns;
        return in.skip(f.kind == Kind::C ? n * f.columns : n, bytes);
    }
    void* const table = f.table(c);
    switch (f.kind) {
        case Kind::R: return in.RETFLT({static_cast<double*>(table), f.stride}, n);
        case Kind::L: return in.RETLOG({static_cast<bool*>(table), f.stride}, n);
        case Kind::C: return in.RETCHR({static_cast<char*>(table), f.stride}, n, f.columns);
        case Kind::I: break;
    }
    if (f.byte) return in.RETINT(Strided<std::uint8_t>{static_cast<std::uint8_t*>(table), f.stride}, n);
    in.RETINT(Strided<int>{static_cast<int*>(table), f.stride}, n);
}

/// Counts of rows that are not in the stream become 0: of sections that the version does not have, and of those that
/// stand inside an empty one.
void settle_counts(CaseContext& c) {
    std::array<bool, CELLS + 1> held{};
    for (const CaseSection& section : case_sections()) {
        if (!section.in(c)) continue;
        held[std::size_t(section.count())] = true;
        for (const int cell : section.guards)
            if (cell != 0 && c.LINE(cell) == 0) c.LINE(section.count()) = 0;
    }
    for (const CountCell& cell : count_cells())
        if (!held[std::size_t(cell.cell)]) c.LINE(cell.cell) = 0;
}

int restore_tables(CaseReader& in, CaseContext& c, RestoreOutcome& out) {
    settle_counts(c);
    take_rows(c);
    each_case_field(c, [&](const CaseField& f, int n) { restore_field(in, c, f, n); });
    if (in.fault() != CaseReader::Fault::none) return message_of(in.fault());
    return in.outside() || !sound_fields(c, out.field) || !sound_tables(c, out.field) ? UNSOUND : 0;
}

/// What the file does not hold, out of what it does.
void rebuild(CaseContext& c, RestoreOutcome& out) {
    Run& run = c.run;
    Store& s = run.store;
    out.dropped = drop_stray_bank_rows(run);
    link_groups(s);
    for (int k : rows(MXAGR)) s.agr.NAGINT(k) = k;
    for (int p : rows(s.phs.NPHS)) {
        int& type = s.branch.LTYPE(s.tap.NOTAP(s.phs.NOPHS(p)));
        if (type == 6 && s.phs.NBEPHS(p) == 0) type = 2;
    }
    rebuild_addresses(run);
    take_terminals(c);
    auto& done = run.ctl.KNTRL;
    done[87] = done[87] && s.tpf.n > 0;
    done[89] = done[89] && s.fcr.n > 0;
    done[90] = done[90] && s.fql.n > 0;
    done[18] = done[19] = false;  // no result of contingencies or sensitivities comes with a case
}

int read_stream(Run& run, Records& r, const Directory& d, int n, bool whole, RestoreOutcome& out) {
    CaseContext c{run, out.head.encoding, out.head.version, false};
    CaseReader in(r, c.encoding, d.first(n), d.last(n), d.highest());
    restore_texts(in, c, out);
    restore_constants(in, c);
    in.RETINT(Strided<int>{c.LINE.data()}, c.cells());
    if (in.fault() != CaseReader::Fault::none) return message_of(in.fault());
    if (const int message = wrong_count(c, out.element)) {
        if (message != 400) out.element = c.LINE(out.element);
        return message;
    }
    restore_flags(in, c, run.ctl.KNTRL, moved_codes(), c.LINE(36));
    restore_flags(in, c, run.opt.OPTDEF, moved_options(), c.LINE(44));
    take_numbers(c);
    if (const int message = restore_tables(in, c, out)) return message;
    const std::string_view information(out.information.data(), out.information.size());
    adapt_constants(c, information);
    adapt_tables(c, information);
    rebuild(c, out);
    if (whole) restore_rest(in, c);
    return message_of(in.fault());
}

/// Middle points of three-winding transformers, by bus number: older cases do not hold them.
std::vector<std::pair<int, int>> middle_points(const Store& s) {
    std::vector<std::pair<int, int>> all;
    for (int k : rows(s.bus.NB))
        if (s.bus.IBMIDPOINT(k) != 0) all.emplace_back(s.bus.NOINT(k), s.bus.IBMIDPOINT(k));
    return all;
}

int restore(Run& run, Records& r, int n, bool whole, RestoreOutcome& out) {
    const Reading scope(r);
    if (!scope) return scope.admission() == Admission::busy ? BUSY : UNREADABLE;
    Directory d;
    if (!d.read(r)) return UNREADABLE;
    if (n < 1 || n > CASES || !d.has(n)) return NO_CASE;
    const Chain chain = CHKCHN(r, d, n);
    if (chain == Chain::unreadable || !read_head(r, d.first(n), out.head)) return UNREADABLE;
    if (chain == Chain::broken) return BROKEN_CHAIN;
    out.element = out.head.version;
    if (out.head.family > CASE_FAMILY) return WRONG_FAMILY;
    if (out.head.version < OLDEST_VERSION) return TOO_OLD;
    if (out.head.version > CURRENT_VERSION) return TOO_NEW;
    return read_stream(run, r, d, n, whole, out);
}

}  // namespace

RestoreOutcome read_case(Run& run, Records& r, int n, bool whole) {
    RestoreOutcome out;
    const auto middles = middle_points(run.store);
    const bool keep_icte = run.opt.OPTDEF[std::size_t("ICTE"_opt.index)];
    RESET(run);
    out.error = restore(run, r, n, whole, out);
    if (out.error) {
        RESET(run);
    } else if (out.head.version < 73 || out.head.encoding == Encoding::narrow) {
        for (const auto& [number, mark] : middles)
            if (const int k = bus_of(run.store, number)) run.store.bus.IBMIDPOINT(k) = mark;
    }
    run.opt.OPTDEF[std::size_t("ICTE"_opt.index)] = keep_icte;
    return out;
}

bool read_information(Records& r, const Directory& d, int n, std::array<char, 80>& line) {
    CaseHead head;
    if (!read_head(r, d.first(n), head) || head.version < FIRST_INFORMATION) return false;
    char bytes[DIRECTORY_BYTES];
    if (!r.read(d.first(n), bytes, DIRECTORY_BYTES)) return false;
    std::memcpy(line.data(), bytes + (head.encoding == Encoding::wide ? 104 : 92), line.size());
    return true;
}

}  // namespace korvane
