// Data blocks read one by one, without code lines between them: what the tests of the readers share.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "network/network.hpp"
#include "support/fixture.hpp"

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

    int bus(int number) const { return bus_of(store(), number); }
    int branch(int from, int to, int circuit) const { return FNDLIN(run, bus(from), bus(to), circuit).branch; }
};

/// One card and the messages that it must have, in their order.
struct CardCase {
    const char* card;
    std::vector<int> messages;
};

/// Reads every card in a block of its own, so that each case tells for itself what went wrong.
inline void expect_messages(BlockBench& bench, void (*block)(Run&), const std::vector<CardCase>& cases) {
    for (const CardCase& c : cases)
        EXPECT_EQ(bench.read(block, {c.card}), c.messages) << c.card << "\n" << bench.messages();
}

}  // namespace korvane::testing
