// The network store: every table of the network, its address lists, and the operations that hold for all of them.
#pragma once
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "network/compensation.hpp"
#include "network/contingencies.hpp"
#include "network/links.hpp"
#include "network/lists.hpp"
#include "network/loads.hpp"
#include "network/optimisation.hpp"

namespace korvane {

struct Run;

/// Groups of aggregators 1 to 10, each a table of its own. IAGRBAR and IAGRCIR hold rows of these.
struct Aggregators {
    Table<int, MXAGR> NAGINT;  // number of the aggregator
    Table<Text<36>, MXAGR> DESCAG;
    Table<int, MXAGR> count;                        // groups in use
    Table<Table<int, MXAGROW>, MXAGR> NIDGAG;       // NIDGAG1 to NIDGAG10: identifiers
    Table<Table<Text<36>, MXAGROW>, MXAGR> DESGAG;  // NOMEGA1 to NOMEGA10: their descriptions
    Table<int, MXAGR> NUMGAG;                       // chain of rising identifiers: head
    Table<Table<int, MXAGROW>, MXAGR> LNKGAG;       // LNKGAG1 to LNKGAG10: next row

    /// Row of identifier id in aggregator k, 0 for none.
    int row(int k, int id) const {
        for (int i : rows(count(k)))
            if (NIDGAG(k)(i) == id) return i;
        return 0;
    }
};

/// Lists that are worked out from the tables, rebuilt and never patched.
struct Addresses {
    Table<int, MXBUS> NOORD;       // bus positions in ascending order of NOINT
    int NBMAX;                     // highest external bus number
    Table<int, MXARE> NAORD;       // area rows in ascending order of NAINT
    Table<int, MXBUS + 1> LINPTR;  // first entry of the bus in LINADR
    Table<int, 3 * MXLIN> LINADR;  // branches of each bus, ascending
    int NLTL;                      // branches between areas
    Table<int, MXTIE> LTLADR;
    Table<int, MXARE> IPAREA;  // buses of an area: head by area, link by bus
    Table<int, MXBUS> IAREAL;
    Table<int, MXARE> IEQPTR, IAGPTR;  // its equivalent injections, its generators: heads
    Table<int, MXEQV> IEQADR;
    Table<int, MXGEN> IAGADR;
    Table<int, MXNUM> position;  // bus position by external number, 0 for none
    Table<int, MXBUS> IPGEI;     // individual generators of a bus, ascending: head and link
    Table<int, MXGEI> LNKGEI;
    Table<int, MXBUS> IPCAI;  // individual loads of a bus, ascending
    Table<int, MXCAI> LNKCAI;
    Table<int, MXBSH> IPBSH;  // rows of a bank, ascending number
    Table<int, MXBSHL> LNKBS;
    Table<int, MXBSH> IPBRC;  // the same, those of negative value first
    Table<int, MXBSHL> LNKRC;
    Table<int, MXLDC> IPCLNK;  // converters of a link, ascending rows: head and link
    Table<int, MXCNV> LNKCNV;
    Table<int, MXLDC> IPBLNK;  // its DC buses
    Table<int, MXDCB> LNKDCB;
    Table<int, MXLDC> ISLKBP, ISLKBN;        // DC bus whose voltage is fixed, in the positive, in the negative pole
    Table<int, MXLDC> ISLKBPREF, ISLKBNREF;  // the same as given
    Table<int, MXLDC> ISLKCP, ISLKCN;        // converter that holds the voltage of the pole
};

/// DCMT: free text about the case, rows of 80 columns.
struct CaseComment {
    int length;  // characters in use
    std::array<char, MXCMT> text;
};

/// Work tables that map a bus position to a row; whoever uses one rebuilds it.
struct BusMaps {
    Table<int, MXBUS> NGADR;  // generator row
    Table<int, MXBUS> NSADR;  // shunt row
    Table<int, MXBUS> NCADR;  // remote-control row
};

/// Islands as the last search found them.
struct Islands {
    int count;
    bool area_spans;             // some area has buses in two islands
    Table<int, MXBUS> NOILHA2;   // island of a bus
    Table<int, MXILH> NBILHA2;   // buses in an island
    Table<int, MXILH> IPILH2;    // head of the list of an island's buses
    Table<int, MXBUS> LNKILH2;   // next bus of the island
    Table<int, MXARE> NSYARE;    // first island of an area
    Table<bool, MXBUS> FLGBUS;   // the bus lies in an area that spans islands, past its first
    Table<bool, MXILH> ILHASEL;  // selected for reports
};

/// What the last solution left: how it ended, and the residuals that tell how well.
struct Solution {
    int CONVSTAT;         // 0 running, 1 converged, 2 iteration limit, 3 diverged, ...
    int ITSOL;            // 0 alternating current, 1 or 2 linear
    int NITP, NITQ;       // iterations of the last solve
    double DPMAX, DQMAX;  // largest mismatch, pu
    int NODEP, NODEQ;     // external numbers of the buses that have it
    double XMI;           // step multiplier of the last iteration
};

/// Numbers of a case file that nothing here works with, kept so that a case comes out as it went in.
struct KeptNumbers {
    std::array<int, 3> stages;   // status of three earlier stages of the solution
    int branches;                // auxiliary count of branches
    std::array<int, 3> further;  // counts of three further tables
};

/// Counts of rows in service and out of service of one family.
struct OnOff {
    int on, off;
};

/// What STOOFF did, for STOON to undo. While the store is compacted the rows out of service lie behind the counts.
struct Compaction {
    bool compacted;
    std::array<OnOff, FAMILIES> rows;

