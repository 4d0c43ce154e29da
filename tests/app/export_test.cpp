// The exported result of a run, read back.
#include "app/export.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "network/block_bench.hpp"
#include "powerflow/controlled_networks.hpp"
#include "reports/small_network.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

/// The rows of a table of comma-separated values by the names of their columns.
std::vector<std::map<std::string, std::string>> read_csv(const std::string& text) {
    std::vector<std::vector<std::string>> lines(1, std::vector<std::string>(1));
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"' && quoted && i + 1 < text.size() && text[i + 1] == '"')
            lines.back().back() += text[++i];
        else if (c == '"')
            quoted = !quoted;
        else if (c == ',' && !quoted)
            lines.back().emplace_back();
        else if (c == '\n' && !quoted)
            lines.emplace_back(1);
        else
            lines.back().back() += c;
    }
    lines.pop_back();  // behind the last line end
    std::vector<std::map<std::string, std::string>> rows;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].size(), lines[0].size()) << "row " << i;
        rows.emplace_back();
        for (std::size_t c = 0; c < std::min(lines[0].size(), lines[i].size()); ++c)
            rows.back()[lines[0][c]] = lines[i][c];
    }
    return rows;
}

double number(const std::string& s) { return s.empty() ? std::nan("") : std::stod(s); }

TEST(Export, ASolvedCaseBalancesAndReadsBackBitByBit) {
    SessionOptions options;
    options.prepare = [](const TempDir& dir, FakePlatform&) { (void)dir; };
    std::string deck = small_network();
    deck.insert(deck.find("DBAR"), "DCTE\nTEPA   1E-7 TEPR   1E-7\n99999\n");
    Session s(deck + "EXLF NEWT\nFIM\n", options);
    ASSERT_EQ(s.status, 0) << s.messages();
    ASSERT_FALSE(export_run(s.run, "made/result", 0).has_value());
    EXPECT_FALSE(s.dir.has("made/result/run.json.tmp"));

    const auto buses = read_csv(s.dir.read("made/result/buses.csv"));
    ASSERT_EQ(int(buses.size()), s.store().bus.NB);
    double generated = 0, used = 0, lost = 0;
    for (const auto& b : buses) {
        const int k = bus_of(s.store(), std::stoi(b.at("number")));
        EXPECT_EQ(number(b.at("v_pu")), s.store().bus.VOLT(k));
        EXPECT_EQ(number(b.at("angle_deg")), s.store().bus.ANGLE(k) * DEGREES);
        if (b.at("in_service") == "0") {
            EXPECT_EQ(b.at("number"), "6");
            continue;
        }
        generated += number(b.at("p_gen_mw"));
        used += number(b.at("p_load_mw"));
    }
    const auto branches = read_csv(s.dir.read("made/result/branches.csv"));
    ASSERT_EQ(branches.size(), 3u);
    for (const auto& b : branches) {
        lost += number(b.at("p_from_mw")) + number(b.at("p_to_mw"));
        EXPECT_EQ(b.at("loading_percent"), "") << "no rating";
        EXPECT_EQ(b.at("tap"), "");
    }
    EXPECT_NEAR(used, 80, 1e-9);
    EXPECT_NEAR(generated, used + lost, 1e-5);

    const auto json = nlohmann::json::parse(s.dir.read("made/result/run.json"));
    EXPECT_EQ(json.at("status"), 0);
    EXPECT_EQ(json.at("convstat"), 1);
    EXPECT_EQ(json.at("title"), "Rede de ensaio: ação e reação");
    EXPECT_NE(json.at("stop").get<std::string>().find("Termino Normal"), std::string::npos);
    EXPECT_EQ(json.at("counts").at("buses"), 6);
    EXPECT_EQ(json.at("counts").at("branches"), 3);
    EXPECT_EQ(json.at("iterations").get<int>(), s.store().sol.NITP);
    EXPECT_LT(json.at("dpmax_mw").get<double>(), 1e-7);
    std::string codes;
    for (const auto& c : json.at("codes")) codes += c.at("code").get<std::string>() + " ";
    EXPECT_EQ(codes, "TITU DCTE DBAR DLIN EXLF FIM ");
    EXPECT_TRUE(json.at("messages").empty()) << json.at("messages");
}

