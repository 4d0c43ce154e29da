// The layout of streams and chains, byte by byte.
#include <gtest/gtest.h>

#include "casestore/case_bench.hpp"
#include "support/expect.hpp"

namespace korvane {
namespace {

using namespace testing;

const std::vector<double> DOUBLES = [] {
    std::vector<double> v(1000);
    for (std::size_t i = 0; i < v.size(); ++i) v[i] = 1.5 + double(i);
    return v;
}();

// Wide: payload from byte 8, 319 doubles or 638 integers a record. Narrow: from byte 4, 639 singles or 1278 integers.
TEST(CaseStream, ARecordClosesWhenTheNextElementDoesNotFit) {
    struct Row {
        int n, records;  // doubles written behind nothing; records of the case
        int last_record, last_offset;
    };
    // The records of a new file follow each other from 2.
    for (const Row& row :
         {Row{1, 1, 2, 8}, Row{319, 1, 2, 2552}, Row{320, 2, 3, 8}, Row{638, 2, 3, 2552}, Row{639, 3, 4, 8}}) {
        MemoryRecords r(CASE_RECORD);
        make_file(r, 10);
        ASSERT_TRUE(save_stream(r, 1, [&](CaseWriter& w) { w.SAVFLT({DOUBLES.data()}, row.n); }));
        Directory d;
        d.read(r);
        EXPECT_EQ(d.count(1), row.records) << row.n;
        EXPECT_EQ(d.last(1), row.last_record) << row.n;
        EXPECT_EQ(at<double>(r, row.last_record, row.last_offset), DOUBLES[std::size_t(row.n - 1)]) << row.n;
        EXPECT_EQ(wrong_chain(r), "");
    }
    for (const Row& row : {Row{639, 1, 2, 2556}, Row{640, 2, 3, 4}}) {
        MemoryRecords r(CASE_RECORD);
        make_file(r, 10);
        ASSERT_TRUE(save_stream(
            r, 1, [&](CaseWriter& w) { w.SAVFLT({DOUBLES.data()}, row.n); }, SaveEnd::saved, false, Encoding::narrow));
        Directory d;
        d.read(r);
        EXPECT_EQ(d.count(1), row.records) << row.n;
        EXPECT_EQ(at<float>(r, row.last_record, row.last_offset), float(DOUBLES[std::size_t(row.n - 1)])) << row.n;
    }
}

TEST(CaseStream, FieldsOfEachKindLieWhereTheFormatPutsThem) {
    const int integers[] = {-1, 70000, 3};
    const bool logicals[] = {true, false, true};
    const std::uint8_t small[] = {7, 0, 0, 200};
    const char text[] = "abcdefghijklmnop";
    auto fields = [&](CaseWriter& w) {
        w.SAVINT(Strided<const int>{integers}, 3);           // wide 12 bytes, narrow 6
        w.SAVLOG({logicals}, 3);                             // 3 bytes
        w.SAVINT(Strided<const std::uint8_t>{small, 3}, 2);  // every third byte
        w.SAVCHR({text + 1, 4}, 3, 2);                       // "bc", "fg", "jk"
        w.SAVFLT({DOUBLES.data(), 16}, 2);                   // every second double
        w.SAVINT(Strided<const int>{integers}, 0);           // leaves the cursor where it is
        w.SAVCHR({text, 16}, 1, 5);
    };
    MemoryRecords r(CASE_RECORD);
    make_file(r, 10);
    ASSERT_TRUE(save_stream(r, 1, fields));
    EXPECT_EQ(at<int>(r, 2, 0), 3);
    EXPECT_EQ(at<std::uint32_t>(r, 2, 4), 0x04490852u);  // the tag, little-endian
    EXPECT_EQ(at<int>(r, 2, 8), -1);
    EXPECT_EQ(at<int>(r, 2, 12), 70000);
    EXPECT_EQ(at<std::uint32_t>(r, 2, 24), 0x00ff00ffu);  // 8 + 12 rounded up to whole slots of 8
    EXPECT_EQ(at<int>(r, 2, 32), 7);
    EXPECT_EQ(at<int>(r, 2, 36), 200);
    EXPECT_EQ(at<std::uint64_t>(r, 2, 40), 0x6b6a67666362u);  // "bcfgjk"
    EXPECT_EQ(these(at<double>(r, 2, 48), at<double>(r, 2, 56), at<char>(r, 2, 68)), these(1.5, 3.5, 'e'));

    MemoryRecords n(CASE_RECORD);
    make_file(n, 10);
    ASSERT_TRUE(save_stream(n, 1, fields, SaveEnd::saved, false, Encoding::narrow));
    EXPECT_EQ(at<std::int16_t>(n, 2, 4), -1);
    EXPECT_EQ(at<std::int16_t>(n, 2, 6), std::int16_t(70000 - 65536));
    EXPECT_EQ(at<std::uint32_t>(n, 2, 12), 0x00ff00ffu);  // 4 + 6 rounded up to whole slots of 4
    EXPECT_EQ(these(at<std::int16_t>(n, 2, 18), at<char>(n, 2, 25), at<float>(n, 2, 32), at<char>(n, 2, 40)),
              these(200, 'k', 3.5f, 'e'));
}

TEST(CaseStream, ATextBreaksAtAnyByte) {
    // 318 doubles leave 8 bytes of the first record; a text of 12 goes on in the next, behind its link.
    auto fields = [](CaseWriter& w) {
        w.SAVFLT({DOUBLES.data()}, 318);
        w.SAVCHR({"ABCDEFGHIJKL"}, 1, 12);
        w.SAVFLT({DOUBLES.data()}, 1);
        w.SAVFLT({DOUBLES.data()}, 316);
        w.SAVCHR({"abcdefgh"}, 1, 8);  // ends with the record: 8 + 8 + 8 + 316 x 8 + 8 = 2560
        w.SAVCHR({"z"}, 1, 1);
    };
    MemoryRecords r(CASE_RECORD);
    make_file(r, 10);
    ASSERT_TRUE(save_stream(r, 1, fields));
    EXPECT_EQ(these(at<char>(r, 2, 2552), at<char>(r, 2, 2559), at<char>(r, 3, 8), at<char>(r, 3, 11),
                    at<double>(r, 3, 16), at<char>(r, 3, 2559), at<char>(r, 4, 8)),
              these('A', 'H', 'I', 'L', 1.5, 'h', 'z'));
    CaseReader in(r, Encoding::wide, 2, 4, 10);
    std::vector<double> v(318);
    std::string text(12, ' ');
    in.RETFLT({v.data()}, 318);
    in.RETCHR({text.data()}, 1, 12);
    EXPECT_EQ(v.back(), DOUBLES[317]);
    EXPECT_EQ(text, "ABCDEFGHIJKL");
    in.skip(317, 8);
    in.RETCHR({text.data(), 1}, 1, 8);
    in.RETCHR({text.data()}, 1, 1);
    EXPECT_EQ(text, "zbcdefghIJKL");
    EXPECT_EQ(int(in.fault()), int(CaseReader::Fault::none));
}

TEST(CaseStream, DeletedCasesGoToTheHeadOfTheFreeChain) {
    MemoryRecords r(CASE_RECORD);
    make_file(r, 12);                                                         // records 2 to 12 free
    for (int n : {1, 2, 3}) ASSERT_TRUE(save_stream(r, n, doubles(400, n)));  // two records each: 2 3, 4 5, 6 7
    EXPECT_EQ(wrong_chain(r, {8, 9, 10, 11, 12}), "");
    Directory d;
    d.read(r);
    bool lost = false;
    ASSERT_TRUE(give_up_case(r, d, 2, lost) && !lost);
    d.set_case(2, 0, 0, 0);
    d.write(r);
    EXPECT_EQ(wrong_chain(r, {4, 5, 8, 9}), "");
    ASSERT_TRUE(save_stream(r, 5, doubles(900, 5)));  // three records: 4 5 8
    d.read(r);
    EXPECT_EQ(d.last(5), 8);
    ASSERT_TRUE(save_stream(r, 1, doubles(10, 1)));  // one record, its own first one
    d.read(r);
    EXPECT_EQ(d.first(1), 2);
    EXPECT_EQ(wrong_chain(r, {3, 9, 10, 11, 12}), "");
}

// A file of 4 records: 2 3 4 are free.
TEST(CaseStream, AFileGrowsBehindItsHighestRecordOnly) {
    MemoryRecords r(CASE_RECORD);
    make_file(r, 4);
    Directory d;
    ASSERT_TRUE(save_stream(r, 1, doubles(3 * 319, 1), SaveEnd::saved, false));  // all three, and the chain is empty
    d.read(r);
    EXPECT_EQ(d.free_head(), 0);
    EXPECT_FALSE(save_stream(r, 2, doubles(1, 2)));                          // no record is free
    ASSERT_TRUE(save_stream(r, 1, doubles(319, 1), SaveEnd::saved, false));  // gives 3 and 4 back
    ASSERT_TRUE(save_stream(r, 2, doubles(4 * 319, 2)));
    d.read(r);
    EXPECT_EQ(d.highest(), 7);  // 3 4 5 6 hold the case, 7 is the free tail
    EXPECT_EQ(d.last(2), 6);
    EXPECT_EQ(wrong_chain(r, {7}), "");

    // A chain that ran empty and was filled again by a delete ends below the highest record.
    ASSERT_TRUE(save_stream(r, 3, doubles(319, 3), SaveEnd::saved, false));
    ASSERT_TRUE(save_stream(r, 1, doubles(2 * 319, 10)));
    d.read(r);
    EXPECT_EQ(d.highest(), 9);
    EXPECT_EQ(wrong_chain(r, {9}), "");
    EXPECT_EQ(bytes_of_case(r, 3).size(), 2556u);
}

TEST(CaseStream, RoomRunsOutAtTheEndOfTheChainOrAtTheCeiling) {
    MemoryRecords r(CASE_RECORD);
    make_file(r, 4);
    ASSERT_TRUE(save_stream(r, 1, doubles(10, 1)));
    ASSERT_TRUE(save_stream(r, 2, doubles(3 * 319, 2), SaveEnd::full, false));
    Directory d;
    d.read(r);
    EXPECT_FALSE(d.has(2));
    EXPECT_EQ(wrong_chain(r, {3, 4}), "");

    MemoryRecords large(CASE_RECORD);
    make_file(large, 32763);
    for (auto [n, records, end] : {std::tuple(1, 32764, SaveEnd::saved),     // 2 to 32765: the last record there is
                                   std::tuple(1, 32765, SaveEnd::ceiling)})  // and one more
        ASSERT_TRUE(save_stream(
            large, n,
            [=](CaseWriter& w) {
                for (int i = 0; i < records; ++i) w.SAVFLT({DOUBLES.data()}, 319);
            },
            end))
            << records;
    d.read(large);
    EXPECT_EQ(d.highest(), 32765);
    EXPECT_FALSE(d.has(1));
    EXPECT_EQ(wrong_chain(large, {2, 3}), "");
}

TEST(CaseStream, BrokenChainsAreSeen) {
    struct Row {
        const char* what;
        std::function<void(Records&, Directory&)> damage;
        Chain free, of_case;
        CaseReader::Fault fault;  // reading case 1, of four records 2 3 4 5 in a file of 9
    };
    using Fault = CaseReader::Fault;
    const Row table[] = {
        {"nothing", [](Records&, Directory&) {}, Chain::sound, Chain::sound, Fault::none},
        {"loop", [](Records& r, Directory&) { write_link(r, 4, 3); }, Chain::sound, Chain::broken, Fault::none},
        {"end too early", [](Records& r, Directory&) { write_link(r, 4, 0); }, Chain::sound, Chain::broken,
         Fault::chain},
        {"negative", [](Records& r, Directory&) { write_link(r, 2, -7); }, Chain::sound, Chain::broken, Fault::chain},
        {"past the file", [](Records& r, Directory&) { write_link(r, 3, 10); }, Chain::sound, Chain::broken,
         Fault::chain},
        {"past the records", [](Records& r, Directory& d) { write_link(r, 3, 4000), d.set_highest(5000); },
         Chain::sound, Chain::broken, Fault::unreadable},
        {"last too early", [](Records&, Directory& d) { d.cell(101) = 4; }, Chain::sound, Chain::sound, Fault::chain},
        {"no last", [](Records&, Directory& d) { d.cell(101) = 0; }, Chain::sound, Chain::sound, Fault::none},
        {"first outside", [](Records&, Directory& d) { d.cell(1) = 11; }, Chain::sound, Chain::unreadable,
         Fault::chain},
        {"free loop", [](Records& r, Directory&) { write_link(r, 9, 6); }, Chain::broken, Chain::sound, Fault::none},
        {"free negative", [](Records& r, Directory&) { write_link(r, 7, -1); }, Chain::broken, Chain::sound,
         Fault::none},
        {"head negative", [](Records&, Directory& d) { d.cell(100) = -3; }, Chain::broken, Chain::sound, Fault::none},
        {"free chain above the highest",
         [](Records& r, Directory& d) { write_link(r, 10, 0), write_link(r, 9, 10), d.set_highest(9); }, Chain::raised,
         Chain::sound, Fault::none},
        {"no free record", [](Records&, Directory& d) { d.cell(100) = 0; }, Chain::sound, Chain::sound, Fault::none},
    };
    for (const Row& row : table) {
        MemoryRecords r(CASE_RECORD);
        make_file(r, 9);
        ASSERT_TRUE(save_stream(r, 1, doubles(4 * 319, 1)));
        Directory d;
        d.read(r);
        row.damage(r, d);
        d.write(r);
        EXPECT_EQ(int(CHKCHN(r, d, 1)), int(row.of_case)) << row.what;
        CaseReader in(r, Encoding::wide, d.first(1), d.last(1), d.highest());
        std::vector<double> v(4 * 319);
        in.RETFLT({v.data()}, int(v.size()));
        EXPECT_EQ(int(in.fault()), int(row.fault)) << row.what;
        EXPECT_EQ(int(CHKFRE(r, d)), int(row.free)) << row.what;
        if (row.free == Chain::raised) {
            Directory stored;
            stored.read(r);
            EXPECT_EQ(stored.highest(), 10);
        }
        // A case whose chain is broken does not take other records along when it is replaced.
        if (row.free == Chain::broken) continue;
        const bool saved = save_stream(r, 1, doubles(10, 3));
        EXPECT_EQ(saved, std::string_view(row.what) != "no free record" || row.of_case == Chain::sound) << row.what;
        d.read(r);
        EXPECT_EQ(int(CHKFRE(r, d)), int(Chain::sound)) << row.what;
    }
}

}  // namespace
}  // namespace korvane
