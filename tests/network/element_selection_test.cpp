// The selection of buses and branches by the fields of a card, and the elements that messages name.
#include "network/element_selection.hpp"

#include "network/block_bench.hpp"
#include "network/branch_finder.hpp"

namespace korvane::testing {
namespace {

struct Picked : SelectionFields {};
constexpr auto PICKED = selection_fields<Picked>();

class ElementSelection : public ::testing::Test {
protected:
    BlockBench b;

    // Buses 10 to 60, positions in another order; two areas, three base voltages; group 7 of aggregator 2 holds buses
    // 10 and 40 and the branch 10-20, group 9 of aggregator 10 the branch 20-30 alone.
    ElementSelection() {
        EXPECT_EQ(b.read(INPBUS, {"1:40|9: A|74:2", "1:10|9: A|74:1", "1:20|9: B|74:1", "1:30|9: B|74:2",
                                  "1:60|9: C|74:9", "1:50|9: C|74:9"}),
                  NONE);
        EXPECT_EQ(b.read(INPGBT, {"1: A|4:69", "1: B|4:138", "1: C|4:138.4"}), NONE);
        EXPECT_EQ(b.read(INPLIN, {"1:10|11:20|27:1.", "1:20|11:30|27:1."}), NONE);
        Store& s = b.run.store;
        auto group = [&](int aggregator, int row, int id) {
            s.agr.count(aggregator) = row;
            s.agr.NIDGAG(aggregator)(row) = id;
        };
        group(2, 1, 5);
        group(2, 2, 7);
        group(10, 1, 9);
        s.bus.IAGRBAR(b.bus(10))(2) = s.bus.IAGRBAR(b.bus(40))(2) = 2;
        s.branch.IAGRCIR(b.branch(10, 20, 1))(2) = 2;
        s.branch.IAGRCIR(b.branch(20, 30, 1))(10) = 1;
    }

