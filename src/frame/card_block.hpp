// The one engine that reads data blocks. A block is a card described as data, plus the few rules that are its own:
// where a card's row is, what the row holds now, what must be true of it, and how it goes to the store.
//
// The engine owns what all blocks share: comments and the end card, justification and decoding, blanks filled from
// the store or from defaults, the echo of what was used, pages, and messages under the card that caused them.
#pragma once
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "frame/card_text.hpp"
#include "frame/run.hpp"

namespace korvane {

enum class Operation : int { add = 1, remove = 2, modify = 3, failed = 4 };

enum class Letters : std::uint8_t { as_typed, upper };

/// How a number on the card becomes the value in the program.
enum class Scale : std::uint8_t {
    none,
    power,          // MW, Mvar, MVA to per unit of BASE
    percent,        // per cent to a fraction
    percent_above,  // per cent above 1 to a factor: v/100 + 1
    degrees,        // degrees to radians
};

/// What else the engine has to know of a field.
struct Rules {
    const char* add = nullptr;  // blank on an add card: as if this had been typed; nothing: stays blank
    Scale unit = Scale::none;
    Letters letters = Letters::as_typed;
    bool right = false;         // a text that is right-justified in its columns
    bool key = false;           // names the element: a delete card may have it
    bool tiny_is_zero = false;  // in a free list 0.0001 stands for an explicit zero
    bool zero_is_none = false;  // a stored 0 means that the element has no such thing: its columns stay blank
    int part = 0;               // entry of an array, from 1
};

constexpr int MXPART = 10;
using Parts = std::array<int, MXPART>;

/// Columns of a card and where their value goes.
template <class C>
struct Field {
    int first, last;
    std::variant<int C::*, double C::*, char C::*, Text<2> C::*, Text<4> C::*, Text<12> C::*, Text<20> C::*,
                 Text<36> C::*, Text<46> C::*, Parts C::*>
        into;
    Rules rules{};
};

/// Columns rise, do not overlap, and end by 132.
template <class C, std::size_t N>
consteval bool well_formed(const Field<C> (&fields)[N]) {
    int at = 0;
    for (const Field<C>& f : fields) {
        if (f.first <= at || f.last < f.first || f.last > 132) return false;
        at = f.last;
    }
    return true;
}

namespace card_detail {

enum class Kind : std::uint8_t { integer, real, letter, text };

/// A field as the engine works with it: columns, kind, place in the card struct.
struct Slot {
    int first, width, decimals;
    Kind kind;
    std::size_t offset, size;
    double factor, shift;  // value = number * factor + shift
    const Rules* rules;
};

/// Decodes columns into the value at p: a number in internal units, or a text. A blank number is 0. False when it is
/// no number.
bool decode(const Slot& slot, std::string_view columns, void* p);
/// Writes the value at p into the columns of the card, in the form that reads back closest to it.
void encode(const Slot& slot, const void* p, char* columns);
/// What a number on the card is multiplied by.
double factor_of(const Run& run, Scale s);

/// Fields of a block, one bit for each by its place in the table.
using FieldSet = std::uint64_t;
constexpr FieldSet bit(std::size_t i) { return FieldSet(1) << i; }

/// The part of the engine that does not depend on the card's type.
class Reader {
public:
    Reader(Run& run, std::span<const Slot> slots, bool list, int operation_column);

    /// The next card that is neither comment nor blank into CARD. False at the end of input.
    bool next();
    bool end_card() const { return run_.CARD.view().substr(0, 5) == "99999"; }
    /// The card begins with the word, in capitals or not.
    bool begins_with(std::string_view word) const;
    /// Reads every field of CARD, or of the free list, into the card struct; false when one does not hold what its
    /// columns want.
    bool decode_card(void* card) { return list_ ? spread(card) : decode_columns(card); }
    /// Fields of the set that are blank on the card take their value from another card struct.
    void fill(void* card, const void* from, FieldSet which);
    /// Right-justifies numbers and shows every filled or changed value in CARD.
    void show(const void* card);

    FieldSet given = 0;    // something is typed
    FieldSet changed = 0;  // filled or changed by the program

private:
    bool decode_columns(void* card);
    bool spread(void* card);
    bool take_item(const Slot& slot, std::string_view item, void* card);
    char* columns(const Slot& slot) const { return run_.CARD.at + slot.first - 1; }

    Run& run_;
    std::span<const Slot> slots_;
    bool list_;
    int operation_column_;
    std::size_t width_;  // columns that the raw format reads
    std::string line_;   // of a free list
};

/// Places of fields in the card struct, for given() in constant time.
struct Places {
    std::vector<std::int8_t> at;
};

}  // namespace card_detail

/// A card being read: its values, its operation, the row it is about.
template <class C>
class Edit {
public:
    C card{};    // values as they will be used, in internal units
    C stored{};  // values of the row in the store, on a modify card
    Operation op = Operation::add;
    int row = 0;  // row of the element, 0: none found; on an add card the row it will take

    bool adds() const { return op == Operation::add; }
    bool removes() const { return op == Operation::remove; }
    bool modifies() const { return op == Operation::modify; }