TEST(Export, ADeckInErrorListsItsMessagesInTheOrderOfTheCards) {
    std::string deck = small_network();
    deck.insert(deck.find("99999"), bus_card({1, 0, 1, "DUPLA"}) + bus_card({8, 7, 1, "TIPO"}));
    Session s(deck + "EXLF\nFIM\n");
    ASSERT_EQ(s.status, 1);
    const auto json = nlohmann::json::parse(run_json(s.run, s.status));
    EXPECT_EQ(json.at("status"), 1);
    std::vector<std::pair<std::string, int>> messages;
    for (const auto& m : json.at("messages")) messages.emplace_back(m.at("routine"), m.at("number"));
    EXPECT_EQ(messages, (std::vector<std::pair<std::string, int>>{{"INPBUS", 120}, {"INPBUS", 160}}));
    for (const auto& m : json.at("messages")) EXPECT_FALSE(m.at("text").get<std::string>().empty());
    EXPECT_EQ(json.at("codes").back(), (nlohmann::json{{"code", "DBAR"}, {"refused", 0}}));
}

TEST(Export, ARefusedCodeHasItsNumber) {
    Session s("EXLF\nFIM\n");
    const auto json = nlohmann::json::parse(run_json(s.run, s.status));
    EXPECT_EQ(json.at("codes").at(0), (nlohmann::json{{"code", "EXLF"}, {"refused", 160}}));
    EXPECT_EQ(json.at("messages").at(0).at("routine"), "KORVAN");
    EXPECT_EQ(json.at("messages").at(0).at("number"), 160);
}

TEST(Export, TextsAreQuotedAndDeadOrOpenBranchesShowWhatFlows) {
    Session s(small_network() + "EXLF NEWT\nFIM\n");
    Store& st = s.run.store;
    st.bus.BNAME(bus_of(st, 2)) = latin1_from_utf8("A,B \"ç\"");
    const auto find = [&](int from, int to) {
        for (int l : rows(st.branch.NL))
            if (st.bus.NOINT(st.branch.NFROM(l)) == from && st.bus.NOINT(st.branch.NTO(l)) == to) return l;
        return 0;
    };
    const int open = find(1, 2), out = find(2, 3), dead = find(4, 5);
    st.branch.STLIN(open) = st.branch.STLINP(open) = false;  // hangs on bus 1 with its charging
    st.branch.BC(open) = 0.1;
    st.branch.STLIN(out) = st.branch.STLIND(out) = st.branch.STLINP(out) = false;
    st.bus.STBUS(bus_of(st, 5)) = false;
    st.branch.CAPAC(open) = 50;
    for (const auto& b : read_csv(buses_csv(s.run))) {
        if (b.at("number") == "2") {
            EXPECT_EQ(b.at("name"), "A,B \"ç\"");
        }
    }
    put_row(st.tap, "NOTAP", dead, "KBUS", -bus_of(st, 4), "TAP", 1 / 1.1, "NTTAP", 1, "VBUS", 1.03);
    st.branch.LTYPE(dead) = 3;
    for (const auto& b : read_csv(transformers_csv(s.run))) {
        EXPECT_EQ(b.at("from") + ' ' + b.at("state") + ' ' + b.at("controlled_bus"), "4 max 4");
        EXPECT_EQ(number(b.at("target_pu")), 1.03);
        EXPECT_NEAR(number(b.at("tap")), 1.1, 1e-15);
    }
    st.branch.LTYPE(dead) = 0;
    for (const auto& b : read_csv(branches_csv(s.run))) {
        if (b.at("from") == "1") {
            // both halves of the charging behind a series reactance of 0.1 pu, at about 1 pu
            EXPECT_NEAR(number(b.at("q_from_mvar")), -100 * (0.1 + 0.1 / (1 - 0.1 * 0.1)), 0.5);
            EXPECT_EQ(b.at("q_to_mvar"), "0");
            EXPECT_NEAR(number(b.at("loading_percent")), std::abs(number(b.at("q_from_mvar"))) / 50 * 100, 1e-9);
            EXPECT_EQ(b.at("in_service"), "0");
        } else {
            for (const char* flow : {"p_from_mw", "q_from_mvar", "p_to_mw", "q_to_mvar"})
                EXPECT_EQ(b.at(flow), "0") << b.at("from");
            EXPECT_EQ(b.at("in_service"), b.at("from") == "4" ? "1" : "0") << dead;
        }
    }
}