    /// Columns of branches out of service: fictitious branches may take the place of these rows meanwhile.
    struct BranchEnds {
        BusRef from, to;
        bool in_service, live_from, live_to;
    };
    Table<BranchEnds, MXLIN> ends;  // by branch row, behind the branches in service

    /// A control in service whose bus is out of service, as CTROFF found it.
    struct ControlChange {
        Family family;  // NTIPCTR: remote_control or tap
        int row;        // IPCTROFF
        BusRef bus;     // KBUSCTR: the bus it controlled, minus as on a tap
    };
    int NCTROFF;
    Table<ControlChange, MXCTR> change;
    int first_factor, factors;        // rows that CTROFF added to IPCREM
    int first_fixed_tap, fixed_taps;  // and to ITAPF

    OnOff& of(Family f) { return rows[std::size_t(f)]; }
    const OnOff& of(Family f) const { return rows[std::size_t(f)]; }
};

/// The store. It lies in zeroed memory from make_store, is made once and never copied or put on a stack.
struct Store {
    BusTables bus;
    AreaTables area;
    BaseGroupTables gbt;
    LimitGroupTables glt;
    GeneratorTables gen;
    RemoteControlTables rcb;
    SlackTables slk;
    ShuntTables sht;
    BranchTables branch;
    TapTables tap;
    PhaseTables phs;
    LineShuntTables shl;
    LoadModelTables fld;
    InjectionTables eqv;
    MotorTables mot;
    SeriesDeviceTables csc;
    CompensatorTables cer;
    IndividualLoadTables cai;
    IndividualGeneratorTables gei;
    BankTables bsh;
    BankUnitTables bshl;
    AutomaticShuntTables sca;
    LinkTables ldc;
    DcBusTables dcb;
    DcLineTables dcl;
    TerminalTables trm;
    ConverterTables cnv;
    MonitoredBuses mtb;
    MonitoredGenerators mtg;
    MonitoredBranches mtl;
    RemoteFactors fcr;
    LimitFactors fql;
    FixedTaps tpf;
    AlternativeSlackTables slp;
    BandTables btb;
    ActiveSums pge;
    ReactiveSums qge;
    FlowSumTables ftb;
    FlowMemberTables ltb;
    FrequencyTables frq;
    ContingencyTables ctg;
    ContingencyClassTables pri;
    ContingencyChangeTables chg;
    ContingencyValueTables ctv;
    ControlVariableTables vco;
    CurvePointTables pto;
    GroupConstraintTables res;
    ConstraintTermTables cft;

    Aggregators agr;
    CaseComment comment;
    Addresses adr;
    BusMaps map;
    Islands ilh;
    Solution sol;
    KeptNumbers kept;
    Compaction cmp;
    Table<int, MXLINX + 1> scratch;  // of row_scratch

