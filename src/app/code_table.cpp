#include "app/code_table.hpp"

#include "app/handlers.hpp"
#include "casestore/casestore.hpp"
#include "frame/run.hpp"
#include "network/individual_generators.hpp"
#include "network/network.hpp"
#include "network/store.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

// --- needs

/// KNTRL of the slot must be true.
constexpr Need k(int slot, int refusal) { return {slot, nullptr, refusal}; }
/// Another condition.
constexpr Need when(bool (*met)(const Run&), int refusal) { return {0, met, refusal}; }

bool done(const Run& run, int slot) { return run.ctl.KNTRL[std::size_t(slot)]; }

/// With direct-current buses their links must be ready too; without them the branches are enough.
constexpr Need with_links(int refusal) {
    return when([](const Run& run) { return !done(run, 13) || done(run, 48); }, refusal);
}
constexpr Need without_links(int refusal) {
    return when([](const Run& run) { return done(run, 13) || done(run, 2); }, refusal);
}

/// A need that ELIM on the line does away with.
template <int I>
constexpr Need unless_elim(int refusal) {
    return when([](const Run& run) { return run.opt["ELIM"_opt] || done(run, I); }, refusal);
}

bool can_share_change(const Run& run) { return done(run, 3) || (!run.opt["BPAR"_opt] && !run.opt["BPSI"_opt]); }
bool solved_ac(const Run& run) { return run.store.sol.ITSOL == 0; }
bool linear_or_solved_ac(const Run& run) { return run.opt["LFDC"_opt] || solved_ac(run); }
bool contingencies_if_asked(const Run& run) { return !run.opt["PVCT"_opt] || done(run, 8); }
bool after_region_data(const Run& run) { return run.opt["ELIM"_opt] || run.ctl.ILAST == 129; }
bool after_test_data(const Run& run) { return run.opt["ELIM"_opt] || run.ctl.ILAST == 133 || run.ctl.ILAST == 134; }

// Refusals of what an option asks for and this program does not have.
constexpr int OTHER_LAYOUT = 7010, OTHER_SERVICE = 7020;
bool one_card_layout(const Run& run) { return !run.opt["WSCC"_opt]; }
bool only_jumper(const Run& run) {
    for (Option o : {"NCIR"_opt, "EQVS"_opt, "AREA"_opt, "RENB"_opt, "DCMP"_opt, "WMPS"_opt})
        if (run.opt[o]) return false;
    return true;
}

// --- what a code sets

void set(Run& run, int slot, bool on) { run.ctl.KNTRL[std::size_t(slot)] = on; }
void network_changed(Run& run) { set(run, 16, false); }
void runs_stale(Run& run) {
    set(run, 18, false);
    set(run, 19, false);
}

/// The slot of the code itself.
template <int I>
void own(Run& run) {
    set(run, I, true);
}
/// The same for data that change the network.
template <int I>
void changed(Run& run) {
    network_changed(run);
    set(run, I, true);
}
/// True when the family of the store has rows.
template <int I, auto Tables>
void counted(Run& run) {
    set(run, I, (run.store.*Tables).count() >= 1);
}
template <int I, auto Tables>
void counted_changed(Run& run) {
    network_changed(run);
    counted<I, Tables>(run);
}
/// True when the handler left something.
template <int I>
void returned(Run& run) {
    set(run, I, run.ctl.returned[0] >= 1);
}
/// True when the handler ended without errors.
template <int I>
void clean(Run& run) {
    set(run, I, run.msg.NERR == 0);
}
/// The same for a run that leaves a new state of the network.
template <int I>
void ran(Run& run) {
    clean<I>(run);
    runs_stale(run);
}

