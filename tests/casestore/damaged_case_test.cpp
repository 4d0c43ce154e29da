// Damaged files: a message, the store back to its defaults, and never a reference out of its table.
#include <gtest/gtest.h>

#include <cstring>

#include "casestore/case_bench.hpp"
#include "casestore/stored_networks.hpp"

namespace korvane::testing {
namespace {

/// Case 1 in a file in memory, its records from 2 on in order, and a run that reads it.
struct Damaged {
    Session session;
    korvane::Run& run;
    MemoryRecords records{CASE_RECORD};
    std::vector<std::string> sound;  // the records

    Damaged(Encoding e, unsigned seed) : run(session.start().run) {
        made_store(run, seed, 0.0, 9000);
        EXPECT_EQ(save_case(run, records, e), 0);
        std::string bytes(CASE_RECORD, '\0');
        for (int k = 1; records.read(k, bytes.data(), CASE_RECORD); ++k) sound.push_back(bytes);
    }
    void put_back() {
        for (std::size_t k = 0; k < sound.size(); ++k) records.write(int(k) + 1, sound[k].data(), CASE_RECORD);
    }
    template <class T>
    void poke(int record, int at, T value) {
        std::string bytes(CASE_RECORD, '\0');
        records.read(record, bytes.data(), CASE_RECORD);
        std::memcpy(bytes.data() + at, &value, sizeof value);
        records.write(record, bytes.data(), CASE_RECORD);
    }
    /// The number of the message; a network that was taken must hold together.
    int restore() {
        const RestoreOutcome out = read_case(run, records, 1);
        if (out.error) {
            EXPECT_EQ(run.store.bus.NB + run.store.branch.NL + run.store.area.NAREA, 0);
            EXPECT_EQ(run.ctl.KNTRL.count(), 0u);
            EXPECT_EQ(run.cte.BASE, 100);
        } else {
            EXPECT_EQ(stray_reference(run.store), "");
            EXPECT_EQ(wrong_address(run.store), "");
        }
        return out.error;
    }
};

TEST(DamagedCase, TheHeadAndTheCounts) {
    Damaged d(Encoding::wide, 3);
    constexpr int LINE = 112;  // in record 3
    struct Row {
        int record, at, value, message;
    };
    const auto cell = [&](int n, int value, int message) { return Row{3, LINE + 4 * (n - 1), value, message}; };
    const Row table[] = {
        {2, 88, 2, 120},      {2, 92, 50, 130},    {2, 92, 79, 140},       {2, 92, -1, 130},     cell(12, 20001, 200),
        cell(13, 6001, 210),  cell(14, 8001, 220), cell(15, 1001, 230),    cell(16, 10001, 240), cell(17, 40001, 250),
        cell(18, 16001, 260), cell(19, 3001, 270), cell(25, 5001, 280),    cell(26, 201, 290),   cell(27, 201, 360),
        cell(32, 217, 300),   cell(33, 73, 310),   cell(34, 145, 320),     cell(35, 73, 330),    cell(41, 2001, 340),
        cell(42, 201, 350),   cell(46, 4001, 370), cell(47, 401, 380),     cell(12, -1, 200),    cell(47, INT_MIN, 380),
        cell(21, -1, 400),    cell(28, 13, 400),   cell(36, 229, 400),     cell(44, -5, 400),    cell(63, INT_MAX, 400),
        cell(103, 256, 400),  cell(116, -2, 400),  cell(49, INT_MAX, 390),  // a diagram that no file can hold
        cell(49, -1, 400),
    };
    for (const Row& row : table) {
        d.put_back();
        d.poke(row.record, row.at, row.value);
        EXPECT_EQ(d.restore(), row.message) << row.record << ' ' << row.at << ' ' << row.value;
    }
    d.put_back();
    EXPECT_EQ(d.restore(), 0);
}

TEST(DamagedCase, LinksAndTheDirectory) {
    Damaged d(Encoding::wide, 3);
    struct Row {
        const char* what;
        int record, at;
        int value;
        int message;
        bool cell;  // 16 bits
    };
    for (const Row& row : {Row{"loop", 3, 0, 2, 390, false}, Row{"0", 3, 0, 0, 390, false},
                           Row{"negative", 2, 0, -4, 390, false}, Row{"past the file", 2, 0, 30000, 390, false},
                           Row{"no case", 1, 0, 0, 110, true}, Row{"first outside", 1, 0, 32000, 100, true},
                           Row{"last too early", 1, 200, 4, 390, true}, Row{"no last record", 1, 200, 0, 0, true}}) {
        d.put_back();
        if (row.cell)
            d.poke(row.record, row.at, std::int16_t(row.value));
        else
            d.poke(row.record, row.at, row.value);
        EXPECT_EQ(d.restore(), row.message) << row.what;
    }
}

// Any bytes anywhere: refused or taken, and what is taken holds together.
TEST(DamagedCase, RandomBytes) {
    for (const Encoding e : {Encoding::wide, Encoding::narrow}) {
        Damaged d(e, 6);
        std::mt19937 random(4);
        int taken = 0, refused = 0;
        for (int i = 0; i < 400; ++i) {
            d.put_back();
            for (unsigned n = 1 + random() % 4; n > 0; --n) {
                const int record = 1 + int(random() % d.sound.size()), at = int(random() % CASE_RECORD);
                if (random() % 2)
                    d.poke(record, at, char(random()));
                else
                    d.poke(record, std::min(at, CASE_RECORD - 4), random() % 2 ? std::uint32_t(random()) : 0xFFFFFFFFu);
            }
            (d.restore() ? refused : taken)++;
        }
        EXPECT_GT(taken, 20);
        EXPECT_GT(refused, 20);
    }
}

}  // namespace
}  // namespace korvane::testing
