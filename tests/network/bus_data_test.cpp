// DBAR: what its cards may hold, what is refused, and what the end card makes of it all.
#include <gtest/gtest.h>

#include "network/block_bench.hpp"
#include "support/rows.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {
namespace {

/// A number right-justified in so many columns.
std::string right(long number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), ' ') + digits;
}

/// A bus card: number, operation, type, and more fields as card_of() has them. A new bus is in area 1 unless told.
std::string bus(int number, char operation, char type, std::string more = "") {
    if (!more.empty()) more = '|' + more;
    const bool adds = std::string_view("12ME").find(operation) == std::string_view::npos;
    if (adds && more.find("|74:") == more.npos) more += "|76:1";
    std::string line = card_of("1:" + right(number, 5) + "|6:" + operation + "|8:" + type + more);
    line.pop_back();
    return line;
}

/// The code line, the cards and the end card.
std::string block(std::string_view code_line, const std::vector<std::string>& cards) {
    std::string text(code_line);
    text += '\n';
    for (const std::string& c : cards) text += c + '\n';
    return text + "99999\n";
}

std::string dbar(const std::vector<std::string>& cards) { return block("DBAR", cards); }

/// DBAR blocks, one after the other, with the options of their code lines.
struct Blocks : BlockBench {
    Store& s = run.store;

    explicit Blocks(std::initializer_list<std::string> decks, const std::function<void(Run&)>& prepare = {}) {
        if (prepare) prepare(run);
        for (const std::string& deck : decks) read(deck);
    }
    Blocks() = default;

    void read(const std::string& deck) {
        feed(deck);
        try {
            ASSERT_EQ(SELKOD(run), 1) << deck.substr(0, 40);
            INPBUS(run);
        } catch (const RunStop&) {  // a batch run stops behind a block with errors
        }
    }
    std::vector<int> told() const { return numbers("INPBUS"); }
    int generator(int number) const {
        for (int g : rows(s.gen.NG))
            if (s.bus.NOINT(s.gen.NOGEN(g)) == number) return g;
        return 0;
    }
    double shunt(int number) const {
        for (int h : rows(s.sht.NSHT))
            if (s.bus.NOINT(s.sht.NOSHT(h)) == number) return s.sht.SHUNT(h);
        return 0;
    }
    void sound() const {
        EXPECT_EQ(stray_reference(s), "");
        EXPECT_EQ(wrong_address(s), "");
    }
};

/// A branch between two buses, as DLIN would leave it.
int branch(Store& s, int from, int to, int type = 0, int controlled = 0) {
    const int l =
        put_row(s.branch, "NFROM", bus_of(s, from), "NTO", bus_of(s, to), "LTYPE", type, "NCIR", 1, "BKM", -10);
    if (type) {
        const int t =
            put_row(s.tap, "NOTAP", l, "KBUS", controlled < 0 ? -bus_of(s, -controlled) : bus_of(s, controlled));
        s.branch.LITRF(l) = t;
    }
    return l;
}

// --- one card

TEST(BusCard, BlankFieldsTakeTheirDefaults) {
    Blocks b{dbar({"    7"})};
    EXPECT_EQ(b.told(), std::vector{-925});
    const BusTables& t = b.s.bus;
    ASSERT_EQ(t.NB, 1);
    EXPECT_EQ(t.NOINT(1), 7);
    EXPECT_TRUE(t.STBUS(1) && t.BUSSEL(1) && t.BNAME(1).blank());
    EXPECT_EQ(these(t.NTYPE(1), t.VOLT(1), t.FVOLT(1)), these(0, 1, 1));
    EXPECT_EQ(b.s.gbt.GBTEN(t.NOGBT(1)), " 0");
    EXPECT_EQ(b.s.gbt.BASET(t.NOGBT(1)), 1);
    EXPECT_EQ(b.s.glt.GLTEN(t.NOGLT(1)), " 0");
    EXPECT_EQ(these(b.s.glt.VMIN(t.NOGLT(1)), b.s.glt.VMAXE(t.NOGLT(1)), b.s.area.NAINT(t.IAREA(1)),
                    b.s.gen.NG + b.s.sht.NSHT + b.s.rcb.NRCB + b.s.slk.NSLK),
              these(double(0.8f), double(1.2f), 1, 0));
    b.sound();
}

