// The catalogue files: what is written reads back, and nothing that is damaged is taken.
#include "frame/catalogue.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/paths.hpp"

namespace korvane {
namespace {

using Block = Catalogue::Block;

CatalogueVersion version() {
    CatalogueVersion v;
    v.number = 70000;
    v.stamp = PROGRAM_STAMP;
    v.origin = "Operação";
    v.letters = "PT";
    return v;
}

std::vector<CatalogueRow> random_rows(int n, std::mt19937& random, int step = 1) {
    std::vector<CatalogueRow> rows;
    for (int i = 1; i <= n; ++i) {
        std::string text(random() % 201, ' ');
        for (char& c : text) c = char(random() % 256);
        rows.push_back({i * step, text});
    }
    return rows;
}

std::string small_file() {
    return Catalogue::build(
        {{"INPBUS", {{1, "(A132)"}, {2, ""}, {260, "(I5)"}}}, {"K", {{-10, std::string(200, 'x')}}}}, version());
}

void expect_rows(const Catalogue& file, const std::string& name, const std::vector<CatalogueRow>& want) {
    std::vector<CatalogueRow> rows;
    ASSERT_EQ(file.rows_of(name, 400, rows), Block::found) << name;
    ASSERT_EQ(rows.size(), want.size()) << name;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].index, want[i].index) << name << ' ' << i;
        EXPECT_EQ(rows[i].text, want[i].text) << name << ' ' << i;
    }
}

TEST(Catalogue, BlocksReadBackOverAllRecordBoundaries) {
    std::mt19937 random(11);
    for (int turn = 0; turn < 40; ++turn) {
        // From one row to the full 260, whose lengths and indexes alone go beyond the first record.
        Catalogue::Source blocks;
        for (int n : {1, 2, 5, 196, 197, 198, 199, 200, 259, 260})
            blocks.emplace_back("B" + std::to_string(n), random_rows(n, random, turn % 2 ? 1 : -3));
        blocks.emplace_back("EMPTY", std::vector<CatalogueRow>{});
        // Texts that fill the first record to the byte before its end, its end, and the byte behind it.
        for (int spare : {-1, 0, 1}) {
            std::vector<CatalogueRow> rows;
            const int n = 5, header = 8 + 4 * n, wanted = 798 - header + spare;
            for (int i = 0; i < n; ++i)
                rows.push_back({i, std::string(std::size_t(i < n - 1 ? 150 : wanted - 150 * (n - 1)), char('a' + i))});
            blocks.emplace_back("EDGE" + std::to_string(spare + 1), rows);
        }
        Catalogue file;
        ASSERT_EQ(file.open_bytes(Catalogue::build(blocks, version())), CatalogueFault::none);
        for (const auto& [name, rows] : blocks) {
            EXPECT_TRUE(file.has(name));
            expect_rows(file, name, rows);
        }
        std::vector<CatalogueRow> rows{{7, "kept"}};
        EXPECT_EQ(file.rows_of("B260", 259, rows), Block::too_long);
        EXPECT_EQ(file.rows_of("B26", 260, rows), Block::missing);
        EXPECT_EQ(rows.size(), 1u);
    }
}

TEST(Catalogue, LayoutOnDisk) {
    const std::string bytes = small_file();
    ASSERT_EQ(bytes.size(), 4u * 800);
    const auto at = [&](std::size_t record, std::size_t offset) {
        return int(static_cast<unsigned char>(bytes[(record - 1) * 800 + offset])) |
               int(static_cast<unsigned char>(bytes[(record - 1) * 800 + offset + 1])) << 8;
    };
    EXPECT_EQ(at(1, 0), 3);    // first block
    EXPECT_EQ(at(1, 2), 4);    // second block
    EXPECT_EQ(at(1, 4), 0);    // none
    EXPECT_EQ(at(1, 798), 2);  // entry 400: the version record
    EXPECT_EQ(at(2, 2) + 65536 * at(2, 4), 70000);
    EXPECT_EQ(bytes.substr(800 + 6, 8), PROGRAM_STAMP);
    EXPECT_EQ(at(2, 44), 4);  // records
    EXPECT_EQ(bytes.substr(800 + 52, 2), "PT");
    EXPECT_EQ(at(3, 0), 0);  // no further record
    EXPECT_EQ(bytes.substr(1600 + 2, 6), "INPBUS");
    EXPECT_EQ(at(3, 8), 3);   // rows
    EXPECT_EQ(at(3, 10), 6);  // their lengths
    EXPECT_EQ(at(3, 12), 0);
    EXPECT_EQ(at(3, 14), 4);
    EXPECT_EQ(at(3, 16), 1);  // their numbers
    EXPECT_EQ(at(3, 20), 260);
    EXPECT_EQ(bytes.substr(1600 + 22, 10), "(A132)(I5)");
    EXPECT_EQ(bytes.substr(2400 + 2, 6), "K     ");
    EXPECT_EQ(at(4, 12), 65536 - 10);
}