void equivalent_made(Run& run) {
    counted<17, &Store::eqv>(run);
    runs_stale(run);
}
void contingencies_ran(Run& run) {
    set(run, 18, run.ctl.returned[0] >= 1 && !run.opt["NEWT"_opt]);
    set(run, 19, false);
}
void sensitivity_ran(Run& run) {
    set(run, 18, false);
    set(run, 19, true);
}
void links_removed(Run& run) {
    auto empty = [&](int slot, int rows_left) {
        if (rows_left == 0) set(run, slot, false);
        return rows_left == 0;
    };
    const Store& s = run.store;
    empty(35, s.ldc.NLDC);
    empty(13, s.dcb.NDCB);
    empty(14, s.dcl.NDCL);
    if (empty(15, s.cnv.NCNV)) set(run, 48, false);
    network_changed(run);
}
/// The handler returns the rows of the control table, of the cost curves and of the restrictions.
void control_variables_read(Run& run) {
    for (int i : {0, 1, 2}) set(run, 29 + i, run.ctl.returned[std::size_t(i)] >= 1);
}
void injections_read(Run& run) {
    network_changed(run);
    counted<17, &Store::eqv>(run);
}
void macros_read(Run& run) { set(run, 88, !run.ctl.macros.empty()); }
void region_scanned(Run& run) { set(run, 128, !run.opt["ELIM"_opt] || run.msg.NERR == 0); }

// --- handlers of one line

void nothing(Run&) {}
void log_on(Run& run) { LOGCTL(run, 1); }
void log_off(Run& run) { LOGCTL(run, 2); }
void fixed_taps(Run& run) { run.opt["CIRC"_opt] ? INPTPX(run) : INPTPI(run); }
void monitored_flows(Run& run) { run.opt["CIRC"_opt] ? INPMFX(run) : INPMFI(run); }

