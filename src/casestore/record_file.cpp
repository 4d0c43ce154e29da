#include "casestore/record_file.hpp"

#include <algorithm>
#include <bit>

namespace korvane {

static_assert(std::endian::native == std::endian::little, "case files and journals are little-endian");

namespace {

constexpr int WRITER = 0, PLACE = 1;  // the two locks

// --- the journal

constexpr char MAGIC[8] = {'K', 'V', 'N', 'J', 'R', 'N', 'L', '1'};
constexpr std::size_t HEAD = 48, ENTRY_HEAD = 16;
constexpr std::uint64_t LARGEST_JOURNAL = 1ull << 28;

// Head: magic 8, size of the file 8, entries 4, record length 4, bytes of the journal 8, last checksum 8, checksum of
// the head 8. Entry: record 4, bytes 4, checksum 8, the bytes, padded to 8. Each checksum takes in the one before it.

template <class T>
T get(const std::string& text, std::size_t at) {
    T v;
    std::memcpy(&v, text.data() + at, sizeof v);
    return v;
}
template <class T>
void put(std::string& text, std::size_t at, T v) {
    std::memcpy(text.data() + at, &v, sizeof v);
}
constexpr std::size_t padded(std::size_t n) { return (n + 7) / 8 * 8; }

/// Mixes whole words into a checksum: each word passes a multiplication that spreads it over all bits.
std::uint64_t checksum(std::uint64_t h, const char* at, std::size_t n) {
    for (; n >= 8; at += 8, n -= 8) {
        std::uint64_t w;
        std::memcpy(&w, at, sizeof w);
        h = (h ^ w) * 0x9e3779b97f4a7c15u;
        h ^= h >> 29;
    }
    std::uint64_t w = n;
    std::memcpy(&w, at, n);
    h = (h ^ w ^ (std::uint64_t(n) << 56)) * 0xbf58476d1ce4e5b9u;
    return h ^ h >> 32;
}

}  // namespace

RollbackJournal::RollbackJournal(int length, std::uint64_t file_size)
    : size(file_size), record_length(std::uint32_t(length)), text(HEAD, '\0') {}

char* RollbackJournal::add(int record, int bytes) {
    const std::size_t at = text.size() + ENTRY_HEAD;
    entries.push_back({std::uint32_t(record), std::uint32_t(bytes), at});
    text.resize(at + padded(std::size_t(bytes)));
    put(text, at - 16, std::uint32_t(record));
    put(text, at - 12, std::uint32_t(bytes));
    return text.data() + at;
}

void RollbackJournal::seal() {
    std::memcpy(text.data(), MAGIC, sizeof MAGIC);
    put(text, 8, size);
    put(text, 16, std::uint32_t(entries.size()));
    put(text, 20, record_length);
    put(text, 24, std::uint64_t(text.size()));
    std::uint64_t h = checksum(0, text.data(), 32);
    for (const Entry& e : entries) {
        h = checksum(h, text.data() + e.at - 16, 8);
        h = checksum(h, text.data() + e.at, e.bytes);
        put(text, e.at - 8, h);
    }
    put(text, 32, h);
    put(text, 40, checksum(h, text.data(), 40));
}

bool RollbackJournal::parse(std::string bytes) {
    text = std::move(bytes);
    entries.clear();
    if (text.size() < HEAD || std::memcmp(text.data(), MAGIC, sizeof MAGIC) != 0) return false;
    size = get<std::uint64_t>(text, 8);
    const auto count = get<std::uint32_t>(text, 16);
    record_length = get<std::uint32_t>(text, 20);
    const auto last = get<std::uint64_t>(text, 32);
    if (get<std::uint64_t>(text, 24) != text.size() || get<std::uint64_t>(text, 40) != checksum(last, text.data(), 40))
        return false;
    std::uint64_t h = checksum(0, text.data(), 32);
    std::size_t at = HEAD;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (text.size() - at < ENTRY_HEAD) return false;
        const Entry e{get<std::uint32_t>(text, at), get<std::uint32_t>(text, at + 4), at + ENTRY_HEAD};
        if (e.record < 1 || e.bytes > record_length || text.size() - e.at < padded(e.bytes)) return false;
        h = checksum(h, text.data() + at, 8);
        h = checksum(h, text.data() + e.at, e.bytes);
        if (get<std::uint64_t>(text, at + 8) != h) return false;
        entries.push_back(e);
        at = e.at + padded(e.bytes);
    }
    return at == text.size() && h == last;
}

// --- begin and end

FileRecords::FileRecords(Disk& disk, int file, const std::string& path, int record_length, bool writable)
    : Records(record_length),
      disk_(disk),
      file_(file),
      journal_path_(disk.real_path(path) + JOURNAL),
      writable_(writable),
      arena_(record_length) {}

FileRecords::~FileRecords() {
    unlock(WRITER);
    unlock(PLACE);
}

bool FileRecords::find_size() {
    size_ = disk_.size(file_);
    window_count_ = 0;
    ahead_ = 1;
    return size_ >= 0;
}

