// The report frame: which reports a code line asks for, in which order, and for which part of the network.
#include "frame/constants.hpp"
#include "network/kept_rows.hpp"
#include "powerflow/powerflow.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

using Routine = void (*)(Run&);

/// One row of the table of reports.
struct Report {
    Option option;
    Option other{0};                // asks for the same report
    int place = 0;                  // in the order of the conversational reports, 0: it is none of them
    Routine full = nullptr;         // nothing: this build has no such report
    Routine selecting = nullptr;    // with CONV; nothing: the full report
    Routine full_linear = nullptr;  // when the last solution was linear; nothing: the same report
    Routine selecting_linear = nullptr;
};

/// The reports, in the order in which a line prints them.
constexpr Report REPORTS[] = {
    {.option = "ROPC"_opt, .full = OUTOPT},
    {.option = "RCTE"_opt, .full = OUTCTE},
    {.option = "RSIS"_opt, .place = 1},
    {.option = "RARE"_opt, .full = OUTARE},
    {.option = "RMIS"_opt},
    {.option = "RBAR"_opt,
     .place = 3,
     .full = OUTBUS,
     .selecting = SELBUS,
     .full_linear = OUTBML,
     .selecting_linear = SELBML},
    {.option = "RCER"_opt, .place = 4},
    {.option = "RBEQ"_opt},
    {.option = "RLEQ"_opt},
    {.option = "RGER"_opt, .place = 5},
    {.option = "RREM"_opt, .place = 6},
    {.option = "RCAR"_opt, .place = 7},
    {.option = "RLIN"_opt, .place = 8},
    {.option = "RLIL"_opt},
    {.option = "RTIE"_opt, .place = 9},
    {.option = "RGLT"_opt, .full = OUTGLT},
    {.option = "RGBT"_opt, .full = OUTGBT},
    {.option = "RTOT"_opt, .place = 2},
    {.option = "RCON"_opt},
    {.option = "RREF"_opt},
    {.option = "RSLP"_opt, .full = OUTSLP},
    {.option = "RINT"_opt},
    {.option = "RTRA"_opt, .other = "RLTC"_opt, .place = 10},
    {.option = "RTPL"_opt, .place = 11},
    {.option = "RLDC"_opt},
    {.option = "RCTG"_opt},
    {.option = "RILH"_opt},
    {.option = "RCSC"_opt},
    {.option = "RSHL"_opt, .place = 25},
    {.option = "RVCO"_opt, .place = 16},
    {.option = "RCUR"_opt, .place = 17},
    {.option = "RRES"_opt, .place = 18},
    {.option = "RMOT"_opt},
    {.option = "ERRS"_opt, .other = "ERRC"_opt},
    {.option = "DADB"_opt, .place = 12, .full = OUTDBA, .selecting = SELDBA},
    {.option = "RBAD"_opt, .place = 13},
    {.option = "RCST"_opt},
    {.option = "DADL"_opt, .place = 14, .full = OUTDLI, .selecting = SELDLI},
    {.option = "DADC"_opt, .full = OUTDSC},
    {.option = "RLAD"_opt, .place = 15},
    {.option = "RGEL"_opt},
    {.option = "RADI"_opt},
    {.option = "RRET"_opt},
    {.option = "RANO"_opt},
    {.option = "RCLT"_opt},
    {.option = "REXP"_opt, .place = 19},
    {.option = "RLOB"_opt, .place = 20},
    {.option = "RDCQ"_opt},
    {.option = "RFAD"_opt, .place = 21},
    {.option = "RCPD"_opt},
    {.option = "RSHA"_opt},
    {.option = "RGEQ"_opt},
    {.option = "RTAB"_opt},
    {.option = "RTPF"_opt, .full = OUTTPF},
    {.option = "RMAC"_opt, .full = OUTMAC},
    {.option = "RFCR"_opt, .full = OUTFCR},
    {.option = "RFQL"_opt, .full = OUTFQL},
    {.option = "PMPG"_opt},
    {.option = "RSCA"_opt},
    {.option = "RTVF"_opt, .other = "RCTR"_opt, .full = OUTTVF},
    {.option = "RNBD"_opt},
    {.option = "RBSI"_opt},
    {.option = "RBRC"_opt},
    {.option = "RBEL"_opt},
    {.option = "RBRS"_opt},
    {.option = "RROP"_opt},
    {.option = "RRSU"_opt},
    {.option = "RRSI"_opt},
    {.option = "RFXC"_opt},
    {.option = "RFXS"_opt},
    {.option = "RSHB"_opt, .place = 22},
    {.option = "RCAI"_opt, .place = 23},
    {.option = "RBSH"_opt, .place = 24},
    {.option = "RGEI"_opt, .place = 26},
    {.option = "RAVC"_opt, .place = 27},
    {.option = "RLEN"_opt, .place = 28, .full = OUTLEN},
    {.option = "RCMT"_opt, .full = OUTCMT},
    {.option = "RVDC"_opt},
    {.option = "RTR3"_opt},
    {.option = "RAGR"_opt, .full = OUTAGR},
    {.option = "RSEL"_opt},
    {.option = "RBSL"_opt, .place = 29},
    {.option = "RLTP"_opt},
    {.option = "RTGR"_opt},
    {.option = "RARI"_opt},
    {.option = "RVSA"_opt},
    {.option = "RFRP"_opt},
    {.option = "RDMT"_opt},
    {.option = "REMT"_opt},
    {.option = "RDMS"_opt},
};

