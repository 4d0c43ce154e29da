// The exported result of a run, read back.
#include "app/export.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "powerflow/powerflow.hpp"
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
    const int tap = add_row(st.tap);
    st.tap.NOTAP(tap) = dead;
    st.tap.KBUS(tap) = -bus_of(st, 4);
    st.tap.TAP(tap) = 1 / 1.1;
    st.tap.NTTAP(tap) = 1;
    st.tap.VBUS(tap) = 1.03;
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
