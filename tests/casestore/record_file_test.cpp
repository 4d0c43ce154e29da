// A file of cases through crashes: at every point of a save the next one to open it finds the old case or the new one,
// and all others as they were.
#include <gtest/gtest.h>

#include <cstdlib>

#include "casestore/case_bench.hpp"
#include "casestore/record_file.hpp"
#include "support/fake_disk.hpp"
#include "support/fixture.hpp"

namespace korvane {
namespace {

using namespace testing;
constexpr const char* NAME = "SAVECASE.SAV";
constexpr const char* JOURNAL = "SAVECASE.SAV.journal";

/// The file of a disk, opened as the program opens it.
struct Opened {
    int handle;
    FileRecords records;
    explicit Opened(FakeDisk& disk, bool writable = true)
        : handle(disk.open(NAME, writable ? Disk::Open::for_writing : Disk::Open::for_reading)),
          records(disk, handle, NAME, CASE_RECORD, writable) {}
};

/// A disk with a file of 12 records and three cases.
FakeDisk made_disk() {
    FakeDisk disk;
    disk.put(NAME, "");
    Opened file(disk);
    make_file(file.records, 12);
    for (int n : {1, 2, 3}) EXPECT_TRUE(save_stream(file.records, n, doubles(500, 1000 * n)));
    disk.changes.clear();
    disk.calls = 0;
    return disk;
}

struct Act {
    const char* name;
    int changed;  // the case that may differ afterwards
    std::function<bool(Records&)> run;
};
/// A case replaced by a longer one that makes the file grow; a new case; a case removed; a file formatted anew.
const Act ACTS[] = {
    {"replace", 2, [](Records& r) { return save_stream(r, 2, doubles(4000, 7000)); }},
    {"add", 4, [](Records& r) { return save_stream(r, 4, doubles(700, 8000)); }},
    {"remove", 1,
     [](Records& r) {
         Writing scope(r);
         Directory d;
         bool lost = true;
         if (!scope || !d.read(r) || !give_up_case(r, d, 1, lost)) return false;
         d.set_case(1, 0, 0, 0);
         return d.write(r) && scope.commit() && !lost;
     }},
};

std::string cases_of(Records& r) {
    std::string all;
    for (int n = 1; n <= 5; ++n) all += std::to_string(n) + ':' + bytes_of_case(r, n);
    return all;
}
std::string cases_of(FakeDisk disk) {
    Opened file(disk);
    return cases_of(file.records);
}

/// Images to try: 500, or what the environment asks for.
int images() {
    const char* const wanted = std::getenv("KORVANE_IMAGES");
    return wanted ? std::atoi(wanted) : 500;
}

TEST(RecordFile, ACrashLeavesTheOldCaseOrTheNewOne) {
    const FakeDisk start = made_disk();
    std::mt19937 random(1);
    int seen_old = 0, seen_new = 0;
    for (const Act& act : ACTS) {
        FakeDisk disk = start;
        {
            Opened file(disk);
            ASSERT_TRUE(act.run(file.records)) << act.name;
        }
        const std::string before = cases_of(start), after = cases_of(disk);
        ASSERT_NE(before, after);
        const auto changes = disk.changes;
        const int rounds = images() / 3 + 1;
        ASSERT_LE(changes.size() + 1, std::size_t(rounds)) << "every prefix is tried";
        for (int i = 0; i < rounds; ++i) {
            const std::size_t n =
                std::size_t(i) < changes.size() + 1 ? std::size_t(i) : random() % (changes.size() + 1);
            const bool power_cut = i % 8 != 0;
            FakeDisk crashed = FakeDisk::after_crash(start, changes, n, power_cut, random);
            {
                Opened reader(crashed, false);
                const std::string found = cases_of(reader.records);
                ASSERT_TRUE(found == before || found == after) << act.name << " image " << i << " after " << n;
            }
            Opened file(crashed);
            const std::string found = cases_of(file.records);
            ASSERT_TRUE(found == before || found == after) << act.name << " image " << i << " after " << n;
            ASSERT_EQ(wrong_chain(file.records), "") << act.name << " image " << i << " after " << n;
            (found == before ? seen_old : seen_new)++;
            // Whoever opened it can go on, and nothing of the crash is left.
            ASSERT_TRUE(save_stream(file.records, 5, doubles(100, 9000)));
            ASSERT_FALSE(crashed.names.contains(JOURNAL));
        }
        // All that was confirmed when the commit returned is there.
        ASSERT_EQ(cases_of(FakeDisk::after_crash(start, changes, changes.size(), false, random)), after) << act.name;
    }
    EXPECT_GT(seen_old, images() / 10);
    EXPECT_GT(seen_new, images() / 50);
}

TEST(RecordFile, ACrashDuringTheRecoveryIsRecoveredToo) {
    const FakeDisk start = made_disk();
    const std::string before = cases_of(start);
    std::mt19937 random(2);
    FakeDisk disk = start;
    {
        Opened file(disk);
        ASSERT_TRUE(ACTS[0].run(file.records));
    }
    // The last change in place, before the journal is emptied.
    std::size_t in_place = 0;
    for (std::size_t i = 0; i < disk.changes.size(); ++i)
        if (disk.changes[i].kind == FakeDisk::Change::Kind::write && disk.changes[i].file == disk.names[NAME])
            in_place = i;
    for (int i = 0; i < 60; ++i) {
        FakeDisk half = FakeDisk::after_crash(start, disk.changes, in_place + 1, true, random);
        const FakeDisk half_before = half;
        {
            Opened file(half);
            ASSERT_EQ(cases_of(file.records), before);
        }
        ASSERT_GT(half.changes.size(), 3u);
        const FakeDisk again =
            FakeDisk::after_crash(half_before, half.changes, std::size_t(i) % (half.changes.size() + 1), true, random);
        ASSERT_EQ(cases_of(again), before) << i;
    }
}

// Every call of the disk fails once, and once for good from there on.
TEST(RecordFile, AnyFailingCallLeavesTheOldCaseOrTheNewOne) {
    const FakeDisk start = made_disk();
    for (const Act& act : ACTS)
        for (bool for_good : {false, true})
            for (int k = 1;; ++k) {
                FakeDisk disk = start;
                bool reached, saved;
                {
                    Opened file(disk);
                    disk.calls = 0;
                    disk.fail_at = k;
                    disk.fail_on = for_good;
                    saved = act.run(file.records);
                    reached = disk.calls >= k;
                    disk.fail_at = 0;
                }
                const std::string found = cases_of(disk), before = cases_of(start);
                FakeDisk done = start;
                {
                    Opened file(done);
                    act.run(file.records);
                }
                const std::string after = cases_of(done);
                ASSERT_TRUE(found == (saved ? after : before)) << act.name << " call " << k << (for_good ? " on" : "");
                if (!reached) break;
            }
}

TEST(RecordFile, NoSpaceLeavesTheOldCase) {
    const FakeDisk start = made_disk();
    for (std::int64_t room : {0, 1000, 5000, 12000, 20000, 30000}) {
        FakeDisk disk = start;
        disk.room = room;
        Opened file(disk);
        const bool saved = ACTS[0].run(file.records);
        ASSERT_FALSE(saved) << room;
        disk.room = 1 << 30;
        ASSERT_EQ(cases_of(disk), cases_of(start)) << room;
        ASSERT_EQ(disk.bytes(NAME).size(), start.files.begin()->second.size());
    }
}

TEST(RecordFile, ASecondWriterIsTurnedAwayAndReadersGoOn) {
    FakeDisk disk = made_disk();
    const std::string before = cases_of(disk);
    Opened first(disk), second(disk), reader(disk, false);
    {
        Writing writing(first.records);
        ASSERT_TRUE(writing);
        EXPECT_EQ(int(Writing(second.records).admission()), int(Admission::busy));
        EXPECT_EQ(int(Writing(reader.records).admission()), int(Admission::read_only));
        EXPECT_EQ(cases_of(reader.records), before);
        EXPECT_EQ(cases_of(second.records), before);
        ASSERT_TRUE(write_link(first.records, 3, 77));
        EXPECT_EQ(cases_of(reader.records), before);
    }
    EXPECT_EQ(cases_of(reader.records), before);  // abandoned
    EXPECT_TRUE(save_stream(second.records, 4, doubles(10, 4)));
    {
        // A reader in the middle of a case holds a writer back from the file.
        const Reading reading(reader.records);
        EXPECT_FALSE(save_stream(first.records, 5, doubles(10, 5)));
    }
    EXPECT_TRUE(save_stream(first.records, 5, doubles(10, 5)));

    FakeDisk plain = made_disk();  // a file system without locks
    plain.has_locks = false;
    Opened file(plain);
    EXPECT_TRUE(save_stream(file.records, 4, doubles(10, 4)));
    EXPECT_EQ(wrong_chain(file.records), "");
}

TEST(RecordFile, AJournalOfAnotherFileIsNotUsed) {
    FakeDisk disk = made_disk();
    const std::string before = cases_of(disk);
    RollbackJournal journal(CASE_RECORD, 40 * CASE_RECORD);  // of a file that was longer
    std::memset(journal.add(1, 600), 0, 600);
    journal.seal();
    for (const std::string& bytes :
         {journal.text, std::string("something else"), std::string(), journal.text.substr(0, 300)}) {
        disk.put(JOURNAL, bytes);
        EXPECT_EQ(cases_of(disk), before);
        Opened file(disk);
        EXPECT_EQ(int(Writing(file.records).admission()), int(Admission::granted));
        EXPECT_FALSE(disk.names.contains(JOURNAL));
    }
    EXPECT_TRUE(RollbackJournal().parse(journal.text));
    for (std::size_t i = 0; i < journal.text.size(); ++i) {
        std::string turned = journal.text;
        turned[i] = char(turned[i] ^ 1);
        const bool padding = i >= 64 + 600;  // behind 600 bytes, a multiple of 8, there is none
        EXPECT_TRUE(padding || !RollbackJournal().parse(turned)) << i;
    }
}

TEST(RecordFile, WorksOnTheDiskOfTheMachine) {
    const TempDir dir;
    dir.write(NAME, "");
    Disk& disk = machine_disk();
    const int handle = disk.open(NAME, Disk::Open::for_writing), other = disk.open(NAME, Disk::Open::for_writing);
    ASSERT_GE(handle, 0);
    {
        FileRecords file(disk, handle, NAME, CASE_RECORD, true), second(disk, other, NAME, CASE_RECORD, true);
        EXPECT_EQ(bytes_of_case(file, 1), "");  // not formatted
        make_file(file, 300);
        EXPECT_EQ(dir.read(NAME).size(), 300u * CASE_RECORD);
        for (int n : {1, 2, 3}) ASSERT_TRUE(save_stream(file, n, doubles(50000, n)));
        EXPECT_EQ(wrong_chain(second), "");
        EXPECT_EQ(bytes_of_case(second, 2), bytes_of_case(file, 2));
        Writing writing(file);
        EXPECT_EQ(int(Writing(second).admission()), int(Admission::busy));
    }
    disk.close(handle);
    disk.close(other);
    EXPECT_EQ(dir.files(), std::vector<std::string>{NAME});
    EXPECT_EQ(dir.read(NAME).size() % CASE_RECORD, 0u);
    EXPECT_LT(disk.open("no/such", Disk::Open::for_reading), 0);
}

}  // namespace
}  // namespace korvane
