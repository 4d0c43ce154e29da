// DLIN: what cards become in the store, and what is refused.
#include <chrono>
#include <cmath>
#include <map>
#include <random>

#include "network/block_bench.hpp"
#include "network/branch_finder.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {
namespace {

// Buses 1 to 9: machines at 1, 2 and 3, of which the last holds the voltage of 4.
class Branches : public ::testing::Test {
protected:
    BlockBench b;
    const BranchTables& l = b.store().branch;
    const TapTables& t = b.store().tap;

    Branches() {
        const auto wrong = b.read(INPBUS, {"1:1|8:2|74:1", "1:2|8:1|25:1020|74:1", "1:3|8:1|53:4|74:1", "1:4|74:1",
                                           "1:5|74:1", "1:6|74:2", "1:7|25:1030|74:2", "1:8|74:2", "1:9|74:2"});
        EXPECT_TRUE(wrong.empty()) << b.messages();
        EXPECT_EQ(dlin({"1:1|11:2|16:1|21:1.|27:10.|33:5.", "1:1|11:2|27:20.", "1:2|11:5|27:8.|39:.98",
                        "1:5|11:6|27:8.|39:1.|44:.9|49:1.1|59:6|73:17", "1:6|11:7|27:8.|39:.95|54:5."}),
                  NONE);
    }
    std::vector<int> dlin(std::initializer_list<std::string_view> cards) { return b.read(INPLIN, cards); }
    std::vector<int> dlin(const std::string& cards) { return b.read(INPLIN, cards); }
    int at(int from, int to, int circuit = 0) const { return b.branch(from, to, circuit); }
    int tap_of(int branch) const {
        const int type = l.LTYPE(branch), row = l.LITRF(branch);
        return type == 2 || type == 4 || type == 6 ? int(b.store().phs.NOPHS(row)) : row;
    }
};

TEST_F(Branches, CardsThatAreRefused) {
    Store& s = b.run.store;
    const int before = l.NL;
    s.agr.count(1) = 1;
    s.agr.NIDGAG(1)(1) = 7;
    expect_messages(b, INPLIN, R"(
        1:1|8:3|11:3|27:1. -> 110; 11:3|27:1. -> 120; 1:1|27:1. -> 130; 1:-1|11:-2|27:1. -> 120 130
        1:1|11:3|16:-1|27:1. -> 140; 1:1|11:3|16:0|27:1. -> 150; 1:90|11:91|27:1. -> 160 170; 1:1|11:1|27:1. -> 180
        1:2|11:1|16:1|27:1. -> 210; 1:1|8:E|11:2|16:1|6:L -> 270; 1:1|8:1|11:2|16:1|106:3 -> 270
        1:1|8:E|11:2|16:7 -> 280; 1:1|8:M|11:8 -> 280; 1:2|8:M|11:1|16:1|21:2. -> 300; 1:5|8:2|11:2|39:1. -> 300
        1:1|6:X|11:3|27:1. -> 310; 1:1|11:3|18:X|27:1. -> 310; 1:1|11:3|19:X|27:1. -> 320; 1:1|11:3|21:1. -> 330
        1:1|8:M|11:2|27:0. -> 330; 1:1|11:3|27:9E200|21:1. -> 330  # an admittance of no size
        1:1|11:3|27:8.|39:0.|44:.9|49:1.1 -> 340; 1:1|11:3|27:8.|39:-1. -> 340; 1:1|11:3|27:8.|33:2.|39:1. -> 345
        1:1|8:M|11:2|39:1. -> 345; 1:1|11:3|27:8.|49:1.1 -> 350; 1:1|11:3|27:8.|44:0.|49:1.1 -> 350
        1:1|11:3|27:8.|44:-.9|49:1.1 -> 350; 1:1|11:3|27:8.|44:.9 -> 360; 1:1|11:3|27:8.|44:-.9 -> 350 360
        1:1|11:3|27:8.|39:1.|59:3 -> 370; 1:2|8:M|11:5|59:5 -> 370; 1:1|11:3|27:8.|39:1.|44:1.5|49:.5 -> 380
        1:1|11:3|27:8.|44:.9|49:1.1|59:90 -> 410; 1:1|11:5|27:8.|44:.9|49:1.1|59:3 -> 420
        1:3|11:5|27:8.|44:.9|49:1.1 -> 420; 1:1|11:3|27:8.|59:90 -> 425; 1:1|11:3|27:8.|65:-1 -> 430
        1:1|11:3|27:8.|69:-1|75:-2 -> 440 440; 1:1|11:3|27:8.|73:5 -> 445; 1:2|8:M|11:5|73:5 -> 445
        1:5|8:M|11:6|73:0 -> 446; 1:1|6:D|11:3|27:8.|39:1. -> 526; 1:2|8:M|10:D|11:5 -> 526; 1:1|11:3|27:abc -> 590
        1:1|8:X|11:3|27:8. -> 590
        1:1|11:3|27:8.|79:-1|82:-1|85:-1|88:-1|91:-1|94:-1|97:-1|100:-1|103:-1|106:-1 -> 610 630 650 670 690 710 730 750 770 790
        1:1|11:3|27:8.|79:5|82:5|85:5|88:5|91:5|94:5|97:5|100:5|103:5|106:5 -> 620 640 660 680 700 720 740 760 780 800
        # one message for each thing that is wrong, in their order
        1:1|6:Q|11:3|19:Q|27:0.|39:-1.|65:-5|79:-1 -> 310 320 330 340 430 610)");
    EXPECT_EQ(l.NL, before) << "a card applies whole or not at all";

    // what only other blocks bring about
    const int line = at(1, 2, 2);
    s.branch.LITRF(line) = add_row(s.shl);
    s.shl.LISHL(1) = line;
    EXPECT_EQ(dlin({"1:1|8:M|11:2|16:2|39:1."}), std::vector{567});
    s.branch.LTYPE(line) = 5;
    EXPECT_EQ(dlin({"1:1|8:M|11:2|16:2|65:10"}), std::vector{281});
    EXPECT_EQ(b.last_without_end(INPLIN, "1:1|11:3|27:8."), 600);
}

TEST_F(Branches, CardsThatAreMended) {
    expect_messages(b, INPLIN, R"(
        1:1|11:3|27:8.|65:1E-5 -> -435; 1:1|11:4|27:8.|65:50|69:0.|75:1E-9 -> -436 -436; 1:1|11:5|27:8.|39:1.5 -> -910
        1:1|11:6|27:8.|44:.5|49:1.5 -> -912 -914; 1:1|11:7|27:8.|44:1.|49:1.|59:9 -> -940
        1:1|11:8|27:8.|39:1.2|44:.9|49:1.1 -> -950; 1:1|11:9|27:8.|39:.8|44:.9|49:1.1 -> -960
        1:2|6:D|11:9|27:8. -> -970; 1:2|6:D|11:9|18:D|27:8. ->)");
    EXPECT_EQ(these(l.CAPAC(at(1, 3)), l.CAPAE(at(1, 4)), l.CAPAQ(at(1, 4)), t.TAP(tap_of(at(1, 8))),
                    t.TAP(tap_of(at(1, 9))), l.STLIN(at(2, 9)), l.STLIND(at(2, 9)), l.STLINP(at(2, 9))),
              these(0.001, 50, 50, 1 / 1.1, 1 / 0.9, false, false, true));
}

TEST_F(Branches, AdmittanceTapAndRatingsOfACard) {
    // y = 1/z with z = (1 + j10) %: 100/(1 - j10)... = 0.990099 - j9.90099; half the charging of 5 Mvar on 100 MVA
    const int line = at(1, 2, 1);
    EXPECT_NEAR(l.GKM(line), 100.0 / 101, 1e-12);
    EXPECT_NEAR(l.BKM(line), -1000.0 / 101, 1e-12);
    EXPECT_DOUBLE_EQ(l.BC(line), 0.025);
    EXPECT_EQ(l.LTYPE(line), 0);
    EXPECT_EQ(l.LITRF(line), 0);
    for (double rating : {l.CAPAC(line), l.CAPAE(line), l.CAPAQ(line), double(l.KAPAC(line)), double(l.KAPAQ(line))})
        EXPECT_EQ(rating, 1e9) << "9999 is none";

    const int fixed = at(2, 5), regulated = at(5, 6), shifter = at(6, 7);
    EXPECT_EQ(l.LTYPE(fixed), 1);
    EXPECT_NEAR(l.BKM(fixed), -12.5 / 0.98, 1e-12);
    EXPECT_EQ(t.KBUS(tap_of(fixed)), b.bus(2));
    EXPECT_EQ(t.VBUS(tap_of(fixed)), 1.02) << "set point of the machine there";
    EXPECT_EQ(l.LTYPE(regulated), 3);
    EXPECT_EQ(t.KBUS(tap_of(regulated)), -b.bus(6)) << "the to end moves against the tap";
    EXPECT_EQ(t.NTSTP(tap_of(regulated)), 17);
    EXPECT_EQ(l.LTYPE(shifter), 2);
    EXPECT_NEAR(b.store().phs.PHS(l.LITRF(shifter)), 5 * std::acos(-1.0) / 180, 1e-15);

    // Implied decimals: a tap has three, other numbers have none. A decimal comma counts.
    EXPECT_EQ(dlin({"1:8|11:9|27:12|39:1050|44:0900|49:1,1|54:-30|59:-1"}), NONE);
    const int dense = at(8, 9);
    EXPECT_EQ(these(t.TAP(tap_of(dense)), t.TPMIN(tap_of(dense)), t.TPMAX(tap_of(dense))), these(1 / 1.05, 0.9, 1.1));
    EXPECT_EQ(t.KBUS(tap_of(dense)), -b.bus(1)) << "away from both ends the sign is that of the card";
    EXPECT_NEAR(l.BKM(dense), -100.0 / 12 / 1.05, 1e-12);
    EXPECT_EQ(l.LTYPE(dense), 4);
}

TEST_F(Branches, CircuitsOfAPair) {
    EXPECT_EQ(l.NCIR(1), 1);
    EXPECT_EQ(l.NCIR(2), 2) << "a card without a circuit takes the next one";
    const FoundBranch second = FNDLIN(b.run, b.bus(2), b.bus(1), 2);
    EXPECT_EQ(these(second.branch, second.place, second.count, second.highest), these(2, 2, 2, 2));
    EXPECT_EQ(b.branch(1, 2, 0), 1) << "without a circuit the first parallel";
    EXPECT_EQ(b.branch(1, 9, 0), 0);

    // A circuit that goes and comes back in one block is a new one; the one removed is found no more.
    EXPECT_EQ(dlin({"1:1|8:E|11:2|16:1", "1:1|8:M|11:2|16:1|65:5", "1:1|11:2|16:1|27:3.", "1:1|8:M|11:2|16:1|65:7"}),
              std::vector{280});
    EXPECT_EQ(FNDLIN(b.run, b.bus(1), b.bus(2), 0).count, 2);
    EXPECT_EQ(l.NCIR(at(1, 2, 0)), 2) << "the one that stayed comes first now";
    EXPECT_EQ(l.CAPAC(at(1, 2, 1)), 7);

    b.run.opt.set("NCIR"_opt);
    EXPECT_EQ(dlin({"1:2|11:1|16:1|27:8."}), NONE) << "NCIR: circuits of cards do not count";
    EXPECT_EQ(l.NFROM(at(1, 2, 3)), b.bus(2));
    b.run.opt.clear("NCIR"_opt);
    EXPECT_EQ(dlin({"1:1|11:2|16:99|27:8.", "1:1|11:2|27:8."}), std::vector{209});
}

TEST_F(Branches, AReversedCardKeepsTheDirection) {
    const int line = at(1, 2, 1);
    EXPECT_EQ(dlin({"1:2|6:D|8:M|10:L|11:1|16:1|19:F|65:80"}), std::vector{-970});
    EXPECT_EQ(l.NFROM(line), b.bus(1));
    EXPECT_EQ(l.NTO(line), b.bus(2));
    EXPECT_TRUE(l.STLIND(line));
    EXPECT_FALSE(l.STLINP(line)) << "its from state is that of the stored to end";
    EXPECT_FALSE(l.OWNER(line)) << "its F names bus 2";
    EXPECT_EQ(l.CAPAC(line), 80);
    EXPECT_EQ(l.KAPAC(line), 80);
    EXPECT_EQ(dlin({"1:2|8:M|11:1|16:1|18:L"}), NONE);
    EXPECT_TRUE(l.STLINP(line) && l.STLIN(line)) << "back in service at both ends";
}

TEST_F(Branches, TapsAreComparedAsTheCardShowsThem) {
    b.run.opt.set("FLIV"_opt);
    EXPECT_EQ(dlin("1,,,,3,,,,0,8,,1.1004,.9,1.1\n"), NONE) << "1.1004 is 1.1 in five columns";
    EXPECT_EQ(dlin("1;;;;4;;;;0;8;;1.1006;.9;1.1\n"), std::vector{-950});
    EXPECT_EQ(t.TAP(tap_of(at(1, 3))), 1 / 1.1004) << "and stays as it is";
    EXPECT_EQ(t.TAP(tap_of(at(1, 4))), 1 / 1.1);
    EXPECT_EQ(dlin("1,d,,,5,,\"d\",t,1.23456789012,8\n"), NONE);
    EXPECT_NEAR(1 / std::hypot(l.GKM(at(1, 5)), l.BKM(at(1, 5))), std::hypot(1.23456789012, 8) / 100, 1e-14)
        << "an item of a list keeps all its digits";
    EXPECT_FALSE(l.STLIND(at(1, 5)));
    EXPECT_FALSE(l.OWNER(at(1, 5)));
}

TEST_F(Branches, TransformersComeAndPhaseShiftersGo) {
    EXPECT_EQ(dlin({"1:6|8:M|11:7|54:0."}), NONE);
    EXPECT_EQ(these(l.LTYPE(at(6, 7)), b.store().phs.NPHS, t.NOTAP(l.LITRF(at(6, 7)))), these(1, 0, at(6, 7)));
    // A phase shifter under control falls back by its limits.
    Store& s = b.run.store;
    EXPECT_EQ(dlin({"1:5|8:M|11:6|54:3."}), NONE);
    const int both = at(5, 6);
    EXPECT_EQ(l.LTYPE(both), 4);
    s.branch.LTYPE(both) = 6;
    EXPECT_EQ(dlin({"1:5|8:M|11:6|65:9"}), NONE);
    EXPECT_EQ(l.LTYPE(both), 6);
    EXPECT_EQ(dlin({"1:5|8:M|11:6|54:0"}), NONE);
    EXPECT_EQ(l.LTYPE(both), 3);
    // A line that gets limits becomes a transformer of tap 1 that holds its from bus.
    EXPECT_EQ(dlin({"1:1|8:M|11:2|16:2|44:.9|49:1.1"}), NONE);
    const int line = at(1, 2, 2);
    EXPECT_EQ(l.LTYPE(line), 3);
    EXPECT_EQ(t.TAP(l.LITRF(line)), 1);
    EXPECT_EQ(t.KBUS(l.LITRF(line)), b.bus(1));
    // Limits that close fix the tap, and what the control remembered goes.
    s.tap.NTTAP(l.LITRF(line)) = 1;
    EXPECT_EQ(dlin({"1:1|8:M|11:2|16:2|44:1.|49:1."}), NONE);
    EXPECT_EQ(l.LTYPE(line), 1);
    EXPECT_EQ(t.NTTAP(l.LITRF(line)), 0);
}

/// Every column of a family, row by row, as bytes.
template <class Tables>
std::string bytes_of(Tables& tables) {
    std::string all;
    each_table(tables, [&](const auto&, auto& table) {
        for (int i : rows(tables.count())) all.append(reinterpret_cast<const char*>(&table(i)), sizeof table(i));
    });
    return all;
}

TEST_F(Branches, AKeyAloneChangesNothing) {
    Store& s = b.run.store;
    // A solution leaves taps and shifts that no card can say.
    const int n = tap_of(at(5, 6));
    s.tap.TAP(n) = 1 / 0.98765432109876;
    s.branch.GKM(at(5, 6)) = 0.123456789;
    s.branch.BKM(at(5, 6)) = -12.3456789;
    s.tap.FATRF(n) = 0.5;
    s.tap.NTTAP(n) = 2;
    s.tap.VBUS(n) = 1.0123;
    s.phs.PHS(1) = 0.0872345;
    const std::string before = bytes_of(s.branch) + bytes_of(s.tap) + bytes_of(s.phs);
    EXPECT_EQ(dlin({"1:1|8:M|11:2|16:1", "1:2|8:M|11:1", "1:5|8:2|11:2", "1:5|8:M|11:6", "1:7|8:M|11:6|16:1"}), NONE);
    EXPECT_EQ(bytes_of(s.branch) + bytes_of(s.tap) + bytes_of(s.phs), before);
}

TEST_F(Branches, NewBranchesOnHighVoltageSystemsHaveTheirLimits) {
    Store& s = b.run.store;
    // 765 kV at bus 1, 500 kV at 6, other buses at 440 kV
    const double base[] = {440, 765, 500};
    s.gbt.NGBT = 3;
    for (int g : rows(3)) s.gbt.BASET(g) = base[g - 1];
    s.bus.NOGBT(b.bus(1)) = 2;
    s.bus.NOGBT(b.bus(6)) = 3;
    EXPECT_EQ(dlin({"1:1|11:6|27:1.", "1:6|11:8|27:1."}), NONE);
    EXPECT_EQ(these(l.VFXENRG(at(1, 6)), l.VTXENRG(at(1, 6)), l.VTXENRG(at(6, 8)), l.VFNENRG(at(1, 6))),
              these(800.0 / 765, 550.0 / 500, 1.1, 0.9));
}

TEST(BranchTables, FullTablesRefuseTheNextRow) {
    BlockBench b;
    std::string buses, cards;
    for (int k = 1; k <= 420; ++k) buses += card_of("1:" + std::to_string(k) + "|74:1");
    EXPECT_EQ(b.read(INPBUS, buses), NONE);
    // 99 circuits a pair: first MXPHS phase shifters, then plain transformers, then lines, and two more of each
    auto add = [&, n = 0](const char* fields) mutable {
        const int k = 1 + n / 99;
        cards += card_of("1:" + std::to_string(k) + "|11:" + std::to_string(k + 1) + "|27:1." + fields);
        ++n;
    };
    for (int n = 0; n < MXPHS; ++n) add("|54:1.");
    for (int n = MXPHS; n < MXTAP; ++n) add("|39:1.");
    EXPECT_EQ(b.read(INPLIN, cards), NONE);
    EXPECT_EQ(b.read(INPLIN, {"1:400|11:401|27:1.|39:1."}), std::vector{390});
    EXPECT_EQ(b.read(INPLIN, {"1:400|11:401|27:1.|54:1."}), (std::vector{390, 400}));
    cards.clear();
    for (int n = MXTAP; n < MXLIN; ++n) add("");
    EXPECT_EQ(b.read(INPLIN, cards), NONE);
    EXPECT_EQ(b.read(INPLIN, {"1:418|11:419|27:1."}), std::vector{260});
    EXPECT_EQ(b.store().branch.NL, MXLIN);
}

// --- random blocks

/// What a card said last of each field, by first column; blocks are replayed from this.
using Fields = std::map<int, std::string>;

std::string written(const Fields& f) {
    std::string all;
    for (const auto& [column, text] : f) all += (all.empty() ? "" : "|") + std::to_string(column) + ':' + text;
    return card_of(all);
}

TEST(BranchBlocks, RandomBlocksLeaveWhatTheSurvivorsSay) {
    for (unsigned seed : seeds(12)) {
        std::mt19937 random(seed);
        auto below = [&](int n) { return int(random() % unsigned(n)); };
        auto number = [&](double low, double high, int width) {
            std::string text = std::to_string(low + (high - low) * below(10007) / 10007.0);
            text = text.substr(0, std::size_t(width));
            return text;
        };
        std::string buses;
        for (int k = 1; k <= 12; ++k) buses += card_of("1:" + std::to_string(k) + "|74:1");
        BlockBench bench;
        ASSERT_EQ(bench.read(INPBUS, buses), NONE);

        std::map<std::array<int, 3>, Fields> model;
        auto electrical = [&](Fields& f, bool transformer) {
            if (below(2)) f[21] = number(0, 9, 6);
            if (below(2)) f[27] = number(1, 30, 6);
            if (!transformer) {
                if (below(3) == 0) f[33] = number(1, 90, 6);
                return;
            }
            if (below(2)) f[39] = number(0.95, 1.05, 5);
            if (below(3) == 0) {
                f[44] = "0.9";
                f[49] = below(4) ? "1.1" : "1.06";
                if (below(2)) f[59] = std::to_string((below(2) ? 1 : -1) * (1 + below(12)));
            }
            if (below(4) == 0) f[54] = below(3) ? number(-9, 9, 4) : "0.";
        };
        auto ratings = [&](Fields& f) {
            for (int column : {65, 69, 75})
                if (below(3) == 0) f[column] = below(4) ? std::to_string(1 + below(9998)) : "9999";
        };
        for (int block = 0; block < 6; ++block) {
            std::string cards;
            for (int n = 0; n < 30; ++n) {
                const int from = 1 + below(12), to = 1 + (from + below(11)) % 12, circuit = 1 + below(3);
                const std::array<int, 3> key{from, to, circuit}, other{to, from, circuit};
                auto found = model.find(key);
                const bool reversed = found == model.end() && model.count(other);
                if (reversed) found = model.find(other);
                Fields c{{1, std::to_string(from)}, {11, std::to_string(to)}, {16, std::to_string(circuit)}};
                if (found == model.end()) {
                    const bool transformer = below(2);
                    c[27] = number(1, 30, 6);
                    electrical(c, transformer);
                    if (transformer && !c.count(39)) c[39] = "1.0";
                    ratings(c);
                    if (!transformer && below(4) == 0) c[6] = "D", c[18] = "D";
                    if (below(3) == 0) c[19] = "T";
                    cards += written(c);
                    const std::string normal = c.count(65) ? c[65] : "9999";
                    c.insert({{6, "L"}, {10, "L"}, {18, "L"}, {19, "F"}, {65, normal}, {69, normal}, {75, normal}});
                    model[key] = c;
                    continue;
                }
                Fields& was = found->second;
                if (below(4) == 0) {
                    c[8] = "E";
                    cards += written(c);
                    model.erase(found);
                    continue;
                }
                Fields changed;
                const bool transformer = was.count(39);
                if (!reversed) electrical(changed, transformer);
                ratings(changed);
                if (!transformer && below(3) == 0) changed[below(2) ? 6 : 10] = "D", changed[18] = "D";
                Fields typed = c;
                typed[8] = "M";
                typed.insert(changed.begin(), changed.end());
                cards += written(typed);
                if (reversed) {
                    Fields turned = changed;
                    turned.erase(6);
                    turned.erase(10);
                    if (changed.count(6)) turned[10] = changed[6];
                    if (changed.count(10)) turned[6] = changed[10];
                    changed = turned;
                }
                for (const auto& [column, text] : changed) was[column] = text;
            }
            EXPECT_EQ(bench.read(INPLIN, cards), NONE) << seed << ' ' << bench.messages();
            // A shift of 0 is forgotten at the end card, and so is the branch as a phase shifter.
            for (auto& [key, fields] : model)
                if (fields.count(54) && std::stod(fields[54]) == 0) fields.erase(54);
        }
        std::string survivors;
        for (const auto& [key, fields] : model) survivors += written(fields);
        BlockBench replay;  // only now: the files of a bench are where its directory is the working one
        ASSERT_EQ(replay.read(INPBUS, buses), NONE);
        EXPECT_EQ(replay.read(INPLIN, survivors), NONE) << seed << ' ' << replay.messages();

        EXPECT_EQ(contents(bench.run.store), contents(replay.run.store)) << "seed " << seed;
        EXPECT_EQ(stray_reference(bench.run.store), "") << seed;
        EXPECT_EQ(wrong_address(bench.run.store), "") << seed;
    }
}

// Every look-up on a bus with thousands of branches must be as short as on a chain. A walk over the branches of the
// bus would take thousands of times longer, so the factor may be generous.
TEST(BranchBlocks, AStarIsReadAsFastAsAChain) {
    constexpr int n = 12000;
    StorePtr memory = make_store();
    Store& s = *memory;
    auto seconds = [&](auto ends) {
        double best = 1e9;
        for (int round = 0; round < 3; ++round) {
            s.branch.NL = 0;
            BranchFinder finder(s);
            const auto start = std::chrono::steady_clock::now();
            for (int k = 1; k <= n; ++k) {
                const auto [from, to] = ends(k);
                EXPECT_EQ(finder.find(from, to, 0).branch, 0);
                const int l = add_row(s.branch);
                s.branch.NFROM(l) = from;
                s.branch.NTO(l) = to;
                s.branch.NCIR(l) = 1;
                finder.insert(l);
                EXPECT_EQ(finder.find(to, from, 1).branch, l);
            }
            for (int l = n; l >= 1; l -= 2) finder.remove(l);
            EXPECT_EQ(finder.find(ends(n).first, ends(n).second, 1).branch, 0);
            best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        return best;
    };
    const double chain = seconds([](int k) { return std::pair{k, k + 1}; });
    const double star = seconds([](int k) { return std::pair{1, k + 1}; });
    EXPECT_LT(star, 20 * chain);
}

}  // namespace
}  // namespace korvane::testing
