// Lines to units, and the units at the start.
#include <gtest/gtest.h>

#include <random>

#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

TEST(Units, CarriageControl) {
    Session s;
    s.start();
    s.os.output.clear();
    const char* const lines[] = {" plain", "0after an empty line", "1new page", "", "xodd control"};
    for (const char* line : lines) {
        write_line(s.run, unit::console_out, line);
        write_line(s.run, role::print, line);
    }
    write_line(s.run, unit::console_out, "$prompt: ");
    write_line(s.run, unit::null, " lost");
    EXPECT_EQ(s.console(), "plain\n\nafter an empty line\n\nnew page\n\nodd control\nprompt: ");
    EXPECT_EQ(s.print(), "plain\n\nafter an empty line\n\fnew page\n\nodd control\n");
}

TEST(Units, ControlCharactersDisturbNoColumn) {
    Session s;
    s.start();
    s.os.output.clear();
    std::string all(" ");
    for (int b = 0; b < 256; ++b) all.push_back(char(b));
    write_line(s.run, unit::console_out, all);
    const std::string latin1 = latin1_from_utf8(s.console());
    ASSERT_EQ(latin1.size(), 257u);  // one column a byte, and one line end
    for (int b = 0; b < 256; ++b) {
        const bool control = b < 32 || (b >= 127 && b < 160);
        EXPECT_EQ(latin1[std::size_t(b)], control ? '.' : char(b)) << b;
    }
}

TEST(Units, CardsKeepColumnOneAtTheConsoleToo) {
    Session s;
    s.start();
    s.os.output.clear();
    s.run.units.LUN[role::cards] = unit::console_out;
    write_card(s.run, "10001 CARD");
    EXPECT_EQ(s.console(), "10001 CARD\n");
}

TEST(Units, TheEnvironmentNamesFiles) {
    const struct {
        const char* variable;
        const char* value;
        int role;
        int lun;
        const char* name;
        bool told = false;  // that the file could not be opened
    } cases[] = {
        {"KVN$DADOS", "deck.dat", role::input, 1, "deck.dat"},
        {"KVN$DADOS", "DECK.DAT", role::input, 1, "deck.dat"},
        {"KVN$DADOS", "  deck.dat ", role::input, 1, "deck.dat"},
        {"KVN$DADOS", "missing", role::input, unit::console_in, "CON", true},
        {"KVN$DADOS", "nul", role::input, unit::console_in, "CON"},
        {"KVN$DADOS", "Con", role::input, unit::console_in, "CON"},
        {"KVN$SAVCA", "old.sav", role::cases, 2, "old.sav"},
        {"KVN$SAVCA", "missing", role::cases, 2, "SAVECASE.DAT", true},  // the default, as SAVECASE.SAV is not there
        {"KVN$SAVCA", "NUL", role::cases, unit::null, "NUL"},
        {"KVN$TEMPO", "deck.dat", role::log_copy, unit::null, "NUL", true},  // the deck itself is no place for a log
        {"KVN$TEMPO", "new.log", role::log_copy, 3, "new.log"},
        {"KVN$TEMPO", "con", role::log_copy, unit::console_out, "CON"},
        {"KVN$PRINT", "No/Folder", role::print, unit::console_out, "CON", true},
        {"KVN$PRINT", "Rel.out", role::print, 4, "Rel.out"},
        {"KVN$PUNCH", "cards.out", role::cards, 7, "cards.out"},
        {"KVN$PWMOD", "missing", role::model, 8, "POWERMOD.DAT", true},
        {"KVN$FWINT", "missing", role::flow, unit::null, "NUL", true},
        {"KVN$FWINT", "old.sav", role::flow, 9, "old.sav"},
    };
    for (const auto& c : cases) {
        SessionOptions options{.print_file = false, .variables = {{"KVN$DADOS", "deck.dat"}}};
        options.variables[c.variable] = c.value;
        options.prepare = [](const testing::TempDir& dir, testing::FakePlatform&) {
            dir.write("deck.dat", "FIM\n");
            dir.write("old.sav", "");
            dir.write("SAVECASE.DAT", "");
            dir.write("POWERMOD.DAT", "");
        };
        Session s(options);
        s.start();
        const auto r = std::size_t(c.role);
        EXPECT_EQ(s.run.units.LUN[r], c.lun) << c.variable << ' ' << c.value;
        EXPECT_EQ(s.run.units.name[r], c.name) << c.variable << ' ' << c.value;
        EXPECT_EQ(s.run.units.CONINP, s.run.units.LUN[role::input] == unit::console_in);
        const bool told = s.console().find(std::string("*** ") + c.variable) != std::string::npos;
        EXPECT_EQ(told, c.told) << c.variable << ' ' << c.value;
    }
}

TEST(Units, AnExistingPrintFileIsKeptUntilTheFirstLine) {
    const SessionOptions options{.prepare = [](const testing::TempDir& dir, testing::FakePlatform&) {
        dir.write("print.out", "of yesterday\n");
    }};
    Session s(options);
    s.start();
    EXPECT_EQ(s.print(), "of yesterday\n");
    write_line(s.run, role::print, " of today");
    EXPECT_EQ(s.print(), "of today\n");
}

TEST(Units, CommitReportsAFullDiskAndTheRunEndsAbnormally) {
    if (!OutputFile("/dev/full", OutputFile::Mode::create).good()) GTEST_SKIP() << "no disk without room here";
    Session s(SessionOptions{.print_file = false, .variables = {{"KVN$PUNCH", "/dev/full"}}});
    s.start();
    write_card(s.run, "TITU");
    CONNUL(s.run);
    EXPECT_EQ(s.numbers("CONNUL"), std::vector{100});
    EXPECT_EQ(s.run.msg.printed.back().element, 7);
    EXPECT_FALSE(flush_units(s.run));
}

TEST(Units, AConsoleThatIsGoneEndsTheRun) {
    Session s("TITU\nA title\n", {.via = Via::console});  // and then no line ever again
    EXPECT_EQ(s.status, 1);
}

// --- the lines of a stream

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
