// Lists of elements: DTPF and DMFL by branches, and all lists that a selection adds to and removes from.
#include "network/control_bench.hpp"

namespace korvane::testing {
namespace {

class ElementLists : public ::testing::Test {
protected:
    ControlBench b;
    const Store& s = b.store();
};

TEST_F(ElementLists, BranchesOnACard) {
    expect_messages(b, INPTPI, R"(
        1:40|7:50|13:1|76:M -> 100; 1:40|7:50|13:1|76:1 -> 100; 7:50|13:1 -> 110; 1:40|13:1 -> 120
        1:40|7:50|13:0 -> 130; 1:-4|13:-1 -> 110 120 130; 1:99|7:50 -> 140; 1:40|7:98 -> 150; 1:99|7:98 -> 140 150
        1:40|7:40 -> 160; 1:10|7:60 -> 170; 1:40|7:50|13:2 -> 170; 1:40|7:50|16:10|22:60 -> 170
        1:40|7:50|13:1|76:E -> 200; 1:4x|7:50 -> 210; 1:10|7:30 -> 230; 1:20|7:30 -> 230; 1:50|7:60 -> 230
        1:40|7:50|16:50|22:40|76:A -> -823)");
    EXPECT_EQ(b.names(s.tpf), "40-50 ") << "a card with an error had added nothing";
    // A blank field ends the card, also before others.
    EXPECT_EQ(b.read(INPTPI, {"1:30|7:50|31:60|37:70"}), NONE);
    EXPECT_EQ(b.read(INPTPI, {"1:70|7:60|76:a"}), NONE);
    EXPECT_EQ(b.names(s.tpf), "40-50 30-50 60-70 ");
    EXPECT_EQ(b.read(INPTPI, {"1:40|7:50|16:50|22:40|76:E"}), std::vector{200}) << "once is gone the second time";
    EXPECT_EQ(b.read(INPTPI, {"1:40|7:50|16:30|22:50|76:E"}), NONE);
    EXPECT_EQ(b.names(s.tpf), "60-70 ");
    EXPECT_EQ(b.last_without_end(INPTPI), 220);

    expect_messages(b, INPMFI, R"(
        1:10|7:30|16:10|22:30|28:1 -> 190; 1:10|7:30|16:30|22:10|28:2|31:50|37:60|46:60|52:70 ->
        1:10|7:30|13:2 -> 190; 1:10|7:30|13:3|76:E -> 170; 1:30|7:40|76:E -> 200; 1:10|7:30|76:X -> 100
        1:-4|13:-1 -> 110 120 130; 1:99|7:98 -> 140 150; 1:40|7:40 -> 160; 1:4x|7:50 -> 210)");
    EXPECT_EQ(b.names(s.mtl), "10-30 10-30/2 50-60 60-70 ") << "a blank circuit is the lowest";
    EXPECT_EQ(b.read(INPMFI, {"1:10|7:30|76:E"}), NONE);
    EXPECT_EQ(b.names(s.mtl), "60-70 10-30/2 50-60 ") << "the last row fills the gap";
    EXPECT_EQ(b.last_without_end(INPMFI), 220);
}

/// All but `left` rows of a list beyond those of the network stand for others.
template <class List>
void leave_room(List& list, int left) {
    list.n = limit_of<List>() - left;
    for (int i : rows(list.n)) list.row(i) = 1;
}

TEST_F(ElementLists, FullListsSayItOnceACard) {
    Store& w = b.run.store;
    leave_room(w.tpf, 1);
    EXPECT_EQ(b.read(INPTPI, {"1:40|7:50|16:30|22:50|31:60|37:70", "1:30|7:50"}), (std::vector{180, 180}));
    EXPECT_EQ(s.tpf.n, MXTPF);
    EXPECT_EQ(s.tpf.row(MXTPF), b.branch(40, 50, 1)) << "what fits is in";
    leave_room(w.mtb, 2);
    EXPECT_EQ(b.read(INPMTE, {"1:AREA|6:2"}), std::vector{170});
    EXPECT_EQ(s.mtb.n, MXMTB);
    EXPECT_EQ(s.mtb.row(MXMTB), b.bus(50));
    leave_room(w.tpf, 0);
    leave_room(w.fcr, 0);
    leave_room(w.fql, 0);
    leave_room(w.mtg, 0);
    leave_room(w.mtl, 0);
    for (Reader block : {INPTPX, INPFQL, INPMGR, INPMFX}) EXPECT_EQ(b.read(block, {"1:AREA|6:2"}), std::vector{170});
    EXPECT_EQ(b.read(INPFCR, {"1:AREA|6:1"}), std::vector{170});
    EXPECT_EQ(b.read(INPMFI, {"1:40|7:50"}), std::vector{180});
}

TEST_F(ElementLists, MessagesOfASelection) {
    const std::pair<Reader, bool> blocks[] = {{INPFCR, false}, {INPFQL, false}, {INPMTE, true},
                                              {INPMGR, false}, {INPTPX, true},  {INPMFX, true}};
    for (const auto& [block, marked] : blocks) {
        expect_messages(b, block, R"(
            1:AREA|6:1|51:M -> 104; 1:AREA|6:1|51:1 -> 104; 1:AREA|6:7 -> 811; 6:7 -> 701; 1:AREA|6:x -> 180
            1:AREA|6:2|51:E -> -900)");
        if (marked) expect_messages(b, block, "1:AREA|6:1|51:E|53:T -> 102; 1:AREA|6:1|53:X -> 160");
        EXPECT_EQ(b.last_without_end(block), 190);
    }
}

TEST_F(ElementLists, GeneratorsAndBuses) {
    EXPECT_EQ(b.read(INPFCR, {"1:AREA|6:1|12:A|14:AREA|19:2"}), NONE);
    EXPECT_EQ(b.names(s.fcr), "20 ") << "only generators under remote control";
    EXPECT_EQ(b.read(INPFCR, {"1:AREA|6:2", "1:AREA|6:1"}), (std::vector{-900, -900})) << "none, and listed already";

    // A machine that stands at a limit is freed; 70 keeps the voltage that its limits gave it.
    Store& w = b.run.store;
    w.bus.NTYPE(b.bus(60)) = -2;
    w.bus.VOLT(b.bus(60)) = 0.97;
    w.bus.VOLT(b.bus(70)) = 0.98;
    EXPECT_EQ(b.read(INPFQL, {"1:AREA|6:2"}), NONE);
    EXPECT_EQ(b.names(s.fql), "60 70 80 ");
    EXPECT_EQ(these(s.bus.NTYPE(b.bus(60)), s.bus.VOLT(b.bus(60)), s.bus.VOLT(b.bus(70))), these(2, 1.03, 0.98));
    EXPECT_EQ(b.read(INPFQL, {"1:BARR|6:60|51:E"}), NONE);
    EXPECT_EQ(b.names(s.fql), "80 70 ");

    EXPECT_EQ(b.read(INPMGR, {"1:BARR|6:30|12:A|14:BARR|19:70"}), NONE);
    EXPECT_EQ(b.names(s.mtg), "60 70 ");

    EXPECT_EQ(b.read(INPMTE, {"1:BARR|6:10|12:A|14:BARR|19:60|53:F"}), NONE);
    EXPECT_EQ(b.names(s.mtb), "30 40 50 ") << "those at the border";
    EXPECT_EQ(b.read(INPMTE, {"1:BARR|6:10|53:t", "1:BARR|6:30|51:E"}), NONE);
    EXPECT_EQ(b.names(s.mtb), "10 40 50 ");
}

TEST_F(ElementLists, BranchesOfASelection) {
    Store& w = b.run.store;
    const auto group = [&](int aggregator, int id, int l) {
        w.agr.count(aggregator) = 1;
        w.agr.NIDGAG(aggregator)(1) = id;
        w.branch.IAGRCIR(l)(aggregator) = 1;
    };
    group(3, 5, b.branch(30, 50, 1));
    struct Case {
        Reader block;
        const char *card, *taps, *flows;
    };
    const Case cases[] = {
        // all taps at buses of area 2; those between areas
        {INPTPX, "1:AREA|6:2", "40-50 30-50 60-70 ", ""},
        {INPTPX, "1:AREA|6:2|53:I", "30-50 ", ""},
        // a group that holds a branch and no bus
        {INPTPX, "1:BARR|6:70|25:E|27:AGR3|32:5", "30-50 60-70 ", ""},
        {INPTPX, "1:BARR|6:10", "", ""},
        // ties go with the area of the side that does not own them, here 40 and 50
        {INPMFX, "1:AREA|6:1", "", "10-30 10-30/2 20-30 "},
        {INPMFX, "1:AREA|6:2", "", "30-40 40-50 30-50 50-60 60-70 "},
        {INPMFX, "1:AREA|6:2|53:I", "", "30-40 30-50 "},
        {INPMFX, "1:AREA|6:1|53:I", "", ""},
        {INPMFX, "1:BARR|6:20|25:E|27:AGR3|32:5", "", "20-30 30-50 "},
    };
    for (const Case& c : cases) {
        w.tpf.n = w.mtl.n = 0;
        const bool none = !*c.taps && !*c.flows;
        EXPECT_EQ(b.read(c.block, {c.card}), none ? std::vector{-900} : NONE) << c.card << b.messages();
        EXPECT_EQ(b.names(s.tpf), c.taps) << c.card;
        EXPECT_EQ(b.names(s.mtl), c.flows) << c.card;
        if (none) continue;
        std::string removal = std::string(c.card).substr(0, std::string(c.card).find("|53:")) + "|51:E";
        EXPECT_EQ(b.read(c.block, {removal.c_str()}), NONE);
        EXPECT_EQ(s.tpf.n + s.mtl.n, 0) << removal;
    }
    w.branch.OWNER(b.branch(30, 40, 1)) = false;
    EXPECT_EQ(b.read(INPMFX, {"1:AREA|6:1|53:I"}), NONE);
    EXPECT_EQ(b.names(s.mtl), "30-40 ") << "bus 30 is now at the other side";
}

}  // namespace
}  // namespace korvane::testing