TEST(BusCard, EveryFieldReachesItsTable) {
    const std::string deck =
        dbar({bus(8, ' ', '0'), bus(12345, 'a', '1',
                                    "7:d|9:x|11:S\xF3 um nome|23:zz|25:1045|29:-9.5|33:12,5|38:7|43:-20|48:30"
                                    "|53:    -8|59:40.|64:1.5|69:-60|74:999|77:980|81:2|82:  5|109:6")});
    EXPECT_EQ(Blocks{deck}.told(), (std::vector{490, 670}));  // aggregators 1 and 10 hold nothing yet
    auto aggregators = [](korvane::Run& run) {
        run.store.agr.count(1) = 1;
        run.store.agr.NIDGAG(1)(1) = 5;
        run.store.agr.count(10) = 2;
        run.store.agr.NIDGAG(10)(2) = 6;
    };
    const Blocks full{{deck}, aggregators};
    const Store& s = full.s;
    const int k = full.bus(12345), g = full.generator(12345);
    ASSERT_TRUE(k && g) << full.messages();
    EXPECT_FALSE(s.bus.STBUS(k));
    EXPECT_EQ(s.bus.NTYPE(k), 2);
    EXPECT_EQ(s.gbt.GBTEN(s.bus.NOGBT(k)), " X");
    EXPECT_EQ(s.bus.BNAME(k).trimmed(), "S\xF3 um nome");
    EXPECT_EQ(s.glt.GLTEN(s.bus.NOGLT(k)), "ZZ");
    EXPECT_EQ(nearly(s.bus.VOLT(k), s.bus.ANGLE(k), s.gen.PGEN(g), s.gen.QGEN(g), s.gen.QMIN(g), s.gen.QMNO(g),
                     s.gen.QMAX(g), s.gen.QMXO(g), s.gen.VGEN(g)),
              nearly(1.045, -9.5 * RADIANS, 0.125, 0.07, -0.2, -0.2, 0.3, 0.3, 1.045));
    EXPECT_DOUBLE_EQ(s.gen.PMAX(g), 999.99);
    EXPECT_EQ(s.gen.PMIN(g) + s.gen.FGEN(g), 0);
    ASSERT_EQ(s.rcb.NRCB, 1);
    EXPECT_EQ(nearly(s.rcb.ICB(1), s.rcb.IRCB(1), s.rcb.VRCB(1), s.bus.PLOAD(k), s.bus.QLOAD(k), full.shunt(12345),
                     s.area.NAINT(s.bus.IAREA(k)), s.bus.FVOLT(k), s.bus.IBMIDPOINT(k)),
              nearly(g, full.bus(8), 1.0, 0.4, 0.015, -0.6, 999, 0.98, 2));
    EXPECT_EQ(s.bus.IAGRBAR(k)(1), 1);
    EXPECT_EQ(s.bus.IAGRBAR(k)(10), 2);
    full.sound();
}

TEST(BusCard, TypeGivesTheRoleAndTheStateOfItsLimits) {
    struct Case {
        std::string card;
        int ntype;
        double qmin, qmax;  // Mvar
    };
    const Case cases[] = {
        {bus(1, ' ', '1'), 2, -9999, 99999},
        {bus(1, ' ', '1', "43:0"), -2, 0, 0},
        {bus(1, ' ', '1', "43:-5"), 2, -5, 0},
        {bus(1, ' ', '1', "43:10|48:10"), -2, 10, 10},
        {bus(1, ' ', '2'), -3, 0, 0},
        {bus(1, ' ', '2', "43:-1|48:1"), 3, -1, 1},
        {bus(1, ' ', '3', "43:-1|48:1"), -1, -1, 1},
    };
    for (const Case& c : cases) {
        Blocks b{dbar({c.card})};
        ASSERT_EQ(b.s.gen.NG, 1) << c.card;
        EXPECT_EQ(b.s.bus.NTYPE(1), c.ntype) << c.card;
        EXPECT_DOUBLE_EQ(b.s.gen.QMIN(1) * 100, c.qmin) << c.card;
        EXPECT_DOUBLE_EQ(b.s.gen.QMAX(1) * 100, c.qmax) << c.card;
        Blocks again{dbar({c.card}), "DBAR\n    12\n99999\n"};  // a change card without a field changes nothing
        EXPECT_EQ(first_difference(again.s, Blocks{dbar({c.card})}.s), "") << c.card;
    }
}

