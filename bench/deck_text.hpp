// The text of a made deck: cards by their columns.
#pragma once
#include <initializer_list>
#include <string>
#include <string_view>

namespace korvane::bench {

/// A text that begins in a column.
struct At {
    int column;
    std::string text;
};

/// A number right-justified in the columns up to last.
inline At to(int last, long number) {
    std::string digits = std::to_string(number);
    return {last - int(digits.size()) + 1, digits};
}

class Deck {
public:
    void line(std::string_view text) { text_.append(text) += '\n'; }
    void card(std::initializer_list<At> fields) {
        std::string columns;
        for (const At& f : fields) {
            const auto first = std::size_t(f.column - 1);
            if (columns.size() < first + f.text.size()) columns.resize(first + f.text.size(), ' ');
            columns.replace(first, f.text.size(), f.text);
        }
        line(columns);
    }
    void end() { line("99999"); }
    std::string take() { return std::move(text_); }

private:
    std::string text_;
};

}  // namespace korvane::bench