void FileRecords::forget() {
    for (const Pending& p : pending_) slot_of_[std::size_t(p.record)] = -1;
    pending_.clear();
    arena_.clear();
    window_count_ = 0;
}

Admission FileRecords::begin_reading() {
    if (writable_ && disk_.exists(journal_path_) &&
        disk_.lock(file_, WRITER, Disk::Lock::exclusive, 0) != Disk::Locked::busy) {
        if (find_size()) recover();
        unlock(WRITER);
    }
    if (disk_.lock(file_, PLACE, Disk::Lock::shared, PATIENCE) == Disk::Locked::busy) return Admission::busy;
    // With this lock in hand nobody writes in place, so a journal that is whole tells how the file was before it.
    Admission admission = find_size() ? Admission::granted : Admission::failed;
    if (admission == Admission::granted && disk_.exists(journal_path_)) admission = look_through_journal();
    if (admission != Admission::granted) end_reading();
    return admission;
}

/// A reader that cannot recover the file sees it as it will be once somebody has.
Admission FileRecords::look_through_journal() {
    RollbackJournal journal;
    const Journal found = read_journal(journal);
    if (found == Journal::unreadable) return Admission::failed;
    if (found == Journal::broken) return Admission::granted;
    for (const auto& e : journal.entries) {
        char* const room = arena_.at(make_pending(int(e.record)).slot);
        const std::int64_t there = std::clamp<std::int64_t>(size_ - place(int(e.record)), 0, length());
        if (!disk_.read(file_, place(int(e.record)), room, std::size_t(there))) return Admission::failed;
        std::memcpy(room, journal.text.data() + e.at, e.bytes);
    }
    size_ = std::int64_t(journal.size);
    return Admission::granted;
}

void FileRecords::end_reading() {
    forget();
    unlock(PLACE);
}

Admission FileRecords::begin_writing() {
    if (!writable_) return Admission::read_only;
    if (disk_.lock(file_, WRITER, Disk::Lock::exclusive, 0) == Disk::Locked::busy) return Admission::busy;
    if (find_size() && (!disk_.exists(journal_path_) || recover())) return Admission::granted;
    unlock(WRITER);
    return Admission::failed;
}

void FileRecords::abandon() {
    forget();
    unlock(WRITER);
}

// --- reads and writes

FileRecords::Pending* FileRecords::pending(int record) {
    if (record < 1 || std::size_t(record) >= slot_of_.size() || slot_of_[std::size_t(record)] < 0) return nullptr;
    return &pending_[std::size_t(slot_of_[std::size_t(record)])];
}

FileRecords::Pending& FileRecords::make_pending(int record) {
    if (std::size_t(record) >= slot_of_.size()) slot_of_.resize(std::size_t(record) + std::size_t(record) / 2 + 1, -1);
    slot_of_[std::size_t(record)] = int(pending_.size());
    arena_.add();
    return pending_.emplace_back(Pending{record, arena_.count() - 1, 0});
}

bool FileRecords::read_disk(int record, void* out, int n) {
    if (place(record) + n > size_) return false;
    if (record < window_first_ || record >= window_first_ + window_count_) {
        ahead_ = record == last_read_ + 1 ? std::min(2 * ahead_, MOST_AHEAD) : 1;
        const auto whole = int(std::min<std::int64_t>((size_ - place(record)) / length(), ahead_));
        if (whole == 0) return disk_.read(file_, place(record), out, std::size_t(n));  // a last record cut short
        window_.resize(std::size_t(MOST_AHEAD) * std::size_t(length()));
        window_count_ = 0;
        if (!disk_.read(file_, place(record), window_.data(), std::size_t(whole) * std::size_t(length()))) return false;
        window_first_ = record;
        window_count_ = whole;
    }
    last_read_ = record;
    std::memcpy(out, window_.data() + std::size_t(record - window_first_) * std::size_t(length()), std::size_t(n));
    return true;
}

bool FileRecords::read(int record, void* out, int n) {
    if (record < 1) return false;
    if (const Pending* const p = pending(record)) {
        std::memcpy(out, arena_.at(p->slot), std::size_t(n));
        return true;
    }
    return read_disk(record, out, n);
}

bool FileRecords::write(int record, const void* in, int n) {
    if (record < 1) return false;
    Pending* p = pending(record);
    if (!p) {
        p = &make_pending(record);
        const std::int64_t old = std::clamp<std::int64_t>(size_ - place(record), 0, length());
        if (n < old && !disk_.read(file_, place(record), arena_.at(p->slot), std::size_t(old))) {
            slot_of_[std::size_t(record)] = -1;
            pending_.pop_back();
            return false;
        }
        if (old < length()) p->bytes = length();  // a record that was not there is written whole
    }
    std::memcpy(arena_.at(p->slot), in, std::size_t(n));
    p->bytes = std::max(p->bytes, n);
    return true;
}

// --- a commit

