// Direct-access records of one length: what a file of cases is made of, on the disk or in memory.
#pragma once
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

namespace korvane {

/// Answer to who wants to read or to write records.
enum class Admission {
    granted,
    busy,       // another program is writing
    read_only,  // nobody may write here
    failed      // the device does not work
};

/// Records count from 1. Reads and writes stand between a begin and its end: what a writer changes comes into being
/// with its commit, whole or not at all.
class Records {
public:
    explicit Records(int length) : length_(length) {}
    virtual ~Records() = default;
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

    int length() const { return length_; }
    virtual bool writable() const = 0;

    virtual Admission begin_reading() = 0;
    virtual void end_reading() = 0;
    virtual Admission begin_writing() = 0;
    /// False when the changes could not be made: then none was.
    virtual bool commit() = 0;
    virtual void abandon() = 0;

    /// The first n bytes of a record. False when the record is not there or the device fails.
    virtual bool read(int record, void* out, int n) = 0;
    /// The record has these first n bytes from now on. The others stay, and are zero in a record that was not there.
    virtual bool write(int record, const void* in, int n) = 0;

private:
    int length_;
};

/// Reads from here to the end of the scope.
class Reading {
public:
    explicit Reading(Records& r) : records_(r), admission_(r.begin_reading()) {}
    ~Reading() {
        if (*this) records_.end_reading();
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    explicit operator bool() const { return admission_ == Admission::granted; }
    Admission admission() const { return admission_; }

private:
    Records& records_;
    Admission admission_;
};

/// Writes from here to the commit; without one nothing was written.
class Writing {
public:
    explicit Writing(Records& r) : records_(r), admission_(r.begin_writing()), open_(*this) {}
    ~Writing() {
        if (open_) records_.abandon();
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;
    explicit operator bool() const { return admission_ == Admission::granted; }
    Admission admission() const { return admission_; }
    bool commit() {
        open_ = false;
        return records_.commit();
    }

private:
    Records& records_;
    Admission admission_;
    bool open_;
};

/// Memory for records, in the order in which they are asked for. Records never move.
class RecordArena {
public:
    static constexpr int CHUNK = 128;  // records
    explicit RecordArena(int length) : length_(std::size_t(length)) {}

    int count() const { return count_; }
    /// Room for one more record, zeroed; its slot is count() - 1.
    char* add() {
        if (std::size_t(count_ / CHUNK) == chunks_.size())
            chunks_.push_back(std::make_unique_for_overwrite<char[]>(CHUNK * length_));
        char* const room = at(count_++);
        std::memset(room, 0, length_);
        return room;
    }
    char* at(int slot) { return chunks_[std::size_t(slot / CHUNK)].get() + std::size_t(slot % CHUNK) * length_; }
    /// All slots are free again; the memory is kept.
    void clear() { count_ = 0; }

private:
    std::size_t length_;
    std::vector<std::unique_ptr<char[]>> chunks_;
    int count_ = 0;
};

/// Records in memory: scratch cases of analyses. Nobody else sees them, so changes count at once, committed or not.
class MemoryRecords final : public Records {
public:
    explicit MemoryRecords(int length) : Records(length), arena_(length) {}
    bool writable() const override { return true; }
    Admission begin_reading() override { return Admission::granted; }
    void end_reading() override {}
    Admission begin_writing() override { return Admission::granted; }
    bool commit() override { return true; }
    void abandon() override {}
    bool read(int record, void* out, int n) override {
        if (record < 1 || record > arena_.count()) return false;
        std::memcpy(out, arena_.at(record - 1), std::size_t(n));
        return true;
    }
    bool write(int record, const void* in, int n) override {
        if (record < 1) return false;
        while (arena_.count() < record) arena_.add();
        std::memcpy(arena_.at(record - 1), in, std::size_t(n));
        return true;
    }

private:
    RecordArena arena_;
};

}  // namespace korvane
