// What the exported tables share. Included by the export only.
#pragma once
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host.hpp"
#include "powerflow/powerflow.hpp"

namespace korvane {

inline std::string_view trimmed(std::string_view s) {
    const auto end = s.find_last_not_of(' ');
    return end == std::string_view::npos ? std::string_view{} : s.substr(0, end + 1);
}

/// A table of comma-separated values being written, UTF-8, lines ending in LF.
class Csv {
public:
    explicit Csv(std::string_view heading) { text_.append(heading).append("\n"); }

    Csv& operator<<(int v) { return number(v); }
    /// The shortest digits that read back as the same number.
    Csv& operator<<(double v) { return number(v == 0.0 ? 0.0 : v); }
    /// An empty field when there is no value.
    template <class T>
    Csv& operator<<(std::optional<T> v) {
        return v ? *this << *v : *this << std::nullopt;
    }
    Csv& operator<<(std::nullopt_t) {
        separate();
        return *this;
    }
    /// Latin-1 text, in quotes where it needs them.
    Csv& operator<<(std::string_view latin1) {
        separate();
        const std::string s = utf8_from_latin1(latin1);
        if (s.find_first_of(",\"\r\n") == std::string::npos) {
            text_ += s;
            return *this;
        }
        text_ += '"';
        for (char c : s) text_.append(c == '"' ? 2 : 1, c);
        text_ += '"';
        return *this;
    }
    void end_row() {
        text_ += '\n';
        first_ = true;
    }
    std::string take() { return std::move(text_); }

private:
    void separate() {
        if (!first_) text_ += ',';
        first_ = false;
    }
    template <class T>
    Csv& number(T v) {
        separate();
        char digits[32];
        text_.append(digits, std::to_chars(digits, digits + sizeof digits, v).ptr);
        return *this;
    }
    std::string text_;
    bool first_ = true;
};

/// Flow of a branch in the model of the last solution, pu; 0 where a bus out of service keeps it dead.
BranchFlow live_flow(const Run& run, int l);

}  // namespace korvane
