// The card engine the other way round: a row of the store as a card, printed through the table of fields by which its
// block is read, so that reader and writer cannot drift.
#pragma once
#include "frame/card_block.hpp"

namespace korvane {

/// How a data block shows its rows: lays row k in run.CARD, columns without a field being blank.
using CardForm = std::function<void(Run&, int row)>;

/// How a block shows its rows as free lists (FLIV): appends row k to a text.
using ListForm = std::function<void(Run&, int row, std::string&)>;

/// How a number goes into a field with implied decimals.
enum class Implied : std::uint8_t {
    point,  // with its point, as any other number
    whole,  // without it, where that reads back as well: 1.045 in F4.3 is "1045"
};

namespace card_detail {

/// The part of CardPrinter that does not depend on the card's type.
class Printer {
public:
    Printer(std::vector<Slot> slots, std::size_t card_size, FieldSet kept, Implied implied);
    void show(char* columns, const void* card, FieldSet keep) const;
    void list(std::string& text, const void* card, FieldSet keep, int operation_column) const;

private:
    void put(const Slot& slot, const void* p, char* columns) const;

    std::vector<Slot> slots_;
    std::vector<std::string> blank_shows_;  // by slot, the columns that say what a blank says
    std::vector<char> blank_card_;          // the card struct of a blank card
    FieldSet has_default_, kept_;
    Implied implied_;
};

}  // namespace card_detail

/// Prints the card structs of one block. A field stays blank when the card holds what its blank stands for on a new
/// card (Rules::add; nothing, with zero_is_none), unless it is one of those to be kept: then it shows what it holds.
template <class C>
class CardPrinter {
public:
    using Member = decltype(Field<C>::into);

    /// Loads the rows of the reader: the decimals of the fields stand in its card format.
    CardPrinter(Run& run, std::string_view reader, std::span<const Field<C>> fields,
                std::initializer_list<Member> kept = {}, Implied implied = Implied::point,
                int card_format = EchoRows{}.card)
        : fields_(fields),
          printer_((LDFORM(run, reader), card_detail::slots_of(run, fields, card_format)), sizeof(C), of(kept),
                   implied) {}

    /// The fields with these members, for keep.
    card_detail::FieldSet of(std::initializer_list<Member> members) const {
        card_detail::FieldSet set = 0;
        for (std::size_t i = 0; i < fields_.size(); ++i)
            for (const Member& m : members)
                if (fields_[i].into == m) set |= card_detail::bit(i);
        return set;
    }
    /// Lays the card in run.CARD, all of it; fields of keep are kept besides.
    void show(Run& run, const C& card, card_detail::FieldSet keep = 0) const {
        run.CARD = std::string_view("");
        printer_.show(run.CARD.at, &card, keep);
    }
    /// Appends the card as a free list; the operation has an empty item where the reader expects it. Numbers have as
    /// many digits as it takes to read back the same.
    void list(std::string& text, const C& card, int operation_column, card_detail::FieldSet keep = 0) const {
        printer_.list(text, &card, keep, operation_column);
    }

private:
    std::span<const Field<C>> fields_;
    card_detail::Printer printer_;
};

/// The form of a block that shows its rows as card_of gives them.
template <class C>
CardForm card_form(Run& run, std::string_view reader, std::span<const Field<C>> fields, C (*card_of)(const Run&, int)) {
    return
        [printer = CardPrinter<C>(run, reader, fields), card_of](Run& r, int row) { printer.show(r, card_of(r, row)); };
}

}  // namespace korvane