// A load bus with voltage limits keeps its scheduled reactive generation, whatever its limits say.
TEST(BusCard, LoadBusWithVoltageLimitsKeepsItsSchedule) {
    Blocks b{dbar({bus(1, ' ', '3', "25:1020|38:50|43:-1|48:1")})};
    EXPECT_EQ(b.told(), NONE);
    EXPECT_DOUBLE_EQ(b.s.gen.VGEN(1), 0.5);
    EXPECT_DOUBLE_EQ(b.s.gen.QGEN(1), 0.5);
    b.s.bus.NTYPE(1) = 1;  // a solution held its voltage and moved its generation
    b.s.gen.QGEN(1) = 0.01;
    b.read(dbar({bus(1, '2', ' ', "59:3")}));
    EXPECT_EQ(nearly(b.s.bus.NTYPE(1), b.s.gen.VGEN(1), b.s.gen.QGEN(1)), nearly(-1, 0.5, 0.01));
    b.read(dbar({bus(1, '2', '1', "25:1010")}));
    EXPECT_DOUBLE_EQ(b.s.gen.VGEN(1), 1.01);
    EXPECT_EQ(b.s.bus.NTYPE(1), 2);
}

// --- messages: each deck with the numbers that it must give, in their order

struct Refused {
    const char* what;
    std::vector<std::string> cards;
    std::vector<int> numbers;
};

TEST(BusCard, RefusesWithItsNumber) {
    const std::string one = bus(1, ' ', '0'), machine = bus(1, ' ', '1');
    const Refused cases[] = {
        {"operation", {bus(1, '3', '0'), bus(2, '9', '0')}, {100, 100}},
        {"no number", {bus(0, ' ', '0'), bus(-4, '2', '0'), std::string(75, ' ') + "1"}, {110, 110, 110}},
        {"twice", {one, one, bus(1, 'A', '1')}, {120, 120}},
        {"unknown", {bus(5, '1', ' '), bus(5, '2', ' '), bus(5, 'E', ' '), bus(5, 'M', ' ')}, {140, 140, 140, 140}},
        {"delete with more", {one, bus(1, '1', ' ', "7:L"), bus(1, '1', ' ', "111:1")}, {150, 150}},
        {"type", {bus(1, ' ', '4'), bus(1, ' ', '9')}, {160, 160}},
        {"voltage", {bus(1, ' ', '0', "25:399"), bus(2, ' ', '0', "25:2001")}, {180, 180}},
        {"voltage in band", {bus(1, ' ', '0', "25:400"), bus(2, ' ', '0', "25:2000")}, {}},
        {"voltage of load", {bus(1, ' ', '0', "77:399"), bus(2, ' ', '0', "77:2001")}, {185, 185}},
        {"area", {bus(1, ' ', '0', "74: 0"), bus(1, ' ', '0', "74:-1")}, {190, 190}},
        {"limits of a load", {bus(1, ' ', '0', "43:-1"), bus(1, ' ', '0', "48:1")}, {220, 220}},
        {"limits reversed", {bus(1, ' ', '1', "43:2|48:1"), bus(2, ' ', '3', "43:2")}, {240, 240}},
        {"remote control", {one, bus(2, ' ', '0', "53:1"), bus(3, ' ', '3', "53:1")}, {260, 260}},
        {"format",
         {bus(1, ' ', 'x'), "    x", bus(1, ' ', '0', "33:1.2.3"), bus(1, 'Z', '0'), bus(1, ' ', '0', "74:a")},
         {310, 310, 310, 310, 310}},
        {"state", {bus(1, ' ', '0', "7:X"), bus(2, ' ', '0', "7:l")}, {430}},
        {"letters",
         {bus(1, ' ', '0',
              "9:\x7f"
              "A"),
          bus(1, ' ', '0', "23:A\x01"), bus(1, ' ', '0', "11:UM\tNOME")},
         {440, 450, 470}},
        {"mid-point", {bus(1, ' ', '0', "81:3"), bus(2, ' ', '0', "81:2")}, {460}},
        {"several at once", {bus(1, ' ', '7', "25:1|77:1|81:9")}, {160, 180, 185, 460}},
        {"clamped", {bus(1, ' ', '1', "38:9|43:-1|48:1"), bus(2, ' ', '2', "38:-9|43:-1|48:1")}, {-900, -910}},
        {"area taken as 1", {"    1"}, {-925}},
        {"deleted", {one, bus(2, ' ', '0'), bus(1, '1', ' ')}, {-950}},
        {"last of its area", {one, bus(2, ' ', '0', "74:  7"), bus(2, '2', ' ', "74:  1")}, {-990}},
        {"one of two in its area", {one, bus(2, ' ', '0'), bus(2, '2', ' ', "74:  7")}, {}},
        {"last of its area deleted", {machine, bus(1, '1', ' ')}, {-990, -950}},
        {"unknown controlled bus", {bus(1, ' ', '1', "53:77")}, {-980}},
        {"controlled bus controls", {bus(1, ' ', '1', "53:2"), bus(2, ' ', '1', "53:3"), bus(3, ' ', '0')}, {340}},
    };
    for (const Refused& c : cases) {
        Blocks b{dbar(c.cards)};
        EXPECT_EQ(b.told(), c.numbers) << c.what;
        b.sound();
    }
}

