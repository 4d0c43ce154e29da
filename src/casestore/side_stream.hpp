// The stream of the model file and of the flow interface file: vectors of words, half-words and texts in records of
// 789 words. In single precision, little-endian.
#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "casestore/records.hpp"

namespace korvane {

constexpr int SIDE_RECORD = 3156, SIDE_WORDS = SIDE_RECORD / 4;  // of a record: bytes, words

/// Collects a stream in memory. A vector of half-words or of text ends at a whole word.
class SideWriter {
public:
    void word(std::int32_t v) { words_.push_back(std::uint32_t(v)); }
    void real(double v);
    void half(int v);
    /// In so many columns, cut or filled up with blanks.
    void text(std::string_view v, int columns);
    /// The end of a vector of half-words or of text.
    void end();
    std::span<const std::uint32_t> words() const { return words_; }

private:
    std::vector<std::uint32_t> words_;
    std::string bytes_;  // of the present vector
};

/// Takes a stream apart. Beyond its end everything is 0, and short_of() tells.
class SideReader {
public:
    explicit SideReader(std::vector<std::uint32_t> words) : words_(std::move(words)) {}
    std::int32_t word() { return std::int32_t(next()); }
    /// 0 for what is no number.
    double real();
    int half();
    std::string text(int columns);
    void end();
    void skip(std::size_t words) { at_ += words; }
    bool short_of() const { return at_ > words_.size(); }

private:
    std::uint32_t next() { return at_ < words_.size() ? words_[at_++] : (++at_, 0); }
    char byte();

    std::vector<std::uint32_t> words_;
    std::size_t at_ = 0;
    int bytes_ = 0;  // used of the word at at_
};

}  // namespace korvane