    // Reads one card as a block does. Selected buses by number, then branches as "from-to"; or the messages.
    std::string select(std::string_view card) {
        Selection selection;
        std::string found;
        const Block<Picked> block = {
            .routine = "INPCAR",
            .fields = PICKED,
            .operation = {.column = 51},
            .locate = [&](korvane::Run& r, Edit<Picked>& e) { SELCRT(r, e, selection); },
            .stored = [](korvane::Run&, const Edit<Picked>& e) { return e.card; },
            .check = [](korvane::Run&, Edit<Picked>&) {},
            .apply = [](korvane::Run&, Edit<Picked>&) {},
        };
        b.feed(card_of(card) + "99999\n");
        b.run.msg.printed.clear();
        try {
            read_block(b.run, block);
        } catch (const RunStop&) {
        }
        const Store& s = b.store();
        for (int k : selection.buses.in_order()) found += ' ' + std::to_string(s.bus.NOINT(k));
        for (int l : selection.branches.in_order())
            found += ' ' + std::to_string(s.bus.NOINT(s.branch.NFROM(l))) + '-' +
                     std::to_string(s.bus.NOINT(s.branch.NTO(l)));
        for (int number : b.numbers()) found += ' ' + std::to_string(number);
        return found.empty() ? found : found.substr(1);
    }
    void expect(std::string_view cases) {
        expect_outcomes(cases, [this](const std::string& card) { return select(card); });
    }
};

TEST_F(ElementSelection, WhatEachCriterionFinds) {
    expect(R"(
        1:BARR|6:30 -> 30; 1:BARR|6:30.4 -> 30  # rounded to a whole number
        1:barr|6:15|12:a|14:barr|19:45 -> 40 20 30  # in order of position
        1:BARR|6:1|12:A|14:BARR|19:99999 -> 40 10 20 30 60 50; 1:BARR|6:10|12:E|14:AREA|19:9 -> 10 60 50
        1:BARR|6:10|12:E|14:BARR|19:10 -> 10; 1:AREA|6:2 -> 40 30; 1:AREA|6:1|12:A|14:AREA|19:999 -> 40 10 20 30 60 50
        1:TENS|6:138 -> 20 30; 1:TENS|6:138.4 -> 60 50; 1:TENS|6:69|12:A|14:TENS|19:138 -> 40 10 20 30
        1:AGR2|6:7 -> 40 10 10-20; 1:AG02|6:5|12:A|14:AG02|19:7 -> 40 10 10-20; 1:AG10|6:9 -> 20-30)");
}

TEST_F(ElementSelection, TwoCriteria) {
    expect(R"(
        1:AREA|6:1|12:E|14:AREA|19:2|25:X|27:BARR|32:30 -> 40 10 20
        1:BARR|6:30|25:E|27:AREA|32:1|38:A|40:AREA|45:2 -> 40 10 20 30; 1:AREA|6:2|25:S|27:AGR2|32:7 -> 40
        1:AGR2|6:7|25:X|27:AGR2|32:7 ->  # nothing is left, and no message says so
        1:AREA|6:1|25:S|27:AREA|32:9 ->; 1:AGR2|6:7|25:S|27:AG10|32:9 ->
        1:AGR2|6:7|25:E|27:AG10|32:9 -> 40 10 10-20 20-30; 1:AGR2|6:7|25:X|27:AREA|32:1 -> 40 10-20)");
}

TEST_F(ElementSelection, EveryMessageAndNothingSelected) {
    expect(R"(
        52:x -> 701 703; 1:BAR|6:10 -> 702; 1:AGR0|6:10 -> 702; 1:AG11|6:10 -> 702; 1:BARR -> 703; 1:BARR|6:0 -> 704
        1:BARR|6:.4 -> 704; 1:BARR|6:-9E99 -> 704; 1:BARR|6:10|12:E|14:NOME|19:0 -> 705 706
        1:BARR|6:10|14:BARR -> 707; 1:BARR|6:10|19:20 -> 707; 1:BARR|6:10|12:X|14:BARR|19:20 -> 708
        1:BARR|6:10|12:A -> 709 710; 1:BARR|6:10|12:E|14:BARR -> 710
        1:BARR|6:10|25:E|27:NOME|32:0|38:E|40:X|45:-1 -> 711 712 713 714; 1:BARR|6:10|27:BARR|32:20 -> 715
        1:BARR|6:10|38:E -> 715; 1:BARR|6:10|45:20 -> 715; 1:BARR|6:10|25:A|27:BARR|32:20 -> 716
        1:BARR|6:10|25:S -> 717 718; 1:BARR|6:10|25:S|27:BARR|32:20|40:BARR -> 719
        1:BARR|6:10|25:S|27:BARR|32:20|38:S|40:BARR|45:20 -> 720; 1:BARR|6:10|25:S|27:BARR|32:20|38:E -> 721 722
        1:BARR|6:10|12:A|14:AREA|19:20 -> 723; 1:BARR|6:50|12:A|14:BARR|19:10 -> 724
        1:BARR|6:10|25:E|27:BARR|32:10|38:A|40:AREA|45:20 -> 725
        1:BARR|6:10|25:E|27:AREA|32:2|38:A|40:AREA|45:1 -> 726; 1:BARR|6:11 -> 801
        1:BARR|6:11|12:A|14:BARR|19:19 -> 802; 1:BARR|6:9E9 -> 801; 1:AREA|6:3 -> 811
        1:AREA|6:3|12:A|14:AREA|19:8 -> 812; 1:TENS|6:70 -> 821; 1:TENS|6:70|12:A|14:TENS|19:137 -> 822
        # the order is tested on whole numbers, and the range is taken as it is typed
        1:TENS|6:138.4|12:A|14:TENS|19:138.3 -> 822; 1:AGR2|6:5 -> 831 841; 1:AGR3|6:1|12:A|14:AGR3|19:9 -> 832 842
        # one part that finds nothing spoils the card
        1:BARR|6:10|12:E|14:BARR|19:11 -> 801; 1:BARR|6:10|25:X|27:AREA|32:3 -> 811)");
}

TEST_F(ElementSelection, ClearsWhatTheCardBeforeFound) {
    Selection selection;
    const std::array<bool, 4> one{true};
    auto select_bus = [](int number) {
        SelectionFields f = select_buses(std::span(&number, 1));
        f.keyword1 = "BARR";  // as a card has it once it is read
        return f;
    };
    SelectionFields all = select_bus(1), single = select_bus(30);
    all.link1 = 'A';
    all.keyword2 = "BARR";
    all.value2 = 99;
    EXPECT_TRUE(SELCRT(b.run, all, {true, true}, selection));
    EXPECT_EQ(selection.buses.members().size(), 6u);
    EXPECT_TRUE(SELCRT(b.run, single, one, selection));
    for (int k : rows(b.store().bus.NB)) EXPECT_EQ(selection.buses.has(k), k == b.bus(30));
    EXPECT_FALSE(SELCRT(b.run, select_bus(31), one, selection));
    EXPECT_TRUE(selection.buses.empty());
}

TEST_F(ElementSelection, BranchByCircuitAndType) {
    EXPECT_EQ(b.read(INPLIN, {"1:20|11:10|16:7|27:1.", "1:10|11:20|16:4|27:1.|39:1.", "1:10|11:20|16:3|27:1."}), NONE);
    auto find = [&](int circuit, int least, int greatest) {
        return FNDPAR(b.run, b.bus(10), b.bus(20), circuit, least, greatest);
    };
    EXPECT_EQ(these(find(7, 0, 4), find(0, 0, 4), find(0, 1, 4), find(7, 1, 4), find(1, 5, 5),
                    FNDPAR(b.run, b.bus(10), b.bus(30), 1, 0, 4)),
              these(b.branch(10, 20, 7), -b.branch(10, 20, 1), -b.branch(10, 20, 4), -b.branch(10, 20, 4), 0, 0));
}

// --- what messages say of the elements of a network

TEST(ElementNames, OfWhatIsThereAndOfWhatIsNot) {
    Session s;
    korvane::Run& run = s.start().run;
    Store& store = run.store;
    for (const int number : {30, 10}) {
        const int k = add_row(store.bus);
        store.bus.NOINT(k) = number;
        store.bus.BNAME(k) = number == 30 ? "SUL" : "NORTE";
        note_bus(store, k);
    }
    for (const int circuit : {1, 2}) {
        const int l = add_row(store.branch);
        store.branch.NFROM(l) = {2};
        store.branch.NTO(l) = {circuit == 1 ? 1 : 0};  // the second one has lost its end
        store.branch.NCIR(l) = circuit;
    }
    const struct {
        int element, type;
        const char* shown;
    } cases[] = {
        {1, element::bus, "30 SUL"},
        {3, element::bus, "3 ?"},
        {10, element::bus_number, "10 NORTE"},
        {20, element::bus_number, "20 ?"},
        {1, element::branch, "10 NORTE - 30 SUL circ 1"},
        {2, element::branch, "2 ?"},
        {99, element::branch, "99 ?"},
        {1, element::link, "1 ?"},
        {7, element::unit, "7"},
        {0, element::bus, ""},
    };
    for (const auto& c : cases) {
        MSGPUT(run, "KORVAN", 100, c.element, c.type);
        MSGOUT(run);
        EXPECT_EQ(run.msg.printed.back().identification, c.shown) << c.element << " of type " << c.type;
    }
}

}  // namespace
}  // namespace korvane::testing
