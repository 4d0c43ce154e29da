#include "platform/files.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

TEST(Files, ATypedNameFindsAnExistingFileInOneOfThreeSpellings) {
    TempDir dir;
    dir.write("Deck.dat", "");
    dir.write("CASE.SAV", "");
    dir.write("lower.dat", "");
    dir.write("both.txt", "");
    dir.write("BOTH.TXT", "");
    mkdir("Sub", 0777);
    dir.write("Sub/rede.dat", "");
    const struct {
        const char* typed;
        const char* found;  // nothing: no file
    } cases[] = {
        {"Deck.dat", "Deck.dat"},
        {"deck.dat", nullptr},
        {"case.sav", "CASE.SAV"},
        {"Case.Sav", "CASE.SAV"},
        {"LOWER.dat", "lower.dat"},
        {"both.txt", "both.txt"},
        {"BOTH.TXT", "BOTH.TXT"},
        {"Both.txt", "BOTH.TXT"},  // upper case before lower case
        {"Sub\\REDE.DAT", "Sub/rede.dat"},
        {"Sub", nullptr},  // a folder is no file
        {"", nullptr},
        {"missing", nullptr},
    };
    for (const auto& c : cases) EXPECT_EQ(existing_file(c.typed).value_or("-"), c.found ? c.found : "-") << c.typed;
    EXPECT_FALSE(existing_file(std::string_view("CASE.SAV\0x", 10)));
}

TEST(Files, AnOutputFileKeepsOldBytesAsItsModeSays) {
    using Mode = OutputFile::Mode;
    TempDir dir;
    const struct {
        Mode mode;
        const char* unwritten;  // content when nothing is written
        const char* written;
    } cases[] = {
        {Mode::create, "", "new"},
        {Mode::overwrite_from_start, "old text", "new"},
        {Mode::append, "old text", "old textnew"},
    };
    for (const auto& c : cases) {
        dir.write("f", "old text");
        { OutputFile file("f", c.mode); }
        EXPECT_EQ(dir.read("f"), c.unwritten);
        dir.write("f", "old text");
        {
            OutputFile file("f", c.mode);
            file.write("n");
            file.write("ew");
        }
        EXPECT_EQ(dir.read("f"), c.written);
    }
    OutputFile file("f", Mode::create);
    file.write("a first deck");
    file.flush();
    file.rewind();
    file.write("second");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(dir.read("f"), "second");
}

TEST(Files, ALongTextArrivesWholeAndInOrder) {
    TempDir dir;
    std::string expected;
    {
        OutputFile file("f", OutputFile::Mode::create);
        for (int i = 0; i < 3000; ++i) {
            const std::string piece(std::size_t(i), char('a' + i % 26));
            file.write(piece);
            expected += piece;
        }
    }
    EXPECT_EQ(read_file("f").value_or(""), expected);
}

TEST(Files, FailuresAreKept) {
    TempDir dir;
    EXPECT_FALSE(OutputFile("no/such/folder/f", OutputFile::Mode::create).good());
    EXPECT_FALSE(OutputFile(std::string("a\0b", 3), OutputFile::Mode::create).good());
    EXPECT_FALSE(dir.has("a"));
    OutputFile full("/dev/full", OutputFile::Mode::create);  // a disk without room
    if (full.good()) {
        full.write("x");
        EXPECT_FALSE(full.commit());
        EXPECT_FALSE(full.good());
    }
    EXPECT_FALSE(RecordFile("missing", 2560, RecordFile::Mode::existing).good());
    dir.write("there", "");
    EXPECT_FALSE(RecordFile("there", 2560, RecordFile::Mode::create).good());
    EXPECT_TRUE(RecordFile("there", 2560, RecordFile::Mode::existing).good());
}

}  // namespace
}  // namespace korvane::testing
