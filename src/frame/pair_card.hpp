// A card of name-and-value pairs side by side, as the blocks of options and of constants have it.
#pragma once
#include <cstring>
#include <vector>

#include "frame/card_block.hpp"

namespace korvane {

struct PairCard {
    int pairs;        // on a card
    int period;       // columns from one pair to the next; the name takes the first four
    int value_at;     // column of the value in its pair, from 1
    int value_width;  // its columns

    char* name(Card& card, int i) const { return card.at + (i - 1) * period; }
    char* value(Card& card, int i) const { return name(card, i) + value_at - 1; }

    /// The fields as texts, name and value by turns, for the echo.
    std::vector<card_detail::Slot> slots() const {
        std::vector<card_detail::Slot> s;
        for (int i = 0; i < pairs; ++i) {
            const int first = i * period + 1;
            s.push_back({first, 4, 0, card_detail::Kind::text, 0, 4, 1.0, 0.0, nullptr});
            s.push_back({first + value_at - 1, value_width, 0, card_detail::Kind::text, 0, 4, 1.0, 0.0, nullptr});
        }
        return s;
    }
};

constexpr PairCard DOPC_CARD{.pairs = 10, .period = 7, .value_at = 6, .value_width = 1};
constexpr PairCard DCTE_CARD{.pairs = 6, .period = 12, .value_at = 6, .value_width = 6};

/// Marks a field of the card as wrong: question marks in all its columns.
inline void mark_wrong(char* field, int width) { std::memset(field, '?', std::size_t(width)); }

/// Reads the pair cards of a block up to its end card: one_card(card) handles the upper-cased columns in CARD and
/// queues its messages, the echo follows. False when input ended before the end card.
template <class F>
bool each_pair_card(Run& run, const PairCard& layout, F&& one_card) {
    const std::vector<card_detail::Slot> slots = layout.slots();
    card_detail::Reader reader(run, {}, false, 0);
    while (reader.next()) {
        if (reader.end_card()) return true;
        UPPER(run.CARD.at, 132);
        one_card(run.CARD);
        if (run.opt["IMPR"_opt] || run.msg.any_wait())
            card_detail::echo(run, EchoRows{}, slots, OperationColumn{}, Operation::modify);
    }
    return false;
}

}  // namespace korvane