TEST(Catalogue, ChecksumIsTheCommonCrc32) {
    // Of a file whose version record ends with "123456789" nobody else knows the sum; so undo the file's own and
    // compare with the bitwise definition.
    std::string bytes = small_file();
    std::uint32_t sum = 0;
    for (int k = 3; k >= 0; --k) sum = sum << 8 | static_cast<unsigned char>(bytes[std::size_t(800 + 48 + k)]);
    for (std::size_t k = 848; k < 852; ++k) bytes[k] = 0;
    std::uint32_t crc = ~0u;
    for (char c : bytes)
        for (unsigned bit = 0; bit < 8; ++bit) {
            const bool one = ((crc ^ (unsigned(static_cast<unsigned char>(c)) >> bit)) & 1u) != 0;
            crc = crc >> 1 ^ (one ? 0xEDB88320u : 0u);
        }
    EXPECT_EQ(sum, ~crc);
}

TEST(Catalogue, EveryChangedByteIsRefused) {
    const std::string good = small_file();
    for (std::size_t i = 0; i < good.size(); ++i)
        for (int mask : {0x01, 0x80, 0xff}) {
            std::string bytes = good;
            bytes[i] = char(bytes[i] ^ mask);
            Catalogue file;
            const CatalogueFault fault = file.open_bytes(bytes);
            ASSERT_TRUE(fault == CatalogueFault::damaged || fault == CatalogueFault::other_stamp) << i;
            // A byte of the stamp itself, or a directory that leads to another record for it.
            const bool stamp = i >= 806 && i < 814, led_away = i == 798 || i == 799;
            ASSERT_TRUE(led_away || (fault == CatalogueFault::other_stamp) == stamp) << i;
            ASSERT_FALSE(file.has("INPBUS"));
        }
}

TEST(Catalogue, EveryOtherLengthIsRefused) {
    const std::string good = small_file();
    for (std::size_t n = 0; n < good.size(); ++n) {
        Catalogue file;
        ASSERT_EQ(file.open_bytes(good.substr(0, n)), CatalogueFault::damaged) << n;
    }
    for (std::size_t more : {1u, 799u, 800u, 1600u}) {
        Catalogue file;
        EXPECT_EQ(file.open_bytes(good + std::string(more, '\0')), CatalogueFault::damaged) << more;
    }
}

// Behind a checksum that is right a file may still say anything: damage it and bring the checksum in line.
TEST(Catalogue, WrongFilesWithRightChecksumsNeverLeadAstray) {
    std::mt19937 random(5);
    Catalogue::Source blocks;
    for (int n : {1, 4, 12, 30}) blocks.emplace_back("B" + std::to_string(n), random_rows(n, random));
    const std::string good = Catalogue::build(blocks, version());
    int opened = 0;
    for (int turn = 0; turn < 3000; ++turn) {
        std::string bytes = good;
        for (int k = 0; k < 1 + turn % 4; ++k) {
            // Mostly where it hurts: the directory's entries, links, counts, lengths.
            const std::size_t record = 800 * (random() % (bytes.size() / 800));
            const std::size_t at = random() % 3 ? record + random() % 24 : random() % bytes.size();
            bytes[at] = char(random());
        }
        Catalogue::seal(bytes);
        Catalogue file;
        if (file.open_bytes(bytes) != CatalogueFault::none) continue;
        ++opened;
        for (const auto& block : blocks) {
            std::vector<CatalogueRow> rows;
            EXPECT_TRUE(file.rows_of(block.first, 260, rows) == Block::found || rows.empty());
        }
    }
    EXPECT_GT(opened, 300);
}

