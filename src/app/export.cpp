#include "app/export.hpp"

#include <nlohmann/json.hpp>

#include "app/export_tables.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

/// Tap and phase row of each branch, 0 for none, straight from the rows that name it: a run that stopped inside a
/// block has no address lists.
struct BranchRows {
    std::vector<int> tap, phase;
    explicit BranchRows(const Store& s) : tap(std::size_t(s.branch.NL) + 1), phase(tap.size()) {
        for (int t : rows(s.tap.NTAP)) tap[std::size_t(s.tap.NOTAP(t))] = t;
        for (int p : rows(s.phs.NPHS))
            if (const int t = s.phs.NOPHS(p); t != 0) phase[std::size_t(s.tap.NOTAP(t))] = p;
    }
};

/// The greater apparent power of the two ends in per cent of the normal rating; nothing without one.
std::optional<double> loading(const BranchFlow& f, double rating, double base) {
    if (rating >= NO_RATING || rating <= 0.0) return std::nullopt;
    return 100.0 * std::max(std::hypot(f.pf, f.qf), std::hypot(f.pt, f.qt)) * base / rating;
}

nlohmann::ordered_json counts(const Store& s) {
    return {{"buses", s.bus.NB},         {"branches", s.branch.NL},       {"generators", s.gen.NG},
            {"areas", s.area.NAREA},     {"base_groups", s.gbt.NGBT},     {"limit_groups", s.glt.NGLT},
            {"slacks", s.slk.NSLK},      {"remote_controls", s.rcb.NRCB}, {"shunts", s.sht.NSHT},
            {"taps", s.tap.NTAP},        {"phase_shifters", s.phs.NPHS},  {"line_shunts", s.shl.NSHL},
            {"load_models", s.fld.NFLD}, {"injections", s.eqv.NEQV}};
}

}  // namespace

BranchFlow live_flow(const Run& run, int l) {
    const Store& s = run.store;
    const bool from = s.bus.STBUS(s.branch.NFROM(l)), to = s.bus.STBUS(s.branch.NTO(l));
    const bool open = !s.branch.STLIN(l);
    if ((from || (open && !s.branch.STLIND(l))) && (to || (open && !s.branch.STLINP(l)))) return solved_flow(run, l);
    return {};
}

std::string run_json(const Run& run, int status) {
    using Json = nlohmann::ordered_json;
    const Solution& sol = run.store.sol;
    Json codes = Json::array();
    for (const CodeRun& c : run.ctl.log)
        codes.push_back({{"code", utf8_from_latin1(trimmed(c.code))}, {"refused", c.refused}});
    Json messages = Json::array();
    for (const PrintedMessage& m : run.msg.printed)
        messages.push_back({{"routine", utf8_from_latin1(trimmed(m.routine))},
                            {"number", m.number},
                            {"element", m.element},
                            {"type", m.type},
                            {"identification", utf8_from_latin1(trimmed(m.identification))},
                            {"text", utf8_from_latin1(trimmed(m.text))}});
    const Json all = {{"status", status},
                      {"stop", utf8_from_latin1(run.ctl.stop_text)},
                      {"title", utf8_from_latin1(run.TITLE.trimmed())},
                      {"convstat", sol.CONVSTAT},
                      {"itsol", sol.ITSOL},
                      {"iterations", sol.NITP},
                      {"dpmax_mw", sol.DPMAX * run.cte.BASE},
                      {"dpmax_bus", sol.NODEP},
                      {"dqmax_mvar", sol.DQMAX * run.cte.BASE},
                      {"dqmax_bus", sol.NODEQ},
                      {"counts", counts(run.store)},
                      {"codes", std::move(codes)},
                      {"messages", std::move(messages)}};
    return all.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string buses_csv(Run& run) {
    Store& s = run.store;
    const double base = run.cte.BASE;
    const BusElements elements(s);
    map_bus_rows(s);
    Csv csv(
        "number,name,type,in_service,area,base_kv,v_pu,angle_deg,p_gen_mw,q_gen_mvar,q_min_mvar,q_max_mvar,"
        "p_load_mw,q_load_mvar,shunt_mvar");
    for (int k : rows(s.bus.NB)) {
        if (s.bus.NOINT(k) == 0) continue;  // removed in a block that did not come to its end
        const BusRow r = bus_row(s, elements, k, base);
        const int g = s.map.NGADR(k), area = s.bus.IAREA(k);
        csv << r.number << trimmed(r.name) << std::abs(r.type) << int(r.in_service) << (area ? s.area.NAINT(area) : 0)
            << r.base_kv << r.v << r.angle << r.p_gen << r.q_gen << (g ? s.gen.QMIN(g) * base : 0.0)
            << (g ? s.gen.QMAX(g) * base : 0.0) << r.p_load << r.q_load << r.shunt;
        csv.end_row();
    }
    return csv.take();
}

std::string branches_csv(Run& run) {
    const Store& s = run.store;
    const BranchTables& b = s.branch;
    const double base = run.cte.BASE;
    const BranchRows of(s);
    Csv csv("from,to,circuit,type,in_service,p_from_mw,q_from_mvar,p_to_mw,q_to_mvar,loading_percent,tap,phase_deg");
    for (int l : rows(b.NL)) {
        const int from = b.NFROM(l), to = b.NTO(l);
        if (from == 0 || to == 0) continue;  // removed in a block that did not come to its end
        const BranchFlow f = live_flow(run, l);
        const int t = of.tap[std::size_t(l)], p = of.phase[std::size_t(l)];
        csv << s.bus.NOINT(from) << s.bus.NOINT(to) << b.NCIR(l) << b.LTYPE(l) << int(b.STLIN(l)) << f.pf * base
            << f.qf * base << f.pt * base << f.qt * base << loading(f, b.CAPAC(l), base)
            << (t ? std::optional(1.0 / s.tap.TAP(t)) : std::nullopt) << (p ? s.phs.PHS(p) * DEGREES : 0.0);
        csv.end_row();
    }
    return csv.take();
}

std::optional<std::string> export_run(Run& run, const std::string& folder, int status) {
    constexpr struct {
        const char* file;
        std::string (*rows)(Run&);
    } TABLES[] = {{"/buses.csv", buses_csv},
                  {"/branches.csv", branches_csv},
                  {"/transformers.csv", transformers_csv},
                  {"/compensators.csv", compensators_csv},
                  {"/shunts.csv", shunts_csv},
                  {"/generators_remote.csv", generators_remote_csv}};
    // A stop inside a solve leaves the store without what is out of service.
    if (run.store.cmp.compacted) STOON(run);
    // The options in force by now are those of the code that ended the run.
    run.opt.IOPTN = run.opt.solved.value_or(run.opt.OPTDEF);
    if (!make_folder(folder)) return folder;
    auto write = [&](const char* file, const std::string& text) { return write_whole_file(folder + file, text); };
    for (const auto& [file, rows] : TABLES)
        if (!write(file, rows(run))) return folder + file;
    if (!write("/run.json", run_json(run, status))) return folder + "/run.json";
    return std::nullopt;
}

}  // namespace korvane
