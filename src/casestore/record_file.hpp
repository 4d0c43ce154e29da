// Records in a file that survives a crash: a commit is seen whole or not at all, whatever happens while it runs.
//
// A commit first copies the bytes that it will replace, and the size of the file, to a journal beside the file, and
// waits until the journal has reached the disk. Then it writes in place, waits again, and removes the journal. Whoever
// opens a file that has a whole journal beside it puts the old bytes back: the commit did not come to its end. A
// journal that is not whole belongs to a commit that had not touched the file yet.
//
// Two locks keep programs apart: one is held by the writer from begin to end, so a second writer is turned away; the
// other by readers while they read, and by a writer only while it writes in place.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "casestore/records.hpp"
#include "platform/disk.hpp"

namespace korvane {

/// What a commit replaces: bytes at places of the file, and the size that it had.
struct RollbackJournal {
    struct Entry {
        std::uint32_t record, bytes;
        std::size_t at;  // where its bytes stand in the text
    };
    std::uint64_t size = 0;  // of the file
    std::uint32_t record_length = 0;
    std::vector<Entry> entries;
    std::string text;  // the journal as it stands in its file

    RollbackJournal() = default;
    RollbackJournal(int record_length, std::uint64_t size);
    /// One more replaced piece: room for its bytes, to be filled before the next call.
    char* add(int record, int bytes);
    /// Adds the checksums.
    void seal();
    /// A journal from the bytes of its file. False when it is not whole.
    bool parse(std::string bytes);
};

class FileRecords final : public Records {
public:
    static constexpr const char* JOURNAL = ".journal";  // behind the name of the file
    static constexpr int PATIENCE = 5000;               // ms that readers and a writer wait for each other

    /// Records in an open file. The handle stays the caller's, and must outlive this object.
    FileRecords(Disk& disk, int file, const std::string& path, int record_length, bool writable);
    ~FileRecords() override;

    bool writable() const override { return writable_; }
    Admission begin_reading() override;
    void end_reading() override;
    Admission begin_writing() override;
    bool commit() override;
    void abandon() override;
    bool read(int record, void* out, int n) override;
    bool write(int record, const void* in, int n) override;

private:
    struct Pending {
        int record, slot, bytes;  // the first bytes that differ from the file
    };

    enum class Journal { whole, broken, unreadable };

    std::int64_t place(int record) const { return std::int64_t(record - 1) * length(); }
    bool find_size();
    Admission look_through_journal();
    Pending* pending(int record);
    Pending& make_pending(int record);
    bool read_disk(int record, void* out, int n);
    bool copy_old(RollbackJournal& journal);
    int save_journal(const std::string& text);
    bool end_journal(int handle);
    bool write_in_place();
    bool replace();
    bool roll_back(const RollbackJournal& journal);
    Journal read_journal(RollbackJournal& journal);
    bool recover();
    void forget();
    void unlock(int which) { disk_.lock(file_, which, Disk::Lock::none, 0); }

    Disk& disk_;
    int file_;
    std::string journal_path_;
    bool writable_;
    std::int64_t size_ = 0;  // of the file, while reading or writing

    // Records that differ from the file: written and not committed, or put back by a journal that a reader cannot undo.
    RecordArena arena_;
    std::vector<Pending> pending_;
    std::vector<int> slot_of_;  // index into pending_ by record, -1 for none

    // Records of the file read ahead: as many as the last reads were in sequence.
    static constexpr int MOST_AHEAD = 64;
    std::vector<char> window_;
    int window_first_ = 0, window_count_ = 0, ahead_ = 1, last_read_ = 0;
};

}  // namespace korvane
