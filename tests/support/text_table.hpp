// Tables that tests hold in a text.
#pragma once
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane::testing {

inline std::string trimmed(const std::string& s) {
    const auto first = s.find_first_not_of(' ');
    return first == s.npos ? "" : s.substr(first, s.find_last_not_of(' ') - first + 1);
}

/// The entries of a text, which end at a ";" or with their line, trimmed; empty ones are no entries. "# " begins a
/// comment.
inline std::vector<std::string> entries_of(std::string_view text) {
    std::vector<std::string> all;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream entries(line.substr(0, line.find("# ")));
        for (std::string entry; std::getline(entries, entry, ';');)
            if (!trimmed(entry).empty()) all.push_back(trimmed(entry));
    }
    return all;
}

/// Entries of the form "case -> outcome".
inline std::vector<std::pair<std::string, std::string>> cases_of(std::string_view text) {
    std::vector<std::pair<std::string, std::string>> cases;
    for (const std::string& entry : entries_of(text)) {
        const auto arrow = entry.find("->");
        if (arrow == entry.npos) throw std::logic_error("no arrow in a case: " + entry);
        cases.emplace_back(trimmed(entry.substr(0, arrow)), trimmed(entry.substr(arrow + 2)));
    }
    return cases;
}

/// The words of each entry.
inline std::vector<std::vector<std::string>> table_of(std::string_view text) {
    std::vector<std::vector<std::string>> table;
    for (const std::string& row : entries_of(text)) {
        std::istringstream words(row);
        table.emplace_back();
        for (std::string word; words >> word;) table.back().push_back(word);
    }
    return table;
}

}  // namespace korvane::testing