TEST(Catalogue, LinksOutOfTheFileAndRoundInIt) {
    Catalogue::Source blocks{{"LONG", std::vector<CatalogueRow>(20, {1, std::string(100, 'x')})}};
    const std::string good = Catalogue::build(blocks, version());  // records 3, 4 and 5
    const struct {
        std::size_t at;
        int value;
        Block want;
    } cases[] = {
        {1600, 0, Block::bad},   {1600, 1, Block::bad},        {1600, 6, Block::bad},          {1600, -1, Block::bad},
        {1608, -1, Block::bad},  {1608, 401, Block::too_long}, {1608, 32767, Block::too_long}, {1608, 300, Block::bad},
        {1610, 201, Block::bad}, {1610, -1, Block::bad},       {1608, 0, Block::found},        {3200, 77, Block::found},
        {1600, 3, Block::found},  // round and round, but never for longer than the block
    };
    for (const auto& c : cases) {
        std::string bytes = good;
        bytes[c.at] = char(c.value & 0xff);
        bytes[c.at + 1] = char(c.value >> 8 & 0xff);
        Catalogue::seal(bytes);
        Catalogue file;
        ASSERT_EQ(file.open_bytes(bytes), CatalogueFault::none);
        std::vector<CatalogueRow> rows;
        EXPECT_EQ(file.rows_of("LONG", 400, rows), c.want) << c.at << ' ' << c.value;
    }
    for (int entry : {1, 6, 32767}) {  // of the directory: the directory itself, and records that are not there
        std::string bytes = good;
        bytes[0] = char(entry & 0xff);
        bytes[1] = char(entry >> 8);
        Catalogue::seal(bytes);
        Catalogue file;
        EXPECT_EQ(file.open_bytes(bytes), CatalogueFault::damaged) << entry;
    }
}

TEST(Catalogue, OfTwoBlocksOfOneNameTheFirstCounts) {
    Catalogue file;
    ASSERT_EQ(file.open_bytes(Catalogue::build({{"A", {{1, "one"}}}, {"A", {{1, "two"}}}}, version())),
              CatalogueFault::none);
    expect_rows(file, "A     ", {{1, "one"}});
}

TEST(Catalogue, WhatAFileCannotHoldIsNotBuilt) {
    EXPECT_TRUE(Catalogue::build({{"A", {{1, std::string(201, 'x')}}}}, version()).empty());
    EXPECT_TRUE(Catalogue::build(Catalogue::Source(400, {"A", {{1, "x"}}}), version()).empty());
    EXPECT_FALSE(Catalogue::build(Catalogue::Source(399, {"A", {{1, "x"}}}), version()).empty());
}

TEST(Catalogue, RowsThatAreNotThereAreBlank) {
    Formats fmt;
    EXPECT_EQ(fmt.rot(1).text(), "");
    Formats::Rows rows(Formats::ROWS + 1);
    rows[260] = FormatRow("(I5)");
    fmt.FMTROT = &rows;
    EXPECT_EQ(fmt.rot(260).text(), "(I5)");
    for (int row : {-1, 0, 261, 99999}) EXPECT_EQ(fmt.rot(row).text(), "") << row;
    EXPECT_EQ(fmt.fix(1).text(), "");
}

// The compiler of the texts ------------------------------------------------------------------------------------------

class CatalogueCompiler : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir = std::filesystem::temp_directory_path() / ("kvncat_" + std::string(test->name()));
        std::filesystem::remove_all(dir);
        std::filesystem::create_directories(dir / "pt");
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    void text(const std::string& name, const std::string& content) {
        std::ofstream(dir / "pt" / name, std::ios::binary) << content;
    }
    /// Status of the compiler; what it said goes to `said`.
    int compile() {
        const std::string d = dir.string();
        const int status = std::system(("\"" + std::string(testing::BIN_DIRECTORY) + "/kvncat\" \"" + d + "/pt\" \"" +
                                        d + "/a.fmt\" \"" + d + "/a.msg\" 2> \"" + d + "/said\"")
                                           .c_str());
        std::ifstream in(dir / "said");
        said.assign(std::istreambuf_iterator<char>(in), {});
        return status;
    }
    std::filesystem::path dir;
    std::string said;
};

TEST_F(CatalogueCompiler, CompilesBothFiles) {
    text("INPBUS.txt",
         "\xEF\xBB\xBF# cards of buses\r\nrow 1 (A132)\r\n\r\nrow 12 text: Inclusão\r\nuse cards\nmessage 10 Barra não "
         "existe.");
    text("_cards.txt", "message -1 Texto além do cartão.\n");
    text("OUTBUS.txt", "row 6 ('1',T3,A,' ''x''')\nrow 3 text:\n");
    text("notes.md", "ignored");
    ASSERT_EQ(compile(), 0) << said;
    Catalogue fmt, msg;
    ASSERT_EQ(fmt.open((dir / "a.fmt").string()), CatalogueFault::none);
    ASSERT_EQ(msg.open((dir / "a.msg").string()), CatalogueFault::none);
    expect_rows(fmt, "INPBUS", {{1, "(A132)"}, {12, "Inclus\xE3o"}});
    expect_rows(fmt, "OUTBUS", {{6, "('1',T3,A,' ''x''')"}, {3, ""}});
    expect_rows(msg, "INPBUS", {{10, "Barra n\xE3o existe."}, {-1, "Texto al\xE9m do cart\xE3o."}});
    EXPECT_FALSE(msg.has("OUTBUS"));
    EXPECT_FALSE(fmt.has("_cards"));
    EXPECT_EQ(fmt.open((dir / "none").string()), CatalogueFault::missing);
}

