// The card engine the other way round: values into columns, and into the items of free lists.
#include "frame/card_writer.hpp"

#include <charconv>

#include "frame/decimal.hpp"

namespace korvane::card_detail {

namespace {

double value_at(const void* p) {
    double v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
int integer_at(const void* p) {
    int v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

bool is_zero(const Slot& slot, const void* p) {
    if (slot.kind == Kind::real) return value_at(p) == 0;
    return slot.kind == Kind::integer && integer_at(p) == 0;
}

/// The number without its point, if its columns have implied decimals and it reads back as well so.
void leave_point_out(const Slot& slot, const void* p, char* columns) {
    const double number = (value_at(p) - slot.shift) / slot.factor;
    const double scaled = number * std::pow(10.0, slot.decimals);
    if (!(std::abs(scaled) < 1e15)) return;
    char whole[32];
    const std::string_view width(columns, std::size_t(slot.width));
    put_integer(whole, slot.width, std::llround(scaled));
    double without = 0, with = 0;
    if (!get_real({whole, width.size()}, slot.decimals, without)) return;
    if (get_real(width, slot.decimals, with) && std::abs(with - number) < std::abs(without - number)) return;
    std::memcpy(columns, whole, width.size());
}

/// The number with the fewest digits that reads back to the value at p, or else comes as close to it as any does.
double number_for(const Slot& slot, double value) {
    const double number = (value - slot.shift) / slot.factor;
    double best = number, least = std::numeric_limits<double>::infinity();
    const auto exact = [&](double n) {
        const double off = std::abs(n * slot.factor + slot.shift - value);
        if (off < least) {
            least = off;
            best = n;
        }
        return off == 0;
    };
    for (int digits = 1; digits <= std::numeric_limits<double>::max_digits10; ++digits) {
        char text[40];
        const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::scientific, digits - 1).ptr;
        double n = 0;
        std::from_chars(text, end, n);
        if (exact(n)) return n;
    }
    // The way back rounds, so a number next to it may be the one.
    double below = number, above = number;
    for (int step = 1; step <= 2; ++step) {
        below = std::nextafter(below, -std::numeric_limits<double>::infinity());
        above = std::nextafter(above, std::numeric_limits<double>::infinity());
        if (exact(below) || exact(above)) break;
    }
    return best;
}

void append_number(std::string& text, double n) {
    char digits[64];
    const double size = std::abs(n);
    const bool plain = size == 0 || (size >= 1e-5 && size < 1e15);
    const auto end = plain ? std::to_chars(digits, digits + sizeof digits, n == 0 ? 0.0 : n, std::chars_format::fixed)
                           : std::to_chars(digits, digits + sizeof digits, n, std::chars_format::scientific);
    text.append(digits, end.ptr);
}

/// A text as an item of a list: in double quotes where the list would take part of it for something else.
void append_text(std::string& text, std::string_view item, bool right) {
    while (right && !item.empty() && item.front() == ' ') item.remove_prefix(1);
    while (!item.empty() && (item.back() == ' ' || item.back() == '\0')) item.remove_suffix(1);
    const bool quotes = item.find_first_of(",;\"") != item.npos || (!item.empty() && item.front() == ' ');
    if (quotes) text += '"';
    for (char c : item) text.append(c == '"' ? 2 : 1, c);
    if (quotes) text += '"';
}

void append_item(std::string& text, const Slot& slot, const void* p) {
    switch (slot.kind) {
        case Kind::real:
            // Where a zero and a blank differ, a tiny number says that zero is meant.
            if (slot.rules->tiny_is_zero && value_at(p) == 0)
                text += "0.0001";
            else
                append_number(text, number_for(slot, value_at(p)));
            return;
        case Kind::integer: {
            char digits[16];
            text.append(digits, std::to_chars(digits, digits + sizeof digits, integer_at(p)).ptr);
            return;
        }
        case Kind::letter:
        case Kind::text:
            append_text(text, {static_cast<const char*>(p), std::min(slot.size, std::size_t(slot.width))},
                        slot.rules->right);
    }
}

}  // namespace

Printer::Printer(std::vector<Slot> slots, std::size_t card_size, FieldSet kept, Implied implied)
    : slots_(std::move(slots)),
      blank_shows_(slots_.size()),
      blank_card_(card_size),
      has_default_(0),
      kept_(kept),
      implied_(implied) {
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Slot& slot = slots_[i];
        char* const p = blank_card_.data() + slot.offset;
        if (!slot.rules->add || !decode(slot, slot.rules->add, p)) continue;
        has_default_ |= bit(i);
        blank_shows_[i].resize(std::size_t(slot.width), ' ');
        put(slot, p, blank_shows_[i].data());
    }
}

void Printer::put(const Slot& slot, const void* p, char* columns) const {
    encode(slot, p, columns);
    if (implied_ == Implied::whole && slot.kind == Kind::real && slot.decimals > 0) leave_point_out(slot, p, columns);
}

void Printer::show(char* columns, const void* card, FieldSet keep) const {
    keep |= kept_;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Slot& slot = slots_[i];
        const char* const p = static_cast<const char*>(card) + slot.offset;
        char* const at = columns + slot.first - 1;
        const auto width = std::size_t(slot.width);
        put(slot, p, at);
        if (keep & bit(i)) continue;
        const bool none = slot.rules->zero_is_none && is_zero(slot, p);
        // Compared as shown: what would read back as the default is the default.
        if (none || (has_default_ & bit(i) && std::string_view(at, width) == blank_shows_[i]))
            std::memset(at, ' ', width);
    }
}

void Printer::list(std::string& text, const void* card, FieldSet keep, int operation_column) const {
    keep |= kept_;
    std::size_t end = text.size();  // behind the last item that is not blank
    bool operation_due = operation_column > 0;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Slot& slot = slots_[i];
        const char *const p = static_cast<const char*>(card) + slot.offset, *const blank =
                                                                                blank_card_.data() + slot.offset;
        if (i > 0) text += ',';
        if (operation_due && slot.first > operation_column) {
            operation_due = false;
            text += ',';
        }
        const bool same =
            slot.kind == Kind::real ? value_at(p) == value_at(blank) : std::memcmp(p, blank, slot.size) == 0;
        const bool none = slot.rules->zero_is_none && is_zero(slot, p);
        if (!(keep & bit(i)) && (none || (has_default_ & bit(i) && same))) continue;
        append_item(text, slot, p);
        if (text.back() != ',') end = text.size();
    }
    text.resize(end);
}

}  // namespace korvane::card_detail