TEST(Export, ControlsAreShownInTheUnitsOfTheirCardsUnderTheOptionsOfTheSolution) {
    std::string deck = "DCTE\nTEPA   1E-7 TEPR   1E-7 TLVC   1E-6\n99999\n";
    auto block = [&](const char* code, std::initializer_list<const char*> cards) {
        deck += std::string(code) + '\n';
        for (const char* card : cards) deck += card_of(card);
        deck += "99999\n";
    };
    block("DBAR", {"1:    1|8:2|25:1020|74:  1|43: -99|48:  99", "1:    2|8:1|53:    5|74:  1|43: -99|48:  99",
                   "1:    3|8:0|59:   30|64:   5|74:  1", "1:    4|8:0|59:   50|64:   5|74:  1",
                   "1:    5|8:0|25: 990|59:   30|64:   5|74:  1", "1:    6|8:0|74:  1"});
    block("DLIN", {"1:    1|11:    3|27:   10.", "1:    1|11:    4|27:   10.|39:   1.|54:   2.",
                   "1:    1|11:    4|16: 2|27:   20.", "1:    2|11:    5|27:    5.", "1:    4|11:    5|27:   10.",
                   "1:    3|11:    5|27:   10.", "1:    6|11:    4|27:   15."});
    block("DCTR", {"1:    1|9:    4|15: 1|32:  -30.|39:   25.|46:P|48:   20.|55:    1|61:10"});
    block("DCSC", {"1:    3|10:    6|26:  -10.|32:   -1.|38:   -5.|44:P|46:    8.|53:    3"});
    block("DCER", {"1:    3|9: 1|12: 2|21:    2.|28:   0.|34:  -40.|40:   30.|46:P"});
    Session s(deck + "EXLF NEWT CREM CPHS QLIM\nFIM\n");
    ASSERT_EQ(s.status, 0) << s.messages();
    ASSERT_FALSE(export_run(s.run, "out", 0).has_value());

    std::map<std::string, std::map<std::string, std::string>> by_kind;
    for (const auto& row : read_csv(s.dir.read("out/compensators.csv"))) by_kind[row.at("kind")] = row;
    ASSERT_EQ(by_kind.size(), 3u);
    const double v = s.store().bus.VOLT(bus_of(s.store(), 3));
    struct {
        const char *kind, *ends, *quantity, *controlled;
        double target, lowest, highest;
    } const cases[] = {{"static", "3---1", "voltage", "3", 1, -80 * v * v, 60 * v * v},
                       {"series", "3-6-1-", "power", "3", 8, -10, -1},
                       {"phase", "1-4-1-", "power", "1", 20, -30, 25}};
    for (const auto& c : cases) {
        const auto& row = by_kind[c.kind];
        EXPECT_EQ(row.at("from") + '-' + row.at("to") + '-' + row.at("circuit") + '-' + row.at("group"), c.ends);
        EXPECT_EQ(row.at("state"), "free") << c.kind;
        EXPECT_EQ(row.at("quantity"), c.quantity);
        EXPECT_EQ(row.at("controlled_bus"), c.controlled);
        EXPECT_NEAR(number(row.at("target")), c.target, 1e-9) << c.kind;
        EXPECT_NEAR(number(row.at("value_min")), c.lowest, 1e-9) << c.kind;
        EXPECT_NEAR(number(row.at("value_max")), c.highest, 1e-9) << c.kind;
        // On its slope a static compensator stands off by 2 per cent, shared by two units, for each 100 Mvar.
        const double droop = row.at("kind") == "static" ? -0.01 * number(row.at("value")) / 100 : 0;
        EXPECT_NEAR(number(row.at("achieved")), c.target + droop, 1e-4) << c.kind;
    }
    const auto remote = read_csv(s.dir.read("out/generators_remote.csv"));
    ASSERT_EQ(remote.size(), 1u);
    EXPECT_EQ(remote[0].at("bus") + remote[0].at("state") + remote[0].at("controlled_bus"), "2free5");
    EXPECT_EQ(number(remote[0].at("target_pu")), 0.99);
    EXPECT_NEAR(number(remote[0].at("voltage_pu")), 0.99, 2e-6);
    EXPECT_EQ(number(remote[0].at("q_max_mvar")), 99);
}

