#include "casestore/side_stream.hpp"

#include <bit>
#include <cmath>
#include <cstring>

namespace korvane {

void SideWriter::real(double v) { words_.push_back(std::bit_cast<std::uint32_t>(float(v))); }

void SideWriter::half(int v) {
    bytes_ += char(v & 0xFF);
    bytes_ += char(v >> 8 & 0xFF);
}

void SideWriter::text(std::string_view v, int columns) {
    std::string s(v.substr(0, std::size_t(columns)));
    s.resize(std::size_t(columns), ' ');
    bytes_ += s;
}

void SideWriter::end() {
    bytes_.resize((bytes_.size() + 3) / 4 * 4, '\0');
    const std::size_t first = words_.size();
    words_.resize(first + bytes_.size() / 4);
    if (!bytes_.empty()) std::memcpy(&words_[first], bytes_.data(), bytes_.size());
    bytes_.clear();
}

double SideReader::real() {
    const float v = std::bit_cast<float>(next());
    return std::isfinite(v) ? double(v) : 0;
}

char SideReader::byte() {
    char c = '\0';
    if (at_ < words_.size()) std::memcpy(&c, reinterpret_cast<const char*>(&words_[at_]) + bytes_, 1);
    if (++bytes_ == 4) bytes_ = 0, ++at_;
    return c;
}

int SideReader::half() {
    const auto low = static_cast<unsigned char>(byte()), high = static_cast<unsigned char>(byte());
    return std::int16_t(low | high << 8);
}

std::string SideReader::text(int columns) {
    std::string s;
    for (int i = 0; i < columns; ++i) s += byte();
    for (char& c : s)
        if (static_cast<unsigned char>(c) < 32) c = ' ';
    return s;
}

void SideReader::end() {
    if (bytes_ != 0) bytes_ = 0, ++at_;
}

}  // namespace korvane