TEST(BusCard, RefusesAggregatorsByTheirPlace) {
    std::vector<std::string> cards;
    std::vector<int> numbers;
    for (int k = 0; k < 10; ++k) {
        const int column = 82 + 3 * k;
        for (const char* id : {": -1", ":  9"}) cards.push_back(bus(1, ' ', '0', std::to_string(column) + id));
        numbers.insert(numbers.end(), {480 + 20 * k, 490 + 20 * k});
    }
    Blocks b{dbar(cards)};
    EXPECT_EQ(b.told(), numbers);
}

TEST(BusCard, EndOfInputIsToldAndKeepsTheCards) {
    const Session s("DBAR\n" + bus(1, ' ', '0') + "\n");
    EXPECT_EQ(s.numbers(), std::vector{320});
    EXPECT_EQ(s.status, 1);
    EXPECT_EQ(s.store().bus.NB, 1);
}

// A card applies whole or not at all.
TEST(BusCard, WithAnErrorChangesNothing) {
    const std::string good = dbar({bus(1, ' ', '1', "33:10|69:5"), bus(2, ' ', '0')});
    Blocks b{good};
    b.read(dbar({bus(1, '2', '2', "9:QQ|11:NOVO|25:1050|33:99|69:7|81:5"), bus(3, ' ', '1', "9:RR|43:2|48:1")}));
    EXPECT_EQ(b.told(), (std::vector{460, 240}));
    EXPECT_EQ(first_difference(b.s, Blocks{good}.s), "");
}

// --- limits of the tables

TEST(BusLimits, EachFullTableHasItsNumber) {
    struct Case {
        const char* what;
        int limit, number;
        std::function<std::string(int)> card;
    };
    auto group = [](int i) { return std::string{char('A' + i / 26), char('A' + i % 26)}; };
    const Case cases[] = {
        {"limit groups", MXGLT, 170, [&](int i) { return bus(i, ' ', '0', "23:" + group(i)); }},
        {"base groups", MXGBT, 270, [&](int i) { return bus(i, ' ', '0', "9:" + group(i)); }},
        {"areas", MXARE, 200, [&](int i) { return bus(i, ' ', '0', "74:" + right(i, 3)); }},
        {"slacks", MXSLK, 230, [](int i) { return bus(i, ' ', '2'); }},
        {"generators", MXGEN, 210, [](int i) { return bus(i, ' ', i % 2 ? '1' : '0', "33:1"); }},
        {"remote controls", MXRCB, 250, [](int i) { return bus(i, ' ', '1', "53:99998"); }},
        {"shunts", MXSHT, 280, [](int i) { return bus(i, ' ', '0', "69:1"); }},
        {"buses", MXBUS, 130, [](int i) { return bus(i, ' ', '0'); }},
    };
    for (const Case& c : cases) {
        std::vector<std::string> cards;
        for (int i = 1; i <= c.limit + 1; ++i) cards.push_back(c.card(i));
        Blocks b{dbar(cards)};
        std::vector<int> errors = b.told();
        std::erase(errors, -980);
        EXPECT_EQ(errors, std::vector{c.number}) << c.what;
        EXPECT_EQ(b.s.bus.NB, c.limit) << c.what;  // the card one above the limit, and only that one, is refused
        b.sound();
    }
}

// --- modify, delete, and what follows