/// The bytes that the pending records replace, as long as the file has them.
bool FileRecords::copy_old(RollbackJournal& journal) {
    std::size_t bytes = 0;
    for (const Pending& p : pending_) bytes += ENTRY_HEAD + padded(std::size_t(p.bytes));
    journal.text.reserve(HEAD + bytes);
    window_count_ = 0;
    last_read_ = 0;
    for (const Pending& p : pending_) {
        const auto old = int(std::clamp<std::int64_t>(size_ - place(p.record), 0, p.bytes));
        if (old > 0 && !read_disk(p.record, journal.add(p.record, old), old)) return false;
    }
    journal.seal();
    return true;
}

/// A new journal that has reached the disk, under its name. Its handle, -1 when that failed.
int FileRecords::save_journal(const std::string& text) {
    const int handle = disk_.open(journal_path_, Disk::Open::create);
    if (handle < 0) return -1;
    if (disk_.write(handle, 0, text.data(), text.size()) && disk_.sync(handle) && disk_.sync_folder(journal_path_))
        return handle;
    end_journal(handle);
    return -1;
}

/// The journal does not count any more: emptied, so that a name that comes back with a power cut does no harm, and
/// removed. False when it stands there as before. Closes the handle.
bool FileRecords::end_journal(int handle) {
    const bool emptied = disk_.truncate(handle, 0);
    if (emptied) disk_.sync(handle);
    disk_.close(handle);
    return disk_.remove(journal_path_) || emptied;
}

bool FileRecords::write_in_place() {
    for (std::size_t i = 0; i < pending_.size();) {
        // Whole records that follow each other in the file and in memory go in one write.
        const Pending& first = pending_[i];
        std::size_t n = 1;
        while (i + n < pending_.size() && first.bytes == length() && pending_[i + n].bytes == length() &&
               pending_[i + n].record == first.record + int(n) && pending_[i + n].slot == first.slot + int(n) &&
               (first.slot + int(n)) % RecordArena::CHUNK != 0)
            ++n;
        const std::size_t bytes = (n - 1) * std::size_t(length()) + std::size_t(first.bytes);
        if (!disk_.write(file_, place(first.record), arena_.at(first.slot), bytes)) return false;
        i += n;
    }
    return disk_.sync(file_);
}

bool FileRecords::roll_back(const RollbackJournal& journal) {
    for (const auto& e : journal.entries)
        if (!disk_.write(file_, place(int(e.record)), journal.text.data() + e.at, e.bytes)) return false;
    return disk_.truncate(file_, std::int64_t(journal.size)) && disk_.sync(file_);
}

bool FileRecords::commit() {
    std::sort(pending_.begin(), pending_.end(), [](const Pending& a, const Pending& b) { return a.record < b.record; });
    const bool done = pending_.empty() || replace();
    forget();
    unlock(WRITER);
    return done;
}

/// Writes what is pending. When that fails, the old bytes go back at once; when these cannot be written either, the
/// journal stays for whoever opens the file next.
bool FileRecords::replace() {
    RollbackJournal journal(length(), std::uint64_t(size_));
    const int handle = copy_old(journal) ? save_journal(journal.text) : -1;
    if (handle < 0) return false;
    if (disk_.lock(file_, PLACE, Disk::Lock::exclusive, PATIENCE) == Disk::Locked::busy) {
        end_journal(handle);
        return false;
    }
    bool done = write_in_place();
    if (done) {
        done = end_journal(handle);
        if (!done) roll_back(journal);
    } else if (roll_back(journal)) {
        end_journal(handle);
    } else {
        disk_.close(handle);
    }
    unlock(PLACE);
    return done;
}

// --- after a crash

FileRecords::Journal FileRecords::read_journal(RollbackJournal& journal) {
    const int handle = disk_.open(journal_path_, Disk::Open::for_reading);
    if (handle < 0) return Journal::unreadable;
    const std::int64_t size = disk_.size(handle);
    std::string text;
    bool read = size >= 0;
    if (size > 0 && std::uint64_t(size) < LARGEST_JOURNAL) {
        text.resize(std::size_t(size));
        read = disk_.read(handle, 0, text.data(), text.size());
    }
    disk_.close(handle);
    if (!read) return Journal::unreadable;
    // A file that is shorter than it was has been replaced since: the journal is not about this one.
    return journal.parse(std::move(text)) && journal.record_length == std::uint32_t(length()) &&
                   size_ >= std::int64_t(journal.size)
               ? Journal::whole
               : Journal::broken;
}

/// Puts the old bytes back where a commit did not come to its end. The writer's lock is held.
bool FileRecords::recover() {
    RollbackJournal journal;
    const Journal found = read_journal(journal);
    if (found == Journal::unreadable) return false;
    if (found == Journal::whole) {
        const bool back = disk_.lock(file_, PLACE, Disk::Lock::exclusive, PATIENCE) != Disk::Locked::busy &&
                          roll_back(journal) && find_size();
        unlock(PLACE);
        if (!back) return false;
    }
    const int handle = disk_.open(journal_path_, Disk::Open::for_writing);
    return handle >= 0 ? end_journal(handle) : disk_.remove(journal_path_);
}

}  // namespace korvane
