// Record 1 of a case file, and the chains of records that it heads: one for each case, one of free records.
#pragma once
#include <array>
#include <cstdint>

#include "casestore/records.hpp"

namespace korvane {

constexpr int CASE_RECORD = 2560;      // bytes of content in a record
constexpr int CASES = 99;              // cases in a file
constexpr int RECORD_CEILING = 32766;  // no record has this number: cells of the directory are of 16 bits
constexpr int DIRECTORY_BYTES = 600;

/// IPREG: 300 cells, from 1.
struct Directory {
    std::array<std::int16_t, 300> IPREG{};

    std::int16_t& cell(int i) { return IPREG[std::size_t(i - 1)]; }
    int cell(int i) const { return IPREG[std::size_t(i - 1)]; }

    bool has(int n) const { return cell(n) > 0; }
    int first(int n) const { return cell(n); }        // record of case n
    int last(int n) const { return cell(100 + n); }   // record of case n
    int count(int n) const { return cell(200 + n); }  // records of case n
    int free_head() const { return cell(100); }       // 0: no free record
    int highest() const { return cell(200); }         // record of the file

    void set_free_head(int record) { cell(100) = std::int16_t(record); }
    void set_highest(int record) { cell(200) = std::int16_t(record); }
    void set_case(int n, int first, int last, int count) {
        cell(n) = std::int16_t(first);
        cell(100 + n) = std::int16_t(last);
        cell(200 + n) = std::int16_t(count);
    }
    /// The lowest number from 1 that no case has; 0 when all are taken.
    int free_number() const {
        for (int n = 1; n <= CASES; ++n)
            if (!has(n)) return n;
        return 0;
    }

    bool read(Records& r) { return r.read(1, IPREG.data(), DIRECTORY_BYTES); }
    bool write(Records& r) const { return r.write(1, IPREG.data(), DIRECTORY_BYTES); }
};

/// Link of a record: the number of the next one of its chain. False when the record cannot be read.
inline bool read_link(Records& r, int record, int& link) { return r.read(record, &link, sizeof link); }
inline bool write_link(Records& r, int record, int link) { return r.write(record, &link, sizeof link); }

enum class Chain {
    sound,
    raised,      // sound, and records above the file's highest were in it: that cell now says so, on the file too
    unreadable,  // the first record cannot be read
    broken       // it leads nowhere: a record that cannot be read, a link out of the file, a loop
};

/// CHKFRE: the free chain. Reads the directory, and writes it when its highest record must be raised.
Chain CHKFRE(Records& r, Directory& d);
/// CHKCHN: the chain of case n, from its first to its last record. A directory without a last record says nothing, so
/// the chain counts as sound.
Chain CHKCHN(Records& r, const Directory& d, int n);

/// INFILE's work: a file of `records` records, the directory among them, without a case. False when one cannot be
/// written.
bool format_records(Records& r, Directory& d, int records);

/// The records of case n become the head of the free chain; the directory keeps its cells. False when a link cannot be
/// written.
bool free_case(Records& r, Directory& d, int n);

}  // namespace korvane