    /// All families, in the order in which the store is compacted.
    auto families() {
        return std::tie(bus, branch, tap, phs, shl, csc, mtl, tpf, gen, rcb, slk, fld, sht, mot, cai, gei, bsh, bshl,
                        eqv, mtb, mtg, fcr, fql, slp, ldc, dcb, dcl, trm, cnv, cer, sca, btb, pge, qge, ftb, ltb, frq,
                        ctg, pri, chg, ctv, vco, pto, res, cft, area, gbt, glt);
    }
};

struct FreeStore {
    void operator()(Store* s) const;
};
using StorePtr = std::unique_ptr<Store, FreeStore>;

/// A store of zeroed pages; RESET gives it its defaults. Stops the program when memory is short.
StorePtr make_store();

/// f(family) for every family of the store.
template <class F>
void each_family(Store& s, F&& f) {
    std::apply([&](auto&... family) { (f(family), ...); }, s.families());
}

/// Row i of the family takes the reset values of its columns.
template <class Tables>
void reset_row(Tables& t, int i) {
    each_table(t, [=](const auto& c, auto& table) { table(i) = c.reset; });
}

/// One more row in use, with reset values; returns it. The caller has tested the limit.
template <class Tables>
int add_row(Tables& t) {
    const int i = ++t.count();
    reset_row(t, i);
    return i;
}

/// The limit of a family: the rows that its smallest table has room for.
template <class Tables>
constexpr int limit_of() {
    int n = 1 << 30;
    std::apply(
        [&](const auto&... c) {
            ((n = std::remove_cvref_t<decltype(c)>::table_type::size < n
                      ? std::remove_cvref_t<decltype(c)>::table_type::size
                      : n),
             ...);
        },
        Tables::columns());
    return n;
}

/// Rows of the family in and out of service. Compare it with the limit before a row is added.
template <class Tables>
int rows_taken(Store& s, Tables& t) {
    return t.count() + s.cmp.of(Tables::family).off * s.cmp.compacted;
}

/// One table of a family without its type: enough to move its entries, and to follow what they refer to. Walking these
/// at run time keeps one copy of the code that moves rows, where templates over all families and columns would make
/// thousands.
struct ColumnInfo {
    const char* name;
    std::size_t offset;            // of the table in its family
    std::size_t size;              // bytes of an entry
    std::optional<Family> target;  // what its entries refer to
    // the same where each row tells it; nothing for other columns
    std::optional<Family> (*target_of)(const void* tables, int row) = nullptr;
};
struct FamilyInfo {
    Family family;
    std::size_t offset;  // in the store; the row count stands first in a family
    bool referenced;     // some table refers to it
    std::vector<ColumnInfo> columns;
};

/// All families with their columns, from columns(), in the order of families().
const std::vector<FamilyInfo>& store_layout();
const FamilyInfo& layout_of(Family f);

/// Row `from` of the family at `tables` also stands at row `to`.
void copy_row(void* tables, const FamilyInfo& layout, int from, int to);
/// Rows i and j trade places in every column of the family.
void swap_rows(void* tables, const FamilyInfo& layout, int i, int j);

/// Follow moved rows of family F wherever the store refers to them.
void remap(Store& s, Family f, const RowMap& moved);

/// Work space of one int for every row that a map of old to new rows may need.
std::span<int> row_scratch(Store& s);

/// Drop the rows for which keep(row) is false, close up the rest in order, and follow every reference to the family;
/// references to dropped rows become 0. Returns the number of rows dropped.
template <class Tables, class Keep>
int close_up(Store& s, Tables& t, Keep keep) {
    assert((!s.cmp.compacted || s.cmp.of(Tables::family).off == 0) && "rows out of service would be left behind");
    int* const to = row_scratch(s).data();
    const int before = t.count();
    int n = 0;
    for (int i : rows(before)) to[i] = keep(i) ? ++n : 0;
    if (n == before) return 0;
    const FamilyInfo& layout = layout_of(Tables::family);
    for (int i : rows(before))
        if (to[i] && to[i] != i) copy_row(&t, layout, i, to[i]);
    t.count() = n;
    remap(s, Tables::family, RowMap(to));
    return before - n;
}

/// add_row that also works while the store is compacted: the first row out of service makes room.
/// For lists and devices: solvers keep fictitious rows of their own behind buses and branches.
template <class Tables>
int add_live_row(Store& s, Tables& t) {
    static_assert(Tables::family != Family::bus && Tables::family != Family::branch);
    const int total = rows_taken(s, t), i = t.count() + 1;
    if (total >= i) {
        const FamilyInfo& layout = layout_of(Tables::family);
        copy_row(&t, layout, i, total + 1);
        if (layout.referenced) {
            int* const to = row_scratch(s).data();
            for (int k = 0; k <= total; ++k) to[k] = k;
            to[i] = total + 1;
            remap(s, Tables::family, RowMap(to));
        }
    }
    return add_row(t);
}

// --- searches

/// LOCINT: first row of the first n entries that holds the value, 0 for none.
template <int N>
int LOCINT(const Table<int, N>& table, int n, int value) {
    for (int i : rows(n))
        if (table(i) == value) return i;
    return 0;
}

/// LOCCHR: the same for a table of two-character groups.
template <int N>
int LOCCHR(const Table<Text<2>, N>& table, int n, const Text<2>& text) {
    for (int i : rows(n))
        if (table(i) == text) return i;
    return 0;
}

/// Position of the bus with this external number, 0 for none: LOCINT on NOINT, in constant time.
int bus_of(const Store& s, int number);

/// Keep the index of bus_of in step: the bus at position k has its number from now on.
void note_bus(Store& s, int k);

/// The bus at position k no longer answers to its number.
void forget_bus(Store& s, int k);

// --- address lists: rebuilt from the tables, never patched

/// HSORT: heap sort that leaves in order(1..n) the positions of table in ascending order of value; the table stays.
void HSORT(const int* table, int* order, int n);

/// NOORD, NBMAX, NAORD and the index of external numbers, over the rows in use.
void order_rows(Store& s);

/// ADRLIN: the branches of every bus, in ascending order. Call it after any branch row moves.
/// Reads NFROM, NTO, NL. Rebuilds LINPTR, LINADR, LTLADR. Message 100: LTLADR is full, the rest is kept.
void ADRLIN(Run& run);

/// LNKADR: the chains of converters and DC buses of each link, the DC bus and the converter that hold the voltage of
/// each pole, and the AC terminals of the converters, in the order of these; a terminal that stays keeps its power.
/// Message 100: there are more terminals than the table takes.
void LNKADR(Run& run);

/// ADRARE: the chains of buses, generators and equivalent injections of every area, each in ascending bus number.
void ADRARE(Store& s);

/// LITRF of every branch, from the rows of taps, phases, line shunts and series devices that name it.
void link_branch_rows(Store& s);

/// NGADR, NSADR, NCADR: the generator, shunt and remote-control row of each bus.
void map_bus_rows(Store& s);

// --- the store as a whole

/// RESET: every count and selection to its default, constants and options to theirs, KNTRL to false.
void RESET(Run& run);

/// Address lists of the whole store: order_rows, link_branch_rows, LNKADR, ADRARE, ADRLIN.
void rebuild_addresses(Run& run);

/// Buses with NOINT 0 and branches with NFROM 0 are dropped, and with them all that stands on them; every reference
/// follows, and the address lists are rebuilt. A control whose bus is gone returns to its own: a tap to the from bus,
/// a shunt bank, an automatic shunt or a compensator to the bus it stands at.
void drop_removed(Run& run);

/// STOOFF: elements out of service go behind those in service, and the counts see only the latter. A branch in the
/// count has both ends alive; those with STLIN false are the last of them. Nothing moves when no bus, no link and no
/// device with a state of its own is out of service. Then CTROFF.
void STOOFF(Run& run);

/// STOON: the counts see all elements again; rows keep the order that STOOFF gave them.
void STOON(Run& run);

/// CTROFF: controls in service whose bus is out of service. With CREM such a generator goes to IPCREM and controls
/// its own bus, with CTAP such a tap goes to ITAPF; STOON puts both back. One report line each, unless the report
/// unit is the null device. Messages 100, 110: the list of generators, of taps is full.
void CTROFF(Run& run);
/// Puts back what CTROFF changed. STOON calls it once the counts see all rows.
void undo_CTROFF(Store& s);

/// Base power, external numbers and limits of a bus as the reader knows them are in MW and degrees; the store holds
/// per unit and radians.
constexpr double RADIANS = 0.017453292519943295;
constexpr double DEGREES = 57.29577951308232;
constexpr double NO_RATING = 9999;       // branch rating meaning none, MVA
constexpr double INFINITE_RATING = 1e9;  // how it is stored
constexpr double NO_LIMIT_MW = 99999;    // generation limit meaning none, MW

}  // namespace korvane