    /// Whether something was typed in the field.
    template <class T>
    bool given(T C::*member, int part = 1) const {
        return reader_->given >> place(&(card.*member), std::size_t(part - 1) * sizeof(int)) & 1u;
    }
    /// Changes a value; the echo shows it.
    template <class T>
    void amend(T C::*member, const std::type_identity_t<T>& value) {
        card.*member = value;
        reader_->changed |= card_detail::bit(std::size_t(place(&(card.*member), 0)));
    }
    /// The same for one entry of an array, from 1.
    void amend(Parts C::*member, int part, int value) {
        int& entry = (card.*member)[std::size_t(part - 1)];
        entry = value;
        reader_->changed |= card_detail::bit(std::size_t(place(&entry, 0)));
    }
    /// Takes a value only if the columns are blank; the echo shows it.
    template <class T>
    void supply(T C::*member, const std::type_identity_t<T>& value) {
        if (!given(member)) amend(member, value);
    }

    card_detail::Reader* reader_ = nullptr;
    const card_detail::Places* places_ = nullptr;

private:
    int place(const void* p, std::size_t extra) const {
        const auto offset = std::size_t(static_cast<const char*>(p) - reinterpret_cast<const char*>(&card)) + extra;
        const int at = places_->at[offset];
        assert(at >= 0 && "the field is not in the table of the block");
        return at;
    }
};

/// Where the operation stands, which letters it takes besides 0, 1, 2, and the message of any other digit; another
/// letter is a format error. With letters_only there are no digits, and everything else has that message.
struct OperationColumn {
    int column = 0;                    // 0: the block only changes rows
    std::string_view letters = "A  ";  // letters for add, delete, modify; blank: none
    int refusal = 0;
    int extra_on_delete = 0;               // message of a delete card with more than its key
    int words = 12;                        // rows of FMTROT with the four words of the echo
    bool letters_only = false;             // digits are no operations
    Operation always = Operation::modify;  // what the cards of a block without the column do
};

/// Rows of FMTROT of one kind of card: heading and echo in 132 and in 80 columns, the guide shown at the console after
/// a card that cannot be read, and the card format.
struct EchoRows {
    int heading132 = 3, heading132_last = 5, echo132 = 6;
    int heading80 = 7, heading80_last = 9, echo80 = 10;
    int guide = 11;
    int card = 2;
};

template <class C>
struct Block {
    std::string_view routine;
    std::span<const Field<C>> fields;
    OperationColumn operation{};
    int format_error = 0, end_error = 0;
    /// Finds the row; refuses cards whose element is missing, or exists already.
    std::function<void(Run&, Edit<C>&)> locate = {};
    /// The row as a card: the inverse of apply. A block that changes no rows has none.
    std::function<C(Run&, const Edit<C>&)> stored = {};
    /// The rules, in the order of their messages, where locate does not test them all.
    std::function<void(Run&, Edit<C>&)> check = {};
    /// The only writer; runs on a clean card.
    std::function<void(Run&, Edit<C>&)> apply = {};
    /// Steps of the end card, before INTERR and the pause.
    std::function<void(Run&)> finish = {};
    EchoRows rows{};
    bool free_list = false;           // cards are lists (FLIV)
    int commas_from = 0;              // commas from this column on are points; 0: they stay
    std::string_view last_card = {};  // in a block of two kinds of cards: what ends a list of this kind, as 99999 does
};

namespace card_detail {

/// First steps of a block, and the steps after a card and at the end.
void open_block(Run& run, std::string_view routine);
void close_block(Run& run);
/// What stands in the operation column: an operation, a digit that is none, or no digit at all.
enum class OperationFault { none, digit, letter };
OperationFault read_operation(const Run& run, const OperationColumn& column, Operation& op);
/// Prints the card with its messages when it has any, or with IMPR.
void echo(Run& run, const EchoRows& rows, std::span<const Slot> slots, const OperationColumn& column, Operation op);

/// The slots of a card: its fields with the decimals of the card format, row 2 of FMTROT.
template <class C>
std::vector<Slot> slots_of(Run& run, std::span<const Field<C>> fields, int card_format = EchoRows{}.card) {
    const std::vector<FormatRow::Field> format = run.fmt.rot(card_format).fields();
    std::vector<Slot> slots;
    const C sample{};
    for (const Field<C>& f : fields) {
        Slot s{f.first, f.last - f.first + 1, 0, Kind::text, 0, 0, 1.0, 0.0, &f.rules};
        std::visit(
            [&](auto member) {
                using T = std::remove_cvref_t<decltype(sample.*member)>;
                s.offset = std::size_t(reinterpret_cast<const char*>(&(sample.*member)) -
                                       reinterpret_cast<const char*>(&sample));
                s.size = sizeof(T);
                if constexpr (std::is_same_v<T, int>) s.kind = Kind::integer;
                if constexpr (std::is_same_v<T, double>) s.kind = Kind::real;
                if constexpr (std::is_same_v<T, char>) s.kind = Kind::letter;
                if constexpr (std::is_same_v<T, Parts>) {
                    s.kind = Kind::integer;
                    s.size = sizeof(int);
                    s.offset += std::size_t(f.rules.part - 1) * sizeof(int);
                }
            },
            f.into);
        const auto described = std::find_if(format.begin(), format.end(), [&](const FormatRow::Field& g) {
            return g.column == s.first && g.width == s.width;
        });
        assert(described != format.end() &&
               "a field of the block has no descriptor over its columns in the card format");
        if (described != format.end()) s.decimals = described->decimals;
        s.factor = factor_of(run, f.rules.unit);
        s.shift = f.rules.unit == Scale::percent_above ? 1.0 : 0.0;
        slots.push_back(s);
    }
    return slots;
}

}  // namespace card_detail

/// What ended a list of cards.
enum class Ended { no, last_card, end_card, input };

/// The cards of one kind while their block is open. A block of two kinds has one of these for each and takes turns.
template <class C>
class CardList {
    static_assert(std::is_trivially_copyable_v<C>);

public:
    /// The block stays with the caller, and must be open.
    CardList(Run& run, const Block<C>& block);
    CardList(const CardList&) = delete;