/// Rows of REPORTS in the order of the conversational reports.
constexpr auto CONVERSATIONAL = [] {
    constexpr auto count = std::size_t(
        std::count_if(std::begin(REPORTS), std::end(REPORTS), [](const Report& r) { return r.place != 0; }));
    std::array<const Report*, count> order{};
    for (const Report& r : REPORTS)
        if (r.place != 0) order[std::size_t(r.place - 1)] = &r;  // a place beyond the count does not compile
    return order;
}();
static_assert(std::find(CONVERSATIONAL.begin(), CONVERSATIONAL.end(), nullptr) == CONVERSATIONAL.end(),
              "the places of the conversational reports leave no gap");

bool asked(const Run& run, const Report& r) { return run.opt[r.option] || (r.other.index && run.opt[r.other]); }

Routine routine_of(const Run& run, const Report& r) {
    const bool linear = run.store.sol.ITSOL != 0, selecting = run.opt["CONV"_opt];
    if (selecting && linear && r.selecting_linear) return r.selecting_linear;
    if (selecting && r.selecting) return r.selecting;
    return linear && r.full_linear ? r.full_linear : r.full;
}

/// How the line narrows the network.
enum class Narrowing { none, areas_or_islands, groups };

Narrowing narrowing(const Options& opt) {
    const bool areas = opt["AREA"_opt] || opt["ILHA"_opt], groups = opt["AGRE"_opt];
    if (opt["CONV"_opt] || areas == groups) return Narrowing::none;
    return areas ? Narrowing::areas_or_islands : Narrowing::groups;
}

struct KeptRatings {
    explicit KeptRatings(BranchTables& b)
        : capac(b.CAPAC, b.NL),
          capae(b.CAPAE, b.NL),
          capaq(b.CAPAQ, b.NL),
          kapac(b.KAPAC, b.NL),
          kapae(b.KAPAE, b.NL),
          kapaq(b.KAPAQ, b.NL) {}
    Kept<double, MXLIN> capac, capae, capaq;
    Kept<int, MXLIN> kapac, kapae, kapaq;
};

/// A rating stored as infinite prints as the number that means none on a card.
void cap_ratings(BranchTables& b) {
    for (auto* t : {&b.CAPAC, &b.CAPAE, &b.CAPAQ})
        for (int l : rows(b.NL)) (*t)(l) = std::min((*t)(l), NO_RATING);
    for (auto* t : {&b.KAPAC, &b.KAPAE, &b.KAPAQ})
        for (int l : rows(b.NL)) (*t)(l) = std::min((*t)(l), int(NO_RATING));
}

/// Names the reports that were asked for in vain: rows of block RELDSP and one warning.
void tell_missing(Run& run, std::span<const Arg> names, int row, int message) {
    constexpr int LINES = 6;  // an empty one, the names, the warning: they stand on one page
    if (names.empty()) return;
    if (run.pag.NLINE + LINES > run.pag.LPP) PAGHDR(run);
    run.pag.NLINE += print_row(run, load_rows(run, "RELDSP")[std::size_t(row)], names);
    MSGPUT(run, "RELDSP", message);
    MSGOUT(run);
}

void print_reports(Run& run) {
    constexpr int NOT_HERE = 1, NOT_SELECTING = 2;  // rows of RELDSP
    std::vector<Arg> missing, unselecting;
    auto print = [&](const Report& r) {
        if (!asked(run, r)) return;
        const Option named = run.opt[r.option] ? r.option : r.other;
        if (const Routine report = routine_of(run, r)) {
            report(run);
            PAGWAI(run);
        } else {
            missing.emplace_back(OPTION(named.index));
        }
    };
    if (run.opt["CONV"_opt]) {
        for (const Report* r : CONVERSATIONAL) print(*r);
        for (const Report& r : REPORTS)
            if (r.place == 0 && asked(run, r)) unselecting.emplace_back(OPTION(r.option.index));
    } else if (!run.opt["MANU"_opt]) {
        for (const Report& r : REPORTS) print(r);
    }
    tell_missing(run, missing, NOT_HERE, -100);
    tell_missing(run, unselecting, NOT_SELECTING, -110);
}

}  // namespace

void search_islands(Run& run) {
    STOOFF(run);
    find_islands(run);
    STOON(run);
    Store& s = run.store;
    for (int k : rows(s.bus.NB))
        if (!s.bus.STBUS(k)) s.ilh.NOILHA2(k) = 0;
    s.ilh.ILHASEL.fill(s.ilh.count, true);
}

void report_dispatch(Run& run) {
    Store& s = run.store;
    const Narrowing narrow = narrowing(run.opt);
    const bool any =
        std::any_of(std::begin(REPORTS), std::end(REPORTS), [&](const Report& r) { return asked(run, r); });
    bool good = true;
    if (any || narrow != Narrowing::none) {
        if (run.opt["CILH"_opt] || run.opt["ILHA"_opt]) search_islands(run);
        const KeptRatings ratings(s.branch);
        cap_ratings(s.branch);
        std::optional<KeptSelection> selection;
        if (narrow != Narrowing::none) {
            selection.emplace(s);
            good = narrow == Narrowing::groups ? OPAGRE(run) : OPAREA(run);
        }
        if (good) print_reports(run);
    }
    run.opt.clear("IMPR"_opt);
    if (!good) INTERR(run);
}

}  // namespace korvane