TEST_F(CatalogueCompiler, NamesFileAndLineOfEveryFault) {
    const std::string r201(201 - 4, 'x'), r121(121 - 4, 'x');
    const struct {
        std::string name, content;
        const char* fault;
    } cases[] = {
        {"INPBUS", "row 1 (I5)\nrow 1 (I6)\n", "INPBUS.txt:2: row 1 of INPBUS"},
        {"INPBUS", "message 5 a\n\nmessage 5 b\n", "INPBUS.txt:3: message 5 of INPBUS"},
        {"INPBUS", "use cards\nmessage -1 own\n", "_cards.txt:1: message -1 of INPBUS"},
        {"INPBUS", "row 0 (I5)\n", "INPBUS.txt:1: row numbers"},
        {"INPBUS", "row 261 (I5)\n", "INPBUS.txt:1: row numbers"},
        {"INPBUS", "#\nrow 1 (I5,\n", "INPBUS.txt:2: ends without"},
        {"INPBUS", "row 1 ('" + r201 + "')\n", "INPBUS.txt:1: 201 characters"},
        {"KORVAN", "row 1 ('" + r121 + "')\n", "KORVAN.txt:1: 121 characters"},
        {"INPBUS", "message 1 " + std::string(201, 'x'), "INPBUS.txt:1: 201 characters"},
        {"INPBUS", "row 1 text: (I5)\n", "INPBUS.txt:1: a text row"},
        {"INPBUS", "row 1 I5\n", "INPBUS.txt:1: neither"},
        {"INPBUS", "row 1\n", "INPBUS.txt:1: neither"},
        {"INPBUS", "message 1\n", "INPBUS.txt:1: a message without"},
        {"INPBUS", "message one text\n", "INPBUS.txt:1: no number"},
        {"INPBUS", "message 99999 text\n", "INPBUS.txt:1: no number"},
        {"INPBUS", "use nothing\n", "INPBUS.txt:1: there is no _nothing.txt"},
        {"INPBUS", "mensagem 1 x\n", "INPBUS.txt:1: a line begins"},
        {"INPBUS", "message 1 5 € more\n", "INPBUS.txt:1: a character outside Latin-1 in byte 13"},
        {"INPBUS", "message 1 \xE3\n", "INPBUS.txt:1: a character outside Latin-1"},
        {"INPBUS", "message 1 a\tb\n", "INPBUS.txt:1: a tab"},
        {"INPBUSX", "row 1 (I5)\n", "INPBUSX.txt:0: the name"},
        {"inpbus", "row 1 (I5)\n", "inpbus.txt:0: the name"},
    };
    text("_cards.txt", "message -1 x\n");
    for (const auto& c : cases) {
        text(c.name + ".txt", c.content);
        EXPECT_NE(compile(), 0) << c.content;
        EXPECT_NE(said.find(c.fault), said.npos) << c.content << said;
        EXPECT_FALSE(std::filesystem::exists(dir / "a.fmt"));
        std::filesystem::remove(dir / "pt" / (c.name + ".txt"));
    }
    std::string many;
    for (int i = 1; i <= 201; ++i) many += "message " + std::to_string(i) + " x\n";
    text("INPBUS.txt", many);
    EXPECT_NE(compile(), 0);
    EXPECT_NE(said.find("INPBUS.txt:201: more than 200 messages"), said.npos) << said;
}

// The catalogue that this tree ships opens, and every row of it is what it looks like.
TEST(Catalogue, OursOpens) {
    for (const char* name : {"/trov0_s.fmt", "/trov0_s.msg"}) {
        Catalogue file;
        ASSERT_EQ(file.open(std::string(testing::BIN_DIRECTORY) + name), CatalogueFault::none) << name;
    }
    Catalogue fmt;
    fmt.open(std::string(testing::BIN_DIRECTORY) + "/trov0_s.fmt");
    std::vector<CatalogueRow> rows;
    ASSERT_EQ(fmt.rows_of("ERRMSG", 260, rows), Block::found);
    EXPECT_EQ(rows.at(0).text.size(), 50u);
}

}  // namespace
}  // namespace korvane
