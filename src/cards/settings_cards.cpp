// Default options, constants and the comment of the case in the deck.
#include "cards/pun.hpp"
#include "frame/constant_cards.hpp"
#include "frame/decimal.hpp"
#include "frame/pair_card.hpp"
#include "network/case_comment.hpp"

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

namespace {

/// Whether the constant is as after a reset, or as another one makes it, and its columns have no room for all its
/// digits, as may happen with powers under an odd base: without a card it reads back better.
bool better_left_out(const Constants& cte, const Constants& fresh, const ConstantRow& row) {
    constexpr double ROUNDING = 1e-12;
    const bool as_reset = row.real ? cte.*row.real == fresh.*row.real : row.whole && cte.*row.whole == fresh.*row.whole;
    // A tolerance that was given alone has set these.
    const bool follows = (row.real == &Constants::EXST && cte.EXST == 4 * cte.TEPA) ||
                         (row.real == &Constants::QLST && cte.QLST == 4 * cte.TEPR) ||
                         (row.real == &Constants::TPST && cte.TPST == 2 * cte.TEPR);
    if (!as_reset && !follows) return false;
    const double value = card_value(cte, row);
    char columns[16];
    PUTREAL(value, DCTE_CARD.value_width, columns);
    double shown = 0;
    const std::string_view text(columns, std::size_t(DCTE_CARD.value_width));
    return !get_real(text, 0, shown) || std::abs(shown - value) > ROUNDING * std::abs(value);
}

}  // namespace

// Constants that the list does not show go behind it when they are not as after a reset.
void PUNCTE(Run& run, const DeckScope&) {
    PairCards cards(run, "PUNCTE", DCTE_CARD);
    const auto put = [&](const ConstantRow& row) {
        PUTREAL(card_value(run.cte, row), DCTE_CARD.value_width, cards.next({row.name, 4}));
    };
    const auto shown = constants_in_card_order();
    Constants fresh{};
    fresh.reset();
    for (const ConstantRow* row : shown)
        if (!better_left_out(run.cte, fresh, *row)) put(*row);
    for (const ConstantRow& row : constant_table())
        if (std::find(shown.begin(), shown.end(), &row) == shown.end() &&
            card_value(run.cte, row) != card_value(fresh, row))
            put(row);
    cards.end();
}

void PUNCMT(Run& run, const DeckScope&) {
    const std::vector<std::string> lines = comment_lines(run.store);
    if (lines.empty()) return;
    DeckBlock block(run, "PUNCMT", 1, 0);
    for (const std::string& line : lines) block.line(line);
    block.end();
}

}  // namespace korvane
