// The order of the fields of a case.
#include "casestore/case_fields.hpp"

#include <algorithm>

#include "casestore/derived_columns.hpp"

namespace korvane {

namespace {

using S = Store;

// --- fields over the columns of the store

template <class T>
constexpr Kind kind_of() {
    if (std::is_same_v<T, double>) return Kind::R;
    if (std::is_same_v<T, bool>) return Kind::L;
    if (std::is_same_v<T, int> || std::is_same_v<T, AnyRef> || is_ref<T>::value) return Kind::I;
    return Kind::C;
}

template <auto Tables, auto Column>
void* column_of(CaseContext& c) {
    return (c.s().*Tables.*Column).data();
}

/// The field that holds a column of the store.
template <auto Tables, auto Column>
constexpr CaseField field(const char* name) {
    using Family = std::remove_cvref_t<decltype(std::declval<Store&>().*Tables)>;
    using T = typename std::remove_cvref_t<decltype(std::declval<Family&>().*Column)>::value_type;
    CaseField f{name, kind_of<T>(), int(sizeof(T)), column_of<Tables, Column>};
    f.column = true;
    if constexpr (kind_of<T>() == Kind::C) f.columns = sizeof(T);
    if constexpr (is_ref<T>::value) {
        f.target = T::family;
        f.low = 0;
    }
    return f;
}

/// Element k of the arrays in a column.
template <auto Tables, auto Column, int K>
constexpr CaseField stage(const char* name) {
    using Family = std::remove_cvref_t<decltype(std::declval<Store&>().*Tables)>;
    using Array = typename std::remove_cvref_t<decltype(std::declval<Family&>().*Column)>::value_type;
    using T = typename Array::value_type;
    CaseField f{name, kind_of<T>(), int(sizeof(Array)),
                [](CaseContext& c) -> void* { return &(*(c.s().*Tables.*Column).data())[K - 1]; }};
    f.column = true;
    return f;
}

/// Row of aggregator K of a bus or a branch.
template <auto Tables, auto Column, int K>
constexpr CaseField aggregator(const char* name) {
    CaseField f{name, Kind::I, int(sizeof(AggregatorRows)),
                [](CaseContext& c) -> void* { return &(c.s().*Tables.*Column).data()->of[K - 1]; }};
    f.byte = f.column = true;
    return f;
}

/// A column outside the families: of an address list, of the aggregators, worked out for the stream.
constexpr CaseField other(const char* name, Kind kind, void* (*table)(CaseContext&), int columns = 1) {
    CaseField f{name, kind, kind == Kind::R ? 8 : kind == Kind::I ? 4 : kind == Kind::L ? 1 : columns, table};
    f.columns = columns;
    return f;
}
template <auto List>
constexpr CaseField address(const char* name) {
    return other(name, Kind::I, [](CaseContext& c) -> void* { return (c.s().adr.*List).data(); }).derived();
}

/// Elements that no table of this program holds.
constexpr CaseField nowhere(const char* name, Kind kind, int columns = 1) {
    return other(name, kind, nullptr, columns);
}

/// A text of two characters of which files before version 66 hold the second.
constexpr CaseField second_character(CaseField f, void* (*table)(CaseContext&)) {
    f.columns = 1;
    f.until = 65;
    f.table = table;
    return f;
}

// --- in their order

constexpr CaseField BUSES[] = {
    field<&S::bus, &BusTables::VOLT>("VOLT"),
    field<&S::bus, &BusTables::ANGLE>("ANGLE"),
    field<&S::bus, &BusTables::PLOAD>("PLOAD"),
    field<&S::bus, &BusTables::QLOAD>("QLOAD"),
    other("GDIAG", Kind::R, conductance_with_motors),
    other("BDIAG", Kind::R, susceptance_with_motors),
    field<&S::bus, &BusTables::FVOLT>("FVOLT").since(56),
    field<&S::bus, &BusTables::NTYPE>("NTYPE").within(-3, 4),
    other("NORDER", Kind::I, solver_rows),
    field<&S::bus, &BusTables::IAREA>("IAREA").needed(),
    field<&S::bus, &BusTables::NOGLT>("NOGLT").needed(),
    field<&S::bus, &BusTables::NOGBT>("NOGBT").needed(),
    field<&S::bus, &BusTables::NOINT>("NOINT").within(1, MXNUM),
    field<&S::bus, &BusTables::BUSSEL>("BUSSEL").since(52),
    field<&S::bus, &BusTables::STBUS>("STBUS").since(64),
    field<&S::bus, &BusTables::BNAME>("BNAME"),
};
constexpr CaseField AREAS[] = {
    field<&S::area, &AreaTables::AREINT>("AREINT"), field<&S::area, &AreaTables::EXCMIN>("EXCMIN"),
    field<&S::area, &AreaTables::EXCMAX>("EXCMAX"), field<&S::area, &AreaTables::NAINT>("NAINT").within(1, 999),
    field<&S::area, &AreaTables::ARESEL>("ARESEL"), field<&S::area, &AreaTables::ARNAME>("ARNAME"),
};
constexpr CaseField GENERATORS[] = {
    field<&S::gen, &GeneratorTables::PGEN>("PGEN"),
    field<&S::gen, &GeneratorTables::PMIN>("PMIN"),
    field<&S::gen, &GeneratorTables::PMAX>("PMAX"),
    field<&S::gen, &GeneratorTables::FGEN>("FGEN"),
    field<&S::gen, &GeneratorTables::QGEN>("QGEN"),
    field<&S::gen, &GeneratorTables::QMIN>("QMIN"),
    field<&S::gen, &GeneratorTables::QMAX>("QMAX"),
    field<&S::gen, &GeneratorTables::VGEN>("VGEN"),
    field<&S::gen, &GeneratorTables::FPNOM>("FPNOM").since(60),
    field<&S::gen, &GeneratorTables::FSRIA>("FSRIA").since(60),
    field<&S::gen, &GeneratorTables::FSRIR>("FSRIR").since(60),
    field<&S::gen, &GeneratorTables::ANGCG>("ANGCG").since(60),
    field<&S::gen, &GeneratorTables::XQ>("XQ").since(60),
    field<&S::gen, &GeneratorTables::SNOMI>("SNOMI").since(60),
    field<&S::gen, &GeneratorTables::QMNO>("QMNO").since(60),
    field<&S::gen, &GeneratorTables::QMXO>("QMXO").since(60),
    field<&S::gen, &GeneratorTables::ALFACREM>("ALFACREM").since(61),
    field<&S::gen, &GeneratorTables::NOGEN>("NOGEN").needed(),
};
constexpr CaseField SLACKS[] = {
    field<&S::slk, &SlackTables::PSLK>("PSLK"),
    field<&S::slk, &SlackTables::NGSLK>("NGSLK").needed(),
};
constexpr CaseField REMOTE_CONTROLS[] = {
    field<&S::rcb, &RemoteControlTables::VRCB>("VRCB"),
    field<&S::rcb, &RemoteControlTables::FARCT>("FARCT"),
    field<&S::rcb, &RemoteControlTables::ICB>("ICB").needed(),
    field<&S::rcb, &RemoteControlTables::IRCB>("IRCB").needed(),
};
constexpr CaseField LIMIT_GROUPS[] = {
    field<&S::glt, &LimitGroupTables::VMIN>("VMIN"),
    field<&S::glt, &LimitGroupTables::VMAX>("VMAX"),
    field<&S::glt, &LimitGroupTables::VMINE>("VMINE").since(64),
    field<&S::glt, &LimitGroupTables::VMAXE>("VMAXE").since(64),
    field<&S::glt, &LimitGroupTables::GLTEN>("GLTEN").since(66),
    second_character(field<&S::glt, &LimitGroupTables::GLTEN>("GLTEN"),
                     [](CaseContext& c) -> void* { return c.s().glt.GLTEN.data()->at + 1; }),
};
constexpr CaseField BASE_GROUPS[] = {
    field<&S::gbt, &BaseGroupTables::BASET>("BASET"),
    field<&S::gbt, &BaseGroupTables::GBTEN>("GBTEN").since(66),
    second_character(field<&S::gbt, &BaseGroupTables::GBTEN>("GBTEN"),
                     [](CaseContext& c) -> void* { return c.s().gbt.GBTEN.data()->at + 1; }),
};
constexpr CaseField SHUNTS[] = {
    field<&S::sht, &ShuntTables::SHUNT>("SHUNT"),
    field<&S::sht, &ShuntTables::NOSHT>("NOSHT").needed(),
};
constexpr CaseField AUTOMATIC_SHUNTS[] = {
    field<&S::sca, &AutomaticShuntTables::BSCA>("BSCA"),
    field<&S::sca, &AutomaticShuntTables::VMINSCA>("VMINSCA"),
    field<&S::sca, &AutomaticShuntTables::VMAXSCA>("VMAXSCA"),
    field<&S::sca, &AutomaticShuntTables::VORISCA>("VORISCA"),
    stage<&S::sca, &AutomaticShuntTables::VSTEPSCA, 1>("VSTEPSCA1"),
    stage<&S::sca, &AutomaticShuntTables::VSTEPSCA, 2>("VSTEPSCA2"),
    stage<&S::sca, &AutomaticShuntTables::VSTEPSCA, 3>("VSTEPSCA3"),
    stage<&S::sca, &AutomaticShuntTables::VSTEPSCA, 4>("VSTEPSCA4"),
    stage<&S::sca, &AutomaticShuntTables::VSTEPSCA, 5>("VSTEPSCA5"),
    stage<&S::sca, &AutomaticShuntTables::VSTEPSCA, 6>("VSTEPSCA6"),
    field<&S::sca, &AutomaticShuntTables::NBUSSCA>("NBUSSCA").needed(),
    field<&S::sca, &AutomaticShuntTables::KBUSSCA>("KBUSSCA").needed(),
    field<&S::sca, &AutomaticShuntTables::KONSCA>("KONSCA"),
    field<&S::sca, &AutomaticShuntTables::NTSCA>("NTSCA"),
    stage<&S::sca, &AutomaticShuntTables::ISTEPSCA, 1>("ISTEPSCA1"),
    stage<&S::sca, &AutomaticShuntTables::ISTEPSCA, 2>("ISTEPSCA2"),
    stage<&S::sca, &AutomaticShuntTables::ISTEPSCA, 3>("ISTEPSCA3"),
    stage<&S::sca, &AutomaticShuntTables::ISTEPSCA, 4>("ISTEPSCA4"),
    stage<&S::sca, &AutomaticShuntTables::ISTEPSCA, 5>("ISTEPSCA5"),
    stage<&S::sca, &AutomaticShuntTables::ISTEPSCA, 6>("ISTEPSCA6"),
    field<&S::sca, &AutomaticShuntTables::ICONSCA>("ICONSCA"),
};
constexpr CaseField INDIVIDUAL_GENERATORS[] = {
    field<&S::gei, &IndividualGeneratorTables::PGGEI>("PGGEI"),
    field<&S::gei, &IndividualGeneratorTables::QGGEI>("QGGEI"),
    field<&S::gei, &IndividualGeneratorTables::QMNGEI>("QMNGEI"),
    field<&S::gei, &IndividualGeneratorTables::QMXGEI>("QMXGEI"),
    field<&S::gei, &IndividualGeneratorTables::XTFGEI>("XTFGEI"),
    field<&S::gei, &IndividualGeneratorTables::XDGEI>("XDGEI"),
    field<&S::gei, &IndividualGeneratorTables::XQGEI>("XQGEI"),
    field<&S::gei, &IndividualGeneratorTables::XLGEI>("XLGEI"),
    field<&S::gei, &IndividualGeneratorTables::FPGEI>("FPGEI"),
    field<&S::gei, &IndividualGeneratorTables::SNGEI>("SNGEI"),
    field<&S::gei, &IndividualGeneratorTables::PTUGEI>("PTUGEI"),
    field<&S::gei, &IndividualGeneratorTables::IDGEI>("IDGEI"),
    field<&S::gei, &IndividualGeneratorTables::NOGEI>("NOGEI").needed(),
    field<&S::gei, &IndividualGeneratorTables::NOGGEI>("NOGGEI").needed(),
    field<&S::gei, &IndividualGeneratorTables::NUGIG>("NUGIG"),
    field<&S::gei, &IndividualGeneratorTables::NUGIGOP>("NUGIGOP"),
    field<&S::gei, &IndividualGeneratorTables::NUGIGMN>("NUGIGMN"),
    field<&S::gei, &IndividualGeneratorTables::STGEI>("STGEI"),
    field<&S::gei, &IndividualGeneratorTables::STCAP>("STCAP"),
    field<&S::gei, &IndividualGeneratorTables::FLAGNOP>("FLAGNOP").since(65),
};
constexpr CaseField LOAD_MODELS[] = {
    field<&S::fld, &LoadModelTables::VMINZ>("VMINZ"), field<&S::fld, &LoadModelTables::IPFLA>("IPFLA"),
    field<&S::fld, &LoadModelTables::IPFLB>("IPFLB"), field<&S::fld, &LoadModelTables::IQFLA>("IQFLA"),
    field<&S::fld, &LoadModelTables::IQFLB>("IQFLB"), field<&S::fld, &LoadModelTables::NOFLD>("NOFLD").needed(),
};
constexpr CaseField MOTORS[] = {
    field<&S::mot, &MotorTables::RSTATO>("RSTATO"),
    field<&S::mot, &MotorTables::XSTATO>("XSTATO"),
    field<&S::mot, &MotorTables::XMAGNE>("XMAGNE"),
    field<&S::mot, &MotorTables::RROTOR>("RROTOR"),
    field<&S::mot, &MotorTables::XROTOR>("XROTOR"),
    field<&S::mot, &MotorTables::HPBASE>("HPBASE"),
    field<&S::mot, &MotorTables::SLIP>("SLIP"),
    other("IMOT", Kind::R, motor_current).since(64),
    other("AIMOT", Kind::R, motor_current_angle).since(64),
    field<&S::mot, &MotorTables::PMECA>("PMECA").since(64),
    field<&S::mot, &MotorTables::PBASEMI>("PBASEMI").since(64),
    field<&S::mot, &MotorTables::QLINI>("QLINI").since(64),
    field<&S::mot, &MotorTables::BCINI>("BCINI").since(64),
    field<&S::mot, &MotorTables::BCMIT>("BCMIT").since(64),
    field<&S::mot, &MotorTables::QCMIT>("QCMIT").since(64),
    field<&S::mot, &MotorTables::IDEGM>("IDEGM"),
    field<&S::mot, &MotorTables::LFPMEC>("LFPMEC"),
    field<&S::mot, &MotorTables::NUNID>("NUNID"),
    field<&S::mot, &MotorTables::NOMOT>("NOMOT").needed(),
    field<&S::mot, &MotorTables::IPFLM>("IPFLM").since(64),
    field<&S::mot, &MotorTables::IPBSM>("IPBSM").since(64),
    field<&S::mot, &MotorTables::MOTIP>("MOTIP").since(64).within(0, 7),
    field<&S::mot, &MotorTables::STMOT>("STMOT").since(64),
};
constexpr CaseField INDIVIDUAL_LOADS[] = {
    field<&S::cai, &IndividualLoadTables::PLOADI>("PLOADI"),
    field<&S::cai, &IndividualLoadTables::QLOADI>("QLOADI"),
    field<&S::cai, &IndividualLoadTables::VMINZC>("VMINZC"),
    field<&S::cai, &IndividualLoadTables::FVOLTC>("FVOLTC"),
    field<&S::cai, &IndividualLoadTables::IPVLA>("IPVLA"),
    field<&S::cai, &IndividualLoadTables::IPVQB>("IPVQB"),
    field<&S::cai, &IndividualLoadTables::IQVLC>("IQVLC"),
    field<&S::cai, &IndividualLoadTables::IQVQD>("IQVQD"),
    field<&S::cai, &IndividualLoadTables::NOCAI>("NOCAI").needed(),
    field<&S::cai, &IndividualLoadTables::IDEGC>("IDEGC"),
    field<&S::cai, &IndividualLoadTables::NUNIC>("NUNIC"),
    field<&S::cai, &IndividualLoadTables::NUNICOP>("NUNICOP"),
    field<&S::cai, &IndividualLoadTables::STCAR>("STCAR"),
};
constexpr CaseField BANKS[] = {
    field<&S::bsh, &BankTables::VINSH>("VINSH"),          field<&S::bsh, &BankTables::TMNSH>("TMNSH"),
    field<&S::bsh, &BankTables::TMXSH>("TMXSH"),          field<&S::bsh, &BankTables::QBSH>("QBSH"),
    field<&S::bsh, &BankTables::NOBSH>("NOBSH").needed(), field<&S::bsh, &BankTables::MCBSH>("MCBSH").within(0, 2),
    field<&S::bsh, &BankTables::NOBCS>("NOBCS").needed(), address<&Addresses::IPBSH>("IPBSH"),
    field<&S::bsh, &BankTables::NUBSH>("NUBSH"),          address<&Addresses::IPBRC>("IPBRC"),
    field<&S::bsh, &BankTables::IPSCA>("IPSCA"),          field<&S::bsh, &BankTables::IDCIR>("IDCIR"),
    field<&S::bsh, &BankTables::TCBSH>("TCBSH"),          field<&S::bsh, &BankTables::DELSH>("DELSH"),
};
// IBUSH may name a bank that is not there: its row is dropped after reading.
constexpr CaseField BANK_UNITS[] = {
    field<&S::bshl, &BankUnitTables::VALSH>("VALSH"),
    field<&S::bshl, &BankUnitTables::RELBSH>("RELBSH"),
    field<&S::bshl, &BankUnitTables::QBAN>("QBAN"),
    field<&S::bshl, &BankUnitTables::IDEGS>("IDEGS"),
    field<&S::bshl, &BankUnitTables::NUNIS>("NUNIS"),
    field<&S::bshl, &BankUnitTables::NUNISOP>("NUNISOP"),
    field<&S::bshl, &BankUnitTables::NUNCHAV>("NUNCHAV"),
    other("IBUSH", Kind::I, column_of<&S::bshl, &BankUnitTables::IBUSH>),
    address<&Addresses::LNKBS>("LNKBS"),
    address<&Addresses::LNKRC>("LNKRC"),
    nowhere("IDSCA", Kind::I),
    field<&S::bshl, &BankUnitTables::STBSH>("STBSH"),
};
constexpr CaseField LINE_SHUNTS[] = {
    field<&S::shl, &LineShuntTables::LISHL>("LISHL").needed(),
    field<&S::shl, &LineShuntTables::SHLFR>("SHLFR"),
    field<&S::shl, &LineShuntTables::SHLTO>("SHLTO"),
    field<&S::shl, &LineShuntTables::STSHLD>("STSHLD").since(64),
    field<&S::shl, &LineShuntTables::STSHLP>("STSHLP").since(64),
};
constexpr CaseField BRANCHES[] = {
    field<&S::branch, &BranchTables::GKM>("GKM"),
    field<&S::branch, &BranchTables::BKM>("BKM"),
    field<&S::branch, &BranchTables::BC>("BC"),
    field<&S::branch, &BranchTables::NFROM>("NFROM").needed(),
    field<&S::branch, &BranchTables::NTO>("NTO").needed(),
    field<&S::branch, &BranchTables::LTYPE>("LTYPE").within(0, 6),
    other("LITRF", Kind::I, column_of<&S::branch, &BranchTables::LITRF>).derived(),
    field<&S::branch, &BranchTables::KAPAC>("KAPAC").rated(),
    field<&S::branch, &BranchTables::KAPAE>("KAPAE").rated(),
    field<&S::branch, &BranchTables::NCIR>("NCIR"),
    field<&S::branch, &BranchTables::STLIN>("STLIN"),
    field<&S::branch, &BranchTables::OWNER>("OWNER"),
    field<&S::branch, &BranchTables::STLIND>("STLIND").since(68),
    field<&S::branch, &BranchTables::STLINP>("STLINP").since(68),
};
constexpr CaseField TAPS[] = {
    field<&S::tap, &TapTables::TAP>("TAP"),
    field<&S::tap, &TapTables::TPMIN>("TPMIN"),
    field<&S::tap, &TapTables::TPMAX>("TPMAX"),
    field<&S::tap, &TapTables::VBUS>("VBUS"),
    field<&S::tap, &TapTables::FATRF>("FATRF"),
    field<&S::tap, &TapTables::NOTAP>("NOTAP").needed(),
    field<&S::tap, &TapTables::KBUS>("KBUS").with_sign(),
    field<&S::tap, &TapTables::NTSTP>("NTSTP").since(58),
    field<&S::tap, &TapTables::NTTAP>("NTTAP").since(62),
    field<&S::tap, &TapTables::VMNTVF>("VMNTVF").since(64),
    field<&S::tap, &TapTables::VMXTVF>("VMXTVF").since(64),
    field<&S::tap, &TapTables::VBARRA>("VBARRA").since(64),
    field<&S::tap, &TapTables::NTTVF>("NTTVF").since(64),
    field<&S::tap, &TapTables::TVFLIM>("TVFLIM").since(64),
    field<&S::tap, &TapTables::FTPDIS>("FTPDIS").since(64),
};
constexpr CaseField PHASES[] = {
    field<&S::phs, &PhaseTables::PHS>("PHS"),
    field<&S::phs, &PhaseTables::NOPHS>("NOPHS").needed(),
};
constexpr CaseField SERIES_DEVICES[] = {
    field<&S::csc, &SeriesDeviceTables::BMNCSC>("BMNCSC"),        field<&S::csc, &SeriesDeviceTables::BMXCSC>("BMXCSC"),
    field<&S::csc, &SeriesDeviceTables::VSPCSC>("VSPCSC"),        field<&S::csc, &SeriesDeviceTables::NSTCSC>("NSTCSC"),
    field<&S::csc, &SeriesDeviceTables::NBECSC>("NBECSC"),        field<&S::csc, &SeriesDeviceTables::KONCSC>("KONCSC"),
    field<&S::csc, &SeriesDeviceTables::LICSC>("LICSC").needed(), field<&S::csc, &SeriesDeviceTables::NTYCSC>("NTYCSC"),
};
constexpr CaseField COMPENSATORS[] = {
    other("QGCER", Kind::R, generation_of_a_unit),
    field<&S::cer, &CompensatorTables::QCERMN>("QCERMN"),
    field<&S::cer, &CompensatorTables::QCERMX>("QCERMX"),
    field<&S::cer, &CompensatorTables::VCER>("VCER"),
    field<&S::cer, &CompensatorTables::RCER>("RCER"),
    field<&S::cer, &CompensatorTables::NBECER>("NBECER").needed(),
    field<&S::cer, &CompensatorTables::NVKCER>("NVKCER").needed(),
    field<&S::cer, &CompensatorTables::KONCNT>("KONCNT"),
    field<&S::cer, &CompensatorTables::KONCER>("KONCER"),
    field<&S::cer, &CompensatorTables::NUCER>("NUCER").since(61),
    field<&S::cer, &CompensatorTables::IGCER>("IGCER").since(61),
    field<&S::cer, &CompensatorTables::STUCER>("STUCER").since(64),
};
constexpr CaseField MONITORED_BUSES[] = {field<&S::mtb, &MonitoredBuses::row>("MTBUS").needed()};
constexpr CaseField MONITORED_GENERATORS[] = {field<&S::mtg, &MonitoredGenerators::row>("MTGEN").needed()};
constexpr CaseField MONITORED_BRANCHES[] = {field<&S::mtl, &MonitoredBranches::row>("MTLIN").needed()};
constexpr CaseField FIXED_TAPS[] = {
    field<&S::tpf, &FixedTaps::row>("ITAPF").needed(),
    other("IPTRF", Kind::I, rows_of_fixed_taps).derived(),
};
constexpr CaseField LIMIT_FACTORS[] = {field<&S::fql, &LimitFactors::row>("IPQLIM").needed()};
constexpr CaseField REMOTE_FACTORS[] = {field<&S::fcr, &RemoteFactors::row>("IPCREM").needed()};
constexpr CaseField INJECTIONS[] = {
    field<&S::eqv, &InjectionTables::NOEQV>("NOEQV").needed(),
    field<&S::eqv, &InjectionTables::PMAT>("PMAT"),
    field<&S::eqv, &InjectionTables::FMAT>("FMAT"),
    field<&S::eqv, &InjectionTables::QMAT>("QMAT"),
    field<&S::eqv, &InjectionTables::FSH>("FSH"),
};
constexpr CaseField CONTINGENCY_CLASSES[] = {field<&S::pri, &ContingencyClassTables::LSTPRI>("LSTPRI"),
                                             field<&S::pri, &ContingencyClassTables::NCTPRI>("NCTPRI").needed()};
constexpr CaseField CONTINGENCIES[] = {
    field<&S::ctg, &ContingencyTables::IDCTG>("IDCTG"),
    field<&S::ctg, &ContingencyTables::CTGID>("CTGID").since(64),
    field<&S::ctg, &ContingencyTables::IPCTG>("IPCTG").needed(),
    field<&S::ctg, &ContingencyTables::IFCTG>("IFCTG").needed(),
    field<&S::ctg, &ContingencyTables::IVCTG>("IVCTG"),
    field<&S::ctg, &ContingencyTables::NXCTG>("NXCTG"),
};
constexpr CaseField CONTINGENCY_CHANGES[] = {field<&S::chg, &ContingencyChangeTables::NOCTG>("NOCTG"),
                                             field<&S::chg, &ContingencyChangeTables::ITCTG>("ITCTG")};
constexpr CaseField CONTINGENCY_VALUES[] = {field<&S::ctv, &ContingencyValueTables::CTGVAL>("CTGVAL")};
constexpr CaseField CONTROL_VARIABLES[] = {
    field<&S::vco, &ControlVariableTables::PESC>("PESC"),
    field<&S::vco, &ControlVariableTables::PESO>("PESO"),
    field<&S::vco, &ControlVariableTables::COEFA>("COEFA"),
    field<&S::vco, &ControlVariableTables::COEFB>("COEFB"),
    field<&S::vco, &ControlVariableTables::COEFC>("COEFC"),
    field<&S::vco, &ControlVariableTables::NOCONX>("NOCONX").needed(),
    field<&S::vco, &ControlVariableTables::ITCONX>("ITCONX"),
    field<&S::vco, &ControlVariableTables::NPRIOX>("NPRIOX"),
    field<&S::vco, &ControlVariableTables::ITREP>("ITREP").within(1, 2),
    field<&S::vco, &ControlVariableTables::KURDEF>("KURDEF").within(0, 3),
    field<&S::vco, &ControlVariableTables::NSEG>("NSEG"),
    field<&S::vco, &ControlVariableTables::LPTOX>("LPTOX").plus(1),
};
constexpr CaseField CURVE_POINTS[] = {field<&S::pto, &CurvePointTables::CXPTO>("CXPTO"),
                                      field<&S::pto, &CurvePointTables::CYPTO>("CYPTO")};
constexpr CaseField CONSTRAINTS[] = {
    field<&S::res, &GroupConstraintTables::TIREI>("TIREI"),
    field<&S::res, &GroupConstraintTables::TIRES>("TIRES"),
    field<&S::res, &GroupConstraintTables::NUMRES>("NUMRES"),
    field<&S::res, &GroupConstraintTables::IPCFT>("IPCFT").plus(1),
    field<&S::res, &GroupConstraintTables::RESNAM>("RESNAM"),
};
constexpr CaseField CONSTRAINT_TERMS[] = {field<&S::cft, &ConstraintTermTables::COEF>("COEF"),
                                          field<&S::cft, &ConstraintTermTables::NOCFT>("NOCFT"),
                                          field<&S::cft, &ConstraintTermTables::ITCFT>("ITCFT")};
constexpr CaseField LINKS[] = {
    field<&S::ldc, &LinkTables::VBLNK>("VBLNK"),
    field<&S::ldc, &LinkTables::PBLNK>("PBLNK"),
    field<&S::ldc, &LinkTables::NINLNK>("NINLNK"),
    field<&S::ldc, &LinkTables::NAMLNK>("NAMLNK"),
    field<&S::ldc, &LinkTables::MODOHMVAR>("MODOHMVAR").since(61),
    field<&S::ldc, &LinkTables::STUELO>("STUELO").since(64),
};
constexpr CaseField DC_BUSES[] = {
    field<&S::dcb, &DcBusTables::DRSHT>("DRSHT"),
    field<&S::dcb, &DcBusTables::DVOLT>("DVOLT"),
    field<&S::dcb, &DcBusTables::IPOLE>("IPOLE").within(-2, 2),
    field<&S::dcb, &DcBusTables::LINKDC>("LINKDC").needed(),
    field<&S::dcb, &DcBusTables::NDGLT>("NDGLT"),
    field<&S::dcb, &DcBusTables::NDCINT>("NDCINT"),
    field<&S::dcb, &DcBusTables::DBNAME>("DBNAME"),
};
constexpr CaseField DC_LINES[] = {
    field<&S::dcl, &DcLineTables::DRL>("DRL"),
    field<&S::dcl, &DcLineTables::DHL>("DHL"),
    field<&S::dcl, &DcLineTables::NDCFR>("NDCFR").needed(),
    field<&S::dcl, &DcLineTables::NDCTO>("NDCTO").needed(),
    field<&S::dcl, &DcLineTables::KAPDC>("KAPDC"),
    field<&S::dcl, &DcLineTables::NDCIR>("NDCIR"),
    field<&S::dcl, &DcLineTables::OWNDC>("OWNDC"),
};
constexpr CaseField CONVERTERS[] = {
    field<&S::cnv, &ConverterTables::CPCNV>("CPCNV"),
    field<&S::cnv, &ConverterTables::CPMIN>("CPMIN"),
    field<&S::cnv, &ConverterTables::CPMAX>("CPMAX"),
    field<&S::cnv, &ConverterTables::RCNV>("RCNV"),
    field<&S::cnv, &ConverterTables::CTMIN>("CTMIN"),
    field<&S::cnv, &ConverterTables::CTMAX>("CTMAX"),
    field<&S::cnv, &ConverterTables::CTSTP>("CTSTP"),
    field<&S::cnv, &ConverterTables::DL>("DL"),
    field<&S::cnv, &ConverterTables::DMN>("DMN"),
    field<&S::cnv, &ConverterTables::DMX>("DMX"),
    field<&S::cnv, &ConverterTables::CNVK>("CNVK"),
    field<&S::cnv, &ConverterTables::CVOLT>("CVOLT"),
    field<&S::cnv, &ConverterTables::CCUR>("CCUR"),
    field<&S::cnv, &ConverterTables::CTAP>("CTAP"),
    field<&S::cnv, &ConverterTables::RA>("RA"),
    field<&S::cnv, &ConverterTables::XA>("XA"),
    field<&S::cnv, &ConverterTables::CNCNV>("CNCNV"),
    field<&S::cnv, &ConverterTables::VVSCNV>("VVSCNV"),
    field<&S::cnv, &ConverterTables::SNTCNV>("SNTCNV"),
    field<&S::cnv, &ConverterTables::VDCMIN>("VDCMIN").since(57),
    field<&S::cnv, &ConverterTables::CTAPHI>("CTAPHI").since(61),
    field<&S::cnv, &ConverterTables::CTAPTR>("CTAPTR").since(61),
    field<&S::cnv, &ConverterTables::CVOLTREF>("CVOLTREF").since(61),
    field<&S::cnv, &ConverterTables::CTAPREF>("CTAPREF").since(61),
    field<&S::cnv, &ConverterTables::CCURREF>("CCURREF").since(61),
    field<&S::cnv, &ConverterTables::DLREF>("DLREF").since(61),
    field<&S::cnv, &ConverterTables::TETACCREF>("TETACCREF").since(61),
    field<&S::cnv, &ConverterTables::ELOMIREF>("ELOMIREF").since(61),
    field<&S::cnv, &ConverterTables::VOLTDCREF>("VOLTDCREF").since(61),
    field<&S::cnv, &ConverterTables::CMARGEM>("CMARGEM").since(61),
    field<&S::cnv, &ConverterTables::CSOBREC>("CSOBREC").since(61),
    field<&S::cnv, &ConverterTables::NDCBUS>("NDCBUS").needed(),
    field<&S::cnv, &ConverterTables::NELBUS>("NELBUS").needed(),
    field<&S::cnv, &ConverterTables::INTBUS>("INTBUS").needed(),
    field<&S::cnv, &ConverterTables::KCNTYP>("KCNTYP"),
    field<&S::cnv, &ConverterTables::NCVINT>("NCVINT"),
    field<&S::cnv, &ConverterTables::NPCNV>("NPCNV"),
    field<&S::cnv, &ConverterTables::ITCNV>("ITCNV"),
};
constexpr CaseField TERMINALS[] = {other("PLDC", Kind::R, terminal_power), other("QLDC", Kind::R, terminal_reactive)};
constexpr CaseField COMMUTATION[] = {
    field<&S::cnv, &ConverterTables::RCCNV>("RCCNV"), field<&S::cnv, &ConverterTables::IFRCNV>("IFRCNV"),
    field<&S::cnv, &ConverterTables::ALFA>("ALFA"), field<&S::cnv, &ConverterTables::AMI>("AMI")};
constexpr CaseField BASE_GROUP_MARKS[] = {field<&S::gbt, &BaseGroupTables::IGTCOR>("IGTCOR"),
                                          field<&S::gbt, &BaseGroupTables::IGTESP>("IGTESP")};

// Diagrams: never written, passed over on reading.
constexpr CaseField DIAGRAM_BUSES[] = {nowhere("IBX", Kind::I), nowhere("IBY", Kind::I), nowhere("IBS", Kind::I),
                                       nowhere("NOBRG", Kind::I)};
constexpr CaseField DIAGRAM_ELEMENTS[] = {
    nowhere("IX0ERG", Kind::I), nowhere("IY0ERG", Kind::I), nowhere("IX1ERG", Kind::I), nowhere("IY1ERG", Kind::I),
    nowhere("IX2ERG", Kind::I), nowhere("IY2ERG", Kind::I), nowhere("NOERG", Kind::I)};
constexpr CaseField DIAGRAM_LOADS[] = {nowhere("NOCRG", Kind::I)};
constexpr CaseField DIAGRAM_GENERATORS[] = {nowhere("NOGRG", Kind::I)};
constexpr CaseField DIAGRAM_SHUNTS[] = {nowhere("NOSRG", Kind::I)};
constexpr CaseField DIAGRAM_MOTORS[] = {nowhere("NOMRG", Kind::I)};
constexpr CaseField DIAGRAM_CONVERTERS[] = {nowhere("NOVRG", Kind::I).since(58)};
constexpr CaseField DIAGRAM_LINE_SHUNTS[] = {nowhere("NOHRG", Kind::I), nowhere("NOHRG2", Kind::I)};
constexpr CaseField DIAGRAM_LINES[] = {nowhere("NOLRG", Kind::I), nowhere("NELRG", Kind::I), nowhere("LBPP", Kind::I)};
constexpr CaseField DIAGRAM_POINTS[] = {nowhere("ILX", Kind::I), nowhere("ILY", Kind::I)};

#define AGGREGATOR(K, SIDE, TABLES, COLUMN, MEMBER) aggregator<&S::TABLES, &MEMBER, K>("IAGR" #K SIDE)
#define OF_BUSES(K) AGGREGATOR(K, "BAR", bus, IAGRBAR, BusTables::IAGRBAR)
#define OF_BRANCHES(K) AGGREGATOR(K, "CIR", branch, IAGRCIR, BranchTables::IAGRCIR)
#define GROUPS_OF(K)                                                                                               \
    constexpr CaseField GROUPS##K[] = {                                                                            \
        other("NIDGAG" #K, Kind::I, [](CaseContext& c) -> void* { return c.s().agr.NIDGAG(K).data(); }),           \
        other("LNKGAG" #K, Kind::I, [](CaseContext& c) -> void* { return c.s().agr.LNKGAG(K).data(); }).derived(), \
        other(                                                                                                     \
            "NOMEGA" #K, Kind::C, [](CaseContext& c) -> void* { return c.s().agr.DESGAG(K).data(); }, 36)}
GROUPS_OF(1);
GROUPS_OF(2);
GROUPS_OF(3);
GROUPS_OF(4);
GROUPS_OF(5);
GROUPS_OF(6);
GROUPS_OF(7);
GROUPS_OF(8);
GROUPS_OF(9);
GROUPS_OF(10);

constexpr CaseField BUS_AGGREGATORS[] = {OF_BUSES(1), OF_BUSES(2), OF_BUSES(3), OF_BUSES(4), OF_BUSES(5), OF_BUSES(6)};
constexpr CaseField BRANCH_AGGREGATORS[] = {field<&S::branch, &BranchTables::KAPAQ>("KAPAQ").rated(),
                                            OF_BRANCHES(1),
                                            OF_BRANCHES(2),
                                            OF_BRANCHES(3),
                                            OF_BRANCHES(4),
                                            OF_BRANCHES(5),
                                            OF_BRANCHES(6)};
constexpr CaseField AGGREGATORS[] = {
    other("NAGINT", Kind::I, [](CaseContext& c) -> void* { return c.s().agr.NAGINT.data(); }),
    other("IPAG", Kind::I, [](CaseContext& c) -> void* { return c.s().agr.NUMGAG.data(); }).derived(),
    other("NUMGAG", Kind::I, [](CaseContext& c) -> void* { return c.s().agr.count.data(); }).derived(),
    other(
        "DESCAG", Kind::C, [](CaseContext& c) -> void* { return c.s().agr.DESCAG.data(); }, 36)};
constexpr CaseField SELECTED_BRANCHES[] = {field<&S::branch, &BranchTables::LINSEL>("LINSEL")};
constexpr CaseField PHASE_CONTROLS[] = {
    field<&S::phs, &PhaseTables::PHSMIN>("PHSMIN"), field<&S::phs, &PhaseTables::PHSMAX>("PHSMAX"),
    field<&S::phs, &PhaseTables::VSPPHS>("VSPPHS"), field<&S::phs, &PhaseTables::NPHSTP>("NPHSTP"),
    field<&S::phs, &PhaseTables::KONPHS>("KONPHS"), field<&S::phs, &PhaseTables::NBEPHS>("NBEPHS"),
};
constexpr CaseField MORE_OF_BUSES[] = {OF_BUSES(7), OF_BUSES(8), OF_BUSES(9), OF_BUSES(10),
                                       field<&S::bus, &BusTables::IBMIDPOINT>("IBMIDPOINT")};
// STBYP stands with the branches and belongs to the series devices on them.
constexpr CaseField MORE_OF_BRANCHES[] = {OF_BRANCHES(7), OF_BRANCHES(8), OF_BRANCHES(9), OF_BRANCHES(10),
                                          other("STBYP", Kind::L, bypassed_branches)};
#undef AGGREGATOR
#undef OF_BUSES
#undef OF_BRANCHES
#undef GROUPS_OF
constexpr CaseField MORE_OF_SERIES_DEVICES[] = {field<&S::csc, &SeriesDeviceTables::KONCSC_ORI>("KONCSC_ORI")};
constexpr CaseField ALTERNATIVE_SLACKS[] = {
    field<&S::slp, &AlternativeSlackTables::NOSLP>("NOSLP").needed(),
    field<&S::slp, &AlternativeSlackTables::IPRSLP>("IPRSLP"),
    field<&S::slp, &AlternativeSlackTables::SLPUSO>("SLPUSO"),
};
constexpr CaseField MORE_OF_DC_BUSES[] = {field<&S::dcb, &DcBusTables::DVOLTESP>("DVOLTESP")};
constexpr CaseField MORE_OF_CONVERTERS[] = {
    field<&S::cnv, &ConverterTables::VCNV>("VCNV"), field<&S::cnv, &ConverterTables::ITCISOL>("ITCISOL"),
    field<&S::cnv, &ConverterTables::ITCI>("ITCI"), field<&S::cnv, &ConverterTables::IDTAPLIV>("IDTAPLIV")};
constexpr CaseField RATINGS[] = {
    field<&S::branch, &BranchTables::CAPAQ>("CAPAQ"),
    field<&S::branch, &BranchTables::CAPAE>("CAPAE"),
    field<&S::branch, &BranchTables::CAPAC>("CAPAC"),
};
constexpr CaseField MORE_OF_INDIVIDUAL_GENERATORS[] = {
    field<&S::gei, &IndividualGeneratorTables::PGEIMN>("PGEIMN"),
    field<&S::gei, &IndividualGeneratorTables::ERPGEI>("ERPGEI"),
    field<&S::gei, &IndividualGeneratorTables::PRPGEI>("PRPGEI"),
};
constexpr CaseField MORE_OF_GENERATORS[] = {
    field<&S::gen, &GeneratorTables::ESTRP>("ESTRP"),
    field<&S::gen, &GeneratorTables::PGFRP>("PGFRP"),
};
constexpr CaseField FREQUENCY_ISLANDS[] = {
    field<&S::frq, &FrequencyTables::FREQBASE>("FREQBASE"), field<&S::frq, &FrequencyTables::FREQMIN>("FREQMIN"),
    field<&S::frq, &FrequencyTables::FREQMAX>("FREQMAX"),   field<&S::frq, &FrequencyTables::FREQILH>("FREQILH"),
    field<&S::frq, &FrequencyTables::NOFRP>("NOFRP"),       field<&S::frq, &FrequencyTables::NREFRP>("NREFRP").needed(),
    field<&S::frq, &FrequencyTables::IDILFRP>("IDILFRP"),
};

/// {cells that must be above zero, the count first}, fields, version, in wide cases only, written in every version.
constexpr CaseSection SECTIONS[] = {
    {{12}, BUSES},
    {{26}, AREAS},
    {{13}, GENERATORS},
    {{21, 13}, SLACKS},
    {{15, 13}, REMOTE_CONTROLS},
    {{27}, LIMIT_GROUPS},
    {{42}, BASE_GROUPS},
    {{14}, SHUNTS},
    {{74}, AUTOMATIC_SHUNTS, 64},
    {{75}, INDIVIDUAL_GENERATORS, 64},
    {{16}, LOAD_MODELS},
    {{41}, MOTORS},
    {{68}, INDIVIDUAL_LOADS, 64},
    {{69}, BANKS, 64},
    {{70, 69}, BANK_UNITS, 64},
    {{46}, LINE_SHUNTS},
    {{17}, BRANCHES},
    {{18, 17}, TAPS},
    {{19, 18, 17}, PHASES},
    {{47}, SERIES_DEVICES},
    {{63}, COMPENSATORS},
    {{22}, MONITORED_BUSES},
    {{23}, MONITORED_GENERATORS},
    {{24}, MONITORED_BRANCHES},
    {{65}, FIXED_TAPS},
    {{66}, LIMIT_FACTORS},
    {{67}, REMOTE_FACTORS},
    {{25}, INJECTIONS},
    {{28}, CONTINGENCY_CLASSES},
    {{29, 28}, CONTINGENCIES},
    {{30, 28}, CONTINGENCY_CHANGES},
    {{31, 28}, CONTINGENCY_VALUES},
    {{37}, CONTROL_VARIABLES},
    {{38, 37}, CURVE_POINTS},
    {{39, 37}, CONSTRAINTS},
    {{40, 39, 37}, CONSTRAINT_TERMS},
    {{45}, LINKS},
    {{32, 45}, DC_BUSES},
    {{33, 32, 45}, DC_LINES},
    {{34, 32, 45}, CONVERTERS},
    {{35, 34, 32, 45}, TERMINALS},
    {{34, 32, 45}, COMMUTATION, 59},
    {{42}, BASE_GROUP_MARKS},
    {{49}, DIAGRAM_BUSES},
    {{55, 49}, DIAGRAM_ELEMENTS},
    {{50, 55, 49}, DIAGRAM_LOADS},
    {{51, 55, 49}, DIAGRAM_GENERATORS},
    {{52, 55, 49}, DIAGRAM_SHUNTS},
    {{53, 55, 49}, DIAGRAM_MOTORS},
    {{62, 55, 49}, DIAGRAM_CONVERTERS},
    {{54, 55, 49}, DIAGRAM_LINE_SHUNTS},
    {{56, 49}, DIAGRAM_LINES},
    {{57, 56, 49}, DIAGRAM_POINTS},
    {{12}, BUS_AGGREGATORS, 69, true},
    {{17}, BRANCH_AGGREGATORS, 69, true},
    {{102}, AGGREGATORS, 69, true},
    {{103, 102}, GROUPS1, 69, true},
    {{104, 102}, GROUPS2, 69, true},
    {{105, 102}, GROUPS3, 69, true},
    {{106, 102}, GROUPS4, 69, true},
    {{107, 102}, GROUPS5, 69, true},
    {{108, 102}, GROUPS6, 69, true},
    {{17}, SELECTED_BRANCHES, 70, true},
    {{19, 18, 17}, PHASE_CONTROLS, 72, true},
    {{12}, MORE_OF_BUSES, 73, true},
    {{17}, MORE_OF_BRANCHES, 73, true},
    {{47}, MORE_OF_SERIES_DEVICES, 73, true},
    {{109}, GROUPS7, 73, true},
    {{110}, GROUPS8, 73, true},
    {{111}, GROUPS9, 73, true},
    {{112}, GROUPS10, 73, true},
    {{113}, ALTERNATIVE_SLACKS, 73, true},
    {{32}, MORE_OF_DC_BUSES, 73, true},
    {{34}, MORE_OF_CONVERTERS, 73, true},
    {{17}, RATINGS, 74, true, true},
    {{75}, MORE_OF_INDIVIDUAL_GENERATORS, 75, true},
    {{13}, MORE_OF_GENERATORS, 75, true},
    {{116}, FREQUENCY_ISLANDS, 75, true},
};

// --- the cells of LINE

template <auto Tables>
constexpr CountCell counts(int cell, int message, int limit = 0) {
    using Family = std::remove_cvref_t<decltype(std::declval<Store&>().*Tables)>;
    return {cell, [](Store& s) { return &(s.*Tables).count(); }, [](Store& s) { return rows_taken(s, s.*Tables); },
            limit ? limit : limit_of<Family>(), message};
}
/// Rows that this program does not keep: none are written.
constexpr CountCell not_kept(int cell, int limit) {
    return {cell, nullptr, [](Store&) { return 0; }, limit, 400};
}
template <int K>
constexpr CountCell groups_of() {
    return {102 + K, [](Store& s) { return &s.agr.count(K); }, [](Store& s) { return s.agr.count(K); }, MXAGROW, 400};
}

constexpr CountCell COUNTS[] = {
    counts<&S::bus>(12, 200),
    counts<&S::gen>(13, 210),
    counts<&S::sht>(14, 220),
    counts<&S::rcb>(15, 230),
    counts<&S::fld>(16, 240),
    counts<&S::branch>(17, 250, MXLIN),
    counts<&S::tap>(18, 260),
    counts<&S::phs>(19, 270),
    counts<&S::slk>(21, 400),
    counts<&S::mtb>(22, 400),
    counts<&S::mtg>(23, 400),
    counts<&S::mtl>(24, 400),
    counts<&S::eqv>(25, 280),
    counts<&S::area>(26, 290),
    counts<&S::glt>(27, 360),
    counts<&S::pri>(28, 400),
    counts<&S::ctg>(29, 400),
    counts<&S::chg>(30, 400),
    counts<&S::ctv>(31, 400),
    counts<&S::dcb>(32, 300),
    counts<&S::dcl>(33, 310),
    counts<&S::cnv>(34, 320),
    {35, nullptr, terminals_in_use, MXTRM, 330},
    counts<&S::vco>(37, 400),
    counts<&S::pto>(38, 400),
    counts<&S::res>(39, 400),
    counts<&S::cft>(40, 400),
    counts<&S::mot>(41, 340),
    counts<&S::gbt>(42, 350),
    counts<&S::ldc>(45, 400),
    counts<&S::shl>(46, 370),
    counts<&S::csc>(47, 380),
    // Diagrams may be as large as their file: nothing of them is kept.
    not_kept(49, INT_MAX),
    not_kept(50, INT_MAX),
    not_kept(51, INT_MAX),
    not_kept(52, INT_MAX),
    not_kept(53, INT_MAX),
    not_kept(54, INT_MAX),
    not_kept(55, INT_MAX),
    not_kept(56, INT_MAX),
    not_kept(57, INT_MAX),
    not_kept(62, INT_MAX),
    counts<&S::cer>(63, 400),
    counts<&S::tpf>(65, 400),
    counts<&S::fql>(66, 400),
    counts<&S::fcr>(67, 400),
    counts<&S::cai>(68, 400),
    counts<&S::bsh>(69, 400),
    counts<&S::bshl>(70, 400),
    counts<&S::sca>(74, 400),
    counts<&S::gei>(75, 400),
    groups_of<1>(),
    groups_of<2>(),
    groups_of<3>(),
    groups_of<4>(),
    groups_of<5>(),
    groups_of<6>(),
    groups_of<7>(),
    groups_of<8>(),
    groups_of<9>(),
    groups_of<10>(),
    counts<&S::slp>(113, 400),
    not_kept(115, MXLDC),
    counts<&S::frq>(116, 400),
};

constexpr NumberCell NUMBERS[] = {
    {1, [](Run& r) { return &r.store.sol.CONVSTAT; }},     {5, [](Run& r) { return &r.cte.LFIT; }, true},
    {6, [](Run& r) { return &r.cte.ACIT; }, true},         {7, [](Run& r) { return &r.cte.DCIT; }, true},
    {8, [](Run& r) { return &r.cte.VSIT; }, true},         {9, [](Run& r) { return &r.cte.LPIT; }, true},
    {10, [](Run& r) { return &r.cte.LFLP; }, true},        {11, [](Run& r) { return &r.cte.LFCV; }, true},
    {2, [](Run& r) { return &r.store.kept.stages[0]; }},   {3, [](Run& r) { return &r.store.kept.stages[1]; }},
    {4, [](Run& r) { return &r.store.kept.stages[2]; }},   {20, [](Run& r) { return &r.store.kept.branches; }},
    {48, [](Run& r) { return &r.store.sol.ITSOL; }},       {71, [](Run& r) { return &r.store.kept.further[0]; }},
    {72, [](Run& r) { return &r.store.kept.further[1]; }}, {73, [](Run& r) { return &r.store.kept.further[2]; }},
    {58, [](Run& r) { return &r.cte.LPRT; }, true, 54},    {59, [](Run& r) { return &r.cte.LCRT; }, true, 54},
    {60, [](Run& r) { return &r.cte.DMAX; }, true, 55},    {61, [](Run& r) { return &r.cte.ICIT; }, true, 55},
    {64, [](Run& r) { return &r.cte.TSTP; }, true, 58},
};

constexpr Family IN_SERVICE[] = {
    Family::bus,
    Family::branch,
    Family::tap,
    Family::phase,
    Family::line_shunt,
    Family::series_device,
    Family::monitored_branch,
    Family::fixed_tap,
    Family::motor,
    Family::generator,
    Family::remote_control,
    Family::slack,
    Family::monitored_generator,
    Family::remote_factor,
    Family::limit_factor,
    Family::load_model,
    Family::shunt,
    Family::individual_load,
    Family::bank,
    Family::injection,
    Family::monitored_bus,
    Family::compensator,
    Family::link,
    Family::individual_generator,
    Family::automatic_shunt,
    Family::terminal,
};

using C = Constants;
constexpr double C::*FROM_THE_FIRST[] = {
    &C::TEPA, &C::TEPR, &C::TLPR, &C::TLVC, &C::TLTC, &C::TETP, &C::TBPA, &C::TSFR, &C::CSTP, &C::ZMAX,
    &C::QLST, &C::EXST, &C::TPST, &C::TLPP, &C::TLPQ, &C::TLPV, &C::TSBZ, &C::TSBA, &C::VDVN, &C::VDVM,
    &C::ASTP, &C::VSTP, &C::TUDC, &C::TADC, &C::DASE, &C::PGER, &C::ZMIN, &C::VFLD,
};
constexpr double C::*FROM_44[] = {
    &C::VART, &C::FDIV, &C::ICMN, &C::TSDC, &C::ASDC, &C::ICMV, &C::APAS, &C::CPAR, &C::VAVT,
    &C::VAVF, &C::VMVF, &C::VPVT, &C::VPVF, &C::VPMF, &C::VSVF, &C::VINF, &C::VSUP, &C::TLSI,
    &C::NDIR, &C::STTR, &C::TRPT, &C::STIR, &C::BFPO, &C::LFPO, &C::TLMT, &C::TLMF, &C::TLMG,
};
constexpr auto CONSTANTS = [] {
    std::array<ConstantCell, std::size(FROM_THE_FIRST) + std::size(FROM_44) + 3> all{};
    std::size_t n = 0;
    int place = 1;
    for (auto member : FROM_THE_FIRST) all[n++] = {place++, member, nullptr, false};
    place = 44;
    for (auto member : FROM_44) all[n++] = {place++, member, nullptr, false};
    all[n++] = {118, nullptr, &C::PDIT, true};
    all[n++] = {119, nullptr, &C::HIST, true};
    all[n++] = {120, &C::BASE, nullptr, true};
    return all;
}();

constexpr MovedSlot MOVED_CODES[] = {{60, 107}, {61, 105}, {94, 96}, {95, 98}, {96, 108}};
constexpr MovedSlot MOVED_OPTIONS[] = {{121, 192}, {122, 198}, {123, 222}, {124, 223}, {125, 224},
                                       {126, 225}, {127, 226}, {128, 227}, {129, 228}, {130, 229},
                                       {131, 230}, {132, 231}, {133, 232}, {134, 233}, {135, 204},
                                       {136, 205}, {137, 197}, {179, 195}, {192, 234}};

}  // namespace

std::span<const CaseSection> case_sections() { return SECTIONS; }
std::span<const CountCell> count_cells() { return COUNTS; }
std::span<const NumberCell> number_cells() { return NUMBERS; }
std::span<const Family> service_cells() { return IN_SERVICE; }
std::span<const ConstantCell> constant_cells() { return CONSTANTS; }
std::span<const MovedSlot> moved_codes() { return MOVED_CODES; }
std::span<const MovedSlot> moved_options() { return MOVED_OPTIONS; }

}  // namespace korvane
