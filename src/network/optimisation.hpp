// Control variables of the network optimisation, their costs, and constraints over groups of them.
#pragma once
#include "network/branch.hpp"
#include "network/generation.hpp"

namespace korvane {

struct ControlVariableTables {
    static constexpr Family family = Family::control_variable;
    int NCONX;
    Table<BusRef, MXVCO> NOCONX;
    Table<GenRef, MXVCO> ITCONX;               // generator row, 0 for a load
    Table<int, MXVCO> NPRIOX;                  // level from which it takes part, 0 to 10
    Table<double, MXVCO> PESO;                 // weight, times 100
    Table<double, MXVCO> PESC;                 // target generation, pu; largest share of a load that may be shed
    Table<int, MXVCO> NSEG;                    // chords of a quadratic cost
    Table<int, MXVCO> ITREP;                   // 1 cost by coefficients, 2 by points
    Table<double, MXVCO> COEFA, COEFB, COEFC;  // quadratic cost of a generation in pu
    Table<int, MXVCO> KURDEF;                  // cost data: 0 none, 1 coefficients, 2 points, 3 both
    Table<int, MXVCO + 1> LPTOX;               // first curve point; the entry behind the last variable ends its curve

    int& count() { return NCONX; }
    static constexpr auto columns() {
        using V = ControlVariableTables;
        return std::tuple{column("NOCONX", &V::NOCONX),    column("ITCONX", &V::ITCONX), column("NPRIOX", &V::NPRIOX),
                          column("PESO", &V::PESO, 100.0), column("PESC", &V::PESC),     column("NSEG", &V::NSEG, 1),
                          column("ITREP", &V::ITREP, 1),   column("COEFA", &V::COEFA),   column("COEFB", &V::COEFB),
                          column("COEFC", &V::COEFC),      column("KURDEF", &V::KURDEF), column("LPTOX", &V::LPTOX, 1)};
    }
};
static_assert(lists_every_table<ControlVariableTables>());

/// Points of cost curves, those of a variable together, in rising power.
struct CurvePointTables {
    static constexpr Family family = Family::curve_point;
    int NPTO;
    Table<double, MXPTO> CXPTO, CYPTO;  // power, pu; cost

    int& count() { return NPTO; }
    static constexpr auto columns() {
        return std::tuple{column("CXPTO", &CurvePointTables::CXPTO), column("CYPTO", &CurvePointTables::CYPTO)};
    }
};
static_assert(lists_every_table<CurvePointTables>());

struct GroupConstraintTables {
    static constexpr Family family = Family::group_constraint;
    int NRES;
    Table<int, MXRES> NUMRES;  // number
    Table<Text<8>, MXRES> RESNAM;
    Table<double, MXRES> TIREI, TIRES;  // lower and upper limit, pu
    Table<int, MXRES + 1> IPCFT;        // first term; the entry behind the last constraint ends its terms

    int& count() { return NRES; }
    static constexpr auto columns() {
        using G = GroupConstraintTables;
        return std::tuple{column("NUMRES", &G::NUMRES), column("RESNAM", &G::RESNAM, BLANK<8>),
                          column("TIREI", &G::TIREI), column("TIRES", &G::TIRES), column("IPCFT", &G::IPCFT, 1)};
    }
};
static_assert(lists_every_table<GroupConstraintTables>());

/// Terms of the constraints, those of one together.
struct ConstraintTermTables {
    static constexpr Family family = Family::constraint_term;
    int NCFT;
    Table<int, MXCFT> ITCFT;     // 1 variable of a generator, 2 of a load, 3 a branch
    Table<AnyRef, MXCFT> NOCFT;  // the variable; the branch, minus: its flow is taken at NTO; 0: it was removed
    Table<double, MXCFT> COEF;   // coefficient

    int& count() { return NCFT; }
    std::optional<Family> target_of(int row) const {
        if (ITCFT(row) == 3) return Family::branch;
        return Family::control_variable;
    }
    static constexpr auto columns() {
        using T = ConstraintTermTables;
        return std::tuple{column("ITCFT", &T::ITCFT), column("NOCFT", &T::NOCFT), column("COEF", &T::COEF)};
    }
};
static_assert(lists_every_table<ConstraintTermTables>());

}  // namespace korvane
