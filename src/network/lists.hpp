// Lists of rows of other families: what is monitored, what a control leaves out, substitute slack buses.
#pragma once
#include "network/branch.hpp"
#include "network/generation.hpp"

namespace korvane {

/// A list of rows of one family: N entries at most.
template <Family Own, Family Of, int N>
struct RowList {
    static constexpr Family family = Own;
    int n;
    Table<Ref<Of>, N> row;

    int& count() { return n; }
    static constexpr auto columns() { return std::tuple{column("row", &RowList::row)}; }
};

using MonitoredBuses = RowList<Family::monitored_bus, Family::bus, MXMTB>;                   // MTBUS, NMTB
using MonitoredGenerators = RowList<Family::monitored_generator, Family::generator, MXMTG>;  // MTGEN, NMTG
using MonitoredBranches = RowList<Family::monitored_branch, Family::branch, MXMTL>;          // MTLIN, NMTL
using RemoteFactors = RowList<Family::remote_factor, Family::generator, MXFCR>;              // IPCREM, NFCR
using LimitFactors = RowList<Family::limit_factor, Family::generator, MXFQL>;                // IPQLIM, NFQL
using FixedTaps = RowList<Family::fixed_tap, Family::branch, MXTPF>;                         // ITAPF, NTPF
static_assert(lists_every_table<MonitoredBuses>());

struct AlternativeSlackTables {
    static constexpr Family family = Family::alternative_slack;
    int NSLP;
    Table<BusRef, MXSLP> NOSLP;
    Table<int, MXSLP> IPRSLP;   // priority
    Table<bool, MXSLP> SLPUSO;  // used

    int& count() { return NSLP; }
    static constexpr auto columns() {
        using S = AlternativeSlackTables;
        return std::tuple{column("NOSLP", &S::NOSLP), column("IPRSLP", &S::IPRSLP), column("SLPUSO", &S::SLPUSO)};
    }
};
static_assert(lists_every_table<AlternativeSlackTables>());

/// DBTB: buses whose voltage the tables print against a band.
struct BandTables {
    static constexpr Family family = Family::voltage_band;
    int NBTB;
    Table<BusRef, MXBTB> IPBTB;
    Table<double, MXBTB> VMNBTB, VMXBTB;  // band, pu; 0 and 0: none

    int& count() { return NBTB; }
    static constexpr auto columns() {
        using B = BandTables;
        return std::tuple{column("IPBTB", &B::IPBTB), column("VMNBTB", &B::VMNBTB), column("VMXBTB", &B::VMXBTB)};
    }
};
static_assert(lists_every_table<BandTables>());

/// A sum of generations over buses (DPGE, DQGE): its members in the order of the cards. The member that closes the sum
/// carries its text.
template <Family Own>
struct GenerationSum {
    static constexpr Family family = Own;
    int n;
    Table<BusRef, MXSUM> bus;     // IPPGE, IPQGE
    Table<int, MXSUM> sign;       // IPFPG, IPFQG: 1 or -1
    Table<int, MXSUM> sum;        // number of the sum
    Table<bool, MXSUM> closes;    // last member of its sum
    Table<Text<12>, MXSUM> text;  // TXTP, TXTQ

    int& count() { return n; }
    static constexpr auto columns() {
        using S = GenerationSum;
        return std::tuple{column("bus", &S::bus), column("sign", &S::sign, 1), column("sum", &S::sum),
                          column("closes", &S::closes), column("text", &S::text, BLANK<12>)};
    }
};
using ActiveSums = GenerationSum<Family::active_sum>;
using ReactiveSums = GenerationSum<Family::reactive_sum>;

/// DFTB: sums of branch flows. A member is a branch with its sign; a row is a sum with its texts and limits.
struct FlowSumTables {
    static constexpr Family family = Family::flow_sum;
    int NFTB;
    Table<Text<12>, MXFTB> TXFTB1, TXFTB2;
    Table<std::array<double, 7>, MXFTB> CNFTB;  // limits, MVA

    int& count() { return NFTB; }
    static constexpr auto columns() {
        using F = FlowSumTables;
        return std::tuple{column("TXFTB1", &F::TXFTB1, BLANK<12>), column("TXFTB2", &F::TXFTB2, BLANK<12>),
                          column("CNFTB", &F::CNFTB)};
    }
};
static_assert(lists_every_table<FlowSumTables>());

struct FlowMemberTables {
    static constexpr Family family = Family::flow_member;
    int NLTB;
    Table<BranchRef, MXLTB> IPLTB;
    Table<bool, MXLTB> ISLTB;                 // the flow is measured at NTO
    Table<int, MXLTB> sign;                   // 1 or -1
    Table<Ref<Family::flow_sum>, MXLTB> sum;  // its row; 0 while the sum is open

    int& count() { return NLTB; }
    static constexpr auto columns() {
        using M = FlowMemberTables;
        return std::tuple{column("IPLTB", &M::IPLTB), column("ISLTB", &M::ISLTB), column("sign", &M::sign, 1),
                          column("sum", &M::sum)};
    }
};
static_assert(lists_every_table<FlowMemberTables>());

/// DFRQ: islands that hold their frequency.
struct FrequencyTables {
    static constexpr Family family = Family::frequency_island;
    int NFRP;
    Table<int, MXFRP> NOFRP;                          // number in the data
    Table<BusRef, MXFRP> NREFRP;                      // reference bus
    Table<double, MXFRP> FREQBASE, FREQMIN, FREQMAX;  // nominal, lowest, highest frequency, Hz
    Table<double, MXFRP> FREQILH;                     // present frequency, of FREQBASE
    Table<Text<46>, MXFRP> IDILFRP;

    int& count() { return NFRP; }
    static constexpr auto columns() {
        using F = FrequencyTables;
        return std::tuple{column("NOFRP", &F::NOFRP),
                          column("NREFRP", &F::NREFRP),
                          column("FREQBASE", &F::FREQBASE, 60.0),
                          column("FREQMIN", &F::FREQMIN, 59.5),
                          column("FREQMAX", &F::FREQMAX, 60.5),
                          column("FREQILH", &F::FREQILH, 1.0),
                          column("IDILFRP", &F::IDILFRP, BLANK<46>)};
    }
};
static_assert(lists_every_table<FrequencyTables>());

}  // namespace korvane