TEST(BusBlock, GenerationThatEndsTakesItsRowAlong) {
    Blocks b{dbar({bus(1, ' ', '2', "33:5"), bus(2, ' ', '1', "33:10"), bus(3, ' ', '1', "33:20")})};
    EXPECT_EQ(b.s.gen.NG, 3);
    EXPECT_DOUBLE_EQ(b.s.slk.PSLK(1), 0.05);
    b.read(dbar({bus(2, '2', '0', "33:0")}));
    EXPECT_EQ(b.told(), NONE);
    EXPECT_EQ(nearly(b.s.gen.NG, b.generator(2), b.s.gen.PGEN(b.generator(3))), nearly(2, 0, 0.2));
    // A load bus that still generates keeps its row; a slack that is none any more leaves the list.
    b.read(dbar({bus(1, '2', '0')}));
    EXPECT_DOUBLE_EQ(b.s.gen.PGEN(b.generator(1)), 0.05);
    EXPECT_EQ(b.s.slk.NSLK, 0);
    b.sound();
}

TEST(BusBlock, RemovedBusTakesAlongWhatStandsThere) {
    Blocks b{block("DBAR",
                   {bus(1, ' ', '2'), bus(2, ' ', '1', "69:5"), bus(3, ' ', '0', "69:6"), bus(4, ' ', '1', "53:3")})};
    branch(b.s, 1, 2);
    branch(b.s, 2, 3, 3, 3);
    branch(b.s, 1, 3);
    const int kept = branch(b.s, 1, 4, 3, -2);
    rebuild_addresses(b.run);
    ASSERT_EQ(kept, 4);
    b.read(dbar({bus(2, '1', ' ')}));
    EXPECT_EQ(b.told(), (std::vector{-950, -980}));  // the tap of branch 4 controlled the bus
    EXPECT_EQ(nearly(b.s.bus.NB, b.s.branch.NL, b.s.tap.NTAP, b.s.tap.KBUS(1), b.generator(2), b.shunt(2), b.shunt(3)),
              nearly(3, 2, 1, b.bus(1), 0, 0, 0.06));
    ASSERT_EQ(b.s.rcb.NRCB, 1);
    EXPECT_EQ(b.s.rcb.ICB(1), b.generator(4));
    EXPECT_EQ(b.s.rcb.IRCB(1), b.bus(3));
    b.sound();
}

TEST(BusBlock, ABusMayGoAndComeInOneBlock) {
    Blocks b{dbar({bus(1, ' ', '1', "33:5|53:2"), bus(2, ' ', '0', "59:7")})};
    branch(b.s, 1, 2);
    rebuild_addresses(b.run);
    b.read(dbar({bus(2, '1', ' '), bus(2, ' ', '0', "25:1030|59:8"), bus(2, '2', ' ', "64:3"), bus(3, ' ', '0'),
                 bus(3, '2', ' ', "59:1"), bus(3, '1', ' ')}));
    EXPECT_EQ(b.told(), (std::vector{-950, -950}));
    ASSERT_EQ(b.s.bus.NB, 2);
    EXPECT_EQ(b.s.branch.NL, 0);  // the branch stood at the bus that went
    EXPECT_DOUBLE_EQ(b.s.bus.PLOAD(b.bus(2)), 0.08);
    EXPECT_DOUBLE_EQ(b.s.bus.QLOAD(b.bus(2)), 0.03);
    ASSERT_EQ(b.s.rcb.NRCB, 1);  // control is by number
    EXPECT_EQ(b.s.rcb.IRCB(1), b.bus(2));
    EXPECT_DOUBLE_EQ(b.s.rcb.VRCB(1), 1.03);
    b.sound();
}

TEST(BusBlock, RemoteControlFollowsTheCards) {
    Blocks b{dbar({bus(1, ' ', '1', "25:1020|53:3"), bus(2, ' ', '2', "53:3"), bus(3, ' ', '0', "25:990")})};
    EXPECT_EQ(b.s.rcb.NRCB, 2);
    EXPECT_DOUBLE_EQ(b.s.rcb.VRCB(2), 0.99);
    // A solution moves the voltage of the controlled bus; a card on another field leaves the set point.
    b.s.bus.VOLT(b.bus(3)) = 0.95;
    b.read(dbar({bus(3, '2', ' ', "59:1")}));
    EXPECT_DOUBLE_EQ(b.s.rcb.VRCB(1), 0.99);
    EXPECT_DOUBLE_EQ(b.s.bus.VOLT(b.bus(3)), 0.95);
    b.read(dbar({bus(3, '2', ' ', "25:1010")}));
    EXPECT_DOUBLE_EQ(b.s.rcb.VRCB(1), 1.01);
    // Its own bus: the row goes and the bus starts at its set point.
    b.s.bus.VOLT(b.bus(1)) = 0.9;
    b.read(dbar({bus(1, '2', ' ', "53:1")}));
    EXPECT_EQ(b.s.rcb.NRCB, 1);
    EXPECT_DOUBLE_EQ(b.s.bus.VOLT(b.bus(1)), 1.02);
    // A machine that becomes a load controls nothing.
    b.read(dbar({bus(2, '2', '0')}));
    EXPECT_EQ(b.s.rcb.NRCB, 0);
    EXPECT_EQ(b.told(), NONE);
}

