// Linear algebra of the network: the elimination order, the fixed pattern of the factors, and the factorisation and
// solution of matrices whose pattern is that of the network, in 2x2 blocks (Newton) and in scalars (B', B'').
//
// Analyse, factor, solve are three steps, so each caller repeats only what has changed. The pattern depends on the
// branches in service alone, never on bus types: a pass of Newton assembles into slots that are known beforehand.
// Inside this module rows and entries count from 0; buses and branches count from 1 as everywhere.
#pragma once
#include <array>
#include <cstddef>
#include <span>

#include "frame/run.hpp"
#include "network/limits.hpp"
#include "network/store.hpp"
#include "powerflow/controlled_buses.hpp"
#include "powerflow/powerflow.hpp"

namespace korvane {

constexpr int MXEQ = 30000;      // equations, real and fictitious
constexpr int MXROW = 42400;     // rows of the right-hand side and the diagonal
constexpr int MXFAT = 144000;    // factor entries
constexpr int MXCELL = 120000;   // adjacency cells of the ordering
constexpr int MXCLASS = 20000;   // degree classes of the ordering
constexpr int MXCOL = 10000;     // columns of one row during elimination
constexpr int MXAIM = 1 << 22;   // addresses of updates kept beforehand; beyond it they are searched
constexpr int MXPOOL = 1 << 19;  // work space of the ordering

/// Pattern::aim of an entry whose updates go to consecutive entries, or have to be searched; else an index of aims.
constexpr int SAME_ROWS = -1, SEARCHED = -2;

/// Diagonal of a row taken out of play: the single-precision value of 1e15.
constexpr double HELD = 999999986991104.0;

/// Unknowns that a row holds: their correction is nothing, to the last bit.
constexpr unsigned char ANGLE_HELD = 1, VOLTAGE_HELD = 2;
/// The reactive equation of a row only tells a generation that holds the voltage of another bus.
constexpr unsigned char REACTIVE_FREE = 4;

/// 2x2 block [H N; J L]: rows are the active and the reactive equation, columns the angle and the voltage. It lies in
/// memory by columns, so that a product with a pair of unknowns needs no shuffling.
struct alignas(32) Block {
    double H, J, N, L;
};
/// The two blocks of one entry of the pattern, rows c < i: U at row c, column i; L at row i, column c.
struct alignas(64) BlockPair {
    Block U, L;
};
/// Right-hand side of a row, and after the solution its unknowns: dP/V and dQ/V, then the angle correction in rad and
/// the voltage correction as a fraction of the voltage.
struct alignas(16) Sides {
    double DELTA, WORK;
};

/// Where a branch stands among the entries.
struct Slot {
    int word;  // -1: the branch is not in service
    bool none() const { return word < 0; }
    int entry() const { return word >> 2; }
    bool later() const { return word & 2; }     // an earlier branch has the same entry
    bool reversed() const { return word & 1; }  // NFROM has the higher row
};

/// The elimination order of a network and all that follows from it.
struct Pattern {
    int N;         // rows
    int buses;     // of these real buses: pivots of equations of controls are weak on purpose
    int NFAT;      // entries of the factors, counted also when they are too many
    int capacity;  // 0; -k: entries run out at row k; N + 1: a row has more than MXCOL columns

    Table<int, MXEQ> NORDER;  // elimination position of a bus, from 1; its row of the factors is NORDER - 1

