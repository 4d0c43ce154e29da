// Lines of a text file held in memory, and the two character sets at the boundary of the program.
#include "frame/units.hpp"

namespace korvane {

namespace {

constexpr char UNKNOWN_CHARACTER = '\xBF';  // inverted question mark, which no name may hold

bool is_ascii(std::string_view s) {
    unsigned char high = 0;
    for (char c : s) high |= static_cast<unsigned char>(c);
    return high < 0x80;
}

/// Length of the UTF-8 sequence at the start of s and its character; 0 when it is none. Overlong forms, surrogates
/// and numbers beyond the last character are none, as in RFC 3629.
std::size_t decode(std::string_view s, unsigned& character) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(s[i])); };
    const unsigned first = byte(0);
    if (first < 0x80) {
        character = first;
        return 1;
    }
    const std::size_t n = first >> 5 == 6 ? 2 : first >> 4 == 14 ? 3 : first >> 3 == 30 ? 4 : 0;
    if (n == 0 || s.size() < n) return 0;
    character = first & (0xFFu >> (n + 1));
    for (std::size_t i = 1; i < n; ++i) {
        if (byte(i) >> 6 != 2) return 0;
        character = character << 6 | (byte(i) & 0x3Fu);
    }
    constexpr unsigned SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    return character < SMALLEST[n] || surrogate || character > 0x10FFFF ? 0 : n;
}

/// Latin-1 of a text in UTF-8; false when it is not UTF-8.
bool convert(std::string_view utf8, std::string& latin1) {
    latin1.clear();
    while (!utf8.empty()) {
        unsigned character;
        const std::size_t n = decode(utf8, character);
        if (n == 0) return false;
        latin1.push_back(character < 0x100 ? static_cast<char>(character) : UNKNOWN_CHARACTER);
        utf8.remove_prefix(n);
    }
    return true;
}

}  // namespace

std::string latin1_from_utf8(std::string_view utf8) {
    std::string latin1;
    if (is_ascii(utf8) || !convert(utf8, latin1)) return std::string(utf8);
    return latin1;
}

std::string utf8_from_latin1(std::string_view latin1) {
    std::string utf8;
    utf8.reserve(latin1.size() + 8);
    for (char c : latin1) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x80) {
            utf8.push_back(c);
        } else {
            utf8.push_back(static_cast<char>(0xC0 | u >> 6));
            utf8.push_back(static_cast<char>(0x80 | (u & 0x3F)));
        }
    }
    return utf8;
}

bool TextSource::open(const std::string& path) {
    auto bytes = read_file(path);
    if (!bytes) return false;
    name_ = path;
    bytes_ = std::move(*bytes);
    ascii_ = is_ascii(bytes_);
    start_ = bytes_.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
    rewind();
    return true;
}

void TextSource::rewind() {
    at_ = start_;
    number_ = 0;
    next_lf_ = next_cr_ = bytes_.size();
    if (at_ < bytes_.size()) {
        next_lf_ = std::min(bytes_.find('\n', at_), bytes_.size());
        next_cr_ = std::min(bytes_.find('\r', at_), bytes_.size());
    }
}

bool TextSource::next(std::string_view& line) {
    const std::size_t size = bytes_.size();
    if (at_ >= size) return false;
    // Each of the two marks is searched again only once it has been passed: linear whatever the line ends are.
    if (next_lf_ < at_) next_lf_ = std::min(bytes_.find('\n', at_), size);
    if (next_cr_ < at_) next_cr_ = std::min(bytes_.find('\r', at_), size);
    const std::size_t end = std::min(next_lf_, next_cr_);
    line = std::string_view(bytes_).substr(at_, end - at_);
    at_ = end + 1;
    if (end == next_cr_ && next_lf_ == end + 1 && end + 1 < size) ++at_;
    ++number_;
    if (!ascii_ && !is_ascii(line) && convert(line, converted_)) line = converted_;
    return true;
}

}  // namespace korvane
