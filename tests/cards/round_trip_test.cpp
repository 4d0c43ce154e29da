// The deck that CART writes reads to the same store, and is then written again byte for byte.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "support/fixture.hpp"
#include "support/random_deck.hpp"
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
    for (std::size_t f = 0; f < of_a.size(); ++f)
        if (of_a[f] != of_b[f])
            found += family_name(Family(f)) + " of " + std::to_string(of_a[f].size()) + " and " +
                     std::to_string(of_b[f].size()) + " rows; ";
    if (!found.empty()) found += differing_columns(a.store(), b.store());
    const Run &r = a.session.run, &q = b.session.run;
    if (r.opt.OPTDEF != q.opt.OPTDEF) found += "default options; ";
    for (const ConstantRow& row : constant_table()) {
        // What follows another constant in one deck stands on a card in the next.
        const double rounding = row.real ? 1e-12 * std::abs(r.cte.*row.real) : 0;
        if ((row.real && std::abs(r.cte.*row.real - q.cte.*row.real) > rounding) ||
            (row.whole && r.cte.*row.whole != q.cte.*row.whole))
            found += std::string("constant ") + row.name + "; ";
    }
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

class RandomDeck : public ::testing::TestWithParam<unsigned> {};

TEST_P(RandomDeck, ReadsBackToTheSameStore) { expect_round_trip(random_deck(GetParam())); }

TEST_P(RandomDeck, AsFreeLists) { expect_round_trip(random_deck(GetParam()), "FLIV"); }

/// What earlier blocks leave in a store and no card holds: whether a generator stands at a limit, the set point that a
/// bus had when a fixed tap was given it as its controlled bus, and groups of base voltage that no bus is in.
void forget_history(Store& s) {
    for (int k : rows(s.bus.NB)) s.bus.NTYPE(k) = std::abs(s.bus.NTYPE(k));
    for (int t : rows(s.tap.NTAP)) {
        const int type = s.branch.LTYPE(s.tap.NOTAP(t));
        if (type != 3 && type != 4) s.tap.VBUS(t) = s.tap.VBARRA(t) = 0;
    }
    // A step-up transformer takes the reactance of its units when its own is not within 1e-6 of it: the other digits of
    // its own stay. Between two buses with nothing else, the units of the higher generator row come last.
    const auto only_branch = [&](int k) { return s.adr.LINPTR(k + 1) - s.adr.LINPTR(k) == 1; };
    for (int l : rows(s.branch.NL))
        if (s.branch.GKM(l) == 0 && (only_branch(s.branch.NFROM(l)) || only_branch(s.branch.NTO(l))))
            s.branch.BKM(l) = 0;
    std::set<int> groups;
    for (int k : rows(s.bus.NB)) groups.insert(s.bus.NOGBT(k));
    close_up(s, s.gbt, [&](int g) { return groups.contains(g); });
}

// A store that elements were added to, changed and removed from is that of the survivors' deck.
TEST_P(RandomDeck, AfterDeletions) {
    Written first(random_deck(GetParam(), Settings::none) + random_deletions(GetParam()), "", "");
    EXPECT_EQ(stray_reference(first.store()), "");
    EXPECT_EQ(wrong_address(first.store()), "");
    Written second(first.deck, "", "");
    forget_history(first.store());
    forget_history(second.store());
    EXPECT_EQ(difference(first, second), "");
}

// Constants are none of a part of the network, so they are not in such a deck.
TEST_P(RandomDeck, OfAllAreas) { expect_round_trip(random_deck(GetParam(), Settings::none), "AREA", "  1  5 77300\n"); }

/// What stands at each bus in all, wherever it is: active and reactive load, shunts and banks; pu.
std::map<int, std::array<double, 3>> totals(const Store& s) {
    std::map<int, std::array<double, 3>> of;
    const auto at = [&](int k) -> std::array<double, 3>& { return of[s.bus.NOINT(k)]; };
    for (int k : rows(s.bus.NB)) at(k) = {s.bus.PLOAD(k), s.bus.QLOAD(k), 0};
    for (int i : rows(s.cai.NCAI)) {
        if (!s.cai.STCAR(i)) continue;
        at(s.cai.NOCAI(i))[0] += s.cai.PLOADI(i) * s.cai.NUNICOP(i);
        at(s.cai.NOCAI(i))[1] += s.cai.QLOADI(i) * s.cai.NUNICOP(i);
    }
    for (int n : rows(s.sht.NSHT)) at(s.sht.NOSHT(n))[2] += s.sht.SHUNT(n);
    for (int n : rows(s.shl.NSHL)) {
        const int l = s.shl.LISHL(n);
        if (s.shl.STSHLD(n)) at(s.branch.NFROM(l))[2] += s.shl.SHLFR(n);
        if (s.shl.STSHLP(n)) at(s.branch.NTO(l))[2] += s.shl.SHLTO(n);
    }
    for (int i : rows(s.bshl.NBSHL))
        if (s.bshl.STBSH(i)) at(s.bsh.NOBSH(s.bshl.IBUSH(i)))[2] += s.bshl.VALSH(i) * s.bshl.NUNISOP(i);
    return of;
}

// Loads and shunts become records of their own, so only the deck of such a store is written again as it was.
TEST_P(RandomDeck, AsIndividualRecords) {
    Written first(random_deck(GetParam()), "INDV", "");
    Written second(first.deck, "INDV", "");
    Written third(second.deck, "INDV", "");
    EXPECT_EQ(third.deck, second.deck);
    EXPECT_EQ(difference(second, third), "");
    const auto before = totals(first.store()), after = totals(second.store());
    ASSERT_EQ(before.size(), after.size());
    for (const auto& [number, of] : before)
        for (std::size_t i = 0; i < of.size(); ++i) EXPECT_NEAR(of[i], after.at(number)[i], 1e-9) << number << ' ' << i;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDeck, ::testing::Range(1u, 33u));

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
