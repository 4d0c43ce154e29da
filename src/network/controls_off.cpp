// CTROFF: controls in service that point at a bus out of service.
#include "frame/run.hpp"
#include "network/list_marks.hpp"

namespace korvane {

namespace {

// Rows of the block CTROFF: heading, and one line a control.
constexpr int HEADING = 1, HEADING_LAST = 3, LINE = 4;

/// The report of the controls: its heading once a page, its rows without touching those of the running routine.
class ControlReport {
public:
    explicit ControlReport(Run& run) : run_(run), wanted_(run.units.LUREP != unit::null) {}

    void line(std::string_view code, int own, int controlled) {
        if (!wanted_) return;
        if (!rows_) rows_ = &load_rows(run_, "CTROFF");
        if (fresh_ || run_.pag.NLINE >= run_.pag.LPP) heading();
        const BusTables& b = run_.store.bus;
        const Arg values[] = {code, b.NOINT(own), b.BNAME(own), b.NOINT(controlled), b.BNAME(controlled)};
        put(LINE, values);
    }

private:
    void heading() {
        if (run_.pag.NLINE + 5 > run_.pag.LPP) PAGHDR(run_);
        for (int row = HEADING; row <= HEADING_LAST; ++row) put(row, {});
        fresh_ = false;
    }
    void put(int row, std::span<const Arg> values) {
        run_.pag.NLINE += print_row(run_, (*rows_)[std::size_t(row)], values);
    }

    Run& run_;
    const Formats::Rows* rows_ = nullptr;
    bool wanted_, fresh_ = true;
};

bool dead(const Store& s, int bus) { return bus > s.bus.NB; }

/// Whether one more change can be noted; what cannot be put back is not done.
bool room(const Store& s) { return s.cmp.NCTROFF < MXCTR; }

void note(Store& s, Family family, int row, int bus) { s.cmp.change(++s.cmp.NCTROFF) = {family, row, bus}; }

// Generators: they hold their own bus until STOON, and the list tells that they left their group.
void release_generators(Run& run, ControlReport& report) {
    Store& s = run.store;
    Compaction& c = s.cmp;
    std::vector<int> due;
    for (int r : rows(s.rcb.NRCB))
        if (dead(s, s.rcb.IRCB(r))) due.push_back(r);
    if (due.empty()) return;
    const std::span<int> marked = named_by(s, s.fcr, s.gen.NG);
    std::vector<int> entering;
    c.first_factor = s.fcr.n + 1;
    for (int r : due) {
        const int g = s.rcb.ICB(r), controlled = s.rcb.IRCB(r);
        const bool enters = !marked[std::size_t(g)];
        if (!room(s) || (enters && rows_taken(s, s.fcr) + int(entering.size()) >= MXFCR)) {
            MSGPUT(run, "CTROFF", 100, s.gen.NOGEN(g), element::bus);
            break;
        }
        if (enters) entering.push_back(g);
        marked[std::size_t(g)] = 1;
        note(s, Family::remote_control, r, controlled);
        s.rcb.IRCB(r) = s.gen.NOGEN(g).at;
        report.line("CREM", s.gen.NOGEN(g), controlled);
    }
    for (int g : entering) s.fcr.row(add_live_row(s, s.fcr)) = g;
    c.factors = int(entering.size());
}

// Taps: they stay where they are, as taps of the list do.
void hold_taps(Run& run, ControlReport& report) {
    Store& s = run.store;
    Compaction& c = s.cmp;
    std::vector<int> due;
    for (int t : rows(s.tap.NTAP)) {
        const int l = s.tap.NOTAP(t), type = s.branch.LTYPE(l);
        if ((type == 3 || type == 4) && s.branch.STLIN(l) && dead(s, std::abs(s.tap.KBUS(t).at))) due.push_back(t);
    }
    if (due.empty()) return;
    const std::span<int> marked = named_by(s, s.tpf, s.branch.NL);
    std::vector<int> entering;
    c.first_fixed_tap = s.tpf.n + 1;
    for (int t : due) {
        const int l = s.tap.NOTAP(t), controlled = s.tap.KBUS(t);
        const bool enters = !marked[std::size_t(l)];
        if (!room(s) || (enters && rows_taken(s, s.tpf) + int(entering.size()) >= MXTPF)) {
            MSGPUT(run, "CTROFF", 110, l, element::branch);
            break;
        }
        if (enters) entering.push_back(l);
        marked[std::size_t(l)] = 1;
        note(s, Family::tap, t, controlled);
        report.line("CTAP", s.branch.NFROM(l), std::abs(controlled));
    }
    for (int l : entering) s.tpf.row(add_live_row(s, s.tpf)) = l;
    c.fixed_taps = int(entering.size());
}

/// The n rows from first on leave the list.
template <class List>
void take_out(Store& s, List& list, int first, int n) {
    if (n) close_up(s, list, [=](int i) { return i < first || i >= first + n; });
}

}  // namespace

void CTROFF(Run& run) {
    ControlReport report(run);
    if (run.opt["CREM"_opt]) release_generators(run, report);
    if (run.opt["CTAP"_opt]) hold_taps(run, report);
    MSGOUT(run);
}

void undo_CTROFF(Store& s) {
    Compaction& c = s.cmp;
    for (int i : rows(c.NCTROFF))
        if (c.change(i).family == Family::remote_control) s.rcb.IRCB(c.change(i).row) = c.change(i).bus;
    take_out(s, s.fcr, c.first_factor, c.factors);
    take_out(s, s.tpf, c.first_fixed_tap, c.fixed_taps);
    c.NCTROFF = c.factors = c.fixed_taps = 0;
}

}  // namespace korvane
