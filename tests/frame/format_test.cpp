// Format rows: what they print and read, where they stop, and what is no row.
#include "frame/format.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/text_table.hpp"

namespace korvane {
namespace {

TEST(FormatRow, Prints) {
    const std::string text = "abcdef";
    const struct {
        const char* row;
        std::vector<Arg> values;
        const char* out;
    } cases[] = {
        {"", {}, ""},
        {"   ", {5}, ""},
        {"()", {5}, ""},
        {"(I5)", {42}, "   42"},
        {"( I 5 , F 6 . 2 )", {42, 1.5}, "   42  1.50"},
        {"(i5,f6.2,e12.4,a)", {42, 1.5, 0.5, "x"}, "   42  1.50  0.5000E+00x"},
        // texts: as wide as they are, cut to their first columns, or at the right of wider columns
        {"(A,'|',A3,'|',A8)", {text, text, text}, "abcdef|abc|  abcdef"},
        {"(A)", {""}, ""},
        // what does not fit, and what is of another kind
        {"(I3,F5.1,A2)", {12345, 12345.6, "abc"}, "********ab"},
        {"(I3,F5.1,A2,A)", {1.5, 7, 7, 8}, "***********"},
        // literals
        {"('it''s',1X,\"a \"\"b\"\"\",'')", {}, "it's a \"b\""},
        {"('('I2')')", {7}, "( 7)"},
        {"(3('-'),2('+',X))", {}, "---+ +"},
        // tabs go forth and back; what is passed over stays
        {"('abcdef',T3,'XY',T9,'|')", {}, "abXYef  |"},
        {"(T5,I2,T1,I2)", {5, 1}, " 1   5"},
        {"(I2,5X)", {1}, " 1"},  // blanks only where something follows
        {"(I2,5X/I2)", {1, 2}, " 1\n 2"},
        // repeats and groups
        {"(3I2)", {1, 2, 3}, " 1 2 3"},
        {"(2(I2,':',2(A1,'-')))", {1, "a", "b", 2, "c", "d"}, " 1:a-b- 2:c-d-"},
        // stops before the first field without a value, but prints what stands before it
        {"(I2,' a ',I2,' b')", {1}, " 1 a "},
        {"(I2,' a ',I2,' b')", {}, ""},
        {"('none',1X,I2)", {}, "none"},
        {"(3(' n',I2))", {1, 2}, " n 1 n 2 n"},
        // new lines
        {"(I1/I1)", {1, 2}, "1\n2"},
        {"('a'//'b'/)", {}, "a\n\nb\n"},
        {"('a',2/,'b')", {}, "a\n\nb"},
        // values left over: again from the last group, with its repeats, or from the start
        {"(I2,I2)", {1, 2, 3, 4, 5}, " 1 2\n 3 4\n 5"},
        {"('h',I2,2(' g',I2))", {1, 2, 3, 4, 5, 6}, "h 1 g 2 g 3\n g 4 g 5\n g 6 g"},
        {"(I2,2(A1,(F4.1)),I2)", {1, "a", 1., "b", 2., 9, "c", 3.}, " 1a 1.0b 2.0 9\nc 3.0"},
        {"(I2,('x'))", {1, 2}, " 1x\n 2x"},  // the last group takes no value: the whole row again
        {"('heading')", {1, 2, 3}, "heading"},
        // I with least digits
        {"(I2.2,'/',I2.2,'/',I4)", {7, 3, 2024}, "07/03/2024"},
        {"(I4.3,I4.3,I3.3)", {-7, 1234, -7}, "-0071234***"},
        {"(I5.3)", {-12345}, "*****"},
    };
    for (const auto& c : cases) {
        const FormatRow row{std::string_view(c.row)};
        EXPECT_EQ(row.error(), "") << c.row;
        std::string out;
        row.write(out, c.values);
        EXPECT_EQ(out, c.out) << c.row;
        row.write(out, c.values);
        EXPECT_EQ(out, std::string(c.out) + c.out) << c.row;
    }
}

TEST(FormatRow, RowsInErrorPrintAsTheirText) {
    std::vector<std::string> rows = testing::entries_of(R"row(
        Inclusão; I5; (; (I5; (I5)); (I5) x; (I5,); (,I5); (I5,,I5); (I5 I5); (I); (I0); (F5); (F5.); (E5.0); (E10)
        (I3.4); (T); (T0); (2T5); (0I5); (0X); ('abc); ("abc'); (2'abc'); (5HABCDE); (G10.3); (L1); (I5:I5)
        (1P,E10.3); (-5X); (I-5); (999999(999999X)); (1000(1000X)); (500(500(I1))); (100(100/)); (600X,600X); (I1001)
        (99999999999999999999I5); (T1001))row");
    ASSERT_EQ(rows.size(), 40u);
    rows.insert(rows.end(), {std::string(12, '(') + "I5" + std::string(12, ')'), {"(I5\0)", 5}, "(A\xE3)"});
    for (const std::string& text : rows) {
        const FormatRow row(text);
        EXPECT_NE(row.error(), "") << text;
        std::string out;
        const Arg values[] = {1, 2.0, "x"};
        row.write(out, values);
        EXPECT_EQ(out, text);
        int n = 0;
        const Target targets[] = {&n};
        EXPECT_FALSE(row.read("1", targets)) << text;
        EXPECT_TRUE(row.fields().empty()) << text;
    }
}

TEST(FormatRow, ErrorsNameTheCharacter) {
    EXPECT_EQ(FormatRow("(I5,Q3)").error(), "unknown descriptor \"Q\", at character 5");
    EXPECT_EQ(FormatRow("(I5").error(), "ends without \")\", at character 4");
    EXPECT_EQ(FormatRow("(I5 F6.2)").error(), "a comma is missing, at character 5");
}

TEST(FormatRow, ReadsCards) {
    const FormatRow row("(I5,1X,A1,A12,F4.3,T30,F5.0)");
    int n = -1;
    char a[2] = "?", name[13] = "????????????";
    double v = -1, p = -1;
    const Target all[] = {&n, {a, 1}, {name, 12}, &v, &p};
    EXPECT_TRUE(row.read("  101 LBARRA-230   1023      -12.5", all));
    EXPECT_EQ(n, 101);
    EXPECT_EQ(a[0], 'L');
    EXPECT_STREQ(name, "BARRA-230   ");
    EXPECT_EQ(v, 1.023);
    EXPECT_EQ(p, -12.5);

    // A line cut at every column reads as if it went on with blanks.
    const std::string line = "  101 LBARRA-230   1023      -12.5";
    for (std::size_t cut = 0; cut <= line.size(); ++cut) {
        int n2 = -1;
        char a2[2] = "?", name2[13] = "????????????";
        double v2 = -1, p2 = -1;
        const Target again[] = {&n2, {a2, 1}, {name2, 12}, &v2, &p2};
        const std::string padded = line.substr(0, cut) + std::string(line.size() - cut, ' ');
        const bool good = row.read(padded, all), good2 = row.read(line.substr(0, cut), again);
        EXPECT_EQ(good, good2) << cut;
        if (good) {
            EXPECT_TRUE(n == n2 && a[0] == a2[0] && v == v2 && p == p2) << cut;
            EXPECT_STREQ(name, name2);
        }
    }
    EXPECT_TRUE(row.read("", all));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(v, 0);
    EXPECT_STREQ(name, "            ");
    EXPECT_FALSE(row.read("  1A1", all));
    EXPECT_FALSE(row.read("  101 LBARRA-230   1.2.", all));
}

TEST(FormatRow, ReadsTextsIntoRoomsOfOtherWidth) {
    const auto read = [](const char* format, std::size_t room) {
        std::string text(room, '?');
        const Target target[] = {{text.data(), int(room)}};
        EXPECT_TRUE(FormatRow(format).read("abcdef", target));
        return text;
    };
    EXPECT_EQ(read("(A4)", 4), "abcd");
    EXPECT_EQ(read("(A4)", 6), "abcd  ");
    EXPECT_EQ(read("(A4)", 2), "cd");  // the last columns, as formatted reads do
    EXPECT_EQ(read("(A)", 3), "abc");
    EXPECT_EQ(read("(2X,A8)", 5), "f    ");
    EXPECT_EQ(read("(A4)", 0), "");
}

TEST(FormatRow, ReadingRefusesWhatDoesNotMatch) {
    int n = 0;
    double v = 0;
    char a[4];
    const Target integer[] = {&n}, real[] = {&v}, text[] = {{a, 4}}, two[] = {&n, &n};
    EXPECT_FALSE(FormatRow("(F5.2)").read("1", integer));
    EXPECT_FALSE(FormatRow("(I5)").read("1", real));
    EXPECT_FALSE(FormatRow("(I5)").read("1", text));
    EXPECT_FALSE(FormatRow("(A5)").read("1", integer));
    EXPECT_FALSE(FormatRow("(I5)").read("    1    2", two));  // no field for the second
    EXPECT_TRUE(FormatRow("(I5)").read("    1    2", integer));
    EXPECT_TRUE(FormatRow("(I5)").read("x", {}));
    EXPECT_TRUE(FormatRow("(I1/I1)").read("1\n2", two));
    EXPECT_EQ(n, 2);
    EXPECT_TRUE(FormatRow("(I1/I1)").read("1", two));
    EXPECT_EQ(n, 0);
    EXPECT_TRUE(FormatRow("('ab',I2)").read("xx 7", integer));
    EXPECT_EQ(n, 7);
}

TEST(FormatRow, FieldsLieWhereTheyRead) {
    const FormatRow row("(I5,1X,2(A2,F5.2),T40,I1,T3,E10.3/I2)");
    const struct {
        int column, width, decimals;
    } want[] = {{1, 5, 0}, {7, 2, 0}, {9, 5, 2}, {14, 2, 0}, {16, 5, 2}, {40, 1, 0}, {3, 10, 3}, {1, 2, 0}};
    const std::vector<FormatRow::Field> fields = row.fields();
    ASSERT_EQ(fields.size(), std::size(want));
    for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(fields[i].column, want[i].column) << i;
        EXPECT_EQ(fields[i].width, want[i].width) << i;
        EXPECT_EQ(fields[i].decimals, want[i].decimals) << i;
    }
}

// A row made of random fields reads what it printed.
TEST(FormatRow, ReadsItsOwnPrint) {
    std::mt19937 random(99);
    for (int turn = 0; turn < 3000; ++turn) {
        std::string format = "(";
        std::vector<Arg> values;
        std::vector<int> integers(20), read_integers(20);
        std::vector<double> reals(20), read_reals(20);
        std::vector<Target> targets;
        const int n = 1 + int(random() % 20);
        for (int i = 0; i < n; ++i) {
            const auto k = std::size_t(i);
            if (i) format += ',';
            if (random() % 4 == 0) format += std::to_string(1 + random() % 5) + "X,";
            if (random() % 4 == 0) format += "'12',";
            if (random() % 6 == 0) format += "/";
            if (random() % 2) {
                integers[k] = int(random() % 199999) - 99999;
                format += 'I' + std::to_string(6 + random() % 4);
                values.push_back(integers[k]);
                targets.push_back(&read_integers[k]);
            } else {
                const int decimals = int(random() % 5);
                static const double power[] = {1, 10, 100, 1000, 10000};
                reals[k] = double(int(random() % 199999) - 99999) / power[decimals];
                format += 'F' + std::to_string(8 + random() % 4) + '.' + std::to_string(decimals);
                values.push_back(reals[k]);
                targets.push_back(&read_reals[k]);
            }
        }
        const FormatRow row(format + ')');
        ASSERT_EQ(row.error(), "") << format;
        std::string out;
        row.write(out, values);
        ASSERT_TRUE(row.read(out, targets)) << format << '\n' << out;
        EXPECT_EQ(integers, read_integers) << format << '\n' << out;
        EXPECT_EQ(reals, read_reals) << format << '\n' << out;
    }
}

}  // namespace
}  // namespace korvane
