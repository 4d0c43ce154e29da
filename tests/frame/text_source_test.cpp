#include <gtest/gtest.h>

#include <random>

#include "frame/units.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

using Lines = std::vector<std::string>;

Lines lines_of(std::string_view bytes) {
    const TempDir dir;
    dir.write("f", bytes);
    TextSource source;
    EXPECT_TRUE(source.open("f"));
    Lines lines;
    std::string_view line;
    while (source.next(line)) {
        lines.emplace_back(line);
        EXPECT_EQ(source.line_number(), int(lines.size()));
    }
    source.rewind();
    EXPECT_EQ(source.next(line), !lines.empty());
    if (!lines.empty()) {
        EXPECT_EQ(line, lines[0]);
        EXPECT_EQ(source.line_number(), 1);
    }
    return lines;
}

TEST(TextSource, LineEnds) {
    EXPECT_EQ(lines_of(""), Lines{});
    EXPECT_EQ(lines_of("\n"), Lines{""});
    EXPECT_EQ(lines_of("a\nb"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\nb\n"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\r\nb\r\n"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\rb\r"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\n\rb"), (Lines{"a", "", "b"}));
    EXPECT_EQ(lines_of("a\r\r\n\nb"), (Lines{"a", "", "", "b"}));
    EXPECT_EQ(lines_of(std::string(10000, 'x')), Lines{std::string(10000, 'x')});
}

TEST(TextSource, AnyMixtureOfLineEndsGivesTheLinesBack) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        std::mt19937 random(seed);
        Lines lines;
        std::string bytes;
        bool after_cr = false;
        for (int i = 0; i < 40; ++i) {
            std::string line(random() % 30, ' ');
            for (char& c : line) c = "abc \t\x1a"[random() % 6];
            const char* const ends[] = {"\n", "\r\n", "\r"};
            const char* end = ends[random() % 3];
            if (line.empty() && after_cr && end[0] == '\n') end = "\r\n";  // CR and then LF would be one end
            after_cr = std::string_view(end) == "\r";
            bytes += line + end;
            lines.push_back(line);
        }
        EXPECT_EQ(lines_of(bytes), lines) << "seed " << seed;
    }
}

TEST(TextSource, CharactersOfBothSets) {
    const struct {
        std::string_view bytes, latin1;
    } cases[] = {
        {"tens\xC3\xA3o", "tens\xE3o"},                        // UTF-8
        {"tens\xE3o", "tens\xE3o"},                            // Latin-1 already
        {"\xC3\xA3 \xE3", "\xC3\xA3 \xE3"},                    // not UTF-8 as a whole, so Latin-1 as a whole
        {"1 \xE2\x82\xAC, \xF0\x9F\x92\xA1", "1 \xBF, \xBF"},  // characters that Latin-1 does not have
        {"\xEF\xBB\xBFTITU", "TITU"},                          // byte-order mark
        {"\xC3", "\xC3"},                                      // cut short
        {"\xC0\xAF", "\xC0\xAF"},                              // overlong "/"
        {"\xED\xA0\x80", "\xED\xA0\x80"},                      // surrogate
        {"\xF4\x90\x80\x80", "\xF4\x90\x80\x80"},              // beyond the last character
        {std::string_view("a\0b\x01", 4), std::string_view("a\0b\x01", 4)},
    };
    for (const auto& c : cases) EXPECT_EQ(lines_of(c.bytes), Lines{std::string(c.latin1)}) << c.bytes;
}

TEST(TextSource, EveryByteSurvivesBothWays) {
    for (int b = 0; b < 256; ++b) {
        if (b == '\n' || b == '\r') continue;
        const std::string line{'a', char(b), 'z'};
        EXPECT_EQ(lines_of(line), Lines{line}) << b;
        EXPECT_EQ(latin1_from_utf8(utf8_from_latin1(line)), line) << b;
    }
}

TEST(TextSource, AFileThatIsNotThere) {
    const TempDir dir;
    TextSource source;
    std::string_view line;
    EXPECT_FALSE(source.open("missing"));
    EXPECT_FALSE(source.open("."));
    EXPECT_FALSE(source.next(line));
}

}  // namespace
}  // namespace korvane::testing