/// {index, code, needs in the order of their tests, handler, what it sets after, what it sets before}. A code without
/// a handler is a word of the table that nothing runs yet: with its needs met it takes NO_HANDLER.
constexpr CodeRow NAMED[] = {
    {1, "DBAR", {when(one_card_layout, OTHER_LAYOUT)}, INPBUS, counted_changed<1, &Store::bus>},
    {2, "DLIN", {k(1, 20), when(one_card_layout, OTHER_LAYOUT)}, INPLIN, counted_changed<2, &Store::branch>},
    {3, "DGER", {k(1, 30)}, INPGEN, own<3>},
    {4, "DARE", {k(1, 40), when(one_card_layout, OTHER_LAYOUT)}, INPARE, own<4>},
    {5, "DCAR", {k(1, 50)}, INPCAR, changed<5>},
    {6, "DGLT", {k(1, 60)}, INPGLT, own<6>},
    {7, "DREL", {k(1, 70)}, INPREL, returned<7>},
    {8, "DCTG", {k(1, 80)}, nullptr, returned<8>},
    {9, "DCTE", {}, constants_block, own<9>},
    {10, "DFCT", {k(1, 100)}, INPFCT, returned<10>},
    {11, "DBRE", {k(1, 110)}, INPBRE, own<11>},
    {12, "DANC", {k(1, 120), when(can_share_change, 1302)}, load_change, changed<12>},
    {13, "DCBA", {k(1, 131), k(35, 130)}, nullptr, counted_changed<13, &Store::dcb>},
    {14, "DCLI", {k(13, 140)}, nullptr, counted_changed<14, &Store::dcl>},
    {15, "DCNV", {k(13, 150)}, nullptr, counted_changed<15, &Store::cnv>},
    {16, "EXLF", {k(1, 160), with_links(161), without_links(162)}, solve_power_flow},
    {17, "EXEQ", {k(16, 171), when(solved_ac, 170)}, nullptr, equivalent_made},
    {18, "EXCT", {k(8, 182), k(16, 181), when(linear_or_solved_ac, 180)}, nullptr, contingencies_ran},
    {19, "EXSB", {k(16, 190)}, nullptr, sensitivity_ran},
    {20, "EXOP", {k(29, 200)}, nullptr, runs_stale},
    {21, "DSHL", {k(2, 210)}, INPSHL, counted_changed<21, &Store::shl>},
    {22, "SNAP", {}, CNSNAP},
    {23, "ARQV", {}, case_file},
    {24, "RELA", {}, print_reports},
    {25, "CART", {k(1, 250)}, write_deck},
    {26, "DCRE", {k(35, 260)}, nullptr, links_removed},
    {27, "EXPL"},
    {28, "SERV", {when(only_jumper, OTHER_SERVICE)}, run_services},
    {29, "DVCO", {k(1, 290)}, nullptr, control_variables_read},
    {30, "DCUR", {k(29, 300)}, nullptr, returned<30>},
    {31, "DRES", {k(29, 310)}, nullptr, returned<31>},
    {32, "ULOG", {}, IOFILE},
    {33, "DINJ", {k(1, 330)}, INPINJ, injections_read},
    {34, "DMOT", {k(1, 340)}, INPMOT, counted<34, &Store::mot>},
    {35, "DELO", {}, nullptr, counted<35, &Store::ldc>},
    {36, "DGBT", {k(1, 360)}, INPGBT, own<36>},
    {37, "DCSC", {k(2, 370)}, INPCSC, counted<37, &Store::csc>},
    {38, "DMTE", {k(1, 380)}, INPMTE, counted<38, &Store::mtb>},
    {39, "DMGR", {k(1, 390)}, INPMGR, counted<39, &Store::mtg>},
    {40, "DMFL", {k(2, 400)}, monitored_flows, counted<40, &Store::mtl>},
    {41, "DOPC", {}, INPOPT, own<41>},
    {42, "CASO", {k(1, 420)}, INICAS, own<42>},
    {43, "EXAD"},
    {44, "EXRT", {k(103, 1304)}, nullptr, own<44>},
    {45, "RSET"},
    {46, "PROX"},
    {47, "INFO", {}, IOCONT},
    {48, "DCCV", {k(15, 480)}, nullptr, changed<48>},
    {49, "DBAD"},
    {50, "DLAD"},
    {51, "DMET", {k(1, 510)}, nullptr, own<51>},
    {52, "DGEL"},
    {53, "DCEN"},
    {54, "DLIC"},
    {55, "DANG"},
    {56, "DIFL"},
    {57, "DANI"},
    {58, "DANO"},
    {59, "EXQA"},
    {60, "DVCQ"},
    {61, "DGEQ"},
    {62, "DBTB", {k(1, 620)}, INPTBU, own<62>},
    {63,
     "EXIC",
     {k(1, 630), with_links(631), without_links(632), when(contingencies_if_asked, 1303)},
     nullptr,
     ran<63>},
    {64, "DFTB", {k(2, 640)}, INPTFL, own<64>},
    {66, "DINC", {k(1, 660)}, nullptr, nullptr, own<66>},
    {67, "DGBA", {k(1, 670)}, nullptr, returned<67>},
    {68, "DGLI", {k(67, 681), k(2, 680)}, nullptr, returned<68>},
    {69, "DGGB", {k(1, 690)}, nullptr, own<69>},
    {70, "DGCA", {k(67, 700)}, nullptr, returned<70>},
    {71, "DGGE", {k(67, 710)}, nullptr, returned<71>},
    {72, "DGSH", {k(67, 720)}, nullptr, returned<72>},
    {73, "DGMO", {k(34, 731), k(67, 730)}, nullptr, returned<73>},
    {74, "DGSL", {k(21, 741), k(68, 740)}, nullptr, returned<74>},
    {75, "DPGE", {k(1, 750)}, INPPGE, own<75>},
    {76, "DQGE", {k(1, 760)}, INPQGE, own<76>},
    {77, "DOS ", {}, DOSCMD},
    {78, "FLOW", {}, exchange_flow},
    {79, "TITU", {}, INPTIT},
    {80, "COMP"},
    {81, "PRES", {k(1, 810)}},
    {82, "DCER", {k(1, 820)}, INPCER, counted<82, &Store::cer>},
    {83, "DGCV", {k(15, 831), k(67, 830)}, nullptr, returned<83>},
    {84, "EXQV", {k(1, 840), with_links(841), without_links(842)}, nullptr, ran<84>},
    {85, "DCQV", {k(1, 850)}, nullptr, nullptr, own<85>},
    {86, "TV0+", {}, read_voltages, nullptr, own<86>},
    {87, "DTPF", {k(2, 870)}, fixed_taps, counted<87, &Store::tpf>},
    {88, "DMAC", {}, INPMAC, macros_read},
    {89, "DFCR", {k(1, 890)}, INPFCR, counted<89, &Store::fcr>},
    {90, "DFQL", {k(1, 900)}, INPFQL, counted<90, &Store::fql>},
    {91, "EXRB", {k(1, 910)}, nullptr, own<91>},
    {92, "EXRC", {k(16, 920)}, nullptr, own<92>},
    {93, "DBDR", {k(1, 930)}, nullptr, own<93>},
    {94, "DTVF", {k(2, 940)}, INPTVF, own<94>},
    {95, "DACR", {k(1, 950)}, nullptr, nullptr, own<95>},
    {96, "EQVR", {k(16, 960)}, nullptr, nullptr, own<96>},
    {97, "DSCA", {k(1, 970)}, INPSCA, counted<97, &Store::sca>},
    {98, "EXRA", {k(1, 980)}, nullptr, own<98>},
    {99, "DBSH", {k(1, 990)}, INPBSH, counted<99, &Store::bsh>},
    {100, "DCAI", {k(1, 1000)}, INPCAI, counted<100, &Store::cai>},
    {101, "DAEB", {k(1, 1010)}, nullptr, own<101>},
    {102, "DGEI", {k(1, 1020)}, INPGEI, counted<102, &Store::gei>},
    {103, "DAVR", {k(1, 1030)}, nullptr, own<103>},
    {104, "DLEN", {k(1, 1040)}, INPLEN, own<104>},
    {105, "LOGD", {}, log_on, own<105>},
    {106, "CLOG", {}, CPYLOG, own<106>},
    {107, "LOGL", {}, log_off, own<107>},
    {108, "EXAR", {k(1, 1080), k(103, 1085)}, nullptr, nullptr, own<108>},
    {109, "DCCA", {k(1, 1090)}, nullptr, returned<109>},
    {110, "EXCG", {k(1, 1100), with_links(161), without_links(162)}, nullptr, ran<110>},
    {111, "EXCA", {k(1, 1110), with_links(161), without_links(162)}, nullptr, clean<111>},
    {112, "EXMB", {k(1, 1120)}, nullptr, nullptr, own<112>},
    {113, "DCMT", {}, INPCMT},
    {114, "EXVC", {k(1, 1140)}, nullptr, own<114>},
    {115, "DAGA", {k(1, 1150)}, INPAGL, own<115>},
    {116, "DOSC", {}, INPCMD},
    {117, "EXT3", {k(2, 1170)}, nullptr, own<117>},
    {118, "EXCC", {k(1, 1180)}, EXCCAP, own<118>},
    {119, "DMSG", {}, INPMSG},
    {120, "CONC", {}, CONSET},
    {121, "DAGR", {}, INPAGR, own<121>},
    {122, "EXT0", {}, nothing, own<122>},
    {123, "EXOT", {k(1, 1230)}, nothing, own<123>},
    {124, "DCTR", {k(2, 940)}, INPTVF, own<124>},
    {125, "DTGR", {k(1, 1251), k(2, 1252)}, nullptr, returned<125>},
    {126, "EXTG", {k(125, 1260)}, nullptr, own<126>},
    {127, "DSLP", {k(1, 1270)}, INPSLP, own<127>},
    {128,
     "EXRS",
     {unless_elim<1>(1280), unless_elim<129>(1281), when(after_region_data, 1309)},
     nullptr,
     region_scanned},
    {129, "DVSA", {k(1, 1290)}, nullptr, own<129>},
    {130, "VISO", {}, nothing, own<130>},
    {131, "EXRR", {k(1, 1300)}, nullptr, own<131>},
    {132, "DFRQ", {k(1, 1320)}, INPILH, counted<132, &Store::frq>},
    {133, "DEMT", {k(1, 1305)}, nullptr, own<133>},
    {134, "DGMT", {k(133, 1306)}, nullptr, clean<134>},
    {135, "EXMT", {unless_elim<133>(1307), when(after_test_data, 1308)}, nullptr, clean<135>},
    {228, "FIM "},
};

// All indexes in order; those without a code of their own hold the mark of a free entry.
constexpr std::array<CodeRow, CODES> TABLE = [] {
    std::array<CodeRow, CODES> table{};
    for (int i = 1; i <= CODES; ++i) table[std::size_t(i - 1)] = {i, "spar"};
    for (const CodeRow& row : NAMED) table[std::size_t(row.index - 1)] = row;
    return table;
}();
static_assert(std::is_sorted(std::begin(NAMED), std::end(NAMED),
                             [](const CodeRow& a, const CodeRow& b) { return a.index < b.index; }) &&
              std::all_of(TABLE.begin(), TABLE.end(), [](const CodeRow& row) { return row.code[3] != 0; }));

}  // namespace

std::span<const CodeRow> code_table() { return TABLE; }

}  // namespace korvane
