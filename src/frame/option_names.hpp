// The names of the execution options, in the order that defines their indexes. Included by options.hpp only.
#pragma once

namespace korvane {

inline constexpr char OPTION_NAMES[OPTIONS][5] = {
    "    ", "IMPR", "NCIR", "FLAT", "QLIM", "VLIM", "CREM", "CTAP", "CINT", "DPER", "PERD", "TRB1", "TRB2", "CPB1",
    "CPB2", "STEP", "BPAR", "BPSI", "TABE", "NEWT", "PART", "LFDC", "SPLI", "SQLI", "MOST", "MOCT", "MOSG", "MOCG",
    "MOSF", "MOCF", "RCVG", "RSIS", "RBAR", "RGER", "RREM", "RCAR", "RLIN", "RTIE", "RTRA", "RLTC", "RMON", "RBEQ",
    "RLEQ", "REQV", "RMIS", "RLDC", "RGLT", "RCTG", "RTRU", "RILH", "RTOT", "RCON", "RARE", "RREF", "EQVS", "FILE",
    "80CO", "CONV", "DADL", "DADB", "PCTE", "JUMP", "INIC", "ELIM", "GRAV", "REST", "LIST", "SUBS", "VNUL", "TRUN",
    "INJF", "CIRC", "ERRS", "ERRC", "SAVI", "DADC", "TAPD", "FJAC", "RTPL", "RCER", "RTPF", "FINT", "RINT", "PECO",
    "AREA", "RENB", "DCMP", "WSCC", "PERC", "EMRG", "RGBT", "RCSC", "RSHL", "TETA", "ORDP", "ORDQ", "RTAB", "GRAF",
    "RETC", "TIME", "RCTE", "CONT", "DMAB", "DMRE", "DMQA", "DMQR", "FOBJ", "FMCC", "FMCS", "PESC", "ADRE", "ALPR",
    "RVCO", "RCUR", "RRES", "RPRL", "RCUS", "RVIO", "RMOT", "KORV", "REMU", "MESF", "CLAT", "RCND", "MMCC", "BARC",
    "MANU", "ANTC", "CNTG", "AUTO", "CN-1", "PARL", "RGEL", "RBAD", "RLAD", "RCST", "RDGN", "RADI", "RPID", "RRET",
    "RANO", "RCLT", "REXP", "RLOB", "OBRG", "ADIC", "DIFL", "RDCQ", "INTF", "FMSO", "REFA", "RFAD", "RSOB", "BLOC",
    "SINC", "SHNT", "FMQA", "FMPD", "INTQ", "INTS", "CVAR", "MPAT", "OFFM", "BLOQ", "BASC", "WIDE", "DEEP", "RLOC",
    "PMPG", "INTC", "INTG", "WMPS", "RCPD", "RCQA", "MDEF", "RSHA", "RGEQ", "RFIX", "CMIT", "NOVO", "SBPV", "RLIL",
    "HIST", "NCAP", "POPE", "RMAC", "PARM", "RFCR", "RFQL", "CELO", "ROPC", "PMVA", "CSCA", "RSCA", "MFCT", "RTVF",
    "RSHB", "PMVR", "CNTC", "RCAI", "RBSH", "FLIV", "RGEI", "RCMT", "ACLS", "ATCR", "GSAV", "INDC", "RAVC", "EMOF",
    "RLEN", "RNBD", "TEST", "VABS", "FCTE", "spar", "RVDC", "EJAC", "ACFP", "RBSI", "PLTT", "CHAV", "RFXC", "RFXS",
    "PLTF", "RROP", "RRSU", "RRSI", "RBRS", "SIMU", "RBEL", "RCVC", "RBRC", "ORDE", "PLTG", "INDV", "AREG", "RTR3",
    "AVSI", "ROUT", "ICTE", "ZCTE", "PVQV", "CNF1", "CNF2", "CNF3", "CNF4", "RAGR", "ILHA", "AGRE", "EQPM", "STPO",
    "GRID", "RSEL", "CTAF", "CTGS", "VLCR", "ETP1", "ETP2", "DIRB", "CBAS", "RBSL", "DIRT", "PMIN", "MNBG", "AMOT",
    "CPHS", "FLEX", "RTGR", "IMPO", "EXPO", "TPER", "RCTR", "CILH", "ASLK", "RSLP", "CPRI", "RARI", "V962", "AARI",
    "ACCC", "RLTP", "FIXC", "RVSA", "OPEN", "FCSV", "CPER", "TGER", "TAPC", "PVCT", "PLEL", "INMN", "FREQ", "RFRP",
    "PVRS", "GICC", "ULG2", "NUNF", "IANG", "SNEW", "A0GI", "RDMT", "REMT", "VIRG", "CCMT", "MOLT", "MOCV", "GRAD",
    "MESH", "CARG", "spar", "VLDC", "spar", "spar", "spar", "RDMS", "UNPG", "spar", "spar", "spar", "spar", "spar",
    "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar",
    "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar", "spar",
    "spar", "spar", "spar", "+   ",
};

// clang 14 leaves calls of consteval functions in templates unresolved; g++ checks every name when it compiles.
#ifdef __clang__
#define KORVANE_CONSTEVAL constexpr
#else
#define KORVANE_CONSTEVAL consteval
#endif

namespace detail {
KORVANE_CONSTEVAL int option_index(std::string_view name) {
    for (int i = 1; i < OPTIONS; ++i) {
        const std::string_view row(OPTION_NAMES[i], 4);
        if (row.substr(0, name.size()) == name && row.find_last_not_of(' ') + 1 == name.size() && row != "spar")
            return i + 1;
    }
    throw "no such option";
}
}  // namespace detail

KORVANE_CONSTEVAL Option operator""_opt(const char* name, std::size_t n) {
    return Option{detail::option_index(std::string_view(name, n))};
}
#undef KORVANE_CONSTEVAL

}  // namespace korvane