    std::array<int, MXEQ> bus;         // bus of a row
    std::array<int, MXEQ + 1> column;  // first entry of the column of a row; ends with the entries in use
    std::array<int, MXFAT> row;        // row of an entry, ascending within a column
    std::array<int, MXFAT> aim;        // see update_column: where the updates of this entry go
    std::array<int, MXAIM> aims;       // lists of entries that aim points into
    std::array<Slot, MXLINX> slot;     // of branch l at l - 1
    std::array<int, MXFAT> fill;       // entries without a real branch
    int naims, nfill;
};

/// Pivots that a factorisation found weak: entries of their column exceed WEAK times the pivot, so that what the other
/// rows hold is lost in it. Nothing is searched inside the factorisation; the bus has to go later.
constexpr double WEAK = 1e6;
struct WeakPivots {
    int n;                    // noted, as far as there is room
    std::array<int, 64> row;  // of the factors, from 0
    void add(int r) {
        if (n < int(row.size())) row[std::size_t(n++)] = r;
    }
    std::span<const int> rows() const { return {row.data(), std::size_t(n)}; }
};

/// ScalarMatrix::state of a matrix that has been factored and not used.
constexpr int FRESH = 2;

/// Values of one scalar symmetric matrix over a pattern.
struct ScalarMatrix {
    std::array<double, MXFAT> value;  // off the diagonal
    std::array<double, MXROW> diagonal;
    WeakPivots weak;  // of the last factorisation
    int state;        // FRESH, or 1 after the first use
};

/// Work space of the ordering.
struct OrderingSpace {
    std::array<int, MXPOOL> pool;                // adjacency lists
    std::array<int, MXEQ + 1> at, length, room;  // of the list of a bus
    std::array<int, MXEQ + 2> next, previous, first, last;
    std::array<int, MXEQ + 1> a, b, c;
    std::array<int, MXFAT> list;             // neighbours of the eliminated buses
    std::array<int, MXEQ + 1> start, count;  // of a bus in it
};

/// The ten residuals that a solution is judged by, in the order of their tolerances, pu and rad.
struct Residuals {
    double DP, DQ;  // active and reactive power of a bus
    double DV, DG;  // controlled voltage; reactive sharing between generators of one controlled bus
    double DF;      // static compensators
    double DGER;    // generator capability
    double DU, DA;  // direct voltage and converter angles
    double DS, DM;  // automatic shunts; motors
};

/// What the solvers carry from step to step. All zero at the start of a run.
struct SolverState {
    int resolve;                      // internal solve mark: number of the contingency, -1 for an inner solve, 0 else
    bool analysis;                    // the case is solved as a step of another analysis
    bool singular;                    // the last factorisation failed at a bus
    bool rebuild;                     // the augmented equations and their order are to be built
    bool augmented;                   // there are rows or branches behind the real ones
    int NEQ, NBR;                     // rows and branches with the fictitious ones
    Residuals residual;               // of the last pass
    double DQMAXIMO;                  // DQMAX before a control forced it up
    double XMF;                       // smallest ratio by which a step was cut
    int NITLF, sum_p, sum_q, sum_dc;  // outer iterations; iterations summed over them
    int nlimq;
    int reorders;               // for weak pivots, in this solve
    int nlate;                  // buses that the order holds back for their weak pivots
    int first_late;             // the first of them, 0 for none
    bool late_told;             // it has been told
    bool refine;                // weak pivots are left: solutions are compared with the equations, and refined
    std::array<int, 50> ILIMQ;  // buses switched since the last line of the report; minus: a tap
};

/// What the solution of one island has come to, under CILH.
struct IslandState {
    int KONLF2;          // as CONVSTAT
    Residuals residual;  // of the last pass
    int NODEP2, NODEQ2;  // external numbers of the buses with the largest mismatches
    double DQMAXIMO2;    // its DQ before a control forced it up
    double XMI2, XMF2;   // step multiplier; smallest ratio by which a step was cut

    /// It ended without a solution: diverged, or a device in it cannot go on.
    bool failed() const { return KONLF2 == 3 || KONLF2 == 5 || KONLF2 == 6; }
};

/// What controls keep while a network is solved.
struct ControlWork {
    // augmented equations
    Table<int, MXEQ> IAPTAD;  // record of the device that fictitious bus NB + k belongs to
    Table<int, MXEQ> IDPTAD;  // its kind

    // reactive limits
    Table<bool, MXGEN> exempt;          // IPQLIM: the generator is not limited
    Table<unsigned char, MXGEN> turns;  // how often its bus changed its type in this solution

