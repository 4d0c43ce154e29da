// What the report says of automatic shunts: data that a solution could not use, before it, and what it came to, after
// it.
#include <vector>

#include "frame/page.hpp"
#include "network/voltage_holders.hpp"
#include "powerflow/automatic_shunts.hpp"

namespace korvane {

namespace {

/// The lines of a report under a heading that comes with the first of them and on every new page.
class Lines {
public:
    Lines(Run& run, std::string_view routine) : run_(run), page_(run), routine_(routine) {}
    /// A line of the values, and behind them the text of a row.
    template <class... V>
    void add(std::size_t text, const V&... values) {
        if (!page_.wanted()) return;
        if (!any_) LDFORM(run_, routine_);
        if (!any_ || !page_.fits(1)) page_.heading(HEADING, HEADING_LAST);
        any_ = true;
        page_.line(LINE, values..., (*run_.fmt.FMTROT)[text].text());
    }
    bool any() const { return any_; }

private:
    static constexpr int HEADING = 1, HEADING_LAST = 3, LINE = 4;
    Run& run_;
    Page page_;
    std::string_view routine_;
    bool any_ = false;
};

/// The bus whose voltage the generator of a bus holds, 0 for none.
std::vector<int> held_by_generators(Run& run) {
    const Store& s = run.store;
    const std::vector<VoltageHold> holds = voltage_holders(run);
    std::vector<int> of(std::size_t(s.bus.NB) + 1, 0);
    for (int j : rows(s.gen.NG))
        if (const int k = s.gen.NOGEN(j)) of[std::size_t(k)] = holds[std::size_t(j)].bus;
    return of;
}

}  // namespace

bool CHKSAV(Run& run) {
    constexpr std::size_t OWN_GENERATOR = 5, OTHER_GENERATOR = 6, SHUNT_GENERATOR = 7, NO_STEPS = 8;  // rows of CHKSAV
    Store& s = run.store;
    const std::vector<int> held = held_by_generators(run);
    Lines lines(run, "CHKSAV");
    bool agree = true;
    auto conflict = [&](int k, int controlled, std::size_t text, int generator) {
        agree = false;  // also where the operator wants to see no more of them
        const std::string number = generator ? std::to_string(s.bus.NOINT(generator)) : "";
        lines.add(text, s.bus.NOINT(k), s.bus.BNAME(k), s.bus.NOINT(controlled), number);
    };
    for (int i : rows(s.cer.NCER)) {
        const int k = s.cer.NBECER(i), c = s.cer.NVKCER(i);
        if (!s.cer.STUCER(i) || !s.bus.STBUS(k)) continue;
        if (const int own = held[std::size_t(k)]; own && own != c)
            conflict(k, c, OWN_GENERATOR, k);
        else if (c != k && s.bus.STBUS(c) && held[std::size_t(c)])
            conflict(k, c, OTHER_GENERATOR, c);
    }
    for (int i : rows(s.sca.NSCA)) {
        const int k = s.sca.NBUSSCA(i), c = s.sca.KBUSSCA(i);
        if (s.sca.KONSCA(i) == 0 || !s.bus.STBUS(k)) continue;
        if (const int own = held[std::size_t(k)]; own && own != c) conflict(k, c, SHUNT_GENERATOR, k);
    }
    // A bank on a branch that is out of service has no steps today; it waits.
    std::vector<char> rows_in_service(std::size_t(s.sca.NSCA) + 1);
    for (int u : rows(s.bshl.NBSHL))
        if (s.bshl.STBSH(u)) rows_in_service[std::size_t(s.bsh.IPSCA(s.bshl.IBUSH(u)))] = 1;
    for (int i : rows(s.sca.NSCA)) {
        const int k = s.sca.NBUSSCA(i);
        const bool steps = rows_in_service[std::size_t(i)] || s.sca.ISTEPSCA(i)[0] != 0;
        if (s.sca.KONSCA(i) != 0 && s.bus.STBUS(k) && !steps) conflict(k, s.sca.KBUSSCA(i), NO_STEPS, 0);
    }
    if (lines.any()) PAGWAI(run);
    return agree;
}

void OUTSCA(Run& run) {
    constexpr std::size_t FREE = 5, STOPPED = 8;  // rows of OUTSCA; those between are the limits, as NTSCA numbers them
    const Store& s = run.store;
    const ControlWork& w = run.mat.control;
    const AutomaticShuntTables& t = s.sca;
    const double base = run.cte.BASE;
    Lines lines(run, "OUTSCA");
    for (int r : rows(w.shunts)) {
        const ControlWork::ShuntRow& row = w.shunt_row(r);
        const int i = row.shunt, k = t.NBUSSCA(i);
        const double v = s.bus.VOLT(k);
        const std::size_t state = stays(row) ? STOPPED : FREE + std::size_t(t.NTSCA(i));
        lines.add(state, s.bus.NOINT(k), s.bus.BNAME(k), s.bus.NOINT(row.bus), t.VMINSCA(i), s.bus.VOLT(row.bus),
                  t.VMAXSCA(i), row.before * base, t.BSCA(i) * base, t.BSCA(i) * v * v * base);
    }
    if (lines.any()) PAGWAI(run);
}

}  // namespace korvane
