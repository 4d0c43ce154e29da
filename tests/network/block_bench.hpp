// Data blocks read one by one, without code lines between them: what the tests of the readers share.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "network/network.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/text_table.hpp"

namespace korvane::testing {

/// A card from fields "column:text", separated by "|": card_of("1:4|8:M|11:5") has 4 in column 1, M in 8 and 5 in 11.
inline std::string card_of(std::string_view fields) {
    std::string line;
    while (!fields.empty()) {
        const std::string_view field = fields.substr(0, fields.find('|'));
        fields.remove_prefix(std::min(field.size() + 1, fields.size()));
        const std::size_t colon = field.find(':'), column = std::stoul(std::string(field.substr(0, colon)));
        const std::string_view text = field.substr(colon + 1);
        line.resize(std::max(line.size(), column - 1 + text.size()), ' ');
        line.replace(column - 1, text.size(), text);
    }
    return line + '\n';
}

/// No message.
inline const std::vector<int> NONE;

/// A started program whose blocks a test reads in any order. Errors do not end it.
class BlockBench : public Session {
public:
    BlockBench() { start(); }

    /// Reads one block and returns the numbers of its messages; cards may be one text or a list of card_of() fields.
    std::vector<int> read(void (*block)(Run&), const std::string& cards) {
        feed(cards + "99999\n");
        run.msg.printed.clear();
        try {
            block(run);
        } catch (const RunStop&) {  // a batch run stops behind a block with errors
        }
        return numbers();
    }
    std::vector<int> read(void (*block)(Run&), std::initializer_list<std::string_view> cards) {
        std::string all;
        for (std::string_view c : cards) all += card_of(c);
        return read(block, all);
    }

    /// Reads a block without its end card, which ends in a stop, and returns the last message.
    int last_without_end(void (*block)(Run&), std::string_view card = "") {
        feed(card.empty() ? "" : card_of(card));
        run.msg.printed.clear();
        EXPECT_THROW(block(run), RunStop);
        return numbers().empty() ? 0 : numbers().back();
    }

    int bus(int number) const { return bus_of(store(), number); }
    /// The first of n rows that stands at a bus, 0 for none; with its number there when a table of these is given.
    template <class Buses>
    int row_at(int number, const Buses& of, int n) const {
        return row_at(
            number, 0, of, [](int) { return 0; }, n);
    }
    template <class Buses, class Numbers>
    int row_at(int number, int there, const Buses& of, const Numbers& is, int n) const {
        for (int i : rows(n))
            if (of(i) == bus(number) && is(i) == there) return i;
        return 0;
    }
    int branch(int from, int to, int circuit) const { return FNDLIN(run, bus(from), bus(to), circuit).branch; }
};

inline std::string text_of(const std::string& outcome) { return outcome; }
inline std::string text_of(const std::vector<int>& numbers) {
    std::string all;
    for (int number : numbers) all += (all.empty() ? "" : " ") + std::to_string(number);
    return all;
}

/// What f(card) gives, a text or numbers, against the outcome of each case "card -> outcome".
template <class F>
void expect_outcomes(std::string_view cases, F&& f) {
    for (const auto& [card, outcome] : cases_of(cases)) EXPECT_EQ(text_of(f(card)), outcome) << card;
}

/// Reads every card in a block of its own, so that each case tells for itself what went wrong. Its outcome is the
/// messages that it must have, in their order.
inline void expect_messages(BlockBench& bench, void (*block)(Run&), std::string_view cases) {
    expect_outcomes(cases, [&](const std::string& card) { return bench.read(block, {card}); });
}

}  // namespace korvane::testing
