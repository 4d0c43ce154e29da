// Lists that a selection adds to or removes from: DFCR, DFQL, DMTE, DMGR, and DTPF and DMFL with CIRC.
#include "network/element_selection.hpp"
#include "network/network.hpp"
#include "network/placed_rows.hpp"

namespace korvane {

namespace {

struct ListCard : SelectionFields {
    char mark;  // which of the selected elements: "T" all of them, or the letter of the block
};
using C = ListCard;
using ListEdit = Edit<ListCard>;

constexpr Field<ListCard> MARK[] = {{53, 53, &C::mark, {.add = "T", .letters = Letters::upper}}};
constexpr auto WITHOUT_MARK = selection_fields<ListCard>();
constexpr auto WITH_MARK = with_selection(MARK);
static_assert(well_formed(WITHOUT_MARK) && well_formed(WITH_MARK));

constexpr int MARK_ON_DELETE = 102, WRONG_OPERATION = 104, WRONG_MARK = 160, FULL = 170, NOTHING_DONE = -900;

bool between_areas(const Store& s, int l) { return s.bus.IAREA(s.branch.NFROM(l)) != s.bus.IAREA(s.branch.NTO(l)); }

/// What the selection holds for one of the blocks: f(row) for each row that its list may name. `some` is the mark that
/// is not "T".
class Elements {
public:
    Elements(const Store& of, Selection& selected, bool marked) : s(of), some(marked), selection_(selected) {}

    const Store& s;
    const bool some;

    template <class F>
    void buses(F f) {
        for (int k : selection_.buses.in_order()) f(k);
    }
    /// f(g, k): the generators of the buses.
    template <class F>
    void generators(F f) {
        buses([&](int k) {
            if (const int g = s.map.NGADR(k)) f(g, k);
        });
    }
    /// f(l, k): the branches at the buses, and those that the selection itself holds, bus by bus. A branch may come at
    /// both its ends.
    template <class F>
    void branches(F f) {
        visited_.clear(s.bus.NB);
        for (int k : selection_.buses.members()) visited_.add(k);
        for (int l : selection_.branches.members()) {
            visited_.add(s.branch.NFROM(l));
            visited_.add(s.branch.NTO(l));
        }
        for (int k : visited_.in_order()) {
            const bool all = selection_.buses.has(k);
            for (int p = s.adr.LINPTR(k); p < s.adr.LINPTR(k + 1); ++p)
                if (const int l = s.adr.LINADR(p); all || selection_.branches.has(l)) f(l, k);
        }
    }

private:
    Selection& selection_;
    PositionSet visited_;
};

/// What a block of one of the lists is. Each calls f(row) for the rows that the elements of a card come to.
struct RemoteGenerators {
    static constexpr auto routine = "INPFCR";
    static constexpr char letter = 0;
    static RemoteFactors& list(Store& s) { return s.fcr; }
    static int rows_of(const Store& s) { return s.gen.NG; }
    template <class F>
    static void each(Elements& e, F f) {
        e.generators([&](int g, int k) {
            if (e.s.map.NCADR(k)) f(g);
        });
    }
    static void added(Store&, int) {}
};

struct UnswitchedGenerators {
    static constexpr auto routine = "INPFQL";
    static constexpr char letter = 0;
    static LimitFactors& list(Store& s) { return s.fql; }
    static int rows_of(const Store& s) { return s.gen.NG; }
    template <class F>
    static void each(Elements& e, F f) {
        e.generators([&](int g, int) { f(g); });
    }
    /// The bus leaves the limit that it may stand at and holds its set point. On a load bus with voltage limits VGEN is
    /// the scheduled reactive generation, no voltage.
    static void added(Store& s, int g) {
        const int k = s.gen.NOGEN(g);
        int& type = s.bus.NTYPE(k);
        type = std::abs(type);
        if (type != 1) s.bus.VOLT(k) = s.gen.VGEN(g);
    }
};

struct BusesToMonitor {
    static constexpr auto routine = "INPMTE";
    static constexpr char letter = 'F';  // only those with a branch to another area
    static MonitoredBuses& list(Store& s) { return s.mtb; }
    static int rows_of(const Store& s) { return s.bus.NB; }
    template <class F>
    static void each(Elements& e, F f) {
        const Addresses& a = e.s.adr;
        auto at_border = [&](int k) {
            const int* const first = a.LINADR.data() + a.LINPTR(k) - 1;
            return std::any_of(first, first + (a.LINPTR(k + 1) - a.LINPTR(k)),
                               [&](int l) { return between_areas(e.s, l); });
        };
        e.buses([&](int k) {
            if (!e.some || at_border(k)) f(k);
        });
    }
    static void added(Store&, int) {}
};

struct GeneratorsToMonitor {
    static constexpr auto routine = "INPMGR";
    static constexpr char letter = 0;
    static MonitoredGenerators& list(Store& s) { return s.mtg; }
    static int rows_of(const Store& s) { return s.gen.NG; }
    template <class F>
    static void each(Elements& e, F f) {
        e.generators([&](int g, int) { f(g); });
    }
    static void added(Store&, int) {}
};

struct TapsToHold {
    static constexpr auto routine = "INPTPX";
    static constexpr char letter = 'I';  // only those of branches between areas
    static FixedTaps& list(Store& s) { return s.tpf; }
    static int rows_of(const Store& s) { return s.branch.NL; }
    template <class F>
    static void each(Elements& e, F f) {
        e.branches([&](int l, int) {
            const int type = e.s.branch.LTYPE(l);
            if ((type == 3 || type == 4) && (!e.some || between_areas(e.s, l))) f(l);
        });
    }
    static void added(Store&, int) {}
};

struct BranchesToMonitor {
    static constexpr auto routine = "INPMFX";
    static constexpr char letter = 'I';
    static MonitoredBranches& list(Store& s) { return s.mtl; }
    static int rows_of(const Store& s) { return s.branch.NL; }
    /// A branch between areas goes with the area of the side that does not own it.
    template <class F>
    static void each(Elements& e, F f) {
        const BranchTables& b = e.s.branch;
        auto other_side = [&](int l) { return b.OWNER(l) ? b.NTO(l) : b.NFROM(l); };
        e.branches([&](int l, int k) {
            const bool tie = between_areas(e.s, l);
            if (tie ? e.s.bus.IAREA(other_side(l)) == e.s.bus.IAREA(k) : !e.some) f(l);
        });
    }
    static void added(Store&, int) {}
};

/// The reader of a list while it reads a block.
template <class Kind>
class ListReader {
public:
    explicit ListReader(Run& run) : run_(run), s_(run.store), list_(Kind::list(s_), Kind::rows_of(s_)) {
        map_bus_rows(s_);
    }

