// Pieces of decks: cards with texts in their columns, and blocks of cards.
#pragma once
#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane::testing {

/// A card with texts that begin in the given columns.
inline std::string card(std::initializer_list<std::pair<int, std::string_view>> fields) {
    std::string line;
    for (const auto& [column, text] : fields) {
        line.resize(std::max(line.size(), std::size_t(column - 1) + text.size()), ' ');
        line.replace(std::size_t(column - 1), text.size(), text);
    }
    return line;
}

/// A number right-justified in so many columns.
inline std::string right(long number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), ' ') + digits;
}

/// The code line, the cards and the end card.
inline std::string block(std::string_view code_line, const std::vector<std::string>& cards) {
    std::string text(code_line);
    text += '\n';
    for (const std::string& c : cards) text += c + '\n';
    return text + "99999\n";
}

}  // namespace korvane::testing
