// A small network that has one of everything that control lists and report tables name.
#pragma once
#include "network/block_bench.hpp"

namespace korvane::testing {

/// A reader of a block; inside a test fixture the name Run means another thing.
using Reader = void (*)(Run&);

/// Buses 10 to 80 in two areas, 1 up to bus 30 and 2 from 40 on:
///
///     10 slack    20 holds the voltage of 50    30, 40, 50 loads    60 holds its own    70 load with voltage limits
///     80 load with a generator of 5 MW
///
/// Branches, by circuit 1 where nothing else is said:
///
///     10-30 two lines, circuits 1 and 2    20-30 fixed tap    30-40 line, tie    30-50 tap under control, tie
///     40-50 tap under control    50-60 phase shifter of 5 degrees    60-70 tap under control with 10 degrees
class ControlBench : public BlockBench {
public:
    ControlBench() {
        EXPECT_EQ(read(INPBUS, {"1:10|8:2|74:1", "1:20|8:1|33:40|53:50|74:1", "1:30|74:1|59:30|64:10", "1:40|74:2",
                                "1:50|74:2|59:50|64:20|69:8", "1:60|8:1|33:20|25:1030|74:2", "1:70|8:3|33:7|38:9|74:2",
                                "1:80|33:5|74:2"}),
                  NONE);
        EXPECT_EQ(read(INPLIN, {"1:10|11:30|16:1|27:1.", "1:10|11:30|16:2|27:1.", "1:20|11:30|16:1|27:1.|39:1.",
                                "1:30|11:40|16:1|27:1.", "1:30|11:50|16:1|27:1.|39:1.|44:.9|49:1.1",
                                "1:40|11:50|16:1|27:1.|39:1.|44:.9|49:1.1", "1:50|11:60|16:1|27:1.|54:5.",
                                "1:60|11:70|16:1|27:1.|39:1.|44:.9|49:1.1|54:10."}),
                  NONE);
    }

    /// External numbers of the buses in a list of buses, of generators; "from-to/circuit" of branches.
    template <int N>
    std::string names(const Table<BusRef, N>& table, int n) const {
        std::string all;
        for (int i : rows(n)) all += std::to_string(store().bus.NOINT(table(i))) + ' ';
        return all;
    }
    template <int N>
    std::string names(const Table<GenRef, N>& table, int n) const {
        std::string all;
        for (int i : rows(n)) all += std::to_string(store().bus.NOINT(store().gen.NOGEN(table(i)))) + ' ';
        return all;
    }
    template <int N>
    std::string names(const Table<BranchRef, N>& table, int n) const {
        std::string all;
        const BranchTables& b = store().branch;
        for (int i : rows(n)) {
            const int l = table(i);
            all += std::to_string(store().bus.NOINT(b.NFROM(l))) + '-' + std::to_string(store().bus.NOINT(b.NTO(l)));
            all += (b.NCIR(l) == 1 ? " " : '/' + std::to_string(b.NCIR(l)) + ' ');
        }
        return all;
    }
    template <class List>
    std::string names(const List& list) const {
        return names(list.row, list.n);
    }
    int tap(int from, int to) const {
        const int l = branch(from, to, 1), type = store().branch.LTYPE(l), row = store().branch.LITRF(l);
        return type == 1 || type == 3 ? row : store().phs.NOPHS(row).at;
    }
    int phase(int from, int to) const { return store().branch.LITRF(branch(from, to, 1)); }
};

}  // namespace korvane::testing