TEST(BusBlock, TapsTakeTheSetPointOfTheirBus) {
    Blocks b{dbar({bus(1, ' ', '1', "53:2"), bus(2, ' ', '0'), bus(3, ' ', '0')})};
    branch(b.s, 2, 3, 3, 3);
    b.s.tap.VBUS(1) = 1.05;
    rebuild_addresses(b.run);
    b.s.bus.VOLT(b.bus(3)) = 0.97;
    b.read(dbar({bus(3, '2', ' ', "59:1")}));
    EXPECT_DOUBLE_EQ(b.s.tap.VBUS(1), 1.05);
    EXPECT_DOUBLE_EQ(b.s.tap.VBARRA(1), 1.05);
    b.read(dbar({bus(3, '2', ' ', "25:1025")}));
    EXPECT_DOUBLE_EQ(b.s.tap.VBUS(1), 1.025);
    EXPECT_EQ(b.told(), NONE);
    b.s.tap.KBUS(1) = b.bus(1);  // a bus that controls another
    b.read(dbar({}));
    EXPECT_EQ(b.told(), std::vector{350});
}

TEST(BusBlock, DevicesFollowTheirBus) {
    auto devices = [](korvane::Run& run) {
        Store& s = run.store;
        s.cnv.INTBUS(add_row(s.cnv)) = bus_of(s, 1);
        put_row(s.cer, "NBECER", bus_of(s, 2), "NVKCER", bus_of(s, 3));
        s.eqv.NOEQV(add_row(s.eqv)) = bus_of(s, 4);
        put_row(s.gei, "NOGEI", bus_of(s, 5), "NOGGEI", 1);
    };
    const std::string buses = dbar(
        {bus(5, ' ', '1'), bus(1, ' ', '0'), bus(2, ' ', '0'), bus(3, ' ', '0'), bus(4, ' ', '0'), bus(6, ' ', '0')});
    struct Case {
        std::string card;
        std::vector<int> numbers;
    };
    const Case cases[] = {
        {bus(1, '1', ' '), {300}},
        {bus(4, '1', ' '), {-930, -940, -950}},
        {bus(3, '1', ' '), {-950, -970}},
        {bus(5, '2', '0'), {-995}},
        {bus(5, '1', ' '), {-950, -995}},
        {bus(2, '2', '1'), {410}},  // the compensator there controls bus 3, the machine its own
        {bus(2, '2', '1', "53:3"), {}},
        {bus(5, '2', ' ', "53:2"), {420}},  // bus 2 holds a compensator
    };
    for (const Case& c : cases) {
        Blocks b{buses};
        devices(b.run);
        b.read(dbar({c.card}));
        EXPECT_EQ(b.told(), c.numbers) << c.card;
        b.sound();
    }
    Blocks b{buses};
    devices(b.run);
    b.read(dbar({bus(1, '2', ' ', "25:1020"), bus(3, '2', ' ', "25:1004")}));
    EXPECT_DOUBLE_EQ(b.s.cnv.VCNV(1), 1.02);
    EXPECT_DOUBLE_EQ(b.s.cer.VCER(1), 1.0);  // less than TLVC (0.5 %) away
    b.read(dbar({bus(3, '2', ' ', "25:1006")}));
    EXPECT_DOUBLE_EQ(b.s.cer.VCER(1), 1.006);

    b.s.gen.XQ(b.generator(5)) = 1.1;
    b.read(dbar({bus(5, '2', ' ', "48:50")}));
    EXPECT_EQ(b.told(), std::vector{-960});
}