    // buses whose voltage is held from elsewhere
    ControlledBuses held;

    // generators that hold the voltage of another bus
    /// A generator of the lists: what it controls, its equation, and the branches from there.
    struct RemoteRow {
        int generator, bus;     // generator row; controlled bus
        double target;          // voltage of the controlled bus, pu
        int equation;           // its fictitious bus
        int to_own, to_bus;     // branches to its bus and to the controlled bus
        int to_next;            // first of the branches to the equations of those behind it in a group
        bool group;             // its reactive generation is an unknown: shared, or forced by TGER
        bool active;            // LCREM_LIM: false while its terminal voltage is at a limit
        double terminal;        // that limit, pu
        unsigned char returns;  // how often it came back from there
    };
    int remotes;
    Table<RemoteRow, MXGEN> remote_row;
    Table<int, MXGEN> NTCST;      // of a generator in a group: 2, -2 at a reactive limit; 0 else
    Table<int, MXGEN> remote;     // of a generator: its row of remote_row, 0 for none
    Table<bool, MXGEN> releases;  // of a generator: on this pass the voltage of its own bus is free

    // taps
    /// A tap of the lists: its equation, and the branches from there.
    struct TapRow {
        int tap, bus;             // tap row; controlled bus
        int equation;             // its fictitious bus
        int to_from, to_to;       // branches to the ends of the transformer
        int to_bus;               // to the controlled bus: one of the two, or a third
        int leader, to_leader;    // row of the parallel tap that it follows, 0 for none; branch to its equation
        int count;                // NTAP_CONT: returns from a limit, then passes beside the matrix; -1: it stays
        bool active;              // LTAP_LIM
        bool met_limit;           // on this pass
        bool rests;               // for the rest of this pass: it has next to no effect on its voltage
        bool standby;             // a generator of the list can still act
        bool took_over;           // it has acted for the generators
        bool moves;               // its equation acts on this pass
        bool discrete;            // it is to end on a position
        double step;              // distance of positions, of a
        bool stopped;             // it hunted: from then on it stays
        bool stepped;             // it has moved beside the matrix
        int vain;                 // steps there that brought nothing
        double best, best_error;  // of these: 1/a with the least voltage error, pu
    };
    int taps;
    Table<TapRow, MXTAP> tap_row;
    Table<int, MXTAP> tap_row_of;      // of a tap row of the store: its row of tap_row, 0 for none
    Table<bool, MXILH> awake, frozen;  // taps of an island; without CILH the first stands for all

    // static compensators
    /// A compensator: its equation, and the branches from there to its bus and to the controlled bus.
    struct CompensatorRow {
        int compensator, equation;
        int to_own, to_bus;
        unsigned char jumps;  // over the slope in this solution
    };
    int compensators;
    Table<CompensatorRow, MXCER> compensator_row;

    // automatic shunts
    /// What else holds the bus that an automatic shunt controls, ITYPESCA.
    enum class Beside : unsigned char { nothing, generator, compensator, remote_generators };
    /// An automatic shunt: its equation, and the branches from there.
    struct ShuntRow {
        int shunt, bus;      // row of the store; controlled bus
        int equation;        // its fictitious bus: NSCA_ADD
        int to_own, to_bus;  // branches to its bus and to the controlled bus
        int to_holder;       // first of the branches to the equations of the generators that hold that bus
        Beside beside;
        int holder;              // the generator or compensator: NOGSCA, NOESCA
        int first;               // row of the first shunt that controls the same bus; they have one target
        double lowest, highest;  // all reactors, all capacitors, pu
        double before;           // BSCA before the solution: BSCA_ORI
        double target;           // voltage that the bus is to have on this pass, pu; 0: none. Of the first one
        bool at_limit;           // LSCA_LIM
        bool moves;              // its equation acts on this pass
        unsigned char starts;    // how often the voltage left the band
    };
    int shunts;
    Table<ShuntRow, MXSCA> shunt_row;
    Table<bool, MXILH> shunts_awake, shunts_released, shunts_rounded;  // of an island; without CILH the first for all

