// Generators, the lists that name them, and what else injects power at a bus.
#pragma once
#include "network/bus.hpp"

namespace korvane {

using GenRef = Ref<Family::generator>;

struct GeneratorTables {
    static constexpr Family family = Family::generator;
    int NG;
    Table<BusRef, MXGEN> NOGEN;         // bus of the generator
    Table<double, MXGEN> PGEN, QGEN;    // generation, pu
    Table<double, MXGEN> QMIN, QMAX;    // reactive limits in force, pu
    Table<double, MXGEN> QMNO, QMXO;    // reactive limits of the data, pu
    Table<double, MXGEN> PMIN, PMAX;    // active limits, pu
    Table<double, MXGEN> FGEN;          // participation factor
    Table<double, MXGEN> VGEN;          // voltage set point, pu
    Table<double, MXGEN> XQ;            // synchronous reactance, pu; -1: no capability data
    Table<double, MXGEN> SNOMI;         // nominal apparent power, pu
    Table<double, MXGEN> FPNOM;         // nominal power factor
    Table<double, MXGEN> FSRIA, FSRIR;  // stator and rotor limit factors
    Table<double, MXGEN> ANGCG;         // under-excitation angle, rad
    Table<double, MXGEN> ALFACREM;      // share in remote voltage control
    Table<double, MXGEN> ESTRP;         // droop
    Table<double, MXGEN> PGFRP;         // generation at which the droop line starts, pu

    int& count() { return NG; }
    static constexpr auto columns() {
        using G = GeneratorTables;
        return std::tuple{
            column("NOGEN", &G::NOGEN), column("PGEN", &G::PGEN),      column("QGEN", &G::QGEN),
            column("QMIN", &G::QMIN),   column("QMAX", &G::QMAX),      column("QMNO", &G::QMNO),
            column("QMXO", &G::QMXO),   column("PMIN", &G::PMIN),      column("PMAX", &G::PMAX),
            column("FGEN", &G::FGEN),   column("VGEN", &G::VGEN, 1.0), column("XQ", &G::XQ, -1.0),
            column("SNOMI", &G::SNOMI), column("FPNOM", &G::FPNOM),    column("FSRIA", &G::FSRIA),
            column("FSRIR", &G::FSRIR), column("ANGCG", &G::ANGCG),    column("ALFACREM", &G::ALFACREM, 1.0),
            column("ESTRP", &G::ESTRP), column("PGFRP", &G::PGFRP)};
    }
};
static_assert(lists_every_table<GeneratorTables>());

struct RemoteControlTables {
    static constexpr Family family = Family::remote_control;
    int NRCB;
    Table<GenRef, MXRCB> ICB;    // generator that controls
    Table<BusRef, MXRCB> IRCB;   // controlled bus; its external number while DBAR is being read
    Table<double, MXRCB> VRCB;   // voltage of the controlled bus, pu
    Table<double, MXRCB> FARCT;  // control factor

    int& count() { return NRCB; }
    static constexpr auto columns() {
        using R = RemoteControlTables;
        return std::tuple{column("ICB", &R::ICB), column("IRCB", &R::IRCB), column("VRCB", &R::VRCB, 1.0),
                          column("FARCT", &R::FARCT, 1.0)};
    }
};
static_assert(lists_every_table<RemoteControlTables>());

struct SlackTables {
    static constexpr Family family = Family::slack;
    int NSLK;
    Table<GenRef, MXSLK> NGSLK;  // slack generator
    Table<double, MXSLK> PSLK;   // its scheduled generation, pu

    int& count() { return NSLK; }
    static constexpr auto columns() {
        return std::tuple{column("NGSLK", &SlackTables::NGSLK), column("PSLK", &SlackTables::PSLK)};
    }
};
static_assert(lists_every_table<SlackTables>());

struct ShuntTables {
    static constexpr Family family = Family::shunt;
    int NSHT;
    Table<BusRef, MXSHT> NOSHT;
    Table<double, MXSHT> SHUNT;  // susceptance, capacitive positive, pu

    int& count() { return NSHT; }
    static constexpr auto columns() {
        return std::tuple{column("NOSHT", &ShuntTables::NOSHT), column("SHUNT", &ShuntTables::SHUNT)};
    }
};
static_assert(lists_every_table<ShuntTables>());

struct LoadModelTables {
    static constexpr Family family = Family::load_model;
    int NFLD;
    Table<BusRef, MXFLD> NOFLD;
    Table<int, MXFLD> IPFLA, IPFLB;  // per cent of PLOAD at constant current, at constant impedance
    Table<int, MXFLD> IQFLA, IQFLB;  // the same of QLOAD
    Table<double, MXFLD> VMINZ;      // below this voltage all load is constant impedance, pu

    int& count() { return NFLD; }
    static constexpr auto columns() {
        using L = LoadModelTables;
        return std::tuple{column("NOFLD", &L::NOFLD), column("IPFLA", &L::IPFLA), column("IPFLB", &L::IPFLB),
                          column("IQFLA", &L::IQFLA), column("IQFLB", &L::IQFLB), column("VMINZ", &L::VMINZ, 0.7)};
    }
};
static_assert(lists_every_table<LoadModelTables>());

struct InjectionTables {
    static constexpr Family family = Family::injection;
    int NEQV;
    Table<BusRef, MXEQV> NOEQV;
    Table<double, MXEQV> PMAT, QMAT;  // injected power, pu
    Table<double, MXEQV> FMAT;        // participation
    Table<double, MXEQV> FSH;         // shunt susceptance, pu

    int& count() { return NEQV; }
    static constexpr auto columns() {
        using E = InjectionTables;
        return std::tuple{column("NOEQV", &E::NOEQV), column("PMAT", &E::PMAT), column("QMAT", &E::QMAT),
                          column("FMAT", &E::FMAT), column("FSH", &E::FSH)};
    }
};
static_assert(lists_every_table<InjectionTables>());

}  // namespace korvane
