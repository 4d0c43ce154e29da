// What messages say of the elements of a network.
#include <gtest/gtest.h>

#include "frame/messages.hpp"
#include "network/network.hpp"
#include "support/fixture.hpp"

namespace korvane {
namespace {

TEST(ElementNames, OfWhatIsThereAndOfWhatIsNot) {
    testing::Session s;
    auto& run = s.start().run;
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
}  // namespace korvane