    // series compensators
    /// A series compensator: its equation, and the branches from there to the ends of its own branch.
    struct SeriesRow {
        int device, equation;
        int to_from, to_to;
        bool rounded;           // it has been put on a step
        bool solved;            // on this pass the equations of its island are met
        unsigned char returns;  // from a limit
    };
    int series_devices;
    Table<SeriesRow, MXCSC> series_row;

    // phase shifters
    /// A phase shifter: its equation, and the branches from there to the ends of the transformer.
    struct ShifterRow {
        int shifter, equation;
        int to_from, to_to;
        bool moves;             // its equation acts on this pass
        int stopped;            // NITP when it met a limit
        unsigned char returns;  // from a limit
    };
    int shifters;
    Table<ShifterRow, MXPHS> shifter_row;

    // individual generators
    Table<int, MXGEI> operating;  // units in operation at the start of the solution
    int dispatches;               // how often they were dispatched in this solution

    // capability curves
    /// A machine: its generator row, its fictitious bus, the branch from there to its own bus (IGER_ADDRESS), and
    /// whether its equation may act (LGER_LIM).
    struct MachineRow {
        int generator, bus, branch;
        bool active;
    };
    int machines;
    Table<MachineRow, MXGEN> machine;
    Table<bool, MXGEN> overloaded;  // the generator cannot carry its active power, which has been told

    // interchange and balance
    Table<double, MXARE> AREERRO;              // active power that an area is short of, pu
    Table<double, MXILH> SYSERRO;              // that an island is short of
    Table<int, MXILH> generators, injections;  // of an area or island: head of the chain
    Table<int, MXGEN> next_generator;
    Table<int, MXEQV> next_injection;
};

constexpr IslandState UNSOLVED_ISLAND = {
    .KONLF2 = 0, .residual = {}, .NODEP2 = 0, .NODEQ2 = 0, .DQMAXIMO2 = 0, .XMI2 = 1, .XMF2 = 1};

/// Everything the solvers work in. It lies in zeroed memory of fixed size; pages never used cost nothing.
struct Matrices {
    void* memory;  // what make_matrices got
    Pattern plain, augmented;
    OrderingSpace space;

    std::array<BlockPair, MXFAT> fat;
    std::array<Block, MXROW> diagonal;
    std::array<Sides, MXROW> side;
    WeakPivots weak;                        // of the last factorisation
    std::array<bool, MXEQ> late;            // buses that the order holds back, by bus
    std::array<BlockPair, MXFAT> fat_kept;  // the equations before the factorisation, while solutions are refined
    std::array<Block, MXROW> diagonal_kept;
    std::array<Sides, MXROW> side_kept, correction;
    std::array<Sides, MXROW> mismatch;  // the right-hand side before the solution, under STPO

    ScalarMatrix B1, B2;             // B' and B''
    std::array<double, MXROW> x;     // right-hand side of a scalar solution
    std::array<double, MXROW> kept;  // the same before the solution

    Table<double, MXBUS> GDIAG, BDIAG;     // diagonal of the bus admittance matrix, pu
    Table<double, MXLINX> SINDIK, COSDIK;  // sine and cosine of the angle across a branch
    Table<double, MXBUS> SINBUS, COSBUS;   // of the angle of a bus
    Table<IslandState, MXILH> island;