TEST(BusBlock, UnusedAreasAndLimitGroupsGo) {
    Blocks b{dbar({bus(1, ' ', '0', "9:AA|23:XX|74:  5"), bus(2, ' ', '0', "9:BB|23:YY|74:  3")})};
    b.s.area.AREINT(2) = 4;
    b.read(dbar({bus(1, '2', ' ', "9:BB|23:YY|74:  3")}));
    EXPECT_EQ(these(b.s.area.NAREA, b.s.area.NAINT(1), b.s.area.AREINT(1), b.s.glt.NGLT), these(1, 3, 4, 1));
    EXPECT_EQ(b.s.glt.GLTEN(1), "YY");
    EXPECT_EQ(b.s.gbt.NGBT, 2);  // a base voltage may wait for its buses
    b.sound();
}

TEST(BusBlock, HalfOfAFullTableGoesInOneBlock) {
    std::vector<std::string> adds, deletes;
    for (int i = 1; i <= MXBUS; ++i) {
        adds.push_back(bus(3 * i, ' ', i % 4 ? '0' : '1', "74:" + right(i % 150 + 1, 3)));
        if (i % 2) deletes.push_back(bus(3 * i, '1', ' '));
    }
    Blocks b{dbar(adds), dbar(deletes)};
    EXPECT_EQ(b.s.bus.NB, MXBUS / 2);
    EXPECT_EQ(b.s.gen.NG, MXBUS / 4);
    for (int k : rows(b.s.bus.NB)) ASSERT_EQ(b.s.bus.NOINT(k), 6 * k);
    b.sound();
}

// --- areas from the cards

TEST(Molt, RebuildsTheAreasFromTheCards) {
    Blocks b{dbar({bus(1, ' ', '0', "74:  7"), bus(2, ' ', '0', "74:  8"), bus(3, ' ', '0', "74:  9"),
                   bus(4, ' ', '0', "74:  9"), bus(5, ' ', '0', "74:  9")})};
    branch(b.s, 4, 3);
    branch(b.s, 3, 2);
    branch(b.s, 2, 1);
    rebuild_addresses(b.run);
    b.read(block("DBAR MOLT", {bus(1, '2', ' ', "74: 20"), bus(2, '2', ' ', "59:1"), bus(6, ' ', '0', "74: 30")}));
    EXPECT_EQ(b.told(), NONE);
    auto area = [&](int number) { return b.s.area.NAINT(b.s.bus.IAREA(b.bus(number))); };
    EXPECT_EQ(area(1), 20);
    for (int number : {2, 3, 4}) EXPECT_EQ(area(number), 20) << number;  // from neighbour to neighbour
    EXPECT_EQ(area(5), 99);                                              // nobody to take it from
    EXPECT_EQ(area(6), 30);
    EXPECT_EQ(b.s.area.NAREA, 3);
    b.sound();
    // A card may mean area 99 itself; buses without a neighbour join it.
    b.read(block("DBAR MOLT", {bus(1, '2', ' ', "74: 99"), bus(6, '2', ' ', "74: 30")}));
    for (int number : {1, 2, 3, 4, 5}) EXPECT_EQ(area(number), 99) << number;
    EXPECT_EQ(b.s.area.NAREA, 2);
    b.sound();
}

// --- free lists

TEST(FreeList, HoldsTheFieldsInTheOrderOfTheirColumns) {
    Blocks b{block("DBAR FLIV", {"7,A,L,1,34,\"BARRA, SETE\",2,1.0456789,-12.5,123.4567,10;-20;30,,40,5,-6,3,0.98,1",
                                 "8,0,L,1,,OITO,,1,,5,,0.0001,0.0001,,,,,3", "9,,,,,,,,,,,,,,,,,4", "7,M,,,,,,,,200"})};
    EXPECT_EQ(b.told(), NONE);
    const int k = b.bus(7), g = b.generator(7);
    ASSERT_TRUE(k && g);
    EXPECT_EQ(b.s.bus.BNAME(k).trimmed(), "BARRA, SETE");
    EXPECT_EQ(b.s.gbt.GBTEN(b.s.bus.NOGBT(k)), "34");
    EXPECT_EQ(b.s.glt.GLTEN(b.s.bus.NOGLT(k)), " 2");
    EXPECT_DOUBLE_EQ(b.s.bus.VOLT(k), 1.0456789);  // more digits than its columns
    EXPECT_EQ(nearly(b.s.bus.ANGLE(k), b.s.gen.PGEN(g), b.s.gen.QMAX(g), b.s.bus.PLOAD(k), b.shunt(7), b.s.bus.FVOLT(k),
                     b.s.bus.IBMIDPOINT(k)),
              nearly(-12.5 * RADIANS, 2.0, 0.3, 0.4, -0.06, 0.98, 1));
    EXPECT_EQ(b.s.bus.NTYPE(b.bus(8)), -2);  // 0.0001 is an explicit zero: not the blank that means no limits
    EXPECT_EQ(b.s.gen.QMAX(b.generator(8)), 0);
    EXPECT_EQ(b.s.area.NAINT(b.s.bus.IAREA(b.bus(9))), 4);
    b.sound();
}

