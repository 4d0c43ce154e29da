// Default options, constants and the comment of the case in the deck.
#include "cards/pun.hpp"
#include "frame/constant_cards.hpp"
#include "frame/decimal.hpp"
#include "frame/pair_card.hpp"

namespace korvane {

namespace {

/// Pairs side by side, a full card at a time.
class PairCards {
public:
    PairCards(Run& run, std::string_view routine, const PairCard& layout)
        : run_(run), block_(run, routine), layout_(layout) {
        run_.CARD = std::string_view("");
    }
    /// The value of the next pair, once its name is there.
    char* next(std::string_view name) {
        if (pair_ == layout_.pairs) flush();
        ++pair_;
        std::memcpy(layout_.name(run_.CARD, pair_), name.data(), 4);
        return layout_.value(run_.CARD, pair_);
    }
    void end() {
        if (pair_ > 0) flush();
        block_.end();
    }

private:
    void flush() {
        block_.card();
        run_.CARD = std::string_view("");
        pair_ = 0;
    }
    Run& run_;
    DeckBlock block_;
    PairCard layout_;
    int pair_ = 0;
};

}  // namespace

// Options that are on, and those that are on after a reset and have been switched off.
void PUNOPT(Run& run, const DeckScope&) {
    Options fresh;
    fresh.reset();
    std::vector<int> said;
    for (int i = 2; i < OPTIONS; ++i)
        if (run.opt.OPTDEF[std::size_t(i)] || fresh.OPTDEF[std::size_t(i)]) said.push_back(i);
    if (said.empty()) return;
    PairCards cards(run, "PUNOPT", DOPC_CARD);
    for (int i : said) *cards.next(OPTION(i)) = run.opt.OPTDEF[std::size_t(i)] ? 'L' : 'D';
    cards.end();
}

// Constants that the list does not show go behind it when they are not as after a reset.
void PUNCTE(Run& run, const DeckScope&) {
    PairCards cards(run, "PUNCTE", DCTE_CARD);
    const auto put = [&](const ConstantRow& row) {
        PUTREAL(card_value(run.cte, row), DCTE_CARD.value_width, cards.next({row.name, 4}));
    };
    const auto shown = constants_in_card_order();
    for (const ConstantRow* row : shown) put(*row);
    Constants fresh{};
    fresh.reset();
    for (const ConstantRow& row : constant_table())
        if (std::find(shown.begin(), shown.end(), &row) == shown.end() &&
            card_value(run.cte, row) != card_value(fresh, row))
            put(row);
    cards.end();
}

void PUNCMT(Run& run, const DeckScope&) {
    constexpr int WIDTH = 80;
    const CaseComment& comment = run.store.comment;
    if (comment.length == 0) return;
    DeckBlock block(run, "PUNCMT", 1, 0);
    for (int at = 0; at < comment.length; at += WIDTH)
        block.line({comment.text.data() + at, std::size_t(std::min(WIDTH, comment.length - at))});
    block.end();
}

}  // namespace korvane