    struct Work {
        Table<Sides, MXBUS> sum;                // what the branches give the two rows of a bus
        Table<Sides, MXBUS> injected;           // power given to a bus beyond generators, whatever its voltage, pu
        Table<int, MXBUS> NOBGEN;               // generator row of a bus
        std::array<unsigned char, MXROW> held;  // of a row: ANGLE_HELD, VOLTAGE_HELD
        Table<double, MXPHS> sine, cosine;      // of a phase shift
        Table<double, MXLIN> shfrom, shto;      // line-end shunts of a branch
        Table<int, MXILH> slack;                // first slack bus of an island, 0 for none
        Table<bool, MXBUS> moved;               // a control between iterations has moved the voltage of the bus
        Table<int, MXBUS> first_shunt;          // row of the first automatic shunt that controls the bus
        Table<double, MXILH> angle;             // angle of the slack of an island, rad
        Table<double, MXBUS> power;             // active power injected at a bus whatever the angles, pu
        Table<int, MXBUS> queue;                // of a search over buses
        Table<int, MXBUS> path, next;           // of a search in depth: buses, places in their lists of branches
        Table<unsigned char, MXBUS> mark;       // state of a bus in a search
        int nlisted;                            // buses that a report is to list
        Table<int, MXBUS> listed;               // their external numbers
        Table<Text<12>, MXBUS> listed_name;
    } work;
    ControlWork control;
    SolverState state;
};

/// How the ordering ended.
enum class OrderFault { none, cells, fill, entries };

/// Minimum degree with updated degrees. Among buses of one degree the first in goes first: in the beginning the
/// lowest index; a bus whose degree was updated goes behind. Sets NORDER and NFAT, and, when the entries fit, the
/// rows, the fill and the slots of all branches. n buses, nbr branches of which those with on take part. The lists live
/// in the first `pool` cells of the work space, and move together when these are used up. Buses marked in `late`, if
/// given, go behind all others. Blocks that none of the first `real` branches writes count as fill.
OrderFault find_order(Pattern& p, OrderingSpace& w, int n, int nbr, const BusRef* from, const BusRef* to,
                      const bool* on, const bool* late = nullptr, int pool = MXPOOL, int real = MXLINX);

/// OPTIMO: the order of the plain network or, when the augmented equations have rows of their own, of these.
/// Messages 100, 120, 130 (with the count of entries); false after any of them. Buses marked late go last.
bool OPTIMO(Run& run, Pattern& p, int n, int nbr);

/// To zero before an assembly: all blocks off the diagonal, or those that no real branch writes.
void clear_blocks(Matrices& m, const Pattern& p);
void clear_fill(Matrices& m, const Pattern& p);

/// Factorisation in place over the fixed pattern. 0; k: pivot of elimination position k is not above the tolerance;
/// -k: entries exhausted at row k; N + 1: a row has too many columns. After a failure nothing may be solved. Weak
/// pivots are noted in m.weak.
int factor_blocks(Matrices& m, const Pattern& p, double tolerance);

/// Solution with the factors, in place in m.side. Right-hand sides before row `first` are zero.
void solve_blocks(Matrices& m, const Pattern& p, int first = 0);

/// Refinement: the equations set aside before their factorisation, and after the solution the residual solved for until
/// it is small beside the right-hand side. Returns the ratio of the two that is left.
void keep_equations(Matrices& m, const Pattern& p);
double refine_solution(Matrices& m, const Pattern& p);

/// The scalar twins. factor: 0, k or -k as above. solve: in place in x.
int factor_scalar(ScalarMatrix& a, const Pattern& p, double tolerance);
void solve_scalar(const ScalarMatrix& a, const Pattern& p, double* x, int first = 0);

/// The pattern that the present solution works on.
inline Pattern& pattern(Run& run) { return run.mat.state.augmented ? run.mat.augmented : run.mat.plain; }
inline const Pattern& pattern(const Run& run) { return run.mat.state.augmented ? run.mat.augmented : run.mat.plain; }

/// Element of B' of a branch: its susceptance without resistance and without tap, pu (negative when inductive).
double linear_element(const Store& s, int l);

/// MATRIZ: builds and factors B' alone, for the linear flow. Messages 100, 110, 120.
bool MATRIZ(Run& run);
/// MATRIX: rebuilds the admittance diagonal; builds and factors B' and B'' unless Newton alone runs.
/// Messages 100 to 140.
bool MATRIX(Run& run);

}  // namespace korvane