/// A network with one control of each kind, in play.
struct Controls : Network {
    int cer, csc, phs, rcb, tap, sca;
    Controls() {
        make("slack 1.02; gen 1.0 .1");
        for (int k = 3; k <= 5; ++k) bus(0, 1, 0.2, 0.05);
        for (int k = 1; k <= 5; ++k) branch(k, k % 5 + 1, 0.01, 0.08);
        cer = put_row(s.cer, "NBECER", 3, "NVKCER", 3, "NUCER", 1);
        csc = series_compensator(*this, 3, 5, 1, 0.1, false, 9);
        phs = phase_shifter(*this, 4, 5, 2, 0.1, false);
        rcb = remote(2, 4, 1.0);
        branch(3, 4, 0.01, 0.1, 0, 1.03);
        tap = control_tap(4, 1.0);
        sca = put_row(s.sca, "NBUSSCA", 5, "KBUSSCA", 5, "KONSCA", 1);
        run.opt.set("CSCA"_opt);
        ready();
    }
    int branch_of(int t) const { return s.tap.NOTAP(t); }
};

TEST(Export, ControlsTellTheirState) {
    using C = Controls;
    enum Table { compensators, generators, transformers, shunts };
    struct {
        Table table;
        const char *kind, *state;
        void (*change)(C&);
    } const cases[] = {
        {compensators, "static", "free", [](C&) {}},
        {compensators, "static", "max", [](C& n) { n.s.cer.KONCER(n.cer) = 1; }},
        {compensators, "static", "min", [](C& n) { n.s.cer.KONCER(n.cer) = 3; }},
        {compensators, "static", "out", [](C& n) { n.s.cer.STUCER(n.cer) = false; }},
        {compensators, "static", "out", [](C& n) { n.s.bus.STBUS(3) = false; }},
        {compensators, "series", "free", [](C&) {}},
        {compensators, "series", "rounded", [](C& n) { n.s.csc.NTYCSC(n.csc) = false; }},
        {compensators, "series", "min",
         [](C& n) {
             n.s.csc.NTYCSC(n.csc) = false;
             n.s.branch.BKM(n.s.csc.LICSC(n.csc)) = n.s.csc.BMNCSC(n.csc);
         }},
        {compensators, "series", "max",
         [](C& n) {
             n.s.csc.NTYCSC(n.csc) = false;
             n.s.branch.BKM(n.s.csc.LICSC(n.csc)) = n.s.csc.BMXCSC(n.csc);
         }},
        {compensators, "series", "fixed", [](C& n) { n.s.csc.KONCSC(n.csc) = 3; }},
        {compensators, "series", "out", [](C& n) { n.s.branch.STLIN(n.s.csc.LICSC(n.csc)) = false; }},
        {compensators, "series", "out", [](C& n) { n.s.bus.STBUS(5) = false; }},
        {compensators, "phase", "free", [](C&) {}},
        {compensators, "phase", "held", [](C& n) { n.s.phs.FLGPHS(n.phs) = true; }},
        {compensators, "phase", "max", [](C& n) { n.s.phs.FLGPHS(n.phs) = true, n.s.phs.PHS(n.phs) = 0.5; }},
        {compensators, "phase", "min", [](C& n) { n.s.phs.FLGPHS(n.phs) = true, n.s.phs.PHS(n.phs) = -0.5; }},
        {compensators, "phase", "fixed", [](C& n) { n.s.phs.KONPHS(n.phs) = 0; }},
        {compensators, "phase", "fixed", [](C& n) { n.run.opt.clear("CPHS"_opt); }},
        {compensators, "phase", "out", [](C& n) { n.s.branch.STLIN(n.branch_of(n.s.phs.NOPHS(n.phs))) = false; }},
        {generators, "", "free", [](C&) {}},
        {generators, "", "max", [](C& n) { n.s.bus.NTYPE(2) = -2, n.s.gen.QGEN(2) = 99; }},
        {generators, "", "min", [](C& n) { n.s.bus.NTYPE(2) = -2, n.s.gen.QGEN(2) = -99; }},
        {generators, "", "out", [](C& n) { n.s.bus.STBUS(2) = false; }},
        {generators, "", "off", [](C& n) { n.run.opt.clear("CREM"_opt); }},
        {generators, "", "off", [](C& n) { n.s.fcr.row(add_row(n.s.fcr)) = 2; }},
        {generators, "", "off", [](C& n) { n.s.bus.NTYPE(2) = 0; }},
        {generators, "", "off", [](C& n) { n.s.rcb.IRCB(n.rcb) = 1; }},  // the slack holds its own bus
        {generators, "", "free", [](C& n) { n.s.rcb.IRCB(n.rcb) = 1, n.run.opt.set("TGER"_opt); }},  // and shares it
        {generators, "", "off",
         [](C& n) {
             n.s.rcb.IRCB(n.rcb) = 1, n.run.opt.set("TGER"_opt);
             n.s.fcr.row(add_row(n.s.fcr)) = 1;
         }},
        {generators, "", "off", [](C& n) { n.s.bus.STBUS(4) = false; }},
        {generators, "", "terminal",
         [](C& n) {
             n.run.opt.set("VLCR"_opt);
             const int g = n.s.bus.NOGLT(2) = add_row(n.s.glt);
             n.s.glt.VMIN(g) = 0.9;
             n.s.glt.VMAX(g) = 1.0;
             n.s.rcb.VRCB(n.rcb) = 1.05;
         }},
        {transformers, "", "standby", [](C&) {}},
        {transformers, "", "free", [](C& n) { n.run.opt.clear("CREM"_opt); }},
        {transformers, "", "free", [](C& n) { n.s.fcr.row(add_row(n.s.fcr)) = 2; }},
        {transformers, "", "free", [](C& n) { n.s.bus.NTYPE(2) = -2; }},
        {transformers, "", "max", [](C& n) { n.s.rcb.IRCB(n.rcb) = 5, n.s.tap.NTTAP(n.tap) = 1; }},
        {transformers, "", "standby", [](C& n) { n.s.rcb.IRCB(n.rcb) = 5, n.s.tap.KBUS(n.tap) = 1; }},
        {shunts, "", "free", [](C&) {}},
        {shunts, "", "min", [](C& n) { n.s.sca.NTSCA(n.sca) = 1; }},
        {shunts, "", "max", [](C& n) { n.s.sca.NTSCA(n.sca) = 2, n.s.sca.KONSCA(n.sca) = -1; }},
        {shunts, "", "fixed", [](C& n) { n.s.sca.KONSCA(n.sca) = 0; }},
        {shunts, "", "fixed", [](C& n) { n.run.opt.clear("CSCA"_opt); }},
        {shunts, "", "out", [](C& n) { n.s.bus.STBUS(5) = false; }},
        {transformers, "", "held", [](C& n) { n.s.tpf.row(add_row(n.s.tpf)) = n.branch_of(n.tap); }},
    };
    std::string (*const tables[])(korvane::Run&) = {compensators_csv, generators_remote_csv, transformers_csv,
                                                    shunts_csv};
    for (const auto& c : cases) {
        C n;
        c.change(n);
        int seen = 0;
        for (const auto& row : read_csv(tables[c.table](n.run))) {
            if (c.table == compensators && row.at("kind") != c.kind) continue;
            ++seen;
            EXPECT_EQ(row.at("state"), c.state) << c.table << c.kind << " case " << &c - cases;
        }
        EXPECT_EQ(seen, 1) << c.table << c.kind;
    }
    C n;
    n.run.opt.set("CTAF"_opt);
    n.s.tap.NTTVF(n.tap) = -1;
    n.s.tap.VBARRA(n.tap) = 1.04;
    EXPECT_EQ(read_csv(transformers_csv(n.run)).at(0).at("target_pu"), "1.04") << "of the band";
}

TEST(Export, AFolderThatCannotBeMadeIsTold) {
    Session s("FIM\n");
    s.dir.write("taken", "a file");
    EXPECT_EQ(export_run(s.run, "taken", 0), "taken");
    s.dir.write("taken/deck", "");
    ASSERT_FALSE(export_run(s.run, "free", 0).has_value());
    EXPECT_EQ(read_csv(s.dir.read("free/buses.csv")).size(), 0u);
}

}  // namespace
}  // namespace korvane::testing