TEST(FreeList, RefusesWhatDoesNotFit) {
    Blocks b{block("DBAR FLIV", {"123456,A", "1,A,L,12", "2,X", "3,9", "4,A,L,0,ABC", "5,A,L,0,,\"open",
                                 "6,A,L,0,,,,1.x", "7,E,L", "8,A,L,0,,,,,,,,,,,,,,1,,,,,,,,,,,,,,1"})};
    EXPECT_EQ(b.told(), (std::vector{310, 310, 310, 100, 310, 310, 310, 140, 310}));
    EXPECT_EQ(b.s.bus.NB, 0);
}

// --- the echo

TEST(BusEcho, ShowsWhatWasUsed) {
    const Session s(block("DBAR IMPR FILE", {bus(7, ' ', '1', "11:SETE|25:1045")}) + block("DBAR IMPR", {"    72"}) +
                    "FIM\n");
    EXPECT_EQ(s.status, 0) << s.messages();
    const std::string wide = s.print();
    EXPECT_TRUE(
        shows(wide, "    7 Inc L 1  0 SETE          0 1045   0.    0.    0. -9999 99999      7    0.    0.    0.   1"));
    EXPECT_TRUE(shows(s.console(), "    7 Alt L 1  0 SETE          0 1045"));
}

// --- random blocks

// Adds, changes and removals in any order and over several blocks leave what one block leaves that only adds the
// survivors as they ended.
TEST(BusBlock, AnyWayToTheSameBusesLeavesTheSameStore) {
    for (unsigned seed : seeds(25)) {
        std::mt19937 random(seed);
        auto below = [&](int n) { return int(random() % unsigned(n)); };
        struct Values {
            char type;
            int volt, pgen, pload, shunt, area, control;
        };
        std::map<int, Values> alive;
        std::vector<std::vector<std::string>> blocks(3);
        auto whole = [](int number, char op, const Values& v) {
            const bool load = v.type == '0';
            return bus(number, op, v.type,
                       "25:" + right(v.volt, 4) + "|33:" + right(load ? 0 : v.pgen, 5) +
                           (load ? "|43:    0|48:    0" : "|43:  -50|48:   50") +
                           "|53:" + right(v.control && v.type == '1' ? v.control : number, 6) +
                           "|59:" + right(v.pload, 5) + "|69:" + right(v.shunt, 5) + "|74:" + right(v.area, 3));
        };
        for (auto& cards : blocks)
            for (int i = 0; i < 60; ++i) {
                const int number = 1 + below(30);
                const Values v{"01123"[below(5)],        950 + below(100), below(50),         below(90),
                               below(3) ? 0 : below(20), 1 + below(6),     below(4) ? 0 : 100};
                if (!alive.count(number)) {
                    cards.push_back(whole(number, 'A', v));
                    alive[number] = v;
                } else if (below(3) == 0) {
                    cards.push_back(bus(number, 'E', ' '));
                    alive.erase(number);
                } else {
                    cards.push_back(whole(number, 'M', v));
                    alive[number] = v;
                }
            }
        blocks[0].insert(blocks[0].begin(), bus(100, ' ', '0'));  // the bus that others control
        Blocks changed{};
        for (const auto& cards : blocks) changed.read(dbar(cards));
        std::vector<std::string> survivors{bus(100, ' ', '0')};
        for (const auto& [number, v] : alive) survivors.push_back(whole(number, 'A', v));
        Blocks direct{dbar(survivors)};
        for (int number : changed.told()) EXPECT_LT(number, 0) << seed;
        changed.sound();
        direct.sound();
        // VOLT of a bus that once controlled another starts at its set point: the same value here. States of limits
        // remember what the bus was, so the fresh ones count for both.
        changed.s.gbt.NGBT = direct.s.gbt.NGBT;
        EXPECT_EQ(contents(changed.s), contents(direct.s)) << seed;
    }
}

}  // namespace
}  // namespace korvane::testing
