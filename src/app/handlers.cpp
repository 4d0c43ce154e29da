#include "app/handlers.hpp"

#include "cards/cards.hpp"
#include "casestore/casestore.hpp"
#include "network/network.hpp"
#include "network/store.hpp"
#include "platform/files.hpp"
#include "powerflow/powerflow.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

using Report = void (*)(Run&);

/// Monitoring after a solution, in this order; each looks at its own options.
constexpr std::array<Report, 0> MONITORING{};

void monitoring_reports(Run& run) {
    for (const Report report : MONITORING) report(run);
}

/// %SBC: every rating that is one takes the factor.
void scale_ratings(Run& run, double factor) {
    BranchTables& b = run.store.branch;
    const bool emergency = run.opt["EMRG"_opt];
    auto& rating = emergency ? b.CAPAE : b.CAPAC;
    auto& whole = emergency ? b.KAPAE : b.KAPAC;
    for (int l : rows(b.NL)) {
        if (rating(l) == NO_RATING || rating(l) >= INFINITE_RATING) continue;
        rating(l) = std::min(rating(l) * factor, INFINITE_RATING);
        whole(l) = int(std::min(rating(l), 1e9) + 0.5);
    }
}

/// A controllable series device that does not hold its reactance needs the full Newton solution.
void newton_for_series_devices(Run& run) {
    const SeriesDeviceTables& devices = run.store.csc;
    bool controls = false;
    for (int i : rows(devices.NCSC)) controls |= devices.KONCSC(i) != 3;
    if (!run.ctl.KNTRL[37] || !controls) return;
    run.opt.set("NEWT"_opt);
    run.opt.set("RCVG"_opt);
    run.opt.clear("LFDC"_opt);
}

template <class T>
T bytes_as(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

/// The steps of the solution by priority: all in a case file for the user, the last one also in memory.
class PrioritySteps : public CaseKeeper {
public:
    explicit PrioritySteps(const std::string& path) : file_(path) {}
    bool keep(Run& run, int n) override { return file_.good() && file_.save(run, n) && last_.keep(run, 1); }
    bool bring_back(Run& run, int) override { return last_.bring_back(run, 1); }

private:
    StepFile file_;
    ScratchCases last_;
};

/// Name of the file: that of row 8 with the number 1 in columns 5 to 8.
std::string steps_file(Run& run) {
    constexpr int NAME = 8;
    std::string name = load_rows(run, "PWFPRI")[NAME].text();
    name.resize(std::max(name.size(), std::size_t(8)), ' ');
    return name.replace(4, 4, "0001");
}

void solve(Run& run) {
    if (!run.opt["CPRI"_opt]) return PWFSOL(run);
    PrioritySteps steps(steps_file(run));
    PWFPRI(run, steps);
}

}  // namespace

void constants_block(Run& run) {
    const ConstantsRead read = INPCTE(run);
    if (read.ratings) scale_ratings(run, read.rating_factor);
    if (read.jumpers) JUMPER(run);
    if (run.opt["IMPR"_opt]) OUTCTE(run);
}

void load_change(Run& run) {
    run.opt["ACLS"_opt] ? INPACL(run, share_out_imbalance) : INPANC(run, share_out_imbalance);
}

void solve_power_flow(Run& run) {
    newton_for_series_devices(run);
    run.msg.NERR = 0;
    solve(run);
    run.opt.solved = run.opt.IOPTN;
    MSGOUT(run);
    const bool solved = run.msg.NERR == 0;
    run.ctl.KNTRL[16] = solved;
    if (solved) {
        monitoring_reports(run);
        const bool by_island = run.opt["ILHA"_opt];
        run.opt.clear("ILHA"_opt);
        report_dispatch(run);
        run.opt.set("ILHA"_opt, by_island);
    }
    run.ctl.KNTRL[18] = run.ctl.KNTRL[19] = false;
    if (!solved) INTERR(run);
}

void print_reports(Run& run) {
    report_dispatch(run);
    monitoring_reports(run);
}

void case_file(Run& run) {
    if (CNFILE(run)) OUTOPT(run);
}

void write_deck(Run& run) {
    if (run.units.cards) run.units.cards->rewind();
    CART(run);
}

void run_services(Run& run) {
    if (run.opt["JUMP"_opt]) JUMPER(run);
}

void read_voltages(Run& run) {
    run.msg.NERR = 0;
    Store& s = run.store;
    const auto path = existing_file(std::string(VOLTAGE_FILE));
    const auto bytes = path ? read_file(*path) : std::nullopt;
    if (!bytes) return;
    map_bus_rows(s);
    const std::size_t count = std::min<std::size_t>(bytes->size() / VOLTAGE_RECORD, MXGEN);
    for (std::size_t i = 0; i < count; ++i) {
        const char* const record = bytes->data() + i * VOLTAGE_RECORD;
        const int k = bus_of(s, bytes_as<std::int32_t>(record));
        const double voltage = bytes_as<double>(record + 4), angle = bytes_as<double>(record + 12);
        if (k == 0 || !std::isfinite(voltage) || !std::isfinite(angle)) continue;
        s.bus.VOLT(k) = voltage;
        s.bus.ANGLE(k) = angle;
        // On a load bus with voltage limits VGEN is the scheduled reactive generation.
        if (const int j = s.map.NGADR(k); j != 0 && std::abs(s.bus.NTYPE(k)) != 1) s.gen.VGEN(j) = voltage;
    }
}

}  // namespace korvane