    /// Reads the next card and does all that is due with it; or tells what stood in its place.
    Ended next();
    /// The card that next() read last.
    const Edit<C>& card() const { return e_; }
    /// It went to the store.
    bool applied() const { return applied_; }

private:
    void take_card(bool decoded, card_detail::OperationFault fault);
    void work_off();

    Run& run_;
    const Block<C>& block_;
    std::vector<card_detail::Slot> slots_;
    card_detail::Places places_{std::vector<std::int8_t>(sizeof(C), -1)};
    card_detail::Reader reader_;
    C defaults_{};
    card_detail::FieldSet has_default_ = 0, is_key_ = 0, all_ = 0;
    Edit<C> e_;
    bool applied_ = false;
};

template <class C>
CardList<C>::CardList(Run& run, const Block<C>& block)
    : run_(run),
      block_(block),
      slots_(card_detail::slots_of(run, block.fields, block.rows.card)),
      reader_(run, slots_, block.free_list, block.operation.column) {
    using card_detail::bit;
    assert(slots_.size() <= 64);
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        places_.at[slots_[i].offset] = std::int8_t(i);
        all_ |= bit(i);
        if (slots_[i].rules->key) is_key_ |= bit(i);
        if (const char* text = slots_[i].rules->add) {
            has_default_ |= bit(i);
            decode(slots_[i], text, reinterpret_cast<char*>(&defaults_) + slots_[i].offset);
        }
    }
    e_.reader_ = &reader_;
    e_.places_ = &places_;
}

template <class C>
Ended CardList<C>::next() {
    using namespace card_detail;
    if (!reader_.next()) {
        refuse(run_, true, block_.end_error);
        return Ended::input;
    }
    if (reader_.end_card()) return Ended::end_card;
    if (!block_.last_card.empty() && reader_.begins_with(block_.last_card)) return Ended::last_card;
    e_.card = C{};
    e_.row = 0;
    e_.op = block_.operation.always;
    applied_ = false;
    if (block_.commas_from && !block_.free_list) DECPNT(run_.CARD.at, 132, block_.commas_from);
    const bool decoded = reader_.decode_card(&e_.card);
    take_card(decoded, read_operation(run_, block_.operation, e_.op));
    if (run_.opt["IMPR"_opt] || run_.msg.any_wait()) {
        reader_.show(&e_.card);
        echo(run_, block_.rows, slots_, block_.operation, e_.op);
    }
    return Ended::no;
}

template <class C>
void CardList<C>::take_card(bool decoded, card_detail::OperationFault fault) {
    using card_detail::OperationFault;
    if (!decoded || fault == OperationFault::letter) {
        e_.op = Operation::failed;
        refuse(run_, true, block_.format_error);
        if (run_.units.interactive()) print_rot(run_, block_.rows.guide, {});
    } else if (fault == OperationFault::digit) {
        refuse(run_, true, block_.operation.refusal);
    } else {
        work_off();
    }
}

template <class C>
void CardList<C>::work_off() {
    block_.locate(run_, e_);
    if (e_.removes() && !run_.msg.errors_wait())
        refuse(run_, (reader_.given & ~is_key_) != 0, block_.operation.extra_on_delete);
    if (run_.msg.errors_wait()) return;
    if (e_.adds()) {
        reader_.fill(&e_.card, &defaults_, has_default_);
    } else if (block_.stored) {
        e_.stored = block_.stored(run_, e_);
        if (e_.modifies()) reader_.fill(&e_.card, &e_.stored, all_);
    }
    if (block_.check) block_.check(run_, e_);
    if (run_.msg.errors_wait()) return;
    block_.apply(run_, e_);
    applied_ = true;
}

/// Reads a data block from the current input up to its end card.
template <class C>
void read_block(Run& run, const Block<C>& block) {
    card_detail::open_block(run, block.routine);
    CardList<C> cards(run, block);
    while (cards.next() == Ended::no) {
    }
    if (block.finish) block.finish(run);
    card_detail::close_block(run);
}

}  // namespace korvane
