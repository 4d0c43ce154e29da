// The deck that CART writes reads to the same store, and is then written again byte for byte.
#include <gtest/gtest.h>

#include "support/fixture.hpp"
#include "support/reference.hpp"
#include "support/store_tools.hpp"

namespace korvane::testing {
namespace {

/// A run that reads a deck of blocks and writes it with the options of CART, its list of areas behind it.
struct Written {
    Session session;
    std::string deck;  // without FIM

    Written(const std::string& blocks, const std::string& options, const std::string& areas)
        : session(blocks + "CART " + options + "\n" + areas + "FIM\n", {.variables = {{"KVN$PUNCH", "cards.out"}}}),
          deck(session.dir.read("cards.out")) {
        EXPECT_EQ(session.status, 0) << session.messages() << "\n" << session.console();
        if (deck.ends_with("FIM\n")) deck.resize(deck.size() - 4);
    }
    Store& store() { return session.run.store; }
};

/// What differs between two stores, row order aside; nothing when they hold the same case.
std::string difference(Written& a, Written& b) {
    const auto of_a = contents(a.store()), of_b = contents(b.store());
    std::string found;
    for (int f = 0; f < FAMILIES; ++f)
        if (of_a[std::size_t(f)] != of_b[std::size_t(f)])
            found += family_name(Family(f)) + " of " + std::to_string(of_a[std::size_t(f)].size()) + " and " +
                     std::to_string(of_b[std::size_t(f)].size()) + " rows; ";
    const Run &r = a.session.run, &q = b.session.run;
    if (r.opt.OPTDEF != q.opt.OPTDEF) found += "default options; ";
    if (std::memcmp(&r.cte, &q.cte, sizeof r.cte) != 0) found += "constants; ";
    if (!(r.TITLE == q.TITLE)) found += "title; ";
    if (a.store().comment.length != b.store().comment.length) found += "comment; ";
    return found;
}

/// Writes the deck, reads what was written, and writes it again.
void expect_round_trip(const std::string& blocks, const std::string& options = "", const std::string& areas = "") {
    Written first(blocks, options, areas);
    Written second(first.deck, options, areas);
    EXPECT_EQ(second.deck, first.deck);
    EXPECT_EQ(difference(first, second), "") << first.deck;
}

TEST(RoundTrip, ReferenceNetworks) {
    for (const ReferenceCase& c : REFERENCE_CASES) {
        if (!reference_present(c.name) || std::string_view(c.name).size() > std::string_view("case_ieee30").size())
            continue;
        std::string deck = reference_deck(c.name, "");
        deck.resize(deck.rfind("FIM"));
        SCOPED_TRACE(c.name);
        expect_round_trip(deck);
    }
}

}  // namespace
}  // namespace korvane::testing
