// Small case files for tests: saved through the true slots and streams, read back, and looked over as a whole.
#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <vector>

#include "casestore/case_slot.hpp"

namespace korvane::testing {

/// A file of so many records, without a case.
inline void make_file(Records& r, int records) {
    Writing scope(r);
    Directory d;
    ASSERT_TRUE(format_records(r, d, records) && scope.commit());
}

/// Saves what the function writes as case n, replacing it if it is there. False when the commit failed.
inline bool save_stream(Records& r, int n, const std::function<void(CaseWriter&)>& fields,
                        SaveEnd expected = SaveEnd::saved, bool extend = true, Encoding e = Encoding::wide) {
    Writing scope(r);
    CaseSlot slot;
    if (!scope || open_slot(r, n, true, slot) != SlotFault::none) return false;
    CaseWriter stream(r, e, slot.first, slot.directory.highest(), extend);
    fields(stream);
    const SaveEnd end = close_slot(r, slot, stream, extend);
    if (end == SaveEnd::device) return false;
    EXPECT_EQ(int(end), int(expected));
    return scope.commit();
}

/// A case of n doubles that count from `start`.
inline std::function<void(CaseWriter&)> doubles(int n, double start) {
    return [=](CaseWriter& w) {
        std::vector<double> v(static_cast<std::size_t>(n));
        for (std::size_t i = 0; i < v.size(); ++i) v[i] = start + double(i);
        w.SAVFLT({v.data()}, n);
    };
}

/// The records of a file, one after the other, and what a faultless file must obey: every record in one chain at most,
/// chains of the length that the directory tells, free records up to the highest of the file.
inline std::string wrong_chain(Records& r, std::vector<int> free_expected = {}) {
    const Reading scope(r);
    Directory d;
    if (!scope || !d.read(r)) return "no directory";
    std::set<int> seen;
    auto walk = [&](int record, int count) -> std::string {
        for (int i = 0; i < count || (count < 0 && record != 0); ++i) {
            if (record < 2 || record > d.highest()) return "record " + std::to_string(record) + " outside";
            if (!seen.insert(record).second) return "record " + std::to_string(record) + " twice";
            if (count < 0 && !free_expected.empty() && std::size_t(i) < free_expected.size() &&
                free_expected[std::size_t(i)] != record)
                return "free record " + std::to_string(record);
            if (i == count - 1) break;
            if (!read_link(r, record, record)) return "unreadable";
        }
        return "";
    };
    for (int n = 1; n <= CASES; ++n)
        if (d.has(n))
            if (const auto fault = walk(d.first(n), d.count(n)); !fault.empty())
                return "case " + std::to_string(n) + ": " + fault;
    if (const auto fault = walk(d.free_head(), -1); !fault.empty()) return "free: " + fault;
    if (int(seen.size()) != d.highest() - 1) return "records lost";
    return "";
}

/// A value at a byte of a record.
template <class T>
T at(Records& r, int record, int offset) {
    char bytes[CASE_RECORD];
    EXPECT_TRUE(r.read(record, bytes, CASE_RECORD));
    T v;
    std::memcpy(&v, bytes + offset, sizeof v);
    return v;
}

/// The whole content of the records of case n, links left out; empty when there is no such case.
inline std::string bytes_of_case(Records& r, int n) {
    const Reading scope(r);
    Directory d;
    std::string all;
    if (!scope || !d.read(r) || !d.has(n)) return all;
    int record = d.first(n);
    for (int i = 0; i < d.count(n); ++i) {
        char bytes[CASE_RECORD];
        if (!r.read(record, bytes, CASE_RECORD)) return "unreadable";
        all.append(bytes + 4, CASE_RECORD - 4);
        std::memcpy(&record, bytes, 4);
    }
    return all;
}

}  // namespace korvane::testing
