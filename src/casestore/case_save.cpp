// The network in memory as a case.
#include <algorithm>

#include "casestore/case_io.hpp"
#include "casestore/whole_store.hpp"
#include "network/service_order.hpp"

namespace korvane {

namespace {

// --- what a case cannot hold

/// Whether any row has a state that is not set.
template <class State>
bool any_off(const State& state, int n) {
    for (int i : rows(n))
        if (!state(i)) return true;
    return false;
}

/// SAVCAS 101: a circuit whose end is open by itself.
int open_end(const Store& s, int branches) {
    for (int l : rows(branches))
        if (!s.branch.STLIND(l) || !s.branch.STLINP(l)) return l;
    return 0;
}

/// SAVCAS 90: what version 63 has no place for. Counts are those of LINE.
bool too_new(CaseContext& c) {
    const Store& s = c.s();
    const auto& n = c.LINE;
    if (n(75) || n(68) || n(69)) return true;
    for (int k = 1; k <= 6; ++k)
        if (n(102 + k)) return true;
    for (int k : rows(n(12)))
        if (s.bus.NOINT(k) > 9998) return true;
    for (int a : rows(n(26)))
        if (s.area.NAINT(a) > 99) return true;
    for (int g : rows(n(42)))
        if (s.gbt.GBTEN(g).at[0] != ' ') return true;
    for (int g : rows(n(27)))
        if (s.glt.GLTEN(g).at[0] != ' ') return true;
    for (int l : rows(n(17)))
        if (s.branch.KAPAQ(l) != s.branch.KAPAC(l)) return true;
    return any_off(s.bus.STBUS, n(12)) || any_off(s.cer.STUCER, n(63)) || any_off(s.mot.STMOT, n(41)) ||
           any_off(s.ldc.STUELO, n(45)) || any_off(s.shl.STSHLD, n(46)) || any_off(s.shl.STSHLP, n(46));
}

constexpr int LARGEST_INTEGER = 32767;  // of a narrow case
bool fits(int v) { return v >= -LARGEST_INTEGER - 1 && v <= LARGEST_INTEGER; }

/// SAVCAS 90: the first number that a narrow case cannot hold.
const char* too_large(CaseContext& c) {
    const char* found = nullptr;
    for (int cell : rows(CELLS))
        if (!fits(c.LINE(cell))) return "LINE";
    each_case_field(c, [&](const CaseField& f, int n) {
        if (found || f.kind != Kind::I || f.byte || !f.table) return;
        const Strided<const int> v{static_cast<const int*>(f.table(c)), f.stride};
        for (int i = 0; i < n && !found; ++i)
            if (!fits(v[i]) && !(f.rating && v[i] >= int(INFINITE_RATING))) found = f.name;
    });
    return found;
}

// --- the head

/// Cells of LINE from the store. Version 63 has no place for the newer ones, version 72 for the newest.
void fill_cells(CaseContext& c) {
    Store& s = c.s();
    for (const NumberCell& cell : number_cells()) c.LINE(cell.cell) = *cell.number(c.run);
    for (const CountCell& cell : count_cells()) c.LINE(cell.cell) = cell.taken(s);
    c.LINE(36) = c.plain() ? OLD_CODES : CODES;
    c.LINE(43) = NO_LIMIT_CELL;
    c.LINE(44) = c.plain() ? OLD_OPTIONS : OPTIONS;
    const std::array<int, FAMILIES> on = rows_in_service(s);
    int cell = FIRST_SERVICE_CELL;
    for (const Family f : service_cells()) c.LINE(cell++) = on[std::size_t(f)];
    c.LINE(102) = c.version == V962_VERSION ? 6 : MXAGR;
    c.LINE(114) = on[std::size_t(Family::alternative_slack)];
}

void clear_cells(CaseContext& c) {
    auto clear = [&](int first, int last) {
        for (int cell = first; cell <= last; ++cell) c.LINE(cell) = 0;
    };
    if (c.version == V962_VERSION) clear(109, CELLS);
    if (!c.plain()) return;
    clear(68, 70);
    clear(74, CELLS);
}

/// Version 63 holds few contingencies: more than these are left out altogether.
bool leave_out_contingencies(CaseContext& c) {
    if (!c.plain() || (c.LINE(29) <= 100 && c.LINE(30) <= 200 && c.LINE(31) <= 420)) return false;
    for (int cell = 28; cell <= 31; ++cell) c.LINE(cell) = 0;
    return true;
}

std::string two(int v) { return {char('0' + v / 10 % 10), char('0' + v % 10)}; }

/// Date, time and release, with the release in columns 60 to 67.
std::string information_line(Run& run) {
    const Moment t = run.os.now();
    const std::string date = two(t.day) + '/' + two(t.month) + '/' + two(t.year / 100) + two(t.year);
    const std::string time = two(t.hour) + ':' + two(t.minute) + ':' + two(t.second);
    std::string line;
    const Arg values[] = {date, time, RELEASE};
    load_rows(run, "SAVCAS")[INFORMATION_ROW].write(line, values);
    line.resize(80, ' ');
    return line;
}

/// The flags of a table of slots: those of the present ones that version 63 keeps elsewhere go there.
template <std::size_t N>
void save_flags(CaseWriter& out, CaseContext& c, const std::bitset<N>& flags, std::span<const MovedSlot> moved, int n) {
    std::array<bool, N> slots{};
    for (std::size_t i = 1; i < N; ++i) slots[i] = flags[i];
    if (c.plain())
        for (const MovedSlot& m : moved) slots[std::size_t(m.old_slot)] = flags[std::size_t(m.slot)];
    out.SAVLOG({slots.data() + 1}, n);
}

void save_head(CaseWriter& out, CaseContext& c) {
    Run& run = c.run;
    out.SAVCHR({run.TITLE.at}, 1, 80);
    const int identification[4] = {CASE_FAMILY, c.version, 0, 0};
    out.SAVINT(Strided<const int>{identification}, 4);
    if (c.version >= FIRST_INFORMATION) {
        const std::string information = information_line(run);
        out.SAVCHR({information.data()}, 1, 80);
        const CaseComment& comment = run.store.comment;
        std::string text(comment.text.data(), std::size_t(comment.length));
        text.resize(MXCMT, ' ');
        out.SAVCHR({text.data()}, 1, MXCMT);
    }
    std::array<double, CONSTANT_CELLS> constants{};
    for (const ConstantCell& cell : constant_cells())
        constants[std::size_t(cell.place - 1)] = cell.real ? run.cte.*cell.real : run.cte.*cell.whole;
    out.SAVFLT({constants.data()}, c.constants());
    out.SAVINT(Strided<const int>{c.LINE.data()}, c.cells());
    save_flags(out, c, run.ctl.KNTRL, moved_codes(), c.LINE(36));
    save_flags(out, c, run.opt.OPTDEF, moved_options(), c.LINE(44));
}

// --- the fields

/// Ratings of a narrow case: none is written as 9999.
const int* short_ratings(CaseContext& c, const int* ratings, int n) {
    c.integers.assign(ratings, ratings + n);
    for (int& v : c.integers) v = v >= int(INFINITE_RATING) ? NO_LIMIT_CELL : v;
    return c.integers.data();
}

void save_field(CaseWriter& out, CaseContext& c, const CaseField& f, int n) {
    static constexpr double zero[46 / sizeof(double) + 1] = {};
    const void* const table = f.table ? f.table(c) : zero;
    const int stride = f.table ? f.stride : 0;
    switch (f.kind) {
        case Kind::R: return out.SAVFLT({static_cast<const double*>(table), stride}, n);
        case Kind::L: return out.SAVLOG({static_cast<const bool*>(table), stride}, n);
        case Kind::C: return out.SAVCHR({static_cast<const char*>(table), stride}, n, f.columns);
        case Kind::I: break;
    }
    if (f.byte) return out.SAVINT(Strided<const std::uint8_t>{static_cast<const std::uint8_t*>(table), stride}, n);
    const int* v = static_cast<const int*>(table);
    if (f.rating && !c.wide()) v = short_ratings(c, v, n);
    out.SAVINT(Strided<const int>{v, stride}, n);
}

/// Branches out of service whose rows serve as fictitious branches show their own ends meanwhile.
class TrueEnds {
public:
    explicit TrueEnds(Store& s) : s_(s) { trade(); }
    ~TrueEnds() { trade(); }
    TrueEnds(const TrueEnds&) = delete;
    TrueEnds& operator=(const TrueEnds&) = delete;

private:
    void trade() {
        if (!s_.cmp.compacted) return;
        BranchTables& b = s_.branch;
        const OnOff& n = s_.cmp.of(Family::branch);
        for (int l = n.on + 1; l <= n.on + n.off; ++l) {
            Compaction::BranchEnds& e = s_.cmp.ends(l);
            std::swap(e.from, b.NFROM(l));
            std::swap(e.to, b.NTO(l));
            std::swap(e.in_service, b.STLIN(l));
            std::swap(e.live_from, b.STLIND(l));
            std::swap(e.live_to, b.STLINP(l));
        }
    }
    Store& s_;
};

/// What keeps the case from being written in its version: number of SAVCAS, 0 for nothing.
int refusal(CaseContext& c, SaveOutcome& out) {
    if (c.wide()) return 0;
    if (const int l = open_end(c.s(), c.LINE(17))) {
        out.element = l;
        out.type = element::branch;
        return 101;
    }
    return (c.plain() && too_new(c)) || too_large(c) ? 90 : 0;
}

int message_of(SlotFault fault) {
    switch (fault) {
        case SlotFault::none: return 0;
        case SlotFault::unreadable: return 105;
        case SlotFault::broken: return -105;
        case SlotFault::no_number: return 110;
        case SlotFault::exists: return 120;
        case SlotFault::no_record: return 130;
    }
    return 105;
}

int message_of(SaveEnd end) {
    switch (end) {
        case SaveEnd::saved: return 0;
        case SaveEnd::full: return 140;
        case SaveEnd::ceiling: return 160;
        case SaveEnd::device: return 105;
    }
    return 105;
}

}  // namespace

SaveOutcome write_case(Run& run, Records& r, const SaveRequest& request) {
    Store& s = run.store;
    SaveOutcome out;
    auto failed = [&](int number) {
        out.error = number;
        return out;
    };
    if (rows_taken(s, s.bus) == 0) return failed(100);
    const TrueEnds ends(s);
    CaseContext c{run, request.encoding, request.version, true};
    fill_cells(c);
    if (const int number = refusal(c, out)) return failed(number);
    clear_cells(c);
    if (leave_out_contingencies(c)) out.warning = -170;

    Writing scope(r);
    if (!scope) return failed(scope.admission() == Admission::busy ? BUSY : 105);
    if (const auto fault = open_slot(r, request.number, request.replace, out.slot); fault != SlotFault::none)
        return failed(message_of(fault));
    CaseWriter stream(r, c.encoding, out.slot.first, out.slot.directory.highest(), request.extend);
    save_head(stream, c);
    each_case_field(c, [&](const CaseField& f, int n) { save_field(stream, c, f, n); });
    if (request.whole) save_rest(stream, c);
    const SaveEnd end = close_slot(r, out.slot, stream, request.extend);
    if (end == SaveEnd::device || !scope.commit()) return failed(105);
    return failed(message_of(end));
}

}  // namespace korvane