    void locate(ListEdit& e) {
        const bool marked = Kind::letter != 0 && e.given(&C::mark);
        refuse(run_, e.removes() && marked, MARK_ON_DELETE);
        refuse(run_, e.adds() && marked && e.card.mark != 'T' && e.card.mark != Kind::letter, WRONG_MARK);
        SELCRT(run_, e, selection_);
    }

    void apply(const ListEdit& e) {
        Elements elements(s_, selection_, Kind::letter != 0 && e.card.mark == Kind::letter);
        const int before = Kind::list(s_).count();
        bool full = false;
        Kind::each(elements, [&](int row) {
            if (e.removes()) {
                if (list_.has(row)) list_.remove(row);
            } else if (!list_.has(row) && !(full = full || list_.full())) {
                list_.add(row);
                Kind::added(s_, row);
            }
        });
        refuse(run_, full, FULL);
        refuse(run_, !full && Kind::list(s_).count() == before, NOTHING_DONE);
    }

private:
    Run& run_;
    Store& s_;
    PlacedList<std::remove_reference_t<decltype(Kind::list(std::declval<Store&>()))>> list_;
    Selection selection_;
};

template <class Kind>
void read_list(Run& run) {
    ListReader<Kind> reader(run);
    constexpr bool marked = Kind::letter != 0;
    const std::span<const Field<ListCard>> fields = marked ? std::span<const Field<ListCard>>(WITH_MARK) : WITHOUT_MARK;
    const Block<ListCard> block = {
        .routine = Kind::routine,
        .fields = fields,
        .operation = {.column = 51, .letters = "AE ", .refusal = WRONG_OPERATION, .letters_only = true},
        .format_error = 180,
        .end_error = 190,
        .locate = [&](Run&, ListEdit& e) { reader.locate(e); },
        .apply = [&](Run&, ListEdit& e) { reader.apply(e); },
    };
    read_block(run, block);
}

}  // namespace

void INPFCR(Run& run) { read_list<RemoteGenerators>(run); }
void INPFQL(Run& run) { read_list<UnswitchedGenerators>(run); }
void INPMTE(Run& run) { read_list<BusesToMonitor>(run); }
void INPMGR(Run& run) { read_list<GeneratorsToMonitor>(run); }
void INPTPX(Run& run) { read_list<TapsToHold>(run); }
void INPMFX(Run& run) { read_list<BranchesToMonitor>(run); }

}  // namespace korvane
